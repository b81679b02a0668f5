#include "ORVA/String/Codecs.h"
#include "ORVA/String/Holders.h"
#include "text/holders_text.h"

#include <gtest/gtest.h>

#include <random>

using namespace ORVA::String;

namespace
{

TEST(CUTF16Char, length_from_utf16_counts_units_valid_or_not)
{
    Shorts const text = {'a', 0x20AC, 0xDC00, 0xD800, 0xD83D, 0xDE00};
    CUTF16Char const holder(terminated(text).data());
    EXPECT_EQ(text, units(*holder));
    EXPECT_EQ(6U, holder.len());
    EXPECT_EQ(6U, CUTF16Char(holder).len());
}

TEST(CUTF16Char, length_from_wide_text_counts_units)
{
    CUTF16Char const holder(L"a\u20AC\U0001F600");
    EXPECT_EQ((Shorts{'a', 0x20AC, 0xD87D, 0xDE00}), units(*holder));
    EXPECT_EQ(4U, holder.len());
}

TEST(CUTF16Char, length_from_utf8_counts_units)
{
    CUTF16Char const holder(utf8("a\xE2\x82\xAC\xF0\x9F\x98\x80"));
    EXPECT_EQ((Shorts{'a', 0x20AC, 0xD87D, 0xDE00}), units(*holder));
    EXPECT_EQ(4U, holder.len());
}

TEST(CUTF16Char, length_from_ansi_counts_units)
{
    CUTF16Char const holder("A\x80\xE9");
    EXPECT_EQ((Shorts{'A', 0x20AC, 0xE9}), units(*holder));
    EXPECT_EQ(3U, holder.len());
}

TEST(CUTF16Char, null_of_any_encoding_has_length_0)
{
    CUTF16Char const nothing;
    for (CUTF16Char const& holder :
         {CUTF16Char(static_cast<wchar_t const*>(nullptr)), CUTF16Char(static_cast<unsigned char const*>(nullptr)),
          CUTF16Char(static_cast<unsigned short const*>(nullptr)), CUTF16Char(static_cast<char const*>(nullptr)),
          CUTF16Char(CNQFWChar()), CUTF16Char(CUTF8Char()), CUTF16Char(CANSIChar()), CUTF16Char(nothing)})
    {
        EXPECT_FALSE(holder);
        EXPECT_EQ(0U, holder.len());
    }
    CUTF16Char holder(L"old");
    holder = static_cast<wchar_t const*>(nullptr);
    EXPECT_FALSE(holder);
    EXPECT_EQ(0U, holder.len());
    holder = L"old";
    holder = static_cast<unsigned char const*>(nullptr);
    EXPECT_FALSE(holder);
    EXPECT_EQ(0U, holder.len());
    holder = L"old";
    holder = static_cast<char const*>(nullptr);
    EXPECT_FALSE(holder);
    EXPECT_EQ(0U, holder.len());
}

TEST(CUTF16Char, empty_text_of_any_encoding_is_held_with_length_0)
{
    Shorts const empty16 = {0};
    for (CUTF16Char const& holder : {CUTF16Char(L""), CUTF16Char(utf8("")), CUTF16Char(empty16.data()), CUTF16Char("")})
    {
        ASSERT_TRUE(holder);
        EXPECT_EQ(0, (*holder)[0]);
        EXPECT_EQ(0U, holder.len());
    }
}

TEST(CUTF16Char, wide_character_beyond_the_range_ends_the_text_wherever_it_stands)
{
    wchar_t const characters[] = {L'a', wide(0xD800), wide(0xFFFF), wide(0x10000), wide(0x10FFFF), L'z'};
    std::vector<Shorts> const encoded = {{'a'}, {0xD800}, {0xFFFF}, {0xD840, 0xDC00}, {0xDC3F, 0xDFFF}, {'z'}};
    // 0x110000 is measured as two units and then refused by the encoder.
    for (unsigned int const invalid : {0x110000U, 0x110001U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU})
        for (unsigned long position = 0; position <= 6; ++position)
        {
            std::vector<wchar_t> text(characters, characters + 6);
            text.insert(text.begin() + static_cast<long>(position), wide(invalid));
            Shorts expected;
            for (unsigned long at = 0; at < position; ++at)
                expected.insert(expected.end(), encoded[at].begin(), encoded[at].end());
            CUTF16Char const holder(terminated(text).data());
            ASSERT_TRUE(holder);
            EXPECT_EQ(expected, units(*holder));
            EXPECT_EQ(expected.size(), holder.len());
        }
}

TEST(CUTF16Char, invalid_utf8_ends_the_text_wherever_it_stands)
{
    std::string const characters[] = {"a", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "z"};
    std::vector<Shorts> const encoded = {{'a'}, {0xE9}, {0x20AC}, {0xD87D, 0xDE00}, {'z'}};
    // The last two are sequences of 0x110000 and 0x13FFFF, which are measured and then refused by the encoder.
    for (std::string const invalid :
         {"\x80", "\xF5", "\xC3", "\xE2\x82", "\xF0\x9F\x98(", "\xF4\x90\x80\x80", "\xF4\xBF\xBF\xBF"})
        for (unsigned long position = 0; position <= 5; ++position)
        {
            std::string text;
            Shorts expected;
            for (unsigned long at = 0; at < position; ++at)
            {
                text += characters[at];
                expected.insert(expected.end(), encoded[at].begin(), encoded[at].end());
            }
            text += invalid;
            for (unsigned long at = position; at < 5; ++at)
                text += characters[at];
            CUTF16Char const holder(utf8(text.c_str()));
            ASSERT_TRUE(holder);
            EXPECT_EQ(expected, units(*holder));
            EXPECT_EQ(expected.size(), holder.len());
        }
}

TEST(CUTF16Char, overlong_null_in_utf8_counts_as_a_unit_of_0)
{
    CUTF16Char const holder(utf8("a\xC0\x80z"));
    EXPECT_EQ(3U, holder.len());
    EXPECT_EQ((Shorts{'a', 0, 'z', 0}), Shorts(*holder, *holder + 4));
}

TEST(CUTF16Char, refused_ansi_gives_an_empty_text)
{
    for (char const* text : {"\x81", "abc\x8D", "a\x8Fz", "\x90", "\x9D"})
    {
        CUTF16Char const holder(text);
        ASSERT_TRUE(holder);
        EXPECT_EQ(0, (*holder)[0]);
        EXPECT_EQ(0U, holder.len());
    }
}

TEST(CUTF16Char, holders_are_read_by_their_pointers)
{
    CNQFWChar const from_wide(L"\u20AC");
    CUTF8Char const from_utf8(utf8("\xE2\x82\xAC"));
    CANSIChar const from_ansi("\x80");
    for (CUTF16Char const& holder : {CUTF16Char(from_wide), CUTF16Char(from_utf8), CUTF16Char(from_ansi)})
    {
        EXPECT_EQ((Shorts{0x20AC}), units(*holder));
        EXPECT_EQ(1U, holder.len());
    }
    CUTF16Char holder(L"old");
    EXPECT_EQ(&holder, &(holder = from_wide));
    EXPECT_EQ((Shorts{0x20AC}), units(*holder));
    holder = L"old";
    EXPECT_EQ(&holder, &(holder = from_utf8));
    EXPECT_EQ((Shorts{0x20AC}), units(*holder));
    holder = L"old";
    EXPECT_EQ(&holder, &(holder = from_ansi));
    EXPECT_EQ((Shorts{0x20AC}), units(*holder));
    EXPECT_EQ(1U, holder.len());
}

TEST(CUTF16Char, each_assignment_replaces_the_old_text)
{
    CUTF16Char holder(terminated(Shorts{'o', 'l', 'd'}).data());
    EXPECT_EQ(&holder, &(holder = L"w"));
    EXPECT_EQ((Shorts{'w'}), units(*holder));
    EXPECT_EQ(1U, holder.len());
    EXPECT_EQ(&holder, &(holder = utf8("u8")));
    EXPECT_EQ((Shorts{'u', '8'}), units(*holder));
    EXPECT_EQ(2U, holder.len());
    EXPECT_EQ(&holder, &(holder = "ans"));
    EXPECT_EQ((Shorts{'a', 'n', 's'}), units(*holder));
    EXPECT_EQ(3U, holder.len());
    EXPECT_EQ(&holder, &(holder = terminated(Shorts{'1'}).data()));
    EXPECT_EQ((Shorts{'1'}), units(*holder));
    EXPECT_EQ(1U, holder.len());
}

TEST(CUTF16Char, every_code_point_is_encoded_from_wide_text_and_from_utf8)
{
    std::vector<wchar_t> text;
    Shorts expected;
    for (unsigned int value = 1; value < 0x110000; ++value)
    {
        text.push_back(wide(value));
        if (value < 0x10000)
            expected.push_back(static_cast<unsigned short>(value));
        else
        {
            expected.push_back(static_cast<unsigned short>(0xD800 | value >> 10));
            expected.push_back(static_cast<unsigned short>(0xDC00 | (value & 0x3FF)));
        }
    }
    CNQFWChar const source(terminated(text).data());
    CUTF16Char const from_wide(source);
    EXPECT_EQ(expected.size(), from_wide.len());
    EXPECT_TRUE(expected == units(*from_wide));
    CUTF16Char const from_utf8{CUTF8Char(source)};
    EXPECT_EQ(expected.size(), from_utf8.len());
    EXPECT_TRUE(expected == units(*from_utf8));
}

TEST(CUTF16Char, agrees_with_a_character_by_character_encoder_on_random_bytes)
{
    std::mt19937 random(56);
    unsigned char const favourites[] = {'a', 0x80, 0x90, 0xBF, 0xC0, 0xE2, 0xED, 0xF0, 0xF4, 0xF5};
    for (int round = 0; round < 20000; ++round)
    {
        Bytes bytes(random() % 12);
        for (unsigned char& byte : bytes)
            byte = random() % 2 ? favourites[random() % 10] : static_cast<unsigned char>(1 + random() % 255);
        bytes = terminated(bytes);
        Shorts expected(2 * bytes.size());
        unsigned short* end = expected.data();
        unsigned char const* source = bytes.data();
        while (*source != 0 && utf8_utf16(end, source))
        {
        }
        expected.resize(static_cast<unsigned long>(end - expected.data()));
        CUTF16Char const holder(bytes.data());
        ASSERT_EQ(expected.size(), holder.len());
        ASSERT_EQ(expected, Shorts(*holder, *holder + holder.len()));
        ASSERT_EQ(0, (*holder)[holder.len()]);
    }
}

} // namespace
