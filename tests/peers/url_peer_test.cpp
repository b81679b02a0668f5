// The library's file URLs against GLib's: both write what RFC 8089 calls for, as far as the same characters are escaped.
#include "ORVA/Files/Url.h"

#include <gtest/gtest.h>

#include <glib.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>

using namespace ORVA::Internetional;
using namespace ORVA::String;

namespace
{

unsigned char const* bytes(std::string const& text)
{
    return reinterpret_cast<unsigned char const*>(text.c_str());
}

std::wstring widened(std::string const& path)
{
    return *CNQFWChar(bytes(path));
}

std::string url_of(std::string const& path)
{
    CUTF8Char const url = file_EncodeURL(widened(path).c_str());
    return url ? reinterpret_cast<char const*>(*url) : "(none)";
}

std::string path_of(std::string const& url)
{
    CNQFWChar const path = file_DecodeURL(bytes(url));
    return path ? reinterpret_cast<char const*>(*CUTF8Char(path)) : "(none)";
}

std::string glib_text(gchar* text)
{
    std::unique_ptr<gchar, decltype(&g_free)> const owner(text, g_free);
    return text ? text : "(none)";
}

std::string glib_url_of(std::string const& path)
{
    return glib_text(g_filename_to_uri(path.c_str(), nullptr, nullptr));
}

std::string glib_path_of(std::string const& url)
{
    return glib_text(g_filename_from_uri(url.c_str(), nullptr, nullptr));
}

// What GLib leaves as it is in a path and the library escapes.
constexpr char left_by_glib[] = "!$&'()*+,:=@";

/// GLib's URL with the escapes of the library. Its first bytes are "file://".
std::string with_all_escapes(std::string const& url)
{
    std::string result = url.substr(0, 7);
    for (char const character : url.substr(7))
    {
        if (std::strchr(left_by_glib, character))
        {
            char escape[4];
            g_snprintf(escape, sizeof escape, "%%%02X", static_cast<unsigned int>(character));
            result += escape;
        }
        else
        {
            result += character;
        }
    }
    return result;
}

/// An absolute path of one slash between steps, of one to four steps, out of any characters but 0, slash and backslash.
class Paths
{
public:
    std::string next(bool has_special)
    {
        std::string path;
        for (unsigned long steps = 1 + m_random() % 4; steps != 0; --steps)
        {
            path += '/';
            for (unsigned long length = 1 + m_random() % 12; length != 0; --length)
                append_character(path, has_special);
        }
        return path;
    }

private:
    void append_character(std::string& path, bool has_special)
    {
        static char const* const wide[] = {"\u00E4", "\u20AC", "\U0001F600"};
        static constexpr char ordinary[] = "abcxyzABCXYZ0189-._~ %#?\"<>[]^`{|};";
        unsigned long const choice = m_random() % 16;
        if (choice == 0)
            path += wide[m_random() % 3];
        else if (choice == 1)
            path += static_cast<char>(1 + m_random() % 31);
        else if (choice == 2 && has_special)
            path += left_by_glib[m_random() % (sizeof left_by_glib - 1)];
        else
            path += ordinary[m_random() % (sizeof ordinary - 1)];
    }

    std::mt19937 m_random{20261};
};

TEST(UrlPeer, urls_of_ordinary_absolute_paths_agree)
{
    for (char const* const path :
         {"/", "/a", "/usr/share/doc", "/Gr\u00FC\u00DFe/a b.wav", "/100%/#1/what?", "/a/\x7F"})
        EXPECT_EQ(glib_url_of(path), url_of(path));
    Paths paths;
    for (int i = 0; i < 20000; ++i)
    {
        std::string const path = paths.next(false);
        ASSERT_EQ(glib_url_of(path), url_of(path)) << path;
    }
}

TEST(UrlPeer, urls_of_other_absolute_paths_differ_in_characters_that_need_no_escape)
{
    EXPECT_EQ("file:///a%2Bb", url_of("/a+b"));
    EXPECT_EQ("file:///a+b", glib_url_of("/a+b"));
    Paths paths;
    for (int i = 0; i < 20000; ++i)
    {
        std::string const path = paths.next(true);
        ASSERT_EQ(with_all_escapes(glib_url_of(path)), url_of(path)) << path;
    }
}

TEST(UrlPeer, each_reads_the_other_ones_urls)
{
    Paths paths;
    for (int i = 0; i < 20000; ++i)
    {
        std::string const path = paths.next(true);
        ASSERT_EQ(path, glib_path_of(url_of(path)));
        // A first step with a colon is taken for a drive, and a single step without one for nothing.
        std::string const first = path.substr(1, path.find('/', 1) - 1);
        bool const has_colon = first.find(':') != std::string::npos;
        bool const is_single = first.size() + 1 == path.size();
        std::string const expected = has_colon ? path.substr(1) : is_single ? "(none)" : path;
        ASSERT_EQ(expected, path_of(url_of(path)));
        ASSERT_EQ(expected, path_of(glib_url_of(path)));
    }
}

TEST(UrlPeer, round_trips_of_paths_without_an_absolute_start)
{
    Paths paths;
    for (int i = 0; i < 20000; ++i)
    {
        std::string const path = paths.next(false); // with a slash at its start, and no colon
        EXPECT_EQ("C:" + path, path_of(url_of("C:" + path)));
        EXPECT_EQ("//srv" + path, path_of(url_of("//srv" + path)));
        bool const is_single = path.find('/', 1) == std::string::npos;
        EXPECT_EQ(is_single ? "(none)" : path, path_of(url_of(path.substr(1)))) << "becomes an absolute one";
    }
}

} // namespace
