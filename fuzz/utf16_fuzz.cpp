// UTF-16: measuring and converting agree with each other and with the plain walk, with any limit.
#include "fuzz/harness.h"

#include "ORVA/String/Codecs.h"

#include "reference/plain_codecs.h"

using namespace ORVA::String;

namespace
{

using fuzz::Guarded;
using Units = std::vector<unsigned short>;

void check_lengths(unsigned short const* source, unsigned long limit, unsigned short const* twin_source)
{
    unsigned long const length = UTF16wstrlen(source, limit);
    REQUIRE(length == plain::utf16_characters(twin_source, limit));
    REQUIRE(UTF16w32strlen(source, limit) == length);
    REQUIRE(UTF16u8strlen(source, limit) == plain::utf16_to_utf8_bytes(twin_source, limit));
}

// Reads characters up to the first refusal; what was measured has room for all of them.
void check_characters(unsigned short const* source)
{
    unsigned long const measured = UTF16u8strlen(source, fuzz::no_limit);
    Guarded<unsigned char> bytes(measured + 1);
    unsigned char* byte_at = bytes.get();
    for (;;)
    {
        plain::step const expected = plain::decode_utf16(source);
        unsigned int value = 77;
        unsigned short const* at = source;
        REQUIRE(utf16_nqfW32(&value, at) == expected.result && at == source + expected.units);
        REQUIRE(value == (expected.result == 0 ? 77 : expected.value));
        REQUIRE(UTF16Len(*source) == (expected.result == 1 ? expected.units : *source < 0xDC00 ? 2U : 0U));

        Guarded<wchar_t> wide(1);
        wchar_t* const place = wide.get();
        wchar_t* wide_at = place;
        at = source;
        REQUIRE(utf16_nqfW(wide_at, at) == expected.result && at == source + expected.units && wide_at == place);
        REQUIRE(expected.result == 0 ? wide.is_untouched() : static_cast<unsigned int>(*place) == expected.value);
        REQUIRE(wide.is_intact());

        if (expected.result == 0 || *source == 0)
            break;
        unsigned char twin[4];
        unsigned int const count = plain::encode_utf8(twin, expected.value);
        unsigned char* const before = byte_at;
        REQUIRE(utf16_utf8(byte_at, source) == 1 && source == at && byte_at == before + count);
        REQUIRE(std::equal(before, byte_at, twin));
        REQUIRE(bytes.is_intact());
    }
    REQUIRE(byte_at == bytes.get() + measured);
}

void check_sync(unsigned short const* source)
{
    unsigned short const* at = source;
    UTF16Sync(at);
    for (; source != at; ++source)
        REQUIRE(*source >= 0xDC00 && *source <= 0xDFFF);
    REQUIRE(*at < 0xDC00 || *at > 0xDFFF);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Input input(data, size);
    unsigned long const limit = input.number(2);
    Units const text = input.units<unsigned short>();

    // The plain walk looks a little beyond its limit.
    Units slack = text;
    slack.resize(text.size() + 4);
    fuzz::Exact<unsigned short> const unterminated(text);
    fuzz::Exact<unsigned short> const whole = fuzz::terminated<unsigned short>(text);
    check_lengths(unterminated, std::min(limit, text.size()), slack.data());
    for (unsigned long const far_limit : {limit, fuzz::no_limit, fuzz::no_limit / 2 + limit})
        check_lengths(whole, far_limit, slack.data());
    check_characters(whole);
    check_sync(whole);
    return 0;
}
