/// @file
/// What the tests of fractions share.
#pragma once

#include "ORVA/Math.h"

#include "reference/plain_rational.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <ostream>
#include <random>
#include <type_traits>
#include <vector>

namespace ORVA::Math
{

/// Lets GoogleTest show a fraction.
inline void PrintTo(CRational const& value, std::ostream* stream)
{
    *stream << value.num() << '/' << value.den();
}

} // namespace ORVA::Math

namespace numerics
{

using ORVA::Math::CRational;
using support::log_message;
using support::LogMessages;
using support::LogRecorder;

static_assert(std::is_trivially_copyable_v<CRational>, "a fraction can be made of any two components");

/// The fraction of exactly these components, which need not be one that an operation gives.
inline CRational raw(int numerator, int denominator)
{
    int const components[2] = {numerator, denominator};
    CRational value;
    std::memcpy(static_cast<void*>(&value), components, sizeof(components));
    return value;
}

inline plain::Rational twin(CRational const& value)
{
    return {value.num(), value.den(), 0};
}

/// The report that belongs to `line`; none for 0.
inline LogMessages report_of(int line)
{
    switch (line)
    {
    case 248:
        return {log_message(16, "crational", 248, L"CRational::operator +(): Result exceeded definition space",
                            L"CRational::operator +(): Result exceeded definition space")};
    case 292:
        return {log_message(16, "crational", 292, L"CRational::operator *(): Result exceeded definition space",
                            L"CRational::operator *(): Result exceeded definition space")};
    case 523:
    case 547:
        return {log_message(16, "crational", line, L"CRational::_normalize(): components exceed definition space",
                            L"CRational::_normalize(): components exceed definition space")};
    default:
        return {};
    }
}

inline testing::AssertionResult is(CRational const& value, long long numerator, long long denominator)
{
    if (value.num() == numerator && value.den() == denominator)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << value.num() << '/' << value.den() << " is not " << numerator << '/'
                                       << denominator;
}

inline testing::AssertionResult is(CRational const& value, plain::Rational const& expected)
{
    return is(value, expected.num, expected.den);
}

/// Tests that state each report themselves.
class RationalFixture : public testing::Test
{
protected:
    void TearDown() override { EXPECT_EQ(recorder.take(), LogMessages()) << "a report that the test does not state"; }
    /// The reports since the last time are exactly that of `line`.
    void expect_report(int line) { EXPECT_EQ(recorder.take(), report_of(line)); }
    LogRecorder recorder;
};

/// All normal fractions with components up to `size`, zero once.
inline std::vector<CRational> small_fractions(int size)
{
    std::vector<CRational> result = {CRational()};
    for (int den = 1; den <= size; ++den)
        for (int num = -size; num <= size; ++num)
            if (plain::absolute(plain::gcd(num, den)) == 1 && num != 0)
                result.push_back(raw(num, den));
    return result;
}

/// Components of every size and both signs, the ends of the range and of `int` among them.
class RandomComponents
{
public:
    int next()
    {
        switch (m_engine() % 16)
        {
        case 0:
            return edges[m_engine() % (sizeof(edges) / sizeof(edges[0]))];
        default:
            return static_cast<int>(static_cast<unsigned int>(m_engine())) >> (m_engine() % 32);
        }
    }

private:
    static constexpr int edges[] = {0,           1,           -1,      1073741823, 1073741824,
                                    -1073741823, -1073741824, INT_MAX, -INT_MAX,   INT_MIN};
    std::mt19937_64 m_engine{4711};
};

} // namespace numerics
