#include "ORVA/Maintenance/Scheduler.h"

#include "maintenance/list.h"
#include "maintenance/thread.h"

#include "ORVA/Develop/Log.h"

#include <utility>

namespace ORVA::Maintenance
{

using Threading::CPEvent;
using Threading::CPThread;

pthread_mutex_t HandleLock::s_lock = PTHREAD_MUTEX_INITIALIZER;

namespace
{

constexpr unsigned int exit_patience = 20000; // milliseconds

// Empty if the system has no memory or no lock for one.
CPEvent fresh_event()
{
    try
    {
        return CPEvent(true);
    }
    // Not reached: where a lock needs nothing of the system, making one does not fail.
    catch (...)
    {
        return CPEvent(Buffers::CPObjectMemory::pnull);
    }
}

void renew(CPEvent& event)
{
    CPEvent const fresh = fresh_event();
    ListLock const lock;
    put_in_place(event, fresh);
}

// An event that could not be had when the last thread was abandoned may be had now.
void renew_if_empty(CPEvent& event)
{
    if (!event)
        renew(event);
}

// The handle is filled before the thread begins, so that who looks at it there finds it; others may look at it meanwhile.
bool start_thread(Threading::CPThreadContext<CMaintenanceThread>& context)
{
    HandleLock const lock;
    return g_cpMRThread.Execute(context, 0);
}

// False if the thread was abandoned. A wait that is itself interrupted lets go of the thread, so that one starts from the
// global handle again. What is left of the thread goes back there.
bool end_thread()
{
    CPThread thread = copy_of(g_cpMRThread);
    bool ended = thread.Wait(exit_patience) == 0;
    if (!ended)
    {
        thread = g_cpMRThread;
        ended = thread.Terminate();
    }
    put_in_place(g_cpMRThread, thread);
    return ended;
}

void drop_list()
{
    Buffers::CPObjectVector<MRInfo> dropped;
    ListLock const lock;
    dropped = std::move(g_cpMRList);
}

} // namespace

void Trigger()
{
    copy_of(g_cpMRTrigger).Set();
}

bool IsActive()
{
    HandleLock const lock;
    return g_cpMRThread;
}

bool AppInit()
{
    if (g_cpMRThread)
        return true;
    renew_if_empty(g_cpMRTrigger);
    renew_if_empty(g_cpMRStop);
    g_cpMRTrigger.Reset();
    g_cpMRStop.Reset();
    Develop::_logWrite(_nqfDebugNotice, L"ORVA", "maintenance", 411, L"Starting maintenance thread");
    Threading::CPThreadContext<CMaintenanceThread> context;
    CMaintenanceThread* const body = context.create();
    if (body == nullptr || !body->Attach(g_cpMRStop, g_cpMRTrigger))
        return false;
    return start_thread(context);
}

// An abandoned thread keeps its events: a signal to them is still for it, and it detaches from them when it ends.
void AppExit()
{
    if (g_cpMRThread)
    {
        g_cpMRStop.Set();
        bool const ended = end_thread();
        Develop::_istrue_(g_cpMRThread, "maintenance,429:g_cpMRThread");
        if (!ended)
        {
            renew(g_cpMRStop);
            renew(g_cpMRTrigger);
        }
    }
    drop_list();
}

// The thread has as long as the release of its handle gives it. One that is abandoned may hold the list's lock for ever.
void end_with_the_process() noexcept
{
    g_cpMRStop.Set();
    put_in_place(g_cpMRThread, CPThread());
    Buffers::CPObjectVector<MRInfo> dropped;
    if (g_cpMRLock.TryEnter(0))
    {
        dropped = std::move(g_cpMRList);
        g_cpMRLock.Leave();
    }
}

} // namespace ORVA::Maintenance
