#include "ORVA/String/PoolString.h"

#include "reference/plain_text_compare.h"
#include "support/PoolTexts.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <string>
#include <vector>

namespace
{

using namespace ORVA::String;
using support::TextlessString;
using support::unpooled;

// All texts of up to `length` characters of `alphabet`.
std::vector<std::wstring> texts_of(std::wstring const& alphabet, unsigned long length)
{
    std::vector<std::wstring> texts = {L""};
    for (unsigned long first = 0, size = 1; size <= length; ++size)
    {
        unsigned long const last = texts.size();
        for (; first < last; ++first)
        {
            for (wchar_t const character : alphabet)
                texts.push_back(texts[first] + character);
        }
    }
    return texts;
}

// Compares every member with its twin, in both forms of the argument. The texts stand in different memory.
void expect_as_twin(CPPoolString const& a, CPPoolString const& b, std::wstring const& text, std::wstring const& other)
{
    wchar_t const* const pointer = other.c_str();
    bool const are_equal = text == other;
    bool const are_one = a == b;
    EXPECT_EQ(a.cmp(b), reference::plain_whole(text, other, false));
    EXPECT_EQ(a.cmp(pointer), reference::plain_whole(text, other, false));
    EXPECT_EQ(a.cmpi(b), reference::plain_whole(text, other, true));
    EXPECT_EQ(a.cmpi(pointer), reference::plain_whole(text, other, true));
    EXPECT_EQ(a.cmpp(b), reference::plain_beginning(text, other, false));
    EXPECT_EQ(a.cmpp(pointer), reference::plain_beginning(text, other, false));
    EXPECT_EQ(a.cmppi(b), reference::plain_beginning(text, other, true));
    EXPECT_EQ(a.cmppi(pointer), reference::plain_beginning(text, other, true));
    EXPECT_EQ(a.cmp_p(b), reference::plain_end(text, other, false));
    EXPECT_EQ(a.cmp_p(pointer), reference::plain_end(text, other, false));
    EXPECT_EQ(a.cmp_pi(b), reference::plain_end(text, other, true));
    EXPECT_EQ(a.cmp_pi(pointer), reference::plain_end(text, other, true));
    EXPECT_EQ(a.cnt(b), are_one || reference::plain_contains(text, other, false));
    EXPECT_EQ(a.cnt(pointer), reference::plain_contains(text, other, false));
    EXPECT_EQ(a.cnti(b), are_one || reference::plain_contains(text, other, true));
    EXPECT_EQ(a.cnti(pointer), reference::plain_contains(text, other, true));
    EXPECT_EQ(a.iequals(b), reference::plain_whole(text, other, true) == 0);
    EXPECT_EQ(a != b, !are_one);
    EXPECT_EQ(a == pointer, are_equal);
    EXPECT_EQ(a != pointer, !are_equal);
}

} // namespace

TEST(PoolStringCompare, AllShortTextsCompareAsTheirTwins)
{
    std::vector<std::wstring> const texts = texts_of(L"aAb", 4);
    ASSERT_EQ(texts.size(), 1U + 3U + 9U + 27U + 81U);
    std::vector<CPPoolString> strings;
    for (std::wstring const& text : texts)
        strings.emplace_back(text.c_str());
    for (unsigned long a = 0; a < texts.size(); ++a)
    {
        for (unsigned long b = 0; b < texts.size(); ++b)
        {
            expect_as_twin(strings[a], strings[b], texts[a], texts[b]);
            EXPECT_EQ(strings[a] == strings[b], a == b);
        }
        ASSERT_FALSE(testing::Test::HasFailure()) << a;
    }
}

TEST(PoolStringCompare, RandomTextsCompareAsTheirTwins)
{
    std::mt19937 random(5);
    wchar_t const alphabet[] = {L'a',
                                L'B',
                                L'b',
                                1,
                                0x7F,
                                0xE4,
                                0xFFFF,
                                static_cast<wchar_t>(0x10FFFF),
                                static_cast<wchar_t>(0x80000000U),
                                static_cast<wchar_t>(0xFFFFFFFFU)};
    // Not from the pool, which takes texts with these characters for one that differ only behind the tenth.
    auto const make = [](std::wstring const& text)
    { return text.empty() ? CPPoolString::pempty : CPPoolString(unpooled(text)); };
    auto const below = [&](unsigned long limit) { return random() % limit; };
    for (int round = 0; round < 3000; ++round)
    {
        unsigned long const letters = 1 + below(std::size(alphabet));
        std::wstring text;
        for (unsigned long length = below(30); length > 0; --length)
            text += alphabet[below(letters)];
        // Often a piece of the text, sometimes with a change.
        unsigned long const start = below(text.size() + 1);
        std::wstring other = text.substr(start, below(3) == 0 ? std::wstring::npos : below(20));
        if (!other.empty() && below(2) == 0)
            other[below(other.size())] = alphabet[below(letters)];
        if (below(4) == 0)
            other += alphabet[below(letters)];
        expect_as_twin(make(text), make(other), text, other);
        ASSERT_FALSE(testing::Test::HasFailure()) << round;
    }
}

TEST(PoolStringCompare, OrderIsADifferenceOfThirtyTwoBits)
{
    wchar_t const high[] = {static_cast<wchar_t>(0x80000001U), 0};
    wchar_t const low[] = {1, 0};
    EXPECT_EQ(CPPoolString(high).cmp(low), INT_MIN);
    EXPECT_EQ(CPPoolString(low).cmp(high), INT_MIN);
    EXPECT_EQ(CPPoolString(L"compare z").cmp(L"compare a"), 25);
    EXPECT_EQ(CPPoolString(L"compare").cmp(L"compare a"), -L' ');
    EXPECT_EQ(CPPoolString(L"compare a").cmp(L"compare"), L' ');
    EXPECT_EQ(CPPoolString(L"_").cmpi(L"A"), L'_' - L'a');
    EXPECT_EQ(CPPoolString(L"_").cmp(L"A"), L'_' - L'A');
}

TEST(PoolStringCompare, BeginningAndEnd)
{
    CPPoolString const text(L"abcdef");
    EXPECT_EQ(text.cmpp(L"abc"), 0);
    EXPECT_EQ(text.cmpp(CPPoolString(L"abc")), 0);
    EXPECT_EQ(text.cmpp(CPPoolString(L"abd")), L'c' - L'd');
    EXPECT_EQ(CPPoolString(L"ab").cmpp(L"abc"), -1);
    EXPECT_EQ(CPPoolString(L"zz").cmpp(L"abc"), -1);
    EXPECT_EQ(text.cmppi(L"ABC"), 0);
    EXPECT_EQ(text.cmp_p(L"def"), 0);
    EXPECT_EQ(text.cmp_p(CPPoolString(L"def")), 0);
    EXPECT_EQ(text.cmp_p(L"deg"), L'f' - L'g');
    EXPECT_EQ(CPPoolString(L"ef").cmp_p(L"def"), -1);
    EXPECT_EQ(text.cmp_pi(L"DEF"), 0);
    EXPECT_EQ(text.cmpp(L""), 0);
    EXPECT_EQ(text.cmp_p(CPPoolString::pempty), 0);
    EXPECT_EQ(text.cmpp(CPPoolString::pnull), 0);
}

TEST(PoolStringCompare, EmptyPartIsNotContained)
{
    CPPoolString const text(L"abc");
    EXPECT_FALSE(text.cnt(L""));
    EXPECT_FALSE(text.cnt(CPPoolString::pempty));
    EXPECT_FALSE(text.cnti(L""));
    EXPECT_FALSE(text.cnti(CPPoolString::pempty));
    EXPECT_FALSE(CPPoolString::pempty.cnt(L"a"));
    EXPECT_FALSE(CPPoolString::pempty.cnti(CPPoolString(L"a")));
}

TEST(PoolStringCompare, TextContainsItselfEvenIfItIsEmpty)
{
    for (CPPoolString const& string : {CPPoolString(L"abc"), CPPoolString(L""), CPPoolString()})
    {
        EXPECT_TRUE(string.cnt(string));
        EXPECT_TRUE(string.cnti(string));
        EXPECT_TRUE(string.cnt(*string));
        EXPECT_TRUE(string.cnti(*string));
    }
    // The constants without text share one text.
    EXPECT_TRUE(CPPoolString::pnull.cnt(CPPoolString::pempty));
    EXPECT_TRUE(CPPoolString::pempty.cnt(CPPoolString::pnull));
}

TEST(PoolStringCompare, LongerPartIsNotContainedWhateverItsText)
{
    // The length decides before anything else, the same text included.
    wchar_t const text[] = L"abc";
    staticStringRecord shorter(text);
    staticStringRecord longer(text);
    longer.record.info.len = 4;
    CPPoolString const a{_cppoolstring(shorter)};
    CPPoolString const b{_cppoolstring(longer)};
    EXPECT_FALSE(a.cnt(b));
    EXPECT_FALSE(a.cnti(b));
    EXPECT_TRUE(b.cnt(a));
    EXPECT_TRUE(a.cnt(text));
}

TEST(PoolStringCompare, SearchGoesOnBehindAMismatch)
{
    EXPECT_TRUE(CPPoolString(L"aab").cnt(L"ab"));
    EXPECT_TRUE(CPPoolString(L"ababac").cnt(L"abac"));
    EXPECT_TRUE(CPPoolString(L"ABABAC").cnti(L"abac"));
    EXPECT_FALSE(CPPoolString(L"ababa").cnt(L"abac"));
    EXPECT_FALSE(CPPoolString(L"aaa").cnt(L"aaaa"));
}

TEST(PoolStringCompare, SearchOfAStringsTextEndsAtItsLength)
{
    auto const make = [](wchar_t const* text, unsigned long length)
    {
        _cppoolstring handle;
        handle.create({length, 0, 1, 1}, text);
        return CPPoolString(handle);
    };
    CPPoolString const text = make(L"ab\0cd", 5);
    EXPECT_TRUE(text.cnt(CPPoolString(L"cd")));
    EXPECT_FALSE(text.cnt(L"cd"));
    EXPECT_FALSE(make(L"abcd", 2).cnt(CPPoolString(L"bc")));
    EXPECT_FALSE(make(L"abcd", 2).cnt(CPPoolString(L"c")));
    EXPECT_TRUE(make(L"abcd", 2).cnt(CPPoolString(L"ab")));
}

TEST(PoolStringCompare, ZeroInEitherEndsAComparisonOfParts)
{
    auto const make = [](wchar_t const* text, unsigned long length)
    {
        _cppoolstring handle;
        handle.create({length, 0, 1, 1}, text);
        return CPPoolString(handle);
    };
    CPPoolString const text = make(L"ab\0cd", 5);
    EXPECT_EQ(text.cmpp(make(L"ab\0xy", 5)), 0);
    EXPECT_EQ(text.cmpp(make(L"abxcd", 5)), 0);
    EXPECT_EQ(make(L"abxcd", 5).cmppi(text), 0);
    EXPECT_EQ(text.cmp_p(make(L"xb\0cd", 5)), L'a' - L'x');
    EXPECT_EQ(text.cmp_p(make(L"b\0xy", 4)), 0);
    EXPECT_EQ(text.cmp_pi(make(L"CX", 2)), L'd' - L'x');
    EXPECT_EQ(text.cmp(make(L"ab\0xy", 5)), 0);
    EXPECT_EQ(text.cmpi(make(L"AB\0xy", 5)), 0);
}

TEST(PoolStringCompare, MissingTextComesFirstInExactComparisons)
{
    TextlessString forged;
    TextlessString other_forged;
    CPPoolString const missing = forged.string();
    CPPoolString const missing_too = other_forged.string();
    CPPoolString const text(L"a");
    wchar_t const* const nothing = nullptr;
    EXPECT_EQ(missing.cmp(text), -1);
    EXPECT_EQ(missing.cmp(L"a"), -1);
    EXPECT_EQ(missing.cmp(L""), -1);
    EXPECT_EQ(text.cmp(missing), 1);
    EXPECT_EQ(text.cmp(nothing), 1);
    EXPECT_EQ(missing.cmp(missing_too), 0);
    EXPECT_EQ(missing.cmp(nothing), 0);
    EXPECT_EQ(missing.cmp(missing), 0);
    EXPECT_EQ(CPPoolString::pnull.cmp(nothing), 1);
    EXPECT_FALSE(CPPoolString::pnull == nothing);
    EXPECT_TRUE(missing == nothing);
}

TEST(PoolStringCompare, MissingTextComesLastInFoldedComparisons)
{
    TextlessString forged;
    TextlessString other_forged;
    CPPoolString const missing = forged.string();
    CPPoolString const text(L"a");
    wchar_t const* const nothing = nullptr;
    EXPECT_EQ(missing.cmpi(text), 1);
    EXPECT_EQ(missing.cmpi(L"a"), 1);
    EXPECT_EQ(missing.cmpi(L""), 1);
    EXPECT_EQ(text.cmpi(missing), -1);
    EXPECT_EQ(text.cmpi(nothing), -1);
    EXPECT_EQ(missing.cmpi(other_forged.string()), 0);
    EXPECT_EQ(missing.cmpi(nothing), 0);
}

TEST(PoolStringCompare, LengthDecidesBeforeAMissingTextInPartComparisons)
{
    TextlessString forged(3);
    CPPoolString const missing = forged.string();
    wchar_t const* const nothing = nullptr;
    // A text of two is shorter than the missing one of three.
    CPPoolString const two(L"ab");
    EXPECT_EQ(two.cmpp(missing), -1);
    EXPECT_EQ(two.cmppi(missing), -1);
    EXPECT_EQ(two.cmp_p(missing), -1);
    EXPECT_EQ(two.cmp_pi(missing), -1);
    CPPoolString const four(L"abcd");
    EXPECT_EQ(missing.cmpp(four), -1);
    EXPECT_EQ(missing.cmppi(four), -1);
    EXPECT_EQ(missing.cmp_p(four), -1);
    EXPECT_EQ(missing.cmp_pi(four), -1);
    // Long enough: the rules of the whole comparisons.
    EXPECT_EQ(four.cmpp(missing), 1);
    EXPECT_EQ(four.cmppi(missing), -1);
    EXPECT_EQ(four.cmp_p(missing), 1);
    EXPECT_EQ(four.cmp_pi(missing), -1);
    EXPECT_EQ(missing.cmpp(two), -1);
    EXPECT_EQ(missing.cmppi(two), 1);
    EXPECT_EQ(missing.cmp_p(L"ab"), -1);
    EXPECT_EQ(missing.cmp_pi(L"ab"), 1);
    EXPECT_EQ(missing.cmpp(L""), -1);
    EXPECT_EQ(missing.cmppi(L""), 1);
    EXPECT_EQ(four.cmpp(nothing), 1);
    EXPECT_EQ(four.cmppi(nothing), -1);
    EXPECT_EQ(four.cmp_p(nothing), 1);
    EXPECT_EQ(four.cmp_pi(nothing), -1);
    TextlessString other_forged(3);
    EXPECT_EQ(missing.cmpp(other_forged.string()), 0);
    EXPECT_EQ(missing.cmppi(other_forged.string()), 0);
    EXPECT_EQ(missing.cmp_p(nothing), 0);
    EXPECT_EQ(missing.cmp_pi(nothing), 0);
}

TEST(PoolStringCompare, MissingTextContainsOnlyItself)
{
    TextlessString forged;
    TextlessString other_forged;
    CPPoolString const missing = forged.string();
    CPPoolString const text(L"a");
    wchar_t const* const nothing = nullptr;
    EXPECT_FALSE(missing.cnt(L"a"));
    EXPECT_FALSE(missing.cnti(L"a"));
    EXPECT_FALSE(text.cnt(missing));
    EXPECT_FALSE(text.cnti(missing));
    EXPECT_FALSE(text.cnt(nothing));
    EXPECT_FALSE(text.cnti(nothing));
    EXPECT_TRUE(missing.cnt(other_forged.string()));
    EXPECT_TRUE(missing.cnti(nothing));
}

TEST(PoolStringEquality, OfTwoStringsIsThatOfTheirRecords)
{
    CPPoolString const pooled(L"equality");
    CPPoolString const unlike(unpooled(L"equality"));
    EXPECT_FALSE(pooled == unlike);
    EXPECT_TRUE(pooled != unlike);
    EXPECT_TRUE(pooled == L"equality");
    EXPECT_FALSE(pooled != L"equality");
    EXPECT_TRUE(pooled == *unlike);
    EXPECT_TRUE(pooled == CPPoolString(L"equality"));
    EXPECT_EQ(pooled.cmp(unlike), 0);
}

TEST(PoolStringEquality, FoldedAsksTheHashFirst)
{
    auto const make = [](std::wstring const& text, unsigned long length, unsigned long hash)
    {
        _cppoolstring handle = unpooled(text);
        handle->info.len = length;
        handle->info.sHashi = hash;
        return CPPoolString(handle);
    };
    CPPoolString const text = make(L"same", 4, 7);
    EXPECT_FALSE(text.iequals(make(L"same", 4, 8)));
    EXPECT_TRUE(text.iequals(make(L"same", 4, 7)));
    EXPECT_TRUE(text.iequals(make(L"SAME", 4, 7)));
    EXPECT_FALSE(text.iequals(make(L"same", 5, 7)));
    EXPECT_FALSE(text.iequals(make(L"some", 4, 7)));
    EXPECT_TRUE(text.iequals(text));
}

TEST(PoolStringEquality, FoldedComparesTheWholeText)
{
    std::wstring const high = std::wstring(L"0123456789abc") + support::high_twin;
    std::wstring const low = std::wstring(L"0123456789abc") + support::low_twin;
    CPPoolString const a(unpooled(high));
    CPPoolString const b(unpooled(low));
    ASSERT_EQ(a.sHashi(), b.sHashi());
    EXPECT_FALSE(a.iequals(b));
    EXPECT_TRUE(a.iequals(CPPoolString(unpooled(std::wstring(L"0123456789ABC") + support::high_twin))));
}

TEST(PoolStringEquality, FoldedOfMissingText)
{
    TextlessString forged;
    TextlessString other_forged;
    CPPoolString const missing = forged.string();
    EXPECT_TRUE(missing.iequals(other_forged.string()));
    EXPECT_FALSE(missing.iequals(CPPoolString::pempty));
    EXPECT_FALSE(CPPoolString::pempty.iequals(missing));
    EXPECT_FALSE(CPPoolString::pnull.iequals(CPPoolString::pempty));
}

TEST(PoolStringOrder, OfRecordsIsThatOfTheirAddresses)
{
    CPPoolString const a(L"order a");
    CPPoolString const b(L"order b");
    EXPECT_EQ(a.pcmp(a), 0);
    EXPECT_EQ(a.pcmp(CPPoolString(L"order a")), 0);
    EXPECT_EQ(a.pcmp(b),
              reinterpret_cast<unsigned long>(a.get_ptr()) < reinterpret_cast<unsigned long>(b.get_ptr()) ? -1 : 1);
    EXPECT_EQ(b.pcmp(a), -a.pcmp(b));
    EXPECT_NE(CPPoolString::pnull.pcmp(CPPoolString::pempty), 0);
}
