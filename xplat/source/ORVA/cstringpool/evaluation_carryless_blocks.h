/// @file
/// Reading ASCII text of the three encodings into vectors, for the kernels that multiply without carries.
///
/// A block is eight characters of 16 bits, turned around as an accumulator holds a message: the first byte of the first
/// character at the top.
#pragma once

#include "crc_carryless_steps.h"

#if defined(__x86_64__)

#include <cstring>

namespace ORVA::String::evaluation
{

using Byte = unsigned char;

// Shuffle indices that turn eight characters around, the first byte to the top, as an accumulator holds them. Read n
// bytes further on, they also push the last n bytes out at the bottom and fill with 0 at the top.
alignas(16) inline constexpr Byte turning[32] = {
    15,   14,   13,   12,   11,   10,   9,    8,    7,    6,    5,    4,    3,    2,    1,    0, //
    0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80};

// The same for fewer than eight characters, of which a vector holds the first and the last two or four: lanes 0 to 3
// or 0 to 7. Indexed by their number.
#define ORVA_LANE(n) 2 * (n) + 1, 2 * (n)
#define ORVA_NONE 0x80, 0x80
alignas(16) inline constexpr Byte joining[8][16] = {
    {ORVA_NONE, ORVA_NONE, ORVA_NONE, ORVA_NONE, ORVA_NONE, ORVA_NONE, ORVA_NONE, ORVA_NONE},
    {ORVA_LANE(0), ORVA_NONE, ORVA_NONE, ORVA_NONE, ORVA_NONE, ORVA_NONE, ORVA_NONE, ORVA_NONE},
    {ORVA_LANE(1), ORVA_LANE(0), ORVA_NONE, ORVA_NONE, ORVA_NONE, ORVA_NONE, ORVA_NONE, ORVA_NONE},
    {ORVA_LANE(3), ORVA_LANE(2), ORVA_LANE(0), ORVA_NONE, ORVA_NONE, ORVA_NONE, ORVA_NONE, ORVA_NONE},
    {ORVA_LANE(3), ORVA_LANE(2), ORVA_LANE(1), ORVA_LANE(0), ORVA_NONE, ORVA_NONE, ORVA_NONE, ORVA_NONE},
    {ORVA_LANE(7), ORVA_LANE(6), ORVA_LANE(5), ORVA_LANE(4), ORVA_LANE(0), ORVA_NONE, ORVA_NONE, ORVA_NONE},
    {ORVA_LANE(7), ORVA_LANE(6), ORVA_LANE(5), ORVA_LANE(4), ORVA_LANE(1), ORVA_LANE(0), ORVA_NONE, ORVA_NONE},
    {ORVA_LANE(7), ORVA_LANE(6), ORVA_LANE(5), ORVA_LANE(4), ORVA_LANE(2), ORVA_LANE(1), ORVA_LANE(0), ORVA_NONE},
};
#undef ORVA_LANE
#undef ORVA_NONE

template <class Word>
ORVA_CARRYLESS_STEP __m128i load_word(void const* bytes)
{
    Word word;
    std::memcpy(&word, bytes, sizeof word);
    return Buffers::crc64::two_words(0, static_cast<unsigned long>(word));
}

ORVA_CARRYLESS_STEP __m128i load_two_halves(void const* low, void const* high)
{
    return _mm_unpacklo_epi64(load_word<unsigned long>(low), load_word<unsigned long>(high));
}

// Reads characters of one kind into lanes of 16 bits, and notes in `seen` the bits of all that it read.
template <class Unit>
struct Reader;

template <>
struct Reader<wchar_t>
{
    ORVA_CARRYLESS_STEP static __m128i eight(wchar_t const* text, __m128i& seen)
    {
        return four_and_four(text, text + 4, seen);
    }
    ORVA_CARRYLESS_STEP static __m128i four_and_four(wchar_t const* first, wchar_t const* last, __m128i& seen)
    {
        return pack(Buffers::crc64::load(first), Buffers::crc64::load(last), seen);
    }
    ORVA_CARRYLESS_STEP static __m128i two_and_two(wchar_t const* first, wchar_t const* last, __m128i& seen)
    {
        return pack(load_two_halves(first, last), _mm_setzero_si128(), seen);
    }
    ORVA_CARRYLESS_STEP static __m128i one(wchar_t const* text, __m128i& seen)
    {
        return pack(_mm_cvtsi32_si128(*text), _mm_setzero_si128(), seen);
    }
    ORVA_CARRYLESS_STEP static bool only_ascii(__m128i seen)
    {
        return _mm_testz_si128(seen, _mm_set1_epi32(~0x7F)) != 0;
    }

private:
    ORVA_CARRYLESS_STEP static __m128i pack(__m128i low, __m128i high, __m128i& seen)
    {
        seen = _mm_or_si128(seen, _mm_or_si128(low, high));
        return _mm_packus_epi32(low, high);
    }
};

template <>
struct Reader<unsigned short>
{
    ORVA_CARRYLESS_STEP static __m128i eight(unsigned short const* text, __m128i& seen)
    {
        return note(Buffers::crc64::load(text), seen);
    }
    ORVA_CARRYLESS_STEP static __m128i four_and_four(unsigned short const* first, unsigned short const* last,
                                                     __m128i& seen)
    {
        return note(load_two_halves(first, last), seen);
    }
    ORVA_CARRYLESS_STEP static __m128i two_and_two(unsigned short const* first, unsigned short const* last,
                                                   __m128i& seen)
    {
        return note(_mm_unpacklo_epi32(load_word<unsigned int>(first), load_word<unsigned int>(last)), seen);
    }
    ORVA_CARRYLESS_STEP static __m128i one(unsigned short const* text, __m128i& seen)
    {
        return note(_mm_cvtsi32_si128(*text), seen);
    }
    ORVA_CARRYLESS_STEP static bool only_ascii(__m128i seen)
    {
        return _mm_testz_si128(seen, _mm_set1_epi16(~0x7F)) != 0;
    }

private:
    ORVA_CARRYLESS_STEP static __m128i note(__m128i lanes, __m128i& seen)
    {
        seen = _mm_or_si128(seen, lanes);
        return lanes;
    }
};

template <>
struct Reader<unsigned char>
{
    ORVA_CARRYLESS_STEP static __m128i eight(unsigned char const* text, __m128i& seen)
    {
        return widen(load_word<unsigned long>(text), seen);
    }
    ORVA_CARRYLESS_STEP static __m128i four_and_four(unsigned char const* first, unsigned char const* last,
                                                     __m128i& seen)
    {
        return widen(_mm_unpacklo_epi32(load_word<unsigned int>(first), load_word<unsigned int>(last)), seen);
    }
    ORVA_CARRYLESS_STEP static __m128i two_and_two(unsigned char const* first, unsigned char const* last, __m128i& seen)
    {
        return widen(_mm_unpacklo_epi16(load_word<unsigned short>(first), load_word<unsigned short>(last)), seen);
    }
    ORVA_CARRYLESS_STEP static __m128i one(unsigned char const* text, __m128i& seen)
    {
        return widen(_mm_cvtsi32_si128(*text), seen);
    }
    ORVA_CARRYLESS_STEP static bool only_ascii(__m128i seen)
    {
        return _mm_testz_si128(seen, _mm_set1_epi16(~0x7F)) != 0;
    }

private:
    ORVA_CARRYLESS_STEP static __m128i widen(__m128i bytes, __m128i& seen)
    {
        __m128i const lanes = _mm_cvtepu8_epi16(bytes);
        seen = _mm_or_si128(seen, lanes);
        return lanes;
    }
};

// Up to eight characters, turned around, with 0 before them.
template <class Unit>
ORVA_CARRYLESS_STEP __m128i read_first(Unit const* text, unsigned long count, __m128i& seen)
{
    __m128i lanes;
    if (count >= 4)
        lanes = Reader<Unit>::four_and_four(text, text + count - 4, seen);
    else if (count >= 2)
        lanes = Reader<Unit>::two_and_two(text, text + count - 2, seen);
    else
        lanes = Reader<Unit>::one(text, seen);
    return _mm_shuffle_epi8(lanes, Buffers::crc64::load(joining[count]));
}

template <class Unit>
ORVA_CARRYLESS_STEP __m128i read_eight(Unit const* text, __m128i& seen)
{
    return _mm_shuffle_epi8(Reader<Unit>::eight(text, seen), Buffers::crc64::load(turning));
}

// The bit 0x20 for each byte from A to Z. Bytes of ASCII characters are not negative, but the sum of those beyond Z is.
ORVA_CARRYLESS_STEP __m128i capital_marks(__m128i bytes)
{
    __m128i const sums = _mm_add_epi8(bytes, _mm_set1_epi8(0x7F - 'Z'));
    __m128i const capitals = _mm_cmpgt_epi8(sums, _mm_set1_epi8(0x7F - 'Z' + 'A' - 1));
    return _mm_and_si128(capitals, _mm_set1_epi8(0x20));
}

} // namespace ORVA::String::evaluation

#endif
