#include "ORVA/Core.h"
#include "ORVA/Threading/CurrentThread.h"
#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <ctime>
#include <string>
#include <type_traits>

namespace
{

using namespace ORVA::Core;
using support::AllocationFailure;

static_assert(std::is_same_v<decltype(OS::GetPlatformString()), wchar_t const*>);
static_assert(std::is_same_v<decltype(OS::GetTimeNow()), unsigned long>);

TEST(Platform, has_the_name_of_its_conventions)
{
    EXPECT_EQ(std::wstring(OS::GetPlatformString()), L"MacOS");
    EXPECT_EQ(OS::GetPlatformString(), OS::GetPlatformString());
}

TEST(Platform, wall_clock_is_the_systems_in_whole_seconds)
{
    std::time_t const before = std::time(nullptr);
    unsigned long const now = OS::GetTimeNow();
    std::time_t const after = std::time(nullptr);
    EXPECT_EQ(now % 1000, 0U);
    EXPECT_LE(static_cast<unsigned long>(before) * 1000, now);
    EXPECT_LE(now, static_cast<unsigned long>(after) * 1000);
}

TEST(Heap, memory_is_writable_and_keeps_its_contents_when_it_grows_and_shrinks)
{
    auto* memory = static_cast<unsigned char*>(OS::_falloc(100));
    ASSERT_NE(memory, nullptr);
    std::memset(memory, 0x5A, 100);
    memory = static_cast<unsigned char*>(OS::_frealloc(memory, 100000));
    ASSERT_NE(memory, nullptr);
    EXPECT_EQ(memory[0], 0x5A);
    EXPECT_EQ(memory[99], 0x5A);
    memory[99999] = 1;
    memory = static_cast<unsigned char*>(OS::_frealloc(memory, 50));
    ASSERT_NE(memory, nullptr);
    EXPECT_EQ(memory[49], 0x5A);
    OS::_ffree(memory);
}

TEST(Heap, memory_is_aligned_for_every_type)
{
    for (unsigned long size : {1UL, 7UL, 32UL, 100UL, 4097UL})
    {
        void* const memory = OS::_falloc(size);
        EXPECT_EQ(reinterpret_cast<unsigned long>(memory) % alignof(std::max_align_t), 0U);
        OS::_ffree(memory);
    }
}

TEST(Heap, reallocating_null_allocates_and_freeing_null_does_nothing)
{
    void* const memory = OS::_frealloc(nullptr, 10);
    EXPECT_NE(memory, nullptr);
    OS::_ffree(memory);
    OS::_ffree(nullptr);
}

TEST(Heap, each_call_is_one_of_the_systems)
{
    AllocationFailure const count(0);
    void* memory = OS::_falloc(10);
    EXPECT_EQ(count.attempts(), 1U);
    EXPECT_EQ(count.last_size(), 10U);
    memory = OS::_frealloc(memory, 20);
    EXPECT_EQ(count.attempts(), 2U);
    EXPECT_EQ(count.last_size(), 20U);
    OS::_ffree(memory);
}

TEST(Heap, exhaustion_gives_null_and_leaves_the_old_memory_valid)
{
    auto* const memory = static_cast<unsigned char*>(OS::_falloc(10));
    memory[9] = 3;
    {
        AllocationFailure const failure(1, AllocationFailure::forever);
        EXPECT_EQ(OS::_falloc(10), nullptr);
        EXPECT_EQ(OS::_frealloc(memory, 20), nullptr);
        EXPECT_EQ(failure.failures(), 2U);
    }
    EXPECT_EQ(memory[9], 3);
    OS::_ffree(memory);
}

TEST(ThreadPriority, is_accepted_and_has_no_effect)
{
    using namespace ORVA::Threading;
    static_assert(eThreadPriorityNormal == 0 && eThreadPriorityIdle == -2 && sizeof(eThreadPriority) == 4);
    EXPECT_EQ(CurrentThread::OS::GetThreadPriority(), 0);
    for (int priority : {-2, 0, 1, INT_MAX, INT_MIN})
    {
        CurrentThread::OS::SetThreadPriority(static_cast<eThreadPriority>(priority));
        EXPECT_EQ(CurrentThread::OS::GetThreadPriority(), 0) << priority;
    }
}

} // namespace
