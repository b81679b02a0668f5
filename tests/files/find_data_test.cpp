#include "ORVA/Files/DirectoryEnumerator.h"
#include "ORVA/Files/FindData.h"
#include "files/files_fixture.h"
#include "files/named_entry.h"

#include <climits>
#include <type_traits>

#include <fcntl.h>

using namespace ORVA::Files::OS;
using namespace support;

namespace
{

static_assert(!std::is_copy_constructible_v<CFindData> && !std::is_copy_assignable_v<CFindData>);

class FindData : public files::FilesFixture
{
protected:
    /// Gets the only entry of the test's directory.
    void find(CFindData& data)
    {
        ASSERT_EQ(1, enumerator.BeginEnumerate(directory.wide_path().c_str()));
        ASSERT_EQ(1, enumerator.GetNext(data));
    }
    /// Sets the times of `name`, access and modification, in seconds and nanoseconds.
    void set_times(std::string const& name, timespec access, timespec modification) const
    {
        timespec const times[2] = {access, modification};
        ASSERT_EQ(0, ::utimensat(AT_FDCWD, directory.path(name).c_str(), times, AT_SYMLINK_NOFOLLOW));
    }

    CDirectoryEnumerator enumerator;
};

void expect_empty_record(CFindData const& data)
{
    EXPECT_EQ(0, data.GetSize());
    EXPECT_FALSE(data.isDirectory());
    EXPECT_EQ(0, data.GetLastModified());
    EXPECT_EQ(0, data.GetLastAccessed());
    EXPECT_EQ(0, data.GetCreated());
}

TEST_F(FindData, is_empty_at_first)
{
    CFindData const data;
    EXPECT_EQ(nullptr, data.GetPath());
    EXPECT_EQ(nullptr, data.GetFilename());
    expect_empty_record(data);
}

TEST_F(FindData, null_entry_is_reported_and_leaves_it_empty)
{
    CFindData data;
    data.init(nullptr);
    LogMessages const reports = {log_message(
        1, "BaseOS_Unix_common", 105, L"Failed assumption: RTA_ON_FALSE:BaseOS_Unix_common,432:directoryEntry != 0",
        L"Failed assumption: %hs:%hs")};
    EXPECT_EQ(reports, recorder.take());
    EXPECT_EQ(nullptr, data.GetPath());
    EXPECT_EQ(nullptr, data.GetFilename());
    expect_empty_record(data);

    directory.write("f", "content");
    find(data);
    EXPECT_EQ(7, data.GetSize());
    data.init(nullptr);
    EXPECT_EQ(reports, recorder.take());
    EXPECT_EQ(nullptr, data.GetPath());
    EXPECT_EQ(nullptr, data.GetFilename());
    expect_empty_record(data);
}

TEST_F(FindData, has_path_name_and_size)
{
    directory.write("name.txt", "content");
    CFindData data;
    find(data);
    EXPECT_EQ(directory.wide_path(), data.GetPath());
    EXPECT_EQ(std::wstring(L"name.txt"), data.GetFilename());
    EXPECT_EQ(7, data.GetSize());
    EXPECT_FALSE(data.isDirectory());
}

TEST_F(FindData, directory_is_one)
{
    directory.make_directory("d");
    CFindData data;
    find(data);
    EXPECT_TRUE(data.isDirectory());
}

TEST_F(FindData, link_to_a_directory_is_none_and_has_the_size_of_its_text)
{
    directory.make_link("/usr", "link");
    CFindData data;
    find(data);
    EXPECT_FALSE(data.isDirectory());
    EXPECT_EQ(4, data.GetSize());
}

TEST_F(FindData, dangling_link_has_a_record)
{
    directory.make_link("nothing", "link");
    set_times("link", {1000, 0}, {2000, 0});
    CFindData data;
    find(data);
    EXPECT_EQ(7, data.GetSize());
    EXPECT_EQ(2000000, data.GetLastModified());
}

TEST_F(FindData, times_are_milliseconds_without_the_part_below_a_second)
{
    directory.write("f");
    set_times("f", {1234567890, 999999999}, {1000000001, 1});
    CFindData data;
    find(data);
    EXPECT_EQ(1234567890000L, data.GetLastAccessed());
    EXPECT_EQ(1000000001000L, data.GetLastModified());
}

TEST_F(FindData, creation_is_the_latest_change_of_the_status)
{
    directory.write("f");
    set_times("f", {1, 0}, {2, 0});
    struct stat record = {};
    ASSERT_EQ(0, ::lstat(directory.path("f").c_str(), &record));
    CFindData data;
    find(data);
    EXPECT_EQ(record.st_ctime * 1000L, data.GetCreated());
    EXPECT_GT(data.GetCreated(), 1000000000000L) << "it was changed just now";
    EXPECT_EQ(1000, data.GetLastAccessed());
    EXPECT_EQ(2000, data.GetLastModified());
}

TEST_F(FindData, times_before_the_epoch_are_negative)
{
    directory.write("f");
    set_times("f", {-1, 999999999}, {-100, 0});
    CFindData data;
    find(data);
    EXPECT_EQ(-1000, data.GetLastAccessed());
    EXPECT_EQ(-100000, data.GetLastModified());
}

TEST_F(FindData, times_beyond_all_milliseconds_wrap)
{
    directory.write("f");
    set_times("f", {0, 0}, {LONG_MAX, 0});
    struct stat record = {};
    ASSERT_EQ(0, ::lstat(directory.path("f").c_str(), &record));
    if (record.st_mtime < LONG_MAX / 1000)
        GTEST_SKIP() << "the file system does not keep such a time";
    CFindData data;
    find(data);
    EXPECT_EQ(static_cast<long>(static_cast<unsigned long>(record.st_mtime) * 1000UL), data.GetLastModified());
}

TEST_F(FindData, without_an_enumerator_entries_are_of_the_working_directory)
{
    directory.write("f", "content");
    WorkingDirectory const here(directory.path());
    CFindData data;
    files::NamedEntry entry("f");
    data.init(&entry.get());
    EXPECT_EQ(nullptr, data.GetPath());
    EXPECT_EQ(std::wstring(L"f"), data.GetFilename());
    EXPECT_EQ(7, data.GetSize());
}

TEST_F(FindData, entry_that_is_not_there_has_its_name_and_a_record_of_zeros)
{
    directory.write("f", "content");
    CFindData data;
    find(data);
    files::NamedEntry entry("missing");
    data.init(&entry.get());
    EXPECT_EQ(directory.wide_path(), data.GetPath());
    EXPECT_EQ(std::wstring(L"missing"), data.GetFilename());
    expect_empty_record(data);
}

TEST_F(FindData, is_filled_anew_by_each_entry)
{
    directory.write("f", "content");
    directory.write("a much longer name", "more content");
    CFindData data;
    find(data);
    std::wstring const first = data.GetFilename();
    ASSERT_EQ(1, enumerator.GetNext(data));
    EXPECT_NE(first, data.GetFilename());
    EXPECT_EQ(std::wstring(L"f").size() + std::wstring(L"a much longer name").size(),
              first.size() + std::wstring(data.GetFilename()).size());
}

TEST_F(FindData, path_of_another_enumerator_is_taken_over)
{
    directory.make_directory("d");
    directory.write("d/f");
    CFindData data;
    find(data);
    CDirectoryEnumerator inner;
    ASSERT_EQ(1, inner.BeginEnumerate(directory.wide_path("d").c_str()));
    ASSERT_EQ(1, inner.GetNext(data));
    EXPECT_EQ(directory.wide_path("d"), data.GetPath());
    EXPECT_EQ(std::wstring(L"f"), data.GetFilename());
}

} // namespace
