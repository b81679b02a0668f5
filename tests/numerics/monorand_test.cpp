#include "ORVA/Math.h"

#include "reference/plain_random.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <type_traits>
#include <vector>

namespace
{

using ORVA::Random::CMonoRand;

std::vector<int> first(CMonoRand random, unsigned long count)
{
    std::vector<int> numbers;
    for (; count != 0; --count)
        numbers.push_back(random.rand());
    return numbers;
}

TEST(MonoRand, SequencesOfKnownSeedsAreThese)
{
    EXPECT_EQ(first(1, 5), (std::vector<int>{41, 18467, 6334, 26500, 19169}));
    EXPECT_EQ(first(0, 5), (std::vector<int>{38, 7719, 21238, 2437, 8855}));
    EXPECT_EQ(first(42, 5), (std::vector<int>{175, 400, 17869, 30056, 16083}));
    EXPECT_EQ(first(1, 1000000).back(), 12679);
    EXPECT_EQ(first(-1, 1000000).back(), 2538);
}

TEST(MonoRand, FirstOf1Are41And18467)
{
    CMonoRand random(1);
    EXPECT_EQ(random.rand(), 41);
    EXPECT_EQ(random.rand(), 18467);
    random.Reset(1);
    EXPECT_EQ(random.rand(), 41);
    EXPECT_EQ(random.rand(), 18467);
}

TEST(MonoRand, MillionNumbersOfEachSeedAgreeWithTheTwin)
{
    for (int const seed : {0, 1, -1, 42, -123456789, INT_MAX, INT_MIN})
    {
        CMonoRand random(seed);
        reference::PlainMonoRand twin(seed);
        for (unsigned long draw = 0; draw < 1000000; ++draw)
        {
            int const number = random.rand();
            ASSERT_EQ(number, twin.next()) << "seed " << seed << ", draw " << draw;
            ASSERT_GE(number, 0);
            ASSERT_LE(number, 32767);
        }
    }
}

TEST(MonoRand, ResetStartsAgainFromAnyPlace)
{
    std::mt19937 seeds(1);
    CMonoRand random(7);
    for (int round = 0; round < 200; ++round)
    {
        int const seed = static_cast<int>(seeds());
        for (int draw = 0; draw < round; ++draw)
            random.rand();
        random.Reset(seed);
        ASSERT_EQ(first(random, 20), first(seed, 20));
    }
}

struct MonoRandLook : CMonoRand
{
    using CMonoRand::CMonoRand;
    using CMonoRand::m_state;
};

TEST(MonoRand, StateIsTheSeedSignExtended)
{
    static_assert(sizeof(CMonoRand) == 8);
    static_assert(std::is_same_v<decltype(MonoRandLook::m_state), long>);
    static_assert(std::is_same_v<decltype(std::declval<CMonoRand&>().rand()), int>);
    MonoRandLook random(-1);
    EXPECT_EQ(random.m_state, -1L);
    random.rand();
    EXPECT_EQ(random.m_state, -214013L + 2531011L);
    random.Reset(INT_MIN);
    EXPECT_EQ(random.m_state, -2147483648L);
    random.Reset(INT_MAX);
    EXPECT_EQ(random.m_state, 2147483647L);
}

TEST(MonoRand, StateKeepsAll64Bits)
{
    MonoRandLook random(1);
    unsigned long state = 1;
    for (int draw = 0; draw < 1000; ++draw)
    {
        state = state * 0x343FDUL + 0x269EC3UL;
        int const number = random.rand();
        ASSERT_EQ(static_cast<unsigned long>(random.m_state), state);
        ASSERT_EQ(number, static_cast<int>(state >> 16 & 0x7FFF));
    }
    EXPECT_NE(state >> 32, 0U);
}

TEST(MonoRand, BitsAbove31NeverShow)
{
    for (int const seed : {-1, -2, -77777, INT_MIN})
    {
        MonoRandLook negative(seed);
        MonoRandLook positive(0);
        positive.m_state = static_cast<unsigned int>(seed);
        EXPECT_NE(negative.m_state, positive.m_state);
        EXPECT_EQ(first(negative, 10000), first(positive, 10000));
    }
}

} // namespace
