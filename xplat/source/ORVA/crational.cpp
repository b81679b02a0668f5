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
constexpr Integer remainder(Integer dividend, Integer divisor)
{
    return divisor == -1 ? 0 : dividend % divisor;
}

template <class Integer>
constexpr Integer greatest_common_divisor(Integer a, Integer b)
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

// Where most searches end: the divisors of -a and b by their sizes, for sizes below `table_size`. So an entry is
// negative if the divisions end with a, and positive if they end with b.
constexpr unsigned int table_size = 64;

struct SmallDivisors
{
    signed char of[table_size][table_size];
};

constexpr SmallDivisors small_divisors = []
{
    SmallDivisors result = {};
    for (int a = 0; a < static_cast<int>(table_size); ++a)
    {
        for (int b = 0; b < static_cast<int>(table_size); ++b)
            result.of[a][b] = static_cast<signed char>(greatest_common_divisor(-a, b));
    }
    return result;
}();

// The greatest common divisor of two sizes, by subtractions and shifts until the rest stands in the table. Nothing but the
// ends of the loop is a branch: which of two numbers is the smaller cannot be foretold.
unsigned int common_size(unsigned int first, unsigned int second)
{
    if (first == 0 || second == 0)
        return first | second;
    int const shift = __builtin_ctz(first | second);
    long long a = first >> __builtin_ctz(first);
    long long b = second >> __builtin_ctz(second);
    while ((a | b) >= table_size)
    {
        long long const difference = a - b;
        if (difference == 0)
            return static_cast<unsigned int>(b) << shift;
        long long const below = difference >> 63; // all ones if a is the smaller one
        b += difference & below;
        a = ((difference ^ below) - below) >> __builtin_ctzll(static_cast<unsigned long long>(difference));
    }
    return static_cast<unsigned int>(size_of(small_divisors.of[a][b])) << shift;
}

// The steps of `greatest_common_divisor`, for sizes of up to 2147483648 and for two that go on side by side. With two
// signs the divisor has that of the number which the divisions end with, so they have to be made, as far as the table.
class Division
{
public:
    Division(long long a, long long b)
        : m_dividend(static_cast<unsigned int>(size_of(b))), m_divisor(static_cast<unsigned int>(size_of(a)))
    {
    }

    // False when the rest stands in the table, or there is none.
    bool goes_on() const { return m_divisor != 0 && (m_dividend | m_divisor) >= table_size; }

    // The next remainder, if it goes on.
    void step()
    {
        unsigned int const rest = m_dividend % m_divisor;
        m_dividend = m_divisor;
        m_divisor = rest;
        m_changed_places = !m_changed_places;
    }

    // When it does not go on: whether the divisions end with a, and not with b.
    bool ends_with_a() const { return (last() < 0) != m_changed_places; }

    // When it does not go on: the divisor of a and b, the numbers that it began with.
    long long result(long long a, long long b) const
    {
        long long const size = size_of(last());
        return (ends_with_a() ? a : b) < 0 ? -size : size;
    }

private:
    long long last() const
    {
        if (m_divisor == 0)
            return m_dividend;
        return small_divisors.of[m_divisor][m_dividend];
    }

    unsigned int m_dividend;
    unsigned int m_divisor;
    bool m_changed_places = false;
};

// As `greatest_common_divisor`, for sizes of up to 2147483648.
long long divisor(long long a, long long b)
{
    if ((a < 0) == (b < 0))
    {
        long long const size =
            common_size(static_cast<unsigned int>(size_of(a)), static_cast<unsigned int>(size_of(b)));
        return a < 0 ? -size : size;
    }
    Division division(a, b);
    while (division.goes_on())
        division.step();
    return division.result(a, b);
}

void run_side_by_side(Division& first, Division& second)
{
    while (first.goes_on() && second.goes_on())
    {
        first.step();
        second.step();
    }
    while (first.goes_on())
        first.step();
    while (second.goes_on())
        second.step();
}

// The product of the two divisors that a product of fractions is reduced by.
long long product_of_divisors(Fraction a, Fraction b)
{
    Division first(a.num, b.den);
    Division second(b.num, a.den);
    run_side_by_side(first, second);
    return first.result(a.num, b.den) * second.result(b.num, a.den);
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
        long long const size = size_of(g);
        long long const h = common_size(static_cast<unsigned int>(size_of(n % size)), static_cast<unsigned int>(size));
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

// Two values with positive denominators by one denominator, unless a numerator is then out of range.
struct Numerators
{
    long long left;
    long long right;
};

std::optional<Numerators> by_one_denominator(CRational const& a, CRational const& b)
{
    Numerators const result = {parts(a).num * b.den(), parts(b).num * a.den()};
    if (a.den() <= 0 || b.den() <= 0 || (size_of(result.left) | size_of(result.right)) > gs_maxRep)
        return std::nullopt;
    return result;
}

// Whether the quotient of two negative values with positive denominators has a positive one. The numerators to be divided
// by each other are that of the left value, which is negative, and the size of the right one; the denominators, the right
// one, with the sign that the reciprocal gives it, and the left one. So the divisors that end with the first are negative.
[[gnu::noinline]] bool is_quotient_on_top(CRational const& a, CRational const& b)
{
    Division first(a.num(), b.num());
    Division second(b.den(), a.den());
    run_side_by_side(first, second);
    return first.ends_with_a() == second.ends_with_a();
}

long long all_ones_if_negative(long long value)
{
    return value >> 63;
}

// The orders by the steps themselves. Apart from their callers, whose usual answers then need no frame on the stack.

[[gnu::noinline]] bool is_quotient_less(CRational const& a, CRational const& b)
{
    if ((a.num() < 0) != (b.num() < 0))
        return a.num() < 0;
    if (a.num() == 0 && b.num() == 0)
        return false;
    std::optional<Fraction> const ratio = quotient(parts(a), parts(b));
    return ratio && size_of(ratio->num) < ratio->den;
}

[[gnu::noinline]] bool is_quotient_greater(CRational const& a, CRational const& b)
{
    if ((a.num() < 0) != (b.num() < 0))
        return b.num() < 0;
    if (a.num() == 0 && b.num() == 0)
        return false;
    std::optional<Fraction> const ratio = quotient(parts(a), parts(b));
    return !ratio || size_of(ratio->num) > ratio->den;
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

// How the numerators by one denominator tell what the steps tell. They are the components of the quotient before it is
// reduced; if they are in range, it is so afterwards, nothing is reported, and the steps compare their sizes, so long as
// the quotient's denominator is not negative. That is so for values that are not negative: the sizes are the numbers. Of
// two values with two signs the negative one is the less for the steps, and so are the numerators. Of two negative values
// the larger size is the less number, and the divisors' signs have to be found out where they can change the answer.
//
// Signs cannot be foretold, so there is one branch for them, where there is most to do.
bool CRational::operator<(CRational const& other) const
{
    std::optional<Numerators> const numerators = by_one_denominator(*this, other);
    if (!numerators)
        return is_quotient_less(*this, other);
    long long const both_negative = all_ones_if_negative(m_numerator & other.m_numerator);
    long long const order = ((numerators->left - numerators->right) ^ both_negative) - both_negative;
    if ((order & both_negative) < 0)
        return is_quotient_on_top(*this, other);
    return order < 0;
}

bool CRational::operator>(CRational const& other) const
{
    std::optional<Numerators> const numerators = by_one_denominator(*this, other);
    if (!numerators)
        return is_quotient_greater(*this, other);
    long long const both_negative = all_ones_if_negative(m_numerator & other.m_numerator);
    long long const order = ((numerators->left - numerators->right) ^ both_negative) - both_negative;
    if ((both_negative & (order - 1)) < 0)
        return !is_quotient_on_top(*this, other);
    return order > 0;
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
