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
    long long const g = greatest_common_divisor(a.den, b.den);
    if (g == 0)
        return no_value;
    long long const n = b.den / g * a.num + a.den / g * b.num;
    long long const h = size_of(greatest_common_divisor(n, g));
    Fraction const result = {n / h, b.den / h * (a.den / g)};
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
    long long const g1 = greatest_common_divisor(a.num, b.den);
    long long const g2 = greatest_common_divisor(b.num, a.den);
    if (g1 == 0 || g2 == 0)
        return std::nullopt;
    Fraction const result = {a.num / g1 * (b.num / g2), a.den / g2 * (b.den / g1)};
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
    CRational result = *this;
    return result += other;
}

CRational CRational::operator-(CRational const& other) const
{
    CRational result = *this;
    return result -= other;
}

CRational CRational::operator*(CRational const& other) const
{
    CRational result = *this;
    return result *= other;
}

CRational CRational::operator/(CRational const& other) const
{
    CRational result = *this;
    return result /= other;
}

CRational& CRational::operator+=(CRational const& other)
{
    Fraction const result = sum(parts(*this), parts(other));
    _store(result.num, result.den);
    return *this;
}

CRational& CRational::operator-=(CRational const& other)
{
    Fraction const result = sum(parts(*this), negative(parts(other)));
    _store(result.num, result.den);
    return *this;
}

CRational& CRational::operator*=(CRational const& other)
{
    Fraction const result = product(parts(*this), parts(other)).value_or(no_value);
    _store(result.num, result.den);
    return *this;
}

CRational& CRational::operator/=(CRational const& other)
{
    Fraction const result = quotient(parts(*this), parts(other)).value_or(no_value);
    _store(result.num, result.den);
    return *this;
}

bool CRational::operator<(CRational const& other) const
{
    if ((m_numerator < 0) != (other.m_numerator < 0))
        return m_numerator < 0;
    if (m_numerator == 0 && other.m_numerator == 0)
        return false;
    std::optional<Fraction> const ratio = quotient(parts(*this), parts(other));
    return ratio && size_of(ratio->num) < ratio->den;
}

bool CRational::operator>(CRational const& other) const
{
    if ((m_numerator < 0) != (other.m_numerator < 0))
        return other.m_numerator < 0;
    if (m_numerator == 0 && other.m_numerator == 0)
        return false;
    std::optional<Fraction> const ratio = quotient(parts(*this), parts(other));
    return !ratio || size_of(ratio->num) > ratio->den;
}

bool CRational::operator==(CRational const& other) const noexcept
{
    return m_numerator == other.m_numerator && m_denominator == other.m_denominator;
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
        long long const g = greatest_common_divisor(value.num, value.den);
        value = {value.num / g, value.den / g};
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
