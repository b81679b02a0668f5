/// @file
/// What the handles on locks have in common.
///
/// Thread-safety and ownership are those of `CPObjectMemory`; a lock itself may be used from any thread.
#pragma once

#include "ORVA/Buffers/ObjectMemory.h"

namespace ORVA::Threading
{

/// The base of `CPMutex`, `CPCriticalSection` and `CPRWInterlock`: one reference to a block that holds a lock. It makes
/// such a block and tests the type of others.
///
/// A lock handle has copies only: `std::move` copies too, so that no handle loses its lock behind its owner's back.
class ORVA_API CPLockHandle : public Buffers::CPObjectMemory
{
protected:
    /// A new block of `size` bytes with a lock made by the type's `_create`. Empty if the heap is exhausted. An
    /// exception of the lock's constructor passes, and the block is given back.
    CPLockHandle(unsigned long size, Buffers::tagCPOVTABL const& table);

    /// A second handle on the block of `source` if that is of type `table`, otherwise empty.
    CPLockHandle(Buffers::CPObjectMemory const& source, unsigned long size, Buffers::tagCPOVTABL const& table);

    /// A handle on the same lock.
    CPLockHandle(CPLockHandle const& source) = default;
    /// Releases the old lock and becomes a handle on the same one as `source`.
    CPLockHandle& operator=(CPLockHandle const& source) = default;
    ~CPLockHandle() = default;

    /// As the second constructor; a refused block leaves the handle empty, its own block released.
    void _assign(Buffers::CPObjectMemory const& source, unsigned long size, Buffers::tagCPOVTABL const& table);
};

} // namespace ORVA::Threading
