// Single characters out of UTF-8 and UTF-16.

#include "text/codecs_values.h"

#include <type_traits>
#include <vector>

namespace
{

using namespace codecs;

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

} // namespace
