// Identifiers: what any text is read as prints as canonical text, which is read as the same; both widths agree; and
// sixteen bytes go through the text in either case of letters.
#include "fuzz/harness.h"

#include "ORVA/NQF/UID.h"

#include <algorithm>
#include <cctype>
#include <cstring>

using ORVA::NQF::cnqfuid;

namespace
{

std::wstring widened(std::string const& text)
{
    std::wstring result;
    for (char const character : text)
        result += static_cast<wchar_t>(static_cast<unsigned char>(character));
    return result;
}

// The canonical text, which is read as the same identifier.
std::string check_printed(cnqfuid const& uid)
{
    ORVA::String::CANSIChar const narrow = uid.ANSI();
    ORVA::String::CNQFWChar const wide = uid;
    std::string const text = *narrow;
    REQUIRE(text.size() == 36 && widened(text) == *wide);
    for (unsigned long place = 0; place < text.size(); ++place)
    {
        bool const is_hyphen = place == 8 || place == 13 || place == 18 || place == 23;
        REQUIRE(is_hyphen ? text[place] == '-' : std::strchr("0123456789ABCDEF", text[place]) != nullptr);
    }
    std::string lower = text;
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) { return c >= 'A' ? char(c + 32) : c; });
    for (std::string const& spelling : {text, lower, text + "anything"})
    {
        cnqfuid again;
        std::memset(&again.rec(), 0x5A, sizeof(_nqfUID));
        REQUIRE(again.Set(spelling.c_str()) == 1 && again == uid);
        REQUIRE(again.Set(widened(spelling).c_str()) == 1 && again == uid);
    }
    return text;
}

// What scanning for a number comes to. Unknown is what the C library may do as it likes: a number that does not fit, a
// prefix without digits, a sign at the end.
enum class Scan
{
    number,
    nothing,
    unknown
};

bool is_blank(char character)
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

// Reads a hexadecimal number of at most `most` digits that count, as the C library scans for one, and moves behind it.
Scan read_hex(char const*& at, int most, unsigned int& value)
{
    while (is_blank(*at))
        ++at;
    bool const is_negative = *at == '-';
    bool const has_sign = is_negative || *at == '+';
    at += has_sign ? 1 : 0;
    bool const has_prefix = at[0] == '0' && (at[1] == 'x' || at[1] == 'X');
    at += has_prefix ? 2 : 0;
    char const* const digits = at;
    unsigned int number = 0;
    int counting = 0;
    for (; std::isxdigit(static_cast<unsigned char>(*at)) != 0; ++at)
    {
        number = number << 4 | static_cast<unsigned int>(*at <= '9' ? *at - '0' : (*at | 32) - 'a' + 10);
        counting += number != 0 || counting != 0 ? 1 : 0;
    }
    if (at == digits)
        return has_prefix || (has_sign && *at == 0) ? Scan::unknown : Scan::nothing;
    value = is_negative ? 0 - number : number;
    return counting > most ? Scan::unknown : Scan::number;
}

// The identifier in a text, read group by group and pair by pair. `nothing` for a text that is refused.
Scan read_uid(std::string const& text, _nqfUID& uid)
{
    uid = {};
    if (std::count(text.begin(), text.end(), '-') != 4)
        return Scan::number;
    unsigned int groups[4];
    char const* at = text.c_str();
    for (int group = 0; group < 4; ++group)
    {
        if (group != 0 && *at++ != '-')
            return Scan::nothing;
        Scan const scan = read_hex(at, group == 0 ? 8 : 4, groups[group]);
        if (scan != Scan::number)
            return scan;
    }
    unsigned char bytes[8] = {static_cast<unsigned char>(groups[3] >> 8), static_cast<unsigned char>(groups[3])};
    unsigned char last = bytes[1];
    at = text.c_str() + text.rfind('-') + 1;
    for (int byte = 2; byte < 8; ++byte, at += 2)
    {
        if (at[0] == 0 || at[1] == 0)
            return Scan::nothing;
        std::string const pair(at, 2);
        char const* digits = pair.c_str();
        unsigned int value = last; // which stays for a pair of blanks
        Scan const scan = read_hex(digits, 4, value);
        if (scan == Scan::unknown || (scan == Scan::nothing && *digits != 0))
            return scan;
        last = static_cast<unsigned char>(value);
        bytes[byte] = last;
    }
    uid.Data1 = groups[0];
    uid.Data2 = static_cast<unsigned short>(groups[1]);
    uid.Data3 = static_cast<unsigned short>(groups[2]);
    std::copy_n(bytes, 8, uid.Data4);
    return Scan::number;
}

void check_narrow(std::string const& text)
{
    cnqfuid uid;
    std::memset(&uid.rec(), 0x5A, sizeof(_nqfUID));
    int const result = uid.Set(text.c_str());
    REQUIRE(result == 0 || result == 1);
    bool const has_form = std::count(text.begin(), text.end(), '-') == 4;
    if (result == 0)
        REQUIRE(has_form && !uid);
    if (!has_form)
        REQUIRE(result == 1 && !uid);
    check_printed(uid);

    cnqfuid const constructed(text.c_str());
    REQUIRE(constructed == uid);
    bool const is_ascii = std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
    if (!is_ascii)
        return;
    _nqfUID expected;
    Scan const scan = read_uid(text, expected);
    if (scan != Scan::unknown)
        REQUIRE(result == (scan == Scan::number) && uid == expected);
    cnqfuid wide;
    REQUIRE(wide.Set(widened(text).c_str()) == result && wide == uid);
    wide.reset();
    REQUIRE(!wide && (wide != uid) == static_cast<bool>(uid));
    wide = widened(text).c_str();
    REQUIRE(wide == uid && cnqfuid(widened(text).c_str()) == uid);
    cnqfuid other;
    other = static_cast<_nqfUID const&>(uid);
    wide = text.c_str();
    REQUIRE(other == uid && wide == uid && static_cast<_nqfUID const&>(other) == uid);
}

void check_wide(std::wstring const& text)
{
    cnqfuid uid;
    std::memset(&uid.rec(), 0x5A, sizeof(_nqfUID));
    int const result = uid.Set(text.c_str());
    REQUIRE(result == 0 || result == 1);
    if (result == 0 || std::count(text.begin(), text.end(), L'-') != 4)
        REQUIRE(!uid);
    check_printed(uid);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Input input(data, size);
    switch (input.below(3))
    {
    case 0:
    {
        fuzz::Bytes const line = input.line();
        check_narrow(std::string(line.begin(), line.end()));
        break;
    }
    case 1:
        check_wide(input.text());
        break;
    default:
    {
        _nqfUID uid;
        for (std::size_t byte = 0; byte < sizeof(uid); ++byte)
            reinterpret_cast<unsigned char*>(&uid)[byte] = input.byte();
        cnqfuid const value(uid);
        REQUIRE(static_cast<bool>(value) == (std::memcmp(&uid, &ORVA::NQF::nqfUID_null, sizeof(uid)) != 0));
        REQUIRE(value == uid);
        check_printed(value);
    }
    }
    return 0;
}
