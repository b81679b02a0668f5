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
ORVA_CARRYLESS_STEP unsigned long finish(__m128i accumulator)
{
    constexpr unsigned long shift = power_of_x(128);
    constexpr unsigned long quotient = reciprocal();
    // The high half moves over the low one and the 64 bits behind it; 128 bits remain to be divided.
    __m128i const moved = _mm_clmulepi64_si128(accumulator, two_words(0, shift), 0x01);
    __m128i const dividend = _mm_xor_si128(moved, _mm_slli_si128(accumulator, 8));
    // The quotient is exact: both its factors lack their top bit, which the XOR adds.
    __m128i const product = _mm_clmulepi64_si128(dividend, two_words(0, quotient), 0x01);
    __m128i const whole = _mm_xor_si128(product, dividend);
    __m128i const multiple = _mm_clmulepi64_si128(whole, two_words(0, polynomial), 0x01);
    return static_cast<unsigned long>(_mm_cvtsi128_si64(_mm_xor_si128(multiple, dividend)));
}

/// Sixteen bytes of a message from memory of any alignment.
ORVA_CARRYLESS_STEP __m128i load(void const* bytes)
{
    return _mm_loadu_si128(static_cast<__m128i const*>(bytes));
}

} // namespace ORVA::Buffers::crc64

#endif
