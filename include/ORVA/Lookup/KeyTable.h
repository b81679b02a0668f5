/// @file
/// A hash table whose items are equal when their keys are.
///
/// Thread-safety and ownership are those of `CBaseHashTable`.
#pragma once

#include "ORVA/Lookup/HashTable.h"

#include <type_traits>

namespace ORVA::Lookup
{

/// Computes the keys of items of type `T`.
template <class T>
class ORVA_TEMPLATE_API IHashKey
{
public:
    /// The key of `item`.
    virtual unsigned long hash(T const& item) const = 0;

protected:
    ~IHashKey() = default;
};

/// A table of items of type `T`, a typed handle, with their key function: `H` implements `IHashKey<T>`.
///
/// The key is all that counts, and `compare` is never consulted for more. It does not compute the keys by itself: the
/// caller adds and finds with `table.AddItem(table.hash(item), item, mode)`.
template <class T, class H>
class ORVA_TEMPLATE_API CPOMKeyTable : public CBaseHashTable, public H
{
    static_assert(std::is_base_of_v<IHashKey<T>, H>, "the key function must be one for the table's items");

public:
    /// An empty table of 2 to the power of `uDirectIndexLength` buckets.
    explicit CPOMKeyTable(unsigned int uDirectIndexLength) : CBaseHashTable(uDirectIndexLength) {}

    /// Always 0: items of equal key are equal.
    int compare(Buffers::CPObjectMemory const&, Buffers::CPObjectMemory const&) override { return 0; }
};

} // namespace ORVA::Lookup
