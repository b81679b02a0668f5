#include "BaseOS/holder_conversion.h"
#include "ORVA/String/CodePage1252.h"
#include "ORVA/String/Holders.h"

namespace ORVA::String
{

namespace
{

/// Bytes that a buffer has for each character, terminator included.
unsigned long const bytes_per_character = 8;

} // namespace

CANSIChar& CANSIChar::operator=(CANSIChar const& source)
{
    if (this != &source)
        *this = *source;
    return *this;
}

CANSIChar& CANSIChar::operator=(char const* source)
{
    if (!source)
    {
        _adopt(nullptr, 0);
        return *this;
    }
    unsigned long const length = terminated_length(source);
    _adopt(copy_terminated(source, length, bytes_per_character), length);
    return *this;
}

CANSIChar& CANSIChar::operator=(wchar_t const* source)
{
    unsigned long const length = OS::nqfWChar_To_ANSI(source, no_limit, nullptr, 0);
    if (length == 0)
    {
        _adopt(nullptr, 0);
        return *this;
    }
    char* const text = allocate_elements<char>(length, bytes_per_character);
    // No place is given for the terminator, so it takes that of the last character.
    OS::nqfWChar_To_ANSI(source, no_limit, text, length);
    _adopt(text, length - 1);
    return *this;
}

CANSIChar& CANSIChar::operator=(CNQFWChar const& source)
{
    return *this = *source;
}

} // namespace ORVA::String
