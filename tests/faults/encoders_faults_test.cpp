// Bytes as text, and back.
#include "faults/FaultTest.h"
#include "text/encoders_support.h"

namespace
{

using namespace encoders;
using faults::fail_each_allocation;
using faults::fails;
using faults::Undisturbed;

class EncoderFaults : public faults::Silent
{
};

/// Bytes that nothing was made of yet, so that their text is not in the pool.
Bytes fresh_bytes()
{
    static unsigned char number = 0;
    Bytes bytes(40, 0x2D);
    bytes[0] = ++number;
    return bytes;
}

/// Makes an encoder by `make(bytes)`. Its text is there or null, the pool is whole, and a second encoder has the text.
template <class Form, class Make>
void expect_text_or_null(Make make)
{
    ASSERT_FALSE(CPPoolString(L"a pool that has held a string").isnull());
    EXPECT_GE(fail_each_allocation(
                  [&make](unsigned long nth)
                  {
                      Bytes bytes;
                      std::wstring expected;
                      {
                          Undisturbed const pause;
                          bytes = fresh_bytes();
                          expected = plain::encoded(Form::form(), bytes);
                      }
                      auto const encoder = make(bytes);
                      Undisturbed const pause;
                      CPPoolString const text(encoder);
                      EXPECT_EQ(CStringPool::Verify(), 1U);
                      // The first allocation is the record. Of the others, some only serve to find it.
                      EXPECT_TRUE(text.isnull() ? nth != 0 : !fails(nth));
                      EXPECT_TRUE(text.isnull() || text_of(text) == expected);
                      CPPoolString const again(make(bytes));
                      EXPECT_EQ(text_of(again), expected);
                      EXPECT_TRUE(text.isnull() || text == again);
                  }),
              2UL);
}

template <class Form>
void expect_texts_or_null()
{
    expect_text_or_null<Form>([](Bytes const& bytes) { return typename Form::Encoder(bytes.data(), bytes.size()); });
    expect_text_or_null<Form>(
        [](Bytes const& bytes)
        {
            CPPlainMemory memory;
            {
                Undisturbed const pause;
                EXPECT_EQ(memory.Alloc(bytes.size()), 1);
                std::copy(bytes.begin(), bytes.end(), static_cast<unsigned char*>(memory.get_ptr()));
            }
            return typename Form::Encoder(memory);
        });
}

/// Decodes `text` by each of the decoder's forms.
template <class Form>
void expect_bytes_or_nothing()
{
    using Decoder = typename Form::Decoder;
    Bytes const bytes = fresh_bytes();
    std::wstring const text = plain::encoded(Form::form(), bytes);
    CPPoolString const pooled(text.c_str());
    auto const check = [&bytes](Decoder const& decoder, bool failed)
    {
        CPPlainMemory const memory = decoder;
        EXPECT_EQ(memory.GetMemorySize(), failed ? 0UL : bytes.size());
        EXPECT_TRUE(failed ||
                    std::equal(bytes.begin(), bytes.end(), static_cast<unsigned char const*>(memory.get_cptr())));
    };
    EXPECT_EQ(fail_each_allocation([&](unsigned long nth) { check(Decoder(text.c_str()), fails(nth)); }), 1UL);
    EXPECT_EQ(fail_each_allocation([&](unsigned long nth) { check(Decoder(pooled), fails(nth)); }), 1UL);
    Decoder decoder(text.c_str());
    EXPECT_EQ(fail_each_allocation(
                  [&](unsigned long nth)
                  {
                      decoder._set(text.c_str(), text.size());
                      check(decoder, fails(nth));
                      Undisturbed const pause;
                      decoder._set(text.c_str(), text.size());
                      check(decoder, false);
                  }),
              1UL);
}

} // namespace

FAULT_TEST_F(EncoderFaults, ATextThatCannotBePooledIsNull, "String::C3FEncoder::C3FEncoder(void const*, unsigned long)",
             "String::C3FEncoder::C3FEncoder(Buffers::CPPlainMemory const&)",
             "String::C3FFFEncoder::C3FFFEncoder(void const*, unsigned long)",
             "String::C3FFFEncoder::C3FFFEncoder(Buffers::CPPlainMemory const&)")
{
    expect_texts_or_null<C3F>();
    expect_texts_or_null<C3FFF>();
}

FAULT_TEST_F(EncoderFaults, BytesThatCannotBeHadAreNone, "String::C3FDecoder::C3FDecoder(wchar_t const*)",
             "String::C3FDecoder::C3FDecoder(CPPoolString const&)",
             "String::C3FDecoder::_set(wchar_t const*, unsigned long)",
             "String::C3FFFDecoder::C3FFFDecoder(wchar_t const*)",
             "String::C3FFFDecoder::C3FFFDecoder(CPPoolString const&)",
             "String::C3FFFDecoder::_set(wchar_t const*, unsigned long)")
{
    expect_bytes_or_nothing<C3F>();
    expect_bytes_or_nothing<C3FFF>();
}
