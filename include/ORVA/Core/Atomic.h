/// @file
/// Relaxed access to plain fields that other threads change by interlocked operations.
///
/// Reference counts and a few other words are plain fields of fixed layout, changed by sequentially consistent
/// operations and looked at in between without one. These helpers make such a look an atomic access: the same
/// machine instruction as a plain one, and no data race. C++17 has no `std::atomic_ref`, so this file and the
/// interlocked operations of Core.h are the only places that use the compilers' atomic builtins.
///
/// Thread-safety: any thread, on words that are changed by these and the interlocked operations alone.
#pragma once

namespace ORVA::Core
{

/// Reads `word` atomically, with no ordering.
template <class T>
inline T load_relaxed(T const& word) noexcept
{
    return __atomic_load_n(&word, __ATOMIC_RELAXED);
}

/// Writes `word` atomically, with no ordering.
template <class T>
inline void store_relaxed(T& word, T value) noexcept
{
    __atomic_store_n(&word, value, __ATOMIC_RELAXED);
}

/// Reads `word` atomically; what was written before the matching release store is visible afterwards.
template <class T>
inline T load_acquire(T const& word) noexcept
{
    return __atomic_load_n(&word, __ATOMIC_ACQUIRE);
}

/// Writes `word` atomically; what was written before is visible to who reads it with `load_acquire`.
template <class T>
inline void store_release(T& word, T value) noexcept
{
    __atomic_store_n(&word, value, __ATOMIC_RELEASE);
}

} // namespace ORVA::Core
