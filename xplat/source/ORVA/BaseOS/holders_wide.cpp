#include "BaseOS/holder_conversion.h"
#include "ORVA/String/CodePage1252.h"
#include "ORVA/String/Codecs.h"
#include "ORVA/String/Holders.h"
#include "cstringpool/text_blocks.h"
#include "cstringpool/utf8_to_wide.h"

namespace ORVA::String
{

namespace
{

// A text that is more than its leading ASCII. Kept apart, since it takes room on the stack.
[[gnu::noinline]] ConvertedText<wchar_t> convert(unsigned char const* source, unsigned long ascii)
{
    Utf8ToWide const measured(source, no_limit, ascii);
    unsigned long const length = measured.length();
    wchar_t* const text = allocate_elements<wchar_t>(length + 1);
    if (text)
    {
        measured.store(text);
        text[length] = 0;
    }
    return {text, length};
}

} // namespace

CNQFWChar& CNQFWChar::operator=(CNQFWChar const& source)
{
    if (this != &source)
        *this = *source;
    return *this;
}

CNQFWChar& CNQFWChar::operator=(wchar_t const* source)
{
    if (!source)
    {
        _adopt(nullptr, 0);
        return *this;
    }
    unsigned long const length = terminated_length(source);
    _adopt(copy_terminated(source, length), length + 1);
    return *this;
}

CNQFWChar& CNQFWChar::operator=(unsigned char const* source)
{
    if (!source)
    {
        _adopt(nullptr, 0);
        return *this;
    }
    unsigned long const ascii = ascii_length(source, no_limit);
    if (source[ascii] != 0)
    {
        auto const converted = convert(source, ascii);
        _adopt(converted.text, converted.length);
        return *this;
    }
    wchar_t* const text = allocate_elements<wchar_t>(ascii + 1);
    if (text)
        blocks::copy_units(source, ascii + 1, text);
    _adopt(text, ascii);
    return *this;
}

CNQFWChar& CNQFWChar::operator=(unsigned short const* source)
{
    // utf16_nqfW leaves its destination where it is, so this always comes to an empty text.
    auto const converted = convert_text<wchar_t>(source, UTF16wstrlen, utf16_nqfW);
    _adopt(converted.text, converted.length);
    return *this;
}

CNQFWChar& CNQFWChar::operator=(unsigned int const* source)
{
    auto const store = [](wchar_t*& target, unsigned int const*& from) { return nqfW32_nqfW(target, *from++); };
    auto const converted = convert_text<wchar_t>(source, UTF32wstrlen, store);
    _adopt(converted.text, converted.length);
    return *this;
}

CNQFWChar& CNQFWChar::operator=(char const* source)
{
    if (!source)
    {
        _adopt(nullptr, 0);
        return *this;
    }
    unsigned long const count = OS::ANSI_To_nqfWChar(source, no_limit, nullptr, 0);
    wchar_t* const text = allocate_elements<wchar_t>(count + 1);
    if (text)
    {
        *text = 0; // stays the whole text if the platform refuses the source
        OS::ANSI_To_nqfWChar(source, no_limit, text, count + 1);
    }
    _adopt(text, count);
    return *this;
}

CNQFWChar& CNQFWChar::operator=(CUTF8Char const& source)
{
    return *this = *source;
}

CNQFWChar& CNQFWChar::operator=(CUTF16Char const& source)
{
    return *this = *source;
}

CNQFWChar& CNQFWChar::operator=(CANSIChar const& source)
{
    return *this = *source;
}

} // namespace ORVA::String
