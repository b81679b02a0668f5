/// @file
/// What a thread does to itself.
///
/// Thread-safety: every function here may be called from any thread.
#pragma once

#include "ORVA/Core/Export.h"

namespace ORVA::Threading
{

/// How urgently a thread is to run.
enum eThreadPriority : int
{
    eThreadPriorityNormal = 0, ///< as any other thread
    eThreadPriorityIdle = -2   ///< only when nothing else wants to run
};

} // namespace ORVA::Threading

namespace ORVA::Threading::CurrentThread
{

/// Lets the calling thread sleep for that many milliseconds; 0 does not wait. An interruption point:
/// `CPThread::Terminate` ends the sleep of the thread with a `boost::thread_interrupted`.
ORVA_API void sleep(unsigned int milliseconds);

} // namespace ORVA::Threading::CurrentThread

namespace ORVA::Threading::CurrentThread::OS
{

/// Does nothing: priorities are accepted and have no effect.
ORVA_API void SetThreadPriority(eThreadPriority priority);

/// Always `eThreadPriorityNormal`, whatever was set.
ORVA_API eThreadPriority GetThreadPriority();

} // namespace ORVA::Threading::CurrentThread::OS
