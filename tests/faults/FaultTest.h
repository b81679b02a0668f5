/// @file
/// Tests that make every allocation of a public operation fail, one after the other.
///
/// Each test names the operations that it covers as public_operations.txt lists them; operations_test.cpp compares.
///
/// A test has the form
///
///     FAULT_TEST(Handles, AClone, "Buffers::CPObjectMemory::clone()")
///     {
///         faults::fail_each_allocation(
///             [](unsigned long nth)
///             {
///                 ... set_up, with faults::Undisturbed const pause; around it
///                 int const result = handle.clone();        // its allocations count, and one of them fails
///                 faults::Undisturbed const pause;
///                 ... what is left behind, and that the operation succeeds now
///             });
///     }
#pragma once

#include "support/AllocationFailure.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <set>
#include <string>

namespace faults
{

/// The operations that the tests of this program cover, by their names in public_operations.txt.
inline std::set<std::string>& covered_operations()
{
    static std::set<std::string> operations;
    return operations;
}

/// Notes operations as covered; FAULT_TEST makes one for each test.
struct Coverage
{
    Coverage(std::initializer_list<char const*> operations)
    {
        for (char const* operation : operations)
            covered_operations().insert(operation);
    }
};

/// The allocations that the tests of this program have made to fail so far; written when the program ends.
inline unsigned long& failed_allocations()
{
    static unsigned long count = 0;
    return count;
}

/// While it lives, the allocations of this thread neither count nor fail: around the set-up and the checks of a test.
using Undisturbed = support::AllocationPause;

/// While it lives, `new` counts and fails on this thread as `malloc` does, with `std::bad_alloc`: around a call of the
/// library that reaches the threads' library, and around nothing else, since GoogleTest and containers use `new` too.
class NewFails
{
public:
    NewFails();
    ~NewFails();
    NewFails(NewFails const&) = delete;
    NewFails& operator=(NewFails const&) = delete;

    /// Whether one lives on this thread.
    static bool here();
};

/// Whether the allocations after the nth fail too in the run under way.
inline bool& all_after_fail()
{
    static bool value = false;
    return value;
}

/// Calls `operation(nth)` with the nth allocation of this thread failing, for nth = 1, 2, ... until none is left to fail:
/// first with that one alone failing, then with all after it too. `operation` sets up, runs what is tested, and checks
/// what is left behind; `nth` is 0 in a first run without a failure. In the last run of each kind, nth is one more than
/// the allocations made, and nothing fails either. Gives the allocations made without a failure.
template <class Operation>
unsigned long fail_each_allocation(Operation operation)
{
    auto const traced = [&operation](unsigned long nth)
    {
        SCOPED_TRACE(nth);
        operation(nth);
    };
    unsigned long allocations = 0;
    {
        support::AllocationFailure const counting(0);
        traced(0UL);
        allocations = counting.attempts();
    }
    EXPECT_GT(allocations, 0UL) << "nothing was allocated";
    for (auto const duration : {support::AllocationFailure::once, support::AllocationFailure::forever})
    {
        all_after_fail() = duration == support::AllocationFailure::forever;
        unsigned long failures = 1;
        for (unsigned long nth = 1; failures != 0; ++nth)
        {
            support::AllocationFailure const failure(nth, duration);
            traced(nth);
            failures = failure.failures();
            failed_allocations() += failures;
        }
    }
    all_after_fail() = false;
    return allocations;
}

/// Whether something fails in the nth run of an operation that makes so many allocations undisturbed.
constexpr bool fails(unsigned long nth, unsigned long allocations = 1)
{
    return nth >= 1 && nth <= allocations;
}

/// A test in which nothing may be reported: memory that runs out is told by results alone.
class Silent : public testing::Test
{
protected:
    void TearDown() override { EXPECT_EQ(recorder.take(), support::LogMessages()) << "a report that is not stated"; }

    support::LogRecorder recorder;
};

} // namespace faults

/// A test of what the operations named behind its name do when memory runs out.
#define FAULT_TEST(suite, name, ...)                                                                                   \
    static faults::Coverage const suite##_##name##_coverage{__VA_ARGS__};                                              \
    TEST(suite, name)

/// The same with a fixture.
#define FAULT_TEST_F(fixture, name, ...)                                                                               \
    static faults::Coverage const fixture##_##name##_coverage{__VA_ARGS__};                                            \
    TEST_F(fixture, name)
