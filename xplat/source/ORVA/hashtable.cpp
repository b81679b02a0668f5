#include "ORVA/Lookup/HashTable.h"

#include "ORVA/Core.h"
#include "ORVA/Develop/Log.h"

#include <climits>
#include <cstring>
#include <utility>

namespace ORVA::Buffers
{

template class CPObjectVector<Lookup::CBaseHashTable::HASHENTRY>;
template class CPObjectVector<CPObjectVector<Lookup::CBaseHashTable::HASHENTRY>>;

} // namespace ORVA::Buffers

// Every operation that calls a hook works on handles of its own, on the index and on the bucket, so that both outlive
// whatever the hook does to the table. What a hook may have changed is read again after it: the number of entries
// above all, since a bucket is changed in place.
namespace ORVA::Lookup
{

using Buffers::CPObjectMemory;

namespace
{

constexpr unsigned long not_found = ULONG_MAX;

using Bucket = CBaseHashTable::Bucket;
using HASHENTRY = CBaseHashTable::HASHENTRY;

// Brings the entries of a bucket of usual length on the way from memory, while its header, which tells how many there
// are, is still on its own: a bucket has room for 16 at least. Takes a fifth off a hit among 100,000 entries.
void fetch_entries(Bucket const& bucket)
{
    constexpr unsigned long entries_in_a_line = 4;
    char const* const entries = static_cast<char const*>(bucket.get_cptr());
    __builtin_prefetch(entries + 1 * entries_in_a_line * sizeof(HASHENTRY));
    __builtin_prefetch(entries + 2 * entries_in_a_line * sizeof(HASHENTRY));
}

// Whether copies of a handle call nobody: its block has a type table, and its count is far from its end.
bool copies_silently(CPObjectMemory const& item)
{
    auto const* const header = static_cast<Buffers::tagCPOMEMHEADER const*>(item.get_cptr()) - 1;
    return header->pVTbl != nullptr && item.lockcnt() < INT_MAX;
}

// Two more handles on a block whose copies call nobody, counted in one step: an addition needs one for the entry and one
// for its result, and the steps of the count are most of what it costs.
class HandlePair
{
    struct Handle : CPObjectMemory
    {
        explicit Handle(void* payload) noexcept { m_pMH = static_cast<Buffers::tagCPOMEMHEADER*>(payload) - 1; }
    };

public:
    explicit HandlePair(CPObjectMemory const& item) noexcept : first(item.get_ptr()), second(item.get_ptr())
    {
        auto* const header = static_cast<Buffers::tagCPOMEMHEADER*>(item.get_ptr()) - 1;
        if (item.lockcnt() != 0)
            __atomic_fetch_add(&header->lRefCnt, 2, __ATOMIC_SEQ_CST);
    }

    Handle first;
    Handle second;
};

// Makes `place`, the index or a bucket's slot in it, a handle on the block of `block`. What stood there goes when it
// stands there no longer: it may be another one than this operation has left there, with items whose destruction comes
// back to the table.
void put_in(CPObjectMemory& place, CPObjectMemory const& block)
{
    if (place == block)
        return;
    CPObjectMemory const former = std::move(place);
    place = block;
}

// Takes the entry at `position` out of the bucket, and frees the block if it was the last one. The item is released
// while its entry still stands in the table; should its destruction remove entries of this bucket, the gap is closed
// where the entry stands then. The handle is therefore not destroyed in its place, which may be another entry's by
// then.
void remove_entry(Bucket& bucket, unsigned long position)
{
    unsigned long const released = bucket[position].cpItem.key();
    if (void* const payload = bucket[position].cpItem.get_ptr())
        CPObjectMemory::Free(static_cast<Buffers::tagCPOMEMHEADER*>(payload) - 1);

    unsigned long const count = bucket.GetCount();
    if (position >= count || bucket[position].cpItem.key() != released)
    {
        for (position = 0; position < count && bucket[position].cpItem.key() != released;)
            ++position;
    }
    if (position < count)
    {
        bucket.SetSize((count - 1) * sizeof(HASHENTRY));
        HASHENTRY* const gap = bucket.begin() + position;
        std::memmove(static_cast<void*>(gap), static_cast<void const*>(gap + 1),
                     (count - 1 - position) * sizeof(HASHENTRY));
    }
    if (bucket.GetCount() == 0)
        bucket.free();
}

} // namespace

CBaseHashTable::CBaseHashTable(unsigned int uDirectIndexLength)
{
    if (uDirectIndexLength < 4 || uDirectIndexLength > sizeof(unsigned long) * CHAR_BIT)
    {
        Develop::OS::RTABox("Runtime assumption failed",
                            "(uDirectIndexLength >= 4) && (uDirectIndexLength <= sizeof(size_t)*8)");
    }
    uBuckets = 1UL << (uDirectIndexLength % 64);
    uMask = uBuckets - 1;
}

CBaseHashTable::~CBaseHashTable()
{
    ClearTable();
}

bool CBaseHashTable::isDisposable(CPObjectMemory const&)
{
    return false;
}

void CBaseHashTable::tblfinalize(CPObjectMemory const&) {}

int CBaseHashTable::_locatecompare(HASHENTRY const& a, HASHENTRY const& b)
{
    if (a.uKey != b.uKey)
        return a.uKey < b.uKey ? -1 : 1;
    if (a.cpItem == b.cpItem || !a.cpItem || !b.cpItem)
        return 0;
    return compare(a.cpItem, b.cpItem);
}

// Where `compare` is consistent, any search would do. What is required is the sequence in which this one asks it, for
// the classes whose comparison has effects or contradicts itself: the first entry, the last one, then the middle.
unsigned long CBaseHashTable::_bisect_entries(Bucket const& bucket, HASHENTRY const& entry)
{
    auto const is_above = [&](unsigned long position)
    { return position < bucket.GetCount() && _locatecompare(entry, bucket[position]) > 0; };
    unsigned long const last = bucket.GetCount() - 1;
    if (!is_above(0))
        return 0;
    if (is_above(last))
        return last + 1;
    if (last < 2)
        return last;
    unsigned long low = 0;
    unsigned long high = last;
    while (high - low > 1)
    {
        unsigned long const middle = (low + high) >> 1;
        if (is_above(middle))
            low = middle;
        else
            high = middle;
    }
    return high;
}

// The keys alone decide unless there are entries of the same key. A single one of those is asked about exactly once by
// the full bisection, whatever its position, if the bucket has other entries; a bucket of one entry asks it twice.
unsigned long CBaseHashTable::_locateentry(Bucket const& bucket, HASHENTRY const& entry)
{
    unsigned long const count = bucket.GetCount();
    if (count == 0)
        return 0;
    HASHENTRY const* const entries = bucket.begin();
    unsigned long const first = _lower_bound(entries, count, entry.uKey);
    if (first == count || entries[first].uKey != entry.uKey || !entry.cpItem)
        return first;
    bool const is_single = first + 1 == count || entries[first + 1].uKey != entry.uKey;
    if (is_single && count > 1)
        return _locatecompare(entry, entries[first]) > 0 ? first + 1 : first;
    return _bisect_entries(bucket, entry);
}

unsigned long CBaseHashTable::_findentry(Bucket const& bucket, HASHENTRY const& entry)
{
    unsigned long const position = _locateentry(bucket, entry);
    if (position >= bucket.GetCount())
        return not_found;
    HASHENTRY const& stored = bucket[position];
    if (stored.uKey != entry.uKey)
        return not_found;
    if (stored.cpItem == entry.cpItem || !stored.cpItem || !entry.cpItem)
        return position;
    return compare(stored.cpItem, entry.cpItem) == 0 ? position : not_found;
}

// A key that is not there is entered without asking a hook. If copies of the item report nothing either, no code but the
// table's own runs, so nothing can change the table meanwhile, and no handle on its index or on the bucket is needed.
CPObjectMemory CBaseHashTable::AddItem(unsigned long key, CPObjectMemory const& item, eHashCollision mode)
{
    if (!item)
        return {};
    if (copies_silently(item))
    {
        Index first_index;
        if (!cpIndex && !first_index.Alloc(uBuckets))
            return {};
        Bucket& slot = cpIndex ? *_bucket_of(key) : first_index[key & uMask];
        if (slot)
            fetch_entries(slot);
        unsigned long const place = _lower_bound(slot.begin(), slot.GetCount(), key);
        if (place == slot.GetCount() || slot[place].uKey != key)
        {
            HandlePair handles(item);
            if (!slot.Insert(HASHENTRY{key, {}}, place))
                return {};
            slot[place].cpItem = std::move(handles.first);
            if (first_index)
                cpIndex = std::move(first_index);
            return std::move(handles.second);
        }
    }

    Index index(cpIndex);
    if (!index && !index.Alloc(uBuckets))
        return {};
    HASHENTRY entry{key, item};
    Bucket& slot = index[key & uMask];
    Bucket bucket = slot;
    unsigned long const position = _locateentry(bucket, entry);
    if (position < bucket.GetCount() && bucket[position].uKey == key)
    {
        CPObjectMemory& stored = bucket[position].cpItem;
        bool const by_key = mode == eHashKeepKey || mode == eHashReplaceKey;
        if (by_key || (compare(stored, entry.cpItem) == 0 && position < bucket.GetCount()))
        {
            if (mode == eHashKeepEqual || mode == eHashKeepKey)
                return stored;
            if (mode != eHashReplaceEqual && mode != eHashReplaceKey)
                return {};
            stored = entry.cpItem;
            return std::move(entry.cpItem);
        }
    }

    // The slot lets go of the bucket while that grows, so that it too moves its bytes if nobody else holds it.
    bool const is_sole_owner = bucket == slot && bucket.lockcnt() == 2;
    if (is_sole_owner)
        slot.free();
    int const inserted = bucket.Insert(entry, position);
    if (inserted || is_sole_owner)
        put_in(slot, bucket);
    if (!inserted)
        return {};
    put_in(cpIndex, index);
    return std::move(entry.cpItem);
}

CPObjectMemory CBaseHashTable::FindItem(unsigned long key, CPObjectMemory const& item)
{
    Bucket const* const slot = _bucket_of(key);
    if (slot == nullptr || !*slot)
        return {};
    if (!item)
    {
        // The key alone decides. No hook is asked, so no handle on the bucket is needed.
        fetch_entries(*slot);
        unsigned long const position = _lower_bound(slot->begin(), slot->GetCount(), key);
        if (position == slot->GetCount() || (*slot)[position].uKey != key)
            return {};
        return (*slot)[position].cpItem;
    }
    Bucket const bucket = *slot;
    unsigned long const position = _findentry(bucket, HASHENTRY{key, item});
    if (position >= bucket.GetCount())
        return {};
    return bucket[position].cpItem;
}

int CBaseHashTable::DeleteItem(unsigned long key, CPObjectMemory const& item)
{
    Index index(cpIndex);
    if (!index)
        return 1;
    Bucket bucket = index[key & uMask];
    if (!bucket)
        return 1;
    HASHENTRY const entry{key, item};
    if (entry.cpItem)
    {
        unsigned long const position = _findentry(bucket, entry);
        if (position >= bucket.GetCount())
            return 1;
        tblfinalize(bucket[position].cpItem);
        if (position >= bucket.GetCount())
            return 0;
        remove_entry(bucket, position);
    }
    else
    {
        unsigned long const position = _locateentry(bucket, entry);
        while (position < bucket.GetCount() && bucket[position].uKey == key)
            remove_entry(bucket, position);
    }
    put_in(index[key & uMask], bucket);
    put_in(cpIndex, index);
    return 1;
}

// The items go when the slot is empty already, so that their destruction never sees a bucket that is half destroyed.
int CBaseHashTable::DeleteIndex(unsigned long key)
{
    Index index(cpIndex);
    if (!index)
        return 1;
    Bucket bucket = index[key & uMask];
    for (unsigned long position = 0; position < bucket.GetCount(); ++position)
        tblfinalize(bucket[position].cpItem);
    put_in(index[key & uMask], CPObjectMemory());
    bucket.free();
    put_in(cpIndex, index);
    return 1;
}

// As above: the table is empty already when the items go.
void CBaseHashTable::ClearTable()
{
    CPObjectMemory index = std::move(cpIndex);
    index.free();
}

unsigned long CBaseHashTable::GetNItems() const
{
    unsigned long total = 0;
    if (auto const* const buckets = static_cast<Bucket const*>(cpIndex.get_cptr()))
    {
        for (unsigned long number = 0; number < uBuckets; ++number)
            total += buckets[number].GetCount();
    }
    return total;
}

int CBaseHashTable::EnumTableBy(IBaseHashTableEnum* callback, unsigned long key, bool bByKey)
{
    if (callback == nullptr)
        return 0;
    Index index(cpIndex);
    if (!index)
        return 0;
    if (bByKey)
    {
        Bucket bucket = index[key & uMask];
        unsigned long position = _findentry(bucket, HASHENTRY{key, {}});
        for (; position < bucket.GetCount() && bucket[position].uKey == key; ++position)
        {
            if (!callback->EnumEntry(key, bucket[position].cpItem))
                return 0;
        }
        return 1;
    }
    for (unsigned long number = 0; number < uBuckets; ++number)
    {
        Bucket bucket = index[number];
        for (unsigned long position = 0; position < bucket.GetCount(); ++position)
        {
            if (!callback->EnumEntry(bucket[position].uKey, bucket[position].cpItem))
                return 0;
        }
    }
    return 1;
}

int CBaseHashTable::PurgeTable(IBaseHashTableEnum* callback)
{
    if (callback == nullptr)
        return 1;
    Index index(cpIndex);
    if (!index)
        return 1;
    for (unsigned long number = 0; number < uBuckets; ++number)
    {
        Bucket bucket = index[number];
        if (!bucket)
            continue;
        for (unsigned long position = bucket.GetCount(); position-- > 0;)
        {
            if (position >= bucket.GetCount() || callback->EnumEntry(bucket[position].uKey, bucket[position].cpItem))
                continue;
            if (position >= bucket.GetCount())
                return 0;
            remove_entry(bucket, position);
        }
        if (bucket.GetCount() == 0)
            put_in(index[number], CPObjectMemory());
    }
    return 1;
}

int CBaseHashTable::DisposeTable(unsigned int uTimeLimit)
{
    Index index(cpIndex);
    if (!index)
        return 1;
    unsigned long const start = Core::OS::GetTimeNow();
    for (unsigned long done = 0; done < uBuckets; ++done)
    {
        unsigned long const number = uDisposeNext;
        Bucket bucket = index[number];
        if (bucket)
        {
            for (unsigned long position = bucket.GetCount(); position-- > 0;)
            {
                if (position >= bucket.GetCount() || !isDisposable(bucket[position].cpItem))
                    continue;
                if (position < bucket.GetCount())
                    tblfinalize(bucket[position].cpItem);
                if (position < bucket.GetCount())
                    remove_entry(bucket, position);
            }
            if (bucket.GetCount() == 0)
                put_in(index[number], CPObjectMemory());
        }
        uDisposeNext = (uDisposeNext + 1) % uBuckets;
        if (Core::OS::GetTimeNow() - start > uTimeLimit)
        {
            put_in(cpIndex, index);
            return 0;
        }
    }
    put_in(cpIndex, index);
    return 1;
}

} // namespace ORVA::Lookup
