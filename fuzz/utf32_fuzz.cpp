// UTF-32 and wide text: measuring and converting agree with each other and with the plain walk, with any limit and any
// capacity, and what is converted to UTF-8 comes back.
#include "fuzz/harness.h"

#include "ORVA/String/Codecs.h"

#include "reference/plain_codecs.h"

using namespace ORVA::String;

namespace
{

using fuzz::Guarded;

// `source` has `limit` + 1 units at least, or a terminator; `twin_source` has a terminator.
void check_lengths(wchar_t const* source, unsigned long limit, wchar_t const* twin_source)
{
    auto const* const units = reinterpret_cast<unsigned int const*>(source);
    REQUIRE(UTF32wstrlen(units, limit) == plain::utf32_units(twin_source, limit));
    REQUIRE(nqfWw32strlen(source, limit) == plain::utf32_units(twin_source, limit));
    REQUIRE(UTF32u16strlen(units, limit) == plain::walk_utf32(twin_source, limit, plain::utf16_size));
    REQUIRE(UTF32u8strlen(units, limit) == plain::walk_utf32(twin_source, limit, plain::utf8_size));
    REQUIRE(nqfWu8strlen(source, limit) == plain::walk_utf32(twin_source, limit, plain::utf8_size));
    REQUIRE(nqfWu16strlen(source, limit) == 0);
}

void check_conversion(wchar_t const* source, unsigned long limit, wchar_t const* twin_source, unsigned long capacity)
{
    unsigned long const length = nqfWu8strlen(source, limit);
    REQUIRE(nqfWChar_To_UTF8(source, limit, nullptr, capacity) == length + 1);
    Guarded<unsigned char> expected(length + 1);
    REQUIRE(plain::wide_to_utf8(twin_source, limit, expected.get(), length + 1) == length + 1);
    Guarded<unsigned char> fitting(length + 1);
    REQUIRE(nqfWChar_To_UTF8(source, limit, fitting.get(), length + 1) == length + 1);
    REQUIRE(fitting.is_intact());
    REQUIRE(std::equal(fitting.get(), fitting.get() + length + 1, expected.get()));

    Guarded<unsigned char> any(capacity);
    unsigned long const stored = nqfWChar_To_UTF8(source, limit, any.get(), capacity);
    REQUIRE(stored == (capacity > length ? length + 1 : 0));
    REQUIRE(stored == 0 ? any.is_untouched() : any.is_intact_behind(stored));

    // Back: all characters that were converted.
    unsigned long const back_length = UTF8wstrlen(fitting.get(), fuzz::no_limit);
    Guarded<wchar_t> back(back_length + 1);
    REQUIRE(UTF8_To_nqfWChar(fitting.get(), fuzz::no_limit, back.get(), back_length + 1) == back_length + 1);
    REQUIRE(std::equal(back.get(), back.get() + back_length, source));
    unsigned long const converted = plain::walk_utf32(
        twin_source, limit, [](unsigned int character) { return plain::utf8_size(character) != 0 ? 1U : 0U; });
    REQUIRE(back_length == converted);
}

void check_characters(wchar_t const* source)
{
    for (; *source != 0; ++source)
    {
        unsigned int const character = static_cast<unsigned int>(*source);
        unsigned short twin[2];
        unsigned int const count = plain::encode_utf16(twin, character);
        Guarded<unsigned short> units(2);
        unsigned short* unit_at = units.get();
        wchar_t const* at = source;
        REQUIRE(nqfW_utf16(unit_at, at) == (count != 0) && at == source + (count != 0 ? 1 : 0));
        REQUIRE(unit_at == units.get() + count && units.is_intact_behind(count));
        REQUIRE(std::equal(units.get(), unit_at, twin));
        REQUIRE(UTF16Size(character) == plain::utf16_size(character) &&
                UTF8Size(character) == plain::utf8_size(character));

        Guarded<unsigned char> bytes(4);
        unsigned char* byte_at = bytes.get();
        at = source;
        REQUIRE(nqfW_utf8(byte_at, at) == (UTF8Size(character) != 0) && at == source + (UTF8Size(character) != 0));
        REQUIRE(byte_at == bytes.get() + UTF8Size(character) && bytes.is_intact_behind(UTF8Size(character)));
        unsigned char twin_bytes[4];
        REQUIRE(plain::encode_utf8(twin_bytes, character) == UTF8Size(character));
        REQUIRE(std::equal(bytes.get(), byte_at, twin_bytes));

        // As they are, and one unit always.
        unsigned int value = ~character;
        at = source;
        REQUIRE(nqfW_nqfW32(&value, at) == 1 && at == source + 1 && value == character);
        Guarded<wchar_t> wide(1);
        wchar_t* wide_at = wide.get();
        REQUIRE(nqfW32_nqfW(wide_at, character) == 1 && wide_at == wide.get() + 1 && wide.is_intact());
        REQUIRE(*wide.get() == *source && nqfWSize(character) == 1 && nqfWLen(*source) == 1);
        at = source;
        nqfWSync(at);
        REQUIRE(at == source);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Input input(data, size);
    unsigned long const limit = input.number(2);
    unsigned long const capacity = input.byte();
    std::wstring const text = input.text();
    REQUIRE(nqfWChar_To_UTF8(nullptr, limit, nullptr, capacity) == 0);

    // A limit admits the unit behind it too.
    fuzz::Exact<wchar_t> const whole = fuzz::terminated<wchar_t>(text);
    if (!text.empty())
    {
        unsigned long const inner = std::min(limit, text.size() - 1);
        fuzz::Exact<wchar_t> const cut(text.data(), inner + 1);
        check_lengths(cut, inner, whole);
        check_conversion(cut, inner, whole, capacity);
    }
    for (unsigned long const far_limit : {limit, fuzz::no_limit, fuzz::no_limit / 2 + limit})
    {
        check_lengths(whole, far_limit, whole);
        check_conversion(whole, far_limit, whole, capacity);
    }
    check_characters(whole);
    return 0;
}
