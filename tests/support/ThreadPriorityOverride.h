/// @file
/// Makes the calling thread's priority another one than the library gives.
///
/// Link a test that uses this with `-Wl,--wrap=_ZN4ORVA9Threading13CurrentThread2OS17GetThreadPriorityEv` against the
/// library's objects.
#pragma once

#include "ORVA/Threading/CurrentThread.h"

namespace support
{

/// While it lives, this thread's priority reads as `priority`. Scopes do not nest.
class ThreadPriorityOverride
{
public:
    explicit ThreadPriorityOverride(ORVA::Threading::eThreadPriority priority);
    ~ThreadPriorityOverride();
    ThreadPriorityOverride(ThreadPriorityOverride const&) = delete;
    ThreadPriorityOverride& operator=(ThreadPriorityOverride const&) = delete;
};

} // namespace support
