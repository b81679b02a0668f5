#include "ORVA/String/Codecs.h"
#include "ORVA/String/Holders.h"
#include "text/holders_text.h"

#include <gtest/gtest.h>

#include <random>
#include <utility>

using namespace ORVA::String;

namespace
{

TEST(CNQFWChar, length_from_wide_text_counts_the_terminator)
{
    CNQFWChar const holder(L"a\u00E9\u20AC");
    EXPECT_EQ(std::wstring(L"a\u00E9\u20AC"), *holder);
    EXPECT_EQ(4U, holder.len());
}

TEST(CNQFWChar, empty_wide_text_is_held_with_length_1)
{
    CNQFWChar const holder(L"");
    ASSERT_NE(nullptr, *holder);
    EXPECT_TRUE(holder);
    EXPECT_EQ(1U, holder.len());
    EXPECT_EQ(L'\0', **holder);
}

TEST(CNQFWChar, null_wide_pointer_gives_nothing_with_length_0)
{
    CNQFWChar const holder(static_cast<wchar_t const*>(nullptr));
    EXPECT_FALSE(holder);
    EXPECT_EQ(0U, holder.len());
}

TEST(CNQFWChar, wide_text_is_copied_whatever_its_values)
{
    wchar_t const text[] = {wide(0xD800), wide(0x110000), wide(0x80000000), wide(0xFFFFFFFF), 0};
    CNQFWChar const holder(text);
    EXPECT_EQ(units(text), units(*holder));
    EXPECT_EQ(5U, holder.len());
}

TEST(CNQFWChar, copy_counts_the_terminator_whatever_the_source_was_filled_from)
{
    CNQFWChar const from_utf8(utf8("abc"));
    EXPECT_EQ(3U, from_utf8.len());
    CNQFWChar const copy(from_utf8);
    EXPECT_EQ(4U, copy.len());
    CNQFWChar assigned;
    assigned = from_utf8;
    EXPECT_EQ(4U, assigned.len());

    Shorts const units16 = {'a', 'b', 0};
    CNQFWChar const from_utf16(units16.data());
    EXPECT_EQ(0U, from_utf16.len());
    EXPECT_EQ(1U, CNQFWChar(from_utf16).len());
}

TEST(CNQFWChar, moving_keeps_the_length_that_a_copy_would_change)
{
    CNQFWChar from_utf8(utf8("abc"));
    CNQFWChar const moved(std::move(from_utf8));
    EXPECT_EQ(3U, moved.len());
}

TEST(CNQFWChar, length_from_utf8_counts_characters)
{
    CNQFWChar const holder(utf8("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"));
    EXPECT_EQ(std::wstring(L"a\u00E9\u20AC\U0001F600"), *holder);
    EXPECT_EQ(4U, holder.len());
}

TEST(CNQFWChar, empty_and_null_utf8)
{
    CNQFWChar const empty(utf8(""));
    EXPECT_TRUE(empty);
    EXPECT_EQ(0U, empty.len());
    EXPECT_EQ(std::wstring(), *empty);
    CNQFWChar const null(static_cast<unsigned char const*>(nullptr));
    EXPECT_FALSE(null);
    EXPECT_EQ(0U, null.len());
}

TEST(CNQFWChar, utf8_is_read_leniently)
{
    // overlong 0x2F, an encoded surrogate, and the highest value that a sequence can have
    CNQFWChar const holder(utf8("\xC0\xAF\xED\xA0\x80\xF4\xBF\xBF\xBF"));
    EXPECT_EQ((std::vector<wchar_t>{L'/', wide(0xD800), wide(0x13FFFF)}), units(*holder));
    EXPECT_EQ(3U, holder.len());
}

TEST(CNQFWChar, overlong_null_in_utf8_counts_as_a_character_of_0)
{
    CNQFWChar const holder(utf8("a\xC0\x80z"));
    EXPECT_EQ(3U, holder.len());
    EXPECT_EQ(std::wstring(L"a\0z", 3), std::wstring(*holder, 3));
    EXPECT_EQ(L'\0', (*holder)[3]);
}

TEST(CNQFWChar, invalid_utf8_ends_the_text_wherever_it_stands)
{
    std::string const characters[] = {"a", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "z"};
    std::wstring const decoded = L"a\u00E9\u20AC\U0001F600z";
    for (std::string const invalid :
         {"\x80", "\xBF", "\xF5", "\xFF", "\xC3", "\xC3(", "\xE2\x82", "\xE2\x82(", "\xF0\x9F\x98", "\xF0\x9F\x98("})
        for (unsigned long position = 0; position <= 5; ++position)
        {
            std::string text;
            for (unsigned long at = 0; at < position; ++at)
                text += characters[at];
            text += invalid;
            // What follows must not complete a sequence that was begun.
            for (unsigned long at = position; at < 5; ++at)
                text += characters[at];
            CNQFWChar const holder(utf8(text.c_str()));
            ASSERT_TRUE(holder);
            EXPECT_EQ(decoded.substr(0, position), *holder) << "position " << position;
            EXPECT_EQ(position, holder.len());
        }
}

TEST(CNQFWChar, text_from_utf16_is_an_empty_text_of_length_0)
{
    for (Shorts const& text : {Shorts{}, Shorts{'a'}, Shorts{'a', 'b', 'c'}, Shorts{0x20AC, 0xD83D, 0xDE00, 'z'},
                               Shorts{0xDC00, 'a'}, Shorts{'a', 0xD800}, Shorts{0xD800, 'a'}})
    {
        CNQFWChar const holder(terminated(text).data());
        ASSERT_TRUE(holder);
        EXPECT_EQ(L'\0', (*holder)[0]);
        EXPECT_EQ(0U, holder.len());
    }
    CNQFWChar const null(static_cast<unsigned short const*>(nullptr));
    EXPECT_FALSE(null);
    EXPECT_EQ(0U, null.len());
}

TEST(CNQFWChar, length_from_utf32_counts_characters_of_any_value)
{
    Ints const text = {'a', 0xD800, 0x10FFFF, 0x110000, 0x80000000, 0xFFFFFFFF, 'z'};
    CNQFWChar const holder(terminated(text).data());
    EXPECT_EQ(7U, holder.len());
    std::vector<wchar_t> expected;
    for (unsigned int const value : text)
        expected.push_back(wide(value));
    EXPECT_EQ(expected, units(*holder));

    CNQFWChar const empty(terminated(Ints{}).data());
    EXPECT_TRUE(empty);
    EXPECT_EQ(0U, empty.len());
    CNQFWChar const null(static_cast<unsigned int const*>(nullptr));
    EXPECT_FALSE(null);
    EXPECT_EQ(0U, null.len());
}

TEST(CNQFWChar, length_from_ansi_counts_characters)
{
    CNQFWChar const holder("A\x80\x9F\xE9");
    EXPECT_EQ(std::wstring(L"A\u20AC\u0178\u00E9"), *holder);
    EXPECT_EQ(4U, holder.len());
    CNQFWChar const empty("");
    EXPECT_TRUE(empty);
    EXPECT_EQ(0U, empty.len());
    EXPECT_EQ(std::wstring(), *empty);
    CNQFWChar const null(static_cast<char const*>(nullptr));
    EXPECT_FALSE(null);
    EXPECT_EQ(0U, null.len());
}

TEST(CNQFWChar, refused_ansi_gives_an_empty_text)
{
    for (char const* text : {"\x81", "abc\x8D",
                             "\x8F"
                             "abc",
                             "a\x90z", "\x9D"})
    {
        CNQFWChar const holder(text);
        ASSERT_TRUE(holder);
        EXPECT_EQ(L'\0', (*holder)[0]);
        EXPECT_EQ(0U, holder.len());
    }
}

TEST(CNQFWChar, holders_are_read_by_their_pointers)
{
    Shorts const units16 = {'a', 'b', 0};
    CUTF8Char const from_utf8(utf8("\xE2\x82\xAC"));
    CUTF16Char const from_utf16(units16.data());
    CANSIChar const from_ansi("\x80");

    CNQFWChar holder(from_utf8);
    EXPECT_EQ(std::wstring(L"\u20AC"), *holder);
    EXPECT_EQ(1U, holder.len());
    holder = from_utf16;
    EXPECT_TRUE(holder);
    EXPECT_EQ(std::wstring(), *holder);
    EXPECT_EQ(0U, holder.len());
    holder = from_ansi;
    EXPECT_EQ(std::wstring(L"\u20AC"), *holder);
    EXPECT_EQ(1U, holder.len());
    holder = from_utf8;
    EXPECT_EQ(std::wstring(L"\u20AC"), *holder);
    EXPECT_TRUE(CNQFWChar(from_utf16));
    EXPECT_EQ(std::wstring(L"\u20AC"), *CNQFWChar(from_ansi));
}

TEST(CNQFWChar, holders_of_nothing_give_nothing)
{
    CNQFWChar holder(L"old");
    holder = CUTF8Char();
    EXPECT_FALSE(holder);
    EXPECT_EQ(0U, holder.len());
    holder = L"old";
    holder = CUTF16Char();
    EXPECT_FALSE(holder);
    EXPECT_EQ(0U, holder.len());
    holder = L"old";
    holder = CANSIChar();
    EXPECT_FALSE(holder);
    EXPECT_EQ(0U, holder.len());
}

TEST(CNQFWChar, each_assignment_replaces_the_old_text)
{
    Shorts const units16 = {'a', 'b', 0};
    Ints const units32 = {'q', 0};
    CNQFWChar holder(L"old");
    EXPECT_EQ(&holder, &(holder = utf8("utf8")));
    EXPECT_EQ(std::wstring(L"utf8"), *holder);
    EXPECT_EQ(4U, holder.len());
    EXPECT_EQ(&holder, &(holder = units32.data()));
    EXPECT_EQ(std::wstring(L"q"), *holder);
    EXPECT_EQ(1U, holder.len());
    EXPECT_EQ(&holder, &(holder = "ansi"));
    EXPECT_EQ(std::wstring(L"ansi"), *holder);
    EXPECT_EQ(4U, holder.len());
    EXPECT_EQ(&holder, &(holder = units16.data()));
    EXPECT_EQ(std::wstring(), *holder);
    EXPECT_EQ(0U, holder.len());
    EXPECT_EQ(&holder, &(holder = L"wide"));
    EXPECT_EQ(std::wstring(L"wide"), *holder);
    EXPECT_EQ(5U, holder.len());
    EXPECT_EQ(&holder, &(holder = static_cast<unsigned char const*>(nullptr)));
    EXPECT_FALSE(holder);
    EXPECT_EQ(0U, holder.len());
}

TEST(CNQFWChar, agrees_with_a_character_by_character_decoder_on_random_bytes)
{
    std::mt19937 random(12);
    unsigned char const favourites[] = {'a', 0x80, 0xBF, 0xC0, 0xC3, 0xE2, 0xED, 0xF0, 0xF4, 0xF5};
    for (int round = 0; round < 20000; ++round)
    {
        Bytes bytes(random() % 12);
        for (unsigned char& byte : bytes)
            byte = random() % 2 ? favourites[random() % 10] : static_cast<unsigned char>(1 + random() % 255);
        bytes = terminated(bytes);
        std::vector<wchar_t> expected;
        unsigned char const* source = bytes.data();
        unsigned int character = 0;
        while (*source != 0 && utf8_nqfW32(&character, source))
            expected.push_back(wide(character));
        CNQFWChar const holder(bytes.data());
        ASSERT_EQ(expected.size(), holder.len());
        ASSERT_EQ(expected, std::vector<wchar_t>(*holder, *holder + holder.len()));
        ASSERT_EQ(L'\0', (*holder)[holder.len()]);
    }
}

} // namespace
