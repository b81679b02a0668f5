#include "memory/sort_support.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace
{

using sorting::all_widths;
using sorting::Bytes;
using sorting::ReadOnlyPage;

static_assert(std::is_same_v<decltype(&ORVA::Buffers::swap), void (*)(void*, void*, unsigned long)>);

Bytes random_bytes(unsigned long size, std::mt19937& random)
{
    Bytes bytes(size);
    for (auto& byte : bytes)
        byte = static_cast<unsigned char>(random());
    return bytes;
}

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

} // namespace
