// What a look-up, a first pooling, a string's memory and a collection cost from a thousand strings to ten million, beside
// Boost.Flyweight and a flat hash map under a mutex. Writes JSON for the report: `scale [LARGEST COUNT] > scale.json`.
#include "corpus.h"

#include "ORVA/ORVA.h"

#include <absl/container/flat_hash_map.h>
#include <boost/flyweight.hpp>

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace
{

using ORVA::String::CPPoolString;
using ORVA::String::CStringPool;
using Flyweight = boost::flyweight<std::wstring>;

constexpr std::size_t look_ups = 1000000;
constexpr unsigned int no_limit = 0xFFFFFFFFU;

double nanoseconds_of(std::function<void()> const& work)
{
    auto const begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - begin).count();
}

unsigned long bytes_in_use()
{
    struct mallinfo2 const info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// What is measured of one kind of pool with one number of strings. What a kind does not have is not there.
struct Measured
{
    double first_pooling = 0; // ns each
    double look_up = 0;       // ns each
    double memory = 0;        // bytes each
    double sweep_in_use = -1; // ns each
    double sweep_unused = -1;
    double sweep_disposing = -1;
};

// The two halves of the texts' life that all kinds share. `pool(text, number)` keeps the string of a number.
template <class Pool, class LookUp>
Measured measure(std::size_t count, Pool pool, LookUp look_up)
{
    std::vector<std::wstring> texts;
    for (std::size_t number = 0; number < count; ++number)
        texts.push_back(bench::numbered_name(number));
    std::shuffle(texts.begin(), texts.end(), std::mt19937(20261));
    Measured result;
    unsigned long const before = bytes_in_use();
    result.first_pooling = nanoseconds_of(
                               [&]
                               {
                                   for (std::size_t number = 0; number < count; ++number)
                                       pool(texts[number], number);
                               }) /
                           static_cast<double>(count);
    result.memory = static_cast<double>(bytes_in_use() - before) / static_cast<double>(count);
    std::vector<unsigned int> order(look_ups);
    std::mt19937 random(7);
    for (unsigned int& number : order)
        number = static_cast<unsigned int>(random() % count);
    result.look_up = nanoseconds_of(
                         [&]
                         {
                             for (unsigned int const number : order)
                                 look_up(texts[number]);
                         }) /
                     static_cast<double>(look_ups);
    return result;
}

Measured measure_this_library(std::size_t count)
{
    // The handles' own memory is not the pool's.
    std::vector<CPPoolString> kept(count);
    Measured result = measure(
        count, [&](std::wstring const& text, std::size_t number) { kept[number] = CPPoolString(text.c_str()); },
        [](std::wstring const& text)
        {
            if (CPPoolString(text.c_str()).isnull())
                std::abort();
        });
    auto const sweep = [&]
    { return nanoseconds_of([] { CStringPool::Collect(no_limit); }) / static_cast<double>(count); };
    result.sweep_in_use = sweep();
    kept.clear();
    result.sweep_unused = sweep();
    result.sweep_disposing = sweep();
    return result;
}

Measured measure_flyweight(std::size_t count)
{
    std::vector<std::optional<Flyweight>> kept(count);
    return measure(
        count, [&](std::wstring const& text, std::size_t number) { kept[number].emplace(text); },
        [](std::wstring const& text)
        {
            if (Flyweight(text).get().empty())
                std::abort();
        });
}

Measured measure_flat_map(std::size_t count)
{
    std::mutex lock;
    absl::flat_hash_map<std::wstring, int> map;
    return measure(
        count,
        [&](std::wstring const& text, std::size_t)
        {
            std::lock_guard<std::mutex> const guard(lock);
            map.try_emplace(text, 0);
        },
        [&](std::wstring const& text)
        {
            std::lock_guard<std::mutex> const guard(lock);
            if (map.find(text) == map.end())
                std::abort();
        });
}

// Each measurement has a process of its own, so that none meets the heap that another has left behind.
Measured in_a_process(Measured (*measured)(std::size_t), std::size_t count)
{
    int ends[2];
    if (pipe(ends) != 0)
        std::abort();
    pid_t const child = fork();
    if (child == 0)
    {
        Measured const result = measured(count);
        _exit(write(ends[1], &result, sizeof result) == static_cast<ssize_t>(sizeof result) ? 0 : 1);
    }
    close(ends[1]);
    Measured result;
    int status = 0;
    bool const is_read = read(ends[0], &result, sizeof result) == static_cast<ssize_t>(sizeof result);
    close(ends[0]);
    if (child < 0 || waitpid(child, &status, 0) != child || status != 0 || !is_read)
    {
        std::fprintf(stderr, "scale: measuring %zu strings failed\n", count);
        std::exit(1);
    }
    return result;
}

struct Series
{
    char const* name;
    char const* unit;
    char const* kind;
    std::vector<std::pair<std::size_t, double>> points;
};

void print(std::vector<Series> const& all)
{
    std::puts("{\"series\": [");
    for (Series const& series : all)
    {
        std::printf("  {\"name\": \"%s\", \"unit\": \"%s\", \"kind\": \"%s\", \"points\": [", series.name, series.unit,
                    series.kind);
        for (std::size_t index = 0; index < series.points.size(); ++index)
            std::printf("%s[%zu, %.1f]", index == 0 ? "" : ", ", series.points[index].first,
                        series.points[index].second);
        std::printf("]}%s\n", &series == &all.back() ? "" : ",");
    }
    std::puts("]}");
}

} // namespace

int main(int argument_count, char** arguments)
{
    std::size_t const largest = argument_count > 1 ? std::strtoul(arguments[1], nullptr, 10) : 10000000;
    struct Kind
    {
        char const* name;
        Measured (*measured)(std::size_t);
    };
    std::vector<Series> all;
    bench::corpus();
    for (Kind const& kind : {Kind{"libORVA", measure_this_library}, Kind{"Boost.Flyweight", measure_flyweight},
                             Kind{"absl::flat_hash_map and std::mutex", measure_flat_map}})
    {
        Series first{"first pooling", "ns per string", kind.name, {}};
        Series look_up{"look-up", "ns", kind.name, {}};
        Series memory{"memory", "bytes per string", kind.name, {}};
        Series in_use{"collection, strings in use", "ns per string", kind.name, {}};
        Series unused{"collection, strings seen unused", "ns per string", kind.name, {}};
        Series disposing{"collection, strings disposed of", "ns per string", kind.name, {}};
        for (std::size_t count = 1000; count <= largest; count *= 10)
        {
            Measured const measured = in_a_process(kind.measured, count);
            std::fprintf(stderr, "%s, %zu strings: look-up %.1f ns, first pooling %.1f ns, %.1f bytes\n", kind.name,
                         count, measured.look_up, measured.first_pooling, measured.memory);
            first.points.emplace_back(count, measured.first_pooling);
            look_up.points.emplace_back(count, measured.look_up);
            memory.points.emplace_back(count, measured.memory);
            if (measured.sweep_in_use < 0)
                continue;
            in_use.points.emplace_back(count, measured.sweep_in_use);
            unused.points.emplace_back(count, measured.sweep_unused);
            disposing.points.emplace_back(count, measured.sweep_disposing);
        }
        for (Series* series : {&first, &look_up, &memory, &in_use, &unused, &disposing})
        {
            if (!series->points.empty())
                all.push_back(*series);
        }
    }
    print(all);
    return 0;
}
