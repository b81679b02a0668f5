// Look-ups and first poolings of names, beside what a user would pick instead: Boost.Flyweight, a flat hash map under a
// mutex, and GLib's interned strings (which are UTF-8 and only ever grow).
#include "corpus.h"

#include "ORVA/ORVA.h"

#include <absl/container/flat_hash_map.h>
#include <benchmark/benchmark.h>
#include <boost/flyweight.hpp>
#include <glib.h>

#include <algorithm>
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

// The number of names to look up in turn: those of one program at work, or those of the whole machine.
std::size_t names_of(benchmark::State const& state)
{
    std::size_t const wanted = static_cast<std::size_t>(state.range(0));
    return wanted == 0 ? bench::corpus().size() : std::min(wanted, bench::corpus().size());
}

// Goes through the names in turn, each thread from a place of its own.
template <class LookUp>
void look_up_in_turn(benchmark::State& state, LookUp look_up)
{
    auto const& names = bench::corpus();
    std::size_t const count = names_of(state);
    std::size_t next = static_cast<std::size_t>(state.thread_index()) * count / 2 % count;
    for (auto _ : state)
    {
        look_up(names[next]);
        next = next + 1 == count ? 0 : next + 1;
    }
}

void pool_of_this_library(benchmark::State& state)
{
    static std::vector<CPPoolString> const kept = []
    {
        std::vector<CPPoolString> all;
        for (std::wstring const& name : bench::corpus())
            all.emplace_back(name.c_str());
        return all;
    }();
    look_up_in_turn(state,
                    [](std::wstring const& name)
                    {
                        CPPoolString const pooled(name.c_str());
                        benchmark::DoNotOptimize(pooled);
                    });
}

void flyweight(benchmark::State& state)
{
    static std::vector<Flyweight> const kept(bench::corpus().begin(), bench::corpus().end());
    look_up_in_turn(state,
                    [](std::wstring const& name)
                    {
                        Flyweight const pooled(name);
                        benchmark::DoNotOptimize(pooled);
                    });
}

void flat_map_under_mutex(benchmark::State& state)
{
    static std::mutex lock;
    static absl::flat_hash_map<std::wstring, int> const map = []
    {
        absl::flat_hash_map<std::wstring, int> all;
        for (std::wstring const& name : bench::corpus())
            all.emplace(name, 0);
        return all;
    }();
    look_up_in_turn(state,
                    [](std::wstring const& name)
                    {
                        std::lock_guard<std::mutex> const guard(lock);
                        benchmark::DoNotOptimize(map.find(name));
                    });
}

void glib_intern_string(benchmark::State& state)
{
    static std::vector<std::string> const narrow = []
    {
        std::vector<std::string> all;
        for (std::wstring const& name : bench::corpus())
        {
            std::string text;
            std::transform(name.begin(), name.end(), std::back_inserter(text),
                           [](wchar_t character) { return static_cast<char>(character); });
            g_intern_string(text.c_str());
            all.push_back(text);
        }
        return all;
    }();
    std::size_t const count = names_of(state);
    std::size_t next = static_cast<std::size_t>(state.thread_index()) * count / 2 % count;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(g_intern_string(narrow[next].c_str()));
        next = next + 1 == count ? 0 : next + 1;
    }
}

// New names for each round: no peer has seen them before.
std::vector<std::wstring> fresh_names(std::size_t count)
{
    static std::size_t next = bench::corpus().size();
    std::vector<std::wstring> names;
    for (std::size_t number = 0; number < count; ++number)
        names.push_back(bench::numbered_name(next++));
    return names;
}

// Pools new names in the number of threads that is asked for, and times it from the moment when all begin until all have
// ended. `pool(name)` gives what keeps a name; `forget()` comes when nothing is kept any more, outside the time.
template <class Pool, class Forget>
void pool_first(benchmark::State& state, Pool pool, Forget forget)
{
    constexpr std::size_t share = 20000;
    auto const threads = static_cast<std::size_t>(state.range(0));
    using Kept = std::vector<decltype(pool(std::wstring()))>;
    for (auto _ : state)
    {
        std::vector<std::wstring> const names = fresh_names(share * threads);
        std::vector<Kept> kept(threads);
        std::atomic<std::size_t> missing{threads};
        std::atomic<bool> go{false};
        std::vector<std::thread> workers;
        for (std::size_t index = 0; index < threads; ++index)
        {
            kept[index].reserve(share);
            workers.emplace_back(
                [&, index]
                {
                    --missing;
                    while (!go)
                        std::this_thread::yield();
                    for (std::size_t number = 0; number < share; ++number)
                        kept[index].push_back(pool(names[index * share + number]));
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
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(share * threads));
}

void first_pooling_in_this_library(benchmark::State& state)
{
    pool_first(
        state, [](std::wstring const& name) { return CPPoolString(name.c_str()); },
        []
        {
            for (int pass = 0; pass < 2; ++pass)
                CStringPool::Collect(0xFFFFFFFFU);
        });
}

void first_flyweight(benchmark::State& state)
{
    pool_first(
        state, [](std::wstring const& name) { return Flyweight(name); }, [] {});
}

void first_in_flat_map_under_mutex(benchmark::State& state)
{
    static std::mutex lock;
    static absl::flat_hash_map<std::wstring, int> map;
    pool_first(
        state,
        [](std::wstring const& name)
        {
            std::lock_guard<std::mutex> const guard(lock);
            return &*map.try_emplace(name, 0).first;
        },
        [] { map.clear(); });
}

// 0 stands for the whole corpus.
void sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgName("names")->Arg(4096)->Arg(0)->ThreadRange(1, 2)->UseRealTime();
}

BENCHMARK(pool_of_this_library)->Apply(sizes);
BENCHMARK(flyweight)->Apply(sizes);
BENCHMARK(flat_map_under_mutex)->Apply(sizes);
BENCHMARK(glib_intern_string)->Apply(sizes);

void threads(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgName("in_threads")->Arg(1)->Arg(2)->UseManualTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK(first_pooling_in_this_library)->Apply(threads);
BENCHMARK(first_flyweight)->Apply(threads);
BENCHMARK(first_in_flat_map_under_mutex)->Apply(threads);

} // namespace
