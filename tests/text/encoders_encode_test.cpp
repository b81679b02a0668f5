#include "text/encoders_support.h"

namespace
{

using namespace encoders;

static_assert(sizeof(C3FEncoder) == 32 && sizeof(C3FFFEncoder) == 32);
static_assert(std::is_base_of_v<IStringSubmitter, C3FEncoder> && std::is_base_of_v<IStringSubmitter, C3FFFEncoder>);

template <class Form>
class Encoders : public Fixture<Form>
{
};
TYPED_TEST_SUITE(Encoders, Forms, FormNames);

TEST(C3FEncoder, OneByteIsAHeaderAndFourCharacters)
{
    EXPECT_EQ(encode<C3F>({0x41}), (std::wstring{0x102, 34, 34, 33, 33}));
}

TEST(C3FEncoder, FieldsOfAGroupAreThese)
{
    EXPECT_EQ(encode<C3F>({0, 0, 0}), (std::wstring{0x103, 33, 33, 33, 33}));
    EXPECT_EQ(encode<C3F>({0x3F, 0, 0}), (std::wstring{0x103, 96, 33, 33, 33}));
    EXPECT_EQ(encode<C3F>({0xC0, 0, 0}), (std::wstring{0x103, 33, 36, 33, 33}));
    EXPECT_EQ(encode<C3F>({0, 0x0D, 0}), (std::wstring{0x103, 33, 241, 33, 33}));
    EXPECT_EQ(encode<C3F>({0, 0xF0, 0}), (std::wstring{0x103, 33, 33, 48, 33}));
    EXPECT_EQ(encode<C3F>({0, 0, 0x03}), (std::wstring{0x103, 33, 33, 81, 33}));
    EXPECT_EQ(encode<C3F>({0, 0, 0xFC}), (std::wstring{0x103, 33, 33, 33, 96}));
    EXPECT_EQ(encode<C3F>({0x12, 0x34, 0x56}), (std::wstring{0x103, 51, 97, 68, 54}));
}

TEST(C3FEncoder, SecondCharacterWrapsAtEightBits)
{
    EXPECT_EQ(encode<C3F>({0, 0x0E, 0}), (std::wstring{0x103, 33, 1, 33, 33}));
    EXPECT_EQ(encode<C3F>({0, 0x0F, 0}), (std::wstring{0x103, 33, 17, 33, 33}));
    EXPECT_EQ(encode<C3F>({0xFF, 0xFF, 0xFF}), (std::wstring{0x103, 96, 20, 96, 96}));
}

TEST(C3FEncoder, LastGroupIsPaddedWithZeros)
{
    EXPECT_EQ(encode<C3F>({0xFF}), (std::wstring{0x102, 96, 36, 33, 33}));
    EXPECT_EQ(encode<C3F>({0xFF, 0xAA}), (std::wstring{0x101, 96, 196, 43, 33}));
    EXPECT_EQ(encode<C3F>({0, 0, 0, 0xFF}), (std::wstring{0x102, 33, 33, 33, 33, 96, 36, 33, 33}));
}

TEST(C3FFFEncoder, FieldsOfAGroupAreThese)
{
    auto const group = [](wchar_t c0, wchar_t c1, wchar_t c2, wchar_t c3) {
        return std::wstring{0x307, c0, c1, c2, c3};
    };
    EXPECT_EQ(encode<C3FFF>({0, 0, 0, 0, 0, 0, 0}), group(0x4000, 0x4000, 0x4000, 0x4000));
    EXPECT_EQ(encode<C3FFF>({0xFF, 0, 0, 0, 0, 0, 0}), group(0x40FF, 0x4000, 0x4000, 0x4000));
    EXPECT_EQ(encode<C3FFF>({0, 0xFF, 0, 0, 0, 0, 0}), group(0x7F00, 0x4003, 0x4000, 0x4000));
    EXPECT_EQ(encode<C3FFF>({0, 0, 0xFF, 0, 0, 0, 0}), group(0x4000, 0x43FC, 0x4000, 0x4000));
    EXPECT_EQ(encode<C3FFF>({0, 0, 0, 0xFF, 0, 0, 0}), group(0x4000, 0x7C00, 0x400F, 0x4000));
    EXPECT_EQ(encode<C3FFF>({0, 0, 0, 0, 0xFF, 0, 0}), group(0x4000, 0x4000, 0x4FF0, 0x4000));
    EXPECT_EQ(encode<C3FFF>({0, 0, 0, 0, 0, 0xFF, 0}), group(0x4000, 0x4000, 0x7000, 0x403F));
    EXPECT_EQ(encode<C3FFF>({0, 0, 0, 0, 0, 0, 0xFF}), group(0x4000, 0x4000, 0x4000, 0x7FC0));
    EXPECT_EQ(encode<C3FFF>({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}), group(0x7FFF, 0x7FFF, 0x7FFF, 0x7FFF));
    EXPECT_EQ(encode<C3FFF>({0x12}), (std::wstring{0x306, 0x4012, 0x4000, 0x4000, 0x4000}));
}

TYPED_TEST(Encoders, HeaderHoldsTheRemainder)
{
    Bytes bytes;
    for (unsigned long size = 0; size < 30; ++size)
    {
        std::wstring const text = encode<TypeParam>(bytes);
        EXPECT_EQ(static_cast<unsigned long>(text[0]), (size % this->form.bytes) ^ this->form.header);
        EXPECT_EQ(text.size(), 1 + 4 * ((size + this->form.bytes - 1) / this->form.bytes));
        bytes.push_back(0xA5);
    }
}

TYPED_TEST(Encoders, NoBytesAreAHeaderAlone)
{
    std::wstring const header(1, static_cast<wchar_t>(this->form.header));
    EXPECT_EQ(text_of(typename TypeParam::Encoder(nullptr, 0)), header);
    EXPECT_EQ(text_of(typename TypeParam::Encoder(CPPlainMemory())), header);
    EXPECT_EQ(text_of(typename TypeParam::Encoder("x", 0)), header);
}

TYPED_TEST(Encoders, ABlockIsEncodedAsItsBytes)
{
    Bytes const bytes = {0xDE, 0xAD, 0xBE, 0xEF, 0x00, 0x80, 0x7F, 0x01, 0xFE};
    CPPlainMemory const block = block_of(bytes);
    typename TypeParam::Encoder const encoder(block);
    EXPECT_EQ(text_of(encoder), plain::encoded(this->form, bytes));
    EXPECT_EQ(block.lockcnt(), 1U) << "the block is not kept";
    EXPECT_EQ(bytes_of(block), bytes);
}

TYPED_TEST(Encoders, OfABlockOnlyTheBytesInUseAreEncoded)
{
    CPPlainMemory block = block_of({1, 2, 3, 4, 5, 6, 7, 8, 9});
    ASSERT_EQ(block.Resize(5), 1);
    ASSERT_GT(block.GetAllocSize(), 5U);
    EXPECT_EQ(text_of(typename TypeParam::Encoder(block)), plain::encoded(this->form, {1, 2, 3, 4, 5}));
}

TYPED_TEST(Encoders, TextIsPooled)
{
    Bytes const bytes = {1, 2, 3, 4, 5};
    typename TypeParam::Encoder const encoder(bytes.data(), bytes.size());
    CPPoolString const text = encoder;
    EXPECT_TRUE(text.isdef());
    EXPECT_TRUE(text == CPPoolString(CStringPool::QueryStringRef(plain::encoded(this->form, bytes).c_str())));
    CPPoolString const same = typename TypeParam::Encoder(bytes.data(), bytes.size());
    EXPECT_TRUE(text == same);
    CPPoolString const other = typename TypeParam::Encoder(bytes.data(), 4);
    EXPECT_FALSE(text == other);
    EXPECT_EQ(text.Verify(), 1U);
}

TYPED_TEST(Encoders, InputIsUsedUpByTheConstruction)
{
    Bytes const bytes(50, 0x5A);
    typename TypeParam::Encoder encoder(bytes.data(), bytes.size());
    std::wstring const text = text_of(encoder);
    EXPECT_EQ(encoder.GetStringLen(), 5U);
    wchar_t buffer[] = {L'x', L'x', L'x'};
    EXPECT_EQ(encoder.GetString(buffer), 1U);
    EXPECT_EQ(static_cast<unsigned long>(buffer[0]), this->form.header);
    EXPECT_EQ(buffer[1], L'\0');
    EXPECT_EQ(buffer[2], L'x');
    EXPECT_EQ(text_of(encoder), text);
}

TYPED_TEST(Encoders, PositionIsBehindTheInputOnceItIsUsedUp)
{
    struct Look : TypeParam::Encoder
    {
        using TypeParam::Encoder::Encoder;
        using TypeParam::Encoder::m_count;
        using TypeParam::Encoder::m_input;
    };
    for (unsigned long size = 0; size < 20; ++size)
    {
        Bytes const bytes(size, 0x77);
        Look const encoder(bytes.data(), size);
        EXPECT_EQ(encoder.m_input, bytes.data() + size);
        EXPECT_EQ(encoder.m_count, 0U);
    }
}

TYPED_TEST(Encoders, HoldsTextThenInputThenCount)
{
    struct Look : TypeParam::Encoder
    {
        using TypeParam::Encoder::Encoder;
        static unsigned long place(Look const& look, void const* member)
        {
            return static_cast<unsigned long>(static_cast<char const*>(member) - reinterpret_cast<char const*>(&look));
        }
        void expect_layout() const
        {
            EXPECT_EQ(place(*this, &this->m_text), sizeof(void*));
            EXPECT_EQ(place(*this, &this->m_input), 2 * sizeof(void*));
            EXPECT_EQ(place(*this, &this->m_count), 3 * sizeof(void*));
        }
    };
    Look("x", 1).expect_layout();
}

TYPED_TEST(Encoders, LengthIsAnUpperBoundOfTheInputThatIsLeft)
{
    for (unsigned long size = 0; size < 60; ++size)
    {
        Bytes const bytes(size, 0xC3);
        AllocationFailure const failure(1, AllocationFailure::forever);
        typename TypeParam::Encoder encoder(bytes.data(), size);
        EXPECT_EQ(encoder.GetStringLen(), size / this->form.bytes * 4 + 5) << size;
        EXPECT_EQ(encoder.GetStringLen() - plain::encoded(this->form, bytes).size(),
                  size % this->form.bytes == 0 ? 4 : 0)
            << "it counts a last group, whether there is one or not";
    }
}

TYPED_TEST(Encoders, WithoutMemoryTheTextIsNullAndTheInputIsLeft)
{
    Bytes const bytes = {9, 8, 7, 6, 5, 4, 3, 2};
    AllocationFailure const failure(1, AllocationFailure::forever);
    typename TypeParam::Encoder encoder(bytes.data(), bytes.size());
    EXPECT_TRUE(CPPoolString(encoder).isnull());
    EXPECT_GT(failure.failures(), 0U);
    std::vector<wchar_t> buffer(encoder.GetStringLen() + 1, L'x');
    EXPECT_EQ(encoder.GetString(buffer.data()), 1U);
    EXPECT_EQ(std::wstring(buffer.data()), plain::encoded(this->form, bytes));
    EXPECT_EQ(encoder.GetStringLen(), 5U);
    EXPECT_TRUE(CPPoolString(encoder).isnull());
}

TYPED_TEST(Encoders, AnySingleAllocationMayFail)
{
    Bytes bytes(40, 0x2D);
    unsigned long const allocations = support::for_each_allocation(
        AllocationFailure::once,
        [&](unsigned long nth)
        {
            bytes[0] = static_cast<unsigned char>(nth);
            CPPoolString const text = typename TypeParam::Encoder(bytes.data(), bytes.size());
            EXPECT_TRUE(nth != 1 || text.isnull()) << "the record itself";
            EXPECT_TRUE(text.isnull() || text_of(text) == plain::encoded(this->form, bytes)) << nth;
        });
    EXPECT_GE(allocations, 1U);
    EXPECT_EQ(encode<TypeParam>(bytes), plain::encoded(this->form, bytes));
}

TYPED_TEST(Encoders, ACopyHasTheText)
{
    Bytes const bytes = {1, 2, 3, 4};
    typename TypeParam::Encoder const encoder(bytes.data(), bytes.size());
    typename TypeParam::Encoder copy(encoder);
    EXPECT_TRUE(CPPoolString(copy) == CPPoolString(encoder));
    EXPECT_EQ(copy.GetStringLen(), 5U);
}

TYPED_TEST(Encoders, AllTextsOfOneAndTwoBytesAreThoseOfTheTwin)
{
    for (unsigned int first = 0; first < 256; ++first)
    {
        Bytes bytes(1, static_cast<unsigned char>(first));
        ASSERT_EQ(encode<TypeParam>(bytes), plain::encoded(this->form, bytes));
        for (unsigned int second = first % 7; second < 256; second += 7)
        {
            bytes.resize(1);
            bytes.push_back(static_cast<unsigned char>(second));
            ASSERT_EQ(encode<TypeParam>(bytes), plain::encoded(this->form, bytes));
        }
    }
}

TYPED_TEST(Encoders, AllPairsOfNeighboursAreThoseOfTheTwin)
{
    for (unsigned long place = 0; place + 1 < this->form.bytes; ++place)
    {
        Bytes bytes(this->form.bytes * 65536, 0x99);
        for (unsigned long pair = 0; pair < 65536; ++pair)
        {
            bytes[pair * this->form.bytes + place] = static_cast<unsigned char>(pair);
            bytes[pair * this->form.bytes + place + 1] = static_cast<unsigned char>(pair >> 8);
        }
        ASSERT_TRUE(encode<TypeParam>(bytes) == plain::encoded(this->form, bytes)) << place;
    }
}

TYPED_TEST(Encoders, AllLengthsAreThoseOfTheTwinAndInTheRangeOfTheForm)
{
    std::mt19937_64 engine(31);
    for (unsigned long size = 0; size < 300; ++size)
    {
        Bytes const bytes = random_bytes(engine, size);
        std::wstring const text = encode<TypeParam>(bytes);
        ASSERT_EQ(text, plain::encoded(this->form, bytes));
        for (unsigned long index = 1; index < text.size(); ++index)
        {
            ASSERT_NE(text[index], L'\0');
            if (this->form.bytes == 7)
            {
                ASSERT_GE(text[index], 0x4000);
                ASSERT_LE(text[index], 0x7FFF);
            }
            else if (index % 4 != 2)
            {
                ASSERT_GE(text[index], 33);
                ASSERT_LE(text[index], 96);
            }
        }
    }
}

} // namespace
