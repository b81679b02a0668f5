#include "ORVA/Files/File.h"
#include "files/files_fixture.h"
#include "reference/plain_open.h"
#include "support/FreshProcess.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>

using namespace ORVA::Files::OS;
using namespace support;

namespace
{

static_assert(eFileAccessRead == 0 && eFileAccessWrite == 1 && eFileShareRead == 4 && eFileShareWrite == 8);
static_assert(eOpenFileExisting == 0 && eOpenFileCreate == 1 && eOpenFileCreateDir == 2 && eOpenFileTruncate == 4 &&
              eOpenFileExclusive == 8);

using Names = std::vector<std::string>;

eFileAccess access_of(unsigned int bits)
{
    return static_cast<eFileAccess>(bits);
}

eOpenFileOptions options_of(unsigned int bits)
{
    return static_cast<eOpenFileOptions>(bits);
}

eFileAccess const shared_write = access_of(eFileAccessWrite | eFileShareRead | eFileShareWrite);
eOpenFileOptions const create_both = options_of(eOpenFileCreate | eOpenFileCreateDir);

class FileOpen : public files::FilesFixture
{
protected:
    /// Opens `name` in the test's directory.
    int open(CFile& file, std::string const& name, unsigned int access, unsigned int options) const
    {
        return file.Open(directory.wide_path(name).c_str(), access_of(access), options_of(options));
    }
    /// Whether `name` can be opened; it is closed again.
    int opens(std::string const& name, unsigned int access, unsigned int options) const
    {
        CFile file;
        return open(file, name, access, options);
    }
};

/// One arrangement of files, and the path that is opened in it.
struct Scene
{
    char const* path;
    plain::Target target;
    plain::Parent parent;
};

Scene const scenes[] = {
    {"missing", plain::Target::missing, plain::Parent::exists},
    {"file", plain::Target::file, plain::Parent::exists},
    {"to_file", plain::Target::file, plain::Parent::exists},
    {"dir", plain::Target::directory, plain::Parent::exists},
    {"to_dir", plain::Target::directory, plain::Parent::exists},
    {"dangling", plain::Target::dangling_link, plain::Parent::exists},
    {"to_dir/missing", plain::Target::missing, plain::Parent::exists},
    {"parent/missing", plain::Target::missing, plain::Parent::can_be_made},
    {"parent//missing", plain::Target::missing, plain::Parent::can_be_made},
    {"parent/other/missing", plain::Target::missing, plain::Parent::cannot_be_made},
    {"file/missing", plain::Target::missing, plain::Parent::cannot_be_made},
};

std::unique_ptr<TemporaryDirectory> arranged()
{
    auto scenery = std::make_unique<TemporaryDirectory>();
    scenery->write("file", "content");
    scenery->make_directory("dir");
    scenery->make_link("file", "to_file");
    scenery->make_link("dir", "to_dir");
    scenery->make_link("made", "dangling");
    return scenery;
}

TEST_F(FileOpen, agrees_with_the_rules_for_all_bits_and_arrangements)
{
    NoPermissionMask const mask;
    unsigned int opened = 0;
    for (auto const& scene : scenes)
    {
        std::unique_ptr<TemporaryDirectory> scenery;
        for (unsigned int access = 0; access < 32; ++access)
        {
            for (unsigned int options = 0; options < 32; ++options)
            {
                if (!scenery)
                    scenery = arranged();
                Names expected = {"dangling", "dir", "file", "to_dir", "to_file"};

                auto const outcome = plain::open(access, options, scene.target, scene.parent);
                CFile file;
                EXPECT_EQ(outcome.opened,
                          file.Open(scenery->wide_path(scene.path).c_str(), access_of(access), options_of(options)));
                EXPECT_EQ(outcome.opened, file);
                opened += outcome.opened;
                EXPECT_EQ(outcome.opened ? (outcome.emptied ? 0 : 7) : -1, file.GetSize());
                bool const file_emptied = scene.target == plain::Target::file && outcome.emptied;
                EXPECT_EQ(file_emptied ? "" : "content", scenery->read("file"));

                if (outcome.made_parent)
                    expected.push_back("parent");
                if (scene.target == plain::Target::dangling_link && outcome.opened)
                    expected.push_back("made");
                if (scene.path == std::string("missing") && outcome.opened)
                    expected.push_back("missing");
                std::sort(expected.begin(), expected.end());
                EXPECT_EQ(expected, scenery->entries());
                if (outcome.made_parent)
                {
                    EXPECT_EQ(0777U, permissions(scenery->path("parent")));
                }
                if (outcome.opened && scene.target == plain::Target::missing)
                {
                    EXPECT_EQ(0770U, permissions(scenery->path(scene.path)));
                }
                ASSERT_FALSE(HasFailure()) << scene.path << ", access " << access << ", options " << options;
                if (outcome.opened || outcome.made_parent)
                    scenery.reset();
            }
        }
    }
    EXPECT_GT(opened, 500U);
}

TEST_F(FileOpen, path_without_a_separator_is_refused_where_its_directory_is_to_be_made)
{
    WorkingDirectory const here(directory.path());
    for (unsigned int access = 0; access < 16; ++access)
    {
        for (unsigned int options = 0; options < 16; ++options)
        {
            auto const outcome = plain::open(access, options, plain::Target::missing, plain::Parent::not_named);
            CFile file;
            EXPECT_EQ(outcome.opened, file.Open(L"name", access_of(access), options_of(options)));
            EXPECT_EQ(outcome.opened ? Names{"name"} : Names(), directory.entries())
                << "access " << access << ", options " << options;
            ::unlink("name");
        }
    }
}

TEST_F(FileOpen, null_and_empty_path_are_refused)
{
    CFile file;
    for (unsigned int options : {0U, 1U, 3U})
    {
        EXPECT_EQ(0, file.Open(nullptr, shared_write, options_of(options)));
        EXPECT_EQ(0, file.Open(L"", shared_write, options_of(options)));
    }
    EXPECT_FALSE(file);
}

TEST_F(FileOpen, open_file_is_not_opened_again_and_stays_open)
{
    directory.write("first", "1");
    directory.write("second", "22");
    CFile file;
    ASSERT_EQ(1, open(file, "first", eFileAccessRead, eOpenFileExisting));
    long const before = open_descriptors();
    EXPECT_EQ(0, open(file, "second", eFileAccessWrite, eOpenFileTruncate));
    EXPECT_EQ(0, open(file, "new/third", eFileAccessWrite, create_both));
    EXPECT_EQ(0, file.Open(nullptr, eFileAccessRead, eOpenFileExisting));
    EXPECT_EQ(before, open_descriptors());
    EXPECT_TRUE(file);
    EXPECT_EQ(1, file.GetSize());
    EXPECT_EQ("22", directory.read("second"));
    EXPECT_EQ((Names{"first", "second"}), directory.entries());
    char byte = 0;
    EXPECT_EQ(1, file.Read(&byte, 1, nullptr));
    EXPECT_EQ('1', byte);
}

TEST_F(FileOpen, refused_object_can_be_opened_afterwards)
{
    directory.write("f", "1");
    CFile file;
    EXPECT_EQ(0, open(file, "missing", eFileAccessRead, eOpenFileExisting));
    EXPECT_EQ(1, open(file, "f", eFileAccessRead, eOpenFileExisting));
}

TEST_F(FileOpen, creating_without_a_sharing_bit_fails_if_the_file_exists)
{
    directory.write("f", "content");
    EXPECT_EQ(0, opens("f", eFileAccessWrite, eOpenFileCreate));
    EXPECT_EQ(0, opens("f", eFileAccessWrite, eOpenFileCreate | eOpenFileTruncate));
    EXPECT_EQ("content", directory.read("f"));
    EXPECT_EQ(1, opens("f", eFileAccessWrite | eFileShareRead, eOpenFileCreate));
    EXPECT_EQ(1, opens("f", eFileAccessWrite | eFileShareWrite, eOpenFileCreate));
    EXPECT_EQ("content", directory.read("f"));
}

TEST_F(FileOpen, sharing_bits_lock_nobody_out)
{
    directory.write("f", "content");
    CFile first;
    ASSERT_EQ(1, open(first, "f", eFileAccessWrite, eOpenFileExisting));
    CFile second;
    EXPECT_EQ(1, open(second, "f", eFileAccessWrite, eOpenFileExisting));
}

TEST_F(FileOpen, truncating_needs_write_access)
{
    directory.write("f", "content");
    EXPECT_EQ(0, opens("f", eFileAccessRead, eOpenFileTruncate));
    EXPECT_EQ(0, opens("f", eFileShareRead, eOpenFileTruncate));
    EXPECT_EQ("content", directory.read("f"));
    EXPECT_EQ(1, opens("f", eFileAccessWrite, eOpenFileTruncate));
    EXPECT_EQ("", directory.read("f"));
}

TEST_F(FileOpen, option_8_does_nothing_but_refuse)
{
    EXPECT_EQ(0, opens("f", eFileAccessWrite, eOpenFileExclusive));
    EXPECT_EQ(0, opens("f", eFileAccessWrite | eFileShareRead, eOpenFileExclusive | eOpenFileCreate));
    EXPECT_EQ(0, opens("f", eFileAccessRead, eOpenFileExclusive | eOpenFileCreate));
    EXPECT_EQ(Names(), directory.entries());
    EXPECT_EQ(1, opens("f", eFileAccessWrite, eOpenFileExclusive | eOpenFileCreate));
    EXPECT_EQ(0, opens("f", eFileAccessWrite, eOpenFileExclusive | eOpenFileCreate)) << "as without it";
}

TEST_F(FileOpen, directory_is_made_only_when_nothing_else_refuses)
{
    EXPECT_EQ(0, opens("d/f", eFileAccessWrite, eOpenFileCreateDir));
    EXPECT_EQ(0, opens("d/f", eFileAccessRead, create_both));
    EXPECT_EQ(0, opens("d/f", shared_write, create_both | eOpenFileExclusive));
    EXPECT_EQ(0, opens("d/e/f", eFileAccessWrite, create_both)) << "one level only";
    EXPECT_EQ(Names(), directory.entries());
    EXPECT_EQ(1, opens("d/f", eFileAccessWrite, create_both));
    EXPECT_EQ(Names{"d"}, directory.entries());
}

TEST_F(FileOpen, directory_stays_if_the_file_cannot_be_opened)
{
    EXPECT_EQ(0, opens("d/" + std::string(256, 'n'), eFileAccessWrite, create_both));
    EXPECT_EQ(Names{"d"}, directory.entries());
    EXPECT_EQ(0, opens("e/", eFileAccessWrite, create_both));
    EXPECT_EQ((Names{"d", "e"}), directory.entries());
}

TEST_F(FileOpen, path_at_the_root_has_no_directory_to_be_made)
{
    std::string const name = "orva_test_" + std::to_string(::getpid()) + "_absent";
    CFile file;
    EXPECT_EQ(0, file.Open(widened("/" + name).c_str(), eFileAccessWrite, create_both));
    EXPECT_EQ(0, file.Open(widened("\\" + name).c_str(), eFileAccessWrite, create_both));
    EXPECT_NE(0, ::access(("/" + name).c_str(), F_OK));
    EXPECT_NE(0, ::access(("\\" + name).c_str(), F_OK));
}

TEST_F(FileOpen, backslash_separates_the_directory_but_not_for_the_system)
{
    EXPECT_EQ(1, opens("a\\b", eFileAccessWrite, create_both));
    EXPECT_EQ((Names{"a", "a\\b"}), directory.entries());
    struct stat record = {};
    ASSERT_EQ(0, ::stat(directory.path("a").c_str(), &record));
    EXPECT_TRUE(S_ISDIR(record.st_mode));
    ASSERT_EQ(0, ::stat(directory.path("a\\b").c_str(), &record));
    EXPECT_TRUE(S_ISREG(record.st_mode));
}

TEST_F(FileOpen, relative_directory_is_made_in_the_working_directory)
{
    WorkingDirectory const here(directory.path());
    CFile file;
    EXPECT_EQ(1, file.Open(L"d/f", eFileAccessWrite, create_both));
    EXPECT_EQ(Names{"d"}, directory.entries());
}

TEST_F(FileOpen, permissions_are_0770_less_the_mask)
{
    mode_t const former = ::umask(022);
    EXPECT_EQ(1, opens("d/f", eFileAccessWrite, create_both));
    ::umask(former);
    EXPECT_EQ(0755U, permissions(directory.path("d")));
    EXPECT_EQ(0750U, permissions(directory.path("d/f")));
}

TEST_F(FileOpen, names_go_to_the_system_as_utf8)
{
    CFile file;
    std::wstring const path = directory.wide_path("") + L"\u00E4/\U0001F600";
    EXPECT_EQ(1, file.Open(path.c_str(), eFileAccessWrite, create_both));
    EXPECT_EQ(Names{"\xC3\xA4"}, directory.entries());
    EXPECT_EQ(0, ::access(directory.path("\xC3\xA4/\xF0\x9F\x98\x80").c_str(), F_OK));
}

TEST_F(FileOpen, names_of_255_bytes_are_taken_and_longer_ones_fail)
{
    std::string const longest(255, 'n');
    EXPECT_EQ(1, opens(longest + "/" + longest, eFileAccessWrite, create_both));
    EXPECT_EQ(0, opens(longest + "n", eFileAccessWrite, eOpenFileCreate));
    EXPECT_EQ(0, opens(longest + "n/f", eFileAccessWrite, create_both));
    EXPECT_EQ(Names{longest}, directory.entries());
}

TEST_F(FileOpen, long_path_that_the_system_takes_is_opened_and_one_beyond_its_limit_fails)
{
    std::string path;
    while (directory.path(path).size() < PATH_MAX - 500)
        path += "./";
    EXPECT_EQ(1, opens(path + "d/f", eFileAccessWrite, create_both));
    while (directory.path(path).size() < PATH_MAX + 100)
        path += "./";
    EXPECT_EQ(0, opens(path + "g", eFileAccessWrite, eOpenFileCreate));
    EXPECT_EQ(0, opens(path + "e/f", eFileAccessWrite, create_both));
    EXPECT_EQ(0, opens(path + "d/f", eFileAccessRead, eOpenFileExisting));
    EXPECT_EQ(Names{"d"}, directory.entries());
}

TEST_F(FileOpen, without_permission_fails)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    directory.write("private", "content");
    directory.write("read_only", "content");
    ASSERT_EQ(0, ::chmod(directory.path("private").c_str(), 0600));
    ASSERT_EQ(0, ::chmod(directory.path("read_only").c_str(), 0444));
    in_fresh_process(
        [&]
        {
            ASSERT_EQ(0, ::setgid(65534));
            ASSERT_EQ(0, ::setuid(65534));
            EXPECT_EQ(0, opens("private", eFileAccessRead, eOpenFileExisting));
            EXPECT_EQ(1, opens("read_only", eFileAccessRead, eOpenFileExisting));
            EXPECT_EQ(0, opens("read_only", eFileAccessWrite, eOpenFileTruncate));
            EXPECT_EQ(0, opens("new", eFileAccessWrite, eOpenFileCreate));
            EXPECT_EQ(0, opens("new/f", eFileAccessWrite, create_both));
        });
    EXPECT_EQ((Names{"private", "read_only"}), directory.entries());
    EXPECT_EQ("content", directory.read("read_only"));
}

TEST_F(FileOpen, without_a_descriptor_left_fails)
{
    directory.write("f", "content");
    in_fresh_process(
        [&]
        {
            std::wstring const path = directory.wide_path("f");
            CFile file;
            rlimit before = {};
            ASSERT_EQ(0, ::getrlimit(RLIMIT_NOFILE, &before));
            // Descriptors are given from the lowest free one on, which this one was. Nothing else happens under the
            // limit: sanitizers need descriptors too.
            int const lowest_free = ::dup(0);
            ::close(lowest_free);
            rlimit const limit = {static_cast<rlim_t>(lowest_free), before.rlim_max};
            ::setrlimit(RLIMIT_NOFILE, &limit);
            int const result = file.Open(path.c_str(), eFileAccessRead, eOpenFileExisting);
            ::setrlimit(RLIMIT_NOFILE, &before);
            EXPECT_EQ(0, result);
            EXPECT_FALSE(file);
            EXPECT_EQ(1, file.Open(path.c_str(), eFileAccessRead, eOpenFileExisting));
        });
}

TEST_F(FileOpen, lowest_descriptor_is_one_like_any_other)
{
    directory.write("f", "content");
    in_fresh_process(
        [&]
        {
            ::close(0);
            CFile file;
            EXPECT_EQ(1, open(file, "f", eFileAccessRead, eOpenFileExisting));
            EXPECT_EQ(7, file.GetSize());
            EXPECT_EQ(0, open(file, "f", eFileAccessRead, eOpenFileExisting)) << "it is open";
            EXPECT_EQ(0, ::fcntl(0, F_GETFD)) << "a program that is started inherits it";
            EXPECT_EQ(1, file.Close());
            EXPECT_EQ(-1, ::fcntl(0, F_GETFD));
        });
}

TEST_F(FileOpen, object_is_the_descriptor_and_all_bits_of_the_access)
{
    directory.write("f");
    struct
    {
        int descriptor;
        unsigned int access;
    } members;
    CFile file;
    std::memcpy(&members, static_cast<void const*>(&file), sizeof(file));
    EXPECT_EQ(-1, members.descriptor);
    EXPECT_EQ(0U, members.access);
    ASSERT_EQ(1, open(file, "f", 0x8000000D, eOpenFileExisting));
    std::memcpy(&members, static_cast<void const*>(&file), sizeof(file));
    struct stat record = {};
    EXPECT_EQ(0, ::fstat(members.descriptor, &record));
    EXPECT_EQ(0x8000000DU, members.access);
    file.Close();
    std::memcpy(&members, static_cast<void const*>(&file), sizeof(file));
    EXPECT_EQ(-1, members.descriptor);
}

TEST_F(FileOpen, without_memory_fails_and_writes_nothing_but_the_directory)
{
    directory.write("f", "content");
    CFile file;
    auto const closed_and = [&](Names const& allowed)
    {
        EXPECT_FALSE(file);
        EXPECT_EQ(allowed, directory.entries());
        EXPECT_EQ("content", directory.read("f"));
    };
    files::expect_all_or_nothing([&] { return open(file, "f", eFileAccessRead, eOpenFileExisting) == 1; },
                                 [&] { closed_and({"f"}); }, [&] { file.Close(); });
    files::expect_all_or_nothing([&] { return open(file, "new", eFileAccessWrite, eOpenFileCreate) == 1; },
                                 [&] { closed_and({"f"}); },
                                 [&]
                                 {
                                     file.Close();
                                     ::unlink(directory.path("new").c_str());
                                 });
    // A path that is too long for the stack's buffer.
    std::string far;
    while (far.size() < 600)
        far += "./";
    files::expect_all_or_nothing([&] { return open(file, far + "d/new", eFileAccessWrite, create_both) == 1; },
                                 [&] { closed_and({"f"}); },
                                 [&]
                                 {
                                     file.Close();
                                     ::unlink(directory.path("d/new").c_str());
                                     ::rmdir(directory.path("d").c_str());
                                 });
}

} // namespace
