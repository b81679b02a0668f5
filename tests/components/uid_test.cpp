#include "ORVA/NQF.h"
#include "components/uid_values.h"
#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <cwchar>
#include <random>
#include <string>
#include <type_traits>

using namespace components;
using ORVA::NQF::cnqfuid;
using ORVA::NQF::nqfUID_null;
using ORVA::String::CANSIChar;
using ORVA::String::CNQFWChar;

namespace
{

static_assert(sizeof(_nqfUID) == 16 && std::is_standard_layout_v<_nqfUID> && std::is_trivial_v<_nqfUID>);
static_assert(offsetof(_nqfUID, Data1) == 0 && offsetof(_nqfUID, Data2) == 4 && offsetof(_nqfUID, Data3) == 6 &&
              offsetof(_nqfUID, Data4) == 8);
static_assert(std::is_same_v<decltype(_nqfUID::Data1), unsigned int>);
static_assert(std::is_same_v<decltype(_nqfUID::Data2), unsigned short>);
static_assert(std::is_same_v<decltype(_nqfUID::Data3), unsigned short>);
static_assert(std::is_same_v<decltype(_nqfUID::Data4), unsigned char[8]>);

static_assert(sizeof(cnqfuid) == 16 && std::is_standard_layout_v<cnqfuid> && !std::is_polymorphic_v<cnqfuid>);
static_assert(std::is_trivially_copyable_v<cnqfuid> && std::is_trivially_destructible_v<cnqfuid>);

static_assert(std::is_same_v<decltype(nqfUID_null), _nqfUID const>);
static_assert(std::is_same_v<decltype(std::declval<cnqfuid&>().rec()), _nqfUID&>);
static_assert(std::is_same_v<decltype(std::declval<cnqfuid&>() = "text"), cnqfuid&>);
static_assert(std::is_same_v<decltype(std::declval<cnqfuid const&>().ANSI()), CANSIChar>);
static_assert(std::is_same_v<decltype(std::declval<cnqfuid&>().Set("")), int>);
static_assert(std::is_same_v<decltype(std::declval<cnqfuid&>().Set(L"")), int>);

char const* const sample_text = "12345678-9ABC-DEF1-A5B7-2C3D4E5F6071";
wchar_t const* const sample_wide_text = L"12345678-9ABC-DEF1-A5B7-2C3D4E5F6071";

/// What a function that takes an identifier sees.
_nqfUID const* seen(_nqfUID const& uid)
{
    return &uid;
}

TEST(UID, null_is_sixteen_zero_bytes)
{
    unsigned char const zeros[16] = {};
    EXPECT_EQ(std::memcmp(&nqfUID_null, zeros, 16), 0);
}

TEST(UID, is_nil_from_the_start)
{
    // Over bytes that are not zero, so that zeroes do not come from the memory.
    alignas(cnqfuid) unsigned char place[sizeof(cnqfuid)];
    std::memset(place, 0xEE, sizeof place);
    cnqfuid const* const uid = new (place) cnqfuid;
    EXPECT_EQ(Bytes(*uid), nil);
    EXPECT_EQ(Bytes(cnqfuid()), nil);
}

TEST(UID, copies_sixteen_bytes)
{
    cnqfuid const from_record(sample);
    EXPECT_EQ(Bytes(from_record), sample);
    cnqfuid const from_value(from_record);
    EXPECT_EQ(Bytes(from_value), sample);
}

TEST(UID, is_made_from_text)
{
    EXPECT_EQ(Bytes(cnqfuid(sample_text)), sample);
    EXPECT_EQ(Bytes(cnqfuid(sample_wide_text)), sample);
    EXPECT_EQ(Bytes(cnqfuid("12345678-9ABC-DEF1-A5B7-2C3D4E5F607")), nil);
    EXPECT_EQ(Bytes(cnqfuid(L"12345678-9ABC-DEF1-A5B7-2C3D4E5F607")), nil);
    EXPECT_EQ(Bytes(cnqfuid("")), nil);
    EXPECT_EQ(Bytes(cnqfuid(L"")), nil);
}

TEST(UID, is_assigned_and_gives_itself_back)
{
    cnqfuid uid;
    cnqfuid const source(sample);
    EXPECT_EQ(&(uid = source), &uid);
    EXPECT_EQ(Bytes(uid), sample);
    EXPECT_EQ(&(uid = nqfUID_null), &uid);
    EXPECT_EQ(Bytes(uid), nil);
    EXPECT_EQ(&(uid = sample), &uid);
    EXPECT_EQ(Bytes(uid), sample);
    EXPECT_EQ(&(uid = uid.rec()), &uid);
    EXPECT_EQ(Bytes(uid), sample);

    uid.reset();
    EXPECT_EQ(&(uid = sample_text), &uid);
    EXPECT_EQ(Bytes(uid), sample);
    uid.reset();
    EXPECT_EQ(&(uid = sample_wide_text), &uid);
    EXPECT_EQ(Bytes(uid), sample);
}

TEST(UID, assigned_a_text_that_fails_is_nil)
{
    cnqfuid uid(sample);
    EXPECT_EQ(&(uid = "{12345678-9ABC-DEF1-A5B7-2C3D4E5F6071"), &uid);
    EXPECT_EQ(Bytes(uid), nil);
    uid = sample;
    EXPECT_EQ(&(uid = L"{12345678-9ABC-DEF1-A5B7-2C3D4E5F6071"), &uid);
    EXPECT_EQ(Bytes(uid), nil);
    uid = sample;
    uid = "no identifier";
    EXPECT_EQ(Bytes(uid), nil);
    uid = sample;
    uid = L"no identifier";
    EXPECT_EQ(Bytes(uid), nil);
}

TEST(UID, reset_makes_it_nil)
{
    cnqfuid uid(sample);
    uid.reset();
    EXPECT_EQ(Bytes(uid), nil);
}

TEST(UID, lends_its_own_record)
{
    cnqfuid uid;
    EXPECT_EQ(static_cast<void*>(&uid.rec()), static_cast<void*>(&uid));
    EXPECT_EQ(static_cast<void const*>(seen(uid)), static_cast<void const*>(&uid));
    cnqfuid const constant(sample);
    EXPECT_EQ(static_cast<void const*>(seen(constant)), static_cast<void const*>(&constant));
    uid.rec() = sample;
    EXPECT_EQ(Bytes(uid), sample);
    uid.rec().Data4[7] = 0;
    EXPECT_EQ(Bytes(uid), with_byte(sample, 15, 0));
}

TEST(UID, comparison_is_of_all_sixteen_bytes)
{
    cnqfuid const uid(sample);
    EXPECT_TRUE(uid == sample);
    EXPECT_TRUE(uid == cnqfuid(sample));
    EXPECT_FALSE(uid != sample);
    EXPECT_FALSE(uid != cnqfuid(sample));
    EXPECT_TRUE(sample == uid);
    EXPECT_FALSE(sample != uid);
    EXPECT_TRUE(uid == sample_text) << "text is read first";
    for (std::size_t byte = 0; byte < 16; ++byte)
    {
        _nqfUID const other = with_byte(sample, byte, 0);
        EXPECT_FALSE(uid == other) << byte;
        EXPECT_FALSE(uid == cnqfuid(other)) << byte;
        EXPECT_TRUE(uid != other) << byte;
        EXPECT_TRUE(uid != cnqfuid(other)) << byte;
        EXPECT_FALSE(other == uid) << byte;
        EXPECT_TRUE(other != uid) << byte;
    }
}

TEST(UID, is_true_as_soon_as_any_byte_is_set)
{
    cnqfuid none;
    cnqfuid const constant_none;
    EXPECT_FALSE(static_cast<bool>(none));
    EXPECT_FALSE(static_cast<bool>(constant_none));
    for (std::size_t byte = 0; byte < 16; ++byte)
    {
        for (int const bit : {0, 7})
        {
            cnqfuid some(with_byte(nil, byte, static_cast<unsigned char>(1 << bit)));
            cnqfuid const constant_some(some);
            EXPECT_TRUE(static_cast<bool>(some)) << byte;
            EXPECT_TRUE(static_cast<bool>(constant_some)) << byte;
        }
    }
    bool const plain = none;
    bool const constant_plain = cnqfuid(sample);
    EXPECT_FALSE(plain);
    EXPECT_TRUE(constant_plain);
}

TEST(UID, prints_36_characters_in_upper_case_without_braces)
{
    cnqfuid const uid(sample);
    EXPECT_STREQ(*uid.ANSI(), sample_text);
    EXPECT_EQ(uid.ANSI().len(), 36U);
    CNQFWChar const wide = uid;
    EXPECT_STREQ(*wide, sample_wide_text);
    EXPECT_EQ(wide.len(), 37U) << "a wide holder counts the terminator";
    EXPECT_STREQ(*CNQFWChar(uid), sample_wide_text);
    EXPECT_STREQ(*static_cast<CNQFWChar>(cnqfuid(sample)), sample_wide_text);
}

TEST(UID, prints_nil_as_zeros)
{
    EXPECT_STREQ(*cnqfuid().ANSI(), "00000000-0000-0000-0000-000000000000");
    EXPECT_STREQ(*CNQFWChar(cnqfuid()), L"00000000-0000-0000-0000-000000000000");
}

TEST(UID, prints_each_byte_in_its_place)
{
    // Where the first digit of each byte stands, in the order of memory on a little-endian machine.
    std::size_t const places[16] = {6, 4, 2, 0, 11, 9, 16, 14, 19, 21, 24, 26, 28, 30, 32, 34};
    unsigned int const one = 1;
    unsigned char first = 0;
    std::memcpy(&first, &one, 1);
    ASSERT_EQ(first, 1) << "written for a little-endian machine";
    for (std::size_t byte = 0; byte < 16; ++byte)
    {
        std::string expected = "00000000-0000-0000-0000-000000000000";
        expected.replace(places[byte], 2, "C9");
        cnqfuid const uid(with_byte(nil, byte, 0xC9));
        EXPECT_EQ(*uid.ANSI(), expected);
        EXPECT_EQ(*CNQFWChar(uid), std::wstring(expected.begin(), expected.end()));
    }
}

TEST(UID, prints_what_printf_prints)
{
    std::mt19937 generator(20);
    for (int round = 0; round < 2000; ++round)
    {
        _nqfUID const uid = random_uid(generator);
        unsigned int bytes[8];
        for (int byte = 0; byte < 8; ++byte)
            bytes[byte] = uid.Data4[byte];
        char expected[40];
        std::snprintf(expected, sizeof expected, "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X", uid.Data1,
                      static_cast<unsigned int>(uid.Data2), static_cast<unsigned int>(uid.Data3), bytes[0], bytes[1],
                      bytes[2], bytes[3], bytes[4], bytes[5], bytes[6], bytes[7]);
        ASSERT_STREQ(*cnqfuid(uid).ANSI(), expected);
        std::string const narrow(expected);
        ASSERT_EQ(*CNQFWChar(cnqfuid(uid)), std::wstring(narrow.begin(), narrow.end()));
    }
}

TEST(UID, reads_back_what_it_prints)
{
    std::mt19937 generator(21);
    for (int round = 0; round < 2000; ++round)
    {
        _nqfUID const uid = round < 16 ? with_byte(nil, static_cast<std::size_t>(round), 0xFF) : random_uid(generator);
        cnqfuid back;
        ASSERT_EQ(back.Set(*cnqfuid(uid).ANSI()), 1);
        ASSERT_EQ(Bytes(back), uid);
        back.reset();
        ASSERT_EQ(back.Set(*CNQFWChar(cnqfuid(uid))), 1);
        ASSERT_EQ(Bytes(back), uid);
    }
}

TEST(UID, prints_nothing_without_memory)
{
    cnqfuid const uid(sample);
    support::AllocationFailure const failure(1, support::AllocationFailure::forever);
    CANSIChar const narrow = uid.ANSI();
    CNQFWChar const wide = uid;
    EXPECT_FALSE(narrow);
    EXPECT_FALSE(wide);
    EXPECT_EQ(failure.failures(), 2U);
}

TEST(UID, takes_no_memory_to_read)
{
    support::AllocationFailure const counter(0);
    cnqfuid const narrow(sample_text);
    cnqfuid const wide(sample_wide_text);
    EXPECT_EQ(Bytes(narrow), Bytes(wide));
    EXPECT_EQ(counter.attempts(), 0U);
}

} // namespace
