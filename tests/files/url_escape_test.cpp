#include "ORVA/Files/Url.h"
#include "files/url_text.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

using namespace ORVA::Internetional;
using files::bytes;
using files::text;

namespace
{

std::string const unreserved = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";

/// Decodes `url` into a buffer that is exactly as long.
std::string decoded(std::string const& url)
{
    std::vector<unsigned char> buffer(url.size() + 1, '#');
    EXPECT_EQ(1, URL_decodebuffer(buffer.data(), bytes(url)));
    return text(buffer.data());
}

/// Encodes into a buffer of exactly the size that was asked for.
std::string encoded(std::string const& source, char const* allowed = nullptr)
{
    unsigned char const* const free = allowed ? bytes(allowed) : nullptr;
    std::vector<unsigned char> buffer(URL_encoderequired(bytes(source), free) + 1, '#');
    EXPECT_EQ(1, URL_encodebuffer(buffer.data(), bytes(source), free));
    EXPECT_EQ(0, buffer.back()) << "the measure is exact";
    return text(buffer.data());
}

TEST(UrlDecode, turns_escapes_in_either_case_into_their_bytes)
{
    EXPECT_EQ("J", decoded("%4a"));
    EXPECT_EQ("J", decoded("%4A"));
    EXPECT_EQ("a b", decoded("a%20b"));
    EXPECT_EQ("\xC3\xA4", decoded("%c3%A4"));
    EXPECT_EQ("", decoded(""));
}

TEST(UrlDecode, leaves_what_is_no_escape)
{
    for (char const* const url : {"%", "%4", "%zz", "%4g", "%g4", "a%", "%%", "% 4", "%-1", "+"})
        EXPECT_EQ(url, decoded(url));
    EXPECT_EQ("%J", decoded("%%4A")) << "it goes on at the next character";
    EXPECT_EQ("%4J", decoded("%4%4A"));
    EXPECT_EQ("%4A", decoded("%254A")) << "once only";
}

TEST(UrlDecode, knows_all_escapes)
{
    char const digits[] = "0123456789abcdefABCDEF";
    auto const value = [](int index) { return index < 16 ? index : index - 6; };
    for (int high = 0; high < 22; ++high)
    {
        for (int low = 0; low < 22; ++low)
        {
            unsigned char const url[] = {'%', static_cast<unsigned char>(digits[high]),
                                         static_cast<unsigned char>(digits[low]), 0};
            unsigned char out[4] = {'#', '#', '#', '#'};
            EXPECT_EQ(1, URL_decodebuffer(out, url));
            EXPECT_EQ(value(high) * 16 + value(low), out[0]);
            EXPECT_EQ(0, out[1]);
            EXPECT_EQ('#', out[2]);
        }
    }
}

TEST(UrlDecode, takes_no_other_character_for_a_digit)
{
    std::string const digits = "0123456789abcdefABCDEF";
    for (int character = 1; character < 256; ++character)
    {
        char const byte = static_cast<char>(character);
        bool const is_digit = digits.find(byte) != std::string::npos;
        EXPECT_EQ(is_digit ? 1U : 3U, decoded(std::string("%4") + byte).size()) << character;
        EXPECT_EQ(is_digit ? 1U : 3U, decoded(std::string("%") + byte + "4").size()) << character;
    }
}

TEST(UrlDecode, works_in_place)
{
    unsigned char buffer[] = "%41b%43d%";
    EXPECT_EQ(1, URL_decodebuffer(buffer, buffer));
    EXPECT_EQ("AbCd%", text(buffer));
}

TEST(UrlDecode, escaped_zero_is_a_byte_and_decoding_goes_on)
{
    unsigned char out[8] = {'#', '#', '#', '#', '#', '#', '#', '#'};
    EXPECT_EQ(1, URL_decodebuffer(out, bytes("a%00b")));
    EXPECT_EQ(std::string("a\0b\0#", 5), std::string(reinterpret_cast<char*>(out), 5));
}

TEST(UrlDecode, null_is_refused)
{
    unsigned char out[] = "kept";
    EXPECT_EQ(0, URL_decodebuffer(out, nullptr));
    EXPECT_EQ(0, URL_decodebuffer(nullptr, bytes("a")));
    EXPECT_EQ(0, URL_decodebuffer(nullptr, nullptr));
    EXPECT_EQ("kept", text(out));
}

TEST(UrlCheck, admits_unreserved_and_allowed_characters_and_escapes)
{
    EXPECT_EQ(1, URL_checkescape(bytes(""), nullptr));
    EXPECT_EQ(1, URL_checkescape(bytes(unreserved), nullptr));
    EXPECT_EQ(1, URL_checkescape(bytes("a%20b%2F%aF"), nullptr));
    EXPECT_EQ(0, URL_checkescape(bytes("a%2"), nullptr));
    EXPECT_EQ(0, URL_checkescape(bytes("%"), nullptr));
    EXPECT_EQ(0, URL_checkescape(bytes("%zz"), nullptr));
    EXPECT_EQ(0, URL_checkescape(bytes("a/b"), nullptr));
    EXPECT_EQ(1, URL_checkescape(bytes("a/b:c"), bytes(":/")));
    EXPECT_EQ(0, URL_checkescape(bytes("a/b c"), bytes(":/")));
    EXPECT_EQ(0, URL_checkescape(bytes("a/b"), bytes("")));
    EXPECT_EQ(1, URL_checkescape(bytes("a%2"), bytes("%")));
    EXPECT_EQ(0, URL_checkescape(nullptr, nullptr));
}

TEST(UrlCheck, admits_no_other_character)
{
    for (int character = 1; character < 256; ++character)
    {
        std::string const one(1, static_cast<char>(character));
        bool const free = unreserved.find(one) != std::string::npos;
        EXPECT_EQ(free, URL_checkescape(bytes(one), nullptr)) << character;
        EXPECT_EQ(1, URL_checkescape(bytes(one), bytes(one))) << character;
        EXPECT_EQ(free ? 1U : 3U, URL_encoderequired(bytes(one), nullptr)) << character;
        EXPECT_EQ(1U, URL_encoderequired(bytes(one), bytes(one))) << character;
    }
}

TEST(UrlEncode, measures_one_or_three_bytes_for_each_character)
{
    EXPECT_EQ(3U, URL_encoderequired(bytes("a/b"), bytes("/")));
    EXPECT_EQ(5U, URL_encoderequired(bytes("a/b"), nullptr));
    EXPECT_EQ(0U, URL_encoderequired(bytes(""), nullptr));
    EXPECT_EQ(3U, URL_encoderequired(bytes("%"), nullptr));
    EXPECT_EQ(5U, URL_encoderequired(bytes("%20"), nullptr)) << "an escape is escaped again";
    EXPECT_EQ(3U, URL_encoderequired(bytes("%20"), bytes("%")));
    EXPECT_EQ(0U, URL_encoderequired(nullptr, nullptr));
}

TEST(UrlEncode, writes_escapes_in_upper_case)
{
    EXPECT_EQ("a%20b", encoded("a b"));
    EXPECT_EQ("%3A%2F%5C%25", encoded(":/\\%"));
    EXPECT_EQ("%C3%A4%E2%82%AC", encoded("\xC3\xA4\xE2\x82\xAC"));
    EXPECT_EQ("%01%7F%FF%AF", encoded("\x01\x7F\xFF\xAF"));
    EXPECT_EQ(unreserved, encoded(unreserved));
    EXPECT_EQ("a/b%3A", encoded("a/b:", "/"));
    EXPECT_EQ("%20", encoded("%20", "%"));
    EXPECT_EQ("", encoded(""));
}

TEST(UrlEncode, null_and_the_same_buffer_are_refused)
{
    unsigned char buffer[16] = "a b";
    EXPECT_EQ(0, URL_encodebuffer(buffer, nullptr, nullptr));
    EXPECT_EQ(0, URL_encodebuffer(nullptr, buffer, nullptr));
    EXPECT_EQ(0, URL_encodebuffer(nullptr, nullptr, nullptr));
    EXPECT_EQ(0, URL_encodebuffer(buffer, buffer, nullptr));
    EXPECT_EQ("a b", text(buffer));
}

TEST(UrlEncode, decoding_gives_the_text_back)
{
    std::mt19937 random(54321);
    for (int round = 0; round < 5000; ++round)
    {
        std::string source;
        for (auto length = random() % 40; length != 0; --length)
            source += static_cast<char>(1 + random() % 255);
        std::string const url = encoded(source);
        EXPECT_EQ(source, decoded(url));
        EXPECT_EQ(1, URL_checkescape(bytes(url), nullptr));
        EXPECT_EQ(url, encoded(url, "%")) << "nothing is left to be escaped";
        EXPECT_EQ(url.size(), URL_encoderequired(bytes(source), nullptr));
    }
}

} // namespace
