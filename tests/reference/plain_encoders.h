/// @file
/// The two forms of bytes as text in their plainest form: every bit is moved by itself, to and from a table of places. What
/// the library does with whole characters is held against this.
#pragma once

#include <array>
#include <string>
#include <vector>

namespace plain
{

using Bytes = std::vector<unsigned char>;

/// Bit `i` of the group's bytes, counted from bit 0 of the first, goes to bit `places[i] % 16` of character
/// `places[i] / 16`.
struct TextForm
{
    unsigned long bytes;  ///< in a group
    unsigned long header; ///< before the remainder comes in
    unsigned long base;   ///< added to the bits of a character
    std::array<int, 56> places;
};

inline void put(TextForm& form, int byte, int from, int to, int character, int at)
{
    for (int bit = from; bit < to; ++bit)
        form.places[static_cast<unsigned long>(byte * 8 + bit)] = character * 16 + at + bit - from;
}

inline TextForm c3f()
{
    TextForm form = {3, 0x103, 33, {}};
    put(form, 0, 0, 6, 0, 0);
    put(form, 0, 6, 8, 1, 0);
    put(form, 1, 0, 4, 1, 4);
    put(form, 1, 4, 8, 2, 0);
    put(form, 2, 0, 2, 2, 4);
    put(form, 2, 2, 8, 3, 0);
    return form;
}

inline TextForm c3fff()
{
    TextForm form = {7, 0x307, 0x4000, {}};
    put(form, 0, 0, 8, 0, 0);
    put(form, 1, 0, 6, 0, 8);
    put(form, 1, 6, 8, 1, 0);
    put(form, 2, 0, 8, 1, 2);
    put(form, 3, 0, 4, 1, 10);
    put(form, 3, 4, 8, 2, 0);
    put(form, 4, 0, 8, 2, 4);
    put(form, 5, 0, 2, 2, 12);
    put(form, 5, 2, 8, 3, 0);
    put(form, 6, 0, 8, 3, 6);
    return form;
}

inline bool bit_of(Bytes const& bytes, unsigned long group, unsigned long bit, unsigned long group_bytes)
{
    unsigned long const index = group * group_bytes + bit / 8;
    return index < bytes.size() && (bytes[index] >> (bit % 8) & 1) != 0;
}

/// The text of `bytes` in `form`.
inline std::wstring encoded(TextForm const& form, Bytes const& bytes)
{
    std::wstring text(1, static_cast<wchar_t>((bytes.size() % form.bytes) ^ form.header));
    unsigned long const groups = (bytes.size() + form.bytes - 1) / form.bytes;
    for (unsigned long group = 0; group < groups; ++group)
    {
        std::array<unsigned long, 4> characters = {};
        for (unsigned long bit = 0; bit < form.bytes * 8; ++bit)
            if (bit_of(bytes, group, bit, form.bytes))
                characters[static_cast<unsigned long>(form.places[bit] / 16)] |= 1UL << (form.places[bit] % 16);
        for (unsigned long index = 0; index < 4; ++index)
        {
            unsigned long character = characters[index] + form.base;
            if (form.bytes == 3 && index == 1)
                character %= 256;
            text += static_cast<wchar_t>(character);
        }
    }
    return text;
}

/// What comes back of `bytes`, whose length is no multiple of the group's: in C3F the second byte of a group may have
/// changed.
inline Bytes returned(TextForm const& form, Bytes bytes)
{
    if (form.bytes == 3)
        for (unsigned long index = 1; index < bytes.size(); index += 3)
            if (bytes[index] % 16 >= 14)
                bytes[index] = static_cast<unsigned char>(bytes[index] | 0xF0);
    return bytes;
}

/// What `form` makes of a text whose header is good, whatever its other characters are.
inline Bytes decoded(TextForm const& form, std::wstring const& text)
{
    Bytes bytes;
    for (unsigned long at = 1; at + 4 <= text.size(); at += 4)
    {
        std::array<unsigned long, 4> c = {};
        for (unsigned long index = 0; index < 4; ++index)
            c[index] = static_cast<unsigned int>(text[at + index]);
        for (unsigned long byte = 0; byte < form.bytes; ++byte)
        {
            unsigned long value = 0;
            if (form.bytes == 3)
            {
                // Seen from 33, in 12 bits; each byte ends where its last character does.
                std::array<unsigned long, 4> d = {};
                for (unsigned long index = 0; index < 4; ++index)
                    d[index] = (c[index] + 4096 - 33) % 4096;
                value = byte == 0 ? d[1] * 64 | d[0] : byte == 1 ? d[2] * 16 | d[1] / 16 : d[3] * 4 | d[2] / 16;
            }
            else
                for (unsigned long bit = 0; bit < 8; ++bit)
                {
                    int const place = form.places[byte * 8 + bit];
                    value |= (c[static_cast<unsigned long>(place / 16)] >> (place % 16) & 1) << bit;
                }
            bytes.push_back(static_cast<unsigned char>(value % 256));
        }
    }
    unsigned long const padding = static_cast<unsigned int>(text[0]) % 256;
    bytes.resize(bytes.size() < padding ? 0 : bytes.size() - padding);
    return bytes;
}

} // namespace plain
