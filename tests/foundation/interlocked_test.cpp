#include "ORVA/Core.h"

#include <gtest/gtest.h>

#include <climits>
#include <thread>
#include <type_traits>
#include <vector>

namespace
{

using namespace ORVA::Core;

template <class Work>
void in_threads(int count, Work work)
{
    std::vector<std::thread> threads;
    for (int index = 0; index < count; ++index)
        threads.emplace_back(work, index);
    for (std::thread& thread : threads)
        thread.join();
}

TEST(Interlocked, increment_returns_the_new_value)
{
    unsigned int value = 0;
    EXPECT_EQ(OS::InterlockedIncrement32(value), 1U);
    EXPECT_EQ(OS::InterlockedIncrement32(value), 2U);
    EXPECT_EQ(value, 2U);
    value = UINT_MAX;
    EXPECT_EQ(OS::InterlockedIncrement32(value), 0U);
    EXPECT_EQ(value, 0U);
}

TEST(Interlocked, decrement_returns_the_new_value)
{
    unsigned int value = 2;
    EXPECT_EQ(OS::InterlockedDecrement32(value), 1U);
    EXPECT_EQ(OS::InterlockedDecrement32(value), 0U);
    EXPECT_EQ(OS::InterlockedDecrement32(value), 0xFFFFFFFFU);
    EXPECT_EQ(value, 0xFFFFFFFFU);
}

TEST(Interlocked, compare_swap_of_a_pointer_stores_only_on_a_match)
{
    int a = 0;
    int b = 0;
    void* target = &a;
    EXPECT_EQ(OS::InterlockedCompareSwapPtr(&target, &b, nullptr), &a);
    EXPECT_EQ(target, &a);
    EXPECT_EQ(OS::InterlockedCompareSwapPtr(&target, &a, &b), &a);
    EXPECT_EQ(target, &b);
    EXPECT_EQ(OS::InterlockedCompareSwapPtr(&target, &b, nullptr), &b);
    EXPECT_EQ(target, nullptr);
    EXPECT_EQ(OS::InterlockedCompareSwapPtr(&target, nullptr, &a), nullptr);
    EXPECT_EQ(target, &a);
}

TEST(Interlocked, compare_swap_of_a_word_stores_only_on_a_match)
{
    unsigned long target = 5;
    EXPECT_EQ(InterlockedCompareSwapSize_t(target, 6, 7), 5U);
    EXPECT_EQ(target, 5U);
    EXPECT_EQ(InterlockedCompareSwapSize_t(target, 5, ULONG_MAX), 5U);
    EXPECT_EQ(target, ULONG_MAX);
    EXPECT_EQ(InterlockedCompareSwapSize_t(target, ULONG_MAX & 0xFFFFFFFFU, 1), ULONG_MAX) << "all 64 bits count";
    EXPECT_EQ(target, ULONG_MAX);
}

TEST(Interlocked, set_returns_the_value_replaced)
{
    unsigned long target = 5;
    EXPECT_EQ(InterlockedSet(target, ULONG_MAX), 5U);
    EXPECT_EQ(target, ULONG_MAX);
    EXPECT_EQ(InterlockedSet(target, ULONG_MAX), ULONG_MAX);
    EXPECT_EQ(InterlockedSet(target, 0), ULONG_MAX);
    EXPECT_EQ(target, 0U);
}

TEST(Interlocked, the_results_have_the_widths_of_their_operands)
{
    unsigned int narrow = 0;
    unsigned long wide = 0;
    static_assert(std::is_same_v<decltype(OS::InterlockedIncrement32(narrow)), unsigned int>);
    static_assert(std::is_same_v<decltype(OS::InterlockedDecrement32(narrow)), unsigned int>);
    static_assert(std::is_same_v<decltype(InterlockedCompareSwapSize_t(wide, 0, 0)), unsigned long>);
    static_assert(std::is_same_v<decltype(InterlockedSet(wide, 0)), unsigned long>);
    EXPECT_EQ(narrow + wide, 0U);
}

TEST(Interlocked, no_step_of_several_threads_is_lost)
{
    constexpr int rounds = 20000;
    unsigned int count = 0;
    in_threads(4,
               [&count](int index)
               {
                   for (int round = 0; round < rounds; ++round)
                       index % 2 == 0 ? OS::InterlockedIncrement32(count) : OS::InterlockedDecrement32(count);
               });
    EXPECT_EQ(count, 0U);
}

TEST(Interlocked, every_result_of_an_increment_is_given_once)
{
    constexpr unsigned int threads = 4;
    constexpr unsigned int rounds = 5000;
    unsigned int count = 0;
    std::vector<unsigned int> given(threads * rounds + 1, 0);
    in_threads(threads,
               [&](int)
               {
                   for (unsigned int round = 0; round < rounds; ++round)
                       ++given[OS::InterlockedIncrement32(count)];
               });
    EXPECT_EQ(given[0], 0U);
    for (std::size_t value = 1; value < given.size(); ++value)
        ASSERT_EQ(given[value], 1U) << value;
}

// Each value put in is taken out by exactly one exchange, or is the last.
TEST(Interlocked, exchanges_of_several_threads_lose_no_value)
{
    constexpr unsigned long threads = 4;
    constexpr unsigned long rounds = 5000;
    unsigned long target = 0;
    std::vector<unsigned char> taken(threads * rounds + 1, 0);
    in_threads(threads,
               [&](int index)
               {
                   unsigned long const first = static_cast<unsigned long>(index) * rounds + 1;
                   for (unsigned long round = 0; round < rounds; ++round)
                       ++taken[InterlockedSet(target, first + round)];
               });
    ++taken[target];
    for (std::size_t value = 0; value < taken.size(); ++value)
        ASSERT_EQ(taken[value], 1) << value;
}

TEST(Interlocked, compare_swap_serves_as_a_lock)
{
    void* lock = nullptr;
    int plain = 0;
    in_threads(3,
               [&](int)
               {
                   int self = 0;
                   for (int round = 0; round < 1000; ++round)
                   {
                       while (OS::InterlockedCompareSwapPtr(&lock, nullptr, &self) != nullptr)
                           std::this_thread::yield();
                       ++plain;
                       EXPECT_EQ(OS::InterlockedCompareSwapPtr(&lock, &self, nullptr), &self);
                   }
               });
    EXPECT_EQ(plain, 3000);
}

} // namespace
