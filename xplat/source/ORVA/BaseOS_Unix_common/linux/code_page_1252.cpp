#include "ORVA/String/CodePage1252.h"

namespace ORVA::String::OS
{

namespace
{

unsigned int const first_special_byte = 0x80;
unsigned int const first_latin1_byte = 0xA0;

/// The characters of the bytes 0x80 to 0x9F; 0 where the code page defines none. All other bytes stand for the
/// character of the same value.
unsigned short const special_characters[first_latin1_byte - first_special_byte] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, // 0x80
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,      // 0x88
    0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, // 0x90
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178, // 0x98
};

/// Gives the character of the byte `source`, and false if there is none.
bool map(char source, wchar_t& mapped)
{
    unsigned int value = static_cast<unsigned char>(source);
    if (value >= first_special_byte && value < first_latin1_byte)
        value = special_characters[value - first_special_byte];
    mapped = static_cast<wchar_t>(value);
    return value != 0;
}

/// Gives the byte of the character `source`, and false if there is none.
bool map(wchar_t source, char& mapped)
{
    unsigned int value = static_cast<unsigned int>(source);
    if (value >= first_special_byte && (value < first_latin1_byte || value > 0xFF))
    {
        unsigned int byte = first_special_byte;
        while (byte < first_latin1_byte && special_characters[byte - first_special_byte] != value)
            ++byte;
        if (byte == first_latin1_byte)
            return false;
        value = byte;
    }
    mapped = static_cast<char>(static_cast<unsigned char>(value));
    return true;
}

/// Both directions: the whole text is looked at before anything is written.
template <class Source, class Target>
unsigned long convert(Source const* source, Target* dest, unsigned long dest_length)
{
    if (!source)
        return 0;
    Target mapped;
    unsigned long count = 0;
    for (; source[count] != 0; ++count)
        if (!map(source[count], mapped))
            return 0;
    if (dest_length == 0)
        return count;
    if (!dest)
        return 0;
    unsigned long const result = count < dest_length ? count : dest_length - 1;
    for (unsigned long at = 0; at < result; ++at)
        map(source[at], dest[at]);
    dest[result] = 0;
    return result;
}

} // namespace

unsigned long ANSI_To_nqfWChar(char const* source, unsigned long, wchar_t* dest, unsigned long destLength)
{
    return convert(source, dest, destLength);
}

unsigned long nqfWChar_To_ANSI(wchar_t const* source, unsigned long, char* dest, unsigned long destLength)
{
    return convert(source, dest, destLength);
}

} // namespace ORVA::String::OS
