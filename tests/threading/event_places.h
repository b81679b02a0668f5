/// @file
/// Places in the queue of an event: timed waiters with others behind them, and places without a thread.
#pragma once

#include "threading/event_threads.h"
#include "threading/event_waiter.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <thread>

namespace events
{

/// An event on its own, without a handle.
struct Event final : _cEvent
{
    explicit Event(eEventState state) { initState(state); }
};

inline std::unique_ptr<Event> make_event(_cEvent::eEventState state)
{
    return std::make_unique<Event>(state);
}

/// The record behind a place in the queue; the lock is held.
inline tagEVENTWAITER& record_at(_cEvent& event, unsigned long index)
{
    return *reinterpret_cast<tagEVENTWAITER*>(Look::waiters(event)[index]);
}

/// Lets `milliseconds` go by for others: no result depends on it.
inline void leave_time(unsigned int milliseconds)
{
    auto const end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (std::chrono::steady_clock::now() < end)
        std::this_thread::yield();
}

/// A place in a queue that no thread stands behind. It has to outlive the event.
struct Stand
{
    tagEVENTWAITER record;

    /// Takes the last place, the lock held.
    void join(_cEvent& event)
    {
        record.gate.Enter();
        auto& list = Look::waiters(event);
        ASSERT_EQ(list.Insert(reinterpret_cast<_cEvent*>(&record), list.GetCount()), 1);
    }
    /// Whether it has been released; only to be asked once.
    bool is_released() { return record.gate.TryEnter(0); }
    long result() const { return static_cast<long>(record.result); }
};

/// A thread in a timed wait, behind which `join` is called while the thread has its place and the lock is held. The
/// time is made longer until that works out.
template <class Join>
Background<> timed_waiter_with_others_behind(_cEvent& event, Join join)
{
    unsigned long const before = queued(event);
    for (unsigned int timeout = 10;; timeout *= 2)
    {
        Background<> waiter([&event, timeout] { return event.Wait(timeout); });
        bool joined = false;
        until(
            [&]
            {
                if (waiter.has_ended())
                    return true;
                std::lock_guard<boost::mutex> const lock(Look::lock(event));
                joined = Look::waiters(event).GetCount() == before + 1;
                if (joined)
                    join();
                return joined;
            },
            "a timed waiter to join the queue");
        if (joined)
            return waiter;
    }
}

} // namespace events
