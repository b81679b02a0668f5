/// @file
/// A vector of pooled strings that can be kept sorted.
///
/// Ownership: the array is a handle on a block of strings. A copy is a second handle on the same block, not a snapshot: a
/// write through one is seen through the other until one of them has to grow; `clone()` makes a private one.
/// Thread-safety: none; one thread at a time for all arrays that share a block.
#pragma once

#include "ORVA/Buffers/ObjectVector.h"
#include "ORVA/String/PoolString.h"

namespace ORVA::String
{

/// The order of sorted arrays, which is that of `CPPoolString::cmp`: 0 for the same string; a missing text comes first;
/// then the first difference of characters decides.
///
/// Strings that differ may compare equal: the null string and the empty string, a constant and the pooled text.
ORVA_API int comparepoolptr(CPPoolString const* first, CPPoolString const* second);

/// An array of pooled strings, sorted or not, as its construction says.
///
/// | | sorted | not sorted |
/// |---|---|---|
/// | `Add` | at its place, unless it is there | at the end |
/// | `Insert` | refused | before the index |
/// | `Delete` of a string | removes it | refused |
/// | `LocateEntry` | its place | -1 |
///
/// Results of type `unsigned int` are 1 for success, and 0 for a refusal or an exhausted heap, with the array as it was.
/// A refusal is not reported.
///
/// A string counts as being in a sorted array if it is the **first** of those that compare equal to it. So the null string
/// behind the empty one is added once more, and not removed.
///
/// The vector's own operations are there too. `Alloc`, and writing to an entry, do not keep an array sorted.
class ORVA_API CPPoolStringArray : public Buffers::CPObjectVector<CPPoolString>
{
    using Vector = Buffers::CPObjectVector<CPPoolString>;

public:
    /// An empty array.
    explicit CPPoolStringArray(bool sorted) noexcept : m_sorted(sorted) {}

    /// Shares the block of `source`, if it is one of strings, and is sorted if `source` is.
    CPPoolStringArray(CPPoolStringArray const& source)
        : Vector(static_cast<Buffers::CPObjectMemory const&>(source)), m_sorted(source.m_sorted)
    {
    }

    /// Not offered, so that a handle does not become a `bool`: construct an array and assign to it.
    CPPoolStringArray(Buffers::CPObjectMemory const&) = delete;

    /// Shares the block of `source`, and is sorted from now on if `source` is.
    CPPoolStringArray& operator=(CPPoolStringArray const& source);

    /// Shares the block of `source` if it is one of strings, otherwise becomes empty. The array stays sorted, or not:
    /// a sorted one **sorts the block for all** that share it.
    CPPoolStringArray& operator=(Buffers::CPObjectMemory const& source);

    /// Whether the array keeps itself sorted.
    bool IsSorted() const noexcept { return m_sorted; }

    /// Sorts the entries by their texts. An array that is not sorted does not become one that is.
    ///
    /// The sort takes quadratic time on large arrays of few different texts (`Sort::vfqsort`).
    void Sort();

    /// Adds a string: to a sorted array at its place, where nothing happens and the result is 1 if it is there already;
    /// to another at the end. The first string makes room for 16, and a full array for 16 more.
    unsigned int Add(CPPoolString const& value);

    /// Inserts a string before `index`; an index past the end appends. 0 for a sorted array.
    unsigned int Insert(CPPoolString const& value, unsigned long index);

    /// Removes a string. A string that is not there is a success. The last one takes the block along. 0 for an array that
    /// is not sorted, which offers removal by index.
    unsigned int Delete(CPPoolString const& value);
    /// Removes the entry at an index, in any array.
    using Vector::Delete;

    /// Where a string is or belongs in a sorted array: the place of the first entry that does not come before it, which
    /// is no proof that it is there. 0 for no entries. -1 without a block, and for an array that is not sorted.
    long LocateEntry(CPPoolString const& value) const;

    /// The texts of all entries with `separator` between two of them, as one string; null strings count as empty. The
    /// null string for an array without entries and for an exhausted heap.
    CPPoolString Flatten(wchar_t separator) const;

    /// Empties the array, splits `text` at each `separator`, and adds the pieces.
    ///
    /// **A piece of n characters is added as a `CSubStringSubmitter` gives it, n bytes long**: "Hello,world" splits into
    /// "He" and "wo". Only pieces of one character below U+0100 arrive whole. To split a text as it is, add
    /// `CStringPool::GetStringRefn` of each piece, and `CPPoolString::pempty` for those of no length.
    ///
    /// An empty piece is added as the null string; behind a separator at the end there is none. Nothing is added for the
    /// null string and the empty string, with result 1. 0 if the heap is exhausted: the array then has the pieces
    /// before. The text ends at its first 0. Room is made for as many entries as there may be pieces, and no more.
    unsigned int Inflate(CPPoolString const& text, wchar_t separator);

private:
    unsigned long _locate(CPPoolString const& value) const;
    bool _is_at(unsigned long position, CPPoolString const& value) const;
    unsigned int _add_piece(wchar_t const* start, wchar_t const* end);

    bool m_sorted;
};

} // namespace ORVA::String
