#include "ORVA/Lookup.h"

#include "support/TableProbe.h"

#include <gtest/gtest.h>

#include <climits>
#include <vector>

namespace
{

using namespace ORVA::Lookup;
using support::CPObjectMemory;
using support::Events;
using support::make_item;
using support::TableProbe;

using HASHENTRY = CBaseHashTable::HASHENTRY;
using Ids = std::vector<int>;

eHashCollision mode_of(unsigned int value)
{
    return static_cast<eHashCollision>(value);
}

class HashTableCollision : public ::testing::Test
{
protected:
    // The handle of a second item with the rank of `stored`, added in `mode`.
    CPObjectMemory add_equal(CPObjectMemory const& stored, unsigned int mode)
    {
        table.AddItem(5, stored, eHashKeepEqual);
        table.take_events();
        return table.AddItem(5, newcomer, mode_of(mode));
    }

    support::NoItemLeft first_made;
    TableProbe table{4};
    CPObjectMemory const newcomer = make_item(2, 100);
};

TEST_F(HashTableCollision, KeepEqualReturnsTheStoredItem)
{
    CPObjectMemory const stored = make_item(1, 100);
    EXPECT_EQ(add_equal(stored, 0), stored);
    EXPECT_EQ(table.ids(5), Ids{1});
    EXPECT_EQ(stored.lockcnt(), 2U);
    EXPECT_EQ(newcomer.lockcnt(), 1U);
}

TEST_F(HashTableCollision, ReplaceEqualStoresAndReturnsTheNewItem)
{
    CPObjectMemory const stored = make_item(1, 100);
    EXPECT_EQ(add_equal(stored, 1), newcomer);
    EXPECT_EQ(table.ids(5), Ids{2});
    EXPECT_EQ(stored.lockcnt(), 1U);
    EXPECT_EQ(newcomer.lockcnt(), 2U);
    EXPECT_EQ(table.take_events(), (Events{"compare 2 1", "compare 1 2"})); // no hook for the one that left
}

TEST_F(HashTableCollision, OtherModesChangeNothingOnAnEqualItem)
{
    for (unsigned int mode : {4U, 5U, 77U, 0x80000000U, 0xFFFFFFFFU})
    {
        CPObjectMemory const stored = make_item(1, 100);
        EXPECT_FALSE(add_equal(stored, mode));
        EXPECT_EQ(table.take_events(), (Events{"compare 2 1", "compare 1 2"}));
        EXPECT_EQ(table.ids(5), Ids{1});
        EXPECT_EQ(newcomer.lockcnt(), 1U);
        table.ClearTable();
    }
}

TEST_F(HashTableCollision, ModesThatCompareAddAnItemThatIsNotEqual)
{
    for (unsigned int mode : {0U, 1U, 4U, 77U})
    {
        for (int rank : {99, 101})
        {
            CPObjectMemory const stored = make_item(1, rank);
            EXPECT_EQ(add_equal(stored, mode), newcomer);
            EXPECT_EQ(table.ids(5), rank == 99 ? (Ids{1, 2}) : (Ids{2, 1}));
            EXPECT_EQ(stored.lockcnt(), 2U);
            EXPECT_EQ(newcomer.lockcnt(), 2U);
            table.ClearTable();
        }
    }
}

TEST_F(HashTableCollision, KeepKeyReturnsWhateverStandsThereWithTheKey)
{
    CPObjectMemory const stored = make_item(1, 100);
    EXPECT_EQ(add_equal(stored, 2), stored);
    table.ClearTable();
    CPObjectMemory const higher = make_item(3, 101);
    EXPECT_EQ(add_equal(higher, 2), higher);
    EXPECT_EQ(table.ids(5), Ids{3});
    // The place is the only comparison: whether the two are equal is not asked.
    EXPECT_EQ(table.take_events(), Events{"compare 2 3"});
    EXPECT_EQ(newcomer.lockcnt(), 1U);
}

TEST_F(HashTableCollision, ReplaceKeyStoresOverWhateverStandsThereWithTheKey)
{
    CPObjectMemory const stored = make_item(1, 100);
    EXPECT_EQ(add_equal(stored, 3), newcomer);
    table.ClearTable();
    CPObjectMemory const higher = make_item(3, 101);
    EXPECT_EQ(add_equal(higher, 3), newcomer);
    EXPECT_EQ(table.ids(5), Ids{2});
    EXPECT_EQ(table.take_events(), Events{"compare 2 3"});
    EXPECT_EQ(higher.lockcnt(), 1U);
    EXPECT_EQ(newcomer.lockcnt(), 2U);
}

// Kept behaviour: of several items of one key, only the one at the place of the new item counts.
TEST_F(HashTableCollision, KeyModesLookOnlyAtTheLocatedPosition)
{
    for (unsigned int mode : {2U, 3U})
    {
        // Above all items of the key, at the end of the bucket and before another key: added.
        EXPECT_EQ(add_equal(make_item(1, 50), mode), newcomer);
        EXPECT_EQ(table.ids(5), (Ids{1, 2}));
        table.ClearTable();
        table.AddItem(0x15, make_item(9), eHashKeepEqual);
        EXPECT_EQ(add_equal(make_item(1, 50), mode), newcomer);
        EXPECT_EQ(table.ids(5), (Ids{1, 2, 9}));
        table.ClearTable();
    }
    // Between two of the key: the upper one is met.
    table.AddItem(5, make_item(8, 200), eHashKeepEqual);
    CPObjectMemory const met = add_equal(make_item(1, 50), 2);
    EXPECT_EQ(support::id_of(met), 8);
    EXPECT_EQ(table.ids(5), (Ids{1, 8}));
    EXPECT_EQ(table.AddItem(5, newcomer, eHashReplaceKey), newcomer);
    EXPECT_EQ(table.ids(5), (Ids{1, 2}));
}

TEST_F(HashTableCollision, TheSameBlockIsAskedAboutItself)
{
    for (unsigned int mode : {0U, 1U})
    {
        EXPECT_EQ(add_equal(newcomer, mode), newcomer);
        // The search knows the block; the decision asks.
        EXPECT_EQ(table.take_events(), Events{"compare 2 2"});
        EXPECT_EQ(table.ids(5), Ids{2});
        EXPECT_EQ(newcomer.lockcnt(), 2U);
        table.ClearTable();
    }
    table.on_compare = [](CPObjectMemory const&, CPObjectMemory const&) { return 1; };
    EXPECT_EQ(add_equal(newcomer, 0), newcomer);
    EXPECT_EQ(table.ids(5), (Ids{2, 2})); // a comparison that denies it gets it twice
    EXPECT_EQ(newcomer.lockcnt(), 3U);
}

TEST_F(HashTableCollision, ReplacedItemGoesWhenTheNewOneStandsInTheTable)
{
    Ids seen;
    table.AddItem(5, make_item(101, [&] { seen = table.ids(5); }), eHashKeepEqual);
    EXPECT_EQ(table.AddItem(5, newcomer, eHashReplaceKey), newcomer);
    EXPECT_EQ(seen, Ids{2});
}

TEST_F(HashTableCollision, ItemMayBeAHandleOfTheTableItself)
{
    for (int id = 1; id <= 16; ++id)
        table.AddItem(static_cast<unsigned long>(id) << 4, make_item(id), eHashKeepEqual);
    CPObjectMemory const& stored = table.bucket(0)[7].cpItem;
    EXPECT_EQ(support::id_of(table.AddItem(0, stored, eHashKeepEqual)), 8);
    EXPECT_EQ(table.ids(0), (Ids{8, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}));
    EXPECT_EQ(table.bucket(0)[0].cpItem.lockcnt(), 2U);
    EXPECT_EQ(table.DeleteItem(0x80, table.bucket(0)[8].cpItem), 1);
    EXPECT_EQ(table.ids(0), (Ids{8, 1, 2, 3, 4, 5, 6, 7, 9, 10, 11, 12, 13, 14, 15, 16}));
}

TEST_F(HashTableCollision, LocatecompareOrdersByKeyThenItem)
{
    CPObjectMemory const low = make_item(1);
    CPObjectMemory const high = make_item(9);
    HASHENTRY const small{1, high};
    HASHENTRY const large{0x8000000000000000, low};
    EXPECT_EQ(table._locatecompare(small, large), -1);
    EXPECT_EQ(table._locatecompare(large, small), 1);
    EXPECT_EQ(table._locatecompare(small, small), 0);                 // the same block
    EXPECT_EQ(table._locatecompare(small, {1, CPObjectMemory()}), 0); // an empty item matches any
    EXPECT_EQ(table._locatecompare({1, CPObjectMemory()}, small), 0); //
    EXPECT_EQ(table._locatecompare({1, {}}, {1, {}}), 0);             // both empty
    EXPECT_EQ(table._locatecompare({2, {}}, {1, {}}), 1);             // keys come first
    EXPECT_EQ(table.take_events(), Events{});
    table.on_compare = [](CPObjectMemory const&, CPObjectMemory const&) { return 42; };
    EXPECT_EQ(table._locatecompare(small, {1, low}), 42); // handed on as it is
    EXPECT_EQ(table.take_events(), Events{"compare 9 1"});
}

TEST_F(HashTableCollision, LocateentryOfNothingIsThePositionZero)
{
    CBaseHashTable::Bucket bucket;
    HASHENTRY const entry{1, newcomer};
    EXPECT_EQ(table._locateentry(bucket, entry), 0U);
    EXPECT_EQ(table._findentry(bucket, entry), ULONG_MAX);
    bucket.Insert(entry, 0);
    bucket.Delete(0, false); // a block without entries
    EXPECT_EQ(table._locateentry(bucket, entry), 0U);
    EXPECT_EQ(table._findentry(bucket, entry), ULONG_MAX);
}

// A bucket with items 10, 20, 30, ... of key 1, as many as told.
CBaseHashTable::Bucket tens(int count)
{
    CBaseHashTable::Bucket bucket;
    for (int n = 1; n <= count; ++n)
        bucket.Insert({1, make_item(10 * n)}, ULONG_MAX);
    return bucket;
}

TEST_F(HashTableCollision, LocateentryAsksTheFirstTheLastAndThenTheMiddle)
{
    struct Row
    {
        int count;
        int rank;
        unsigned long position;
        Events events;
    };
    std::vector<Row> const rows = {
        {1, 5, 0, {"compare 5 10"}},
        {1, 15, 1, {"compare 15 10", "compare 15 10"}}, // the only entry is the first and the last
        {2, 5, 0, {"compare 5 10"}},
        {2, 15, 1, {"compare 15 10", "compare 15 20"}},
        {2, 25, 2, {"compare 25 10", "compare 25 20"}},
        {3, 15, 1, {"compare 15 10", "compare 15 30", "compare 15 20"}},
        {3, 25, 2, {"compare 25 10", "compare 25 30", "compare 25 20"}},
        {6, 35, 3, {"compare 35 10", "compare 35 60", "compare 35 30", "compare 35 40"}},
        {6, 25, 2, {"compare 25 10", "compare 25 60", "compare 25 30", "compare 25 20"}},
        {9, 75, 7, {"compare 75 10", "compare 75 90", "compare 75 50", "compare 75 70", "compare 75 80"}},
    };
    for (Row const& row : rows)
    {
        CBaseHashTable::Bucket const bucket = tens(row.count);
        EXPECT_EQ(table._locateentry(bucket, {1, make_item(row.rank)}), row.position) << row.count << ' ' << row.rank;
        EXPECT_EQ(table.take_events(), row.events) << row.count << ' ' << row.rank;
    }
}

TEST_F(HashTableCollision, FindentryAsksOnceMoreAboutTheLocatedEntry)
{
    CBaseHashTable::Bucket const bucket = tens(3);
    EXPECT_EQ(table._findentry(bucket, {1, make_item(7, 20)}), 1U);
    EXPECT_EQ(table.take_events(), (Events{"compare 7 10", "compare 7 30", "compare 7 20", "compare 20 7"}));
    EXPECT_EQ(table._findentry(bucket, {1, make_item(15)}), ULONG_MAX);
    EXPECT_EQ(table.take_events(), (Events{"compare 15 10", "compare 15 30", "compare 15 20", "compare 20 15"}));
    EXPECT_EQ(table._findentry(bucket, {1, make_item(35)}), ULONG_MAX); // past the end
    EXPECT_EQ(table.take_events(), (Events{"compare 35 10", "compare 35 30"}));
    EXPECT_EQ(table._findentry(bucket, {1, bucket[1].cpItem}), 1U); // the same block
    EXPECT_EQ(table.take_events(), (Events{"compare 20 10", "compare 20 30"}));
    EXPECT_EQ(table._findentry(bucket, {1, CPObjectMemory()}), 0U);
    EXPECT_EQ(table._findentry(bucket, {0, CPObjectMemory()}), ULONG_MAX); // another key
    EXPECT_EQ(table._findentry(bucket, {2, CPObjectMemory()}), ULONG_MAX);
    EXPECT_EQ(table.take_events(), Events{});
}

// A stored item can become empty through a visitor, which is given the stored handle. It then matches every item.
TEST_F(HashTableCollision, EmptiedEntryMatchesEveryItemOfItsKey)
{
    table.AddItem(5, make_item(1), eHashKeepEqual);
    table.bucket(5)[0].cpItem.free();
    table.take_events();
    EXPECT_FALSE(table.FindItem(5, newcomer));
    EXPECT_EQ(table._findentry(table.bucket(5), {5, newcomer}), 0U);
    EXPECT_EQ(table.take_events(), Events{});
    EXPECT_EQ(table.DeleteItem(5, newcomer), 1);
    EXPECT_EQ(table.take_events(), Events{"finalize 0"});
    EXPECT_FALSE(table.bucket(5));
}

} // namespace
