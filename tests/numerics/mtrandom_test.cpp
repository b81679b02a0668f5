#include "ORVA/Develop.h"

#include "BaseOS/twister.h"
#include "numerics/random_support.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <vector>

namespace
{

using namespace numerics;

TEST(PlainTwister, UntemperingUndoesTempering)
{
    std::mt19937 random(1);
    for (int round = 0; round < 10000; ++round)
    {
        unsigned int const word = static_cast<unsigned int>(random());
        ASSERT_EQ(reference::untemper(reference::temper(word)), word);
    }
}

TEST(MTRandom, MillionWordsOfEachSeedAgreeWithTheTwin)
{
    for (unsigned int const seed : seeds)
    {
        CMTRandom random = seeded(seed);
        reference::PlainTwister twin(seed);
        for (unsigned long draw = 0; draw < 1000000; ++draw)
            ASSERT_EQ(random._create(), reference::temper(twin.next_word())) << "seed " << seed << ", draw " << draw;
    }
}

struct Known
{
    unsigned int seed;
    unsigned int words[10]; ///< the draws numbered as below, from 1
    unsigned long hash;     ///< of the first million
};

constexpr unsigned long known_draws[] = {1, 2, 624, 625, 851, 852, 853, 1248, 1249, 1000000};

// Worked out by a script, in unbounded integers.
constexpr Known known[] = {
    {0,
     {0x00000000, 0x00400091, 0x477B7B2D, 0x8C7F0AAC, 0x4C24D3FC, 0xC45BAA56, 0x2EC2E721, 0xE2031CE4, 0x2B2FCF4A,
      0x4AE9CDD8},
     0x63FBB0FF9795A83B},
    {1,
     {0x00400091, 0x4C8C5834, 0x18BFF9DA, 0x6AC1F425, 0x4CF54638, 0x884AF498, 0xEE7289C7, 0x89050DD5, 0xBF456BD4,
      0xB1F38122},
     0x329D316DAD052039},
    {5489,
     {0x02C80541, 0x49390B45, 0x6E2CEE0A, 0x2E0651B0, 0x174790DE, 0x707D596E, 0x27023EE8, 0x2E42E763, 0x7CFF67C6,
      0xD9803D88},
     0x9D8C937D6157D64D},
    {0x7FFFFFFF,
     {0xE7F039FC, 0x34680A30, 0xBF99C3E2, 0x64B547EF, 0xE535209B, 0xF99BE307, 0x53CDF23B, 0xD0237383, 0x09BC0203,
      0x65E3C2CF},
     0x5466BF1D6B0F7BEA},
    {0x80000000,
     {0x88102204, 0x5BC8115B, 0xC20DF5A9, 0x26E9A91A, 0xCF80873D, 0x3AAFCBE1, 0x462033E4, 0x881A2E77, 0x72FB4C2C,
      0x70DD65E4},
     0x54C020CFAF54D0BE},
    {0xFFFFFFFF,
     {0x6FE01BF8, 0xD9EA122C, 0xB1ADF387, 0xE669834F, 0xC59211B3, 0x0380AA9B, 0x42C60C3A, 0x024C4F40, 0x5C831B03,
      0xB2940A04},
     0xB4AFC5FC487BAF29},
};

TEST(MTRandom, WordsOfKnownSeedsAreThese)
{
    for (Known const& expected : known)
    {
        CMTRandom random = seeded(expected.seed);
        unsigned long hash = 0;
        std::size_t place = 0;
        for (unsigned long draw = 1; draw <= 1000000; ++draw)
        {
            unsigned int const word = random.rnd();
            hash = hash * 6364136223846793005UL + word;
            if (draw != known_draws[place])
                continue;
            ASSERT_EQ(word, expected.words[place]) << "seed " << expected.seed << ", draw " << draw;
            ++place;
        }
        EXPECT_EQ(hash, expected.hash) << "seed " << expected.seed;
    }
}

TEST(MTRandom, SameSeedGivesTheSameSequence)
{
    CMTRandom first;
    CMTRandom second;
    second.rnd();
    first.seed(77);
    second.seed(77);
    for (int draw = 0; draw < 5000; ++draw)
        ASSERT_EQ(first.rnd(), second.rnd()) << draw;
}

TEST(MTRandom, CopyGoesOnByItself)
{
    CMTRandom random = seeded(3);
    for (int draw = 0; draw < 1000; ++draw)
        random.rnd();
    CMTRandom copy = random;
    std::vector<unsigned int> words;
    for (int draw = 0; draw < 2000; ++draw)
        words.push_back(random.rnd());
    for (unsigned int const word : words)
        ASSERT_EQ(copy.rnd(), word);
}

TEST(MTRandom, FirstBlockIsSeededAsInThePublishedGeneratorAndDrawnWithoutATwist)
{
    for (unsigned int const seed : seeds)
    {
        std::stringstream published;
        published << std::mt19937(seed);
        CMTRandom random = seeded(seed);
        EXPECT_EQ(random._create(), reference::temper(seed));
        unsigned int word;
        published >> word;
        ASSERT_EQ(word, seed);
        for (unsigned long draw = 1; draw < block_length; ++draw)
        {
            published >> word;
            ASSERT_EQ(random._create(), reference::temper(word)) << "seed " << seed << ", draw " << draw;
        }
    }
}

// As long as a twist works on seeded words only, the two can be set side by side word by word.
TEST(MTRandom, TwistIsThePublishedOneOnlyWhereTheTestsOfTheLowestBitsAgree)
{
    std::vector<unsigned int> const seeded_words = block_of(5489, 0);
    CMTRandom random = seeded(5489);
    std::mt19937 published(5489);
    for (unsigned long draw = 0; draw < block_length; ++draw)
        random.rnd();
    unsigned int agreeing = 0;
    for (unsigned long draw = 0; draw < block_length - 397; ++draw)
    {
        unsigned int const new_bit = (seeded_words[draw + 397] ^ seeded_words[draw + 1] >> 1) & 1;
        bool const agree = new_bit == (seeded_words[draw + 1] & 1);
        agreeing += agree;
        ASSERT_EQ(random.rnd() == published(), agree) << draw;
    }
    EXPECT_GT(agreeing, 80U);
    EXPECT_LT(agreeing, 147U);
}

// One step by hand for each way through it: upper bit of the word, lower bits of the next, lowest bit of what it gives.
TEST(MTRandom, StepOfTheTwist)
{
    struct Step
    {
        unsigned int word, next, distant, expected;
    };
    constexpr Step steps[] = {
        {0, 0, 0, 0},
        {0x7FFFFFFF, 0, 0, 0},                   // only the upper bit of the word counts
        {0x80000000, 0, 0, 0x40000000},          // and is shifted
        {0, 0x80000001, 0, 0},                   // upper and lowest bit of the next one do not count
        {0, 1, 0, 0},                            // where the published generator would take the constant
        {0, 2, 0, 0x9908B0DE},                   // the new word is odd by bit 1 of the next one
        {0, 3, 0, 0x9908B0DE},                   //
        {0, 0, 1, 0x9908B0DE},                   // and here by the distant one
        {0, 2, 1, 0},                            // and here even by both
        {0x80000000, 0x7FFFFFFE, 0, 0xE6F74F20}, // 0x7FFFFFFF and the constant
        {0xFFFFFFFF, 0xFFFFFFFF, 1, 0x7FFFFFFE},
    };
    for (Step const& step : steps)
    {
        RandomLook random = look(1);
        random.m_state[0] = step.word;
        random.m_state[1] = step.next;
        random.m_state[397] = step.distant;
        random._regen();
        EXPECT_EQ(random.m_state[0], step.expected) << std::hex << step.word << ' ' << step.next << ' ' << step.distant;
    }
}

TEST(MTRandom, LastWordOfTheTwistUsesNewOnes)
{
    RandomLook random = look(9);
    unsigned int const last = random.m_state[623];
    random._regen();
    EXPECT_EQ(random.m_state[623], reference::PlainTwister::successor(last, random.m_state[0], random.m_state[396]));
}

// Blocks of any words, which no seed need lead to. Each word of the next block comes of three by the twin's step.
TEST(MTRandom, AllWaysToTwistAgreeWithTheTwin)
{
    std::mt19937 words(77);
    for (int round = 0; round < 200; ++round)
    {
        std::vector<unsigned int> expected(block_length);
        for (unsigned int& word : expected)
            word = static_cast<unsigned int>(words());
        std::vector<unsigned int> best = expected;
        std::vector<unsigned int> portable = expected;
        for (unsigned long i = 0; i < block_length; ++i)
            expected[i] = reference::PlainTwister::successor(expected[i], expected[(i + 1) % block_length],
                                                             expected[(i + 397) % block_length]);
        Twister::twist(best.data());
        ASSERT_EQ(best, expected);
        Twister::twist_everywhere(portable.data());
        ASSERT_EQ(portable, expected);
    }
}

TEST(MTRandom, RegenTwistsInPlaceAndLeavesTheIndex)
{
    for (unsigned long const drawn : {0UL, 1UL, 227UL, 623UL, 624UL})
    {
        RandomLook random = look(21);
        for (unsigned long draw = 0; draw < drawn; ++draw)
            random._create();
        random._regen();
        EXPECT_EQ(random.m_index, drawn);
        std::vector<unsigned int> const second = block_of(21, 1);
        EXPECT_EQ(words_of(random.m_state), second);
        unsigned int const expected = drawn < block_length ? second[drawn] : block_of(21, 2)[0];
        EXPECT_EQ(random._create(), reference::temper(expected)) << drawn;
    }
}

TEST(MTRandom, RegenLeavesModulusAndFactor)
{
    RandomLook random = look(1);
    random.maxrnd(9);
    random.maxdrnd(2.0);
    random._regen();
    EXPECT_EQ(random.m_modulus, 10U);
    EXPECT_EQ(random.m_factor, 2.0);
}

TEST(MTRandom, BlockIsUsedUpAt624AndTwistedByTheNextDraw)
{
    RandomLook random = look(4);
    EXPECT_EQ(random.m_index, 0U);
    for (unsigned long draw = 0; draw < block_length; ++draw)
    {
        EXPECT_EQ(random.m_index, draw);
        random.rnd();
    }
    EXPECT_EQ(random.m_index, block_length);
    EXPECT_EQ(words_of(random.m_state), block_of(4, 0));
    random.rnd();
    EXPECT_EQ(random.m_index, 1U);
    EXPECT_EQ(words_of(random.m_state), block_of(4, 1));
}

TEST(MTRandom, AnyIndexBeyondTheBlockMeansUsedUp)
{
    for (unsigned long const index : {624UL, 625UL, 0x100000000UL, ~0UL})
    {
        RandomLook random = look(4);
        random.m_index = index;
        EXPECT_EQ(random._create(), reference::temper(block_of(4, 1)[0])) << index;
        EXPECT_EQ(random.m_index, 1U);
    }
}

TEST(MTRandom, AllWordsOfATwistAreEvenAndTheResultsAreNot)
{
    for (unsigned int const seed : seeds)
    {
        RandomLook random = look(seed);
        for (int block = 0; block < 20; ++block)
        {
            random._regen();
            unsigned int odd = 0;
            for (unsigned int const word : random.m_state)
                odd += word & 1;
            ASSERT_EQ(odd, 0U) << "seed " << seed << ", block " << block;
            random.m_index = 0;
            for (unsigned long draw = 0; draw < block_length; ++draw)
                odd += random._create() & 1;
            ASSERT_GT(odd, 200U) << "seed " << seed << ", block " << block;
        }
    }
}

TEST(MTRandom, AllDrawsTakeTheNextWord)
{
    CMTRandom random = seeded(5);
    reference::PlainTwister twin(5);
    for (int round = 0; round < 1000; ++round)
    {
        ASSERT_EQ(random.rnd(), reference::temper(twin.next_word()));
        ASSERT_EQ(random._create(), reference::temper(twin.next_word()));
        ASSERT_EQ(random.drnd(), 1.0 / 4294967295.0 * reference::temper(twin.next_word()));
    }
}

} // namespace
