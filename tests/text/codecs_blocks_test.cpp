// The codecs look at blocks of text where they can. Here each kind of character crosses the borders of blocks in every
// way, and each kind of fault stands at every place of a block, before memory that cannot be read.
#include "ORVA/String/Codecs.h"
#include "reference/plain_codecs.h"
#include "support/GuardedMemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

namespace
{

using namespace ORVA::String;
using support::edge;

constexpr unsigned long no_limit = ~0UL;

using Bytes = std::vector<unsigned char>;
using Units = std::vector<unsigned short>;
using Wide = std::vector<wchar_t>;

/// Longer than two blocks and what is walked one by one before the first.
constexpr unsigned long most_bytes = 72;

Bytes repeated(Bytes const& character, unsigned long shift)
{
    Bytes text(shift, 'a');
    while (text.size() < most_bytes)
        text.insert(text.end(), character.begin(), character.end());
    return text;
}

/// Characters of one to four bytes, the overlong and the large among them, and some in turns.
std::vector<Bytes> characters()
{
    return {{'k'},
            {0xC3, 0xA9},
            {0xC0, 0x80},
            {0xE2, 0x82, 0xAC},
            {0xE0, 0x80, 0x80},
            {0xED, 0xA0, 0x80},
            {0xF0, 0x9F, 0x98, 0x80},
            {0xF0, 0x8F, 0xBF, 0xBF},
            {0xF0, 0x90, 0x80, 0x80},
            {0xF4, 0xBF, 0xBF, 0xBF},
            {'a', 0xC3, 0xA9, 0xE2, 0x82, 0xAC, 0xF0, 0x9F, 0x98, 0x80},
            {0xE4, 0xB8, 0xAD, 'x', 'y', 0xC3, 0xA9, 0xF1, 0x80, 0x80, 0x80, 'z'}};
}

/// Measures and converts `text`, which ends where nothing more can be read, and holds the results against the plain
/// walk. `source` may be inside the text.
void expect_plain(Bytes const& text, unsigned long limit)
{
    Bytes padded = text;
    padded.resize(text.size() + 8);
    unsigned char const* const source = edge().place(text);
    unsigned long const length = plain::utf8_characters(padded.data(), limit);
    ASSERT_EQ(UTF8wstrlen(source, limit), length);
    ASSERT_EQ(UTF8u16strlen(source, limit), plain::utf8_to_utf16_units(padded.data(), limit));

    // Exactly the room, too little of it, and room for a character for each byte.
    for (unsigned long capacity : {length + 1, length, text.size() + 9})
    {
        Wide expected(capacity + 1, L'#');
        Wide stored(capacity + 1, L'#');
        ASSERT_EQ(UTF8_To_nqfWChar(source, limit, stored.data(), capacity),
                  plain::utf8_to_wide(padded.data(), limit, expected.data(), capacity));
        ASSERT_EQ(stored, expected);
    }
}

TEST(UTF8Blocks, CharactersCrossTheBordersOfBlocksInEveryWay)
{
    for (Bytes const& character : characters())
    {
        for (unsigned long shift = 0; shift < 20; ++shift)
        {
            Bytes const text = repeated(character, shift);
            for (unsigned long size = shift; size <= text.size(); ++size)
            {
                // Cut by the limit, and cut by the terminator.
                Bytes cut(text.begin(), text.begin() + static_cast<long>(size));
                ASSERT_NO_FATAL_FAILURE(expect_plain(cut, size)) << size;
                cut.push_back(0);
                ASSERT_NO_FATAL_FAILURE(expect_plain(cut, no_limit)) << size;
            }
        }
    }
}

TEST(UTF8Blocks, AFaultAtAnyPlaceEndsTheText)
{
    for (Bytes const& character : characters())
    {
        Bytes const text = repeated(character, 1);
        for (unsigned long place = 0; place < text.size(); ++place)
        {
            for (unsigned int fault : {0x00U, 0x41U, 0x80U, 0xBFU, 0xC3U, 0xE2U, 0xF0U, 0xF4U, 0xF5U, 0xFFU})
            {
                Bytes spoilt = text;
                spoilt[place] = static_cast<unsigned char>(fault);
                spoilt.push_back(0);
                ASSERT_NO_FATAL_FAILURE(expect_plain(spoilt, no_limit)) << place << " " << fault;
                ASSERT_NO_FATAL_FAILURE(expect_plain(spoilt, most_bytes - 3)) << place << " " << fault;
            }
        }
    }
}

TEST(UTF8Blocks, NothingIsReadBehindAFaultAtTheLimit)
{
    for (Bytes const& character : characters())
    {
        for (unsigned long shift = 0; shift < 20; ++shift)
        {
            Bytes text = repeated(character, shift);
            for (unsigned char fault : Bytes{0x80, 0xF5, 0xFF})
            {
                text.push_back(fault);
                ASSERT_NO_FATAL_FAILURE(expect_plain(text, text.size()));
                text.pop_back();
            }
        }
    }
}

/// Text that is longer than what is decoded while it is measured, and then `text`.
Bytes behind_long_text(Bytes const& character, Bytes const& text)
{
    Bytes whole = {0xC3, 0xA9};
    while (whole.size() < 1030)
        whole.insert(whole.end(), character.begin(), character.end());
    whole.insert(whole.end(), text.begin(), text.end());
    return whole;
}

TEST(UTF8Blocks, EveryKindEndsALongTextOfEveryKind)
{
    for (Bytes const& character : characters())
    {
        for (Bytes const& last : characters())
        {
            for (unsigned long count : {1UL, 2UL, 3UL, 4UL, 5UL, 7UL, 8UL, 9UL, 16UL, 17UL})
            {
                Bytes end;
                for (unsigned long index = 0; index < count; ++index)
                    end.insert(end.end(), last.begin(), last.end());
                Bytes text = behind_long_text(character, end);
                ASSERT_NO_FATAL_FAILURE(expect_plain(text, text.size())) << count;
                text.push_back(0xFF);
                ASSERT_NO_FATAL_FAILURE(expect_plain(text, no_limit)) << count;
            }
        }
    }
}

TEST(UTF8Blocks, AFaultAtAnyPlaceEndsALongText)
{
    for (Bytes const& character : characters())
    {
        Bytes const text = repeated(character, 1);
        for (unsigned long place = 0; place < text.size(); ++place)
        {
            // None of them can continue a sequence that is cut at the place.
            for (unsigned char fault : Bytes{0x00, 0xC3, 0xF5, 0xFF})
            {
                Bytes spoilt(text.begin(), text.begin() + static_cast<long>(place));
                spoilt.push_back(fault);
                if (fault == 0xC3)
                    spoilt.push_back('a');
                ASSERT_NO_FATAL_FAILURE(expect_plain(behind_long_text(character, spoilt), no_limit)) << place;
            }
        }
    }
}

TEST(UTF8Blocks, TheBeginningOfALongTextIsDecodedUpToAnyPlace)
{
    // What is decoded first ends at some byte near 1024 behind the first character.
    for (Bytes const& character : characters())
    {
        for (unsigned long before = 980; before < 1040; ++before)
        {
            Bytes text = {0xC3, 0xA9};
            text.insert(text.end(), before, 'a');
            for (unsigned int count = 0; count < 9; ++count)
                text.insert(text.end(), character.begin(), character.end());
            ASSERT_NO_FATAL_FAILURE(expect_plain(text, text.size())) << before;
            text.push_back(0);
            ASSERT_NO_FATAL_FAILURE(expect_plain(text, no_limit)) << before;
        }
    }
}

TEST(UTF8Blocks, NothingIsReadBeforeTheText)
{
    for (Bytes const& character : characters())
    {
        Bytes text = repeated(character, 0);
        for (Bytes const& whole : {text, behind_long_text(character, text)})
        {
            Bytes terminated = whole;
            terminated.insert(terminated.end(), 8, 0);
            unsigned char const* const source = edge().place_first(terminated);
            Wide expected(whole.size() + 1);
            Wide stored(whole.size() + 1);
            unsigned long const length =
                plain::utf8_to_wide(terminated.data(), no_limit, expected.data(), expected.size());
            ASSERT_EQ(UTF8wstrlen(source, no_limit), length - 1);
            ASSERT_EQ(UTF8_To_nqfWChar(source, no_limit, stored.data(), stored.size()), length);
            ASSERT_EQ(stored, expected);
        }
    }
}

TEST(UTF8Blocks, TextCrossesFromPageToPage)
{
    constexpr unsigned long page = 4096;
    std::vector<unsigned char> memory(4 * page);
    unsigned long const first_border = page - reinterpret_cast<std::uintptr_t>(memory.data()) % page;
    for (Bytes const& character : characters())
    {
        for (unsigned long before = 0; before < 60; ++before)
        {
            Bytes text = repeated(character, 0);
            text.push_back(0);
            unsigned char* const source = memory.data() + first_border + page - before;
            std::copy(text.begin(), text.end(), source);
            ASSERT_EQ(UTF8wstrlen(source, no_limit), plain::utf8_characters(source, no_limit));
            ASSERT_EQ(UTF8u16strlen(source, no_limit), plain::utf8_to_utf16_units(source, no_limit));
        }
    }
}

TEST(UTF8Blocks, LongTextsOfAllKindsAreConverted)
{
    for (Bytes const& character : characters())
    {
        // One such character after another, and one now and then in ASCII.
        for (unsigned long between : {0UL, 3UL, 40UL, 200UL})
        {
            for (unsigned long least : {500UL, 1500UL, 3900UL})
            {
                Bytes text;
                while (text.size() < least)
                {
                    text.insert(text.end(), between, 'a');
                    text.insert(text.end(), character.begin(), character.end());
                }
                for (unsigned long cut = 0; cut < 5; ++cut)
                    ASSERT_NO_FATAL_FAILURE(expect_plain(text, text.size() - cut)) << between << " " << cut;
                text.push_back(0);
                ASSERT_NO_FATAL_FAILURE(expect_plain(text, no_limit)) << between;
                ASSERT_NO_FATAL_FAILURE(expect_plain(text, text.size() + 1)) << between;
                text.insert(text.end() - 1, 0xFF);
                ASSERT_NO_FATAL_FAILURE(expect_plain(text, no_limit)) << between;
            }
        }
    }
}

TEST(UTF8Blocks, LongTextsAreCountedBeyondWhatABlockCanCount)
{
    for (Bytes const& character : characters())
    {
        Bytes text;
        while (text.size() < 20000)
            text.insert(text.end(), character.begin(), character.end());
        text.insert(text.end(), 9, 0);
        EXPECT_EQ(UTF8wstrlen(text.data(), no_limit), plain::utf8_characters(text.data(), no_limit));
        EXPECT_EQ(UTF8u16strlen(text.data(), no_limit), plain::utf8_to_utf16_units(text.data(), no_limit));
        EXPECT_EQ(UTF8wstrlen(text.data(), 19990), plain::utf8_characters(text.data(), 19990));
    }
}

// ---- UTF-16 ----

void expect_plain(Units const& text, unsigned long limit)
{
    Units padded = text;
    padded.resize(text.size() + 4);
    unsigned short const* const source = edge().place(text);
    ASSERT_EQ(UTF16wstrlen(source, limit), plain::utf16_characters(padded.data(), limit));
    ASSERT_EQ(UTF16u8strlen(source, limit), plain::utf16_to_utf8_bytes(padded.data(), limit));
}

TEST(UTF16Blocks, AgreeWithThePlainWalkForAnyUnitAtAnyPlace)
{
    for (unsigned short usual : Units{'a', 0x7FF, 0x20AC, 0xFFFF})
    {
        for (unsigned long size = 1; size < 36; ++size)
        {
            for (unsigned long place = 0; place < size; ++place)
            {
                for (unsigned short other : Units{0, 0x7F, 0x80, 0x800, 0xD7FF, 0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xE000})
                {
                    Units text(size, usual);
                    text[place] = other;
                    ASSERT_NO_FATAL_FAILURE(expect_plain(text, size)) << size << " " << place << " " << other;
                    text.push_back(0);
                    ASSERT_NO_FATAL_FAILURE(expect_plain(text, no_limit)) << size << " " << place << " " << other;
                }
            }
        }
    }
}

TEST(UTF16Blocks, NothingIsReadBehindAFault)
{
    for (unsigned short usual : Units{'a', 0x7FF, 0x20AC, 0xFFFF})
    {
        for (unsigned long size = 0; size < 71; ++size)
        {
            Units text(size, usual);
            text.push_back(0xDC00);
            EXPECT_EQ(UTF16wstrlen(edge().place(text), no_limit), size);
            EXPECT_EQ(UTF16u8strlen(edge().place(text), no_limit), size * plain::utf8_size(usual));
            text.back() = 0xD800;
            text.push_back(0xDBFE);
            EXPECT_EQ(UTF16wstrlen(edge().place(text), no_limit), size);
            EXPECT_EQ(UTF16u8strlen(edge().place(text), no_limit), size * plain::utf8_size(usual));
        }
    }
}

TEST(UTF16Blocks, LongTextsAreCountedBeyondWhatABlockCanCount)
{
    for (unsigned short unit : Units{'a', 0xE9, 0x4E2D, 0xFFFF})
    {
        Units text(600000, unit);
        text.push_back(0);
        EXPECT_EQ(UTF16wstrlen(text.data(), no_limit), 600000U);
        EXPECT_EQ(UTF16u8strlen(text.data(), no_limit), 600000U * plain::utf8_size(unit));
    }
}

// ---- wide text ----

void expect_plain(Wide const& text, unsigned long limit)
{
    Wide padded = text;
    padded.resize(text.size() + 2);
    wchar_t const* const source = edge().place(text);
    std::vector<unsigned int> const units(text.begin(), text.end());
    unsigned long const size = plain::walk_utf32(padded.data(), limit, plain::utf8_size);
    ASSERT_EQ(nqfWu8strlen(source, limit), size);
    ASSERT_EQ(nqfWw32strlen(source, limit), plain::utf32_units(padded.data(), limit));

    // Exactly the room, too little of it, and room for characters of four bytes.
    for (unsigned long capacity : {size + 1, size, 4 * text.size() + 5})
    {
        Bytes expected(capacity + 1, '#');
        Bytes stored(capacity + 1, '#');
        ASSERT_EQ(nqfWChar_To_UTF8(source, limit, stored.data(), capacity),
                  plain::wide_to_utf8(padded.data(), limit, expected.data(), capacity));
        ASSERT_EQ(stored, expected);
    }

    ASSERT_EQ(UTF32u16strlen(edge().place(units), limit), plain::walk_utf32(padded.data(), limit, plain::utf16_size));
    ASSERT_EQ(UTF32u8strlen(edge().place(units), limit), size);
}

TEST(WideBlocks, AgreeWithThePlainWalkForAnyUnitAtAnyPlace)
{
    for (unsigned int usual : {'a' + 0U, 0xE9U, 0x20ACU, 0x1F600U})
    {
        for (unsigned long size = 1; size < 23; ++size)
        {
            for (unsigned long place = 0; place < size; ++place)
            {
                for (unsigned int other : {0U, 1U, 0x7FU, 0x80U, 0x7FFU, 0x800U, 0xD800U, 0xFFFFU, 0x10000U, 0x10FFFFU,
                                           0x110000U, 0x110001U, 0x7FFFFFFFU, 0x80000041U, 0xFFFFFFFFU})
                {
                    Wide text(size, static_cast<wchar_t>(usual));
                    text[place] = static_cast<wchar_t>(other);
                    // The unit at the limit counts too.
                    ASSERT_NO_FATAL_FAILURE(expect_plain(text, size - 1)) << size << " " << place << " " << other;
                    text.push_back(0);
                    ASSERT_NO_FATAL_FAILURE(expect_plain(text, no_limit)) << size << " " << place << " " << other;
                }
            }
        }
    }
}

TEST(WideBlocks, NothingIsReadBehindAFault)
{
    for (unsigned int usual : {'a' + 0U, 0xE9U, 0x20ACU, 0x1F600U})
    {
        for (unsigned int other : {'b' + 0U, 0xE9U, 0x20ACU, 0x1F600U})
        {
            for (unsigned long size = 0; size < 71; ++size)
            {
                for (unsigned int fault : {0U, 0x110000U, 0xFFFFFFFFU})
                {
                    Wide text(size, static_cast<wchar_t>(usual));
                    for (unsigned long place = size / 2; place < size; place += 3)
                        text[place] = static_cast<wchar_t>(other);
                    text.push_back(static_cast<wchar_t>(fault));
                    Wide padded = text;
                    padded.push_back(0);
                    unsigned long const length = plain::walk_utf32(padded.data(), no_limit, plain::utf8_size);
                    wchar_t const* const source = edge().place(text);
                    ASSERT_EQ(nqfWu8strlen(source, no_limit), length);
                    Bytes expected(length + 2, '#');
                    Bytes stored(length + 2, '#');
                    ASSERT_EQ(nqfWChar_To_UTF8(source, no_limit, stored.data(), length + 1),
                              plain::wide_to_utf8(padded.data(), no_limit, expected.data(), length + 1));
                    ASSERT_EQ(stored, expected);
                    std::vector<unsigned int> const units(text.begin(), text.end());
                    ASSERT_EQ(UTF32u8strlen(edge().place(units), no_limit), length);
                }
            }
        }
    }
}

TEST(WideBlocks, NothingIsReadBeforeTheText)
{
    for (unsigned int usual : {'a' + 0U, 0xE9U, 0x20ACU, 0x1F600U})
    {
        Wide text(100, static_cast<wchar_t>(usual));
        text.push_back(0);
        wchar_t const* const source = edge().place_first(text);
        Bytes expected(500);
        Bytes stored(500);
        ASSERT_EQ(nqfWChar_To_UTF8(source, no_limit, stored.data(), stored.size()),
                  plain::wide_to_utf8(text.data(), no_limit, expected.data(), expected.size()));
        ASSERT_EQ(stored, expected);
        ASSERT_EQ(nqfWw32strlen(source, no_limit), 100U);
    }
}

TEST(WideBlocks, LongTextsOfAllKindsAreConverted)
{
    for (unsigned int other : {'b' + 0U, 0xE9U, 0x20ACU, 0x1F600U})
    {
        for (unsigned long between : {0UL, 3UL, 40UL, 200UL})
        {
            Wide text;
            while (text.size() < 900)
            {
                text.insert(text.end(), between, L'a');
                text.push_back(static_cast<wchar_t>(other));
            }
            ASSERT_NO_FATAL_FAILURE(expect_plain(text, text.size() - 1)) << between;
            text.push_back(0);
            ASSERT_NO_FATAL_FAILURE(expect_plain(text, no_limit)) << between;
        }
    }
}

TEST(WideBlocks, TextOfAllScriptsComesBackFromUTF8AtEveryLength)
{
    std::mt19937 random(12);
    for (unsigned int round = 0; round < 400; ++round)
    {
        Wide text;
        for (unsigned long left = round % 100; left != 0; --left)
        {
            unsigned int const bounds[] = {0x80, 0x80, 0x80, 0x800, 0x10000, 0x110000};
            text.push_back(static_cast<wchar_t>(1 + random() % (bounds[random() % 6] - 1)));
        }
        text.push_back(0);
        ASSERT_NO_FATAL_FAILURE(expect_plain(text, no_limit));
        Bytes bytes(4 * text.size());
        unsigned long const stored = nqfWChar_To_UTF8(text.data(), no_limit, bytes.data(), bytes.size());
        bytes.resize(stored);
        ASSERT_NO_FATAL_FAILURE(expect_plain(bytes, no_limit));
        Wide back(text.size());
        ASSERT_EQ(UTF8_To_nqfWChar(bytes.data(), no_limit, back.data(), back.size()), text.size());
        ASSERT_EQ(back, text);
    }
}

} // namespace
