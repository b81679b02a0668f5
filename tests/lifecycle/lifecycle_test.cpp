// The library started and stopped as a whole: the thread, the pool's service on it, and what is left behind.

#include "cstringpool/globals.h"
#include "lifecycle.h"
#include "maintenance/globals.h"

#include "ORVA/Core.h"
#include "ORVA/Maintenance.h"
#include "ORVA/String.h"

#include "support/AllocationFailure.h"
#include "support/ClockOverride.h"
#include "support/LogRecorder.h"
#include "threading/event_threads.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace ORVA;
using events::Background;
using events::until;
using String::CPPoolString;
using String::CStringPool;
using support::ClockOverride;
using support::LogMessages;
using support::LogRecorder;
using Threading::_cEvent;

support::LogMessage const thread_starts =
    support::log_message(16, "maintenance", 411, L"Starting maintenance thread", L"Starting maintenance thread");

unsigned long services()
{
    Maintenance::g_cpMRLock.Enter();
    unsigned long const count = Maintenance::g_cpMRList.GetCount();
    Maintenance::g_cpMRLock.Leave();
    return count;
}

_cEvent::eEventState state_of(Threading::CPEvent const& event)
{
    return event.GetHandle()->getState();
}

class LifecycleOfAll : public testing::Test
{
protected:
    void SetUp() override
    {
        g_lAppInitLock = 0;
        ASSERT_FALSE(Maintenance::IsActive());
        ASSERT_FALSE(String::g_pool_maintenance);
        ASSERT_EQ(services(), 0U);
    }

    void TearDown() override
    {
        CStringPool::AppExit();
        Maintenance::AppExit();
        EXPECT_FALSE(Maintenance::IsActive());
        EXPECT_FALSE(String::g_pool_maintenance);
        g_lAppInitLock = 0;
    }

    LogRecorder log;
};

TEST_F(LifecycleOfAll, start_starts_the_thread_and_registers_the_pools_service)
{
    EXPECT_EQ(AppInit(), 1);
    EXPECT_EQ(log.take(), LogMessages{thread_starts});
    EXPECT_TRUE(Maintenance::IsActive());
    ASSERT_TRUE(String::g_pool_maintenance);
    EXPECT_EQ(services(), 1U);
    EXPECT_TRUE(Maintenance::Register(String::g_pool_maintenance));
    EXPECT_EQ(services(), 1U);
}

TEST_F(LifecycleOfAll, last_stop_leaves_neither_a_thread_nor_a_service)
{
    AppInit();
    AppInit();
    log.clear();
    AppExit();
    EXPECT_TRUE(Maintenance::IsActive());
    EXPECT_EQ(services(), 1U);
    AppExit();
    EXPECT_FALSE(Maintenance::IsActive());
    EXPECT_FALSE(String::g_pool_maintenance);
    EXPECT_EQ(services(), 0U);
    EXPECT_EQ(log.count(), 0U);
}

TEST_F(LifecycleOfAll, each_start_after_a_stop_starts_a_thread_with_its_events_reset)
{
    for (int cycle = 0; cycle < 20; ++cycle)
    {
        EXPECT_EQ(AppInit(), 1);
        EXPECT_EQ(log.take(), LogMessages{thread_starts});
        EXPECT_EQ(state_of(Maintenance::g_cpMRStop), _cEvent::eEventReset);
        AppExit();
        EXPECT_EQ(log.count(), 0U);
    }
}

TEST_F(LifecycleOfAll, failed_start_of_the_pool_is_a_failure_once_and_leaves_the_thread_running)
{
    ASSERT_EQ(CStringPool::AppInit(), 1U);
    EXPECT_EQ(AppInit(), 0);
    EXPECT_TRUE(Maintenance::IsActive());
    EXPECT_EQ(AppInit(), 1);
    EXPECT_TRUE(Maintenance::IsActive());
    EXPECT_EQ(services(), 1U);
    AppExit();
    EXPECT_TRUE(Maintenance::IsActive());
    AppExit();
    EXPECT_FALSE(Maintenance::IsActive());
    EXPECT_FALSE(String::g_pool_maintenance);
    EXPECT_EQ(AppInit(), 1);
}

TEST_F(LifecycleOfAll, start_without_memory_for_the_thread_fails_and_nothing_is_registered)
{
    {
        support::AllocationFailure const failure(1);
        EXPECT_EQ(AppInit(), 0);
    }
    EXPECT_EQ(log.take(), LogMessages{thread_starts});
    EXPECT_FALSE(Maintenance::IsActive());
    EXPECT_FALSE(String::g_pool_maintenance);
    EXPECT_EQ(AppInit(), 1);
    EXPECT_FALSE(Maintenance::IsActive());
    AppExit();
    AppExit();
    EXPECT_EQ(AppInit(), 1);
    EXPECT_TRUE(Maintenance::IsActive());
}

TEST_F(LifecycleOfAll, stop_that_cannot_wait_for_a_step_keeps_the_service_and_lets_the_next_start_fail)
{
    ClockOverride clock(1700000000000);
    ASSERT_EQ(AppInit(), 1);
    log.clear();

    // The step waits for the lock.
    String::g_pool_lock.Enter();
    clock.advance(10000);
    Maintenance::Trigger();
    until(
        []
        {
            Maintenance::g_cpMRLock.Enter();
            bool const runs = Maintenance::g_cpMRPending;
            Maintenance::g_cpMRLock.Leave();
            return runs;
        },
        "the step to begin");

    unsigned long const reads = clock.reads();
    Background<> stop(
        []
        {
            AppExit();
            return 0L;
        });
    until([&] { return clock.reads() > reads; }, "the stop to look at the clock");
    // Not over yet: the time is 10 seconds, and its last millisecond belongs to it.
    clock.advance(10000);
    unsigned long const more_reads = clock.reads();
    until([&] { return clock.reads() > more_reads + 2; }, "the stop to go on");
    EXPECT_EQ(log.count(), 0U);
    clock.advance(1);
    until([this] { return log.count() != 0; }, "the stop to give up");
    EXPECT_EQ(log.take(), LogMessages{support::log_message(
                              1, "maintenance", 119,
                              L"Service for CStringPoolMaintenance can not unregister due to pending condition...",
                              L"Service for %ls can not unregister due to pending condition...")});
    String::g_pool_lock.Leave();
    EXPECT_EQ(stop.result(), 0);

    EXPECT_FALSE(Maintenance::IsActive());
    EXPECT_TRUE(String::g_pool_maintenance);
    EXPECT_EQ(services(), 0U);
    EXPECT_EQ(CStringPool::AppInit(), 0U);
    EXPECT_EQ(AppInit(), 0);
    EXPECT_TRUE(Maintenance::IsActive());
    // The one way out: list it again by hand.
    EXPECT_TRUE(Maintenance::Register(String::g_pool_maintenance));
    AppExit();
    EXPECT_FALSE(String::g_pool_maintenance);
}

bool is_pooled(wchar_t const* text)
{
    String::staticStringRecord key(text);
    String::_cppoolstring handle(key);
    String::g_pool_lock.Enter();
    bool const found = !(String::g_sensitive_table.Find(handle) == String::_cppoolstring());
    String::g_pool_lock.Leave();
    return found;
}

// Lets the service of the pool run once.
void let_a_pass_run(ClockOverride& clock)
{
    clock.advance(21000);
    unsigned long const now = clock.now();
    Maintenance::Trigger();
    until(
        [now]
        {
            Maintenance::g_cpMRLock.Enter();
            bool const done = !Maintenance::g_cpMRPending && String::g_pool_maintenance->lastRun == now;
            Maintenance::g_cpMRLock.Leave();
            return done;
        },
        "a pass of the collection");
}

TEST_F(LifecycleOfAll, unused_strings_are_collected_by_themselves)
{
    ClockOverride clock(1700000000000);
    wchar_t const* const text = L"lifecycle: nobody holds this for long";
    wchar_t const* const held_text = L"lifecycle: this one is held";
    CPPoolString const held(held_text);
    {
        CPPoolString const released(text);
        ASSERT_EQ(AppInit(), 1);
        let_a_pass_run(clock);
        EXPECT_TRUE(is_pooled(text));
    }
    let_a_pass_run(clock);
    EXPECT_TRUE(is_pooled(text));
    let_a_pass_run(clock);
    EXPECT_FALSE(is_pooled(text));
    EXPECT_TRUE(is_pooled(held_text));
}

TEST_F(LifecycleOfAll, strings_stay_while_the_library_is_stopped)
{
    wchar_t const* const text = L"lifecycle: not collected";
    {
        CPPoolString const released(text);
    }
    EXPECT_TRUE(is_pooled(text));
    EXPECT_EQ(CStringPool::Collect(0xFFFFFFFF), 1U);
    EXPECT_EQ(CStringPool::Collect(0xFFFFFFFF), 1U);
    EXPECT_FALSE(is_pooled(text));
}

} // namespace
