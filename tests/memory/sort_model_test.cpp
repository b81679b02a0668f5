#include "memory/sort_support.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{

namespace Sort = ORVA::Buffers::Sort;
using namespace sorting;

// True if both sorts give the same bytes by the same comparisons. The array stands in a block of its exact size.
bool agrees_with_twin(Form form, Bytes const& elements, unsigned long width)
{
    Bytes expected = elements;
    Probe twin_probe;
    unsigned long const count = elements.size() / width;
    sort_plainly(twin_probe, expected.data(), count, width);

    std::unique_ptr<unsigned char[]> const actual(new unsigned char[elements.size()]);
    std::copy(elements.begin(), elements.end(), actual.get());
    Probe probe;
    sort(form, probe, actual.get(), count, width);
    return std::equal(expected.begin(), expected.end(), actual.get()) && probe.calls == twin_probe.calls;
}

TEST(QuickSort, EverySmallArrayAgreesWithTheTwin)
{
    for (unsigned long const width : {1UL, 3UL, 4UL, 8UL, 12UL, 16UL, 24UL, 32UL, 40UL, 64UL, 71UL})
    {
        for (Form const form : both_forms)
        {
            for (unsigned int length = 0; length <= 10; ++length)
            {
                unsigned int const distinct = length <= 7 ? 3 : 2;
                unsigned int arrays = 1;
                for (unsigned int i = 0; i < length; ++i)
                    arrays *= distinct;
                for (unsigned int number = 0; number < arrays; ++number)
                {
                    std::vector<int> keys(length);
                    unsigned int rest = number;
                    for (auto& key : keys)
                    {
                        key = static_cast<int>(rest % distinct);
                        rest /= distinct;
                    }
                    ASSERT_TRUE(agrees_with_twin(form, make_elements(keys, width), width))
                        << "width " << width << " length " << length << " number " << number;
                }
            }
        }
    }
}

TEST(QuickSort, PermutationsOfNineAgreeWithTheTwinAndAreSorted)
{
    std::vector<int> keys = {0, 1, 2, 3, 4, 5, 6, 7, 8};
    unsigned long number = 0;
    do
    {
        if (number++ % 37 != 0) // a sample, as all of them would take too long under a sanitizer
            continue;
        Bytes bytes = make_elements(keys, 2);
        ASSERT_TRUE(agrees_with_twin(Form::plain, bytes, 2));
        Probe probe;
        sort(Form::plain, probe, bytes.data(), 9, 2);
        for (unsigned long i = 0; i < 9; ++i)
            ASSERT_EQ(bytes[2 * i], i);
    } while (std::next_permutation(keys.begin(), keys.end()));
}

TEST(QuickSort, RandomArraysOfEveryWidthAgreeWithTheTwinAndAreSorted)
{
    std::mt19937 random(5);
    for (unsigned long const width : all_widths)
    {
        for (int round = 0; round < 60; ++round)
        {
            Form const form = both_forms[round % 2];
            unsigned long const count = random() % (round % 3 == 0 ? 300 : 40);
            int const distinct = width == 1 ? 16 : (round % 5 == 0 ? 3 : 256);
            std::vector<int> keys = random_keys(count, distinct, random);
            if (round % 7 == 1)
                std::sort(keys.begin(), keys.end());
            if (round % 7 == 2)
                std::sort(keys.begin(), keys.end(), std::greater<>());
            Bytes bytes = make_elements(keys, width);
            ASSERT_TRUE(agrees_with_twin(form, bytes, width)) << "width " << width << " count " << count;

            Probe probe;
            sort(form, probe, bytes.data(), count, width);
            std::sort(keys.begin(), keys.end());
            for (unsigned long i = 0; i < count; ++i)
                ASSERT_EQ(key_of(bytes.data() + i * width, width), keys[i]);
        }
    }
}

TEST(QuickSort, LargeArraysKeepTheWorkListShort)
{
    std::mt19937 random(6);
    unsigned long const count = 60000;
    std::vector<unsigned long> values(count);
    for (auto& value : values)
        value = random();
    std::vector<unsigned long> by_twin = values;
    auto const order = [](void const* a, void const* b)
    {
        unsigned long const x = *static_cast<unsigned long const*>(a);
        unsigned long const y = *static_cast<unsigned long const*>(b);
        return x < y ? -1 : x > y ? 1 : 0;
    };
    auto const counts = reference::plain_sort(by_twin.data(), count, 8, order);
    EXPECT_LE(counts.deepest, 13); // log2(60000 / 8), rounded up
    EXPECT_GE(counts.deepest, 3);
    Sort::vfqsort(values.data(), count, 8, order);
    EXPECT_TRUE(std::is_sorted(values.begin(), values.end()));
    EXPECT_EQ(values, by_twin);
}

TEST(QuickSort, ArrayAtAnOddAddressIsSorted)
{
    std::mt19937 random(7);
    for (unsigned long const width : all_widths)
    {
        unsigned long const count = 100;
        std::vector<int> const keys = random_keys(count, 16, random);
        Bytes const elements = make_elements(keys, width);
        Bytes buffer(elements.size() + 2, 0xA5);
        std::copy(elements.begin(), elements.end(), buffer.begin() + 1);
        Probe probe;
        sort(Form::plain, probe, buffer.data() + 1, count, width);

        Bytes expected = elements;
        Probe twin_probe;
        sort_plainly(twin_probe, expected.data(), count, width);
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), buffer.begin() + 1)) << width;
        EXPECT_EQ(buffer.front(), 0xA5);
        EXPECT_EQ(buffer.back(), 0xA5);
    }
}

TEST(QuickSort, OnlyTheSignOfTheComparisonCounts)
{
    std::mt19937 random(8);
    for (unsigned long const width : {2UL, 4UL, 8UL, 16UL, 40UL})
    {
        Bytes const elements = make_elements(random_keys(150, 20, random), width);
        Bytes small = elements;
        Bytes large = elements;
        Probe by_one;
        by_one.verdict = [width](void const* a, void const* b)
        {
            int const difference = key_of(a, width) - key_of(b, width);
            return difference < 0 ? -1 : difference > 0 ? 1 : 0;
        };
        Probe by_extremes;
        by_extremes.verdict = [width](void const* a, void const* b)
        {
            int const difference = key_of(a, width) - key_of(b, width);
            return difference < 0 ? -2147483647 - 1 : difference > 0 ? 2147483647 : 0;
        };
        sort(Form::plain, by_one, small.data(), 150, width);
        sort(Form::plain, by_extremes, large.data(), 150, width);
        EXPECT_EQ(small, large);
        EXPECT_EQ(by_one.calls, by_extremes.calls);
    }
}

TEST(QuickSort, ContextIsHandedOnAsItIs)
{
    static void const* expected;
    static unsigned long calls;
    unsigned int values[12] = {5, 3, 9, 1, 7, 7, 2, 8, 0, 4, 6, 5};
    for (void const* const context : {static_cast<void const*>(nullptr), static_cast<void const*>(values)})
    {
        expected = context;
        calls = 0;
        std::reverse(std::begin(values), std::end(values));
        Sort::vfpqsort(values, 12, 4, context,
                       [](void const* a, void const* b, void const* given)
                       {
                           EXPECT_EQ(given, expected);
                           ++calls;
                           return static_cast<int>(*static_cast<unsigned int const*>(a)) -
                                  static_cast<int>(*static_cast<unsigned int const*>(b));
                       });
        EXPECT_TRUE(std::is_sorted(std::begin(values), std::end(values)));
        EXPECT_GT(calls, 0U);
    }
}

// Comparisons that misbehave.

TEST(QuickSort, ComparisonThatContradictsItselfStaysInsideAndAgreesWithTheTwin)
{
    unsigned long meetings = 0;
    for (unsigned int seed = 0; seed < 400; ++seed)
    {
        unsigned long const width = all_widths[seed % (sizeof(all_widths) / sizeof(*all_widths))];
        unsigned long const count = 9 + seed % 60;
        std::mt19937 random(seed);
        Bytes const elements = make_elements(random_keys(count, 16, random), width);

        // Per three seeds once balanced, once mostly before, once mostly after.
        auto const verdicts = [seed]
        {
            auto source = std::make_shared<std::mt19937>(seed);
            return [source, seed](void const*, void const*)
            {
                int const drawn = static_cast<int>((*source)() % 5);
                return seed % 3 == 0 ? drawn - 2 : seed % 3 == 1 ? drawn - 3 : drawn - 1;
            };
        };
        Bytes expected = elements;
        Probe twin_probe;
        twin_probe.verdict = verdicts();
        meetings += sort_plainly(twin_probe, expected.data(), count, width).meetings;

        std::unique_ptr<unsigned char[]> const actual(new unsigned char[elements.size()]);
        std::copy(elements.begin(), elements.end(), actual.get());
        Probe probe;
        probe.verdict = verdicts();
        sort(both_forms[seed % 2], probe, actual.get(), count, width);
        ASSERT_EQ(probe.calls, twin_probe.calls) << seed;
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), actual.get())) << seed;
        for (auto const& call : probe.calls)
        {
            ASSERT_GE(std::min(call.first, call.second), 0L);
            ASSERT_LE(static_cast<unsigned long>(std::max(call.first, call.second)), (count - 1) * width);
        }
    }
    EXPECT_GT(meetings, 0U) << "no pass in which both sides stopped at one element";
}

TEST(QuickSort, ComparisonOfOneAnswerStaysInside)
{
    for (int const answer : {-1, 0, 1})
    {
        for (unsigned long const width : all_widths)
        {
            for (unsigned long count = 2; count < 30; ++count)
            {
                Bytes const elements = make_elements(std::vector<int>(count, 1), width);
                Bytes expected = elements;
                Probe twin_probe;
                twin_probe.verdict = [answer](void const*, void const*) { return answer; };
                sort_plainly(twin_probe, expected.data(), count, width);
                std::unique_ptr<unsigned char[]> const actual(new unsigned char[elements.size()]);
                std::copy(elements.begin(), elements.end(), actual.get());
                Probe probe;
                probe.verdict = twin_probe.verdict;
                sort(Form::plain, probe, actual.get(), count, width);
                ASSERT_EQ(probe.calls, twin_probe.calls);
                ASSERT_TRUE(std::equal(expected.begin(), expected.end(), actual.get()));
            }
        }
    }
}

TEST(QuickSort, ExceptionOfTheComparisonPassesAndLosesNoElement)
{
    std::mt19937 random(9);
    for (unsigned long const width : {2UL, 8UL, 16UL, 33UL, 64UL})
    {
        Bytes const elements = make_elements(random_keys(30, 10, random), width);
        Probe whole;
        Bytes copy = elements;
        sort(Form::plain, whole, copy.data(), 30, width);
        for (unsigned long fatal = 0; fatal < whole.calls.size(); ++fatal)
        {
            auto const verdict_of = [&](Probe& probe)
            {
                return [&probe, fatal, width](void const* a, void const* b)
                {
                    if (probe.calls.size() == fatal + 1)
                        throw std::runtime_error("comparison");
                    return key_of(a, width) - key_of(b, width);
                };
            };
            Bytes expected = elements;
            Probe twin_probe;
            twin_probe.verdict = verdict_of(twin_probe);
            ASSERT_THROW(sort_plainly(twin_probe, expected.data(), 30, width), std::runtime_error);
            Bytes actual = elements;
            Probe probe;
            probe.verdict = verdict_of(probe);
            ASSERT_THROW(sort(both_forms[fatal % 2], probe, actual.data(), 30, width), std::runtime_error);
            ASSERT_EQ(actual, expected) << "width " << width << " call " << fatal;
        }
    }
}

} // namespace
