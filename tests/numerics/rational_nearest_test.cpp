#include "numerics/rational_support.h"

#include <cmath>
#include <limits>

namespace
{

using namespace numerics;

class RationalNearest : public RationalFixture
{
protected:
    static CRational nearest(double value, int limit)
    {
        CRational result = raw(77, 78);
        EXPECT_TRUE(result.fassign(value, limit)) << value;
        return result;
    }
};

TEST_F(RationalNearest, ExamplesAreThese)
{
    EXPECT_TRUE(is(nearest(0.5, 100), 1, 2));
    EXPECT_TRUE(is(nearest(3.14159265, 100), 311, 99));
    EXPECT_TRUE(is(nearest(-2.75, 8), -11, 4));
    EXPECT_TRUE(is(nearest(3.14159265358979, 7), 22, 7));
    EXPECT_TRUE(is(nearest(3.14159265358979, 113), 355, 113));
    EXPECT_TRUE(is(nearest(-3.14159265, 100), -311, 99));
    EXPECT_TRUE(is(nearest(1.0 / 3.0, 1000), 1, 3));
    EXPECT_TRUE(is(nearest(1e-9, INT_MAX), 1, 1000000000));
}

TEST_F(RationalNearest, WholeNumbersAreThemselves)
{
    for (int const number : {0, 1, -1, 2, 1000, -1000, 1073741823, -1073741823})
        for (int const limit : {1, 2, 100, 1073741823, INT_MAX})
            EXPECT_TRUE(is(nearest(number, limit), number, 1)) << number << ' ' << limit;
    EXPECT_TRUE(is(nearest(-0.0, 5), 0, 1));
}

TEST_F(RationalNearest, ALimitOf1GivesANearestWholeNumber)
{
    EXPECT_TRUE(is(nearest(2.25, 1), 2, 1));
    EXPECT_TRUE(is(nearest(2.75, 1), 3, 1));
    EXPECT_TRUE(is(nearest(-2.75, 1), -3, 1));
    EXPECT_TRUE(is(nearest(0.25, 1), 0, 1));
    EXPECT_TRUE(is(nearest(0.75, 1), 1, 1));
    EXPECT_TRUE(is(nearest(2.5, 1), 2, 1)) << "of two that are as near, the earlier one stays";
}

TEST_F(RationalNearest, ALimitBelow1GivesZero)
{
    for (int const limit : {0, -1, -100, INT_MIN})
        for (double const value : {0.0, 0.5, -2.75, 1073741823.0, 1e-300})
            EXPECT_TRUE(is(nearest(value, limit), 0, 1)) << value << ' ' << limit;
}

TEST_F(RationalNearest, BeyondTheRangeIs1Over0AndFalseWithoutAReport)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    double const above = std::nextafter(1073741823.0, infinity);
    for (double const value :
         {2000000000.0, -2000000000.0, above, -above, infinity, -infinity, std::nan(""), -std::nan("")})
        for (int const limit : {100, 0, INT_MAX})
        {
            CRational result(1, 2);
            EXPECT_FALSE(result.fassign(value, limit)) << value;
            EXPECT_TRUE(is(result, 1, 0)) << value;
        }
    EXPECT_EQ(recorder.count(), 0U);
}

TEST_F(RationalNearest, AtTheEndOfTheRangeIsTaken)
{
    EXPECT_TRUE(is(nearest(1073741823.0, 100), 1073741823, 1));
    EXPECT_TRUE(is(nearest(-1073741823.0, 100), -1073741823, 1));
}

TEST_F(RationalNearest, NumeratorsStayInRange)
{
    EXPECT_TRUE(is(nearest(1073741822.5, 2), 1073741822, 1));
    EXPECT_TRUE(is(nearest(1073741822.75, 100), 1073741823, 1));
    EXPECT_TRUE(is(nearest(536870911.5, 2), 1073741823, 2)) << "the largest that fits";
    EXPECT_TRUE(is(nearest(536870912.5, 2), 536870912, 1)) << "the first that does not";
    EXPECT_TRUE(is(nearest(-1000000000.5, 100), -1000000000, 1));
}

TEST_F(RationalNearest, TheLastStepGoesAsFarAsTheRangeAllows)
{
    // The terms are 10, then 200000000. The second convergent is beyond the range, and the limit would allow more steps
    // than the range.
    double const value = 10.0 + 1.0 / 200000000.0;
    CRational const result = nearest(value, 300000000);
    EXPECT_TRUE(is(result, 1073741821, 107374182));
}

TEST_F(RationalNearest, ALimitAboveTheRangeHoldsForTheDenominatorAsItIs)
{
    CRational const result = nearest(1.0 / (3.0 + 1.0 / 600000000.0), INT_MAX);
    plain::Rational const expected = plain::nearest(1.0 / (3.0 + 1.0 / 600000000.0), INT_MAX);
    EXPECT_TRUE(is(result, expected));
    EXPECT_GT(result.den(), 1073741823);
}

TEST_F(RationalNearest, TheSmallestNumbersEndTheExpansion)
{
    EXPECT_TRUE(is(nearest(std::numeric_limits<double>::denorm_min(), 1000), 0, 1));
    EXPECT_TRUE(is(nearest(std::numeric_limits<double>::min(), INT_MAX), 0, 1));
    EXPECT_TRUE(is(nearest(1e-10, INT_MAX), 0, 1));
    EXPECT_TRUE(is(nearest(2.0 + 1e-12, 1000000), 2, 1));
}

TEST_F(RationalNearest, EveryFractionUpToTheLimitIsFoundAgain)
{
    for (int den = 1; den <= 60; ++den)
        for (int num = -200; num <= 200; ++num)
        {
            double const value = static_cast<double>(num) / den;
            CRational const expected(num, den);
            ASSERT_TRUE(is(nearest(value, 60), expected.num(), expected.den())) << num << '/' << den;
        }
}

TEST_F(RationalNearest, NoOtherFractionUpToTheLimitIsNearer)
{
    std::mt19937_64 engine(12);
    std::uniform_real_distribution<double> numbers(-20.0, 20.0);
    for (int round = 0; round < 3000; ++round)
    {
        double const value = numbers(engine);
        int const limit = static_cast<int>(engine() % 60) + 1;
        CRational const result = nearest(value, limit);
        ASSERT_GE(result.den(), 1);
        ASSERT_LE(result.den(), limit);
        ASSERT_EQ(plain::absolute(plain::gcd(result.num(), result.den())), 1);
        double const error = std::fabs(value - result.fract());
        for (int den = 1; den <= limit; ++den)
            ASSERT_LE(error, std::fabs(value - std::round(value * den) / den) + 1e-14) << value << ' ' << limit;
    }
}

TEST_F(RationalNearest, OfAnyNumberAndLimitIsThatOfTheTwin)
{
    std::mt19937_64 engine(13);
    std::uniform_real_distribution<double> mantissas(-1.0, 1.0);
    for (int round = 0; round < 60000; ++round)
    {
        double const value = std::ldexp(mantissas(engine), static_cast<int>(engine() % 60) - 30);
        int const limit = static_cast<int>(static_cast<unsigned int>(engine())) >> (engine() % 32);
        plain::Rational const expected = plain::nearest(value, limit);
        CRational const result = nearest(value, limit);
        ASSERT_TRUE(is(result, expected)) << value << ' ' << limit;
        ASSERT_LE(std::abs(result.num()), 1073741823);
    }
}

TEST_F(RationalNearest, TheDefaultResultIsOverwritten)
{
    CRational value(5, 7);
    EXPECT_TRUE(value.fassign(0.25, 4));
    EXPECT_TRUE(is(value, 1, 4));
}

} // namespace
