/// @file
/// A thread's place in the queue of an event, on its stack for the length of one wait.
#pragma once

#include "ORVA/Threading/Mutex.h"

#include <atomic>

// One thread locks a gate and another one opens it. That is allowed as long as the Boost class is a flag under a mutex
// and a condition, and not a mutex of the system. This macro is by what Boost chooses between the two.
#ifdef BOOST_THREAD_USES_PTHREAD_TIMEDLOCK
#error                                                                                                                 \
    "boost::timed_mutex is a mutex of the system here, which only its holder may unlock: the gate needs another class"
#endif

namespace ORVA::Threading
{

struct tagEVENTWAITER
{
    _cMutex gate; ///< locked by the waiter when it joins, opened by whoever releases a waiter that stands there
    unsigned long result = 0; ///< what the wait gives, valid when the waiter is released

    /// True for the first who asks, and only for that one. Whoever releases the waiter asks before it touches anything
    /// here, and the waiter itself before it goes for the event's lock when its time is over.
    bool decide() noexcept { return !m_decided.exchange(true, std::memory_order_acq_rel); }

    /// @name Looking out
    /// A waiter that looks out for its release leaves the gate alone until it stops. The two exchanges decide who comes
    /// first: a release finds the waiter looking, and then this is the last that it does here, or it opens the gate.
    /// @{
    /// Before the waiter joins. Without it the waiter stands at the gate.
    void look_out() noexcept { m_place.store(looks_out, std::memory_order_relaxed); }
    bool is_released() const noexcept { return m_place.load(std::memory_order_acquire) == released; }
    /// False if the waiter has been released instead.
    bool go_to_the_gate() noexcept
    {
        Place expected = looks_out;
        return m_place.compare_exchange_strong(expected, at_the_gate, std::memory_order_acq_rel);
    }
    /// For the one who has decided and has written the result; the waiter may be gone when this returns.
    void release()
    {
        if (m_place.exchange(released, std::memory_order_acq_rel) == at_the_gate)
            gate.Leave();
    }
    /// @}

    tagEVENTWAITER* next_stray = nullptr; ///< guarded by the event's lock

private:
    enum Place : unsigned char
    {
        at_the_gate,
        looks_out,
        released
    };

    std::atomic<bool> m_decided{false};
    std::atomic<Place> m_place{at_the_gate};
};

} // namespace ORVA::Threading
