// Which steps the start and the stop of the library take, and when.

#include "ORVA/Core.h"
#include "lifecycle.h"
#include "support/LifecycleSteps.h"
#include "support/LogRecorder.h"
#include "threading/event_threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace
{

using ORVA::AppExit;
using ORVA::AppInit;
using ORVA::g_lAppInitLock;
using support::LifecycleSteps;
using support::Steps;

Steps const started = {"maintenance init", "pool init"};
Steps const stopped = {"pool exit", "maintenance exit"};
Steps const nothing;

class Lifecycle : public testing::Test
{
protected:
    Lifecycle() { g_lAppInitLock = 0; }
    ~Lifecycle() override { g_lAppInitLock = 0; }

    LifecycleSteps steps;
};

static_assert(std::is_same_v<decltype(AppInit()), int> && std::is_void_v<decltype(AppExit())>);
static_assert(std::is_same_v<decltype(g_lAppInitLock), unsigned int>);

TEST_F(Lifecycle, the_first_start_starts_the_thread_and_then_the_pools_service)
{
    EXPECT_EQ(AppInit(), 1);
    EXPECT_EQ(steps.take(), started);
    EXPECT_EQ(g_lAppInitLock, 1U);
}

TEST_F(Lifecycle, the_last_stop_stops_them_in_reverse)
{
    AppInit();
    steps.take();
    AppExit();
    EXPECT_EQ(steps.take(), stopped);
    EXPECT_EQ(g_lAppInitLock, 0U);
}

TEST_F(Lifecycle, further_starts_and_their_stops_are_only_counted)
{
    AppInit();
    steps.take();
    for (unsigned int count = 2; count <= 5; ++count)
    {
        EXPECT_EQ(AppInit(), 1);
        EXPECT_EQ(g_lAppInitLock, count);
    }
    for (int stop = 0; stop < 4; ++stop)
        AppExit();
    EXPECT_EQ(steps.take(), nothing);
    EXPECT_EQ(g_lAppInitLock, 1U);
    AppExit();
    EXPECT_EQ(steps.take(), stopped);
}

TEST_F(Lifecycle, after_a_full_stop_everything_starts_anew)
{
    for (int cycle = 0; cycle < 3; ++cycle)
    {
        EXPECT_EQ(AppInit(), 1);
        EXPECT_EQ(steps.take(), started);
        AppExit();
        EXPECT_EQ(steps.take(), stopped);
    }
}

TEST_F(Lifecycle, without_a_thread_the_service_is_not_tried)
{
    steps.fail_maintenance();
    EXPECT_EQ(AppInit(), 0);
    EXPECT_EQ(steps.take(), Steps{"maintenance init"});
}

TEST_F(Lifecycle, a_service_that_does_not_start_leaves_the_thread_running)
{
    steps.fail_pool();
    EXPECT_EQ(AppInit(), 0);
    EXPECT_EQ(steps.take(), started);
}

TEST_F(Lifecycle, a_failure_counts_as_a_start_and_the_next_one_reports_success)
{
    for (bool const maintenance : {true, false})
    {
        steps.fail_maintenance(maintenance);
        steps.fail_pool(!maintenance);
        EXPECT_EQ(AppInit(), 0);
        EXPECT_EQ(g_lAppInitLock, 1U);
        steps.take();

        steps.fail_maintenance(false);
        steps.fail_pool(false);
        EXPECT_EQ(AppInit(), 1);
        EXPECT_EQ(steps.take(), nothing);
        EXPECT_EQ(g_lAppInitLock, 2U);

        AppExit();
        EXPECT_EQ(steps.take(), nothing);
        AppExit();
        EXPECT_EQ(steps.take(), stopped);
        EXPECT_EQ(AppInit(), 1);
        EXPECT_EQ(steps.take(), started);
        AppExit();
        steps.take();
    }
}

TEST_F(Lifecycle, a_stop_without_a_start_wraps_the_count_and_stops_nothing)
{
    AppExit();
    EXPECT_EQ(g_lAppInitLock, 0xFFFFFFFFU);
    EXPECT_EQ(steps.take(), nothing);
}

TEST_F(Lifecycle, after_a_stop_too_many_starts_report_success_and_start_nothing_until_they_make_up_for_it)
{
    AppExit();
    AppExit();
    EXPECT_EQ(AppInit(), 1);
    EXPECT_EQ(AppInit(), 1);
    EXPECT_EQ(g_lAppInitLock, 0U);
    EXPECT_EQ(steps.take(), nothing);
    EXPECT_EQ(AppInit(), 1);
    EXPECT_EQ(steps.take(), started);
}

// The result of a start on another thread, which must not wait for anything.
int start_elsewhere()
{
    return events::Background<int>([] { return AppInit(); }).result();
}

TEST_F(Lifecycle, a_start_during_the_first_one_neither_waits_for_it_nor_learns_that_it_fails)
{
    for (bool const fails : {false, true})
    {
        steps.fail_pool(fails);
        int during_maintenance = 0;
        int during_pool = 0;
        steps.in_step = [&](std::string const& step)
        { (step == "maintenance init" ? during_maintenance : during_pool) = start_elsewhere(); };
        EXPECT_EQ(AppInit(), fails ? 0 : 1);
        steps.in_step = nullptr;
        EXPECT_EQ(during_maintenance, 1);
        EXPECT_EQ(during_pool, 1);
        EXPECT_EQ(steps.take(), started);
        EXPECT_EQ(g_lAppInitLock, 3U);
        for (int stop = 0; stop < 3; ++stop)
            AppExit();
        EXPECT_EQ(steps.take(), stopped);
    }
}

TEST_F(Lifecycle, the_count_changes_before_the_steps_are_taken)
{
    std::vector<unsigned int> counts;
    steps.in_step = [&](std::string const&) { counts.push_back(g_lAppInitLock); };
    AppInit();
    AppExit();
    EXPECT_EQ(counts, (std::vector<unsigned int>{1, 1, 0, 0}));
}

TEST_F(Lifecycle, a_step_of_the_start_that_throws_is_a_failure_as_any_other)
{
    for (unsigned int failing = 0; failing < started.size(); ++failing)
    {
        steps.in_step = [&](std::string const& step)
        {
            if (step == started[failing])
                throw std::runtime_error("no thread");
        };
        EXPECT_NO_THROW(EXPECT_EQ(AppInit(), 0));
        EXPECT_EQ(steps.take(), Steps(started.begin(), started.begin() + failing + 1));
        EXPECT_EQ(AppInit(), 1);
        EXPECT_EQ(steps.take(), nothing);
        steps.in_step = nullptr;
        AppExit();
        AppExit();
        EXPECT_EQ(steps.take(), stopped);
    }
}

TEST_F(Lifecycle, an_interruption_of_the_first_step_of_the_stop_passes_after_the_second)
{
    AppInit();
    steps.take();
    steps.in_step = [](std::string const& step)
    {
        if (step == "pool exit")
            throw std::runtime_error("interrupted");
    };
    EXPECT_THROW(AppExit(), std::runtime_error);
    EXPECT_EQ(steps.take(), stopped);
    EXPECT_EQ(g_lAppInitLock, 0U);
}

TEST_F(Lifecycle, writes_nothing_to_the_log_itself)
{
    support::LogRecorder log;
    AppInit();
    AppExit();
    steps.fail_maintenance();
    AppInit();
    AppExit();
    EXPECT_EQ(log.count(), 0U);
}

TEST_F(Lifecycle, of_several_threads_that_start_at_once_one_runs_the_start_and_one_the_stop)
{
    constexpr int threads = 8;
    constexpr int cycles = 200;
    for (int cycle = 0; cycle < cycles; ++cycle)
    {
        std::atomic<int> arrived{0};
        std::atomic<int> successes{0};
        std::vector<std::thread> callers;
        for (int caller = 0; caller < threads; ++caller)
        {
            callers.emplace_back(
                [&]
                {
                    ++arrived;
                    while (arrived < threads)
                        std::this_thread::yield();
                    successes += AppInit();
                });
        }
        for (std::thread& caller : callers)
            caller.join();
        ASSERT_EQ(successes, threads);
        ASSERT_EQ(steps.take(), started);

        callers.clear();
        for (int caller = 0; caller < threads; ++caller)
            callers.emplace_back([] { AppExit(); });
        for (std::thread& caller : callers)
            caller.join();
        ASSERT_EQ(steps.take(), stopped);
        ASSERT_EQ(g_lAppInitLock, 0U);
    }
}

} // namespace
