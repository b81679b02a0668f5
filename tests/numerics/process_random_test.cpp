#include "ORVA/Develop.h"

#include "BaseOS/process_random.h"

#include "numerics/random_support.h"

#include <gtest/gtest.h>

#include <limits>
#include <thread>
#include <type_traits>

namespace
{

using namespace numerics;

// Knows what the process's generator gives next: it has drawn more than a block, and each further word follows from
// those 624, 623 and 227 places before it.
class ProcessRandom : public testing::Test
{
protected:
    void SetUp() override
    {
        for (unsigned long draw = 0; draw < 1000; ++draw)
            m_words.push_back(reference::untemper(_random()));
    }

    unsigned int next()
    {
        std::size_t const end = m_words.size();
        m_words.push_back(
            reference::PlainTwister::successor(m_words[end - 624], m_words[end - 623], m_words[end - 227]));
        return reference::temper(m_words.back());
    }

    std::vector<unsigned int> m_words;
};

TEST_F(ProcessRandom, RandomGivesTheWordsOfOneGenerator)
{
    static_assert(std::is_same_v<decltype(_random()), unsigned int>);
    for (int draw = 0; draw < 5000; ++draw)
        ASSERT_EQ(_random(), next()) << draw;
}

TEST_F(ProcessRandom, RandomAndDrandomDrawFromTheProcessesOne)
{
    static_assert(std::is_same_v<decltype(_drandom(1.0)), double>);
    static_assert(std::is_same_v<decltype(g_Rnd), CMTRnd_TS>);
    for (int draw = 0; draw < 2000; ++draw)
    {
        ASSERT_EQ(_random(), next()) << draw;
        ASSERT_EQ(_drandom(1.0), 1.0 / 4294967295.0 * next()) << draw;
        ASSERT_EQ(g_Rnd.rnd(), next()) << draw;
    }
}

TEST_F(ProcessRandom, DrandomDividesFirstAndThenMultiplies)
{
    for (double const largest : {3.0, 10.0, 0.1, -7.5, 1e300, 5e-324})
    {
        for (int draw = 0; draw < 500; ++draw)
        {
            double const unit = largest / 4294967295.0;
            ASSERT_EQ(_drandom(largest), unit * static_cast<double>(next())) << largest;
        }
    }
}

TEST_F(ProcessRandom, OtherThreadsDrawFromTheSame)
{
    unsigned int word = 0;
    std::thread([&word] { word = _random(); }).join();
    EXPECT_EQ(word, next());
    EXPECT_EQ(_random(), next());
}

TEST(ProcessDrandom, Of0Is0)
{
    for (int draw = 0; draw < 1000; ++draw)
        ASSERT_EQ(_drandom(0.0), 0.0);
}

TEST(ProcessDrandom, LiesIn0ToTheArgument)
{
    for (int draw = 0; draw < 20000; ++draw)
    {
        double const number = _drandom(1.0);
        ASSERT_GE(number, 0.0);
        ASSERT_LE(number, 1.0);
        ASSERT_LE(_drandom(250.0), 250.0);
    }
}

// What it makes of the highest word, which no test can wait for.
TEST(ProcessDrandom, FormulaReaches1ForTheHighestWord)
{
    EXPECT_EQ(1.0 / 4294967295.0 * static_cast<double>(std::numeric_limits<unsigned int>::max()), 1.0);
}

} // namespace
