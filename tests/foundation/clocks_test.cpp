#include "ORVA/Develop/Clocks.h"

#include <boost/chrono/system_clocks.hpp>
#include <gtest/gtest.h>

#include <climits>
#include <ctime>
#include <random>
#include <thread>
#include <type_traits>
#include <vector>

namespace
{

using namespace ORVA::Develop;

static_assert(std::is_same_v<decltype(_getTicks()), double>);
static_assert(std::is_same_v<decltype(_steady_clock_now()), unsigned long>);
static_assert(std::is_same_v<decltype(_now_nano()), unsigned long>);
static_assert(std::is_same_v<decltype(_now_micro()), unsigned long>);
static_assert(std::is_same_v<decltype(_now_milli()), unsigned long>);
static_assert(std::is_same_v<decltype(_round_precision(0, 1)), unsigned long long>);
static_assert(std::is_same_v<decltype(bitcount64(0)), unsigned int>);

unsigned long rounded(unsigned long nanoseconds, unsigned long unit)
{
    return nanoseconds / unit + (nanoseconds % unit >= unit / 2 ? 1 : 0);
}

unsigned long boost_now()
{
    return static_cast<unsigned long>(boost::chrono::steady_clock::now().time_since_epoch().count());
}

TEST(Numbers, the_platform_is_little_endian_with_wide_characters_of_32_bits)
{
    EXPECT_FALSE(_isBigEndian());
    EXPECT_FALSE(_isBigEndian());
    EXPECT_TRUE(_isWChar32());
}

TEST(Numbers, round_precision_counts_units_rounded_half_up)
{
    EXPECT_EQ(_round_precision(15, 10), 2U);
    EXPECT_EQ(_round_precision(14, 10), 1U);
    EXPECT_EQ(_round_precision(5, 10), 1U);
    EXPECT_EQ(_round_precision(4, 10), 0U);
    EXPECT_EQ(_round_precision(0, 10), 0U);
    EXPECT_EQ(_round_precision(20, 10), 2U) << "a count of units, not a multiple";
    EXPECT_EQ(_round_precision(1999999, 1000000), 2U);
}

TEST(Numbers, round_precision_takes_the_half_of_an_odd_precision_rounded_down)
{
    EXPECT_EQ(_round_precision(1, 3), 1U) << "a third is already one";
    EXPECT_EQ(_round_precision(3, 3), 1U);
    EXPECT_EQ(_round_precision(4, 3), 2U);
    EXPECT_EQ(_round_precision(2, 5), 1U);
    EXPECT_EQ(_round_precision(1, 5), 0U);
}

TEST(Numbers, round_precision_to_one_gives_one_too_many)
{
    EXPECT_EQ(_round_precision(0, 1), 1U);
    EXPECT_EQ(_round_precision(7, 1), 8U);
}

TEST(Numbers, round_precision_of_great_numbers)
{
    EXPECT_EQ(_round_precision(ULLONG_MAX, ULLONG_MAX), 1U);
    EXPECT_EQ(_round_precision(ULLONG_MAX / 2, ULLONG_MAX), 1U);
    EXPECT_EQ(_round_precision(ULLONG_MAX / 2 - 1, ULLONG_MAX), 0U);
    EXPECT_EQ(_round_precision(ULLONG_MAX, 2), 0x8000000000000000U);
    EXPECT_EQ(_round_precision(0x8000000000000000U, 0x8000000000000000U), 1U);
}

TEST(Numbers, bitcount_of_every_single_bit_and_of_runs)
{
    EXPECT_EQ(bitcount64(0), 0U);
    EXPECT_EQ(bitcount64(ULLONG_MAX), 64U);
    for (unsigned int bit = 0; bit < 64; ++bit)
    {
        EXPECT_EQ(bitcount64(1ULL << bit), 1U) << bit;
        EXPECT_EQ(bitcount64(~(1ULL << bit)), 63U) << bit;
        EXPECT_EQ(bitcount64((1ULL << bit) - 1), bit) << bit;
    }
}

TEST(Numbers, bitcount_agrees_with_a_plain_count)
{
    std::mt19937_64 random(20240501);
    for (int round = 0; round < 10000; ++round)
    {
        unsigned long long const value = random();
        unsigned int count = 0;
        for (unsigned long long rest = value; rest != 0; rest >>= 1)
            count += rest & 1;
        ASSERT_EQ(bitcount64(value), count) << value;
    }
}

TEST(Clocks, nanoseconds_are_those_of_the_steady_clock)
{
    for (unsigned long (*clock)() : {&_steady_clock_now, &_now_nano})
    {
        unsigned long const before = boost_now();
        unsigned long const now = clock();
        unsigned long const after = boost_now();
        EXPECT_LE(before, now);
        EXPECT_LE(now, after);
    }
}

TEST(Clocks, micro_and_milliseconds_are_rounded_half_up)
{
    for (int round = 0; round < 2000; ++round)
    {
        unsigned long before = _now_nano();
        unsigned long const micro = _now_micro();
        unsigned long after = _now_nano();
        ASSERT_LE(rounded(before, 1000), micro);
        ASSERT_LE(micro, rounded(after, 1000));

        before = _now_nano();
        unsigned long const milli = _now_milli();
        after = _now_nano();
        ASSERT_LE(rounded(before, 1000000), milli);
        ASSERT_LE(milli, rounded(after, 1000000));
    }
}

TEST(Clocks, never_go_back_in_any_thread)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread)
        threads.emplace_back(
            []
            {
                unsigned long nano = _now_nano();
                unsigned long micro = _now_micro();
                unsigned long milli = _now_milli();
                for (int round = 0; round < 2000; ++round)
                {
                    unsigned long const next_nano = _now_nano();
                    unsigned long const next_micro = _now_micro();
                    unsigned long const next_milli = _now_milli();
                    EXPECT_LE(nano, next_nano);
                    EXPECT_LE(micro, next_micro);
                    EXPECT_LE(milli, next_milli);
                    nano = next_nano;
                    micro = next_micro;
                    milli = next_milli;
                }
            });
    for (std::thread& thread : threads)
        thread.join();
}

TEST(Clocks, ticks_are_processor_time_in_seconds)
{
    std::clock_t const before = std::clock();
    double const ticks = _getTicks();
    std::clock_t const after = std::clock();
    EXPECT_LE(static_cast<double>(before) / 1000000.0, ticks);
    EXPECT_LE(ticks, static_cast<double>(after) / 1000000.0);
}

TEST(Clocks, ticks_advance_with_work)
{
    double const start = _getTicks();
    unsigned long volatile work = 0;
    unsigned long const give_up = _now_nano() + 10'000'000'000UL;
    while (_getTicks() < start + 0.01 && _now_nano() < give_up)
        work = work + 1;
    EXPECT_GE(_getTicks(), start + 0.01);
}

} // namespace
