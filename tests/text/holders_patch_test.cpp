#include "ORVA/String/Holders.h"
#include "text/holders_text.h"

#include <gtest/gtest.h>

#include <random>
#include <utility>

using namespace ORVA::String;

namespace
{

/// Patches a holder of `format`, and checks that the text is `expected`.
void expect_patched(std::wstring const& expected, wchar_t const* format, wchar_t const* text)
{
    CNQFWChar holder(format);
    holder.patch_percent_s_with(text);
    EXPECT_EQ(expected, *holder);
}

/// Patches a holder of `format`, and checks that text, pointer and length stay.
void expect_unchanged(wchar_t const* format, wchar_t const* text)
{
    CNQFWChar holder(format);
    wchar_t const* const pointer = *holder;
    unsigned long const length = holder.len();
    holder.patch_percent_s_with(text);
    EXPECT_EQ(pointer, *holder);
    EXPECT_EQ(length, holder.len());
    EXPECT_EQ(std::wstring(format), *holder);
}

TEST(PatchPercentS, writes_the_text_for_each_place)
{
    expect_patched(L"a-x-b-x-c", L"a-%s-b-%s-c", L"x");
    expect_patched(L"long text", L"%s", L"long text");
    expect_patched(L"text!", L"%s!", L"text");
    expect_patched(L"!text", L"!%s", L"text");
    expect_patched(L"abab", L"%s%s", L"ab");
}

TEST(PatchPercentS, without_a_place_keeps_text_pointer_and_length)
{
    expect_unchanged(L"", L"text");
    expect_unchanged(L"nothing here", L"text");
    expect_unchanged(L"%", L"text");
    expect_unchanged(L"%d %S %ls %%", L"text");
    expect_unchanged(L"s%", L"text");
    expect_unchanged(L"% s", L"text");
}

TEST(PatchPercentS, passes_over_a_percent_sign_before_anything_else_by_one_character)
{
    expect_patched(L"%x", L"%%s", L"x");
    expect_patched(L"%%x%", L"%%%s%", L"x");
    expect_patched(L"%dx", L"%d%s", L"x");
    expect_patched(L"xs", L"%ss", L"x");
}

TEST(PatchPercentS, does_not_look_into_what_it_has_written)
{
    expect_patched(L"%s%s", L"%s%s", L"%s");
    expect_patched(L"%s", L"%%s", L"s");
    expect_patched(L"%s", L"%ss", L"%");
}

TEST(PatchPercentS, with_an_empty_text_takes_the_places_out)
{
    CNQFWChar holder(L"a%sb%s");
    holder.patch_percent_s_with(L"");
    EXPECT_EQ(std::wstring(L"ab"), *holder);
    EXPECT_EQ(7U, holder.len());
}

TEST(PatchPercentS, length_rises_by_the_text_and_keeps_the_two_characters_of_each_place)
{
    CNQFWChar from_wide(L"a%sb%sc"); // 7 characters and the terminator
    from_wide.patch_percent_s_with(L"xyz");
    EXPECT_EQ(std::wstring(L"axyzbxyzc"), *from_wide);
    EXPECT_EQ(8U + 2 * 3, from_wide.len());

    CNQFWChar from_utf8(utf8("a%sb%sc")); // 7 characters
    from_utf8.patch_percent_s_with(L"xyz");
    EXPECT_EQ(std::wstring(L"axyzbxyzc"), *from_utf8);
    EXPECT_EQ(7U + 2 * 3, from_utf8.len());
}

TEST(PatchPercentS, again_adds_to_the_length_that_is_too_large_already)
{
    CNQFWChar holder(L"<%s>"); // 5
    holder.patch_percent_s_with(L"(%s)");
    EXPECT_EQ(std::wstring(L"<(%s)>"), *holder);
    EXPECT_EQ(9U, holder.len());
    holder.patch_percent_s_with(L"x");
    EXPECT_EQ(std::wstring(L"<(x)>"), *holder);
    EXPECT_EQ(10U, holder.len());
    // A copy measures the text anew, a move keeps what is stored.
    EXPECT_EQ(6U, CNQFWChar(holder).len());
    EXPECT_EQ(10U, CNQFWChar(std::move(holder)).len());
}

TEST(PatchPercentS, on_a_holder_of_nothing_does_nothing)
{
    CNQFWChar holder;
    holder.patch_percent_s_with(L"text");
    EXPECT_FALSE(holder);
    EXPECT_EQ(0U, holder.len());
}

TEST(PatchPercentS, with_a_null_text_changes_nothing)
{
    expect_unchanged(L"a%sb", nullptr);
}

TEST(PatchPercentS, may_be_given_the_held_text_itself)
{
    CNQFWChar holder(L"<%s>");
    holder.patch_percent_s_with(*holder);
    EXPECT_EQ(std::wstring(L"<<%s>>"), *holder);
    EXPECT_EQ(9U, holder.len());
}

TEST(PatchPercentS, looks_only_as_far_as_the_terminator)
{
    CNQFWChar holder(utf8("%s\xC0\x80%s")); // a 0 among the characters ends the text, and counts in the length
    EXPECT_EQ(5U, holder.len());
    holder.patch_percent_s_with(L"x");
    EXPECT_EQ(std::wstring(L"x"), *holder);
    EXPECT_EQ(6U, holder.len());
}

TEST(PatchPercentS, agrees_with_a_plain_replacement_on_random_formats)
{
    std::mt19937 random(78);
    for (int round = 0; round < 5000; ++round)
    {
        std::wstring format;
        for (unsigned long left = random() % 12; left != 0; --left)
            format += L"%%ss%a"[random() % 6];
        std::wstring const text(random() % 4, L'x');
        std::wstring expected;
        unsigned long places = 0;
        for (std::wstring::size_type at = 0;;)
        {
            auto const found = format.find(L"%s", at);
            expected += format.substr(at, found - at);
            if (found == std::wstring::npos)
                break;
            expected += text;
            ++places;
            at = found + 2;
        }
        CNQFWChar holder(format.c_str());
        holder.patch_percent_s_with(text.c_str());
        ASSERT_EQ(expected, *holder);
        ASSERT_EQ(format.size() + 1 + places * text.size(), holder.len());
    }
}

} // namespace
