/// @file
/// Threads that wait on events, and a look into events.
#pragma once

#include "ORVA/Threading/Event.h"
#include "ORVA/Threading/MultipleEvent.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace events
{

using namespace ORVA::Threading;

constexpr unsigned int no_limit = 0xFFFFFFFFU;
/// Far longer than anything that is to happen takes, and still an end for what does not.
constexpr unsigned int plenty = 60000;

[[noreturn]] inline void give_up(char const* what)
{
    std::fprintf(stderr, "gave up waiting: %s\n", what);
    std::abort();
}

/// Lets other threads run until `condition` holds. The end of the program if it does not within a minute.
template <class Condition>
void until(Condition condition, char const* what = "a condition")
{
    auto const end = std::chrono::steady_clock::now() + std::chrono::milliseconds(plenty);
    while (!condition())
    {
        if (std::chrono::steady_clock::now() > end)
            give_up(what);
        std::this_thread::yield();
    }
}

/// An operation in a thread of its own. Its result has to come within a minute, or the program ends.
template <class Result = long>
class Background
{
public:
    template <class Operation>
    explicit Background(Operation operation)
    {
        std::packaged_task<Result()> task(std::move(operation));
        m_result = task.get_future();
        m_thread = std::thread(std::move(task));
    }
    Background(Background&&) = default;
    ~Background()
    {
        if (!m_thread.joinable())
            return;
        if (m_result.valid())
            wait();
        m_thread.join();
    }

    Result result()
    {
        wait();
        m_thread.join();
        return m_result.get();
    }
    bool has_ended() { return m_result.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }

private:
    void wait()
    {
        if (m_result.wait_for(std::chrono::milliseconds(plenty)) != std::future_status::ready)
            give_up("the result of a thread");
    }

    std::future<Result> m_result;
    std::thread m_thread;
};

/// `Wait` of something that is expected to answer; the end of the program if it does not.
template <class Waitable>
long wait(Waitable& waitable, unsigned int timeout)
{
    if (timeout != no_limit)
        return waitable.Wait(timeout);
    return Background<>([&waitable] { return waitable.Wait(no_limit); }).result();
}

/// The parts of an event. The list of waiters is to be looked at under the lock only.
struct Look : _cMultipleEvent
{
    static boost::mutex& lock(_cEvent& event) { return event.*(&Look::m_lock); }
    static unsigned long value(_cEvent& event) { return event.*(&Look::m_value); }
    static auto& waiters(_cEvent& event) { return event.*(&Look::m_waiters); }
    static auto& listeners(_cEvent& event) { return event.*(&Look::m_listeners); }
    static auto& attached(_cMultipleEvent& event) { return event.*(&Look::m_events); }
    static bool is_barrier(_cMultipleEvent& event) { return event.*(&Look::m_barrier); }
};

inline _cMultipleEvent& object(CPMultipleEvent const& handle)
{
    return *static_cast<_cMultipleEvent*>(handle.get_ptr());
}

/// The number of places in the queue of waiters.
inline unsigned long queued(_cEvent& event)
{
    std::lock_guard<boost::mutex> const lock(Look::lock(event));
    return Look::waiters(event).GetCount();
}

inline unsigned long queued(CPEvent const& event)
{
    return queued(*event.GetHandle());
}

/// `signal` as it is meant to be called.
inline bool signal(_cEvent& event, unsigned long value)
{
    std::lock_guard<boost::mutex> const lock(Look::lock(event));
    return event.signal(value);
}

/// A thread in `Wait`, which has its place in the queue when this returns.
inline Background<> queued_waiter(_cEvent& event, unsigned int timeout)
{
    unsigned long const before = queued(event);
    Background<> waiter([&event, timeout] { return event.Wait(timeout); });
    until([&] { return queued(event) == before + 1; }, "a waiter to join the queue");
    return waiter;
}

/// A listener that calls a function of the test.
struct Listener final : _cEvent
{
    explicit Listener(std::function<bool(_cEvent*)> function) : on_set(std::move(function)) {}
    bool Set(_cEvent* pSource) override { return on_set(pSource); }
    std::function<bool(_cEvent*)> on_set;
};

/// Makes the lock of an event one that refuses a holder who locks it again, and holds it. So every operation of this
/// thread that takes the lock fails.
class BrokenLock
{
public:
    explicit BrokenLock(_cEvent& event) : m_native(Look::lock(event).native_handle())
    {
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
        pthread_mutex_destroy(m_native);
        pthread_mutex_init(m_native, &attributes);
        pthread_mutexattr_destroy(&attributes);
        pthread_mutex_lock(m_native);
    }
    ~BrokenLock() { pthread_mutex_unlock(m_native); }
    BrokenLock(BrokenLock const&) = delete;
    BrokenLock& operator=(BrokenLock const&) = delete;

private:
    pthread_mutex_t* m_native;
};

/// Whether `operation` throws what a lock that fails throws.
template <class Operation>
bool fails_by_the_lock(Operation operation)
{
    try
    {
        operation();
        return false;
    }
    catch (boost::lock_error const& error)
    {
        return std::string(error.what()).find("boost: mutex lock failed in pthread_mutex_lock") == 0;
    }
}

/// Whether `operation` comes to its end while another thread holds the lock of `event`.
template <class Operation>
void run_with_the_lock_held(_cEvent& event, Operation operation)
{
    std::lock_guard<boost::mutex> const lock(Look::lock(event));
    Background<int>(
        [&operation]
        {
            operation();
            return 0;
        })
        .result();
}

} // namespace events
