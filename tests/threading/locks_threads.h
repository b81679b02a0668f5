/// @file
/// Other threads for the tests of locks, and a look into an interlock.
#pragma once

#include "ORVA/Threading/Locks.h"

#include <chrono>
#include <cstring>
#include <future>
#include <string>
#include <type_traits>

namespace locks
{

constexpr unsigned int no_limit = 0xFFFFFFFFU;
/// Far longer than any wait that is to succeed, and still an end for one that does not.
constexpr unsigned int plenty = 30000;

/// The result of `operation` in a thread of its own, which has ended on return.
template <class Operation>
auto on_another_thread(Operation operation)
{
    return std::async(std::launch::async, operation).get();
}

/// Whether another thread gets the lock at once; it leaves again.
template <class Lock>
bool is_free(Lock& lock)
{
    return on_another_thread(
        [&lock]
        {
            bool const entered = lock.TryEnter(0);
            if (entered)
                lock.Leave();
            return entered;
        });
}

/// A thread that runs an operation which is expected to block.
template <class Result>
class Waiter
{
public:
    template <class Operation>
    explicit Waiter(Operation operation)
    {
        std::promise<void> started;
        std::future<void> const running = started.get_future();
        m_result = std::async(std::launch::async,
                              [operation, &started]
                              {
                                  started.set_value();
                                  return operation();
                              });
        running.wait();
    }

    /// False if the operation has returned within a moment, as one that does not block would.
    bool is_blocked() { return m_result.wait_for(std::chrono::milliseconds(20)) == std::future_status::timeout; }

    Result result() { return m_result.get(); }

private:
    std::future<Result> m_result;
};

/// The fields behind the shared lock of a `_cRWInterlock`, read where they are laid out.
struct Tracking
{
    unsigned long writer;
    unsigned int nested;

    bool operator==(Tracking const& other) const { return writer == other.writer && nested == other.nested; }
};

inline Tracking tracking_of(void const* interlock)
{
    Tracking tracking = {};
    auto const* const fields = static_cast<unsigned char const*>(interlock) + sizeof(boost::shared_mutex);
    std::memcpy(&tracking.writer, fields, sizeof(tracking.writer));
    std::memcpy(&tracking.nested, fields + sizeof(tracking.writer), sizeof(tracking.nested));
    return tracking;
}

/// The names of the lock classes, for typed tests.
struct LockNames
{
    template <class Lock>
    static std::string GetName(int)
    {
        using namespace ORVA::Threading;
        if (std::is_same_v<Lock, CPMutex>)
            return "CPMutex";
        if (std::is_same_v<Lock, CPCriticalSection>)
            return "CPCriticalSection";
        if (std::is_same_v<Lock, CPRWInterlock>)
            return "CPRWInterlock";
        if (std::is_same_v<Lock, _cMutex>)
            return "_cMutex";
        return std::is_same_v<Lock, _cCriticalSection> ? "_cCriticalSection" : "_cRWInterlock";
    }
};

} // namespace locks
