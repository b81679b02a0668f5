#include "support/MaintenanceCalls.h"

#include <atomic>

using ORVA::Threading::_cMutex;
using ORVA::Threading::CPThread;
using ORVA::Threading::eThreadPriority;

namespace
{

std::atomic<support::MaintenanceCalls*> active{nullptr};

// The function of the test that is in use, or null.
template <class Function>
Function const* in_use(Function support::MaintenanceCalls::*function)
{
    support::MaintenanceCalls* const calls = active;
    return calls != nullptr && calls->*function ? &(calls->*function) : nullptr;
}

} // namespace

// The names are those that the linker's --wrap gives. A member's object is its first argument.
extern "C" void __real__ZN4ORVA11Maintenance10enter_listEv();
extern "C" void __wrap__ZN4ORVA11Maintenance10enter_listEv();
extern "C" void __real__ZN4ORVA11Maintenance10leave_listEv();
extern "C" void __wrap__ZN4ORVA11Maintenance10leave_listEv();
extern "C" long __real__ZN4ORVA9Threading8CPThread4WaitEj(CPThread* thread, unsigned int milliseconds);
extern "C" long __wrap__ZN4ORVA9Threading8CPThread4WaitEj(CPThread* thread, unsigned int milliseconds);
extern "C" bool __real__ZN4ORVA9Threading8CPThread9TerminateEv(CPThread* thread);
extern "C" bool __wrap__ZN4ORVA9Threading8CPThread9TerminateEv(CPThread* thread);
extern "C" bool __real__ZN4ORVA9Threading7_cMutex8TryEnterEj(_cMutex* gate, unsigned int milliseconds);
extern "C" bool __wrap__ZN4ORVA9Threading7_cMutex8TryEnterEj(_cMutex* gate, unsigned int milliseconds);
extern "C" void __real__ZN4ORVA9Threading13CurrentThread5sleepEj(unsigned int milliseconds);
extern "C" void __wrap__ZN4ORVA9Threading13CurrentThread5sleepEj(unsigned int milliseconds);
extern "C" void
__real__ZN4ORVA9Threading13CurrentThread2OS17SetThreadPriorityENS0_15eThreadPriorityE(eThreadPriority priority);
extern "C" void
__wrap__ZN4ORVA9Threading13CurrentThread2OS17SetThreadPriorityENS0_15eThreadPriorityE(eThreadPriority priority);

extern "C" void __wrap__ZN4ORVA11Maintenance10enter_listEv()
{
    if (auto const* const function = in_use(&support::MaintenanceCalls::before_enter))
        (*function)();
    __real__ZN4ORVA11Maintenance10enter_listEv();
}

extern "C" void __wrap__ZN4ORVA11Maintenance10leave_listEv()
{
    __real__ZN4ORVA11Maintenance10leave_listEv();
    if (auto const* const function = in_use(&support::MaintenanceCalls::after_leave))
        (*function)();
}

extern "C" long __wrap__ZN4ORVA9Threading8CPThread4WaitEj(CPThread* thread, unsigned int milliseconds)
{
    if (auto const* const function = in_use(&support::MaintenanceCalls::wait))
        return (*function)(*thread, milliseconds);
    return __real__ZN4ORVA9Threading8CPThread4WaitEj(thread, milliseconds);
}

extern "C" bool __wrap__ZN4ORVA9Threading8CPThread9TerminateEv(CPThread* thread)
{
    if (auto const* const function = in_use(&support::MaintenanceCalls::terminate))
        return (*function)(*thread);
    return __real__ZN4ORVA9Threading8CPThread9TerminateEv(thread);
}

extern "C" bool __wrap__ZN4ORVA9Threading7_cMutex8TryEnterEj(_cMutex* gate, unsigned int milliseconds)
{
    if (auto const* const function = in_use(&support::MaintenanceCalls::gate))
        return (*function)(*gate, milliseconds);
    return __real__ZN4ORVA9Threading7_cMutex8TryEnterEj(gate, milliseconds);
}

extern "C" void __wrap__ZN4ORVA9Threading13CurrentThread5sleepEj(unsigned int milliseconds)
{
    if (auto const* const function = in_use(&support::MaintenanceCalls::sleep))
        return (*function)(milliseconds);
    __real__ZN4ORVA9Threading13CurrentThread5sleepEj(milliseconds);
}

extern "C" void
__wrap__ZN4ORVA9Threading13CurrentThread2OS17SetThreadPriorityENS0_15eThreadPriorityE(eThreadPriority priority)
{
    if (auto const* const function = in_use(&support::MaintenanceCalls::before_priority))
        (*function)(priority);
    __real__ZN4ORVA9Threading13CurrentThread2OS17SetThreadPriorityENS0_15eThreadPriorityE(priority);
}

namespace support
{

MaintenanceCalls::MaintenanceCalls()
{
    active = this;
}

MaintenanceCalls::~MaintenanceCalls()
{
    active = nullptr;
}

long MaintenanceCalls::real_wait(CPThread& thread, unsigned int milliseconds)
{
    return __real__ZN4ORVA9Threading8CPThread4WaitEj(&thread, milliseconds);
}

bool MaintenanceCalls::real_terminate(CPThread& thread)
{
    return __real__ZN4ORVA9Threading8CPThread9TerminateEv(&thread);
}

bool MaintenanceCalls::real_gate(_cMutex& gate, unsigned int milliseconds)
{
    return __real__ZN4ORVA9Threading7_cMutex8TryEnterEj(&gate, milliseconds);
}

} // namespace support
