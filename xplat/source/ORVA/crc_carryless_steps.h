/// @file
/// The steps of a 64-bit check by carry-less multiplication, for processors of the x86 family.
///
/// An accumulator of 128 bits stands for the message fed so far, shortened to an equivalent one of 16 bytes: byte 15
/// of the vector is the first byte of the message. A message that begins with bytes of 0 is worth the same without
/// them when the register starts at 0.
#pragma once

#include "crc_tables.h"

#if defined(__x86_64__)

#include <immintrin.h>

/// Marks a function that is compiled for the vector instructions below, whatever the rest of the library is compiled
/// for. It may run only where has_carryless() is true.
#define ORVA_CARRYLESS_TARGET __attribute__((target("pclmul,sse4.1")))

/// A step, which becomes part of the functions above.
#define ORVA_CARRYLESS_STEP __attribute__((target("pclmul,sse4.1"), always_inline)) inline

namespace ORVA::Buffers::crc64
{

ORVA_CARRYLESS_STEP __m128i two_words(unsigned long high, unsigned long low)
{
    return _mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low));
}

/// The factors that move an accumulator over `Bits` bits of message that follow.
template <unsigned int Bits>
ORVA_CARRYLESS_STEP __m128i factors()
{
    constexpr unsigned long high = power_of_x(Bits + 64);
    constexpr unsigned long low = power_of_x(Bits);
    return two_words(high, low);
}

/// Moves `accumulator` over the message that the factors stand for.
ORVA_CARRYLESS_STEP __m128i fold(__m128i accumulator, __m128i factor)
{
    return _mm_xor_si128(_mm_clmulepi64_si128(accumulator, factor, 0x11),
                         _mm_clmulepi64_si128(accumulator, factor, 0x00));
}

/// Moves `accumulator` over `Bits` bits, and adds the sixteen bytes at the end of them.
template <unsigned int Bits>
ORVA_CARRYLESS_STEP __m128i fold_and_add(__m128i accumulator, __m128i bytes)
{
    __m128i const factor = factors<Bits>();
    __m128i const high = _mm_clmulepi64_si128(accumulator, factor, 0x11);
    __m128i const low = _mm_clmulepi64_si128(accumulator, factor, 0x00);
    return _mm_xor_si128(_mm_xor_si128(bytes, high), low);
}

/// The register after the message that `accumulator` stands for: the remainder of the message times x^64.
///
/// Quotients add up as products do, so the halves are divided side by side. Of the quotient only the low 64 bits are
/// needed, and they are exact; since the dividend ends in 64 bits of 0, so is the remainder from their product.
ORVA_CARRYLESS_STEP unsigned long finish(__m128i accumulator)
{
    __m128i const factor = two_words(reciprocal_low, reciprocal_high);
    __m128i const high_by_low = _mm_clmulepi64_si128(accumulator, factor, 0x11);
    __m128i const high_by_high = _mm_clmulepi64_si128(accumulator, factor, 0x01);
    __m128i const low_by_high = _mm_clmulepi64_si128(accumulator, factor, 0x00);
    // The reciprocal lacks its top bit, which adds the half itself: the high one beyond the bits that are needed.
    __m128i const above = _mm_srli_si128(_mm_xor_si128(high_by_low, low_by_high), 8);
    __m128i const quotient = _mm_xor_si128(above, _mm_xor_si128(high_by_high, accumulator));
    __m128i const multiple = _mm_clmulepi64_si128(quotient, two_words(0, polynomial), 0x00);
    return static_cast<unsigned long>(_mm_cvtsi128_si64(multiple));
}

/// Sixteen bytes of a message from memory of any alignment.
ORVA_CARRYLESS_STEP __m128i load(void const* bytes)
{
    return _mm_loadu_si128(static_cast<__m128i const*>(bytes));
}

} // namespace ORVA::Buffers::crc64

#endif
