#include "ORVA/Develop/Log.h"

#include <gtest/gtest.h>

#include <cstring>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#if defined(__linux__)
#include <sys/ptrace.h>
#endif

namespace
{

int const exit_traced = 10;
int const exit_not_traced = 11;
int const exit_refused = 12;

TEST(Debugger, is_what_the_system_tells_about_this_process)
{
    // A test run under a debugger is not a failure of the library.
    char status[4096] = {};
    int const file = ::open("/proc/self/status", O_RDONLY);
    if (file < 0)
        GTEST_SKIP() << "the system does not tell";
    EXPECT_GT(::read(file, status, sizeof status - 1), 0);
    ::close(file);
    bool const traced = std::strstr(status, "TracerPid:\t0\n") == nullptr;
    EXPECT_EQ(isDebuggerPresent(), traced);
}

#if defined(__linux__)

// The child asks to be traced by this process, and tells by its exit status what it then sees.
TEST(Debugger, is_seen_by_a_traced_process)
{
    pid_t const child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0)
    {
        if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
            ::_exit(exit_refused);
        ::_exit(isDebuggerPresent() ? exit_traced : exit_not_traced);
    }
    int status = 0;
    while (::waitpid(child, &status, 0) == child && WIFSTOPPED(status))
        ::ptrace(PTRACE_CONT, child, nullptr, nullptr);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == exit_refused)
        GTEST_SKIP() << "tracing is not permitted here";
    EXPECT_EQ(WEXITSTATUS(status), exit_traced);
}

TEST(Debugger, is_absent_in_an_untraced_process_and_when_the_system_does_not_answer)
{
    if (isDebuggerPresent())
        GTEST_SKIP() << "these tests run under a debugger";
    EXPECT_FALSE(isDebuggerPresent());

    pid_t const child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0)
    {
        // Without a descriptor the question cannot be put.
        rlimit limit = {0, 0};
        if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
            ::_exit(exit_refused);
        limit.rlim_cur = 0;
        if (::setrlimit(RLIMIT_NOFILE, &limit) != 0 || ::open("/proc/self/status", O_RDONLY) >= 0)
            ::_exit(exit_refused);
        ::_exit(isDebuggerPresent() ? exit_traced : exit_not_traced);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), exit_not_traced);
}

#endif

} // namespace
