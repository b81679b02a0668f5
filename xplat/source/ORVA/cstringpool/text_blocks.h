/// @file
/// Blocks of units on their way from one text to another.
#pragma once

#include <cstring>

namespace ORVA::String::blocks
{

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

/// The same for any number of units, in blocks of which the last overlaps the one before.
template <class Source, class Destination>
void copy_units(Source const* source, unsigned long length, Destination* destination)
{
    if (length >= 16)
    {
        for (unsigned long index = 0; index < length - 16; index += 16)
            copy_units<16>(source + index, destination + index);
        copy_units<16>(source + length - 16, destination + length - 16);
    }
    else if (length >= 4)
    {
        for (unsigned long index = 0; index < length - 4; index += 4)
            copy_units<4>(source + index, destination + index);
        copy_units<4>(source + length - 4, destination + length - 4);
    }
    else
    {
        for (unsigned long index = 0; index < length; ++index)
            destination[index] = static_cast<Destination>(source[index]);
    }
}

} // namespace ORVA::String::blocks
