#include "ORVA/Files/Path.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <ostream>
#include <string>

using namespace ORVA::Files;

namespace
{

static_assert(offsetof(tagCPATHPARSEINFO, pPrefix) == 0 && offsetof(tagCPATHPARSEINFO, pPrefixEnd) == 8 &&
              offsetof(tagCPATHPARSEINFO, pDrive) == 16 && offsetof(tagCPATHPARSEINFO, pDriveEnd) == 24 &&
              offsetof(tagCPATHPARSEINFO, pServer) == 32 && offsetof(tagCPATHPARSEINFO, pServerEnd) == 40 &&
              offsetof(tagCPATHPARSEINFO, pDirectory) == 48 && offsetof(tagCPATHPARSEINFO, pDirectoryEnd) == 56 &&
              offsetof(tagCPATHPARSEINFO, pName) == 64 && offsetof(tagCPATHPARSEINFO, pNameEnd) == 72 &&
              offsetof(tagCPATHPARSEINFO, pExtension) == 80);
static_assert(offsetof(tagPATHPARSEINFO, pPrefix) == 0 && offsetof(tagPATHPARSEINFO, pPrefixEnd) == 8 &&
              offsetof(tagPATHPARSEINFO, pDrive) == 16 && offsetof(tagPATHPARSEINFO, pDriveEnd) == 24 &&
              offsetof(tagPATHPARSEINFO, pServer) == 32 && offsetof(tagPATHPARSEINFO, pServerEnd) == 40 &&
              offsetof(tagPATHPARSEINFO, pDirectory) == 48 && offsetof(tagPATHPARSEINFO, pDirectoryEnd) == 56 &&
              offsetof(tagPATHPARSEINFO, pName) == 64 && offsetof(tagPATHPARSEINFO, pNameEnd) == 72 &&
              offsetof(tagPATHPARSEINFO, pExtension) == 80);

/// A part that is absent.
wchar_t const absent[] = L"(absent)";

/// What the parts of a path say, each from its start to its end; the end of an absent part is checked by itself.
struct Parts
{
    std::wstring prefix = absent;
    std::wstring drive = absent;
    std::wstring server = absent;
    std::wstring directory = absent;
    std::wstring name = absent;
    std::wstring extension = absent;
};

bool operator==(Parts const& a, Parts const& b)
{
    return a.prefix == b.prefix && a.drive == b.drive && a.server == b.server && a.directory == b.directory &&
           a.name == b.name && a.extension == b.extension;
}

void PrintTo(Parts const& parts, std::ostream* stream)
{
    for (auto const& part : {parts.prefix, parts.drive, parts.server, parts.directory, parts.name, parts.extension})
        *stream << '[' << std::string(part.begin(), part.end()) << ']';
}

std::wstring part(wchar_t const* start, wchar_t const* end)
{
    return start ? std::wstring(start, end) : std::wstring(absent);
}

tagCPATHPARSEINFO all_null()
{
    return {};
}

bool operator==(tagCPATHPARSEINFO const& a, tagCPATHPARSEINFO const& b)
{
    return a.pPrefix == b.pPrefix && a.pPrefixEnd == b.pPrefixEnd && a.pDrive == b.pDrive &&
           a.pDriveEnd == b.pDriveEnd && a.pServer == b.pServer && a.pServerEnd == b.pServerEnd &&
           a.pDirectory == b.pDirectory && a.pDirectoryEnd == b.pDirectoryEnd && a.pName == b.pName &&
           a.pNameEnd == b.pNameEnd && a.pExtension == b.pExtension;
}

/// Fields that hold anything, to see that all are written.
tagCPATHPARSEINFO garbage()
{
    static wchar_t const text[] = L"garbage";
    return {text, text, text, text, text, text, text, text, text, text, text};
}

/// Parses a path that is one, and checks the ends of absent parts.
Parts parts_of(std::wstring const& path, bool has_name)
{
    tagCPATHPARSEINFO info = garbage();
    if (FU_ParsePath(path.c_str(), info, has_name) != 1)
    {
        ADD_FAILURE() << "refused: " << std::string(path.begin(), path.end());
        return {};
    }
    wchar_t const* const end = path.c_str() + path.size();
    if (!info.pPrefix)
    {
        EXPECT_EQ(nullptr, info.pPrefixEnd);
    }
    if (!info.pDrive)
    {
        EXPECT_EQ(end, info.pDriveEnd);
    }
    if (!info.pServer)
    {
        EXPECT_EQ(end, info.pServerEnd);
    }
    if (!info.pDirectory || !info.pName)
    {
        EXPECT_EQ(end, info.pDirectoryEnd);
    }
    else
    {
        EXPECT_EQ(info.pName, info.pDirectoryEnd);
    }
    EXPECT_EQ(info.pExtension ? info.pExtension : end, info.pNameEnd);
    return {part(info.pPrefix, info.pPrefixEnd), part(info.pDrive, info.pDriveEnd),
            part(info.pServer, info.pServerEnd), part(info.pDirectory, info.pDirectoryEnd),
            part(info.pName, info.pNameEnd),     part(info.pExtension, end)};
}

/// Whether `path` is refused, with all fields null.
bool is_refused(wchar_t const* path, bool has_name)
{
    tagCPATHPARSEINFO info = garbage();
    int const result = FU_ParsePath(path, info, has_name);
    EXPECT_TRUE(result == 0 || result == 1);
    if (result == 0)
    {
        EXPECT_TRUE(info == all_null());
    }
    return result == 0;
}

bool is_refused_either_way(wchar_t const* path)
{
    return is_refused(path, false) && is_refused(path, true);
}

TEST(PathParse, null_empty_and_blank_are_refused)
{
    EXPECT_TRUE(is_refused_either_way(nullptr));
    EXPECT_TRUE(is_refused_either_way(L""));
    EXPECT_TRUE(is_refused_either_way(L" "));
    EXPECT_TRUE(is_refused_either_way(L"   "));
}

TEST(PathParse, drive_directory_name_and_extension)
{
    EXPECT_EQ((Parts{absent, L"C:", absent, L"\\dir\\", L"file", L".txt"}), parts_of(L"C:\\dir\\file.txt", true));
    EXPECT_EQ((Parts{absent, L"C:", absent, L"\\dir\\file.txt", absent, absent}),
              parts_of(L"C:\\dir\\file.txt", false));
    EXPECT_EQ((Parts{absent, L"z:", absent, L"dir/", L"file", absent}), parts_of(L"z:dir/file", true));
    EXPECT_EQ((Parts{absent, L"Z:", absent, absent, L"file", absent}), parts_of(L"Z:file", true));
    EXPECT_EQ((Parts{absent, L"a:", absent, L"file", absent, absent}), parts_of(L"a:file", false));
}

TEST(PathParse, characters_that_no_path_contains)
{
    for (wchar_t character = 1; character < 32; ++character)
    {
        EXPECT_TRUE(is_refused_either_way((std::wstring(L"a") + character).c_str())) << static_cast<int>(character);
        EXPECT_TRUE(is_refused_either_way((std::wstring(L" ") + character + L"a").c_str()));
    }
    for (wchar_t const* const path : {L"<a", L"a>", L"a|b", L"dir/a<", L"<", L">", L"|", L"\\\\?\\<", L"\\\\?\\a|"})
        EXPECT_TRUE(is_refused_either_way(path)) << std::wstring(path).size();
    for (wchar_t const* const path : {L"a b", L"a\"b", L"a*b", L"a?b", L"a\x7F", L"\u20AC"})
    {
        EXPECT_FALSE(is_refused(path, false));
        EXPECT_FALSE(is_refused(path, true));
    }
    std::wstring const top_bit = {L'a', static_cast<wchar_t>(0x80000001U)};
    EXPECT_EQ((Parts{absent, absent, absent, absent, top_bit, absent}), parts_of(top_bit, true));
}

TEST(PathParse, blanks_before_the_body_belong_to_no_part)
{
    EXPECT_EQ((Parts{absent, absent, absent, absent, L"a b ", absent}), parts_of(L"  a b ", true));
    EXPECT_EQ((Parts{absent, absent, absent, L"a", absent, absent}), parts_of(L"   a", false));
    EXPECT_EQ((Parts{absent, L"C:", absent, L"\\", L"x", absent}), parts_of(L" C:\\x", true));
    EXPECT_EQ((Parts{L"\\\\?\\", absent, absent, absent, L"a", absent}), parts_of(L" \\\\?\\a", true));
    EXPECT_EQ((Parts{absent, absent, absent, L"/", L" a", absent}), parts_of(L"/ a", true));
    EXPECT_EQ((Parts{absent, absent, absent, L"/ ", absent, absent}), parts_of(L"/ ", false));
}

TEST(PathParse, colon_at_a_wrong_place_is_refused)
{
    EXPECT_TRUE(is_refused_either_way(L":x"));
    EXPECT_TRUE(is_refused_either_way(L" :x"));
    EXPECT_TRUE(is_refused_either_way(L":"));
    EXPECT_TRUE(is_refused_either_way(L"a.b:c"));
    EXPECT_TRUE(is_refused_either_way(L".:c"));
    EXPECT_TRUE(is_refused_either_way(L"a/b:c"));
    EXPECT_TRUE(is_refused_either_way(L"/C:"));
    EXPECT_TRUE(is_refused_either_way(L"C:a:"));
    EXPECT_TRUE(is_refused_either_way(L"C::"));
    EXPECT_TRUE(is_refused_either_way(L"::"));
    EXPECT_TRUE(is_refused_either_way(L"abc://a:b"));
    EXPECT_TRUE(is_refused_either_way(L"\\\\?\\:x"));
}

TEST(PathParse, drive_is_one_ascii_letter)
{
    EXPECT_TRUE(is_refused_either_way(L"1:\\x"));
    EXPECT_TRUE(is_refused_either_way(L"[:\\x")); // behind 'Z'
    EXPECT_TRUE(is_refused_either_way(L"@:\\x")); // before 'A'
    EXPECT_TRUE(is_refused_either_way(L"`:\\x")); // before 'a'
    EXPECT_TRUE(is_refused_either_way(L"{:\\x")); // behind 'z'
    EXPECT_TRUE(is_refused_either_way(L"\u00C4:\\x"));
    for (wchar_t const letter : {L'A', L'Z', L'a', L'z'})
    {
        EXPECT_EQ(std::wstring({letter, L':'}), parts_of(std::wstring({letter, L':', L'/', L'x'}), true).drive);
    }
}

TEST(PathParse, two_separators_behind_a_drive_are_refused)
{
    for (wchar_t const* const path : {L"C://x", L"C:\\\\x", L"C:/\\x", L"C:\\/x", L"C://"})
        EXPECT_TRUE(is_refused_either_way(path));
    EXPECT_FALSE(is_refused(L"C:/x", true));
    EXPECT_FALSE(is_refused(L"C:/x//y", true)) << "only right behind the colon";
}

TEST(PathParse, drive_alone)
{
    EXPECT_EQ((Parts{absent, L"C:", absent, absent, absent, absent}), parts_of(L"C:", false));
    EXPECT_EQ((Parts{absent, L"C:", absent, absent, L"", absent}), parts_of(L"C:", true)) << "an empty name";
    EXPECT_EQ((Parts{absent, L"C:", absent, L"/", absent, absent}), parts_of(L"C:/", false));
    EXPECT_TRUE(is_refused(L"C:/", true));
}

TEST(PathParse, scheme_is_followed_by_two_slashes)
{
    EXPECT_EQ((Parts{absent, L"abc:", L"//srv", L"/a", absent, absent}), parts_of(L"abc://srv/a", false));
    EXPECT_EQ((Parts{absent, L"abc:", L"//srv", L"/", L"a", absent}), parts_of(L"abc://srv/a", true));
    EXPECT_EQ((Parts{absent, L"a b:", L"//srv", L"/", L"a", absent}), parts_of(L"a b://srv/a", true));
    EXPECT_EQ((Parts{absent, L"abc:", L"//srv", absent, absent, absent}), parts_of(L"abc://srv", false));
    EXPECT_TRUE(is_refused_either_way(L"abc:/srv"));
    EXPECT_TRUE(is_refused_either_way(L"abc:srv"));
    EXPECT_TRUE(is_refused_either_way(L"abc:"));
    EXPECT_TRUE(is_refused_either_way(L"abc:\\\\srv\\a"));
    EXPECT_TRUE(is_refused_either_way(L"abc:/\\srv/a"));
    EXPECT_TRUE(is_refused_either_way(L"abc:\\/srv/a"));
    EXPECT_TRUE(is_refused(L"abc://srv", true));
}

TEST(PathParse, server_with_directory_and_name)
{
    EXPECT_EQ((Parts{absent, absent, L"\\\\srv", L"\\dir\\", L"file", L".txt"}),
              parts_of(L"\\\\srv\\dir\\file.txt", true));
    EXPECT_EQ((Parts{absent, absent, L"//srv", L"/dir/file.txt", absent, absent}),
              parts_of(L"//srv/dir/file.txt", false));
    EXPECT_EQ((Parts{absent, absent, L"//srv", L"\\", L"file", absent}), parts_of(L"//srv\\file", true));
    EXPECT_EQ((Parts{absent, absent, L"//srv", L"/", absent, absent}), parts_of(L"//srv/", false));
    EXPECT_TRUE(is_refused(L"//srv/", true));
}

TEST(PathParse, server_alone)
{
    EXPECT_TRUE(is_refused(L"\\\\srv", true));
    EXPECT_TRUE(is_refused(L"//", true));
    tagCPATHPARSEINFO info = garbage();
    std::wstring const path = L"\\\\srv";
    ASSERT_EQ(1, FU_ParsePath(path.c_str(), info, false));
    wchar_t const* const end = path.c_str() + path.size();
    tagCPATHPARSEINFO const expected = {nullptr, nullptr, nullptr, end, path.c_str(), end,
                                        nullptr, end,     nullptr, end, nullptr};
    EXPECT_TRUE(info == expected);
    EXPECT_EQ((Parts{absent, absent, L"//", absent, absent, absent}), parts_of(L"//", false));
    EXPECT_EQ((Parts{absent, absent, L"//a.b", absent, absent, absent}), parts_of(L"//a.b", false));
}

TEST(PathParse, server_may_have_no_name)
{
    EXPECT_EQ((Parts{absent, absent, L"//", L"/", L"a", absent}), parts_of(L"///a", true));
    EXPECT_EQ((Parts{absent, L"file:", L"//", L"/a", absent, absent}), parts_of(L"file:///a", false));
    EXPECT_EQ((Parts{absent, absent, L"//", L"/", absent, absent}), parts_of(L"///", false));
}

TEST(PathParse, different_separators_are_no_mark_of_a_server)
{
    EXPECT_EQ((Parts{absent, absent, absent, L"/\\srv/", L"a", absent}), parts_of(L"/\\srv/a", true));
    EXPECT_EQ((Parts{absent, absent, absent, L"\\/srv", absent, absent}), parts_of(L"\\/srv", false));
}

TEST(PathParse, pair_is_at_the_start_or_not_the_first)
{
    EXPECT_TRUE(is_refused_either_way(L"a//b"));
    EXPECT_TRUE(is_refused_either_way(L"C:a//b"));
    EXPECT_TRUE(is_refused_either_way(L"a\\\\b/c"));
    EXPECT_EQ((Parts{absent, absent, absent, L"a/b//", L"c", absent}), parts_of(L"a/b//c", true));
    EXPECT_EQ((Parts{absent, absent, L"//srv", L"//", L"c", absent}), parts_of(L"//srv//c", true));
}

TEST(PathParse, dots_of_a_server_do_not_count)
{
    EXPECT_EQ((Parts{absent, absent, L"//a.b.c", L"/", L"d", absent}), parts_of(L"//a.b.c/d", true));
    EXPECT_EQ((Parts{absent, absent, L"//a.b", L"/", L"c", L".d"}), parts_of(L"//a.b/c.d", true));
    EXPECT_EQ((Parts{absent, absent, L"//.", L"/", L"", L".d"}), parts_of(L"//./.d", true));
}

TEST(PathParse, prefixes)
{
    EXPECT_EQ((Parts{L"\\\\?\\", L"C:", absent, L"\\dir\\", L"a", L".b"}), parts_of(L"\\\\?\\C:\\dir\\a.b", true));
    EXPECT_EQ((Parts{L"\\\\?\\UNC\\", absent, absent, L"srv\\", L"x", absent}), parts_of(L"\\\\?\\UNC\\srv\\x", true));
    EXPECT_EQ((Parts{L"\\\\?\\UNC/", absent, absent, L"srv\\x", absent, absent}),
              parts_of(L"\\\\?\\UNC/srv\\x", false));
    EXPECT_EQ((Parts{L"\\\\?\\", absent, absent, L"unc\\srv\\", L"x", absent}), parts_of(L"\\\\?\\unc\\srv\\x", true));
    EXPECT_EQ((Parts{L"\\\\?\\", absent, absent, absent, L"UNC", absent}), parts_of(L"\\\\?\\UNC", true));
    EXPECT_EQ((Parts{L"\\\\?\\", absent, L"\\\\srv", L"\\", L"x", absent}), parts_of(L"\\\\?\\\\\\srv\\x", true));
    EXPECT_TRUE(is_refused_either_way(L"\\\\?\\UNC\\\\x"));
    EXPECT_TRUE(is_refused_either_way(L"\\\\?\\UNC//x"));
    EXPECT_TRUE(is_refused_either_way(L"\\\\?\\UNC\\/x"));
}

TEST(PathParse, slashes_make_no_prefix)
{
    EXPECT_EQ((Parts{absent, absent, L"//?", L"/", L"x", absent}), parts_of(L"//?/x", true));
    EXPECT_EQ((Parts{absent, absent, L"\\\\?", L"/", L"x", absent}), parts_of(L"\\\\?/x", true));
    EXPECT_EQ((Parts{absent, absent, L"//.", L"/x", absent, absent}), parts_of(L"//./x", false));
}

TEST(PathParse, device_prefix_needs_a_name)
{
    EXPECT_EQ((Parts{L"\\\\.\\", absent, absent, absent, L"COM1", absent}), parts_of(L"\\\\.\\COM1", true));
    EXPECT_EQ((Parts{L"\\\\.\\", absent, absent, absent, L"a", L".b"}), parts_of(L"\\\\.\\a.b", true));
    EXPECT_EQ((Parts{L"\\\\.\\", absent, absent, L"a\\", L"b", absent}), parts_of(L"\\\\.\\a\\b", true));
    EXPECT_EQ((Parts{L"\\\\.\\", absent, absent, L"UNC\\", L"b", absent}), parts_of(L"\\\\.\\UNC\\b", true));
    EXPECT_TRUE(is_refused(L"\\\\.\\COM1", false));
    EXPECT_TRUE(is_refused(L"\\\\.\\", false));
}

TEST(PathParse, prefix_alone)
{
    EXPECT_EQ((Parts{L"\\\\?\\", absent, absent, absent, absent, absent}), parts_of(L"\\\\?\\", false));
    EXPECT_EQ((Parts{L"\\\\?\\UNC\\", absent, absent, absent, absent, absent}), parts_of(L"\\\\?\\UNC\\", false));
    EXPECT_EQ((Parts{L"\\\\?\\", absent, absent, absent, absent, absent}), parts_of(L"  \\\\?\\", false));
    EXPECT_TRUE(is_refused(L"\\\\?\\", true));
    EXPECT_TRUE(is_refused(L"\\\\?\\UNC\\", true));
    EXPECT_TRUE(is_refused(L"\\\\.\\", true));
    EXPECT_EQ((Parts{L"\\\\?\\", L"C:", absent, absent, L"", absent}), parts_of(L"\\\\?\\C:", true));
    EXPECT_EQ((Parts{L"\\\\?\\", absent, absent, L"  ", absent, absent}), parts_of(L"\\\\?\\  ", false));
}

TEST(PathParse, name_behind_a_directory)
{
    EXPECT_EQ((Parts{absent, absent, absent, L"dir/", L"a.b", L".c"}), parts_of(L"dir/a.b.c", true));
    EXPECT_EQ((Parts{absent, absent, absent, L"d.e/", L"a", absent}), parts_of(L"d.e/a", true));
    EXPECT_EQ((Parts{absent, absent, absent, L"/", L"a", absent}), parts_of(L"/a", true));
    EXPECT_TRUE(is_refused(L"dir/", true));
    EXPECT_TRUE(is_refused(L"/", true));
    EXPECT_TRUE(is_refused(L"\\", true));
    EXPECT_EQ((Parts{absent, absent, absent, L"dir/", absent, absent}), parts_of(L"dir/", false));
}

TEST(PathParse, dots_at_the_end_of_a_name_behind_a_directory_are_an_extension)
{
    EXPECT_EQ((Parts{absent, absent, absent, L"dir/", L"a", L"."}), parts_of(L"dir/a.", true));
    EXPECT_EQ((Parts{absent, absent, absent, L"dir/", L"", L"."}), parts_of(L"dir/.", true));
    EXPECT_EQ((Parts{absent, absent, absent, L"dir/", L".", L"."}), parts_of(L"dir/..", true));
    EXPECT_EQ((Parts{absent, absent, absent, L"dir/", L"", L".a"}), parts_of(L"dir/.a", true));
}

TEST(PathParse, name_alone)
{
    EXPECT_EQ((Parts{absent, absent, absent, absent, L"a", absent}), parts_of(L"a", true));
    EXPECT_EQ((Parts{absent, absent, absent, absent, L"a", L".b"}), parts_of(L"a.b", true));
    EXPECT_EQ((Parts{absent, absent, absent, absent, L"a.b", L".c"}), parts_of(L"a.b.c", true));
    EXPECT_EQ((Parts{absent, absent, absent, L"a.b", absent, absent}), parts_of(L"a.b", false));
    EXPECT_EQ((Parts{L"\\\\?\\", absent, absent, absent, L" ", L". "}), parts_of(L"\\\\?\\ . ", true));
}

TEST(PathParse, dot_at_the_end_of_a_name_alone_belongs_to_the_name)
{
    EXPECT_EQ((Parts{absent, absent, absent, absent, L"a.", absent}), parts_of(L"a.", true));
    EXPECT_EQ((Parts{absent, absent, absent, absent, L"a.b.", absent}), parts_of(L"a.b.", true));
    EXPECT_EQ((Parts{absent, absent, absent, absent, L"a..", absent}), parts_of(L"a..", true));
    EXPECT_EQ((Parts{absent, absent, absent, absent, L".a.", absent}), parts_of(L".a.", true));
}

TEST(PathParse, dot_at_the_start_of_a_name_alone)
{
    EXPECT_EQ((Parts{absent, absent, absent, absent, L"", L".a"}), parts_of(L".a", true));
    EXPECT_EQ((Parts{absent, absent, absent, absent, L".a", L".b"}), parts_of(L".a.b", true));
    EXPECT_EQ((Parts{absent, absent, absent, absent, L".", L".a"}), parts_of(L"..a", true));
    EXPECT_EQ((Parts{absent, L"C:", absent, absent, L"", L".a"}), parts_of(L"C:.a", true));
}

TEST(PathParse, dots_alone_are_no_name)
{
    for (wchar_t const* const path : {L".", L"..", L"...", L" .", L"C:.", L"C:..", L"\\\\?\\..", L"\\\\.\\."})
        EXPECT_TRUE(is_refused(path, true)) << std::wstring(path).size();
    EXPECT_EQ((Parts{absent, absent, absent, L"..", absent, absent}), parts_of(L"..", false));
    EXPECT_EQ((Parts{absent, absent, absent, absent, L"", L". "}), parts_of(L". ", true)) << "a blank counts";
}

TEST(PathParse, end_of_the_directory_is_the_name_or_the_end_of_the_text)
{
    std::wstring const both = L"dir/name";
    tagCPATHPARSEINFO info = garbage();
    ASSERT_EQ(1, FU_ParsePath(both.c_str(), info, true));
    EXPECT_EQ(both.c_str() + 4, info.pDirectoryEnd);
    EXPECT_EQ(both.c_str() + 4, info.pName);
    std::wstring const alone = L"name.ext";
    ASSERT_EQ(1, FU_ParsePath(alone.c_str(), info, true));
    EXPECT_EQ(nullptr, info.pDirectory);
    EXPECT_EQ(alone.c_str() + 8, info.pDirectoryEnd);
    EXPECT_EQ(alone.c_str(), info.pName);
    EXPECT_EQ(alone.c_str() + 4, info.pNameEnd);
}

TEST(PathParse, form_for_text_that_may_be_written_to)
{
    wchar_t path[] = L"abc://srv/dir/name.ext";
    tagPATHPARSEINFO info = {};
    ASSERT_EQ(1, FU_ParsePath(path, info, true));
    EXPECT_EQ(nullptr, info.pPrefix);
    EXPECT_EQ(nullptr, info.pPrefixEnd);
    EXPECT_EQ(path, info.pDrive);
    EXPECT_EQ(path + 4, info.pDriveEnd);
    EXPECT_EQ(path + 4, info.pServer);
    EXPECT_EQ(path + 9, info.pServerEnd);
    EXPECT_EQ(path + 9, info.pDirectory);
    EXPECT_EQ(path + 14, info.pDirectoryEnd);
    EXPECT_EQ(path + 14, info.pName);
    EXPECT_EQ(path + 18, info.pNameEnd);
    EXPECT_EQ(path + 18, info.pExtension);

    wchar_t prefixed[] = L"\\\\?\\a";
    ASSERT_EQ(1, FU_ParsePath(prefixed, info, false));
    EXPECT_EQ(prefixed, info.pPrefix);
    EXPECT_EQ(prefixed + 4, info.pPrefixEnd);

    wchar_t refused[] = L"a:b:c";
    ASSERT_EQ(0, FU_ParsePath(refused, info, true));
    for (wchar_t* const field :
         {info.pPrefix, info.pPrefixEnd, info.pDrive, info.pDriveEnd, info.pServer, info.pServerEnd, info.pDirectory,
          info.pDirectoryEnd, info.pName, info.pNameEnd, info.pExtension})
        EXPECT_EQ(nullptr, field);
    EXPECT_EQ(0, FU_ParsePath(static_cast<wchar_t*>(nullptr), info, true));
}

} // namespace
