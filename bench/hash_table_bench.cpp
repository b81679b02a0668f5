// Hits and insertions in a table of random 64-bit keys, beside std::unordered_map and absl::flat_hash_map.
//
// All three map to shared values: a handle on a block here, a std::shared_ptr there. A hit by key gives the caller a
// counted reference of its own, as FindItem does; the rows named "look" take none, as the look-up for derived classes
// does. There are 1,024 values, so that it is the table that does not fit into a cache, and not what it refers to.
//
// The table is told its size by its direct index, so the peers are told theirs by reserve(). A bucket has room for 16
// entries at first: OwnTable has an index that brings 6 to 12 to a bucket. CrowdedTable has one that was chosen for
// fewer: 2^12 buckets up to 100,000 entries, 2^16 above, up to 150 to a bucket.
#include "multi_threaded.h"

#include "ORVA/Buffers/Object.h"
#include "ORVA/Lookup.h"

#include <absl/container/flat_hash_map.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <random>
#include <unordered_map>
#include <utility>
#include <vector>

namespace
{

using ORVA::Buffers::CPObject;
using ORVA::Buffers::CPObjectMemory;

constexpr std::size_t values = 1024;

// The keys of the entries, and the same in another order for the look-ups.
struct Keys
{
    explicit Keys(std::size_t count) : inserted(count)
    {
        std::mt19937_64 random(7);
        std::generate(inserted.begin(), inserted.end(), random);
        looked_up = inserted;
        std::shuffle(looked_up.begin(), looked_up.end(), random);
    }

    std::vector<unsigned long> inserted;
    std::vector<unsigned long> looked_up;
};

// Made once for each size and never given back: the repetitions of a benchmark come in mixed order.
template <class T, class Make>
T& kept(std::size_t count, Make make)
{
    static std::unordered_map<std::size_t, T*> all;
    T*& one = all[count];
    if (one == nullptr)
        one = make();
    return *one;
}

Keys const& keys_of(std::size_t count)
{
    return kept<Keys>(count, [count] { return new Keys(count); });
}

// The length of the direct index for so many entries.
unsigned int roomy(std::size_t count)
{
    unsigned int length = 4;
    while ((12UL << length) < count)
        ++length;
    return length;
}

unsigned int crowded(std::size_t count)
{
    return count > 100000 ? 16 : 12;
}

template <unsigned int (*length)(std::size_t count)>
class Table : public ORVA::Lookup::CBaseHashTable
{
public:
    explicit Table(std::size_t count) : CBaseHashTable(length(count)) {}

    int compare(CPObjectMemory const& a, CPObjectMemory const& b) override
    {
        return a.key() < b.key() ? -1 : a.key() > b.key() ? 1 : 0;
    }

    void insert(std::vector<unsigned long> const& keys)
    {
        std::vector<CPObjectMemory> const& items = blocks();
        std::size_t next = 0;
        for (unsigned long key : keys)
            AddItem(key, items[next++ % values], ORVA::Lookup::eHashKeepEqual);
    }

    CPObjectMemory hit(unsigned long key) { return FindItem(key, CPObjectMemory::pnull); }

    CPObjectMemory const& look(unsigned long key)
    {
        return _search(key, [](CPObjectMemory const&) { return true; })->cpItem;
    }

private:
    static std::vector<CPObjectMemory> const& blocks()
    {
        static std::vector<CPObjectMemory> const all = []
        {
            std::vector<CPObjectMemory> made;
            for (std::size_t number = 0; number < values; ++number)
            {
                CPObject<int> block;
                block.create();
                made.push_back(block);
            }
            return made;
        }();
        return all;
    }
};

template <class Map>
class PeerTable
{
public:
    explicit PeerTable(std::size_t count) { m_map.reserve(count); }

    void insert(std::vector<unsigned long> const& keys)
    {
        static std::vector<std::shared_ptr<int>> const items = []
        {
            std::vector<std::shared_ptr<int>> made;
            for (std::size_t number = 0; number < values; ++number)
                made.push_back(std::make_shared<int>(0));
            return made;
        }();
        std::size_t next = 0;
        for (unsigned long key : keys)
            m_map.try_emplace(key, items[next++ % values]);
    }

    std::shared_ptr<int> hit(unsigned long key) { return m_map.find(key)->second; }
    std::shared_ptr<int> const& look(unsigned long key) { return m_map.find(key)->second; }

private:
    Map m_map;
};

using OwnTable = Table<roomy>;
using CrowdedTable = Table<crowded>;
using UnorderedMap = PeerTable<std::unordered_map<unsigned long, std::shared_ptr<int>>>;
using FlatHashMap = PeerTable<absl::flat_hash_map<unsigned long, std::shared_ptr<int>>>;

// Goes through the keys in turn.
template <class Map, class LookUp>
void look_up_in_turn(benchmark::State& state, LookUp look_up)
{
    bench::become_multi_threaded();
    std::size_t const count = static_cast<std::size_t>(state.range(0));
    Keys const& keys = keys_of(count);
    Map& table = kept<Map>(count,
                           [&]
                           {
                               auto* const made = new Map(count);
                               made->insert(keys.inserted);
                               return made;
                           });
    std::size_t next = 0;
    for (auto _ : state)
    {
        look_up(table, keys.looked_up[next]);
        next = next + 1 == count ? 0 : next + 1;
    }
}

template <class Map>
void hit(benchmark::State& state)
{
    look_up_in_turn<Map>(state,
                         [](Map& table, unsigned long key)
                         {
                             auto const item = table.hit(key);
                             benchmark::DoNotOptimize(item);
                         });
}

template <class Map>
void look(benchmark::State& state)
{
    look_up_in_turn<Map>(state, [](Map& table, unsigned long key) { benchmark::DoNotOptimize(table.look(key)); });
}

// All entries into an empty table, whose end is not counted.
template <class Map>
void insert(benchmark::State& state)
{
    bench::become_multi_threaded();
    std::size_t const count = static_cast<std::size_t>(state.range(0));
    Keys const& keys = keys_of(count);
    for (auto _ : state)
    {
        auto table = std::make_unique<Map>(count);
        table->insert(keys.inserted);
        benchmark::ClobberMemory();
        state.PauseTiming();
        table.reset();
        state.ResumeTiming();
    }
}

void sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->RangeMultiplier(10)->Range(1000, 10000000);
}

BENCHMARK(hit<OwnTable>)->Apply(sizes);
BENCHMARK(hit<CrowdedTable>)->Apply(sizes);
BENCHMARK(hit<UnorderedMap>)->Apply(sizes);
BENCHMARK(hit<FlatHashMap>)->Apply(sizes);
BENCHMARK(look<OwnTable>)->Apply(sizes);
BENCHMARK(look<CrowdedTable>)->Apply(sizes);
BENCHMARK(look<UnorderedMap>)->Apply(sizes);
BENCHMARK(look<FlatHashMap>)->Apply(sizes);
BENCHMARK(insert<OwnTable>)->Apply(sizes);
BENCHMARK(insert<CrowdedTable>)->Apply(sizes);
BENCHMARK(insert<UnorderedMap>)->Apply(sizes);
BENCHMARK(insert<FlatHashMap>)->Apply(sizes);

} // namespace
