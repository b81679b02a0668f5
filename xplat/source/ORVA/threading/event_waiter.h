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
    _cMutex gate;             ///< locked by the waiter when it joins, opened by whoever releases it
    unsigned long result = 0; ///< what the wait gives, valid when the gate is open

    /// True for the first who asks, and only for that one. Whoever releases the waiter asks before it touches anything
    /// here, and the waiter itself before it goes for the event's lock when its time is over.
    bool decide() noexcept { return !m_decided.exchange(true, std::memory_order_acq_rel); }

    tagEVENTWAITER* next_stray = nullptr; ///< guarded by the event's lock

private:
    std::atomic<bool> m_decided{false};
};

} // namespace ORVA::Threading
