// The scheduler and its thread without memory.
#include "faults/maintenance_faults.h"
#include "faults/new_faults.h"

#include "cstringpool/globals.h"

#include "ORVA/String/Pool.h"

#include <optional>

namespace
{

using namespace maintenance_faults;
using faults::fail_each_allocation;
using faults::NewFails;
using faults::Undisturbed;

// A thread runs and serves; it is stopped then.
void expect_thread_that_works()
{
    ASSERT_TRUE(AppInit());
    Block block = service();
    run_once(block);
    EXPECT_TRUE(Register(block));
    until([&] { return block->runs == 1; }, "the service to run");
    EXPECT_TRUE(Unregister(block, 60000));
    EXPECT_EQ(block.lockcnt(), 1U);
    AppExit();
    EXPECT_FALSE(IsActive());
    EXPECT_EQ(listeners_of(g_cpMRStop) + listeners_of(g_cpMRTrigger), 0UL);
}

// Starts the thread with all that is asked of the heap able to fail.
bool start()
{
    try
    {
        NewFails const scope;
        return AppInit();
    }
    catch (std::bad_alloc const&)
    {
        return false;
    }
}

} // namespace

FAULT_TEST(MaintenanceFaults, AServiceIsRegisteredOrTheListStays,
           "Maintenance::Register(Buffers::CPObjectMemory const&)")
{
    Quiet const quiet;
    support::LogRecorder log;
    std::vector<Block> others;
    for (unsigned int number = 0; number < 32; ++number)
        others.push_back(service());
    for (unsigned long const already : {0UL, 16UL, 32UL})
    {
        unsigned long const allocations = fail_each_allocation(
            [&](unsigned long nth)
            {
                Block block;
                std::vector<CPObjectMemory> before;
                {
                    Undisturbed const pause;
                    Quiet::clear();
                    for (unsigned long number = 0; number < already; ++number)
                        Register(others[number]);
                    before = list();
                    g_cpMRTrigger.Reset();
                    block = service();
                }
                bool const is_registered = Register(block);
                Undisturbed const pause;
                EXPECT_EQ(is_registered, nth != 1);
                EXPECT_EQ(is_listed(block), is_registered);
                EXPECT_EQ(is_signaled(g_cpMRTrigger), is_registered);
                EXPECT_EQ(block.lockcnt(), 1U + is_registered);
                if (!is_registered)
                {
                    EXPECT_EQ(list(), before);
                    EXPECT_FALSE(Unregister(block, 0));
                }
                EXPECT_TRUE(Register(block));
                EXPECT_EQ(listed(), already + 1);
                EXPECT_TRUE(Unregister(block, 0));
                EXPECT_EQ(list(), before);
            });
        EXPECT_EQ(allocations, 1UL);
    }
    EXPECT_EQ(log.count(), 0U);
}

// Where the threads' library has no memory the scheduler counts as active until it is stopped.
FAULT_TEST(MaintenanceFaults, TheThreadIsStartedOrCanBeStartedLater, "Maintenance::AppInit()")
{
    Quiet const quiet;
    Block block = service(never);
    unsigned int refused = 0;
    unsigned int thrown = 0;
    unsigned long const allocations = fail_each_allocation(
        [&](unsigned long nth)
        {
            {
                Undisturbed const pause;
                Register(block);
            }
            bool const is_started = start();
            Undisturbed const pause;
            EXPECT_TRUE(nth != 0 || is_started);
            EXPECT_TRUE(!is_started || IsActive());
            if (!is_started)
            {
                ++(IsActive() ? thrown : refused);
                EXPECT_EQ(listeners_of(g_cpMRStop) + listeners_of(g_cpMRTrigger), 0UL);
                EXPECT_EQ(block->runs, 0U);
            }
            EXPECT_TRUE(is_listed(block));
            AppExit();
            EXPECT_FALSE(IsActive());
            EXPECT_FALSE(is_listed(block));
            EXPECT_EQ(block.lockcnt(), 1U);
            expect_thread_that_works();
        });
    // The body, its event, two places in each of two lists, the thread; and what the threads' library takes.
    EXPECT_EQ(refused, 2 * 6U);
    EXPECT_EQ(thrown, 2 * (allocations - 6));
    EXPECT_GE(thrown, faults::new_can_fail() ? 2U : 0U);
}

// The thread takes memory itself: a place in the queue of its events when it first waits. Without it, it ends.
TEST(MaintenanceFaults, AThreadThatCannotWaitEndsAndCanBeStartedAgain)
{
    Quiet const quiet;
    for (auto const duration : {support::AllocationFailure::once, support::AllocationFailure::forever})
    {
        std::atomic<bool> is_asked_last{false};
        unsigned long failures = 0;
        Block block = service();
        Probe* const probe = &*block;
        std::optional<support::AllocationFailure> failure;
        support::MaintenanceCalls calls;
        block->on_run = [&]
        {
            probe->time = never;
            failure.emplace(1, duration);
        };
        calls.before_priority = [&](ORVA::Threading::eThreadPriority)
        {
            if (!is_asked_last && failure)
            {
                // The first is that of the wait, the second that behind the loop.
                if (failure->failures() == 0)
                    return;
                failures = failure->failures();
                failure.reset();
                is_asked_last = true;
            }
        };
        ASSERT_TRUE(Register(block));
        ASSERT_TRUE(AppInit());
        until([&] { return is_asked_last.load(); }, "the thread to end its loop");
        EXPECT_TRUE(IsActive());
        EXPECT_TRUE(is_listed(block));
        AppExit();
        calls.before_priority = nullptr;
        EXPECT_EQ(failures, 1UL);
        EXPECT_FALSE(IsActive());
        EXPECT_EQ(block.lockcnt(), 1U);
        expect_thread_that_works();
    }
}

FAULT_TEST(MaintenanceFaults, AStopThatGivesUpItsThreadHasFreshEventsOrNoneUntilTheNextStart, "Maintenance::AppExit()")
{
    Quiet const quiet;
    unsigned long missing = 0;
    unsigned long const allocations = fail_each_allocation(
        [&missing](unsigned long)
        {
            CPEvent const stop(g_cpMRStop);
            CPEvent const trigger(g_cpMRTrigger);
            {
                std::optional<Undisturbed> pause(std::in_place);
                Stuck const stuck([] { EXPECT_TRUE(AppInit()); });
                pause.reset();
                {
                    NewFails const scope;
                    AppExit();
                }
                pause.emplace();
                EXPECT_FALSE(IsActive());
                EXPECT_FALSE(g_cpMRStop == stop);
                EXPECT_FALSE(g_cpMRTrigger == trigger);
                missing += !g_cpMRStop;
                missing += !g_cpMRTrigger;
                EXPECT_EQ(listed(), 0UL);
                Trigger();
            }
            Undisturbed const pause;
            expect_thread_that_works();
            EXPECT_TRUE(g_cpMRStop && g_cpMRTrigger);
        });
    EXPECT_EQ(allocations, 2UL);
    EXPECT_EQ(missing, 2UL + (2 + 1)) << "each alone, and both";
}

TEST(MaintenanceFaults, TriggersStopsAndRemovalsNeedNoMemory)
{
    Quiet const quiet;
    Block const block = service(never);
    ASSERT_TRUE(Register(block));
    ASSERT_TRUE(AppInit());
    support::AllocationFailure const failure(1, support::AllocationFailure::forever);
    {
        NewFails const scope;
        Trigger();
        EXPECT_TRUE(Register(block));
        EXPECT_TRUE(Unregister(block, 60000));
        EXPECT_TRUE(IsActive());
        AppExit();
    }
    EXPECT_EQ(failure.attempts(), 0UL);
    EXPECT_FALSE(IsActive());
}

// A service that was made and could not be registered stays, and keeps others from being made, until it is registered.
FAULT_TEST(MaintenanceFaults, ThePoolsServiceIsMadeAndRegisteredOrNot, "String::CStringPool::AppInit()")
{
    using ORVA::String::CStringPool;
    using ORVA::String::g_pool_maintenance;
    Quiet const quiet;
    unsigned long const allocations = fail_each_allocation(
        [](unsigned long nth)
        {
            unsigned int const result = CStringPool::AppInit();
            Undisturbed const pause;
            EXPECT_EQ(result, nth == 1 || nth == 2 ? 0U : 1U);
            EXPECT_EQ(static_cast<bool>(g_pool_maintenance), nth != 1);
            EXPECT_EQ(listed(), result);
            EXPECT_EQ(CStringPool::AppInit(), nth == 1 ? 1U : 0U);
            if (nth == 2)
            {
                CStringPool::AppExit();
                EXPECT_TRUE(g_pool_maintenance);
                EXPECT_TRUE(Register(g_pool_maintenance));
            }
            EXPECT_EQ(listed(), 1UL);
            EXPECT_EQ(g_pool_maintenance.lockcnt(), 2U);
            CStringPool::AppExit();
            EXPECT_FALSE(g_pool_maintenance);
            EXPECT_EQ(listed(), 0UL);
        });
    EXPECT_EQ(allocations, 2UL);
}
