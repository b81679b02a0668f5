// Threads without memory. The threads' library takes some by `new`, and throws where it has none.
#include "faults/new_faults.h"

#include "support/LogRecorder.h"
#include "threading/thread_bodies.h"

#include <atomic>

namespace
{

using namespace ORVA::Threading;
using namespace threads;
using faults::fail_each_allocation;
using faults::NewFails;
using faults::Undisturbed;

enum class Start
{
    done,
    refused,
    thrown
};

// Starts a thread with all that is asked of the heap able to fail.
template <class Thread>
Start start(Thread& thread, Context& context, unsigned long stack_size)
{
    try
    {
        NewFails const scope;
        return thread.Execute(context, stack_size) ? Start::done : Start::refused;
    }
    catch (std::bad_alloc const&)
    {
        return Start::thrown;
    }
}

constexpr unsigned long stack_sizes[] = {0, 1UL << 20};

} // namespace

FAULT_TEST(Threads, AContextIsMadeOrTheHandleIsEmpty, "Threading::CPThreadContext::create()")
{
    unsigned long const allocations = fail_each_allocation(
        [](unsigned long nth)
        {
            Context context;
            Task* const task = context.create();
            Undisturbed const pause;
            EXPECT_EQ(task != nullptr, nth != 1);
            EXPECT_EQ(static_cast<bool>(context), nth != 1);
            ASSERT_NE(context.create(), nullptr);
            EXPECT_EQ(context.lockcnt(), 1U);
            EXPECT_EQ(context->exitCode(), 0U);
        });
    EXPECT_EQ(allocations, 1UL);
}

// Without memory for the handle's block the handle is empty; without that for the thread itself it holds one that never
// ran, which a wait gives back.
FAULT_TEST(Threads, AThreadIsStartedOrTheHandleCanBeUsedAgain,
           "Threading::CPThread::Execute(Buffers::CPObjectMemory&, unsigned long)")
{
    support::LogRecorder log;
    for (unsigned long const stack_size : stack_sizes)
    {
        unsigned int runs_expected = 0;
        std::atomic<unsigned int> runs{0};
        unsigned int thrown = 0;
        unsigned long const allocations = fail_each_allocation(
            [&](unsigned long nth)
            {
                Context context;
                {
                    Undisturbed const pause;
                    context = context_of([&runs] { ++runs; });
                }
                CPThread thread;
                Start const result = start(thread, context, stack_size);
                Undisturbed const pause;
                EXPECT_EQ(result == Start::refused, nth == 1);
                EXPECT_TRUE(nth != 0 || result == Start::done);
                thrown += result == Start::thrown;
                EXPECT_EQ(static_cast<bool>(thread), result != Start::refused);
                if (result == Start::done)
                {
                    EXPECT_EQ(thread.Wait(no_limit), 0);
                    ++runs_expected;
                }
                else
                {
                    EXPECT_EQ(context.lockcnt(), 1U);
                    EXPECT_EQ(context->exitCode(), 0U);
                    EXPECT_EQ(thread.Wait(no_limit), -2);
                }
                EXPECT_FALSE(thread);
                EXPECT_EQ(start(thread, context, stack_size), Start::done);
                EXPECT_EQ(thread.Wait(no_limit), 0);
                EXPECT_EQ(runs, ++runs_expected);
                EXPECT_EQ(context.lockcnt(), 1U);
            });
        EXPECT_EQ(thrown, 2 * (allocations - 1)) << "all but the first are the threads' library's";
        EXPECT_GE(thrown, faults::new_can_fail() ? 2U : 0U);
    }
    EXPECT_EQ(log.count(), 0U);
}

FAULT_TEST(Threads, AThreadInPlaceIsStartedOrIsAsItWas,
           "Threading::_cThread::Execute(Buffers::CPObjectMemory&, unsigned long)")
{
    if (!faults::new_can_fail())
        GTEST_SKIP() << "all of it is taken by new, which a sanitizer keeps for itself";
    for (unsigned long const stack_size : stack_sizes)
    {
        unsigned int thrown = 0;
        unsigned long const allocations = fail_each_allocation(
            [&thrown, stack_size](unsigned long nth)
            {
                Context context;
                {
                    Undisturbed const pause;
                    context = context_of([] {});
                }
                _cThread thread;
                Start const result = start(thread, context, stack_size);
                Undisturbed const pause;
                EXPECT_TRUE(nth != 1 || result == Start::thrown);
                EXPECT_TRUE(nth != 0 || result == Start::done);
                thrown += result == Start::thrown;
                EXPECT_EQ(thread.Wait(no_limit), result == Start::done ? 0 : -2);
                EXPECT_EQ(context.lockcnt(), 1U);
                EXPECT_TRUE(thread.Terminate());
                EXPECT_EQ(start(thread, context, stack_size), Start::done);
                EXPECT_EQ(thread.Wait(no_limit), 0);
                EXPECT_EQ(context->exitCode(), 3U);
            });
        EXPECT_EQ(thrown, 2 * allocations);
    }
}

// A start that the system refuses is told by an exception; without memory for its text another one takes its place.
TEST(Threads, AStartThatTheSystemRefusesPassesAnExceptionWithMemoryAndWithout)
{
    unsigned int told = 0;
    unsigned int without_memory = 0;
    fail_each_allocation(
        [&](unsigned long nth)
        {
            Context context;
            {
                Undisturbed const pause;
                context = context_of([] {});
            }
            CPThread thread;
            bool is_refused = false;
            try
            {
                NewFails const scope;
                is_refused = !thread.Execute(context, 1UL << 62);
            }
            catch (boost::thread_resource_error const&)
            {
                ++told;
            }
            catch (std::bad_alloc const&)
            {
                ++without_memory;
            }
            Undisturbed const pause;
            EXPECT_EQ(is_refused, nth == 1);
            EXPECT_EQ(static_cast<bool>(thread), nth != 1);
            EXPECT_EQ(thread.Wait(0), -2);
            EXPECT_EQ(context.lockcnt(), 1U);
            EXPECT_EQ(start(thread, context, 0), Start::done);
            EXPECT_EQ(thread.Wait(no_limit), 0);
        });
    EXPECT_GE(told, 3U);
    EXPECT_GE(without_memory, faults::new_can_fail() ? 2U : 0U);
}

// A thread that waits for itself is told so by an exception, and its handle keeps its block.
TEST(Threads, AWaitForItselfPassesAnExceptionWithMemoryAndWithout)
{
    if (!faults::new_can_fail())
        GTEST_SKIP() << "all of it is taken by new, which a sanitizer keeps for itself";
    unsigned int told = 0;
    unsigned int without_memory = 0;
    CPThread thread;
    Signal started;
    Context context = context_of(
        [&]
        {
            started.wait();
            fail_each_allocation(
                [&](unsigned long)
                {
                    try
                    {
                        NewFails const scope;
                        thread.Wait(no_limit);
                    }
                    catch (boost::thread_resource_error const&)
                    {
                        ++told;
                    }
                    catch (std::bad_alloc const&)
                    {
                        ++without_memory;
                    }
                    Undisturbed const pause;
                    EXPECT_TRUE(thread);
                });
        });
    ASSERT_TRUE(thread.Execute(context, 0));
    started.set();
    EXPECT_EQ(thread.Wait(no_limit), 0);
    EXPECT_EQ(context->exitCode(), 3U);
    EXPECT_GE(told, 3U);
    EXPECT_GE(without_memory, 2U);
}

TEST(Threads, WaitsAndEndsNeedNoMemory)
{
    Stubborn body;
    CPThread thread;
    ASSERT_TRUE(thread.Execute(body.context(), 0));
    ASSERT_TRUE(body.wait_until_it_runs());
    support::AllocationFailure const failure(1, support::AllocationFailure::forever);
    {
        NewFails const scope;
        EXPECT_EQ(thread.Wait(0), -1);
        EXPECT_EQ(thread.Wait(1), -1);
        CPThread const copy(thread);
        body.let_go();
        EXPECT_EQ(thread.Wait(no_limit), 0);
        EXPECT_TRUE(thread.Terminate());
        CurrentThread::sleep(1);
    }
    EXPECT_EQ(failure.attempts(), 0UL);
}

TEST(Threads, AnInterruptedSleepNeedsNoMemory)
{
    unsigned long attempts = 1;
    Signal started;
    Context context = context_of(
        [&]
        {
            support::AllocationFailure const failure(1, support::AllocationFailure::forever);
            NewFails const scope;
            started.set();
            try
            {
                CurrentThread::sleep(very_long);
            }
            catch (boost::thread_interrupted const&)
            {
                attempts = failure.attempts();
            }
        });
    CPThread thread;
    ASSERT_TRUE(thread.Execute(context, 0));
    ASSERT_TRUE(started.wait());
    EXPECT_TRUE(thread.Terminate());
    EXPECT_EQ(attempts, 0UL);
}
