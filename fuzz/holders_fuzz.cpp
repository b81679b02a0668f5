// The holders: every conversion agrees with the plain one, the lengths are those that are stated, and what an encoding
// has room for comes back from it.
#include "fuzz/harness.h"

#include "ORVA/String/CodePage1252.h"
#include "ORVA/String/Holders.h"

#include "reference/plain_codecs.h"

#include <utility>

using namespace ORVA::String;

namespace
{

using Utf8 = std::basic_string<unsigned char>;
using Utf16 = std::basic_string<unsigned short>;

template <class T>
unsigned long length_of(T const* text)
{
    unsigned long length = 0;
    while (text[length] != 0)
        ++length;
    return length;
}

// The holder has `text` up to its first 0, `length` units as it tells, and a terminator behind those it wrote. Copies
// and moves of it have the same. It is empty afterwards.
template <class Holder, class T>
void check(Holder&& holder, std::basic_string<T> const& text, unsigned long length)
{
    REQUIRE(holder && *holder != nullptr);
    REQUIRE(holder.len() == length);
    std::basic_string<T> const seen(text.c_str(), length_of(text.c_str()));
    REQUIRE(length_of(*holder) == seen.size() && std::equal(seen.begin(), seen.end(), *holder));

    // A copy is made from the text alone, so its length may be another one.
    using Plain = std::remove_const_t<std::remove_reference_t<Holder>>;
    unsigned long const copied_length = Plain(*holder).len();
    Plain copy(static_cast<Plain const&>(holder));
    REQUIRE(length_of(*copy) == seen.size() && std::equal(seen.begin(), seen.end(), *copy) && *copy != *holder);
    REQUIRE(copy.len() == copied_length);
    copy = *copy;
    REQUIRE(length_of(*copy) == seen.size() && std::equal(seen.begin(), seen.end(), *copy));
    REQUIRE(copy.len() == copied_length);

    // Moves carry text and length over, and what is assigned to itself stays.
    Plain moved(std::move(copy));
    REQUIRE(!copy && copy.len() == 0 && moved.len() == copied_length);
    copy = holder;
    REQUIRE(copy.len() == copied_length);
    copy = std::move(holder);
    REQUIRE(!holder && holder.len() == 0 && copy.len() == length);
    T const* const place = *copy;
    Plain& same = copy;
    copy = same;
    copy = std::move(same);
    REQUIRE(*copy == place && copy.len() == length);
    REQUIRE(length_of(place) == seen.size() && std::equal(seen.begin(), seen.end(), place));
    moved = static_cast<T const*>(nullptr);
    REQUIRE(!moved);
}

// What a wide text becomes, character by character.
void check_wide(std::wstring const& text)
{
    std::wstring taken;
    Utf8 utf8;
    Utf16 utf16;
    for (wchar_t const character : text)
    {
        unsigned char bytes[4];
        unsigned short units[2];
        unsigned int const size = plain::encode_utf8(bytes, static_cast<unsigned int>(character));
        if (size == 0)
            break;
        taken += character;
        utf8.append(bytes, size);
        utf16.append(units, plain::encode_utf16(units, static_cast<unsigned int>(character)));
    }
    fuzz::Exact<wchar_t> const source = fuzz::terminated<wchar_t>(text);
    check(CNQFWChar(source), text, text.size() + 1);
    check(CUTF8Char(source), utf8, utf8.size());
    check(CUTF16Char(source), utf16, utf16.size());
    check(CNQFWChar(reinterpret_cast<unsigned int const*>(source.get())), text, text.size());
    check(CNQFWChar(CUTF8Char(source)), taken, taken.size());
    check(CUTF16Char(CUTF8Char(source)), utf16, utf16.size());
    check(CNQFWChar(CUTF16Char(source)), std::wstring(), 0);
    check(CUTF8Char(CNQFWChar(source)), utf8, utf8.size());
    check(CUTF16Char(CNQFWChar(source)), utf16, utf16.size());
}

void check_utf8(fuzz::Bytes const& bytes)
{
    fuzz::Exact<unsigned char> const source = fuzz::terminated<unsigned char>(bytes);
    Utf8 const text(source.get());
    std::wstring wide;
    Utf16 utf16;
    bool fits_utf16 = true;
    for (unsigned char const* at = source; *at != 0;)
    {
        plain::step const step = plain::decode_utf8(at);
        if (step.result == 0)
            break;
        wide += static_cast<wchar_t>(step.value);
        unsigned short units[2];
        unsigned int const count = plain::encode_utf16(units, step.value);
        fits_utf16 = fits_utf16 && count != 0;
        if (fits_utf16)
            utf16.append(units, count);
        at += step.units;
    }
    check(CUTF8Char(source), text, text.size());
    check(CNQFWChar(source), wide, wide.size());
    check(CUTF16Char(source), utf16, utf16.size());
}

void check_utf16(std::vector<unsigned short> const& units)
{
    fuzz::Exact<unsigned short> const source = fuzz::terminated<unsigned short>(units);
    Utf16 const text(source.get(), length_of(source.get()));
    Utf8 utf8;
    for (unsigned short const* at = source; *at != 0;)
    {
        plain::step const step = plain::decode_utf16(at);
        if (step.result == 0)
            break;
        unsigned char bytes[4];
        utf8.append(bytes, plain::encode_utf8(bytes, step.value));
        at += step.units;
    }
    check(CUTF16Char(source), text, text.size());
    check(CUTF8Char(source), utf8, utf8.size());
    check(CUTF8Char(CUTF16Char(source)), utf8, utf8.size());
    check(CNQFWChar(source), std::wstring(), 0);
}

// The characters of the bytes 0x80 to 0x9F in code page 1252; 0 for none.
constexpr unsigned int c1_characters[32] = {0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                            0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
                                            0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                            0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

unsigned int character_of(unsigned char byte)
{
    return byte >= 0x80 && byte < 0xA0 ? c1_characters[byte - 0x80] : byte;
}

void check_ansi(fuzz::Bytes const& bytes, unsigned long capacity)
{
    fuzz::Exact<unsigned char> const exact = fuzz::terminated<unsigned char>(bytes);
    auto const* const source = reinterpret_cast<char const*>(exact.get());
    std::string const text(source);
    std::wstring wide;
    for (char const byte : text)
        wide += static_cast<wchar_t>(character_of(static_cast<unsigned char>(byte)));
    if (wide.find(L'\0') != std::wstring::npos)
        wide.clear();

    check(CANSIChar(source), text, text.size());
    check(CNQFWChar(source), wide, wide.size());
    Utf8 utf8;
    for (wchar_t const character : wide)
    {
        unsigned char form[4];
        utf8.append(form, plain::encode_utf8(form, static_cast<unsigned int>(character)));
    }
    check(CUTF8Char(source), utf8, utf8.size());
    check(CUTF16Char(source), Utf16(wide.begin(), wide.end()), wide.size());
    CANSIChar const held(source);
    check(CNQFWChar(held), wide, wide.size());
    check(CUTF8Char(held), utf8, utf8.size());
    check(CUTF16Char(held), Utf16(wide.begin(), wide.end()), wide.size());

    // The last character of wide text is lost on the way to this encoding.
    if (!wide.empty())
    {
        check(CANSIChar((wide + L'?').c_str()), text, text.size());
        check(CANSIChar(CNQFWChar((wide + L'?').c_str())), text, text.size());
    }

    REQUIRE(OS::ANSI_To_nqfWChar(source, fuzz::no_limit, nullptr, 0) == wide.size());
    fuzz::Guarded<wchar_t> wide_buffer(capacity);
    unsigned long const stored = OS::ANSI_To_nqfWChar(source, fuzz::no_limit, wide_buffer.get(), capacity);
    if (capacity == 0 || wide.empty())
        REQUIRE(stored == (capacity == 0 ? wide.size() : 0) && wide_buffer.is_intact_behind(std::min(capacity, 1UL)));
    else
    {
        REQUIRE(stored == std::min(wide.size(), capacity - 1) && wide_buffer.is_intact_behind(stored + 1));
        REQUIRE(wide.substr(0, stored) == wide_buffer.get());
    }
    if (wide.empty())
        return;
    REQUIRE(OS::nqfWChar_To_ANSI(wide.c_str(), fuzz::no_limit, nullptr, 0) == text.size());
    fuzz::Guarded<char> buffer(capacity);
    unsigned long const back = OS::nqfWChar_To_ANSI(wide.c_str(), fuzz::no_limit, buffer.get(), capacity);
    if (capacity == 0)
        REQUIRE(back == text.size() && buffer.is_untouched());
    else
    {
        REQUIRE(back == std::min(text.size(), capacity - 1) && buffer.is_intact_behind(back + 1));
        REQUIRE(text.substr(0, back) == buffer.get());
    }
}

// A text with a character that the code page has not, is held as nothing.
void check_wide_to_ansi(std::wstring const& text)
{
    std::string expected;
    bool is_encodable = true;
    for (wchar_t const character : text)
    {
        unsigned int byte = 0;
        for (unsigned int candidate = 1; candidate < 256 && byte == 0; ++candidate)
            byte = character_of(static_cast<unsigned char>(candidate)) == static_cast<unsigned int>(character)
                       ? candidate
                       : 0;
        is_encodable = is_encodable && byte != 0;
        expected += static_cast<char>(byte);
    }
    REQUIRE(OS::nqfWChar_To_ANSI(text.c_str(), fuzz::no_limit, nullptr, 0) == (is_encodable ? text.size() : 0));
    CANSIChar holder(text.c_str());
    if (text.empty() || !is_encodable)
        REQUIRE(!holder);
    else
        check(std::move(holder), expected.substr(0, expected.size() - 1), expected.size() - 1);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Input input(data, size);
    switch (input.below(5))
    {
    case 0:
        check_wide(input.text());
        break;
    case 1:
        check_utf8(input.bytes());
        break;
    case 2:
        check_utf16(input.units<unsigned short>());
        break;
    case 3:
    {
        unsigned long const capacity = input.byte();
        check_ansi(input.bytes(), capacity);
        break;
    }
    default:
        check_wide_to_ansi(input.text());
    }
    return 0;
}
