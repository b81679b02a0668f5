#include "maintenance/services_for_tests.h"

#include <thread>

// Fixed amounts of work from several threads while the maintenance thread runs, starts and stops.
namespace
{

using namespace scheduler;
using events::Background;
using events::until;

using SchedulerStress = Scheduler;

// A service runs at least once while it is registered, and never after it was taken off.
TEST_F(SchedulerStress, services_come_and_go_while_the_thread_runs)
{
    constexpr unsigned int rounds = 40;
    AppInit();
    for (unsigned int const threads : {2U, 4U, 8U})
    {
        std::vector<Background<unsigned int>> workers;
        for (unsigned int worker = 0; worker < threads; ++worker)
        {
            workers.emplace_back(
                [worker]
                {
                    unsigned int faults = 0;
                    for (unsigned int round = 0; round < rounds; ++round)
                    {
                        std::atomic<bool> listed_now{true};
                        std::atomic<unsigned int> late_runs{0};
                        Block block = service(0, static_cast<int>(worker % 3));
                        block->on_run = [&] { late_runs += !listed_now; };
                        faults += !Register(block);
                        faults += !Register(block);
                        until([&] { return block->runs != 0; }, "a service to run");
                        faults += !Unregister(block, 60000);
                        listed_now = false;
                        faults += Unregister(block, 60000);
                        faults += block.lockcnt() != 1;
                        Trigger();
                        faults += late_runs;
                    }
                    return faults;
                });
        }
        for (auto& worker : workers)
            EXPECT_EQ(worker.result(), 0U);
        EXPECT_EQ(listed(), 0U);
    }
    AppExit();
}

// Everything that other threads may do while the thread is started and stopped over and over.
TEST_F(SchedulerStress, the_thread_starts_and_stops_among_registrations_and_triggers)
{
    constexpr unsigned int cycles = 60;
    constexpr unsigned int rounds = 150;
    std::vector<Background<unsigned int>> workers;
    for (unsigned int worker = 0; worker < 3; ++worker)
    {
        workers.emplace_back(
            [worker]
            {
                unsigned int faults = 0;
                for (unsigned int round = 0; round < rounds; ++round)
                {
                    Block block = service(round % 2 == 0 ? 0 : never, static_cast<int>(round % 3));
                    run_once(block);
                    faults += !Register(block);
                    if (worker == 0)
                        Trigger();
                    if (round % 4 == 0)
                        std::this_thread::yield();
                    IsActive();
                    // it may have been dropped, but then it does not run any more either
                    Unregister(block, 60000);
                    faults += is_pending(block);
                    faults += is_listed(block);
                }
                return faults;
            });
    }
    for (unsigned int cycle = 0; cycle < cycles; ++cycle)
    {
        ASSERT_TRUE(AppInit());
        if (cycle % 3 != 0)
        {
            Block block = service();
            run_once(block);
            Register(block);
            until([&] { return block->runs == 1; }, "a service to run");
        }
        AppExit();
        ASSERT_FALSE(IsActive());
    }
    for (auto& worker : workers)
        EXPECT_EQ(worker.result(), 0U);
    EXPECT_EQ(listeners_of(g_cpMRStop) + listeners_of(g_cpMRTrigger), 0U);
}

// The stop comes at a different moment of the thread's first steps each time.
TEST_F(SchedulerStress, the_stop_is_seen_at_every_moment_of_the_first_wait)
{
    for (unsigned int cycle = 0; cycle < 300; ++cycle)
    {
        Block block = service(cycle % 2 == 0 ? 0 : never);
        run_once(block);
        if (cycle % 3 == 0)
            Register(block);
        ASSERT_TRUE(AppInit());
        for (unsigned int step = cycle % 50; step != 0; --step)
            std::this_thread::yield();
        AppExit();
        ASSERT_FALSE(IsActive());
        ASSERT_EQ(block.lockcnt(), 1U);
    }
}

// Signals that are on their way when the thread, and with it the listener, goes.
TEST_F(SchedulerStress, triggers_meet_no_thread_that_is_gone)
{
    std::atomic<bool> over{false};
    std::vector<Background<unsigned int>> workers;
    for (unsigned int worker = 0; worker < 2; ++worker)
    {
        workers.emplace_back(
            [&over]
            {
                unsigned int triggers = 0;
                while (!over)
                {
                    Trigger();
                    IsActive();
                    ++triggers;
                }
                return triggers;
            });
    }
    for (unsigned int cycle = 0; cycle < 100; ++cycle)
    {
        ASSERT_TRUE(AppInit());
        AppExit();
    }
    Block block = service();
    run_once(block);
    Register(block);
    AppInit();
    until([&] { return block->runs == 1; }, "a service to run");
    over = true;
    for (auto& worker : workers)
        EXPECT_GT(worker.result(), 0U);
}

} // namespace
