#include "ORVA/String/Codecs.h"
#include "reference/plain_codecs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{

using namespace ORVA::String;

constexpr unsigned long no_limit = ~0UL;

unsigned char const* utf8(char const* text)
{
    return reinterpret_cast<unsigned char const*>(text);
}

/// A heap block of exactly `size` units, each holding `fill`, so that a sanitizer sees every access outside it.
template <class Unit>
std::unique_ptr<Unit[]> exact_block(unsigned long size, Unit fill)
{
    auto block = std::make_unique<Unit[]>(size);
    for (unsigned long index = 0; index < size; ++index)
        block[index] = fill;
    return block;
}

// ---- UTF-8 to wide ----

TEST(UTF8ToWideText, ANullSourceGivesZero)
{
    wchar_t buffer[2] = {7, 7};
    EXPECT_EQ(UTF8_To_nqfWChar(nullptr, no_limit, buffer, 2), 0U);
    EXPECT_EQ(UTF8_To_nqfWChar(nullptr, 0, buffer, 2), 0U);
    EXPECT_EQ(UTF8_To_nqfWChar(nullptr, no_limit, nullptr, 0), 0U);
    EXPECT_EQ(buffer[0], 7);
}

TEST(UTF8ToWideText, ANullDestinationAsksForTheSize)
{
    EXPECT_EQ(UTF8_To_nqfWChar(utf8("abc"), no_limit, nullptr, 0), 4U);
    EXPECT_EQ(UTF8_To_nqfWChar(utf8("abc"), no_limit, nullptr, 1), 4U);
    EXPECT_EQ(UTF8_To_nqfWChar(utf8("abc"), 2, nullptr, 0), 3U);
    EXPECT_EQ(UTF8_To_nqfWChar(utf8("\xE2\x82\xAC"), no_limit, nullptr, 0), 2U);
    EXPECT_EQ(UTF8_To_nqfWChar(utf8(""), no_limit, nullptr, 0), 1U);
}

TEST(UTF8ToWideText, ACapacityThatIsTooSmallGivesZeroAndWritesNothing)
{
    wchar_t buffer[4] = {7, 7, 7, 7};
    EXPECT_EQ(UTF8_To_nqfWChar(utf8("abc"), no_limit, buffer, 3), 0U);
    EXPECT_EQ(UTF8_To_nqfWChar(utf8(""), no_limit, buffer, 0), 0U);
    EXPECT_EQ(UTF8_To_nqfWChar(utf8("abc"), 0, buffer, 0), 0U);
    for (wchar_t unit : buffer)
        EXPECT_EQ(unit, 7);
    EXPECT_EQ(UTF8_To_nqfWChar(utf8("abc"), no_limit, buffer, 4), 4U);
    EXPECT_EQ(std::wstring(buffer), L"abc");
}

TEST(UTF8ToWideText, AnEmptyTextIsStoredAsOne)
{
    wchar_t buffer[2] = {7, 7};
    EXPECT_EQ(UTF8_To_nqfWChar(utf8("abc"), 0, buffer, 2), 1U);
    EXPECT_EQ(buffer[0], 0);
    EXPECT_EQ(buffer[1], 7);
    buffer[0] = 7;
    EXPECT_EQ(UTF8_To_nqfWChar(utf8("\x80"), no_limit, buffer, 1), 1U);
    EXPECT_EQ(buffer[0], 0);
}

TEST(UTF8ToWideText, ConvertsTheValidPrefix)
{
    wchar_t buffer[8];
    EXPECT_EQ(UTF8_To_nqfWChar(utf8("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xFFz"), no_limit, buffer, 8), 5U);
    EXPECT_EQ(std::wstring(buffer), L"a\u00E4\u20AC\U0001F600");
    EXPECT_EQ(UTF8_To_nqfWChar(utf8("a\xE2\x82\xAC"), 3, buffer, 8), 2U);
    EXPECT_EQ(std::wstring(buffer), L"a");
}

TEST(UTF8ToWideText, TakesOverlongZerosSurrogatesAndValuesUpTo13FFFF)
{
    wchar_t buffer[5];
    EXPECT_EQ(UTF8_To_nqfWChar(utf8("\xC0\x80\xED\xA0\x80\xF4\xBF\xBF\xBFz"), no_limit, buffer, 5), 5U);
    EXPECT_EQ(buffer[0], 0);
    EXPECT_EQ(buffer[1], 0xD800);
    EXPECT_EQ(buffer[2], 0x13FFFF);
    EXPECT_EQ(buffer[3], L'z');
    EXPECT_EQ(buffer[4], 0);
}

/// Converts with every capacity about the right one, from and into blocks of exactly the needed size.
void expect_plain_utf8_to_wide(std::vector<unsigned char> const& text, unsigned long limit)
{
    std::vector<unsigned char> padded = text;
    padded.resize(text.size() + 8);
    unsigned long const readable = limit < text.size() ? limit : text.size() + (limit > text.size() ? 1 : 0);
    auto const source = exact_block<unsigned char>(readable, 0);
    std::copy(padded.begin(), padded.begin() + static_cast<long>(readable), source.get());

    unsigned long const needed = plain::utf8_to_wide(padded.data(), limit, nullptr, 0);
    ASSERT_EQ(UTF8_To_nqfWChar(source.get(), limit, nullptr, 0), needed);
    for (unsigned long capacity : {needed - 1, needed, needed + 3})
    {
        auto const stored = exact_block<wchar_t>(capacity, 7);
        auto const expected = exact_block<wchar_t>(capacity, 7);
        ASSERT_EQ(UTF8_To_nqfWChar(source.get(), limit, stored.get(), capacity),
                  plain::utf8_to_wide(padded.data(), limit, expected.get(), capacity));
        ASSERT_TRUE(std::equal(stored.get(), stored.get() + capacity, expected.get()));
    }
}

TEST(UTF8ToWideText, AgreesWithThePlainConversionOnRandomText)
{
    std::mt19937 random(4711);
    for (unsigned int round = 0; round < 600; ++round)
    {
        std::vector<unsigned char> text;
        unsigned long const size = random() % 120;
        while (text.size() < size)
        {
            for (unsigned long run = random() % 50; run != 0; --run)
                text.push_back(static_cast<unsigned char>(1 + random() % 0x7F));
            unsigned char encoded[4];
            auto const value = static_cast<unsigned int>(0x80 + random() % 0x10FF80);
            unsigned int const length = plain::encode_utf8(encoded, value);
            text.insert(text.end(), encoded, encoded + length);
            if (random() % 20 == 0)
                text.push_back(static_cast<unsigned char>(random()));
        }
        expect_plain_utf8_to_wide(text, no_limit);
        expect_plain_utf8_to_wide(text, text.size());
        expect_plain_utf8_to_wide(text, random() % (text.size() + 2));
    }
}

TEST(UTF8ToWideText, AgreesWithThePlainConversionWithOneOtherCharacterAnywhere)
{
    for (std::string const other : {"", "\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xC0\x80", "\x80", "\xE2\x82"})
    {
        for (unsigned long before = 0; before < 60; ++before)
        {
            for (unsigned long after : {0UL, 1UL, 15UL, 16UL, 17UL, 33UL})
            {
                std::string const text = std::string(before, 'a') + other + std::string(after, 'b');
                expect_plain_utf8_to_wide({text.begin(), text.end()}, no_limit);
            }
        }
    }
}

// ---- wide to UTF-8 ----

TEST(WideTextToUTF8, ANullSourceGivesZero)
{
    unsigned char buffer[2] = {7, 7};
    EXPECT_EQ(nqfWChar_To_UTF8(nullptr, no_limit, buffer, 2), 0U);
    EXPECT_EQ(nqfWChar_To_UTF8(nullptr, 0, buffer, 2), 0U);
    EXPECT_EQ(nqfWChar_To_UTF8(nullptr, no_limit, nullptr, 0), 0U);
    EXPECT_EQ(buffer[0], 7);
}

TEST(WideTextToUTF8, ANullDestinationAsksForTheSize)
{
    EXPECT_EQ(nqfWChar_To_UTF8(L"abc", no_limit, nullptr, 0), 4U);
    EXPECT_EQ(nqfWChar_To_UTF8(L"a\u00E4\u20AC\U0001F600", no_limit, nullptr, 0), 1U + 1 + 2 + 3 + 4);
    EXPECT_EQ(nqfWChar_To_UTF8(L"", no_limit, nullptr, 0), 1U);
}

TEST(WideTextToUTF8, ACapacityThatIsTooSmallGivesZeroAndWritesNothing)
{
    unsigned char buffer[4] = {7, 7, 7, 7};
    EXPECT_EQ(nqfWChar_To_UTF8(L"abc", no_limit, buffer, 3), 0U);
    EXPECT_EQ(nqfWChar_To_UTF8(L"\u20AC", no_limit, buffer, 3), 0U);
    EXPECT_EQ(nqfWChar_To_UTF8(L"", no_limit, buffer, 0), 0U);
    for (unsigned char byte : buffer)
        EXPECT_EQ(byte, 7);
    EXPECT_EQ(nqfWChar_To_UTF8(L"\u20AC", no_limit, buffer, 4), 4U);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer)), "\xE2\x82\xAC");
}

TEST(WideTextToUTF8, AnEmptyTextIsStoredAsOne)
{
    unsigned char buffer[2] = {7, 7};
    EXPECT_EQ(nqfWChar_To_UTF8(L"abc", 0, buffer, 2), 1U);
    EXPECT_EQ(buffer[0], 0);
    EXPECT_EQ(buffer[1], 7);
    wchar_t const refused[] = {0x110000, 'a', 0};
    buffer[0] = 7;
    EXPECT_EQ(nqfWChar_To_UTF8(refused, no_limit, buffer, 1), 1U);
    EXPECT_EQ(buffer[0], 0);
}

TEST(WideTextToUTF8, ConvertsTheUnitAtTheLimitToo)
{
    unsigned char buffer[8];
    EXPECT_EQ(nqfWChar_To_UTF8(L"abcdef", 2, buffer, sizeof buffer), 4U);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer)), "abc");
    EXPECT_EQ(nqfWChar_To_UTF8(L"abc", 3, buffer, sizeof buffer), 4U);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer)), "abc");
}

TEST(WideTextToUTF8, EndsAtAValueThatUTF8DoesNotHold)
{
    for (unsigned int refused : {0x110000U, 0x13FFFFU, 0x80000000U, 0xFFFFFFFFU})
    {
        wchar_t const text[] = {L'a', 0xD800, static_cast<wchar_t>(refused), L'b', 0};
        unsigned char buffer[8];
        EXPECT_EQ(nqfWChar_To_UTF8(text, no_limit, buffer, sizeof buffer), 5U);
        EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer)), "a\xED\xA0\x80");
    }
}

void expect_plain_wide_to_utf8(std::vector<wchar_t> const& text, unsigned long limit)
{
    std::vector<wchar_t> padded = text;
    padded.resize(text.size() + 2);
    unsigned long const readable = limit < text.size() ? limit + 1 : text.size() + 1;
    auto const source = exact_block<wchar_t>(readable, 0);
    std::copy(padded.begin(), padded.begin() + static_cast<long>(readable), source.get());

    unsigned long const needed = plain::wide_to_utf8(padded.data(), limit, nullptr, 0);
    ASSERT_EQ(nqfWChar_To_UTF8(source.get(), limit, nullptr, 0), needed);
    for (unsigned long capacity : {needed - 1, needed, needed + 3})
    {
        auto const stored = exact_block<unsigned char>(capacity, 7);
        auto const expected = exact_block<unsigned char>(capacity, 7);
        ASSERT_EQ(nqfWChar_To_UTF8(source.get(), limit, stored.get(), capacity),
                  plain::wide_to_utf8(padded.data(), limit, expected.get(), capacity));
        ASSERT_TRUE(std::equal(stored.get(), stored.get() + capacity, expected.get()));
    }
}

TEST(WideTextToUTF8, AgreesWithThePlainConversionOnRandomText)
{
    std::mt19937 random(815);
    for (unsigned int round = 0; round < 600; ++round)
    {
        std::vector<wchar_t> text;
        unsigned long const size = random() % 120;
        while (text.size() < size)
        {
            for (unsigned long run = random() % 50; run != 0; --run)
                text.push_back(static_cast<wchar_t>(1 + random() % 0x7F));
            text.push_back(static_cast<wchar_t>(random() % (0x110000U >> random() % 16) + 1));
            if (random() % 40 == 0)
                text.push_back(static_cast<wchar_t>(random()));
        }
        expect_plain_wide_to_utf8(text, no_limit);
        expect_plain_wide_to_utf8(text, text.size());
        expect_plain_wide_to_utf8(text, random() % (text.size() + 2));
    }
}

TEST(WideTextToUTF8, AgreesWithThePlainConversionWithOneOtherCharacterAnywhere)
{
    for (unsigned int other : {0x7FU, 0x80U, 0x7FFU, 0x800U, 0xFFFFU, 0x10000U, 0x10FFFFU, 0x110000U, 0x80000041U})
    {
        for (unsigned long before = 0; before < 60; ++before)
        {
            for (unsigned long after : {0UL, 1UL, 15UL, 16UL, 17UL, 33UL})
            {
                std::vector<wchar_t> text(before, L'a');
                text.push_back(static_cast<wchar_t>(other));
                text.insert(text.end(), after, L'b');
                expect_plain_wide_to_utf8(text, no_limit);
            }
        }
    }
}

// ---- both ways ----

TEST(TextConversion, EveryCodePointComesBack)
{
    constexpr unsigned int block = 0x1000;
    std::vector<wchar_t> text(block + 1);
    std::vector<unsigned char> bytes(4 * block + 1);
    std::vector<wchar_t> back(block + 1);
    for (unsigned int start = 0; start < 0x110000; start += block)
    {
        for (unsigned int index = 0; index < block; ++index)
            text[index] = static_cast<wchar_t>(start + index == 0 ? 1 : start + index);
        unsigned long const stored = nqfWChar_To_UTF8(text.data(), no_limit, bytes.data(), bytes.size());
        ASSERT_EQ(stored, nqfWu8strlen(text.data(), no_limit) + 1);
        ASSERT_EQ(UTF8_To_nqfWChar(bytes.data(), no_limit, back.data(), back.size()), block + 1);
        ASSERT_EQ(back, text);
    }
}

/// Converting one character after the other, for as many characters as were measured, never fails and takes exactly
/// the measured room, whatever the text is.
TEST(TextConversion, MeasureAndCharacterConvertersAgreeOnAnyUnits)
{
    std::mt19937 random(99);
    for (unsigned int round = 0; round < 3000; ++round)
    {
        unsigned short units[12] = {};
        for (unsigned int index = 0; index < 10; ++index)
            units[index] = static_cast<unsigned short>(random() % 3 == 0 ? 0xD700 + random() % 0xA00 : random());
        unsigned char bytes[40];
        unsigned char* end = bytes;
        unsigned short const* source = units;
        for (unsigned long left = UTF16wstrlen(units, no_limit); left != 0; --left)
            ASSERT_EQ(utf16_utf8(end, source), 1U);
        ASSERT_EQ(static_cast<unsigned long>(end - bytes), UTF16u8strlen(units, no_limit));

        unsigned char text[16] = {};
        for (unsigned int index = 0; index < 12; ++index)
        {
            unsigned char const leads[] = {0x41, 0xC3, 0xE2, 0xF0, 0xF3};
            text[index] = static_cast<unsigned char>(random() % 2 == 0 ? leads[random() % 5] : 0x80 + random() % 0x40);
        }
        unsigned short stored[24];
        unsigned short* stored_end = stored;
        unsigned char const* byte_source = text;
        for (unsigned long left = UTF8wstrlen(text, no_limit); left != 0; --left)
            ASSERT_EQ(utf8_utf16(stored_end, byte_source), 1U);
        ASSERT_EQ(static_cast<unsigned long>(stored_end - stored), UTF8u16strlen(text, no_limit));
    }
}

// ---- Texts that are stored over themselves ----

// What is stored is never longer than what was read of the wide text, and no shorter than what is read of the UTF-8 behind
// it: conversion from the first character to the last needs no second buffer.

std::vector<wchar_t> mixed_text(unsigned long length, wchar_t every_third)
{
    std::vector<wchar_t> text;
    for (unsigned long index = 0; index < length; ++index)
        text.push_back(index % 3 == 1 ? every_third : static_cast<wchar_t>('a' + index % 26));
    text.push_back(0);
    return text;
}

TEST(OverlappingTexts, WideTextBecomesUTF8InItsPlace)
{
    for (wchar_t every_third : {L'x', L'\u00E9', L'\u20AC', L'\U0001F600'})
    {
        for (unsigned long length = 0; length < 100; ++length)
        {
            std::vector<wchar_t> text = mixed_text(length, every_third);
            std::vector<unsigned char> expected(4 * text.size());
            unsigned long const size = nqfWChar_To_UTF8(text.data(), no_limit, expected.data(), expected.size());
            auto* const place = reinterpret_cast<unsigned char*>(text.data());
            ASSERT_EQ(nqfWChar_To_UTF8(text.data(), no_limit, place, expected.size()), size);
            ASSERT_TRUE(std::equal(place, place + size, expected.begin())) << length;
        }
    }
}

TEST(OverlappingTexts, UTF8AtTheEndOfABufferBecomesWideTextInIt)
{
    for (wchar_t every_third : {L'x', L'\u00E9', L'\u20AC', L'\U0001F600'})
    {
        for (unsigned long length = 0; length < 700; length += length < 100 ? 1 : 37)
        {
            std::vector<wchar_t> const expected = mixed_text(length, every_third);
            std::vector<unsigned char> bytes(4 * expected.size());
            unsigned long const size = nqfWChar_To_UTF8(expected.data(), no_limit, bytes.data(), bytes.size());
            std::vector<wchar_t> buffer(expected.size());
            unsigned char* const source = reinterpret_cast<unsigned char*>(buffer.data() + buffer.size()) - size;
            std::copy_n(bytes.begin(), size, source);
            ASSERT_EQ(UTF8_To_nqfWChar(source, no_limit, buffer.data(), buffer.size()), expected.size());
            ASSERT_EQ(buffer, expected) << length;
        }
    }
}

} // namespace
