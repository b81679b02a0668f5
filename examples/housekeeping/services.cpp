#include "services.h"

#include "schedule.h"

#include <cstring>
#include <stdexcept>

namespace housekeeping
{

using ORVA::Maintenance::IMaintenanceRequest;

void* Service::queryInterface(_nqfUID const& uid) const
{
    if (std::memcmp(&uid, &__nqf_uuidof<IMaintenanceRequest>(), sizeof uid) != 0)
        return nullptr;
    return const_cast<IMaintenanceRequest*>(static_cast<IMaintenanceRequest const*>(this));
}

void Backlog::give(nqfWChar const* name, int priority, unsigned int items)
{
    m_name = name;
    m_priority = priority;
    m_items = items;
}

// A time that is over means: now. The last time of all means: not again.
unsigned long Backlog::GetNextMaintenance()
{
    return m_worked_off < m_items ? 0 : ~0UL;
}

void Backlog::RunMaintenance()
{
    ++m_worked_off;
    tell(m_name, "item %u of %u, at priority %d", m_worked_off, m_items, m_priority);
    if (m_worked_off == m_items)
        m_done.Set();
}

void Mail::RunMaintenance()
{
    ++m_runs;
    tell(GetName(), "throws");
    m_tried.Set();
    throw std::runtime_error("the server does not answer");
}

// A pass should be short; this one shows what happens if it is not.
void Backup::RunMaintenance()
{
    tell(GetName(), "begins");
    m_begun.Set();
    ORVA::Threading::CurrentThread::sleep(700);
    m_copied = true;
    tell(GetName(), "ends");
}

} // namespace housekeeping
