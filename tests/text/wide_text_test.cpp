#include "ORVA/String/WideText.h"

#include "BaseOS_Unix_common/rune_mapping.h"
#include "cstringpool/wide_search.h"
#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cwctype>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using namespace ORVA::String;

constexpr unsigned long all = ~0UL >> 1;

// ---- classes ----

/// Holds a class of characters against the list of its members, over all small characters and some large ones.
void expect_members(bool (*is_member)(wchar_t), std::wstring const& members)
{
    for (wchar_t character = 0; character < 0x3100; ++character)
        EXPECT_EQ(is_member(character), members.find(character) != std::wstring::npos) << static_cast<int>(character);
    for (unsigned int high : {0x10000U, 0x80000000U, 0xFFFFFF00U})
        for (wchar_t member : members)
            EXPECT_FALSE(is_member(static_cast<wchar_t>(high + static_cast<unsigned int>(member))));
}

TEST(CharacterClass, SlashesAreBothSlashes)
{
    expect_members(_isSlash, L"/\\");
}

TEST(CharacterClass, TheSpaceAloneIsBlank)
{
    expect_members(_isblank, L" ");
}

TEST(CharacterClass, WhitespaceLeavesOutVerticalTabAndFormFeed)
{
    expect_members(_iswhitespace, L"\x09\x0A\x0D\x20");
    EXPECT_FALSE(_iswhitespace(0x0B));
    EXPECT_FALSE(_iswhitespace(0x0C));
}

TEST(CharacterClass, LineEndsAreLineFeedAndCarriageReturn)
{
    expect_members(_isCRLF, L"\x0A\x0D");
}

TEST(UNCPrefix, IsFourExactCharacters)
{
    EXPECT_TRUE(_isUNCW(L"\\\\?\\"));
    EXPECT_TRUE(_isUNCW(L"\\\\?\\C:\\file"));
    for (wchar_t const* other :
         {L"", L"\\", L"\\\\", L"\\\\?", L"\\\\?/", L"\\\\.\\", L"\\/?\\", L"/\\?\\", L" \\\\?\\"})
        EXPECT_FALSE(_isUNCW(other)) << other;
}

// ---- case ----

TEST(Case, CharactersAreMappedAsThePlatformMapsThem)
{
    for (wchar_t character = 0; character < 0x3000; ++character)
    {
        EXPECT_EQ(wctolower(character), static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(character))));
        EXPECT_EQ(wctoupper(character), static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(character))));
        EXPECT_EQ(wctolower(character), OS::rune_tolower(character));
        EXPECT_EQ(wctoupper(character), OS::rune_toupper(character));
    }
    EXPECT_EQ(wctolower(L'A'), L'a');
    EXPECT_EQ(wctoupper(L'z'), L'Z');
    EXPECT_EQ(wctolower(L'1'), L'1');
    EXPECT_EQ(wctoupper(0), 0);
}

TEST(Case, FollowsTheLocaleOfTheProcess)
{
    std::string const before = std::setlocale(LC_CTYPE, nullptr);
    if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr && std::setlocale(LC_CTYPE, "en_US.UTF-8") == nullptr)
        GTEST_SKIP() << "no UTF-8 locale here";
    wchar_t text[] = L"\u00C4\u03A9";
    wchar_t capitals[] = L"\u00E4\u03C9";
    wcslower(text);
    wcsupper(capitals);
    int const difference = wccmpi(L'\u00C4', L'\u03C9');
    int const compared = wcscmpi(L"\u00C4\u03A9x", L"\u00E4\u03C9X");
    int const found = wcscnti(L"x\u00C4\u03A9", L"\u00E4\u03C9");
    std::setlocale(LC_CTYPE, before.c_str());
    EXPECT_STREQ(text, L"\u00E4\u03C9");
    EXPECT_STREQ(capitals, L"\u00C4\u03A9");
    EXPECT_EQ(difference, 0xE4 - 0x3C9);
    EXPECT_EQ(compared, 0);
    EXPECT_EQ(found, 1);
}

TEST(Case, TextsAreMappedInPlaceUpToTheirEnd)
{
    wchar_t text[] = L"aBc-\0XyZ";
    wcsupper(text);
    EXPECT_EQ(std::wstring(text, 8), std::wstring(L"ABC-\0XyZ", 8));
    wcslower(text);
    EXPECT_EQ(std::wstring(text, 8), std::wstring(L"abc-\0XyZ", 8));
}

TEST(Case, NullAndEmptyTextsAreLeftAlone)
{
    wcslower(nullptr);
    wcsupper(nullptr);
    wchar_t text[] = {0, L'A', L'a'};
    wcslower(text);
    wcsupper(text);
    EXPECT_EQ(text[0], 0);
    EXPECT_EQ(text[1], L'A');
    EXPECT_EQ(text[2], L'a');
}

// ---- comparison ----

TEST(CompareCharacters, GivesTheDifferenceOfTheLowerCaseForms)
{
    EXPECT_EQ(wccmpi(L'a', L'a'), 0);
    EXPECT_EQ(wccmpi(L'a', L'A'), 0);
    EXPECT_EQ(wccmpi(L'A', L'c'), -2);
    EXPECT_EQ(wccmpi(L'C', L'a'), 2);
    EXPECT_EQ(wccmpi(L'_', L'A'), 0x5F - 0x61);
    EXPECT_EQ(wccmpi(0, L'A'), -0x61);
    EXPECT_EQ(wccmpi(0x10FFFF, 0), 0x10FFFF);
}

TEST(CompareCharacters, WrapsWhereTheDifferenceLeaves32Bits)
{
    EXPECT_EQ(wccmpi(static_cast<wchar_t>(0x80000000), static_cast<wchar_t>(0x7FFFFFFF)), 1);
    EXPECT_EQ(wccmpi(static_cast<wchar_t>(0x7FFFFFFF), static_cast<wchar_t>(0x80000000)), -1);
}

TEST(CompareTexts, EqualPointersAreEqualAndNullSortsLast)
{
    wchar_t const* const text = L"text";
    EXPECT_EQ(wcscmpi(text, text), 0);
    EXPECT_EQ(wcscmpi(nullptr, nullptr), 0);
    EXPECT_EQ(wcscmpi(nullptr, text), 1);
    EXPECT_EQ(wcscmpi(text, nullptr), -1);
    EXPECT_EQ(wcscmpi(nullptr, L""), 1);
    EXPECT_EQ(wcscmpi(L"", nullptr), -1);
}

TEST(CompareTexts, GivesTheDifferenceOfTheFirstCharactersThatDiffer)
{
    EXPECT_EQ(wcscmpi(L"a", L"A"), 0);
    EXPECT_EQ(wcscmpi(L"a", L"b"), -1);
    EXPECT_EQ(wcscmpi(L"B", L"a"), 1);
    EXPECT_EQ(wcscmpi(L"a", L""), 0x61);
    EXPECT_EQ(wcscmpi(L"A", L""), 0x61);
    EXPECT_EQ(wcscmpi(L"", L"A"), -0x61);
    EXPECT_EQ(wcscmpi(L"Hello World", L"hELLO wORLD"), 0);
    EXPECT_EQ(wcscmpi(L"Hello", L"hELLx"), 'o' - 'x');
    EXPECT_EQ(wcscmpi(L"abc", L"ABCd"), -'d');
    EXPECT_EQ(wcscmpi(L"ABCd", L"abc"), 'd');
    EXPECT_EQ(wcscmpi(std::wstring(L"").c_str(), L""), 0);
    EXPECT_EQ(wcscmpi(L"a\0x", L"A\0y"), 0);
}

TEST(CompareTexts, BoundedLooksAtNoMoreThanItsBound)
{
    EXPECT_EQ(wcsncmpi(L"abc", L"abd", 2), 0);
    EXPECT_EQ(wcsncmpi(L"abc", L"abd", 3), -1);
    EXPECT_EQ(wcsncmpi(L"ABc", L"abD", 2), 0);
    EXPECT_EQ(wcsncmpi(L"ABc", L"abD", 4), -1);
    EXPECT_EQ(wcsncmpi(L"a", L"b", 1), -1);
    EXPECT_EQ(wcsncmpi(L"a", L"", 1), 0x61);
    EXPECT_EQ(wcsncmpi(L"a\0x", L"A\0y", 3), 0);
    wchar_t const open[] = {L'a', L'B'};
    wchar_t const open_too[] = {L'A', L'b'};
    EXPECT_EQ(wcsncmpi(open, open_too, 2), 0);
}

TEST(CompareTexts, BoundedDecidesPointersBeforeTheBound)
{
    wchar_t const* const text = L"text";
    for (unsigned long bound : {0UL, 1UL, 0xFFFFFFFFUL})
    {
        EXPECT_EQ(wcsncmpi(text, text, bound), 0);
        EXPECT_EQ(wcsncmpi(nullptr, nullptr, bound), 0);
        EXPECT_EQ(wcsncmpi(nullptr, text, bound), 1);
        EXPECT_EQ(wcsncmpi(text, nullptr, bound), -1);
    }
}

TEST(CompareTexts, OnlyTheLow32BitsOfTheBoundCountAndAreSigned)
{
    EXPECT_EQ(wcsncmpi(L"a", L"b", 0), 0);
    EXPECT_EQ(wcsncmpi(L"a", L"b", 0x80000000), 0);
    EXPECT_EQ(wcsncmpi(L"a", L"b", 0xFFFFFFFF), 0);
    EXPECT_EQ(wcsncmpi(L"a", L"b", ~0UL), 0);
    EXPECT_EQ(wcsncmpi(L"a", L"b", 0x100000000), 0);
    EXPECT_EQ(wcsncmpi(L"a", L"b", 0x7FFFFFFF), -1);
    EXPECT_EQ(wcsncmpi(L"a", L"b", 0x8000000000000001), -1);
    EXPECT_EQ(wcsncmpi(L"abc", L"abd", 0x100000002), 0);
    EXPECT_EQ(wcsncmpi(L"abc", L"abd", 0x100000003), -1);
}

// ---- counting and searching ----

TEST(Count, TellsHowOftenACharacterOccurs)
{
    EXPECT_EQ(wcscount(L"banana", L'a'), 3UL);
    EXPECT_EQ(wcscount(L"banana", L'b'), 1UL);
    EXPECT_EQ(wcscount(L"banana", L'A'), 0UL);
    EXPECT_EQ(wcscount(L"", L'a'), 0UL);
    EXPECT_EQ(wcscount(L"banana", 0), 0UL);
    EXPECT_EQ(wcscount(L"", 0), 0UL);
    EXPECT_EQ(wcscount(L"aa\0aa", L'a'), 2UL);
}

using substring_test = int (*)(wchar_t const*, wchar_t const*);
using bounded_test = int (*)(wchar_t const*, wchar_t const*, unsigned long);

TEST(Substring, EqualPointersAreFoundAlsoWhenEmpty)
{
    wchar_t const* const empty = L"";
    wchar_t const* const text = L"text";
    for (substring_test test : {wcscnt, wcscnti})
    {
        EXPECT_EQ(test(empty, empty), 1);
        EXPECT_EQ(test(text, text), 1);
        EXPECT_EQ(test(nullptr, nullptr), 1);
    }
    for (bounded_test test : {wcsncnt, wcsncnti})
    {
        for (unsigned long bound : {0UL, 1UL, ~0UL})
        {
            EXPECT_EQ(test(empty, empty, bound), 1);
            EXPECT_EQ(test(text, text, bound), 1);
            EXPECT_EQ(test(nullptr, nullptr, bound), 1);
        }
    }
}

TEST(Substring, EmptyTextsAreNotFoundAndNotSearched)
{
    wchar_t const empty[] = {0};
    wchar_t const other_empty[] = {0};
    for (substring_test test : {wcscnt, wcscnti})
    {
        EXPECT_EQ(test(L"text", empty), 0);
        EXPECT_EQ(test(empty, L"text"), 0);
        EXPECT_EQ(test(empty, other_empty), 0);
    }
    for (bounded_test test : {wcsncnt, wcsncnti})
    {
        EXPECT_EQ(test(L"text", empty, 4), 0);
        EXPECT_EQ(test(empty, L"text", 4), 0);
        EXPECT_EQ(test(empty, other_empty, 4), 0);
    }
}

TEST(Substring, IsFoundAtAnyPlace)
{
    for (substring_test test : {wcscnt, wcscnti})
    {
        EXPECT_EQ(test(L"hello", L"he"), 1);
        EXPECT_EQ(test(L"hello", L"ll"), 1);
        EXPECT_EQ(test(L"hello", L"lo"), 1);
        EXPECT_EQ(test(L"hello", L"o"), 1);
        EXPECT_EQ(test(L"hello", std::wstring(L"hello").c_str()), 1);
        EXPECT_EQ(test(L"hello", L"hellos"), 0);
        EXPECT_EQ(test(L"hello", L"lol"), 0);
        EXPECT_EQ(test(L"hello", L"x"), 0);
        EXPECT_EQ(test(L"aaab", L"aab"), 1);
        EXPECT_EQ(test(L"ababac", L"abac"), 1);
        EXPECT_EQ(test(L"ab\0c", L"c"), 0);
    }
}

TEST(Substring, MindsCaseOnlyWithoutTheI)
{
    EXPECT_EQ(wcscnt(L"Hello", L"hello"), 0);
    EXPECT_EQ(wcscnt(L"Hello", L"ELL"), 0);
    EXPECT_EQ(wcsncnt(L"Hello", L"ELL", 5), 0);
    EXPECT_EQ(wcscnti(L"Hello", L"hELLO"), 1);
    EXPECT_EQ(wcscnti(L"Hello", L"ELL"), 1);
    EXPECT_EQ(wcscnti(L"HELLO", L"ell"), 1);
    EXPECT_EQ(wcsncnti(L"HELLO", L"ell", 4), 1);
    EXPECT_EQ(wcscnti(L"HELLO", L"elx"), 0);
    EXPECT_EQ(wcscnti(L"[", L"{"), 0);
}

TEST(Substring, BoundedMustLieWithinTheBound)
{
    EXPECT_EQ(wcsncnt(L"xxabxx", L"ab", 2), 0);
    EXPECT_EQ(wcsncnt(L"xxabxx", L"ab", 3), 0);
    EXPECT_EQ(wcsncnt(L"xxabxx", L"ab", 4), 1);
    EXPECT_EQ(wcsncnt(L"xxabxx", L"ab", 100), 1);
    EXPECT_EQ(wcsncnti(L"xxAbxx", L"aB", 3), 0);
    EXPECT_EQ(wcsncnti(L"xxAbxx", L"aB", 4), 1);
    EXPECT_EQ(wcsncnt(L"a", L"a", 1), 1);
    wchar_t const open[] = {L'x', L'a'};
    EXPECT_EQ(wcsncnt(open, L"ab", 2), 0);
    EXPECT_EQ(wcsncnt(open, L"a", 2), 1);
    EXPECT_EQ(wcsncnt(open, L"y", 2), 0);
    EXPECT_EQ(wcsncnti(open, L"AB", 2), 0);
    EXPECT_EQ(wcsncnti(open, L"A", 2), 1);
}

TEST(Substring, TheBoundIsASigned64BitNumber)
{
    for (bounded_test test : {wcsncnt, wcsncnti})
    {
        EXPECT_EQ(test(L"abc", L"a", 0), 0);
        EXPECT_EQ(test(L"abc", L"a", ~0UL), 0);
        EXPECT_EQ(test(L"abc", L"a", 1UL << 63), 0);
        EXPECT_EQ(test(L"abc", L"c", ~0UL >> 1), 1);
        EXPECT_EQ(test(L"abc", L"c", 1UL << 62), 1);
        EXPECT_EQ(test(L"abc", L"c", 0x80000000), 1);
        EXPECT_EQ(test(L"abc", L"c", 0x100000001), 1);
    }
}

TEST(Substring, APartMayBeOfAnyLength)
{
    std::wstring part(300000, L'Q');
    part += L"end";
    std::wstring folded(300000, L'q');
    std::wstring const text = L"..." + folded + L"END...";
    EXPECT_EQ(wcscnti(text.c_str(), part.c_str()), 1);
    EXPECT_EQ(wcsncnti(text.c_str(), part.c_str(), 3 + part.size()), 1);
    EXPECT_EQ(wcsncnti(text.c_str(), part.c_str(), 2 + part.size()), 0);
    EXPECT_EQ(wcscnt(text.c_str(), (folded + L"END").c_str()), 1);
}

TEST(Substring, SearchesWithoutTheHeap)
{
    std::wstring const part(300000, L'Q');
    std::wstring const text = L"..." + part;
    support::AllocationFailure const counter(0);
    EXPECT_EQ(wcscnt(text.c_str(), part.c_str()), 1);
    EXPECT_EQ(wcscnti(text.c_str(), part.c_str()), 1);
    EXPECT_EQ(wcsncnti(text.c_str(), part.c_str(), text.size()), 1);
    EXPECT_EQ(counter.attempts(), 0UL);
}

std::wstring folded(std::wstring text)
{
    std::transform(text.begin(), text.end(), text.begin(), OS::rune_tolower);
    return text;
}

std::wstring random_text(std::mt19937& random, unsigned long longest)
{
    std::wstring text(random() % (longest + 1), L'a');
    for (wchar_t& character : text)
        character = L"aAbB"[random() % 4];
    return text;
}

TEST(Substring, AgreesWithASearchOverCopies)
{
    std::mt19937 random(1202);
    auto const found = [](std::wstring const& text, std::wstring const& part)
    { return !part.empty() && text.find(part) != std::wstring::npos ? 1 : 0; };
    for (unsigned int round = 0; round < 20000; ++round)
    {
        std::wstring const text = random_text(random, 12);
        std::wstring const part = random_text(random, 4);
        unsigned long const bound = random() % 14;
        wchar_t const* const s = text.c_str();
        wchar_t const* const p = part.c_str();
        ASSERT_EQ(wcscnt(s, p), found(text, part));
        ASSERT_EQ(wcsncnt(s, p, bound), found(text.substr(0, bound), part));
        ASSERT_EQ(wcscnti(s, p), found(folded(text), folded(part)));
        ASSERT_EQ(wcsncnti(s, p, bound), found(folded(text.substr(0, bound)), folded(part)));
    }
}

TEST(CompareTexts, AgreesWithAComparisonOfCopies)
{
    std::mt19937 random(1203);
    auto const sign = [](int value) { return value < 0 ? -1 : value > 0 ? 1 : 0; };
    for (unsigned int round = 0; round < 20000; ++round)
    {
        std::wstring const a = random_text(random, 6);
        std::wstring const b = random_text(random, 6);
        unsigned long const bound = random() % 8;
        ASSERT_EQ(sign(wcscmpi(a.c_str(), b.c_str())), sign(folded(a).compare(folded(b))));
        ASSERT_EQ(sign(wcsncmpi(a.c_str(), b.c_str(), bound)),
                  sign(folded(a.substr(0, bound)).compare(folded(b.substr(0, bound)))));
    }
}

TEST(Substring, WhatTheMappingThrowsIsSwallowed)
{
    auto const throwing = [](wchar_t character) -> wchar_t
    {
        if (character == L'!')
            throw std::runtime_error("no mapping");
        return character;
    };
    EXPECT_EQ(contains_folded(L"ab!cd", L"ab", all, throwing), 1);
    EXPECT_EQ(contains_folded(L"ab!cd", L"cd", all, throwing), 0);
    EXPECT_EQ(contains_folded(L"abcd", L"!", all, throwing), 0);
    EXPECT_EQ(contains_folded(L"abcd", L"b!", all, throwing), 0);
}

} // namespace
