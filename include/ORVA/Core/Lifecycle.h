/// @file
/// Start and stop of the library.
///
/// All objects of the library are there from the moment it is loaded until the process ends; strings, blocks, locks and
/// threads can be used without a start. What the start adds is the background: the maintenance thread, and the collection
/// of unused strings on it.
///
/// | call | number of starts | what happens |
/// |---|---|---|
/// | first `AppInit` | 0 to 1 | the maintenance thread starts, then the pool's service is registered |
/// | a further `AppInit` | more by 1 | nothing; the result is 1 |
/// | `AppExit` that is not the last | less by 1 | nothing |
/// | last `AppExit` | 1 to 0 | the pool's service is unregistered, then the thread is stopped |
///
/// After a full stop `AppInit` starts everything anew. A host that leaves the last `AppExit` out leaves the maintenance
/// thread running into the end of the process. It is ended there, when other objects, those of the host among them, have
/// been destroyed; a service that runs at that moment has 5 seconds. Call `AppExit`.
///
/// Thread-safety: of several threads that call `AppInit` at once, one starts the library, and the others return at once
/// with 1, perhaps before it has started. `AppInit` must not overlap with the last `AppExit`.
#pragma once

#include "ORVA/Core/Export.h"

namespace ORVA
{

/// Starts the library, or counts one start more. 1 for success, 0 for failure; nothing is logged for that, and no
/// exception comes out.
///
/// A failure is **not** taken back: it counts as a start, and the next call gives 1 and starts nothing. Call `AppExit`
/// after a failure, and then try again.
ORVA_API int AppInit();

/// Takes one start back; the last one stops the library. It may take 10 seconds for a collection that is running, and 25
/// for a service that does not end, whose thread is then abandoned.
///
/// The wait for a collection is an interruption point. An interruption passes when the thread is stopped; the pool's
/// service then stays, as after those 10 seconds, and the next `AppInit` fails.
///
/// One call too many stops nothing, but the count wraps to 0xFFFFFFFF: `AppInit` then gives 1 and starts nothing until it
/// has been called once to make up for it.
ORVA_API void AppExit();

} // namespace ORVA
