/// @file
/// The codecs in their plainest form: one unit at a time, every rule written out, no shortcut. What the library does
/// in runs and blocks is held against these.
///
/// The walks look at units beyond a limit before they decide by it, so a source given to them needs a few readable
/// units beyond its limit. The library's walks do not look there, and give the same results.
#pragma once

namespace plain
{

inline bool is_continuation(unsigned int byte)
{
    return byte >= 0x80 && byte <= 0xBF;
}

inline unsigned int utf8_length(unsigned int first)
{
    if (first <= 0x7F)
        return 1;
    if (first >= 0xC0 && first <= 0xDF)
        return 2;
    if (first >= 0xE0 && first <= 0xEF)
        return 3;
    if (first >= 0xF0 && first <= 0xF4)
        return 4;
    return 0;
}

inline unsigned int utf8_size(unsigned int character)
{
    if (character < 0x80)
        return 1;
    if (character < 0x800)
        return 2;
    if (character < 0x10000)
        return 3;
    if (character < 0x110000)
        return 4;
    return 0;
}

inline unsigned int utf16_size(unsigned int character)
{
    if (character < 0x10000)
        return 1;
    if (character <= 0x110000)
        return 2;
    return 0;
}

/// What a decoder or encoder did: its result, its output, and how many units it took or stored.
struct step
{
    unsigned int result;
    unsigned int value;
    unsigned int units;
};

inline bool operator==(step const& a, step const& b)
{
    return a.result == b.result && a.value == b.value && a.units == b.units;
}

inline step decode_utf8(unsigned char const* source)
{
    unsigned int const first = source[0];
    unsigned int const length = utf8_length(first);
    if (length == 0)
        return {0, 0, 0};
    if (length == 1)
        return {1, first, 1};
    unsigned int value = first - (length == 2 ? 0xC0 : length == 3 ? 0xE0 : 0xF0);
    for (unsigned int taken = 1; taken < length; ++taken)
    {
        if (!is_continuation(source[taken]))
            return {0, value, taken};
        value = value * 64 + (source[taken] - 0x80U);
    }
    return {1, value, length};
}

/// The value after a refusal means nothing.
inline step decode_utf16(unsigned short const* source)
{
    unsigned int const first = source[0];
    if (first < 0xD800 || first >= 0xE000)
        return {1, first, 1};
    if (first >= 0xDC00)
        return {0, 0, 0};
    unsigned int const second = source[1];
    if (second < 0xDBFF)
        return {0, 0, 0};
    bool const any = first % 1024 != 0 || second % 1024 != 0;
    return {1, any ? 1U : 0U, 2};
}

/// The number of bytes stored, 0 for a refusal.
inline unsigned int encode_utf8(unsigned char* destination, unsigned int character)
{
    unsigned int const size = utf8_size(character);
    unsigned int const leads[] = {0, 0, 0xC0, 0xE0, 0xF0};
    for (unsigned int index = size; index > 1; --index)
    {
        destination[index - 1] = static_cast<unsigned char>(0x80 + character % 64);
        character /= 64;
    }
    if (size != 0)
        destination[0] = static_cast<unsigned char>(leads[size] + character);
    return size;
}

/// The number of units stored, 0 for a refusal.
inline unsigned int encode_utf16(unsigned short* destination, unsigned int character)
{
    if (character < 0x10000)
    {
        destination[0] = static_cast<unsigned short>(character);
        return 1;
    }
    if (character > 0x10FFFF)
        return 0;
    destination[0] = static_cast<unsigned short>(0xD800 | (character / 1024));
    destination[1] = static_cast<unsigned short>(0xDC00 + character % 1024);
    return 2;
}

/// Walks UTF-8 text and adds up `weight` of every character.
template <class Weight>
unsigned long walk_utf8(unsigned char const* source, unsigned long limit, Weight weight)
{
    if (limit == 0 || source[0] == 0)
        return 0;
    unsigned long sum = 0;
    unsigned long position = 0;
    while (source[position] != 0)
    {
        step const decoded = decode_utf8(source + position);
        if (decoded.result == 0)
            break;
        position += decoded.units;
        if (position > limit)
            break;
        sum += weight(decoded.value);
    }
    return sum;
}

inline unsigned long utf8_characters(unsigned char const* source, unsigned long limit)
{
    return walk_utf8(source, limit, [](unsigned int) { return 1U; });
}

inline unsigned long utf8_to_utf16_units(unsigned char const* source, unsigned long limit)
{
    return walk_utf8(source, limit, [](unsigned int value) { return value > 0xFFFF ? 2U : 1U; });
}

/// Walks UTF-16 text and adds up `weight` of every character.
template <class Weight>
unsigned long walk_utf16(unsigned short const* source, unsigned long limit, Weight weight)
{
    if (limit == 0 || source[0] == 0)
        return 0;
    unsigned long sum = 0;
    unsigned long position = 0;
    while (source[position] != 0)
    {
        step const decoded = decode_utf16(source + position);
        if (decoded.result == 0)
            break;
        position += decoded.units;
        if (position > limit)
            break;
        sum += weight(decoded.value);
    }
    return sum;
}

inline unsigned long utf16_characters(unsigned short const* source, unsigned long limit)
{
    return walk_utf16(source, limit, [](unsigned int) { return 1U; });
}

inline unsigned long utf16_to_utf8_bytes(unsigned short const* source, unsigned long limit)
{
    return walk_utf16(source, limit, utf8_size);
}

template <class Unit>
unsigned long utf32_units(Unit const* source, unsigned long limit)
{
    unsigned long length = 0;
    while (source[length] != 0)
        ++length;
    return length < limit ? length : limit;
}

/// Adds up `size` of every unit, the one at the limit included, up to a 0 or one whose size is 0.
template <class Unit, class Size>
unsigned long walk_utf32(Unit const* source, unsigned long limit, Size size)
{
    if (limit == 0 || source[0] == 0)
        return 0;
    unsigned long sum = 0;
    for (unsigned long position = 0; source[position] != 0 && position <= limit; ++position)
    {
        unsigned int const unit_size = size(static_cast<unsigned int>(source[position]));
        if (unit_size == 0)
            break;
        sum += unit_size;
    }
    return sum;
}

/// Converts character by character; the result and the rules of the capacity are those of the library.
inline unsigned long utf8_to_wide(unsigned char const* source, unsigned long limit, wchar_t* destination,
                                  unsigned long capacity)
{
    if (source == nullptr)
        return 0;
    unsigned long const length = utf8_characters(source, limit);
    if (destination == nullptr)
        return length + 1;
    if (length + 1 > capacity)
        return 0;
    for (unsigned long index = 0; index < length; ++index)
    {
        step const decoded = decode_utf8(source);
        if (decoded.result == 0)
            return 0;
        destination[index] = static_cast<wchar_t>(decoded.value);
        source += decoded.units;
    }
    destination[length] = 0;
    return length + 1;
}

/// Converts character by character; the result and the rules of the capacity are those of the library.
inline unsigned long wide_to_utf8(wchar_t const* source, unsigned long limit, unsigned char* destination,
                                  unsigned long capacity)
{
    if (source == nullptr)
        return 0;
    unsigned long const length = walk_utf32(source, limit, utf8_size);
    if (destination == nullptr)
        return length + 1;
    if (length + 1 > capacity)
        return 0;
    for (unsigned long position = 0; position < length; ++source)
    {
        unsigned int const stored = encode_utf8(destination + position, static_cast<unsigned int>(*source));
        if (stored == 0)
            return 0;
        position += stored;
    }
    destination[length] = 0;
    return length + 1;
}

} // namespace plain
