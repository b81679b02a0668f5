// The search in a bucket guesses the place from the key. It has to find what plain bisection finds, however the keys are
// spread.
#include "ORVA/Lookup.h"

#include "reference/plain_hashtable.h"
#include "support/TableProbe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace
{

using namespace ORVA::Lookup;
using reference::PlainBucket;
using reference::PlainEntry;
using support::CPObjectMemory;
using support::make_item;
using support::TableProbe;

struct Spread
{
    char const* name;
    /// The key of entry `n` of `count`; any order.
    std::function<unsigned long(unsigned long n, unsigned long count, std::mt19937_64& random)> key;
};

std::vector<Spread> const& spreads()
{
    using Random = std::mt19937_64;
    constexpr unsigned long top = 1UL << 63;
    static std::vector<Spread> const all = {
        {"hashes", [](unsigned long, unsigned long, Random& random) { return random(); }},
        {"hashes of one bucket", [](unsigned long, unsigned long, Random& random) { return random() << 16 | 5; }},
        {"hashes of the lower half", [](unsigned long, unsigned long, Random& random) { return random() >> 1; }},
        {"all 0", [](unsigned long, unsigned long, Random&) { return 0UL; }},
        {"all ones", [](unsigned long, unsigned long, Random&) { return ULONG_MAX; }},
        {"all in the middle", [](unsigned long, unsigned long, Random&) { return top; }},
        {"0 and all ones", [](unsigned long n, unsigned long, Random&) { return n % 2 == 0 ? 0UL : ULONG_MAX; }},
        {"hashes and many equal",
         [](unsigned long n, unsigned long, Random& random) { return n % 2 == 0 ? 0x5555555555555555UL : random(); }},
        {"a few values", [](unsigned long, unsigned long, Random& random) { return random() % 5 << 61; }},
        {"adjacent from 0", [](unsigned long n, unsigned long, Random&) { return n; }},
        {"adjacent around the middle",
         [](unsigned long n, unsigned long count, Random&) { return top - count / 2 + n; }},
        {"adjacent up to all ones", [](unsigned long n, unsigned long, Random&) { return ULONG_MAX - n; }},
        {"every third", [](unsigned long n, unsigned long, Random&) { return 3 * n; }},
        {"low words", [](unsigned long, unsigned long, Random& random) { return 7UL << 32 | random() >> 32; }},
        {"powers of two", [](unsigned long n, unsigned long, Random&) { return 1UL << n % 64; }},
        {"a cluster low and one high", [](unsigned long n, unsigned long, Random& random)
         { return (n % 2 == 0 ? 0 : ULONG_MAX - 0xFFFFF) + random() % 0x10000; }},
        {"a cluster and the rest above it", [](unsigned long n, unsigned long count, Random& random)
         { return n < count / 8 ? random() >> 1 | top : 0x4000000000000000UL + n; }},
    };
    return all;
}

// A bucket of `count` entries under such keys; they all hold `item`, for the search asks nothing about it.
PlainBucket plain_bucket(Spread const& spread, unsigned long count, std::mt19937_64& random)
{
    PlainBucket bucket;
    for (unsigned long n = 0; n < count; ++n)
        bucket.push_back({spread.key(n, count, random), 1});
    std::sort(bucket.begin(), bucket.end(), [](PlainEntry const& a, PlainEntry const& b) { return a.key < b.key; });
    return bucket;
}

// Keys to look for: at most 64 of the bucket, evenly taken and the outermost among them, their neighbours, and others.
std::vector<unsigned long> keys_to_look_for(PlainBucket const& bucket, std::mt19937_64& random)
{
    std::vector<unsigned long> keys = {0, 1, 1UL << 63, ULONG_MAX - 1, ULONG_MAX, random(), random()};
    unsigned long const step = bucket.size() / 64 + 1;
    for (unsigned long position = 0; position < bucket.size(); position += step)
    {
        unsigned long const from_either_end[] = {bucket[position].key, bucket[bucket.size() - 1 - position].key};
        for (unsigned long key : from_either_end)
            keys.insert(keys.end(), {key - 1, key, key + 1});
    }
    return keys;
}

class BucketSearch : public ::testing::TestWithParam<Spread>
{
protected:
    // Looks for many keys in a bucket of `count` entries, in the three ways that there are.
    void agrees_with_bisection(unsigned long count)
    {
        PlainBucket const plain = plain_bucket(GetParam(), count, random);
        CBaseHashTable::Bucket bucket;
        for (PlainEntry const& entry : plain)
            ASSERT_EQ(bucket.Insert({entry.key, item}, ULONG_MAX), 1);
        auto const no_comparison = [](int, int) { return 0; };
        for (unsigned long key : keys_to_look_for(plain, random))
        {
            CBaseHashTable::HASHENTRY const entry{key, {}};
            ASSERT_EQ(table._locateentry(bucket, entry), reference::plain_locateentry(plain, {key, 0}, no_comparison))
                << count << " entries, key " << key;
            ASSERT_EQ(table._findentry(bucket, entry), reference::plain_findentry(plain, {key, 0}, no_comparison))
                << count << " entries, key " << key;
        }
        EXPECT_TRUE(table.take_events().empty()) << "no comparison is asked";
    }

    // The same in a table of one bucket, by its own operations: all entries go in in mixed order.
    void table_agrees_with_bisection(unsigned long count)
    {
        PlainBucket plain = plain_bucket(GetParam(), count, random);
        plain.erase(std::unique(plain.begin(), plain.end()), plain.end());
        PlainBucket mixed = plain;
        std::shuffle(mixed.begin(), mixed.end(), random);
        TableProbe filled(64);
        for (PlainEntry const& entry : mixed)
            ASSERT_EQ(filled.AddItem(entry.key, item, eHashKeepEqual), item);
        for (unsigned long position = 0; position < plain.size(); ++position)
            ASSERT_EQ(filled.bucket(0)[position].uKey, plain[position].key);
        for (unsigned long key : keys_to_look_for(plain, random))
        {
            auto const found =
                std::find_if(plain.begin(), plain.end(), [key](PlainEntry const& entry) { return entry.key == key; });
            bool const is_there = found != plain.end();
            ASSERT_EQ(filled.FindItem(key, CPObjectMemory()), is_there ? item : CPObjectMemory()) << key;
            ASSERT_EQ(filled.FindItem(key, item), is_there ? item : CPObjectMemory()) << key;
            auto const* const entry = filled._search(key, [](CPObjectMemory const&) { return true; });
            ASSERT_EQ(entry, is_there ? &filled.bucket(0)[static_cast<unsigned long>(found - plain.begin())] : nullptr);
        }
        EXPECT_TRUE(filled.take_events().empty());
    }

    support::NoItemLeft check;
    CPObjectMemory const item = make_item(1);
    TableProbe table{4};
    std::mt19937_64 random{20};
};

TEST_P(BucketSearch, AgreesWithPlainBisectionInBucketsOfEverySmallSize)
{
    for (unsigned long count = 0; count <= 72; ++count)
        agrees_with_bisection(count);
}

TEST_P(BucketSearch, AgreesWithPlainBisectionInLongBuckets)
{
    for (unsigned long count : {100UL, 127UL, 128UL, 129UL, 200UL, 256UL, 500UL, 1000UL, 5000UL})
        agrees_with_bisection(count);
}

TEST_P(BucketSearch, IsWhatTheTableFindsBy)
{
    for (unsigned long count : {1UL, 2UL, 7UL, 8UL, 9UL, 16UL, 17UL, 40UL, 130UL})
        table_agrees_with_bisection(count);
}

INSTANTIATE_TEST_SUITE_P(Keys, BucketSearch, testing::ValuesIn(spreads()),
                         [](testing::TestParamInfo<Spread> const& spread)
                         {
                             std::string name = spread.param.name;
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name;
                         });

} // namespace
