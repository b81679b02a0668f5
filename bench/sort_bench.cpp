// Sorting 100,000 random elements of several widths, beside the C library's qsort and std::sort with the same comparison
// function.
#include "ORVA/Buffers/Sort.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

namespace
{

template <std::size_t width>
struct Element
{
    unsigned long key;
    unsigned char rest[width - sizeof(unsigned long)];
};

template <>
struct Element<8>
{
    unsigned long key;
};

int compare_keys(void const* a, void const* b)
{
    unsigned long x;
    unsigned long y;
    std::memcpy(&x, a, sizeof x);
    std::memcpy(&y, b, sizeof y);
    return x < y ? -1 : x > y ? 1 : 0;
}

template <std::size_t width, class Sort>
void sort_random_elements(benchmark::State& state, Sort sort)
{
    std::mt19937_64 random(7);
    std::vector<Element<width>> source(100000);
    for (Element<width>& element : source)
        element.key = random();
    std::vector<Element<width>> elements;
    for (auto _ : state)
    {
        state.PauseTiming();
        elements = source;
        state.ResumeTiming();
        sort(elements.data(), elements.size());
        benchmark::DoNotOptimize(elements.data());
    }
}

template <std::size_t width>
void vfqsort(benchmark::State& state)
{
    sort_random_elements<width>(state, [](Element<width>* elements, std::size_t count)
                                { ORVA::Buffers::Sort::vfqsort(elements, count, width, compare_keys); });
}

template <std::size_t width>
void qsort(benchmark::State& state)
{
    sort_random_elements<width>(state, [](Element<width>* elements, std::size_t count)
                                { std::qsort(elements, count, width, compare_keys); });
}

template <std::size_t width>
void std_sort(benchmark::State& state)
{
    int (*volatile compare)(void const*, void const*) = compare_keys;
    sort_random_elements<width>(state,
                                [compare = compare](Element<width>* elements, std::size_t count)
                                {
                                    std::sort(elements, elements + count,
                                              [compare](Element<width> const& a, Element<width> const& b)
                                              { return compare(&a, &b) < 0; });
                                });
}

BENCHMARK(vfqsort<8>);
BENCHMARK(qsort<8>);
BENCHMARK(std_sort<8>);
BENCHMARK(vfqsort<16>);
BENCHMARK(qsort<16>);
BENCHMARK(std_sort<16>);
BENCHMARK(vfqsort<64>);
BENCHMARK(qsort<64>);
BENCHMARK(std_sort<64>);

} // namespace
