// Copying and releasing handles: counts, static blocks, wrapped counts, blocks without a type.
#include "ORVA/Buffers/ObjectMemory.h"
#include "ORVA/Develop/Log.h"
#include "support/BlockProbe.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using namespace support;

char const wrapped_text[] =
    "InterlockedIncrement32 returned 0, possible multi-threading access problem on shared object!";

CPObjectMemory make(unsigned long size)
{
    CPObjectMemory handle;
    EXPECT_EQ(handle.Alloc(size, &BlockProbe::table), 1);
    return handle;
}

class ObjectMemoryCopy : public testing::Test
{
protected:
    void SetUp() override { BlockProbe::reset(); }
    void TearDown() override
    {
        EXPECT_EQ(recorder.take(), LogMessages()) << "a report that the test does not state";
        BlockProbe::reset();
    }
    LogRecorder recorder;
};

TEST_F(ObjectMemoryCopy, each_handle_counts_and_the_last_finalises)
{
    CPObjectMemory first = make(8);
    {
        CPObjectMemory second(first);
        EXPECT_EQ(first.lockcnt(), 2U);
        CPObjectMemory third;
        third = second;
        EXPECT_EQ(first.lockcnt(), 3U);
        EXPECT_TRUE(third == first);
        second.free();
        EXPECT_EQ(first.lockcnt(), 2U);
        EXPECT_FALSE(second);
    }
    EXPECT_EQ(first.lockcnt(), 1U);
    EXPECT_EQ(BlockProbe::take(), Calls());
    void* const payload = first.get_ptr();
    first.free();
    EXPECT_EQ(BlockProbe::take(), Calls{"finalize 8"});
    EXPECT_EQ(BlockProbe::records().payload, payload);
    first.free();
    EXPECT_EQ(BlockProbe::take(), Calls()) << "an empty handle has nothing to release";
}

TEST_F(ObjectMemoryCopy, finalise_is_given_the_used_size)
{
    CPObjectMemory handle = make(100);
    ASSERT_EQ(handle.SetSize(33), 1);
    handle.free();
    EXPECT_EQ(BlockProbe::take(), Calls{"finalize 33"});
}

TEST_F(ObjectMemoryCopy, all_handles_see_one_payload)
{
    CPObjectMemory first = make(8);
    CPObjectMemory const second(first);
    static_cast<char*>(first.get_ptr())[3] = 'x';
    EXPECT_EQ(static_cast<char const*>(second.get_cptr())[3], 'x') << "there is no copy on write";
}

TEST_F(ObjectMemoryCopy, copying_a_handle_to_itself_changes_nothing)
{
    CPObjectMemory handle = make(8);
    CPObjectMemory& alias = handle;
    handle = alias;
    EXPECT_EQ(handle.lockcnt(), 1U);
    handle.CopyCPMemory(handle);
    EXPECT_EQ(handle.lockcnt(), 1U);
    CPObjectMemory empty;
    empty.CopyCPMemory(empty);
    EXPECT_FALSE(empty);
}

TEST_F(ObjectMemoryCopy, copying_the_same_block_again_changes_nothing)
{
    CPObjectMemory first = make(8);
    CPObjectMemory second(first);
    second = first;
    EXPECT_EQ(first.lockcnt(), 2U);
    EXPECT_EQ(BlockProbe::take(), Calls());
}

// Nothing of the block is looked at: neither its count, which would wrap, nor its type.
TEST_F(ObjectMemoryCopy, copying_the_same_block_again_does_not_look_at_it)
{
    CPObjectMemory first = make(8);
    CPObjectMemory second(first);
    header_of(first)->lRefCnt = 0xFFFFFFFF;
    header_of(first)->pVTbl = nullptr;
    second = first;
    CPObjectMemory& alias = first;
    first = alias;
    EXPECT_TRUE(second == first);
    EXPECT_EQ(first.lockcnt(), 0xFFFFFFFFU);
    header_of(first)->lRefCnt = 2;
    header_of(first)->pVTbl = &BlockProbe::table;
}

TEST_F(ObjectMemoryCopy, assignment_releases_the_old_block)
{
    CPObjectMemory first = make(8);
    CPObjectMemory const second = make(16);
    EXPECT_EQ(&(first = second), &first);
    EXPECT_EQ(BlockProbe::take(), Calls{"finalize 8"});
    EXPECT_TRUE(first == second);
    EXPECT_EQ(second.lockcnt(), 2U);
}

TEST_F(ObjectMemoryCopy, copying_an_empty_handle_releases_the_old_block)
{
    CPObjectMemory handle = make(8);
    handle = CPObjectMemory::pnull;
    EXPECT_FALSE(handle);
    EXPECT_EQ(BlockProbe::take(), Calls{"finalize 8"});
}

TEST_F(ObjectMemoryCopy, moving_takes_the_reference)
{
    CPObjectMemory first = make(8);
    void const* const payload = first.get_cptr();
    CPObjectMemory second(std::move(first));
    EXPECT_FALSE(first);
    EXPECT_EQ(second.get_cptr(), payload);
    EXPECT_EQ(second.lockcnt(), 1U);
    CPObjectMemory third = make(16);
    third = std::move(second);
    EXPECT_EQ(BlockProbe::take(), Calls{"finalize 16"});
    EXPECT_FALSE(second);
    EXPECT_EQ(third.lockcnt(), 1U);
    CPObjectMemory& alias = third;
    third = std::move(alias);
    EXPECT_EQ(third.get_cptr(), payload);

    CPObjectMemory shared(third);
    third = std::move(shared);
    EXPECT_EQ(third.lockcnt(), 1U) << "two handles on one block have become one";
    EXPECT_EQ(BlockProbe::take(), Calls());
}

TEST_F(ObjectMemoryCopy, static_blocks_are_neither_counted_nor_finalised)
{
    StaticBlock<8> block(&BlockProbe::table, 8);
    {
        Adopted original(&block.header);
        CPObjectMemory copy(original);
        CPObjectMemory other = make(16);
        other = copy;
        EXPECT_EQ(BlockProbe::take(), Calls{"finalize 16"});
        EXPECT_EQ(block.header.lRefCnt, 0U);
        EXPECT_EQ(copy.lockcnt(), 0U);
        EXPECT_TRUE(copy) << "a handle on a static block is not empty";
        EXPECT_EQ(copy.get_ptr(), block.payload);
        copy.free();
        EXPECT_FALSE(copy);
        for (int time = 0; time < 3; ++time)
            copy.Free(&block.header);
        EXPECT_EQ(block.header.lRefCnt, 0U);
    }
    EXPECT_EQ(BlockProbe::take(), Calls());
    EXPECT_EQ(block.header.lRefCnt, 0U);
    EXPECT_EQ(block.header.uSize, 8U);
}

TEST_F(ObjectMemoryCopy, free_of_a_header_releases_one_reference_and_leaves_the_handles_alone)
{
    CPObjectMemory handle = make(8);
    Adopted second(header_of(CPObjectMemory(handle)));
    ++header_of(handle)->lRefCnt;
    handle.Free(header_of(handle));
    EXPECT_EQ(handle.lockcnt(), 1U);
    EXPECT_TRUE(second == handle);
    second.surrender();
    handle.Free(nullptr);
    EXPECT_EQ(BlockProbe::take(), Calls());
}

TEST_F(ObjectMemoryCopy, a_wrapped_count_is_reported_and_the_old_block_is_not_released)
{
    CPObjectMemory source = make(8);
    CPObjectMemory target = make(16);
    tagCPOMEMHEADER* const old = header_of(target);
    header_of(source)->lRefCnt = 0xFFFFFFFF;

    target = source;
    EXPECT_EQ(recorder.take(), LogMessages{illegal_point(wrapped_text)});
    EXPECT_FALSE(target);
    EXPECT_EQ(header_of(source)->lRefCnt, 0U);
    EXPECT_EQ(old->lRefCnt, 1U);
    EXPECT_EQ(BlockProbe::take(), Calls()) << "the old block stays, and is lost";

    header_of(source)->lRefCnt = 1;
    Adopted{old}.free();
    EXPECT_EQ(BlockProbe::take(), Calls{"finalize 16"});
}

TEST_F(ObjectMemoryCopy, a_wrapped_count_gives_an_empty_copy)
{
    CPObjectMemory source = make(8);
    header_of(source)->lRefCnt = 0xFFFFFFFF;
    CPObjectMemory const copy(source);
    EXPECT_FALSE(copy);
    EXPECT_EQ(recorder.take(), LogMessages{illegal_point(wrapped_text)});
    header_of(source)->lRefCnt = 1;
}

TEST_F(ObjectMemoryCopy, the_count_before_the_wrap_is_an_ordinary_one)
{
    CPObjectMemory source = make(8);
    header_of(source)->lRefCnt = 0xFFFFFFFE;
    {
        CPObjectMemory const copy(source);
        EXPECT_TRUE(copy == source);
        EXPECT_EQ(copy.lockcnt(), 0xFFFFFFFFU);
    }
    EXPECT_EQ(source.lockcnt(), 0xFFFFFFFEU);
    header_of(source)->lRefCnt = 1;
}

TEST_F(ObjectMemoryCopy, a_block_without_a_type_is_reported_and_copied)
{
    CPObjectMemory source = make(8);
    header_of(source)->pVTbl = nullptr;
    {
        CPObjectMemory target = make(16);
        target = source;
        EXPECT_EQ(recorder.take(), LogMessages{failed_condition("pMHO->pVTbl")});
        EXPECT_TRUE(target == source);
        EXPECT_EQ(source.lockcnt(), 2U);
        EXPECT_EQ(BlockProbe::take(), Calls{"finalize 16"});
    }
    EXPECT_EQ(source.lockcnt(), 1U);
    header_of(source)->pVTbl = &BlockProbe::table;
}

TEST_F(ObjectMemoryCopy, a_static_block_without_a_type_is_reported_and_copied)
{
    StaticBlock<8> block(nullptr, 8);
    Adopted const source(&block.header);
    CPObjectMemory const copy(source);
    EXPECT_EQ(recorder.take(), LogMessages{failed_condition("pMHO->pVTbl")});
    EXPECT_TRUE(copy == source);
    EXPECT_EQ(block.header.lRefCnt, 0U);
}

TEST_F(ObjectMemoryCopy, a_block_without_a_type_and_with_a_full_count_gives_both_reports)
{
    CPObjectMemory source = make(8);
    header_of(source)->pVTbl = nullptr;
    header_of(source)->lRefCnt = 0xFFFFFFFF;
    CPObjectMemory const copy(source);
    EXPECT_FALSE(copy);
    EXPECT_EQ(recorder.take(), (LogMessages{failed_condition("pMHO->pVTbl"), illegal_point(wrapped_text)}));
    header_of(source)->lRefCnt = 1;
    header_of(source)->pVTbl = &BlockProbe::table;
}

// A logger that throws is removed by the log, so the report is over as if the logger had returned.
TEST_F(ObjectMemoryCopy, a_logger_that_throws_does_not_disturb_a_copy)
{
    CPObjectMemory source = make(8);
    header_of(source)->pVTbl = nullptr;
    ORVA::Develop::SetExternalLogger([](_nqfDebugLevel, wchar_t const*, char const*, int, wchar_t const*, va_list)
                                     { throw std::runtime_error("logger"); });
    CPObjectMemory target = make(16);
    EXPECT_NO_THROW(target = source);
    EXPECT_TRUE(target == source);
    EXPECT_EQ(source.lockcnt(), 2U);
    header_of(source)->pVTbl = &BlockProbe::table;
}

TEST_F(ObjectMemoryCopy, handles_of_one_block_are_copied_and_released_in_many_threads)
{
    CPObjectMemory source = make(8);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back(
            [own = source]
            {
                std::vector<CPObjectMemory> copies;
                for (int round = 0; round < 3000; ++round)
                {
                    copies.push_back(own);
                    if (round % 3 == 2)
                        copies.erase(copies.begin(), copies.begin() + 2);
                }
            });
    for (std::thread& thread : threads)
        thread.join();
    threads.clear();
    EXPECT_EQ(source.lockcnt(), 1U);
    EXPECT_EQ(BlockProbe::take(), Calls());
}

// Whichever thread lets go last, the block is destroyed once.
TEST_F(ObjectMemoryCopy, a_block_that_several_threads_release_is_finalised_once)
{
    for (int round = 0; round < 200; ++round)
    {
        CPObjectMemory block = make(8);
        std::thread first([own = block]() mutable { own.free(); });
        std::thread second([own = block]() mutable { own.free(); });
        block.free();
        first.join();
        second.join();
        ASSERT_EQ(BlockProbe::take(), Calls{"finalize 8"});
    }
}

} // namespace
