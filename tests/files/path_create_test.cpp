#include "ORVA/Files/Path.h"
#include "files/files_fixture.h"
#include "support/FreshProcess.h"

#include <climits>

using namespace ORVA::Files;
using namespace support;

namespace
{

using Names = std::vector<std::string>;

class CreatePath : public files::FilesFixture
{
protected:
    void create(std::wstring const& path) const { FU_CreatePath(path.c_str()); }
    /// Whether `name` in the test's directory is a directory.
    bool is_directory(std::string const& name) const { return std::filesystem::is_directory(directory.path(name)); }
    /// A path in the root that nothing has.
    std::string const absent = "/orva_test_" + std::to_string(::getpid()) + "_absent";

    /// The report of a directory that cannot be made, and that there is no other.
    void expect_report()
    {
        LogMessages const reports = {log_message(
            1, "BaseOS_Unix_common", 105, L"Failed assumption: Illegal code point reached:CreateDirectory failed",
            L"Failed assumption: %hs:%hs")};
        EXPECT_EQ(reports, recorder.take());
    }
};

TEST_F(CreatePath, makes_all_levels_that_are_missing)
{
    NoPermissionMask const mask;
    create(directory.wide_path("a/b/c"));
    EXPECT_TRUE(is_directory("a/b/c"));
    EXPECT_EQ(0777U, permissions(directory.path("a/b/c")));
    EXPECT_EQ(0777U, permissions(directory.path("a")));
    create(directory.wide_path("a/b/d"));
    EXPECT_TRUE(is_directory("a/b/d"));
    EXPECT_TRUE(is_directory("a/b/c"));
    create(directory.wide_path("a/b/d"));
    EXPECT_EQ(Names{"a"}, directory.entries());
}

TEST_F(CreatePath, separators_at_the_end_do_not_count)
{
    create(directory.wide_path("a/b/"));
    EXPECT_TRUE(is_directory("a/b"));
    create(directory.wide_path("c//  "));
    EXPECT_TRUE(is_directory("c"));
    EXPECT_TRUE(std::filesystem::is_empty(directory.path("c"))) << "blanks behind separators are no name";
    EXPECT_EQ((Names{"a", "c"}), directory.entries());
}

TEST_F(CreatePath, blanks_at_the_end_belong_to_the_name)
{
    create(directory.wide_path("a  "));
    EXPECT_EQ(Names{"a  "}, directory.entries());
}

TEST_F(CreatePath, blanks_before_the_path_are_left_out)
{
    WorkingDirectory const here(directory.path());
    create(L"   " + directory.wide_path("a/b"));
    EXPECT_TRUE(is_directory("a/b"));
    EXPECT_EQ(Names{"a"}, directory.entries());
}

TEST_F(CreatePath, text_of_the_caller_stays)
{
    std::wstring path = directory.wide_path("a/b//");
    std::wstring const before = path;
    FU_CreatePath(path.data());
    EXPECT_EQ(before, path);
}

TEST_F(CreatePath, doubled_separators_make_nothing_more)
{
    create(directory.wide_path("a///b"));
    EXPECT_TRUE(is_directory("a/b"));
}

TEST_F(CreatePath, null_empty_and_malformed_paths_do_nothing)
{
    WorkingDirectory const here(directory.path());
    FU_CreatePath(nullptr);
    create(L"");
    create(L"   ");
    create(directory.wide_path("a|b"));
    create(directory.wide_path("a:b"));
    create(directory.wide_path("a\x1F/b"));
    create(L"\\\\.\\a\\b");
    EXPECT_EQ(Names(), directory.entries());
}

TEST_F(CreatePath, relative_paths_do_nothing)
{
    WorkingDirectory const here(directory.path());
    create(L"a");
    create(L"a/b");
    create(L"./a/b");
    create(L"C:a/b");
    create(L"\\\\?\\a\\b");
    EXPECT_EQ(Names(), directory.entries());
}

TEST_F(CreatePath, separator_alone_does_nothing)
{
    WorkingDirectory const here(directory.path());
    create(L"/");
    create(L"\\");
    create(L"C:/");
    create(L"//");
    create(L"///");
    create(L"///  ");
    EXPECT_EQ(Names(), directory.entries());
}

TEST_F(CreatePath, share_of_a_server_is_not_made)
{
    // To the system, "//server/share" is "/server/share". Here is a share that could be made, on a "server" that is
    // there.
    std::string const server = directory.path().substr(0, directory.path().find('/', 1));
    std::string const share = server + absent;
    create(widened("/" + share));
    EXPECT_FALSE(std::filesystem::exists(share));
    create(widened("/" + absent + "/share"));
    create(widened("/" + absent));
    EXPECT_FALSE(std::filesystem::exists(absent));
}

TEST_F(CreatePath, directories_on_a_share_are_made)
{
    ASSERT_EQ('/', directory.path()[0]);
    create(L"/" + directory.wide_path("a/b"));
    EXPECT_TRUE(is_directory("a/b"));
    EXPECT_EQ(Names{"a"}, directory.entries());
}

TEST_F(CreatePath, server_itself_is_not_made_but_what_is_needed_behind_it_is_tried)
{
    create(widened("/" + absent + "/share/d"));
    expect_report();
    EXPECT_FALSE(std::filesystem::exists(absent));
}

TEST_F(CreatePath, scheme_is_part_of_the_name)
{
    WorkingDirectory const here(directory.path());
    create(L"abc://server/d");
    expect_report();
    EXPECT_EQ(Names(), directory.entries());
    directory.make_directory("abc:");
    directory.make_directory("abc:/server");
    create(L"abc://server/d");
    EXPECT_TRUE(is_directory("abc:/server/d")) << "a share with a drive is made";
}

TEST_F(CreatePath, drive_is_part_of_the_name)
{
    WorkingDirectory const here(directory.path());
    create(L"C:/a/b");
    expect_report();
    EXPECT_EQ(Names(), directory.entries());
    directory.make_directory("C:");
    create(L"C:/a/b");
    EXPECT_TRUE(is_directory("C:/a/b"));
}

TEST_F(CreatePath, prefix_is_part_of_the_name)
{
    WorkingDirectory const here(directory.path());
    create(L"\\\\?\\/a/b");
    expect_report();
    directory.make_directory("\\\\?\\");
    create(L"\\\\?\\/a/b");
    EXPECT_TRUE(is_directory("\\\\?\\/a/b"));
}

TEST_F(CreatePath, backslashes_separate_levels_but_not_for_the_system)
{
    WorkingDirectory const here(directory.path());
    create(L"\\a\\b");
    EXPECT_EQ((Names{"\\a", "\\a\\b"}), directory.entries());
}

TEST_F(CreatePath, directory_that_cannot_be_made_is_reported_and_ends_the_call)
{
    directory.write("file");
    create(directory.wide_path("a/b") + L"/" + std::wstring(256, L'n') + L"/c");
    expect_report();
    EXPECT_TRUE(is_directory("a/b")) << "what was made before stays";
    create(directory.wide_path("file/a/b"));
    expect_report();
    create(directory.wide_path("file"));
    expect_report();
    EXPECT_EQ((Names{"a", "file"}), directory.entries());
}

TEST_F(CreatePath, dangling_link_is_no_directory)
{
    directory.make_link("nothing", "link");
    create(directory.wide_path("link/a"));
    expect_report();
    EXPECT_EQ(Names{"link"}, directory.entries());
}

TEST_F(CreatePath, link_to_a_directory_is_followed)
{
    directory.make_directory("d");
    directory.make_link("d", "link");
    create(directory.wide_path("link/a"));
    EXPECT_TRUE(is_directory("d/a"));
}

TEST_F(CreatePath, dots_are_steps_for_the_system)
{
    create(directory.wide_path("a/../b/./c"));
    EXPECT_TRUE(is_directory("b/c"));
    EXPECT_EQ((Names{"a", "b"}), directory.entries());
}

TEST_F(CreatePath, names_go_to_the_system_as_utf8)
{
    create(directory.wide_path("") + L"\u00E4/\u20AC");
    EXPECT_TRUE(is_directory("\xC3\xA4/\xE2\x82\xAC"));
}

TEST_F(CreatePath, long_path_is_made_and_one_beyond_the_systems_limit_is_reported)
{
    std::wstring path = directory.wide_path();
    while (path.size() < PATH_MAX - 300)
        path += L"/" + std::wstring(200, L'n');
    create(path);
    EXPECT_EQ(0, ::access(std::string(path.begin(), path.end()).c_str(), F_OK));
    while (path.size() < PATH_MAX + 300)
        path += L"/" + std::wstring(200, L'n');
    create(path);
    expect_report();
}

TEST_F(CreatePath, without_permission_is_reported)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    in_fresh_process(
        [&]
        {
            ASSERT_EQ(0, ::setgid(65534));
            ASSERT_EQ(0, ::setuid(65534));
            create(directory.wide_path("a/b"));
            expect_report();
        });
    EXPECT_EQ(Names(), directory.entries());
}

TEST_F(CreatePath, without_memory_is_reported_or_does_nothing)
{
    // Beyond the stack's buffer.
    std::wstring const longest(250, L'n');
    std::wstring const path = directory.wide_path() + L"/" + longest + L"/" + longest + L"/a/b";
    std::string const made = std::string(path.begin(), path.end());
    unsigned long silent = 0;
    unsigned long failures = 1;
    for (unsigned long nth = 1; failures != 0; ++nth)
    {
        std::filesystem::remove_all(directory.path(std::string(250, 'n')));
        {
            AllocationFailure const failure(nth, AllocationFailure::forever);
            create(path);
            failures = failure.failures();
        }
        if (failures == 0)
            break;
        EXPECT_FALSE(std::filesystem::exists(made)) << "allocation " << nth;
        if (recorder.count() == 0)
            ++silent;
        else
            expect_report();
    }
    EXPECT_TRUE(std::filesystem::is_directory(made));
    EXPECT_EQ(1U, silent) << "the copy of the path";
}

} // namespace
