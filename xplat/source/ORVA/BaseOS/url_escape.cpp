#include "ORVA/Files/Url.h"

#include <cstring>

namespace ORVA::Internetional
{

namespace
{

/// The value of a hexadecimal digit, or -1.
int hex_value(unsigned char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    return -1;
}

/// Whether an escape begins at `text`, a terminated one.
bool is_escape(unsigned char const* text)
{
    return text[0] == '%' && hex_value(text[1]) >= 0 && hex_value(text[2]) >= 0;
}

constexpr bool is_unreserved(unsigned int character)
{
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
           (character >= '0' && character <= '9') || character == '-' || character == '.' || character == '_' ||
           character == '~';
}

/// The bytes that each character takes when it is encoded: 1 if it stays as it is.
struct Widths
{
    unsigned char of[256] = {};

    constexpr Widths()
    {
        for (unsigned int character = 0; character < 256; ++character)
            of[character] = is_unreserved(character) ? 1 : 3;
    }
};

constexpr Widths unreserved_widths;

/// Those with the characters of `allowed`, which may be null, staying too.
Widths widths_with(unsigned char const* allowed)
{
    Widths widths = unreserved_widths;
    for (; allowed && *allowed != 0; ++allowed)
        widths.of[*allowed] = 1;
    return widths;
}

} // namespace

int URL_decodebuffer(unsigned char* out, unsigned char const* in)
{
    if (!out || !in)
        return 0;
    // What stands before the first escape, most often all, goes over at once.
    unsigned long const plain = std::strcspn(reinterpret_cast<char const*>(in), "%");
    std::memmove(out, in, plain);
    out += plain;
    in += plain;
    while (*in != 0)
    {
        if (is_escape(in))
        {
            *out++ = static_cast<unsigned char>(hex_value(in[1]) << 4 | hex_value(in[2]));
            in += 3;
        }
        else
        {
            *out++ = *in++;
        }
    }
    *out = 0;
    return 1;
}

int URL_checkescape(unsigned char const* text, unsigned char const* allowed)
{
    if (!text)
        return 0;
    Widths const widths = widths_with(allowed);
    for (; *text != 0; ++text)
    {
        if (widths.of[*text] != 1 && !is_escape(text))
            return 0;
    }
    return 1;
}

unsigned long URL_encoderequired(unsigned char const* text, unsigned char const* allowed)
{
    if (!text)
        return 0;
    Widths const widths = widths_with(allowed);
    unsigned long count = 0;
    for (; *text != 0; ++text)
        count += widths.of[*text];
    return count;
}

int URL_encodebuffer(unsigned char* out, unsigned char const* in, unsigned char const* allowed)
{
    if (!out || !in || out == in)
        return 0;
    static char const digits[] = "0123456789ABCDEF";
    Widths const widths = widths_with(allowed);
    for (; *in != 0; ++in)
    {
        if (widths.of[*in] == 1)
        {
            *out++ = *in;
            continue;
        }
        *out++ = '%';
        *out++ = static_cast<unsigned char>(digits[*in >> 4]);
        *out++ = static_cast<unsigned char>(digits[*in & 15]);
    }
    *out = 0;
    return 1;
}

} // namespace ORVA::Internetional
