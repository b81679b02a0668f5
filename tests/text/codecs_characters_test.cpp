#include "ORVA/String/Codecs.h"
#include "reference/plain_codecs.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

namespace
{

using namespace ORVA::String;

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

/// Values about every bound of the encodings.
std::vector<unsigned int> boundary_values()
{
    std::vector<unsigned int> values;
    for (unsigned int bound : {0x80U, 0x800U, 0xD800U, 0xDC00U, 0xE000U, 0x10000U, 0x110000U, 0x140000U, 0x80000000U})
        for (unsigned int value = bound - 2; value != bound + 3; ++value)
            values.push_back(value);
    values.push_back(0xFFFFFFFE);
    values.push_back(0xFFFFFFFF);
    return values;
}

/// Calls `check` with every value up to just above the last that an encoder might take, and with larger ones.
template <class Check>
void for_every_value(Check check)
{
    for (unsigned int value = 0; value <= 0x110002; ++value)
        check(value);
    for (unsigned int value : boundary_values())
        check(value);
}

unsigned char const edge_bytes[] = {0x00, 0x01, 0x41, 0x7F, 0x80, 0x81, 0x8F, 0x90, 0xBF,
                                    0xC0, 0xDF, 0xE0, 0xEF, 0xF0, 0xF4, 0xF5, 0xFF};

plain::step decode_utf8(unsigned char const* source)
{
    unsigned char const* position = source;
    unsigned int value = 0xABCDEF01;
    unsigned int const result = utf8_nqfW32(&value, position);
    return {result, value, static_cast<unsigned int>(position - source)};
}

/// The value after a refusal is the one that was there before.
plain::step decode_utf16(unsigned short const* source)
{
    unsigned short const* position = source;
    unsigned int value = 0;
    unsigned int const result = utf16_nqfW32(&value, position);
    return {result, value, static_cast<unsigned int>(position - source)};
}

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

// ---- UTF-8 decoding ----

TEST(UTF8Decoder, TakesEveryEncodedValue)
{
    for (unsigned int value = 0; value <= 0x10FFFF; ++value)
    {
        unsigned char text[5] = {};
        unsigned int const length = plain::encode_utf8(text, value);
        if (!(decode_utf8(text) == plain::step{1, value, length}))
            ADD_FAILURE() << value;
    }
}

TEST(UTF8Decoder, AcceptsOverlongForms)
{
    unsigned char const two[] = {0xC0, 0x80, 0};
    unsigned char const two_a[] = {0xC1, 0x81, 0};
    unsigned char const three[] = {0xE0, 0x80, 0x80, 0};
    unsigned char const four[] = {0xF0, 0x80, 0x81, 0x81, 0};
    EXPECT_EQ(decode_utf8(two), (plain::step{1, 0, 2}));
    EXPECT_EQ(decode_utf8(two_a), (plain::step{1, 0x41, 2}));
    EXPECT_EQ(decode_utf8(three), (plain::step{1, 0, 3}));
    EXPECT_EQ(decode_utf8(four), (plain::step{1, 0x41, 4}));
}

TEST(UTF8Decoder, AcceptsEncodedSurrogatesAndValuesUpTo13FFFF)
{
    unsigned char const surrogate[] = {0xED, 0xA0, 0x80, 0};
    unsigned char const above[] = {0xF4, 0x90, 0x80, 0x80, 0};
    unsigned char const last[] = {0xF4, 0xBF, 0xBF, 0xBF, 0};
    EXPECT_EQ(decode_utf8(surrogate), (plain::step{1, 0xD800, 3}));
    EXPECT_EQ(decode_utf8(above), (plain::step{1, 0x110000, 4}));
    EXPECT_EQ(decode_utf8(last), (plain::step{1, 0x13FFFF, 4}));
}

TEST(UTF8Decoder, ATerminatorIsACharacter)
{
    unsigned char const text[] = {0};
    EXPECT_EQ(decode_utf8(text), (plain::step{1, 0, 1}));
}

TEST(UTF8Decoder, AByteThatBeginsNothingGivesZeroAndStays)
{
    for (unsigned int byte = 0x80; byte <= 0xFF; ++byte)
    {
        if (byte >= 0xC0 && byte <= 0xF4)
            continue;
        unsigned char const text[] = {static_cast<unsigned char>(byte), 0x80, 0};
        EXPECT_EQ(decode_utf8(text), (plain::step{0, 0, 0})) << byte;
    }
}

TEST(UTF8Decoder, ABadContinuationByteLeavesTheBitsSoFarAndStandsOnIt)
{
    unsigned char const two[] = {0xC3, 0x41, 0};
    unsigned char const three_at_second[] = {0xE2, 0x41, 0};
    unsigned char const three_at_third[] = {0xE2, 0x82, 0x41, 0};
    unsigned char const four_at_second[] = {0xF3, 0xC0, 0};
    unsigned char const four_at_third[] = {0xF3, 0x9F, 0xFF, 0};
    unsigned char const four_at_fourth[] = {0xF3, 0x9F, 0x98, 0x7F, 0};
    EXPECT_EQ(decode_utf8(two), (plain::step{0, 0x03, 1}));
    EXPECT_EQ(decode_utf8(three_at_second), (plain::step{0, 0x02, 1}));
    EXPECT_EQ(decode_utf8(three_at_third), (plain::step{0, 0x02 << 6 | 0x02, 2}));
    EXPECT_EQ(decode_utf8(four_at_second), (plain::step{0, 0x03, 1}));
    EXPECT_EQ(decode_utf8(four_at_third), (plain::step{0, 0x03 << 6 | 0x1F, 2}));
    EXPECT_EQ(decode_utf8(four_at_fourth), (plain::step{0, 0x03 << 12 | 0x1F << 6 | 0x18, 3}));
}

TEST(UTF8Decoder, ATerminatorStopsASequenceCutShort)
{
    unsigned char const text[] = {0xF0, 0x9F, 0x98, 0};
    EXPECT_EQ(decode_utf8(text), (plain::step{0, 0x1F << 6 | 0x18, 3}));
    EXPECT_EQ(decode_utf8(text + 3), (plain::step{1, 0, 1}));
}

TEST(UTF8Decoder, AgreesWithThePlainFormOnEveryTwoBytesAndOnEdgeBytesBehindThem)
{
    for (unsigned int pair = 0; pair <= 0xFFFF; ++pair)
    {
        for (unsigned char third : edge_bytes)
        {
            unsigned char const text[] = {static_cast<unsigned char>(pair >> 8), static_cast<unsigned char>(pair),
                                          third, 0x80, 0};
            if (!(decode_utf8(text) == plain::decode_utf8(text)))
                ADD_FAILURE() << std::hex << pair << ' ' << static_cast<int>(third);
        }
    }
    for (unsigned int first = 0xE0; first <= 0xFF; ++first)
    {
        for (unsigned char second : edge_bytes)
        {
            for (unsigned char third : edge_bytes)
            {
                for (unsigned char fourth : edge_bytes)
                {
                    unsigned char const text[] = {static_cast<unsigned char>(first), second, third, fourth, 0};
                    if (!(decode_utf8(text) == plain::decode_utf8(text)))
                        ADD_FAILURE() << std::hex << first;
                }
            }
        }
    }
}

TEST(UTF8ToWide, MovesTheDestinationOnSuccessOnly)
{
    unsigned char const text[] = {0xE2, 0x82, 0xAC, 0xE2, 0x82, 0x41, 0x80, 0};
    unsigned char const* source = text;
    wchar_t buffer[3] = {1, 1, 1};
    wchar_t* destination = buffer;
    EXPECT_EQ(utf8_nqfW(destination, source), 1U);
    EXPECT_EQ(source - text, 3);
    EXPECT_EQ(destination - buffer, 1);
    EXPECT_EQ(buffer[0], 0x20AC);

    EXPECT_EQ(utf8_nqfW(destination, source), 0U);
    EXPECT_EQ(source - text, 5);
    EXPECT_EQ(destination - buffer, 1);
    EXPECT_EQ(buffer[1], 0x82);

    ++source;
    EXPECT_EQ(utf8_nqfW(destination, source), 0U);
    EXPECT_EQ(source - text, 6);
    EXPECT_EQ(destination - buffer, 1);
    EXPECT_EQ(buffer[1], 0);
    EXPECT_EQ(buffer[2], 1);
}

// ---- UTF-16 decoding ----

TEST(UTF16Decoder, TakesUnitsOutsideTheSurrogatesAsTheyAre)
{
    for (unsigned int unit = 0; unit <= 0xFFFF; ++unit)
    {
        if (unit >= 0xD800 && unit <= 0xDFFF)
            continue;
        unsigned short const text[] = {static_cast<unsigned short>(unit), 0xDC00};
        if (!(decode_utf16(text) == plain::step{1, unit, 1}))
            ADD_FAILURE() << unit;
    }
}

TEST(UTF16Decoder, APairIsOneOrZeroAndNotItsCharacter)
{
    unsigned short const face[] = {0xD83D, 0xDE00, 0};
    unsigned short const zero[] = {0xD800, 0xDC00, 0};
    unsigned short const low_bits_first[] = {0xD801, 0xDC00, 0};
    unsigned short const low_bits_second[] = {0xD800, 0xDC01, 0};
    EXPECT_EQ(decode_utf16(face), (plain::step{1, 1, 2}));
    EXPECT_EQ(decode_utf16(zero), (plain::step{1, 0, 2}));
    EXPECT_EQ(decode_utf16(low_bits_first), (plain::step{1, 1, 2}));
    EXPECT_EQ(decode_utf16(low_bits_second), (plain::step{1, 1, 2}));
}

TEST(UTF16Decoder, AnyUnitFromDBFFOnCompletesAPair)
{
    for (unsigned int second = 0; second <= 0xFFFF; ++second)
    {
        unsigned short const text[] = {0xD800, static_cast<unsigned short>(second), 0};
        plain::step const expected = second < 0xDBFF ? plain::step{0, 0, 0} : plain::step{1, second % 0x400 != 0, 2};
        if (!(decode_utf16(text) == expected))
            ADD_FAILURE() << second;
    }
    unsigned short const before[] = {0xD800, 0xDBFE};
    unsigned short const first_admitted[] = {0xD800, 0xDBFF};
    unsigned short const beyond[] = {0xD800, 0xE000};
    unsigned short const last[] = {0xD800, 0xFFFF};
    EXPECT_EQ(decode_utf16(before), (plain::step{0, 0, 0}));
    EXPECT_EQ(decode_utf16(first_admitted), (plain::step{1, 1, 2}));
    EXPECT_EQ(decode_utf16(beyond), (plain::step{1, 0, 2}));
    EXPECT_EQ(decode_utf16(last), (plain::step{1, 1, 2}));
}

TEST(UTF16Decoder, ARefusalTouchesNeitherSourceNorOutput)
{
    for (unsigned int first = 0xD800; first <= 0xDFFF; ++first)
    {
        unsigned short const text[] = {static_cast<unsigned short>(first), 0x41, 0};
        unsigned short const* source = text;
        unsigned int value = 0x1234;
        EXPECT_EQ(utf16_nqfW32(&value, source), 0U);
        EXPECT_EQ(source, text);
        EXPECT_EQ(value, 0x1234U);
    }
}

TEST(UTF16Decoder, AgreesWithThePlainFormOnAGridOfPairs)
{
    std::vector<unsigned int> units;
    for (unsigned int unit = 0; unit <= 0xFFFF; unit += 251)
        units.push_back(unit);
    for (unsigned int bound : {0x80U, 0x800U, 0xD800U, 0xDBFFU, 0xDC00U, 0xE000U, 0xE400U, 0xFFFEU})
        for (unsigned int unit = bound - 2; unit != bound + 2; ++unit)
            units.push_back(unit);
    for (unsigned int first : units)
    {
        for (unsigned int second : units)
        {
            unsigned short const text[] = {static_cast<unsigned short>(first), static_cast<unsigned short>(second)};
            if (!(decode_utf16(text) == plain::decode_utf16(text)))
                ADD_FAILURE() << std::hex << first << ' ' << second;
        }
    }
}

TEST(UTF16ToWide, StoresInThePlaceThatItDoesNotMove)
{
    unsigned short const text[] = {'a', 'b', 0xD83D, 0xDE00, 0xDC00, 0};
    unsigned short const* source = text;
    wchar_t buffer[2] = {7, 7};
    wchar_t* destination = buffer;
    EXPECT_EQ(utf16_nqfW(destination, source), 1U);
    EXPECT_EQ(buffer[0], L'a');
    EXPECT_EQ(utf16_nqfW(destination, source), 1U);
    EXPECT_EQ(buffer[0], L'b');
    EXPECT_EQ(utf16_nqfW(destination, source), 1U);
    EXPECT_EQ(buffer[0], 1);
    EXPECT_EQ(source - text, 4);
    EXPECT_EQ(utf16_nqfW(destination, source), 0U);
    EXPECT_EQ(source - text, 4);
    EXPECT_EQ(destination, buffer);
    EXPECT_EQ(buffer[0], 1);
    EXPECT_EQ(buffer[1], 7);
}

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
