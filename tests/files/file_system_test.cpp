#include "ORVA/Files/File.h"
#include "ORVA/Files/FileSystem.h"
#include "files/files_fixture.h"
#include "support/FreshProcess.h"

#include <climits>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>

using namespace ORVA::Files::OS;
using namespace support;

namespace
{

class FileSystem : public files::FilesFixture
{
};

using Names = std::vector<std::string>;

TEST_F(FileSystem, directory_test_is_true_for_directories_and_links_to_them)
{
    directory.make_directory("d");
    directory.write("f");
    directory.make_link("d", "to_d");
    directory.make_link("f", "to_f");
    directory.make_link("nothing", "dangling");

    EXPECT_TRUE(_TestDirExists(directory.wide_path("d").c_str()));
    EXPECT_TRUE(_TestDirExists(directory.wide_path("d/").c_str()));
    EXPECT_TRUE(_TestDirExists(directory.wide_path("to_d").c_str()));
    EXPECT_TRUE(_TestDirExists(L"/"));
    EXPECT_TRUE(_TestDirExists(L"."));
    EXPECT_FALSE(_TestDirExists(directory.wide_path("f").c_str()));
    EXPECT_FALSE(_TestDirExists(directory.wide_path("to_f").c_str()));
    EXPECT_FALSE(_TestDirExists(directory.wide_path("dangling").c_str()));
    EXPECT_FALSE(_TestDirExists(directory.wide_path("missing").c_str()));
    EXPECT_FALSE(_TestDirExists(L""));
    EXPECT_FALSE(_TestDirExists(nullptr));
}

TEST_F(FileSystem, file_test_is_true_for_all_that_is_no_directory)
{
    directory.make_directory("d");
    directory.write("f");
    directory.make_link("d", "to_d");
    directory.make_link("f", "to_f");
    directory.make_link("nothing", "dangling");

    EXPECT_TRUE(_TestFileExists(directory.wide_path("f").c_str()));
    EXPECT_TRUE(_TestFileExists(directory.wide_path("to_f").c_str()));
    EXPECT_TRUE(_TestFileExists(L"/dev/null"));
    EXPECT_FALSE(_TestFileExists(directory.wide_path("d").c_str()));
    EXPECT_FALSE(_TestFileExists(directory.wide_path("to_d").c_str()));
    EXPECT_FALSE(_TestFileExists(directory.wide_path("dangling").c_str()));
    EXPECT_FALSE(_TestFileExists(directory.wide_path("missing").c_str()));
    EXPECT_FALSE(_TestFileExists(directory.wide_path("f/").c_str()));
    EXPECT_FALSE(_TestFileExists(L""));
    EXPECT_FALSE(_TestFileExists(nullptr));
}

TEST_F(FileSystem, socket_passes_for_a_directory_and_for_a_file)
{
    int const descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(descriptor, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, directory.path("socket").c_str(), sizeof(address.sun_path) - 1);
    EXPECT_EQ(0, ::bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof(address)));
    ::close(descriptor);

    EXPECT_TRUE(_TestDirExists(directory.wide_path("socket").c_str()));
    EXPECT_TRUE(_TestFileExists(directory.wide_path("socket").c_str()));
}

TEST_F(FileSystem, character_device_and_pipe_are_no_directories)
{
    ASSERT_EQ(0, ::mkfifo(directory.path("pipe").c_str(), 0600));
    EXPECT_FALSE(_TestDirExists(directory.wide_path("pipe").c_str()));
    EXPECT_TRUE(_TestFileExists(directory.wide_path("pipe").c_str()));
    EXPECT_FALSE(_TestDirExists(L"/dev/null"));
}

TEST_F(FileSystem, deleting_removes_files_links_and_empty_directories)
{
    directory.write("f");
    directory.make_directory("d");
    directory.write("kept");
    directory.make_link("kept", "to_kept");
    directory.make_directory("full");
    directory.write("full/f");

    EXPECT_TRUE(_DeleteFile(directory.wide_path("f").c_str()));
    EXPECT_TRUE(_DeleteFile(directory.wide_path("d").c_str()));
    EXPECT_TRUE(_DeleteFile(directory.wide_path("to_kept").c_str()));
    EXPECT_FALSE(_DeleteFile(directory.wide_path("full").c_str()));
    EXPECT_FALSE(_DeleteFile(directory.wide_path("missing").c_str()));
    EXPECT_FALSE(_DeleteFile(L""));
    EXPECT_FALSE(_DeleteFile(nullptr));
    EXPECT_EQ((Names{"full", "kept"}), directory.entries());
}

TEST_F(FileSystem, deleting_by_the_class_is_the_same)
{
    directory.write("f");
    directory.make_directory("d");
    EXPECT_TRUE(CFile::DeleteFile(directory.wide_path("f").c_str()));
    CFile file;
    EXPECT_TRUE(file.DeleteFile(directory.wide_path("d").c_str()));
    EXPECT_FALSE(CFile::DeleteFile(directory.wide_path("f").c_str()));
    EXPECT_FALSE(CFile::DeleteFile(L""));
    EXPECT_FALSE(CFile::DeleteFile(nullptr));
    EXPECT_EQ(Names(), directory.entries());
}

TEST_F(FileSystem, directories_are_made_one_level_with_all_permissions)
{
    NoPermissionMask const mask;
    EXPECT_TRUE(_CreateDir(directory.wide_path("d").c_str()));
    EXPECT_EQ(0777U, permissions(directory.path("d")));
    EXPECT_FALSE(_CreateDir(directory.wide_path("d").c_str())) << "it exists";
    EXPECT_FALSE(_CreateDir(directory.wide_path("a/b").c_str()));
    EXPECT_FALSE(_CreateDir(L""));
    EXPECT_FALSE(_CreateDir(nullptr));
    EXPECT_EQ(Names{"d"}, directory.entries());
}

TEST_F(FileSystem, permissions_are_less_the_mask_of_the_process)
{
    mode_t const former = ::umask(027);
    bool const made = _CreateDir(directory.wide_path("d").c_str());
    ::umask(former);
    EXPECT_TRUE(made);
    EXPECT_EQ(0750U, permissions(directory.path("d")));
}

TEST_F(FileSystem, paths_go_to_the_system_as_utf8)
{
    std::wstring const name = directory.wide_path("") + L"\u00E4\u20AC\U0001F600";
    EXPECT_TRUE(_CreateDir(name.c_str()));
    EXPECT_EQ(Names{"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"}, directory.entries());
    EXPECT_TRUE(_TestDirExists(name.c_str()));
    EXPECT_TRUE(_DeleteFile(name.c_str()));
    EXPECT_EQ(Names(), directory.entries());
}

TEST_F(FileSystem, path_ends_at_a_character_that_utf8_does_not_hold)
{
    std::wstring name = directory.wide_path("ab");
    name += static_cast<wchar_t>(0x110000);
    name += L"cd";
    EXPECT_TRUE(_CreateDir(name.c_str()));
    EXPECT_EQ(Names{"ab"}, directory.entries());
}

TEST_F(FileSystem, backslash_is_a_character_of_a_name)
{
    EXPECT_TRUE(_CreateDir(directory.wide_path("a\\b").c_str()));
    EXPECT_EQ(Names{"a\\b"}, directory.entries());
    EXPECT_FALSE(_TestDirExists(directory.wide_path("a").c_str()));
}

TEST_F(FileSystem, name_of_255_bytes_is_taken_and_one_of_256_is_not)
{
    EXPECT_TRUE(_CreateDir(directory.wide_path(std::string(255, 'n')).c_str()));
    EXPECT_TRUE(_TestDirExists(directory.wide_path(std::string(255, 'n')).c_str()));
    EXPECT_FALSE(_CreateDir(directory.wide_path(std::string(256, 'n')).c_str()));
    EXPECT_EQ(Names{std::string(255, 'n')}, directory.entries());
}

TEST_F(FileSystem, path_beyond_the_systems_limit_fails)
{
    std::wstring path = directory.wide_path();
    while (path.size() < PATH_MAX + 100)
        path += L"/.";
    EXPECT_FALSE(_TestDirExists(path.c_str()));
    EXPECT_FALSE(_TestFileExists(path.c_str()));
    EXPECT_FALSE(_CreateDir((path + L"/d").c_str()));
    EXPECT_FALSE(_DeleteFile((path + L"/d").c_str()));
    EXPECT_EQ(1, CFile::RenameFile((path + L"/d").c_str(), directory.wide_path().c_str()));
    EXPECT_EQ(Names(), directory.entries());
}

TEST_F(FileSystem, without_permission_fails)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    directory.make_directory("locked");
    directory.write("locked/f");
    ASSERT_EQ(0, ::chmod(directory.path("locked").c_str(), 0500));
    in_fresh_process(
        [&]
        {
            ASSERT_EQ(0, ::setgid(65534));
            ASSERT_EQ(0, ::setuid(65534));
            EXPECT_FALSE(_TestFileExists(directory.wide_path("locked/f").c_str()));
            EXPECT_TRUE(_TestDirExists(directory.wide_path("locked").c_str()));
            EXPECT_FALSE(_CreateDir(directory.wide_path("d").c_str()));
            EXPECT_FALSE(_DeleteFile(directory.wide_path("locked/f").c_str()));
            EXPECT_EQ(1, CFile::RenameFile(directory.wide_path("g").c_str(), directory.wide_path("locked").c_str()));
        });
    EXPECT_EQ(Names{"locked"}, directory.entries());
    EXPECT_TRUE(_TestFileExists(directory.wide_path("locked/f").c_str()));
}

TEST_F(FileSystem, renaming_moves_the_second_path_to_the_first_and_gives_0)
{
    directory.write("from", "content");
    EXPECT_EQ(0, CFile::RenameFile(directory.wide_path("to").c_str(), directory.wide_path("from").c_str()));
    EXPECT_EQ(Names{"to"}, directory.entries());
    EXPECT_EQ("content", directory.read("to"));
}

TEST_F(FileSystem, renaming_replaces_what_was_there)
{
    directory.write("from", "new");
    directory.write("to", "old");
    CFile file;
    EXPECT_EQ(0, file.RenameFile(directory.wide_path("to").c_str(), directory.wide_path("from").c_str()));
    EXPECT_EQ(Names{"to"}, directory.entries());
    EXPECT_EQ("new", directory.read("to"));
}

TEST_F(FileSystem, renaming_that_fails_gives_1)
{
    directory.write("first", "1");
    directory.make_directory("d");
    std::wstring const first = directory.wide_path("first");
    EXPECT_EQ(1, CFile::RenameFile(first.c_str(), directory.wide_path("missing").c_str()));
    EXPECT_EQ(1, CFile::RenameFile(first.c_str(), directory.wide_path("d").c_str())) << "no directory over a file";
    EXPECT_EQ(1, CFile::RenameFile(first.c_str(), L""));
    EXPECT_EQ(1, CFile::RenameFile(L"", first.c_str()));
    EXPECT_EQ(1, CFile::RenameFile(first.c_str(), nullptr));
    EXPECT_EQ(1, CFile::RenameFile(nullptr, first.c_str()));
    EXPECT_EQ(1, CFile::RenameFile(nullptr, nullptr));
    EXPECT_EQ((Names{"d", "first"}), directory.entries());
    EXPECT_EQ("1", directory.read("first"));
}

TEST_F(FileSystem, without_memory_fails_and_does_nothing)
{
    directory.write("f");
    std::wstring const file = directory.wide_path("f");
    std::wstring const other = directory.wide_path("g");
    auto const unchanged = [&] { EXPECT_EQ(Names{"f"}, directory.entries()); };
    auto const nothing = [] {};

    files::expect_all_or_nothing([&] { return _TestFileExists(file.c_str()); }, nothing, nothing);
    files::expect_all_or_nothing([] { return _TestDirExists(L"/"); }, nothing, nothing);
    files::expect_all_or_nothing([&] { return _CreateDir(other.c_str()); }, unchanged,
                                 [&] { ::rmdir(directory.path("g").c_str()); });
    files::expect_all_or_nothing([&] { return CFile::RenameFile(other.c_str(), file.c_str()) == 0; }, unchanged,
                                 [&] { ::rename(directory.path("g").c_str(), directory.path("f").c_str()); });
    files::expect_all_or_nothing([&] { return _DeleteFile(file.c_str()); }, unchanged, [&] { directory.write("f"); });
}

} // namespace
