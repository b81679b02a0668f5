#include "threading/thread_bodies.h"

#include <boost/thread/exceptions.hpp>

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <thread>
#include <utility>

// Destruction of the plain thread class, and the sleep that it interrupts.
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

TEST(CurrentThreadSleep, takes_at_least_that_many_milliseconds)
{
    for (unsigned int const time : {0U, 1U, 25U})
    {
        auto const begin = steady_clock::now();
        CurrentThread::sleep(time);
        EXPECT_GE(steady_clock::now() - begin, milliseconds(time));
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

} // namespace
