#include "cstringpool/evaluation_kernels.h"

#include "reference/plain_evaluation.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cwctype>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

namespace evaluation = ORVA::String::evaluation;
using evaluation::CaseMapping;
using evaluation::Kernel;
using ORVA::String::tagSTRINGBASICINFO;
using Utf8 = unsigned char;
using Utf16 = unsigned short;

reference::PlainEvaluation const twin;

tagSTRINGBASICINFO sentinel()
{
    return {11, 22, 33, 44};
}

bool same(tagSTRINGBASICINFO const& a, tagSTRINGBASICINFO const& b)
{
    return a.len == b.len && a.utf8Size == b.utf8Size && a.sHash == b.sHash && a.sHashi == b.sHashi;
}

std::vector<Kernel const*> kernels()
{
    evaluation::Kernels const available = evaluation::available_kernels();
    return std::vector<Kernel const*>(available.entry, available.entry + available.count);
}

// The tests run in a locale whose mapping knows more than ASCII.
class EvaluationKernels : public testing::Test
{
protected:
    void SetUp() override { ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr); }
    void TearDown() override { std::setlocale(LC_ALL, "C"); }

    // Compares all kernels with the twin on a text without 0, in a block of its own, so that a sanitizer sees every
    // read outside.
    template <class Unit>
    void compare(std::vector<Unit> text)
    {
        text.shrink_to_fit();
        std::vector<Unit> terminated = text;
        terminated.push_back(0);
        tagSTRINGBASICINFO expected = sentinel();
        unsigned int const result = twin(expected, terminated.data());
        for (Kernel const* kernel : kernels())
        {
            tagSTRINGBASICINFO info = sentinel();
            ASSERT_EQ(evaluation::evaluate(*kernel, evaluation::platform_mapping, info, text.data(), text.size()),
                      result)
                << kernel->name << " " << text.size();
            ASSERT_TRUE(same(info, expected)) << kernel->name << " " << text.size();
        }
    }
};

std::vector<unsigned long> interesting_lengths()
{
    std::vector<unsigned long> lengths;
    for (unsigned long length = 0; length <= 70; ++length)
        lengths.push_back(length);
    for (unsigned long length :
         {127UL, 128UL, 129UL, 143UL, 144UL, 255UL, 256UL, 257UL, 258UL, 259UL, 260UL, 511UL, 512UL, 513UL, 4096UL})
        lengths.push_back(length);
    return lengths;
}

// Characters of several kinds, never 0.
std::vector<wchar_t> random_text(std::mt19937& random, unsigned long length, int kind)
{
    static wchar_t const accents[] = L"\u00C9\u00E9\u00DC\u00FF\u0130\u0131\u0178\u01C5\u0391\u03A9\u0416\u1E9E";
    static unsigned int const odd[] = {0x7F,       0x80,       0xFF,       0x100,      0x7FF,      0x800,     0xD800,
                                       0xDFFF,     0xFFFF,     0x10000,    0x10041,    0x1F600,    0x10FFFF,  0x110000,
                                       0x7FFFFFFF, 0x80000000, 0x80000041, 0xFFFFFFFF, 0x00410000, 0xFFFF0041};
    std::vector<wchar_t> text;
    while (text.size() < length)
    {
        unsigned int const r = static_cast<unsigned int>(random());
        unsigned int character = 0;
        switch (kind == 6 ? r >> 24 & 7 : static_cast<unsigned int>(kind))
        {
        case 0:
            character = L'a' + r % 26;
            break;
        case 1:
            character = L'A' + r % 26;
            break;
        case 2:
            character = 1 + r % 127;
            break;
        case 3:
            character = static_cast<unsigned int>(accents[r % 12]);
            break;
        case 4:
            character = 0x4E00 + r % 0x5000;
            break;
        case 5:
            character = odd[r % (sizeof odd / sizeof odd[0])];
            break;
        default:
            character = 1 + r % 0xFFFF;
            break;
        }
        text.push_back(static_cast<wchar_t>(character));
    }
    return text;
}

void encode(std::vector<Utf8>& bytes, unsigned int character)
{
    if (character < 0x80)
    {
        bytes.push_back(static_cast<Utf8>(character));
        return;
    }
    int const more = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    static Utf8 const leads[] = {0, 0xC0, 0xE0, 0xF0};
    bytes.push_back(static_cast<Utf8>(leads[more] | character >> 6 * more));
    for (int i = more - 1; i >= 0; --i)
        bytes.push_back(static_cast<Utf8>(0x80 | (character >> 6 * i & 0x3F)));
}

TEST_F(EvaluationKernels, SlicedIsAlwaysThereAndTheBestOneIsTheLast)
{
    std::vector<Kernel const*> const all = kernels();
    ASSERT_GE(all.size(), 1U);
    EXPECT_EQ(all[0], &evaluation::sliced_kernel);
    EXPECT_EQ(&evaluation::best_kernel(), all.back());
    EXPECT_EQ(&evaluation::best_kernel(), all.back());
    EXPECT_EQ(evaluation::carryless_kernel() != nullptr, ORVA::Buffers::crc64::has_carryless());
}

TEST_F(EvaluationKernels, AgreeWithTheTwinOnRandomWideText)
{
    std::mt19937 random(1);
    for (int kind = 0; kind <= 6; ++kind)
        for (unsigned long length : interesting_lengths())
            compare(random_text(random, length, kind));
}

TEST_F(EvaluationKernels, AgreeWithTheTwinOnRandomUtf16)
{
    std::mt19937 random(2);
    for (int kind = 0; kind <= 6; ++kind)
    {
        for (unsigned long length : interesting_lengths())
        {
            std::vector<Utf16> units;
            for (wchar_t character : random_text(random, length, kind))
            {
                // Surrogates now and then, in pairs or alone.
                unsigned int const r = static_cast<unsigned int>(random());
                Utf16 const unit = static_cast<Utf16>(character);
                units.push_back(unit == 0 || r % 64 == 0 ? static_cast<Utf16>(0xD800 + (r >> 8) % 0x400) : unit);
                if (r % 64 == 0)
                    units.push_back(static_cast<Utf16>(0xDBFF + (r >> 20) % 0x300));
            }
            compare(units);
        }
    }
}

TEST_F(EvaluationKernels, AgreeWithTheTwinOnRandomUtf8)
{
    std::mt19937 random(3);
    for (int kind = 0; kind <= 6; ++kind)
    {
        for (unsigned long length : interesting_lengths())
        {
            std::vector<Utf8> bytes;
            for (wchar_t character : random_text(random, length, kind))
            {
                unsigned int const value = static_cast<unsigned int>(character) % 0x140000;
                encode(bytes, value == 0 ? 1 : value);
            }
            compare(bytes);
            if (!bytes.empty())
            {
                // Cut short, and with one byte spoilt.
                bytes.pop_back();
                compare(bytes);
                if (!bytes.empty())
                {
                    bytes[random() % bytes.size()] = static_cast<Utf8>(1 + random() % 255);
                    compare(bytes);
                }
            }
        }
    }
}

TEST_F(EvaluationKernels, AgreeWithTheTwinOnRandomBytesAndUnits)
{
    std::mt19937 random(4);
    for (int round = 0; round < 3000; ++round)
    {
        std::vector<Utf8> bytes(random() % 6);
        for (Utf8& byte : bytes)
            byte = static_cast<Utf8>(1 + random() % 255);
        compare(bytes);
        std::vector<Utf16> units(random() % 6);
        for (Utf16& unit : units)
            unit = static_cast<Utf16>(0xD7F0 + random() % 0x900);
        compare(units);
    }
}

TEST_F(EvaluationKernels, AgreeWithTheTwinOnEachAsciiCharacterAtEachPlace)
{
    for (unsigned long length : {1UL, 2UL, 3UL, 4UL, 5UL, 6UL, 7UL, 8UL, 9UL, 13UL, 16UL, 17UL})
    {
        for (unsigned long place = 0; place < length; ++place)
        {
            for (wchar_t character = 1; character < 0x82; ++character)
            {
                std::vector<wchar_t> text(length, L'k');
                text[place] = character;
                ASSERT_NO_FATAL_FAILURE(compare(text));
                ASSERT_NO_FATAL_FAILURE(compare(std::vector<Utf8>(text.begin(), text.end())));
                ASSERT_NO_FATAL_FAILURE(compare(std::vector<Utf16>(text.begin(), text.end())));
            }
        }
    }
}

TEST_F(EvaluationKernels, AgreeWithTheTwinOnOneCharacterThatIsNotAsciiAtEachPlace)
{
    for (unsigned long length : {8UL, 15UL, 16UL, 64UL, 72UL, 150UL})
    {
        for (unsigned long place = 0; place < length; ++place)
        {
            for (unsigned int character : {0x80U, 0x100U, 0x141U, 0x10041U, 0x80000041U})
            {
                std::vector<wchar_t> text(length, L'K');
                text[place] = static_cast<wchar_t>(character);
                ASSERT_NO_FATAL_FAILURE(compare(text));
            }
            std::vector<Utf16> units(length, Utf16{'K'});
            units[place] = 0x4141;
            ASSERT_NO_FATAL_FAILURE(compare(units));
        }
    }
}

TEST_F(EvaluationKernels, AgreeWithTheTwinAtEveryAlignment)
{
    std::mt19937 random(5);
    std::vector<wchar_t> const wide = random_text(random, 200, 2);
    std::vector<Utf8> const bytes(wide.begin(), wide.end());
    std::vector<Utf16> const units(wide.begin(), wide.end());
    for (Kernel const* kernel : kernels())
    {
        for (unsigned long offset = 0; offset < 33; ++offset)
        {
            for (unsigned long length : {1UL, 7UL, 12UL, 31UL, 150UL})
            {
                tagSTRINGBASICINFO expected;
                tagSTRINGBASICINFO info;
                twin(expected, wide.data() + offset, length);
                evaluation::evaluate(*kernel, evaluation::platform_mapping, info, wide.data() + offset, length);
                ASSERT_TRUE(same(info, expected));
                evaluation::evaluate(*kernel, evaluation::platform_mapping, info, bytes.data() + offset, length);
                ASSERT_TRUE(same(info, expected));
                evaluation::evaluate(*kernel, evaluation::platform_mapping, info, units.data() + offset, length);
                ASSERT_TRUE(same(info, expected));
            }
        }
    }
}

// A mapping in the manner of Turkish, where the dotless i is the small form of I.
wchar_t turkish_lower(wchar_t character)
{
    return character == L'I' ? L'\u0131' : static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(character)));
}

bool never_plain()
{
    return false;
}

TEST_F(EvaluationKernels, AsciiFollowsAMappingOfItsOwn)
{
    CaseMapping const turkish = {turkish_lower, never_plain};
    for (Kernel const* kernel : kernels())
    {
        tagSTRINGBASICINFO expected;
        twin(expected, L"xyz \u0131stanbul and a tail");
        wchar_t const wide[] = L"XYZ ISTANBUL and a Tail";
        unsigned long const length = 23;
        tagSTRINGBASICINFO info;
        EXPECT_EQ(evaluation::evaluate(*kernel, turkish, info, wide, length), 1U);
        EXPECT_EQ(info.sHashi, expected.sHash);
        EXPECT_EQ(info.utf8Size, length);
        std::vector<Utf8> const bytes(wide, wide + length);
        EXPECT_EQ(evaluation::evaluate(*kernel, turkish, info, bytes.data(), length), 1U);
        EXPECT_EQ(info.sHashi, expected.sHash);
        std::vector<Utf16> const units(wide, wide + length);
        EXPECT_EQ(evaluation::evaluate(*kernel, turkish, info, units.data(), length), 1U);
        EXPECT_EQ(info.sHashi, expected.sHash);
    }
}

wchar_t throwing_lower(wchar_t)
{
    throw std::runtime_error("no mapping");
}

bool throwing_plain()
{
    throw 5;
}

TEST_F(EvaluationKernels, ExceptionFromTheMappingGivesTheStateOfAnEvaluatorThatIsNotReady)
{
    tagSTRINGBASICINFO const unevaluated = {0, 0, ~0UL, ~0UL};
    CaseMapping const first = {throwing_lower, never_plain};
    CaseMapping const second = {throwing_lower, throwing_plain};
    wchar_t const wide[] = L"Text \u00C9";
    Utf8 const bytes[] = {'T', 'e', 'x', 't', 0xC3, 0x89};
    Utf16 const units[] = {'T', 'e', 'x', 't', 0xC9};
    for (Kernel const* kernel : kernels())
    {
        for (CaseMapping const& mapping : {first, second})
        {
            for (unsigned long cut = 0; cut <= 1; ++cut)
            {
                tagSTRINGBASICINFO info = sentinel();
                EXPECT_EQ(evaluation::evaluate(*kernel, mapping, info, wide, 6 - cut), 0U);
                EXPECT_TRUE(same(info, unevaluated));
                info = sentinel();
                EXPECT_EQ(evaluation::evaluate(*kernel, mapping, info, bytes, 6 - 2 * cut), 0U);
                EXPECT_TRUE(same(info, unevaluated));
                info = sentinel();
                EXPECT_EQ(evaluation::evaluate(*kernel, mapping, info, units, 5 - cut), 0U);
                EXPECT_TRUE(same(info, unevaluated));
            }
        }
    }
}

wchar_t foreign_lower(wchar_t)
{
    return static_cast<wchar_t>(0x12340078);
}

TEST_F(EvaluationKernels, CharactersAbove0xFFFFAreNotFolded)
{
    for (Kernel const* kernel : kernels())
    {
        for (unsigned int character : {0x10000U, 0x10041U, 0x10400U, 0x1F600U, 0x110041U, 0x80000041U})
        {
            wchar_t const text[] = {static_cast<wchar_t>(character)};
            tagSTRINGBASICINFO info;
            EXPECT_EQ(evaluation::evaluate(*kernel, {foreign_lower, never_plain}, info, text, 1), 1U);
            EXPECT_EQ(info.sHashi, info.sHash) << character;
        }
        Utf8 const bytes[] = {0xF0, 0x90, 0x81, 0x81};
        tagSTRINGBASICINFO info;
        EXPECT_EQ(evaluation::evaluate(*kernel, {foreign_lower, never_plain}, info, bytes, 4), 1U);
        EXPECT_EQ(info.sHashi, info.sHash);
    }
}

wchar_t next_row(wchar_t character)
{
    return character + 0x100;
}

TEST_F(EvaluationKernels, FoldedCharactersMayDifferInTheHighByteAlone)
{
    tagSTRINGBASICINFO expected;
    twin(expected, L"\x2151\x0151");
    for (Kernel const* kernel : kernels())
    {
        tagSTRINGBASICINFO info;
        EXPECT_EQ(evaluation::evaluate(*kernel, {next_row, never_plain}, info, L"\x2051\x0051", 2), 1U);
        EXPECT_EQ(info.sHashi, expected.sHash);
    }
}

TEST_F(EvaluationKernels, OnlyTheLowSixteenBitsOfAFoldedCharacterAreHashed)
{
    tagSTRINGBASICINFO expected;
    twin(expected, L"x");
    for (Kernel const* kernel : kernels())
    {
        tagSTRINGBASICINFO info;
        EXPECT_EQ(evaluation::evaluate(*kernel, {foreign_lower, never_plain}, info, L"Q", 1), 1U);
        EXPECT_EQ(info.sHashi, expected.sHash);
    }
}

} // namespace
