// The flat index of the pool: it finds exactly the records that were added and not removed, and gives up as a whole
// where the heap is exhausted.
#include "cstringpool/pooled_strings.h"
#include "cstringpool/record_index.h"

#include "support/AllocationFailure.h"
#include "support/LogRecorder.h"

#include "ORVA/String/PoolString.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <set>
#include <type_traits>
#include <utility>
#include <vector>

namespace
{

using namespace ORVA::String;

class RecordIndexTest : public testing::Test
{
protected:
    // A record with nothing but a hash: all that the index looks at.
    tagSTRINGPOOLRECORD& record(unsigned long hash)
    {
        m_records.push_back(std::make_unique<tagSTRINGPOOLRECORD>());
        m_records.back()->info.sHash = hash;
        return *m_records.back();
    }

    bool holds(tagSTRINGPOOLRECORD const& wanted) const
    {
        return m_index.find(wanted.info.sHash, [&](tagSTRINGPOOLRECORD const& found) { return &found == &wanted; }) ==
               &wanted;
    }

    bool shows(tagSTRINGPOOLRECORD const& wanted)
    {
        tagSTRINGPOOLRECORD const* visited = nullptr;
        bool const told = m_index.visit_visible(
            wanted.info.sHash, [&](tagSTRINGPOOLRECORD const& found) { return &found == &wanted; },
            [&](tagSTRINGPOOLRECORD const& found) { visited = &found; });
        EXPECT_EQ(visited, told ? &wanted : nullptr);
        return told;
    }

    // The number of records of a hash that the index offers.
    unsigned long count(unsigned long hash) const
    {
        unsigned long offered = 0;
        m_index.find(hash,
                     [&](tagSTRINGPOOLRECORD const& found)
                     {
                         EXPECT_EQ(found.info.sHash, hash);
                         ++offered;
                         return false;
                     });
        return offered;
    }

    std::vector<std::unique_ptr<tagSTRINGPOOLRECORD>> m_records;
    RecordIndex m_index;
};

TEST_F(RecordIndexTest, is_complete_and_empty_at_first_and_allocates_nothing)
{
    EXPECT_TRUE(m_index.is_complete());
    EXPECT_EQ(count(0), 0u);
    m_index.remove(record(1));
}

TEST_F(RecordIndexTest, finds_what_was_added)
{
    tagSTRINGPOOLRECORD& first = record(0);
    tagSTRINGPOOLRECORD& second = record(~0UL);
    m_index.add(first);
    m_index.add(second);
    EXPECT_TRUE(holds(first));
    EXPECT_TRUE(holds(second));
    EXPECT_EQ(count(5), 0u);
}

TEST_F(RecordIndexTest, looks_at_the_whole_hash_and_not_at_the_tag_alone)
{
    m_index.add(record(0x1000000000001234));
    EXPECT_EQ(count(0x2000000000001234), 0u);
    EXPECT_EQ(count(0x1000000000001234), 1u);
}

TEST_F(RecordIndexTest, holds_several_records_of_one_hash)
{
    for (int number = 0; number < 100; ++number)
        m_index.add(record(77));
    EXPECT_EQ(count(77), 100u);
    m_index.remove(*m_records[40]);
    EXPECT_EQ(count(77), 99u);
    EXPECT_FALSE(holds(*m_records[40]));
    EXPECT_TRUE(holds(*m_records[41]));
}

TEST_F(RecordIndexTest, removing_what_is_not_there_changes_nothing)
{
    m_index.add(record(3));
    m_index.remove(record(3));
    m_index.remove(record(4));
    EXPECT_TRUE(holds(*m_records[0]));
}

TEST_F(RecordIndexTest, keeps_hidden_records_from_visitors_and_finds_them)
{
    tagSTRINGPOOLRECORD& first = record(9);
    tagSTRINGPOOLRECORD& second = record(9);
    m_index.add(first);
    m_index.add(second);
    EXPECT_TRUE(shows(first));
    m_index.hide(first);
    m_index.hide(first);
    EXPECT_FALSE(shows(first));
    EXPECT_TRUE(holds(first));
    EXPECT_TRUE(shows(second));
    m_index.show(first);
    EXPECT_TRUE(shows(first));
    m_index.show(first);
    EXPECT_TRUE(shows(first));
    EXPECT_FALSE(shows(record(9)));
}

TEST_F(RecordIndexTest, hides_and_shows_nothing_that_is_not_there)
{
    m_index.hide(record(1));
    m_index.show(record(1));
    m_index.add(record(1));
    m_index.hide(*m_records[0]);
    m_index.show(*m_records[1]);
    EXPECT_TRUE(shows(*m_records[2]));
    EXPECT_FALSE(shows(*m_records[0]));
}

// A thread has one place: where it is at work already it is not let in, and has to take the lock.
TEST_F(RecordIndexTest, lets_one_visitor_into_a_place)
{
    m_index.add(record(5));
    bool inner = true;
    EXPECT_TRUE(m_index.visit_visible(
        5, [](tagSTRINGPOOLRECORD const&) { return true; },
        [&](tagSTRINGPOOLRECORD const& found) { inner = shows(found); }));
    EXPECT_FALSE(inner);
    EXPECT_TRUE(shows(*m_records[0])) << "the place is free again";
}

// Few hashes make long runs of slots with many homes, which is where closing a gap can go wrong.
TEST_F(RecordIndexTest, agrees_with_a_set_under_random_operations)
{
    for (unsigned long spread : {3UL, 50UL, ~0UL})
    {
        RecordIndex index;
        std::set<tagSTRINGPOOLRECORD*> model;
        std::set<tagSTRINGPOOLRECORD*> hidden;
        std::mt19937_64 random(spread);
        for (int step = 0; step < 6000; ++step)
        {
            if (model.empty() || random() % 5 < 3)
            {
                tagSTRINGPOOLRECORD& fresh = record(random() % spread * 0x9E3779B97F4A7C15UL);
                index.add(fresh);
                model.insert(&fresh);
            }
            else
            {
                auto const victim =
                    std::next(model.begin(), static_cast<long>(random() % std::min(model.size(), 20UL)));
                switch (random() % 4)
                {
                case 0:
                    index.hide(**victim);
                    hidden.insert(*victim);
                    break;
                case 1:
                    index.show(**victim);
                    hidden.erase(*victim);
                    break;
                default:
                    index.remove(**victim);
                    hidden.erase(*victim);
                    model.erase(victim);
                }
            }
            if (step % 500 != 0)
                continue;
            for (auto const& each : m_records)
            {
                auto const is_wanted = [&](tagSTRINGPOOLRECORD const& candidate) { return &candidate == each.get(); };
                bool const is_there = model.count(each.get()) != 0;
                bool const is_visible = is_there && hidden.count(each.get()) == 0;
                ASSERT_EQ(index.find(each->info.sHash, is_wanted) != nullptr, is_there) << "step " << step;
                ASSERT_EQ(index.visit_visible(each->info.sHash, is_wanted, [](tagSTRINGPOOLRECORD const&) {}),
                          is_visible)
                    << "step " << step;
            }
        }
        m_records.clear();
    }
}

// 768 records fill three slots of four of the first size, and 896 seven of eight.
TEST_F(RecordIndexTest, goes_on_crowded_while_it_cannot_grow_and_gives_up_as_a_whole_when_it_is_full)
{
    for (unsigned long hash = 0; hash < 768; ++hash)
        m_index.add(record(hash));
    support::AllocationFailure const failing(1, support::AllocationFailure::forever);
    for (unsigned long hash = 768; hash < 896; ++hash)
        m_index.add(record(hash));
    EXPECT_EQ(failing.failures(), 128u);
    ASSERT_TRUE(m_index.is_complete());
    for (unsigned long hash = 0; hash < 896; ++hash)
        EXPECT_TRUE(holds(*m_records[hash]));

    m_index.add(record(896));
    EXPECT_FALSE(m_index.is_complete());
    EXPECT_EQ(count(5), 0u);
    m_index.add(record(897));
    m_index.remove(*m_records[5]);
    EXPECT_EQ(count(897), 0u);
}

TEST_F(RecordIndexTest, grows_later_when_it_could_not_at_first)
{
    for (unsigned long hash = 0; hash < 768; ++hash)
        m_index.add(record(hash));
    {
        support::AllocationFailure const failing(1);
        m_index.add(record(768));
        EXPECT_EQ(failing.failures(), 1u);
    }
    for (unsigned long hash = 769; hash < 5000; ++hash)
        m_index.add(record(hash));
    EXPECT_TRUE(m_index.is_complete());
    for (auto const& each : m_records)
        EXPECT_TRUE(holds(*each));
}

class PooledStringsTest : public testing::Test
{
protected:
    static _cppoolstring fresh(wchar_t const* text)
    {
        staticStringRecord const key(text);
        _cppoolstring made;
        EXPECT_EQ(made.create(key.record.info, text), 1u);
        return made;
    }

    tagSTRINGPOOLRECORD* find(wchar_t const* text)
    {
        staticStringRecord const key(text);
        return m_strings.find_record(key.record);
    }

    // The entry of the second table is the last allocation but none of the index.
    void add_to_the_first_table_alone(_cppoolstring& string)
    {
        for (unsigned long nth = 1;; ++nth)
        {
            ASSERT_LT(nth, 10u);
            support::AllocationFailure const failing(nth);
            if (m_strings.add(string) == string && failing.failures() == 1)
                break;
        }
        ASSERT_FALSE(m_insensitive._holds(string));
    }

    CCaseInsensitiveHash m_insensitive;
    PooledStrings m_strings{&m_insensitive};
};

TEST_F(PooledStringsTest, finds_the_same_when_the_index_has_given_up)
{
    static constexpr int crowded = 768;
    static constexpr int full = 896;
    static constexpr unsigned long size_of_a_larger_index = 2 * sizeof(unsigned long) + 2048 * sizeof(unsigned long);

    // The growth of the index is the last allocation of an addition; a twin, which grows as it should, tells how many
    // come before.
    CCaseInsensitiveHash twin_insensitive;
    PooledStrings twin(&twin_insensitive);
    for (int number = 0; number < 1200; ++number)
    {
        std::wstring const text = L"string " + std::to_wstring(number);
        _cppoolstring string = fresh(text.c_str());
        _cppoolstring twin_string = fresh(text.c_str());
        bool const cannot_grow = number >= crowded && number <= full;
        unsigned long growth = 0;
        {
            support::AllocationFailure const counting(0);
            twin.add(twin_string);
            if (cannot_grow)
                growth = counting.attempts() + (number == crowded ? 0 : 1);
        }
        {
            support::AllocationFailure const failing(growth);
            EXPECT_EQ(m_strings.add(string), string);
            EXPECT_EQ(failing.failures(), cannot_grow ? 1u : 0u);
            if (cannot_grow)
            {
                EXPECT_EQ(failing.last_size(), size_of_a_larger_index);
            }
        }
        ASSERT_EQ(find(text.c_str()), &*string) << number;
    }
    EXPECT_NE(find(L"string 0"), nullptr);
    EXPECT_NE(find(L"string 1199"), nullptr);
    EXPECT_EQ(find(L"string 1200"), nullptr);
    EXPECT_EQ(find(L"String 7"), nullptr);
}

TEST_F(PooledStringsTest, forgets_what_is_disposed_of)
{
    {
        _cppoolstring kept = fresh(L"kept");
        _cppoolstring gone = fresh(L"gone");
        m_strings.add(kept);
        m_strings.add(gone);
    }
    _cppoolstring const held = _cppoolstring::_share(*find(L"kept"));
    EXPECT_EQ(m_strings.DisposeTable(1000), 1);
    EXPECT_NE(find(L"gone"), nullptr);
    EXPECT_EQ(m_strings.DisposeTable(1000), 1);
    EXPECT_EQ(find(L"gone"), nullptr);
    EXPECT_EQ(find(L"kept"), &*held);
}

// Without the entry of the second table the pool has one handle less.
TEST_F(PooledStringsTest, keeps_a_string_that_the_second_table_could_not_take_while_somebody_holds_it)
{
    _cppoolstring other = fresh(L"other");
    m_strings.add(other);
    _cppoolstring held = fresh(L"held");
    ASSERT_NO_FATAL_FAILURE(add_to_the_first_table_alone(held));
    ASSERT_EQ(held.lockcnt(), 2u);
    for (int visit = 0; visit < 5; ++visit)
    {
        EXPECT_EQ(m_strings.DisposeTable(1000), 1);
        EXPECT_EQ(find(L"held"), &*held);
        EXPECT_EQ(held->age, 0u);
    }

    held = _cppoolstring();
    support::LogRecorder const log;
    EXPECT_EQ(m_strings.DisposeTable(1000), 1);
    EXPECT_NE(find(L"held"), nullptr);
    EXPECT_EQ(m_strings.DisposeTable(1000), 1);
    EXPECT_EQ(find(L"held"), nullptr);
    EXPECT_NE(find(L"other"), nullptr);
}

// Every string is asked about while there is one that the second table lacks: also those behind the first of a chain.
TEST_F(PooledStringsTest, disposes_of_all_spellings_of_a_word_beside_a_string_that_the_second_table_could_not_take)
{
    for (wchar_t const* spelling : {L"word", L"Word", L"WORD"})
    {
        _cppoolstring string = fresh(spelling);
        m_strings.add(string);
    }
    _cppoolstring held = fresh(L"held");
    ASSERT_NO_FATAL_FAILURE(add_to_the_first_table_alone(held));
    EXPECT_EQ(m_strings.DisposeTable(1000), 1);
    EXPECT_EQ(m_strings.GetNItems(), 4u);
    EXPECT_EQ(m_strings.DisposeTable(1000), 1);
    EXPECT_EQ(m_strings.GetNItems(), 1u);
    EXPECT_EQ(m_insensitive.GetNItems(), 0u);
    EXPECT_EQ(find(L"held"), &*held);
}

TEST_F(PooledStringsTest, takes_the_string_that_is_there_when_one_is_added_twice)
{
    _cppoolstring first = fresh(L"twice");
    _cppoolstring second = fresh(L"twice");
    EXPECT_EQ(m_strings.add(first), first);
    EXPECT_EQ(m_strings.add(second), first);
    EXPECT_EQ(find(L"twice"), &*first);
    EXPECT_EQ(first.lockcnt(), 3u);
}

template <class Table, class = void>
constexpr bool can_be_cleared = false;
template <class Table>
constexpr bool can_be_cleared<Table, std::void_t<decltype(std::declval<Table&>().ClearTable())>> = true;

TEST(PooledStrings, are_not_cleared_behind_the_back_of_their_index)
{
    static_assert(can_be_cleared<CCaseSensitiveHash>);
    static_assert(!can_be_cleared<PooledStrings>);
    SUCCEED();
}

} // namespace
