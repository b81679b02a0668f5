#include "ORVA/Threading/Locks.h"

#include "races/together.h"
#include "threading/locks_threads.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

// What the locks order beside their exclusion: copies of handles and the end of a lock; both layers of each of them.
namespace
{

using namespace ORVA::Threading;
using locks::LockNames;
using locks::no_limit;
using locks::plenty;
using races::Faults;
using races::faults_of;
using races::mix;

constexpr unsigned int threads = 4;

// The write lock of the plain interlock has names of its own.
template <class Lock>
void enter(Lock& lock)
{
    if constexpr (std::is_same_v<Lock, _cRWInterlock>)
        lock.EnterWrite();
    else
        lock.Enter();
}

template <class Lock>
bool try_enter(Lock& lock, unsigned int milliseconds)
{
    if constexpr (std::is_same_v<Lock, _cRWInterlock>)
        return lock.TryEnterWrite(milliseconds);
    else
        return lock.TryEnter(milliseconds);
}

template <class Lock>
void leave(Lock& lock)
{
    if constexpr (std::is_same_v<Lock, _cRWInterlock>)
        lock.LeaveWrite();
    else
        lock.Leave();
}

template <class Lock>
class AnyLockRaces : public testing::Test
{
};

using AllLocks = testing::Types<CPMutex, CPCriticalSection, CPRWInterlock, _cMutex, _cCriticalSection, _cRWInterlock>;
TYPED_TEST_SUITE(AnyLockRaces, AllLocks, LockNames);

TYPED_TEST(AnyLockRaces, plain_words_are_safe_between_enter_and_leave)
{
    constexpr unsigned int rounds = 3000;
    TypeParam lock;
    unsigned int counter = 0;
    EXPECT_EQ(faults_of(threads,
                        [&](unsigned int index)
                        {
                            Faults faults;
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                switch ((index + round) % 4)
                                {
                                case 0:
                                    enter(lock);
                                    break;
                                case 1:
                                    faults.expect(try_enter(lock, no_limit));
                                    break;
                                case 2:
                                    faults.expect(try_enter(lock, plenty));
                                    break;
                                default:
                                    while (!try_enter(lock, 0))
                                        std::this_thread::yield();
                                }
                                unsigned int const seen = counter;
                                mix(round);
                                counter = seen + 1;
                                leave(lock);
                            }
                            return faults;
                        }),
              0U);
    EXPECT_EQ(counter, threads * rounds);
}

template <class Lock>
class LockHandleRaces : public testing::Test
{
};

using AllHandles = testing::Types<CPMutex, CPCriticalSection, CPRWInterlock>;
TYPED_TEST_SUITE(LockHandleRaces, AllHandles, LockNames);

// Who leaves the lock lets go of it, and the last one destroys it, while the others have hardly left.
TYPED_TEST(LockHandleRaces, lock_goes_with_its_last_handle)
{
    constexpr unsigned int rounds = 500;
    std::vector<std::vector<TypeParam>> handles(threads);
    std::vector<unsigned int> counters(rounds, 0);
    for (unsigned int round = 0; round < rounds; ++round)
    {
        TypeParam const lock;
        for (auto& own : handles)
            own.push_back(lock);
    }
    EXPECT_EQ(faults_of(threads,
                        [&](unsigned int index)
                        {
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                TypeParam& lock = handles[index][round];
                                lock.Enter();
                                unsigned int const seen = counters[round];
                                mix(round);
                                counters[round] = seen + 1;
                                lock.Leave();
                                lock.free();
                            }
                            return 0U;
                        }),
              0U);
    for (unsigned int const counter : counters)
        ASSERT_EQ(counter, threads);
}

TYPED_TEST(LockHandleRaces, handles_are_copied_and_freed_beside_entries)
{
    constexpr unsigned int rounds = 1500;
    TypeParam const lock;
    unsigned int counter = 0;
    EXPECT_EQ(faults_of(threads,
                        [&](unsigned int)
                        {
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                TypeParam own = lock;
                                own.Enter();
                                TypeParam second(own);
                                own.free();
                                unsigned int const seen = counter;
                                mix(round);
                                counter = seen + 1;
                                second.Leave();
                            }
                            return 0U;
                        }),
              0U);
    EXPECT_EQ(counter, threads * rounds);
    EXPECT_EQ(lock.lockcnt(), 1U);
}

// Readers see what the writer before them has written, however they came in; a writer may read and write again.
TEST(InterlockRaces, timed_readers_and_writers_that_nest_see_whole_changes)
{
    constexpr unsigned int rounds = 1500;
    CPRWInterlock const interlock;
    unsigned int words[8] = {};
    EXPECT_EQ(faults_of(threads,
                        [&](unsigned int index)
                        {
                            Faults faults;
                            CPRWInterlock own = interlock;
                            auto const check = [&]
                            {
                                for (unsigned int const word : words)
                                    faults.expect(word == words[0]);
                            };
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                if ((index + round) % 4 == 0)
                                {
                                    while (!own.TryEnter(round % 3))
                                        std::this_thread::yield();
                                    own.EnterRead();
                                    check();
                                    own.Enter();
                                    for (unsigned int& word : words)
                                    {
                                        ++word;
                                        mix(round / 4);
                                    }
                                    own.Leave();
                                    own.LeaveRead();
                                    own.Leave();
                                }
                                else if (own.TryEnterRead(round % 3))
                                {
                                    check();
                                    own.LeaveRead();
                                }
                            }
                            return faults;
                        }),
              0U);
    EXPECT_EQ(words[0], threads * rounds / 4);
    EXPECT_TRUE(locks::tracking_of(interlock.get_cptr()) == (locks::Tracking{0, 0}));
}

} // namespace
