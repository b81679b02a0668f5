/// @file
/// Fractions in their plainest form: every operation is a function of pairs of 64-bit integers that gives a pair and the
/// line of its report, 0 for none. What the library does is held against this.
#pragma once

#include <cmath>
#include <limits>

namespace plain
{

struct Rational
{
    long long num;
    long long den;
    int line;
};

inline constexpr long long largest = 1073741823;

inline Rational failed(int line)
{
    return {1, 0, line};
}

inline long long absolute(long long value)
{
    return value > 0 ? value : -value;
}

inline long long gcd(long long a, long long b)
{
    return a == 0 ? b : gcd(b % a, a);
}

inline Rational in_range(long long num, long long den, int line)
{
    bool const fits = num <= largest && -num <= largest && den <= largest && -den <= largest;
    return fits ? Rational{num, den, 0} : failed(line);
}

inline Rational normalized(long long num, long long den)
{
    if (den == 0)
        return failed(0);
    if (num == 0)
        return {0, 1, 0};
    long long const sign = (num < 0) == (den < 0) ? 1 : -1;
    long long const n = absolute(num);
    long long const d = absolute(den);
    if (d == 1 && n > largest)
        return failed(547);
    Rational const result = in_range(n / gcd(n, d), d / gcd(n, d), 523);
    return {result.line == 0 ? sign * result.num : 1, result.den, result.line};
}

inline Rational combined(Rational a, Rational b, long long sign)
{
    long long const g = gcd(a.den, b.den);
    if (g == 0)
        return failed(0);
    long long const n = (b.den / g) * a.num + sign * ((a.den / g) * b.num);
    long long const h = absolute(gcd(n, g));
    return in_range(n / h, (b.den / h) * (a.den / g), 248);
}

inline Rational add(Rational a, Rational b)
{
    return combined(a, b, 1);
}

inline Rational subtract(Rational a, Rational b)
{
    return combined(a, b, -1);
}

inline bool leaves_no_divisor(Rational a, Rational b)
{
    return gcd(a.num, b.den) == 0 || gcd(b.num, a.den) == 0;
}

inline Rational multiply(Rational a, Rational b)
{
    if (leaves_no_divisor(a, b))
        return failed(0);
    long long const g1 = gcd(a.num, b.den);
    long long const g2 = gcd(b.num, a.den);
    return in_range((a.num / g1) * (b.num / g2), (a.den / g2) * (b.den / g1), 292);
}

inline Rational turned_over(Rational b)
{
    return b.num < 0 ? Rational{-b.den, -b.num, 0} : Rational{b.den, b.num, 0};
}

inline Rational divide(Rational a, Rational b)
{
    return multiply(a, turned_over(b));
}

/// What a comparison says, and the line of its report.
struct Answer
{
    bool value;
    int line;
};

inline Answer less(Rational a, Rational b)
{
    if (a.num >= 0 && b.num < 0)
        return {false, 0};
    if (a.num < 0 && b.num >= 0)
        return {true, 0};
    if (a.num == 0 && b.num == 0)
        return {false, 0};
    Rational const ratio = divide(a, b);
    if (ratio.line != 0 || leaves_no_divisor(a, turned_over(b)))
        return {false, ratio.line};
    return {absolute(ratio.num) < ratio.den, 0};
}

inline Answer greater(Rational a, Rational b)
{
    if (a.num >= 0 && b.num < 0)
        return {true, 0};
    if (a.num < 0 && b.num >= 0)
        return {false, 0};
    if (a.num == 0 && b.num == 0)
        return {false, 0};
    Rational const ratio = divide(a, b);
    if (ratio.line != 0 || leaves_no_divisor(a, turned_over(b)))
        return {true, ratio.line};
    return {absolute(ratio.num) > ratio.den, 0};
}

inline bool equal(Rational a, Rational b)
{
    return a.num == b.num && a.den == b.den;
}

inline double distance(double x, long long num, long long den)
{
    if (den == 0)
        return std::numeric_limits<double>::infinity();
    return std::fabs(std::fabs(x) - static_cast<double>(num) / static_cast<double>(den));
}

/// The nearest fraction of a number that is not above `largest`, by the expansion as it is told in books: the terms one
/// after another, and then the last one that is not whole.
inline Rational nearest(double x, long long limit)
{
    if (limit < 1)
        return {0, 1, 0};
    long long h[2] = {1, 0};
    long long k[2] = {0, 1};
    double v = std::fabs(x);
    bool goes_on = true;
    while (goes_on)
    {
        long long const a = static_cast<long long>(v);
        long long const h2 = a * h[0] + h[1];
        long long const k2 = a * k[0] + k[1];
        if (k2 > limit || h2 > largest)
            goes_on = false;
        else
        {
            h[1] = h[0];
            h[0] = h2;
            k[1] = k[0];
            k[0] = k2;
            goes_on = v > static_cast<double>(a);
            if (goes_on)
                v = 1.0 / (v - static_cast<double>(a));
            goes_on = goes_on && v <= static_cast<double>(largest);
        }
    }
    long long t = (limit - k[1]) / k[0];
    while (t > 0 && h[0] > (largest - h[1]) / t)
        t = (largest - h[1]) / h[0];
    long long const h3 = t * h[0] + h[1];
    long long const k3 = t * k[0] + k[1];
    bool const takes_last = distance(x, h3, k3) < distance(x, h[0], k[0]);
    long long const num = takes_last ? h3 : h[0];
    return {x < 0 ? -num : num, takes_last ? k3 : k[0], 0};
}

} // namespace plain
