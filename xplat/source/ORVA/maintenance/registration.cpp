#include "ORVA/Maintenance/Scheduler.h"

#include "maintenance/list.h"
#include "maintenance/services.h"

#include "ORVA/Develop/Log.h"
#include "ORVA/Threading/CurrentThread.h"

namespace ORVA::Maintenance
{

namespace
{

constexpr unsigned int poll_interval = 5; // milliseconds

enum class Registered
{
    no,
    before,
    now
};

Registered add_to_list(Service const& service)
{
    try
    {
        ListLock const lock;
        if (find_service(service) != nullptr)
            return Registered::before;
        return append_service(service) ? Registered::now : Registered::no;
    }
    catch (...)
    {
        return Registered::no;
    }
}

// False if the service still runs when the time is over.
bool wait_for_the_run(Service const& service, unsigned int milliseconds)
{
    unsigned long const end = Core::OS::GetTimeNow() + milliseconds;
    do
    {
        Threading::CurrentThread::sleep(poll_interval);
        if (!is_pending(service))
            return true;
    } while (Core::OS::GetTimeNow() <= end);
    return !is_pending(service);
}

} // namespace

bool Register(Buffers::CPObjectMemory const& block)
{
    Service const service(block);
    if (!service)
        return false;
    Registered const registered = add_to_list(service);
    if (registered == Registered::now)
        Trigger();
    return registered != Registered::no;
}

bool Unregister(Buffers::CPObjectMemory const& block, unsigned int milliseconds)
{
    Service const service(block);
    if (!service)
        return false;
    {
        ListLock const lock;
        if (!is_pending(service))
            return remove_service(service);
        disable_service(service);
    }
    if (!wait_for_the_run(service, milliseconds))
    {
        Develop::_logWrite(_nqfDebugFailure, L"ORVA", "maintenance", 119,
                           L"Service for %ls can not unregister due to pending condition...", service->GetName());
        return false;
    }
    ListLock const lock;
    return remove_service(service);
}

} // namespace ORVA::Maintenance
