// The hash table.
#include "ORVA/Lookup.h"
#include "faults/FaultTest.h"
#include "support/TableFixture.h"

namespace
{

using namespace ORVA::Lookup;
using faults::fail_each_allocation;
using faults::fails;
using faults::Undisturbed;
using support::CPObjectMemory;
using support::make_item;
using support::TableProbe;

/// The keys of a table of 16 buckets, all in bucket 0, with an item each.
void fill(TableProbe& table, unsigned long count)
{
    Undisturbed const pause;
    for (unsigned long index = 0; index < count; ++index)
        EXPECT_TRUE(table.AddItem(index << 4, make_item(static_cast<int>(index) + 1), eHashKeepEqual));
}

CPObjectMemory undisturbed_item(int id)
{
    Undisturbed const pause;
    return make_item(id);
}

class LookupFaults : public faults::Silent
{
protected:
    void TearDown() override
    {
        EXPECT_EQ(support::ProbeItem::live(), 0) << "items are left behind";
        Silent::TearDown();
    }
};

} // namespace

FAULT_TEST_F(LookupFaults, AnItemThatFindsNoMemoryLeavesTheTableAsItWas,
             "Lookup::CBaseHashTable::AddItem(unsigned long, Buffers::CPObjectMemory const&, eHashCollision)")
{
    struct Row
    {
        unsigned long present;     // entries of the bucket
        unsigned long allocations; // of one more: the index and its first bucket, or a larger bucket
    };
    for (Row const row : {Row{0, 2}, Row{16, 1}, Row{32, 1}})
    {
        for (eHashCollision const mode : {eHashKeepEqual, eHashReplaceEqual, eHashKeepKey, eHashReplaceKey})
        {
            EXPECT_EQ(fail_each_allocation(
                          [row, mode](unsigned long nth)
                          {
                              bool const failed = fails(nth, row.allocations);
                              CPObjectMemory const item = undisturbed_item(100);
                              TableProbe table(4);
                              fill(table, row.present);
                              CPObjectMemory const added = table.AddItem(row.present << 4, item, mode);
                              Undisturbed const pause;
                              EXPECT_EQ(added == item, !failed);
                              EXPECT_EQ(static_cast<bool>(added), !failed);
                              EXPECT_EQ(item.lockcnt(), failed ? 1U : 3U);
                              EXPECT_EQ(static_cast<bool>(table.cpIndex), !failed || row.present != 0);
                              EXPECT_EQ(table.GetNItems(), row.present + (failed ? 0 : 1));

                              EXPECT_TRUE(table.AddItem(row.present << 4, item, mode) == item);
                              EXPECT_EQ(table.GetNItems(), row.present + 1);
                              EXPECT_EQ(table.cpIndex.lockcnt(), 1U);
                              EXPECT_EQ(table.bucket(0).lockcnt(), 1U);
                              for (unsigned long index = 0; index <= row.present; ++index)
                                  EXPECT_TRUE(table.FindItem(index << 4, CPObjectMemory::pnull)) << index;
                          }),
                      row.allocations);
        }
    }
}

// Another handle on the bucket's block, such as an enumeration has, keeps the entries that it saw.
FAULT_TEST_F(LookupFaults, ASharedBucketThatCannotGrowStaysShared,
             "Lookup::CBaseHashTable::AddItem(unsigned long, Buffers::CPObjectMemory const&, eHashCollision)")
{
    EXPECT_EQ(fail_each_allocation(
                  [](unsigned long nth)
                  {
                      CPObjectMemory const item = undisturbed_item(100);
                      TableProbe table(4);
                      fill(table, 16);
                      CPObjectMemory const other = table.bucket(0);
                      EXPECT_EQ(static_cast<bool>(table.AddItem(16 << 4, item, eHashKeepEqual)), !fails(nth));
                      Undisturbed const pause;
                      EXPECT_EQ(table.bucket(0) == other, fails(nth));
                      EXPECT_EQ(table.GetNItems(), fails(nth) ? 16UL : 17UL);
                      EXPECT_TRUE(table.AddItem(16 << 4, item, eHashKeepEqual) == item);
                      EXPECT_EQ(table.GetNItems(), 17UL);
                      EXPECT_EQ(other.GetSize(), 16 * sizeof(TableProbe::HASHENTRY));
                  }),
              1UL);
}
