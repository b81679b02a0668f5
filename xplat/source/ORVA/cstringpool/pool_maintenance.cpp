#include "ORVA/String/PoolMaintenance.h"

#include "cstringpool/under_lock.h"

#include "ORVA/Maintenance.h"
#include "ORVA/String/Pool.h"
#include "ORVA/Threading/CurrentThread.h"

#include <cstring>

template class ORVA::Buffers::CPIObject<ORVA::String::CStringPoolMaintenance>;

namespace ORVA::String
{

namespace
{

constexpr unsigned long pause_in_a_pass = 10000;
constexpr unsigned long pause_after_a_pass = 20000;
constexpr int priority_in_a_pass = 0;
constexpr int priority_after_a_pass = -2;
constexpr unsigned int budget_of_a_step = 10;
constexpr unsigned int patience_at_exit = 10000;

} // namespace

CStringPoolMaintenance::CStringPoolMaintenance() : lastRun(Core::OS::GetTimeNow()), passComplete(false) {}

nqfWChar const* CStringPoolMaintenance::GetName()
{
    return L"CStringPoolMaintenance";
}

unsigned long CStringPoolMaintenance::GetNextMaintenance()
{
    return lastRun + (passComplete ? pause_after_a_pass : pause_in_a_pass);
}

void CStringPoolMaintenance::RunMaintenance()
{
    bool complete = false;
    if (Threading::CurrentThread::OS::GetThreadPriority() == Threading::eThreadPriorityNormal)
        under_lock([&] { complete = g_sensitive_table.DisposeTable(budget_of_a_step) != 0; });
    passComplete = complete;
    lastRun = Core::OS::GetTimeNow();
}

int CStringPoolMaintenance::GetPriority()
{
    return passComplete ? priority_after_a_pass : priority_in_a_pass;
}

void* CStringPoolMaintenance::queryInterface(_nqfUID const& uid) const
{
    _nqfUID const& own = __nqf_uuidof<Maintenance::IMaintenanceRequest>();
    if (std::memcmp(&uid, &own, sizeof own) != 0)
        return nullptr;
    Maintenance::IMaintenanceRequest const* const request = this;
    return const_cast<Maintenance::IMaintenanceRequest*>(request);
}

unsigned int CStringPool::AppInit()
{
    if (g_pool_maintenance || g_pool_maintenance.create() == nullptr)
        return 0;
    return Maintenance::Register(g_pool_maintenance) ? 1 : 0;
}

void CStringPool::AppExit()
{
    if (g_pool_maintenance && Maintenance::Unregister(g_pool_maintenance, patience_at_exit))
        g_pool_maintenance.free();
}

} // namespace ORVA::String
