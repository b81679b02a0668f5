/// @file
/// The critical section: one holder, who may enter again and leaves as many times.
///
/// | state | `Enter`, `TryEnter` by the holder | `Enter` by another thread | `TryEnter` by another thread | `Leave` |
/// |---|---|---|---|---|
/// | free | - | holds it once | true, holds it once | a fault of the caller, not detected |
/// | held once | held twice | waits | true, or false when the time is over | free |
/// | held n times | held n + 1 times | waits | true, or false when the time is over | held n - 1 times |
///
/// Thread-safety: all operations may be called from any thread. The holder is the one to leave.
///
/// Ownership: `_cCriticalSection` is a member or a local of its user. `CPCriticalSection` is a reference to a shared
/// one, which is destroyed with its last handle. Destroying one that is held is a fault of the caller and not detected.
#pragma once

#include "ORVA/Threading/LockHandle.h"

#include <boost/thread/recursive_mutex.hpp>

namespace ORVA::Threading
{

/// A recursive lock, a `boost::recursive_timed_mutex`. The constructor throws `boost::thread_resource_error` if the
/// system has no more of them.
class ORVA_API _cCriticalSection
{
public:
    _cCriticalSection() = default;
    _cCriticalSection(_cCriticalSection const&) = delete;
    _cCriticalSection& operator=(_cCriticalSection const&) = delete;

    /// Waits until the lock is held. The holder enters again at once.
    void Enter() { m_lock.lock(); }

    /// Waits up to `milliseconds` and tells whether the lock is held on return. 0 succeeds only at once; 0xFFFFFFFF
    /// waits without limit. The holder always succeeds.
    bool TryEnter(unsigned int milliseconds);

    /// Takes one entry back; the last one gives the lock up.
    void Leave() { m_lock.unlock(); }

private:
    boost::recursive_timed_mutex m_lock;
};

/// The type of critical section blocks. They cannot be cloned and have no interfaces.
extern ORVA_API Buffers::tagCPOVTABL const _vtbl_cCriticalSection;

/// Constructs a `_cCriticalSection` in place; the size is ignored.
ORVA_API void _create_cCriticalSection(void* payload, unsigned long size);
/// Destroys a `_cCriticalSection` in place; the size is ignored.
ORVA_API void _finalize_cCriticalSection(void* payload, unsigned long size);

/// A handle on a shared `_cCriticalSection`.
///
/// If the heap was exhausted when it was made, the handle is empty: `Enter` and `Leave` then do nothing, `TryEnter` is
/// false, and nothing is reported.
class ORVA_API CPCriticalSection : public CPLockHandle
{
public:
    /// The type of critical section blocks.
    static void const* GetTypeID() noexcept { return &_vtbl_cCriticalSection; }

    /// A handle on a new critical section.
    CPCriticalSection() : CPLockHandle(sizeof(_cCriticalSection), _vtbl_cCriticalSection) {}

    /// A handle on the same critical section.
    CPCriticalSection(CPCriticalSection const& source) = default;

    /// A handle on the critical section in the block of `source`; empty if that is a block of another type.
    CPCriticalSection(Buffers::CPObjectMemory const& source)
        : CPLockHandle(source, sizeof(_cCriticalSection), _vtbl_cCriticalSection)
    {
    }

    /// Releases the old critical section and becomes a handle on the same one as `source`.
    CPCriticalSection& operator=(CPCriticalSection const& source) = default;

    /// As the constructor; a refused block leaves the handle empty.
    CPCriticalSection& operator=(Buffers::CPObjectMemory const& source)
    {
        _assign(source, sizeof(_cCriticalSection), _vtbl_cCriticalSection);
        return *this;
    }

    /// `_cCriticalSection::Enter`
    void Enter()
    {
        if (void* const lock = get_ptr())
            static_cast<_cCriticalSection*>(lock)->Enter();
    }

    /// `_cCriticalSection::TryEnter`
    bool TryEnter(unsigned int milliseconds)
    {
        void* const lock = get_ptr();
        return lock != nullptr && static_cast<_cCriticalSection*>(lock)->TryEnter(milliseconds);
    }

    /// `_cCriticalSection::Leave`
    void Leave()
    {
        if (void* const lock = get_ptr())
            static_cast<_cCriticalSection*>(lock)->Leave();
    }
};

} // namespace ORVA::Threading
