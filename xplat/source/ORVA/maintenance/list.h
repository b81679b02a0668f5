// The list of registered services. All of this needs `g_cpMRLock` held.
#pragma once

#include "maintenance/globals.h"

namespace ORVA::Maintenance
{

// Enters and leaves `g_cpMRLock`.
void enter_list();
void leave_list();

// Holds `g_cpMRLock`. An exception when it is left ends the process.
class ListLock
{
public:
    ListLock() { enter_list(); }
    ~ListLock() { leave_list(); }
    ListLock(ListLock const&) = delete;
    ListLock& operator=(ListLock const&) = delete;
};

// The entry of the service in `block`, null if it is not listed.
MRInfo* find_service(Buffers::CPObjectMemory const& block);

// Lets the service stay listed and never be chosen again. Nothing happens if it is not listed.
void disable_service(Buffers::CPObjectMemory const& block);

// Appends a service. False if the heap is exhausted.
bool append_service(Service const& service);

// Takes the entry of a service out and closes the gap. False if it is not listed. The caller holds a reference to the
// service: none of its code may run while the list is in the middle of a change.
bool remove_service(Buffers::CPObjectMemory const& block) noexcept;

// What a service answers when it is asked.
struct Wish
{
    unsigned long time;
    int priority;
};

// Goes through the services that are enabled and asks each what it wants; one that throws is disabled and passed over.
// One walk at a time.
//
// A service may change the list while it is asked. The walk goes by places, which removals keep in step, and ends with
// the last entry of those that it began with: whatever is registered meanwhile has triggered the thread.
class Walk
{
public:
    Walk();

    // Goes on to the next service and asks it. False at the end.
    bool next();

    // The service that was asked.
    Service const& service() const noexcept { return m_service; }
    Wish const& wish() const noexcept { return m_wish; }
    // The entry of the service that was asked, null if it is not listed any more.
    MRInfo* entry() const noexcept;

private:
    bool _ask();

    Service m_service; // its own reference, since the list's may go while the service is asked
    Wish m_wish = {0, 0};
};

} // namespace ORVA::Maintenance
