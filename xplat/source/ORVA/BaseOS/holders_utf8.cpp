#include "BaseOS/holder_conversion.h"
#include "ORVA/String/Codecs.h"
#include "ORVA/String/Holders.h"

namespace ORVA::String
{

CUTF8Char& CUTF8Char::operator=(CUTF8Char const& source)
{
    if (this != &source)
        *this = *source;
    return *this;
}

CUTF8Char& CUTF8Char::operator=(unsigned char const* source)
{
    if (!source)
    {
        _adopt(nullptr, no_limit); // a size of 0, less the terminator that is not there
        return *this;
    }
    unsigned long const length = terminated_length(source);
    _adopt(copy_terminated(source, length), length);
    return *this;
}

CUTF8Char& CUTF8Char::operator=(wchar_t const* source)
{
    auto const converted = convert_text<unsigned char>(source, nqfWu8strlen, nqfW_utf8);
    _adopt(converted.text, converted.length);
    return *this;
}

CUTF8Char& CUTF8Char::operator=(unsigned short const* source)
{
    auto const converted = convert_text<unsigned char>(source, UTF16u8strlen, utf16_utf8);
    _adopt(converted.text, converted.length);
    return *this;
}

CUTF8Char& CUTF8Char::operator=(char const* source)
{
    return *this = CNQFWChar(source);
}

CUTF8Char& CUTF8Char::operator=(CNQFWChar const& source)
{
    return *this = *source;
}

CUTF8Char& CUTF8Char::operator=(CUTF16Char const& source)
{
    return *this = *source;
}

CUTF8Char& CUTF8Char::operator=(CANSIChar const& source)
{
    return *this = *source;
}

} // namespace ORVA::String
