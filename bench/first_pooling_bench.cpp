// The first pooling of all names, into a pool that has nothing else, beside what a user would pick instead:
// Boost.Flyweight, and a flat hash map under a mutex.
#include "corpus.h"

#include "ORVA/ORVA.h"

#include <absl/container/flat_hash_map.h>
#include <benchmark/benchmark.h>
#include <boost/flyweight.hpp>

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace
{

using ORVA::String::CPPoolString;
using ORVA::String::CStringPool;
using Flyweight = boost::flyweight<std::wstring>;

// Pools all names in the number of threads that is asked for, each its share, and times it from the moment when all begin
// until all have ended. `pool(name)` gives what keeps a name; `forget()` comes when nothing is kept any more, outside
// the time.
template <class Pool, class Forget>
void pool_all(benchmark::State& state, Pool pool, Forget forget)
{
    auto const& names = bench::corpus();
    auto const threads = static_cast<std::size_t>(state.range(0));
    using Kept = std::vector<decltype(pool(names[0]))>;
    for (auto _ : state)
    {
        std::vector<Kept> kept(threads);
        std::atomic<std::size_t> missing{threads};
        std::atomic<bool> go{false};
        std::vector<std::thread> workers;
        for (std::size_t index = 0; index < threads; ++index)
        {
            kept[index].reserve(names.size() / threads + 1);
            workers.emplace_back(
                [&, index]
                {
                    --missing;
                    while (!go)
                        std::this_thread::yield();
                    for (std::size_t number = index; number < names.size(); number += threads)
                        kept[index].push_back(pool(names[number]));
                });
        }
        while (missing != 0)
            std::this_thread::yield();
        auto const begin = std::chrono::steady_clock::now();
        go = true;
        for (std::thread& worker : workers)
            worker.join();
        state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
        kept.clear();
        forget();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(names.size()));
}

void this_library(benchmark::State& state)
{
    pool_all(
        state, [](std::wstring const& name) { return CPPoolString(name.c_str()); },
        []
        {
            for (int pass = 0; pass < 2; ++pass)
                CStringPool::Collect(0xFFFFFFFFU);
        });
}

void flyweight(benchmark::State& state)
{
    pool_all(
        state, [](std::wstring const& name) { return Flyweight(name); }, [] {});
}

void flat_map_under_mutex(benchmark::State& state)
{
    static std::mutex lock;
    static absl::flat_hash_map<std::wstring, int> map;
    pool_all(
        state,
        [](std::wstring const& name)
        {
            std::lock_guard<std::mutex> const guard(lock);
            return &*map.try_emplace(name, 0).first;
        },
        [] { map.clear(); });
}

void threads(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgName("in_threads")->Arg(1)->Arg(2)->UseManualTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK(this_library)->Apply(threads);
BENCHMARK(flyweight)->Apply(threads);
BENCHMARK(flat_map_under_mutex)->Apply(threads);

} // namespace
