// The sizes of single characters, and the way back to the beginning of one.

#include "text/codecs_values.h"

#include <type_traits>
#include <vector>

namespace
{

using namespace codecs;

// Results of single characters are 32 bits wide, lengths 64.
static_assert(std::is_same_v<decltype(&UTF8Size), unsigned int (*)(unsigned int)>);
static_assert(std::is_same_v<decltype(&UTF8Len), unsigned int (*)(unsigned char)>);
static_assert(std::is_same_v<decltype(&UTF16Len), unsigned int (*)(unsigned short)>);
static_assert(std::is_same_v<decltype(&nqfWLen), unsigned int (*)(wchar_t)>);
static_assert(std::is_same_v<decltype(&utf8_nqfW32), unsigned int (*)(unsigned int*, unsigned char const*&)>);
static_assert(std::is_same_v<decltype(&utf16_nqfW), unsigned int (*)(wchar_t*&, unsigned short const*&)>);
static_assert(std::is_same_v<decltype(&nqfW32_utf16), unsigned int (*)(unsigned short*&, unsigned int)>);
static_assert(std::is_same_v<decltype(&UTF8wstrlen), unsigned long (*)(unsigned char const*, unsigned long)>);
static_assert(std::is_same_v<decltype(&nqfWu8strlen), unsigned long (*)(wchar_t const*, unsigned long)>);

// ---- sizes ----

TEST(CodecTable, HasOneRowPerRangeOfFirstBytes)
{
    for (unsigned int byte = 0x00; byte <= 0x7F; ++byte)
        EXPECT_EQ(sUTF8Lut[byte], 1) << byte;
    for (unsigned int byte = 0x80; byte <= 0xBF; ++byte)
        EXPECT_EQ(sUTF8Lut[byte], 0) << byte;
    for (unsigned int byte = 0xC0; byte <= 0xDF; ++byte)
        EXPECT_EQ(sUTF8Lut[byte], 2) << byte;
    for (unsigned int byte = 0xE0; byte <= 0xEF; ++byte)
        EXPECT_EQ(sUTF8Lut[byte], 3) << byte;
    for (unsigned int byte = 0xF0; byte <= 0xF4; ++byte)
        EXPECT_EQ(sUTF8Lut[byte], 4) << byte;
    for (unsigned int byte = 0xF5; byte <= 0xFF; ++byte)
        EXPECT_EQ(sUTF8Lut[byte], 0) << byte;
    static_assert(sizeof(sUTF8Lut) == 256, "one entry per byte");
}

TEST(CodecSizes, UTF8LenIsTheTableEntry)
{
    for (unsigned int byte = 0; byte <= 0xFF; ++byte)
        EXPECT_EQ(UTF8Len(static_cast<unsigned char>(byte)), sUTF8Lut[byte]) << byte;
    EXPECT_EQ(UTF8Len(0xF4), 4U);
    EXPECT_EQ(UTF8Len(0xF5), 0U);
}

TEST(CodecSizes, UTF8SizeChangesAtItsBounds)
{
    EXPECT_EQ(UTF8Size(0), 1U);
    EXPECT_EQ(UTF8Size(0x7F), 1U);
    EXPECT_EQ(UTF8Size(0x80), 2U);
    EXPECT_EQ(UTF8Size(0x7FF), 2U);
    EXPECT_EQ(UTF8Size(0x800), 3U);
    EXPECT_EQ(UTF8Size(0xD800), 3U);
    EXPECT_EQ(UTF8Size(0xFFFF), 3U);
    EXPECT_EQ(UTF8Size(0x10000), 4U);
    EXPECT_EQ(UTF8Size(0x10FFFF), 4U);
    EXPECT_EQ(UTF8Size(0x110000), 0U);
    EXPECT_EQ(UTF8Size(0xFFFFFFFF), 0U);
}

TEST(CodecSizes, UTF16SizeAdmitsOneMoreThanUTF8Size)
{
    EXPECT_EQ(UTF16Size(0), 1U);
    EXPECT_EQ(UTF16Size(0xD800), 1U);
    EXPECT_EQ(UTF16Size(0xFFFF), 1U);
    EXPECT_EQ(UTF16Size(0x10000), 2U);
    EXPECT_EQ(UTF16Size(0x10FFFF), 2U);
    EXPECT_EQ(UTF16Size(0x110000), 2U);
    EXPECT_EQ(UTF16Size(0x110001), 0U);
    EXPECT_EQ(UTF16Size(0xFFFFFFFF), 0U);
}

TEST(CodecSizes, AgreeWithThePlainFormForEveryValue)
{
    for_every_value(
        [](unsigned int value)
        {
            if (UTF8Size(value) != plain::utf8_size(value) || UTF16Size(value) != plain::utf16_size(value))
                ADD_FAILURE() << value;
        });
}

TEST(CodecSizes, UTF16LenTellsFirstUnits)
{
    for (unsigned int unit = 0; unit <= 0xFFFF; ++unit)
    {
        unsigned int const expected = unit < 0xD800 || unit > 0xDFFF ? 1 : unit <= 0xDBFF ? 2 : 0;
        if (UTF16Len(static_cast<unsigned short>(unit)) != expected)
            ADD_FAILURE() << unit;
    }
    EXPECT_EQ(UTF16Len(0xD7FF), 1U);
    EXPECT_EQ(UTF16Len(0xD800), 2U);
    EXPECT_EQ(UTF16Len(0xDBFF), 2U);
    EXPECT_EQ(UTF16Len(0xDC00), 0U);
    EXPECT_EQ(UTF16Len(0xDFFF), 0U);
    EXPECT_EQ(UTF16Len(0xE000), 1U);
}

TEST(CodecSizes, AWideCharacterIsAlwaysOneUnit)
{
    for (unsigned int value : boundary_values())
    {
        EXPECT_EQ(nqfWSize(value), 1U);
        EXPECT_EQ(nqfWLen(static_cast<wchar_t>(value)), 1U);
    }
    EXPECT_EQ(nqfWSize(0), 1U);
    EXPECT_EQ(nqfWLen(0), 1U);
}

// ---- resynchronisation ----

TEST(CodecSync, UTF8SkipsTwoByteLeadsOnly)
{
    for (unsigned int byte = 0; byte <= 0xFF; ++byte)
    {
        unsigned char const text[] = {static_cast<unsigned char>(byte), 0};
        unsigned char const* position = text;
        UTF8Sync(position);
        EXPECT_EQ(position - text, byte >= 0xC0 && byte <= 0xDF ? 1 : 0) << byte;
    }
    unsigned char const run[] = {0xC0, 0xC3, 0xDF, 0x80, 0xC3, 0};
    unsigned char const* position = run;
    UTF8Sync(position);
    EXPECT_EQ(position - run, 3);
}

TEST(CodecSync, UTF16SkipsSecondHalvesOnly)
{
    for (unsigned int unit = 0; unit <= 0xFFFF; ++unit)
    {
        unsigned short const text[] = {static_cast<unsigned short>(unit), 0};
        unsigned short const* position = text;
        UTF16Sync(position);
        if (position - text != (unit >= 0xDC00 && unit <= 0xDFFF ? 1 : 0))
            ADD_FAILURE() << unit;
    }
    unsigned short const run[] = {0xDC00, 0xDDDD, 0xDFFF, 0xD800, 0xDC00, 0};
    unsigned short const* position = run;
    UTF16Sync(position);
    EXPECT_EQ(position - run, 3);
}

TEST(CodecSync, WideTextIsLeftAlone)
{
    wchar_t const text[] = {static_cast<wchar_t>(0xDC00), 0x80, 0};
    wchar_t const* position = text;
    nqfWSync(position);
    EXPECT_EQ(position, text);
}

} // namespace
