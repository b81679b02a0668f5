// Look-ups of pooled names, beside what a user would pick instead: Boost.Flyweight, a flat hash map under a
// mutex, and GLib's interned strings (which are UTF-8 and only ever grow).
#include "corpus.h"

#include "ORVA/ORVA.h"

#include <absl/container/flat_hash_map.h>
#include <benchmark/benchmark.h>
#include <boost/flyweight.hpp>
#include <glib.h>

#include <algorithm>
#include <mutex>
#include <string>
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

// 0 stands for the whole corpus.
void sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgName("names")->Arg(4096)->Arg(0)->ThreadRange(1, 2)->UseRealTime();
}

BENCHMARK(pool_of_this_library)->Apply(sizes);
BENCHMARK(flyweight)->Apply(sizes);
BENCHMARK(flat_map_under_mutex)->Apply(sizes);
BENCHMARK(glib_intern_string)->Apply(sizes);

} // namespace
