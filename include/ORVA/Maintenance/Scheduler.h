/// @file
/// The maintenance thread: one per process, which runs registered services while they have something to do.
///
/// A service is an object in a block that offers `IMaintenanceRequest`. The thread runs the services that are due one
/// after another, and sleeps until the next one is, or until it is triggered.
///
/// | state of a service | by | to |
/// |---|---|---|
/// | not registered | `Register` | enabled |
/// | enabled | any of its operations on the thread throws; an `Unregister` while it runs | disabled: listed, never run |
/// | enabled, disabled | `Unregister` that succeeds, `AppExit` | not registered |
///
/// A disabled service is enabled again only by being unregistered and registered anew.
///
/// Which service runs: of those whose time has come, the one with the highest sum of its priority and its age, the first
/// registered of several. The age is how often it was due and another one ran, so no service waits for ever. The sum is
/// one of 32 bits that wraps, and a sum of exactly -2147483648 is never chosen.
///
/// Times are milliseconds on the clock of `Core::OS::GetTimeNow()`, which advances once a second. The time to the next
/// service is cut to 32 bits: with one of 2^32 milliseconds (50 days) or more the thread wakes up early, and looks again;
/// but if the low 32 bits are all set, it sleeps until it is triggered. A service that is always due keeps the thread
/// busy.
///
/// Thread-safety: `Register`, `Unregister`, `Trigger` and `IsActive` may be called from any thread at any time, also
/// while another starts or stops the thread. One owner calls `AppInit` and `AppExit`, one after the other; hosts leave
/// that to `ORVA::AppInit` and `ORVA::AppExit`. A service is asked for its time and its priority with the lock of the
/// list held: these two must be quick, and must not wait for another thread that calls `Register` or `Unregister`. It
/// is run with no lock held. A service may call all operations but `AppInit` and `AppExit`, at any time.
///
/// Ownership: the list holds one reference to each service, and the thread another one while it runs it.
#pragma once

#include "ORVA/Buffers/ObjectMemory.h"
#include "ORVA/Core/Export.h"
#include "ORVA/Maintenance/MaintenanceRequest.h"

namespace ORVA::Maintenance
{

/// Adds the service in `block` at the end of the list, and triggers the thread. Works whether the thread runs or not.
///
/// True as well if it was listed before; nothing changes then, and a disabled service stays disabled. False for a block
/// that does not offer `IMaintenanceRequest`, and if the heap is exhausted. What the block throws when it is asked for
/// the interface passes, here and in `Unregister`, and changes nothing.
ORVA_API bool Register(Buffers::CPObjectMemory const& block);

/// Takes the service in `block` off the list. False if it is not listed.
///
/// A service that runs at this moment is disabled and waited for: in steps of 5 milliseconds, one at least, and for
/// `milliseconds` of the one-second clock. When that time is over it stays listed and disabled, a message of level 1
/// tells its name, and the result is false; the caller then keeps the block alive. So a service cannot unregister itself
/// while it runs. The wait is an interruption point.
ORVA_API bool Unregister(Buffers::CPObjectMemory const& block, unsigned int milliseconds);

/// Makes the thread look at the services again. Without a thread nothing comes of it.
ORVA_API void Trigger();

/// Starts the thread. True as well if it runs already; false if the heap is exhausted. An exception of Boost.Thread
/// passes if the system cannot start a thread: the scheduler then counts as active until `AppExit`.
ORVA_API bool AppInit();

/// Stops the thread and drops all services, these also if no thread runs.
///
/// The service that runs at this moment is waited for up to 20 seconds. After that the thread is interrupted, and
/// abandoned if 5 more seconds do not end it: it then goes on to the end of the service's pass, and chooses no other. A
/// thread may be started anew; until that one chooses a service, the other stays the running one for `Unregister`.
///
/// A process that ends without this call tells the thread to stop, interrupts it, gives it 5 seconds, and drops all
/// services.
ORVA_API void AppExit();

/// True from `AppInit` to the end of the thread in `AppExit`, and also if the heap was exhausted when the thread was to
/// wait for the first time, which ends it.
ORVA_API bool IsActive();

} // namespace ORVA::Maintenance
