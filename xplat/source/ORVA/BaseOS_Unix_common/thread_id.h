/// @file
/// The identity of the calling thread.
#pragma once

#include <pthread.h>

namespace ORVA::Threading
{

/// The calling thread's `pthread_self()` as a number, never 0. The platforms disagree on whether it is a number or a
/// pointer, hence the cast. A number may come back once its thread has ended.
inline unsigned long current_thread_id() noexcept
{
    return (unsigned long)pthread_self();
}

} // namespace ORVA::Threading
