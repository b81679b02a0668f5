#include "files/enumerator_fixture.h"
#include "support/FreshProcess.h"

#include <climits>
#include <type_traits>

using namespace ORVA::Files::OS;
using namespace support;
using Names = files::NameSet;

namespace
{

static_assert(!std::is_copy_constructible_v<CDirectoryEnumerator> && !std::is_copy_assignable_v<CDirectoryEnumerator>);

class Enumerator : public files::EnumeratorFixture
{
};

TEST_F(Enumerator, gives_all_entries_but_the_two_of_every_directory)
{
    directory.write("a");
    directory.write(".hidden");
    directory.write("..hidden");
    directory.write("...");
    directory.make_directory("d");
    directory.make_link("nothing", "link");
    EXPECT_EQ((Names{L"a", L".hidden", L"..hidden", L"...", L"d", L"link"}), names_in(directory.wide_path()));
}

TEST_F(Enumerator, empty_directory_has_nothing)
{
    CDirectoryEnumerator enumerator;
    ASSERT_EQ(1, enumerator.BeginEnumerate(directory.wide_path().c_str(), nullptr, false));
    CFindData data;
    EXPECT_EQ(0, enumerator.GetNext(data));
    EXPECT_EQ(0, enumerator.GetNext(data)) << "and goes on having nothing";
    EXPECT_EQ(nullptr, data.GetFilename()) << "what is not filled stays";
    EXPECT_EQ(1, enumerator.EndEnumerate());
}

TEST_F(Enumerator, does_not_go_into_directories)
{
    directory.make_directory("d");
    directory.write("d/f");
    EXPECT_EQ(Names{L"d"}, names_in(directory.wide_path()));
}

TEST_F(Enumerator, what_is_no_directory_is_refused)
{
    directory.write("f");
    directory.make_link("nothing", "dangling");
    EXPECT_EQ(0, begins(nullptr));
    EXPECT_EQ(0, begins(L""));
    EXPECT_EQ(0, begins(directory.wide_path("f").c_str()));
    EXPECT_EQ(0, begins(directory.wide_path("missing").c_str()));
    EXPECT_EQ(0, begins(directory.wide_path("dangling").c_str()));
}

TEST_F(Enumerator, link_to_a_directory_is_followed)
{
    directory.make_directory("d");
    directory.write("d/f");
    directory.make_link("d", "link");
    EXPECT_EQ(Names{L"f"}, names_in(directory.wide_path("link")));
}

TEST_F(Enumerator, path_is_kept_as_it_was_given)
{
    directory.write("f", "content");
    for (wchar_t const* const end : {L"", L"/", L"//", L"/./"})
    {
        std::wstring path = directory.wide_path() + end;
        std::wstring const given = path;
        CDirectoryEnumerator enumerator;
        ASSERT_EQ(1, enumerator.BeginEnumerate(path.c_str(), nullptr, true));
        path.assign(path.size(), L'x'); // a copy is kept
        CFindData data;
        ASSERT_EQ(1, enumerator.GetNext(data));
        EXPECT_EQ(given, data.GetPath());
        EXPECT_EQ(std::wstring(L"f"), data.GetFilename());
        EXPECT_EQ(7, data.GetSize()) << "the record is that of the entry, with one separator between";
    }
}

TEST_F(Enumerator, path_may_be_relative)
{
    directory.make_directory("d");
    directory.write("d/f", "content");
    WorkingDirectory const here(directory.path());
    CDirectoryEnumerator enumerator;
    ASSERT_EQ(1, enumerator.BeginEnumerate(L"d"));
    CFindData data;
    ASSERT_EQ(1, enumerator.GetNext(data));
    EXPECT_EQ(7, data.GetSize());
}

TEST_F(Enumerator, backslash_at_the_end_counts_as_a_separator_but_not_for_the_system)
{
    directory.make_directory("d\\");
    directory.write("d\\/f", "content");
    CDirectoryEnumerator enumerator;
    ASSERT_EQ(1, enumerator.BeginEnumerate(directory.wide_path("d\\").c_str()));
    CFindData data;
    ASSERT_EQ(1, enumerator.GetNext(data));
    EXPECT_EQ(std::wstring(L"f"), data.GetFilename());
    EXPECT_EQ(0, data.GetSize()) << "asked for is \"d\\f\", which is not there";
    EXPECT_EQ(0, data.GetLastModified());
}

TEST_F(Enumerator, many_entries)
{
    Names expected;
    for (int index = 0; index < 2000; ++index)
    {
        std::string const name = std::to_string(index) + std::string(60, 'n');
        directory.write(name);
        expected.insert(widened(name));
    }
    EXPECT_EQ(expected, names_in(directory.wide_path()));
}

TEST_F(Enumerator, path_beyond_the_systems_limit_is_refused)
{
    std::wstring path = directory.wide_path();
    while (path.size() < PATH_MAX + 100)
        path += L"/.";
    EXPECT_EQ(0, begins(path.c_str()));
}

TEST_F(Enumerator, entry_whose_path_is_beyond_the_systems_limit_has_a_record_of_zeros)
{
    directory.write(std::string(200, 'n'), "content");
    std::wstring path = directory.wide_path();
    while (path.size() < PATH_MAX - 500)
        path += L"/.";
    CFindData data;
    CDirectoryEnumerator enumerator;
    ASSERT_EQ(1, enumerator.BeginEnumerate(path.c_str()));
    ASSERT_EQ(1, enumerator.GetNext(data));
    EXPECT_EQ(7, data.GetSize()) << "a path that is only long";

    while (path.size() < PATH_MAX - 100)
        path += L"/.";
    ASSERT_EQ(1, enumerator.BeginEnumerate(path.c_str()));
    ASSERT_EQ(1, enumerator.GetNext(data));
    EXPECT_EQ(std::wstring(200, L'n'), data.GetFilename());
    EXPECT_EQ(path, data.GetPath());
    EXPECT_EQ(0, data.GetSize());
    EXPECT_EQ(0, data.GetLastModified());
}

TEST_F(Enumerator, entries_that_are_removed_during_the_walk_have_records_of_zeros_or_do_not_come)
{
    directory.make_directory("d");
    for (int index = 0; index < 20; ++index)
        directory.write("d/" + std::to_string(index), "content");
    CDirectoryEnumerator enumerator;
    ASSERT_EQ(1, enumerator.BeginEnumerate(directory.wide_path("d").c_str()));
    CFindData data;
    ASSERT_EQ(1, enumerator.GetNext(data));
    EXPECT_EQ(7, data.GetSize());
    std::filesystem::remove_all(directory.path("d"));
    int more = 0;
    while (enumerator.GetNext(data) == 1)
    {
        ++more;
        EXPECT_EQ(0, data.GetSize());
        EXPECT_EQ(0, data.GetCreated());
        EXPECT_FALSE(data.isDirectory());
        EXPECT_NE(nullptr, data.GetFilename());
    }
    EXPECT_LE(more, 19);
    EXPECT_EQ(0, enumerator.GetNext(data));
    EXPECT_EQ(1, enumerator.EndEnumerate());
}

TEST_F(Enumerator, directory_that_is_gone_before_the_first_entry_has_none)
{
    directory.make_directory("d");
    CDirectoryEnumerator enumerator;
    ASSERT_EQ(1, enumerator.BeginEnumerate(directory.wide_path("d").c_str()));
    ASSERT_EQ(0, ::rmdir(directory.path("d").c_str()));
    CFindData data;
    EXPECT_EQ(0, enumerator.GetNext(data));
}

TEST_F(Enumerator, directory_that_may_not_be_read_is_refused)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    directory.make_directory("locked");
    ASSERT_EQ(0, ::chmod(directory.path("locked").c_str(), 0));
    in_fresh_process(
        [&]
        {
            ASSERT_EQ(0, ::setgid(65534));
            ASSERT_EQ(0, ::setuid(65534));
            EXPECT_EQ(0, begins(directory.wide_path("locked").c_str()));
            EXPECT_EQ(Names{L"locked"}, names_in(directory.wide_path()));
        });
}

TEST_F(Enumerator, directory_that_may_be_read_but_not_entered_gives_names_without_records)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    directory.make_directory("locked");
    directory.write("locked/f", "content");
    ASSERT_EQ(0, ::chmod(directory.path("locked").c_str(), 0744));
    in_fresh_process(
        [&]
        {
            ASSERT_EQ(0, ::setgid(65534));
            ASSERT_EQ(0, ::setuid(65534));
            CDirectoryEnumerator enumerator;
            CFindData data;
            ASSERT_EQ(1, enumerator.BeginEnumerate(directory.wide_path("locked").c_str()));
            ASSERT_EQ(1, enumerator.GetNext(data));
            EXPECT_EQ(std::wstring(L"f"), data.GetFilename());
            EXPECT_EQ(0, data.GetSize());
        });
}

TEST_F(Enumerator, nothing_comes_before_it_begins_and_after_it_has_ended)
{
    directory.write("f");
    CDirectoryEnumerator enumerator;
    CFindData data;
    EXPECT_EQ(0, enumerator.GetNext(data));
    EXPECT_EQ(1, enumerator.EndEnumerate());
    ASSERT_EQ(1, enumerator.BeginEnumerate(directory.wide_path().c_str()));
    EXPECT_EQ(1, enumerator.EndEnumerate());
    EXPECT_EQ(0, enumerator.GetNext(data));
    EXPECT_EQ(1, enumerator.EndEnumerate());
    EXPECT_EQ(nullptr, data.GetFilename());
    ASSERT_EQ(1, enumerator.BeginEnumerate(directory.wide_path().c_str()));
    EXPECT_EQ(1, enumerator.GetNext(data));
}

TEST_F(Enumerator, end_gives_back_the_filter_too)
{
    directory.write("f");
    CDirectoryEnumerator enumerator;
    ASSERT_EQ(1, enumerator.BeginEnumerate(directory.wide_path().c_str(), L".wav"));
    enumerator.EndEnumerate();
    files::NamedEntry entry("f");
    EXPECT_FALSE(enumerator.skipEntry(entry.get()));
    ASSERT_EQ(1, enumerator.BeginEnumerate(directory.wide_path().c_str()));
    EXPECT_EQ(Names{L"f"}, rest_of(enumerator));
}

TEST_F(Enumerator, end_and_destructor_close_the_directory)
{
    long const before = open_descriptors();
    {
        CDirectoryEnumerator enumerator;
        ASSERT_EQ(1, enumerator.BeginEnumerate(directory.wide_path().c_str(), L"f"));
        EXPECT_EQ(before + 1, open_descriptors());
        enumerator.EndEnumerate();
        EXPECT_EQ(before, open_descriptors());
        ASSERT_EQ(1, enumerator.BeginEnumerate(directory.wide_path().c_str(), L"f"));
    }
    EXPECT_EQ(before, open_descriptors());
}

TEST_F(Enumerator, second_beginning_ends_the_first)
{
    directory.make_directory("d");
    directory.write("d/f");
    directory.write("g");
    CDirectoryEnumerator enumerator;
    ASSERT_EQ(1, enumerator.BeginEnumerate(directory.wide_path().c_str(), L"g"));
    long const open = open_descriptors();
    ASSERT_EQ(1, enumerator.BeginEnumerate(directory.wide_path("d").c_str()));
    EXPECT_EQ(open, open_descriptors());
    EXPECT_EQ(Names{L"f"}, rest_of(enumerator));
}

TEST_F(Enumerator, second_beginning_may_be_with_the_path_of_the_first)
{
    directory.write("f");
    CDirectoryEnumerator enumerator;
    CFindData data;
    ASSERT_EQ(1, enumerator.BeginEnumerate(directory.wide_path().c_str()));
    ASSERT_EQ(1, enumerator.GetNext(data));
    ASSERT_EQ(1, enumerator.BeginEnumerate(data.GetPath()));
    EXPECT_EQ(Names{L"f"}, rest_of(enumerator));
}

TEST_F(Enumerator, second_beginning_that_is_refused_leaves_the_first)
{
    directory.write("f");
    CDirectoryEnumerator enumerator;
    ASSERT_EQ(1, enumerator.BeginEnumerate(directory.wide_path().c_str()));
    EXPECT_EQ(0, enumerator.BeginEnumerate(directory.wide_path("missing").c_str()));
    EXPECT_EQ(0, enumerator.BeginEnumerate(nullptr));
    EXPECT_EQ(Names{L"f"}, rest_of(enumerator));
}

TEST_F(Enumerator, beginning_without_memory_fails_and_leaves_nothing_open)
{
    std::wstring path = directory.wide_path();
    while (path.size() < 600) // beyond the stack's buffer
        path += L"/.";
    long const before = open_descriptors();
    for (std::wstring const& place : {directory.wide_path(), path})
    {
        for (wchar_t const* const filter : {static_cast<wchar_t const*>(nullptr), L".wav"})
        {
            CDirectoryEnumerator enumerator;
            files::expect_all_or_nothing([&] { return enumerator.BeginEnumerate(place.c_str(), filter) == 1; },
                                         [&]
                                         {
                                             EXPECT_EQ(before, open_descriptors());
                                             CFindData data;
                                             EXPECT_EQ(0, enumerator.GetNext(data));
                                         },
                                         [&] { enumerator.EndEnumerate(); });
        }
    }
}

TEST_F(Enumerator, entry_without_memory_lacks_its_record_or_its_name)
{
    directory.write(std::string(250, 'n'), "content");
    std::wstring path = directory.wide_path();
    while (path.size() < 1000) // beyond the stack's buffer, together with the name
        path += L"/.";
    CDirectoryEnumerator enumerator;
    CFindData data;
    unsigned long nameless = 0;
    unsigned long unknown = 0;
    unsigned long failures = 1;
    for (unsigned long nth = 1; failures != 0; ++nth)
    {
        ASSERT_EQ(1, enumerator.BeginEnumerate(path.c_str()));
        {
            AllocationFailure const failure(nth);
            ASSERT_EQ(1, enumerator.GetNext(data));
            failures = failure.failures();
        }
        EXPECT_EQ(path, data.GetPath());
        nameless += data.GetFilename() == nullptr;
        unknown += data.GetSize() == 0;
        EXPECT_EQ(failures, static_cast<unsigned long>((data.GetFilename() == nullptr) + (data.GetSize() == 0)));
    }
    EXPECT_EQ(1U, nameless);
    EXPECT_EQ(2U, unknown) << "the path as UTF-8, and with the name";
    EXPECT_EQ(std::wstring(250, L'n'), data.GetFilename());
    EXPECT_EQ(7, data.GetSize());
}

} // namespace
