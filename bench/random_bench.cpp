// One draw of each generator, beside those of the same family of the standard library and of Boost; the former is set
// under a lock where several threads share it. Then the making of a block, beside that of the standard library, of which
// there is one in 624 draws.
#include "ORVA/Develop.h"
#include "ORVA/Math.h"

#include <benchmark/benchmark.h>

#include <boost/random/mersenne_twister.hpp>

#include <mutex>
#include <random>
#include <thread>

namespace
{

using namespace ORVA::Develop;

// The standard library takes cheaper, unlocked steps in a process that has never had a second thread, and no process that
// uses this library stays so.
[[maybe_unused]] bool const multi_threaded = []
{
    std::thread([] {}).join();
    return true;
}();

struct Own
{
    CMTRandom random;
    unsigned int draw() { return random.rnd(); }
};

struct OwnStd
{
    std::mt19937 random{static_cast<unsigned int>(_steady_clock_now())};
    unsigned int draw() { return static_cast<unsigned int>(random()); }
};

struct OwnBoost
{
    boost::random::mt19937 random{static_cast<unsigned int>(_steady_clock_now())};
    unsigned int draw() { return random(); }
};

struct OwnMono
{
    ORVA::Random::CMonoRand random{1};
    int draw() { return random.rand(); }
};

struct OwnStdLinear
{
    std::minstd_rand random{1};
    unsigned int draw() { return static_cast<unsigned int>(random()); }
};

struct Shared
{
    CMTRnd_TS random;
    unsigned int draw() { return random.rnd(); }
};

struct SharedStd
{
    std::mutex lock;
    std::mt19937 random{static_cast<unsigned int>(_steady_clock_now())};
    unsigned int draw()
    {
        std::lock_guard<std::mutex> const guard(lock);
        return static_cast<unsigned int>(random());
    }
};

struct Process
{
    unsigned int draw() { return _random(); }
};

// All threads of a run draw from one generator.
template <class Generator>
void draw(benchmark::State& state)
{
    static Generator generator;
    for (auto _ : state)
        benchmark::DoNotOptimize(generator.draw());
    state.SetItemsProcessed(state.iterations());
}

void block(benchmark::State& state)
{
    CMTRandom random;
    for (auto _ : state)
    {
        random._regen();
        benchmark::ClobberMemory();
    }
}

void block_shared(benchmark::State& state)
{
    CMTRnd_TS random;
    for (auto _ : state)
    {
        random._regen();
        benchmark::ClobberMemory();
    }
}

void block_std(benchmark::State& state)
{
    std::mt19937 random(1);
    for (auto _ : state)
    {
        random.discard(624);
        benchmark::DoNotOptimize(random);
    }
}

BENCHMARK_TEMPLATE(draw, Own);
BENCHMARK_TEMPLATE(draw, OwnStd);
BENCHMARK_TEMPLATE(draw, OwnBoost);
BENCHMARK_TEMPLATE(draw, OwnMono);
BENCHMARK_TEMPLATE(draw, OwnStdLinear);

BENCHMARK_TEMPLATE(draw, Shared)->Threads(1)->Threads(2)->Threads(4)->UseRealTime();
BENCHMARK_TEMPLATE(draw, Process)->Threads(1)->Threads(2)->Threads(4)->UseRealTime();
BENCHMARK_TEMPLATE(draw, SharedStd)->Threads(1)->Threads(2)->Threads(4)->UseRealTime();

BENCHMARK(block);
BENCHMARK(block_shared);
BENCHMARK(block_std);

} // namespace
