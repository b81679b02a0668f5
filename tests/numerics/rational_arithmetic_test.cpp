#include "numerics/rational_support.h"

#include <boost/rational.hpp>

namespace
{

using namespace numerics;
using Known = boost::rational<long long>;

static_assert(std::is_same_v<decltype(CRational() + 1), CRational>);
static_assert(std::is_same_v<decltype(1 / CRational()), CRational>);
static_assert(std::is_same_v<decltype(std::declval<CRational&>() += CRational()), CRational&>);

class RationalSum : public RationalFixture
{
};

class RationalProduct : public RationalFixture
{
};

class RationalArithmetic : public RationalFixture
{
};

/// One of the four operations in all its forms, in its plain form, and as Boost has it.
struct Operation
{
    char const* name;
    CRational (*binary)(CRational const&, CRational const&);
    CRational& (*assigning)(CRational&, CRational const&);
    CRational (*int_right)(CRational const&, int);
    CRational (*int_left)(int, CRational const&);
    plain::Rational (*twin)(plain::Rational, plain::Rational);
    Known (*known)(Known const&, Known const&);
};

using R = CRational;

Operation const operations[] = {
    {"+", [](R const& a, R const& b) { return a + b; }, [](R& a, R const& b) -> R& { return a += b; },
     [](R const& a, int b) { return a + b; }, [](int a, R const& b) { return a + b; }, plain::add,
     [](Known const& a, Known const& b) { return a + b; }},
    {"-", [](R const& a, R const& b) { return a - b; }, [](R& a, R const& b) -> R& { return a -= b; },
     [](R const& a, int b) { return a - b; }, [](int a, R const& b) { return a - b; }, plain::subtract,
     [](Known const& a, Known const& b) { return a - b; }},
    {"*", [](R const& a, R const& b) { return a * b; }, [](R& a, R const& b) -> R& { return a *= b; },
     [](R const& a, int b) { return a * b; }, [](int a, R const& b) { return a * b; }, plain::multiply,
     [](Known const& a, Known const& b) { return a * b; }},
    {"/", [](R const& a, R const& b) { return a / b; }, [](R& a, R const& b) -> R& { return a /= b; },
     [](R const& a, int b) { return a / b; }, [](int a, R const& b) { return a / b; }, plain::divide,
     [](Known const& a, Known const& b) { return a / b; }},
};

bool fits(Known const& value)
{
    return value.numerator() <= plain::largest && -value.numerator() <= plain::largest &&
           value.denominator() <= plain::largest;
}

/// Both operators of two fractions do what the twin says, its report included.
void expect_twin(Operation const& operation, R const& a, R const& b, LogRecorder& recorder)
{
    plain::Rational const expected = operation.twin(twin(a), twin(b));
    std::string const what = testing::PrintToString(a) + ' ' + operation.name + ' ' + testing::PrintToString(b);
    ASSERT_TRUE(is(operation.binary(a, b), expected)) << what;
    ASSERT_EQ(recorder.take(), report_of(expected.line)) << what;
    R target = a;
    ASSERT_EQ(&operation.assigning(target, b), &target) << what;
    ASSERT_TRUE(is(target, expected)) << what;
    ASSERT_EQ(recorder.take(), report_of(expected.line)) << what;
}

/// The result is Boost's, once the sign is on top; out of range it is 1/0.
void expect_known(Operation const& operation, R const& a, R const& b)
{
    Known const expected = operation.known(Known(a.num(), a.den()), Known(b.num(), b.den()));
    R result = operation.binary(a, b);
    if (!fits(expected))
    {
        ASSERT_TRUE(is(result, 1, 0)) << testing::PrintToString(a) << operation.name << testing::PrintToString(b);
        return;
    }
    if (result.den() < 0)
        result = raw(-result.num(), -result.den());
    ASSERT_TRUE(is(result, expected.numerator(), expected.denominator()))
        << testing::PrintToString(a) << operation.name << testing::PrintToString(b);
}

bool is_defined(Operation const& operation, R const& b)
{
    return operation.twin != plain::divide || b.num() != 0;
}

TEST_F(RationalSum, ExamplesAreExact)
{
    EXPECT_TRUE(is(R(1, 2) + R(1, 3), 5, 6));
    EXPECT_TRUE(is(R(1, 2) - R(1, 2), 0, 1));
    EXPECT_TRUE(is(R(1, 6) + R(1, 3), 1, 2));
    EXPECT_TRUE(is(R(1, 2) - R(2, 3), -1, 6));
    EXPECT_TRUE(is(R(-1, 2) - R(-1, 3), -1, 6));
    EXPECT_TRUE(is(R() + R(), 0, 1));
    EXPECT_TRUE(is(R(1073741822) + R(1), 1073741823, 1));
    EXPECT_TRUE(is(R(-1073741822) - R(1), -1073741823, 1));
}

TEST_F(RationalSum, BeyondTheRangeIsReportedAtLine248)
{
    EXPECT_TRUE(is(R(1073741823) + R(1), 1, 0));
    expect_report(248);
    EXPECT_TRUE(is(R(-1073741823) + R(-1), 1, 0));
    expect_report(248);
    EXPECT_TRUE(is(R(1, 1073741823) + R(1, 2), 1, 0)) << "the denominator";
    expect_report(248);
    EXPECT_TRUE(is(R(1, 1073741823) + R(1, 1073741822), 1, 0));
    expect_report(248);
    R value(1073741823);
    EXPECT_TRUE(is(value += R(1), 1, 0));
    EXPECT_TRUE(is(value, 1, 0));
    expect_report(248);
}

TEST_F(RationalSum, DifferencesAreReportedAsSums)
{
    EXPECT_TRUE(is(R(-1073741823) - R(1), 1, 0));
    expect_report(248);
    EXPECT_TRUE(is(R(1073741823) - R(-1), 1, 0));
    expect_report(248);
    R value(-1073741823);
    EXPECT_TRUE(is(value -= R(1), 1, 0));
    expect_report(248);
}

TEST_F(RationalSum, OfTwoDenominatorsOf0Is1Over0WithoutAReport)
{
    EXPECT_TRUE(is(R(1, 0) + R(1, 0), 1, 0));
    EXPECT_TRUE(is(R(1, 0) - R(1, 0), 1, 0));
    EXPECT_TRUE(is(-R(1, 0) + -R(1, 0), 1, 0));
}

TEST_F(RationalSum, StaysNotNormalWithoutAReport)
{
    EXPECT_TRUE(is(R(1, 0) + R(1, 2), 1, 0));
    EXPECT_TRUE(is(R(1, 2) + R(1, 0), 1, 0));
    EXPECT_TRUE(is(R(1, 0) - R(1, 2), 1, 0));
    EXPECT_TRUE(is(R(1, 2) - R(1, 0), -1, 0));
    EXPECT_TRUE(is(-R(1, 0) + R(1, 2), -1, 0));
    EXPECT_FALSE((R(1, 2) + R(1, 0)).isNormal());
}

TEST_F(RationalSum, ADenominatorBeyondTheRangeOnTheNegativeSideIsOutOfRange)
{
    EXPECT_TRUE(is(raw(1, -1073741823) + R(1, 2), 1, 0));
    expect_report(248);
    EXPECT_TRUE(is(raw(1, 1073741823) + raw(1, -2), 1, 0));
    expect_report(248);
    EXPECT_TRUE(is(raw(1, -3) + R(1), -2, -3)) << "within the range it stays";
}

TEST_F(RationalProduct, FactorsAreCancelledBeforeTheMultiplication)
{
    EXPECT_TRUE(is(R(2, 3) * R(3, 4), 1, 2));
    EXPECT_TRUE(is(R(1, 2) / R(1, 4), 2, 1));
    EXPECT_TRUE(is(R(1073741823, 2) * R(2, 1073741823), 1, 1));
    EXPECT_TRUE(is(R(1073741823) / R(1073741823), 1, 1));
    EXPECT_TRUE(is(R() * R(5, 7), 0, 1));
    EXPECT_TRUE(is(R() / R(5, 7), 0, 1));
}

TEST_F(RationalProduct, SignStaysWhereTheDivisorsLeaveIt)
{
    EXPECT_TRUE(is(R(-1, 2) * R(1, 2), 1, -4));
    EXPECT_TRUE(is(R(1, 2) * R(-1, 2), 1, -4));
    EXPECT_TRUE(is(R(-1, 2) * R(-1, 2), 1, 4));
    EXPECT_TRUE(is(R(-3, 2) * R(1, 2), 3, -4));
    EXPECT_TRUE(is(R(-2, 5) / R(-3, 5), -2, -3));
    EXPECT_TRUE(is(R(-3, 5) / R(-2, 5), 3, 2));
    EXPECT_TRUE(is(R(-1, 2) / R(-1, 4), -2, -1));
    EXPECT_TRUE(is(R(-1, 4) / R(-1, 2), 1, 2));
    EXPECT_TRUE(is(R(3) * R(-2), -6, 1));
    EXPECT_TRUE(is(R() * R(-3), 0, 1));
}

TEST_F(RationalProduct, BeyondTheRangeIsReportedAtLine292)
{
    EXPECT_TRUE(is(R(1073741823) * R(2), 1, 0));
    expect_report(292);
    EXPECT_TRUE(is(R(1073741823) * R(-2), 1, 0));
    expect_report(292);
    EXPECT_TRUE(is(R(1, 1073741823) * R(1, 2), 1, 0));
    expect_report(292);
    EXPECT_TRUE(is(R(1, 1073741823) * R(-1, 2), 1, 0)) << "the denominator, below 0";
    expect_report(292);
    EXPECT_TRUE(is(R(32768) * R(32768), 1, 0)) << "just beyond";
    expect_report(292);
    EXPECT_TRUE(is(R(32767) * R(32769), 1073741823, 1)) << "just within";
    EXPECT_TRUE(is(R(1, 32767) * R(1, 32769), 1, 1073741823));
    R value(1073741823);
    EXPECT_TRUE(is(value *= R(2), 1, 0));
    EXPECT_TRUE(is(value, 1, 0));
    expect_report(292);
}

TEST_F(RationalProduct, QuotientsAreReportedAsProducts)
{
    EXPECT_TRUE(is(R(1073741823) / R(1, 2), 1, 0));
    expect_report(292);
    R value(1, 1073741823);
    EXPECT_TRUE(is(value /= R(2), 1, 0));
    expect_report(292);
}

TEST_F(RationalProduct, DivisionByZeroIs1Over0WithoutAReport)
{
    EXPECT_TRUE(is(R(1, 2) / R(), 1, 0));
    EXPECT_TRUE(is(R(-1, 2) / R(), 1, 0));
    EXPECT_TRUE(is(R() / R(), 1, 0));
    EXPECT_TRUE(is(R(1, 2) / 0, 1, 0));
    EXPECT_TRUE(is(1 / R(), 1, 0));
}

TEST_F(RationalProduct, OfAFailureIsOneWithoutAReport)
{
    EXPECT_TRUE(is(R(1, 0) * R(3, 4), 1, 0));
    EXPECT_TRUE(is(R(3, 4) * R(1, 0), 1, 0));
    EXPECT_TRUE(is(R(1, 0) * R(1, 0), 1, 0));
    EXPECT_TRUE(is(R(1, 0) * R(), 1, 0));
    EXPECT_TRUE(is(R() * R(1, 0), 1, 0));
    EXPECT_TRUE(is(R(1, 0) / R(3, 4), 1, 0));
    EXPECT_TRUE(is(R(1, 0) / R(1, 0), 1, 0));
}

TEST_F(RationalProduct, DivisionByAFailureIsZeroWithoutAReport)
{
    EXPECT_TRUE(is(R(3, 4) / R(1, 0), 0, 1));
    EXPECT_TRUE(is(R(-3, 4) / R(1, 0), 0, 1));
    EXPECT_TRUE(is(5 / R(1, 0), 0, 1));
    expect_report(0);
    EXPECT_TRUE(is(R(3, 4) / 1073741824, 0, 1));
    expect_report(547);
}

TEST_F(RationalArithmetic, AFailureSurvivesAChainOfOperations)
{
    R value = R(1073741823) + R(1);
    expect_report(248);
    value = (value * 3 - R(1, 2)) / 5 + 7;
    EXPECT_FALSE(value.isNormal());
}

TEST_F(RationalArithmetic, AnObjectMayBeBothOperands)
{
    R value(3, 4);
    EXPECT_TRUE(is(value += value, 3, 2));
    EXPECT_TRUE(is(value *= value, 9, 4));
    EXPECT_TRUE(is(value /= value, 1, 1));
    EXPECT_TRUE(is(value -= value, 0, 1));
}

TEST_F(RationalArithmetic, IntegersOnEitherSideStandForFractions)
{
    EXPECT_TRUE(is(R(1, 2) + 2, 5, 2));
    EXPECT_TRUE(is(2 + R(1, 2), 5, 2));
    EXPECT_TRUE(is(R(1, 2) - 2, -3, 2));
    EXPECT_TRUE(is(2 - R(1, 2), 3, 2));
    EXPECT_TRUE(is(R(3, 4) * 2, 3, 2));
    EXPECT_TRUE(is(2 * R(3, 4), 3, 2));
    EXPECT_TRUE(is(R(3, 4) / 2, 3, 8));
    EXPECT_TRUE(is(2 / R(3, 4), 8, 3));
    R value(1, 2);
    EXPECT_TRUE(is(value += 2, 5, 2));
    EXPECT_TRUE(is(value -= 2, 1, 2));
    EXPECT_TRUE(is(value *= 3, 3, 2));
    EXPECT_TRUE(is(value /= 3, 1, 2));
}

TEST_F(RationalArithmetic, IntegersBeyondTheRangeAreReportedAndActAs1Over0)
{
    for (Operation const& operation : operations)
        for (int const beyond : {1073741824, -1073741824, INT_MAX, INT_MIN})
        {
            R const half(1, 2);
            plain::Rational const right = operation.twin(twin(half), plain::Rational{1, 0, 0});
            EXPECT_TRUE(is(operation.int_right(half, beyond), right)) << operation.name << beyond;
            expect_report(547);
            plain::Rational const left = operation.twin(plain::Rational{1, 0, 0}, twin(half));
            EXPECT_TRUE(is(operation.int_left(beyond, half), left)) << operation.name << beyond;
            expect_report(547);
        }
}

TEST_F(RationalArithmetic, AllFormsGiveOneResult)
{
    std::vector<R> const fractions = small_fractions(9);
    for (Operation const& operation : operations)
        for (R const& fraction : fractions)
            for (int number = -9; number <= 9; ++number)
            {
                ASSERT_TRUE(is(operation.int_right(fraction, number), operation.twin(twin(fraction), {number, 1, 0})))
                    << testing::PrintToString(fraction) << operation.name << number;
                ASSERT_TRUE(is(operation.int_left(number, fraction), operation.twin({number, 1, 0}, twin(fraction))))
                    << number << operation.name << testing::PrintToString(fraction);
            }
}

TEST_F(RationalArithmetic, AllPairsOfSmallFractionsAreThoseOfBoostAndOfTheTwin)
{
    std::vector<R> const fractions = small_fractions(9);
    for (Operation const& operation : operations)
        for (R const& a : fractions)
            for (R const& b : fractions)
            {
                if (is_defined(operation, b))
                {
                    ASSERT_NO_FATAL_FAILURE(expect_known(operation, a, b));
                }
                ASSERT_NO_FATAL_FAILURE(expect_twin(operation, a, b, recorder));
            }
}

TEST_F(RationalArithmetic, SumsAreNormalAndProductsOfPositiveValuesToo)
{
    for (R const& a : small_fractions(9))
        for (R const& b : small_fractions(9))
            for (Operation const& operation : operations)
            {
                bool const is_sum = operation.twin == plain::add || operation.twin == plain::subtract;
                if (!is_defined(operation, b) || (!is_sum && (a.num() < 0 || b.num() < 0)))
                    continue;
                R const result = operation.binary(a, b);
                R again = result;
                again._normalize();
                ASSERT_TRUE(is(again, result.num(), result.den())) << testing::PrintToString(result);
            }
}

TEST_F(RationalArithmetic, LargeFractionsAreThoseOfBoostOrReported)
{
    RandomComponents components;
    int within = 0;
    int beyond = 0;
    for (int round = 0; round < 20000; ++round)
    {
        R const a(components.next(), components.next());
        R const b(components.next(), components.next());
        recorder.clear();
        if (!a.isNormal() || !b.isNormal())
            continue;
        for (Operation const& operation : operations)
        {
            if (!is_defined(operation, b))
                continue;
            ASSERT_NO_FATAL_FAILURE(expect_known(operation, a, b));
            (recorder.take().empty() ? within : beyond) += 1;
            ASSERT_NO_FATAL_FAILURE(expect_twin(operation, a, b, recorder));
        }
    }
    EXPECT_GT(within, 1000);
    EXPECT_GT(beyond, 1000);
}

TEST_F(RationalArithmetic, AnyComponentsAreThoseOfTheTwin)
{
    RandomComponents components;
    for (int round = 0; round < 10000; ++round)
    {
        R const a = raw(components.next(), components.next());
        R const b = raw(components.next(), components.next());
        for (Operation const& operation : operations)
            ASSERT_NO_FATAL_FAILURE(expect_twin(operation, a, b, recorder));
    }
}

TEST_F(RationalArithmetic, ComponentsAtTheirEndsAreThoseOfTheTwin)
{
    std::vector<R> values;
    for (int const num : {INT_MIN, -INT_MAX, -1, 0, 1, 2, INT_MAX})
        for (int const den : {INT_MIN, -INT_MAX, -1, 0, 1, 2, INT_MAX})
            values.push_back(raw(num, den));
    for (Operation const& operation : operations)
        for (R const& a : values)
            for (R const& b : values)
                ASSERT_NO_FATAL_FAILURE(expect_twin(operation, a, b, recorder));
}

// -a/1 times 1/b, and with other signs: reduced by the one divisor of a and b, whose sign shows. Small divisors are looked
// up, so the ends of the table are among these.
TEST_F(RationalProduct, AllDivisorsOfSmallNumbersHaveTheSignThatTheDivisionsLeave)
{
    for (int a = -150; a <= 150; ++a)
        for (int b = -150; b <= 150; ++b)
        {
            plain::Rational const product = plain::multiply({a, 1, 0}, {1, b, 0});
            plain::Rational const other = plain::multiply({1, a, 0}, {b, 1, 0});
            if (!is(raw(a, 1) * raw(1, b), product) || !is(raw(1, a) * raw(b, 1), other))
                FAIL() << a << ' ' << b;
        }
}

// The two divisors of a product are found side by side, and one may be found long before the other.
TEST_F(RationalProduct, DivisorsOfAllSizesHaveTheSignThatTheDivisionsLeave)
{
    std::mt19937_64 engine(12);
    auto const component = [&engine](unsigned long bits)
    {
        int const size = static_cast<int>(engine() >> 33 >> (31 - bits));
        return engine() % 2 == 0 ? size : -size;
    };
    for (int round = 0; round < 200000; ++round)
    {
        R const a = raw(component(engine() % 15), component(engine() % 15));
        R const b = raw(component(engine() % 15), component(engine() % 15));
        if (!is(a * b, plain::multiply(twin(a), twin(b))) || !is(a / b, plain::divide(twin(a), twin(b))))
            FAIL() << testing::PrintToString(a) << ' ' << testing::PrintToString(b);
    }
}

// The common divisors that sums and new values are reduced by, which are looked up where they are small.
TEST_F(RationalSum, AllSmallDenominatorsGiveTheSumOfTheTwin)
{
    for (int a = -150; a <= 150; ++a)
        for (int b = -150; b <= 150; ++b)
        {
            if (!is(raw(1, a) + raw(1, b), plain::add({1, a, 0}, {1, b, 0})) ||
                !is(raw(7, a) - raw(-5, b), plain::subtract({7, a, 0}, {-5, b, 0})) ||
                !is(R(a, b), plain::normalized(a, b)))
                FAIL() << a << ' ' << b;
        }
}

} // namespace
