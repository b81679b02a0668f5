// The global objects of the maintenance scheduler. statics.cpp defines them, and fixes the order in which they come and
// go.
//
// Two locks guard them. `g_cpMRLock` is held while services are asked for their times; whoever must not wait for a
// service - a trigger, a look at whether the thread is there - takes the `HandleLock` alone, which is held for the length
// of a copy. The events and the pending service are changed with both held, so either will do to read them. Where both
// are needed, `g_cpMRLock` comes first.
#pragma once

#include "ORVA/Buffers/Interface.h"
#include "ORVA/Buffers/ObjectVector.h"
#include "ORVA/Maintenance/MaintenanceRequest.h"
#include "ORVA/Threading/CriticalSection.h"
#include "ORVA/Threading/Event.h"
#include "ORVA/Threading/Thread.h"

#include <pthread.h>

#include <utility>

namespace ORVA::Maintenance
{

using Service = Buffers::CPInterface<IMaintenanceRequest>;

// A registered service.
struct MRInfo
{
    static constexpr unsigned int disabled = 1;

    Service service;
    unsigned int flags = 0;   // bit 0: `disabled`
    unsigned int skipped = 0; // its age: how often it was due and another one was chosen
};

static_assert(sizeof(MRInfo) == 24, "a handle, an offset and two numbers");

// Guards the list, and what is chosen. Recursive: a service may change the list while it is asked.
extern Threading::CPCriticalSection g_cpMRLock;
// In order of registration.
extern Buffers::CPObjectVector<MRInfo> g_cpMRList;
extern Threading::CPEvent g_cpMRTrigger;
extern Threading::CPEvent g_cpMRStop;
extern Threading::CPThread g_cpMRThread;
// The service that was chosen and has not finished.
extern Service g_cpMRPending;

// Guards the handles on the two events and the thread, and the pending one. Nothing is released and no service called
// while it is held. A plain lock of the system: it needs no object that would have to be made at load.
class HandleLock
{
public:
    HandleLock() noexcept { pthread_mutex_lock(&s_lock); }
    ~HandleLock() { pthread_mutex_unlock(&s_lock); }
    HandleLock(HandleLock const&) = delete;
    HandleLock& operator=(HandleLock const&) = delete;

private:
    static pthread_mutex_t s_lock;
};

// A handle of one's own on what a global one holds at this moment.
template <class Handle>
Handle copy_of(Handle const& global)
{
    HandleLock const lock;
    return global;
}

// Changes what a global handle holds. The old content is released when the `HandleLock` is not held any more.
template <class Handle>
void put_in_place(Handle& global, Handle handle)
{
    HandleLock const lock;
    std::swap(global, handle);
}

// What the end of the process does before any of the objects above goes: it ends a thread that nobody has stopped, and
// drops services that nobody has taken off, while all that they use still stands.
void end_with_the_process() noexcept;

} // namespace ORVA::Maintenance

namespace ORVA::Buffers
{

template <>
struct MovesByBytes<Maintenance::MRInfo> : std::true_type
{
};

extern template class CPObjectVector<Maintenance::MRInfo>;

} // namespace ORVA::Buffers
