#include "support/LogRecorder.h"
#include "threading/thread_bodies.h"

#include <boost/thread/exceptions.hpp>
#include <boost/thread/thread_only.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>

// The plain thread class.
namespace
{

using namespace ORVA::Buffers;
using namespace ORVA::Threading;
using namespace threads;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

TEST(Thread, is_a_boost_thread_and_nothing_more)
{
    EXPECT_EQ(sizeof(_cThread), sizeof(boost::thread));
    EXPECT_FALSE(std::is_copy_constructible_v<_cThread>);
    EXPECT_FALSE(std::is_copy_assignable_v<_cThread>);
    EXPECT_FALSE(std::is_polymorphic_v<_cThread>);
    EXPECT_TRUE((std::is_same_v<decltype(&_cThread::Execute), bool (_cThread::*)(CPObjectMemory&, unsigned long)>));
    EXPECT_TRUE((std::is_same_v<decltype(&_cThread::Wait), long (_cThread::*)(unsigned int)>));
    EXPECT_TRUE((std::is_same_v<decltype(&_cThread::Terminate), bool (_cThread::*)()>));
}

TEST(Thread, type_table_has_create_no_clone_finalize_and_no_interface)
{
    EXPECT_EQ(_vtbl_cThread._create, &_create_cThread);
    EXPECT_TRUE(_vtbl_cThread._clone == nullptr);
    EXPECT_EQ(_vtbl_cThread._finalize, &_finalize_cThread);
    EXPECT_EQ(_vtbl_cThread._interface, &CPObjectMemory::_nointerface);
}

TEST(Thread, create_and_finalize_work_in_place_and_ignore_the_size)
{
    for (unsigned long const size : {0UL, 1UL, sizeof(_cThread), 0xFFFFFFFFFFFFFFFFUL})
    {
        alignas(16) unsigned char memory[sizeof(_cThread) + 16];
        std::memset(memory, 0xA5, sizeof(memory));
        _vtbl_cThread._create(memory, size);
        auto* const thread = reinterpret_cast<_cThread*>(memory);
        EXPECT_EQ(thread->Wait(0), -2);
        Context context = context_of([] {});
        EXPECT_TRUE(thread->Execute(context, 0));
        _vtbl_cThread._finalize(memory, size);
        EXPECT_EQ(context.lockcnt(), 1U);
        EXPECT_EQ(context->exitCode(), 3U);
        for (unsigned long i = sizeof(_cThread); i < sizeof(memory); ++i)
            EXPECT_EQ(memory[i], 0xA5);
    }
}

TEST(Thread, that_never_ran_cannot_be_joined)
{
    _cThread thread;
    EXPECT_EQ(thread.Wait(0), -2);
    EXPECT_EQ(thread.Wait(1), -2);
    EXPECT_EQ(thread.Wait(no_limit), -2);
    EXPECT_TRUE(thread.Terminate());
}

TEST(Thread, without_the_interface_starts_nothing)
{
    _cThread thread;
    CPObjectMemory block = block_without_interface();
    CPObjectMemory empty;
    EXPECT_FALSE(thread.Execute(block, 0));
    EXPECT_FALSE(thread.Execute(empty, 0));
    EXPECT_FALSE(thread.Execute(block, 65536));
    EXPECT_EQ(block.lockcnt(), 1U);
    EXPECT_EQ(thread.Wait(0), -2);

    Context context = context_of([] {});
    EXPECT_TRUE(thread.Execute(context, 0));
    EXPECT_EQ(thread.Wait(plenty), 0);
}

TEST(Thread, runs_the_body_once_on_a_thread_of_its_own)
{
    std::thread::id runner;
    unsigned int runs = 0;
    Context context = context_of(
        [&]
        {
            runner = std::this_thread::get_id();
            ++runs;
        });
    _cThread thread;
    EXPECT_TRUE(thread.Execute(context, 0));
    EXPECT_EQ(thread.Wait(no_limit), 0);
    EXPECT_EQ(runs, 1U);
    EXPECT_TRUE(runner != std::thread::id());
    EXPECT_TRUE(runner != std::this_thread::get_id());
    EXPECT_EQ(context->exitCode(), 3U);
}

TEST(Thread, runs_a_body_whose_interface_is_not_at_the_start)
{
    bool ran = false;
    CPIObject<Offset> block;
    block.create()->work = [&] { ran = true; };
    _cThread thread;
    EXPECT_TRUE(thread.Execute(block, 0));
    EXPECT_EQ(thread.Wait(plenty), 0);
    EXPECT_TRUE(ran);
}

TEST(Thread, keeps_the_body_alive_while_it_runs_and_until_it_is_joined)
{
    auto const gone = std::make_shared<Signal>();
    Signal started;
    Signal let_go;
    _cThread thread;
    {
        Context context = context_of(
            [trace = Trace(gone), &started, &let_go]
            {
                started.set();
                let_go.wait();
            });
        ASSERT_TRUE(thread.Execute(context, 0));
        EXPECT_EQ(context.lockcnt(), 2U);
    }
    ASSERT_TRUE(started.wait());
    EXPECT_FALSE(gone->is_set());
    let_go.set();
    EXPECT_EQ(thread.Wait(plenty), 0);
    EXPECT_TRUE(gone->is_set());
}

TEST(Thread, exit_code_is_0_before_1_during_and_3_after_the_run)
{
    Stubborn body;
    EXPECT_EQ(body.context()->exitCode(), 0U);
    _cThread thread;
    ASSERT_TRUE(thread.Execute(body.context(), 0));
    ASSERT_TRUE(body.wait_until_it_runs());
    EXPECT_EQ(body.context()->exitCode(), 1U);
    body.let_go();
    EXPECT_EQ(thread.Wait(plenty), 0);
    EXPECT_EQ(body.context()->exitCode(), 3U);
}

TEST(Thread, ends_quietly_with_exit_code_2_when_the_body_throws)
{
    support::LogRecorder recorder;
    Context context = context_of([] { throw std::runtime_error("body"); });
    _cThread thread;
    ASSERT_TRUE(thread.Execute(context, 0));
    EXPECT_EQ(thread.Wait(plenty), 0);
    EXPECT_EQ(context->exitCode(), 2U);
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(Thread, is_not_started_again_before_it_was_joined)
{
    Stubborn body;
    Context second = context_of([] {});
    _cThread thread;
    ASSERT_TRUE(thread.Execute(body.context(), 0));
    ASSERT_TRUE(body.wait_until_it_runs());
    EXPECT_FALSE(thread.Execute(second, 0));
    EXPECT_FALSE(thread.Execute(second, 65536));
    EXPECT_EQ(second.lockcnt(), 1U);
    body.let_go();
    ASSERT_TRUE(reaches(body.context(), 3));
    EXPECT_FALSE(thread.Execute(second, 0));
    EXPECT_EQ(thread.Wait(plenty), 0);
    EXPECT_EQ(second->exitCode(), 0U);

    EXPECT_TRUE(thread.Execute(second, 0));
    EXPECT_EQ(thread.Wait(plenty), 0);
    EXPECT_EQ(second->exitCode(), 3U);
}

bool asked = false;

void* note(void*, _nqfUID const&)
{
    asked = true;
    return nullptr;
}

TEST(Thread, that_runs_does_not_look_at_the_next_body)
{
    tagCPOVTABL const noting_table = {nullptr, nullptr, [](void*, unsigned long) {}, &note};
    CPObjectMemory next;
    ASSERT_EQ(next.Alloc(16, &noting_table), 1);
    Stubborn body;
    _cThread thread;
    CPThread handle;
    ASSERT_TRUE(thread.Execute(body.context(), 0));
    ASSERT_TRUE(handle.Execute(body.context(), 0));
    EXPECT_FALSE(thread.Execute(next, 0));
    EXPECT_FALSE(handle.Execute(next, 0));
    EXPECT_FALSE(asked);
    body.let_go();
    EXPECT_EQ(thread.Wait(plenty), 0);
    EXPECT_EQ(handle.Wait(plenty), 0);
    EXPECT_FALSE(thread.Execute(next, 0));
    EXPECT_TRUE(asked);
}

TEST(ThreadWait, times_out_while_it_runs_then_joins_once)
{
    Stubborn body;
    _cThread thread;
    ASSERT_TRUE(thread.Execute(body.context(), 0));
    EXPECT_EQ(thread.Wait(0), -1);
    auto const begin = steady_clock::now();
    EXPECT_EQ(thread.Wait(30), -1);
    auto const taken = steady_clock::now() - begin;
    EXPECT_GE(taken, milliseconds(30));
    EXPECT_LT(taken, milliseconds(10000));
    body.let_go();
    EXPECT_EQ(thread.Wait(0xFFFFFFFEU), 0);
    EXPECT_EQ(body.context().lockcnt(), 1U);
    EXPECT_EQ(thread.Wait(0), -2);
    EXPECT_EQ(thread.Wait(no_limit), -2);
}

TEST(ThreadWait, for_0_joins_a_thread_that_has_ended)
{
    Context context = context_of([] {});
    _cThread thread;
    ASSERT_TRUE(thread.Execute(context, 0));
    auto const end = steady_clock::now() + milliseconds(plenty);
    long result = thread.Wait(0);
    while (result == -1 && steady_clock::now() < end)
    {
        std::this_thread::yield();
        result = thread.Wait(0);
    }
    EXPECT_EQ(result, 0);
    EXPECT_EQ(context->exitCode(), 3U);
}

TEST(ThreadWait, of_an_interrupted_thread_is_minus_3_with_any_timeout)
{
    for (unsigned int const timeout : {0U, 1U, plenty, no_limit})
    {
        Stubborn body;
        _cThread thread;
        ASSERT_TRUE(thread.Execute(body.context(), 0));
        long result = 99;
        Context waiting = context_of(
            [&]
            {
                EXPECT_TRUE(wait_for_interruption());
                result = thread.Wait(timeout);
            });
        _cThread waiter;
        ASSERT_TRUE(waiter.Execute(waiting, 0));
        EXPECT_TRUE(waiter.Terminate());
        EXPECT_EQ(result, -3) << timeout;
        EXPECT_EQ(thread.Wait(0), -1);
        body.let_go();
        EXPECT_EQ(thread.Wait(plenty), 0);
    }
}

// The waiter is interrupted before it waits or while it does: both end the wait in the same way.
TEST(ThreadWait, is_minus_3_when_the_waiter_is_interrupted_and_the_thread_goes_on)
{
    for (unsigned int const timeout : {plenty, no_limit})
    {
        Stubborn body;
        _cThread thread;
        ASSERT_TRUE(thread.Execute(body.context(), 0));
        std::atomic<long> result{99};
        Context waiting = context_of([&] { result = thread.Wait(timeout); });
        _cThread waiter;
        ASSERT_TRUE(waiter.Execute(waiting, 0));
        EXPECT_TRUE(waiter.Terminate());
        EXPECT_EQ(result, -3);
        EXPECT_EQ(waiting->exitCode(), 3U);
        EXPECT_EQ(thread.Wait(0), -1);
        body.let_go();
        EXPECT_EQ(thread.Wait(plenty), 0);
    }
}

TEST(ThreadWait, of_a_thread_for_itself_throws)
{
    for (unsigned int const timeout : {0U, plenty, no_limit})
    {
        std::string text;
        int code = 0;
        _cThread thread;
        Context context = context_of(
            [&]
            {
                try
                {
                    thread.Wait(timeout);
                }
                catch (boost::thread_resource_error const& error)
                {
                    text = error.what();
                    code = error.native_error();
                }
            });
        // The body uses `thread` only after the start has stored the thread in it.
        Signal stored;
        Context late = context_of(
            [&]
            {
                stored.wait();
                context->execute();
            });
        ASSERT_TRUE(thread.Execute(late, 0));
        stored.set();
        EXPECT_EQ(thread.Wait(plenty), 0);
        EXPECT_THAT(text, testing::StartsWith("boost thread: trying joining itself"));
        EXPECT_EQ(code, EDEADLK);
    }
}

TEST(ThreadTerminate, ends_a_thread_that_sleeps)
{
    Context context = sleeper();
    _cThread thread;
    ASSERT_TRUE(thread.Execute(context, 0));
    EXPECT_TRUE(thread.Terminate());
    EXPECT_EQ(context->exitCode(), 2U);
    EXPECT_EQ(context.lockcnt(), 1U);
    EXPECT_EQ(thread.Wait(0), -2);
    EXPECT_TRUE(thread.Terminate());
    Context next = context_of([] {});
    EXPECT_TRUE(thread.Execute(next, 0));
    EXPECT_EQ(thread.Wait(plenty), 0);
}

TEST(ThreadTerminate, joins_a_thread_that_ends_without_being_interrupted)
{
    Stubborn body;
    _cThread thread;
    ASSERT_TRUE(thread.Execute(body.context(), 0));
    ASSERT_TRUE(body.wait_until_it_runs());
    body.let_go();
    EXPECT_TRUE(thread.Terminate());
    EXPECT_EQ(body.context()->exitCode(), 3U);
    EXPECT_EQ(body.context().lockcnt(), 1U);
}

// An interruption is no error of a body that does without the wrapper.
TEST(ThreadTerminate, ends_a_plain_body_that_sleeps)
{
    CPIObject<Offset> block;
    block.create()->work = [] { CurrentThread::sleep(very_long); };
    _cThread thread;
    ASSERT_TRUE(thread.Execute(block, 0));
    EXPECT_TRUE(thread.Terminate());
    EXPECT_EQ(block.lockcnt(), 1U);
}

TEST(ThreadTerminate, lets_the_interruption_of_its_caller_pass_and_keeps_the_thread)
{
    Stubborn body;
    _cThread thread;
    ASSERT_TRUE(thread.Execute(body.context(), 0));
    Context terminating = context_of([&] { thread.Terminate(); });
    _cThread caller;
    ASSERT_TRUE(caller.Execute(terminating, 0));
    EXPECT_TRUE(caller.Terminate());
    EXPECT_EQ(terminating->exitCode(), 2U);
    EXPECT_EQ(thread.Wait(0), -1);
    body.let_go();
    EXPECT_EQ(thread.Wait(plenty), 0);
}

} // namespace
