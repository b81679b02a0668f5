#include "ORVA/Develop.h"

#include "numerics/random_support.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <future>
#include <type_traits>

namespace
{

using namespace numerics;

constexpr unsigned long one_change = 0x100000000UL;

TEST(SharedMTRandom, MillionWordsOfOneThreadAreThoseOfTheSeed)
{
    for (int round = 0; round < 3; ++round)
    {
        SharedLook shared;
        unsigned int const seed = shared.seed();
        CMTRandom random;
        random.seed(seed);
        reference::PlainTwister twin(seed);
        for (unsigned long draw = 0; draw < 1000000; ++draw)
        {
            unsigned int const word = shared.rnd();
            ASSERT_EQ(word, random.rnd()) << "seed " << seed << ", draw " << draw;
            ASSERT_EQ(word, reference::temper(twin.next_word())) << "seed " << seed << ", draw " << draw;
        }
    }
}

TEST(SharedMTRandom, SeedIsTheClocks)
{
    EXPECT_TRUE(is_seeded_from_the_clock([] { return reference::untemper(CMTRnd_TS().rnd()); }));
}

TEST(SharedMTRandom, StartsWithTheSeededBlockAndItsTwistAsTheSpare)
{
    SharedLook const shared;
    EXPECT_EQ(shared.m_index, 0U);
    EXPECT_EQ(shared.m_active, shared.m_block_a);
    EXPECT_EQ(shared.m_spare, shared.m_block_b);
    EXPECT_EQ(words_of(shared.m_block_a), block_of(shared.seed(), 0));
    EXPECT_EQ(words_of(shared.m_block_b), block_of(shared.seed(), 1));
}

TEST(SharedMTRandom, DrawBehindTheLastWordChangesTheBlocksAndMakesTheNext)
{
    SharedLook shared;
    unsigned int const seed = shared.seed();
    for (unsigned long draw = 0; draw < block_length; ++draw)
    {
        ASSERT_EQ(shared.m_index, draw);
        shared.rnd();
    }
    EXPECT_EQ(shared.m_index, block_length);
    EXPECT_EQ(shared.m_active, shared.m_block_a);
    EXPECT_EQ(shared.m_spare, shared.m_block_b);

    EXPECT_EQ(shared.rnd(), reference::temper(block_of(seed, 1)[0]));
    EXPECT_EQ(shared.m_index, one_change + 1);
    EXPECT_EQ(shared.m_active, shared.m_block_b);
    EXPECT_EQ(shared.m_spare, shared.m_block_a);
    EXPECT_EQ(words_of(shared.m_block_b), block_of(seed, 1));
    EXPECT_EQ(words_of(shared.m_block_a), block_of(seed, 2));

    for (unsigned long draw = 1; draw < block_length; ++draw)
        shared.rnd();
    EXPECT_EQ(shared.m_index, one_change + block_length);
    EXPECT_EQ(shared.rnd(), reference::temper(block_of(seed, 2)[0]));
    EXPECT_EQ(shared.m_index, 2 * one_change + 1);
    EXPECT_EQ(shared.m_active, shared.m_block_a);
    EXPECT_EQ(shared.m_spare, shared.m_block_b);
    EXPECT_EQ(words_of(shared.m_block_b), block_of(seed, 3));
}

// Otherwise a thread that is held up could take its place in a later block with a word of this one.
TEST(SharedMTRandom, IndexNeverTakesAValueTwice)
{
    SharedLook shared;
    unsigned long last = shared.m_index;
    for (unsigned long draw = 0; draw < 20 * block_length; ++draw)
    {
        shared.rnd();
        ASSERT_GT(shared.m_index, last);
        last = shared.m_index;
    }
}

TEST(SharedMTRandom, CountOfChangesStartsAgainBeyondItsHighest)
{
    SharedLook shared;
    unsigned int const seed = shared.seed();
    shared.m_index = 0xFFFFFFFF00000000UL;
    for (unsigned long draw = 0; draw < block_length; ++draw)
        shared.rnd();
    EXPECT_EQ(shared.rnd(), reference::temper(block_of(seed, 1)[0]));
    EXPECT_EQ(shared.m_index, 1U);
}

TEST(SharedMTRandom, RegenMakesTheSpareOutOfTheActiveBlock)
{
    SharedLook shared;
    unsigned int const seed = shared.seed();
    std::fill(std::begin(shared.m_block_b), std::end(shared.m_block_b), 0U);
    shared.m_spare = nullptr;
    shared._regen();
    EXPECT_EQ(shared.m_spare, shared.m_block_b);
    EXPECT_EQ(shared.m_active, shared.m_block_a);
    EXPECT_EQ(shared.m_index, 0U);
    EXPECT_EQ(words_of(shared.m_block_a), block_of(seed, 0));
    EXPECT_EQ(words_of(shared.m_block_b), block_of(seed, 1));

    for (unsigned long draw = 0; draw < block_length + 5; ++draw)
        shared.rnd();
    std::fill(std::begin(shared.m_block_a), std::end(shared.m_block_a), 0U);
    shared.m_spare = nullptr;
    shared._regen();
    EXPECT_EQ(shared.m_spare, shared.m_block_a);
    EXPECT_EQ(shared.m_active, shared.m_block_b);
    EXPECT_EQ(shared.m_index, one_change + 5);
    EXPECT_EQ(words_of(shared.m_block_a), block_of(seed, 2));
}

TEST(SharedMTRandom, RegenOnceMoreChangesNothing)
{
    SharedLook shared;
    unsigned int const seed = shared.seed();
    shared._regen();
    shared.rnd();
    shared._regen();
    EXPECT_EQ(words_of(shared.m_block_b), block_of(seed, 1));
    reference::PlainTwister twin(seed);
    twin.next_word();
    for (unsigned long draw = 1; draw < 3 * block_length; ++draw)
        ASSERT_EQ(shared.rnd(), reference::temper(twin.next_word()));
}

// Threads that draw one word each, and have begun to.
class Drawers
{
public:
    explicit Drawers(CMTRnd_TS& shared)
    {
        std::atomic<unsigned int> begun{0};
        for (auto& word : m_words)
        {
            word = std::async(std::launch::async,
                              [&shared, &begun]
                              {
                                  ++begun;
                                  return shared.rnd();
                              });
        }
        while (begun < m_words.size())
            std::this_thread::yield();
    }

    // False if a thread has got its word within a moment, as one that does not wait would.
    bool all_wait()
    {
        auto const moment = std::chrono::steady_clock::now() + std::chrono::milliseconds(20);
        bool waiting = true;
        for (auto& word : m_words)
            waiting = word.wait_until(moment) == std::future_status::timeout && waiting;
        return waiting;
    }

    // In rising order. `rescue` lets threads go on that do not end, after a time in which they should have.
    template <class Rescue>
    std::vector<unsigned int> words(Rescue rescue)
    {
        auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        std::vector<unsigned int> words;
        for (auto& word : m_words)
        {
            if (word.wait_until(end) == std::future_status::timeout)
            {
                ADD_FAILURE() << "a thread waits for ever";
                rescue();
            }
            words.push_back(word.get());
        }
        std::sort(words.begin(), words.end());
        return words;
    }

private:
    std::array<std::future<unsigned int>, 3> m_words;
};

std::vector<unsigned int> first_three_of_the_second_block(unsigned int seed)
{
    std::vector<unsigned int> words = block_of(seed, 1);
    words.resize(3);
    std::transform(words.begin(), words.end(), words.begin(), reference::temper);
    std::sort(words.begin(), words.end());
    return words;
}

TEST(SharedMTRandom, DrawsBehindTheLastWordWaitUntilThereIsASpareBlock)
{
    SharedLook shared;
    unsigned int const seed = shared.seed();
    for (unsigned long draw = 0; draw < block_length; ++draw)
        shared.rnd();
    shared.m_spare = nullptr;
    Drawers drawers(shared);
    EXPECT_TRUE(drawers.all_wait());
    EXPECT_EQ(ORVA::Core::load_relaxed(shared.m_index), block_length) << "somebody has taken the place";
    shared._regen();
    EXPECT_EQ(drawers.words([&shared] { ORVA::Core::InterlockedSet(shared.m_index, block_length); }),
              first_three_of_the_second_block(seed));
    EXPECT_EQ(shared.m_index, one_change + 3);
}

TEST(SharedMTRandom, DrawsDuringAChangeOfBlocksWaitForItsEnd)
{
    SharedLook shared;
    unsigned int const seed = shared.seed();
    shared.m_index = block_length + 1;
    Drawers drawers(shared);
    EXPECT_TRUE(drawers.all_wait());
    EXPECT_EQ(shared.m_active, shared.m_block_a) << "somebody has changed the blocks as well";
    EXPECT_EQ(shared.m_spare, shared.m_block_b);
    shared.m_active = shared.m_block_b;
    ORVA::Core::InterlockedSet(shared.m_index, one_change);
    EXPECT_EQ(drawers.words([] {}), first_three_of_the_second_block(seed));
    EXPECT_EQ(shared.m_index, one_change + 3);
}

TEST(SharedMTRandom, DrawsDoNotNeedTheSpareBlockBefore)
{
    SharedLook shared;
    unsigned int const seed = shared.seed();
    shared.m_spare = nullptr;
    for (unsigned int const word : block_of(seed, 0))
        ASSERT_EQ(shared.rnd(), reference::temper(word));
}

TEST(SharedMTRandomLayout, IsIndexTwoBlocksActiveAndSpare)
{
    static_assert(sizeof(CMTRnd_TS) == 5016);
    static_assert(std::is_standard_layout_v<CMTRnd_TS>);
    static_assert(std::is_trivially_destructible_v<CMTRnd_TS>, "nothing happens to the process's one at exit");
    static_assert(!std::is_copy_constructible_v<CMTRnd_TS> && !std::is_copy_assignable_v<CMTRnd_TS>);
    static_assert(std::is_same_v<decltype(std::declval<CMTRnd_TS&>().rnd()), unsigned int>);
    SharedLook shared;
    unsigned int const seed = shared.seed();
    shared.rnd();
    EXPECT_EQ(field_at<unsigned long>(shared, 0), 1U);
    EXPECT_EQ(field_at<unsigned int>(shared, 8), seed);
    EXPECT_EQ(field_at<unsigned int>(shared, 8 + 2496), block_of(seed, 1)[0]);
    EXPECT_EQ(field_at<unsigned int*>(shared, 8 + 2 * 2496), shared.m_block_a);
    EXPECT_EQ(field_at<unsigned int*>(shared, 16 + 2 * 2496), shared.m_block_b);
}

} // namespace
