#include "ORVA/String/Codecs.h"

namespace ORVA::String
{

namespace
{

/// Whether a unit stands for itself, and is not 0.
bool is_character(unsigned int unit)
{
    return unit - 1 < 0xD7FF || unit > 0xDFFF;
}

/// Characters that are taken together.
constexpr unsigned int longest_run = 8;

/// Adds up `weight` of every character of the valid prefix of a text. Looks at no unit beyond the limit, and at a unit
/// only if the ones before it are valid.
template <class Weight>
unsigned long measure(unsigned short const* source, unsigned long limit, Weight weight)
{
    unsigned long sum = 0;
    unsigned long position = 0;
    while (position != limit)
    {
        if (is_character(source[position]))
        {
            unsigned int const most = limit - position < longest_run ? 1 : longest_run;
            unsigned int run = 0;
            do
                sum += weight(source[position + run]);
            while (++run < most && is_character(source[position + run]));
            position += run;
            continue;
        }
        unsigned short const* text = source + position;
        unsigned int character;
        if (*text == 0 || limit - position < 2 || utf16_nqfW32(&character, text) == 0)
            break;
        sum += weight(character);
        position += 2;
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
