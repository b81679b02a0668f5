/// @file
/// The evaluation of a text byte by byte: one table look-up per byte and hash, and one call of the platform's mapping
/// to lower case per character.
#pragma once

#include "ORVA/String/StringInfo.h"

#include <cwctype>

namespace reference
{

/// Evaluates texts with a table of its own.
class PlainEvaluation
{
public:
    using Info = ORVA::String::tagSTRINGBASICINFO;

    PlainEvaluation()
    {
        for (unsigned long i = 0; i < 256; ++i)
        {
            unsigned long value = i << 56;
            for (int bit = 0; bit < 8; ++bit)
                value = (value >> 63) != 0 ? value << 1 ^ 0x42f0e1eba9ea3693UL : value << 1;
            m_table[i] = value;
        }
    }

    unsigned int operator()(Info& info, wchar_t const* source) const { return wide(info, source, nullptr); }
    unsigned int operator()(Info& info, unsigned char const* source) const { return utf8(info, source, nullptr); }
    unsigned int operator()(Info& info, unsigned short const* source) const { return utf16(info, source, nullptr); }

    unsigned int operator()(Info& info, wchar_t const* source, unsigned long n) const
    {
        return is_empty(info, source, n) ? 1 : wide(info, source, source + n);
    }
    unsigned int operator()(Info& info, unsigned char const* source, unsigned long n) const
    {
        return is_empty(info, source, n) ? 1 : utf8(info, source, source + n);
    }
    unsigned int operator()(Info& info, unsigned short const* source, unsigned long n) const
    {
        return is_empty(info, source, n) ? 1 : utf16(info, source, source + n);
    }

private:
    template <class Unit>
    static bool is_empty(Info& info, Unit const* source, unsigned long n)
    {
        if (static_cast<long>(n) >= 1 && *source != 0)
            return false;
        info = {0, 0, 0, 0};
        return true;
    }

    void step(unsigned long& hash, unsigned int character) const
    {
        hash = m_table[((hash >> 56) ^ character) & 255] ^ hash << 8;
        hash = m_table[((hash >> 56) ^ character >> 8) & 255] ^ hash << 8;
    }

    void add(Info& info, unsigned int character, unsigned int utf8_size) const
    {
        unsigned int folded = character;
        if (character >> 16 == 0)
            folded = static_cast<unsigned int>(std::towlower(static_cast<std::wint_t>(character)));
        info.len += 1;
        info.utf8Size += utf8_size;
        step(info.sHash, character);
        step(info.sHashi, folded);
    }

    unsigned int wide(Info& info, wchar_t const* source, wchar_t const* end) const
    {
        Info result = {0, 0, 0, 0};
        for (; source != end && *source != 0; ++source)
        {
            unsigned int const c = static_cast<unsigned int>(*source);
            unsigned int size = c < 0x110000 ? 4 : 0;
            if (c >> 16 == 0)
                size = c < 0x80 ? 1 : c < 0x800 ? 2 : 3;
            add(result, c, size);
        }
        info = result;
        return 1;
    }

    unsigned int utf8(Info& info, unsigned char const* source, unsigned char const* end) const
    {
        Info result = {0, 0, 0, 0};
        while (source != end && *source != 0)
        {
            unsigned int const first = *source;
            unsigned int size = 0;
            unsigned int value = 0;
            if (first <= 0x7F)
                size = 1, value = first;
            else if (first >= 0xC0 && first <= 0xDF)
                size = 2, value = first & 0x1F;
            else if (first >= 0xE0 && first <= 0xEF)
                size = 3, value = first & 0x0F;
            else if (first >= 0xF0 && first <= 0xF4)
                size = 4, value = first & 0x07;
            if (size == 0)
                return 0;
            for (unsigned int i = 1; i < size; ++i)
            {
                if (source + i == end || source[i] >> 6 != 2)
                    return 0;
                value = value << 6 | (source[i] & 0x3F);
            }
            add(result, value, size);
            source += size;
        }
        info = result;
        return 1;
    }

    unsigned int utf16(Info& info, unsigned short const* source, unsigned short const* end) const
    {
        Info result = {0, 0, 0, 0};
        while (source != end && *source != 0)
        {
            unsigned int const first = *source++;
            if (first >= 0xDC00 && first <= 0xDFFF)
                return 0;
            if (first >= 0xD800 && first <= 0xDBFF)
            {
                if (source == end || *source < 0xDBFF)
                    return 0;
                unsigned int const second = *source++;
                add(result, (first & 0x3FF) != 0 || (second & 0x3FF) != 0 ? 1 : 0, 1);
            }
            else
            {
                add(result, first, first < 0x80 ? 1 : first < 0x800 ? 2 : 3);
            }
        }
        info = result;
        return 1;
    }

    unsigned long m_table[256];
};

} // namespace reference
