#include "numerics/rational_support.h"

#include <boost/rational.hpp>

#include <cmath>
#include <limits>
#include <numeric>

namespace
{

using namespace numerics;
using ORVA::Math::gs_maxRep;

static_assert(sizeof(CRational) == 8);
static_assert(std::is_same_v<decltype(gs_maxRep), int>);
static_assert(std::is_same_v<decltype(CRational().num()), int>);
static_assert(std::is_same_v<decltype(CRational().assign(1, 1)), bool>);
static_assert(std::is_same_v<decltype(CRational().fract()), double>);
static_assert(std::is_same_v<decltype(!CRational()), bool>);
static_assert(std::is_same_v<decltype(CRational::_gcd(1, 1)), int>);
static_assert(std::is_same_v<decltype(CRational::_gcd64(1, 1)), long long>);

class Rational : public RationalFixture
{
};

class RationalUnary : public RationalFixture
{
};

TEST_F(Rational, RangeIs2ToThe30thLess1)
{
    EXPECT_EQ(gs_maxRep, 1073741823);
    EXPECT_EQ(gs_maxRep, 0x3FFFFFFF);
}

TEST_F(Rational, EveryTestOfTheRangeReadsIt)
{
    struct Range
    {
        explicit Range(int range) : before(gs_maxRep) { gs_maxRep = range; }
        ~Range() { gs_maxRep = before; }
        int const before;
    } const range(10);
    EXPECT_TRUE(is(CRational(10), 10, 1));
    EXPECT_TRUE(is(CRational(11), 1, 0));
    expect_report(547);
    EXPECT_TRUE(is(CRational(10, 9), 10, 9));
    EXPECT_TRUE(is(CRational(11, 9), 1, 0));
    expect_report(523);
    EXPECT_TRUE(is(CRational(4) + CRational(6), 10, 1));
    EXPECT_TRUE(is(CRational(4) + CRational(7), 1, 0));
    expect_report(248);
    EXPECT_TRUE(is(CRational(2) * CRational(5), 10, 1));
    EXPECT_TRUE(is(CRational(2) * CRational(6), 1, 0));
    expect_report(292);
    CRational nearest;
    EXPECT_TRUE(nearest.fassign(10.0, 3));
    EXPECT_TRUE(is(nearest, 10, 1));
    EXPECT_FALSE(nearest.fassign(10.25, 3));
    EXPECT_TRUE(is(nearest, 1, 0));
    EXPECT_TRUE(nearest.fassign(1.0 / 16.0, 100));
    EXPECT_TRUE(is(nearest, 1, 100)) << "the term 16 ends the expansion, and the last step goes to the limit";
}

TEST_F(Rational, HoldsNumeratorAndThenDenominator)
{
    int components[2] = {};
    CRational const value(3, 7);
    std::memcpy(components, &value, sizeof(components));
    EXPECT_EQ(components[0], 3);
    EXPECT_EQ(components[1], 7);
}

TEST_F(Rational, OfNothingIsZero)
{
    EXPECT_TRUE(is(CRational(), 0, 1));
    EXPECT_TRUE(CRational().isNormal());
}

TEST_F(Rational, CopiesBothFieldsAsTheyAre)
{
    CRational const odd = raw(-6, -4);
    CRational copy(odd);
    EXPECT_TRUE(is(copy, -6, -4));
    CRational assigned(1, 2);
    EXPECT_EQ(&(assigned = odd), &assigned);
    EXPECT_TRUE(is(assigned, -6, -4));
}

TEST_F(Rational, OfTwoIntegersIsNormalized)
{
    EXPECT_TRUE(is(CRational(6, 4), 3, 2));
    EXPECT_TRUE(is(CRational(2, -4), -1, 2));
    EXPECT_TRUE(is(CRational(-2, 4), -1, 2));
    EXPECT_TRUE(is(CRational(-2, -4), 1, 2));
    EXPECT_TRUE(is(CRational(0, -5), 0, 1));
    EXPECT_TRUE(is(CRational(0, 7), 0, 1));
    EXPECT_TRUE(is(CRational(-3, 1), -3, 1));
    EXPECT_TRUE(is(CRational(3, -1), -3, 1));
    EXPECT_TRUE(is(CRational(-3, -1), 3, 1));
}

TEST_F(Rational, WithDenominator0Is1Over0WithoutASignOrAReport)
{
    for (int const numerator : {1, -3, 0, INT_MAX, INT_MIN})
    {
        CRational const value(numerator, 0);
        EXPECT_TRUE(is(value, 1, 0)) << numerator;
        EXPECT_FALSE(value.isNormal());
    }
    EXPECT_EQ(recorder.count(), 0U);
}

TEST_F(Rational, OfAnIntegerHasDenominator1)
{
    EXPECT_TRUE(is(CRational(5), 5, 1));
    EXPECT_TRUE(is(CRational(-5), -5, 1));
    EXPECT_TRUE(is(CRational(0), 0, 1));
    CRational value(1, 2);
    EXPECT_EQ(&(value = -7), &value);
    EXPECT_TRUE(is(value, -7, 1));
    value = 0;
    EXPECT_TRUE(is(value, 0, 1));
}

TEST_F(Rational, IntegersBeyondTheRangeAreReportedAtLine547)
{
    EXPECT_TRUE(is(CRational(1073741823), 1073741823, 1));
    EXPECT_TRUE(is(CRational(-1073741823), -1073741823, 1));
    expect_report(0);
    EXPECT_TRUE(is(CRational(1073741824), 1, 0));
    expect_report(547);
    EXPECT_TRUE(is(CRational(-1073741824), 1, 0));
    expect_report(547);
    EXPECT_TRUE(is(CRational(1073741824, 1), 1, 0));
    expect_report(547);
    EXPECT_TRUE(is(CRational(1073741824, -1), 1, 0));
    expect_report(547);
    CRational value;
    value = INT_MAX;
    EXPECT_TRUE(is(value, 1, 0));
    expect_report(547);
}

TEST_F(Rational, FractionsBeyondTheRangeAreReportedAtLine523)
{
    EXPECT_TRUE(is(CRational(1073741824, 3), 1, 0));
    expect_report(523);
    EXPECT_TRUE(is(CRational(3, 1073741824), 1, 0));
    expect_report(523);
    EXPECT_TRUE(is(CRational(-3, 1073741824), 1, 0));
    expect_report(523);
    // An integer only after the factor was cancelled.
    EXPECT_TRUE(is(CRational(INT_MIN, 2), 1, 0));
    expect_report(523);
    EXPECT_TRUE(is(CRational(1, 1073741824), 1, 0));
    expect_report(523);
    EXPECT_TRUE(is(CRational(1, 1073741823), 1, 1073741823));
    EXPECT_TRUE(is(CRational(1073741823, 1073741822), 1073741823, 1073741822));
}

TEST_F(Rational, RangeIsThatOfTheCancelledComponents)
{
    EXPECT_TRUE(is(CRational(2147483646, 2), 1073741823, 1));
    EXPECT_TRUE(is(CRational(2, -2147483646), -1, 1073741823));
    EXPECT_TRUE(is(CRational(INT_MAX, INT_MAX), 1, 1));
}

TEST_F(Rational, LowestIntegerCountsByItsSize)
{
    EXPECT_TRUE(is(CRational(INT_MIN), 1, 0));
    expect_report(547);
    EXPECT_TRUE(is(CRational(1, INT_MIN), 1, 0));
    expect_report(523);
    EXPECT_TRUE(is(CRational(INT_MIN, 3), 1, 0));
    expect_report(523);
    EXPECT_TRUE(is(CRational(INT_MIN, -1), 1, 0));
    expect_report(547);
    EXPECT_TRUE(is(CRational(INT_MIN, 4), -536870912, 1));
    EXPECT_TRUE(is(CRational(INT_MIN, -4), 536870912, 1));
    EXPECT_TRUE(is(CRational(6, INT_MIN), 1, 0));
    expect_report(523);
    EXPECT_TRUE(is(CRational(12, INT_MIN), -3, 536870912));
    EXPECT_TRUE(is(CRational(INT_MIN, INT_MIN), 1, 1));
    EXPECT_TRUE(is(CRational(0, INT_MIN), 0, 1));
}

TEST_F(Rational, AssignSaysWhetherTheDenominatorIsNot0)
{
    CRational value;
    EXPECT_TRUE(value.assign(6, -4));
    EXPECT_TRUE(is(value, -3, 2));
    EXPECT_FALSE(value.assign(3, 0));
    EXPECT_TRUE(is(value, 1, 0));
    EXPECT_TRUE(value.assign(0, 9));
    EXPECT_TRUE(is(value, 0, 1));
    EXPECT_FALSE(value.assign(0, 0));
    EXPECT_TRUE(is(value, 1, 0));
    expect_report(0);
    EXPECT_TRUE(value.assign(1073741824, 1));
    EXPECT_TRUE(is(value, 1, 0));
    expect_report(547);
    EXPECT_TRUE(value.assign(1073741824, 3));
    EXPECT_TRUE(is(value, 1, 0));
    expect_report(523);
}

TEST_F(Rational, NormalizePutsASignOnTopThatAProductLeftBelow)
{
    CRational value = CRational(-1, 2) * CRational(1, 2);
    EXPECT_TRUE(is(value, 1, -4));
    value._normalize();
    EXPECT_TRUE(is(value, -1, 4));
    value = raw(-1, 0);
    value._normalize();
    EXPECT_TRUE(is(value, 1, 0));
}

TEST_F(Rational, SmallFractionsAreThoseOfBoost)
{
    for (int num = -40; num <= 40; ++num)
        for (int den = -40; den <= 40; ++den)
            if (den != 0)
            {
                boost::rational<long long> const expected(num, den);
                EXPECT_TRUE(is(CRational(num, den), expected.numerator(), expected.denominator()));
            }
}

TEST_F(Rational, AnyFractionIsThatOfBoostOrReported)
{
    RandomComponents components;
    int reports = 0;
    for (int round = 0; round < 30000; ++round)
    {
        int const num = components.next();
        int const den = components.next();
        CRational const value(num, den);
        plain::Rational const expected = plain::normalized(num, den);
        ASSERT_TRUE(is(value, expected)) << num << '/' << den;
        ASSERT_EQ(recorder.take(), report_of(expected.line)) << num << '/' << den;
        reports += expected.line != 0 ? 1 : 0;
        if (den == 0 || expected.line != 0)
            continue;
        boost::rational<long long> const known(num, den);
        ASSERT_TRUE(is(value, known.numerator(), known.denominator())) << num << '/' << den;
    }
    EXPECT_GT(reports, 1000);
}

TEST_F(Rational, FractIsTheQuotientInDouble)
{
    EXPECT_EQ(CRational(1, 3).fract(), 1.0 / 3.0);
    EXPECT_EQ(CRational(-7, 4).fract(), -1.75);
    EXPECT_EQ(CRational().fract(), 0.0);
    EXPECT_EQ(raw(1, -4).fract(), -0.25);
    EXPECT_EQ(CRational(1, 0).fract(), std::numeric_limits<double>::infinity());
    EXPECT_EQ((-CRational(1, 0)).fract(), -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(raw(0, 0).fract()));
    EXPECT_EQ(raw(INT_MIN, -1).fract(), 2147483648.0);
}

TEST_F(Rational, IsNormalAsksForTheDenominator)
{
    EXPECT_TRUE(CRational(1, 2).isNormal());
    EXPECT_TRUE(raw(1, -4).isNormal());
    EXPECT_FALSE(CRational(1, 0).isNormal());
    EXPECT_FALSE(raw(-1, 0).isNormal());
    EXPECT_FALSE(raw(0, 0).isNormal());
}

TEST_F(RationalUnary, NotIsTrueOnlyIfBothComponentsAre0AndFalseForZero)
{
    EXPECT_FALSE(!CRational());
    EXPECT_FALSE(!CRational(1, 2));
    EXPECT_FALSE(!CRational(1, 0));
    EXPECT_FALSE(!raw(0, -1));
    EXPECT_TRUE(!raw(0, 0));
}

TEST_F(RationalUnary, MinusNegatesTheNumerator)
{
    EXPECT_TRUE(is(-CRational(1, 2), -1, 2));
    EXPECT_TRUE(is(-CRational(-1, 2), 1, 2));
    EXPECT_TRUE(is(-CRational(), 0, 1));
    EXPECT_TRUE(is(-CRational(1, 0), -1, 0));
    EXPECT_TRUE(is(-raw(1, -4), -1, -4));
    EXPECT_TRUE(is(-raw(INT_MIN, 1), INT_MIN, 1));
}

TEST_F(RationalUnary, PlusIsTheAbsoluteValue)
{
    EXPECT_TRUE(is(+CRational(-1, 2), 1, 2));
    EXPECT_TRUE(is(+CRational(1, 2), 1, 2));
    EXPECT_TRUE(is(+CRational(), 0, 1));
    EXPECT_TRUE(is(+raw(-1, 0), 1, 0));
    EXPECT_TRUE(is(+raw(-1, -4), 1, -4)) << "the denominator stays";
    EXPECT_TRUE(is(+raw(INT_MIN, 1), INT_MIN, 1));
}

TEST_F(RationalUnary, TildeChangesThePlacesAndKeepsTheSignOnTop)
{
    EXPECT_TRUE(is(~CRational(2, 3), 3, 2));
    EXPECT_TRUE(is(~CRational(-2, 3), -3, 2));
    EXPECT_TRUE(is(~CRational(-5), -1, 5));
    EXPECT_TRUE(is(~CRational(), 1, 0));
    EXPECT_TRUE(is(~CRational(1, 0), 0, 1));
}

TEST_F(RationalUnary, TildeLooksAtTheNumeratorAndDoesNotNormalize)
{
    EXPECT_TRUE(is(~raw(4, 6), 6, 4));
    EXPECT_TRUE(is(~raw(1, -4), -4, 1));
    EXPECT_TRUE(is(~raw(4, -6), -6, 4));
    EXPECT_TRUE(is(~raw(-4, -6), 6, 4));
    EXPECT_TRUE(is(~raw(-1, 0), 0, 1));
    EXPECT_TRUE(is(~raw(INT_MIN, 3), -3, INT_MIN));
}

TEST_F(Rational, GcdIsOfTheSizesUpToItsSign)
{
    for (int a = -60; a <= 60; ++a)
        for (int b = -60; b <= 60; ++b)
        {
            int const result = CRational::_gcd(a, b);
            EXPECT_EQ(std::abs(result), std::gcd(a, b)) << a << ' ' << b;
            EXPECT_EQ(result, plain::gcd(a, b)) << a << ' ' << b;
            EXPECT_EQ(CRational::_gcd64(a, b), result) << a << ' ' << b;
        }
}

TEST_F(Rational, GcdHasTheSignThatTheDivisionsLeave)
{
    EXPECT_EQ(CRational::_gcd(0, 0), 0);
    EXPECT_EQ(CRational::_gcd(0, -5), -5);
    EXPECT_EQ(CRational::_gcd(-5, 0), -5);
    EXPECT_EQ(CRational::_gcd(12, 18), 6);
    EXPECT_EQ(CRational::_gcd(-1, 2), -1);
    EXPECT_EQ(CRational::_gcd(2, -1), -1);
    EXPECT_EQ(CRational::_gcd(2, -3), -1);
    EXPECT_EQ(CRational::_gcd(-2, 3), 1);
    EXPECT_EQ(CRational::_gcd(-3, 2), -1);
    EXPECT_EQ(CRational::_gcd(-4, 2), 2);
    EXPECT_EQ(CRational::_gcd(-2, 4), -2);
}

TEST_F(Rational, GcdOfTheLowestIntegersIsDefined)
{
    EXPECT_EQ(CRational::_gcd(INT_MIN, -1), -1);
    EXPECT_EQ(CRational::_gcd(-1, INT_MIN), -1);
    EXPECT_EQ(CRational::_gcd(INT_MIN, INT_MIN), INT_MIN);
    EXPECT_EQ(CRational::_gcd(INT_MIN, 0), INT_MIN);
    EXPECT_EQ(CRational::_gcd(INT_MIN, INT_MAX), -1);
    EXPECT_EQ(CRational::_gcd64(LLONG_MIN, -1), -1);
    EXPECT_EQ(CRational::_gcd64(-1, LLONG_MIN), -1);
    EXPECT_EQ(CRational::_gcd64(LLONG_MIN, LLONG_MIN), LLONG_MIN);
    EXPECT_EQ(CRational::_gcd64(LLONG_MIN, 6), -2);
}

TEST_F(Rational, Gcd64TakesTheWholeOf64Bits)
{
    EXPECT_EQ(CRational::_gcd64(6442450944, 4294967296), 2147483648);
    EXPECT_EQ(CRational::_gcd64(1000000007LL * 4000000007LL, 1000000007LL * 3), 1000000007LL);
}

} // namespace
