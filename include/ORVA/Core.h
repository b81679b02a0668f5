/// @file
/// Start and stop of the library, and the thin layer between it and the operating system: heap, interlocked operations,
/// wall clock.
///
/// Thread-safety: every function here may be called from any thread at any time. None reports anything.
#pragma once

#include "ORVA/Core/Atomic.h"
#include "ORVA/Core/Export.h"
#include "ORVA/Core/Lifecycle.h"
#include "ORVA/Core/ProcessIdentity.h"
#include "ORVA/Core/Types.h"
#include "ORVA/Core/Version.h"

namespace ORVA::Core::OS
{

/// The platform's name: the constant L"MacOS" on every platform. Components test it for the library's conventions,
/// which are the same everywhere.
ORVA_API wchar_t const* GetPlatformString();

/// Wall-clock time in milliseconds since the epoch, with a resolution of one second: always a multiple of 1000.
ORVA_API unsigned long GetTimeNow();

/// Allocates `size` bytes. The memory is not cleared; null when the heap is exhausted. The caller owns it and gives
/// it back to `_ffree`.
ORVA_API void* _falloc(unsigned long size);

/// Changes the size of a block of `_falloc` to `size` bytes, and may move it. Null when the heap is exhausted; the
/// old block is then still valid.
ORVA_API void* _frealloc(void* memory, unsigned long size);

/// Gives a block of `_falloc` or `_frealloc` back. Null does nothing.
ORVA_API void _ffree(void* memory);

/// Adds 1 to `value`, sequentially consistent, and returns the new value.
inline unsigned int InterlockedIncrement32(unsigned int& value) noexcept
{
    return __atomic_add_fetch(&value, 1U, __ATOMIC_SEQ_CST);
}

/// Subtracts 1 from `value`, sequentially consistent, and returns the new value. 0 becomes 0xFFFFFFFF.
inline unsigned int InterlockedDecrement32(unsigned int& value) noexcept
{
    return __atomic_sub_fetch(&value, 1U, __ATOMIC_SEQ_CST);
}

/// Stores `value` in `*target` if that holds `expected`, sequentially consistent. Returns what `*target` held.
inline void* InterlockedCompareSwapPtr(void** target, void* expected, void* value) noexcept
{
    __atomic_compare_exchange_n(target, &expected, value, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
    return expected;
}

} // namespace ORVA::Core::OS

namespace ORVA::Core
{

/// Stores `value` in `target` if that holds `expected`, sequentially consistent. Returns what `target` held.
inline unsigned long InterlockedCompareSwapSize_t(unsigned long& target, unsigned long expected,
                                                  unsigned long value) noexcept
{
    __atomic_compare_exchange_n(&target, &expected, value, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
    return expected;
}

/// Stores `value` in `target`, sequentially consistent, and returns the value that it replaced.
inline unsigned long InterlockedSet(unsigned long& target, unsigned long value) noexcept
{
    unsigned long seen = load_relaxed(target);
    for (;;)
    {
        unsigned long const held = InterlockedCompareSwapSize_t(target, seen, value);
        if (held == seen)
            return held;
        seen = held;
    }
}

} // namespace ORVA::Core
