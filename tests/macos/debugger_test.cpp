#include "ORVA/Develop/Log.h"

#include "support/macos/MacosDouble.h"

#include <gtest/gtest.h>

using namespace support::macos;

namespace
{

int const traced = 0x800;

class MacosDebugger : public ::testing::Test
{
protected:
    void SetUp() override { reset(); }
    void TearDown() override { reset_quietly(); }
};

TEST_F(MacosDebugger, is_asked_for_by_the_id_of_this_process_with_a_record_of_648_bytes)
{
    system().flags = 0;
    EXPECT_FALSE(isDebuggerPresent());
    EXPECT_EQ(take_calls(), "sysctl({1 14 1 pid}, buffer, 648, null, 0)\n");
}

TEST_F(MacosDebugger, is_bit_11_of_the_flags_and_no_other)
{
    for (int bit = 0; bit < 31; ++bit)
    {
        system().flags = 1 << bit;
        EXPECT_EQ(isDebuggerPresent(), bit == 11) << bit;
    }
    system().flags = -1;
    EXPECT_TRUE(isDebuggerPresent());
    system().flags = ~traced;
    EXPECT_FALSE(isDebuggerPresent());
}

TEST_F(MacosDebugger, is_absent_when_the_system_does_not_answer)
{
    system().flags_before = -1;
    system().sysctl_result = -1;
    EXPECT_FALSE(isDebuggerPresent());
    EXPECT_EQ(system().flags_before, 0);
}

TEST_F(MacosDebugger, is_read_from_the_record_whatever_the_call_returns)
{
    system().flags = traced;
    system().sysctl_result = -1;
    EXPECT_TRUE(isDebuggerPresent());
}

} // namespace
