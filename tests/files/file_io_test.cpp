#include "ORVA/Files/File.h"
#include "files/files_fixture.h"
#include "support/FreshProcess.h"

#include <climits>
#include <csignal>
#include <type_traits>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>

using namespace ORVA::Files::OS;
using namespace support;

namespace
{

static_assert(!std::is_copy_constructible_v<CFile> && !std::is_copy_assignable_v<CFile>);

class FileIO : public files::FilesFixture
{
protected:
    /// Opens `name` in the test's directory, made with `content`, for reading or for both.
    void open(CFile& file, std::string const& content, eFileAccess access = eFileAccessWrite) const
    {
        directory.write("f", content);
        ASSERT_EQ(1, file.Open(directory.wide_path("f").c_str(), access, eOpenFileExisting));
    }
};

unsigned int const untouched = 0xABCDEF;

/// A pipe with a name, of which both ends are open, so that whoever opens it waits for nobody.
class PipeEnds
{
public:
    explicit PipeEnds(std::string const& path)
    {
        EXPECT_EQ(0, ::mkfifo(path.c_str(), 0600));
        m_descriptor = ::open(path.c_str(), O_RDWR);
        EXPECT_NE(-1, m_descriptor);
    }
    ~PipeEnds() { ::close(m_descriptor); }
    PipeEnds(PipeEnds const&) = delete;
    PipeEnds& operator=(PipeEnds const&) = delete;

private:
    int m_descriptor;
};

TEST_F(FileIO, closed_file_refuses_everything_but_closing_and_flushing)
{
    CFile file;
    char byte = 'x';
    unsigned int done = untouched;
    EXPECT_FALSE(file);
    EXPECT_EQ(-1, file.GetSize());
    EXPECT_EQ(-1, file.GetPointer());
    EXPECT_EQ(0, file.SetPointer(0));
    EXPECT_EQ(0, file.MovePointer(0));
    EXPECT_EQ(0, file.SetEOF());
    EXPECT_EQ(0, file.Read(&byte, 1, &done));
    EXPECT_EQ(0U, done);
    done = untouched;
    EXPECT_EQ(0, file.Write(&byte, 1, &done));
    EXPECT_EQ(0U, done);
    EXPECT_EQ(0, file.Read(&byte, 0, nullptr)) << "also for nothing to read";
    EXPECT_EQ(0, file.Write(&byte, 0, nullptr));
    EXPECT_EQ('x', byte);
    EXPECT_EQ(1, file.Flush());
    EXPECT_EQ(1, file.Close());
}

TEST_F(FileIO, closing_gives_the_descriptor_back_and_may_be_repeated)
{
    long const before = open_descriptors();
    CFile file;
    open(file, "content");
    EXPECT_EQ(before + 1, open_descriptors());
    EXPECT_TRUE(file);
    EXPECT_EQ(1, file.Close());
    EXPECT_EQ(before, open_descriptors());
    EXPECT_FALSE(file);
    EXPECT_EQ(-1, file.GetSize());
    EXPECT_EQ(1, file.Close());
    open(file, "other");
    EXPECT_EQ(5, file.GetSize());
}

TEST_F(FileIO, destructor_gives_the_descriptor_back)
{
    long const before = open_descriptors();
    {
        CFile file;
        open(file, "content");
        EXPECT_EQ(before + 1, open_descriptors());
    }
    EXPECT_EQ(before, open_descriptors());
}

TEST_F(FileIO, size_is_that_of_now)
{
    CFile file;
    open(file, "content");
    EXPECT_EQ(7, file.GetSize());
    ASSERT_EQ(1, file.SetPointer(100));
    EXPECT_EQ(7, file.GetSize());
    EXPECT_EQ(1, file.Write("x", 1));
    EXPECT_EQ(101, file.GetSize());
    ASSERT_EQ(0, ::truncate(directory.path("f").c_str(), 3));
    EXPECT_EQ(3, file.GetSize());
}

TEST_F(FileIO, size_and_place_beyond_4_gigabytes)
{
    CFile file;
    open(file, "");
    ASSERT_EQ(1, file.SetPointer(0x180000000ULL));
    EXPECT_EQ(0x180000000L, file.GetPointer());
    EXPECT_EQ(1, file.SetEOF());
    EXPECT_EQ(0x180000000L, file.GetSize());
}

TEST_F(FileIO, pointer_is_set_from_the_start_and_moved_from_where_it_is)
{
    CFile file;
    open(file, "0123456789");
    EXPECT_EQ(0, file.GetPointer());
    EXPECT_EQ(1, file.SetPointer(4));
    EXPECT_EQ(4, file.GetPointer());
    EXPECT_EQ(1, file.MovePointer(3));
    EXPECT_EQ(7, file.GetPointer());
    EXPECT_EQ(1, file.MovePointer(-5));
    EXPECT_EQ(2, file.GetPointer());
    EXPECT_EQ(1, file.MovePointer(0));
    EXPECT_EQ(1, file.MovePointer(-2)) << "the start is a place like any other";
    EXPECT_EQ(0, file.GetPointer());
    EXPECT_EQ(1, file.SetPointer(1000)) << "beyond the end";
    EXPECT_EQ(1000, file.GetPointer());
    EXPECT_EQ(10, file.GetSize());
    EXPECT_EQ(1, file.SetPointer(0));
    EXPECT_EQ(0, file.GetPointer());
}

TEST_F(FileIO, pointer_that_cannot_be_reached_stays)
{
    CFile file;
    open(file, "0123456789");
    ASSERT_EQ(1, file.SetPointer(4));
    EXPECT_EQ(0, file.MovePointer(-5));
    EXPECT_EQ(4, file.GetPointer());
    EXPECT_EQ(0, file.MovePointer(LLONG_MIN));
    EXPECT_EQ(0, file.MovePointer(LLONG_MAX));
    EXPECT_EQ(0, file.SetPointer(1ULL << 63));
    EXPECT_EQ(0, file.SetPointer(ULLONG_MAX)) << "what the system gives for an error is no place";
    EXPECT_EQ(4, file.GetPointer());
}

TEST_F(FileIO, place_that_the_system_shows_as_negative_is_reached)
{
    unsigned long long const place = 0xFFFFFFFF00000000ULL;
    char const* const memory = "/proc/self/mem";
    int const descriptor = ::open(memory, O_RDONLY);
    bool const is_taken = descriptor != -1 && ::lseek(descriptor, static_cast<off_t>(place), SEEK_SET) < -1;
    ::close(descriptor);
    if (!is_taken)
        GTEST_SKIP() << "no file here has such places";
    CFile file;
    ASSERT_EQ(1, file.Open(widened(memory).c_str(), eFileAccessRead, eOpenFileExisting));
    EXPECT_EQ(1, file.SetPointer(place));
    EXPECT_EQ(static_cast<long>(place), file.GetPointer());
    EXPECT_EQ(0, file.SetPointer(ULLONG_MAX)) << "not to be told from an error";
}

TEST_F(FileIO, end_is_set_at_the_current_place)
{
    CFile file;
    open(file, "0123456789");
    ASSERT_EQ(1, file.SetPointer(4));
    EXPECT_EQ(1, file.SetEOF());
    EXPECT_EQ("0123", directory.read("f"));
    EXPECT_EQ(4, file.GetPointer());
    ASSERT_EQ(1, file.SetPointer(6));
    EXPECT_EQ(1, file.SetEOF());
    EXPECT_EQ(std::string("0123\0\0", 6), directory.read("f"));
}

TEST_F(FileIO, end_is_not_set_without_write_access)
{
    for (auto const access : {eFileAccessRead, eFileShareWrite})
    {
        CFile file;
        open(file, "0123456789", access);
        ASSERT_EQ(1, file.SetPointer(4));
        EXPECT_EQ(0, file.SetEOF());
        EXPECT_EQ("0123456789", directory.read("f"));
    }
}

TEST_F(FileIO, reading_succeeds_only_for_all_that_was_asked_for)
{
    CFile file;
    open(file, "0123456789", eFileAccessRead);
    char buffer[16] = {};
    unsigned int done = untouched;
    EXPECT_EQ(1, file.Read(buffer, 4, &done));
    EXPECT_EQ(4U, done);
    EXPECT_STREQ("0123", buffer);
    EXPECT_EQ(1, file.Read(buffer, 4)) << "without a count";
    EXPECT_STREQ("4567", buffer);
    EXPECT_EQ(0, file.Read(buffer, 4, &done)) << "two are left";
    EXPECT_EQ(2U, done);
    EXPECT_STREQ("8967", buffer);
    done = untouched;
    EXPECT_EQ(0, file.Read(buffer, 4, &done));
    EXPECT_EQ(0U, done) << "at the end";
    EXPECT_EQ(1, file.Read(buffer, 0, &done)) << "nothing is always there";
    EXPECT_EQ(0U, done);
    EXPECT_EQ(0, file.Read(buffer, 4, nullptr));
}

TEST_F(FileIO, null_buffer_is_refused)
{
    CFile file;
    open(file, "content");
    unsigned int done = untouched;
    EXPECT_EQ(0, file.Read(nullptr, 4, &done));
    EXPECT_EQ(0U, done);
    EXPECT_EQ(0, file.Read(nullptr, 0, nullptr));
    done = untouched;
    EXPECT_EQ(0, file.Write(nullptr, 4, &done));
    EXPECT_EQ(0U, done);
    EXPECT_EQ(0, file.Write(nullptr, 0, nullptr));
    EXPECT_EQ(0, file.GetPointer());
    EXPECT_EQ("content", directory.read("f"));
}

TEST_F(FileIO, writing_puts_the_bytes_at_the_current_place)
{
    CFile file;
    open(file, "0123456789", eFileAccess(eFileAccessWrite | eFileShareRead));
    ASSERT_EQ(1, file.SetPointer(2));
    unsigned int done = untouched;
    EXPECT_EQ(1, file.Write("abc", 3, &done));
    EXPECT_EQ(3U, done);
    EXPECT_EQ(1, file.Write("d", 1));
    EXPECT_EQ(1, file.Write("e", 0, &done));
    EXPECT_EQ(0U, done);
    EXPECT_EQ(6, file.GetPointer());
    EXPECT_EQ("01abcd6789", directory.read("f"));
    char byte = 0;
    EXPECT_EQ(1, file.Read(&byte, 1));
    EXPECT_EQ('6', byte);
}

TEST_F(FileIO, writing_needs_the_write_bit)
{
    for (auto const access : {eFileAccessRead, eFileShareRead, eFileShareWrite})
    {
        CFile file;
        open(file, "content", access);
        unsigned int done = untouched;
        EXPECT_EQ(0, file.Write("abc", 3, &done));
        EXPECT_EQ(0U, done);
        EXPECT_EQ(0, file.Write("abc", 3, nullptr));
        EXPECT_EQ(0, file.Write("abc", 0, nullptr));
        EXPECT_EQ("content", directory.read("f"));
    }
}

TEST_F(FileIO, access_is_that_of_the_latest_opening)
{
    CFile file;
    open(file, "content");
    file.Close();
    open(file, "content", eFileAccessRead);
    EXPECT_EQ(0, file.Write("abc", 3));
    file.Close();
    open(file, "content");
    EXPECT_EQ(0, file.Open(directory.wide_path("f").c_str(), eFileAccessRead, eOpenFileExisting));
    EXPECT_EQ(1, file.Write("abc", 3)) << "a refused opening does not count";
}

TEST_F(FileIO, error_of_the_system_leaves_all_bits_in_the_count)
{
    // An address where nothing is.
    void* const nowhere = reinterpret_cast<void*>(16);
    CFile file;
    open(file, "content");
    unsigned int done = untouched;
    EXPECT_EQ(0, file.Read(nowhere, 4, &done));
    EXPECT_EQ(0xFFFFFFFFU, done);
    done = untouched;
    EXPECT_EQ(0, file.Write(nowhere, 4, &done));
    EXPECT_EQ(0xFFFFFFFFU, done);
    EXPECT_EQ(0, file.Read(nowhere, 4, nullptr));
}

TEST_F(FileIO, error_with_a_size_of_all_bits_is_a_failure)
{
    void* const nowhere = reinterpret_cast<void*>(16);
    CFile file;
    open(file, "content");
    unsigned int done = untouched;
    EXPECT_EQ(0, file.Read(nowhere, 0xFFFFFFFFU, &done));
    EXPECT_EQ(0xFFFFFFFFU, done);
    done = untouched;
    EXPECT_EQ(0, file.Write(nowhere, 0xFFFFFFFFU, &done));
    EXPECT_EQ(0xFFFFFFFFU, done);
}

TEST_F(FileIO, file_that_is_cut_off_while_it_is_read_ends_there)
{
    CFile file;
    open(file, std::string(100000, 'c'), eFileAccessRead);
    std::vector<char> buffer(100000);
    unsigned int done = untouched;
    EXPECT_EQ(1, file.Read(buffer.data(), 50000, &done));
    ASSERT_EQ(0, ::truncate(directory.path("f").c_str(), 60000));
    EXPECT_EQ(0, file.Read(buffer.data(), 50000, &done));
    EXPECT_EQ(10000U, done);
    ASSERT_EQ(0, ::truncate(directory.path("f").c_str(), 10));
    EXPECT_EQ(0, file.Read(buffer.data(), 1, &done));
    EXPECT_EQ(0U, done);
    EXPECT_EQ(60000, file.GetPointer());
}

TEST_F(FileIO, file_that_is_removed_stays_open)
{
    CFile file;
    open(file, "content");
    ASSERT_TRUE(CFile::DeleteFile(directory.wide_path("f").c_str()));
    char buffer[8] = {};
    EXPECT_EQ(1, file.Read(buffer, 7));
    EXPECT_STREQ("content", buffer);
    EXPECT_EQ(1, file.Write("more", 4));
    EXPECT_EQ(11, file.GetSize());
}

TEST_F(FileIO, full_disk_gives_a_short_write_and_then_an_error)
{
    directory.write("f");
    in_fresh_process(
        [&]
        {
            rlimit limit = {0, 0};
            ASSERT_EQ(0, ::getrlimit(RLIMIT_FSIZE, &limit));
            limit.rlim_cur = 1000;
            ASSERT_EQ(0, ::setrlimit(RLIMIT_FSIZE, &limit));
            std::signal(SIGXFSZ, SIG_IGN);
            CFile file;
            open(file, "");
            std::string const content(600, 'c');
            unsigned int done = untouched;
            EXPECT_EQ(1, file.Write(content.data(), 600, &done));
            EXPECT_EQ(0, file.Write(content.data(), 600, &done));
            EXPECT_EQ(400U, done);
            EXPECT_EQ(1000, file.GetSize());
            EXPECT_EQ(0, file.Write(content.data(), 600, &done));
            EXPECT_EQ(0xFFFFFFFFU, done);
            EXPECT_EQ(1, file.SetPointer(2000));
            EXPECT_EQ(0, file.SetEOF());
            EXPECT_EQ(1000, file.GetSize());
        });
}

TEST_F(FileIO, full_device_gives_an_error)
{
    CFile file;
    if (file.Open(L"/dev/full", eFileAccessWrite, eOpenFileExisting) == 0)
        GTEST_SKIP() << "there is no device that is always full";
    unsigned int done = untouched;
    EXPECT_EQ(0, file.Write("abc", 3, &done));
    EXPECT_EQ(0xFFFFFFFFU, done);
}

TEST_F(FileIO, flushing_is_a_success_even_where_the_system_fails)
{
    CFile file;
    open(file, "content");
    EXPECT_EQ(1, file.Write("x", 1));
    EXPECT_EQ(1, file.Flush());
    // A pipe cannot be flushed.
    PipeEnds const pipe_ends(directory.path("pipe"));
    CFile pipe;
    ASSERT_EQ(1, pipe.Open(directory.wide_path("pipe").c_str(), eFileAccessWrite, eOpenFileExisting));
    EXPECT_EQ(1, pipe.Flush());
}

TEST_F(FileIO, pipe_has_no_places)
{
    PipeEnds const pipe_ends(directory.path("pipe"));
    CFile pipe;
    ASSERT_EQ(1, pipe.Open(directory.wide_path("pipe").c_str(), eFileAccessWrite, eOpenFileExisting));
    ASSERT_EQ(1, pipe.Write("abc", 3));
    EXPECT_EQ(-1, pipe.GetPointer());
    EXPECT_EQ(0, pipe.SetPointer(0));
    EXPECT_EQ(0, pipe.MovePointer(0));
    EXPECT_EQ(0, pipe.SetEOF());
    char buffer[8] = {};
    unsigned int done = untouched;
    EXPECT_EQ(0, pipe.Read(buffer, 8, &done)) << "a short read, though there is no end";
    EXPECT_EQ(3U, done);
    EXPECT_STREQ("abc", buffer);
}

} // namespace
