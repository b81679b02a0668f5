#include "ORVA/Threading/CriticalSection.h"
#include "ORVA/Threading/Mutex.h"

#include "threading/locks_threads.h"

#include <gtest/gtest.h>

#include <type_traits>

// What mutex and critical section do alike, and where they differ: what the holder may do.
namespace
{

using namespace ORVA::Threading;
using namespace locks;

static_assert(sizeof(_cMutex) == sizeof(boost::timed_mutex), "the mutex is a Boost lock and nothing else");
static_assert(sizeof(_cCriticalSection) == sizeof(boost::recursive_timed_mutex));
static_assert(std::is_same_v<decltype(std::declval<_cMutex&>().TryEnter(0U)), bool>);
static_assert(std::is_same_v<decltype(std::declval<_cCriticalSection&>().TryEnter(0U)), bool>);
static_assert(std::is_same_v<decltype(std::declval<CPMutex&>().TryEnter(0U)), bool>);
static_assert(std::is_same_v<decltype(std::declval<CPCriticalSection&>().TryEnter(0U)), bool>);

template <class Lock>
class ExclusiveLock : public testing::Test
{
};

using Locks = testing::Types<_cMutex, _cCriticalSection, CPMutex, CPCriticalSection>;
TYPED_TEST_SUITE(ExclusiveLock, Locks, LockNames);

TYPED_TEST(ExclusiveLock, enter_holds_and_leave_frees)
{
    TypeParam lock;
    EXPECT_TRUE(is_free(lock));
    for (int round = 0; round < 3; ++round)
    {
        lock.Enter();
        EXPECT_FALSE(is_free(lock));
        lock.Leave();
        EXPECT_TRUE(is_free(lock));
    }
}

TYPED_TEST(ExclusiveLock, try_enter_holds_as_enter_does)
{
    TypeParam lock;
    for (unsigned int const timeout : {0U, 1U, 0xFFFFFFFEU, no_limit})
    {
        EXPECT_TRUE(lock.TryEnter(timeout));
        EXPECT_FALSE(is_free(lock));
        lock.Leave();
        EXPECT_TRUE(is_free(lock));
    }
}

TYPED_TEST(ExclusiveLock, an_attempt_that_runs_out_changes_nothing)
{
    TypeParam lock;
    lock.Enter();
    EXPECT_FALSE(on_another_thread([&] { return lock.TryEnter(1); }));
    EXPECT_FALSE(is_free(lock));
    lock.Leave();
    EXPECT_TRUE(is_free(lock));
}

template <class Lock>
class MutexHolder : public testing::Test
{
};

using Mutexes = testing::Types<_cMutex, CPMutex>;
TYPED_TEST_SUITE(MutexHolder, Mutexes, LockNames);

TYPED_TEST(MutexHolder, is_not_recognised)
{
    TypeParam mutex;
    mutex.Enter();
    EXPECT_FALSE(mutex.TryEnter(0));
    EXPECT_FALSE(mutex.TryEnter(5));
    EXPECT_FALSE(is_free(mutex));
    mutex.Leave();
    EXPECT_TRUE(is_free(mutex)) << "the refused attempts counted for nothing";
}

template <class Lock>
class CriticalSectionHolder : public testing::Test
{
};

using CriticalSections = testing::Types<_cCriticalSection, CPCriticalSection>;
TYPED_TEST_SUITE(CriticalSectionHolder, CriticalSections, LockNames);

TYPED_TEST(CriticalSectionHolder, enters_twice_and_leaves_twice)
{
    TypeParam section;
    section.Enter();
    section.Enter();
    section.Leave();
    EXPECT_FALSE(is_free(section));
    section.Leave();
    EXPECT_TRUE(is_free(section));
}

TYPED_TEST(CriticalSectionHolder, succeeds_with_every_timeout_and_leaves_as_many_times)
{
    TypeParam section;
    section.Enter();
    unsigned int const timeouts[] = {0, 1, 0xFFFFFFFE, no_limit};
    for (unsigned int const timeout : timeouts)
        EXPECT_TRUE(section.TryEnter(timeout)) << timeout;
    for (unsigned int const timeout : timeouts)
    {
        EXPECT_FALSE(is_free(section)) << timeout;
        section.Leave();
    }
    EXPECT_FALSE(is_free(section));
    section.Leave();
    EXPECT_TRUE(is_free(section));
}

} // namespace
