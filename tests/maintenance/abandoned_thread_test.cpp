#include "maintenance/services_for_tests.h"

#include "support/AllocationFailure.h"

// A thread that outlives its stop, beside newer ones.
namespace
{

using namespace scheduler;
using events::until;
using ORVA::Threading::CPThread;

/// A thread that is held in the run of `stuck` while `AppExit` gives it up at once. The test keeps the handle that
/// `AppExit` lets go of, to join the thread in the end.
class AbandonedThread : public Scheduler
{
protected:
    AbandonedThread()
    {
        calls.wait = [this](CPThread& thread, unsigned int milliseconds)
        { return support::MaintenanceCalls::real_wait(thread, abandoning ? 0 : milliseconds); };
        calls.terminate = [this](CPThread& thread)
        {
            abandoned = thread;
            thread.free();
            return false;
        };
        stuck->on_run = [this]
        {
            entered = true;
            until([this] { return let_go.load(); }, "the service to be let go");
            if (fails)
                throw 1;
        };
        Register(stuck);
        AppInit();
        until([this] { return entered.load(); }, "the service to run");
    }
    ~AbandonedThread() override
    {
        end_abandoned();
        calls.wait = nullptr;
        calls.terminate = nullptr;
        AppExit();
    }

    void abandon()
    {
        abandoning = true;
        AppExit();
        abandoning = false;
    }

    /// Lets the thread go and waits for its end.
    void end_abandoned()
    {
        let_go = true;
        if (abandoned)
        {
            EXPECT_EQ(support::MaintenanceCalls::real_wait(abandoned, 60000), 0);
        }
    }

    support::MaintenanceCalls calls;
    bool abandoning = false;
    std::atomic<bool> entered{false};
    std::atomic<bool> let_go{false};
    std::atomic<bool> fails{false};
    CPThread abandoned;
    Block stuck = service();
};

TEST_F(AbandonedThread, is_not_active_any_more_and_its_service_stays_pending)
{
    Block const other = service();
    Register(other);
    support::LogRecorder log;
    abandon();
    EXPECT_FALSE(IsActive());
    EXPECT_EQ(log.count(), 0U);
    EXPECT_EQ(listed(), 0U);
    EXPECT_TRUE(is_pending(stuck));
    end_abandoned();
    EXPECT_FALSE(is_pending(stuck));
    EXPECT_EQ(stuck.lockcnt(), 1U);
    EXPECT_EQ(other->runs, 0U);
}

TEST_F(AbandonedThread, keeps_its_service_alive)
{
    bool ended = false;
    stuck->on_end = [&ended] { ended = true; };
    abandon();
    stuck.free();
    EXPECT_FALSE(ended);
    end_abandoned();
    EXPECT_TRUE(ended);
}

TEST_F(AbandonedThread, keeps_its_events_and_leaves_fresh_ones)
{
    CPEvent const stop = g_cpMRStop;
    CPEvent const trigger = g_cpMRTrigger;
    abandon();
    EXPECT_FALSE(g_cpMRStop == stop);
    EXPECT_FALSE(g_cpMRTrigger == trigger);
    for (CPEvent const& event : {g_cpMRStop, g_cpMRTrigger})
    {
        EXPECT_EQ(event.GetHandle()->getState(), _cEvent::eEventReset);
        EXPECT_EQ(listeners_of(event), 0U);
    }
    EXPECT_TRUE(is_signaled(stop));
    EXPECT_EQ(listeners_of(stop), 1U);
    EXPECT_EQ(listeners_of(trigger), 1U);
    AppInit();
    EXPECT_TRUE(is_signaled(stop));
    end_abandoned();
    EXPECT_EQ(listeners_of(stop), 0U);
    EXPECT_EQ(listeners_of(trigger), 0U);
    EXPECT_EQ(stop.lockcnt() + trigger.lockcnt(), 2U);
    EXPECT_EQ(listeners_of(g_cpMRStop), 1U);
    EXPECT_EQ(listeners_of(g_cpMRTrigger), 1U);
}

// So that the thread, where it holds the lock, is in charge from its look at the events to its choice.
TEST_F(AbandonedThread, gets_its_successors_events_made_with_the_lock_held)
{
    CPEvent const stop = g_cpMRStop;
    CPEvent const trigger = g_cpMRTrigger;
    std::string order;
    auto const look = [&](char const* moment)
    { order += std::string(moment) + (g_cpMRStop == stop ? "" : "!") + (g_cpMRTrigger == trigger ? " " : "! "); };
    calls.before_enter = [&] { look("enter"); };
    calls.after_leave = [&] { look("leave"); };
    abandon();
    calls.before_enter = nullptr;
    calls.after_leave = nullptr;
    EXPECT_EQ(order, "enter leave! enter! leave!! enter!! leave!! ");
}

TEST_F(AbandonedThread, does_not_disturb_a_newer_one)
{
    abandon();
    EXPECT_TRUE(AppInit());
    Block other = service();
    run_once(other);
    Register(other);
    until([&] { return other->runs == 1; });
    end_abandoned();
    other->time = 0;
    Trigger();
    until([&] { return other->runs == 2; });
    EXPECT_TRUE(IsActive());
    AppExit();
    EXPECT_EQ(stuck->runs, 1U);
    EXPECT_EQ(stuck.lockcnt(), 1U);
}

TEST_F(AbandonedThread, does_not_end_the_pending_state_of_a_newer_ones_service)
{
    abandon();
    AppInit();
    std::atomic<bool> other_runs{false};
    std::atomic<bool> other_let_go{false};
    Block const other = service();
    Probe* const probe = &*other;
    other->on_run = [&, probe]
    {
        other_runs = true;
        until([&] { return other_let_go.load(); }, "the other service to be let go");
        probe->time = never;
    };
    Register(other);
    until([&] { return other_runs.load(); });
    EXPECT_TRUE(is_pending(other));
    fails = true;
    end_abandoned();
    EXPECT_TRUE(is_pending(other));
    EXPECT_FALSE(is_disabled(other));
    EXPECT_EQ(stuck.lockcnt(), 1U);
    other_let_go = true;
    until([&] { return !is_pending(other); });
}

TEST_F(AbandonedThread, chooses_nothing_from_a_new_list)
{
    abandon();
    Block const other = service();
    Register(other);
    end_abandoned();
    EXPECT_EQ(other->asked_for_time, 0U);
    EXPECT_EQ(other->runs, 0U);
}

TEST_F(AbandonedThread, disables_its_failing_service_if_that_was_registered_anew)
{
    abandon();
    fails = true;
    Register(stuck);
    end_abandoned();
    EXPECT_TRUE(is_disabled(stuck));
}

TEST_F(AbandonedThread, makes_unregistering_its_service_wait)
{
    abandon();
    events::Background<bool> unregister([this] { return Unregister(stuck, 30000); });
    until([this] { return stuck.lockcnt() == 4; }, "the other thread to begin");
    let_go = true;
    EXPECT_FALSE(unregister.result());
}

TEST_F(AbandonedThread, may_be_followed_by_another_one)
{
    for (int round = 0; round < 3; ++round)
    {
        abandon();
        end_abandoned();
        abandoned.free();
        let_go = false;
        entered = false;
        EXPECT_TRUE(AppInit());
        Register(stuck);
        until([this] { return entered.load(); }, "the service to run");
    }
    EXPECT_EQ(stuck->runs, 4U);
    let_go = true;
    stuck->time = never;
}

TEST_F(AbandonedThread, is_known_as_such_though_the_wait_for_it_was_interrupted)
{
    calls.wait = [](CPThread& thread, unsigned int)
    {
        thread.free();
        return -3L;
    };
    CPEvent const stop = g_cpMRStop;
    abandon();
    calls.wait = nullptr;
    EXPECT_TRUE(abandoned);
    EXPECT_FALSE(IsActive());
    EXPECT_FALSE(g_cpMRStop == stop);
}

// With no memory for fresh events there are none, until the next start.
TEST_F(AbandonedThread, without_memory_for_fresh_events_leaves_none_until_the_next_start)
{
    {
        support::AllocationFailure const failure(1, support::AllocationFailure::forever);
        abandon();
        EXPECT_EQ(failure.failures(), 2U);
        EXPECT_FALSE(AppInit());
    }
    EXPECT_FALSE(IsActive());
    EXPECT_FALSE(g_cpMRStop);
    EXPECT_FALSE(g_cpMRTrigger);
    Trigger();
    Block other = service();
    run_once(other);
    EXPECT_TRUE(Register(other));
    EXPECT_TRUE(AppInit());
    until([&] { return other->runs == 1; });
    end_abandoned();
}

// The one test that waits as long as it takes: 5 seconds.
TEST_F(AbandonedThread, is_given_up_when_interruption_does_not_end_it)
{
    calls.terminate = nullptr;
    CPEvent const stop = g_cpMRStop;
    support::LogRecorder log;
    abandon();
    EXPECT_FALSE(IsActive());
    EXPECT_EQ(log.count(), 0U);
    EXPECT_TRUE(is_pending(stuck));
    EXPECT_FALSE(g_cpMRStop == stop);
    let_go = true;
    until([this, &stop] { return stuck.lockcnt() == 1 && stop.lockcnt() == 1; }, "the thread to end");
    EXPECT_EQ(listeners_of(stop), 0U);
}

} // namespace
