#include "ORVA/Files/Url.h"

#include <cstring>

namespace ORVA::Internetional
{

namespace
{

char const* chars(unsigned char const* text)
{
    return reinterpret_cast<char const*>(text);
}

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

bool is_unreserved(unsigned char character)
{
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
           (character >= '0' && character <= '9') || character == '-' || character == '.' || character == '_' ||
           character == '~';
}

/// Whether `character`, which is not 0, is never escaped or in `allowed`.
bool stays(unsigned char character, unsigned char const* allowed)
{
    return is_unreserved(character) || (allowed && std::strchr(chars(allowed), character) != nullptr);
}

} // namespace

int URL_decodebuffer(unsigned char* out, unsigned char const* in)
{
    if (!out || !in)
        return 0;
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
    for (; *text != 0; ++text)
    {
        if (!stays(*text, allowed) && !is_escape(text))
            return 0;
    }
    return 1;
}

unsigned long URL_encoderequired(unsigned char const* text, unsigned char const* allowed)
{
    if (!text)
        return 0;
    unsigned long count = 0;
    for (; *text != 0; ++text)
        count += stays(*text, allowed) ? 1U : 3U;
    return count;
}

int URL_encodebuffer(unsigned char* out, unsigned char const* in, unsigned char const* allowed)
{
    if (!out || !in || out == in)
        return 0;
    static char const digits[] = "0123456789ABCDEF";
    for (; *in != 0; ++in)
    {
        if (stays(*in, allowed))
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
