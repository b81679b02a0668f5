// What texts an identifier is read from, and what comes of the others.
#include "ORVA/NQF.h"
#include "components/uid_values.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

using namespace components;
using ORVA::NQF::cnqfuid;

namespace
{

struct Read
{
    int result;
    Bytes bytes;
};

bool operator==(Read const& left, Read const& right)
{
    return left.result == right.result && left.bytes == right.bytes;
}

void PrintTo(Read const& read, std::ostream* stream)
{
    *stream << "result " << read.result << ", ";
    PrintTo(read.bytes, stream);
}

Read const failure = {0, nil};
Read const no_identifier = {1, nil};

Read success(_nqfUID const& uid)
{
    return {1, uid};
}

/// Reads `text` over an identifier that was set before. The text stands in a buffer of its exact size, so that a
/// sanitizer sees a look behind the terminator.
template <class Char>
Read read_form(std::vector<Char> text)
{
    text.push_back(0);
    text.shrink_to_fit();
    cnqfuid uid(sample);
    int const result = uid.Set(text.data());
    return {result, uid.rec()};
}

/// Reads `text` in both forms, which must agree.
Read read(std::string const& text)
{
    Read const narrow = read_form(std::vector<char>(text.begin(), text.end()));
    Read const wide = read_form(std::vector<wchar_t>(text.begin(), text.end()));
    EXPECT_EQ(narrow, wide) << text;
    return narrow;
}

std::string const head = "12345678-9ABC-DEF1-A5B7-";
std::string const tail = "2C3D4E5F6071";

/// Reads the sample's text with the pair for byte `byte` of `Data4` replaced.
Read read_with_pair(std::size_t byte, std::string const& pair)
{
    std::string text = head + tail;
    text.replace(head.size() + 2 * (byte - 2), 2, pair);
    return read(text);
}

_nqfUID with_data4(std::size_t byte, unsigned char value)
{
    return with_byte(sample, 8 + byte, value);
}

TEST(UIDText, gives_each_group_its_field)
{
    EXPECT_EQ(read(head + tail), success(sample));
    cnqfuid uid;
    EXPECT_EQ(uid.Set("01020304-0506-0708-A5B7-0B0C0D0E0F10"), 1);
    EXPECT_EQ(uid.rec().Data1, 0x01020304U);
    EXPECT_EQ(uid.rec().Data2, 0x0506U);
    EXPECT_EQ(uid.rec().Data3, 0x0708U);
    EXPECT_EQ(uid.rec().Data4[0], 0xA5U);
    EXPECT_EQ(uid.rec().Data4[1], 0xB7U);
    for (unsigned int byte = 2; byte < 8; ++byte)
        EXPECT_EQ(uid.rec().Data4[byte], 0x0BU + byte - 2);
}

TEST(UIDText, may_be_in_either_case)
{
    std::string lower = head + tail;
    for (char& character : lower)
        character = static_cast<char>(character >= 'A' && character <= 'F' ? character + ('a' - 'A') : character);
    EXPECT_EQ(read(lower), success(sample));
    EXPECT_EQ(read("12345678-9aBc-DeF1-a5B7-2c3D4e5F6071"), success(sample));
    EXPECT_STREQ(*cnqfuid(lower.c_str()).ANSI(), (head + tail).c_str()) << "printed in upper case all the same";
}

TEST(UIDText, of_zeros_is_nil)
{
    EXPECT_EQ(read("00000000-0000-0000-0000-000000000000"), no_identifier);
}

TEST(UIDText, without_exactly_four_hyphens_is_nil_and_no_error)
{
    for (char const* text :
         {"", "x", "-", "--", "---", "-----", "not-a-uid", "12345678", "123456789ABCDEF1A5B72C3D4E5F6071",
          "12345678-9ABC-DEF1-A5B72C3D4E5F6071", "12345678-9ABC-DEF1-A5B7-2C3D4E5F6071-",
          "-12345678-9ABC-DEF1-A5B7-2C3D4E5F6071", "12345678-9ABC-DEF1-A5B7-2C3D4E-5F6071",
          "12345678-9ABC-DEF1-A5B7-2C3D4E5F6071 -- an identifier", "{12345678-9ABC-DEF1-A5B7-2C3D-4E5F6071}"})
        EXPECT_EQ(read(text), no_identifier) << text;
}

TEST(UIDText, of_a_null_pointer_is_nil_and_no_error)
{
    cnqfuid uid(sample);
    EXPECT_EQ(uid.Set(static_cast<char const*>(nullptr)), 1);
    EXPECT_EQ(Bytes(uid), nil);
    uid = sample;
    EXPECT_EQ(uid.Set(static_cast<wchar_t const*>(nullptr)), 1);
    EXPECT_EQ(Bytes(uid), nil);
    EXPECT_EQ(Bytes(cnqfuid(static_cast<char const*>(nullptr))), nil);
}

TEST(UIDText, fails_unless_all_four_groups_are_read)
{
    for (char const* text : {"----", "1----", "1-2---", "1-2-3--", "{12345678-9ABC-DEF1-A5B7-2C3D4E5F6071}",
                             "(12345678-9ABC-DEF1-A5B7-2C3D4E5F6071", "x2345678-9ABC-DEF1-A5B7-2C3D4E5F6071",
                             "1234567x-9ABC-DEF1-A5B7-2C3D4E5F6071", "12345678-xABC-DEF1-A5B7-2C3D4E5F6071",
                             "12345678-9ABx-DEF1-A5B7-2C3D4E5F6071", "12345678-9ABC-DEFx-A5B7-2C3D4E5F6071",
                             "12345678-9ABC-DEF1-x5B7-2C3D4E5F6071", "12345678 -9ABC-DEF1-A5B7-2C3D4E5F6071",
                             "\xC3\xA9-2-3-4-010203040506"})
        EXPECT_EQ(read(text), failure) << text;
}

TEST(UIDText, groups_are_read_as_scanf_reads_them)
{
    _nqfUID const small = {1, 2, 3, {0, 4, 1, 2, 3, 4, 5, 6}};
    for (char const* text : {"1-2-3-4-010203040506", "  1- 2-\t3-\n4-010203040506", "0x1-0X2-0x3-0X4-010203040506",
                             "+1-+2-+3-+4-010203040506", "0000000000001-00002-00003-00004-010203040506"})
        EXPECT_EQ(read(text), success(small)) << text;
}

TEST(UIDText, the_fourth_group_may_end_in_other_characters)
{
    EXPECT_EQ(read("1-2-3-4 xyz-010203040506"), success({1, 2, 3, {0, 4, 1, 2, 3, 4, 5, 6}}));
}

TEST(UIDText, the_high_digits_of_a_group_that_is_too_long_are_lost)
{
    EXPECT_EQ(read("112345678-39ABC-4DEF1-5A5B7-2C3D4E5F6071"), success(sample));
}

TEST(UIDText, a_hyphen_may_be_a_sign)
{
    EXPECT_EQ(read("-1-2-3-0123456789AB"),
              success({0xFFFFFFFF, 2, 3, {0x89, 0xAB, 0x01, 0x23, 0x45, 0x67, 0x89, 0xAB}}));
    EXPECT_EQ(read("1--2-3-010203040506"), success({1, 0xFFFE, 3, {5, 6, 1, 2, 3, 4, 5, 6}}));
    EXPECT_EQ(read("1-2--3-010203040506"), success({1, 2, 0xFFFD, {5, 6, 1, 2, 3, 4, 5, 6}}));
    EXPECT_EQ(read("1-2-3--4bcdef012345"), success({1, 2, 3, {0xDC, 0xBB, 0x4B, 0xCD, 0xEF, 0x01, 0x23, 0x45}}));
    EXPECT_EQ(read("-1-2-3-4"), failure) << "the last group is the fourth one again, and too short";
}

TEST(UIDText, fails_if_the_last_group_is_short)
{
    for (std::size_t length = 0; length < tail.size(); ++length)
        EXPECT_EQ(read(head + tail.substr(0, length)), failure) << length;
}

TEST(UIDText, what_follows_a_whole_identifier_is_ignored)
{
    for (char const* rest : {"}", " ", "0", "FF", " and more", "g", "\n", "\xFF"})
        EXPECT_EQ(read(head + tail + rest), success(sample)) << rest;
    EXPECT_EQ(read(head + tail + std::string(100000, '0')), success(sample));
}

TEST(UIDText, fails_if_a_pair_does_not_begin_with_a_digit)
{
    for (std::size_t byte = 2; byte < 8; ++byte)
        for (char const* pair : {"g1", "gg", "x1", ".1", "++", "+g", "}}", " g", "\xC3\xA9"})
            EXPECT_EQ(read_with_pair(byte, pair), failure) << byte << " " << pair;
}

TEST(UIDText, a_pair_is_read_as_scanf_reads_it)
{
    struct
    {
        char const* pair;
        unsigned char value;
    } const cases[] = {{"1g", 0x01}, {"f}", 0x0F}, {" 1", 0x01}, {"1 ", 0x01}, {"\tA", 0x0A},
                       {"+b", 0x0B}, {"0x", 0x00}, {"0X", 0x00}, {"00", 0x00}, {"Ff", 0xFF}};
    for (std::size_t byte = 2; byte < 8; ++byte)
        for (auto const& [pair, value] : cases)
            EXPECT_EQ(read_with_pair(byte, pair), success(with_data4(byte, value))) << byte << " " << pair;
}

TEST(UIDText, a_pair_of_blanks_repeats_the_byte_before_it)
{
    for (std::size_t byte = 2; byte < 8; ++byte)
        for (char const* pair : {"  ", "\t\t", "\n ", "\v\f", " \r"})
            EXPECT_EQ(read_with_pair(byte, pair), success(with_data4(byte, sample.Data4[byte - 1]))) << byte;
}

TEST(UIDText, blanks_alone_repeat_the_second_byte_of_the_fourth_group)
{
    EXPECT_EQ(read(head + std::string(12, ' ')),
              success({0x12345678, 0x9ABC, 0xDEF1, {0xA5, 0xB7, 0xB7, 0xB7, 0xB7, 0xB7, 0xB7, 0xB7}}));
    EXPECT_EQ(read("1-2-3-4-0102        "), success({1, 2, 3, {0, 4, 1, 2, 2, 2, 2, 2}}));
}

TEST(UIDText, blanks_that_are_too_few_fail)
{
    EXPECT_EQ(read(head + std::string(11, ' ')), failure);
}

TEST(UIDText, wide_characters_are_not_cut_to_bytes)
{
    // U+0131 and U+1F641 end in the bytes of '1' and 'A', U+FF11 is a digit of another script, U+012D ends in that of '-'.
    for (wchar_t const* text :
         {L"\u01312345678-9ABC-DEF1-A5B7-2C3D4E5F6071", L"12345678-9ABC-DEF1-A5B7-\u0131C3D4E5F6071",
          L"12345678-9ABC-DEF1-A5B7-2C3D4E5F60\U0001F641\U0001F641", L"\uFF11-2-3-4-010203040506"})
    {
        cnqfuid uid(sample);
        EXPECT_EQ(uid.Set(text), 0);
        EXPECT_EQ(Bytes(uid), nil);
    }
    cnqfuid uid;
    EXPECT_EQ(uid.Set(L"12345678-9ABC-DEF1-A5B7-2C3D4E5F6071\u012D"), 1);
    EXPECT_EQ(Bytes(uid), sample) << "the last character is no hyphen";
}

TEST(UIDText, failure_writes_no_message)
{
    support::LogRecorder recorder;
    EXPECT_EQ(read("----"), failure);
    EXPECT_EQ(read(head), failure);
    EXPECT_EQ(read("not-a-uid"), no_identifier);
    EXPECT_EQ(Bytes(cnqfuid(head.c_str())), nil);
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(UIDText, both_forms_agree_on_damaged_texts)
{
    std::mt19937 generator(22);
    std::string const alphabet = "0123456789abcdefABCDEFgx+-{} \t\n";
    auto const below = [&](std::size_t limit) { return generator() % limit; };
    int read_well = 0;
    for (int round = 0; round < 20000; ++round)
    {
        std::string text = head + tail;
        for (std::size_t changes = below(5); changes > 0; --changes)
        {
            std::size_t const at = below(text.size());
            switch (below(3))
            {
            case 0:
                text[at] = alphabet[below(alphabet.size())];
                break;
            case 1:
                text.insert(at, 1, alphabet[below(alphabet.size())]);
                break;
            default:
                text.erase(at, 1);
            }
        }
        Read const outcome = read(text);
        if (std::count(text.begin(), text.end(), '-') != 4)
            ASSERT_EQ(outcome, no_identifier) << text;
        else if (outcome.result == 0)
            ASSERT_EQ(outcome, failure) << text;
        else
            ++read_well;
    }
    EXPECT_GT(read_well, 1000);
}

} // namespace
