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

// The identifier of 36 characters in canonical places, without a library function.
bool reads_canonical(std::string const& text, _nqfUID& uid)
{
    static char const form[] = "dddddddd-dddd-dddd-dddd-dddddddddddd";
    if (text.size() != sizeof(form) - 1)
        return false;
    unsigned char digits[32];
    int count = 0;
    for (unsigned long place = 0; place < text.size(); ++place)
    {
        auto const character = static_cast<unsigned char>(text[place]);
        if (form[place] == '-' ? character != '-' : std::isxdigit(character) == 0)
            return false;
        if (character != '-')
            digits[count++] = static_cast<unsigned char>(std::isdigit(character) != 0 ? character - '0'
                                                                                      : (character | 32) - 'a' + 10);
    }
    auto const number = [&digits](int from, int length)
    {
        unsigned int value = 0;
        for (int place = from; place < from + length; ++place)
            value = value * 16 + digits[place];
        return value;
    };
    uid.Data1 = number(0, 8);
    uid.Data2 = static_cast<unsigned short>(number(8, 4));
    uid.Data3 = static_cast<unsigned short>(number(12, 4));
    for (int byte = 0; byte < 8; ++byte)
        uid.Data4[byte] = static_cast<unsigned char>(number(16 + 2 * byte, 2));
    return true;
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
    _nqfUID expected;
    if (reads_canonical(text, expected))
        REQUIRE(result == 1 && uid == expected);
    if (std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; }))
    {
        cnqfuid wide;
        REQUIRE(wide.Set(widened(text).c_str()) == result && wide == uid);
    }
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
