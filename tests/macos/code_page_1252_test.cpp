// Code page 1252 through the system: each call, what is released, and what is not. What the conversions give is tested
// by text/code_page_1252_test.cpp, which is a part of this program too.
#include "ORVA/String/CodePage1252.h"

#include "support/macos/MacosDouble.h"

#include <gtest/gtest.h>

#include <string>

using namespace ORVA::String::OS;
using namespace support::macos;

namespace
{

unsigned long const all_bits = ~0UL;

std::string to_wide(int bytes)
{
    return "CFStringCreateWithBytes(default, bytes, " + std::to_string(bytes) + ", 0x500, 0)\n";
}
std::string to_wide_data(int bytes)
{
    return to_wide(bytes) + "CFStringCreateExternalRepresentation(default, string1, 0x1c000100, 0)\n";
}
std::string to_ansi(int bytes)
{
    return "CFStringCreateWithBytes(default, bytes, " + std::to_string(bytes) + ", 0x1c000100, 0)\n";
}
std::string to_ansi_data(int bytes)
{
    return to_ansi(bytes) + "CFStringCreateExternalRepresentation(default, string1, 0x500, 0)\n";
}
std::string const measured = "CFDataGetLength(data1)\n"
                             "CFRelease(data1)\n";
std::string copied(int bytes)
{
    return "CFDataGetLength(data1)\n"
           "CFDataGetBytes(data1, 0, " +
           std::to_string(bytes) +
           ")\n"
           "CFRelease(data1)\n";
}

class MacosCodePage1252 : public ::testing::Test
{
protected:
    void SetUp() override { reset(); }
    void TearDown() override { reset_quietly(); }

    /// The data is released once and the string not at all.
    static void expect_released()
    {
        EXPECT_EQ(releases("data1"), 1);
        EXPECT_EQ(releases("string1"), 0);
    }
};

TEST_F(MacosCodePage1252, measuring_ansi_releases_the_data_and_not_the_string)
{
    EXPECT_EQ(ANSI_To_nqfWChar("a\x80z", all_bits, nullptr, 0), 3U);
    EXPECT_EQ(take_calls(), to_wide_data(3) + measured);
    expect_released();
}

TEST_F(MacosCodePage1252, measuring_wide_text_releases_the_data_and_not_the_string)
{
    EXPECT_EQ(nqfWChar_To_ANSI(L"a\u20ACz", all_bits, nullptr, 0), 3U);
    EXPECT_EQ(take_calls(), to_ansi_data(12) + measured);
    expect_released();
}

TEST_F(MacosCodePage1252, converting_ansi_copies_four_bytes_for_each_character)
{
    wchar_t decoded[4] = {L'#', L'#', L'#', L'#'};
    EXPECT_EQ(ANSI_To_nqfWChar("a\x80z", all_bits, decoded, 4), 3U);
    EXPECT_STREQ(decoded, L"a\u20ACz");
    EXPECT_EQ(take_calls(), to_wide_data(3) + copied(12));
    expect_released();
}

TEST_F(MacosCodePage1252, converting_wide_text_copies_a_byte_for_each_character)
{
    char encoded[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(nqfWChar_To_ANSI(L"a\u20ACz", all_bits, encoded, 4), 3U);
    EXPECT_STREQ(encoded, "a\x80z");
    EXPECT_EQ(take_calls(), to_ansi_data(12) + copied(3));
    expect_released();
}

TEST_F(MacosCodePage1252, a_short_destination_gets_what_fits)
{
    wchar_t decoded[3] = {L'#', L'#', L'#'};
    EXPECT_EQ(ANSI_To_nqfWChar("abc", all_bits, decoded, 3), 2U);
    EXPECT_STREQ(decoded, L"ab");
    EXPECT_EQ(take_calls(), to_wide_data(3) + copied(8));
    expect_released();

    reset();
    char encoded[3] = {'#', '#', '#'};
    EXPECT_EQ(nqfWChar_To_ANSI(L"abc", all_bits, encoded, 3), 2U);
    EXPECT_STREQ(encoded, "ab");
    EXPECT_EQ(take_calls(), to_ansi_data(12) + copied(2));
    expect_released();
}

TEST_F(MacosCodePage1252, nothing_is_copied_where_only_the_terminator_fits)
{
    wchar_t decoded = L'#';
    EXPECT_EQ(ANSI_To_nqfWChar("abc", all_bits, &decoded, 1), 0U);
    EXPECT_EQ(decoded, L'\0');
    EXPECT_EQ(take_calls(), to_wide_data(3) + measured);
    expect_released();

    reset();
    char encoded = '#';
    EXPECT_EQ(nqfWChar_To_ANSI(L"abc", all_bits, &encoded, 1), 0U);
    EXPECT_EQ(encoded, '\0');
    EXPECT_EQ(take_calls(), to_ansi_data(12) + measured);
    expect_released();
}

TEST_F(MacosCodePage1252, empty_text_is_converted_as_any_other)
{
    wchar_t decoded = L'#';
    EXPECT_EQ(ANSI_To_nqfWChar("", all_bits, &decoded, 1), 0U);
    EXPECT_EQ(decoded, L'\0');
    EXPECT_EQ(take_calls(), to_wide_data(0) + measured);
    expect_released();

    reset();
    char encoded = '#';
    EXPECT_EQ(nqfWChar_To_ANSI(L"", all_bits, &encoded, 1), 0U);
    EXPECT_EQ(encoded, '\0');
    EXPECT_EQ(take_calls(), to_ansi_data(0) + measured);
    expect_released();
}

TEST_F(MacosCodePage1252, a_null_destination_with_a_length_is_found_after_the_conversion)
{
    EXPECT_EQ(ANSI_To_nqfWChar("abc", all_bits, nullptr, 4), 0U);
    EXPECT_EQ(take_calls(), to_wide_data(3) + measured);
    expect_released();

    reset();
    EXPECT_EQ(nqfWChar_To_ANSI(L"abc", all_bits, nullptr, 4), 0U);
    EXPECT_EQ(take_calls(), to_ansi_data(12) + measured);
    expect_released();
}

TEST_F(MacosCodePage1252, text_that_makes_no_string_leaves_nothing_to_release)
{
    wchar_t decoded = L'#';
    EXPECT_EQ(ANSI_To_nqfWChar("a\x81", all_bits, &decoded, 1), 0U);
    EXPECT_EQ(decoded, L'#');
    EXPECT_EQ(take_calls(), to_wide(2));

    reset();
    char encoded = '#';
    wchar_t const beyond[] = {static_cast<wchar_t>(0x110000), 0};
    EXPECT_EQ(nqfWChar_To_ANSI(beyond, all_bits, &encoded, 1), 0U);
    EXPECT_EQ(encoded, '#');
    EXPECT_EQ(take_calls(), to_ansi(4));
}

TEST_F(MacosCodePage1252, a_string_that_cannot_be_represented_is_released)
{
    char encoded = '#';
    EXPECT_EQ(nqfWChar_To_ANSI(L"\u03B1", all_bits, &encoded, 1), 0U);
    EXPECT_EQ(encoded, '#');
    EXPECT_EQ(take_calls(), to_ansi_data(4) + "CFRelease(string1)\n");
    EXPECT_EQ(releases("string1"), 1);

    reset();
    system().refusing = "CFStringCreateExternalRepresentation";
    wchar_t decoded = L'#';
    EXPECT_EQ(ANSI_To_nqfWChar("abc", all_bits, &decoded, 1), 0U);
    EXPECT_EQ(decoded, L'#');
    EXPECT_EQ(take_calls(), to_wide_data(3) + "CFRelease(string1)\n");
    EXPECT_EQ(releases("string1"), 1);
}

TEST_F(MacosCodePage1252, source_length_is_ignored)
{
    EXPECT_EQ(ANSI_To_nqfWChar("abc", 1, nullptr, 0), 3U);
    EXPECT_EQ(take_calls(), to_wide_data(3) + measured);

    reset();
    EXPECT_EQ(nqfWChar_To_ANSI(L"abc", 0, nullptr, 0), 3U);
    EXPECT_EQ(take_calls(), to_ansi_data(12) + measured);
}

TEST_F(MacosCodePage1252, a_null_source_is_not_handed_to_the_system)
{
    EXPECT_EQ(ANSI_To_nqfWChar(nullptr, all_bits, nullptr, 0), 0U);
    EXPECT_EQ(nqfWChar_To_ANSI(nullptr, all_bits, nullptr, 0), 0U);
    EXPECT_EQ(take_calls(), "");
}

} // namespace
