#include "maintenance/services_for_tests.h"

#include "support/AllocationFailure.h"

#include <boost/thread/exceptions.hpp>

#include <chrono>
#include <memory>

// Starting and stopping the real thread.
namespace
{

using namespace scheduler;
using events::until;
using ORVA::Threading::CPThread;

support::LogMessage const start_message =
    support::log_message(16, "maintenance", 411, L"Starting maintenance thread", L"Starting maintenance thread");
support::LogMessage const still_valid = support::assumption("RTA_ON_TRUE", "maintenance,429:g_cpMRThread");

using StartStop = Scheduler;

/// Holds the thread in the run of a service until it is let go.
class Held
{
public:
    explicit Held(Block const& block)
    {
        block->on_run = [state = m_state]
        {
            state->entered = true;
            until([&] { return state->let_go.load(); }, "a service to be let go");
        };
    }
    ~Held() { let_go(); }
    Held(Held const&) = delete;
    Held& operator=(Held const&) = delete;

    void wait() const
    {
        until([this] { return m_state->entered.load(); }, "a service to run");
    }
    void let_go() const { m_state->let_go = true; }

private:
    struct State
    {
        std::atomic<bool> entered{false};
        std::atomic<bool> let_go{false};
    };

    std::shared_ptr<State> m_state = std::make_shared<State>();
};

TEST_F(StartStop, starts_one_thread_and_tells_of_it)
{
    support::LogRecorder log;
    EXPECT_FALSE(IsActive());
    EXPECT_TRUE(AppInit());
    EXPECT_TRUE(IsActive());
    EXPECT_EQ(log.take(), support::LogMessages{start_message});
    CPObjectMemory const thread = g_cpMRThread;
    EXPECT_TRUE(AppInit());
    EXPECT_EQ(g_cpMRThread, thread);
    EXPECT_EQ(log.count(), 0U);
    AppExit();
    EXPECT_FALSE(IsActive());
    EXPECT_EQ(log.count(), 0U);
}

TEST_F(StartStop, resets_the_events_before_it_tells_of_the_start)
{
    static bool events_were_reset;
    events_were_reset = false;
    g_cpMRStop.Set();
    g_cpMRTrigger.Set();
    ORVA::Develop::SetExternalLogger(
        [](_nqfDebugLevel, wchar_t const*, char const*, int, wchar_t const*, va_list)
        { events_were_reset = !is_signaled(g_cpMRStop) && !is_signaled(g_cpMRTrigger) && !IsActive(); });
    EXPECT_TRUE(AppInit());
    ORVA::Develop::SetExternalLogger(nullptr);
    EXPECT_TRUE(events_were_reset);
}

TEST_F(StartStop, stops_an_idle_thread_at_once)
{
    auto const start = std::chrono::steady_clock::now();
    for (int round = 0; round < 3; ++round)
    {
        AppInit();
        AppExit();
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
}

TEST_F(StartStop, stops_a_thread_that_waits_without_limit)
{
    support::MaintenanceCalls calls;
    std::atomic<bool> waits{false};
    calls.gate = [&waits](ORVA::Threading::_cMutex& gate, unsigned int milliseconds)
    {
        waits = milliseconds == no_limit;
        return support::MaintenanceCalls::real_gate(gate, milliseconds);
    };
    AppInit();
    until([&waits] { return waits.load(); }, "the thread to wait");
    AppExit();
    EXPECT_FALSE(IsActive());
    calls.gate = nullptr;
}

TEST_F(StartStop, runs_services_registered_before_and_during_the_life_of_the_thread)
{
    Block before = service();
    run_once(before);
    EXPECT_TRUE(Register(before));
    AppInit();
    until([&] { return before->runs == 1; });
    Block during = service();
    run_once(during);
    EXPECT_TRUE(Register(during));
    until([&] { return during->runs == 1; });
    EXPECT_TRUE(Unregister(before, 10000));
    AppExit();
    EXPECT_EQ(before->runs + during->runs, 2U);
    EXPECT_EQ(before.lockcnt() + during.lockcnt(), 2U);
    EXPECT_TRUE(Register(before));
    EXPECT_TRUE(Unregister(before, 0));
}

TEST_F(StartStop, looks_again_when_it_is_triggered)
{
    Block block = service(never);
    run_once(block);
    Register(block);
    AppInit();
    until([&] { return block->asked_for_time >= 2; });
    block->time = 0;
    Trigger();
    until([&] { return block->runs == 1; });
}

TEST_F(StartStop, runs_a_service_when_its_time_has_come)
{
    support::ClockOverride clock(1000);
    std::atomic<unsigned long> ran_at{0};
    Block const block = service(1200);
    Probe* const probe = &*block;
    block->on_run = [&, probe]
    {
        ran_at = clock.now();
        probe->time = never;
    };
    Register(block);
    AppInit();
    until([&] { return block->asked_for_time >= 2; });
    EXPECT_EQ(block->runs, 0U);
    clock.set(1200);
    until([&] { return block->runs == 1; });
    AppExit();
    EXPECT_EQ(ran_at, 1200U);
}

TEST_F(StartStop, drops_all_services_with_and_without_a_thread)
{
    for (bool const with_thread : {false, true})
    {
        Block const block = service(never);
        Register(block);
        if (with_thread)
            AppInit();
        AppExit();
        EXPECT_EQ(block.lockcnt(), 1U);
        EXPECT_FALSE(g_cpMRList);
    }
}

TEST_F(StartStop, drops_services_that_use_the_scheduler_as_they_go)
{
    Block const survivor = service(never);
    {
        Block block = service(never);
        block->on_end = [&survivor]
        {
            EXPECT_FALSE(Unregister(survivor, 0));
            EXPECT_FALSE(IsActive());
            Trigger();
            EXPECT_TRUE(Register(survivor));
        };
        Register(block);
        Register(survivor);
    }
    AppExit();
    EXPECT_EQ(list(), std::vector<CPObjectMemory>{survivor});
}

TEST_F(StartStop, drops_services_with_no_lock_held)
{
    bool free_then = false;
    {
        Block const block = service(never);
        block->on_end = [&free_then]
        { free_then = events::Background<bool>([] { return listed() == 0 && !IsActive(); }).result(); };
        Register(block);
    }
    AppExit();
    EXPECT_TRUE(free_then);
}

TEST_F(StartStop, lets_a_service_see_that_the_thread_is_active)
{
    std::atomic<bool> active{false};
    Block const block = service();
    Probe* const probe = &*block;
    block->on_run = [&active, probe]
    {
        active = IsActive();
        probe->time = never;
    };
    Register(block);
    AppInit();
    until([&] { return block->runs == 1; });
    AppExit();
    EXPECT_TRUE(active);
}

// A service is asked with the lock held: triggers and looks at the thread must not wait for it.
TEST_F(StartStop, can_be_triggered_and_looked_at_while_a_service_is_being_asked)
{
    Block const block = service(never);
    std::atomic<bool> asked{false};
    std::atomic<bool> let_go{false};
    block->on_time = [&]
    {
        asked = true;
        until([&] { return let_go.load(); }, "the test to go on");
    };
    Register(block);
    AppInit();
    until([&] { return asked.load(); });
    EXPECT_TRUE(IsActive());
    Trigger();
    EXPECT_FALSE(is_pending(block));
    let_go = true;
    AppExit();
}

TEST_F(StartStop, survives_threads_without_memory)
{
    support::LogRecorder log;
    unsigned long const allocations = support::for_each_allocation(support::AllocationFailure::once,
                                                                   [](unsigned long nth)
                                                                   {
                                                                       bool const started = AppInit();
                                                                       EXPECT_EQ(started, IsActive());
                                                                       EXPECT_EQ(started, nth > 6);
                                                                       if (!started)
                                                                       {
                                                                           EXPECT_EQ(listeners_of(g_cpMRStop), 0U);
                                                                           EXPECT_EQ(listeners_of(g_cpMRTrigger), 0U);
                                                                       }
                                                                   });
    EXPECT_EQ(allocations, 6U);
    EXPECT_EQ(log.count(), 7U);
}

TEST_F(StartStop, lets_the_thread_be_waited_for_20_seconds)
{
    support::MaintenanceCalls calls;
    std::vector<unsigned int> waited;
    calls.wait = [&waited](CPThread& thread, unsigned int milliseconds)
    {
        EXPECT_TRUE(is_signaled(g_cpMRStop));
        EXPECT_TRUE(IsActive());
        waited.push_back(milliseconds);
        return support::MaintenanceCalls::real_wait(thread, milliseconds);
    };
    calls.terminate = [](CPThread& thread)
    {
        ADD_FAILURE() << "terminated";
        return support::MaintenanceCalls::real_terminate(thread);
    };
    AppExit();
    EXPECT_TRUE(waited.empty());
    AppInit();
    AppExit();
    EXPECT_EQ(waited, std::vector<unsigned int>{20000});
}

TEST_F(StartStop, waits_for_the_thread_with_no_lock_held)
{
    support::MaintenanceCalls calls;
    bool done = false;
    calls.wait = [&done](CPThread& thread, unsigned int milliseconds)
    {
        done = events::Background<bool>(
                   []
                   {
                       Block const block = service(never);
                       Trigger();
                       return Register(block) && Unregister(block, 0) && IsActive();
                   })
                   .result();
        return support::MaintenanceCalls::real_wait(thread, milliseconds);
    };
    AppInit();
    AppExit();
    EXPECT_TRUE(done);
}

TEST_F(StartStop, interrupts_a_thread_that_does_not_end_in_time)
{
    support::LogRecorder log;
    support::MaintenanceCalls calls;
    calls.wait = [](CPThread& thread, unsigned int) { return support::MaintenanceCalls::real_wait(thread, 1); };
    std::atomic<bool> interrupted{false};
    Block const block = service();
    block->on_run = [&interrupted]
    {
        try
        {
            ORVA::Threading::CurrentThread::sleep(600000);
        }
        catch (boost::thread_interrupted const&)
        {
            interrupted = true;
            throw;
        }
    };
    Register(block);
    AppInit();
    until([&] { return block->runs == 1; });
    AppExit();
    EXPECT_TRUE(interrupted);
    EXPECT_FALSE(IsActive());
    EXPECT_EQ(block.lockcnt(), 1U);
    EXPECT_FALSE(g_cpMRPending);
    EXPECT_EQ(log.take(), support::LogMessages{start_message});
}

TEST_F(StartStop, ends_the_thread_though_its_own_wait_is_interrupted)
{
    support::MaintenanceCalls calls;
    calls.wait = [](CPThread& thread, unsigned int)
    {
        thread.free();
        return -3L;
    };
    AppInit();
    CPEvent const stop = g_cpMRStop;
    AppExit();
    EXPECT_FALSE(IsActive());
    EXPECT_EQ(g_cpMRStop, stop);
    EXPECT_EQ(listeners_of(stop), 0U);
}

TEST_F(StartStop, reports_a_thread_that_is_still_there_after_the_stop)
{
    support::LogRecorder log;
    Block const block = service(never);
    Register(block);
    AppInit();
    log.clear();
    support::MaintenanceCalls calls;
    calls.wait = [](CPThread&, unsigned int) { return -1L; };
    calls.terminate = [](CPThread&) { return true; };
    AppExit();
    calls.wait = nullptr;
    calls.terminate = nullptr;
    EXPECT_EQ(log.take(), support::LogMessages{still_valid});
    EXPECT_TRUE(IsActive());
    EXPECT_EQ(block.lockcnt(), 1U);
    AppExit();
    EXPECT_FALSE(IsActive());
    EXPECT_EQ(log.count(), 0U);
}

TEST_F(StartStop, counts_a_thread_that_never_ran_as_active_until_the_exit)
{
    support::LogRecorder log;
    CPObjectMemory without = block_without_interface();
    EXPECT_FALSE(g_cpMRThread.Execute(without, 0));
    EXPECT_TRUE(IsActive());
    EXPECT_TRUE(AppInit());
    AppExit();
    EXPECT_FALSE(IsActive());
    EXPECT_EQ(log.count(), 0U);
    EXPECT_TRUE(AppInit());
    EXPECT_EQ(log.take(), support::LogMessages{start_message});
}

TEST_F(StartStop, keeps_its_events_from_one_thread_to_the_next)
{
    CPEvent const stop = g_cpMRStop;
    CPEvent const trigger = g_cpMRTrigger;
    for (int round = 0; round < 3; ++round)
    {
        AppInit();
        AppExit();
        EXPECT_EQ(g_cpMRStop, stop);
        EXPECT_EQ(g_cpMRTrigger, trigger);
        EXPECT_EQ(listeners_of(stop) + listeners_of(trigger), 0U);
    }
}

TEST_F(StartStop, cannot_unregister_a_service_from_its_own_run)
{
    support::LogRecorder log;
    support::ClockOverride clock(1000);
    support::MaintenanceCalls calls;
    calls.sleep = [&clock](unsigned int) { clock.advance(1000); };
    std::atomic<int> result{-1};
    Block const block = service();
    Probe* const probe = &*block;
    block->on_run = [&result, probe]
    {
        CPObjectMemory const self = g_cpMRPending;
        result = Unregister(self, 2000);
        probe->time = 0;
    };
    Register(block);
    AppInit();
    until([&] { return result != -1; });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(log.count(), 2U);
    EXPECT_EQ(log.messages()[1].line, 119);
    EXPECT_TRUE(Unregister(block, 10000));
    AppExit();
    EXPECT_EQ(block->runs, 1U);
    calls.sleep = nullptr;
}

TEST_F(StartStop, unregisters_a_running_service_when_it_has_finished)
{
    Block const block = service();
    Held const held(block);
    Register(block);
    AppInit();
    held.wait();
    events::Background<bool> unregister([&block] { return Unregister(block, 30000); });
    until([&block] { return is_disabled(block); });
    EXPECT_FALSE(unregister.has_ended());
    held.let_go();
    EXPECT_TRUE(unregister.result());
    EXPECT_EQ(block.lockcnt(), 1U);
    EXPECT_EQ(block->runs, 1U);
}

TEST_F(StartStop, lets_the_running_service_finish_and_runs_no_other)
{
    Block const block = service(0, 1);
    Block const other = service();
    Held const held(block);
    Register(block);
    Register(other);
    AppInit();
    held.wait();
    events::Background<bool> exit(
        []
        {
            AppExit();
            return IsActive();
        });
    until([] { return is_signaled(g_cpMRStop); });
    EXPECT_TRUE(IsActive());
    EXPECT_TRUE(is_listed(other));
    held.let_go();
    EXPECT_FALSE(exit.result());
    EXPECT_EQ(other->runs, 0U);
    EXPECT_EQ(block->runs, 1U);
}

} // namespace
