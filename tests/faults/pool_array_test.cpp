// Arrays of pooled strings without memory.
#include "faults/pool_faults.h"

#include "pool/string_array_support.h"

#include <vector>

namespace
{

using namespace pool_faults;
using faults::fail_each_allocation;
using faults::Undisturbed;

// The strings "00" to one below `count`, in order, each held by the vector.
Strings strings_up_to(unsigned long count)
{
    Strings strings;
    for (unsigned long number = 0; number < count; ++number)
        strings.push_back(CPPoolString((std::to_wstring(number / 10) + std::to_wstring(number % 10)).c_str()));
    return strings;
}

Strings with(Strings strings, unsigned long place, CPPoolString const& string)
{
    strings.insert(strings.begin() + static_cast<std::ptrdiff_t>(place), string);
    return strings;
}

// Changes an array of `already` strings by `change`, once with no other handle on its block and once with one. It has the
// strings of `expected` afterwards, or those it had; the other handle has those it had wherever the array had to grow.
template <class Change>
void expect_changed_or_as_it_was(bool sorted, Strings const& already, Strings const& expected, Change change)
{
    for (bool const is_shared : {false, true})
    {
        unsigned long const allocations = fail_each_allocation(
            [&](unsigned long)
            {
                CPPoolStringArray array(sorted);
                CPPoolStringArray other(sorted);
                {
                    Undisturbed const pause;
                    array = array_of(sorted, already);
                    if (is_shared)
                        other = array;
                }
                unsigned int const result = change(array);
                Undisturbed const pause;
                EXPECT_EQ(strings_of(array), result == 0 ? already : expected);
                EXPECT_EQ(array.IsSorted(), sorted);
                EXPECT_EQ(strings_of(other), is_shared ? already : Strings());
                if (result == 0)
                {
                    EXPECT_EQ(change(array), 1U);
                }
                EXPECT_EQ(strings_of(array), expected);
                for (CPPoolString const& string : expected)
                    EXPECT_GE(string.lockcnt(), 3U);
            });
        EXPECT_EQ(allocations, 1UL);
    }
}

} // namespace

FAULT_TEST(PoolArray, AStringIsAddedOrTheArrayStays, "String::CPPoolStringArray::Add(CPPoolString const&)",
           "String::CPPoolStringArray::Insert(CPPoolString const&, unsigned long)")
{
    CPPoolString const added(L"055");
    for (unsigned long const count : {0UL, 16UL, 32UL})
    {
        Strings const already = strings_up_to(count);
        unsigned long const place = std::min(count, 6UL);
        auto const add = [&](CPPoolStringArray& array) { return array.Add(added); };
        expect_changed_or_as_it_was(false, already, with(already, count, added), add);
        expect_changed_or_as_it_was(true, already, with(already, place, added), add);
        expect_changed_or_as_it_was(false, already, with(already, 0, added),
                                    [&](CPPoolStringArray& array) { return array.Insert(added, 0); });
        expect_changed_or_as_it_was(false, already, with(already, place, added),
                                    [&](CPPoolStringArray& array) { return array.Insert(added, place); });
    }
    EXPECT_EQ(added.lockcnt(), 3U);
}

FAULT_TEST(PoolArray, RoomIsMadeOrTheArrayStays, "Buffers::CPObjectVector::Reserve(unsigned long)",
           "Buffers::CPObjectVector::Alloc(unsigned long)")
{
    Strings const already = strings_up_to(5);
    expect_changed_or_as_it_was(false, already, already,
                                [](CPPoolStringArray& array) { return static_cast<unsigned int>(array.Reserve(100)); });
    fail_each_allocation(
        [&](unsigned long nth)
        {
            CPPoolStringArray array(false);
            {
                Undisturbed const pause;
                array = array_of(false, already);
            }
            EXPECT_EQ(array.Alloc(20), nth == 1 ? 0 : 1);
            Undisturbed const pause;
            EXPECT_EQ(strings_of(array), Strings(nth == 1 ? 0 : 20));
            EXPECT_EQ(array.Alloc(3), 1);
            EXPECT_EQ(strings_of(array), Strings(3));
        });
}

FAULT_TEST(PoolArray, ACloneIsOfItsOwnOrTheBlockStays, "Buffers::CPObjectMemory::clone()")
{
    Strings const already = strings_up_to(5);
    CPPoolStringArray const array = array_of(false, already);
    unsigned long const allocations = fail_each_allocation(
        [&](unsigned long nth)
        {
            CPPoolStringArray copy(array);
            EXPECT_EQ(copy.clone(), nth == 1 ? 0 : 1);
            Undisturbed const pause;
            EXPECT_EQ(copy == array, nth == 1);
            EXPECT_EQ(strings_of(copy), already);
            EXPECT_EQ(already[0].lockcnt(), nth == 1 ? 4U : 5U);
            EXPECT_EQ(copy.clone(), 1);
            EXPECT_FALSE(copy == array);
        });
    EXPECT_EQ(allocations, 1UL);
}

FAULT_TEST(PoolArray, TheTextsAreJoinedOrNull, "String::CPPoolStringArray::Flatten(wchar_t) const")
{
    CPPoolString const item(name("item").c_str());
    CPPoolStringArray const array = array_of(false, {item, item, CPPoolString::pnull, item});
    std::wstring const text = text_of(item);
    std::wstring const joined = text + L"/" + text + L"//" + text;
    unsigned long const allocations = fail_each_allocation(
        [&](unsigned long)
        {
            {
                CPPoolString const string = array.Flatten(L'/');
                Undisturbed const pause;
                EXPECT_EQ(text_of(string), string.isnull() ? L"" : joined);
                EXPECT_EQ(is_pooled(joined), !string.isnull());
                EXPECT_EQ(item.lockcnt(), 6U);
                EXPECT_EQ(text_of(array.Flatten(L'/')), joined);
            }
            Undisturbed const pause;
            expect_collected(joined);
        });
    EXPECT_GE(allocations, 4UL);
}

// The pieces before the one that failed are there, and none behind it.
FAULT_TEST(PoolArray, ATextIsSplitOrThePiecesBeforeAreThere,
           "String::CPPoolStringArray::Inflate(CPPoolString const&, wchar_t)")
{
    for (bool const sorted : {false, true})
    {
        unsigned long const allocations = fail_each_allocation(
            [sorted](unsigned long nth)
            {
                std::wstring pieces[3];
                std::wstring joined = L",";
                for (unsigned long number = 0; number < 3; ++number)
                {
                    pieces[number] = std::to_wstring(number) + name("piece");
                    joined += stretched(pieces[number]) + L",";
                }
                reference::PlainEntries const expected = {{}, pieces[0], pieces[1], pieces[2]};
                {
                    CPPoolStringArray array(sorted);
                    CPPoolString text;
                    {
                        Undisturbed const pause;
                        text = joined.c_str();
                        array.Add(text);
                    }
                    unsigned int const result = array.Inflate(text, L',');
                    Undisturbed const pause;
                    reference::PlainEntries const entries = entries_of(array);
                    ASSERT_LE(entries.size(), expected.size());
                    EXPECT_TRUE(std::equal(entries.begin(), entries.end(), expected.begin()));
                    EXPECT_EQ(result, entries.size() == expected.size() ? 1U : 0U);
                    EXPECT_EQ(result == 0, !array || entries.size() < expected.size()) << nth;
                    EXPECT_EQ(text.lockcnt(), 3U);
                    for (CPPoolString const& string : array)
                        EXPECT_TRUE(string.isnull() || is_pooled(text_of(string)));
                    EXPECT_EQ(array.Inflate(text, L','), 1U);
                    EXPECT_EQ(entries_of(array), expected);
                    EXPECT_EQ(array.IsSorted(), sorted);
                }
                Undisturbed const pause;
                expect_collected(pieces[0]);
            });
        // The room for all, and for each piece its record, its places and its link.
        EXPECT_GE(allocations, 13UL);
    }
}

TEST(PoolArray, RemovalsSearchesAndSortsNeedNoMemory)
{
    Strings const strings = strings_up_to(20);
    CPPoolStringArray sorted = sorted_array(strings);
    CPPoolStringArray plain = plain_array(Strings(strings.rbegin(), strings.rend()));
    AllocationFailure const failure(1, AllocationFailure::forever);
    EXPECT_EQ(sorted.LocateEntry(strings[7]), 7);
    EXPECT_EQ(sorted.Add(strings[7]), 1U);
    EXPECT_EQ(sorted.Delete(strings[7]), 1U);
    EXPECT_EQ(static_cast<StringVector&>(sorted).Delete(0, true), 1);
    EXPECT_EQ(sorted.Insert(strings[0], 0), 0U);
    plain.Sort();
    CPPoolStringArray const copy(plain);
    EXPECT_EQ(copy.GetCount(), 20UL);
    sorted = static_cast<CPObjectMemory const&>(plain);
    EXPECT_EQ(failure.attempts(), 0UL);
    EXPECT_EQ(strings_of(sorted), strings);
}
