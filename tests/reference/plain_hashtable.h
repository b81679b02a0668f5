/// @file
/// The plain twin of the base hash table: step by step, over numbers in place of items, as the oracle for results,
/// contents and the exact sequence of the calls of its hooks.
#pragma once

#include <algorithm>
#include <climits>
#include <functional>
#include <map>
#include <utility>
#include <vector>

namespace reference
{

/// An entry; item 0 is an empty handle.
struct PlainEntry
{
    unsigned long key;
    int item;
};

inline bool operator==(PlainEntry const& left, PlainEntry const& right)
{
    return left.key == right.key && left.item == right.item;
}

using PlainBucket = std::vector<PlainEntry>;

/// The order of entries, with `compare(a, b)` for two items of one key.
template <class Compare>
int plain_locatecompare(PlainEntry const& a, PlainEntry const& b, Compare&& compare)
{
    if (a.key != b.key)
        return a.key < b.key ? -1 : 1;
    if (a.item == b.item)
        return 0;
    if (a.item == 0 || b.item == 0)
        return 0;
    return compare(a.item, b.item);
}

/// The position of the first entry not below `entry`: the first entry, the last one, then bisection.
template <class Compare>
unsigned long plain_locateentry(PlainBucket const& bucket, PlainEntry const& entry, Compare&& compare)
{
    if (bucket.empty())
        return 0;
    if (plain_locatecompare(entry, bucket.front(), compare) <= 0)
        return 0;
    if (plain_locatecompare(entry, bucket.back(), compare) > 0)
        return bucket.size();
    unsigned long const last = bucket.size() - 1;
    if (last < 2)
        return last;
    unsigned long low = 0;
    unsigned long high = last;
    while (high - low > 1)
    {
        unsigned long const middle = (low + high) >> 1;
        if (plain_locatecompare(entry, bucket[middle], compare) > 0)
            low = middle;
        else
            high = middle;
    }
    return high;
}

/// The position of a match, or all bits set.
template <class Compare>
unsigned long plain_findentry(PlainBucket const& bucket, PlainEntry const& entry, Compare&& compare)
{
    unsigned long const position = plain_locateentry(bucket, entry, compare);
    if (position >= bucket.size())
        return ULONG_MAX;
    PlainEntry const& stored = bucket[position];
    if (stored.key != entry.key)
        return ULONG_MAX;
    if (stored.item == entry.item || stored.item == 0 || entry.item == 0)
        return position;
    return compare(stored.item, entry.item) == 0 ? position : ULONG_MAX;
}

/// A table whose hooks do not change it.
class PlainHashTable
{
public:
    using Visitor = std::function<bool(unsigned long key, int item)>;

    explicit PlainHashTable(unsigned int length) : m_mask((1UL << length) - 1) {}

    std::function<int(int, int)> compare;
    std::function<bool(int)> is_disposable;
    std::function<void(int)> finalize;

    int add(unsigned long key, int item, unsigned int mode)
    {
        if (item == 0)
            return 0;
        PlainBucket& bucket = m_buckets[key & m_mask];
        m_has_index = true;
        unsigned long const position = plain_locateentry(bucket, {key, item}, compare);
        if (position < bucket.size() && bucket[position].key == key)
        {
            int& stored = bucket[position].item;
            if (mode == 2)
                return stored;
            if (mode == 3)
                return stored = item;
            if (compare(stored, item) == 0)
            {
                if (mode == 1)
                    return stored = item;
                return mode == 0 ? stored : 0;
            }
        }
        bucket.insert(bucket.begin() + static_cast<long>(position), {key, item});
        return item;
    }

    int find(unsigned long key, int item)
    {
        auto const found = m_buckets.find(key & m_mask);
        if (found == m_buckets.end())
            return 0;
        unsigned long const position = plain_findentry(found->second, {key, item}, compare);
        return position == ULONG_MAX ? 0 : found->second[position].item;
    }

    void remove(unsigned long key, int item)
    {
        auto const found = m_buckets.find(key & m_mask);
        if (found == m_buckets.end())
            return;
        PlainBucket& bucket = found->second;
        if (item != 0)
        {
            unsigned long const position = plain_findentry(bucket, {key, item}, compare);
            if (position == ULONG_MAX)
                return;
            finalize(bucket[position].item);
            erase(bucket, position);
        }
        else
        {
            unsigned long const position = plain_locateentry(bucket, {key, 0}, compare);
            while (position < bucket.size() && bucket[position].key == key)
                erase(bucket, position);
        }
        forget_if_empty(key & m_mask);
    }

    void remove_bucket(unsigned long key)
    {
        for (PlainEntry const& entry : bucket(key & m_mask))
            finalize(entry.item);
        m_buckets.erase(key & m_mask);
    }

    void clear()
    {
        m_buckets.clear();
        m_has_index = false;
    }

    int visit_all(Visitor const& visitor)
    {
        for (auto const& [number, bucket] : m_buckets)
        {
            for (PlainEntry const& entry : bucket)
            {
                if (!visitor(entry.key, entry.item))
                    return 0;
            }
        }
        return m_has_index ? 1 : 0;
    }

    int visit_key(unsigned long key, Visitor const& visitor)
    {
        for (PlainEntry const& entry : bucket(key & m_mask))
        {
            if (entry.key == key && !visitor(entry.key, entry.item))
                return 0;
        }
        return m_has_index ? 1 : 0;
    }

    void purge(Visitor const& visitor)
    {
        for (unsigned long number : numbers())
        {
            PlainBucket& bucket = m_buckets[number];
            for (unsigned long position = bucket.size(); position-- > 0;)
            {
                if (!visitor(bucket[position].key, bucket[position].item))
                    erase(bucket, position);
            }
            forget_if_empty(number);
        }
    }

    /// A full sweep from bucket `from`.
    void dispose(unsigned long from)
    {
        for (unsigned long done = 0; done <= m_mask; ++done)
        {
            unsigned long const number = (from + done) & m_mask;
            auto const found = m_buckets.find(number);
            if (found == m_buckets.end())
                continue;
            PlainBucket& bucket = found->second;
            for (unsigned long position = bucket.size(); position-- > 0;)
            {
                if (is_disposable(bucket[position].item))
                {
                    finalize(bucket[position].item);
                    erase(bucket, position);
                }
            }
            forget_if_empty(number);
        }
    }

    PlainBucket bucket(unsigned long number) const
    {
        auto const found = m_buckets.find(number);
        return found == m_buckets.end() ? PlainBucket() : found->second;
    }

    bool has_index() const { return m_has_index; }

private:
    static void erase(PlainBucket& bucket, unsigned long position)
    {
        bucket.erase(bucket.begin() + static_cast<long>(position));
    }

    void forget_if_empty(unsigned long number)
    {
        if (m_buckets[number].empty())
            m_buckets.erase(number);
    }

    std::vector<unsigned long> numbers() const
    {
        std::vector<unsigned long> result;
        for (auto const& [number, bucket] : m_buckets)
            result.push_back(number);
        return result;
    }

    unsigned long m_mask;
    bool m_has_index = false;
    std::map<unsigned long, PlainBucket> m_buckets;
};

} // namespace reference
