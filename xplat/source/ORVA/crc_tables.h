/// @file
/// Constants for the 64-bit check that makes the library's hash keys.
///
/// Bit i of a 64-bit value stands for x^i; the generator is x^64 plus `polynomial`. All values are computed while
/// compiling.
#pragma once

namespace ORVA::Buffers::crc64
{

/// The generator of the library's keys without its top bit.
inline constexpr unsigned long polynomial = 0x42f0e1eba9ea3693UL;

/// `value` times x, reduced.
constexpr unsigned long times_x(unsigned long value)
{
    return value << 1 ^ ((0UL - (value >> 63)) & polynomial);
}

/// x^`exponent`, reduced. The exponent is at least 64.
constexpr unsigned long power_of_x(unsigned int exponent)
{
    unsigned long value = polynomial;
    for (unsigned int i = 64; i < exponent; ++i)
        value = times_x(value);
    return value;
}

/// The quotient of `remainder` times x^64 and the generator: the next 64 bits of a long division.
constexpr unsigned long next_quotient(unsigned long remainder)
{
    unsigned long quotient = 0;
    for (int i = 0; i < 64; ++i)
    {
        quotient = quotient << 1 | remainder >> 63;
        remainder = times_x(remainder);
    }
    return quotient;
}

/// The quotient of x^192 and the generator without its top bit x^128, in two words. The upper one alone is the quotient
/// of x^128 without its top bit x^64.
inline constexpr unsigned long reciprocal_high = next_quotient(power_of_x(64));
inline constexpr unsigned long reciprocal_low = next_quotient(power_of_x(128));

/// Entry [k][i] is the register after the byte i and k bytes of 0, from a register of 0. Eight bytes at a time take
/// one look-up each, independent of the others: 16 KB of constants.
struct SlicingTables
{
    unsigned long entry[8][256];
};

constexpr SlicingTables make_slicing_tables()
{
    SlicingTables tables{};
    for (unsigned int i = 0; i < 256; ++i)
    {
        unsigned long value = static_cast<unsigned long>(i) << 56;
        for (int bit = 0; bit < 8; ++bit)
            value = times_x(value);
        tables.entry[0][i] = value;
    }
    for (unsigned int k = 1; k < 8; ++k)
    {
        for (unsigned int i = 0; i < 256; ++i)
        {
            unsigned long const before = tables.entry[k - 1][i];
            tables.entry[k][i] = tables.entry[0][before >> 56] ^ before << 8;
        }
    }
    return tables;
}

alignas(64) inline constexpr SlicingTables slicing = make_slicing_tables();

/// The register after eight bytes of 0, from `value`. XOR the first byte into the top of the register, the eighth into
/// its bottom beforehand, and it is the register after these eight bytes.
inline unsigned long advance_eight(unsigned long value)
{
    auto const& table = slicing.entry;
    return table[7][value >> 56] ^ table[6][value >> 48 & 0xFF] ^ table[5][value >> 40 & 0xFF] ^
           table[4][value >> 32 & 0xFF] ^ table[3][value >> 24 & 0xFF] ^ table[2][value >> 16 & 0xFF] ^
           table[1][value >> 8 & 0xFF] ^ table[0][value & 0xFF];
}

} // namespace ORVA::Buffers::crc64
