/// @file
/// A set of blocks that holds at most one per type.
///
/// Thread-safety: none; the owner serialises access. Ownership: the set holds one reference to each block.
#pragma once

#include "ORVA/Buffers/HandleVector.h"

namespace ORVA::Buffers
{

/// Comparison for the search functions: `key` points to a type identity, `element` to a handle, whose type counts as 0
/// if it is empty. -1, 0 or 1, by unsigned value.
ORVA_API int CompareTypeID(void const* key, void const* element);

/// Holds at most one block per type, sorted by type. A copy shares the elements with its source. Results are 1 for
/// success and 0 for failure.
class ORVA_API CPTypedObjectVector
{
public:
    CPTypedObjectVector() = default;
    /// Shares the elements of `source`.
    CPTypedObjectVector(CPTypedObjectVector const& source);
    virtual ~CPTypedObjectVector();

    /// Shares the elements of `source`.
    CPTypedObjectVector& operator=(CPTypedObjectVector const& source);

    /// Stores a private copy of `item` in place of the element of its type, if there is one. 0 for an empty `item` and
    /// when the heap is exhausted. A block that cannot be cloned is reported and stored as a shared reference.
    int Set(CPObjectMemory const& item);

    /// A private copy of the element of type `typeId`, or an empty handle. A block that cannot be cloned is reported
    /// and given as a shared reference.
    CPObjectMemory Get(unsigned long typeId) const;

    /// Removes the element of type `typeId`. An absent one is a success.
    int Delete(unsigned long typeId);

protected:
    CPOMVector m_vector; ///< the elements, ascending by type identity

private:
    /// Where the element of type `typeId` is or belongs; 0xFFFFFFFF without a block. `found` tells whether it is there.
    unsigned long _locate(unsigned long typeId, bool& found) const;
};

} // namespace ORVA::Buffers
