#include "ORVA/String/Codecs.h"
#include "reference/plain_codecs.h"
#include "support/GuardedMemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace
{

using namespace ORVA::String;
using support::edge;

constexpr unsigned long no_limit = ~0UL;

using bytes = std::vector<unsigned char>;
using units = std::vector<unsigned short>;
using wide_units = std::vector<unsigned int>;

/// The limits that are worth trying on a text of `size` units: every one that cuts it, and what means none.
std::vector<unsigned long> limits_of(unsigned long size)
{
    std::vector<unsigned long> limits;
    for (unsigned long limit = 0; limit <= size + 2; ++limit)
        limits.push_back(limit);
    for (unsigned long limit : {no_limit, no_limit - 1, no_limit / 2, no_limit / 4, no_limit / 4 + 1, 1UL << 62})
        limits.push_back(limit);
    return limits;
}

// ---- UTF-8 ----

unsigned long characters(bytes const& text, unsigned long limit)
{
    return UTF8wstrlen(edge().place(text), limit);
}

TEST(UTF8Length, AStrayContinuationByteEndsTheText)
{
    EXPECT_EQ(characters({0x41, 0x80, 0x42}, no_limit), 1U);
    EXPECT_EQ(characters({0x41, 0x80, 0x42}, 3), 1U);
}

TEST(UTF8Length, AByteThatBeginsNothingEndsTheText)
{
    for (unsigned int byte = 0xF5; byte <= 0xFF; ++byte)
        EXPECT_EQ(characters({0x41, 0x42, static_cast<unsigned char>(byte)}, no_limit), 2U);
    EXPECT_EQ(characters({0xF4, 0x80, 0x80, 0x80, 0xF5}, no_limit), 1U);
}

TEST(UTF8Length, ASequenceCutShortIsNotCounted)
{
    EXPECT_EQ(characters({0xE2, 0x82}, 2), 0U);
    EXPECT_EQ(characters({0xE2, 0x82, 0}, no_limit), 0U);
    EXPECT_EQ(characters({0x41, 0xE2, 0x82, 0xAC}, 1), 1U);
    EXPECT_EQ(characters({0x41, 0xE2, 0x82, 0xAC}, 2), 1U);
    EXPECT_EQ(characters({0x41, 0xE2, 0x82, 0xAC}, 3), 1U);
    EXPECT_EQ(characters({0x41, 0xE2, 0x82, 0xAC}, 4), 2U);
    EXPECT_EQ(characters({0xF0, 0x9F, 0x98, 0x80}, 3), 0U);
    EXPECT_EQ(characters({0xF0, 0x9F, 0x98, 0x80}, 4), 1U);
    EXPECT_EQ(characters({0xC3, 0x41, 0x42, 0}, no_limit), 0U);
}

TEST(UTF8Length, ALimitCountsBytes)
{
    EXPECT_EQ(characters({0x41, 0x42, 0x43}, 2), 2U);
    EXPECT_EQ(characters({0x41, 0x42, 0x43}, 0), 0U);
    EXPECT_EQ(characters({0xC3, 0xA4, 0xC3, 0xB6}, 2), 1U);
    EXPECT_EQ(characters({0xC3, 0xA4, 0xC3, 0xB6}, 3), 1U);
}

TEST(UTF8Length, ATerminatorEndsTheTextWithinItsLimit)
{
    EXPECT_EQ(characters({0}, no_limit), 0U);
    EXPECT_EQ(characters({0, 0x41}, 2), 0U);
    EXPECT_EQ(characters({0x41, 0, 0x42}, 3), 1U);
}

TEST(UTF8Length, AnOverlongZeroIsACharacterAndNoTerminator)
{
    EXPECT_EQ(characters({0xC0, 0x80, 0}, no_limit), 1U);
    EXPECT_EQ(characters({0xC0, 0x80, 0x41, 0}, no_limit), 2U);
}

TEST(UTF8Length, ALimitOfZeroReadsNothing)
{
    EXPECT_EQ(UTF8wstrlen(nullptr, 0), 0U);
    EXPECT_EQ(UTF8w32strlen(nullptr, 0), 0U);
    EXPECT_EQ(UTF8u16strlen(nullptr, 0), 0U);
}

TEST(UTF8Length, InUTF16UnitsCountsTwoAboveFFFF)
{
    struct row
    {
        bytes text;
        unsigned long expected;
    };
    for (row const& given :
         {row{{0x41, 0}, 1}, row{{0xC3, 0xA4, 0}, 1}, row{{0xED, 0xA0, 0x80, 0}, 1}, row{{0xEF, 0xBF, 0xBF, 0}, 1},
          row{{0xF0, 0x8F, 0xBF, 0xBF, 0}, 1}, row{{0xF0, 0x90, 0x80, 0x80, 0}, 2}, row{{0xF1, 0x80, 0x80, 0x80, 0}, 2},
          row{{0xF4, 0x90, 0x80, 0x80, 0}, 2}, row{{0xF4, 0xBF, 0xBF, 0xBF, 0}, 2},
          row{{0x41, 0xF0, 0x9F, 0x98, 0x80, 0x42, 0}, 4}})
        EXPECT_EQ(UTF8u16strlen(edge().place(given.text), no_limit), given.expected);
}

/// Holds the three lengths of a text against the plain walk, for every limit that matters. The text lies before
/// memory that cannot be read, with nothing behind the units that may decide.
void expect_plain_utf8_lengths(bytes const& text)
{
    bytes padded = text;
    padded.resize(text.size() + 8);
    for (unsigned long limit : limits_of(text.size()))
    {
        unsigned long const expected = plain::utf8_characters(padded.data(), limit);
        unsigned long const expected16 = plain::utf8_to_utf16_units(padded.data(), limit);
        bytes readable = text;
        if (limit < text.size())
            readable.resize(limit);
        else if (limit > text.size())
            readable.push_back(0);
        unsigned char const* const source = edge().place(readable);
        ASSERT_EQ(UTF8wstrlen(source, limit), expected) << limit;
        ASSERT_EQ(UTF8w32strlen(source, limit), expected) << limit;
        ASSERT_EQ(UTF8u16strlen(source, limit), expected16) << limit;
    }
}

unsigned char const edge_bytes[] = {0x00, 0x01, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0xBF,
                                    0xC0, 0xDF, 0xE0, 0xEF, 0xF0, 0xF4, 0xF5, 0xFF};

TEST(UTF8Length, AgreesWithThePlainWalkOnEveryTwoBytes)
{
    for (unsigned int pair = 0; pair <= 0xFFFF; ++pair)
    {
        bytes const text = {static_cast<unsigned char>(pair >> 8), static_cast<unsigned char>(pair), 0, 0, 0, 0};
        for (unsigned long limit : {1UL, 2UL, no_limit})
        {
            if (UTF8wstrlen(text.data(), limit) != plain::utf8_characters(text.data(), limit) ||
                UTF8u16strlen(text.data(), limit) != plain::utf8_to_utf16_units(text.data(), limit))
                ADD_FAILURE() << std::hex << pair;
        }
    }
}

TEST(UTF8Length, AgreesWithThePlainWalkOnEveryThreeAndFourEdgeBytes)
{
    for (unsigned char first : edge_bytes)
    {
        for (unsigned char second : edge_bytes)
        {
            for (unsigned char third : edge_bytes)
            {
                expect_plain_utf8_lengths({first, second, third});
                for (unsigned char fourth : bytes{0x00, 0x41, 0x80, 0xBF, 0xC0})
                {
                    unsigned char const text[] = {first, second, third, fourth, 0, 0, 0, 0, 0};
                    for (unsigned long limit : {3UL, 4UL, 5UL, no_limit})
                    {
                        ASSERT_EQ(UTF8wstrlen(text, limit), plain::utf8_characters(text, limit));
                        ASSERT_EQ(UTF8u16strlen(text, limit), plain::utf8_to_utf16_units(text, limit));
                    }
                }
            }
        }
    }
}

/// Random text: runs of ASCII with other characters between them and now and then a byte that does not belong.
bytes random_utf8(std::mt19937& random, unsigned long size, unsigned int faults_per_thousand)
{
    bytes text;
    while (text.size() < size)
    {
        for (unsigned long run = random() % 40; run != 0; --run)
            text.push_back(static_cast<unsigned char>(1 + random() % 0x7F));
        unsigned int const bounds[] = {0x80, 0x800, 0x10000, 0x110000};
        unsigned char encoded[4];
        auto const value = static_cast<unsigned int>(1 + random() % (bounds[random() % 4] - 1));
        unsigned int const length = plain::encode_utf8(encoded, value);
        text.insert(text.end(), encoded, encoded + length);
        if (random() % 1000 < faults_per_thousand)
            text.push_back(edge_bytes[random() % std::size(edge_bytes)]);
    }
    text.resize(size);
    return text;
}

TEST(UTF8Length, AgreesWithThePlainWalkOnRandomTextAtEveryAlignment)
{
    std::mt19937 random(20240611);
    for (unsigned int round = 0; round < 120; ++round)
        expect_plain_utf8_lengths(random_utf8(random, random() % 90, 50));
    bytes const text = random_utf8(random, 3000, 0);
    bytes padded = text;
    padded.resize(text.size() + 8);
    for (unsigned long start = 0; start < 64; ++start)
    {
        for (unsigned long limit : {100UL, 1000UL, 2000UL, no_limit})
        {
            unsigned char const* const source = padded.data() + start;
            EXPECT_EQ(UTF8wstrlen(source, limit), plain::utf8_characters(source, limit));
            EXPECT_EQ(UTF8u16strlen(source, limit), plain::utf8_to_utf16_units(source, limit));
        }
    }
}

TEST(UTF8Length, AnyByteEndsARunOfASCIIWhereverItStands)
{
    for (unsigned char stop : bytes{0x00, 0x80, 0xBF, 0xF5, 0xFF})
    {
        for (unsigned long start = 0; start < 9; ++start)
        {
            for (unsigned long length = 0; length < 70; ++length)
            {
                bytes text(start + length, 'a');
                text.push_back(stop);
                EXPECT_EQ(UTF8wstrlen(edge().place(text) + start, no_limit), length);
                EXPECT_EQ(UTF8wstrlen(edge().place(text) + start, length / 2), length / 2);
            }
        }
    }
}

// ---- UTF-16 ----

TEST(UTF16Length, CountsAPairAsOneCharacterAndOneByte)
{
    units const text = {'a', 0xE4, 0x20AC, 0xD83D, 0xDE00, 0xD800, 0xDC00, 'b', 0};
    EXPECT_EQ(UTF16wstrlen(edge().place(text), no_limit), 6U);
    EXPECT_EQ(UTF16w32strlen(edge().place(text), no_limit), 6U);
    EXPECT_EQ(UTF16u8strlen(edge().place(text), no_limit), 1U + 2 + 3 + 1 + 1 + 1);
}

TEST(UTF16Length, AUnitTakesOneToThreeBytes)
{
    struct row
    {
        unsigned short unit;
        unsigned long expected;
    };
    for (row const& given : {row{1, 1}, row{0x7F, 1}, row{0x80, 2}, row{0x7FF, 2}, row{0x800, 3}, row{0xD7FF, 3},
                             row{0xE000, 3}, row{0xFFFF, 3}})
        EXPECT_EQ(UTF16u8strlen(edge().place(units{given.unit, 0}), no_limit), given.expected) << given.unit;
}

TEST(UTF16Length, EndsAtAnInvalidUnitWithoutAnError)
{
    for (unsigned short bad : units{0xDC00, 0xDEAD, 0xDFFF})
    {
        EXPECT_EQ(UTF16wstrlen(edge().place(units{'a', 'b', bad}), no_limit), 2U);
        EXPECT_EQ(UTF16u8strlen(edge().place(units{'a', 'b', bad}), no_limit), 2U);
    }
    for (unsigned short second : units{0x0000, 0x0041, 0xD800, 0xDBFE})
    {
        EXPECT_EQ(UTF16wstrlen(edge().place(units{'a', 0xD800, second}), no_limit), 1U);
        EXPECT_EQ(UTF16u8strlen(edge().place(units{'a', 0xD800, second}), no_limit), 1U);
    }
    for (unsigned short second : units{0xDBFF, 0xDC00, 0xE000, 0xFFFF})
    {
        EXPECT_EQ(UTF16wstrlen(edge().place(units{'a', 0xD800, second, 0}), no_limit), 2U);
        EXPECT_EQ(UTF16u8strlen(edge().place(units{'a', 0xD800, second, 0}), no_limit), 2U);
    }
}

TEST(UTF16Length, DoesNotCountAPairThatTheLimitCuts)
{
    EXPECT_EQ(UTF16wstrlen(edge().place(units{'a', 0xD83D}), 2), 1U);
    EXPECT_EQ(UTF16u8strlen(edge().place(units{'a', 0xD83D}), 2), 1U);
    EXPECT_EQ(UTF16wstrlen(edge().place(units{'a', 0xD83D, 0xDE00}), 3), 2U);
    EXPECT_EQ(UTF16wstrlen(edge().place(units{'a', 'b', 'c'}), 2), 2U);
}

TEST(UTF16Length, IsZeroForNothing)
{
    EXPECT_EQ(UTF16wstrlen(nullptr, 0), 0U);
    EXPECT_EQ(UTF16w32strlen(nullptr, 0), 0U);
    EXPECT_EQ(UTF16u8strlen(nullptr, 0), 0U);
    EXPECT_EQ(UTF16wstrlen(edge().place(units{0}), no_limit), 0U);
    EXPECT_EQ(UTF16u8strlen(edge().place(units{0}), no_limit), 0U);
}

TEST(UTF16Length, AgreesWithThePlainWalkOnEveryUnitAndOnEdgeUnits)
{
    for (unsigned int unit = 0; unit <= 0xFFFF; ++unit)
    {
        unsigned short const text[] = {static_cast<unsigned short>(unit), 0xDC01, 'a', 0, 0, 0};
        for (unsigned long limit : {1UL, 2UL, 3UL, no_limit})
        {
            if (UTF16wstrlen(text, limit) != plain::utf16_characters(text, limit) ||
                UTF16u8strlen(text, limit) != plain::utf16_to_utf8_bytes(text, limit))
                ADD_FAILURE() << std::hex << unit << " limit " << limit;
        }
    }
    unsigned short const edges[] = {0,      0x41,   0x7F,   0x80,   0x7FF,  0x800,  0xD7FF, 0xD800,
                                    0xDBFE, 0xDBFF, 0xDC00, 0xDC01, 0xDFFF, 0xE000, 0xFFFF};
    for (unsigned short first : edges)
    {
        for (unsigned short second : edges)
        {
            for (unsigned short third : edges)
            {
                units const padded = {first, second, third, 0, 0, 0, 0};
                for (unsigned long limit : limits_of(3))
                {
                    units readable(padded.begin(), padded.begin() + static_cast<long>(std::min(limit, 4UL)));
                    unsigned short const* const source = edge().place(readable);
                    ASSERT_EQ(UTF16wstrlen(source, limit), plain::utf16_characters(padded.data(), limit));
                    ASSERT_EQ(UTF16w32strlen(source, limit), plain::utf16_characters(padded.data(), limit));
                    ASSERT_EQ(UTF16u8strlen(source, limit), plain::utf16_to_utf8_bytes(padded.data(), limit));
                }
            }
        }
    }
}

// ---- UTF-32 and wide text ----

std::vector<wchar_t> wide(wide_units const& text)
{
    return std::vector<wchar_t>(text.begin(), text.end());
}

TEST(UTF32Length, InUnitsIsTheSmallerOfLengthAndLimit)
{
    wide_units const text = {'a', 0x110000, 0xFFFFFFFF, 0};
    for (auto const& [limit, expected] : {std::pair{0UL, 0UL}, std::pair{1UL, 1UL}, std::pair{2UL, 2UL},
                                          std::pair{3UL, 3UL}, std::pair{4UL, 3UL}, std::pair{no_limit, 3UL}})
    {
        EXPECT_EQ(UTF32wstrlen(edge().place(text), limit), expected);
        EXPECT_EQ(nqfWw32strlen(edge().place(wide(text)), limit), expected);
    }
    EXPECT_EQ(UTF32wstrlen(edge().place(wide_units{'a', 'b'}), 2), 2U);
    EXPECT_EQ(nqfWw32strlen(edge().place(wide({'a', 'b'})), 2), 2U);
    EXPECT_EQ(UTF32wstrlen(edge().place(wide_units{0}), no_limit), 0U);
}

TEST(UTF32Length, CountsTheUnitAtTheLimitToo)
{
    wide_units const text = {'a', 'b', 'c', 0};
    EXPECT_EQ(UTF32u8strlen(edge().place(text), 2), 3U);
    EXPECT_EQ(UTF32u16strlen(edge().place(text), 2), 3U);
    EXPECT_EQ(nqfWu8strlen(edge().place(wide(text)), 2), 3U);
    EXPECT_EQ(UTF32wstrlen(edge().place(text), 2), 2U);
    EXPECT_EQ(nqfWw32strlen(edge().place(wide(text)), 2), 2U);
    EXPECT_EQ(UTF32u8strlen(edge().place(text), 1), 2U);
    EXPECT_EQ(UTF32u8strlen(edge().place(text), 3), 3U);
}

TEST(UTF32Length, LooksAtNoUnitBehindTheOneAtTheLimit)
{
    wide_units const text = {'a', 'b', 'c'};
    EXPECT_EQ(UTF32u8strlen(edge().place(text), 2), 3U);
    EXPECT_EQ(UTF32u16strlen(edge().place(text), 2), 3U);
    EXPECT_EQ(nqfWu8strlen(edge().place(wide(text)), 2), 3U);
}

TEST(UTF32Length, ALimitOfZeroGivesZeroAndReadsNothing)
{
    EXPECT_EQ(UTF32wstrlen(nullptr, 0), 0U);
    EXPECT_EQ(UTF32u8strlen(nullptr, 0), 0U);
    EXPECT_EQ(UTF32u16strlen(nullptr, 0), 0U);
    EXPECT_EQ(nqfWw32strlen(nullptr, 0), 0U);
    EXPECT_EQ(nqfWu8strlen(nullptr, 0), 0U);
    EXPECT_EQ(UTF32u8strlen(edge().place(wide_units{0}), 5), 0U);
    EXPECT_EQ(UTF32u16strlen(edge().place(wide_units{0}), 5), 0U);
}

TEST(UTF32Length, EndsWhereItsSizeRuleRefuses)
{
    wide_units const at_bound = {'a', 0x110000, 'b', 0};
    wide_units const above = {'a', 0x110001, 'b', 0};
    wide_units const top_bit = {'a', 0x80000041, 'b', 0};
    EXPECT_EQ(UTF32u8strlen(edge().place(at_bound), no_limit), 1U);
    EXPECT_EQ(nqfWu8strlen(edge().place(wide(at_bound)), no_limit), 1U);
    EXPECT_EQ(UTF32u16strlen(edge().place(at_bound), no_limit), 4U);
    EXPECT_EQ(UTF32u16strlen(edge().place(above), no_limit), 1U);
    EXPECT_EQ(UTF32u8strlen(edge().place(above), no_limit), 1U);
    EXPECT_EQ(UTF32u8strlen(edge().place(top_bit), no_limit), 1U);
    EXPECT_EQ(UTF32u16strlen(edge().place(top_bit), no_limit), 1U);
    EXPECT_EQ(nqfWu8strlen(edge().place(wide(top_bit)), no_limit), 1U);
}

TEST(UTF32Length, AddsUpTheSizes)
{
    wide_units const text = {0x7F, 0x80, 0x7FF, 0x800, 0xD800, 0xFFFF, 0x10000, 0x10FFFF, 0};
    EXPECT_EQ(UTF32u8strlen(edge().place(text), no_limit), 1U + 2 + 2 + 3 + 3 + 3 + 4 + 4);
    EXPECT_EQ(UTF32u16strlen(edge().place(text), no_limit), 6U + 2 + 2);
    EXPECT_EQ(nqfWu8strlen(edge().place(wide(text)), no_limit), 1U + 2 + 2 + 3 + 3 + 3 + 4 + 4);
}

TEST(UTF32Length, AgreesWithThePlainWalkForEveryLimit)
{
    std::mt19937 random(7);
    unsigned int const edges[] = {0,      1,       0x7F,    0x80,     0x7FF,    0x800,    0xD800,   0xFFFF,
                                  0xFFFF, 0x10000, 0x10000, 0x10FFFF, 0x10FFFF, 0x110000, 0x110001, 0x80000000};
    for (unsigned int round = 0; round < 400; ++round)
    {
        wide_units text(random() % 24);
        for (unsigned int& unit : text)
            unit = random() % 4 == 0 ? edges[random() % std::size(edges)] : 'a';
        wide_units padded = text;
        padded.resize(text.size() + 4);
        for (unsigned long limit : limits_of(text.size()))
        {
            wide_units const exact(padded.begin(),
                                   padded.begin() + static_cast<long>(std::min(limit, text.size()) + 1));
            std::vector<wchar_t> const exact_wide = wide(exact);
            ASSERT_EQ(UTF32wstrlen(edge().place(exact), limit), plain::utf32_units(padded.data(), limit));
            ASSERT_EQ(UTF32u8strlen(edge().place(exact), limit),
                      plain::walk_utf32(padded.data(), limit, plain::utf8_size));
            ASSERT_EQ(UTF32u16strlen(edge().place(exact), limit),
                      plain::walk_utf32(padded.data(), limit, plain::utf16_size));
            ASSERT_EQ(nqfWw32strlen(edge().place(exact_wide), limit), plain::utf32_units(padded.data(), limit));
            ASSERT_EQ(nqfWu8strlen(edge().place(exact_wide), limit),
                      plain::walk_utf32(padded.data(), limit, plain::utf8_size));
        }
    }
}

TEST(WideLength, InUTF16UnitsIsAlwaysZero)
{
    EXPECT_EQ(nqfWu16strlen(L"abc", no_limit), 0U);
    EXPECT_EQ(nqfWu16strlen(L"", 1), 0U);
    EXPECT_EQ(nqfWu16strlen(L"\U0001F600", 1), 0U);
    EXPECT_EQ(nqfWu16strlen(nullptr, no_limit), 0U);
}

} // namespace
