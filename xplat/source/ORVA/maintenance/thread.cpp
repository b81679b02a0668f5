#include "maintenance/thread.h"

#include "maintenance/list.h"
#include "maintenance/services.h"

#include "ORVA/Threading/CurrentThread.h"

namespace ORVA::Maintenance
{

namespace
{

constexpr unsigned int no_limit = 0xFFFFFFFFU;

using Buffers::CPObjectMemory;
using Threading::CurrentThread::OS::SetThreadPriority;

} // namespace

unsigned int wait_until(unsigned long time, unsigned long now)
{
    if (time == no_time)
        return no_limit;
    return time > now ? static_cast<unsigned int>(time - now) : 0;
}

CMaintenanceThread::CMaintenanceThread()
    : m_events(false), m_stop(CPObjectMemory::pnull), m_trigger(CPObjectMemory::pnull)
{
}

CMaintenanceThread::~CMaintenanceThread()
{
    _detach(m_trigger);
    _detach(m_stop);
}

bool CMaintenanceThread::Attach(Threading::CPEvent& stop, Threading::CPEvent& trigger)
{
    return _attach(stop, m_stop) && _attach(trigger, m_trigger);
}

bool CMaintenanceThread::_attach(Threading::CPEvent& event, Threading::CPEvent& kept)
{
    if (!m_events.Attach(event))
        return false;
    kept = event;
    return true;
}

// The multiple event refuses to detach once a thread has waited on it; the event does not. Its lock is the one that a
// signal holds while it tells its listeners.
void CMaintenanceThread::_detach(Threading::CPEvent const& event) const
{
    if (Threading::_cEvent* const plain = event.GetHandle())
        plain->detach(static_cast<Threading::_cMultipleEvent*>(m_events.get_ptr()));
}

void CMaintenanceThread::run()
{
    unsigned int wait = 0; // milliseconds
    do
    {
        SetThreadPriority(Threading::eThreadPriorityNormal);
        m_trigger.Reset();
        while (_run_next())
        {
        }
        unsigned long const time = _next_time();
        SetThreadPriority(Threading::eThreadPriorityIdle);
        wait = wait_until(time, Core::OS::GetTimeNow());
    } while (m_events.Wait(wait) != 0);
    SetThreadPriority(Threading::eThreadPriorityNormal);
}

// The own reference keeps a service that is at work when the list and the pending one go. It is given back before the
// service stops being the pending one, so that whoever has waited for that finds none left of it.
bool CMaintenanceThread::_run_next()
{
    Service service;
    if (!_choose(service))
        return false;
    bool failed = false;
    try
    {
        service->RunMaintenance();
    }
    catch (...)
    {
        failed = true;
    }
    service.free();
    _finish(failed);
    return true;
}

bool CMaintenanceThread::_choose(Service& service)
{
    try
    {
        ListLock const lock;
        if (!_is_in_charge() || !_selectService())
            return false;
        service = g_cpMRPending;
        m_choice = g_choices;
        return true;
    }
    catch (...)
    {
        return false;
    }
}

// Unless a newer thread has chosen since: then the pending service is that one's.
void CMaintenanceThread::_finish(bool failed) const
{
    try
    {
        ListLock const lock;
        if (m_choice == g_choices)
            _resetPending(failed);
    }
    catch (...)
    {
        // without the lock the service stays pending
    }
}

unsigned long CMaintenanceThread::_next_time() const
{
    try
    {
        ListLock const lock;
        return _is_in_charge() ? _getTimeout() : 0;
    }
    catch (...)
    {
        return no_time;
    }
}

bool CMaintenanceThread::_is_in_charge() const
{
    return g_cpMRStop == m_stop;
}

} // namespace ORVA::Maintenance
