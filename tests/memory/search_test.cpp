#include "memory/sort_support.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <type_traits>

namespace
{

namespace Sort = ORVA::Buffers::Sort;
using sorting::all_widths;
using sorting::Bytes;
using sorting::key_of;
using sorting::make_elements;

static_assert(
    std::is_same_v<decltype(&Sort::vfqsearch), unsigned long (*)(void const*, void const*, unsigned long, unsigned long,
                                                                 int (*)(void const*, void const*))>);
static_assert(std::is_same_v<decltype(&Sort::vfqfind), decltype(&Sort::vfqsearch)>);
static_assert(std::is_same_v<decltype(&Sort::vfpqsearch),
                             unsigned long (*)(void const*, void const*, unsigned long, unsigned long, void const*,
                                               int (*)(void const*, void const*, void const*))>);

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
