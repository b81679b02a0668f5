/// @file
/// Items, visitors and a hash table that tell a test what is done to them.
#pragma once

#include "ORVA/Buffers/Object.h"
#include "ORVA/Lookup/HashTable.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace support
{

using ORVA::Buffers::CPObject;
using ORVA::Buffers::CPObjectMemory;

/// What stands in the blocks that a probe holds. `rank` orders items of equal key, `id` tells them apart.
struct ProbeItem
{
    ProbeItem() { ++live(); }
    ProbeItem(ProbeItem const&) = delete;
    ProbeItem& operator=(ProbeItem const&) = delete;
    ~ProbeItem()
    {
        --live();
        if (on_destroy)
            on_destroy();
    }

    int id = 0;
    int rank = 0;
    std::function<void()> on_destroy; ///< called when the last handle goes

    /// The items that live now.
    static int& live()
    {
        static int count = 0;
        return count;
    }
};

inline CPObjectMemory make_item(int id, int rank)
{
    CPObject<ProbeItem> item;
    item.create()->id = id;
    item->rank = rank;
    return std::move(item);
}

/// An item whose rank is its id.
inline CPObjectMemory make_item(int id)
{
    return make_item(id, id);
}

inline CPObjectMemory make_item(int id, std::function<void()> on_destroy)
{
    CPObjectMemory item = make_item(id);
    static_cast<ProbeItem*>(item.get_ptr())->on_destroy = std::move(on_destroy);
    return item;
}

/// The item in a block, with no count raised; a handle must hold one.
inline ProbeItem const& in(CPObjectMemory const& item)
{
    return *static_cast<ProbeItem const*>(item.get_cptr());
}

/// The id in a block, 0 for an empty handle.
inline int id_of(CPObjectMemory const& item)
{
    return item ? in(item).id : 0;
}

/// The first member of a fixture: once the other members are gone, no item may live.
struct NoItemLeft
{
    ~NoItemLeft() { EXPECT_EQ(ProbeItem::live(), 0) << "items are left behind"; }
};

using Events = std::vector<std::string>;

/// A table that orders items by rank and writes down its hooks: "compare 1 2", "disposable 1", "finalize 1". Each hook
/// can be replaced; it is written down before it is called.
class TableProbe : public ORVA::Lookup::CBaseHashTable
{
public:
    using CBaseHashTable::_search;
    using CBaseHashTable::CBaseHashTable;
    using CBaseHashTable::cpIndex;
    using CBaseHashTable::uBuckets;
    using CBaseHashTable::uDisposeNext;
    using CBaseHashTable::uMask;

    int compare(CPObjectMemory const& a, CPObjectMemory const& b) override
    {
        events.push_back("compare " + std::to_string(id_of(a)) + ' ' + std::to_string(id_of(b)));
        if (on_compare)
            return on_compare(a, b);
        return in(a).rank < in(b).rank ? -1 : in(a).rank > in(b).rank ? 1 : 0;
    }

    bool isDisposable(CPObjectMemory const& item) override
    {
        events.push_back("disposable " + std::to_string(id_of(item)));
        return on_disposable ? on_disposable(item) : CBaseHashTable::isDisposable(item);
    }

    void tblfinalize(CPObjectMemory const& item) override
    {
        events.push_back("finalize " + std::to_string(id_of(item)));
        if (on_finalize)
            on_finalize(item);
        else
            CBaseHashTable::tblfinalize(item);
    }

    /// The events so far; there are none afterwards.
    Events take_events() { return std::exchange(events, Events()); }

    /// The handle of a bucket; there must be an index.
    Bucket& bucket(unsigned long number) { return static_cast<Bucket*>(cpIndex.get_ptr())[number]; }

    /// The ids in a bucket, in their order.
    std::vector<int> ids(unsigned long number)
    {
        std::vector<int> result;
        if (cpIndex)
        {
            for (HASHENTRY const& entry : bucket(number))
                result.push_back(id_of(entry.cpItem));
        }
        return result;
    }

    std::function<int(CPObjectMemory const&, CPObjectMemory const&)> on_compare;
    std::function<bool(CPObjectMemory const&)> on_disposable;
    std::function<void(CPObjectMemory const&)> on_finalize;
    Events events;
};

/// A visitor that writes down the ids it sees, and answers as it is told; true without an answer.
class VisitorProbe : public ORVA::Lookup::IBaseHashTableEnum
{
public:
    VisitorProbe() = default;
    explicit VisitorProbe(std::function<bool(unsigned long, CPObjectMemory&)> how) : answer(std::move(how)) {}

    bool EnumEntry(unsigned long key, CPObjectMemory& item) override
    {
        keys.push_back(key);
        ids.push_back(id_of(item));
        return answer ? answer(key, item) : true;
    }

    std::function<bool(unsigned long, CPObjectMemory&)> answer;
    std::vector<unsigned long> keys;
    std::vector<int> ids;
};

} // namespace support
