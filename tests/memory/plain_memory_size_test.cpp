// The used size and the capacity of plain blocks.
#include "ORVA/Buffers/PlainMemory.h"
#include "support/AllocationFailure.h"
#include "support/BlockProbe.h"
#include "support/LogRecorder.h"
#include "support/PlainMemoryFixture.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <stdexcept>
#include <string>

namespace
{

using namespace support;
using ORVA::Buffers::CPPlainMemory;

tagCPOVTABL const* const plain = &CPPlainMemory::_vtbl;

class PlainMemorySize : public PlainMemoryFixture
{
};

TEST_F(PlainMemorySize, resize_to_the_same_size_does_nothing)
{
    CPPlainMemory handle = filled(8);
    header_of(handle)->pVTbl = nullptr; // would be reported if it were looked at
    EXPECT_EQ(handle._Resize(8, nullptr), 1);
    header_of(handle)->pVTbl = plain;
    CPPlainMemory empty;
    EXPECT_EQ(empty._Resize(0, nullptr), 1);
    EXPECT_EQ(empty.Resize(0), 1);
    EXPECT_FALSE(empty);
}

TEST_F(PlainMemorySize, resize_below_the_size_keeps_the_block_and_its_capacity)
{
    CPPlainMemory handle = filled(8);
    void const* const bytes = handle.get_cptr();
    EXPECT_EQ(handle.Resize(3), 1);
    EXPECT_EQ(text(handle), "abc");
    EXPECT_EQ(handle.GetAllocSize(), 8U);
    EXPECT_EQ(handle.get_cptr(), bytes);
    EXPECT_EQ(handle.Resize(0), 1);
    EXPECT_TRUE(handle) << "a size of 0 keeps the block";
    EXPECT_EQ(handle.GetSize(), 0U);
    EXPECT_EQ(handle._Resize(8, nullptr), 1) << "within the capacity no type is needed";
    EXPECT_EQ(text(handle), "abcdefgh");
    EXPECT_EQ(handle.get_cptr(), bytes);
}

TEST_F(PlainMemorySize, resize_within_the_capacity_writes_into_a_shared_block)
{
    CPPlainMemory handle = filled(8);
    CPObjectMemory const other(handle);
    EXPECT_EQ(handle.Resize(5), 1);
    EXPECT_EQ(other.GetSize(), 5U);
    EXPECT_TRUE(handle == other);
}

TEST_F(PlainMemorySize, resize_beyond_the_capacity_moves_to_a_new_block)
{
    CPPlainMemory handle = filled(8);
    CPObjectMemory const other(handle);
    EXPECT_EQ(handle.Resize(9), 1);
    EXPECT_FALSE(handle == other);
    EXPECT_EQ(text(handle).substr(0, 8), "abcdefgh");
    EXPECT_EQ(handle.GetSize(), 9U);
    EXPECT_EQ(handle.GetAllocSize(), 9U);
    EXPECT_EQ(handle.lockcnt(), 1U);
    EXPECT_TRUE(handle.IsType(plain));
    EXPECT_EQ(other.lockcnt(), 1U);
    EXPECT_EQ(text(other), "abcdefgh") << "other handles stay on the old block";
}

TEST_F(PlainMemorySize, resize_of_an_empty_handle_makes_a_plain_block)
{
    CPPlainMemory handle;
    EXPECT_EQ(handle.Resize(8), 1);
    EXPECT_TRUE(handle.IsType(plain));
    EXPECT_EQ(handle.GetSize(), 8U);
    EXPECT_EQ(handle.GetAllocSize(), 8U);
}

TEST_F(PlainMemorySize, resize_keeps_the_type_of_the_block_and_copies_by_bytes)
{
    CPPlainMemory handle;
    ASSERT_EQ(handle._Alloc(4, &BlockProbe::table), 1);
    std::memcpy(handle.get_ptr(), "wxyz", 4);
    EXPECT_EQ(handle.Resize(10), 1);
    EXPECT_TRUE(handle.IsType(&BlockProbe::table));
    EXPECT_EQ(text(handle).substr(0, 4), "wxyz");
    EXPECT_EQ(BlockProbe::take(), Calls{"finalize 4"}) << "no clone, and the old block released";
    EXPECT_EQ(handle._Resize(20, &BlockProbe::other_table), 1);
    EXPECT_TRUE(handle.IsType(&BlockProbe::other_table)) << "a block that grows takes the type given";
}

TEST_F(PlainMemorySize, resize_cannot_grow_without_a_table_or_memory)
{
    CPPlainMemory handle = filled(8);
    CPPlainMemory empty;
    EXPECT_EQ(handle._Resize(9, nullptr), 0);
    EXPECT_EQ(empty._Resize(9, nullptr), 0);
    EXPECT_EQ(handle.Resize(ULONG_MAX - 4), 0) << "wraps with the header";
    {
        AllocationFailure const failure(1, AllocationFailure::forever);
        EXPECT_EQ(handle.Resize(9), 0);
        EXPECT_EQ(empty.Resize(9), 0);
        EXPECT_EQ(failure.failures(), 2U);
    }
    EXPECT_FALSE(empty);
    EXPECT_EQ(text(handle), "abcdefgh");
    EXPECT_EQ(handle.lockcnt(), 1U);
}

TEST_F(PlainMemorySize, resize_reports_a_static_block_and_one_without_a_type)
{
    StaticBlock<8> block(plain, 8);
    Adopted const original(&block.header);
    CPPlainMemory on_static(original);
    EXPECT_EQ(on_static.Resize(4), 1);
    EXPECT_EQ(block.header.uSize, 4U);
    EXPECT_EQ(recorder.take(), LogMessages{failed_condition("m_pMH->lRefCnt>0")});
    EXPECT_EQ(on_static.Resize(9), 1) << "growing leaves the static block";
    EXPECT_EQ(on_static.lockcnt(), 1U);
    EXPECT_EQ(block.header.lRefCnt, 0U);

    CPPlainMemory handle = filled(8);
    header_of(handle)->pVTbl = nullptr;
    EXPECT_EQ(handle.Resize(4), 1);
    EXPECT_EQ(handle.GetSize(), 4U);
    EXPECT_EQ(recorder.take(), LogMessages{failed_condition("m_pMH->pVTbl")});
    header_of(handle)->pVTbl = plain;
}

TEST_F(PlainMemorySize, reserve_makes_room_and_leaves_the_used_size)
{
    CPPlainMemory handle = filled(8);
    CPObjectMemory const other(handle);
    EXPECT_EQ(handle._Reserve(20, plain), 1);
    EXPECT_FALSE(handle == other);
    EXPECT_EQ(text(handle), "abcdefgh");
    EXPECT_EQ(handle.GetAllocSize(), 20U);
    EXPECT_EQ(handle.lockcnt(), 1U);
    EXPECT_EQ(text(other), "abcdefgh");
    EXPECT_EQ(other.lockcnt(), 1U);
}

TEST_F(PlainMemorySize, reserve_up_to_the_used_size_does_nothing)
{
    CPPlainMemory handle = filled(8);
    void const* const bytes = handle.get_cptr();
    EXPECT_EQ(handle._Reserve(8, nullptr), 1);
    EXPECT_EQ(handle._Reserve(0, nullptr), 1);
    EXPECT_EQ(handle.get_cptr(), bytes);
    CPPlainMemory empty;
    EXPECT_EQ(empty._Reserve(0, nullptr), 1);
    EXPECT_FALSE(empty);
    CPPlainMemory unused = filled(8);
    ASSERT_EQ(unused.SetSize(0), 1);
    EXPECT_EQ(unused._Reserve(0, nullptr), 1);
    EXPECT_TRUE(unused);
}

TEST_F(PlainMemorySize, reserve_looks_at_the_used_size_and_not_at_the_capacity)
{
    CPPlainMemory handle = filled(100);
    ASSERT_EQ(handle.SetSize(8), 1);
    AllocationFailure const count(0);
    EXPECT_EQ(handle._Reserve(20, plain), 1);
    EXPECT_EQ(count.attempts(), 1U) << "allocates anew although the capacity would do";
    EXPECT_EQ(handle.GetAllocSize(), 20U);
    EXPECT_EQ(text(handle), "abcdefgh");

    ASSERT_EQ(handle.SetSize(0), 1);
    EXPECT_EQ(handle._Reserve(10, plain), 1);
    EXPECT_EQ(count.attempts(), 2U);
    EXPECT_EQ(handle.GetAllocSize(), 10U);
    EXPECT_EQ(handle.GetSize(), 0U);
}

TEST_F(PlainMemorySize, reserve_on_an_empty_handle_makes_a_block_with_nothing_in_use)
{
    CPPlainMemory handle;
    EXPECT_EQ(handle._Reserve(20, &BlockProbe::table), 1);
    EXPECT_TRUE(handle.IsType(&BlockProbe::table));
    EXPECT_EQ(handle.GetSize(), 0U);
    EXPECT_EQ(handle.GetAllocSize(), 20U);
    EXPECT_EQ(handle.lockcnt(), 1U);
}

TEST_F(PlainMemorySize, reserve_with_bytes_in_use_keeps_them_when_it_fails)
{
    CPPlainMemory handle = filled(8);
    EXPECT_EQ(handle._Reserve(20, nullptr), 0);
    EXPECT_EQ(handle._Reserve(ULONG_MAX, plain), 0);
    {
        AllocationFailure const failure(1);
        EXPECT_EQ(handle._Reserve(20, plain), 0);
        EXPECT_EQ(failure.failures(), 1U);
    }
    EXPECT_EQ(text(handle), "abcdefgh");
    EXPECT_EQ(handle.GetAllocSize(), 8U);
}

TEST_F(PlainMemorySize, reserve_with_nothing_in_use_loses_the_block_when_it_fails)
{
    CPPlainMemory handle = filled(8);
    ASSERT_EQ(handle.SetSize(0), 1);
    EXPECT_EQ(handle._Reserve(20, nullptr), 0);
    EXPECT_FALSE(handle);
    EXPECT_EQ(handle._Reserve(20, nullptr), 0);

    handle = filled(8);
    ASSERT_EQ(handle.SetSize(0), 1);
    AllocationFailure const failure(1);
    EXPECT_EQ(handle._Reserve(20, plain), 0);
    EXPECT_FALSE(handle);
}

TEST_F(PlainMemorySize, reserve_takes_the_type_given_and_copies_by_bytes)
{
    CPPlainMemory handle;
    ASSERT_EQ(handle._Alloc(4, &BlockProbe::table), 1);
    std::memcpy(handle.get_ptr(), "wxyz", 4);
    EXPECT_EQ(handle._Reserve(10, &BlockProbe::other_table), 1);
    EXPECT_TRUE(handle.IsType(&BlockProbe::other_table));
    EXPECT_EQ(text(handle), "wxyz");
    EXPECT_EQ(BlockProbe::take(), Calls{"finalize 4"});
}

// The finaliser of the old block throws while the new one takes its place.
TEST_F(PlainMemorySize, a_finaliser_that_throws_does_not_stop_the_growth)
{
    CPPlainMemory handle;
    ASSERT_EQ(handle._Alloc(4, &BlockProbe::table), 1);
    std::memcpy(handle.get_ptr(), "wxyz", 4);
    BlockProbe::records().on_finalize = [] { throw std::runtime_error("finaliser"); };
    EXPECT_EQ(handle._Reserve(10, &BlockProbe::table), 1);
    EXPECT_EQ(recorder.take(), LogMessages{illegal_point("CPObjectMemory::Free exception")});
    EXPECT_EQ(text(handle), "wxyz");
    BlockProbe::records().on_finalize = nullptr;
}

} // namespace
