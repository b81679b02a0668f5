// Lengths around those at which an encoder or decoder changes from many groups at once to single ones. Under
// AddressSanitizer these also show that it neither reads nor writes behind the bytes.
#include "text/encoders_support.h"

using namespace encoders;

namespace
{

template <class Form>
class EncoderBlocks : public Fixture<Form>
{
};

TYPED_TEST_SUITE(EncoderBlocks, Forms, FormNames);

TYPED_TEST(EncoderBlocks, text_of_any_length_is_that_of_the_plain_form)
{
    std::mt19937_64 engine(48);
    for (unsigned long size = 1; size < 400; ++size)
    {
        Bytes const bytes = random_bytes(engine, size);
        ASSERT_EQ(plain::encoded(this->form, bytes), encode<TypeParam>(bytes)) << size;
    }
}

TYPED_TEST(EncoderBlocks, bytes_of_any_characters_and_padding_are_those_of_the_plain_form)
{
    std::mt19937_64 engine(49);
    for (unsigned long groups = 1; groups < 70; ++groups)
    {
        for (unsigned long padding = 0; padding < this->form.bytes; ++padding)
        {
            std::wstring text(1, static_cast<wchar_t>((this->form.header & 0xFF00) | padding));
            for (unsigned long i = 0; i < 4 * groups; ++i)
                text += static_cast<wchar_t>(1 + engine() % (i % 3 == 0 ? 0xFFFFFFFEUL : 0x7EUL));
            ASSERT_EQ(plain::decoded(this->form, text), decode<TypeParam>(text)) << groups << " less " << padding;
        }
    }
}

} // namespace
