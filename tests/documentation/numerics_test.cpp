// The code of docs/numerics.md.

#include "ORVA/Buffers.h"
#include "ORVA/Develop.h"
#include "ORVA/Math.h"

#include <gtest/gtest.h>

using ORVA::Develop::CMTRandom;
using ORVA::Math::CRational;

namespace
{

TEST(Numerics, fractions_are_exact)
{
    // [[rational]]
    CRational const rate(30000, 1001);                // frames per second
    CRational const seconds = CRational(1800) / rate; // 3003/50, exactly
    if (!seconds.isNormal())
        return;                           // a component was out of range, or a divisor 0
    double const shown = seconds.fract(); // 60.06, for people
    // [[end]]
    EXPECT_EQ(seconds.num(), 3003);
    EXPECT_EQ(seconds.den(), 50);
    EXPECT_DOUBLE_EQ(shown, 60.06);
}

TEST(Numerics, order_of_negative_values_is_that_of_their_difference)
{
    // [[order]]
    CRational const a(-1, 2);
    CRational const b(-1, 4);
    bool const wrong = a < b;       // false: two negative values are not ordered
    bool const right = a - b < 0.0; // true: the difference is -1/4

    CRational product = a * CRational(1, 2); // 1/-4
    product._normalize();                    // -1/4
    bool const equal = product == b;         // true
    // [[end]]
    EXPECT_FALSE(wrong);
    EXPECT_TRUE(right);
    EXPECT_TRUE(equal);
}

TEST(Numerics, nearest_fraction_has_a_bounded_denominator)
{
    // [[nearest]]
    CRational nearest;
    if (!nearest.fassign(29.97002997, 1001)) // a denominator of at most 1001
        return;                              // not a number, or beyond the range
    // 30000/1001
    // [[end]]
    EXPECT_EQ(nearest.num(), 30000);
    EXPECT_EQ(nearest.den(), 1001);
}

// [[shuffle]]
// The same order for the same seed, on every machine.
void shuffle(unsigned int* order, unsigned int count, unsigned int seed)
{
    CMTRandom random;
    random.seed(seed);
    for (unsigned int index = 0; index < 624; ++index)
        random.rnd(); // the words behind a seed give it away
    for (unsigned int left = count; left > 1; --left)
    {
        random.maxrnd(left - 1); // the largest result; drnd() * left could be `left` itself
        std::swap(order[left - 1], order[random.rnd()]);
    }
}
// [[end]]

TEST(Numerics, shuffle_is_a_permutation_and_can_be_repeated)
{
    unsigned int first[100];
    unsigned int second[100];
    for (unsigned int index = 0; index < 100; ++index)
        first[index] = second[index] = index;
    shuffle(first, 100, 7);
    shuffle(second, 100, 7);
    unsigned long sum = 0;
    bool moved = false;
    for (unsigned int index = 0; index < 100; ++index)
    {
        EXPECT_EQ(first[index], second[index]);
        sum += first[index] * first[index];
        moved = moved || first[index] != index;
    }
    EXPECT_EQ(sum, 328350U);
    EXPECT_TRUE(moved);
}

TEST(Numerics, check_of_pieces_is_that_of_the_whole)
{
    // [[crc]]
    static ORVA::Buffers::CMachineCRC const check(32, 0x04C11DB7); // the table is made once, and serves all threads
    unsigned long crc = check.Eval("Take", 4, 0);
    crc = check.Eval(" One", 4, crc); // goes on with the result of the piece before
    // [[end]]
    EXPECT_EQ(crc, check.Eval("Take One", 8, 0));
}

} // namespace
