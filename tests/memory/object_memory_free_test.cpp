// The last release of a block: exceptions and re-entrance of the finaliser.
#include "ORVA/Buffers/ObjectMemory.h"
#include "ORVA/Develop/Log.h"
#include "support/BlockProbe.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{

using namespace support;

LogMessage const free_exception = illegal_point("CPObjectMemory::Free exception");

class ObjectMemoryFree : public testing::Test
{
protected:
    void SetUp() override { BlockProbe::reset(); }
    void TearDown() override
    {
        EXPECT_EQ(recorder.take(), LogMessages()) << "a report that the test does not state";
        BlockProbe::reset();
    }
    static CPObjectMemory make(unsigned long size)
    {
        CPObjectMemory handle;
        EXPECT_EQ(handle.Alloc(size, &BlockProbe::table), 1);
        return handle;
    }
    LogRecorder recorder;
};

// A sanitizer tells if the memory were not given back all the same.
TEST_F(ObjectMemoryFree, a_finaliser_that_throws_is_reported_and_the_memory_is_freed)
{
    CPObjectMemory handle = make(8);
    BlockProbe::records().on_finalize = [] { throw std::runtime_error("finaliser"); };
    EXPECT_NO_THROW(handle.free());
    EXPECT_FALSE(handle);
    EXPECT_EQ(recorder.take(), LogMessages{free_exception});
    EXPECT_EQ(BlockProbe::take(), Calls{"finalize 8"});
}

TEST_F(ObjectMemoryFree, a_finaliser_may_throw_anything_in_a_destructor)
{
    {
        CPObjectMemory const handle = make(8);
        BlockProbe::records().on_finalize = [] { throw 1; };
    }
    EXPECT_EQ(recorder.take(), LogMessages{free_exception});
}

TEST_F(ObjectMemoryFree, a_logger_that_throws_does_not_disturb_a_release)
{
    ORVA::Develop::SetExternalLogger([](_nqfDebugLevel, wchar_t const*, char const*, int, wchar_t const*, va_list)
                                     { throw std::runtime_error("logger"); });
    CPObjectMemory handle = make(8);
    BlockProbe::records().on_finalize = [] { throw std::runtime_error("finaliser"); };
    EXPECT_NO_THROW(handle.free());
    EXPECT_FALSE(handle);
}

TEST_F(ObjectMemoryFree, a_finaliser_sees_a_count_of_zero)
{
    CPObjectMemory handle = make(8);
    unsigned int count = 99;
    BlockProbe::records().on_finalize = [&] { count = handle.lockcnt(); };
    handle.free();
    EXPECT_EQ(count, 0U);
}

// The handle lets go last, so the finaliser finds it on the block that is going.
TEST_F(ObjectMemoryFree, a_finaliser_finds_the_handle_on_the_dying_block)
{
    int (*const releases[])(CPObjectMemory&) = {
        [](CPObjectMemory& handle) { return handle.free(), 1; },
        [](CPObjectMemory& handle) { return handle.Alloc(16, &BlockProbe::table); },
        [](CPObjectMemory& handle) { return handle.Reserve(16, &BlockProbe::table); },
    };
    for (auto const release : releases)
    {
        CPObjectMemory handle = make(8);
        void const* const payload = handle.get_cptr();
        void const* seen = nullptr;
        BlockProbe::records().on_finalize = [&] { seen = handle.get_cptr(); };
        EXPECT_EQ(release(handle), 1);
        EXPECT_EQ(seen, payload);
        BlockProbe::records().on_finalize = nullptr;
    }
}

TEST_F(ObjectMemoryFree, a_finaliser_may_free_the_handle_that_is_being_released)
{
    CPObjectMemory handle = make(8);
    BlockProbe::records().on_finalize = [&] { handle.free(); };
    handle.free();
    EXPECT_FALSE(handle);
    EXPECT_EQ(BlockProbe::take(), Calls{"finalize 8"}) << "finalised once, freed once";
}

TEST_F(ObjectMemoryFree, a_finaliser_may_copy_the_handle_that_is_being_released)
{
    CPObjectMemory handle = make(8);
    bool same = false;
    BlockProbe::records().on_finalize = [&]
    {
        CPObjectMemory const copy(handle);
        CPObjectMemory assigned;
        assigned = handle;
        same = copy == handle && assigned == handle && handle.lockcnt() == 0;
    };
    handle.free();
    EXPECT_TRUE(same) << "the dying block passes for a static one";
    EXPECT_EQ(BlockProbe::take(), Calls{"finalize 8"});
}

TEST_F(ObjectMemoryFree, a_finaliser_may_empty_the_handle_by_assignment)
{
    CPObjectMemory handle = make(8);
    BlockProbe::records().on_finalize = [&] { handle = CPObjectMemory(); };
    handle.free();
    EXPECT_FALSE(handle);
    EXPECT_EQ(BlockProbe::take(), Calls{"finalize 8"});
}

// Assignment empties the handle before it releases, so the finaliser sees the new block already.
TEST_F(ObjectMemoryFree, a_finaliser_inside_an_assignment_sees_the_new_block)
{
    CPObjectMemory handle = make(8);
    CPObjectMemory const next = make(16);
    bool seen = false;
    BlockProbe::records().on_finalize = [&] { seen = handle == next; };
    handle = next;
    EXPECT_TRUE(seen);
    EXPECT_EQ(BlockProbe::take(), Calls{"finalize 8"});
    BlockProbe::records().on_finalize = nullptr;
}

TEST_F(ObjectMemoryFree, a_finaliser_inside_an_assignment_may_free_the_handle)
{
    CPObjectMemory handle = make(8);
    CPObjectMemory const next = make(16);
    BlockProbe::records().on_finalize = [&] { handle.free(); };
    handle = next;
    EXPECT_FALSE(handle);
    EXPECT_EQ(next.lockcnt(), 1U);
    BlockProbe::records().on_finalize = nullptr;
}

TEST_F(ObjectMemoryFree, blocks_may_release_blocks)
{
    CPObjectMemory inner = make(16);
    CPObjectMemory outer = make(8);
    BlockProbe::records().on_finalize = [&]
    {
        BlockProbe::records().on_finalize = nullptr;
        inner.free();
    };
    outer.free();
    EXPECT_EQ(BlockProbe::take(), (Calls{"finalize 8", "finalize 16"}));
}

} // namespace
