/// @file
/// Exact fractions of two 32-bit integers.
///
/// Results stay exact or say that they could not: a component above `gs_maxRep` is reported to the log, at level 16
/// (`_nqfDebugNotice`), and the result is the value 1/0, which `isNormal()` tells. Nothing throws. A failure survives a
/// chain of operations, **save as a divisor**: what is divided by 1/0 is 0/1. Ask before a division, and at the end.
///
/// | state | numerator | denominator | comes from |
/// |---|---|---|---|
/// | normal | carries the sign | above 0; no common factor with the numerator | construction, sums, `fassign` |
/// | zero | 0 | 1 | as above |
/// | with the sign below | as the steps leave it | below 0 | products and quotients of negative values |
/// | not normal | 1, or -1 by negation or subtraction | 0 | failures, division by 0 |
///
/// **Products, quotients and the order of negative values are not those of arithmetic.** The greatest common divisors
/// that cancel factors keep the sign that truncating division leaves, and nothing corrects it: -1/2 * 1/2 is 1/-4, whose
/// `fract()` is -0.25, and which does not equal -1/4. `_normalize()` puts the sign on top. The exact comparisons of two
/// negative values are told at `operator<`.
///
/// Thread-safety: a plain value, one thread at a time. Ownership: 8 bytes, copied freely. No operation uses the heap.
#pragma once

#include "ORVA/Core/Export.h"

#include <cstring>

namespace ORVA::Math
{

/// The largest size of a component: 2 to the 30th less 1. The library only reads it.
extern ORVA_API int gs_maxRep;

/// A fraction, or the value 1/0, which stands for a failure.
///
/// An `int` operand n stands for `CRational(n)`, so one beyond `gs_maxRep` is reported as such and then acts as 1/0. The
/// forms of an operation (with a fraction, with an `int` on either side, assigning) have one result.
class ORVA_API CRational
{
public:
    /// 0/1.
    CRational() noexcept = default;
    /// The same fraction, as it stands.
    CRational(CRational const& source) noexcept = default;
    /// The fraction, normalised. A denominator of 0 gives 1/0, whatever the numerator.
    CRational(int numerator, int denominator);
    /// The integer, normalised.
    CRational(int value);

    /// The same fraction, as it stands.
    CRational& operator=(CRational const& source) noexcept = default;
    /// As the constructor.
    CRational& operator=(int value);

    /// As the constructor. True if `denominator` is not 0, even where the value is out of range.
    bool assign(int numerator, int denominator);

    /// Becomes the fraction nearest to `value` with a denominator of at most `limit`, by continued fractions. True, save
    /// for a `value` that is larger in size than `gs_maxRep` or not a number: that gives 1/0, unreported.
    ///
    /// A `limit` below 1 gives 0/1. Numerators stay within `gs_maxRep`, so a `value` of size may get a denominator far
    /// below `limit`. A `limit` above `gs_maxRep` holds as it is: the denominator may then leave that range.
    bool fassign(double value, int limit);

    /// Numerator divided by denominator: infinite for 1/0.
    double fract() const noexcept;
    /// The numerator.
    int num() const noexcept { return m_numerator; }
    /// The denominator.
    int den() const noexcept { return m_denominator; }

    /// True if the denominator is not 0.
    bool isNormal() const noexcept { return m_denominator != 0; }
    /// True if numerator and denominator are both 0, which no operation gives: **false for zero**, which is 0/1.
    bool operator!() const noexcept { return m_numerator == 0 && m_denominator == 0; }

    /// The fraction with its numerator negated; -1/0 for 1/0.
    CRational operator-() const noexcept;
    /// The absolute value: the fraction with its numerator made positive.
    CRational operator+() const noexcept;
    /// The reciprocal: both components change places, and both are negated if the numerator was negative. 1/0 for 0/1.
    CRational operator~() const noexcept;

    /// The sum. 1/0, unreported, if both denominators are 0; a denominator of 0 if one is. A result that is out of range
    /// is reported and 1/0.
    CRational operator+(CRational const& other) const;
    /// The sum with `CRational(other)`.
    CRational operator+(int other) const { return *this + CRational(other); }
    /// Becomes the sum.
    CRational& operator+=(CRational const& other);

    /// The difference, as the sum; the report is that of the sum. A fraction less 1/0 is -1/0.
    CRational operator-(CRational const& other) const;
    /// The difference with `CRational(other)`.
    CRational operator-(int other) const { return *this - CRational(other); }
    /// Becomes the difference.
    CRational& operator-=(CRational const& other);

    /// The product. Common factors are cancelled before the multiplication, and with negative operands the sign may be
    /// left on the denominator. A result that is out of range is reported and 1/0; 0 times 1/0 is 1/0, unreported.
    CRational operator*(CRational const& other) const;
    /// The product with `CRational(other)`.
    CRational operator*(int other) const { return *this * CRational(other); }
    /// Becomes the product.
    CRational& operator*=(CRational const& other);

    /// The product with the reciprocal; the report is that of the product. Division by 0 gives 1/0, unreported; division
    /// by 1/0, and by an `int` beyond `gs_maxRep`, gives 0/1.
    CRational operator/(CRational const& other) const;
    /// The quotient with `CRational(other)`.
    CRational operator/(int other) const { return *this / CRational(other); }
    /// Becomes the quotient.
    CRational& operator/=(CRational const& other);

    /// @name Exact comparisons
    ///
    /// Exact if not both values are negative and the quotient of their sizes is in range. A quotient that is not is
    /// reported as that of `operator/`, and then `<` is false and `>` true, whichever is larger.
    ///
    /// Two negative values are not ordered: both -1/2 < -1/4 and -2/5 < -3/5 are false, and -1/2 > -1/4 is true, but so is
    /// -2/5 > -3/5. Compare `fract()`, or the difference with 0.
    ///
    /// `==` compares components: a value with the sign below does not equal the same value with the sign on top. `<=` is
    /// `<` or `==`, `>=` is `>` or `==`, asked in that order.
    /// @{

    /// Compares, as told for this group.
    bool operator<(CRational const& other) const;
    bool operator>(CRational const& other) const;
    bool operator==(CRational const& other) const noexcept { return _both() == other._both(); }
    bool operator<=(CRational const& other) const { return *this < other || *this == other; }
    bool operator>=(CRational const& other) const { return *this > other || *this == other; }
    /// @}

    /// @name Comparisons of fract() with a floating-point number, or an int, by the rules of IEEE 754
    /// @{

    /// Compares, as told for this group.
    bool operator<(double other) const noexcept { return fract() < other; }
    bool operator>(double other) const noexcept { return fract() > other; }
    bool operator==(double other) const noexcept { return fract() == other; }
    bool operator<=(double other) const noexcept { return fract() <= other; }
    bool operator>=(double other) const noexcept { return fract() >= other; }
    /// @}

    /// Cancels common factors, makes the denominator positive and checks the range. Any denominator of 0 gives 1/0. A
    /// component that is out of range when factors are cancelled is reported, and gives 1/0. `INT_MIN` counts by its
    /// size, 2147483648: alone it is out of range, but INT_MIN/4 is -536870912/1.
    void _normalize();

    /// The greatest common divisor by truncating division, **with the sign that this leaves**: `_gcd(-1, 2)` is -1,
    /// `_gcd(-2, 3)` is 1 and `_gcd(2, -3)` is -1. The other argument if one is 0.
    static int _gcd(int a, int b) noexcept;
    /// The same in 64 bits.
    static long long _gcd64(long long a, long long b) noexcept;

private:
    void _store(long long numerator, long long denominator) noexcept;

    // Both components as one word, which is compared in one step.
    unsigned long _both() const noexcept
    {
        unsigned long result;
        std::memcpy(&result, this, sizeof result);
        return result;
    }

    int m_numerator = 0;
    int m_denominator = 1;
};

static_assert(sizeof(CRational) == 8, "a fraction is two 32-bit integers");

/// @name The operations with an int on the left
/// @{

/// The result is that of the operation with `CRational(left)`.
ORVA_API CRational operator+(int left, CRational const& right);
ORVA_API CRational operator-(int left, CRational const& right);
ORVA_API CRational operator*(int left, CRational const& right);
ORVA_API CRational operator/(int left, CRational const& right);
/// @}

} // namespace ORVA::Math
