#include "ORVA/String/Codecs.h"

#include "cstringpool/whole_texts.h"

namespace ORVA::String
{

namespace
{

/// Adds up `weight` of every character of the valid prefix of a text. Looks at no unit beyond the limit, and at none
/// beyond the one that ends the text.
template <class Weight>
unsigned long measure(unsigned short const* source, unsigned long limit, Weight weight)
{
    unsigned long position = 0;
    unsigned long surplus = 0; // of the sum over the units, and 2 to the 64th less where there is a lack
    while (position != limit)
    {
        unsigned int const unit = source[position];
        if (unit - 1 < 0xD7FF || unit > 0xDFFF)
        {
            surplus += weight(unit) - 1;
            ++position;
            continue;
        }
        unsigned short const* text = source + position;
        unsigned int character;
        if (unit == 0 || limit - position < 2 || utf16_nqfW32(&character, text) == 0)
            break;
        position += 2;
        surplus += weight(character) - 2UL;
    }
    return position + surplus;
}

} // namespace

unsigned long UTF16wstrlen(unsigned short const* source, unsigned long limit)
{
    return measure(source, limit, [](unsigned int) { return 1U; });
}

unsigned long UTF16w32strlen(unsigned short const* source, unsigned long limit)
{
    return UTF16wstrlen(source, limit);
}

unsigned long UTF16u8strlen(unsigned short const* source, unsigned long limit)
{
    return measure(source, limit, UTF8Size);
}

unsigned char* convert_whole(unsigned short const* source, unsigned char* destination)
{
    // Each size goes back to the beginning by itself, so that it is predicted from the ones before it.
    for (;;)
    {
        unsigned int const unit = *source;
        if (unit < 0x80)
        {
            if (unit == 0)
                return destination;
            *destination++ = static_cast<unsigned char>(unit);
            ++source;
            continue;
        }
        if (utf16_utf8(destination, source) == 0)
            return destination;
    }
}

} // namespace ORVA::String
