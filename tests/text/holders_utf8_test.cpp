#include "ORVA/String/Codecs.h"
#include "ORVA/String/Holders.h"
#include "text/holders_text.h"

#include <gtest/gtest.h>

#include <random>
#include <utility>

using namespace ORVA::String;

namespace
{

std::string text_of(CUTF8Char const& holder)
{
    return reinterpret_cast<char const*>(*holder);
}

TEST(CUTF8Char, length_from_utf8_counts_bytes)
{
    CUTF8Char const holder(utf8("a\xE2\x82\xAC"));
    EXPECT_EQ("a\xE2\x82\xAC", text_of(holder));
    EXPECT_EQ(4U, holder.len());
    EXPECT_EQ(4U, CUTF8Char(holder).len());
}

TEST(CUTF8Char, utf8_is_copied_valid_or_not)
{
    CUTF8Char const holder(utf8("\xFF\x80z\xC3"));
    EXPECT_EQ("\xFF\x80z\xC3", text_of(holder));
    EXPECT_EQ(4U, holder.len());
}

TEST(CUTF8Char, null_utf8_pointer_has_a_length_of_all_bits)
{
    CUTF8Char const holder(static_cast<unsigned char const*>(nullptr));
    EXPECT_FALSE(holder);
    EXPECT_EQ(all_bits, holder.len());
}

TEST(CUTF8Char, copy_of_a_holder_of_nothing_has_a_length_of_all_bits_and_a_move_has_not)
{
    CUTF8Char nothing;
    EXPECT_EQ(0U, nothing.len());
    EXPECT_EQ(all_bits, CUTF8Char(nothing).len());
    EXPECT_EQ(0U, CUTF8Char(std::move(nothing)).len());
}

TEST(CUTF8Char, length_from_wide_text_counts_bytes)
{
    CUTF8Char const holder(L"a\u00E9\u20AC\U0001F600");
    EXPECT_EQ("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", text_of(holder));
    EXPECT_EQ(10U, holder.len());
}

TEST(CUTF8Char, null_of_any_other_encoding_has_length_0)
{
    CUTF8Char holder(static_cast<wchar_t const*>(nullptr));
    EXPECT_FALSE(holder);
    EXPECT_EQ(0U, holder.len());
    holder = utf8("old");
    holder = static_cast<unsigned short const*>(nullptr);
    EXPECT_FALSE(holder);
    EXPECT_EQ(0U, holder.len());
    holder = utf8("old");
    holder = static_cast<char const*>(nullptr);
    EXPECT_FALSE(holder);
    EXPECT_EQ(0U, holder.len());
    EXPECT_EQ(0U, CUTF8Char(static_cast<unsigned short const*>(nullptr)).len());
    EXPECT_EQ(0U, CUTF8Char(static_cast<char const*>(nullptr)).len());
}

TEST(CUTF8Char, empty_text_of_any_encoding_is_held_with_length_0)
{
    Shorts const empty16 = {0};
    for (CUTF8Char const& holder : {CUTF8Char(L""), CUTF8Char(utf8("")), CUTF8Char(empty16.data()), CUTF8Char("")})
    {
        ASSERT_TRUE(holder);
        EXPECT_EQ("", text_of(holder));
        EXPECT_EQ(0U, holder.len());
    }
}

TEST(CUTF8Char, wide_character_beyond_the_range_ends_the_text_wherever_it_stands)
{
    wchar_t const characters[] = {L'a', wide(0xE9), wide(0xD800), wide(0x10FFFF), L'z'};
    char const* const encoded[] = {"a", "\xC3\xA9", "\xED\xA0\x80", "\xF4\x8F\xBF\xBF", "z"};
    for (unsigned int const invalid : {0x110000U, 0x110001U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU})
        for (unsigned long position = 0; position <= 5; ++position)
        {
            std::vector<wchar_t> text(characters, characters + 5);
            text.insert(text.begin() + static_cast<long>(position), wide(invalid));
            std::string expected;
            for (unsigned long at = 0; at < position; ++at)
                expected += encoded[at];
            CUTF8Char const holder(terminated(text).data());
            ASSERT_TRUE(holder);
            EXPECT_EQ(expected, text_of(holder));
            EXPECT_EQ(expected.size(), holder.len());
        }
}

TEST(CUTF8Char, length_from_utf16_counts_bytes)
{
    Shorts const text = {'a', 0xE9, 0x20AC, 0xFFFF, 0};
    CUTF8Char const holder(text.data());
    EXPECT_EQ("a\xC3\xA9\xE2\x82\xAC\xEF\xBF\xBF", text_of(holder));
    EXPECT_EQ(9U, holder.len());
}

TEST(CUTF8Char, utf16_pair_becomes_a_byte_of_1_or_0)
{
    CUTF8Char const one(terminated(Shorts{'a', 0xD83D, 0xDE00, 'z'}).data());
    EXPECT_EQ("a\x01z", text_of(one));
    EXPECT_EQ(3U, one.len());

    CUTF8Char const zero(terminated(Shorts{'a', 0xD800, 0xDC00, 'z'}).data());
    EXPECT_EQ("a", text_of(zero));
    EXPECT_EQ(3U, zero.len());
    EXPECT_EQ('z', (*zero)[2]);
    EXPECT_EQ(0, (*zero)[3]);

    // 0xDBFF and anything from 0xE000 on complete a pair as well.
    CUTF8Char const loose(terminated(Shorts{0xD800, 0xDBFF, 0xD801, 0xFFFF, 'z'}).data());
    EXPECT_EQ("\x01\x01z", text_of(loose));
    EXPECT_EQ(3U, loose.len());
}

TEST(CUTF8Char, invalid_utf16_ends_the_text_wherever_it_stands)
{
    Shorts const characters = {'a', 0xE9, 0x20AC, 'z'};
    char const* const encoded[] = {"a", "\xC3\xA9", "\xE2\x82\xAC", "z"};
    for (unsigned short const invalid : Shorts{0xDC00, 0xDFFF, 0xD800, 0xDBFF})
        for (unsigned long position = 0; position <= 4; ++position)
        {
            Shorts text = characters;
            text.insert(text.begin() + static_cast<long>(position), invalid);
            std::string expected;
            for (unsigned long at = 0; at < position; ++at)
                expected += encoded[at];
            CUTF8Char const holder(terminated(text).data());
            ASSERT_TRUE(holder);
            EXPECT_EQ(expected, text_of(holder));
            EXPECT_EQ(expected.size(), holder.len());
        }
}

TEST(CUTF8Char, length_from_ansi_counts_bytes)
{
    CUTF8Char const holder("A\x80\xE9");
    EXPECT_EQ("A\xE2\x82\xAC\xC3\xA9", text_of(holder));
    EXPECT_EQ(6U, holder.len());
}

TEST(CUTF8Char, refused_ansi_gives_an_empty_text)
{
    for (char const* text : {"\x81", "abc\x8D", "a\x8Fz", "\x90", "\x9D"})
    {
        CUTF8Char const holder(text);
        ASSERT_TRUE(holder);
        EXPECT_EQ("", text_of(holder));
        EXPECT_EQ(0U, holder.len());
    }
}

TEST(CUTF8Char, holders_are_read_by_their_pointers)
{
    CNQFWChar const from_wide(L"\u20AC");
    CUTF16Char const from_utf16(L"\u20AC");
    CANSIChar const from_ansi("\x80");
    for (CUTF8Char const& holder : {CUTF8Char(from_wide), CUTF8Char(from_utf16), CUTF8Char(from_ansi)})
    {
        EXPECT_EQ("\xE2\x82\xAC", text_of(holder));
        EXPECT_EQ(3U, holder.len());
    }
    CUTF8Char holder(utf8("old"));
    EXPECT_EQ(&holder, &(holder = from_wide));
    EXPECT_EQ("\xE2\x82\xAC", text_of(holder));
    holder = utf8("old");
    EXPECT_EQ(&holder, &(holder = from_utf16));
    EXPECT_EQ("\xE2\x82\xAC", text_of(holder));
    holder = utf8("old");
    EXPECT_EQ(&holder, &(holder = from_ansi));
    EXPECT_EQ("\xE2\x82\xAC", text_of(holder));
    EXPECT_EQ(3U, holder.len());
}

TEST(CUTF8Char, holders_of_nothing_of_other_types_have_length_0)
{
    EXPECT_FALSE(CUTF8Char(CNQFWChar()));
    EXPECT_FALSE(CUTF8Char(CUTF16Char()));
    EXPECT_FALSE(CUTF8Char(CANSIChar()));
    EXPECT_EQ(0U, CUTF8Char(CNQFWChar()).len());
    EXPECT_EQ(0U, CUTF8Char(CUTF16Char()).len());
    EXPECT_EQ(0U, CUTF8Char(CANSIChar()).len());
}

TEST(CUTF8Char, each_assignment_replaces_the_old_text)
{
    Shorts const units16 = {'1', '6', 0};
    CUTF8Char holder(utf8("old"));
    EXPECT_EQ(&holder, &(holder = L"wide"));
    EXPECT_EQ("wide", text_of(holder));
    EXPECT_EQ(4U, holder.len());
    EXPECT_EQ(&holder, &(holder = units16.data()));
    EXPECT_EQ("16", text_of(holder));
    EXPECT_EQ(2U, holder.len());
    EXPECT_EQ(&holder, &(holder = "ansi!"));
    EXPECT_EQ("ansi!", text_of(holder));
    EXPECT_EQ(5U, holder.len());
    EXPECT_EQ(&holder, &(holder = utf8("utf8")));
    EXPECT_EQ("utf8", text_of(holder));
    EXPECT_EQ(4U, holder.len());
}

TEST(CUTF8Char, every_code_point_survives_the_way_to_utf8_and_back)
{
    std::vector<wchar_t> text;
    for (unsigned int value = 1; value < 0x110000; ++value)
        text.push_back(wide(value));
    CUTF8Char const encoded(terminated(text).data());
    EXPECT_EQ(0x7FUL + 0x780UL * 2 + 0xF800UL * 3 + 0x100000UL * 4, encoded.len());
    CNQFWChar const decoded(encoded);
    ASSERT_EQ(text.size(), decoded.len());
    EXPECT_TRUE(text == units(*decoded));
}

TEST(CUTF8Char, every_single_utf16_unit_becomes_its_code_point)
{
    Shorts text;
    std::vector<wchar_t> expected;
    for (unsigned int value = 1; value < 0x10000; ++value)
        if (value < 0xD800 || value > 0xDFFF)
        {
            text.push_back(static_cast<unsigned short>(value));
            expected.push_back(wide(value));
        }
    CUTF8Char const encoded(terminated(text).data());
    CNQFWChar const decoded(encoded);
    EXPECT_TRUE(expected == units(*decoded));
}

TEST(CUTF8Char, agrees_with_a_character_by_character_encoder_on_random_utf16)
{
    std::mt19937 random(34);
    unsigned short const favourites[] = {'a', 0x7F, 0x80, 0x7FF, 0x800, 0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xE000};
    for (int round = 0; round < 20000; ++round)
    {
        Shorts text(random() % 8);
        for (unsigned short& unit : text)
            unit = random() % 2 ? favourites[random() % 10] : static_cast<unsigned short>(1 + random() % 0xFFFF);
        text = terminated(text);
        Bytes expected(3 * text.size());
        unsigned char* end = expected.data();
        unsigned short const* source = text.data();
        while (*source != 0 && utf16_utf8(end, source))
        {
        }
        expected.resize(static_cast<unsigned long>(end - expected.data()));
        CUTF8Char const holder(text.data());
        ASSERT_EQ(expected.size(), holder.len());
        ASSERT_EQ(expected, Bytes(*holder, *holder + holder.len()));
        ASSERT_EQ(0, (*holder)[holder.len()]);
    }
}

} // namespace
