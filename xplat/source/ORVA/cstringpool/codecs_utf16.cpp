#include "ORVA/String/Codecs.h"

namespace ORVA::String
{

namespace
{

/// Adds up `weight` of every character of the valid prefix of a text. Looks at no unit beyond the limit.
template <class Weight>
unsigned long measure(unsigned short const* source, unsigned long limit, Weight weight)
{
    unsigned long sum = 0;
    unsigned long position = 0;
    while (position != limit && source[position] != 0)
    {
        unsigned short const* text = source + position;
        if (UTF16Len(*text) > limit - position)
            break;
        unsigned int character;
        if (utf16_nqfW32(&character, text) == 0)
            break;
        sum += weight(character);
        position = static_cast<unsigned long>(text - source);
    }
    return sum;
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

} // namespace ORVA::String
