// Copying and releasing a handle, beside std::shared_ptr.
#include "multi_threaded.h"

#include "ORVA/ORVA.h"

#include <benchmark/benchmark.h>

#include <memory>

namespace
{

using namespace ORVA;

void handle(benchmark::State& state)
{
    bench::become_multi_threaded();
    Buffers::CPObject<int> source;
    source.create();
    for (auto _ : state)
    {
        Buffers::CPObjectMemory const copy(source);
        benchmark::DoNotOptimize(copy);
    }
}

void handle_on_static_block(benchmark::State& state)
{
    bench::become_multi_threaded();
    for (auto _ : state)
    {
        Buffers::CPObjectMemory const copy(String::CPPoolString::ptrue);
        benchmark::DoNotOptimize(copy);
    }
}

void shared_ptr(benchmark::State& state)
{
    bench::become_multi_threaded();
    auto const source = std::make_shared<int>(0);
    for (auto _ : state)
    {
        std::shared_ptr<int> const copy(source);
        benchmark::DoNotOptimize(copy);
    }
}

// The two locked operations alone, which neither can do without.
void two_interlocked_operations(benchmark::State& state)
{
    unsigned int count = 1;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(Core::OS::InterlockedIncrement32(count));
        benchmark::DoNotOptimize(Core::OS::InterlockedDecrement32(count));
    }
}

BENCHMARK(handle);
BENCHMARK(handle_on_static_block);
BENCHMARK(shared_ptr);
BENCHMARK(two_interlocked_operations);

} // namespace
