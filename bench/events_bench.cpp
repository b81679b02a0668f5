#include "ORVA/Threading/Event.h"
#include "ORVA/Threading/MultipleEvent.h"

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include <glib.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

// Manual-reset signals: an event and a multiple event beside what a program would take instead of them, a flag under a
// mutex and a condition, the system's event descriptors, and GLib's condition.
namespace
{

using namespace ORVA::Threading;

constexpr unsigned int set_size = 8;

/// A set of signals, one of which is waited for. Each kind has the same operations: `set`, `reset`, `is_set` without
/// blocking, `wait` without limit, which gives the index of a signal that is set, and `reset_unset`, a reset that has
/// nothing to do.
struct Event
{
    explicit Event(unsigned int) {}
    void set(unsigned int) { event.Set(); }
    void reset(unsigned int) { event.Reset(); }
    bool is_set(unsigned int) { return event.Wait(0) == 0; }
    unsigned int wait() { return static_cast<unsigned int>(event.Wait(0xFFFFFFFFU)); }
    CPEvent event{true};
};

struct MultipleEvent
{
    explicit MultipleEvent(unsigned int count)
    {
        for (unsigned int index = 0; index < count; ++index)
        {
            events.push_back(CPEvent(true));
            any.Attach(events.back());
        }
    }
    void set(unsigned int index) { events[index].Set(); }
    void reset(unsigned int index) { any.Reset(index); }
    unsigned int wait() { return static_cast<unsigned int>(any.Wait(0xFFFFFFFFU)); }
    std::vector<CPEvent> events;
    CPMultipleEvent any{false};
};

struct StdCondition
{
    explicit StdCondition(unsigned int count) : flags(count) {}
    void set(unsigned int index)
    {
        std::lock_guard<std::mutex> const lock(mutex);
        flags[index] = true;
        condition.notify_all();
    }
    void reset(unsigned int index)
    {
        std::lock_guard<std::mutex> const lock(mutex);
        flags[index] = false;
    }
    bool is_set(unsigned int index)
    {
        std::lock_guard<std::mutex> const lock(mutex);
        return flags[index];
    }
    unsigned int wait()
    {
        std::unique_lock<std::mutex> lock(mutex);
        for (;; condition.wait(lock))
        {
            for (unsigned int index = 0; index < flags.size(); ++index)
            {
                if (flags[index])
                    return index;
            }
        }
    }
    std::mutex mutex;
    std::condition_variable condition;
    std::vector<char> flags;
};

struct GlibCondition
{
    explicit GlibCondition(unsigned int count) : flags(count)
    {
        g_mutex_init(&mutex);
        g_cond_init(&condition);
    }
    ~GlibCondition()
    {
        g_cond_clear(&condition);
        g_mutex_clear(&mutex);
    }
    void set(unsigned int index)
    {
        g_mutex_lock(&mutex);
        flags[index] = true;
        g_cond_broadcast(&condition);
        g_mutex_unlock(&mutex);
    }
    void reset(unsigned int index)
    {
        g_mutex_lock(&mutex);
        flags[index] = false;
        g_mutex_unlock(&mutex);
    }
    bool is_set(unsigned int index)
    {
        g_mutex_lock(&mutex);
        bool const result = flags[index];
        g_mutex_unlock(&mutex);
        return result;
    }
    unsigned int wait()
    {
        g_mutex_lock(&mutex);
        for (;; g_cond_wait(&condition, &mutex))
        {
            for (unsigned int index = 0; index < flags.size(); ++index)
            {
                if (flags[index])
                {
                    g_mutex_unlock(&mutex);
                    return index;
                }
            }
        }
    }
    GMutex mutex;
    GCond condition;
    std::vector<char> flags;
};

struct EventDescriptor
{
    explicit EventDescriptor(unsigned int count)
    {
        for (unsigned int index = 0; index < count; ++index)
            descriptors.push_back({eventfd(0, EFD_NONBLOCK), POLLIN, 0});
    }
    ~EventDescriptor()
    {
        for (pollfd const& descriptor : descriptors)
            close(descriptor.fd);
    }
    void set(unsigned int index) { benchmark::DoNotOptimize(eventfd_write(descriptors[index].fd, 1)); }
    void reset(unsigned int index)
    {
        eventfd_t value = 0;
        benchmark::DoNotOptimize(eventfd_read(descriptors[index].fd, &value));
    }
    bool is_set(unsigned int) { return poll(descriptors.data(), descriptors.size(), 0) > 0; }
    unsigned int wait()
    {
        poll(descriptors.data(), descriptors.size(), -1);
        for (unsigned int index = 0; index < descriptors.size(); ++index)
        {
            if (descriptors[index].revents != 0)
                return index;
        }
        return 0;
    }
    std::vector<pollfd> descriptors;
};

// The standard library and the system take cheaper, unlocked steps in a process that has never had a second thread.
[[maybe_unused]] bool const multi_threaded = []
{
    std::thread([] {}).join();
    return true;
}();

template <class Kind>
void wait_on_signaled(benchmark::State& state)
{
    Kind kind(1);
    kind.set(0);
    for (auto _ : state)
        benchmark::DoNotOptimize(kind.wait());
}

template <class Kind>
void look_at_unsignaled(benchmark::State& state)
{
    Kind kind(1);
    for (auto _ : state)
        benchmark::DoNotOptimize(kind.is_set(0));
}

template <class Kind>
void reset_unsignaled(benchmark::State& state)
{
    Kind kind(1);
    for (auto _ : state)
    {
        kind.reset(0);
        benchmark::ClobberMemory();
    }
}

template <class Kind>
void set_and_reset(benchmark::State& state)
{
    Kind kind(1);
    for (auto _ : state)
    {
        kind.set(0);
        benchmark::ClobberMemory();
        kind.reset(0);
    }
}

// The last of eight is signalled.
template <class Kind>
void wait_on_8_with_one_signaled(benchmark::State& state)
{
    Kind kind(set_size);
    kind.set(set_size - 1);
    for (auto _ : state)
        benchmark::DoNotOptimize(kind.wait());
}

// A signal to another thread and its answer: two signals, two wake-ups. The other thread waits for one of `count`, each
// in its turn; the last ends it.
template <class Kind, class Back>
void round_trip(benchmark::State& state, unsigned int count)
{
    Kind there(count + 1);
    Back back(1);
    std::thread other(
        [&]
        {
            for (;;)
            {
                unsigned int const index = there.wait();
                if (index == count)
                    return;
                there.reset(index);
                back.set(0);
            }
        });
    unsigned int next = 0;
    for (auto _ : state)
    {
        there.set(next);
        back.wait();
        back.reset(0);
        next = (next + 1) % count;
    }
    there.set(count);
    other.join();
}

template <class Kind>
void round_trip_of_signals(benchmark::State& state)
{
    round_trip<Kind, Kind>(state, 1);
}

// One event is not a set: the end is told by a word.
template <>
void round_trip_of_signals<Event>(benchmark::State& state)
{
    Event there(1);
    Event back(1);
    bool ends = false;
    std::thread other(
        [&]
        {
            for (;;)
            {
                there.wait();
                if (ends)
                    return;
                there.reset(0);
                back.set(0);
            }
        });
    for (auto _ : state)
    {
        there.set(0);
        back.wait();
        back.reset(0);
    }
    ends = true;
    there.set(0);
    other.join();
}

template <class Kind, class Back = Kind>
void round_trip_through_a_set_of_8(benchmark::State& state)
{
    round_trip<Kind, Back>(state, set_size);
}

BENCHMARK_TEMPLATE(wait_on_signaled, Event);
BENCHMARK_TEMPLATE(wait_on_signaled, StdCondition);
BENCHMARK_TEMPLATE(wait_on_signaled, GlibCondition);
BENCHMARK_TEMPLATE(wait_on_signaled, EventDescriptor);

BENCHMARK_TEMPLATE(look_at_unsignaled, Event);
BENCHMARK_TEMPLATE(look_at_unsignaled, StdCondition);
BENCHMARK_TEMPLATE(look_at_unsignaled, GlibCondition);
BENCHMARK_TEMPLATE(look_at_unsignaled, EventDescriptor);

BENCHMARK_TEMPLATE(reset_unsignaled, Event);
BENCHMARK_TEMPLATE(reset_unsignaled, StdCondition);
BENCHMARK_TEMPLATE(reset_unsignaled, GlibCondition);
BENCHMARK_TEMPLATE(reset_unsignaled, EventDescriptor);

BENCHMARK_TEMPLATE(set_and_reset, Event);
BENCHMARK_TEMPLATE(set_and_reset, StdCondition);
BENCHMARK_TEMPLATE(set_and_reset, GlibCondition);
BENCHMARK_TEMPLATE(set_and_reset, EventDescriptor);

BENCHMARK_TEMPLATE(wait_on_8_with_one_signaled, MultipleEvent);
BENCHMARK_TEMPLATE(wait_on_8_with_one_signaled, StdCondition);
BENCHMARK_TEMPLATE(wait_on_8_with_one_signaled, GlibCondition);
BENCHMARK_TEMPLATE(wait_on_8_with_one_signaled, EventDescriptor);

BENCHMARK_TEMPLATE(round_trip_of_signals, Event)->UseRealTime();
BENCHMARK_TEMPLATE(round_trip_of_signals, StdCondition)->UseRealTime();
BENCHMARK_TEMPLATE(round_trip_of_signals, GlibCondition)->UseRealTime();
BENCHMARK_TEMPLATE(round_trip_of_signals, EventDescriptor)->UseRealTime();

BENCHMARK_TEMPLATE(round_trip_through_a_set_of_8, MultipleEvent, Event)->UseRealTime();
BENCHMARK_TEMPLATE(round_trip_through_a_set_of_8, StdCondition)->UseRealTime();
BENCHMARK_TEMPLATE(round_trip_through_a_set_of_8, GlibCondition)->UseRealTime();
BENCHMARK_TEMPLATE(round_trip_through_a_set_of_8, EventDescriptor)->UseRealTime();

} // namespace
