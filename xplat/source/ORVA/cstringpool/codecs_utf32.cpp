#include "ORVA/String/Codecs.h"

#include <cstring>

namespace ORVA::String
{

namespace
{

/// Runs of ASCII up to this length are taken one by one: looking at a block that is none costs more than it saves.
constexpr unsigned int short_run = 8;

/// What of a text was counted: units of the source, and what they come to in another encoding.
struct extent
{
    unsigned long units;
    unsigned long size;
};

template <class Unit>
unsigned long count_units(Unit const* source, unsigned long limit)
{
    unsigned long count = 0;
    while (count != limit && source[count] != 0)
        ++count;
    return count;
}

/// Adds up `size` of every unit up to a 0, to a unit whose size is 0, or up to and including the one at the limit.
/// Looks at no unit beyond that one.
template <class Unit, class Size>
extent measure(Unit const* source, unsigned long limit, Size size)
{
    extent counted = {0, 0};
    if (limit == 0)
        return counted;
    for (; counted.units <= limit; ++counted.units)
    {
        auto const unit = static_cast<unsigned int>(source[counted.units]);
        unsigned int const unit_size = unit < 0x80 ? 1 : size(unit);
        if (unit == 0 || unit_size == 0)
            break;
        counted.size += unit_size;
    }
    return counted;
}

/// Stores 16 wide characters as bytes if all of them are below 0x80; otherwise stores nothing.
bool narrow_ascii_block(wchar_t const* source, unsigned char* destination)
{
    unsigned int wide[16];
    std::memcpy(wide, source, sizeof wide);
    unsigned int all = 0;
    for (unsigned int index = 0; index < 16; ++index)
        all |= wide[index];
    if (all > 0x7F)
        return false;
    unsigned char bytes[16];
    for (unsigned int index = 0; index < 16; ++index)
        bytes[index] = static_cast<unsigned char>(wide[index]);
    std::memcpy(destination, bytes, sizeof bytes);
    return true;
}

} // namespace

unsigned long UTF32wstrlen(unsigned int const* source, unsigned long limit)
{
    return count_units(source, limit);
}

unsigned long UTF32u16strlen(unsigned int const* source, unsigned long limit)
{
    return measure(source, limit, UTF16Size).size;
}

unsigned long UTF32u8strlen(unsigned int const* source, unsigned long limit)
{
    return measure(source, limit, UTF8Size).size;
}

unsigned long nqfWw32strlen(wchar_t const* source, unsigned long limit)
{
    return count_units(source, limit);
}

unsigned long nqfWu16strlen(wchar_t const*, unsigned long)
{
    return 0;
}

unsigned long nqfWu8strlen(wchar_t const* source, unsigned long limit)
{
    return measure(source, limit, UTF8Size).size;
}

unsigned long nqfWChar_To_UTF8(wchar_t const* src, unsigned long srcLen, unsigned char* dst, unsigned long dstLen)
{
    if (src == nullptr)
        return 0;
    extent const counted = measure(src, srcLen, UTF8Size);
    unsigned long const needed = counted.size + 1;
    if (dst == nullptr)
        return needed;
    if (needed > dstLen)
        return 0;

    wchar_t const* const src_end = src + counted.units;
    unsigned char* const end = dst + counted.size;
    while (dst != end)
    {
        if (static_cast<unsigned int>(*src) >= 0x80)
        {
            if (nqfW_utf8(dst, src) == 0)
                return 0; // Not reached: what was measured with a size can be encoded.
            continue;
        }
        unsigned int run = 0;
        for (; run < short_run && dst != end && static_cast<unsigned int>(*src) < 0x80; ++run)
            *dst++ = static_cast<unsigned char>(*src++);
        if (run < short_run)
            continue;
        while (src_end - src >= 16 && narrow_ascii_block(src, dst))
        {
            src += 16;
            dst += 16;
        }
    }
    *end = 0;
    return needed;
}

} // namespace ORVA::String
