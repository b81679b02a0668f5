#include "ORVA/Develop.h"

#include "numerics/random_support.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

// What becomes of the words: limit, factor, seed, and where the fields lie.
namespace
{

using namespace numerics;

TEST(MTRandomLimit, IsTheLargestResult)
{
    for (unsigned int const largest : {9U, 1U, 255U, 1000000U, 0x7FFFFFFFU, 0xFFFFFFFEU})
    {
        CMTRandom random = seeded(8);
        CMTRandom words = seeded(8);
        random.maxrnd(largest);
        for (int draw = 0; draw < 3000; ++draw)
        {
            unsigned int const number = random.rnd();
            ASSERT_LE(number, largest);
            ASSERT_EQ(number, words._create() % (largest + 1UL));
        }
    }
    CMTRandom random;
    random.maxrnd(0xFFFFFFFEU);
    random.seed(seed_for(0xFFFFFFFEU));
    EXPECT_EQ(random.rnd(), 0xFFFFFFFEU);
    random.seed(seed_for(0xFFFFFFFFU));
    EXPECT_EQ(random.rnd(), 0U);
}

TEST(MTRandomLimit, Of9GivesAllOf0To9)
{
    CMTRandom random = seeded(8);
    random.maxrnd(9);
    unsigned int counts[10] = {};
    for (int draw = 0; draw < 1000; ++draw)
    {
        unsigned int const number = random.rnd();
        ASSERT_LE(number, 9U);
        ++counts[number];
    }
    for (unsigned int const count : counts)
        EXPECT_GT(count, 0U);
}

TEST(MTRandomLimit, Of0GivesAlways0)
{
    CMTRandom random = seeded(8);
    random.maxrnd(0);
    for (int draw = 0; draw < 2000; ++draw)
        ASSERT_EQ(random.rnd(), 0U);
}

TEST(MTRandomLimit, OfAllBitsRemovesIt)
{
    CMTRandom random;
    random.maxrnd(9);
    random.maxrnd(0xFFFFFFFFU);
    random.seed(seed_for(0xFFFFFFFFU));
    EXPECT_EQ(random.rnd(), 0xFFFFFFFFU);
    CMTRandom words = seeded(8);
    random.seed(8);
    for (int draw = 0; draw < 1000; ++draw)
        ASSERT_EQ(random.rnd(), words._create());
}

TEST(MTRandomLimit, IsStoredPlus1In32Bits)
{
    RandomLook random;
    EXPECT_EQ(random.m_modulus, 0U);
    random.maxrnd(9);
    EXPECT_EQ(random.m_modulus, 10U);
    random.maxrnd(0xFFFFFFFFU);
    EXPECT_EQ(random.m_modulus, 0U);
}

TEST(MTRandomLimit, PlaysNoPartInCreateAndDrnd)
{
    for (unsigned int const largest : {0U, 9U, 0xFFFFFFFFU})
    {
        CMTRandom random = seeded(12);
        CMTRandom words = seeded(12);
        random.maxrnd(largest);
        for (int draw = 0; draw < 1000; ++draw)
        {
            ASSERT_EQ(random._create(), words._create());
            ASSERT_EQ(random.drnd(), words.drnd());
        }
    }
}

TEST(MTRandomFactor, StartsAsTheQuotientOf1And4294967295)
{
    RandomLook const random;
    EXPECT_EQ(field_at<unsigned long>(random.m_factor, 0), 0x3DF0000000100000UL);
}

TEST(MTRandomFactor, GivesFrom0To1BothIncluded)
{
    CMTRandom random;
    random.seed(seed_for(0));
    EXPECT_EQ(random.drnd(), 0.0);
    random.seed(seed_for(0xFFFFFFFFU));
    EXPECT_EQ(random.drnd(), 1.0);
    random.seed(seed_for(1));
    EXPECT_EQ(random.drnd(), 1.0 / 4294967295.0);
    random.seed(1);
    for (int draw = 0; draw < 10000; ++draw)
    {
        double const number = random.drnd();
        ASSERT_GE(number, 0.0);
        ASSERT_LE(number, 1.0);
    }
}

TEST(MTRandomFactor, IsStoredAsItIsAndNotTheLargestResult)
{
    RandomLook random;
    random.maxdrnd(2.0);
    EXPECT_EQ(random.m_factor, 2.0);
    random.seed(seed_for(0xFFFFFFFFU));
    EXPECT_EQ(random.drnd(), 8589934590.0);
    random.maxdrnd(-0.5);
    random.seed(seed_for(6));
    EXPECT_EQ(random.drnd(), -3.0);
    random.maxdrnd(0.0);
    EXPECT_EQ(random.drnd(), 0.0);
}

TEST(MTRandomFactor, PlaysNoPartInRndAndCreate)
{
    CMTRandom random = seeded(12);
    CMTRandom words = seeded(12);
    random.maxdrnd(0.0);
    for (int draw = 0; draw < 1000; ++draw)
    {
        ASSERT_EQ(random.rnd(), words._create());
        ASSERT_EQ(random._create(), words._create());
    }
}

TEST(MTRandomSeed, StartsAtTheFirstWordFromAnyPlace)
{
    for (unsigned long const drawn : {1UL, 623UL, 624UL, 625UL, 2000UL})
    {
        RandomLook random = look(1);
        for (unsigned long draw = 0; draw < drawn; ++draw)
            random.rnd();
        random.seed(1);
        EXPECT_EQ(random.m_index, 0U);
        EXPECT_EQ(words_of(random.m_state), block_of(1, 0)) << drawn;
    }
}

TEST(MTRandomSeed, LeavesModulusAndFactor)
{
    RandomLook random;
    random.maxrnd(9);
    random.maxdrnd(2.0);
    random.seed(123);
    EXPECT_EQ(random.m_modulus, 10U);
    EXPECT_EQ(random.m_factor, 2.0);
    EXPECT_EQ(random.rnd(), reference::temper(123) % 10);
}

TEST(MTRandomSeed, OfANewObjectIsTheClocks)
{
    EXPECT_TRUE(is_seeded_from_the_clock([] { return reference::untemper(CMTRandom().rnd()); }));
    RandomLook random;
    EXPECT_EQ(random.m_index, 0U);
    EXPECT_EQ(random.m_modulus, 0U);
    EXPECT_EQ(words_of(random.m_state), block_of(random.m_state[0], 0));
}

TEST(MTRandomLayout, IsIndexWordsModulusAndFactor)
{
    static_assert(sizeof(CMTRandom) == 2520);
    static_assert(std::is_standard_layout_v<CMTRandom>);
    static_assert(std::is_same_v<decltype(std::declval<CMTRandom&>().rnd()), unsigned int>);
    static_assert(std::is_same_v<decltype(std::declval<CMTRandom&>()._create()), unsigned int>);
    static_assert(std::is_same_v<decltype(std::declval<CMTRandom&>().drnd()), double>);
    CMTRandom random = seeded(77);
    random.maxrnd(41);
    random.maxdrnd(0.25);
    random.rnd();
    EXPECT_EQ(field_at<unsigned long>(random, 0), 1U);
    EXPECT_EQ(field_at<unsigned int>(random, 8), 77U);
    EXPECT_EQ(field_at<unsigned int>(random, 8 + 623 * 4), block_of(77, 0)[623]);
    EXPECT_EQ(field_at<unsigned int>(random, 2504), 42U);
    EXPECT_EQ(field_at<double>(random, 2512), 0.25);
}

} // namespace
