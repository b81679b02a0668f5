#include "ORVA/Lookup.h"

#include "support/AllocationFailure.h"
#include "support/TableProbe.h"

#include <gtest/gtest.h>

namespace
{

using namespace ORVA::Lookup;
using support::CPObjectMemory;
using support::make_item;
using support::TableProbe;

class HashTableAllocation : public ::testing::Test
{
protected:
    support::NoItemLeft check;
};

TEST_F(HashTableAllocation, IndexThatCannotBeAddressedFailsAsAnExhaustedHeapDoes)
{
    for (unsigned int length : {61U, 62U, 63U})
    {
        support::AllocationFailure const count(0);
        TableProbe table(length);
        CPObjectMemory const item = make_item(1);
        unsigned long const before = count.attempts();
        EXPECT_FALSE(table.AddItem(1, item, eHashKeepEqual));
        EXPECT_EQ(count.attempts(), before);
        EXPECT_FALSE(table.cpIndex);
        EXPECT_EQ(item.lockcnt(), 1U);
        EXPECT_EQ(table.GetNItems(), 0U);
        EXPECT_FALSE(table.FindItem(1, item));
    }
}

TEST_F(HashTableAllocation, EveryFailedAllocationLeavesTheTableAsItWas)
{
    struct Row
    {
        unsigned long present;     // entries of the bucket
        unsigned long allocations; // of one more: the index and its first bucket, none, or a larger bucket
    };
    for (Row const row : {Row{0, 2}, Row{1, 0}, Row{15, 0}, Row{16, 1}, Row{17, 0}, Row{32, 1}})
    {
        CPObjectMemory const item = make_item(1);
        unsigned long nth = 0;
        bool failed = true;
        while (failed)
        {
            TableProbe table(4);
            for (unsigned long n = 0; n < row.present; ++n)
                table.AddItem(n << 4, item, eHashKeepEqual);
            support::AllocationFailure const failure(++nth);
            CPObjectMemory const added = table.AddItem(row.present << 4, item, eHashKeepEqual);
            failed = failure.failures() != 0;
            EXPECT_EQ(static_cast<bool>(added), !failed);
            EXPECT_EQ(table.GetNItems(), row.present + (failed ? 0 : 1));
            EXPECT_EQ(static_cast<bool>(table.cpIndex), !failed || row.present != 0);
            EXPECT_EQ(item.lockcnt(), 1 + table.GetNItems() + (failed ? 0 : 1));
        }
        EXPECT_EQ(nth - 1, row.allocations) << row.present;
    }
}

TEST_F(HashTableAllocation, FailedGrowthKeepsTheBucket)
{
    for (unsigned long present : {16UL, 32UL, 64UL})
    {
        CPObjectMemory const item = make_item(1);
        TableProbe table(4);
        for (unsigned long n = 0; n < present; ++n)
            table.AddItem(n << 4, item, eHashKeepEqual);
        void const* const block = table.bucket(0).get_cptr();
        {
            support::AllocationFailure const failure(1);
            EXPECT_FALSE(table.AddItem(0x1008, item, eHashKeepEqual)); // no block for bucket 8
            EXPECT_EQ(failure.failures(), 1U);
        }
        {
            support::AllocationFailure const failure(1);
            EXPECT_FALSE(table.AddItem(present << 4, item, eHashKeepEqual));
            EXPECT_EQ(failure.failures(), 1U);
        }
        EXPECT_FALSE(table.bucket(8));
        EXPECT_EQ(table.bucket(0).get_cptr(), block);
        EXPECT_EQ(table.bucket(0).GetCount(), present);
        EXPECT_EQ(table.bucket(0).lockcnt(), 1U);
        EXPECT_EQ(table.cpIndex.lockcnt(), 1U);
        EXPECT_EQ(item.lockcnt(), present + 1);
        EXPECT_TRUE(table.AddItem(present << 4, item, eHashKeepEqual));
        EXPECT_EQ(table.GetNItems(), present + 1);
    }
}

TEST_F(HashTableAllocation, FailedFirstBucketLeavesNoIndex)
{
    CPObjectMemory const item = make_item(1);
    TableProbe table(4);
    {
        support::AllocationFailure const failure(2);
        EXPECT_FALSE(table.AddItem(1, item, eHashKeepEqual));
        EXPECT_EQ(failure.attempts(), 2U);
        EXPECT_EQ(failure.last_size(), 16 * 16U + 32U);
    }
    EXPECT_FALSE(table.cpIndex);
    support::VisitorProbe visitor;
    EXPECT_EQ(table.EnumTableBy(&visitor, 0, false), 0);
    EXPECT_EQ(item.lockcnt(), 1U);
}

} // namespace
