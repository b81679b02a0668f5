#include "ORVA/Develop/Log.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

namespace
{

using ORVA::Develop::OS::OutputDebugMessage;

struct Output
{
    std::string text;
    int status;
};

// A stream takes the orientation of the first output to it and keeps it, so each case writes in a process of its own,
// to a standard output that has none yet.
template <class Write>
Output output_of(Write write)
{
    int ends[2];
    if (::pipe(ends) != 0)
        return {"(no pipe)", -1};
    std::fflush(stdout);
    pid_t const child = ::fork();
    if (child == 0)
    {
        ::close(ends[0]);
        ::dup2(ends[1], STDOUT_FILENO);
        if (std::freopen("/dev/fd/1", "w", stdout) == nullptr)
            ::_exit(99);
        write();
        std::fflush(stdout);
        ::_exit(7);
    }
    ::close(ends[1]);
    Output output = {"", -1};
    char buffer[512];
    for (ssize_t size = 0; (size = ::read(ends[0], buffer, sizeof buffer)) > 0;)
        output.text.append(buffer, static_cast<std::size_t>(size));
    ::close(ends[0]);
    int status = 0;
    if (::waitpid(child, &status, 0) == child && WIFEXITED(status))
        output.status = WEXITSTATUS(status);
    return output;
}

TEST(OutputDebugMessage, narrow_text_goes_to_standard_output_with_a_line_end)
{
    Output const output = output_of([] { OutputDebugMessage("a message"); });
    EXPECT_EQ(output.status, 7);
    EXPECT_EQ(output.text, "a message\n");
}

TEST(OutputDebugMessage, narrow_text_of_length_zero_is_a_line_end)
{
    EXPECT_EQ(output_of([] { OutputDebugMessage(""); }).text, "\n");
}

TEST(OutputDebugMessage, narrow_text_is_no_format)
{
    EXPECT_EQ(output_of([] { OutputDebugMessage("100%% %d %s %n"); }).text, "100%% %d %s %n\n");
}

TEST(OutputDebugMessage, wide_text_goes_to_standard_output_without_a_line_end)
{
    Output const output = output_of(
        []
        {
            OutputDebugMessage(L"one ");
            OutputDebugMessage(L"");
            OutputDebugMessage(L"two");
        });
    EXPECT_EQ(output.status, 7);
    EXPECT_EQ(output.text, "one two");
}

TEST(OutputDebugMessage, a_percent_sign_in_wide_text_is_a_directive)
{
    EXPECT_EQ(output_of([] { OutputDebugMessage(L"100%% sure\n"); }).text, "100% sure\n");
}

TEST(OutputDebugMessage, neither_form_goes_through_the_log)
{
    Output const narrow = output_of(
        []
        {
            support::LogRecorder recorder;
            OutputDebugMessage("text");
            if (recorder.count() != 0)
                ::_exit(1);
        });
    EXPECT_EQ(narrow.status, 7);
    Output const wide = output_of(
        []
        {
            support::LogRecorder recorder;
            OutputDebugMessage(L"text");
            if (recorder.count() != 0)
                ::_exit(1);
        });
    EXPECT_EQ(wide.status, 7);
}

} // namespace
