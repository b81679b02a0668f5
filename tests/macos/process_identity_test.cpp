// The process's identity where the system has bundles: each call of the system, what is released, and what is not. The
// answers are kept by the process, so each test has a process of its own.
#include "ORVA/Core.h"

#include "support/FreshProcess.h"
#include "support/macos/MacosDouble.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using ORVA::Core::OS::GetProcessName;
using ORVA::Core::OS::GetStartupPath;
using support::in_fresh_process;
using namespace support::macos;

namespace
{

std::string const name_asked = "CFBundleGetMainBundle()\n"
                               "CFBundleGetValueForInfoDictionaryKey(bundle, \"CFBundleName\")\n";
std::string const name_type_asked = name_asked + "CFGetTypeID(name)\n"
                                                 "CFStringGetTypeID()\n";
std::string const name_read = name_type_asked + "CFStringGetCStringPtr(name, 0x8000100)\n";
std::string const name_answered = name_read + "CFRelease(name)\n";

std::string const path_asked = "CFBundleGetMainBundle()\n"
                               "CFBundleCopyExecutableURL(bundle)\n";
std::string path_read(int number)
{
    return path_asked + "CFURLGetFileSystemRepresentation(location" + std::to_string(number) + ", 1, buffer, 1024)\n";
}
std::string path_answered(int number)
{
    return path_read(number) + "CFRelease(location" + std::to_string(number) + ")\n";
}

/// Runs `body` in a fresh process with a fresh system.
template <class Body>
void with_system(Body body)
{
    in_fresh_process(
        [&body]
        {
            reset();
            body();
        });
}

/// What another thread gets; empty, after a failed check, if it waits for a section that was not left.
std::wstring on_another_thread(wchar_t const* (*question)())
{
    std::promise<std::wstring> promise;
    std::future<std::wstring> answer = promise.get_future();
    std::thread thread([question, promise = std::move(promise)]() mutable { promise.set_value(question()); });
    if (answer.wait_for(std::chrono::seconds(30)) == std::future_status::ready)
    {
        thread.join();
        return answer.get();
    }
    thread.detach();
    ADD_FAILURE() << "the section was not left";
    return {};
}

TEST(MacosProcessName, is_the_bundles_name_which_is_released_although_not_owned)
{
    with_system(
        []
        {
            system().bundle_name = "Caf\xC3\xA9 \xF0\x9F\x98\x80";
            EXPECT_STREQ(GetProcessName(), L"Caf\u00E9 \U0001F600");
            EXPECT_EQ(take_calls(), name_answered);
            EXPECT_EQ(releases("name"), 1);
            EXPECT_EQ(releases("bundle"), 0);
            EXPECT_EQ(releases("\"CFBundleName\""), 0);
        });
}

TEST(MacosProcessName, is_asked_for_once)
{
    with_system(
        []
        {
            system().bundle_name = "First";
            wchar_t const* const name = GetProcessName();
            take_calls();
            system().bundle_name = "Second";
            EXPECT_EQ(GetProcessName(), name);
            EXPECT_STREQ(name, L"First");
            EXPECT_EQ(take_calls(), "");
        });
}

TEST(MacosProcessName, is_empty_without_a_bundle_and_asked_for_again)
{
    with_system(
        []
        {
            system().bundle_name = "Name";
            system().refusing = "CFBundleGetMainBundle";
            EXPECT_STREQ(GetProcessName(), L"");
            EXPECT_EQ(take_calls(), "CFBundleGetMainBundle()\n");
            system().refusing.clear();
            EXPECT_STREQ(GetProcessName(), L"Name");
        });
}

TEST(MacosProcessName, is_empty_without_the_key_and_asked_for_again)
{
    with_system(
        []
        {
            wchar_t const* const name = GetProcessName();
            ASSERT_NE(name, nullptr);
            EXPECT_STREQ(name, L"");
            EXPECT_EQ(take_calls(), name_asked);
            EXPECT_EQ(on_another_thread(GetProcessName), L"");
            EXPECT_EQ(take_calls(), name_asked);
            system().bundle_name = "Name";
            EXPECT_EQ(GetProcessName(), name);
            EXPECT_STREQ(name, L"Name");
            EXPECT_EQ(take_calls(), name_answered);
        });
}

TEST(MacosProcessName, is_empty_for_a_value_of_another_type_which_is_released)
{
    with_system(
        []
        {
            system().bundle_name = "Name";
            system().bundle_name_is_string = false;
            EXPECT_STREQ(GetProcessName(), L"");
            EXPECT_EQ(take_calls(), name_type_asked + "CFRelease(name)\n");
            EXPECT_EQ(releases("name"), 1);
            EXPECT_EQ(on_another_thread(GetProcessName), L"");
            EXPECT_EQ(releases("name"), 2);
            system().bundle_name_is_string = true;
            EXPECT_STREQ(GetProcessName(), L"Name");
        });
}

TEST(MacosProcessName, is_empty_where_the_bytes_cannot_be_had_and_the_value_is_released)
{
    with_system(
        []
        {
            system().bundle_name = "Name";
            system().bundle_name_has_bytes = false;
            EXPECT_STREQ(GetProcessName(), L"");
            EXPECT_EQ(take_calls(), name_answered);
            system().bundle_name_has_bytes = true;
            EXPECT_EQ(on_another_thread(GetProcessName), L"Name");
        });
}

TEST(MacosProcessName, is_asked_for_again_if_it_is_an_empty_string)
{
    with_system(
        []
        {
            system().bundle_name = "";
            EXPECT_STREQ(GetProcessName(), L"");
            EXPECT_STREQ(GetProcessName(), L"");
            EXPECT_EQ(take_calls(), name_answered + name_answered);
            system().bundle_name = "N";
            EXPECT_STREQ(GetProcessName(), L"N");
        });
}

TEST(MacosProcessName, ends_where_the_bytes_are_no_utf8)
{
    with_system(
        []
        {
            system().bundle_name = "Na\xFFme";
            EXPECT_STREQ(GetProcessName(), L"Na");
        });
}

TEST(MacosProcessName, has_259_characters_at_most)
{
    for (unsigned long const length : {258UL, 259UL, 260UL, 261UL, 5000UL})
        with_system(
            [length]
            {
                std::string name;
                std::wstring expected;
                for (unsigned long at = 0; at < length; ++at)
                {
                    name += static_cast<char>('!' + at % 90);
                    expected += static_cast<wchar_t>(L'!' + at % 90);
                }
                system().bundle_name = name;
                EXPECT_EQ(GetProcessName(), expected.substr(0, 259));
                EXPECT_EQ(take_calls(), name_answered);
            });
}

// An exception ends the question where it stands: nothing is released behind it, the section is left, and the next call
// asks again.
TEST(MacosProcessName, drops_an_exception_of_any_call)
{
    std::vector<std::pair<std::string, std::string>> const calls = {
        {"CFBundleGetMainBundle", "CFBundleGetMainBundle()\n"},
        {"CFBundleGetValueForInfoDictionaryKey", name_asked},
        {"CFGetTypeID", name_asked + "CFGetTypeID(name)\n"},
        {"CFStringGetTypeID", name_type_asked},
        {"CFStringGetCStringPtr", name_read}};
    for (auto const& [function, made] : calls)
        with_system(
            [&function = function, &made = made]
            {
                system().bundle_name = "Name";
                system().throwing = function;
                EXPECT_STREQ(GetProcessName(), L"") << function;
                EXPECT_EQ(take_calls(), made);
                EXPECT_LE(releases("name"), 0);
                EXPECT_EQ(on_another_thread(GetProcessName), L"");
                EXPECT_EQ(take_calls(), made);
                system().throwing.clear();
                EXPECT_EQ(on_another_thread(GetProcessName), L"Name");
                EXPECT_EQ(take_calls(), name_answered);
            });
}

TEST(MacosProcessName, stays_when_its_release_throws)
{
    with_system(
        []
        {
            system().bundle_name = "Name";
            system().throwing = "CFRelease";
            EXPECT_STREQ(GetProcessName(), L"Name");
            EXPECT_EQ(take_calls(), name_answered);
            EXPECT_EQ(on_another_thread(GetProcessName), L"Name");
            EXPECT_EQ(take_calls(), "");
        });
}

TEST(MacosProcessName, leaves_the_section_when_the_release_of_another_type_throws)
{
    with_system(
        []
        {
            system().bundle_name = "Name";
            system().bundle_name_is_string = false;
            system().throwing = "CFRelease";
            EXPECT_STREQ(GetProcessName(), L"");
            EXPECT_EQ(on_another_thread(GetProcessName), L"");
        });
}

TEST(MacosStartupPath, is_the_executables_directory_and_its_location_is_released)
{
    with_system(
        []
        {
            system().executable = "/Applications/Caf\xC3\xA9.app/Contents/MacOS/program";
            EXPECT_STREQ(GetStartupPath(), L"/Applications/Caf\u00E9.app/Contents/MacOS/");
            EXPECT_EQ(take_calls(), path_answered(1));
            EXPECT_EQ(releases("location1"), 1);
            EXPECT_EQ(releases("bundle"), 0);
        });
}

TEST(MacosStartupPath, is_asked_for_once)
{
    with_system(
        []
        {
            system().executable = "/first/program";
            wchar_t const* const path = GetStartupPath();
            take_calls();
            system().executable = "/second/program";
            EXPECT_EQ(GetStartupPath(), path);
            EXPECT_STREQ(path, L"/first/");
            EXPECT_EQ(take_calls(), "");
        });
}

TEST(MacosStartupPath, is_kept_apart_from_the_name)
{
    with_system(
        []
        {
            system().bundle_name = "Name";
            system().executable = "/directory/program";
            EXPECT_STREQ(GetProcessName(), L"Name");
            EXPECT_STREQ(GetStartupPath(), L"/directory/");
            EXPECT_EQ(take_calls(), name_answered + path_answered(1));
        });
}

TEST(MacosStartupPath, is_empty_without_a_bundle_and_asked_for_again)
{
    with_system(
        []
        {
            system().executable = "/directory/program";
            system().refusing = "CFBundleGetMainBundle";
            EXPECT_STREQ(GetStartupPath(), L"");
            EXPECT_EQ(take_calls(), "CFBundleGetMainBundle()\n");
            system().refusing.clear();
            EXPECT_STREQ(GetStartupPath(), L"/directory/");
        });
}

TEST(MacosStartupPath, is_empty_without_a_location_and_asked_for_again)
{
    with_system(
        []
        {
            wchar_t const* const path = GetStartupPath();
            ASSERT_NE(path, nullptr);
            EXPECT_STREQ(path, L"");
            EXPECT_EQ(take_calls(), path_asked);
            EXPECT_EQ(on_another_thread(GetStartupPath), L"");
            EXPECT_EQ(take_calls(), path_asked);
            system().executable = "/directory/program";
            EXPECT_EQ(GetStartupPath(), path);
            EXPECT_STREQ(path, L"/directory/");
        });
}

TEST(MacosStartupPath, is_empty_where_the_location_has_no_path_and_the_location_is_released)
{
    with_system(
        []
        {
            system().executable = "/directory/program";
            system().refusing = "CFURLGetFileSystemRepresentation";
            EXPECT_STREQ(GetStartupPath(), L"");
            EXPECT_EQ(take_calls(), path_answered(1));
            EXPECT_EQ(releases("location1"), 1);
            system().refusing.clear();
            EXPECT_EQ(on_another_thread(GetStartupPath), L"/directory/");
            EXPECT_EQ(take_calls(), path_answered(2));
        });
}

TEST(MacosStartupPath, is_empty_for_a_path_without_a_separator_or_without_text)
{
    for (char const* const path : {"", "program"})
        with_system(
            [path]
            {
                system().executable = path;
                EXPECT_STREQ(GetStartupPath(), L"");
                EXPECT_STREQ(GetStartupPath(), L"");
                EXPECT_EQ(take_calls(), path_answered(1) + path_answered(2));
                EXPECT_EQ(releases("location1"), 1);
                EXPECT_EQ(releases("location2"), 1);
            });
}

TEST(MacosStartupPath, ends_behind_the_last_slash_or_backslash)
{
    std::vector<std::pair<std::string, std::wstring>> const paths = {
        {"/program", L"/"}, {"/a/b\\program", L"/a/b\\"}, {"/a\\b/program", L"/a\\b/"}, {"/a/", L"/a/"}};
    for (auto const& [path, expected] : paths)
        with_system(
            [&path = path, &expected = expected]
            {
                system().executable = path;
                EXPECT_EQ(GetStartupPath(), expected);
            });
}

// The buffer takes 1023 bytes of a path. No directory in it has more than 1039 characters.
TEST(MacosStartupPath, has_259_characters_at_most_and_comes_from_1023_bytes_at_most)
{
    for (unsigned long const length : {258UL, 259UL, 260UL, 1000UL, 1022UL, 1023UL, 1024UL, 3000UL})
        with_system(
            [length]
            {
                std::string const directory = "/" + std::string(length - 2, 'd') + "/";
                system().executable = directory + "p";
                std::wstring expected(directory.begin(), directory.end());
                EXPECT_EQ(GetStartupPath(), length + 1 <= 1023 ? expected.substr(0, 259) : L"") << length;
                EXPECT_EQ(take_calls(), path_answered(1));
                EXPECT_EQ(releases("location1"), 1);
            });
}

TEST(MacosStartupPath, drops_an_exception_of_any_call)
{
    std::vector<std::pair<std::string, std::string>> const calls = {
        {"CFBundleGetMainBundle", "CFBundleGetMainBundle()\n"},
        {"CFBundleCopyExecutableURL", path_asked},
        {"CFURLGetFileSystemRepresentation", path_read(1)},
        {"CFRelease", path_answered(1)}};
    for (auto const& [function, made] : calls)
        with_system(
            [&function = function, &made = made]
            {
                system().executable = "/directory/program";
                system().throwing = function;
                EXPECT_STREQ(GetStartupPath(), L"") << function;
                EXPECT_EQ(take_calls(), made);
                EXPECT_LE(releases("location1"), function == "CFRelease" ? 1 : 0);
                EXPECT_EQ(on_another_thread(GetStartupPath), L"");
                system().throwing.clear();
                EXPECT_EQ(on_another_thread(GetStartupPath), L"/directory/");
            });
}

} // namespace
