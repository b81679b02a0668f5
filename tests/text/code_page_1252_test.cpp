#include "ORVA/String/CodePage1252.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

using namespace ORVA::String::OS;

namespace
{

unsigned long const all_bits = ~0UL;

/// The bytes that do not stand for the character of the same value; 0 for those that stand for none.
std::map<unsigned int, wchar_t> const special = {
    {0x80, L'\u20AC'}, {0x81, 0},         {0x82, L'\u201A'}, {0x83, L'\u0192'}, {0x84, L'\u201E'}, {0x85, L'\u2026'},
    {0x86, L'\u2020'}, {0x87, L'\u2021'}, {0x88, L'\u02C6'}, {0x89, L'\u2030'}, {0x8A, L'\u0160'}, {0x8B, L'\u2039'},
    {0x8C, L'\u0152'}, {0x8D, 0},         {0x8E, L'\u017D'}, {0x8F, 0},         {0x90, 0},         {0x91, L'\u2018'},
    {0x92, L'\u2019'}, {0x93, L'\u201C'}, {0x94, L'\u201D'}, {0x95, L'\u2022'}, {0x96, L'\u2013'}, {0x97, L'\u2014'},
    {0x98, L'\u02DC'}, {0x99, L'\u2122'}, {0x9A, L'\u0161'}, {0x9B, L'\u203A'}, {0x9C, L'\u0153'}, {0x9D, 0},
    {0x9E, L'\u017E'}, {0x9F, L'\u0178'}};

wchar_t character_of(unsigned int byte)
{
    auto const found = special.find(byte);
    return found == special.end() ? static_cast<wchar_t>(byte) : found->second;
}

TEST(CodePage1252, every_byte_decodes_to_its_character_or_is_refused)
{
    ASSERT_EQ(32U, special.size());
    for (unsigned int byte = 1; byte < 256; ++byte)
    {
        char const text[] = {static_cast<char>(static_cast<unsigned char>(byte)), 0};
        wchar_t decoded[2] = {L'#', L'#'};
        if (wchar_t const expected = character_of(byte))
        {
            EXPECT_EQ(1U, ANSI_To_nqfWChar(text, all_bits, nullptr, 0)) << byte;
            EXPECT_EQ(1U, ANSI_To_nqfWChar(text, all_bits, decoded, 2)) << byte;
            EXPECT_EQ(expected, decoded[0]) << byte;
            EXPECT_EQ(L'\0', decoded[1]) << byte;
        }
        else
        {
            EXPECT_EQ(0U, ANSI_To_nqfWChar(text, all_bits, nullptr, 0)) << byte;
            EXPECT_EQ(0U, ANSI_To_nqfWChar(text, all_bits, decoded, 2)) << byte;
            EXPECT_EQ(L'#', decoded[0]) << byte;
        }
    }
}

TEST(CodePage1252, every_character_encodes_to_its_byte_or_is_refused)
{
    std::map<unsigned int, unsigned int> bytes;
    for (unsigned int byte = 1; byte < 256; ++byte)
        if (wchar_t const character = character_of(byte))
            bytes[static_cast<unsigned int>(character)] = byte;
    ASSERT_EQ(250U, bytes.size());
    for (unsigned int character = 1; character < 0x110000; ++character)
    {
        wchar_t const text[] = {static_cast<wchar_t>(character), 0};
        char encoded[2] = {'#', '#'};
        unsigned long const result = nqfWChar_To_ANSI(text, all_bits, encoded, 2);
        auto const expected = bytes.find(character);
        if (expected == bytes.end())
        {
            ASSERT_EQ(0U, result) << character;
            ASSERT_EQ('#', encoded[0]) << character;
        }
        else
        {
            ASSERT_EQ(1U, result) << character;
            ASSERT_EQ(expected->second, static_cast<unsigned char>(encoded[0])) << character;
            ASSERT_EQ('\0', encoded[1]) << character;
        }
    }
}

TEST(CodePage1252, values_beyond_unicode_are_refused)
{
    for (unsigned int const value : {0x110000U, 0x7FFFFFFFU, 0x80000041U, 0xFFFFFFE9U, 0xFFFFFFFFU})
    {
        wchar_t const text[] = {static_cast<wchar_t>(value), 0};
        EXPECT_EQ(0U, nqfWChar_To_ANSI(text, all_bits, nullptr, 0));
    }
}

TEST(CodePage1252, whole_text_of_all_bytes_survives_both_ways)
{
    std::string text;
    std::wstring expected;
    for (unsigned int byte = 1; byte < 256; ++byte)
        if (wchar_t const character = character_of(byte))
        {
            text += static_cast<char>(static_cast<unsigned char>(byte));
            expected += character;
        }
    std::vector<wchar_t> decoded(251);
    EXPECT_EQ(250U, ANSI_To_nqfWChar(text.c_str(), all_bits, decoded.data(), 251));
    EXPECT_EQ(expected, decoded.data());
    std::vector<char> encoded(251);
    EXPECT_EQ(250U, nqfWChar_To_ANSI(decoded.data(), all_bits, encoded.data(), 251));
    EXPECT_EQ(text, encoded.data());
}

TEST(CodePage1252, ansi_measuring_call_gives_the_count_without_the_terminator)
{
    wchar_t untouched = L'#';
    EXPECT_EQ(3U, ANSI_To_nqfWChar("a\x80z", all_bits, nullptr, 0));
    EXPECT_EQ(3U, ANSI_To_nqfWChar("a\x80z", all_bits, &untouched, 0));
    EXPECT_EQ(0U, ANSI_To_nqfWChar("", all_bits, nullptr, 0));
    EXPECT_EQ(L'#', untouched);
}

TEST(CodePage1252, wide_measuring_call_gives_the_count_without_the_terminator)
{
    char untouched = '#';
    EXPECT_EQ(3U, nqfWChar_To_ANSI(L"a\u20ACz", all_bits, nullptr, 0));
    EXPECT_EQ(3U, nqfWChar_To_ANSI(L"a\u20ACz", all_bits, &untouched, 0));
    EXPECT_EQ(0U, nqfWChar_To_ANSI(L"", all_bits, nullptr, 0));
    EXPECT_EQ('#', untouched);
}

TEST(CodePage1252, null_destination_with_a_length_gives_0)
{
    for (unsigned long const length : {1UL, 3UL, 4UL, 100UL, all_bits})
    {
        EXPECT_EQ(0U, ANSI_To_nqfWChar("abc", all_bits, nullptr, length));
        EXPECT_EQ(0U, nqfWChar_To_ANSI(L"abc", all_bits, nullptr, length));
    }
}

TEST(CodePage1252, destination_of_any_length_gets_what_fits_and_a_terminator)
{
    std::string const narrow = "abc";
    std::wstring const broad = L"abc";
    for (unsigned long length = 1; length <= 6; ++length)
    {
        unsigned long const expected = length < 4 ? length - 1 : 3;
        wchar_t decoded[6] = {L'#', L'#', L'#', L'#', L'#', L'#'};
        EXPECT_EQ(expected, ANSI_To_nqfWChar(narrow.c_str(), all_bits, decoded, length));
        EXPECT_EQ(broad.substr(0, expected), decoded);
        char encoded[6] = {'#', '#', '#', '#', '#', '#'};
        EXPECT_EQ(expected, nqfWChar_To_ANSI(broad.c_str(), all_bits, encoded, length));
        EXPECT_EQ(narrow.substr(0, expected), encoded);
        for (unsigned long at = expected + 1; at < 6; ++at)
        {
            EXPECT_EQ(L'#', decoded[at]);
            EXPECT_EQ('#', encoded[at]);
        }
    }
}

TEST(CodePage1252, no_limit_of_the_destination_is_too_large)
{
    wchar_t decoded[4];
    EXPECT_EQ(3U, ANSI_To_nqfWChar("abc", all_bits, decoded, all_bits));
    EXPECT_STREQ(L"abc", decoded);
    char encoded[4];
    EXPECT_EQ(3U, nqfWChar_To_ANSI(L"abc", all_bits, encoded, all_bits));
    EXPECT_STREQ("abc", encoded);
}

TEST(CodePage1252, empty_text_writes_a_terminator)
{
    wchar_t decoded[2] = {L'#', L'#'};
    EXPECT_EQ(0U, ANSI_To_nqfWChar("", all_bits, decoded, 1));
    EXPECT_EQ(L'\0', decoded[0]);
    EXPECT_EQ(L'#', decoded[1]);
    char encoded[2] = {'#', '#'};
    EXPECT_EQ(0U, nqfWChar_To_ANSI(L"", all_bits, encoded, 2));
    EXPECT_EQ('\0', encoded[0]);
    EXPECT_EQ('#', encoded[1]);
}

TEST(CodePage1252, source_length_is_ignored)
{
    for (unsigned long const length : {0UL, 1UL, 2UL, 100UL, all_bits})
    {
        EXPECT_EQ(3U, ANSI_To_nqfWChar("abc", length, nullptr, 0));
        EXPECT_EQ(3U, nqfWChar_To_ANSI(L"abc", length, nullptr, 0));
    }
}

TEST(CodePage1252, one_unmappable_element_fails_the_whole_text_wherever_it_stands)
{
    for (unsigned long position = 0; position <= 4; ++position)
        for (unsigned long const length : {0UL, 1UL, 2UL, 3UL, 5UL, 6UL})
        {
            std::string narrow = "abcd";
            narrow.insert(position, "\x9D");
            wchar_t decoded[6] = {L'#', L'#', L'#', L'#', L'#', L'#'};
            EXPECT_EQ(0U, ANSI_To_nqfWChar(narrow.c_str(), all_bits, decoded, length));
            std::wstring broad = L"abcd";
            broad.insert(position, L"\u03B1");
            char encoded[6] = {'#', '#', '#', '#', '#', '#'};
            EXPECT_EQ(0U, nqfWChar_To_ANSI(broad.c_str(), all_bits, encoded, length));
            for (unsigned long at = 0; at < 6; ++at)
            {
                EXPECT_EQ(L'#', decoded[at]);
                EXPECT_EQ('#', encoded[at]);
            }
        }
}

TEST(CodePage1252, null_source_gives_0)
{
    wchar_t decoded = L'#';
    char encoded = '#';
    EXPECT_EQ(0U, ANSI_To_nqfWChar(nullptr, all_bits, nullptr, 0));
    EXPECT_EQ(0U, ANSI_To_nqfWChar(nullptr, all_bits, &decoded, 1));
    EXPECT_EQ(0U, nqfWChar_To_ANSI(nullptr, all_bits, nullptr, 0));
    EXPECT_EQ(0U, nqfWChar_To_ANSI(nullptr, all_bits, &encoded, 1));
    EXPECT_EQ(L'#', decoded);
    EXPECT_EQ('#', encoded);
}

} // namespace
