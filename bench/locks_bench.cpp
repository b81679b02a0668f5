#include "ORVA/Threading/Locks.h"

#include <benchmark/benchmark.h>

#include <boost/chrono/system_clocks.hpp>

#include <mutex>
#include <shared_mutex>
#include <thread>

// Enter and leave of each kind of lock, as handle and as plain class, beside the Boost lock that it wraps and a lock of
// the standard library: by one thread, where the lock is free, and by two that come for one lock all the time.
namespace
{

using namespace ORVA::Threading;

struct Std
{
    std::mutex lock;
    void Enter() { lock.lock(); }
    void Leave() { lock.unlock(); }
};

struct StdRecursive
{
    std::recursive_mutex lock;
    void Enter() { lock.lock(); }
    void Leave() { lock.unlock(); }
};

struct StdShared
{
    std::shared_mutex lock;
    void Enter() { lock.lock(); }
    void Leave() { lock.unlock(); }
    void EnterRead() { lock.lock_shared(); }
    void LeaveRead() { lock.unlock_shared(); }
};

template <class Lock>
struct Boost
{
    Lock lock;
    void Enter() { lock.lock(); }
    void Leave() { lock.unlock(); }
    void EnterRead() { lock.lock_shared(); }
    void LeaveRead() { lock.unlock_shared(); }
    // What an attempt costs that reads the clock first.
    bool TryEnter(unsigned int milliseconds)
    {
        return lock.try_lock_until(boost::chrono::steady_clock::now() + boost::chrono::milliseconds(milliseconds));
    }
};

using BoostMutex = Boost<boost::timed_mutex>;
using BoostRecursive = Boost<boost::recursive_timed_mutex>;
using BoostShared = Boost<boost::shared_mutex>;

struct PlainInterlock
{
    _cRWInterlock lock;
    void Enter() { lock.EnterWrite(); }
    void Leave() { lock.LeaveWrite(); }
    void EnterRead() { lock.EnterRead(); }
    void LeaveRead() { lock.LeaveRead(); }
};

// The standard library and the system take cheaper, unlocked steps in a process that has never had a second thread, and
// no process that uses this library stays so.
[[maybe_unused]] bool const multi_threaded = []
{
    std::thread([] {}).join();
    return true;
}();

template <class Lock>
void enter_leave(benchmark::State& state)
{
    Lock lock;
    for (auto _ : state)
    {
        lock.Enter();
        benchmark::ClobberMemory();
        lock.Leave();
    }
}

template <class Lock>
void read(benchmark::State& state)
{
    Lock lock;
    for (auto _ : state)
    {
        lock.EnterRead();
        benchmark::ClobberMemory();
        lock.LeaveRead();
    }
}

template <class Lock>
void timed_attempt(benchmark::State& state)
{
    Lock lock;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(lock.TryEnter(1000));
        lock.Leave();
    }
}

// All threads want the same lock. The time is that of one enter and leave of a thread while the others do the same.
template <class Lock>
void contended(benchmark::State& state)
{
    static Lock lock;
    for (auto _ : state)
    {
        lock.Enter();
        benchmark::ClobberMemory();
        lock.Leave();
    }
}

// The holder enters once more.
template <class Lock>
void nested(benchmark::State& state)
{
    Lock lock;
    lock.Enter();
    for (auto _ : state)
    {
        lock.Enter();
        benchmark::ClobberMemory();
        lock.Leave();
    }
    lock.Leave();
}

BENCHMARK_TEMPLATE(enter_leave, Std);
BENCHMARK_TEMPLATE(enter_leave, BoostMutex);
BENCHMARK_TEMPLATE(enter_leave, _cMutex);
BENCHMARK_TEMPLATE(enter_leave, CPMutex);

BENCHMARK_TEMPLATE(enter_leave, StdRecursive);
BENCHMARK_TEMPLATE(enter_leave, BoostRecursive);
BENCHMARK_TEMPLATE(enter_leave, _cCriticalSection);
BENCHMARK_TEMPLATE(enter_leave, CPCriticalSection);

BENCHMARK_TEMPLATE(enter_leave, StdShared);
BENCHMARK_TEMPLATE(enter_leave, BoostShared);
BENCHMARK_TEMPLATE(enter_leave, PlainInterlock);
BENCHMARK_TEMPLATE(enter_leave, CPRWInterlock);

BENCHMARK_TEMPLATE(read, StdShared);
BENCHMARK_TEMPLATE(read, BoostShared);
BENCHMARK_TEMPLATE(read, PlainInterlock);
BENCHMARK_TEMPLATE(read, CPRWInterlock);

BENCHMARK_TEMPLATE(contended, Std)->Threads(2)->UseRealTime();
BENCHMARK_TEMPLATE(contended, BoostMutex)->Threads(2)->UseRealTime();
BENCHMARK_TEMPLATE(contended, CPMutex)->Threads(2)->UseRealTime();

BENCHMARK_TEMPLATE(contended, StdRecursive)->Threads(2)->UseRealTime();
BENCHMARK_TEMPLATE(contended, BoostRecursive)->Threads(2)->UseRealTime();
BENCHMARK_TEMPLATE(contended, CPCriticalSection)->Threads(2)->UseRealTime();

BENCHMARK_TEMPLATE(contended, StdShared)->Threads(2)->UseRealTime();
BENCHMARK_TEMPLATE(contended, BoostShared)->Threads(2)->UseRealTime();
BENCHMARK_TEMPLATE(contended, CPRWInterlock)->Threads(2)->UseRealTime();

BENCHMARK_TEMPLATE(nested, StdRecursive);
BENCHMARK_TEMPLATE(nested, BoostRecursive);
BENCHMARK_TEMPLATE(nested, CPCriticalSection);
BENCHMARK_TEMPLATE(nested, CPRWInterlock);

BENCHMARK_TEMPLATE(timed_attempt, BoostMutex);
BENCHMARK_TEMPLATE(timed_attempt, CPMutex);
BENCHMARK_TEMPLATE(timed_attempt, BoostRecursive);
BENCHMARK_TEMPLATE(timed_attempt, CPCriticalSection);
BENCHMARK_TEMPLATE(timed_attempt, BoostShared);
BENCHMARK_TEMPLATE(timed_attempt, CPRWInterlock);

} // namespace
