// Copying and releasing a handle, beside std::shared_ptr.
#include "ORVA/ORVA.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <thread>

namespace
{

using namespace ORVA;

// The standard library takes cheaper, unlocked steps in a process that has never had a second thread, and no process that
// uses this library stays so.
void become_multi_threaded()
{
    std::thread([] {}).join();
}

void handle(benchmark::State& state)
{
    become_multi_threaded();
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
    become_multi_threaded();
    for (auto _ : state)
    {
        Buffers::CPObjectMemory const copy(String::CPPoolString::ptrue);
        benchmark::DoNotOptimize(copy);
    }
}

void shared_ptr(benchmark::State& state)
{
    become_multi_threaded();
    auto const source = std::make_shared<int>(0);
    for (auto _ : state)
    {
        std::shared_ptr<int> const copy(source);
        benchmark::DoNotOptimize(copy);
    }
}

BENCHMARK(handle);
BENCHMARK(handle_on_static_block);
BENCHMARK(shared_ptr);

} // namespace
