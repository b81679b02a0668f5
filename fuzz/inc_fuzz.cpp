// Numbered variants: the number in parentheses at the end is counted up, and everything before it stays.
#include "fuzz/harness.h"

#include "ORVA/String/PoolString.h"

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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Input input(data, size);
    // The pool tells characters apart by 16 bits.
    std::wstring const text = input.text(fuzz::no_limit, 0xFFFF);
    check(text);
    fuzz::tidy_pool();
    return 0;
}
