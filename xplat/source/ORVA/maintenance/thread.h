// The body of the maintenance thread.
#pragma once

#include "maintenance/globals.h"

#include "ORVA/Threading/MultipleEvent.h"
#include "ORVA/Threading/ThreadContext.h"

namespace ORVA::Maintenance
{

// How long to wait for `time` at `now`, in milliseconds cut to 32 bits: 0 if it is over, 0xFFFFFFFF (without limit) for
// `no_time`.
unsigned int wait_until(unsigned long time, unsigned long now);

// Runs services until its stop event is signalled, which it then finds in the first place of its multiple event.
//
// A body may be abandoned: the thread that runs it does not end in time, and a newer one may be started meanwhile. It
// then goes on with its own events, of which the stop stays signalled for ever, finishes the service that it is at, and
// leaves the list and the pending service to others. The body in charge is the one whose stop event is the global one.
class CMaintenanceThread
{
public:
    CMaintenanceThread();
    // Detaches from the events, so that a signal which is on its way finds no listener that is gone.
    ~CMaintenanceThread();
    CMaintenanceThread(CMaintenanceThread const&) = delete;
    CMaintenanceThread& operator=(CMaintenanceThread const&) = delete;

    // Attaches the two events in this order. False at the first that cannot be attached. Each must have no other
    // listener. Called once.
    bool Attach(Threading::CPEvent& stop, Threading::CPEvent& trigger);

    void run();

private:
    bool _run_next();
    bool _choose(Service& service);
    void _finish(bool failed) const;
    unsigned long _next_time() const;
    bool _is_in_charge() const; // needs `g_cpMRLock`
    bool _attach(Threading::CPEvent& event, Threading::CPEvent& kept);
    void _detach(Threading::CPEvent const& event) const;

    Threading::CPMultipleEvent m_events;
    Threading::CPEvent m_stop;
    Threading::CPEvent m_trigger;
    unsigned long m_choice = 0; // the number of its last choice
};

} // namespace ORVA::Maintenance
