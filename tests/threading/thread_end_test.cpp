#include "ORVA/Threading/CriticalSection.h"
#include "ORVA/Threading/MultipleEvent.h"
#include "ORVA/Threading/Mutex.h"
#include "ORVA/Threading/RWInterlock.h"

#include "threading/thread_bodies.h"

#include <boost/thread/exceptions.hpp>

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <optional>
#include <thread>
#include <utility>

// Destruction of the plain thread class, threads that are abandoned, and what an interruption ends.
namespace
{

using namespace ORVA::Threading;
using namespace threads;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

TEST(ThreadDestructor, interrupts_the_thread_and_joins_it)
{
    Context context = sleeper();
    {
        _cThread thread;
        ASSERT_TRUE(thread.Execute(context, 0));
    }
    EXPECT_EQ(context.lockcnt(), 1U);
    EXPECT_EQ(context->exitCode(), 2U);
}

TEST(ThreadDestructor, is_not_cut_short_by_an_interruption_which_stays_for_later)
{
    Signal inside;
    Context target = context_of(
        [&]
        {
            try
            {
                inside.set();
                CurrentThread::sleep(very_long);
            }
            catch (boost::thread_interrupted const&)
            {
                // Time for the interruption of the destroying thread to arrive in the destructor's join.
                std::this_thread::sleep_for(milliseconds(30));
                throw;
            }
        });
    unsigned int exit_code_after = 0;
    Context destroying = context_of(
        [&]
        {
            {
                _cThread thread;
                thread.Execute(target, 0);
                inside.wait();
            }
            exit_code_after = target->exitCode();
            CurrentThread::sleep(very_long);
        });
    _cThread destroyer;
    ASSERT_TRUE(destroyer.Execute(destroying, 0));
    ASSERT_TRUE(inside.wait());
    EXPECT_TRUE(destroyer.Terminate());
    EXPECT_EQ(exit_code_after, 2U);
    EXPECT_EQ(destroying->exitCode(), 2U);
}

TEST(ThreadDestructor, on_the_thread_itself_lets_it_go_on)
{
    auto const gone = std::make_shared<Signal>();
    Signal stored;
    Signal went_on;
    std::optional<_cThread> thread(std::in_place);
    {
        Context context = context_of(
            [trace = Trace(gone), &stored, &went_on, &thread]
            {
                stored.wait();
                thread.reset();
                went_on.set();
            });
        ASSERT_TRUE(thread->Execute(context, 0));
    }
    stored.set();
    EXPECT_TRUE(went_on.wait());
    EXPECT_TRUE(gone->wait());
}

// How long the release of the last handle on `body` takes.
steady_clock::duration time_of_release(Stubborn& body)
{
    CPThread thread;
    EXPECT_TRUE(thread.Execute(body.context(), 0));
    EXPECT_TRUE(body.wait_until_it_runs());
    auto const begin = steady_clock::now();
    thread = CPThread();
    return steady_clock::now() - begin;
}

bool is_about_5_seconds(steady_clock::duration time)
{
    return time >= milliseconds(5000) && time < milliseconds(8000);
}

// The one test that waits for the 5 seconds, those of a release at the same time.
TEST(ThreadHandle, terminate_abandons_a_body_that_ignores_it_after_5_seconds)
{
    auto const gone = std::make_shared<Signal>();
    Signal started;
    Signal let_go;
    Signal went_on;
    CPThread thread;
    CPThread second;
    {
        Context context = context_of(
            [trace = Trace(gone), &started, &let_go, &went_on]
            {
                started.set();
                let_go.wait();
                went_on.set();
            });
        ASSERT_TRUE(thread.Execute(context, 0));
    }
    second = thread;
    ASSERT_TRUE(started.wait());
    Stubborn released;
    auto release = std::async(std::launch::async, [&] { return time_of_release(released); });
    auto const begin = steady_clock::now();
    EXPECT_FALSE(thread.Terminate());
    EXPECT_TRUE(is_about_5_seconds(steady_clock::now() - begin));
    EXPECT_FALSE(thread);
    EXPECT_TRUE(is_about_5_seconds(release.get()));
    EXPECT_EQ(released.context()->exitCode(), 1U);
    EXPECT_EQ(released.context().lockcnt(), 2U);
    released.let_go();
    EXPECT_TRUE(reaches(released.context(), 3));
    EXPECT_EQ(second.Wait(no_limit), -2);
    EXPECT_FALSE(second);
    EXPECT_FALSE(gone->is_set());
    let_go.set();
    EXPECT_TRUE(went_on.wait());
    EXPECT_TRUE(gone->wait());
}

TEST(CurrentThreadSleep, takes_at_least_that_many_milliseconds)
{
    for (unsigned int const time : {0U, 1U, 25U})
    {
        auto const begin = steady_clock::now();
        CurrentThread::sleep(time);
        auto const taken = steady_clock::now() - begin;
        EXPECT_GE(taken, milliseconds(time));
        EXPECT_LT(taken, milliseconds(10000));
    }
}

TEST(CurrentThreadSleep, is_an_interruption_point)
{
    bool interrupted = false;
    Context context = context_of(
        [&]
        {
            try
            {
                CurrentThread::sleep(no_limit);
            }
            catch (boost::thread_interrupted const&)
            {
                interrupted = true;
            }
        });
    _cThread thread;
    ASSERT_TRUE(thread.Execute(context, 0));
    EXPECT_TRUE(thread.Terminate());
    EXPECT_TRUE(interrupted);
    EXPECT_EQ(context->exitCode(), 3U);
}

TEST(Interruption, takes_no_effect_in_the_waits_of_events_and_locks)
{
    CPCriticalSection section;
    CPMutex mutex;
    CPRWInterlock interlock;
    section.Enter();
    mutex.Enter();
    interlock.Enter();
    long event_result = 99;
    long multiple_result = 99;
    bool entered = false;
    Context context = context_of(
        [&]
        {
            EXPECT_TRUE(wait_for_interruption());
            CPEvent const event(true);
            CPMultipleEvent const either(false);
            either.Attach(event);
            event_result = event.Wait(5);
            multiple_result = either.Wait(5);
            entered = section.TryEnter(5) || mutex.TryEnter(5) || interlock.TryEnter(5) || interlock.TryEnterRead(5);
            CurrentThread::sleep(very_long);
        });
    _cThread thread;
    ASSERT_TRUE(thread.Execute(context, 0));
    EXPECT_TRUE(thread.Terminate());
    EXPECT_EQ(event_result, -1);
    EXPECT_EQ(multiple_result, -1);
    EXPECT_FALSE(entered);
    EXPECT_EQ(context->exitCode(), 2U) << "the interruption stays for the sleep";
    interlock.Leave();
    mutex.Leave();
    section.Leave();
}

} // namespace
