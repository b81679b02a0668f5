/// @file
/// The base of the library's hash tables: 64-bit keys to object memory handles.
///
/// A table is an index of buckets, and a bucket a sorted vector of keys and items. The caller computes the keys; the
/// table hashes nothing. A derived class orders items of equal key, and may say which items a background sweep can
/// dispose of.
///
/// | state | index | buckets |
/// |---|---|---|
/// | new, or cleared | none | none |
/// | in use | one pointer per bucket, until the table is cleared | a block each while they hold entries |
///
/// Thread-safety: none. The table has no lock and no atomic state; its owner serialises all access, look-ups included.
///
/// Ownership: the table holds one reference to each item. Look-ups return handles of the caller's own.
///
/// What hooks, visitors and comparisons may do: they are called in the middle of an operation, and may look at the
/// table, change it and clear it. The operation goes on with the index and the bucket that it started with, which it
/// keeps alive, and looks at no entry that has gone meanwhile. Operations that end by writing their index back bring
/// it back to a table that was cleared, and lose what was added to a bucket that had to move. The item that a hook is
/// given is the stored handle itself: it is good until the hook changes that bucket. The same holds for the
/// destruction of an item that the table releases last, except that this must not add to the bucket it is leaving.
#pragma once

#include "ORVA/Buffers/ObjectMemory.h"
#include "ORVA/Buffers/ObjectVector.h"
#include "ORVA/Core/Export.h"

#include <type_traits>

namespace ORVA::Lookup
{

/// What `CBaseHashTable::AddItem` does with an item whose key is in the table. Any value may be cast: one that is not
/// listed compares as the first two do, changes nothing on a match and gives an empty handle.
enum eHashCollision : unsigned int
{
    eHashKeepEqual = 0,    ///< keep a stored item that compares equal
    eHashReplaceEqual = 1, ///< replace a stored item that compares equal
    eHashKeepKey = 2,      ///< keep a stored item of the same key, without comparing
    eHashReplaceKey = 3    ///< replace a stored item of the same key, without comparing
};

/// A visitor of the entries of a table. The table does not own it.
class ORVA_API IBaseHashTableEnum
{
public:
    /// Is shown one entry; `item` is the stored handle. The meaning of the result is that of the operation:
    /// `EnumTableBy` stops at false, `PurgeTable` removes the entry.
    virtual bool EnumEntry(unsigned long key, Buffers::CPObjectMemory& item) = 0;

protected:
    ~IBaseHashTableEnum() = default;
};

/// A table from 64-bit keys to items, which are blocks of any type.
///
/// Results of type `int` are 1 for success or completion and 0 otherwise. Operations that give an item return an empty
/// handle where there is none. Exceptions of hooks, visitors and comparisons pass through to the caller. The entry in
/// question stays then, what was removed before it is gone, and the operation itself has changed nothing else.
///
/// A look-up costs one mask and one search in a sorted array, with no allocation; insertion and removal move the
/// entries behind by bytes. A bucket grows by 16 entries at a step.
class ORVA_API CBaseHashTable
{
public:
    /// An entry of a bucket.
    struct HASHENTRY
    {
        unsigned long uKey = 0;         ///< the full key, not reduced to the bucket
        Buffers::CPObjectMemory cpItem; ///< the stored item
    };

    /// A bucket: entries in ascending order of `_locatecompare`.
    using Bucket = Buffers::CPObjectVector<HASHENTRY>;
    /// The index: one handle per bucket, empty for a bucket without entries.
    using Index = Buffers::CPObjectVector<Bucket>;

    /// An empty table of 2 to the power of `uDirectIndexLength` buckets; nothing is allocated before the first
    /// `AddItem`.
    ///
    /// A bucket takes room for 16 entries at first, so a length that brings about 6 to 12 of them to a bucket serves
    /// well. Lengths are 4 to 64; others are reported and used all the same. The power is taken modulo 64, so that 64 gives
    /// a table of one bucket.
    explicit CBaseHashTable(unsigned int uDirectIndexLength);

    CBaseHashTable(CBaseHashTable const&) = delete;
    CBaseHashTable& operator=(CBaseHashTable const&) = delete;

    /// Releases the items, with no hook.
    virtual ~CBaseHashTable();

    /// Orders two items of equal key: negative, 0 for equal items, or positive. It has to be a consistent order, and
    /// one that does not change while the items are in the table; otherwise items are not found, or stand twice.
    virtual int compare(Buffers::CPObjectMemory const& a, Buffers::CPObjectMemory const& b) = 0;

    /// Tells whether `DisposeTable` may remove `item`. The base says false.
    virtual bool isDisposable(Buffers::CPObjectMemory const& item);

    /// Is called before an item leaves the table by `DeleteItem` for one item, `DeleteIndex` or `DisposeTable`, and in
    /// no other case. The base does nothing.
    virtual void tblfinalize(Buffers::CPObjectMemory const& item);

    /// Adds `item` under `key`, or does what `mode` says if it is there already. Returns the item that stands in the
    /// table for `key` afterwards; an empty handle if `item` is empty or the heap is exhausted, and the table is then
    /// as it was.
    ///
    /// `eHashKeepKey` and `eHashReplaceKey` look at one entry only: the one at the place where `item` would be
    /// inserted. In a table that holds several items of one key, it may have another key, and `item` is then added.
    Buffers::CPObjectMemory AddItem(unsigned long key, Buffers::CPObjectMemory const& item, eHashCollision mode);

    /// The stored item under `key` that is `item` or compares equal to it. With an empty `item` the first of `key`,
    /// without any comparison of items.
    Buffers::CPObjectMemory FindItem(unsigned long key, Buffers::CPObjectMemory const& item);

    /// Removes the entry that `FindItem` finds, after `tblfinalize` of the stored item. With an empty `item` removes
    /// all entries of `key`, and `tblfinalize` is **not** called. 1 also if there is nothing to remove; 0 only if the
    /// hook made the bucket so short that the entry is gone.
    int DeleteItem(unsigned long key, Buffers::CPObjectMemory const& item);

    /// Empties the whole bucket that `key` belongs to, whatever the keys of its entries, after `tblfinalize` of each.
    /// Always 1. If a hook throws, all entries stay, those whose hook has returned included: a later call calls it again.
    int DeleteIndex(unsigned long key);

    /// Frees the index with all buckets and items, with no hook.
    void ClearTable();

    /// The number of entries. Costs a look at every bucket.
    unsigned long GetNItems() const;

    /// Shows the entries to `callback`: those of `key` if `bByKey`, else all, bucket by bucket, each in ascending
    /// order. 0 if the visitor stopped the walk with false, without a visitor, and **also for a table without an
    /// index**; 1 otherwise, also if there is no entry of `key`.
    ///
    /// A visitor that adds to the bucket of the walk shifts it, or, where the bucket has to move, does not change what
    /// the walk sees.
    int EnumTableBy(IBaseHashTableEnum* callback, unsigned long key, bool bByKey);

    /// Shows all entries to `callback`, in each bucket from the last to the first, and removes those for which it
    /// answers false, without `tblfinalize`. 1 also without a visitor or an index; 0 only if the visitor made a bucket
    /// so short that an entry it rejected is gone.
    int PurgeTable(IBaseHashTableEnum* callback);

    /// Removes disposable items, after `tblfinalize` of each, bucket by bucket from where the last call stopped. 1
    /// when every bucket has had its turn in this call; 0 when more than `uTimeLimit` milliseconds have passed, and the
    /// next call goes on. After an exception it goes on with the bucket that threw.
    ///
    /// Time is that of `Core::OS::GetTimeNow()`, which advances by whole seconds, and is looked at between buckets:
    /// at least one bucket is done in every call.
    int DisposeTable(unsigned int uTimeLimit);

    /// The order of entries: -1 or 1 by key, else that of the items. Items of equal key are equal without a call of
    /// `compare` if they are the same block or one of them is empty.
    int _locatecompare(HASHENTRY const& a, HASHENTRY const& b);

    /// The position of the first entry of `bucket` that is not below `entry`, up to the number of entries.
    unsigned long _locateentry(Bucket const& bucket, HASHENTRY const& entry);

    /// The position of the entry of `bucket` that matches `entry`, or all bits set.
    unsigned long _findentry(Bucket const& bucket, HASHENTRY const& entry);

protected:
    /// The fast look-up for derived classes: the first entry of `key` for which `match(item)` holds, or null. No
    /// reference is counted and no hook is called. `match` takes a `CPObjectMemory const&` and must not change the
    /// table; the entry is good until the table changes.
    ///
    /// It finds what `FindItem` finds if `match` holds for exactly those items that compare equal.
    template <class Match>
    HASHENTRY* _search(unsigned long key, Match&& match)
    {
        Bucket* const bucket = _bucket_of(key);
        if (bucket == nullptr)
            return nullptr;
        HASHENTRY* const end = bucket->end();
        HASHENTRY* entry = bucket->begin() + _lower_bound(bucket->begin(), bucket->GetCount(), key);
        for (; entry != end && entry->uKey == key; ++entry)
        {
            if (match(static_cast<Buffers::CPObjectMemory const&>(entry->cpItem)))
                return entry;
        }
        return nullptr;
    }

    unsigned long uMask;             ///< the number of buckets minus 1: a key's bucket is `key & uMask`
    unsigned long uBuckets;          ///< the number of buckets
    unsigned long uDisposeNext = 0;  ///< the bucket at which the next sweep of `DisposeTable` goes on
    Buffers::CPObjectMemory cpIndex; ///< an `Index` of `uBuckets` elements, empty until the first `AddItem`

private:
    Bucket* _bucket_of(unsigned long key) noexcept
    {
        auto* const buckets = static_cast<Bucket*>(cpIndex.get_ptr());
        return buckets == nullptr ? nullptr : buckets + (key & uMask);
    }

    static unsigned long _lower_bound(HASHENTRY const* entries, unsigned long count, unsigned long key) noexcept;
    static unsigned long _bisect_keys(HASHENTRY const* entries, unsigned long count, unsigned long key) noexcept;
    unsigned long _bisect_entries(Bucket const& bucket, HASHENTRY const& entry);
};

static_assert(sizeof(CBaseHashTable::HASHENTRY) == 16, "an entry is a key and a handle");

// The first of `count` sorted entries whose key is not below `key`. The one data-dependent choice of a step is a
// conditional move, so there is no branch to mispredict.
inline unsigned long CBaseHashTable::_bisect_keys(HASHENTRY const* entries, unsigned long count,
                                                  unsigned long key) noexcept
{
    HASHENTRY const* base = entries;
    while (count > 1)
    {
        unsigned long const half = count / 2;
        base = base[half - 1].uKey < key ? base + half : base;
        count -= half;
    }
    return static_cast<unsigned long>(base - entries) + (count == 1 && base->uKey < key ? 1 : 0);
}

// As `_bisect_keys`. Keys are hashes as a rule, so the place is guessed from the key's upper half, and looked for step by
// step from there: the entries beside it are in the same cache line or the next, and most ways are one or two steps. With
// keys that are not spread evenly the way ends after some steps, and what is left is bisected.
inline unsigned long CBaseHashTable::_lower_bound(HASHENTRY const* entries, unsigned long count,
                                                  unsigned long key) noexcept
{
    constexpr unsigned int steps_to_take = 16;
    unsigned long const guess = ((key >> 32) * count) >> 32;
    unsigned long place = guess;
    unsigned int left = steps_to_take;
    for (; place < count && entries[place].uKey < key && left != 0; --left)
        ++place;
    if (place != guess)
        return left != 0 ? place : place + _bisect_keys(entries + place, count - place, key);
    for (; place > 0 && entries[place - 1].uKey >= key && left != 0; --left)
        --place;
    return left != 0 ? place : _bisect_keys(entries, place, key);
}

} // namespace ORVA::Lookup

namespace ORVA::Buffers
{

template <>
struct MovesByBytes<Lookup::CBaseHashTable::HASHENTRY> : std::true_type
{
};

template <>
struct MovesByBytes<Lookup::CBaseHashTable::Bucket> : std::true_type
{
};

extern template class CPObjectVector<Lookup::CBaseHashTable::HASHENTRY>;
extern template class CPObjectVector<CPObjectVector<Lookup::CBaseHashTable::HASHENTRY>>;

} // namespace ORVA::Buffers
