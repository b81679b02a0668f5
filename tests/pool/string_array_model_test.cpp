// The array against its plain twins, and with every allocation failing in turn.

#include "pool/string_array_support.h"

#include <random>

using namespace pool_tests;
using reference::PlainEntries;
using support::for_each_allocation;

namespace
{

// Strings of few different texts, with the null string, the empty one and a text of no length among them.
Strings vocabulary()
{
    Strings strings = {CPPoolString::pnull, CPPoolString::pempty, CPPoolString::ptrue, L"true", L"trud"};
    SubmitterProbe no_text({2}, L"");
    strings.push_back(CPPoolString(CStringPool::GetStringRef(&no_text)));
    for (wchar_t first = L'a'; first < L'h'; ++first)
    {
        for (wchar_t second = L'v'; second <= L'z'; ++second)
            strings.push_back(CPPoolString((std::wstring(1, first) + second).c_str()));
    }
    return strings;
}

// A sorted array on the block of another.
CPPoolStringArray sorted_copy(ORVA::Buffers::CPObjectMemory const& block)
{
    CPPoolStringArray array(true);
    array = block;
    return array;
}

std::wstring random_text(std::mt19937& random)
{
    std::wstring text;
    for (unsigned long left = random() % 40; left > 0; --left)
    {
        unsigned long const kind = random() % 8;
        text += kind < 2 ? L',' : kind < 7 ? static_cast<wchar_t>(L'a' + random() % 26) : L'\x4E2D';
    }
    return text;
}

} // namespace

class StringArrayModel : public testing::TestWithParam<bool>
{
};

INSTANTIATE_TEST_SUITE_P(SortedAndNot, StringArrayModel, testing::Bool());

TEST_P(StringArrayModel, AgreesInEveryOperation)
{
    ClearedPool const cleared;
    Strings const words = vocabulary();
    for (unsigned int seed = 0; seed < 20; ++seed)
    {
        std::mt19937 random(seed);
        CPPoolStringArray array(GetParam());
        reference::PlainStringArray plain(GetParam());
        for (int step = 0; step < 300; ++step)
        {
            CPPoolString const& word = words[random() % words.size()];
            unsigned long const index = random() % (array.GetCount() + 3);
            switch (random() % 5)
            {
            case 0:
            case 1:
                ASSERT_EQ(array.Add(word), plain.add(word));
                break;
            case 2:
                ASSERT_EQ(array.Insert(word, index), plain.insert(word, index));
                break;
            case 3:
                ASSERT_EQ(array.Delete(word), plain.remove(word));
                break;
            default:
                if (GetParam() && array)
                {
                    ASSERT_EQ(array.LocateEntry(word), static_cast<long>(plain.place_of(word)));
                }
                else
                {
                    ASSERT_EQ(array.LocateEntry(word), -1);
                }
            }
            ASSERT_EQ(strings_of(array), plain.entries()) << "seed " << seed << ", step " << step;
            ASSERT_FALSE(GetParam() && array && array.GetCount() == 0);
        }
    }
}

TEST_P(StringArrayModel, AgreesInJoiningAndSplitting)
{
    std::mt19937 random(77);
    for (int round = 0; round < 500; ++round)
    {
        CPPoolString const text(random_text(random).c_str());
        PlainEntries const entries = reference::plain_split(text_of(text), L',');
        CPPoolStringArray array(GetParam());
        ASSERT_EQ(array.Inflate(text, L','), 1U);
        reference::PlainStringArray plain(GetParam());
        for (reference::PlainEntry const& entry : entries)
            plain.add(entry ? CPPoolString(entry->c_str()) : CPPoolString());
        ASSERT_EQ(strings_of(array), plain.entries()) << testing::PrintToString(text_of(text));
        CPPoolString const flat = array.Flatten(L';');
        ASSERT_EQ(flat.isnull(), entries.empty());
        ASSERT_EQ(text_of(flat), reference::plain_join(entries_of(array), L';'));
    }
}

class StringArrayWithoutMemory : public testing::TestWithParam<AllocationFailure::Duration>
{
};

INSTANTIATE_TEST_SUITE_P(OnceAndForever, StringArrayWithoutMemory,
                         testing::Values(AllocationFailure::once, AllocationFailure::forever));

TEST_P(StringArrayWithoutMemory, AddAndInsertFailAndLeaveTheArray)
{
    CPPoolString const word(L"mb");
    for (bool const sorted : {false, true})
    {
        for (unsigned int const filled : {0U, 16U})
        {
            CPPoolStringArray array(false);
            for (unsigned int index = 0; index < filled; ++index)
                ASSERT_EQ(array.Add(L"ma"), 1U);
            Strings const before = strings_of(array);
            if (sorted)
                array = sorted_copy(array);
            {
                AllocationFailure const failure(1, GetParam());
                EXPECT_EQ(sorted ? array.Add(word) : array.Insert(word, 0), 0U);
                EXPECT_EQ(failure.attempts(), 1U);
            }
            EXPECT_EQ(strings_of(array), before);
            EXPECT_EQ(static_cast<bool>(array), filled != 0);
            AllocationFailure const none(0);
            EXPECT_EQ(sorted ? array.Add(word) : array.Insert(word, 0), 1U);
            EXPECT_EQ(none.attempts(), 1U);
        }
    }
}

TEST_P(StringArrayWithoutMemory, AddToAnArrayThatIsNotSortedFails)
{
    CPPoolString const word(L"mb");
    CPPoolStringArray array(false);
    {
        AllocationFailure const failure(1, GetParam());
        EXPECT_EQ(array.Add(word), 0U);
    }
    EXPECT_FALSE(array);
    EXPECT_EQ(array.Add(word), 1U);
}

TEST_P(StringArrayWithoutMemory, WhatIsInASortedArrayIsAddedWithoutAllocating)
{
    CPPoolStringArray array = sorted_array({L"ma"});
    CPPoolString const word(L"ma");
    AllocationFailure const failure(1, GetParam());
    EXPECT_EQ(array.Add(word), 1U);
    EXPECT_EQ(array.Delete(word), 1U);
    EXPECT_EQ(failure.attempts(), 0U);
}

TEST_P(StringArrayWithoutMemory, FlattenGivesTheNullString)
{
    CPPoolStringArray const array = plain_array({L"flat", L"without", L"memory"});
    CPPoolString const held = array.Flatten(L',');
    EXPECT_EQ(for_each_allocation(GetParam(),
                                  [&](unsigned long nth) { EXPECT_EQ(array.Flatten(L',').isnull(), nth == 1) << nth; }),
              1U);
}

// With its pieces in the pool, splitting allocates for the array, and for each piece on its way into the pool.
TEST_P(StringArrayWithoutMemory, InflateKeepsThePiecesBefore)
{
    Strings const pieces = {L"o", L"p", L"q"};
    CPPoolString const text(L"o,,p,q");
    Strings const expected[] = {{},
                                {},
                                {pieces[0], CPPoolString::pnull},
                                {pieces[0], CPPoolString::pnull, pieces[1]},
                                {pieces[0], CPPoolString::pnull, pieces[1], pieces[2]}};
    for (bool const sorted : {false, true})
    {
        unsigned long const allocations =
            for_each_allocation(GetParam(),
                                [&](unsigned long nth)
                                {
                                    CPPoolStringArray array(sorted);
                                    EXPECT_EQ(array.Inflate(text, L','), nth <= 4 ? 0U : 1U) << nth;
                                    Strings entries = expected[nth - 1];
                                    if (sorted && entries.size() > 1)
                                        std::swap(entries[0], entries[1]);
                                    EXPECT_EQ(strings_of(array), entries) << nth;
                                    EXPECT_EQ(static_cast<bool>(array), nth > 1) << nth;
                                });
        EXPECT_EQ(allocations, 4U);
    }
}

TEST_P(StringArrayWithoutMemory, InflateOfNewPiecesHasAllOfThemOrFails)
{
    unsigned int serial = 0;
    unsigned long nth = 0;
    for (bool failed = true; failed;)
    {
        ++nth;
        PlainEntries wanted;
        std::wstring source;
        for (int piece = 0; piece < 3; ++piece)
        {
            wanted.push_back(std::to_wstring(++serial) + (GetParam() == AllocationFailure::once ? L" one" : L" all"));
            source += stretched(*wanted.back()) + L",";
        }
        CPPoolString const text(source.c_str());
        CPPoolStringArray array(false);
        AllocationFailure const failure(nth, GetParam());
        unsigned int const result = array.Inflate(text, L',');
        failed = failure.failures() != 0;
        PlainEntries const got = entries_of(array);
        ASSERT_LE(got.size(), wanted.size());
        EXPECT_TRUE(std::equal(got.begin(), got.end(), wanted.begin())) << nth;
        EXPECT_EQ(result, got.size() == wanted.size() ? 1U : 0U) << nth;
        EXPECT_TRUE(failed || result == 1) << nth;
    }
    EXPECT_GT(nth, 4U);
}
