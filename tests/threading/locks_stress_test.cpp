#include "ORVA/Threading/Locks.h"

#include "threading/locks_threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

// A fixed amount of work by several threads on plain words that only the lock protects.
namespace
{

using namespace ORVA::Threading;
using namespace locks;

constexpr unsigned int thread_count = 4;
constexpr unsigned int rounds = 9000;

// Each thread begins when all are there.
template <class Work>
void run_in_threads(Work work)
{
    std::atomic<unsigned int> arrived{0};
    std::vector<std::thread> threads;
    for (unsigned int index = 0; index < thread_count; ++index)
    {
        threads.emplace_back(
            [&arrived, &work, index]
            {
                ++arrived;
                while (arrived < thread_count)
                    std::this_thread::yield();
                work(index);
            });
    }
    for (std::thread& thread : threads)
        thread.join();
}

// Enters in one of the ways that must end with the lock held.
template <class Lock>
void enter_somehow(Lock& lock, unsigned int choice)
{
    switch (choice % 4)
    {
    case 0:
        lock.Enter();
        break;
    case 1:
        EXPECT_TRUE(lock.TryEnter(no_limit));
        break;
    case 2:
        EXPECT_TRUE(lock.TryEnter(plenty));
        break;
    default:
        while (!lock.TryEnter(0))
            std::this_thread::yield();
        break;
    }
}

TEST(LockStress, mutex_lets_one_thread_in_at_a_time)
{
    CPMutex const mutex;
    unsigned int counter = 0;
    run_in_threads(
        [&](unsigned int index)
        {
            CPMutex own = mutex;
            for (unsigned int round = 0; round < rounds; ++round)
            {
                enter_somehow(own, index + round);
                ++counter;
                own.Leave();
            }
        });
    EXPECT_EQ(counter, thread_count * rounds);
    EXPECT_EQ(mutex.lockcnt(), 1U);
}

TEST(LockStress, critical_section_lets_one_thread_in_at_a_time_and_in_again)
{
    CPCriticalSection const section;
    unsigned int counter = 0;
    run_in_threads(
        [&](unsigned int index)
        {
            CPCriticalSection own = section;
            for (unsigned int round = 0; round < rounds; ++round)
            {
                enter_somehow(own, index + round);
                ++counter;
                EXPECT_TRUE(own.TryEnter(0));
                own.Enter();
                own.Leave();
                ++counter;
                own.Leave();
                ++counter;
                own.Leave();
            }
        });
    EXPECT_EQ(counter, 3 * thread_count * rounds);
    EXPECT_EQ(section.lockcnt(), 1U);
}

// Two words that writers keep equal. A writer that lost its place in the tracking to another one would be refused its
// nested attempts.
TEST(LockStress, interlock_lets_one_writer_or_many_readers_in)
{
    CPRWInterlock const interlock;
    unsigned int first = 0;
    unsigned int second = 0;
    unsigned int written[thread_count] = {};
    run_in_threads(
        [&](unsigned int index)
        {
            CPRWInterlock own = interlock;
            for (unsigned int round = 0; round < rounds; ++round)
            {
                if ((index + round) % 3 == 0)
                {
                    enter_somehow(own, round / 3);
                    ++first;
                    EXPECT_TRUE(own.TryEnter(0));
                    EXPECT_TRUE(own.TryEnterRead(0));
                    EXPECT_EQ(first, second + 1);
                    own.LeaveRead();
                    own.Leave();
                    ++second;
                    ++written[index];
                    own.Leave();
                }
                else if (own.TryEnterRead(round % 2 == 0 ? no_limit : plenty))
                {
                    EXPECT_EQ(first, second);
                    own.LeaveRead();
                }
                else
                {
                    ADD_FAILURE() << "a reader was refused";
                }
            }
        });
    unsigned int total = 0;
    for (unsigned int const count : written)
        total += count;
    EXPECT_EQ(total, thread_count * rounds / 3);
    EXPECT_EQ(first, total);
    EXPECT_EQ(second, total);
    EXPECT_TRUE(tracking_of(interlock.get_cptr()) == (Tracking{0, 0}));
}

TEST(LockStress, short_timed_attempts_lose_no_entry)
{
    CPRWInterlock interlock;
    unsigned int counter = 0;
    unsigned int entered[thread_count] = {};
    run_in_threads(
        [&](unsigned int index)
        {
            for (unsigned int round = 0; round < rounds / 10; ++round)
            {
                if (round % 4 == 0 && interlock.TryEnterRead(1))
                    interlock.LeaveRead();
                if (!interlock.TryEnter(round % 2))
                    continue;
                ++counter;
                ++entered[index];
                interlock.Leave();
            }
        });
    unsigned int total = 0;
    for (unsigned int const count : entered)
        total += count;
    EXPECT_GT(total, 0U);
    EXPECT_EQ(counter, total);
    EXPECT_TRUE(is_free(interlock));
}

} // namespace
