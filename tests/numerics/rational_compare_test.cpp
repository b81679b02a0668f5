#include "numerics/rational_support.h"

#include <boost/rational.hpp>

#include <cmath>
#include <limits>

namespace
{

using namespace numerics;
using R = CRational;
using Known = boost::rational<long long>;

static_assert(std::is_same_v<decltype(R() < R()), bool>);
static_assert(std::is_same_v<decltype(R() == 1.0), bool>);

class RationalOrder : public RationalFixture
{
};

class RationalEquality : public RationalFixture
{
};

class RationalAndDouble : public RationalFixture
{
};

/// All five comparisons say what the twin says, with its reports.
void expect_twin(R const& a, R const& b, LogRecorder& recorder)
{
    std::string const what = testing::PrintToString(a) + ' ' + testing::PrintToString(b);
    plain::Answer const less = plain::less(twin(a), twin(b));
    plain::Answer const greater = plain::greater(twin(a), twin(b));
    bool const equal = plain::equal(twin(a), twin(b));
    ASSERT_EQ(a < b, less.value) << what;
    ASSERT_EQ(recorder.take(), report_of(less.line)) << what;
    ASSERT_EQ(a > b, greater.value) << what;
    ASSERT_EQ(recorder.take(), report_of(greater.line)) << what;
    ASSERT_EQ(a == b, equal) << what;
    ASSERT_EQ(recorder.count(), 0U) << what;
    ASSERT_EQ(a <= b, less.value || equal) << what;
    ASSERT_EQ(recorder.take(), report_of(less.line)) << what;
    ASSERT_EQ(a >= b, greater.value || equal) << what;
    ASSERT_EQ(recorder.take(), report_of(greater.line)) << what;
}

TEST_F(RationalOrder, OfValuesThatAreNotBothNegativeIsExact)
{
    EXPECT_FALSE(R(1, 2) < R(1, 3));
    EXPECT_TRUE(R(1, 3) < R(1, 2));
    EXPECT_TRUE(R(1, 2) > R(1, 3));
    EXPECT_FALSE(R(1, 3) > R(1, 2));
    EXPECT_TRUE(R(-1, 2) < R(1, 3));
    EXPECT_FALSE(R(-1, 2) > R(1, 3));
    EXPECT_TRUE(R(1, 3) > R(-1, 2));
    EXPECT_FALSE(R(1, 3) < R(-1, 2));
}

TEST_F(RationalOrder, OfZeroIsThatOfItsSign)
{
    EXPECT_TRUE(R() < R(1, 2));
    EXPECT_FALSE(R() > R(1, 2));
    EXPECT_FALSE(R(1, 2) < R());
    EXPECT_TRUE(R(1, 2) > R());
    EXPECT_TRUE(R(-1, 2) < R());
    EXPECT_FALSE(R(-1, 2) > R());
    EXPECT_TRUE(R() > R(-1, 2));
    EXPECT_FALSE(R() < R(-1, 2));
    EXPECT_FALSE(R() < R());
    EXPECT_FALSE(R() > R());
    EXPECT_TRUE(R() <= R());
    EXPECT_TRUE(R() >= R());
}

TEST_F(RationalOrder, OfTwoNegativeValuesIsNotThatOfArithmetic)
{
    EXPECT_FALSE(R(-1, 2) < R(-1, 4));
    EXPECT_TRUE(R(-1, 2) > R(-1, 4));
    EXPECT_TRUE(R(-1, 4) < R(-1, 2));
    EXPECT_FALSE(R(-1, 4) > R(-1, 2));
    EXPECT_FALSE(R(-2, 5) < R(-3, 5));
    EXPECT_TRUE(R(-2, 5) > R(-3, 5));
    EXPECT_FALSE(R(-3, 5) < R(-2, 5));
    EXPECT_TRUE(R(-3, 5) > R(-2, 5));
}

TEST_F(RationalOrder, OfANegativeValueAndItselfIsNeither)
{
    for (R const& value : {R(-1, 2), R(-2, 5), R(-3), R(-1073741823, 1073741822)})
    {
        EXPECT_FALSE(value < value);
        EXPECT_FALSE(value > value);
        EXPECT_TRUE(value <= value);
        EXPECT_TRUE(value >= value);
    }
}

TEST_F(RationalOrder, AQuotientBeyondTheRangeIsReportedAndTakenForGreater)
{
    R const large(1073741823);
    R const small(1, 1073741823);
    EXPECT_FALSE(small < large) << "although it is less";
    expect_report(292);
    EXPECT_TRUE(small > large) << "although it is less";
    expect_report(292);
    EXPECT_FALSE(large < small);
    expect_report(292);
    EXPECT_TRUE(large > small);
    expect_report(292);
}

TEST_F(RationalOrder, AFailureOfTheFirstPartReportsInTheOrderWithEquality)
{
    R const large(1073741823);
    R const small(1, 1073741823);
    EXPECT_FALSE(small <= large);
    expect_report(292);
    EXPECT_TRUE(small >= large);
    expect_report(292);
}

TEST_F(RationalOrder, OfAFailureWithItselfIsGreaterWithoutAReport)
{
    R const failure(1, 0);
    EXPECT_FALSE(failure < failure);
    EXPECT_TRUE(failure > failure);
    EXPECT_TRUE(failure <= failure);
    EXPECT_TRUE(failure >= failure);
    EXPECT_TRUE(failure == failure);
}

TEST_F(RationalOrder, OfAFailureIsThatOfAnInfiniteNumber)
{
    R const failure(1, 0);
    for (R const& value : {R(), R(1, 2), R(1073741823), R(-1, 2)})
    {
        EXPECT_FALSE(failure < value);
        EXPECT_TRUE(failure > value);
        EXPECT_TRUE(value < failure);
        EXPECT_FALSE(value > failure);
    }
}

TEST_F(RationalOrder, OfSmallFractionsIsThatOfBoostUnlessBothAreNegative)
{
    std::vector<R> const fractions = small_fractions(12);
    for (R const& a : fractions)
        for (R const& b : fractions)
        {
            if (a.num() < 0 && b.num() < 0)
                continue;
            Known const x(a.num(), a.den());
            Known const y(b.num(), b.den());
            ASSERT_EQ(a < b, x < y) << testing::PrintToString(a) << ' ' << testing::PrintToString(b);
            ASSERT_EQ(a > b, x > y) << testing::PrintToString(a) << ' ' << testing::PrintToString(b);
            ASSERT_EQ(a <= b, x <= y) << testing::PrintToString(a) << ' ' << testing::PrintToString(b);
            ASSERT_EQ(a >= b, x >= y) << testing::PrintToString(a) << ' ' << testing::PrintToString(b);
            ASSERT_EQ(a == b, x == y) << testing::PrintToString(a) << ' ' << testing::PrintToString(b);
        }
    EXPECT_EQ(recorder.count(), 0U);
}

TEST_F(RationalOrder, OfAllPairsIsThatOfTheTwin)
{
    std::vector<R> fractions = small_fractions(9);
    for (int den = -3; den <= 3; ++den)
        for (int num = -3; num <= 3; ++num)
            fractions.push_back(raw(num, den));
    for (R const& a : fractions)
        for (R const& b : fractions)
            ASSERT_NO_FATAL_FAILURE(expect_twin(a, b, recorder));
}

TEST_F(RationalOrder, OfAnyComponentsIsThatOfTheTwin)
{
    RandomComponents components;
    int reports = 0;
    for (int round = 0; round < 10000; ++round)
    {
        R const a = raw(components.next(), components.next());
        R const b = raw(components.next(), components.next());
        reports += plain::less(twin(a), twin(b)).line != 0 ? 1 : 0;
        ASSERT_NO_FATAL_FAILURE(expect_twin(a, b, recorder));
    }
    EXPECT_GT(reports, 1000);
}

/// Both orders are those of the twin, which has nothing to report.
bool agree_in_order(R const& a, R const& b)
{
    plain::Answer const less = plain::less(twin(a), twin(b));
    plain::Answer const greater = plain::greater(twin(a), twin(b));
    return (a < b) == less.value && (a > b) == greater.value && less.line == 0 && greater.line == 0;
}

// Of two negative values the number of divisions decides, of others the sign or the sizes.
TEST_F(RationalOrder, OfAllPairsWithComponentsUpTo14IsThatOfTheTwin)
{
    constexpr int size = 14;
    for (int a = -size; a <= size; ++a)
        for (int b = 1; b <= size; ++b)
            for (int c = -size; c <= size; ++c)
                for (int d = 1; d <= size; ++d)
                    if (!agree_in_order(raw(a, b), raw(c, d)))
                        FAIL() << a << '/' << b << ' ' << c << '/' << d;
}

TEST_F(RationalOrder, OfComponentsOfAllSizesWithinTheRangeIsThatOfTheTwin)
{
    std::mt19937_64 engine(29);
    auto const component = [&engine] { return static_cast<int>(engine() >> 50 >> (engine() % 14)) + 1; };
    for (int round = 0; round < 200000; ++round)
    {
        int const a = engine() % 4 == 0 ? component() : -component();
        int const c = engine() % 4 == 0 ? component() : -component();
        R const x = raw(a, component());
        R const y = raw(c, component());
        if (!agree_in_order(x, y))
            FAIL() << testing::PrintToString(x) << ' ' << testing::PrintToString(y);
    }
}

TEST_F(RationalOrder, OfLargeFractionsIsThatOfBoostWhereTheQuotientIsInRange)
{
    RandomComponents components;
    int compared = 0;
    for (int round = 0; round < 20000; ++round)
    {
        R const a(components.next(), components.next());
        R const b(components.next(), components.next());
        recorder.clear();
        if (!a.isNormal() || !b.isNormal() || (a.num() < 0 && b.num() < 0))
            continue;
        bool const less = a < b;
        bool const greater = a > b;
        if (!recorder.take().empty())
            continue;
        ++compared;
        ASSERT_EQ(less, Known(a.num(), a.den()) < Known(b.num(), b.den()));
        ASSERT_EQ(greater, Known(a.num(), a.den()) > Known(b.num(), b.den()));
    }
    EXPECT_GT(compared, 1000);
}

TEST_F(RationalEquality, ComparesBothFields)
{
    EXPECT_TRUE(R(2, 4) == R(1, 2));
    EXPECT_FALSE(R(1, 2) == R(1, 3));
    EXPECT_FALSE(R(1, 2) == R(3, 2));
    EXPECT_FALSE(raw(2, 4) == R(1, 2));
    EXPECT_FALSE(raw(1, -4) == R(-1, 4)) << "one value in two forms";
    EXPECT_FALSE(R(1, 0) == raw(-1, 0));
}

TEST_F(RationalAndDouble, ComparesTheQuotient)
{
    EXPECT_TRUE(R(1, 2) == 0.5);
    EXPECT_FALSE(R(1, 2) == 0.25);
    EXPECT_TRUE(R(1, 3) == 1.0 / 3.0);
    EXPECT_TRUE(raw(2, 4) == 0.5);
    for (double const x : {-1.0, -0.5, -0.25, 0.0, 0.25, 0.5, 1.0})
        for (R const& value : {R(), R(1, 2), R(-1, 2), R(1), raw(1, -4)})
        {
            EXPECT_EQ(value < x, value.fract() < x);
            EXPECT_EQ(value > x, value.fract() > x);
            EXPECT_EQ(value == x, value.fract() == x);
            EXPECT_EQ(value <= x, value.fract() <= x);
            EXPECT_EQ(value >= x, value.fract() >= x);
        }
    EXPECT_TRUE(R(-1, 2) < -0.25) << "in order, also where both are negative";
}

TEST_F(RationalAndDouble, AnIntegerIsComparedAsADouble)
{
    EXPECT_TRUE(R(-1, 2) > -1);
    EXPECT_TRUE(R(-3, 2) < -1);
    EXPECT_TRUE(R(4, 2) == 2);
    EXPECT_TRUE(R(1) < INT_MAX);
    EXPECT_EQ(recorder.count(), 0U);
}

TEST_F(RationalAndDouble, AFailureIsInfinite)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    EXPECT_TRUE(R(1, 0) == infinity);
    EXPECT_TRUE(R(1, 0) > 1e300);
    EXPECT_FALSE(R(1, 0) < 1e300);
    EXPECT_TRUE(R(1, 0) <= infinity);
    EXPECT_TRUE(R(1, 0) >= infinity);
    EXPECT_TRUE(raw(-1, 0) == -infinity);
}

TEST_F(RationalAndDouble, NotANumberComparesFalse)
{
    double const nan = std::nan("");
    for (R const& value : {R(), R(1, 2), R(1, 0), raw(0, 0)})
    {
        EXPECT_FALSE(value < nan);
        EXPECT_FALSE(value > nan);
        EXPECT_FALSE(value == nan);
        EXPECT_FALSE(value <= nan);
        EXPECT_FALSE(value >= nan);
    }
}

} // namespace
