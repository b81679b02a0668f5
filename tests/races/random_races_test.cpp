#include "ORVA/Develop.h"

#include "races/together.h"
#include "reference/plain_random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

// The process's own generator, drawn from in all threads.
namespace
{

using races::faults_of;

// The words that the generator gave first tell all that it gives later: none is lost, and none is given twice.
TEST(RandomRaces, words_of_all_threads_are_those_that_follow)
{
    constexpr unsigned int threads = 8;
    constexpr unsigned int draws = 10000;
    constexpr std::size_t block = 624;
    std::vector<unsigned int> words;
    for (std::size_t draw = 0; draw < block; ++draw)
        words.push_back(reference::untemper(ORVA::Develop::_random()));
    std::vector<std::vector<unsigned int>> drawn(threads);
    EXPECT_EQ(faults_of(threads,
                        [&](unsigned int thread)
                        {
                            for (unsigned int draw = 0; draw < draws; ++draw)
                            {
                                // Either way it is one draw; the fraction is the word over the highest one.
                                unsigned int const word =
                                    draw % 4 == 3
                                        ? static_cast<unsigned int>(ORVA::Develop::_drandom(4294967295.0) + 0.5)
                                        : ORVA::Develop::_random();
                                drawn[thread].push_back(word);
                                races::mix(draw);
                            }
                            return 0U;
                        }),
              0U);
    std::vector<unsigned int> all;
    for (std::vector<unsigned int> const& own : drawn)
        all.insert(all.end(), own.begin(), own.end());
    std::vector<unsigned int> expected;
    while (expected.size() < all.size())
    {
        std::size_t const end = words.size();
        words.push_back(
            reference::PlainTwister::successor(words[end - block], words[end - block + 1], words[end - 227]));
        expected.push_back(reference::temper(words.back()));
    }
    std::sort(all.begin(), all.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_TRUE(all == expected);
}

} // namespace
