#include "ORVA/Files/Path.h"

#include <gtest/gtest.h>

#include <string>

using namespace ORVA::Files;

namespace
{

/// What stands behind a text in its buffer, so that one sees what was written there.
wchar_t const filler = L'#';

/// The whole buffer, of which the first characters are `path`, after the end rule was applied.
std::wstring buffer_after(std::wstring const& path, wchar_t separator)
{
    std::wstring buffer = path;
    buffer.push_back(0);
    buffer.append(3, filler);
    EXPECT_EQ(buffer.data(), FU_FormatPath(buffer.data(), separator));
    return buffer;
}

/// The text after the end rule was applied.
std::wstring formatted(std::wstring const& path, wchar_t separator)
{
    return buffer_after(path, separator).c_str();
}

TEST(StraightPath, null_is_not_and_an_empty_text_is)
{
    EXPECT_EQ(0, FU_IsStraightPath(nullptr));
    EXPECT_EQ(1, FU_IsStraightPath(L""));
}

TEST(StraightPath, has_no_step_of_one_dot_and_none_that_begins_with_two)
{
    for (wchar_t const* const path : {L"a/./b", L"a/..", L"a/..b", L"a/.", L"a\\.\\b", L"a\\..", L"a/.\\b", L"/.",
                                      L"/..", L"\\.", L"a/b/../c", L"a/...", L"a//.", L"/a/.b/.", L"\\\\.\\x"})
        EXPECT_EQ(0, FU_IsStraightPath(path)) << std::string(path, path + std::wstring(path).size());
}

TEST(StraightPath, dots_elsewhere_are_names)
{
    for (wchar_t const* const path : {L"./a", L"../a", L".", L"..", L"a/.b", L"a/b.", L"a/b..", L"a.b/c", L"a/.b/c",
                                      L"/", L"a/. ", L".\\a", L"a/b../c", L"a:.."})
        EXPECT_EQ(1, FU_IsStraightPath(path)) << std::string(path, path + std::wstring(path).size());
}

TEST(FormatPath, gives_the_separator_to_a_text_without_one)
{
    EXPECT_EQ(L"ab/", formatted(L"ab", L'/'));
    EXPECT_EQ(L"ab\\", formatted(L"ab", L'\\'));
    EXPECT_EQ(L"/a/", formatted(L"/a", L'/'));
    EXPECT_EQ(L"ab|", formatted(L"ab", L'|')) << "whatever it is";
}

TEST(FormatPath, takes_blanks_at_the_end_away_with_it)
{
    EXPECT_EQ(L"ab/", formatted(L"ab  ", L'/'));
    EXPECT_EQ(L"a b/", formatted(L"a b ", L'/'));
    EXPECT_EQ(L"ab\t/", formatted(L"ab\t", L'/')) << "the space alone is a blank";
    EXPECT_EQ(L"ab/", formatted(L"ab//  ", L'/'));
}

TEST(FormatPath, makes_one_of_a_run)
{
    EXPECT_EQ(L"ab/", formatted(L"ab/", L'/'));
    EXPECT_EQ(L"ab/", formatted(L"ab///", L'/'));
    EXPECT_EQ(L"ab\\", formatted(L"ab/\\/", L'\\'));
    EXPECT_EQ(L"a/", formatted(L"a//", L'/')) << "behind the first character too";
    EXPECT_EQ(L"a/", formatted(L"a/", L'/'));
    EXPECT_EQ(L"a//b/", formatted(L"a//b", L'/')) << "only at the end";
}

TEST(FormatPath, without_a_separator_takes_the_run_away)
{
    EXPECT_EQ(L"ab", formatted(L"ab/", 0));
    EXPECT_EQ(L"ab", formatted(L"ab\\//", 0));
    EXPECT_EQ(L"ab", formatted(L"ab//  ", 0));
    EXPECT_EQ(L"a", formatted(L"a/", 0));
}

TEST(FormatPath, without_a_separator_leaves_blanks_behind_anything_else)
{
    EXPECT_EQ(L"ab", formatted(L"ab", 0));
    EXPECT_EQ(L"ab  ", formatted(L"ab  ", 0));
    EXPECT_EQ(L"a/ b ", formatted(L"a/ b ", 0));
}

TEST(FormatPath, leaves_one_character_as_it_is)
{
    for (wchar_t const separator : {L'/', L'\\', L'\0'})
    {
        for (wchar_t const* const path : {L"", L"a", L"/", L"\\", L" ", L"    ", L"a   ", L"/  "})
            EXPECT_EQ(path, formatted(path, separator));
    }
}

TEST(FormatPath, keeps_the_length_of_separators_alone)
{
    EXPECT_EQ(L"/\\\\", formatted(L"///", L'\\')) << "the first is not overwritten";
    EXPECT_EQ(L"\\//", formatted(L"\\\\\\", L'/'));
    EXPECT_EQ(L"//", formatted(L"//", L'/'));
    EXPECT_EQ(L"/\\  ", formatted(L"//  ", L'\\')) << "blanks behind them stay";
    EXPECT_EQ(L"/", formatted(L"//", 0));
    EXPECT_EQ(L"\\", formatted(L"\\///", 0));
}

TEST(FormatPath, writes_nothing_behind_one_character_more)
{
    EXPECT_EQ(std::wstring(L"ab/\0##", 6), buffer_after(L"ab", L'/').substr(0, 6));
    EXPECT_EQ(std::wstring(L"ab\0###", 6), buffer_after(L"ab", 0).substr(0, 6));
    EXPECT_EQ(std::wstring(L"ab\0\0  \0#", 8), buffer_after(L"ab//  ", 0).substr(0, 8))
        << "the run has become terminators";
    EXPECT_EQ(std::wstring(L"ab/\0  \0#", 8), buffer_after(L"ab//  ", L'/').substr(0, 8));
}

TEST(FormatPath, null_stays_null)
{
    EXPECT_EQ(nullptr, FU_FormatPath(nullptr, L'/'));
}

} // namespace
