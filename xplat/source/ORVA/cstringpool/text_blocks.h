/// @file
/// Blocks of 16 bytes of text in vectors, for walks that look at many units at once.
///
/// The vectors are those of the compiler, which turns them into the instructions that every processor of the x86-64
/// and of the ARM family has. A comparison gives all bits set in each unit where it holds, and 0 elsewhere.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

namespace ORVA::String::blocks
{

using Bytes [[gnu::vector_size(16)]] = unsigned char;
using SignedBytes [[gnu::vector_size(16)]] = signed char;
using Units32 [[gnu::vector_size(16)]] = int;
using Words [[gnu::vector_size(16)]] = std::uint64_t;

/// The bytes of a block.
inline constexpr unsigned long size = sizeof(Bytes);

/// Reads a block, or a number, from memory of any alignment.
template <class Block>
inline Block load(void const* place)
{
    Block block;
    std::memcpy(&block, place, sizeof block);
    return block;
}

/// Whether a bit of a block is set.
template <class Block>
inline bool any(Block block)
{
    auto const words = (Words)block;
    return (words[0] | words[1]) != 0;
}

/// The sum of the bytes of a block, none of them above 31.
inline unsigned long sum_of_bytes(Bytes block)
{
    constexpr std::uint64_t lowest_bits = 0x0101010101010101;
    auto const words = (Words)block;
    return (words[0] * lowest_bits >> 56) + (words[1] * lowest_bits >> 56);
}

/// The sum of the units of a block, which fits into each half of a word.
inline unsigned long sum_of_units(Units32 block)
{
    auto const words = (Words)block;
    std::uint64_t const sum = words[0] + words[1];
    return (sum & 0xFFFFFFFF) + (sum >> 32);
}

/// Converts so many units, all below 0x80, to units of another width.
template <unsigned long count, class Source, class Destination>
inline void copy_ascii(Source const* source, Destination* destination)
{
    Source from[count];
    Destination to[count];
    std::memcpy(from, source, sizeof from);
    for (unsigned long index = 0; index < count; ++index)
        to[index] = static_cast<Destination>(from[index]);
    std::memcpy(destination, to, sizeof to);
}

/// The same for any number of units, in blocks that overlap where their length does not divide it. Gives the end of
/// what was stored.
template <class Source, class Destination>
inline Destination* copy_ascii(Source const* source, unsigned long length, Destination* destination)
{
    auto const in_blocks_of = [=](auto count)
    {
        for (unsigned long index = 0; index < length - count; index += count)
            copy_ascii<count>(source + index, destination + index);
        copy_ascii<count>(source + length - count, destination + length - count);
    };
    if (length >= 16)
        in_blocks_of(std::integral_constant<unsigned long, 16>());
    else if (length >= 4)
        in_blocks_of(std::integral_constant<unsigned long, 4>());
    else
    {
        for (unsigned long index = 0; index < length; ++index)
            destination[index] = static_cast<Destination>(source[index]);
    }
    return destination + length;
}

} // namespace ORVA::String::blocks
