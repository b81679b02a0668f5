// Start and stop of the library without memory.
#include "faults/maintenance_faults.h"
#include "faults/new_faults.h"

#include "cstringpool/globals.h"
#include "lifecycle.h"

#include "ORVA/Core.h"
#include "ORVA/String/Pool.h"

#include <optional>

namespace
{

using faults::fail_each_allocation;
using faults::NewFails;
using faults::Undisturbed;
using ORVA::String::CStringPool;
using ORVA::String::g_pool_maintenance;
namespace Maintenance = ORVA::Maintenance;

void expect_stopped()
{
    EXPECT_EQ(ORVA::g_lAppInitLock, 0U);
    EXPECT_FALSE(Maintenance::IsActive());
    EXPECT_FALSE(g_pool_maintenance);
    EXPECT_EQ(scheduler::listed(), 0UL);
    EXPECT_EQ(scheduler::listeners_of(Maintenance::g_cpMRStop), 0UL);
    EXPECT_EQ(scheduler::listeners_of(Maintenance::g_cpMRTrigger), 0UL);
}

// A start and a stop with all the memory they need.
void expect_start_and_stop()
{
    EXPECT_EQ(ORVA::AppInit(), 1);
    EXPECT_TRUE(Maintenance::IsActive());
    EXPECT_TRUE(g_pool_maintenance);
    EXPECT_EQ(scheduler::listed(), 1UL);
    ORVA::AppExit();
    expect_stopped();
}

} // namespace

// A start that failed counts, and starts nothing more until it is taken back. What it had done stands until then: the
// thread, or the service of the pool, which is then to be registered before it can go.
FAULT_TEST(LifecycleFaults, AStartIsMadeOrCanBeMadeAgainAfterAStop, "AppInit()")
{
    expect_stopped();
    unsigned int without_thread = 0;
    unsigned int without_service = 0;
    unsigned int unregistered = 0;
    unsigned long const allocations = fail_each_allocation(
        [&](unsigned long nth)
        {
            int result = 0;
            {
                NewFails const scope;
                result = ORVA::AppInit();
            }
            Undisturbed const pause;
            EXPECT_EQ(ORVA::g_lAppInitLock, 1U);
            EXPECT_EQ(result == 1, g_pool_maintenance.lockcnt() == 2);
            EXPECT_TRUE(nth != 0 || result == 1);
            EXPECT_TRUE(result == 0 || Maintenance::IsActive());
            EXPECT_EQ(scheduler::listed(), result == 1 ? 1UL : 0UL);
            bool const is_unregistered = g_pool_maintenance.lockcnt() == 1;
            if (result == 0)
                ++(is_unregistered ? unregistered : Maintenance::IsActive() ? without_service : without_thread);

            EXPECT_EQ(ORVA::AppInit(), 1);
            EXPECT_EQ(scheduler::listed(), result == 1 ? 1UL : 0UL);
            ORVA::AppExit();
            EXPECT_EQ(ORVA::g_lAppInitLock, 1U);
            if (is_unregistered)
            {
                EXPECT_TRUE(Maintenance::Register(g_pool_maintenance));
            }
            ORVA::AppExit();
            expect_start_and_stop();
        });
    EXPECT_EQ(without_thread, 2 * 6U) << "the body, its event, the places in the lists of both, the handle's block";
    EXPECT_EQ(unregistered, 2 * 1U);
    EXPECT_EQ(without_service, 2 * (allocations - 7)) << "the service, and what the threads' library takes";
    EXPECT_GE(without_service, faults::new_can_fail() ? 2 * 2U : 2 * 1U);
}

FAULT_TEST(LifecycleFaults, AStopThatGivesUpItsThreadLeavesAWayToStartAgain, "AppExit()")
{
    expect_stopped();
    unsigned long missing = 0;
    unsigned long const allocations = fail_each_allocation(
        [&missing](unsigned long)
        {
            {
                std::optional<Undisturbed> pause(std::in_place);
                maintenance_faults::Stuck const stuck([] { EXPECT_EQ(ORVA::AppInit(), 1); });
                pause.reset();
                {
                    NewFails const scope;
                    ORVA::AppExit();
                }
                pause.emplace();
                EXPECT_EQ(ORVA::g_lAppInitLock, 0U);
                EXPECT_FALSE(Maintenance::IsActive());
                EXPECT_FALSE(g_pool_maintenance);
                EXPECT_EQ(scheduler::listed(), 0UL);
                missing += !Maintenance::g_cpMRStop;
                missing += !Maintenance::g_cpMRTrigger;
            }
            Undisturbed const pause;
            expect_start_and_stop();
        });
    EXPECT_EQ(allocations, 2UL);
    EXPECT_EQ(missing, 2UL + (2 + 1)) << "each of the fresh events alone, and both";
}

// The stop of a thread that ends in time, and one that only counts.
TEST(LifecycleFaults, AStopNeedsNoMemory)
{
    ASSERT_EQ(ORVA::AppInit(), 1);
    ASSERT_EQ(ORVA::AppInit(), 1);
    {
        support::AllocationFailure const failure(1, support::AllocationFailure::forever);
        {
            NewFails const scope;
            ORVA::AppExit();
            ORVA::AppExit();
        }
        EXPECT_EQ(failure.attempts(), 0UL);
    }
    expect_stopped();
    expect_start_and_stop();
}
