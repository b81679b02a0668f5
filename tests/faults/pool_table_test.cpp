// The pool's two tables without memory: tables of the tests' own, so that their first allocations are among those that
// fail.
#include "faults/pool_faults.h"

#include "cstringpool/pooled_strings.h"
#include "pool/hash_pair_support.h"

#include <memory>
#include <string>
#include <vector>

namespace
{

using namespace pool_faults;
using faults::fail_each_allocation;
using faults::Undisturbed;
using hash_pair::Tables;
using support::unpooled;

std::wstring numbered(unsigned long number)
{
    return L"string " + std::to_wstring(number);
}

// Enters a string where `already` are there, in a fresh pair of tables for each failure. `add` gives whether it stands in
// the first table.
template <class Add>
void expect_entered_in_both_or_one_or_none(std::vector<std::wstring> const& already, unsigned long expected, Add add)
{
    _cppoolstring string = unpooled(L"spelling");
    unsigned long const allocations = fail_each_allocation(
        [&](unsigned long)
        {
            LogRecorder log;
            Tables tables;
            {
                Undisturbed const pause;
                for (std::wstring const& text : already)
                    tables.add(text.c_str());
            }
            bool const is_entered = add(tables, string);
            Undisturbed const pause;
            bool const is_in_second = tables.insensitive._holds(string);
            EXPECT_TRUE(is_entered || !is_in_second);
            EXPECT_EQ(string.lockcnt(), 1U + is_entered + is_in_second);
            EXPECT_EQ(tables.sensitive.GetNItems(), already.size() + is_entered);
            EXPECT_EQ(tables.find(L"spelling") == string, is_entered);
            expect_whole_tables(tables.sensitive, tables.insensitive);

            _cppoolstring twin = unpooled(L"spelling");
            EXPECT_TRUE(tables.sensitive.Add(twin) == (is_entered ? string : twin));
            EXPECT_EQ(tables.sensitive.GetNItems(), already.size() + 1);
            expect_whole_tables(tables.sensitive, tables.insensitive);
            EXPECT_EQ(log.count(), 0U);
        });
    EXPECT_EQ(allocations, expected);
    EXPECT_EQ(string.lockcnt(), 1U);
}

// Keys of one bucket: `count` texts with the lowest 12 bits of their hash as those of `text`.
std::vector<std::wstring> neighbours_of(wchar_t const* text, unsigned long count)
{
    unsigned long const bucket = support::evaluated(text).sHash & 0xFFF;
    std::vector<std::wstring> neighbours;
    for (unsigned long number = 0; neighbours.size() < count; ++number)
    {
        std::wstring const candidate = numbered(number);
        if ((support::evaluated(candidate.c_str()).sHash & 0xFFF) == bucket)
            neighbours.push_back(candidate);
    }
    return neighbours;
}

// The part of the table that is for classes that derive from it.
struct Look : CCaseSensitiveHash
{
    static bool add(CCaseSensitiveHash& table, _cppoolstring& string, _cppoolstring& result)
    {
        return (table.*(&Look::_add))(string, result);
    }
};

// The flat index of 1024 places, and the next one's size in bytes. No bucket or index of the tables here is as large.
constexpr unsigned long three_quarters = 768;
constexpr unsigned long seven_eighths = 896;
constexpr unsigned long size_of_the_next = (2 + 2048) * sizeof(unsigned long);

} // namespace

// A spelling in the second table alone is no state that the pool has, so the walk over both is left out here.
FAULT_TEST(PoolTable, ASpellingIsEnteredOrTheChainsStay, "String::CCaseInsensitiveHash::Add(_cppoolstring const&)")
{
    LogRecorder log;
    _cppoolstring const string = unpooled(L"spelling");
    for (unsigned long const already : {0UL, 1UL, 2UL})
    {
        std::vector<_cppoolstring> others = {unpooled(L"Spelling"), unpooled(L"SPELLING")};
        others.resize(already);
        unsigned long const allocations = fail_each_allocation(
            [&](unsigned long)
            {
                CCaseInsensitiveHash table;
                {
                    Undisturbed const pause;
                    for (_cppoolstring const& other : others)
                        EXPECT_EQ(table.Add(other), 1U);
                }
                std::vector<std::wstring> const before = chain_of(table, L"spelling");
                unsigned int const result = table.Add(string);
                Undisturbed const pause;
                EXPECT_EQ(string.lockcnt(), 1 + result);
                EXPECT_EQ(table._holds(string), result == 1);
                if (result == 0)
                {
                    EXPECT_EQ(chain_of(table, L"spelling"), before);
                    EXPECT_EQ(table.Add(string), 1U);
                }
                EXPECT_EQ(chain_of(table, L"spelling").size(), already + 1);
                EXPECT_EQ(table.Delete(string), 1U);
                EXPECT_EQ(chain_of(table, L"spelling").size(), already);
                EXPECT_EQ(string.lockcnt(), 1U);
            });
        // The link, and for the first the index and the bucket.
        EXPECT_EQ(allocations, already == 0 ? 3UL : 1UL);
    }
    EXPECT_EQ(log.count(), 0U);
}

FAULT_TEST(PoolTable, AStringIsEnteredInBothTablesOrOneOrNone, "String::CCaseSensitiveHash::Add(_cppoolstring&)",
           "String::CCaseSensitiveHash::_add(_cppoolstring&, _cppoolstring&)")
{
    auto const add = [](Tables& tables, _cppoolstring& string)
    {
        _cppoolstring const result = tables.sensitive.Add(string);
        EXPECT_TRUE(result == string || is_null(result));
        return !is_null(result);
    };
    auto const add_and_tell = [](Tables& tables, _cppoolstring& string)
    {
        _cppoolstring result;
        bool const is_done = Look::add(tables.sensitive, string, result);
        EXPECT_TRUE(result == string || is_null(result));
        // A string that the first table did not take is none that the second lacks.
        EXPECT_EQ(is_done, is_null(result) || tables.insensitive._holds(string));
        return !is_null(result);
    };
    // Two indexes, two buckets and a link; the bucket and the link of a second spelling; a bucket that has to grow.
    expect_entered_in_both_or_one_or_none({}, 5, add);
    expect_entered_in_both_or_one_or_none({}, 5, add_and_tell);
    expect_entered_in_both_or_one_or_none({L"Spelling"}, 2, add);
    expect_entered_in_both_or_one_or_none(neighbours_of(L"spelling", 16), 3, add);
}

// The flat index beside the first table doubles at three quarters. Where the heap has no more, it is filled up to seven
// eighths and then given up; the table alone is looked through from then on.
TEST(PoolTable, AnIndexThatCannotGrowIsFilledAndThenGivenUpAndNothingIsLost)
{
    CCaseInsensitiveHash insensitive;
    PooledStrings sensitive(&insensitive);
    std::vector<_cppoolstring> strings;
    for (unsigned long number = 0; number < seven_eighths + 10; ++number)
    {
        strings.push_back(unpooled(numbered(number)));
        AllocationFailure const failure([](unsigned long size) { return size == size_of_the_next; });
        ASSERT_TRUE(sensitive.add(strings.back()) == strings.back());
        ASSERT_EQ(failure.failures(), number < three_quarters || number > seven_eighths ? 0UL : 1UL) << number;
    }
    for (_cppoolstring const& string : strings)
        ASSERT_EQ(sensitive.find_record(*string), &*string);
    expect_whole_tables(sensitive, insensitive);
}

// The addition with which the index grows, with each of its allocations failing.
TEST(PoolTable, AStringIsEnteredOrNotWhereTheIndexGrows)
{
    for (unsigned long const already : {0UL, three_quarters})
    {
        unsigned long const allocations = fail_each_allocation(
            [already](unsigned long)
            {
                CCaseInsensitiveHash insensitive;
                PooledStrings sensitive(&insensitive);
                _cppoolstring string;
                {
                    Undisturbed const pause;
                    for (unsigned long number = 0; number < already; ++number)
                    {
                        _cppoolstring one = unpooled(numbered(number));
                        sensitive.add(one);
                    }
                    string = unpooled(L"one more");
                }
                _cppoolstring const result = sensitive.add(string);
                Undisturbed const pause;
                EXPECT_TRUE(is_null(result) || result == string);
                EXPECT_EQ(sensitive.find_record(*string), is_null(result) ? nullptr : &*string);
                for (unsigned long number = 0; number < already; ++number)
                {
                    std::wstring const text = numbered(number);
                    staticStringRecord const key(text.c_str());
                    ASSERT_NE(sensitive.find_record(key.record), nullptr) << number;
                }
                expect_whole_tables(sensitive, insensitive);
                if (is_null(result))
                {
                    EXPECT_TRUE(sensitive.add(string) == string);
                }
                EXPECT_EQ(sensitive.find_record(*string), &*string);
                EXPECT_EQ(sensitive.GetNItems(), already + 1);
            });
        EXPECT_EQ(allocations, already == 0 ? 6UL : 4UL);
    }
}

TEST(PoolTable, LookUpsWalksAndRemovalsNeedNoMemory)
{
    LogRecorder log;
    Tables tables;
    for (unsigned long number = 0; number < 40; ++number)
        tables.add(numbered(number).c_str());
    _cppoolstring const head = tables.add(L"spelling");
    _cppoolstring const second = tables.add(L"SPELLING");
    {
        AllocationFailure const failure(1, AllocationFailure::forever);
        EXPECT_TRUE(tables.find(L"SPELLING") == second);
        EXPECT_TRUE(tables.find_any_spelling(L"Spelling") == head);
        EXPECT_EQ(tables.sensitive.GetSize() > 0, true);
        EXPECT_EQ(tables.sensitive.DisposeTable(no_limit), 1);
        EXPECT_EQ(tables.sensitive.DisposeTable(no_limit), 1);
        EXPECT_EQ(tables.sensitive.GetNItems(), 2UL);
        _cppoolstring removed = head;
        EXPECT_EQ(tables.sensitive.Delete(removed), 1U);
        EXPECT_TRUE(tables.find_any_spelling(L"Spelling") == second);
        expect_whole_tables(tables.sensitive, tables.insensitive);
        tables.insensitive.ClearTable();
        EXPECT_EQ(failure.attempts(), 0UL);
    }
    EXPECT_EQ(log.count(), 0U);
}
