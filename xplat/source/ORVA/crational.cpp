#include "ORVA/Math/Rational.h"

#include "ORVA/Develop/Log.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace ORVA::Math
{

int gs_maxRep = 1073741823;

namespace
{

// Components and intermediate results. In 64 bits nothing that is made of two 32-bit components overflows: not the size
// of `INT_MIN`, nor its quotient by -1, nor a product of two such quotients.
struct Fraction
{
    long long num;
    long long den;
};

constexpr Fraction no_value = {1, 0};

long long size_of(long long value)
{
    return value < 0 ? -value : value;
}

bool is_out_of_range(Fraction value)
{
    return size_of(value.num) > gs_maxRep || size_of(value.den) > gs_maxRep;
}

void report(int line, wchar_t const* text)
{
    Develop::_logWrite(_nqfDebugNotice, L"ORVA", "crational", line, text);
}

// The remainder by -1 is 0 for every number; the processor refuses it for the lowest.
template <class Integer>
Integer remainder(Integer dividend, Integer divisor)
{
    return divisor == -1 ? 0 : dividend % divisor;
}

template <class Integer>
Integer greatest_common_divisor(Integer a, Integer b)
{
    while (a != 0)
    {
        b = remainder(b, a);
        if (b == 0)
            return a;
        a = remainder(a, b);
    }
    return b;
}

// The greatest common divisor of two sizes, by subtractions and shifts. Nothing but the end of the loop is a branch:
// which of two numbers is the smaller cannot be foretold.
unsigned int common_size(unsigned int first, unsigned int second)
{
    if (first == 0 || second == 0)
        return first | second;
    int const shift = __builtin_ctz(first | second);
    long long a = first >> __builtin_ctz(first);
    long long b = second >> __builtin_ctz(second);
    while (long long const difference = a - b)
    {
        long long const below = difference >> 63; // all ones if a is the smaller one
        b += difference & below;
        a = ((difference ^ below) - below) >> __builtin_ctzll(static_cast<unsigned long long>(difference));
    }
    return static_cast<unsigned int>(b) << shift;
}

// As `greatest_common_divisor`, for sizes of up to 2147483648. With two signs its own sign depends on the number of
// divisions, so they have to be made.
long long divisor(long long a, long long b)
{
    auto size_a = static_cast<unsigned int>(size_of(a));
    auto size_b = static_cast<unsigned int>(size_of(b));
    if ((a < 0) == (b < 0))
    {
        long long const size = common_size(size_a, size_b);
        return a < 0 ? -size : size;
    }
    while (size_a != 0)
    {
        size_b %= size_a;
        if (size_b == 0)
            return a < 0 ? -static_cast<long long>(size_a) : size_a;
        size_a %= size_b;
    }
    return b < 0 ? -static_cast<long long>(size_b) : size_b;
}

// One of two divisions that go on side by side.
struct Division
{
    unsigned int dividend;
    unsigned int divisor;
    unsigned int steps = 0;

    Division(long long a, long long b)
        : dividend(static_cast<unsigned int>(size_of(b))), divisor(static_cast<unsigned int>(size_of(a)))
    {
    }

    // The next remainder; nothing once it is 0.
    void step()
    {
        bool const goes_on = divisor != 0;
        unsigned int const rest = dividend % (divisor + !goes_on);
        dividend = goes_on ? divisor : dividend;
        divisor = rest;
        steps += goes_on;
    }
};

// The product of the two divisors that a product of fractions is reduced by.
long long product_of_divisors(Fraction a, Fraction b)
{
    if ((a.num | b.num | a.den | b.den) >= 0)
        return static_cast<long long>(common_size(static_cast<unsigned int>(a.num), static_cast<unsigned int>(b.den))) *
               common_size(static_cast<unsigned int>(b.num), static_cast<unsigned int>(a.den));
    Division first(a.num, b.den);
    Division second(b.num, a.den);
    while ((first.divisor | second.divisor) > 1)
    {
        first.step();
        second.step();
    }
    first.step(); // a remainder of 1 is followed by 0
    second.step();
    long long const size = static_cast<long long>(first.dividend) * second.dividend;
    bool const first_negative = (first.steps % 2 != 0 ? a.num : b.den) < 0;
    bool const second_negative = (second.steps % 2 != 0 ? b.num : a.den) < 0;
    return first_negative != second_negative ? -size : size;
}

Fraction parts(CRational const& value)
{
    return {value.num(), value.den()};
}

Fraction negative(Fraction value)
{
    return {-value.num, value.den};
}

Fraction reciprocal(Fraction value)
{
    return {value.num < 0 ? -value.den : value.den, size_of(value.num)};
}

Fraction sum(Fraction a, Fraction b)
{
    long long const g = divisor(a.den, b.den);
    if (g == 0)
        return no_value;
    Fraction result;
    if (g == 1)
    {
        result = {b.den * a.num + a.den * b.num, b.den * a.den};
    }
    else
    {
        long long const n = b.den / g * a.num + a.den / g * b.num;
        long long const h = size_of(divisor(n % size_of(g), g));
        result = {n / h, b.den / h * (a.den / g)};
    }
    if (is_out_of_range(result))
    {
        report(248, L"CRational::operator +(): Result exceeded definition space");
        return no_value;
    }
    return result;
}

// Nothing if a value that is not normal leaves no divisor, or, reported, if the result is out of range.
std::optional<Fraction> product(Fraction a, Fraction b)
{
    long long const g = product_of_divisors(a, b);
    if (g == 0)
        return std::nullopt;
    Fraction result = {a.num * b.num, a.den * b.den};
    if (g != 1)
        result = {result.num / g, result.den / g};
    if (is_out_of_range(result))
    {
        report(292, L"CRational::operator *(): Result exceeded definition space");
        return std::nullopt;
    }
    return result;
}

std::optional<Fraction> quotient(Fraction a, Fraction b)
{
    return product(a, reciprocal(b));
}

// The sizes that a quotient of two values of one sign, both with positive denominators, has before it is reduced: in the
// range, it is so afterwards. Nothing for other values.
std::optional<Fraction> whole_quotient(CRational const& a, CRational const& b)
{
    Fraction const whole = {size_of(parts(a).num * b.den()), size_of(parts(a).den * b.num())};
    if (a.den() <= 0 || b.den() <= 0 || is_out_of_range(whole))
        return std::nullopt;
    return whole;
}

// Whether the denominator of that quotient is positive: always, if the values are.
bool is_quotient_on_top(CRational const& a, CRational const& b)
{
    return a.num() >= 0 || product_of_divisors(parts(a), reciprocal(parts(b))) > 0;
}

double in_double(Fraction value)
{
    auto const num = static_cast<double>(value.num);
    if (value.den != 0)
        return num / static_cast<double>(value.den);
    if (value.num == 0)
        return std::numeric_limits<double>::quiet_NaN();
    return std::copysign(std::numeric_limits<double>::infinity(), num);
}

} // namespace

CRational::CRational(int numerator, int denominator) : m_numerator(numerator), m_denominator(denominator)
{
    _normalize();
}

CRational::CRational(int value) : CRational(value, 1) {}

CRational& CRational::operator=(int value)
{
    return *this = CRational(value);
}

bool CRational::assign(int numerator, int denominator)
{
    *this = CRational(numerator, denominator);
    return denominator != 0;
}

bool CRational::fassign(double value, int limit)
{
    double const size = std::fabs(value);
    if (!(size <= gs_maxRep))
    {
        _store(1, 0);
        return false;
    }
    Fraction now = {1, 0};
    Fraction before = {0, 1};
    for (double rest = size; rest <= gs_maxRep;)
    {
        auto const whole = static_cast<long long>(rest);
        Fraction const next = {whole * now.num + before.num, whole * now.den + before.den};
        if (next.den > limit || next.num > gs_maxRep)
            break;
        before = now;
        now = next;
        double const fraction = rest - static_cast<double>(whole);
        if (fraction == 0.0)
            break;
        rest = 1.0 / fraction;
    }
    // Between the last convergent and the next one that limit and range forbid, as far towards the latter as they allow.
    long long steps = now.den == 0 ? 0 : (limit - before.den) / now.den;
    if (now.num != 0)
        steps = std::min(steps, (gs_maxRep - before.num) / now.num);
    Fraction const between = {steps * now.num + before.num, steps * now.den + before.den};
    Fraction const nearest = std::fabs(size - in_double(between)) < std::fabs(size - in_double(now)) ? between : now;
    _store(value < 0 ? -nearest.num : nearest.num, nearest.den);
    return true;
}

double CRational::fract() const noexcept
{
    return in_double(parts(*this));
}

CRational CRational::operator-() const noexcept
{
    CRational result;
    result._store(-parts(*this).num, m_denominator);
    return result;
}

CRational CRational::operator+() const noexcept
{
    CRational result;
    result._store(size_of(m_numerator), m_denominator);
    return result;
}

CRational CRational::operator~() const noexcept
{
    Fraction const swapped = reciprocal(parts(*this));
    CRational result;
    result._store(swapped.num, swapped.den);
    return result;
}

CRational CRational::operator+(CRational const& other) const
{
    Fraction const value = sum(parts(*this), parts(other));
    CRational result;
    result._store(value.num, value.den);
    return result;
}

CRational CRational::operator-(CRational const& other) const
{
    Fraction const value = sum(parts(*this), negative(parts(other)));
    CRational result;
    result._store(value.num, value.den);
    return result;
}

CRational CRational::operator*(CRational const& other) const
{
    Fraction const value = product(parts(*this), parts(other)).value_or(no_value);
    CRational result;
    result._store(value.num, value.den);
    return result;
}

CRational CRational::operator/(CRational const& other) const
{
    Fraction const value = quotient(parts(*this), parts(other)).value_or(no_value);
    CRational result;
    result._store(value.num, value.den);
    return result;
}

CRational& CRational::operator+=(CRational const& other)
{
    return *this = *this + other;
}

CRational& CRational::operator-=(CRational const& other)
{
    return *this = *this - other;
}

CRational& CRational::operator*=(CRational const& other)
{
    return *this = *this * other;
}

CRational& CRational::operator/=(CRational const& other)
{
    return *this = *this / other;
}

bool CRational::operator<(CRational const& other) const
{
    if ((m_numerator < 0) != (other.m_numerator < 0))
        return m_numerator < 0;
    if (m_numerator == 0 && other.m_numerator == 0)
        return false;
    if (std::optional<Fraction> const whole = whole_quotient(*this, other))
        return whole->num < whole->den && is_quotient_on_top(*this, other);
    std::optional<Fraction> const ratio = quotient(parts(*this), parts(other));
    return ratio && size_of(ratio->num) < ratio->den;
}

bool CRational::operator>(CRational const& other) const
{
    if ((m_numerator < 0) != (other.m_numerator < 0))
        return other.m_numerator < 0;
    if (m_numerator == 0 && other.m_numerator == 0)
        return false;
    if (std::optional<Fraction> const whole = whole_quotient(*this, other))
        return whole->num > whole->den || !is_quotient_on_top(*this, other);
    std::optional<Fraction> const ratio = quotient(parts(*this), parts(other));
    return !ratio || size_of(ratio->num) > ratio->den;
}

void CRational::_normalize()
{
    bool const is_negative = (m_numerator < 0) != (m_denominator < 0);
    Fraction value = {size_of(m_numerator), size_of(m_denominator)};
    if (value.den == 0)
        return _store(1, 0);
    if (value.num == 0)
        return _store(0, 1);
    int line = 547;
    if (value.den != 1)
    {
        line = 523;
        unsigned int const g = common_size(static_cast<unsigned int>(value.num), static_cast<unsigned int>(value.den));
        if (g != 1)
            value = {static_cast<unsigned int>(value.num) / g, static_cast<unsigned int>(value.den) / g};
    }
    if (is_out_of_range(value))
    {
        report(line, L"CRational::_normalize(): components exceed definition space");
        return _store(1, 0);
    }
    _store(is_negative ? -value.num : value.num, value.den);
}

int CRational::_gcd(int a, int b) noexcept
{
    return greatest_common_divisor(a, b);
}

long long CRational::_gcd64(long long a, long long b) noexcept
{
    return greatest_common_divisor(a, b);
}

// A size of 2147483648, which only a component of `INT_MIN` has, becomes `INT_MIN` again.
void CRational::_store(long long numerator, long long denominator) noexcept
{
    m_numerator = static_cast<int>(numerator);
    m_denominator = static_cast<int>(denominator);
}

CRational operator+(int left, CRational const& right)
{
    return CRational(left) + right;
}

CRational operator-(int left, CRational const& right)
{
    return CRational(left) - right;
}

CRational operator*(int left, CRational const& right)
{
    return CRational(left) * right;
}

CRational operator/(int left, CRational const& right)
{
    return CRational(left) / right;
}

} // namespace ORVA::Math
