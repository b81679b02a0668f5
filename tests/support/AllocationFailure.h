/// @file
/// Makes allocations of the code under test fail.
///
/// Link a test that uses this with `-Wl,--wrap=malloc -Wl,--wrap=realloc` against the library's objects (not against
/// the shared library, whose calls are not redirected). Only the thread that made the scope is concerned, and only
/// `malloc` and `realloc`: `new`, and with it GoogleTest and the standard containers, goes on working.
#pragma once

#include <functional>

namespace support
{

/// While it lives, the n-th allocation of this thread fails. Scopes do not nest.
class AllocationFailure
{
public:
    enum Duration
    {
        once,   ///< only the n-th fails
        forever ///< the n-th and all after it fail
    };

    /// Lets the `nth` allocation from now on fail, 1 being the next. 0 lets none fail, and only counts.
    explicit AllocationFailure(unsigned long nth, Duration duration = once);
    /// Lets those fail for which `choice` is true: it is asked about each, with the size in bytes.
    explicit AllocationFailure(std::function<bool(unsigned long)> choice);
    ~AllocationFailure();
    AllocationFailure(AllocationFailure const&) = delete;
    AllocationFailure& operator=(AllocationFailure const&) = delete;

    /// The allocations that were tried, failed ones included.
    unsigned long attempts() const;
    /// The allocations that were made to fail.
    unsigned long failures() const;
    /// The size in bytes that the last allocation asked for.
    unsigned long last_size() const;

private:
    std::function<bool(unsigned long)> m_choice;
};

/// While it lives, the scope of this thread neither counts allocations nor lets them fail: for what a test sets up and
/// looks at. Pauses nest; each ends before the scope does.
class AllocationPause
{
public:
    AllocationPause();
    ~AllocationPause();
    AllocationPause(AllocationPause const&) = delete;
    AllocationPause& operator=(AllocationPause const&) = delete;
};

/// Calls `operation(n)` with the n-th allocation failing, for n = 1, 2, ..., until it makes fewer than n allocations,
/// and gives the number of allocations that it makes undisturbed. `operation` is to check what is left behind.
template <class Operation>
unsigned long for_each_allocation(AllocationFailure::Duration duration, Operation operation)
{
    for (unsigned long nth = 1;; ++nth)
    {
        AllocationFailure const failure(nth, duration);
        operation(nth);
        if (failure.failures() == 0)
            return nth - 1;
    }
}

} // namespace support
