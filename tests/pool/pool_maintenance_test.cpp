// The service that collects unused strings: what it tells the scheduler, and what a step does.

#include "pool/pool_support.h"
#include "support/ClockOverride.h"

#include "ORVA/Buffers/Interface.h"
#include "ORVA/Maintenance.h"
#include "ORVA/NQF/UID.h"
#include "ORVA/String/PoolMaintenance.h"

#include <type_traits>

using namespace pool_tests;

namespace
{

using ORVA::Buffers::CPInterface;
using ORVA::Buffers::CPIObject;
using ORVA::Buffers::CPObjectMemory;
using ORVA::Maintenance::IMaintenanceRequest;
using support::ClockOverride;
using support::last_disposal_limit;
using support::ThreadPriorityOverride;

constexpr unsigned long start = 1700000000000;

class PoolService : public testing::Test
{
protected:
    ClockOverride clock{start};
    CStringPoolMaintenance service;
};

static_assert(std::is_base_of_v<IMaintenanceRequest, CStringPoolMaintenance>);
static_assert(std::is_same_v<decltype(CStringPoolMaintenance::lastRun), unsigned long>);
static_assert(std::is_same_v<decltype(CStringPoolMaintenance::passComplete), bool>);
static_assert(std::is_same_v<decltype(CStringPool::AppInit()), unsigned int>);
static_assert(std::is_void_v<decltype(CStringPool::AppExit())>);

} // namespace

TEST_F(PoolService, is_named)
{
    EXPECT_STREQ(service.GetName(), L"CStringPoolMaintenance");
}

TEST_F(PoolService, takes_its_construction_for_an_unfinished_run)
{
    EXPECT_EQ(service.lastRun, start);
    EXPECT_FALSE(service.passComplete);
    EXPECT_EQ(service.GetNextMaintenance(), start + 10000);
    EXPECT_EQ(service.GetPriority(), 0);
}

TEST_F(PoolService, comes_back_after_20_seconds_with_low_priority_when_a_pass_is_complete)
{
    clock.set(start + 11000);
    service.RunMaintenance();
    EXPECT_TRUE(service.passComplete);
    EXPECT_EQ(service.lastRun, start + 11000);
    EXPECT_EQ(service.GetNextMaintenance(), start + 31000);
    EXPECT_EQ(service.GetPriority(), -2);
}

TEST_F(PoolService, runs_a_step_of_10_units)
{
    service.RunMaintenance();
    EXPECT_EQ(last_disposal_limit(), 10U);
}

TEST_F(PoolService, comes_back_after_10_seconds_with_normal_priority_while_a_pass_is_unfinished)
{
    _cppoolstring const string = CStringPool::GetStringRef(name("unfinished").c_str());
    service.RunMaintenance();
    ASSERT_TRUE(service.passComplete);

    clock.before_read = [this] { clock.advance(1000); };
    service.RunMaintenance();
    EXPECT_FALSE(service.passComplete);
    clock.before_read = nullptr;
    EXPECT_EQ(service.lastRun, ORVA::Core::OS::GetTimeNow());
    EXPECT_EQ(service.GetNextMaintenance(), service.lastRun + 10000);
    EXPECT_EQ(service.GetPriority(), 0);
    collect_all();
}

TEST_F(PoolService, disposes_of_a_string_in_the_second_pass)
{
    std::wstring const text = name("service");
    CStringPool::GetStringRef(text.c_str());
    service.RunMaintenance();
    EXPECT_TRUE(is_pooled(text));
    service.RunMaintenance();
    EXPECT_FALSE(is_pooled(text));
}

TEST_F(PoolService, leaves_the_step_out_on_a_thread_of_another_priority)
{
    std::wstring const text = name("idle");
    tagSTRINGPOOLRECORD const* const record = &*CStringPool::GetStringRef(text.c_str());
    service.RunMaintenance();
    EXPECT_EQ(record->age, 1U);
    for (int const priority : {-2, 1})
    {
        service.passComplete = true;
        clock.set(start + 5000);
        service.lastRun = start;
        ThreadPriorityOverride const other(static_cast<ORVA::Threading::eThreadPriority>(priority));
        service.RunMaintenance();
        EXPECT_FALSE(service.passComplete);
        EXPECT_EQ(service.lastRun, start + 5000);
        EXPECT_EQ(record->age, 1U);
    }
    // It does not even ask for the lock.
    g_pool_lock.Enter();
    std::future<void> left_out = std::async(std::launch::async,
                                            [&]
                                            {
                                                ThreadPriorityOverride const idle(ORVA::Threading::eThreadPriorityIdle);
                                                service.RunMaintenance();
                                            });
    EXPECT_EQ(left_out.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    g_pool_lock.Leave();
    left_out.get();
    collect_all();
    collect_all();
}

TEST_F(PoolService, holds_the_lock_during_a_step)
{
    g_pool_lock.Enter();
    std::future<void> step = std::async(std::launch::async, [&] { service.RunMaintenance(); });
    EXPECT_EQ(step.wait_for(std::chrono::milliseconds(5)), std::future_status::timeout);
    g_pool_lock.Leave();
    step.get();
    EXPECT_TRUE(service.passComplete);
    EXPECT_TRUE(lock_is_free());
}

TEST_F(PoolService, takes_a_step_that_throws_for_an_unfinished_pass)
{
    service.RunMaintenance();
    ASSERT_TRUE(service.passComplete);
    clock.set(start + 7000);
    TableFault const fault(TableOperation::dispose);
    EXPECT_NO_THROW(service.RunMaintenance());
    EXPECT_TRUE(fault.has_thrown());
    EXPECT_FALSE(service.passComplete);
    EXPECT_EQ(service.lastRun, start + 7000);
    EXPECT_TRUE(lock_is_free());
}

TEST_F(PoolService, answers_the_one_identifier_with_itself)
{
    IMaintenanceRequest* const request = &service;
    ORVA::NQF::cnqfuid const own("15603CD4-AB81-4D6F-B05F-C6BEA760A789");
    EXPECT_EQ(service.queryInterface(own), request);
    EXPECT_EQ(service.queryInterface(ORVA::NQF::nqfUID_null), nullptr);
    // All sixteen bytes count.
    for (unsigned int index = 0; index < sizeof(_nqfUID); ++index)
    {
        _nqfUID other = own;
        reinterpret_cast<unsigned char*>(&other)[index] ^= 1;
        EXPECT_EQ(service.queryInterface(other), nullptr) << index;
    }
}

TEST_F(PoolService, is_found_in_its_block_through_the_interface)
{
    CPIObject<CStringPoolMaintenance> block;
    CStringPoolMaintenance* const made = block.create();
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->lastRun, start);
    CPInterface<IMaintenanceRequest> const request(block);
    EXPECT_EQ(request.lOffset, 0);
    EXPECT_STREQ(request->GetName(), L"CStringPoolMaintenance");
}

// The five operations stand in the table of the object in this order.
TEST_F(PoolService, has_its_operations_in_order)
{
    using Look = void* (*)(CStringPoolMaintenance const*, _nqfUID const&);
    using Number = unsigned long (*)(CStringPoolMaintenance*);
    using Priority = int (*)(CStringPoolMaintenance*);
    using Name = nqfWChar const* (*)(CStringPoolMaintenance*);
    using Pass = void (*)(CStringPoolMaintenance*);
    void* const* const table = *reinterpret_cast<void* const* const*>(&service);
    EXPECT_STREQ(reinterpret_cast<Name>(table[0])(&service), L"CStringPoolMaintenance");
    EXPECT_EQ(reinterpret_cast<Number>(table[1])(&service), start + 10000);
    reinterpret_cast<Pass>(table[2])(&service);
    EXPECT_TRUE(service.passComplete);
    EXPECT_EQ(reinterpret_cast<Priority>(table[3])(&service), -2);
    EXPECT_EQ(reinterpret_cast<Look>(table[4])(&service, __nqf_uuidof<IMaintenanceRequest>()), &service);
}
