/// @file
/// The locks. Each is a plain class, usable as a member or a local, and a handle on a shared one:
///
/// | plain class | handle | holders | recursive |
/// |---|---|---|---|
/// | `_cMutex` | `CPMutex` | one | no |
/// | `_cCriticalSection` | `CPCriticalSection` | one | yes |
/// | `_cRWInterlock` | `CPRWInterlock` | many readers or one writer | for the writer |
///
/// Timeouts are milliseconds of a monotonic clock in an `unsigned int`. 0 never blocks; 0xFFFFFFFF waits without limit,
/// and the result is then always true; 0xFFFFFFFE is a wait of almost 50 days like any other. An attempt that runs out
/// of time is false and changes nothing.
///
/// The locks are those of Boost.Thread, and a translation unit that includes them has to be built with the Boost and
/// the `BOOST_THREAD_...` configuration of the library. An exception of a Boost operation passes through.
#pragma once

#include "ORVA/Threading/CriticalSection.h"
#include "ORVA/Threading/Mutex.h"
#include "ORVA/Threading/RWInterlock.h"
