#include "ORVA/Lookup.h"

#include "support/TableFixture.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace
{

using namespace ORVA::Lookup;
using support::CPObjectMemory;
using support::Events;
using support::id_of;
using support::make_item;
using support::no_limit;
using support::ProbeItem;
using support::TableProbe;
using support::VisitorProbe;

using Ids = std::vector<int>;
using Keys = std::vector<unsigned long>;
using HashTableWalk = support::TableFixture;

TEST_F(HashTableWalk, NoVisitorAndNoIndex)
{
    EXPECT_EQ(table.EnumTableBy(nullptr, 0, false), 0);
    EXPECT_EQ(table.EnumTableBy(nullptr, 0, true), 0);
    EXPECT_EQ(table.EnumTableBy(&visitor, 0, false), 0);
    EXPECT_EQ(table.EnumTableBy(&visitor, 0, true), 0);
    EXPECT_EQ(table.PurgeTable(nullptr), 1);
    EXPECT_EQ(table.PurgeTable(&visitor), 1);
    fill({1});
    EXPECT_EQ(table.EnumTableBy(nullptr, 1, false), 0);
    EXPECT_EQ(table.EnumTableBy(nullptr, 1, true), 0);
    EXPECT_EQ(table.PurgeTable(nullptr), 1);
    EXPECT_EQ(visitor.ids, Ids{});
    EXPECT_EQ(table.GetNItems(), 1U);
}

TEST_F(HashTableWalk, EnumShowsBucketAfterBucketInAscendingOrder)
{
    fill({0x2F, 0x01, 0x1F, 0x11, 0x05, 0x0F, 0xF000000000000001});
    EXPECT_EQ(table.EnumTableBy(&visitor, 0x05, false), 1); // the key plays no part
    EXPECT_EQ(visitor.ids, (Ids{2, 4, 7, 5, 6, 3, 1}));
    EXPECT_EQ(visitor.keys, (Keys{0x01, 0x11, 0xF000000000000001, 0x05, 0x0F, 0x1F, 0x2F}));
    EXPECT_EQ(table.take_events(), Events{});
}

TEST_F(HashTableWalk, EnumOfAnIndexWithoutEntriesCompletes)
{
    fill({1});
    table.DeleteIndex(1);
    EXPECT_EQ(table.EnumTableBy(&visitor, 0, false), 1);
    EXPECT_EQ(visitor.ids, Ids{});
}

TEST_F(HashTableWalk, EnumStopsAtFalse)
{
    fill({1, 2, 3, 4});
    visitor.answer = [](unsigned long key, CPObjectMemory&) { return key != 2; };
    EXPECT_EQ(table.EnumTableBy(&visitor, 0, false), 0);
    EXPECT_EQ(visitor.ids, (Ids{1, 2}));
    EXPECT_EQ(table.GetNItems(), 4U);
    expect_no_handle_left_over();
}

TEST_F(HashTableWalk, EnumByKeyShowsThatKeyAlone)
{
    for (int id : {3, 1, 2})
        table.AddItem(0x15, make_item(id), eHashKeepEqual);
    table.AddItem(0x05, make_item(8), eHashKeepEqual);
    table.AddItem(0x25, make_item(9), eHashKeepEqual);
    table.take_events();
    EXPECT_EQ(table.EnumTableBy(&visitor, 0x15, true), 1);
    EXPECT_EQ(visitor.ids, (Ids{1, 2, 3}));
    EXPECT_EQ(visitor.keys, (Keys{0x15, 0x15, 0x15}));
    EXPECT_EQ(table.EnumTableBy(&visitor, 0x25, true), 1); // up to the bucket's end
    EXPECT_EQ(table.EnumTableBy(&visitor, 0x35, true), 1); // a bucket without the key
    EXPECT_EQ(table.EnumTableBy(&visitor, 0x06, true), 1); // no bucket
    EXPECT_EQ(visitor.ids, (Ids{1, 2, 3, 9}));

    visitor = VisitorProbe([](unsigned long, CPObjectMemory& item) { return id_of(item) != 2; });
    EXPECT_EQ(table.EnumTableBy(&visitor, 0x15, true), 0);
    EXPECT_EQ(visitor.ids, (Ids{1, 2}));
    EXPECT_EQ(table.take_events(), Events{});
    expect_no_handle_left_over();
}

TEST_F(HashTableWalk, WalkHoldsIndexAndBucketAndGivesTheStoredHandle)
{
    fill({0x13, 0x23});
    auto const check = [&](unsigned long key, CPObjectMemory& item)
    {
        EXPECT_EQ(&item, &table.bucket(3)[key == 0x13 ? 0 : 1].cpItem);
        EXPECT_EQ(id_of(item), key == 0x13 ? 1 : 2);
        EXPECT_EQ(item.lockcnt(), 1U);
        EXPECT_EQ(table.cpIndex.lockcnt(), 2U);
        EXPECT_EQ(table.bucket(3).lockcnt(), 2U);
        return true;
    };
    visitor.answer = check;
    EXPECT_EQ(table.EnumTableBy(&visitor, 0, false), 1);
    EXPECT_EQ(table.EnumTableBy(&visitor, 0x13, true), 1);
    EXPECT_EQ(table.PurgeTable(&visitor), 1);
    EXPECT_EQ(visitor.ids, (Ids{1, 2, 1, 2, 1}));
    expect_no_handle_left_over();
}

TEST_F(HashTableWalk, VisitorMayReplaceTheStoredItem)
{
    fill({3});
    CPObjectMemory const other = make_item(77);
    visitor.answer = [&](unsigned long, CPObjectMemory& item)
    {
        item = other;
        return true;
    };
    EXPECT_EQ(table.EnumTableBy(&visitor, 0, false), 1);
    EXPECT_EQ(table.ids(3), Ids{77});
    EXPECT_EQ(ProbeItem::live(), 1);
}

TEST_F(HashTableWalk, BucketCountIsReadAgainAtEachStep)
{
    fill({1, 2, 3, 4});
    visitor.answer = [&](unsigned long key, CPObjectMemory&)
    {
        if (key == 2)
            table.uBuckets = 3;
        return true;
    };
    EXPECT_EQ(table.EnumTableBy(&visitor, 0, false), 1);
    EXPECT_EQ(visitor.ids, (Ids{1, 2}));
    table.uBuckets = 16;
}

TEST_F(HashTableWalk, AddingInPlaceShiftsTheBucketOfTheWalk)
{
    fill({0x23, 0x33});
    visitor.answer = [&](unsigned long key, CPObjectMemory&)
    {
        if (key == 0x23)
        {
            table.AddItem(0x43, make_item(4), eHashKeepEqual);
            if (visitor.ids.size() == 1)
                table.AddItem(0x13, make_item(3), eHashKeepEqual); // moves the walk's own entry up
        }
        return true;
    };
    EXPECT_EQ(table.EnumTableBy(&visitor, 0, false), 1);
    EXPECT_EQ(visitor.keys, (Keys{0x23, 0x23, 0x33, 0x43}));
    expect_no_handle_left_over();
}

TEST_F(HashTableWalk, WalkGoesOnOverTheOldBlockOfABucketThatMoves)
{
    for (unsigned long n = 0; n < 16; ++n)
        table.AddItem(0x100 + n * 16, make_item(static_cast<int>(n) + 1), eHashKeepEqual);
    void const* const block = table.bucket(0).get_cptr();
    visitor.answer = [&](unsigned long key, CPObjectMemory& item)
    {
        if (key == 0x120)
        {
            table.AddItem(0x1000, make_item(50), eHashKeepEqual);
            table.AddItem(0x0000, make_item(51), eHashKeepEqual);
            EXPECT_NE(table.bucket(0).get_cptr(), block);
            EXPECT_EQ(table.bucket(0).lockcnt(), 1U);
        }
        EXPECT_EQ(item.lockcnt(), key >= 0x120 ? 2U : 1U); // the old block holds the items too
        return true;
    };
    EXPECT_EQ(table.EnumTableBy(&visitor, 0, false), 1);
    EXPECT_EQ(visitor.ids, (Ids{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}));
    EXPECT_EQ(table.GetNItems(), 18U);
    expect_no_handle_left_over();
}

TEST_F(HashTableWalk, WalkEndsWithABucketThatIsEmptiedUnderIt)
{
    fill({0x03, 0x13, 0x23, 0x04});
    visitor.answer = [&](unsigned long key, CPObjectMemory&)
    {
        if (key == 0x13)
        {
            for (unsigned long gone : {0x03UL, 0x13UL, 0x23UL})
                table.DeleteItem(gone, CPObjectMemory());
        }
        return true;
    };
    EXPECT_EQ(table.EnumTableBy(&visitor, 0, false), 1);
    EXPECT_EQ(visitor.keys, (Keys{0x03, 0x13, 0x04}));
    EXPECT_EQ(table.GetNItems(), 1U);
    EXPECT_FALSE(table.bucket(3));
}

TEST_F(HashTableWalk, WalkGoesOnOverABucketThatIsTakenOutOfTheIndex)
{
    fill({0x03, 0x03, 0x03, 0x13});
    visitor.answer = [&](unsigned long, CPObjectMemory&) { return table.DeleteIndex(3) == 1; };
    EXPECT_EQ(table.EnumTableBy(&visitor, 0x03, true), 1);
    EXPECT_EQ(visitor.ids, (Ids{1, 2, 3}));
    EXPECT_EQ(ProbeItem::live(), 0);

    fill({0x03, 0x03, 0x03, 0x13});
    EXPECT_EQ(table.EnumTableBy(&visitor, 0, false), 1);
    EXPECT_EQ(visitor.ids, (Ids{1, 2, 3, 1, 2, 3, 4}));
    EXPECT_EQ(ProbeItem::live(), 0);
}

TEST_F(HashTableWalk, WalkGoesOnOverATableThatIsCleared)
{
    fill({1, 2, 0x12, 3});
    visitor.answer = [&](unsigned long, CPObjectMemory&)
    {
        table.ClearTable();
        EXPECT_EQ(table.GetNItems(), 0U);
        return true;
    };
    EXPECT_EQ(table.EnumTableBy(&visitor, 0, false), 1);
    EXPECT_EQ(visitor.ids, (Ids{1, 2, 3, 4}));
    EXPECT_FALSE(table.cpIndex); // a walk writes nothing back
    EXPECT_EQ(ProbeItem::live(), 0);

    fill({1, 2, 0x12, 3});
    visitor.ids.clear();
    EXPECT_EQ(table.EnumTableBy(&visitor, 0x12, true), 1);
    EXPECT_EQ(visitor.ids, Ids{3});
    EXPECT_EQ(ProbeItem::live(), 0);
}

TEST_F(HashTableWalk, PurgeGoesFromTheLastToTheFirstOfEachBucket)
{
    fill({0x01, 0x11, 0x21, 0x02, 0x12});
    EXPECT_EQ(table.PurgeTable(&visitor), 1);
    EXPECT_EQ(visitor.keys, (Keys{0x21, 0x11, 0x01, 0x12, 0x02}));
    EXPECT_EQ(table.GetNItems(), 5U);
    expect_no_handle_left_over();
}

TEST_F(HashTableWalk, PurgeRemovesWhatIsRejectedWithoutTheHook)
{
    fill({0x01, 0x11, 0x21, 0x31, 0x02, 0x12, 0x03});
    visitor.answer = [](unsigned long key, CPObjectMemory&) { return key == 0x11 || key == 0x31 || key == 0x03; };
    EXPECT_EQ(table.PurgeTable(&visitor), 1);
    EXPECT_EQ(visitor.ids, (Ids{4, 3, 2, 1, 6, 5, 7}));
    EXPECT_EQ(table.ids(1), (Ids{2, 4}));
    EXPECT_FALSE(table.bucket(2));
    EXPECT_EQ(table.ids(3), Ids{7});
    EXPECT_EQ(table.take_events(), Events{});
    EXPECT_EQ(ProbeItem::live(), 3);
    expect_no_handle_left_over();
}

TEST_F(HashTableWalk, PurgeOfEverythingLeavesTheIndex)
{
    for (unsigned long key = 0; key < 200; ++key)
        table.AddItem(key, make_item(1), eHashKeepEqual);
    visitor.answer = [](unsigned long, CPObjectMemory&) { return false; };
    EXPECT_EQ(table.PurgeTable(&visitor), 1);
    EXPECT_EQ(visitor.ids.size(), 200U);
    EXPECT_EQ(table.GetNItems(), 0U);
    ASSERT_TRUE(table.cpIndex);
    for (unsigned long number = 0; number < 16; ++number)
        EXPECT_FALSE(table.bucket(number));
}

TEST_F(HashTableWalk, PurgeFailsIfARejectedEntryIsGoneAlready)
{
    fill({0x01, 0x11, 0x02});
    visitor.answer = [&](unsigned long, CPObjectMemory&)
    {
        table.DeleteItem(0x01, CPObjectMemory());
        return false;
    };
    EXPECT_EQ(table.PurgeTable(&visitor), 0);
    EXPECT_EQ(visitor.keys, Keys{0x11});
    EXPECT_EQ(table.ids(1), Ids{2}); // not removed: the purge stopped
    EXPECT_EQ(table.ids(2), Ids{3});
    expect_no_handle_left_over();
}

TEST_F(HashTableWalk, PurgePassesOverEntriesThatAreGoneIfTheVisitorKeepsTheRest)
{
    fill({0x01, 0x11, 0x21, 0x31, 0x02});
    visitor.answer = [&](unsigned long key, CPObjectMemory&)
    {
        if (key == 0x31)
        {
            for (unsigned long gone : {0x11UL, 0x21UL, 0x31UL})
                table.DeleteItem(gone, CPObjectMemory());
        }
        return true;
    };
    EXPECT_EQ(table.PurgeTable(&visitor), 1);
    EXPECT_EQ(visitor.keys, (Keys{0x31, 0x01, 0x02}));
    EXPECT_EQ(table.ids(1), Ids{1});
    expect_no_handle_left_over();
}

TEST_F(HashTableWalk, PurgeOfATableThatIsClearedUnderIt)
{
    for (bool keep : {false, true})
    {
        fill({0x01, 0x11, 0x02});
        visitor = VisitorProbe(
            [&, keep](unsigned long, CPObjectMemory&)
            {
                table.ClearTable();
                return keep;
            });
        EXPECT_EQ(table.PurgeTable(&visitor), 1);
        EXPECT_EQ(visitor.keys, (Keys{0x11, 0x01, 0x02}));
        EXPECT_FALSE(table.cpIndex); // nothing is written back
        EXPECT_EQ(ProbeItem::live(), 0);
    }
}

// What is rejected is taken out of the block that the walk began with. That one is not written back, so the block that
// took its place keeps all; only a walk that leaves nothing frees the slot, and with it what was added meanwhile.
TEST_F(HashTableWalk, PurgeAndDisposeOfABucketThatMovesWorkOnItsOldBlock)
{
    Keys const full{0x00, 0x10, 0x20, 0x30, 0x40, 0x50, 0x60, 0x70, 0x80, 0x90, 0xA0, 0xB0, 0xC0, 0xD0, 0xE0, 0xF0};
    Ids const backwards{16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1};
    auto const refill = [&]
    {
        table.ClearTable();
        fill(full);
        visitor.ids.clear();
    };
    auto const add_once = [&](CPObjectMemory const& item)
    {
        if (id_of(item) == 16)
            table.AddItem(0x1000, make_item(50), eHashKeepEqual);
    };
    for (int last_kept : {8, 0})
    {
        refill();
        visitor.answer = [&](unsigned long, CPObjectMemory& item)
        {
            add_once(item);
            return id_of(item) <= last_kept;
        };
        EXPECT_EQ(table.PurgeTable(&visitor), 1);
        EXPECT_EQ(visitor.ids, backwards);
        EXPECT_EQ(table.GetNItems(), last_kept == 0 ? 0U : 17U);
        EXPECT_EQ(static_cast<bool>(table.bucket(0)), last_kept != 0);
        expect_no_handle_left_over();

        refill();
        table.on_disposable = [&](CPObjectMemory const& item)
        {
            add_once(item);
            return id_of(item) > last_kept;
        };
        EXPECT_EQ(table.DisposeTable(no_limit), 1);
        EXPECT_EQ(table.GetNItems(), last_kept == 0 ? 0U : 17U);
        EXPECT_EQ(static_cast<bool>(table.bucket(0)), last_kept != 0);
        expect_no_handle_left_over();
        table.on_disposable = nullptr;
    }
    EXPECT_EQ(ProbeItem::live(), 0);
}

TEST_F(HashTableWalk, DisposeAsksFromTheLastToTheFirstAndFinalizesWhatGoes)
{
    fill({0x01, 0x11, 0x21, 0x02, 0x03});
    table.on_disposable = [&](CPObjectMemory const& item)
    {
        EXPECT_EQ(item.lockcnt(), 1U);
        EXPECT_EQ(table.cpIndex.lockcnt(), 2U);
        return id_of(item) != 2 && id_of(item) != 5;
    };
    table.on_finalize = [&](CPObjectMemory const& item) { EXPECT_EQ(item.lockcnt(), 1U); };
    EXPECT_EQ(table.DisposeTable(no_limit), 1);
    EXPECT_EQ(table.take_events(), (Events{"disposable 3", "finalize 3", "disposable 2", "disposable 1", "finalize 1",
                                           "disposable 4", "finalize 4", "disposable 5"}));
    EXPECT_EQ(table.ids(1), Ids{2});
    EXPECT_FALSE(table.bucket(2));
    EXPECT_EQ(table.ids(3), Ids{5});
    EXPECT_EQ(ProbeItem::live(), 2);
    expect_no_handle_left_over();
}

TEST_F(HashTableWalk, DisposeOfNothingEndsWhereItBegan)
{
    fill({1, 2, 3});
    for (unsigned long start : {0UL, 5UL, 15UL})
    {
        table.uDisposeNext = start;
        EXPECT_EQ(table.DisposeTable(no_limit), 1);
        EXPECT_EQ(table.uDisposeNext, start);
    }
    EXPECT_EQ(table.GetNItems(), 3U);
}

TEST_F(HashTableWalk, DisposeGoesRoundFromWhereTheLastCallStopped)
{
    fill({0x00, 0x05, 0x0A, 0x0F});
    table.uDisposeNext = 10;
    EXPECT_EQ(table.DisposeTable(no_limit), 1);
    EXPECT_EQ(table.take_events(), (Events{"disposable 3", "disposable 4", "disposable 1", "disposable 2"}));
}

TEST_F(HashTableWalk, DisposeGoesOnFromWhereAHookPutsIt)
{
    fill({0x03, 0x05, 0x0A});
    bool moved = false;
    table.on_disposable = [&](CPObjectMemory const&)
    {
        if (!std::exchange(moved, true))
            table.uDisposeNext = 8;
        return false;
    };
    EXPECT_EQ(table.DisposeTable(no_limit), 1);
    EXPECT_EQ(table.take_events(), (Events{"disposable 1", "disposable 3", "disposable 1"}));
    EXPECT_EQ(table.uDisposeNext, 5U) << "4 buckets before, and 12 from the ninth on";
}

TEST_F(HashTableWalk, DisposeWithoutAnIndexMovesNothing)
{
    table.uDisposeNext = 7;
    EXPECT_EQ(table.DisposeTable(0), 1);
    EXPECT_EQ(table.uDisposeNext, 7U);
}

TEST_F(HashTableWalk, LimitIsExceededOnlyByMoreTime)
{
    fill({0x00, 0x0F});
    unsigned long before = 0;
    int result = 0;
    do
    {
        before = ORVA::Core::OS::GetTimeNow();
        result = table.DisposeTable(0);
    } while (before != ORVA::Core::OS::GetTimeNow());
    EXPECT_EQ(result, 1); // no tick of the clock: a limit of 0 does the whole table
    EXPECT_EQ(table.uDisposeNext, 0U);
}

// The clock ticks once a second: one wait for it serves all that is to be seen when the time is over.
TEST_F(HashTableWalk, DisposeStopsBetweenBucketsWhenTheTimeIsOverAndGoesOnThere)
{
    fill({0x03, 0x13, 0x04, 0x02});
    TableProbe single(64);
    single.AddItem(0, make_item(100), eHashKeepEqual);
    single.on_disposable = [](CPObjectMemory const&)
    {
        unsigned long const start = ORVA::Core::OS::GetTimeNow();
        while (ORVA::Core::OS::GetTimeNow() == start)
        {
        }
        return true;
    };
    int single_result = -1;
    table.on_disposable = [&](CPObjectMemory const& item)
    {
        if (id_of(item) == 2)
        {
            single_result = single.DisposeTable(0);
            table.ClearTable(); // the index is written back in this case too
        }
        return true;
    };
    table.uDisposeNext = 3;
    EXPECT_EQ(table.DisposeTable(0), 0);
    EXPECT_EQ(single_result, 0); // over after the last bucket is over all the same
    EXPECT_EQ(single.uDisposeNext, 0U);
    EXPECT_EQ(single.GetNItems(), 0U);

    EXPECT_EQ(table.take_events(), (Events{"disposable 2", "finalize 2", "disposable 1", "finalize 1"}));
    EXPECT_EQ(table.uDisposeNext, 4U);
    EXPECT_FALSE(table.bucket(3)); // never half done
    EXPECT_EQ(table.GetNItems(), 2U);
    expect_no_handle_left_over();

    table.on_disposable = [](CPObjectMemory const&) { return false; };
    EXPECT_EQ(table.DisposeTable(no_limit), 1);
    EXPECT_EQ(table.take_events(), (Events{"disposable 3", "disposable 4"}));
    EXPECT_EQ(table.uDisposeNext, 4U);
}

} // namespace
