/// @file
/// Blocks of units on their way from one text to another.
#pragma once

#include <cstring>

namespace ORVA::String::blocks
{

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "units are put together in words, the first one lowest");

/// Units that a walk looks at before it looks for blocks.
inline constexpr unsigned int longest_run = 8;

/// Stores so many units as units of a width that is enough for their values, ASCII as bytes for one.
template <unsigned long count, class Source, class Destination>
void copy_units(Source const* source, Destination* destination)
{
    Source from[count];
    Destination to[count];
    std::memcpy(from, source, sizeof from);
    for (unsigned long index = 0; index < count; ++index)
        to[index] = static_cast<Destination>(from[index]);
    std::memcpy(destination, to, sizeof to);
}

/// The same for any number of units, from the first to the last: units that are stored over others are read before.
template <class Source, class Destination>
void copy_units(Source const* source, unsigned long length, Destination* destination)
{
    unsigned long index = 0;
    for (; length - index >= 16; index += 16)
        copy_units<16>(source + index, destination + index);
    for (; length - index >= 4; index += 4)
        copy_units<4>(source + index, destination + index);
    for (; index != length; ++index)
        destination[index] = static_cast<Destination>(source[index]);
}

} // namespace ORVA::String::blocks
