// Start and stop of the pool's own service.

#include "pool/pool_support.h"
#include "support/ClockOverride.h"

#include "maintenance/globals.h"

#include "ORVA/Maintenance.h"

#include <atomic>
#include <thread>

using namespace pool_tests;

namespace
{

using support::ClockOverride;

class PoolLifecycle : public testing::Test
{
protected:
    PoolLifecycle() { EXPECT_FALSE(g_pool_maintenance); }
    ~PoolLifecycle() override
    {
        CStringPool::AppExit();
        EXPECT_FALSE(g_pool_maintenance);
    }
};

unsigned long registered_services()
{
    return ORVA::Maintenance::g_cpMRList.GetCount();
}

} // namespace

TEST_F(PoolLifecycle, start_makes_and_registers_the_service)
{
    ClockOverride const clock(5000000);
    unsigned long const before = registered_services();
    EXPECT_EQ(CStringPool::AppInit(), 1U);
    ASSERT_TRUE(g_pool_maintenance);
    EXPECT_EQ(registered_services(), before + 1);
    EXPECT_EQ(g_pool_maintenance.lockcnt(), 2U);
    EXPECT_EQ(g_pool_maintenance->lastRun, 5000000U);
    EXPECT_FALSE(g_pool_maintenance->passComplete);
    ORVA::Buffers::CPObjectMemory const block = g_pool_maintenance;
    EXPECT_EQ(block.GetTypeID(), ORVA::Buffers::CPIObject<CStringPoolMaintenance>::GetTypeID());
}

TEST_F(PoolLifecycle, second_start_is_refused_and_changes_nothing)
{
    EXPECT_EQ(CStringPool::AppInit(), 1U);
    void const* const service = g_pool_maintenance.get_cptr();
    EXPECT_EQ(CStringPool::AppInit(), 0U);
    EXPECT_EQ(g_pool_maintenance.get_cptr(), service);
    EXPECT_EQ(g_pool_maintenance.lockcnt(), 2U);
}

TEST_F(PoolLifecycle, start_without_memory_leaves_nothing)
{
    {
        AllocationFailure const failure(1);
        EXPECT_EQ(CStringPool::AppInit(), 0U);
    }
    EXPECT_FALSE(g_pool_maintenance);
    EXPECT_EQ(CStringPool::AppInit(), 1U);
}

TEST_F(PoolLifecycle, service_that_cannot_be_registered_stays_and_later_starts_are_refused)
{
    {
        AllocationFailure const failure(2);
        EXPECT_EQ(CStringPool::AppInit(), 0U);
    }
    EXPECT_TRUE(g_pool_maintenance);
    EXPECT_EQ(CStringPool::AppInit(), 0U);
    // It is not listed, so a stop cannot take it off and keeps it too.
    CStringPool::AppExit();
    EXPECT_TRUE(g_pool_maintenance);
    EXPECT_TRUE(ORVA::Maintenance::Register(g_pool_maintenance));
}

TEST_F(PoolLifecycle, stop_unregisters_and_frees_the_service)
{
    unsigned long const before = registered_services();
    CStringPool::AppInit();
    ORVA::Buffers::CPObjectMemory const service = g_pool_maintenance;
    CStringPool::AppExit();
    EXPECT_FALSE(g_pool_maintenance);
    EXPECT_EQ(registered_services(), before);
    EXPECT_EQ(service.lockcnt(), 1U);
}

TEST_F(PoolLifecycle, stop_without_a_start_does_nothing)
{
    unsigned long const before = registered_services();
    CStringPool::AppExit();
    EXPECT_FALSE(g_pool_maintenance);
    EXPECT_EQ(registered_services(), before);
}

TEST_F(PoolLifecycle, starts_and_stops_may_be_repeated)
{
    for (int cycle = 0; cycle < 100; ++cycle)
    {
        ASSERT_EQ(CStringPool::AppInit(), 1U);
        CStringPool::AppExit();
        ASSERT_FALSE(g_pool_maintenance);
    }
}
