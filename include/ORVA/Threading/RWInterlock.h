/// @file
/// The read-write interlock: many readers or one writer, who may enter again and read under its own write lock.
///
/// | state, caller | `EnterRead` | `EnterWrite` | `LeaveRead` | `LeaveWrite` |
/// |---|---|---|---|---|
/// | free | read | written | fault | fault |
/// | read, by the caller | one reader more | waits for itself | one reader less, then free | fault |
/// | read, by others | one reader more | waits | fault | fault |
/// | written, by the caller | counts a nested read | counts a nested write | one nested read less | see below |
/// | written, by others | waits | waits | see below | see below |
///
/// A fault is the caller's and is not detected. A new reader also waits while a writer waits.
///
/// The `TryEnter` forms succeed where the others return, and where those wait they do so until the time is over.
///
/// - Readers are not tracked. A reader that reads again deadlocks with a writer that has begun to wait; a reader that
///   asks for the write lock is not upgraded and waits for itself.
/// - The leaves do not look at the calling thread, only at the nested entries: `LeaveWrite` takes a nested write
///   back if there is one and frees the lock otherwise; `LeaveRead` takes a nested read back if there is one. Nested
///   reads that the writer has not left when it gives the lock up stay counted, and the next `LeaveRead`, by any
///   thread, takes one of them back instead of leaving the lock.
/// - Each of the two counts holds 65,535 nested entries. The 65,536th nested read sets its count to 0, the 65,536th
///   nested write does the same to its own. Neither is detected.
///
/// Thread-safety: all operations may be called from any thread.
///
/// Ownership: `_cRWInterlock` is a member or a local of its user. `CPRWInterlock` is a reference to a shared one, which
/// is destroyed with its last handle. Destroying one that is held is a fault of the caller and not detected.
#pragma once

#include "ORVA/Threading/LockHandle.h"

#include <boost/thread/shared_mutex.hpp>

namespace ORVA::Threading
{

/// A read-write lock, a `boost::shared_mutex` that knows its writer. The writer's nested entries take no lock.
/// The constructor throws `boost::thread_resource_error` if the system has no more of them.
class ORVA_API _cRWInterlock
{
public:
    _cRWInterlock();
    ~_cRWInterlock();
    _cRWInterlock(_cRWInterlock const&) = delete;
    _cRWInterlock& operator=(_cRWInterlock const&) = delete;

    /// Waits until the caller reads.
    void EnterRead();
    /// Waits up to `milliseconds` and tells whether the caller reads on return. 0 succeeds only at once; 0xFFFFFFFF
    /// waits without limit. The writer always succeeds.
    bool TryEnterRead(unsigned int milliseconds);
    /// Takes a nested read of the writer back, or ends one reader's reading.
    void LeaveRead();

    /// Waits until the caller writes.
    void EnterWrite();
    /// Waits up to `milliseconds` and tells whether the caller writes on return. 0 succeeds only at once; 0xFFFFFFFF
    /// waits without limit. The writer always succeeds.
    bool TryEnterWrite(unsigned int milliseconds);
    /// Takes a nested write back, or ends the writing.
    void LeaveWrite();

protected:
    boost::shared_mutex m_lock; ///< shared by readers
    /// The thread that writes, 0 if there is none. Read by all threads, written by the writer.
    unsigned long m_writer = 0;
    /// The writer's nested entries: writes in the high 16 bits, reads in the low ones.
    unsigned int m_nested = 0;

private:
    bool _enter_nested_read() noexcept;
    bool _enter_nested_write(unsigned long caller) noexcept;
};

/// The type of interlock blocks. They cannot be cloned and have no interfaces.
extern ORVA_API Buffers::tagCPOVTABL const _vtbl_cRWInterlock;

/// Constructs a `_cRWInterlock` in place; the size is ignored.
ORVA_API void _create_cRWInterlock(void* payload, unsigned long size);
/// Destroys a `_cRWInterlock` in place; the size is ignored.
ORVA_API void _finalize_cRWInterlock(void* payload, unsigned long size);

/// A handle on a shared `_cRWInterlock`. Its plain `Enter`, `TryEnter` and `Leave` mean the write lock.
///
/// If the heap was exhausted when it was made, the handle is empty: entering and leaving then do nothing, the attempts
/// are false, and nothing is reported.
class ORVA_API CPRWInterlock : public CPLockHandle
{
public:
    /// The type of interlock blocks.
    static void const* GetTypeID() noexcept { return &_vtbl_cRWInterlock; }

    /// A handle on a new interlock.
    CPRWInterlock() : CPLockHandle(sizeof(_cRWInterlock), _vtbl_cRWInterlock) {}

    /// A handle on the same interlock.
    CPRWInterlock(CPRWInterlock const& source) = default;

    /// A handle on the interlock in the block of `source`; empty if that is a block of another type.
    CPRWInterlock(Buffers::CPObjectMemory const& source)
        : CPLockHandle(source, sizeof(_cRWInterlock), _vtbl_cRWInterlock)
    {
    }

    /// Releases the old interlock and becomes a handle on the same one as `source`.
    CPRWInterlock& operator=(CPRWInterlock const& source) = default;

    /// As the constructor; a refused block leaves the handle empty.
    CPRWInterlock& operator=(Buffers::CPObjectMemory const& source)
    {
        _assign(source, sizeof(_cRWInterlock), _vtbl_cRWInterlock);
        return *this;
    }

    /// `_cRWInterlock::EnterWrite`
    void Enter()
    {
        if (void* const lock = get_ptr())
            static_cast<_cRWInterlock*>(lock)->EnterWrite();
    }

    /// `_cRWInterlock::TryEnterWrite`
    bool TryEnter(unsigned int milliseconds)
    {
        void* const lock = get_ptr();
        return lock != nullptr && static_cast<_cRWInterlock*>(lock)->TryEnterWrite(milliseconds);
    }

    /// `_cRWInterlock::LeaveWrite`
    void Leave()
    {
        if (void* const lock = get_ptr())
            static_cast<_cRWInterlock*>(lock)->LeaveWrite();
    }

    /// `_cRWInterlock::EnterRead`
    void EnterRead()
    {
        if (void* const lock = get_ptr())
            static_cast<_cRWInterlock*>(lock)->EnterRead();
    }

    /// `_cRWInterlock::TryEnterRead`
    bool TryEnterRead(unsigned int milliseconds)
    {
        void* const lock = get_ptr();
        return lock != nullptr && static_cast<_cRWInterlock*>(lock)->TryEnterRead(milliseconds);
    }

    /// `_cRWInterlock::LeaveRead`
    void LeaveRead()
    {
        if (void* const lock = get_ptr())
            static_cast<_cRWInterlock*>(lock)->LeaveRead();
    }
};

} // namespace ORVA::Threading
