// Sorting 100,000 elements of several widths, beside the C library's qsort and std::sort with the same comparison
// function; and bisection, beside bsearch and std::lower_bound.
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

template <std::size_t width>
using Elements = std::vector<Element<width>>;

// A call like those that a library makes: through a pointer that the compiler cannot look behind.
using Compare = int (*)(void const*, void const*);

int compare_keys(void const* a, void const* b)
{
    unsigned long x;
    unsigned long y;
    std::memcpy(&x, a, sizeof x);
    std::memcpy(&y, b, sizeof y);
    return x < y ? -1 : x > y ? 1 : 0;
}

Compare volatile hidden_compare = compare_keys;

enum Shape
{
    random_keys,
    sorted,
    reversed,
    few_distinct
};

// For `few_distinct` 1,000 keys: with very few, this library's sort takes quadratic time.
template <std::size_t width>
Elements<width> make_elements(Shape shape, std::size_t count)
{
    std::mt19937_64 random(7);
    Elements<width> elements(count);
    for (Element<width>& element : elements)
        element.key = shape == few_distinct ? random() % 1000 : random();
    auto const by_key = [](Element<width> const& a, Element<width> const& b) { return a.key < b.key; };
    if (shape == sorted || shape == reversed)
        std::sort(elements.begin(), elements.end(), by_key);
    if (shape == reversed)
        std::reverse(elements.begin(), elements.end());
    return elements;
}

template <std::size_t width, Shape shape, class Sort>
void sort_elements(benchmark::State& state, Sort sort)
{
    Elements<width> const source = make_elements<width>(shape, 100000);
    Elements<width> elements;
    for (auto _ : state)
    {
        state.PauseTiming();
        elements = source;
        state.ResumeTiming();
        sort(elements);
        benchmark::DoNotOptimize(elements.data());
    }
}

template <std::size_t width, Shape shape = random_keys>
void vfqsort(benchmark::State& state)
{
    sort_elements<width, shape>(state, [compare = hidden_compare](Elements<width>& elements)
                                { ORVA::Buffers::Sort::vfqsort(elements.data(), elements.size(), width, compare); });
}

template <std::size_t width, Shape shape = random_keys>
void qsort(benchmark::State& state)
{
    sort_elements<width, shape>(state, [compare = hidden_compare](Elements<width>& elements)
                                { std::qsort(elements.data(), elements.size(), width, compare); });
}

template <std::size_t width, Shape shape = random_keys>
void std_sort(benchmark::State& state)
{
    sort_elements<width, shape>(state,
                                [compare = hidden_compare](Elements<width>& elements)
                                {
                                    std::sort(elements.begin(), elements.end(),
                                              [compare](Element<width> const& a, Element<width> const& b)
                                              { return compare(&a, &b) < 0; });
                                });
}

// Keys that are present, in turn.
template <class Search>
void search_elements(benchmark::State& state, Search search)
{
    Elements<8> const sorted_elements = make_elements<8>(sorted, static_cast<std::size_t>(state.range(0)));
    Elements<8> const keys = make_elements<8>(random_keys, static_cast<std::size_t>(state.range(0)));
    std::size_t next = 0;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(search(keys[next], sorted_elements));
        next = next + 1 == keys.size() ? 0 : next + 1;
    }
}

void vfqsearch(benchmark::State& state)
{
    search_elements(state, [compare = hidden_compare](Element<8> const& key, Elements<8> const& elements)
                    { return ORVA::Buffers::Sort::vfqsearch(&key, elements.data(), elements.size(), 8, compare); });
}

void bsearch(benchmark::State& state)
{
    search_elements(state, [compare = hidden_compare](Element<8> const& key, Elements<8> const& elements)
                    { return std::bsearch(&key, elements.data(), elements.size(), 8, compare); });
}

void std_lower_bound(benchmark::State& state)
{
    search_elements(state,
                    [compare = hidden_compare](Element<8> const& key, Elements<8> const& elements)
                    {
                        return std::lower_bound(elements.begin(), elements.end(), key,
                                                [compare](Element<8> const& a, Element<8> const& b)
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
BENCHMARK(vfqsort<16, sorted>)->Name("vfqsort_sorted<16>");
BENCHMARK(qsort<16, sorted>)->Name("qsort_sorted<16>");
BENCHMARK(std_sort<16, sorted>)->Name("std_sort_sorted<16>");
BENCHMARK(vfqsort<16, reversed>)->Name("vfqsort_reversed<16>");
BENCHMARK(qsort<16, reversed>)->Name("qsort_reversed<16>");
BENCHMARK(std_sort<16, reversed>)->Name("std_sort_reversed<16>");
BENCHMARK(vfqsort<16, few_distinct>)->Name("vfqsort_few_distinct<16>");
BENCHMARK(qsort<16, few_distinct>)->Name("qsort_few_distinct<16>");
BENCHMARK(std_sort<16, few_distinct>)->Name("std_sort_few_distinct<16>");
BENCHMARK(vfqsearch)->Arg(1000)->Arg(100000);
BENCHMARK(bsearch)->Arg(1000)->Arg(100000);
BENCHMARK(std_lower_bound)->Arg(1000)->Arg(100000);

} // namespace
