// Making blocks, their capacity and their used size.
#include "ORVA/Buffers/ObjectMemory.h"
#include "ORVA/Develop/Log.h"
#include "support/AllocationFailure.h"
#include "support/BlockProbe.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <climits>
#include <stdexcept>

namespace
{

using namespace support;

class ObjectMemoryAlloc : public testing::Test
{
protected:
    void SetUp() override { BlockProbe::reset(); }
    void TearDown() override
    {
        EXPECT_EQ(recorder.take(), LogMessages()) << "a report that the test does not state";
        BlockProbe::reset();
    }
    LogRecorder recorder;
    CPObjectMemory handle;
};

TEST_F(ObjectMemoryAlloc, alloc_makes_a_block_that_is_all_in_use_and_raw)
{
    EXPECT_EQ(handle.Alloc(24, &BlockProbe::table), 1);
    EXPECT_EQ(handle.GetSize(), 24U);
    EXPECT_EQ(handle.GetAllocSize(), 24U);
    EXPECT_EQ(handle.lockcnt(), 1U);
    EXPECT_TRUE(handle.IsType(&BlockProbe::table));
    EXPECT_EQ(BlockProbe::take(), Calls()) << "the payload is not constructed";
}

TEST_F(ObjectMemoryAlloc, reserve_makes_a_block_with_nothing_in_use)
{
    EXPECT_EQ(handle.Reserve(24, &BlockProbe::table), 1);
    EXPECT_EQ(handle.GetSize(), 0U);
    EXPECT_EQ(handle.GetAllocSize(), 24U);
    EXPECT_EQ(handle.lockcnt(), 1U);
    EXPECT_TRUE(handle.IsType(&BlockProbe::table));
    handle.free();
    EXPECT_EQ(BlockProbe::take(), Calls{"finalize 0"});
}

TEST_F(ObjectMemoryAlloc, one_allocation_holds_header_and_payload)
{
    AllocationFailure const count(0);
    ASSERT_EQ(handle.Alloc(24, &BlockProbe::table), 1);
    EXPECT_EQ(count.attempts(), 1U);
    EXPECT_EQ(count.last_size(), 24U + 32U);
    ASSERT_EQ(handle.Reserve(100, &BlockProbe::table), 1);
    EXPECT_EQ(count.attempts(), 2U);
    EXPECT_EQ(count.last_size(), 100U + 32U);
    ASSERT_EQ(handle.Incalloc(5), 1);
    EXPECT_EQ(count.attempts(), 3U);
    EXPECT_EQ(count.last_size(), 105U + 32U);
    CPObjectMemory const copy(handle);
    EXPECT_EQ(count.attempts(), 3U) << "a copy of a handle allocates nothing";
}

TEST_F(ObjectMemoryAlloc, a_size_of_zero_gives_a_block_without_payload)
{
    EXPECT_EQ(handle.Alloc(0, &BlockProbe::table), 1);
    EXPECT_TRUE(handle);
    EXPECT_NE(handle.get_ptr(), nullptr);
    EXPECT_EQ(handle.GetSize(), 0U);
    EXPECT_EQ(handle.GetAllocSize(), 0U);
    EXPECT_EQ(handle.Reserve(0, &BlockProbe::table), 1);
    EXPECT_TRUE(handle);
    EXPECT_EQ(BlockProbe::take(), Calls{"finalize 0"});
}

TEST_F(ObjectMemoryAlloc, alloc_and_reserve_release_the_old_block_first)
{
    ASSERT_EQ(handle.Alloc(8, &BlockProbe::table), 1);
    CPObjectMemory const other(handle);
    EXPECT_EQ(handle.Alloc(16, &BlockProbe::other_table), 1);
    EXPECT_EQ(other.lockcnt(), 1U);
    EXPECT_FALSE(handle == other);
    EXPECT_TRUE(handle.IsType(&BlockProbe::other_table));
    EXPECT_EQ(BlockProbe::take(), Calls());

    AllocationFailure const count(0);
    unsigned long allocated_before_finalise = 99;
    BlockProbe::records().on_finalize = [&] { allocated_before_finalise = count.attempts(); };
    EXPECT_EQ(handle.Reserve(32, &BlockProbe::table), 1);
    EXPECT_EQ(allocated_before_finalise, 0U);
    EXPECT_EQ(BlockProbe::take(), Calls{"finalize 16"});
    BlockProbe::records().on_finalize = nullptr;
}

TEST_F(ObjectMemoryAlloc, a_null_table_leaves_the_handle_empty)
{
    EXPECT_EQ(handle.Alloc(8, nullptr), 0);
    EXPECT_FALSE(handle);
    EXPECT_EQ(handle.Reserve(8, nullptr), 0);
    EXPECT_FALSE(handle);

    ASSERT_EQ(handle.Alloc(8, &BlockProbe::table), 1);
    EXPECT_EQ(handle.Alloc(16, nullptr), 0);
    EXPECT_FALSE(handle);
    EXPECT_EQ(BlockProbe::take(), Calls{"finalize 8"});
    ASSERT_EQ(handle.Alloc(8, &BlockProbe::table), 1);
    EXPECT_EQ(handle.Reserve(16, nullptr), 0);
    EXPECT_FALSE(handle);
    EXPECT_EQ(BlockProbe::take(), Calls{"finalize 8"});
}

TEST_F(ObjectMemoryAlloc, an_exhausted_heap_leaves_the_handle_empty)
{
    ASSERT_EQ(handle.Alloc(8, &BlockProbe::table), 1);
    {
        AllocationFailure const failure(1);
        EXPECT_EQ(handle.Alloc(16, &BlockProbe::table), 0);
        EXPECT_EQ(failure.failures(), 1U);
    }
    EXPECT_FALSE(handle);
    EXPECT_EQ(BlockProbe::take(), Calls{"finalize 8"});

    ASSERT_EQ(handle.Alloc(8, &BlockProbe::table), 1);
    {
        AllocationFailure const failure(1);
        EXPECT_EQ(handle.Reserve(16, &BlockProbe::table), 0);
        EXPECT_EQ(failure.failures(), 1U);
    }
    EXPECT_FALSE(handle);
    EXPECT_EQ(BlockProbe::take(), Calls{"finalize 8"});
}

TEST_F(ObjectMemoryAlloc, a_size_that_wraps_with_the_header_fails_as_an_exhausted_heap)
{
    AllocationFailure const count(0);
    for (unsigned long size : {ULONG_MAX, ULONG_MAX - 1, ULONG_MAX - 30, ULONG_MAX - 31})
    {
        EXPECT_EQ(handle.Alloc(size, &BlockProbe::table), 0) << size;
        EXPECT_FALSE(handle);
        EXPECT_EQ(handle.Reserve(size, &BlockProbe::table), 0) << size;
        EXPECT_FALSE(handle);
    }
    EXPECT_EQ(count.attempts(), 0U) << "a wrapped size would have been had";
}

TEST_F(ObjectMemoryAlloc, the_greatest_size_that_does_not_wrap_is_asked_for)
{
    AllocationFailure const failure(1, AllocationFailure::forever);
    EXPECT_EQ(handle.Alloc(ULONG_MAX - 32, &BlockProbe::table), 0);
    EXPECT_EQ(failure.last_size(), ULONG_MAX);
}

TEST_F(ObjectMemoryAlloc, incalloc_adds_capacity_and_keeps_the_rest)
{
    ASSERT_EQ(handle.Alloc(8, &BlockProbe::table), 1);
    std::memcpy(handle.get_ptr(), "1234567", 8);
    EXPECT_EQ(handle.Incalloc(100000), 1);
    EXPECT_EQ(handle.GetAllocSize(), 100008U);
    EXPECT_EQ(handle.GetSize(), 8U);
    EXPECT_EQ(handle.lockcnt(), 1U);
    EXPECT_TRUE(handle.IsType(&BlockProbe::table));
    EXPECT_STREQ(static_cast<char const*>(handle.get_cptr()), "1234567");
    EXPECT_EQ(handle.SetSize(100008), 1);
    static_cast<char*>(handle.get_ptr())[100007] = 'x';
    EXPECT_EQ(handle.Incalloc(1), 1);
    EXPECT_EQ(handle.GetAllocSize(), 100009U);
    EXPECT_EQ(BlockProbe::take(), Calls()) << "the contents are moved by bytes";
}

TEST_F(ObjectMemoryAlloc, incalloc_refuses_what_it_cannot_grow)
{
    AllocationFailure const count(0);
    EXPECT_EQ(handle.Incalloc(8), 0) << "an empty handle";
    ASSERT_EQ(handle.Alloc(8, &BlockProbe::table), 1);
    void const* const payload = handle.get_cptr();
    EXPECT_EQ(handle.Incalloc(0), 0);
    {
        CPObjectMemory const shared(handle);
        EXPECT_EQ(handle.Incalloc(8), 0) << "a shared block";
    }
    StaticBlock<8> block(&BlockProbe::table, 8);
    Adopted on_static(&block.header);
    EXPECT_EQ(on_static.Incalloc(8), 0) << "a static block";
    EXPECT_EQ(block.header.uAllocSize, 8U);
    EXPECT_EQ(handle.GetAllocSize(), 8U);
    EXPECT_EQ(handle.get_cptr(), payload);
    EXPECT_EQ(count.attempts(), 1U);
    EXPECT_EQ(handle.Incalloc(8), 1) << "no longer shared";
}

TEST_F(ObjectMemoryAlloc, incalloc_without_memory_changes_nothing)
{
    ASSERT_EQ(handle.Alloc(8, &BlockProbe::table), 1);
    std::memcpy(handle.get_ptr(), "1234567", 8);
    void const* const payload = handle.get_cptr();
    AllocationFailure const failure(1);
    EXPECT_EQ(handle.Incalloc(8), 0);
    EXPECT_EQ(failure.failures(), 1U);
    EXPECT_EQ(handle.get_cptr(), payload);
    EXPECT_EQ(handle.GetAllocSize(), 8U);
    EXPECT_STREQ(static_cast<char const*>(handle.get_cptr()), "1234567");
}

TEST_F(ObjectMemoryAlloc, incalloc_by_a_size_that_wraps_changes_nothing)
{
    ASSERT_EQ(handle.Alloc(8, &BlockProbe::table), 1);
    AllocationFailure const count(0);
    for (unsigned long more : {ULONG_MAX, ULONG_MAX - 7, ULONG_MAX - 8, ULONG_MAX - 39})
        EXPECT_EQ(handle.Incalloc(more), 0) << more;
    EXPECT_EQ(count.attempts(), 0U);
    EXPECT_EQ(handle.GetAllocSize(), 8U);
}

TEST_F(ObjectMemoryAlloc, set_size_stays_within_the_capacity)
{
    EXPECT_EQ(handle.SetSize(0), 0) << "an empty handle";
    ASSERT_EQ(handle.Reserve(16, &BlockProbe::table), 1);
    for (unsigned long size : {16UL, 0UL, 7UL, 16UL})
    {
        EXPECT_EQ(handle.SetSize(size), 1);
        EXPECT_EQ(handle.GetSize(), size);
    }
    EXPECT_EQ(handle.SetSize(17), 0);
    EXPECT_EQ(handle.SetSize(ULONG_MAX), 0);
    EXPECT_EQ(handle.GetSize(), 16U);
    EXPECT_EQ(handle.GetAllocSize(), 16U);
    EXPECT_EQ(BlockProbe::take(), Calls()) << "elements are neither constructed nor destroyed";
}

TEST_F(ObjectMemoryAlloc, set_size_writes_into_a_shared_block)
{
    ASSERT_EQ(handle.Alloc(16, &BlockProbe::table), 1);
    CPObjectMemory const shared(handle);
    EXPECT_EQ(handle.SetSize(5), 1);
    EXPECT_EQ(shared.GetSize(), 5U);
}

TEST_F(ObjectMemoryAlloc, set_size_reports_a_static_block_and_goes_on)
{
    StaticBlock<16> block(&BlockProbe::table, 16);
    Adopted on_static(&block.header);
    EXPECT_EQ(on_static.SetSize(4), 1);
    EXPECT_EQ(block.header.uSize, 4U);
    EXPECT_EQ(recorder.take(), LogMessages{failed_condition("m_pMH->lRefCnt>0")});
    EXPECT_EQ(on_static.SetSize(17), 0);
    EXPECT_EQ(recorder.take(), LogMessages{failed_condition("m_pMH->lRefCnt>0")});
}

TEST_F(ObjectMemoryAlloc, set_size_reports_a_block_without_a_type_and_goes_on)
{
    ASSERT_EQ(handle.Alloc(16, &BlockProbe::table), 1);
    header_of(handle)->pVTbl = nullptr;
    EXPECT_EQ(handle.SetSize(4), 1);
    EXPECT_EQ(handle.GetSize(), 4U);
    EXPECT_EQ(recorder.take(), LogMessages{failed_condition("m_pMH->pVTbl")});
    header_of(handle)->pVTbl = &BlockProbe::table;

    StaticBlock<16> block(nullptr, 16);
    Adopted on_static(&block.header);
    EXPECT_EQ(on_static.SetSize(4), 1);
    EXPECT_EQ(recorder.take(), (LogMessages{failed_condition("m_pMH->lRefCnt>0"), failed_condition("m_pMH->pVTbl")}));
}

TEST_F(ObjectMemoryAlloc, set_size_goes_on_after_a_logger_that_throws)
{
    ORVA::Develop::SetExternalLogger([](_nqfDebugLevel, wchar_t const*, char const*, int, wchar_t const*, va_list)
                                     { throw std::runtime_error("logger"); });
    StaticBlock<16> block(nullptr, 16);
    Adopted on_static(&block.header);
    EXPECT_EQ(on_static.SetSize(4), 1) << "the log keeps the exception to itself";
    EXPECT_EQ(block.header.uSize, 4U);
}

} // namespace
