#include "text/encoders_support.h"

#include <cstring>

namespace
{

using namespace encoders;

static_assert(sizeof(C3FDecoder) == sizeof(CPPlainMemory) && sizeof(C3FFFDecoder) == sizeof(CPPlainMemory));

template <class Form>
class Decoders : public Fixture<Form>
{
protected:
    /// A header of the form with the low byte `padding`, and then as many characters of value `fill`.
    std::wstring text(unsigned long padding, unsigned long characters, wchar_t fill = 0x4021) const
    {
        return std::wstring(1, static_cast<wchar_t>((this->form.header & 0xFF00) | padding)) +
               std::wstring(characters, fill);
    }
};
TYPED_TEST_SUITE(Decoders, Forms, FormNames);

TYPED_TEST(Decoders, OneByteComesBack)
{
    EXPECT_EQ(decode<TypeParam>(encode<TypeParam>({0x41})), Bytes{0x41});
}

TYPED_TEST(Decoders, NullTextIsRefused)
{
    typename TypeParam::Decoder decoder(static_cast<wchar_t const*>(nullptr));
    EXPECT_FALSE(CPPlainMemory(decoder));
    this->expect_refusal();
    for (unsigned long const length : {0UL, 1UL, 5UL})
    {
        decoder._set(nullptr, length);
        EXPECT_FALSE(CPPlainMemory(decoder));
        this->expect_refusal();
    }
}

TYPED_TEST(Decoders, EmptyTextIsRefused)
{
    EXPECT_EQ(decode<TypeParam>(L""), Bytes());
    this->expect_refusal();
    for (CPPoolString const& text : {CPPoolString::pnull, CPPoolString::pempty})
    {
        EXPECT_FALSE(CPPlainMemory(typename TypeParam::Decoder(text)));
        this->expect_refusal();
    }
}

TYPED_TEST(Decoders, ALengthThatIsNoWholeNumberOfGroupsBehindTheHeaderIsRefused)
{
    for (unsigned long characters = 0; characters < 20; ++characters)
    {
        Bytes const bytes = decode<TypeParam>(this->text(1, characters));
        if (characters % 4 == 0)
            EXPECT_EQ(bytes.size(), characters == 0 ? 0 : characters / 4 * this->form.bytes - 1);
        else
        {
            EXPECT_EQ(bytes, Bytes());
            this->expect_refusal();
        }
    }
}

TYPED_TEST(Decoders, EveryHeaderButThoseOfTheFormIsRefused)
{
    for (unsigned long header = 1; header < 0x10000; ++header)
    {
        std::wstring const text = std::wstring(1, static_cast<wchar_t>(header)) + std::wstring(4, 0x4021);
        bool const is_of_form =
            header >> 8 == this->form.header >> 8 && (header & 0xFF) <= (this->form.bytes == 3 ? 2 : 6);
        Bytes const bytes = decode<TypeParam>(text);
        ASSERT_EQ(bytes.size(), is_of_form ? this->form.bytes - (header & 0xFF) : 0) << header;
        ASSERT_EQ(this->recorder.count(), is_of_form ? 0U : 1U) << header;
        if (!is_of_form)
            this->expect_refusal();
    }
}

TYPED_TEST(Decoders, BitsOfTheHeaderAbove15AreNotLookedAt)
{
    std::wstring text = encode<TypeParam>({1, 2, 3, 4});
    text[0] = static_cast<wchar_t>(static_cast<unsigned int>(text[0]) | 0x7ABC0000U);
    EXPECT_EQ(decode<TypeParam>(text), (Bytes{1, 2, 3, 4}));
}

TYPED_TEST(Decoders, LengthsOfWholeGroupsAreRefusedAsTheirHeadersAre)
{
    for (unsigned long groups = 0; groups < 5; ++groups)
    {
        std::wstring const text = encode<TypeParam>(Bytes(groups * this->form.bytes, 0x11));
        EXPECT_EQ(static_cast<unsigned long>(text[0]), this->form.header);
        EXPECT_EQ(decode<TypeParam>(text), Bytes());
        this->expect_refusal();
    }
}

TYPED_TEST(Decoders, AHeaderWithoutPaddingGivesWholeGroups)
{
    Bytes const bytes = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 16, 17, 18, 19, 20, 21, 22, 23};
    std::wstring text = encode<TypeParam>(bytes);
    text[0] = static_cast<wchar_t>(this->form.header & 0xFF00);
    EXPECT_EQ(decode<TypeParam>(text), bytes);
}

TYPED_TEST(Decoders, AHeaderAloneGivesNothingUnreported)
{
    for (unsigned long padding = 0; padding < this->form.bytes; ++padding)
    {
        std::wstring const text = this->text(padding, 0);
        typename TypeParam::Decoder decoder(text.c_str());
        EXPECT_FALSE(CPPlainMemory(decoder));
        decoder._set(encode<TypeParam>({1}).c_str(), 5);
        EXPECT_TRUE(CPPlainMemory(decoder));
        decoder._set(text.c_str(), 1);
        EXPECT_FALSE(CPPlainMemory(decoder));
    }
}

TYPED_TEST(Decoders, PaddingTakesBytesOffTheEnd)
{
    for (unsigned long padding = 0; padding < this->form.bytes; ++padding)
    {
        Bytes expected = plain::decoded(this->form, this->text(0, 8));
        expected.resize(2 * this->form.bytes - padding);
        EXPECT_EQ(decode<TypeParam>(this->text(padding, 8)), expected);
    }
}

TYPED_TEST(Decoders, PooledTextIsDecodedByItsLength)
{
    Bytes const bytes = {0x80, 0x01, 0xFD, 0x00, 0x33};
    CPPoolString const text = typename TypeParam::Encoder(bytes.data(), bytes.size());
    EXPECT_EQ(bytes_of(typename TypeParam::Decoder(text)), bytes);
    // An encoder goes into a decoder as it is.
    EXPECT_EQ(bytes_of(typename TypeParam::Decoder(typename TypeParam::Encoder(bytes.data(), bytes.size()))), bytes);
}

TYPED_TEST(Decoders, SetDecodesAsManyCharactersAsItIsTold)
{
    Bytes const bytes = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    std::wstring const text = encode<TypeParam>(bytes);
    typename TypeParam::Decoder decoder(text.c_str());
    EXPECT_EQ(bytes_of(decoder), bytes);
    decoder._set(text.c_str(), 5);
    EXPECT_EQ(bytes_of(decoder), plain::decoded(this->form, text.substr(0, 5)));
    decoder._set(text.c_str(), text.size());
    EXPECT_EQ(bytes_of(decoder), bytes);
}

TYPED_TEST(Decoders, ARefusedTextLeavesNothingOfTheOneBefore)
{
    typename TypeParam::Decoder decoder(encode<TypeParam>({1, 2, 3, 4}).c_str());
    CPPlainMemory const before = decoder;
    decoder._set(L"?", 1);
    this->expect_refusal();
    EXPECT_FALSE(CPPlainMemory(decoder));
    EXPECT_EQ(bytes_of(before), (Bytes{1, 2, 3, 4}));
}

TYPED_TEST(Decoders, TheTextMayStandInTheBytesDecodedBefore)
{
    std::wstring const inner = encode<TypeParam>({0x41, 0x42});
    Bytes raw(inner.size() * sizeof(wchar_t));
    std::memcpy(raw.data(), inner.data(), raw.size());
    typename TypeParam::Decoder decoder(encode<TypeParam>(raw).c_str());
    ASSERT_EQ(bytes_of(decoder), raw);
    CPPlainMemory bytes = decoder;
    void const* const place = bytes.get_cptr();
    bytes.free();
    decoder._set(static_cast<wchar_t const*>(place), inner.size());
    EXPECT_EQ(bytes_of(decoder), (Bytes{0x41, 0x42}));
}

TYPED_TEST(Decoders, BytesAreOneCountedBlock)
{
    typename TypeParam::Decoder const decoder(encode<TypeParam>({1, 2, 3, 4}).c_str());
    CPPlainMemory const first = decoder;
    CPPlainMemory const second = decoder;
    EXPECT_TRUE(first == second);
    EXPECT_EQ(first.lockcnt(), 3U);
    EXPECT_TRUE(first.IsType(CPPlainMemory::GetTypeID()));
    EXPECT_EQ(first.GetSize(), 4U);
}

TYPED_TEST(Decoders, WithoutMemoryThereAreNoBytesAndNoReport)
{
    std::wstring const text = encode<TypeParam>({1, 2, 3, 4});
    typename TypeParam::Decoder decoder(text.c_str());
    {
        AllocationFailure const failure(1);
        decoder._set(text.c_str(), text.size());
        EXPECT_EQ(failure.failures(), 1U);
        EXPECT_EQ(failure.attempts(), 1U);
    }
    EXPECT_FALSE(CPPlainMemory(decoder));
    AllocationFailure const failure(1);
    EXPECT_FALSE(CPPlainMemory(typename TypeParam::Decoder(text.c_str())));
    EXPECT_EQ(failure.failures(), 1U);
}

TYPED_TEST(Decoders, ALengthThatNoMemoryHoldsDoesNotFail)
{
    // Of a text with that many characters only the header is looked at before the allocation fails.
    std::wstring const text = this->text(1, 4);
    AllocationFailure const failure(1, AllocationFailure::forever);
    typename TypeParam::Decoder decoder(text.c_str());
    decoder._set(text.c_str(), 0x4000000000000001UL);
    EXPECT_FALSE(CPPlainMemory(decoder));
}

TYPED_TEST(Decoders, EveryOtherLengthComesBack)
{
    std::mt19937_64 engine(32);
    for (unsigned long size = 0; size < 300; ++size)
    {
        Bytes const bytes = random_bytes(engine, size);
        Bytes const result = decode<TypeParam>(encode<TypeParam>(bytes));
        if (size % this->form.bytes == 0)
        {
            ASSERT_EQ(result, Bytes());
            this->expect_refusal();
        }
        else
            ASSERT_EQ(result, plain::returned(this->form, bytes));
    }
}

TYPED_TEST(Decoders, AllBytesInAllPlacesComeBack)
{
    for (unsigned long place = 0; place < this->form.bytes; ++place)
        for (unsigned int value = 0; value < 256; ++value)
        {
            Bytes bytes(this->form.bytes + 1, 0x5C);
            bytes[place] = static_cast<unsigned char>(value);
            ASSERT_EQ(decode<TypeParam>(encode<TypeParam>(bytes)), plain::returned(this->form, bytes));
        }
}

TYPED_TEST(Decoders, AllPairsOfNeighboursComeBack)
{
    for (unsigned long place = 0; place + 1 < this->form.bytes; ++place)
    {
        Bytes bytes(this->form.bytes * 65536 + 1, 0x66);
        for (unsigned long pair = 0; pair < 65536; ++pair)
        {
            bytes[pair * this->form.bytes + place] = static_cast<unsigned char>(pair);
            bytes[pair * this->form.bytes + place + 1] = static_cast<unsigned char>(pair >> 8);
        }
        ASSERT_TRUE(decode<TypeParam>(plain::encoded(this->form, bytes)) == plain::returned(this->form, bytes))
            << place;
    }
}

TYPED_TEST(Decoders, AnyCharactersGiveTheBytesOfTheTwin)
{
    std::mt19937_64 engine(33);
    for (int round = 0; round < 20000; ++round)
    {
        std::wstring text = this->text(engine() % this->form.bytes, 4 * (engine() % 4 + 1));
        for (unsigned long index = 1; index < text.size(); ++index)
            text[index] = static_cast<wchar_t>(static_cast<unsigned int>(engine()) >> (engine() % 32) | 1U);
        ASSERT_EQ(decode<TypeParam>(text), plain::decoded(this->form, text));
    }
}

TYPED_TEST(Decoders, AnyTextAtAllIsDecodedOrRefused)
{
    std::mt19937_64 engine(34);
    int decoded = 0;
    for (int round = 0; round < 20000; ++round)
    {
        std::wstring text(engine() % 12, L' ');
        for (wchar_t& character : text)
            character = static_cast<wchar_t>(this->form.header & 0xFF00) + static_cast<wchar_t>(engine() % 9);
        typename TypeParam::Decoder decoder(L"");
        this->recorder.clear();
        decoder._set(text.data(), text.size());
        if (this->recorder.take().empty())
        {
            ++decoded;
            ASSERT_EQ(bytes_of(decoder), plain::decoded(this->form, text));
        }
        else
            ASSERT_FALSE(CPPlainMemory(decoder));
    }
    EXPECT_GT(decoded, 1000);
}

TEST(C3FDecoder, FourBytesComeBackIfTheLowHalfOfTheSecondIsBelow14)
{
    for (unsigned int second = 0; second < 256; ++second)
    {
        Bytes const bytes = {0x41, static_cast<unsigned char>(second), 0xC7, 0xFF};
        Bytes expected = bytes;
        if (second % 16 >= 14)
            expected[1] = static_cast<unsigned char>(0xF0 | second);
        EXPECT_EQ(decode<C3F>(encode<C3F>(bytes)), expected) << second;
    }
}

TEST(C3FDecoder, SubtractionBelow33LeavesTheUpperBits)
{
    // By hand: the second character is 1, so 1 - 33 modulo 4096 is 0xFE0; the third is 0, so 0 - 33 is 0xFDF.
    wchar_t const text[] = {0x100, 33, 1, 33, 33};
    C3FDecoder decoder(L"");
    decoder._set(text, 5);
    EXPECT_EQ(bytes_of(decoder), (Bytes{0x00, 0xFE, 0x00}));
    wchar_t const zero[] = {0x100, 33, 33, 0, 33};
    decoder._set(zero, 5);
    EXPECT_EQ(bytes_of(decoder), (Bytes{0x00, 0xF0, 0xFD}));
}

TEST(C3FFFDecoder, EightBytesComeBackExactlyAndSevenDoNot)
{
    Bytes bytes = {0xFF, 0xEE, 0xDD, 0xCC, 0xBB, 0xAA, 0x99, 0x88};
    EXPECT_EQ(decode<C3FFF>(encode<C3FFF>(bytes)), bytes);
    bytes.pop_back();
    EXPECT_EQ(decode<C3FFF>(encode<C3FFF>(bytes)), Bytes());
}

TEST(C3FFFDecoder, OfEachCharacterTheLow14BitsAreTaken)
{
    Bytes const bytes = {1, 2, 3, 4, 5, 6, 7, 8};
    std::wstring text = encode<C3FFF>(bytes);
    for (unsigned long index = 1; index < text.size(); ++index)
        text[index] = static_cast<wchar_t>((static_cast<unsigned int>(text[index]) & 0x3FFF) | 0x12348000U);
    EXPECT_EQ(decode<C3FFF>(text), bytes);
}

} // namespace
