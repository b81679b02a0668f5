// Loggers that throw where threads, services and components write to the log.
#include "ORVA/NQF/ClassRegistry.h"
#include "ORVA/NQF/ComponentInfo.h"

#include "components/factory_support.h"
#include "exceptions/logger_sites.h"
#include "maintenance/services_for_tests.h"

#include <vector>

namespace
{

using namespace exceptions;
using namespace support;
using namespace ORVA::NQF;
using scheduler::Block;
using scheduler::g_cpMRLock;

class ThrowingLoggerOf : public scheduler::Scheduler, public testing::WithParamInterface<LoggerSite>
{
};

TEST_P(ThrowingLoggerOf, LeavesTheOperationItsResultAndItsLockFree)
{
    expect_the_result_with_every_logger(GetParam());
    EXPECT_TRUE(locks::is_free(g_cpMRLock));
    EXPECT_TRUE(locks::is_free(g_csFactory));
}

LogMessage const start_of_the_thread = log_message(16, "maintenance", 411, L"Starting maintenance thread");

/// The service that runs is not unregistered, however long one waits.
bool is_not_unregistered()
{
    ClockOverride clock(5000);
    MaintenanceCalls calls;
    calls.sleep = [&clock](unsigned int) { clock.advance(1000); };
    Block const block = scheduler::service();
    bool const chosen = scheduler::Register(block) && scheduler::_selectService();
    bool const refused = !scheduler::Unregister(block, 100) && scheduler::is_disabled(block);
    scheduler::_resetPending(false);
    return chosen && refused && scheduler::Unregister(block, 100) && block.lockcnt() == 1;
}

/// The thread that is there in the end is reported, and the services are dropped all the same.
bool is_still_there_after_the_stop()
{
    scheduler::AppInit();
    MaintenanceCalls calls;
    calls.wait = [](ORVA::Threading::CPThread&, unsigned int) { return -1L; };
    calls.terminate = [](ORVA::Threading::CPThread&) { return true; };
    Block const block = scheduler::service(scheduler::never);
    scheduler::Register(block);
    scheduler::AppExit();
    bool const dropped = block.lockcnt() == 1 && scheduler::IsActive();
    calls.wait = nullptr;
    calls.terminate = nullptr;
    scheduler::AppExit();
    return dropped && !scheduler::IsActive();
}

std::vector<LoggerSite> const sites = {
    {"_cEvent::Set",
     []
     {
         ORVA::Threading::CPEvent const event(true);
         ORVA::Threading::_cEvent source;
         return !event.GetHandle()->Set(&source) && event.Wait(0) == -1 && event.Set() && event.Wait(0) == 0;
     },
     {assumption("RTA_ON_FALSE", "threading,740:pSource==NULL")}},
    {"AppInit",
     []
     {
         bool const started = scheduler::AppInit();
         scheduler::AppExit();
         return started && !scheduler::IsActive();
     },
     {start_of_the_thread}},
    {"AppExit",
     &is_still_there_after_the_stop,
     {start_of_the_thread, assumption("RTA_ON_TRUE", "maintenance,429:g_cpMRThread")}},
    {"Unregister",
     &is_not_unregistered,
     {log_message(1, "maintenance", 119, L"Service for probe can not unregister due to pending condition...")}},
    {"Factory_RegisterClass",
     []
     {
         return CPINQFUnknown::Factory_RegisterClass(test_uid(7), test_uid(8), ORVA::String::CPPoolString(), nullptr) ==
                    0 &&
                locks::is_free(g_rwClasses);
     },
     {log_message(1, "CPNQF", 642,
                  L"Factory_RegisterClass: ClassNames are mandatory! 00000007-0000-0000-0000-000000000000")}},
    {"Factory_GetComponentInfo",
     []
     {
         tagCOMPONENT_INFO info;
         CPINQFUnknown definition;
         return CPINQFUnknown::Factory_GetComponentInfo(definition, info) == 0;
     },
     {assumption("RTA_ON_TRUE", "CPNQF,551:CompInfo.sSizeStruct != sizeof(COMPONENT_INFO)")}},
    {"a release of an interface that throws",
     []
     {
         CallJournal journal;
         ObjectDouble object(journal, "object");
         CPINQFUnknown handle(&object);
         journal.raises("object.Release");
         handle.free();
         return !handle && components::word_of(handle) == 1;
     },
     {illegal_point("CPINQFUnknown::free exception")}},
    {"Factory_Set, under the lock of the slot",
     []
     {
         CallJournal journal;
         FactoryDouble factory(journal);
         g_uFactoryLock = 1;
         bool const is_set = CPINQFUnknown::Factory_Set(&factory) == 1 && locks::is_free(g_csFactory);
         CPINQFUnknown::Factory_Release();
         CPINQFUnknown::Factory_Release();
         return is_set && factory.count == 1 && !CPINQFUnknown::Factory_IsAvailable();
     },
     {failed_condition("g_uFactoryLock == 0")}},
};

INSTANTIATE_TEST_SUITE_P(All, ThrowingLoggerOf, testing::ValuesIn(sites));

} // namespace
