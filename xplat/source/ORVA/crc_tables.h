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

/// Entry [k][i] is the register after the byte i and so many bytes of 0, from a register of 0: `k` of them, and as many
/// as a set of tables begins with. Eight bytes at a time take one look-up each, independent of the others: 16 KB.
struct SlicingTables
{
    unsigned long entry[8][256];
};

/// The register after `bytes` bytes of 0, from `value`.
constexpr unsigned long after_zeroes(unsigned long value, unsigned int bytes)
{
    for (unsigned int bit = 0; bit < 8 * bytes; ++bit)
        value = times_x(value);
    return value;
}

/// Tables that begin with `zeroes` bytes of 0.
constexpr SlicingTables make_slicing_tables(unsigned int zeroes)
{
    SlicingTables tables{};
    for (unsigned int i = 0; i < 256; ++i)
    {
        tables.entry[0][i] = after_zeroes(static_cast<unsigned long>(i) << 56, zeroes + 1);
        for (unsigned int k = 1; k < 8; ++k)
            tables.entry[k][i] = after_zeroes(tables.entry[k - 1][i], 1);
    }
    return tables;
}

/// For text in one register, and for text that four registers share word by word: each of these skips the words of
/// the others.
alignas(64) inline constexpr SlicingTables slicing = make_slicing_tables(0);
alignas(64) inline constexpr SlicingTables skipping = make_slicing_tables(24);

/// The register after eight bytes of 0, from `value`, and the bytes of 0 that the tables begin with. XOR the first byte
/// into the top of the register, the eighth into its bottom beforehand, and it is the register after these eight bytes.
inline unsigned long advance_eight(unsigned long value, SlicingTables const& tables = slicing)
{
    auto const& table = tables.entry;
    return table[7][value >> 56] ^ table[6][value >> 48 & 0xFF] ^ table[5][value >> 40 & 0xFF] ^
           table[4][value >> 32 & 0xFF] ^ table[3][value >> 24 & 0xFF] ^ table[2][value >> 16 & 0xFF] ^
           table[1][value >> 8 & 0xFF] ^ table[0][value & 0xFF];
}

} // namespace ORVA::Buffers::crc64
