#include "ORVA/Files/Url.h"
#include "files/url_text.h"
#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

using namespace ORVA::Internetional;
using namespace ORVA::String;
using namespace support;
using files::bytes;
using files::text;

namespace
{

std::string url_of(std::wstring const& path)
{
    CUTF8Char const url = file_EncodeURL(path.c_str());
    EXPECT_EQ(text(*url).size(), url.len());
    return text(*url);
}

std::wstring const no_path = L"(null)";

std::wstring path_of(std::string const& url)
{
    CNQFWChar const path = file_DecodeURL(bytes(url));
    if (!path)
    {
        EXPECT_EQ(0U, path.len());
        return no_path;
    }
    return *path;
}

TEST(FileUrlEncode, path_without_a_slash_at_its_start_is_appended)
{
    EXPECT_EQ("file:///a%20b", url_of(L"a b"));
    EXPECT_EQ("file:///C%3A/x", url_of(L"C:\\x"));
    EXPECT_EQ("file:///C%3A/x", url_of(L"C:/x"));
    EXPECT_EQ("file:///a/b", url_of(L"a/b"));
}

TEST(FileUrlEncode, one_slash_at_the_start_is_that_of_the_url)
{
    EXPECT_EQ("file:///x", url_of(L"/x"));
    EXPECT_EQ("file:///x/y", url_of(L"\\x\\y"));
    EXPECT_EQ("file:///", url_of(L"/"));
}

TEST(FileUrlEncode, two_slashes_at_the_start_are_those_of_the_url)
{
    EXPECT_EQ("file://srv/x", url_of(L"//srv/x"));
    EXPECT_EQ("file://srv/x", url_of(L"\\\\srv\\x"));
    EXPECT_EQ("file://srv/x", url_of(L"/\\srv/x"));
    EXPECT_EQ("file://", url_of(L"//"));
    EXPECT_EQ("file:///x", url_of(L"///x")) << "the third follows the two";
}

TEST(FileUrlEncode, each_byte_of_utf8_is_an_escape_in_upper_case)
{
    EXPECT_EQ("file:///%C3%A4%E2%82%AC%F0%9F%98%80", url_of(L"\u00E4\u20AC\U0001F600"));
    EXPECT_EQ("file:///%25%3F%23~", url_of(L"%?#~"));
    EXPECT_EQ("file:///%01", url_of(L"\x01"));
}

TEST(FileUrlEncode, backslashes_beside_other_characters_than_ascii_are_slashes_too)
{
    EXPECT_EQ("file:///%C3%A4/x/%E2%82%AC", url_of(L"\u00E4\\x\\\u20AC"));
    EXPECT_EQ("file://srv/%C3%A4", url_of(L"\\\\srv\\\u00E4"));
}

TEST(FileUrlEncode, path_ends_at_a_character_that_utf8_does_not_hold)
{
    EXPECT_EQ("file:///a", url_of({L'a', static_cast<wchar_t>(0x110000), L'b'}));
    EXPECT_EQ("file:///", url_of({static_cast<wchar_t>(0x110000), L'b'}));
}

TEST(FileUrlEncode, null_and_empty_path_give_an_empty_result)
{
    for (wchar_t const* const path : {static_cast<wchar_t const*>(nullptr), L""})
    {
        CUTF8Char const url = file_EncodeURL(path);
        EXPECT_FALSE(url);
        EXPECT_EQ(nullptr, *url);
        EXPECT_EQ(0U, url.len());
    }
}

TEST(FileUrlEncode, without_memory_gives_an_empty_result)
{
    std::wstring const path = L"/a b";
    EXPECT_EQ(3U, for_each_allocation(AllocationFailure::once,
                                      [&](unsigned long nth)
                                      {
                                          CUTF8Char const url = file_EncodeURL(path.c_str());
                                          EXPECT_EQ(nth > 3, static_cast<bool>(url));
                                          EXPECT_EQ(nth > 3 ? 13U : 0U, url.len());
                                      }));
}

TEST(FileUrlDecode, needs_the_scheme_and_two_slashes)
{
    for (char const* const url : {"", "f", "file", "file:", "file:/", "file:/a/b", "File:///a/b", "FILE:///a/b",
                                  "http:///a/b", " file:///a/b", "file:\\\\a/b", "file:/\\a/b", "file:%2F%2Fa/b"})
        EXPECT_EQ(no_path, path_of(url)) << url;
}

TEST(FileUrlDecode, colon_before_a_slash_gives_the_text_from_there)
{
    EXPECT_EQ(L"C:/x", path_of("file:///C:/x"));
    EXPECT_EQ(L"C:/x", path_of("file:///C%3A/x"));
    EXPECT_EQ(L"C:", path_of("file:///C:"));
    EXPECT_EQ(L":", path_of("file:///:"));
    EXPECT_EQ(L"ab:c/d", path_of("file:///ab:c/d"));
    EXPECT_EQ(L"a\\b:c", path_of("file:///a\\b:c"));
}

TEST(FileUrlDecode, slash_first_gives_the_text_with_the_slash_before_it)
{
    EXPECT_EQ(L"/a/b", path_of("file:///a/b"));
    EXPECT_EQ(L"/a/", path_of("file:///a/"));
    EXPECT_EQ(L"/a/b:c", path_of("file:///a/b:c"));
    EXPECT_EQ(L"/a b/c", path_of("file:///a%20b/c"));
    EXPECT_EQ(L"/a\\b/c", path_of("file:///a\\b/c")) << "a backslash is none";
    EXPECT_EQ(L"/a/b", path_of("file:///a%2Fb")) << "escapes are decoded first";
}

TEST(FileUrlDecode, single_step_gives_nothing)
{
    EXPECT_EQ(no_path, path_of("file:///a"));
    EXPECT_EQ(no_path, path_of("file:///"));
    EXPECT_EQ(no_path, path_of("file:///a\\b")) << "a backslash is none";
}

TEST(FileUrlDecode, fourth_slash_gives_nothing)
{
    EXPECT_EQ(no_path, path_of("file:////srv/x"));
    EXPECT_EQ(no_path, path_of("file:///\\srv/x"));
    EXPECT_EQ(no_path, path_of("file:///%5Csrv/x"));
    EXPECT_EQ(no_path, path_of("file://%2F%2Fa/b"));
    EXPECT_EQ(no_path, path_of("file:////"));
}

TEST(FileUrlDecode, localhost_is_this_machine)
{
    EXPECT_EQ(L"/a/b", path_of("file://localhost/a/b"));
    EXPECT_EQ(L"C:/x", path_of("file://localhost/C:/x"));
    EXPECT_EQ(L"/a/b", path_of("file://local%68ost/a/b"));
    EXPECT_EQ(L"//a", path_of("file://localhost//a")) << "the fourth slash is refused without a host only";
    EXPECT_EQ(no_path, path_of("file://localhost"));
    EXPECT_EQ(no_path, path_of("file://localhost/"));
    EXPECT_EQ(no_path, path_of("file://localhost/a"));
}

TEST(FileUrlDecode, any_other_name_is_a_server)
{
    EXPECT_EQ(L"//srv/x", path_of("file://srv/x"));
    EXPECT_EQ(L"//srv", path_of("file://srv"));
    EXPECT_EQ(L"//localhosts/a", path_of("file://localhosts/a"));
    EXPECT_EQ(L"//localhost:80/a", path_of("file://localhost:80/a"));
    EXPECT_EQ(L"//localhost\\a", path_of("file://localhost\\a"));
    EXPECT_EQ(L"//Localhost/a", path_of("file://Localhost/a"));
    EXPECT_EQ(L"//localhos", path_of("file://localhos"));
    EXPECT_EQ(L"//C:/x", path_of("file://C:/x"));
    EXPECT_EQ(L"//\\a", path_of("file://\\a"));
}

TEST(FileUrlDecode, two_slashes_alone_give_nothing)
{
    EXPECT_EQ(no_path, path_of("file://"));
    EXPECT_EQ(no_path, path_of("file://%00a")) << "nothing is left before the terminator";
}

TEST(FileUrlDecode, text_ends_at_an_escaped_zero)
{
    EXPECT_EQ(L"/a/b", path_of("file:///a/b%00c"));
    EXPECT_EQ(no_path, path_of("file:///a%00/b"));
}

TEST(FileUrlDecode, escape_that_is_none_stays)
{
    EXPECT_EQ(L"/a/%", path_of("file:///a/%"));
    EXPECT_EQ(L"/a/%zz", path_of("file:///a/%zz"));
}

TEST(FileUrlDecode, path_is_decoded_from_utf8_and_ends_at_what_is_none)
{
    EXPECT_EQ(L"/\u00E4/\u20AC", path_of("file:///%C3%A4/\xE2\x82\xAC"));
    std::wstring const cut = path_of("file:///a/%FFb");
    EXPECT_EQ(L"/a/", cut);
}

TEST(FileUrlDecode, null_gives_an_empty_result)
{
    CNQFWChar const narrow = file_DecodeURL(static_cast<unsigned char const*>(nullptr));
    EXPECT_FALSE(narrow);
    EXPECT_EQ(0U, narrow.len());
    CNQFWChar const wide = file_DecodeURL(static_cast<wchar_t const*>(nullptr));
    EXPECT_FALSE(wide);
    EXPECT_FALSE(file_DecodeURL(L""));
}

TEST(FileUrlDecode, wide_form_is_the_same)
{
    EXPECT_EQ(std::wstring(L"/a/\u00E4"), *file_DecodeURL(L"file:///a/\u00E4"));
    EXPECT_EQ(std::wstring(L"C:/x y"), *file_DecodeURL(L"file:///C:/x%20y"));
    EXPECT_EQ(std::wstring(L"//srv/x"), *file_DecodeURL(L"file://srv/x"));
    EXPECT_FALSE(file_DecodeURL(L"file:///a"));
    EXPECT_FALSE(file_DecodeURL(L"http://a/b"));
}

TEST(FileUrlDecode, without_memory_gives_an_empty_result)
{
    std::string const url = "file:///a/b";
    EXPECT_EQ(2U, for_each_allocation(AllocationFailure::once,
                                      [&](unsigned long nth)
                                      {
                                          CNQFWChar const path = file_DecodeURL(bytes(url));
                                          EXPECT_EQ(nth > 2, static_cast<bool>(path));
                                          EXPECT_EQ(nth > 2 ? 4U : 0U, path.len());
                                      }));
    EXPECT_EQ(3U, for_each_allocation(AllocationFailure::once,
                                      [](unsigned long nth)
                                      {
                                          CNQFWChar const path = file_DecodeURL(L"file:///a/b");
                                          EXPECT_EQ(nth > 3, static_cast<bool>(path));
                                          EXPECT_EQ(nth > 3 ? 4U : 0U, path.len());
                                      }));
}

TEST(FileUrl, decoding_gives_an_encoded_path_back)
{
    for (wchar_t const* const path : {L"/a/b", L"C:/x/y z", L"//srv/share/\u00E4", L"/%41/%", L"/\u20AC/~?#"})
        EXPECT_EQ(path, path_of(url_of(path)));
    EXPECT_EQ(L"C:/x", path_of(url_of(L"C:\\x")));

    std::mt19937 random(99);
    std::wstring const alphabet = L"ab./%: \u00E4\U0001F600";
    for (int round = 0; round < 3000; ++round)
    {
        std::wstring path = L"/a";
        for (auto length = random() % 20; length != 0; --length)
            path += alphabet[random() % alphabet.size()];
        auto const mark = path.find_first_of(L":/", 1);
        std::wstring const expected = mark == std::wstring::npos ? no_path : path[mark] == L':' ? path.substr(1) : path;
        EXPECT_EQ(expected, path_of(url_of(path)));
    }
}

} // namespace
