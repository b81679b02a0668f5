#include "ORVA/Lookup.h"

#include "support/AllocationFailure.h"
#include "support/LogRecorder.h"
#include "support/TableProbe.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstring>
#include <type_traits>

namespace
{

using namespace ORVA::Lookup;
using ORVA::Buffers::CPObjectVector;
using support::CPObjectMemory;
using support::Events;
using support::id_of;
using support::make_item;
using support::ProbeItem;
using support::TableProbe;

using HASHENTRY = CBaseHashTable::HASHENTRY;
using Ids = std::vector<int>;

constexpr char length_text[] = "(uDirectIndexLength >= 4) && (uDirectIndexLength <= sizeof(size_t)*8)";

// The first word of a pointer to a virtual member function is its place in the table of functions, in bytes, plus 1,
// in the C++ ABI of x86-64.
template <class Member>
unsigned long virtual_slot(Member member)
{
    unsigned long word = 0;
    std::memcpy(&word, &member, sizeof word);
    return (word - 1) / sizeof(void*);
}

class HashTable : public ::testing::Test
{
protected:
    support::NoItemLeft check;
};

TEST_F(HashTable, EntryIsAKeyAndAHandle)
{
    EXPECT_EQ(sizeof(HASHENTRY), 16U);
    EXPECT_EQ(offsetof(HASHENTRY, uKey), 0U);
    EXPECT_EQ(offsetof(HASHENTRY, cpItem), 8U);
    EXPECT_TRUE((std::is_same_v<decltype(HASHENTRY::uKey), unsigned long>));
}

TEST_F(HashTable, FieldsStandInOrderBehindTheTableOfFunctions)
{
    TableProbe table(4);
    CBaseHashTable& base = table;
    auto const offset = [&](void const* field)
    { return static_cast<char const*>(field) - reinterpret_cast<char const*>(&base); };
    EXPECT_EQ(offset(&table.uMask), 8);
    EXPECT_EQ(offset(&table.uBuckets), 16);
    EXPECT_EQ(offset(&table.uDisposeNext), 24);
    EXPECT_EQ(offset(&table.cpIndex), 32);
    EXPECT_EQ(sizeof(CBaseHashTable), 40U);
}

#if defined(__x86_64__)
TEST_F(HashTable, VirtualOperationsStandInOrder)
{
    // The destructor has the first two places.
    EXPECT_EQ(virtual_slot(&CBaseHashTable::compare), 2U);
    EXPECT_EQ(virtual_slot(&CBaseHashTable::isDisposable), 3U);
    EXPECT_EQ(virtual_slot(&CBaseHashTable::tblfinalize), 4U);
    EXPECT_EQ(virtual_slot(&IBaseHashTableEnum::EnumEntry), 0U);
    EXPECT_EQ(virtual_slot(&IHashKey<int>::hash), 0U);
}
#endif

TEST_F(HashTable, CollisionModesHaveTheirValues)
{
    EXPECT_EQ(eHashKeepEqual, 0U);
    EXPECT_EQ(eHashReplaceEqual, 1U);
    EXPECT_EQ(eHashKeepKey, 2U);
    EXPECT_EQ(eHashReplaceKey, 3U);
    EXPECT_TRUE((std::is_same_v<std::underlying_type_t<eHashCollision>, unsigned int>));
}

TEST_F(HashTable, BaseHooksDisposeOfNothing)
{
    TableProbe table(4);
    CPObjectMemory const item = make_item(1);
    EXPECT_FALSE(table.CBaseHashTable::isDisposable(item));
    table.CBaseHashTable::tblfinalize(item);
    EXPECT_EQ(item.lockcnt(), 1U);
}

TEST_F(HashTable, LengthGivesBucketsAndMask)
{
    support::LogRecorder log;
    for (unsigned int length : {4U, 5U, 10U, 12U, 32U, 63U})
    {
        TableProbe const table(length);
        EXPECT_EQ(table.uBuckets, 1UL << length);
        EXPECT_EQ(table.uMask, (1UL << length) - 1);
        EXPECT_EQ(table.uDisposeNext, 0U);
        EXPECT_FALSE(table.cpIndex);
    }
    EXPECT_EQ(log.count(), 0U);
}

TEST_F(HashTable, Length64IsOneBucketWithoutAReport)
{
    support::LogRecorder log;
    TableProbe table(64);
    EXPECT_EQ(table.uBuckets, 1U);
    EXPECT_EQ(table.uMask, 0U);
    EXPECT_EQ(log.count(), 0U);

    for (unsigned long key : {ULONG_MAX, 0UL, 77UL, 1UL << 63})
        EXPECT_TRUE(table.AddItem(key, make_item(static_cast<int>(key & 0xFF) + 1), eHashKeepEqual));
    EXPECT_EQ(table.ids(0), (Ids{1, 78, 1, 256}));
    EXPECT_EQ(table.cpIndex.GetSize(), 8U);
    EXPECT_EQ(id_of(table.FindItem(77, CPObjectMemory::pnull)), 78);
    EXPECT_EQ(table.DisposeTable(0xFFFFFFFF), 1);
    EXPECT_EQ(table.uDisposeNext, 0U);
    EXPECT_EQ(table.DeleteIndex(12345), 1);
    EXPECT_EQ(table.GetNItems(), 0U);
}

TEST_F(HashTable, LengthOutOfRangeIsReportedAndUsedAllTheSame)
{
    struct Row
    {
        unsigned int length;
        unsigned long buckets;
    };
    for (Row const row : {Row{3, 8}, Row{65, 2}, Row{0, 1}, Row{1, 2}, Row{128, 1}, Row{0xFFFFFFFF, 1UL << 63}})
    {
        support::LogRecorder log;
        TableProbe const table(row.length);
        EXPECT_EQ(log.take(), support::LogMessages{support::failed_condition(length_text)}) << row.length;
        EXPECT_EQ(table.uBuckets, row.buckets);
        EXPECT_EQ(table.uMask, row.buckets - 1);
    }
    TableProbe table(3);
    EXPECT_TRUE(table.AddItem(0xFF, make_item(5), eHashKeepEqual));
    EXPECT_EQ(table.ids(7), Ids{5});
    EXPECT_EQ(table.cpIndex.GetSize(), 64U);
}

TEST_F(HashTable, NothingIsAllocatedBeforeTheFirstItem)
{
    support::AllocationFailure const count(0);
    TableProbe table(12);
    support::VisitorProbe visitor;
    EXPECT_EQ(table.GetNItems(), 0U);
    EXPECT_FALSE(table.FindItem(1, CPObjectMemory::pnull));
    EXPECT_EQ(table.DeleteItem(1, CPObjectMemory::pnull), 1);
    EXPECT_EQ(table.DeleteIndex(1), 1);
    EXPECT_EQ(table.EnumTableBy(&visitor, 0, false), 0);
    EXPECT_EQ(table.EnumTableBy(&visitor, 0, true), 0);
    EXPECT_EQ(table.PurgeTable(&visitor), 1);
    EXPECT_EQ(table.DisposeTable(0), 1);
    EXPECT_FALSE(table.AddItem(1, CPObjectMemory::pnull, eHashKeepEqual));
    table.ClearTable();
    EXPECT_FALSE(table.cpIndex);
    EXPECT_EQ(count.attempts(), 0U);
}

TEST_F(HashTable, EmptyItemIsNotAdded)
{
    TableProbe table(4);
    for (unsigned int mode : {0U, 1U, 2U, 3U, 4U, 77U})
        EXPECT_FALSE(table.AddItem(1, CPObjectMemory(), static_cast<eHashCollision>(mode)));
    EXPECT_FALSE(table.cpIndex);

    table.AddItem(1, make_item(1), eHashKeepEqual);
    table.take_events();
    for (unsigned int mode : {0U, 1U, 2U, 3U, 4U, 77U})
        EXPECT_FALSE(table.AddItem(1, CPObjectMemory(), static_cast<eHashCollision>(mode)));
    EXPECT_EQ(table.ids(1), Ids{1});
    EXPECT_EQ(table.take_events(), Events{});
}

TEST_F(HashTable, FirstItemMakesIndexAndBucket)
{
    TableProbe table(10);
    CPObjectMemory const item = make_item(1);
    {
        CPObjectMemory const added = table.AddItem(0x12345, item, eHashKeepEqual);
        EXPECT_EQ(added, item);
        EXPECT_EQ(item.lockcnt(), 3U); // the caller's, the table's, the result
    }
    EXPECT_EQ(item.lockcnt(), 2U);

    EXPECT_TRUE(table.cpIndex.IsType(&CPObjectVector<CPObjectVector<HASHENTRY>>::_vtbl));
    EXPECT_EQ(table.cpIndex.GetSize(), 1024 * sizeof(void*));
    EXPECT_EQ(table.cpIndex.GetAllocSize(), 1024 * sizeof(void*));
    EXPECT_EQ(table.cpIndex.lockcnt(), 1U);
    for (unsigned long number = 0; number < 1024; ++number)
        EXPECT_EQ(static_cast<bool>(table.bucket(number)), number == 0x345);
    CPObjectMemory const& bucket = table.bucket(0x345);
    EXPECT_TRUE(bucket.IsType(&CPObjectVector<HASHENTRY>::_vtbl));
    EXPECT_EQ(bucket.GetSize(), 16U);
    EXPECT_EQ(bucket.GetAllocSize(), 16 * 16U);
    EXPECT_EQ(bucket.lockcnt(), 1U);
    EXPECT_EQ(table.bucket(0x345)[0].uKey, 0x12345U);
    EXPECT_EQ(table.bucket(0x345)[0].cpItem, item);
    EXPECT_EQ(table.GetNItems(), 1U);
}

TEST_F(HashTable, BucketGrowsBySixteenEntries)
{
    TableProbe table(4);
    for (int id = 1; id <= 16; ++id)
        table.AddItem(static_cast<unsigned long>(id) << 4, make_item(id), eHashKeepEqual);
    CPObjectVector<HASHENTRY> old = table.bucket(0);
    EXPECT_EQ(old.GetAllocSize(), 16 * 16U);

    table.AddItem(17 << 4, make_item(17), eHashKeepEqual);
    EXPECT_NE(table.bucket(0), old);
    EXPECT_EQ(table.bucket(0).GetCount(), 17U);
    EXPECT_EQ(table.bucket(0).GetAllocSize(), 32 * 16U);
    EXPECT_EQ(table.bucket(0).lockcnt(), 1U);
    // Whoever holds the old block goes on seeing what was in it.
    EXPECT_EQ(old.GetCount(), 16U);
    EXPECT_EQ(old.lockcnt(), 1U);
    for (unsigned long position = 0; position < 16; ++position)
    {
        EXPECT_EQ(old[position].cpItem, table.bucket(0)[position].cpItem);
        EXPECT_EQ(old[position].cpItem.lockcnt(), 2U);
    }
    EXPECT_EQ(table.bucket(0)[16].cpItem.lockcnt(), 1U);
}

TEST_F(HashTable, BucketThatNobodyElseHoldsGrowsWithoutTouchingItsItems)
{
    TableProbe table(4);
    for (int id = 1; id <= 40; ++id)
        table.AddItem(static_cast<unsigned long>(41 - id) << 4, make_item(id), eHashKeepEqual);
    EXPECT_EQ(table.bucket(0).GetCount(), 40U);
    EXPECT_EQ(table.bucket(0).GetAllocSize(), 48 * 16U);
    EXPECT_EQ(table.bucket(0).lockcnt(), 1U);
    for (unsigned long position = 0; position < 40; ++position)
    {
        EXPECT_EQ(table.bucket(0)[position].uKey, (position + 1) << 4);
        EXPECT_EQ(id_of(table.bucket(0)[position].cpItem), 40 - static_cast<int>(position));
        EXPECT_EQ(table.bucket(0)[position].cpItem.lockcnt(), 1U);
    }
}

TEST_F(HashTable, BucketIsTheLowBitsOfTheKeyAndHoldsItInFull)
{
    TableProbe table(4);
    table.AddItem(0xF000000000000003, make_item(1), eHashKeepEqual);
    table.AddItem(0x0000000000000013, make_item(2), eHashKeepEqual);
    table.AddItem(0x7FFFFFFFFFFFFFF3, make_item(3), eHashKeepEqual);
    table.AddItem(0x0000000000000003, make_item(4), eHashKeepEqual);
    table.AddItem(0x0000000000000004, make_item(5), eHashKeepEqual);
    EXPECT_EQ(table.ids(3), (Ids{4, 2, 3, 1})); // unsigned order
    EXPECT_EQ(table.ids(4), Ids{5});
    EXPECT_EQ(table.GetNItems(), 5U);
    EXPECT_EQ(table.take_events(), Events{}); // keys that differ are all that counts
}

TEST_F(HashTable, ItemsOfOneKeyStandInTheirOrderAndAreFoundEach)
{
    TableProbe table(4);
    CPObjectMemory const items[] = {make_item(3), make_item(1), make_item(2)};
    for (CPObjectMemory const& item : items)
        EXPECT_EQ(table.AddItem(5, item, eHashKeepEqual), item);
    EXPECT_EQ(table.ids(5), (Ids{1, 2, 3}));
    for (CPObjectMemory const& item : items)
        EXPECT_EQ(table.FindItem(5, item), item);
    // Another block that compares equal finds the stored one.
    EXPECT_EQ(table.FindItem(5, make_item(99, 2)), items[2]);
    EXPECT_FALSE(table.FindItem(5, make_item(99, 4)));
    EXPECT_FALSE(table.FindItem(5, make_item(99, 0)));
}

TEST_F(HashTable, FindWithAnEmptyItemGivesTheFirstOfTheKeyWithoutComparing)
{
    TableProbe table(4);
    table.AddItem(0x15, make_item(3), eHashKeepEqual);
    table.AddItem(0x15, make_item(2), eHashKeepEqual);
    table.AddItem(0x05, make_item(9), eHashKeepEqual);
    table.AddItem(0x25, make_item(8), eHashKeepEqual);
    table.take_events();
    EXPECT_EQ(id_of(table.FindItem(0x15, CPObjectMemory())), 2);
    EXPECT_EQ(id_of(table.FindItem(0x05, CPObjectMemory())), 9);
    EXPECT_EQ(id_of(table.FindItem(0x25, CPObjectMemory())), 8);
    EXPECT_FALSE(table.FindItem(0x35, CPObjectMemory())); // the bucket, not the key
    EXPECT_FALSE(table.FindItem(0x06, CPObjectMemory())); // no bucket
    EXPECT_EQ(table.take_events(), Events{});
}

TEST_F(HashTable, FoundItemIsACountedHandle)
{
    TableProbe table(4);
    CPObjectMemory const item = make_item(1);
    table.AddItem(1, item, eHashKeepEqual);
    {
        CPObjectMemory const found = table.FindItem(1, item);
        EXPECT_EQ(item.lockcnt(), 3U);
    }
    EXPECT_EQ(item.lockcnt(), 2U);
    EXPECT_EQ(table.bucket(1).lockcnt(), 1U);
    EXPECT_EQ(table.cpIndex.lockcnt(), 1U);
}

TEST_F(HashTable, DeleteOfAnAbsentItemSucceedsAndCallsNothing)
{
    TableProbe table(4);
    EXPECT_EQ(table.DeleteItem(1, make_item(1)), 1); // no index
    table.AddItem(1, make_item(1), eHashKeepEqual);
    EXPECT_EQ(table.DeleteItem(2, make_item(1)), 1);               // no bucket
    EXPECT_EQ(table.DeleteItem(0x11, make_item(1)), 1);            // no such key
    EXPECT_EQ(table.DeleteItem(0x11, CPObjectMemory()), 1);        // no such key
    EXPECT_EQ(table.take_events(), Events{});                      //
    EXPECT_EQ(table.DeleteItem(1, make_item(2)), 1);               // no such item
    EXPECT_EQ(table.take_events().back().substr(0, 7), "compare"); // and no hook
    EXPECT_EQ(table.ids(1), Ids{1});
}

TEST_F(HashTable, DeleteOfOneItemFinalizesItWhileItStandsInTheTable)
{
    TableProbe table(4);
    CPObjectMemory const items[] = {make_item(1), make_item(2), make_item(3)};
    for (CPObjectMemory const& item : items)
        table.AddItem(7, item, eHashKeepEqual);
    table.take_events();
    table.on_finalize = [&](CPObjectMemory const& item)
    {
        EXPECT_EQ(item, items[1]);
        EXPECT_EQ(&item, &table.bucket(7)[1].cpItem); // the stored handle itself
        EXPECT_EQ(table.GetNItems(), 3U);
        EXPECT_EQ(table.bucket(7).lockcnt(), 2U);
        EXPECT_EQ(table.cpIndex.lockcnt(), 2U);
    };
    EXPECT_EQ(table.DeleteItem(7, items[1]), 1);
    EXPECT_EQ(table.take_events().back(), "finalize 2");
    EXPECT_EQ(table.ids(7), (Ids{1, 3}));
    EXPECT_EQ(items[1].lockcnt(), 1U);
    EXPECT_EQ(table.bucket(7).lockcnt(), 1U);
    EXPECT_EQ(table.cpIndex.lockcnt(), 1U);
}

TEST_F(HashTable, DeleteByKeyRemovesAllOfItWithoutTheHook)
{
    TableProbe table(4);
    for (int id : {1, 2, 3})
        table.AddItem(0x17, make_item(id), eHashKeepEqual);
    table.AddItem(0x07, make_item(10), eHashKeepEqual);
    table.AddItem(0x27, make_item(11), eHashKeepEqual);
    table.take_events();
    EXPECT_EQ(table.DeleteItem(0x17, CPObjectMemory()), 1);
    EXPECT_EQ(table.take_events(), Events{});
    EXPECT_EQ(table.ids(7), (Ids{10, 11}));
    EXPECT_EQ(ProbeItem::live(), 2);
    EXPECT_EQ(table.DeleteItem(0x07, CPObjectMemory()), 1);
    EXPECT_EQ(table.DeleteItem(0x27, CPObjectMemory()), 1);
    EXPECT_FALSE(table.bucket(7));
}

TEST_F(HashTable, EmptiedBucketIsFreedAndTheIndexStays)
{
    TableProbe table(4);
    CPObjectMemory const item = make_item(1);
    table.AddItem(7, item, eHashKeepEqual);
    void const* const index = table.cpIndex.get_cptr();
    EXPECT_EQ(table.DeleteItem(7, item), 1);
    EXPECT_EQ(table.GetNItems(), 0U);
    EXPECT_FALSE(table.bucket(7));
    EXPECT_EQ(table.cpIndex.get_cptr(), index);
    table.AddItem(7, item, eHashKeepEqual);
    EXPECT_EQ(table.cpIndex.get_cptr(), index);
    table.ClearTable();
    EXPECT_FALSE(table.cpIndex);
    EXPECT_EQ(item.lockcnt(), 1U);
}

TEST_F(HashTable, DeleteIndexEmptiesTheBucketWhateverTheKeys)
{
    TableProbe table(4);
    table.AddItem(0x27, make_item(3), eHashKeepEqual);
    table.AddItem(0x07, make_item(1), eHashKeepEqual);
    table.AddItem(0x17, make_item(2), eHashKeepEqual);
    table.AddItem(0x08, make_item(4), eHashKeepEqual);
    table.on_finalize = [&](CPObjectMemory const&) { EXPECT_EQ(table.GetNItems(), 4U); };
    EXPECT_EQ(table.DeleteIndex(0xFFF7), 1);
    EXPECT_EQ(table.take_events(), (Events{"finalize 1", "finalize 2", "finalize 3"}));
    EXPECT_FALSE(table.bucket(7));
    EXPECT_EQ(table.ids(8), Ids{4});
    EXPECT_EQ(ProbeItem::live(), 1);
    EXPECT_EQ(table.cpIndex.lockcnt(), 1U);
    EXPECT_EQ(table.DeleteIndex(7), 1); // an empty bucket
    EXPECT_EQ(table.take_events(), Events{});
}

TEST_F(HashTable, ClearTableAndDestructorReleaseTheItemsWithoutHooks)
{
    CPObjectMemory const item = make_item(1);
    {
        TableProbe table(4);
        for (unsigned long key = 0; key < 100; ++key)
            table.AddItem(key, key == 50 ? item : make_item(2), eHashKeepEqual);
        table.uDisposeNext = 5;
        EXPECT_EQ(ProbeItem::live(), 100);
        table.ClearTable();
        EXPECT_EQ(ProbeItem::live(), 1);
        EXPECT_EQ(item.lockcnt(), 1U);
        EXPECT_EQ(table.GetNItems(), 0U);
        EXPECT_EQ(table.uDisposeNext, 5U);
        EXPECT_EQ(table.take_events(), Events{});
        table.ClearTable();
        table.AddItem(1, item, eHashKeepEqual);
        EXPECT_EQ(item.lockcnt(), 2U);
        table.on_finalize = [](CPObjectMemory const&) { ADD_FAILURE() << "a hook of a table that is destroyed"; };
    }
    EXPECT_EQ(item.lockcnt(), 1U);
}

TEST_F(HashTable, NumberOfItemsAddsUpAllBuckets)
{
    TableProbe table(4);
    for (int id = 1; id <= 1000; ++id)
    {
        table.AddItem(static_cast<unsigned long>(id) * 7, make_item(id), eHashKeepEqual);
        ASSERT_EQ(table.GetNItems(), static_cast<unsigned long>(id));
    }
}

struct IdKey : IHashKey<support::CPObject<ProbeItem>>
{
    unsigned long hash(support::CPObject<ProbeItem> const& item) const override
    {
        return static_cast<unsigned long>(item->id) * 16;
    }
};

using KeyTable = CPOMKeyTable<support::CPObject<ProbeItem>, IdKey>;

TEST_F(HashTable, KeyTableHasTwoBasesAndComparesNothing)
{
    EXPECT_TRUE((std::is_base_of_v<CBaseHashTable, KeyTable>));
    EXPECT_TRUE((std::is_base_of_v<IdKey, KeyTable>));
    KeyTable table(4);
    EXPECT_EQ(table.compare(make_item(1), make_item(2)), 0);
    EXPECT_EQ(table.compare(CPObjectMemory(), make_item(2)), 0);
    EXPECT_EQ(table.hash(make_item(3)), 48U);
}

TEST_F(HashTable, KeyTableTakesItemsOfOneKeyForEqual)
{
    KeyTable table(10);
    CPObjectMemory const first = make_item(3, 1);
    CPObjectMemory const second = make_item(3, 2);
    EXPECT_EQ(table.AddItem(table.hash(first), first, eHashKeepKey), first);
    for (eHashCollision mode : {eHashKeepKey, eHashKeepEqual})
        EXPECT_EQ(table.AddItem(table.hash(second), second, mode), first);
    EXPECT_EQ(table.FindItem(table.hash(second), second), first);
    EXPECT_EQ(table.AddItem(table.hash(second), second, eHashReplaceEqual), second);
    EXPECT_EQ(table.GetNItems(), 1U);
    EXPECT_EQ(first.lockcnt(), 1U);
}

TEST_F(HashTable, KeyTableReportsABadLength)
{
    support::LogRecorder log;
    KeyTable const table(2);
    EXPECT_EQ(log.take(), support::LogMessages{support::failed_condition(length_text)});
}

// A handle on a block that is not counted.
class StaticItem : public CPObjectMemory
{
public:
    StaticItem()
    {
        static ORVA::Buffers::tagCPOVTABL const type = {};
        static struct
        {
            ORVA::Buffers::tagCPOMEMHEADER header = {0, sizeof(int), sizeof(int), &type};
            int payload = 0;
        } block;
        m_pMH = &block.header;
    }
};

TEST_F(HashTable, AStaticItemIsEnteredAndStaysUncounted)
{
    StaticItem const item;
    {
        KeyTable table(4);
        CPObjectMemory const entered = table.AddItem(1, item, eHashKeepKey);
        EXPECT_EQ(entered, item);
        EXPECT_EQ(table.AddItem(2, item, eHashKeepKey), item);
        EXPECT_EQ(item.lockcnt(), 0U);
        EXPECT_EQ(table.FindItem(2, CPObjectMemory()), item);
    }
    EXPECT_EQ(item.lockcnt(), 0U);
}

} // namespace
