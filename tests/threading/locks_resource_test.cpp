#include "ORVA/Threading/Event.h"
#include "ORVA/Threading/Locks.h"
#include "ORVA/Threading/MultipleEvent.h"

#include "support/LogRecorder.h"
#include "threading/locks_threads.h"

#include <boost/thread/exceptions.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <pthread.h>

#include <cerrno>
#include <string>
#include <vector>

// A system that runs out of mutexes and conditions. The four functions below stand in front of the system's own in the
// whole test program; they are the same unless a test of this file has asked for a failure in its own thread.
namespace
{

struct Primitives
{
    unsigned int fails_at = 0; ///< 1 is the next one; 0 never
    unsigned int tried = 0;
    unsigned int made = 0;
    unsigned int destroyed = 0;
};

thread_local Primitives primitives;

bool is_to_fail()
{
    bool const fails = ++primitives.tried == primitives.fails_at;
    if (!fails)
        ++primitives.made;
    return fails;
}

template <class Function>
Function* system_function(char const* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" int pthread_mutex_init(pthread_mutex_t* mutex, pthread_mutexattr_t const* attributes) noexcept
{
    static auto* const next = system_function<int(pthread_mutex_t*, pthread_mutexattr_t const*)>("pthread_mutex_init");
    return is_to_fail() ? EAGAIN : next(mutex, attributes);
}

extern "C" int pthread_cond_init(pthread_cond_t* condition, pthread_condattr_t const* attributes) noexcept
{
    static auto* const next = system_function<int(pthread_cond_t*, pthread_condattr_t const*)>("pthread_cond_init");
    return is_to_fail() ? EAGAIN : next(condition, attributes);
}

extern "C" int pthread_mutex_destroy(pthread_mutex_t* mutex) noexcept
{
    static auto* const next = system_function<int(pthread_mutex_t*)>("pthread_mutex_destroy");
    ++primitives.destroyed;
    return next(mutex);
}

extern "C" int pthread_cond_destroy(pthread_cond_t* condition) noexcept
{
    static auto* const next = system_function<int(pthread_cond_t*)>("pthread_cond_destroy");
    ++primitives.destroyed;
    return next(condition);
}

namespace
{

using namespace ORVA::Threading;
using locks::LockNames;

// Makes a `Lock` with the n-th primitive failing, for all n that there are, and gives the messages of what was thrown.
template <class Lock>
std::vector<std::string> messages_of_failures()
{
    std::vector<std::string> messages;
    for (unsigned int nth = 1; nth <= 100; ++nth)
    {
        primitives = {nth, 0, 0, 0};
        try
        {
            Lock const lock;
            primitives.fails_at = 0;
            break;
        }
        catch (boost::thread_resource_error const& error)
        {
            primitives.fails_at = 0;
            messages.emplace_back(error.what());
        }
        EXPECT_EQ(primitives.tried, nth);
        EXPECT_EQ(primitives.destroyed, primitives.made)
            << "what was made is destroyed, and what was not is left alone, nth " << nth;
    }
    EXPECT_EQ(primitives.destroyed, primitives.made);
    return messages;
}

using testing::ElementsAre;
using testing::HasSubstr;

template <class Lock>
class LockWithoutResources : public testing::Test
{
};

using Locks = testing::Types<_cMutex, CPMutex, _cCriticalSection, CPCriticalSection, _cRWInterlock, CPRWInterlock>;
TYPED_TEST_SUITE(LockWithoutResources, Locks, LockNames);

// That the handle's block is given back too is for a leak checker to see.
TYPED_TEST(LockWithoutResources, passes_the_exception_and_logs_nothing)
{
    support::LogRecorder recorder;
    EXPECT_GT(messages_of_failures<TypeParam>().size(), 0U);
    EXPECT_EQ(recorder.count(), 0U);
    TypeParam const works_again;
}

TEST(LockWithoutResourcesMessages, of_the_mutex)
{
    auto const expected = ElementsAre(HasSubstr("boost:: timed_mutex constructor failed in pthread_mutex_init"),
                                      HasSubstr("boost:: timed_mutex constructor failed in pthread_cond_init"));
    EXPECT_THAT(messages_of_failures<_cMutex>(), expected);
    EXPECT_THAT(messages_of_failures<CPMutex>(), expected);
}

TEST(LockWithoutResourcesMessages, of_the_critical_section)
{
    auto const expected =
        ElementsAre(HasSubstr("boost:: recursive_timed_mutex constructor failed in pthread_mutex_init"),
                    HasSubstr("boost:: recursive_timed_mutex constructor failed in pthread_cond_init"));
    EXPECT_THAT(messages_of_failures<_cCriticalSection>(), expected);
    EXPECT_THAT(messages_of_failures<CPCriticalSection>(), expected);
}

TEST(LockWithoutResourcesMessages, of_the_interlock_are_those_of_the_shared_lock)
{
    std::vector<std::string> const expected = messages_of_failures<boost::shared_mutex>();
    EXPECT_GT(expected.size(), 1U);
    EXPECT_EQ(messages_of_failures<_cRWInterlock>(), expected);
    EXPECT_EQ(messages_of_failures<CPRWInterlock>(), expected);
}

/// Handles without a default constructor, made with `argument`.
template <class Handle, bool argument>
struct Made : Handle
{
    Made() : Handle(argument) {}
};

TEST(LockWithoutResourcesMessages, of_the_event)
{
    support::LogRecorder recorder;
    auto const expected = ElementsAre(HasSubstr("boost:: mutex constructor failed in pthread_mutex_init"));
    EXPECT_THAT(messages_of_failures<_cEvent>(), expected);
    EXPECT_THAT(messages_of_failures<_cMultipleEvent>(), expected);
    EXPECT_THAT((messages_of_failures<Made<CPEvent, true>>()), expected);
    EXPECT_THAT((messages_of_failures<Made<CPEvent, false>>()), expected);
    EXPECT_THAT((messages_of_failures<Made<CPMultipleEvent, false>>()), expected);
    EXPECT_EQ(recorder.count(), 0U);
}

} // namespace
