#include "ORVA/Develop/Result.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <climits>

namespace
{

using ORVA::hr;
using support::LogMessages;
using support::LogRecorder;

support::LogMessage const broken = support::assumption("RTA_ON_TRUE", "ORVANQF,22:lResult < 0");

support::LogMessage logged(std::wstring const& digits)
{
    return support::log_message(8, "ORVANQF", 25, L"lResult < 0: " + digits, L"lResult < 0: %x");
}

class Result : public testing::Test
{
protected:
    void SetUp() override { set_flags(false, false); }
    void TearDown() override { set_flags(false, false); }
    static void set_flags(bool break_on_failure, bool log_failure)
    {
        ORVA::bBreakOnHRESULT = break_on_failure;
        ORVA::bLogFailedHRESULT = log_failure;
        ORVA::bShowAssert = false;
    }
};

static_assert(sizeof(hr) == sizeof(long), "a result is a single 64-bit field");
static_assert(sizeof(ORVA::bLogFailedHRESULT) == 1 && sizeof(ORVA::bBreakOnHRESULT) == 1 &&
                  sizeof(ORVA::bShowAssert) == 1,
              "a flag is one byte");

struct Flags
{
    bool log_failed;
    bool break_on_failure;
    bool show_assert;
};

// As they stand when this program is loaded, before any test sets one.
Flags const flags_at_load = {ORVA::bLogFailedHRESULT, ORVA::bBreakOnHRESULT, ORVA::bShowAssert};

TEST_F(Result, flags_are_false_until_a_host_sets_them)
{
    EXPECT_FALSE(flags_at_load.log_failed);
    EXPECT_FALSE(flags_at_load.break_on_failure);
    EXPECT_FALSE(flags_at_load.show_assert);
}

TEST_F(Result, zero_and_positive_values_are_success)
{
    for (long value : {0L, 1L, 2L, LONG_MAX})
    {
        EXPECT_TRUE(hr(value)) << value;
        EXPECT_EQ(hr(value).lResult, value);
    }
}

TEST_F(Result, negative_values_are_failure)
{
    for (long value : {-1L, -2L, LONG_MIN})
    {
        EXPECT_FALSE(hr(value)) << value;
        EXPECT_EQ(hr(value).lResult, value);
    }
}

TEST_F(Result, the_sign_is_that_of_64_bits)
{
    LogRecorder recorder;
    set_flags(true, true);
    EXPECT_TRUE(hr(0x80004005L)) << "a failure code of 32 bits that was not sign-extended is a success";
    EXPECT_EQ(recorder.count(), 0U);
    EXPECT_FALSE(hr(static_cast<int>(0x80004005U))) << "sign-extended it is a failure";
    EXPECT_EQ(recorder.count(), 2U);
}

TEST_F(Result, variables_and_constants_convert_alike)
{
    hr failure(-7);
    hr const constant_failure(-7);
    EXPECT_FALSE(static_cast<bool>(failure));
    EXPECT_FALSE(static_cast<bool>(constant_failure));
    EXPECT_EQ(static_cast<long>(failure), -7);
    EXPECT_EQ(static_cast<long>(constant_failure), -7);
    long const number = failure;
    EXPECT_EQ(number, -7);

    hr success(9);
    hr const constant_success(9);
    EXPECT_TRUE(static_cast<bool>(success));
    EXPECT_TRUE(static_cast<bool>(constant_success));
    EXPECT_EQ(static_cast<long>(success), 9);
    EXPECT_EQ(static_cast<long>(constant_success), 9);
    if (!success || failure)
        ADD_FAILURE() << "results as conditions";
}

TEST_F(Result, comparison_is_of_the_values)
{
    hr one(1);
    hr const other_one(1);
    hr const two(2);
    EXPECT_TRUE(one == other_one);
    EXPECT_FALSE(one == two) << "both are a success, and not equal";
    EXPECT_TRUE(one != two);
    EXPECT_FALSE(one != other_one);
    EXPECT_TRUE(two == 2L);
    EXPECT_TRUE(two == 2);
    EXPECT_FALSE(two == 1L);
    EXPECT_FALSE(two == 1);
    EXPECT_TRUE(one != 2L);
    EXPECT_TRUE(one != 2);
    EXPECT_FALSE(one != 1);
    EXPECT_TRUE(hr(-1) == -1);
    EXPECT_FALSE(hr(0x80004005L) == hr(static_cast<int>(0x80004005U))) << "all 64 bits count";
}

TEST_F(Result, comparison_takes_integers_of_every_type)
{
    hr const success(0x80004005L);
    EXPECT_TRUE(success == 0x80004005U);
    EXPECT_TRUE(success == 0x80004005UL);
    EXPECT_TRUE(success == 0x80004005LL);
    EXPECT_FALSE(success != 0x80004005U);
    EXPECT_FALSE(success == static_cast<int>(0x80004005U)) << "that one is negative";
    EXPECT_TRUE(hr(-1) == static_cast<short>(-1));
    EXPECT_TRUE(hr(-1) == -1LL);
    EXPECT_FALSE(hr(-1) == 0xFFFFFFFFU) << "all 64 bits count";
    EXPECT_TRUE(hr(-1) != 0xFFFFFFFFU);
}

TEST_F(Result, without_flags_nothing_is_written)
{
    LogRecorder recorder;
    hr const failure(-1);
    EXPECT_FALSE(failure);
    EXPECT_EQ(recorder.count(), 0U);
}

TEST_F(Result, a_success_is_never_written)
{
    LogRecorder recorder;
    set_flags(true, true);
    EXPECT_TRUE(hr(0));
    EXPECT_TRUE(hr(1));
    EXPECT_TRUE(hr(LONG_MAX));
    EXPECT_EQ(recorder.count(), 0U);
}

TEST_F(Result, a_failure_is_logged_if_the_host_asks_for_it)
{
    LogRecorder recorder;
    set_flags(false, true);
    EXPECT_FALSE(hr(-1));
    EXPECT_EQ(recorder.take(), LogMessages{logged(L"ffffffff")});
    EXPECT_FALSE(hr(static_cast<int>(0x80004005U)));
    EXPECT_EQ(recorder.take(), LogMessages{logged(L"80004005")});
}

TEST_F(Result, a_failure_is_a_failed_assumption_if_the_host_asks_for_it)
{
    LogRecorder recorder;
    set_flags(true, false);
    EXPECT_FALSE(hr(-1));
    EXPECT_EQ(recorder.take(), LogMessages{broken});
}

TEST_F(Result, with_both_flags_the_assumption_comes_first)
{
    LogRecorder recorder;
    set_flags(true, true);
    EXPECT_FALSE(hr(-2));
    EXPECT_EQ(recorder.take(), (LogMessages{broken, logged(L"fffffffe")}));
}

TEST_F(Result, show_assert_is_the_hosts_own)
{
    LogRecorder recorder;
    ORVA::bShowAssert = true;
    EXPECT_FALSE(hr(-1));
    EXPECT_EQ(recorder.count(), 0U);
    EXPECT_TRUE(ORVA::bShowAssert);
}

TEST_F(Result, copies_write_nothing)
{
    LogRecorder recorder;
    set_flags(true, true);
    hr const failure(-1);
    recorder.clear();
    hr copy = failure;
    EXPECT_TRUE(copy == failure);
    copy = failure;
    EXPECT_EQ(recorder.count(), 0U);
}

TEST_F(Result, the_library_does_not_write_the_flags)
{
    set_flags(true, true);
    EXPECT_FALSE(hr(-1));
    EXPECT_TRUE(ORVA::bBreakOnHRESULT);
    EXPECT_TRUE(ORVA::bLogFailedHRESULT);
    EXPECT_FALSE(ORVA::bShowAssert);
}

} // namespace
