// The process's identity where the system tells the executable's path in a link. The answers are kept by the process,
// so each test that asks has a process of its own.
#include "ORVA/Core.h"

#include "support/AllocationFailure.h"
#include "support/FreshProcess.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <cwchar>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

using ORVA::Core::OS::GetProcessName;
using ORVA::Core::OS::GetStartupPath;
using support::in_fresh_process;

namespace
{

/// How the system answers the question for the executable: as it does, with a path, or with an error.
enum Answer
{
    as_it_does,
    with_path,
    with_error
};

Answer answer = as_it_does;
std::string told_path;
std::atomic<int> asked(0);

void tell(std::string const& path)
{
    answer = with_path;
    told_path = path;
}

std::wstring wide(std::filesystem::path const& path)
{
    return path.wstring();
}

} // namespace

// The names are those that the linker's --wrap gives.
extern "C" ssize_t __real_readlink(char const* path, char* buffer, std::size_t size);
extern "C" ssize_t __wrap_readlink(char const* path, char* buffer, std::size_t size);

extern "C" ssize_t __wrap_readlink(char const* path, char* buffer, std::size_t size)
{
    if (std::strcmp(path, "/proc/self/exe") != 0)
        return __real_readlink(path, buffer, size);
    ++asked;
    if (answer == as_it_does)
        return __real_readlink(path, buffer, size);
    if (answer == with_error)
    {
        errno = ENOENT;
        return -1;
    }
    // As the system does: what fits, without a terminator.
    std::size_t const length = std::min(told_path.size(), size);
    std::memcpy(buffer, told_path.data(), length);
    return static_cast<ssize_t>(length);
}

namespace
{

TEST(ProcessIdentity, is_the_name_and_the_directory_of_this_program)
{
    in_fresh_process(
        []
        {
            std::filesystem::path const program = std::filesystem::read_symlink("/proc/self/exe");
            EXPECT_EQ(GetProcessName(), wide(program.filename()).substr(0, 259));
            EXPECT_EQ(GetStartupPath(), (wide(program.parent_path()) + L"/").substr(0, 259));
            EXPECT_EQ(GetStartupPath()[std::wcslen(GetStartupPath()) - 1], L'/');
        });
}

TEST(ProcessIdentity, is_asked_for_once_and_kept)
{
    in_fresh_process(
        []
        {
            tell("/opt/app/program");
            wchar_t const* const name = GetProcessName();
            EXPECT_EQ(asked, 1);
            wchar_t const* const directory = GetStartupPath();
            EXPECT_EQ(asked, 2);
            tell("/usr/bin/other");
            EXPECT_EQ(GetProcessName(), name);
            EXPECT_EQ(GetStartupPath(), directory);
            EXPECT_STREQ(name, L"program");
            EXPECT_STREQ(directory, L"/opt/app/");
            EXPECT_EQ(asked, 2);
        });
}

TEST(ProcessIdentity, is_empty_and_asked_for_again_while_the_system_does_not_answer)
{
    in_fresh_process(
        []
        {
            answer = with_error;
            wchar_t const* const name = GetProcessName();
            wchar_t const* const directory = GetStartupPath();
            ASSERT_NE(name, nullptr);
            ASSERT_NE(directory, nullptr);
            EXPECT_STREQ(name, L"");
            EXPECT_STREQ(directory, L"");
            EXPECT_STREQ(GetProcessName(), L"");
            EXPECT_STREQ(GetStartupPath(), L"");
            tell("");
            EXPECT_STREQ(GetProcessName(), L"");
            EXPECT_STREQ(GetStartupPath(), L"");
            EXPECT_EQ(asked, 6);

            tell("/opt/app/program");
            EXPECT_EQ(GetProcessName(), name);
            EXPECT_EQ(GetStartupPath(), directory);
            EXPECT_STREQ(name, L"program");
            EXPECT_STREQ(directory, L"/opt/app/");
            EXPECT_EQ(asked, 8);
        });
}

struct Case
{
    std::string path;
    std::wstring name;
    std::wstring directory;
};

void expect_identities(std::vector<Case> const& cases)
{
    for (Case const& expected : cases)
        in_fresh_process(
            [&expected]
            {
                tell(expected.path);
                EXPECT_EQ(GetProcessName(), expected.name) << expected.path;
                EXPECT_EQ(GetStartupPath(), expected.directory) << expected.path;
            });
}

TEST(ProcessIdentity, splits_the_path_behind_its_last_separator)
{
    expect_identities({{"/program", L"program", L"/"},
                       {"/opt/two words/program.bin", L"program.bin", L"/opt/two words/"},
                       {"/opt/back\\slash", L"slash", L"/opt/back\\"},
                       {"/opt\\back/program", L"program", L"/opt\\back/"},
                       {"program", L"program", L""},
                       {"/opt/", L"", L"/opt/"}});
}

TEST(ProcessIdentity, decodes_utf8)
{
    expect_identities({{"/opt/\xC3\xBC\xE2\x82\xAC/\xF0\x9F\x98\x80z", L"\U0001F600z", L"/opt/\u00FC\u20AC/"}});
}

TEST(ProcessIdentity, is_empty_where_the_path_is_no_utf8)
{
    expect_identities({{"/opt/caf\xE9/bin/program", L"", L""},
                       {"/opt/app/pro\x80gram", L"", L""},
                       {"/opt/app/program\xC3", L"", L""},
                       {"\xFF/opt/app/program", L"", L""},
                       {"/opt/over\xC0\xAFlong/program", L"", L""}});
}

TEST(ProcessIdentity, keeps_259_characters_of_each_and_no_directory_above_1039)
{
    auto const narrow = [](unsigned long count) { return std::string(count, 'n'); };
    auto const broad = [](unsigned long count) { return std::wstring(count, L'n'); };
    expect_identities({{"/" + narrow(257) + "/p", L"p", L"/" + broad(257) + L"/"},
                       {"/" + narrow(258) + "/p", L"p", L"/" + broad(258)},
                       {"/" + narrow(1037) + "/p", L"p", L"/" + broad(258)},
                       {"/" + narrow(1038) + "/p", L"p", L""},
                       {"/d/" + narrow(259), broad(259), L"/d/"},
                       {"/d/" + narrow(260), broad(259), L"/d/"}});
}

TEST(ProcessIdentity, counts_characters_and_not_bytes)
{
    std::string narrow;
    for (int count = 0; count < 258; ++count)
        narrow += "\xE2\x82\xAC";
    std::wstring const broad(258, L'\u20AC');
    expect_identities({{"/d/" + narrow, broad, L"/d/"}, {narrow + "/p", L"p", broad + L"/"}});
}

TEST(ProcessIdentity, takes_the_longest_path_of_the_system_and_none_that_may_be_cut_short)
{
    std::string const longest = "/d/" + std::string(4092, 'n');
    ASSERT_EQ(longest.size(), 4095U);
    expect_identities(
        {{longest, std::wstring(259, L'n'), L"/d/"}, {longest + "n", L"", L""}, {longest + "nn", L"", L""}});
}

TEST(ProcessIdentity, leaves_out_the_mark_of_a_removed_executable)
{
    expect_identities({{"/opt/removed/program (deleted)", L"program", L"/opt/removed/"},
                       {"/opt/removed (deleted)/program", L"program", L"/opt/removed (deleted)/"},
                       {"/opt/removed/program (deleted) ", L"program (deleted) ", L"/opt/removed/"},
                       {"/opt/removed/program(deleted)", L"program(deleted)", L"/opt/removed/"},
                       {" (deleted)", L" (deleted)", L""}});
}

TEST(ProcessIdentity, keeps_a_name_that_only_looks_like_the_mark)
{
    std::filesystem::path const directory =
        std::filesystem::temp_directory_path() / ("orva_identity_" + std::to_string(::getpid()));
    ASSERT_TRUE(std::filesystem::create_directory(directory));
    std::filesystem::path const program = directory / "program (deleted)";
    std::ofstream(program).put('x');
    expect_identities({{program.string(), L"program (deleted)", wide(directory) + L"/"}});
    std::filesystem::remove_all(directory);
}

// Each allocation of a first call fails in turn. The call gives an empty text, or the right one if it can do without;
// the next call, with memory, gives the right one.
TEST(ProcessIdentity, is_empty_without_memory_and_asked_for_again)
{
    struct Question
    {
        wchar_t const* (*ask)();
        wchar_t const* expected;
    };
    for (Question const question : {Question{GetProcessName, L"program"}, Question{GetStartupPath, L"/opt/app/"}})
        for (unsigned long nth = 1; nth <= 3; ++nth)
            in_fresh_process(
                [question, nth]
                {
                    tell("/opt/app/program");
                    std::wstring first;
                    {
                        support::AllocationFailure const failure(nth);
                        wchar_t const* const text = question.ask();
                        EXPECT_EQ(failure.failures(), 1U);
                        first = text;
                    }
                    // The first allocation is that of the section, which can be done without.
                    EXPECT_EQ(first, nth == 1 ? question.expected : L"");
                    EXPECT_STREQ(question.ask(), question.expected);
                });
}

TEST(ProcessIdentity, is_asked_for_once_by_threads_that_come_at_the_same_time)
{
    in_fresh_process(
        []
        {
            tell("/opt/app/program");
            int const count = 8;
            std::atomic<int> waiting(count);
            std::vector<std::wstring> names(count), directories(count);
            std::vector<std::thread> threads;
            for (unsigned int number = 0; number < count; ++number)
                threads.emplace_back(
                    [&, number]
                    {
                        for (--waiting; waiting > 0;)
                            std::this_thread::yield();
                        names[number] = GetProcessName();
                        directories[number] = GetStartupPath();
                    });
            for (std::thread& thread : threads)
                thread.join();
            for (unsigned int number = 0; number < count; ++number)
            {
                EXPECT_EQ(names[number], L"program");
                EXPECT_EQ(directories[number], L"/opt/app/");
            }
            EXPECT_EQ(asked, 2);
        });
}

} // namespace
