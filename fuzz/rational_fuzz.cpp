// Fractions: every operation gives the plain one's result and report, for any components, alone and in chains, and no
// step overflows.
#include "fuzz/harness.h"

#include "ORVA/Math.h"

#include "reference/plain_rational.h"

#include <climits>
#include <cmath>
#include <cstring>

using ORVA::Math::CRational;

namespace
{

using Lines = std::vector<int>;

// The fraction of exactly these components, which need not be one that an operation gives.
CRational raw(int numerator, int denominator)
{
    int const components[2] = {numerator, denominator};
    CRational value;
    std::memcpy(static_cast<void*>(&value), components, sizeof(components));
    return value;
}

plain::Rational twin(CRational const& value)
{
    return {value.num(), value.den(), 0};
}

Lines lines_of(int line)
{
    return line == 0 ? Lines() : Lines{line};
}

bool is(CRational const& value, long long numerator, long long denominator)
{
    return value.num() == static_cast<int>(numerator) && value.den() == static_cast<int>(denominator);
}

void check(CRational const& value, plain::Rational const& expected, fuzz::Reports& reports)
{
    REQUIRE(is(value, expected.num, expected.den));
    REQUIRE(reports.take() == lines_of(expected.line));
}

void check_one(CRational const& a, fuzz::Reports& reports)
{
    REQUIRE(is(-a, -twin(a).num, a.den()));
    REQUIRE(is(+a, plain::absolute(a.num()), a.den()));
    plain::Rational const over = plain::turned_over(twin(a));
    REQUIRE(is(~a, over.num, over.den));
    REQUIRE(a.isNormal() == (a.den() != 0) && !a == (a.num() == 0 && a.den() == 0));
    check(CRational(a.num(), a.den()), plain::normalized(a.num(), a.den()), reports);
    CRational normalized = a;
    normalized._normalize();
    check(normalized, plain::normalized(a.num(), a.den()), reports);
    double const fract = static_cast<double>(a.num()) / static_cast<double>(a.den()); // IEEE 754 divides by 0 too
    REQUIRE(std::isnan(fract) ? std::isnan(a.fract()) : a.fract() == fract);
    CRational assigned;
    REQUIRE(assigned.assign(a.num(), a.den()) == (a.den() != 0));
    check(assigned, plain::normalized(a.num(), a.den()), reports);
}

// The fraction as a floating-point number against another one, and against a whole number.
void check_against(CRational const& a, double value, int whole)
{
    double const fract = a.fract();
    REQUIRE((a < value) == (fract < value) && (a > value) == (fract > value) && (a == value) == (fract == value));
    REQUIRE((a <= value) == (fract <= value) && (a >= value) == (fract >= value));
    REQUIRE((a < whole) == (fract < whole) && (a > whole) == (fract > whole) && (a == whole) == (fract == whole));
    REQUIRE((a <= whole) == (fract <= whole) && (a >= whole) == (fract >= whole));
}

void check_two(CRational const& a, CRational const& b, fuzz::Reports& reports)
{
    check(a + b, plain::add(twin(a), twin(b)), reports);
    check(a - b, plain::subtract(twin(a), twin(b)), reports);
    check(a * b, plain::multiply(twin(a), twin(b)), reports);
    check(a / b, plain::divide(twin(a), twin(b)), reports);
    plain::Answer const less = plain::less(twin(a), twin(b));
    REQUIRE((a < b) == less.value && reports.take() == lines_of(less.line));
    plain::Answer const greater = plain::greater(twin(a), twin(b));
    REQUIRE((a > b) == greater.value && reports.take() == lines_of(greater.line));
    bool const equal = plain::equal(twin(a), twin(b));
    REQUIRE((a == b) == equal);
    REQUIRE((a <= b) == (less.value || equal) && (a >= b) == (greater.value || equal));
    reports.take();
}

void check_integer(CRational const& a, int n, fuzz::Reports& reports)
{
    CRational const whole(n);
    reports.take();
    REQUIRE(a + n == a + whole && n + a == whole + a);
    REQUIRE(a - n == a - whole && n - a == whole - a);
    REQUIRE(a * n == a * whole && n * a == whole * a);
    REQUIRE(a / n == a / whole && n / a == whole / a);
    reports.take();
}

void check_divisors(long long a, long long b)
{
    REQUIRE(CRational::_gcd(static_cast<int>(a), static_cast<int>(b)) ==
            plain::gcd(static_cast<int>(a), static_cast<int>(b)));
    long long const found = CRational::_gcd64(a, b);
    // The plain one would overflow.
    if (a != LLONG_MIN && b != LLONG_MIN)
        REQUIRE(found == plain::gcd(a, b));
    if (found != 0 && found != -1)
        REQUIRE(a % found == 0 && b % found == 0);
    REQUIRE((found == 0) == (a == 0 && b == 0));
}

void check_nearest(double value, int limit, fuzz::Reports& reports)
{
    CRational result(1, 2);
    bool const fits = std::fabs(value) <= static_cast<double>(plain::largest);
    REQUIRE(result.fassign(value, limit) == fits && reports.take().empty());
    plain::Rational const expected = fits ? plain::nearest(value, limit) : plain::failed(0);
    REQUIRE(is(result, expected.num, expected.den));
    check_against(result, value, limit);
}

// A chain of operations, on both sides.
void check_chain(fuzz::Input& input, fuzz::Reports& reports)
{
    CRational value;
    plain::Rational expected = {0, 1, 0};
    while (!input.empty())
    {
        unsigned long const options = input.byte();
        int const bytes = (options & 4) != 0 ? 4 : 2;
        int const shift = 32 - 8 * bytes;
        int const numerator = static_cast<int>(static_cast<unsigned int>(input.number(bytes)) << shift) >> shift;
        int const denominator =
            (options & 8) != 0 ? 1 : static_cast<int>(static_cast<unsigned int>(input.number(bytes)));
        CRational const operand(numerator, denominator);
        plain::Rational const plain_operand = plain::normalized(numerator, denominator);
        REQUIRE(reports.take() == lines_of(plain_operand.line));
        switch (options & 3)
        {
        case 0:
            value += operand;
            expected = plain::add(expected, plain_operand);
            break;
        case 1:
            value -= operand;
            expected = plain::subtract(expected, plain_operand);
            break;
        case 2:
            value *= operand;
            expected = plain::multiply(expected, plain_operand);
            break;
        default:
            value /= operand;
            expected = plain::divide(expected, plain_operand);
        }
        check(value, expected, reports);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Reports reports;
    fuzz::Input input(data, size);
    auto const component = [&input] { return static_cast<int>(static_cast<unsigned int>(input.number(4))); };
    switch (input.below(4))
    {
    case 0:
    {
        int const components[] = {component(), component(), component(), component()};
        CRational const a = raw(components[0], components[1]);
        CRational const b = raw(components[2], components[3]);
        check_one(a, reports);
        check_two(a, b, reports);
        check_two(b, a, reports);
        check_integer(a, components[2], reports);
        check_against(a, b.fract(), components[3]);
        break;
    }
    case 1:
    {
        unsigned long const bits = input.number(8);
        int const limit = component();
        double value;
        std::memcpy(&value, &bits, sizeof(value));
        check_nearest(value, limit, reports);
        int const denominator = component();
        if (denominator != 0)
            check_nearest(static_cast<double>(component()) / denominator, limit, reports);
        break;
    }
    case 2:
    {
        auto const a = static_cast<long long>(input.number(8));
        check_divisors(a, static_cast<long long>(input.number(8)));
        break;
    }
    default:
        check_chain(input, reports);
    }
    return 0;
}
