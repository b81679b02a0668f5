#include "ORVA/Threading/Mutex.h"

#include "support/AllocationFailure.h"
#include "support/LogRecorder.h"
#include "threading/thread_bodies.h"

#include <boost/thread/exceptions.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>

// The shared handle.
namespace
{

using namespace ORVA::Buffers;
using namespace ORVA::Threading;
using namespace threads;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using support::AllocationFailure;

TEST(ThreadHandle, is_one_pointer_and_starts_empty_without_an_allocation)
{
    AllocationFailure const count(0);
    CPThread const thread;
    EXPECT_FALSE(thread);
    EXPECT_EQ(count.attempts(), 0U);
    EXPECT_TRUE((std::is_base_of_v<CPObjectMemory, CPThread>));
    EXPECT_EQ(sizeof(CPThread), sizeof(void*));
}

TEST(ThreadHandle, signatures)
{
    EXPECT_TRUE((std::is_same_v<decltype(&CPThread::Execute), bool (CPThread::*)(CPObjectMemory&, unsigned long)>));
    EXPECT_TRUE((std::is_same_v<decltype(&CPThread::Wait), long (CPThread::*)(unsigned int)>));
    EXPECT_TRUE((std::is_same_v<decltype(&CPThread::Terminate), bool (CPThread::*)()>));
    EXPECT_TRUE((std::is_same_v<decltype(CPThread::GetTypeID()), void const*>));
}

TEST(ThreadHandle, empty_waits_with_minus_2_and_terminates_with_true)
{
    CPThread thread;
    EXPECT_EQ(thread.Wait(0), -2);
    EXPECT_EQ(thread.Wait(5), -2);
    EXPECT_EQ(thread.Wait(no_limit), -2);
    EXPECT_TRUE(thread.Terminate());
    EXPECT_FALSE(thread);
}

TEST(ThreadHandle, execute_makes_one_block_of_its_type)
{
    Stubborn body;
    CPThread thread;
    ASSERT_TRUE(thread.Execute(body.context(), 0));
    EXPECT_TRUE(thread);
    EXPECT_EQ(CPThread::GetTypeID(), &_vtbl_cThread);
    EXPECT_TRUE(thread.IsType(CPThread::GetTypeID()));
    EXPECT_EQ(thread.lockcnt(), 1U);
    EXPECT_EQ(thread.GetSize(), sizeof(_cThread));
    EXPECT_EQ(thread.GetAllocSize(), sizeof(_cThread));
    body.let_go();
    EXPECT_EQ(thread.Wait(plenty), 0);
}

TEST(ThreadHandle, execute_without_memory_is_false_and_leaves_it_empty)
{
    Context context = context_of([] {});
    CPThread thread;
    {
        AllocationFailure const failure(1);
        EXPECT_FALSE(thread.Execute(context, 0));
        EXPECT_EQ(failure.last_size(), sizeof(tagCPOMEMHEADER) + sizeof(_cThread));
    }
    EXPECT_FALSE(thread);
    EXPECT_EQ(context.lockcnt(), 1U);
    EXPECT_EQ(context->exitCode(), 0U);
    EXPECT_TRUE(thread.Execute(context, 0));
    EXPECT_EQ(thread.Wait(plenty), 0);
}

TEST(ThreadHandle, execute_twice_is_true_then_false_and_starts_one_thread)
{
    std::atomic<unsigned int> runs{0};
    Context context = context_of([&] { ++runs; });
    CPThread thread;
    EXPECT_TRUE(thread.Execute(context, 0));
    EXPECT_FALSE(thread.Execute(context, 0));
    EXPECT_FALSE(thread.Execute(context, 65536));
    EXPECT_EQ(thread.Wait(no_limit), 0);
    EXPECT_EQ(runs, 1U);
    EXPECT_EQ(context.lockcnt(), 1U);
}

TEST(ThreadHandle, that_holds_a_finished_thread_refuses_to_start_another)
{
    Context context = context_of([] {});
    CPThread thread;
    ASSERT_TRUE(thread.Execute(context, 0));
    ASSERT_TRUE(reaches(context, 3));
    EXPECT_TRUE(thread);
    EXPECT_FALSE(thread.Execute(context, 0));
    EXPECT_EQ(thread.Wait(plenty), 0);
    EXPECT_TRUE(thread.Execute(context, 0));
    EXPECT_EQ(thread.Wait(plenty), 0);
}

TEST(ThreadHandle, uses_the_stack_size)
{
    Context context = context_of([] {});
    CPThread thread;
    EXPECT_TRUE(thread.Execute(context, 1UL << 20));
    EXPECT_EQ(thread.Wait(plenty), 0);
    EXPECT_EQ(context->exitCode(), 3U);
}

TEST(ThreadHandle, wait_keeps_it_on_a_timeout_and_empties_it_when_joined)
{
    Stubborn body;
    CPThread thread;
    ASSERT_TRUE(thread.Execute(body.context(), 0));
    EXPECT_EQ(thread.Wait(0), -1);
    EXPECT_TRUE(thread);
    EXPECT_EQ(thread.Wait(5), -1);
    EXPECT_TRUE(thread);
    body.let_go();
    auto const end = steady_clock::now() + milliseconds(plenty);
    long result = thread.Wait(0);
    while (result == -1 && steady_clock::now() < end)
    {
        EXPECT_TRUE(thread);
        std::this_thread::yield();
        result = thread.Wait(0);
    }
    EXPECT_EQ(result, 0);
    EXPECT_FALSE(thread);
    EXPECT_EQ(thread.Wait(0), -2);
}

TEST(ThreadHandle, copies_share_the_thread_and_each_gives_up_its_own_block)
{
    Stubborn body;
    CPThread first;
    ASSERT_TRUE(first.Execute(body.context(), 0));
    CPThread second(first);
    CPThread third;
    third = second;
    EXPECT_TRUE(second == first);
    EXPECT_TRUE(third == first);
    EXPECT_EQ(first.lockcnt(), 3U);
    EXPECT_FALSE(second.Execute(body.context(), 0));
    body.let_go();
    EXPECT_EQ(second.Wait(plenty), 0);
    EXPECT_FALSE(second);
    EXPECT_TRUE(first);
    EXPECT_FALSE(first.Execute(body.context(), 0));
    EXPECT_EQ(first.Wait(0), -2);
    EXPECT_FALSE(first);
    EXPECT_TRUE(third.Terminate());
    EXPECT_FALSE(third);
}

TEST(ThreadHandle, moving_copies)
{
    Context context = context_of([] {});
    CPThread first;
    ASSERT_TRUE(first.Execute(context, 0));
    CPThread constructed(std::move(first));
    CPThread assigned;
    assigned = std::move(constructed);
    EXPECT_EQ(first.lockcnt(), 3U);
    EXPECT_EQ(first.Wait(plenty), 0);
}

TEST(ThreadHandle, takes_blocks_of_its_own_type_only)
{
    Context context = context_of([] {});
    CPThread thread;
    ASSERT_TRUE(thread.Execute(context, 0));
    CPObjectMemory const untyped = thread;
    CPThread const constructed(untyped);
    EXPECT_TRUE(constructed == thread);
    EXPECT_FALSE(CPThread(CPObjectMemory(context)));
    EXPECT_FALSE(CPThread(CPObjectMemory(CPMutex())));
    EXPECT_FALSE(CPThread(CPObjectMemory::pnull));
    CPThread assigned;
    assigned = untyped;
    EXPECT_EQ(thread.lockcnt(), 4U);
    assigned = static_cast<CPObjectMemory const&>(context);
    EXPECT_FALSE(assigned);
    EXPECT_EQ(thread.lockcnt(), 3U);
    EXPECT_EQ(thread.Wait(plenty), 0);
}

TEST(ThreadHandle, cannot_be_cloned)
{
    Context context = context_of([] {});
    CPThread thread;
    ASSERT_TRUE(thread.Execute(context, 0));
    support::LogRecorder recorder;
    EXPECT_EQ(thread.clone(), 0);
    EXPECT_EQ(recorder.take(),
              support::LogMessages{support::illegal_point("CPObjectMemory::clone: Class does not allow cloning")});
    EXPECT_EQ(thread.Wait(plenty), 0);
}

TEST(ThreadHandle, without_the_interface_holds_a_thread_that_never_ran)
{
    CPObjectMemory block = block_without_interface();
    Context context = context_of([] {});
    CPThread thread;
    EXPECT_FALSE(thread.Execute(block, 0));
    EXPECT_TRUE(thread);
    EXPECT_EQ(block.lockcnt(), 1U);
    EXPECT_FALSE(thread.Execute(context, 0));
    EXPECT_EQ(context->exitCode(), 0U);
    EXPECT_EQ(thread.Wait(no_limit), -2);
    EXPECT_FALSE(thread);

    CPObjectMemory empty;
    EXPECT_FALSE(thread.Execute(empty, 0));
    EXPECT_TRUE(thread);
    EXPECT_TRUE(thread.Terminate());
    EXPECT_FALSE(thread);
    EXPECT_TRUE(thread.Execute(context, 0));
    EXPECT_EQ(thread.Wait(plenty), 0);
}

TEST(ThreadHandle, whose_start_throws_holds_a_thread_that_never_ran)
{
    Context context = context_of([] {});
    CPThread thread;
    EXPECT_THROW(thread.Execute(context, 1UL << 62), boost::thread_resource_error);
    EXPECT_TRUE(thread);
    EXPECT_EQ(context.lockcnt(), 1U);
    EXPECT_EQ(thread.Wait(0), -2);
    EXPECT_FALSE(thread);
}

TEST(ThreadHandle, terminate_ends_a_thread_that_sleeps_and_empties_the_handle)
{
    Context context = sleeper();
    CPThread thread;
    ASSERT_TRUE(thread.Execute(context, 0));
    EXPECT_TRUE(thread.Terminate());
    EXPECT_FALSE(thread);
    EXPECT_EQ(context->exitCode(), 2U);
    EXPECT_EQ(context.lockcnt(), 1U);
    EXPECT_TRUE(thread.Execute(context, 0));
    EXPECT_TRUE(thread.Terminate());
}

TEST(ThreadHandle, release_of_the_last_one_terminates_the_thread)
{
    Context context = sleeper();
    {
        CPThread second;
        {
            CPThread first;
            ASSERT_TRUE(first.Execute(context, 0));
            second = first;
        }
        EXPECT_EQ(second.Wait(0), -1);
    }
    EXPECT_EQ(context.lockcnt(), 1U);
    EXPECT_EQ(context->exitCode(), 2U);
}

TEST(ThreadHandle, interrupted_wait_gives_it_up_and_the_last_one_terminates_the_thread)
{
    for (unsigned int const timeout : {plenty, no_limit})
    {
        Context context = sleeper();
        long result = 99;
        bool holds = true;
        unsigned int exit_code = 0;
        Context waiting = context_of(
            [&]
            {
                CPThread thread;
                thread.Execute(context, 0);
                result = thread.Wait(timeout);
                holds = thread;
                exit_code = context->exitCode();
            });
        CPThread waiter;
        ASSERT_TRUE(waiter.Execute(waiting, 0));
        EXPECT_TRUE(waiter.Terminate());
        EXPECT_EQ(result, -3);
        EXPECT_FALSE(holds);
        EXPECT_EQ(exit_code, 2U);
        EXPECT_EQ(context.lockcnt(), 1U);
    }
}

// A timeout of 0 is a wait like any other.
TEST(ThreadHandle, wait_for_0_of_an_interrupted_thread_gives_it_up)
{
    Stubborn body;
    long result = 99;
    bool holds = true;
    CPThread thread;
    ASSERT_TRUE(thread.Execute(body.context(), 0));
    CPThread const second(thread);
    Context waiting = context_of(
        [&]
        {
            EXPECT_TRUE(wait_for_interruption());
            result = thread.Wait(0);
            holds = thread;
        });
    CPThread waiter;
    ASSERT_TRUE(waiter.Execute(waiting, 0));
    EXPECT_TRUE(waiter.Terminate());
    EXPECT_EQ(result, -3);
    EXPECT_FALSE(holds);
    EXPECT_EQ(second.lockcnt(), 1U);
    EXPECT_TRUE(reaches(body.context(), 1));
    body.let_go();
    EXPECT_TRUE(reaches(body.context(), 3));
}

// What a thread does with its own handle.
template <class Operation>
void on_its_own_handle(Operation operation)
{
    CPThread thread;
    Signal stored;
    std::string text;
    bool holds = false;
    Context context = context_of(
        [&]
        {
            stored.wait();
            try
            {
                operation(thread);
            }
            catch (boost::thread_resource_error const& error)
            {
                text = error.what();
            }
            holds = thread;
        });
    ASSERT_TRUE(thread.Execute(context, 0));
    CPThread second(thread);
    stored.set();
    EXPECT_EQ(second.Wait(plenty), 0);
    EXPECT_EQ(text.substr(0, 35), "boost thread: trying joining itself");
    EXPECT_TRUE(holds);
    EXPECT_EQ(thread.Wait(0), -2);
}

TEST(ThreadHandle, wait_of_a_thread_for_itself_throws_and_keeps_the_block)
{
    for (unsigned int const timeout : {0U, 7U, no_limit})
        on_its_own_handle([timeout](CPThread& thread) { thread.Wait(timeout); });
}

TEST(ThreadHandle, terminate_of_a_thread_by_itself_throws_and_keeps_the_block)
{
    on_its_own_handle([](CPThread& thread) { thread.Terminate(); });
}

} // namespace
