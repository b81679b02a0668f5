/// @file
/// A process of its own for a test of what a process finds out once and then keeps.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <iostream>

#include <sys/wait.h>
#include <unistd.h>

namespace support
{

/// Runs `body` in a child of this process. Failed checks in it fail the test; so does a child that throws, or that takes
/// longer than a minute. This process must have one thread only.
template <class Body>
void in_fresh_process(Body body)
{
    std::fflush(nullptr);
    pid_t const child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0)
    {
        ::alarm(60);
        try
        {
            body();
        }
        catch (...)
        {
            ADD_FAILURE() << "an exception came out";
        }
        std::cout.flush();
        std::fflush(nullptr);
        ::_exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

} // namespace support
