// Private copies, and the look for an interface.
#include "ORVA/Buffers/ObjectMemory.h"
#include "ORVA/Develop/Log.h"
#include "support/AllocationFailure.h"
#include "support/BlockProbe.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

namespace
{

using namespace support;

LogMessage const no_cloning = illegal_point("CPObjectMemory::clone: Class does not allow cloning");
LogMessage const clone_exception = illegal_point("CPObjectMemory::Clone exception");

class ObjectMemoryClone : public testing::Test
{
protected:
    void SetUp() override { BlockProbe::reset(); }
    void TearDown() override
    {
        EXPECT_EQ(recorder.take(), LogMessages()) << "a report that the test does not state";
        BlockProbe::reset();
    }
    static CPObjectMemory make(unsigned long size, tagCPOVTABL const* table = &BlockProbe::table)
    {
        CPObjectMemory made;
        EXPECT_EQ(made.Alloc(size, table), 1);
        std::memset(made.get_ptr(), 'a', size);
        return made;
    }
    LogRecorder recorder;
};

TEST_F(ObjectMemoryClone, an_empty_handle_is_private)
{
    CPObjectMemory empty;
    EXPECT_EQ(empty.clone(), 1);
    EXPECT_FALSE(empty);
}

TEST_F(ObjectMemoryClone, a_sole_owner_is_left_as_it_is)
{
    CPObjectMemory handle = make(8);
    void const* const payload = handle.get_cptr();
    AllocationFailure const count(0);
    EXPECT_EQ(handle.clone(), 1);
    EXPECT_EQ(handle.get_cptr(), payload);
    EXPECT_EQ(count.attempts(), 0U);
    EXPECT_EQ(BlockProbe::take(), Calls());
}

TEST_F(ObjectMemoryClone, a_shared_block_is_copied)
{
    CPObjectMemory handle = make(8);
    CPObjectMemory const other(handle);
    EXPECT_EQ(handle.clone(), 1);
    EXPECT_EQ(BlockProbe::take(), Calls{"clone 8"});
    EXPECT_EQ(BlockProbe::records().payload, handle.get_ptr());
    EXPECT_EQ(BlockProbe::records().source, other.get_cptr());
    EXPECT_FALSE(handle == other);
    EXPECT_EQ(handle.lockcnt(), 1U);
    EXPECT_EQ(other.lockcnt(), 1U);
    EXPECT_TRUE(handle.IsType(&BlockProbe::table));
    EXPECT_EQ(handle.GetSize(), 8U);
    std::memset(handle.get_ptr(), 'b', 8);
    EXPECT_EQ(static_cast<char const*>(other.get_cptr())[0], 'a');
}

TEST_F(ObjectMemoryClone, spare_capacity_is_not_carried_over)
{
    CPObjectMemory handle = make(100);
    ASSERT_EQ(handle.SetSize(10), 1);
    CPObjectMemory const other(handle);
    AllocationFailure const count(0);
    EXPECT_EQ(handle.clone(), 1);
    EXPECT_EQ(count.last_size(), 10U + 32U);
    EXPECT_EQ(handle.GetAllocSize(), 10U);
    EXPECT_EQ(handle.GetSize(), 10U);
    EXPECT_EQ(other.GetAllocSize(), 100U);
    EXPECT_EQ(BlockProbe::take(), Calls{"clone 10"});
}

TEST_F(ObjectMemoryClone, a_shared_block_with_nothing_in_use_is_copied_too)
{
    CPObjectMemory handle = make(8);
    ASSERT_EQ(handle.SetSize(0), 1);
    CPObjectMemory const other(handle);
    EXPECT_EQ(handle.clone(), 1);
    EXPECT_FALSE(handle == other);
    EXPECT_EQ(handle.GetAllocSize(), 0U);
}

TEST_F(ObjectMemoryClone, a_type_that_cannot_be_cloned_is_reported)
{
    CPObjectMemory handle = make(8, &BlockProbe::resource_table);
    EXPECT_EQ(handle.clone(), 0) << "even for a sole owner";
    EXPECT_EQ(recorder.take(), LogMessages{no_cloning});
    EXPECT_EQ(handle.lockcnt(), 1U);

    CPObjectMemory const other(handle);
    EXPECT_EQ(handle.clone(), 0);
    EXPECT_EQ(recorder.take(), LogMessages{no_cloning});
    EXPECT_TRUE(handle == other);
    EXPECT_EQ(handle.lockcnt(), 2U);
}

TEST_F(ObjectMemoryClone, a_static_block_is_reported_and_stays_static)
{
    StaticBlock<8> block(&BlockProbe::table, 8);
    Adopted handle(&block.header);
    CPObjectMemory const other(handle);
    EXPECT_EQ(handle.clone(), 1);
    EXPECT_EQ(recorder.take(), LogMessages{failed_condition("m_pMH->lRefCnt>0")});
    EXPECT_TRUE(handle == other);
    EXPECT_EQ(block.header.lRefCnt, 0U);
    EXPECT_EQ(BlockProbe::take(), Calls());
}

TEST_F(ObjectMemoryClone, a_static_block_that_cannot_be_cloned_gives_both_reports)
{
    StaticBlock<8> block(&BlockProbe::resource_table, 8);
    Adopted handle(&block.header);
    EXPECT_EQ(handle.clone(), 0);
    EXPECT_EQ(recorder.take(), (LogMessages{failed_condition("m_pMH->lRefCnt>0"), no_cloning}));
}

TEST_F(ObjectMemoryClone, a_block_without_a_type_is_reported_and_refused)
{
    CPObjectMemory handle = make(8);
    header_of(handle)->pVTbl = nullptr;
    EXPECT_EQ(handle.clone(), 0);
    EXPECT_EQ(recorder.take(), LogMessages{failed_condition("m_pMH->pVTbl")});
    header_of(handle)->pVTbl = &BlockProbe::table;

    StaticBlock<8> block(nullptr, 8);
    Adopted on_static(&block.header);
    EXPECT_EQ(on_static.clone(), 0);
    EXPECT_EQ(recorder.take(), (LogMessages{failed_condition("m_pMH->lRefCnt>0"), failed_condition("m_pMH->pVTbl")}));
}

TEST_F(ObjectMemoryClone, without_memory_the_block_stays_shared)
{
    CPObjectMemory handle = make(8);
    CPObjectMemory const other(handle);
    {
        AllocationFailure const failure(1);
        EXPECT_EQ(handle.clone(), 0);
        EXPECT_EQ(failure.failures(), 1U);
    }
    EXPECT_TRUE(handle == other);
    EXPECT_EQ(handle.lockcnt(), 2U);
    EXPECT_EQ(BlockProbe::take(), Calls());
}

// The new block's finaliser runs over whatever the copy left there, then comes the report, and the result is 1.
TEST_F(ObjectMemoryClone, a_copy_that_throws_leaves_the_block_shared_and_gives_1)
{
    CPObjectMemory handle = make(8);
    CPObjectMemory const other(handle);
    void* finalised = nullptr;
    std::size_t reports_at_finalise = 99;
    BlockProbe::records().on_clone = [] { throw std::runtime_error("clone"); };
    BlockProbe::records().on_finalize = [&]
    {
        finalised = BlockProbe::records().payload;
        reports_at_finalise = recorder.count();
    };
    EXPECT_EQ(handle.clone(), 1);
    EXPECT_EQ(recorder.take(), LogMessages{clone_exception});
    EXPECT_EQ(BlockProbe::take(), (Calls{"clone 8", "finalize 8"}));
    EXPECT_NE(finalised, nullptr);
    EXPECT_NE(finalised, handle.get_ptr()) << "it is the new block that goes";
    EXPECT_EQ(reports_at_finalise, 0U) << "the new block is released before the report";
    EXPECT_TRUE(handle == other);
    EXPECT_EQ(handle.lockcnt(), 2U);
    BlockProbe::records().on_finalize = nullptr;
}

TEST_F(ObjectMemoryClone, a_copy_and_the_clean_up_that_both_throw_give_both_reports)
{
    CPObjectMemory handle = make(8);
    CPObjectMemory const other(handle);
    BlockProbe::records().on_clone = [] { throw 1; };
    BlockProbe::records().on_finalize = [] { throw 2; };
    EXPECT_EQ(handle.clone(), 1);
    EXPECT_EQ(recorder.take(), (LogMessages{illegal_point("CPObjectMemory::Free exception"), clone_exception}));
    BlockProbe::records().on_finalize = nullptr;
}

TEST_F(ObjectMemoryClone, a_logger_that_throws_does_not_disturb_a_failed_copy)
{
    CPObjectMemory handle = make(8);
    CPObjectMemory const other(handle);
    ORVA::Develop::SetExternalLogger([](_nqfDebugLevel, wchar_t const*, char const*, int, wchar_t const*, va_list)
                                     { throw std::runtime_error("logger"); });
    BlockProbe::records().on_clone = [] { throw 1; };
    int result = 99;
    EXPECT_NO_THROW(result = handle.clone());
    EXPECT_EQ(result, 1);
    EXPECT_TRUE(handle == other);
}

// What the interface operation of a probe answers with, and what it was asked.
struct Answer
{
    long offset;
    void* payload;
    _nqfUID const* uid;
};
Answer answer = {};

void* interface_of_probe(void* payload, _nqfUID const& uid)
{
    answer.payload = payload;
    answer.uid = &uid;
    return answer.offset < 0 ? nullptr : static_cast<char*>(payload) + answer.offset;
}

tagCPOVTABL const interface_table = {&BlockProbe::create, &BlockProbe::clone, &BlockProbe::finalize,
                                     &interface_of_probe};

class ObjectMemoryInterface : public ObjectMemoryClone
{
protected:
    _nqfUID uid = {1, 2, 3, {4}};
};

TEST_F(ObjectMemoryInterface, an_empty_object_has_none)
{
    CPObjectMemory const handle = make(8, &interface_table);
    EXPECT_EQ(handle.queryinterface(CPObjectMemory(), uid), -1);
}

TEST_F(ObjectMemoryInterface, is_told_by_its_offset_in_the_payload)
{
    CPObjectMemory const object = make(24, &interface_table);
    CPObjectMemory const asked;
    for (long offset : {0L, 8L, 16L})
    {
        answer = {offset, nullptr, nullptr};
        EXPECT_EQ(asked.queryinterface(object, uid), offset) << "the handle it is called on plays no part";
        EXPECT_EQ(answer.payload, object.get_ptr());
        EXPECT_EQ(answer.uid, &uid);
    }
}

TEST_F(ObjectMemoryInterface, that_is_not_there_is_minus_1)
{
    CPObjectMemory const object = make(24, &interface_table);
    answer = {-1, nullptr, nullptr};
    EXPECT_EQ(object.queryinterface(object, uid), -1);
}

TEST_F(ObjectMemoryInterface, types_without_interfaces_answer_null)
{
    CPObjectMemory const object = make(8);
    EXPECT_EQ(object.queryinterface(object, uid), -1);
    EXPECT_EQ(CPObjectMemory::_nointerface(object.get_ptr(), uid), nullptr);
    EXPECT_EQ(CPObjectMemory::_nointerface(nullptr, uid), nullptr);
}

TEST_F(ObjectMemoryInterface, counts_nothing)
{
    CPObjectMemory const object = make(24, &interface_table);
    answer = {8, nullptr, nullptr};
    EXPECT_EQ(object.queryinterface(object, uid), 8);
    EXPECT_EQ(object.lockcnt(), 1U);
}

} // namespace
