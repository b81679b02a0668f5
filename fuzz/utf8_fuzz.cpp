// UTF-8: measuring and converting agree with each other and with the plain walk, with any limit and any capacity.
#include "fuzz/harness.h"

#include "ORVA/String/Codecs.h"

#include "reference/plain_codecs.h"

#include <string>

using namespace ORVA::String;

namespace
{

using fuzz::Bytes;
using fuzz::Guarded;

void check_conversion(unsigned char const* source, unsigned long limit, unsigned char const* twin_source,
                      unsigned long capacity)
{
    unsigned long const length = UTF8wstrlen(source, limit);
    REQUIRE(length == plain::utf8_characters(twin_source, limit));
    REQUIRE(UTF8w32strlen(source, limit) == length);
    REQUIRE(UTF8u16strlen(source, limit) == plain::utf8_to_utf16_units(twin_source, limit));
    REQUIRE(UTF8_To_nqfWChar(source, limit, nullptr, capacity) == length + 1);

    Guarded<wchar_t> expected(length + 1);
    REQUIRE(plain::utf8_to_wide(twin_source, limit, expected.get(), length + 1) == length + 1);
    Guarded<wchar_t> fitting(length + 1);
    REQUIRE(UTF8_To_nqfWChar(source, limit, fitting.get(), length + 1) == length + 1);
    REQUIRE(fitting.is_intact());
    REQUIRE(std::equal(fitting.get(), fitting.get() + length + 1, expected.get()));

    Guarded<wchar_t> any(capacity);
    unsigned long const stored = UTF8_To_nqfWChar(source, limit, any.get(), capacity);
    REQUIRE(stored == (capacity > length ? length + 1 : 0));
    REQUIRE(stored == 0 ? any.is_untouched() : any.is_intact_behind(stored));
}

// Reads characters up to the first refusal, and gives the text for which the plain walk takes it.
void check_characters(unsigned char const* source)
{
    for (;;)
    {
        plain::step const expected = plain::decode_utf8(source);
        unsigned int value = 77;
        unsigned char const* at = source;
        unsigned int const result = utf8_nqfW32(&value, at);
        REQUIRE(plain::step{result, value, static_cast<unsigned int>(at - source)} == expected);
        REQUIRE(UTF8Len(*source) == plain::utf8_length(*source));

        Guarded<wchar_t> wide(1);
        wchar_t* wide_at = wide.get();
        at = source;
        REQUIRE(utf8_nqfW(wide_at, at) == expected.result && at == source + expected.units);
        REQUIRE(wide_at == wide.get() + expected.result && static_cast<unsigned int>(*wide.get()) == expected.value);
        REQUIRE(wide.is_intact());

        Guarded<unsigned short> units(2);
        unsigned short* unit_at = units.get();
        at = source;
        unsigned int const encoded = utf8_utf16(unit_at, at);
        REQUIRE(at == source + expected.units);
        unsigned short twin_units[2];
        unsigned int const count = expected.result == 0 ? 0 : plain::encode_utf16(twin_units, expected.value);
        REQUIRE(encoded == (count != 0) && unit_at == units.get() + count && units.is_intact_behind(count));
        REQUIRE(std::equal(units.get(), unit_at, twin_units));

        if (expected.result == 0)
            return;
        REQUIRE(UTF8Size(value) == plain::utf8_size(value));
        if (value < 0x110000)
        {
            // The shortest form, and back.
            Guarded<unsigned char> form(4);
            unsigned char* form_at = form.get();
            REQUIRE(nqfW32_utf8(form_at, value) == 1 && form_at == form.get() + UTF8Size(value));
            REQUIRE(form.is_intact_behind(UTF8Size(value)) && UTF8Size(value) <= expected.units);
            unsigned char const* back = form.get();
            unsigned int again = 0;
            REQUIRE(utf8_nqfW32(&again, back) == 1 && again == value && back == form_at);
        }
        if (*source == 0)
            return;
        source += expected.units;
    }
}

void check_sync(unsigned char const* source)
{
    unsigned char const* at = source;
    UTF8Sync(at);
    for (; source != at; ++source)
        REQUIRE(*source >= 0xC0 && *source <= 0xDF);
    REQUIRE(*at < 0xC0 || *at > 0xDF);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Input input(data, size);
    unsigned long const limit = input.number(2);
    unsigned long const capacity = input.byte();
    Bytes const text = input.bytes();
    REQUIRE(UTF8_To_nqfWChar(nullptr, limit, nullptr, capacity) == 0);

    // The plain walk looks a little beyond its limit.
    Bytes slack = text;
    slack.resize(text.size() + 8);
    // A text may begin anywhere in a word.
    unsigned long const offset = capacity % 8;
    fuzz::Exact<unsigned char> const unterminated(text, offset);
    fuzz::Exact<unsigned char> const whole = fuzz::terminated<unsigned char>(text, offset);
    check_conversion(unterminated, std::min(limit, text.size()), slack.data(), capacity);
    for (unsigned long const far_limit : {limit, fuzz::no_limit, fuzz::no_limit / 2 + limit})
        check_conversion(whole, far_limit, slack.data(), capacity);
    check_characters(whole);
    check_sync(whole);
    return 0;
}
