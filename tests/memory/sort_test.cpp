#include "ORVA/Buffers/Sort.h"

#include "reference/plain_sort.h"

#include <gtest/gtest.h>

#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

namespace
{

namespace Sort = ORVA::Buffers::Sort;

using Bytes = std::vector<unsigned char>;
using Calls = std::vector<std::pair<long, long>>;

unsigned long const all_widths[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 12, 16, 23, 24, 31, 32, 33, 40, 63, 64, 71, 96, 100};

// An element begins with its key. The bytes behind it tell equal elements apart: they are made of the index that the
// element had at first. An element of one byte holds the key in its upper half and a few bits of the index below.
int key_of(void const* element, unsigned long width)
{
    int const first = *static_cast<unsigned char const*>(element);
    return width == 1 ? first >> 4 : first;
}

Bytes make_elements(std::vector<int> const& keys, unsigned long width)
{
    Bytes bytes(keys.size() * width);
    for (unsigned long i = 0; i < keys.size(); ++i)
    {
        unsigned char* const element = bytes.data() + i * width;
        if (width == 1)
        {
            element[0] = static_cast<unsigned char>((keys[i] << 4) | static_cast<int>(i & 15));
            continue;
        }
        element[0] = static_cast<unsigned char>(keys[i]);
        element[1] = static_cast<unsigned char>(i);
        for (unsigned long k = 2; k < width; ++k)
            element[k] = static_cast<unsigned char>(k == 2 ? i >> 8 : i * 31 + k * 7);
    }
    return bytes;
}

// What the comparison functions look at: a plain function has no other way to the array under test.
struct Probe
{
    unsigned char const* base = nullptr;
    unsigned long width = 0;
    Calls calls;
    std::function<int(void const*, void const*)> verdict;

    long position(void const* element) const { return static_cast<unsigned char const*>(element) - base; }

    int compare(void const* a, void const* b)
    {
        calls.emplace_back(position(a), position(b));
        if (verdict)
            return verdict(a, b);
        return key_of(a, width) - key_of(b, width);
    }
};

Probe* current = nullptr;

int compare_current(void const* a, void const* b)
{
    return current->compare(a, b);
}

int compare_in_context(void const* a, void const* b, void const* context)
{
    return (*static_cast<Probe* const*>(context))->compare(a, b);
}

enum class Form
{
    plain,
    context
};

Form const both_forms[] = {Form::plain, Form::context};

void sort(Form form, Probe& probe, void* base, unsigned long count, unsigned long width)
{
    probe.base = static_cast<unsigned char const*>(base);
    probe.width = width;
    Probe* const context = &probe;
    current = form == Form::plain ? &probe : nullptr;
    if (form == Form::plain)
        Sort::vfqsort(base, count, width, compare_current);
    else
        Sort::vfpqsort(base, count, width, &context, compare_in_context);
}

reference::PlainSortCounts sort_plainly(Probe& probe, void* base, unsigned long count, unsigned long width)
{
    probe.base = static_cast<unsigned char const*>(base);
    probe.width = width;
    return reference::plain_sort(base, count, width, [&](void const* a, void const* b) { return probe.compare(a, b); });
}

// True if both sorts give the same bytes by the same comparisons. The array stands in a block of its exact size.
bool agrees_with_twin(Form form, Bytes const& elements, unsigned long width,
                      reference::PlainSortCounts* counts = nullptr)
{
    Bytes expected = elements;
    Probe twin_probe;
    unsigned long const count = elements.size() / width;
    reference::PlainSortCounts const met = sort_plainly(twin_probe, expected.data(), count, width);
    if (counts != nullptr)
        *counts = met;

    std::unique_ptr<unsigned char[]> const actual(new unsigned char[elements.size()]);
    std::copy(elements.begin(), elements.end(), actual.get());
    Probe probe;
    sort(form, probe, actual.get(), count, width);
    return std::equal(expected.begin(), expected.end(), actual.get()) && probe.calls == twin_probe.calls;
}

Calls in_bytes(Calls calls, long width)
{
    for (auto& call : calls)
        call = {call.first * width, call.second * width};
    return calls;
}

// A page that traps every write, with `contents` in it.
class ReadOnlyPage
{
public:
    explicit ReadOnlyPage(Bytes const& contents)
        : m_page(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))
    {
        if (m_page == MAP_FAILED || contents.size() > size)
            throw std::runtime_error("no page");
        std::copy(contents.begin(), contents.end(), static_cast<unsigned char*>(m_page));
        if (mprotect(m_page, size, PROT_READ) != 0)
            throw std::runtime_error("no protection");
    }

    ReadOnlyPage(ReadOnlyPage const&) = delete;
    ReadOnlyPage& operator=(ReadOnlyPage const&) = delete;

    ~ReadOnlyPage() { munmap(m_page, size); }

    void* data() const { return m_page; }

private:
    static constexpr unsigned long size = 4096;
    void* m_page;
};

Bytes random_bytes(unsigned long size, std::mt19937& random)
{
    Bytes bytes(size);
    for (auto& byte : bytes)
        byte = static_cast<unsigned char>(random());
    return bytes;
}

std::vector<int> random_keys(unsigned long count, int distinct, std::mt19937& random)
{
    std::vector<int> keys(count);
    for (auto& key : keys)
        key = static_cast<int>(random() % static_cast<unsigned int>(distinct));
    return keys;
}

// ---------------------------------------------------------------------------------------------------- signatures

static_assert(std::is_same_v<decltype(&ORVA::Buffers::swap), void (*)(void*, void*, unsigned long)>);
static_assert(std::is_same_v<decltype(&Sort::vfqsort),
                             void (*)(void*, unsigned long, unsigned long, int (*)(void const*, void const*))>);
static_assert(std::is_same_v<decltype(&Sort::vfpqsort), void (*)(void*, unsigned long, unsigned long, void const*,
                                                                 int (*)(void const*, void const*, void const*))>);
static_assert(
    std::is_same_v<decltype(&Sort::vfqsearch), unsigned long (*)(void const*, void const*, unsigned long, unsigned long,
                                                                 int (*)(void const*, void const*))>);
static_assert(std::is_same_v<decltype(&Sort::vfqfind), decltype(&Sort::vfqsearch)>);
static_assert(std::is_same_v<decltype(&Sort::vfpqsearch),
                             unsigned long (*)(void const*, void const*, unsigned long, unsigned long, void const*,
                                               int (*)(void const*, void const*, void const*))>);

// ---------------------------------------------------------------------------------------------------------- swap

TEST(Swap, ExchangesEveryWidthAtEveryAlignmentAndNothingElse)
{
    std::mt19937 random(1);
    for (unsigned long width = 0; width <= 140; ++width)
    {
        for (unsigned long shift = 0; shift < 9; ++shift)
        {
            unsigned long const first = 16 + shift;
            unsigned long const second = first + width + 3;
            Bytes const before = random_bytes(second + width + 16, random);
            Bytes expected = before;
            std::copy_n(before.begin() + static_cast<long>(first), width, expected.begin() + static_cast<long>(second));
            std::copy_n(before.begin() + static_cast<long>(second), width, expected.begin() + static_cast<long>(first));

            Bytes upwards = before;
            ORVA::Buffers::swap(upwards.data() + first, upwards.data() + second, width);
            ASSERT_EQ(upwards, expected) << "width " << width << " shift " << shift;
            Bytes downwards = before;
            ORVA::Buffers::swap(downwards.data() + second, downwards.data() + first, width);
            ASSERT_EQ(downwards, expected) << "width " << width << " shift " << shift;
        }
    }
}

TEST(Swap, ExchangesAdjacentElements)
{
    for (unsigned long width : all_widths)
    {
        Bytes bytes(2 * width, 1);
        std::fill_n(bytes.begin(), width, static_cast<unsigned char>(2));
        ORVA::Buffers::swap(bytes.data(), bytes.data() + width, width);
        Bytes expected(2 * width, 2);
        std::fill_n(expected.begin(), width, static_cast<unsigned char>(1));
        EXPECT_EQ(bytes, expected) << width;
    }
}

TEST(Swap, OfOneElementWithItselfDoesNotWrite)
{
    ReadOnlyPage const page(Bytes(200, 7));
    for (unsigned long width = 0; width <= 140; ++width)
        ORVA::Buffers::swap(page.data(), page.data(), width);
    ORVA::Buffers::swap(nullptr, nullptr, 8);
}

TEST(Swap, OfWidthZeroDoesNotWrite)
{
    ReadOnlyPage const page(Bytes(200, 7));
    ORVA::Buffers::swap(page.data(), static_cast<unsigned char*>(page.data()) + 8, 0);
}

TEST(Swap, OverlappingRangesGoByWordsAndThenByBytesAscending)
{
    std::mt19937 random(2);
    for (unsigned long width = 1; width <= 110; ++width)
    {
        for (unsigned long distance = 1; distance <= width; ++distance)
        {
            Bytes const before = random_bytes(width + distance, random);
            for (bool const upwards : {true, false})
            {
                Bytes expected = before;
                Bytes actual = before;
                unsigned long const a = upwards ? 0 : distance;
                unsigned long const b = upwards ? distance : 0;
                reference::plain_swap(expected.data() + a, expected.data() + b, width);
                ORVA::Buffers::swap(actual.data() + a, actual.data() + b, width);
                ASSERT_EQ(actual, expected) << "width " << width << " distance " << distance;
            }
        }
    }
}

TEST(Swap, OverlappingRangesByHand)
{
    Bytes bytes = {1, 2, 3, 4};
    ORVA::Buffers::swap(bytes.data(), bytes.data() + 1, 3);
    EXPECT_EQ(bytes, (Bytes{2, 3, 4, 1}));

    std::vector<unsigned long> words = {1, 2, 3, 4, 5, 6};
    ORVA::Buffers::swap(words.data(), words.data() + 1, 40);
    EXPECT_EQ(words, (std::vector<unsigned long>{2, 3, 4, 5, 6, 1}));
}

// ------------------------------------------------------------------------------------------ the sort: short cases

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

// ------------------------------------------------------------------------------------- the sort: against its twin

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

// --------------------------------------------------------------------------- the sort: comparisons that misbehave

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

// -------------------------------------------------------------------------------------------------- the bisection

struct SearchProbe
{
    std::vector<std::pair<void const*, void const*>> calls;
};

SearchProbe* searched = nullptr;

int compare_longs(void const* key, void const* element)
{
    if (searched != nullptr)
        searched->calls.emplace_back(key, element);
    long const a = *static_cast<long const*>(key);
    long const b = *static_cast<long const*>(element);
    return a < b ? -1 : a > b ? 1 : 0;
}

int compare_longs_in_context(void const* key, void const* element, void const* context)
{
    static_cast<std::vector<std::pair<void const*, void const*>>*>(const_cast<void*>(context))
        ->emplace_back(key, element);
    long const a = *static_cast<long const*>(key);
    long const b = *static_cast<long const*>(element);
    return a < b ? -1 : a > b ? 1 : 0;
}

// The result of the three functions, which must agree in it and in their calls; `calls` receives the indices compared.
unsigned long search_all(long const& key, std::vector<long> const& values, std::vector<long>* indices = nullptr)
{
    SearchProbe first;
    SearchProbe second;
    SearchProbe third;
    searched = &first;
    unsigned long const result = Sort::vfqsearch(&key, values.data(), values.size(), 8, compare_longs);
    searched = &second;
    EXPECT_EQ(Sort::vfqfind(&key, values.data(), values.size(), 8, compare_longs), result);
    searched = nullptr;
    EXPECT_EQ(Sort::vfpqsearch(&key, values.data(), values.size(), 8, &third.calls, compare_longs_in_context), result);
    EXPECT_EQ(first.calls, second.calls);
    EXPECT_EQ(first.calls, third.calls);
    if (indices != nullptr)
        indices->clear();
    for (auto const& call : first.calls)
    {
        EXPECT_EQ(call.first, &key);
        if (indices != nullptr)
            indices->push_back(static_cast<long const*>(call.second) - values.data());
    }
    return result;
}

TEST(Bisection, NoElementsGiveZeroWithoutAComparison)
{
    std::vector<long> indices = {1};
    EXPECT_EQ(search_all(5, {}, &indices), 0U);
    EXPECT_TRUE(indices.empty());
    long const key = 1;
    EXPECT_EQ(Sort::vfqsearch(&key, nullptr, 0, 8, nullptr), 0U);
    EXPECT_EQ(Sort::vfqfind(&key, nullptr, 0, 8, nullptr), 0U);
    EXPECT_EQ(Sort::vfpqsearch(&key, nullptr, 0, 8, nullptr, nullptr), 0U);
}

TEST(Bisection, KeyBelowAllOrEqualToTheFirstTakesOneComparison)
{
    std::vector<long> indices;
    EXPECT_EQ(search_all(1, {2, 4, 6, 8}, &indices), 0U);
    EXPECT_EQ(indices, (std::vector<long>{0}));
    EXPECT_EQ(search_all(2, {2, 4, 6, 8}, &indices), 0U);
    EXPECT_EQ(indices, (std::vector<long>{0}));
}

TEST(Bisection, KeyAboveAllGivesTheCountAfterTwoComparisons)
{
    std::vector<long> indices;
    EXPECT_EQ(search_all(9, {2, 4, 6, 8}, &indices), 4U);
    EXPECT_EQ(indices, (std::vector<long>{0, 3}));
}

TEST(Bisection, OneElementIsComparedTwiceForAKeyAboveIt)
{
    std::vector<long> indices;
    EXPECT_EQ(search_all(9, {2}, &indices), 1U);
    EXPECT_EQ(indices, (std::vector<long>{0, 0}));
    EXPECT_EQ(search_all(2, {2}, &indices), 0U);
    EXPECT_EQ(indices, (std::vector<long>{0}));
    EXPECT_EQ(search_all(1, {2}, &indices), 0U);
    EXPECT_EQ(indices, (std::vector<long>{0}));
}

TEST(Bisection, KeyBetweenTwoElementsGivesOne)
{
    std::vector<long> indices;
    EXPECT_EQ(search_all(3, {2, 4}, &indices), 1U);
    EXPECT_EQ(indices, (std::vector<long>{0, 1}));
    EXPECT_EQ(search_all(4, {2, 4}, &indices), 1U);
    EXPECT_EQ(indices, (std::vector<long>{0, 1}));
}

TEST(Bisection, LooksAtTheMiddleOfWhatIsLeft)
{
    std::vector<long> indices;
    EXPECT_EQ(search_all(3, {2, 4, 6}, &indices), 1U);
    EXPECT_EQ(indices, (std::vector<long>{0, 2, 1}));
    EXPECT_EQ(search_all(5, {2, 4, 6}, &indices), 2U);
    EXPECT_EQ(indices, (std::vector<long>{0, 2, 1}));

    std::vector<long> const ten = {0, 10, 20, 30, 40, 50, 60, 70, 80, 90};
    EXPECT_EQ(search_all(65, ten, &indices), 7U); // 0 and 9, then (0 + 9) / 2, (4 + 9) / 2, (6 + 9) / 2
    EXPECT_EQ(indices, (std::vector<long>{0, 9, 4, 6, 7}));
    EXPECT_EQ(search_all(10, ten, &indices), 1U);
    EXPECT_EQ(indices, (std::vector<long>{0, 9, 4, 2, 1}));
}

TEST(Bisection, RunOfEqualElementsGivesItsFirst)
{
    EXPECT_EQ(search_all(5, {1, 5, 5, 5, 5, 9}), 1U);
    EXPECT_EQ(search_all(5, {1, 2, 3, 5, 5, 5}), 3U);
    EXPECT_EQ(search_all(5, {5, 5, 5, 5}), 0U);
    EXPECT_EQ(search_all(6, {5, 5, 5, 5}), 4U);
}

TEST(Bisection, SortedArraysAgreeWithTheStandardLowerBoundAndTheTwin)
{
    std::mt19937 random(10);
    for (unsigned long count = 0; count < 70; ++count)
    {
        for (int round = 0; round < 4; ++round)
        {
            std::vector<long> values(count);
            for (auto& value : values)
                value = static_cast<long>(random() % (round < 2 ? 200 : 8)) * 2;
            std::sort(values.begin(), values.end());
            long const limit = round < 2 ? 402 : 18;
            for (long key = -1; key < limit; ++key)
            {
                std::vector<long> indices;
                unsigned long const expected =
                    static_cast<unsigned long>(std::lower_bound(values.begin(), values.end(), key) - values.begin());
                ASSERT_EQ(search_all(key, values, &indices), expected);

                std::vector<long> by_twin;
                unsigned long const twin =
                    reference::plain_search(&key, values.data(), count, 8,
                                            [&](void const* given, void const* element)
                                            {
                                                by_twin.push_back(static_cast<long const*>(element) - values.data());
                                                return compare_longs(given, element);
                                            });
                ASSERT_EQ(twin, expected);
                ASSERT_EQ(indices, by_twin);
            }
        }
    }
}

TEST(Bisection, ElementsOfEveryWidthAreFound)
{
    static unsigned long width_in_use;
    for (unsigned long const width : all_widths)
    {
        width_in_use = width;
        for (unsigned long count = 1; count <= 16; ++count)
        {
            std::vector<int> keys(count);
            for (unsigned long i = 0; i < count; ++i)
                keys[i] = static_cast<int>(i);
            Bytes const bytes = make_elements(keys, width);
            for (unsigned long i = 0; i < count; ++i)
            {
                unsigned long const found =
                    Sort::vfqsearch(bytes.data() + i * width, bytes.data(), count, width,
                                    [](void const* key, void const* element)
                                    { return key_of(key, width_in_use) - key_of(element, width_in_use); });
                ASSERT_EQ(found, i) << "width " << width << " count " << count;
            }
        }
    }
}

TEST(Bisection, KeyMayHaveAnotherFormThanTheElements)
{
    struct Entry
    {
        char const* name;
        int value;
    };
    Entry const entries[] = {{"alpha", 1}, {"delta", 2}, {"kappa", 3}, {"omega", 4}, {"sigma", 5}};
    auto const by_name = [](void const* key, void const* element)
    { return std::strcmp(static_cast<char const*>(key), static_cast<Entry const*>(element)->name); };
    EXPECT_EQ(Sort::vfqsearch("kappa", entries, 5, sizeof(Entry), by_name), 2U);
    EXPECT_EQ(Sort::vfqfind("lambda", entries, 5, sizeof(Entry), by_name), 3U);
    EXPECT_EQ(Sort::vfqsearch("tau", entries, 5, sizeof(Entry), by_name), 5U);
    EXPECT_EQ(Sort::vfpqsearch("beta", entries, 5, sizeof(Entry), entries,
                               [](void const* key, void const* element, void const* context)
                               {
                                   EXPECT_GE(element, context);
                                   return std::strcmp(static_cast<char const*>(key),
                                                      static_cast<Entry const*>(element)->name);
                               }),
              1U);
}

TEST(Bisection, ComparisonThatContradictsItselfStaysInsideAndAgreesWithTheTwin)
{
    static std::mt19937 random;
    static std::vector<long> offsets;
    static long const* base;
    for (unsigned int seed = 0; seed < 300; ++seed)
    {
        unsigned long const count = seed % 40;
        std::unique_ptr<long[]> const values(new long[count]());
        base = values.get();
        long const key = 0;
        auto const verdict = [](void const*, void const* element)
        {
            offsets.push_back(static_cast<long const*>(element) - base);
            return static_cast<int>(random() % 3) - 1;
        };
        random.seed(seed);
        offsets.clear();
        unsigned long const expected = reference::plain_search(&key, base, count, 8, verdict);
        std::vector<long> const by_twin = offsets;
        random.seed(seed);
        offsets.clear();
        ASSERT_EQ(Sort::vfqsearch(&key, base, count, 8, verdict), expected);
        ASSERT_EQ(offsets, by_twin);
        for (long const offset : offsets)
        {
            ASSERT_GE(offset, 0);
            ASSERT_LT(static_cast<unsigned long>(offset), count);
        }
    }
}

TEST(Bisection, ExceptionOfTheComparisonPasses)
{
    std::vector<long> const values = {1, 2, 3};
    long const key = 2;
    EXPECT_THROW(Sort::vfqsearch(&key, values.data(), 3, 8,
                                 [](void const*, void const*) -> int { throw std::runtime_error("comparison"); }),
                 std::runtime_error);
    EXPECT_THROW(Sort::vfpqsearch(&key, values.data(), 3, 8, nullptr,
                                  [](void const*, void const*, void const*) -> int
                                  { throw std::runtime_error("comparison"); }),
                 std::runtime_error);
}

} // namespace
