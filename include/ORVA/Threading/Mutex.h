/// @file
/// The mutex: one holder, who cannot enter twice.
///
/// | state | `Enter`, `TryEnter` by the holder | `Enter` by another thread | `TryEnter` by another thread | `Leave` |
/// |---|---|---|---|---|
/// | free | - | holds it | true, holds it | a fault of the caller, not detected |
/// | held | `Enter` never returns; `TryEnter` false in the end | waits | true, or false when the time is over | free |
///
/// Thread-safety: all operations may be called from any thread. The holder is the one to leave.
///
/// Ownership: `_cMutex` is a member or a local of its user. `CPMutex` is a reference to a shared one, which is
/// destroyed with its last handle. Destroying a mutex that is held is a fault of the caller and not detected.
#pragma once

#include "ORVA/Threading/LockHandle.h"

#include <boost/thread/mutex.hpp>

namespace ORVA::Threading
{

/// A mutex that is not recursive, a `boost::timed_mutex`. The constructor throws `boost::thread_resource_error` if the
/// system has no more of them.
class ORVA_API _cMutex
{
public:
    _cMutex() = default;
    _cMutex(_cMutex const&) = delete;
    _cMutex& operator=(_cMutex const&) = delete;

    /// Waits until the mutex is held. The holder that enters again waits for itself.
    void Enter() { m_lock.lock(); }

    /// Waits up to `milliseconds` and tells whether the mutex is held on return. 0 succeeds only at once; 0xFFFFFFFF
    /// waits without limit.
    bool TryEnter(unsigned int milliseconds);

    /// Gives the mutex up.
    void Leave() { m_lock.unlock(); }

private:
    boost::timed_mutex m_lock;
};

/// The type of mutex blocks. They cannot be cloned and have no interfaces.
extern ORVA_API Buffers::tagCPOVTABL const _vtbl_cMutex;

/// Constructs a `_cMutex` in place; the size is ignored.
ORVA_API void _create_cMutex(void* payload, unsigned long size);
/// Destroys a `_cMutex` in place; the size is ignored.
ORVA_API void _finalize_cMutex(void* payload, unsigned long size);

/// A handle on a shared `_cMutex`.
///
/// If the heap was exhausted when it was made, the handle is empty: `Enter` and `Leave` then do nothing, `TryEnter` is
/// false, and nothing is reported.
class ORVA_API CPMutex : public CPLockHandle
{
public:
    /// The type of mutex blocks.
    static void const* GetTypeID() noexcept { return &_vtbl_cMutex; }

    /// A handle on a new mutex.
    CPMutex() : CPLockHandle(sizeof(_cMutex), _vtbl_cMutex) {}

    /// A handle on the same mutex.
    CPMutex(CPMutex const& source) = default;

    /// A handle on the mutex in the block of `source`; empty if that is a block of another type.
    CPMutex(Buffers::CPObjectMemory const& source) : CPLockHandle(source, sizeof(_cMutex), _vtbl_cMutex) {}

    /// Releases the old mutex and becomes a handle on the same one as `source`.
    CPMutex& operator=(CPMutex const& source) = default;

    /// As the constructor; a refused block leaves the handle empty.
    CPMutex& operator=(Buffers::CPObjectMemory const& source)
    {
        _assign(source, sizeof(_cMutex), _vtbl_cMutex);
        return *this;
    }

    /// `_cMutex::Enter`
    void Enter()
    {
        if (void* const lock = get_ptr())
            static_cast<_cMutex*>(lock)->Enter();
    }

    /// `_cMutex::TryEnter`
    bool TryEnter(unsigned int milliseconds)
    {
        void* const lock = get_ptr();
        return lock != nullptr && static_cast<_cMutex*>(lock)->TryEnter(milliseconds);
    }

    /// `_cMutex::Leave`
    void Leave()
    {
        if (void* const lock = get_ptr())
            static_cast<_cMutex*>(lock)->Leave();
    }
};

} // namespace ORVA::Threading
