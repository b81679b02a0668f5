// Vectors of handles, beside std::vector of std::shared_ptr: filled at the end, and changed in the middle.
#include "multi_threaded.h"

#include "ORVA/ORVA.h"

#include <benchmark/benchmark.h>

#include <climits>
#include <memory>
#include <vector>

namespace
{

using ORVA::Buffers::CPObject;
using ORVA::Buffers::CPOMVector;

class OwnVector
{
public:
    OwnVector() { m_item.create(); }

    void reserve(std::size_t count) { m_vector.Reserve(count); }
    void append() { m_vector.Insert(m_item, ULONG_MAX); }
    void insert(std::size_t index) { m_vector.Insert(m_item, index); }
    void remove(std::size_t index) { m_vector.Delete(index, false); }
    void release() { m_vector.free(); }

private:
    CPObject<int> m_item;
    CPOMVector m_vector;
};

class StandardVector
{
public:
    void reserve(std::size_t count) { m_vector.reserve(count); }
    void append() { m_vector.push_back(m_item); }
    void insert(std::size_t index) { m_vector.insert(m_vector.begin() + static_cast<std::ptrdiff_t>(index), m_item); }
    void remove(std::size_t index) { m_vector.erase(m_vector.begin() + static_cast<std::ptrdiff_t>(index)); }
    void release() { std::vector<std::shared_ptr<int>>().swap(m_vector); }

private:
    std::shared_ptr<int> m_item = std::make_shared<int>(0);
    std::vector<std::shared_ptr<int>> m_vector;
};

// Filled one by one from empty, and released.
template <class Vector>
void append(benchmark::State& state)
{
    bench::become_multi_threaded();
    Vector vector;
    for (auto _ : state)
    {
        for (long count = 0; count < state.range(0); ++count)
            vector.append();
        vector.release();
    }
}

// The same with room for all from the start.
template <class Vector>
void append_reserved(benchmark::State& state)
{
    bench::become_multi_threaded();
    Vector vector;
    for (auto _ : state)
    {
        vector.reserve(static_cast<std::size_t>(state.range(0)));
        for (long count = 0; count < state.range(0); ++count)
            vector.append();
        vector.release();
    }
}

// One more in the middle, and one fewer.
template <class Vector>
void insert_in_the_middle(benchmark::State& state)
{
    bench::become_multi_threaded();
    std::size_t const count = static_cast<std::size_t>(state.range(0));
    Vector vector;
    for (std::size_t made = 0; made <= count; ++made)
        vector.append();
    vector.remove(count);
    for (auto _ : state)
    {
        vector.insert(count / 2);
        vector.remove(count / 2);
    }
}

void sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->Arg(16)->Arg(1000)->Arg(100000);
}

BENCHMARK(append<OwnVector>)->Apply(sizes);
BENCHMARK(append<StandardVector>)->Apply(sizes);
BENCHMARK(append_reserved<OwnVector>)->Apply(sizes);
BENCHMARK(append_reserved<StandardVector>)->Apply(sizes);
BENCHMARK(insert_in_the_middle<OwnVector>)->Apply(sizes);
BENCHMARK(insert_in_the_middle<StandardVector>)->Apply(sizes);

} // namespace
