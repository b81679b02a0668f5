#include "ORVA/Buffers/MachineCRC.h"

#include "crc_kernels.h"
#include "crc_tables.h"
#include "reference/plain_crc.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace
{

using ORVA::Buffers::CMachineCRC;
namespace crc64 = ORVA::Buffers::crc64;
using reference::plain_crc;

constexpr unsigned long library_polynomial = 0x42f0e1eba9ea3693UL;
constexpr char digits[] = "123456789";

// Sees the fields, and can spoil them.
class OpenCRC : public CMachineCRC
{
public:
    using CMachineCRC::aTable;
    using CMachineCRC::CMachineCRC;
    using CMachineCRC::uMask;
    using CMachineCRC::uShift;

    unsigned long offset_of(void const* field) const
    {
        return static_cast<unsigned long>(static_cast<char const*>(field) - reinterpret_cast<char const*>(this));
    }
};

std::vector<unsigned char> random_bytes(unsigned long length, unsigned int seed)
{
    std::mt19937 random(seed);
    std::vector<unsigned char> bytes(length);
    for (unsigned char& byte : bytes)
        byte = static_cast<unsigned char>(random());
    return bytes;
}

unsigned long evaluate_text(CMachineCRC const& crc, char const* text, unsigned long start)
{
    return crc.Eval(text, std::strlen(text), start);
}

static_assert(std::is_same_v<decltype(&CMachineCRC::Eval),
                             unsigned long (CMachineCRC::*)(void const*, unsigned long, unsigned long) const>);
static_assert(std::is_constructible_v<CMachineCRC, unsigned int, unsigned long>);
static_assert(!std::is_default_constructible_v<CMachineCRC>);

TEST(MachineCRC, FieldsStandInOrderInAPlainValueOf2064Bytes)
{
    OpenCRC const crc(64, library_polynomial);
    EXPECT_EQ(crc.offset_of(&crc.uShift), 0U);
    EXPECT_EQ(crc.offset_of(&crc.uMask), 8U);
    EXPECT_EQ(crc.offset_of(crc.aTable), 16U);
    EXPECT_EQ(sizeof crc.uShift, 4U);
    EXPECT_EQ(sizeof crc.uMask, 8U);
    EXPECT_EQ(sizeof crc.aTable, 256U * 8U);
    EXPECT_EQ(sizeof(CMachineCRC), 2064U);
    EXPECT_FALSE(std::is_polymorphic_v<CMachineCRC>);
    EXPECT_TRUE(std::is_trivially_destructible_v<CMachineCRC>);
    EXPECT_TRUE(std::is_trivially_copyable_v<CMachineCRC>);
}

TEST(MachineCRC, ShiftIsWidthMinusEightAndMaskTheLowBitsOfTheWidth)
{
    for (unsigned int width = 8; width <= 64; ++width)
    {
        OpenCRC const crc(width, 0x07);
        EXPECT_EQ(crc.uShift, width - 8);
        EXPECT_EQ(crc.uMask, ~0UL >> (64 - width));
    }
}

TEST(MachineCRC, TableEntryIsTheRegisterAfterTheByteFromZeroForEveryWidth)
{
    for (unsigned int width = 9; width <= 64; ++width)
    {
        // The polynomial has bits above most widths; none of them shows.
        OpenCRC const crc(width, library_polynomial);
        EXPECT_EQ(crc.aTable[0], 0U);
        for (unsigned int i = 1; i < 256; ++i)
        {
            unsigned char const byte = static_cast<unsigned char>(i);
            ASSERT_EQ(crc.aTable[i], plain_crc(width, library_polynomial, &byte, 1, 0)) << width << " " << i;
        }
    }
}

TEST(MachineCRC, WidthOfEightBuildsTheTableButReturnsTheStartValue)
{
    OpenCRC const crc(8, 0x07);
    EXPECT_EQ(crc.uShift, 0U);
    EXPECT_EQ(crc.uMask, 0xFFU);
    EXPECT_EQ(crc.aTable[0], 0U);
    EXPECT_EQ(crc.aTable[1], 0x07U);
    EXPECT_EQ(crc.aTable[2], 0x0EU);
    EXPECT_EQ(crc.aTable[0xFF], 0xF3U);
    EXPECT_EQ(crc.Eval(digits, 9, 0), 0U);
    EXPECT_EQ(crc.Eval(digits, 9, 0x123456789ABCDEF0UL), 0x123456789ABCDEF0UL);
    EXPECT_EQ(crc.Eval(digits, 0, ~0UL), ~0UL);
}

TEST(MachineCRC, WidthOutsideTheRangeGivesAClearedInstanceThatReturnsTheStartValue)
{
    for (unsigned int width : {0U, 1U, 7U, 65U, 72U, 0xFFFFFFFFU})
    {
        alignas(OpenCRC) unsigned char memory[sizeof(OpenCRC)];
        std::memset(memory, 0xA5, sizeof memory);
        OpenCRC const& crc = *new (memory) OpenCRC(width, library_polynomial);
        EXPECT_EQ(crc.uShift, 0U);
        EXPECT_EQ(crc.uMask, 0U);
        for (unsigned long entry : crc.aTable)
            EXPECT_EQ(entry, 0U);
        EXPECT_EQ(crc.Eval(digits, 9, 0xFEDCBA9876543210UL), 0xFEDCBA9876543210UL);
        EXPECT_EQ(crc.Eval(digits, 0, 77), 77U);
    }
}

TEST(MachineCRC, DigitsOneToNineGiveTheCheckValueOfTheLibrarysParameters)
{
    CMachineCRC const crc(64, library_polynomial);
    EXPECT_EQ(crc.Eval(digits, 9, 0), 0x6C40DF5F0B497347UL);
}

TEST(MachineCRC, DigitsOneToNineGiveTheCheckValuesOfOtherUnreflectedParameters)
{
    EXPECT_EQ(evaluate_text(CMachineCRC(16, 0x1021), digits, 0), 0x31C3U);
    EXPECT_EQ(evaluate_text(CMachineCRC(16, 0x1021), digits, 0xFFFF), 0x29B1U);
    EXPECT_EQ(evaluate_text(CMachineCRC(24, 0x864CFB), digits, 0xB704CE), 0x21CF02U);
    EXPECT_EQ(evaluate_text(CMachineCRC(32, 0x04C11DB7), digits, 0xFFFFFFFF), 0x0376E6E7U);
}

TEST(MachineCRC, LengthOfZeroMasksTheStartValueAndReadsNothing)
{
    EXPECT_EQ(CMachineCRC(64, library_polynomial).Eval(nullptr, 0, ~0UL), ~0UL);
    EXPECT_EQ(CMachineCRC(64, library_polynomial).Eval(nullptr, 0, 0), 0U);
    EXPECT_EQ(CMachineCRC(32, 0x04C11DB7).Eval(nullptr, 0, ~0UL), 0xFFFFFFFFUL);
    EXPECT_EQ(CMachineCRC(9, 0x1D).Eval(nullptr, 0, 0xABCDUL), 0x1CDUL);
}

TEST(MachineCRC, BitsOfTheStartValueAboveTheWidthDoNotCount)
{
    for (unsigned int width : {9U, 12U, 16U, 31U, 32U, 40U, 63U})
    {
        CMachineCRC const crc(width, library_polynomial);
        for (unsigned long length : {1UL, 2UL, 5UL, 9UL})
            EXPECT_EQ(crc.Eval(digits, length, 0x5A | ~0UL << width), crc.Eval(digits, length, 0x5A));
    }
}

TEST(MachineCRC, MaskAppliesToTheResultOfTheFastParametersToo)
{
    OpenCRC crc(64, library_polynomial);
    crc.uMask = 0xFFFF;
    EXPECT_EQ(crc.Eval(digits, 9, 0), 0x7347U);
}

TEST(MachineCRC, ZeroesBeforeTheInputDoNotCountFromAStartValueOfZero)
{
    CMachineCRC const crc(64, library_polynomial);
    unsigned char const padded[12] = {0, 0, 0, '1', '2', '3', '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(crc.Eval(padded, 12, 0), 0x6C40DF5F0B497347UL);
}

TEST(MachineCRC, InputInPiecesGivesTheResultOfOneCallAtEveryCut)
{
    std::vector<unsigned char> const bytes = random_bytes(300, 1);
    for (auto [width, polynomial] : {std::pair{64U, library_polynomial}, {64U, 0x1BUL}, {32U, 0x04C11DB7UL}})
    {
        CMachineCRC const crc(width, polynomial);
        unsigned long const whole = crc.Eval(bytes.data(), bytes.size(), 0);
        for (unsigned long cut = 0; cut <= bytes.size(); ++cut)
        {
            unsigned long const first = crc.Eval(bytes.data(), cut, 0);
            ASSERT_EQ(crc.Eval(bytes.data() + cut, bytes.size() - cut, first), whole) << cut;
        }
    }
}

TEST(MachineCRC, EveryWidthAgreesWithTheBitwiseTwin)
{
    std::mt19937_64 random(2);
    std::vector<unsigned char> const bytes = random_bytes(64, 3);
    for (unsigned int width = 9; width <= 64; ++width)
    {
        for (int i = 0; i < 10; ++i)
        {
            unsigned long const polynomial = random();
            unsigned long const start = random();
            CMachineCRC const crc(width, polynomial);
            unsigned long const length = random() % 65;
            ASSERT_EQ(crc.Eval(bytes.data(), length, start), plain_crc(width, polynomial, bytes.data(), length, start))
                << width << " " << polynomial << " " << length;
        }
    }
}

TEST(MachineCRC, CopyEvaluatesAlike)
{
    CMachineCRC const crc(64, library_polynomial);
    CMachineCRC const copy = crc; // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(copy.Eval(digits, 9, 5), crc.Eval(digits, 9, 5));
}

TEST(MachineCRCKernels, SlicedIsAlwaysThereAndTheBestOneIsAmongThem)
{
    crc64::Kernels const kernels = crc64::available_kernels();
    ASSERT_GE(kernels.count, 1U);
    EXPECT_STREQ(kernels.entry[0].name, "sliced");
    EXPECT_EQ(kernels.count == 2, crc64::has_carryless());
    EXPECT_EQ(crc64::best_evaluate(), kernels.entry[kernels.count - 1].evaluate);
    EXPECT_EQ(crc64::best_evaluate(), kernels.entry[kernels.count - 1].evaluate);
}

TEST(MachineCRCKernels, AgreeWithTheBitwiseTwinAtEveryLengthAndAlignment)
{
    std::mt19937_64 random(4);
    std::vector<unsigned char> const source = random_bytes(700, 5);
    crc64::Kernels const kernels = crc64::available_kernels();
    for (unsigned int k = 0; k < kernels.count; ++k)
    {
        for (unsigned long length = 0; length <= 300; ++length)
        {
            unsigned long const start = length % 3 == 0 ? 0 : random();
            // A block of its own for each, so that a sanitizer sees every read outside.
            std::vector<unsigned char> const bytes(source.begin(), source.begin() + static_cast<long>(length));
            ASSERT_EQ(kernels.entry[k].evaluate(bytes.data(), length, start),
                      plain_crc(64, library_polynomial, bytes.data(), length, start))
                << kernels.entry[k].name << " " << length;
            unsigned long const offset = length % 17;
            ASSERT_EQ(kernels.entry[k].evaluate(source.data() + offset, length, start),
                      plain_crc(64, library_polynomial, source.data() + offset, length, start))
                << kernels.entry[k].name << " " << length << " " << offset;
        }
    }
}

TEST(MachineCRCKernels, AgreeWithTheBitwiseTwinOnLongInput)
{
    std::vector<unsigned char> const bytes = random_bytes(5000, 6);
    crc64::Kernels const kernels = crc64::available_kernels();
    for (unsigned int k = 0; k < kernels.count; ++k)
    {
        for (unsigned long length : {511UL, 512UL, 513UL, 1024UL, 4095UL, 4096UL, 4097UL, 5000UL})
        {
            EXPECT_EQ(kernels.entry[k].evaluate(bytes.data(), length, 0x0123456789ABCDEFUL),
                      plain_crc(64, library_polynomial, bytes.data(), length, 0x0123456789ABCDEFUL))
                << kernels.entry[k].name << " " << length;
        }
    }
}

TEST(MachineCRCKernels, AgreeWithTheBitwiseTwinOnSingleBits)
{
    crc64::Kernels const kernels = crc64::available_kernels();
    for (unsigned int k = 0; k < kernels.count; ++k)
    {
        for (unsigned long bit = 0; bit < 8 * 40; ++bit)
        {
            unsigned char bytes[40] = {};
            bytes[bit / 8] = static_cast<unsigned char>(1U << bit % 8);
            ASSERT_EQ(kernels.entry[k].evaluate(bytes, sizeof bytes, 0),
                      plain_crc(64, library_polynomial, bytes, sizeof bytes, 0))
                << kernels.entry[k].name << " " << bit;
        }
    }
}

TEST(MachineCRCTables, SlicesAreTheRegisterAfterTheByteAndZeroes)
{
    for (unsigned int k = 0; k < 8; ++k)
    {
        for (unsigned int i = 0; i < 256; ++i)
        {
            unsigned char const bytes[32] = {static_cast<unsigned char>(i)};
            ASSERT_EQ(crc64::slicing.entry[k][i], plain_crc(64, library_polynomial, bytes, k + 1, 0));
            ASSERT_EQ(crc64::skipping.entry[k][i], plain_crc(64, library_polynomial, bytes, k + 25, 0));
        }
    }
}

TEST(MachineCRCTables, PowersOfXAreTheRegisterAfterASingleBit)
{
    static_assert(crc64::power_of_x(64) == library_polynomial);
    unsigned char const one[17] = {1};
    EXPECT_EQ(crc64::power_of_x(64), plain_crc(64, library_polynomial, one, 1, 0));
    EXPECT_EQ(crc64::power_of_x(128), plain_crc(64, library_polynomial, one, 9, 0));
    EXPECT_EQ(crc64::power_of_x(192), plain_crc(64, library_polynomial, one, 17, 0));
}

} // namespace
