#include "memory/sort_support.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace
{

namespace Sort = ORVA::Buffers::Sort;
using namespace sorting;

static_assert(std::is_same_v<decltype(&Sort::vfqsort),
                             void (*)(void*, unsigned long, unsigned long, int (*)(void const*, void const*))>);
static_assert(std::is_same_v<decltype(&Sort::vfpqsort), void (*)(void*, unsigned long, unsigned long, void const*,
                                                                 int (*)(void const*, void const*, void const*))>);

Calls in_bytes(Calls calls, long width)
{
    for (auto& call : calls)
        call = {call.first * width, call.second * width};
    return calls;
}

TEST(QuickSort, FewerThanTwoElementsOrNoWidthTouchNothing)
{
    for (Form const form : both_forms)
    {
        for (unsigned long width : all_widths)
        {
            ReadOnlyPage const page(Bytes(200, 7));
            Probe probe;
            sort(form, probe, page.data(), 0, width);
            sort(form, probe, page.data(), 1, width);
            sort(form, probe, nullptr, 0, width);
            EXPECT_TRUE(probe.calls.empty());
        }
        ReadOnlyPage const page(Bytes(200, 7));
        Probe probe;
        sort(form, probe, page.data(), 100, 0);
        sort(form, probe, nullptr, 100, 0);
        EXPECT_TRUE(probe.calls.empty());
    }
}

TEST(QuickSort, EightElementsTakeTheSelectionAlone)
{
    for (unsigned long width : all_widths)
    {
        Probe rising;
        Bytes bytes = make_elements({0, 1, 2, 3, 4, 5, 6, 7}, width);
        sort(Form::plain, rising, bytes.data(), 8, width);
        Calls expected;
        for (long hi = 7; hi > 0; --hi)
        {
            for (long p = 1; p <= hi; ++p)
                expected.emplace_back(p, p - 1);
        }
        EXPECT_EQ(rising.calls, in_bytes(expected, static_cast<long>(width)));
        EXPECT_EQ(bytes, make_elements({0, 1, 2, 3, 4, 5, 6, 7}, width));
    }
}

TEST(QuickSort, EqualElementsOfAShortRangeRotateBecauseTheFirstMaximumGoesToTheEnd)
{
    Bytes bytes = make_elements({5, 5, 5}, 2);
    Probe probe;
    sort(Form::plain, probe, bytes.data(), 3, 2);
    EXPECT_EQ(probe.calls, in_bytes({{1, 0}, {2, 0}, {1, 0}}, 2));
    // 0 1 2: the first goes to the end, 2 1 0; then again, 1 2 0.
    EXPECT_EQ(bytes, (Bytes{5, 1, 5, 2, 5, 0}));
}

TEST(QuickSort, SelectionExchangesTheMaximumWithTheUpperEnd)
{
    Bytes bytes = make_elements({3, 9, 1}, 2);
    Probe probe;
    sort(Form::plain, probe, bytes.data(), 3, 2);
    EXPECT_EQ(probe.calls, in_bytes({{1, 0}, {2, 1}, {1, 0}}, 2));
    EXPECT_EQ(bytes, (Bytes{1, 2, 3, 0, 9, 1}));
}

TEST(QuickSort, ElementThatStandsRightIsNotWritten)
{
    for (Form const form : both_forms)
    {
        for (unsigned long width : all_widths)
        {
            ReadOnlyPage const page(make_elements({0, 1, 2, 3, 4, 5, 6, 7}, width));
            Probe probe;
            sort(form, probe, page.data(), 8, width);
            EXPECT_EQ(probe.calls.size(), 28U);
        }
    }
}

TEST(QuickSort, NineElementsTakeAPartitionOnTheMiddleElementFirst)
{
    for (unsigned long width : all_widths)
    {
        Probe probe;
        Bytes bytes = make_elements({0, 1, 2, 3, 4, 5, 6, 7, 8}, width);
        sort(Form::plain, probe, bytes.data(), 9, width);
        // The middle one comes to the front: 4 1 2 3 0 5 6 7 8. The lower side stops at 5, the upper one at 0. They
        // have crossed; 4 and 0 change places, and of the two parts of four elements the left one waits.
        Calls expected = {{1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 0}, {8, 0}, {7, 0}, {6, 0}, {5, 0}, {4, 0}};
        for (long const lo : {5L, 0L})
        {
            for (long hi = lo + 3; hi > lo; --hi)
            {
                for (long p = lo + 1; p <= hi; ++p)
                    expected.emplace_back(p, p - 1);
            }
        }
        EXPECT_EQ(probe.calls, in_bytes(expected, static_cast<long>(width))) << width;
        EXPECT_EQ(bytes, make_elements({0, 1, 2, 3, 4, 5, 6, 7, 8}, width));
    }
}

TEST(QuickSort, SmallerPartIsSortedFirst)
{
    // Pivot 2 takes 11 comparisons, and leaves two elements to the left and seven to the right, which wait.
    Bytes bytes = make_elements({0, 1, 3, 4, 5, 2, 6, 7, 8, 9}, 4);
    Probe left_first;
    sort(Form::plain, left_first, bytes.data(), 10, 4);
    EXPECT_EQ(left_first.calls.size(), 11U + 1 + 21);
    EXPECT_EQ(left_first.calls[10], std::make_pair(2 * 4L, 0L));
    EXPECT_EQ(left_first.calls[11], std::make_pair(1 * 4L, 0L));
    EXPECT_EQ(left_first.calls[12], std::make_pair(4 * 4L, 3 * 4L));

    // Pivot 7 takes 11 as well, and leaves seven elements to the left, which wait, and two to the right.
    bytes = make_elements({0, 1, 2, 3, 4, 7, 5, 6, 8, 9}, 4);
    Probe right_first;
    sort(Form::plain, right_first, bytes.data(), 10, 4);
    EXPECT_EQ(right_first.calls.size(), 11U + 1 + 21);
    EXPECT_EQ(right_first.calls[10], std::make_pair(7 * 4L, 0L));
    EXPECT_EQ(right_first.calls[11], std::make_pair(9 * 4L, 8 * 4L));
    EXPECT_EQ(right_first.calls[12], std::make_pair(1 * 4L, 0L));
}

TEST(QuickSort, SecondArgumentOfAPartitionIsThePivotAtTheFront)
{
    std::mt19937 random(3);
    Bytes bytes = make_elements(random_keys(200, 16, random), 8);
    Probe probe;
    sort(Form::plain, probe, bytes.data(), 200, 8);
    EXPECT_EQ(probe.calls.front(), std::make_pair(8L, 0L));
    auto const first_partition_end =
        std::find_if(probe.calls.begin(), probe.calls.end(), [](auto const& call) { return call.second != 0; });
    EXPECT_GE(first_partition_end - probe.calls.begin(), 199);
}

TEST(QuickSort, ArrayOfEqualElementsEndsAfterOnePartition)
{
    for (unsigned long const count : {9UL, 10UL, 255UL, 1000UL})
    {
        for (unsigned long const width : {3UL, 4UL, 8UL, 16UL, 24UL, 32UL, 33UL, 64UL, 100UL})
        {
            Bytes const before = make_elements(std::vector<int>(count, 5), width);
            Bytes bytes = before;
            Probe probe;
            sort(Form::plain, probe, bytes.data(), count, width);
            ASSERT_EQ(probe.calls.size(), 2 * (count - 1));
            long const step = static_cast<long>(width);
            long const last = static_cast<long>(count - 1);
            for (long i = 0; i < last; ++i)
            {
                ASSERT_EQ(probe.calls[static_cast<unsigned long>(i)], std::make_pair((i + 1) * step, 0L));
                ASSERT_EQ(probe.calls[static_cast<unsigned long>(last + i)], std::make_pair((last - i) * step, 0L));
            }
            // Only the middle one and the first have changed places.
            Bytes expected = before;
            reference::plain_swap(expected.data(), expected.data() + (count >> 1) * width, width);
            ASSERT_EQ(bytes, expected);
        }
    }
}

TEST(QuickSort, FewDistinctKeysTakeQuadraticTime)
{
    std::mt19937 random(4);
    auto const comparisons = [&](unsigned long count)
    {
        Bytes bytes = make_elements(random_keys(count, 2, random), 4);
        Probe probe;
        sort(Form::plain, probe, bytes.data(), count, 4);
        return static_cast<double>(probe.calls.size());
    };
    double const small = comparisons(400);
    double const large = comparisons(1600);
    EXPECT_GT(large, 1600.0 * 1600.0 / 32);
    EXPECT_GT(large / small, 10.0);
}

TEST(QuickSort, DistinctKeysInSortedOrderTakeLogarithmicallyManyPasses)
{
    unsigned long const count = 1UL << 14;
    std::vector<unsigned int> values(count);
    for (unsigned long i = 0; i < count; ++i)
        values[i] = static_cast<unsigned int>(i);
    static unsigned long calls;
    calls = 0;
    Sort::vfqsort(values.data(), count, 4,
                  [](void const* a, void const* b)
                  {
                      ++calls;
                      unsigned int const x = *static_cast<unsigned int const*>(a);
                      unsigned int const y = *static_cast<unsigned int const*>(b);
                      return x < y ? -1 : x > y ? 1 : 0;
                  });
    EXPECT_TRUE(std::is_sorted(values.begin(), values.end()));
    EXPECT_LT(calls, count * 16);
}

} // namespace
