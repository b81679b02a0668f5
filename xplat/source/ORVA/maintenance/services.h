// What the maintenance thread asks of the list: which service to run now, and when to look again.
#pragma once

#include "maintenance/globals.h"

namespace ORVA::Maintenance
{

// A time that never comes.
constexpr unsigned long no_time = static_cast<unsigned long>(-1L);

// How many services have been chosen so far. Guarded by `g_cpMRLock`.
extern unsigned long g_choices;

// The earliest time at which a service wants to run; `no_time` without services, and if the lock cannot be had.
unsigned long _getTimeout();

// Chooses the service to run and makes it the pending one. False if none is due, if the stop was asked for, and if the
// lock cannot be had.
bool _selectService();

// Ends the run of the pending service, and disables it if it failed. Nothing happens if the lock cannot be had.
void _resetPending(bool failed);

// Whether the service in `block` is the pending one. Does not wait for services that are being asked.
bool is_pending(Buffers::CPObjectMemory const& block);

} // namespace ORVA::Maintenance
