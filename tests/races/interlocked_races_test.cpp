#include "ORVA/Core.h"

#include "races/together.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

// What the interlocked operations order: plain words that only they protect.
namespace
{

using namespace ORVA::Core;
using races::Faults;
using races::faults_of;
using races::mix;

constexpr unsigned int threads = 4;

TEST(InterlockedRaces, who_decrements_to_0_sees_what_the_others_have_written_before)
{
    constexpr unsigned int rounds = 2000;
    struct Round
    {
        unsigned int left = threads;
        unsigned int written[threads] = {};
        unsigned int ended = 0;
    };
    std::vector<Round> all(rounds);
    EXPECT_EQ(faults_of(threads,
                        [&](unsigned int index)
                        {
                            Faults faults;
                            unsigned int number = index;
                            for (Round& round : all)
                            {
                                mix(++number);
                                round.written[index] = index + 1;
                                if (OS::InterlockedDecrement32(round.left) != 0)
                                    continue;
                                for (unsigned int other = 0; other < threads; ++other)
                                    faults.expect(round.written[other] == other + 1);
                                ++round.ended;
                            }
                            return faults;
                        }),
              0U);
    for (Round const& round : all)
        ASSERT_EQ(round.ended, 1U);
}

// One thread's object becomes the object of all; it has been filled by plain writes.
TEST(InterlockedRaces, compare_swap_publishes_one_object_for_all)
{
    constexpr unsigned int rounds = 2000;
    struct Object
    {
        unsigned int owner = 0;
        unsigned int round = 0;
    };
    std::vector<void*> places(rounds, nullptr);
    std::vector<std::vector<Object>> objects(threads, std::vector<Object>(rounds));
    std::vector<std::vector<Object*>> seen(threads, std::vector<Object*>(rounds));
    EXPECT_EQ(faults_of(threads,
                        [&](unsigned int index)
                        {
                            Faults faults;
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                Object& own = objects[index][round];
                                own = {index, round};
                                mix(round + index);
                                void* const former = OS::InterlockedCompareSwapPtr(&places[round], nullptr, &own);
                                Object* const winner = former == nullptr ? &own : static_cast<Object*>(former);
                                faults.expect(winner->round == round);
                                faults.expect(winner == &objects[winner->owner][round]);
                                seen[index][round] = winner;
                            }
                            return faults;
                        }),
              0U);
    for (unsigned int index = 1; index < threads; ++index)
        EXPECT_EQ(seen[index], seen[0]);
}

// Whoever gets the 1 out of the word has the plain number to itself, until it puts the 1 back.
TEST(InterlockedRaces, set_hands_over_what_belongs_to_the_value)
{
    constexpr unsigned int rounds = 1000;
    unsigned long token = 1;
    unsigned int number = 0;
    EXPECT_EQ(faults_of(threads,
                        [&](unsigned int)
                        {
                            Faults faults;
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                while (InterlockedSet(token, 0) == 0)
                                    std::this_thread::yield();
                                unsigned int const seen = number;
                                mix(round);
                                number = seen + 1;
                                faults.expect(InterlockedSet(token, 1) == 0);
                            }
                            return faults;
                        }),
              0U);
    EXPECT_EQ(number, threads * rounds);
}

TEST(InterlockedRaces, acquire_sees_what_was_written_before_the_release)
{
    constexpr unsigned int rounds = 500;
    unsigned int turn = 0;
    unsigned int number = 0;
    EXPECT_EQ(faults_of(2,
                        [&](unsigned int index)
                        {
                            Faults faults;
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                unsigned int const mine = 2 * round + index;
                                while (load_acquire(turn) != mine)
                                    std::this_thread::yield();
                                faults.expect(number == mine);
                                ++number;
                                store_release(turn, mine + 1);
                            }
                            return faults;
                        }),
              0U);
    EXPECT_EQ(number, 2 * rounds);
}

} // namespace
