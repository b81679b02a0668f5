#include "maintenance/services_for_tests.h"
#include "maintenance/thread.h"

#include "support/AllocationFailure.h"

#include <optional>

// The body of the maintenance thread, run by the test's own thread: what happens in its waits is what the test does.
namespace
{

using namespace scheduler;
using ORVA::Threading::eThreadPriority;

TEST(WaitUntil, is_the_difference_or_0_if_the_time_has_passed)
{
    EXPECT_EQ(wait_until(5000, 2000), 3000U);
    EXPECT_EQ(wait_until(2001, 2000), 1U);
    EXPECT_EQ(wait_until(2000, 2000), 0U);
    EXPECT_EQ(wait_until(1999, 2000), 0U);
    EXPECT_EQ(wait_until(0, never), 0U);
}

TEST(WaitUntil, is_without_limit_for_the_last_time_of_all)
{
    EXPECT_EQ(wait_until(never, 0), no_limit);
    EXPECT_EQ(wait_until(never, never), no_limit);
}

TEST(WaitUntil, is_cut_to_32_bits)
{
    EXPECT_EQ(wait_until(0x1000007D0UL, 1000), 1000U);
    EXPECT_EQ(wait_until(0x1000003E8UL, 1000), 0U);
    EXPECT_EQ(wait_until(0x5000003E7UL, 1000), no_limit);
    EXPECT_EQ(wait_until(never - 1, 0), 0xFFFFFFFEU);
}

class ThreadBody : public Scheduler
{
protected:
    ThreadBody()
    {
        calls.before_priority = [this](eThreadPriority priority)
        { history += "priority " + std::to_string(static_cast<int>(priority)) + ", "; };
        calls.gate = [this](ORVA::Threading::_cMutex& gate, unsigned int milliseconds)
        {
            history += "wait " + (milliseconds == no_limit ? "without limit" : std::to_string(milliseconds)) + ", ";
            if (waits.size() == next_wait)
                g_cpMRStop.Set();
            else
                waits[next_wait++]();
            return support::MaintenanceCalls::real_gate(gate, 0);
        };
    }
    ~ThreadBody() override
    {
        calls.before_priority = nullptr;
        calls.gate = nullptr;
    }

    /// Runs a body attached to the global events. What `waits` says happens in its waits, one after the other; the wait
    /// after the last one brings the stop. Gives what happened.
    std::string run(std::vector<std::function<void()>> in_waits = {})
    {
        waits = std::move(in_waits);
        next_wait = 0;
        history.clear();
        g_cpMRStop.Reset();
        CMaintenanceThread body;
        EXPECT_TRUE(body.Attach(g_cpMRStop, g_cpMRTrigger));
        body.run();
        return history;
    }

    Block registered(std::string const& name, unsigned long time, int priority = 0)
    {
        Block const block = service(time, priority);
        Probe* const probe = &*block;
        block->on_run = [this, name, probe]
        {
            history += name + ", ";
            probe->time = never;
        };
        EXPECT_TRUE(Register(block));
        return block;
    }

    std::string history;
    std::vector<std::function<void()>> waits;
    std::size_t next_wait = 0;
    support::ClockOverride clock{1000};
    support::MaintenanceCalls calls;
};

TEST_F(ThreadBody, waits_without_limit_when_there_is_nothing_to_do)
{
    EXPECT_EQ(run(), "priority 0, priority -2, wait without limit, priority 0, ");
}

TEST_F(ThreadBody, looks_again_after_a_trigger_and_after_a_timeout)
{
    EXPECT_EQ(run({[] { Trigger(); }, [] {}}), "priority 0, priority -2, wait without limit, "
                                               "priority 0, priority -2, wait without limit, "
                                               "priority 0, priority -2, wait without limit, priority 0, ");
}

TEST_F(ThreadBody, runs_what_is_due_at_normal_priority_and_then_waits_for_the_next_time)
{
    Block const later = registered("later", 4000);
    registered("first", 1000);
    registered("urgent", 1000, 1);
    EXPECT_EQ(run({[this] { clock.set(4000); }}), "priority 0, urgent, first, priority -2, wait 3000, "
                                                  "priority 0, later, priority -2, wait without limit, priority 0, ");
    EXPECT_EQ(later->runs, 1U);
}

TEST_F(ThreadBody, is_woken_by_a_registration)
{
    EXPECT_EQ(run({[this] { registered("new", 0); }}),
              "priority 0, priority -2, wait without limit, "
              "priority 0, new, priority -2, wait without limit, priority 0, ");
}

TEST_F(ThreadBody, takes_a_trigger_that_came_while_it_worked_into_account)
{
    Block const block = registered("first", 0);
    Block const second = service(never);
    Probe* const probe = &*block;
    block->on_run = [this, probe, second]
    {
        history += "first, ";
        probe->time = never;
        Register(second);
    };
    EXPECT_EQ(run(), "priority 0, first, priority -2, "
                     "priority 0, priority -2, wait without limit, priority 0, ");
    EXPECT_FALSE(is_signaled(g_cpMRTrigger));
}

TEST_F(ThreadBody, resets_the_trigger_before_it_looks)
{
    Block const block = registered("first", 0);
    EXPECT_TRUE(is_signaled(g_cpMRTrigger));
    block->on_time = [] { EXPECT_FALSE(is_signaled(g_cpMRTrigger)); };
    run();
    EXPECT_GT(block->asked_for_time, 0U);
}

TEST_F(ThreadBody, goes_straight_back_to_work_for_a_time_that_has_passed)
{
    Block const block = registered("work", 0);
    Probe* const probe = &*block;
    unsigned int asked = 0;
    // due when the next time is asked for, after it was not when a service was looked for
    block->on_time = [&asked, probe] { probe->time = ++asked % 2 == 0 && asked < 6 ? 0 : never; };
    EXPECT_EQ(run(), "priority 0, priority -2, priority 0, priority -2, "
                     "priority 0, priority -2, wait without limit, priority 0, ");
}

TEST_F(ThreadBody, cuts_the_wait_to_32_bits)
{
    Block const block = registered("work", 1000 + 0x1000001F4UL);
    EXPECT_EQ(run(), "priority 0, priority -2, wait 500, priority 0, ");
    block->time = 1000 + 0x2FFFFFFFFUL;
    EXPECT_EQ(run(), "priority 0, priority -2, wait without limit, priority 0, ");
}

TEST_F(ThreadBody, looks_for_the_next_time_before_it_becomes_idle)
{
    Block const block = service(never);
    Register(block);
    block->on_time = [this] { history += "asked, "; };
    EXPECT_EQ(run(), "priority 0, asked, asked, priority -2, wait without limit, priority 0, ");
}

TEST_F(ThreadBody, runs_a_service_of_low_priority_between_those_of_higher_ones)
{
    Block const ordinary = service();
    Block const idle = service(0, -2);
    unsigned int runs = 0;
    for (Block const& block : {ordinary, idle})
    {
        block->on_run = [&, name = block == ordinary ? "o" : "i"]
        {
            history += name;
            if (++runs == 12)
                ordinary->time = idle->time = never;
        };
        Register(block);
    }
    EXPECT_EQ(run(), "priority 0, oooioooioooipriority -2, wait without limit, priority 0, ");
}

TEST_F(ThreadBody, runs_a_service_with_no_lock_held)
{
    Block const block = registered("work", 0);
    Probe* const probe = &*block;
    bool done = false;
    block->on_run = [&]
    {
        probe->time = never;
        done = events::Background<bool>(
                   []
                   {
                       bool const free = g_cpMRLock.TryEnter(0);
                       if (free)
                           g_cpMRLock.Leave();
                       Block const other = service(never);
                       return free && Register(other) && Unregister(other, 0) && !IsActive();
                   })
                   .result();
    };
    run();
    EXPECT_TRUE(done);
}

TEST_F(ThreadBody, holds_the_service_pending_while_it_runs)
{
    Block const block = registered("work", 0);
    Probe* const probe = &*block;
    block->on_run = [probe, &block]
    {
        probe->time = never;
        EXPECT_EQ(g_cpMRPending, block);
        EXPECT_EQ(g_cpMRPending.lOffset, static_cast<long>(sizeof(Before)));
    };
    run();
    EXPECT_EQ(block->runs, 1U);
    EXPECT_FALSE(g_cpMRPending);
    EXPECT_EQ(block.lockcnt(), 2U);
}

TEST_F(ThreadBody, disables_a_service_whose_run_throws_and_goes_on)
{
    support::LogRecorder log;
    Block const bad = registered("bad", 0, 9);
    bad->on_run = thrower();
    registered("good", 0);
    EXPECT_EQ(run({[] { Trigger(); }}), "priority 0, good, priority -2, wait without limit, "
                                        "priority 0, priority -2, wait without limit, priority 0, ");
    EXPECT_EQ(bad->runs, 1U);
    EXPECT_TRUE(is_disabled(bad));
    EXPECT_FALSE(g_cpMRPending);
    EXPECT_EQ(log.count(), 0U);
    EXPECT_TRUE(Unregister(bad, 0));
}

TEST_F(ThreadBody, takes_an_interruption_in_a_service_for_a_failure_of_it)
{
    Block const block = registered("work", 0);
    block->on_run = [] { throw boost::thread_interrupted(); };
    EXPECT_EQ(run(), "priority 0, priority -2, wait without limit, priority 0, ");
    EXPECT_TRUE(is_disabled(block));
}

TEST_F(ThreadBody, chooses_nothing_more_after_the_stop_and_ends_at_the_next_wait)
{
    Block const block = registered("stopper", 0, 1);
    Probe* const probe = &*block;
    block->on_run = [this, probe]
    {
        history += "stopper, ";
        probe->time = never;
        g_cpMRStop.Set();
    };
    Block const other = registered("other", 0);
    EXPECT_EQ(run(), "priority 0, stopper, priority -2, priority 0, ");
    EXPECT_EQ(other->runs, 0U);
    // once to choose, and once for the time of the next wait
    EXPECT_EQ(other->asked_for_time, 2U);
}

TEST_F(ThreadBody, ends_for_the_stop_though_the_trigger_is_signalled_too)
{
    EXPECT_EQ(run({[]
                   {
                       Trigger();
                       g_cpMRStop.Set();
                   }}),
              "priority 0, priority -2, wait without limit, priority 0, priority -2, priority 0, ");
}

TEST_F(ThreadBody, waits_without_limit_if_the_lock_cannot_be_had)
{
    Block const block = registered("work", 0);
    calls.before_enter = fail_to_lock;
    EXPECT_EQ(run({[this]
                   {
                       calls.before_enter = nullptr;
                       Trigger();
                   }}),
              "priority 0, priority -2, wait without limit, "
              "priority 0, work, priority -2, wait without limit, priority 0, ");
}

// A wait that cannot queue its waiter gives 0, which is the place of the stop.
TEST_F(ThreadBody, takes_a_wait_without_memory_for_the_stop)
{
    std::optional<support::AllocationFailure> failure;
    calls.before_priority = [&, record = calls.before_priority](eThreadPriority priority)
    {
        record(priority);
        if (priority == ORVA::Threading::eThreadPriorityIdle)
            failure.emplace(1);
    };
    EXPECT_EQ(run(), "priority 0, priority -2, priority 0, ");
    EXPECT_EQ(failure->failures(), 1U);
    EXPECT_FALSE(is_signaled(g_cpMRStop));
}

TEST_F(ThreadBody, goes_on_if_the_lock_cannot_be_had_at_the_end_of_a_run)
{
    Block const block = registered("work", 0);
    Probe* const probe = &*block;
    block->on_run = [this, probe]
    {
        probe->time = never;
        calls.before_enter = [this]
        {
            calls.before_enter = nullptr;
            fail_to_lock();
        };
    };
    EXPECT_EQ(run(), "priority 0, priority -2, wait without limit, priority 0, ");
    EXPECT_EQ(g_cpMRPending, block);
}

TEST_F(ThreadBody, attaches_the_stop_first_and_stops_at_the_first_failure)
{
    CPEvent none(CPObjectMemory::pnull);
    CPEvent stop(true);
    CPEvent trigger(true);
    {
        CMaintenanceThread body;
        EXPECT_FALSE(body.Attach(none, trigger));
        EXPECT_EQ(listeners_of(trigger), 0U);
    }
    {
        CMaintenanceThread body;
        EXPECT_FALSE(body.Attach(stop, none));
        EXPECT_EQ(listeners_of(stop), 1U);
    }
    EXPECT_EQ(listeners_of(stop), 0U);
    {
        CMaintenanceThread body;
        EXPECT_TRUE(body.Attach(stop, trigger));
        EXPECT_EQ(listeners_of(stop), 1U);
        EXPECT_EQ(listeners_of(trigger), 1U);
    }
    EXPECT_EQ(listeners_of(stop) + listeners_of(trigger), 0U);
    EXPECT_EQ(stop.lockcnt() + trigger.lockcnt(), 2U);
}

TEST_F(ThreadBody, leaves_no_listener_behind_though_it_has_waited)
{
    run();
    EXPECT_EQ(listeners_of(g_cpMRStop) + listeners_of(g_cpMRTrigger), 0U);
    EXPECT_TRUE(g_cpMRTrigger.Set());
    EXPECT_TRUE(g_cpMRStop.Set());
}

TEST_F(ThreadBody, without_its_multiple_event_cannot_be_attached)
{
    std::optional<CMaintenanceThread> body;
    {
        support::AllocationFailure const failure(1);
        body.emplace();
    }
    EXPECT_FALSE(body->Attach(g_cpMRStop, g_cpMRTrigger));
    EXPECT_EQ(listeners_of(g_cpMRStop), 0U);
}

} // namespace
