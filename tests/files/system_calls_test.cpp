// What goes to the system, call by call. Linked with --wrap for each function that is recorded here.
#include "ORVA/Files/Path.h"
#include "files/enumerator_fixture.h"

#include "ORVA/Files/File.h"
#include "ORVA/Files/FileSystem.h"

#include <cstdarg>
#include <vector>

#include <fcntl.h>

using namespace ORVA::Files::OS;
using support::WorkingDirectory;
using Calls = std::vector<std::string>;

namespace
{

bool records = false;
Calls recorded;

void note(std::string const& call)
{
    if (records)
        recorded.push_back(call);
}

/// The calls that `operation` makes.
template <class Operation>
Calls calls_of(Operation operation)
{
    recorded.clear();
    records = true;
    operation();
    records = false;
    return recorded;
}

std::string octal(mode_t mode)
{
    std::string digits;
    for (; mode != 0; mode >>= 3)
        digits.insert(digits.begin(), static_cast<char>('0' + (mode & 7)));
    return digits;
}

std::string open_call(std::string const& path, int flags)
{
    return "open " + path + " " + std::to_string(flags) + " 770";
}

} // namespace

// The names are those that the linker's --wrap gives. Without it the first group is absent.
extern "C"
{
    int __real_open(char const* path, int flags, ...) __attribute__((weak));
    int __real_mkdir(char const* path, mode_t mode) __attribute__((weak));
    int __real_stat(char const* path, struct stat* record) __attribute__((weak));
    int __real_lstat(char const* path, struct stat* record) __attribute__((weak));
    DIR* __real_opendir(char const* path) __attribute__((weak));
    int __real_fsync(int descriptor) __attribute__((weak));

    int __wrap_open(char const* path, int flags, ...);
    int __wrap_mkdir(char const* path, mode_t mode);
    int __wrap_stat(char const* path, struct stat* record);
    int __wrap_lstat(char const* path, struct stat* record);
    DIR* __wrap_opendir(char const* path);
    int __wrap_fsync(int descriptor);
}

extern "C" int __wrap_open(char const* path, int flags, ...)
{
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0 || records)
    {
        std::va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    note("open " + std::string(path) + " " + std::to_string(flags) + " " + octal(mode));
    return __real_open(path, flags, mode);
}

extern "C" int __wrap_mkdir(char const* path, mode_t mode)
{
    note("mkdir " + std::string(path) + " " + octal(mode));
    return __real_mkdir(path, mode);
}

extern "C" int __wrap_stat(char const* path, struct stat* record)
{
    note("stat " + std::string(path));
    return __real_stat(path, record);
}

extern "C" int __wrap_lstat(char const* path, struct stat* record)
{
    note("lstat " + std::string(path));
    return __real_lstat(path, record);
}

extern "C" DIR* __wrap_opendir(char const* path)
{
    note("opendir " + std::string(path));
    return __real_opendir(path);
}

extern "C" int __wrap_fsync(int descriptor)
{
    note("fsync");
    return __real_fsync(descriptor);
}

namespace
{

class SystemCalls : public files::EnumeratorFixture
{
protected:
    void SetUp() override
    {
        if (!__real_open || !__real_mkdir || !__real_stat || !__real_lstat || !__real_opendir || !__real_fsync)
            GTEST_SKIP() << "this program is linked without --wrap for the system's functions";
    }

    /// What opening `path` calls; it is closed again.
    static Calls opening(std::wstring const& path, unsigned int access, unsigned int options)
    {
        CFile file;
        return calls_of(
            [&] { file.Open(path.c_str(), static_cast<eFileAccess>(access), static_cast<eOpenFileOptions>(options)); });
    }
};

TEST_F(SystemCalls, opening_passes_exactly_the_flags_of_its_bits)
{
    std::string const file = directory.path("f");
    for (unsigned int access : {0U, 1U, 4U, 5U, 8U, 9U, 13U, 16U, 17U})
    {
        bool const writes = (access & 1) != 0;
        int const base = (writes ? O_RDWR : O_RDONLY) | ((access & 12) != 0 ? 0 : O_EXCL);
        directory.write("f");
        EXPECT_EQ((Calls{"stat " + file, open_call(file, base)}), opening(directory.wide_path("f"), access, 0))
            << "the exclusive flag does not wait for the creating one, access " << access;
        if (!writes)
            continue;
        EXPECT_EQ((Calls{"stat " + file, open_call(file, base | O_TRUNC)}),
                  opening(directory.wide_path("f"), access, 4));
        EXPECT_EQ(Calls{open_call(file, base | O_CREAT)}, opening(directory.wide_path("f"), access, 1));
        EXPECT_EQ(Calls{open_call(file, base | O_CREAT | O_TRUNC)}, opening(directory.wide_path("f"), access, 5));
    }
    directory.write("f");
    EXPECT_EQ(Calls{open_call(file, O_RDWR | O_EXCL | O_CREAT)}, opening(directory.wide_path("f"), 1, 9));
}

TEST_F(SystemCalls, opening_that_is_refused_asks_for_nothing_more)
{
    directory.write("f");
    std::string const file = directory.path("f");
    EXPECT_EQ(Calls(), opening(L"", 1, 3));
    EXPECT_EQ(Calls(), opening(directory.wide_path("f"), 1, 8));
    EXPECT_EQ(Calls(), opening(directory.wide_path("d/f"), 5, 11));
    EXPECT_EQ(Calls(), opening(directory.wide_path("d/f"), 0, 3));
    EXPECT_EQ(Calls(), opening(directory.wide_path("d/f"), 1, 2));
    EXPECT_EQ(Calls(), opening(L"f", 1, 3));
    EXPECT_EQ(Calls{"stat " + file}, opening(directory.wide_path("f"), 0, 4));
    EXPECT_EQ(Calls{"stat " + directory.path("missing")}, opening(directory.wide_path("missing"), 0, 0));
    EXPECT_EQ((Calls{"stat ", "mkdir  777"}), opening(L"/f", 1, 3));
    EXPECT_EQ((Calls{"stat " + file, "mkdir " + file + " 777"}), opening(directory.wide_path("f/g"), 1, 3));
}

TEST_F(SystemCalls, directory_of_a_new_file_is_asked_about_before_it_is_made)
{
    std::string const made = directory.path("d");
    int const flags = O_RDWR | O_EXCL | O_CREAT;
    EXPECT_EQ((Calls{"stat " + made, "mkdir " + made + " 777", open_call(made + "/f", flags)}),
              opening(directory.wide_path("d/f"), 1, 3));
    EXPECT_EQ((Calls{"stat " + made, open_call(made + "/g", flags)}), opening(directory.wide_path("d/g"), 1, 3));
}

TEST_F(SystemCalls, flushing_goes_to_the_disk_for_an_open_file_alone)
{
    directory.write("f");
    CFile file;
    EXPECT_EQ(Calls(), calls_of([&] { file.Flush(); }));
    ASSERT_EQ(1, file.Open(directory.wide_path("f").c_str(), eFileAccessRead, eOpenFileExisting));
    EXPECT_EQ(Calls{"fsync"}, calls_of([&] { file.Flush(); }));
}

TEST_F(SystemCalls, questions_about_an_empty_path_do_not_go_to_the_system)
{
    EXPECT_EQ(Calls(), calls_of(
                           []
                           {
                               EXPECT_FALSE(_TestDirExists(L""));
                               EXPECT_FALSE(_TestFileExists(L""));
                               EXPECT_FALSE(_TestDirExists(nullptr));
                               EXPECT_FALSE(_TestFileExists(nullptr));
                           }));
    std::string const path = directory.path("d");
    EXPECT_EQ(Calls{"stat " + path}, calls_of([&] { _TestDirExists(directory.wide_path("d").c_str()); }));
    EXPECT_EQ(Calls{"stat " + path}, calls_of([&] { _TestFileExists(directory.wide_path("d").c_str()); }));
    EXPECT_EQ(Calls{"mkdir " + path + " 777"}, calls_of([&] { _CreateDir(directory.wide_path("d").c_str()); }));
}

TEST_F(SystemCalls, directory_is_opened_with_a_separator_at_its_end)
{
    directory.write("f");
    directory.make_directory("b\\");
    std::string const path = directory.path();
    EXPECT_EQ((Calls{"stat " + path, "opendir " + path + "/"}),
              calls_of([&] { EXPECT_EQ(1, begins(directory.wide_path().c_str())); }));
    EXPECT_EQ((Calls{"stat " + path + "/", "opendir " + path + "/"}),
              calls_of([&] { EXPECT_EQ(1, begins(directory.wide_path("").c_str())); }));
    std::string const backslash = directory.path("b\\");
    EXPECT_EQ((Calls{"stat " + backslash, "opendir " + backslash}),
              calls_of([&] { EXPECT_EQ(1, begins(directory.wide_path("b\\").c_str())); }));
    EXPECT_EQ(Calls{"stat " + path + "/f"}, calls_of([&] { EXPECT_EQ(0, begins(directory.wide_path("f").c_str())); }))
        << "what is no directory is not opened";
    EXPECT_EQ(Calls(), calls_of([&] { EXPECT_EQ(0, begins(L"")); }));
}

TEST_F(SystemCalls, entry_is_asked_about_with_one_separator_before_its_name_and_skipped_ones_are_not)
{
    directory.write("a.wav");
    directory.write("b.mp3");
    for (std::wstring const& path : {directory.wide_path(), directory.wide_path("")})
    {
        CDirectoryEnumerator enumerator;
        CFindData data;
        ASSERT_EQ(1, enumerator.BeginEnumerate(path.c_str(), L".wav"));
        EXPECT_EQ(Calls{"lstat " + directory.path("a.wav")}, calls_of(
                                                                 [&]
                                                                 {
                                                                     EXPECT_EQ(1, enumerator.GetNext(data));
                                                                     EXPECT_EQ(0, enumerator.GetNext(data));
                                                                 }));
    }
}

TEST_F(SystemCalls, levels_of_a_path_are_asked_about_in_turn_and_made_where_they_are_missing)
{
    using ORVA::Files::FU_CreatePath;
    WorkingDirectory const here(directory.path());
    directory.make_directory("C:");
    directory.make_directory("C:/a");
    EXPECT_EQ((Calls{"stat C:/a", "stat C:/a/b", "mkdir C:/a/b 777", "stat C:/a/b/", "stat C:/a/b//c",
                     "mkdir C:/a/b//c 777"}),
              calls_of([] { FU_CreatePath(L"  C:/a/b//c/\\ "); }));
    EXPECT_EQ(Calls{"stat C:/a"}, calls_of([] { FU_CreatePath(L"C:/a"); }));
    EXPECT_EQ(Calls(), calls_of(
                           []
                           {
                               for (wchar_t const* const path :
                                    {L"", L"/", L"\\", L"//", L"C:", L"C:/", L"a", L"a/b", L"C:a/b", L"//srv",
                                     L"//srv/", L"//srv/share", L"\\\\.\\a\\b", L"\\\\?\\a\\b", L"/a|b"})
                                   FU_CreatePath(path);
                           }));
}

} // namespace
