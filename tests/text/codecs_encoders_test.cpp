// Single characters into UTF-8, UTF-16 and wide text, and from one encoding to the other.

#include "text/codecs_values.h"

#include <type_traits>
#include <vector>

namespace
{

using namespace codecs;

// ---- encoding ----

TEST(UTF8Encoder, AgreesWithThePlainFormForEveryValue)
{
    for_every_value(
        [](unsigned int value)
        {
            unsigned char stored[5] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
            unsigned char expected[5] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
            unsigned char* destination = stored;
            unsigned int const result = nqfW32_utf8(destination, value);
            unsigned int const length = plain::encode_utf8(expected, value);
            bool same = result == (length != 0 ? 1U : 0U) && destination == stored + length;
            for (unsigned int index = 0; index < 5; ++index)
                same = same && stored[index] == expected[index];
            if (!same)
                ADD_FAILURE() << value;
        });
}

TEST(UTF8Encoder, StoresSurrogateValuesAndRefusesFrom110000On)
{
    unsigned char buffer[4] = {1, 1, 1, 1};
    unsigned char* destination = buffer;
    EXPECT_EQ(nqfW32_utf8(destination, 0xD800), 1U);
    EXPECT_EQ(destination - buffer, 3);
    EXPECT_EQ(buffer[0], 0xED);
    EXPECT_EQ(buffer[1], 0xA0);
    EXPECT_EQ(buffer[2], 0x80);
    EXPECT_EQ(nqfW32_utf8(destination, 0x110000), 0U);
    EXPECT_EQ(destination - buffer, 3);
    EXPECT_EQ(buffer[3], 1);
}

TEST(UTF16Encoder, DoesNotSubtract10000First)
{
    struct row
    {
        unsigned int value;
        unsigned short first;
        unsigned short second;
    };
    for (row const& expected :
         {row{0x10000, 0xD840, 0xDC00}, row{0x1F600, 0xD87D, 0xDE00}, row{0x10FFFF, 0xDC3F, 0xDFFF}})
    {
        unsigned short buffer[3] = {7, 7, 7};
        unsigned short* destination = buffer;
        EXPECT_EQ(nqfW32_utf16(destination, expected.value), 1U);
        EXPECT_EQ(destination - buffer, 2);
        EXPECT_EQ(buffer[0], expected.first);
        EXPECT_EQ(buffer[1], expected.second);
        EXPECT_EQ(buffer[2], 7);
    }
}

TEST(UTF16Encoder, AgreesWithThePlainFormForEveryValue)
{
    for_every_value(
        [](unsigned int value)
        {
            unsigned short stored[3] = {0xEEEE, 0xEEEE, 0xEEEE};
            unsigned short expected[3] = {0xEEEE, 0xEEEE, 0xEEEE};
            unsigned short* destination = stored;
            unsigned int const result = nqfW32_utf16(destination, value);
            unsigned int const length = plain::encode_utf16(expected, value);
            bool same = result == (length != 0 ? 1U : 0U) && destination == stored + length;
            for (unsigned int index = 0; index < 3; ++index)
                same = same && stored[index] == expected[index];
            if (!same)
                ADD_FAILURE() << value;
        });
}

TEST(UTF16Encoder, StoresSurrogateValuesAsOneUnitAndRefusesFrom110000On)
{
    unsigned short buffer[2] = {7, 7};
    unsigned short* destination = buffer;
    EXPECT_EQ(nqfW32_utf16(destination, 0xDFFF), 1U);
    EXPECT_EQ(destination - buffer, 1);
    EXPECT_EQ(buffer[0], 0xDFFF);
    EXPECT_EQ(nqfW32_utf16(destination, 0x110000), 0U);
    EXPECT_EQ(nqfW32_utf16(destination, 0xFFFFFFFF), 0U);
    EXPECT_EQ(destination - buffer, 1);
    EXPECT_EQ(buffer[1], 7);
}

TEST(WideEncoders, MoveTheSourceOnSuccessOnly)
{
    wchar_t const text[] = {0x20AC, 0x110000, static_cast<wchar_t>(0x80000041), 0};
    unsigned char bytes[4] = {};
    unsigned char* byte_destination = bytes;
    wchar_t const* source = text;
    EXPECT_EQ(nqfW_utf8(byte_destination, source), 1U);
    EXPECT_EQ(source - text, 1);
    EXPECT_EQ(byte_destination - bytes, 3);
    EXPECT_EQ(bytes[0], 0xE2);
    EXPECT_EQ(bytes[1], 0x82);
    EXPECT_EQ(bytes[2], 0xAC);
    EXPECT_EQ(nqfW_utf8(byte_destination, source), 0U);
    EXPECT_EQ(source - text, 1);
    EXPECT_EQ(byte_destination - bytes, 3);
    ++source;
    EXPECT_EQ(nqfW_utf8(byte_destination, source), 0U);
    EXPECT_EQ(source - text, 2);

    unsigned short units[2] = {};
    unsigned short* unit_destination = units;
    source = text;
    EXPECT_EQ(nqfW_utf16(unit_destination, source), 1U);
    EXPECT_EQ(source - text, 1);
    EXPECT_EQ(unit_destination - units, 1);
    EXPECT_EQ(units[0], 0x20AC);
    EXPECT_EQ(nqfW_utf16(unit_destination, source), 0U);
    EXPECT_EQ(source - text, 1);
    EXPECT_EQ(unit_destination - units, 1);
    ++source;
    EXPECT_EQ(nqfW_utf16(unit_destination, source), 0U);
    EXPECT_EQ(source - text, 2);
}

TEST(WideUnits, AreCopiedWhateverTheyAre)
{
    for (unsigned int value : boundary_values())
    {
        wchar_t buffer[2] = {3, 3};
        wchar_t* destination = buffer;
        EXPECT_EQ(nqfW32_nqfW(destination, value), 1U);
        EXPECT_EQ(destination - buffer, 1);
        EXPECT_EQ(static_cast<unsigned int>(buffer[0]), value);
        EXPECT_EQ(buffer[1], 3);

        wchar_t const* source = buffer;
        unsigned int copied = 0;
        EXPECT_EQ(nqfW_nqfW32(&copied, source), 1U);
        EXPECT_EQ(source - buffer, 1);
        EXPECT_EQ(copied, value);
    }
}

// ---- from one encoding to the other ----

TEST(UTF8ToUTF16, KeepsThePositionsOfItsDecoder)
{
    unsigned char const text[] = {0xF0, 0x9F, 0x98, 0x80, 0xE2, 0x82, 0x41, 0x80, 0};
    unsigned char const* source = text;
    unsigned short buffer[3] = {7, 7, 7};
    unsigned short* destination = buffer;
    EXPECT_EQ(utf8_utf16(destination, source), 1U);
    EXPECT_EQ(source - text, 4);
    EXPECT_EQ(destination - buffer, 2);
    EXPECT_EQ(buffer[0], 0xD87D);
    EXPECT_EQ(buffer[1], 0xDE00);
    EXPECT_EQ(utf8_utf16(destination, source), 0U);
    EXPECT_EQ(source - text, 6);
    source = text + 7;
    EXPECT_EQ(utf8_utf16(destination, source), 0U);
    EXPECT_EQ(source - text, 7);
    EXPECT_EQ(destination - buffer, 2);
    EXPECT_EQ(buffer[2], 7);
}

TEST(UTF8ToUTF16, HasPassedACharacterThatTheEncoderRefuses)
{
    unsigned char const text[] = {0xF4, 0x90, 0x80, 0x80, 'a', 0};
    unsigned char const* source = text;
    unsigned short buffer[3] = {7, 7, 7};
    unsigned short* destination = buffer;
    EXPECT_EQ(utf8_utf16(destination, source), 0U);
    EXPECT_EQ(source - text, 4);
    EXPECT_EQ(destination, buffer);
    EXPECT_EQ(buffer[0], 7);
}

TEST(UTF16ToUTF8, StoresAPairAsOneByte)
{
    unsigned short const text[] = {0x20AC, 0xD83D, 0xDE00, 0xD800, 0xDC00, 0xD800, 'a', 0xDC00, 0};
    unsigned short const* source = text;
    unsigned char buffer[6] = {7, 7, 7, 7, 7, 7};
    unsigned char* destination = buffer;
    EXPECT_EQ(utf16_utf8(destination, source), 1U);
    EXPECT_EQ(source - text, 1);
    EXPECT_EQ(destination - buffer, 3);
    EXPECT_EQ(buffer[0], 0xE2);
    EXPECT_EQ(buffer[1], 0x82);
    EXPECT_EQ(buffer[2], 0xAC);
    EXPECT_EQ(utf16_utf8(destination, source), 1U);
    EXPECT_EQ(source - text, 3);
    EXPECT_EQ(buffer[3], 1);
    EXPECT_EQ(utf16_utf8(destination, source), 1U);
    EXPECT_EQ(source - text, 5);
    EXPECT_EQ(destination - buffer, 5);
    EXPECT_EQ(buffer[4], 0);
    EXPECT_EQ(utf16_utf8(destination, source), 0U);
    EXPECT_EQ(source - text, 5);
    source = text + 7;
    EXPECT_EQ(utf16_utf8(destination, source), 0U);
    EXPECT_EQ(source - text, 7);
    EXPECT_EQ(destination - buffer, 5);
    EXPECT_EQ(buffer[5], 7);
}

} // namespace
