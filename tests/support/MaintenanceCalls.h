/// @file
/// Stands between the maintenance scheduler and what it calls: its lock, its thread, priorities, sleeps and waits.
///
/// Link a test that uses this with `-Wl,--wrap=` for each of the names below, against the library's objects:
/// `_ZN4ORVA11Maintenance10enter_listEv`, `_ZN4ORVA11Maintenance10leave_listEv`,
/// `_ZN4ORVA9Threading8CPThread4WaitEj`, `_ZN4ORVA9Threading8CPThread9TerminateEv`,
/// `_ZN4ORVA9Threading7_cMutex8TryEnterEj`, `_ZN4ORVA9Threading13CurrentThread5sleepEj` and
/// `_ZN4ORVA9Threading13CurrentThread2OS17SetThreadPriorityENS0_15eThreadPriorityE`.
#pragma once

#include "ORVA/Threading/CurrentThread.h"
#include "ORVA/Threading/Locks.h"
#include "ORVA/Threading/Thread.h"

#include <functional>

namespace support
{

/// While it lives, a call goes to the function of the test, or to the library where there is none. One lives at a time.
/// The functions are set while no other thread makes such calls, and may be called on any thread.
class MaintenanceCalls
{
public:
    MaintenanceCalls();
    ~MaintenanceCalls();
    MaintenanceCalls(MaintenanceCalls const&) = delete;
    MaintenanceCalls& operator=(MaintenanceCalls const&) = delete;

    /// Before the lock of the list is entered; an exception takes the place of the entry.
    std::function<void()> before_enter;
    /// After the lock of the list was left.
    std::function<void()> after_leave;
    std::function<long(ORVA::Threading::CPThread&, unsigned int)> wait;
    std::function<bool(ORVA::Threading::CPThread&)> terminate;
    std::function<void(unsigned int)> sleep;
    /// Before a priority is set.
    std::function<void(ORVA::Threading::eThreadPriority)> before_priority;
    /// A wait on an event, that is to say on its waiter's gate, once the waiter has joined the queue. Milliseconds.
    std::function<bool(ORVA::Threading::_cMutex&, unsigned int)> gate;

    /// @name The library's own
    /// @{
    static long real_wait(ORVA::Threading::CPThread& thread, unsigned int milliseconds);
    static bool real_terminate(ORVA::Threading::CPThread& thread);
    static bool real_gate(ORVA::Threading::_cMutex& gate, unsigned int milliseconds);
    /// @}
};

} // namespace support
