// Numbered variants: the number in parentheses at the end is counted up, and everything before it stays. And the strings
// of numbers, and of text in UTF-8.
#include "fuzz/harness.h"

#include "ORVA/String/PoolString.h"

#include "reference/plain_codecs.h"

using ORVA::String::CPPoolString;

namespace
{

bool is_digit(wchar_t character)
{
    return character >= L'0' && character <= L'9';
}

// Where the digits begin of a text that ends with a number in parentheses; 0 for any other.
unsigned long number_at(std::wstring const& text)
{
    if (text.empty() || text.back() != L')')
        return 0;
    unsigned long const opening = text.find_last_not_of(L"0123456789", text.size() - 2);
    bool const is_numbered = text.size() > 2 && opening != std::wstring::npos && text[opening] == L'(';
    return is_numbered && opening + 2 < text.size() ? opening + 1 : 0;
}

void check(std::wstring const& text)
{
    CPPoolString const string(text.c_str());
    CPPoolString const next = string.inc();
    std::wstring const found = *next;
    REQUIRE(next.len() == found.size() && *string == text);
    REQUIRE(next == string.inc() && next == CPPoolString(found.c_str()));

    unsigned long const digits = number_at(text);
    if (digits == 0)
    {
        REQUIRE(found == text + L" (2)");
        return;
    }
    unsigned long number = 0;
    bool fits = true;
    for (unsigned long place = digits; is_digit(text[place]); ++place)
    {
        number = number * 10 + static_cast<unsigned long>(text[place] - L'0');
        fits = fits && number <= 0xFFFFFFFF;
    }
    if (fits)
        REQUIRE(found == text.substr(0, digits) + std::to_wstring(static_cast<unsigned int>(number + 1)) + L')');
    // What the C library makes of a larger number is left to it, but a number it is.
    REQUIRE(found.compare(0, digits, text, 0, digits) == 0 && number_at(found) == digits);
    REQUIRE(found.size() - digits <= 11);
}

// The strings of numbers, and of the encodings in which the text has a form.
void check_sources(std::wstring const& text)
{
    unsigned long value = 0;
    fuzz::Bytes utf8;
    for (wchar_t const character : text)
    {
        value = value * 0x10001 + static_cast<unsigned long>(character);
        unsigned char form[4];
        unsigned int const size = plain::encode_utf8(form, static_cast<unsigned int>(character));
        utf8.insert(utf8.end(), form, form + size);
    }
    auto const positive = static_cast<unsigned int>(value);
    auto const any = static_cast<int>(positive);
    REQUIRE(*CPPoolString(positive) == std::to_wstring(positive) && *CPPoolString(any) == std::to_wstring(any));
    unsigned long long const large = value;
    auto const signed_large = static_cast<long long>(value);
    REQUIRE(*CPPoolString(large) == std::to_wstring(large));
    REQUIRE(*CPPoolString(signed_large) == std::to_wstring(signed_large));

    CPPoolString const string(text.c_str());
    fuzz::Exact<unsigned char> const source = fuzz::terminated<unsigned char>(utf8);
    REQUIRE(CPPoolString(source.get()) == string && string.Verify() == 1);
    REQUIRE(std::equal(source.get(), source.get() + utf8.size() + 1, static_cast<unsigned char const*>(string)));
    CPPoolString changed(value % 2 != 0);
    REQUIRE(*changed == std::wstring(value % 2 != 0 ? L"true" : L"false"));
    changed = positive;
    changed = text.c_str();
    REQUIRE(changed == string);
    CPPoolString target;
    target.TransferFrom(changed);
    REQUIRE(target == string && changed.isnull());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Input input(data, size);
    // The pool tells characters apart by 16 bits.
    std::wstring const text = input.text(fuzz::no_limit, 0xFFFF);
    check(text);
    check_sources(text);
    fuzz::tidy_pool();
    return 0;
}
