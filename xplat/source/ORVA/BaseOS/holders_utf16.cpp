#include "BaseOS/holder_conversion.h"
#include "ORVA/String/Codecs.h"
#include "ORVA/String/Holders.h"

namespace ORVA::String
{

namespace
{

/// The number of 16-bit units that a wide text needs, by the rule of `UTF32u16strlen`; `nqfWu16strlen` measures
/// nothing.
unsigned long wide_u16strlen(wchar_t const* source, unsigned long)
{
    unsigned long count = 0;
    for (; *source != 0; ++source)
    {
        unsigned int const size = UTF16Size(static_cast<unsigned int>(*source));
        if (size == 0)
            break;
        count += size;
    }
    return count;
}

} // namespace

CUTF16Char& CUTF16Char::operator=(CUTF16Char const& source)
{
    if (this != &source)
        *this = *source;
    return *this;
}

CUTF16Char& CUTF16Char::operator=(unsigned short const* source)
{
    if (!source)
    {
        _adopt(nullptr, 0);
        return *this;
    }
    unsigned long const length = terminated_length(source);
    _adopt(copy_terminated(source, length), length);
    return *this;
}

CUTF16Char& CUTF16Char::operator=(wchar_t const* source)
{
    auto const converted = convert_text<unsigned short>(source, wide_u16strlen, nqfW_utf16);
    _adopt(converted.text, converted.length);
    return *this;
}

CUTF16Char& CUTF16Char::operator=(unsigned char const* source)
{
    auto const converted = convert_text<unsigned short>(source, UTF8u16strlen, utf8_utf16);
    _adopt(converted.text, converted.length);
    return *this;
}

CUTF16Char& CUTF16Char::operator=(char const* source)
{
    return *this = CNQFWChar(source);
}

CUTF16Char& CUTF16Char::operator=(CNQFWChar const& source)
{
    return *this = *source;
}

CUTF16Char& CUTF16Char::operator=(CUTF8Char const& source)
{
    return *this = *source;
}

CUTF16Char& CUTF16Char::operator=(CANSIChar const& source)
{
    return *this = *source;
}

} // namespace ORVA::String
