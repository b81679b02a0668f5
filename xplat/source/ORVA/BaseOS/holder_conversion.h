/// @file
/// The steps that the holders' conversions have in common: measure, allocate, convert.
#pragma once

#include "ORVA/Core.h"

#include <cstring>
#include <cwchar>

namespace ORVA::String
{

/// The limit that stands for a whole zero-terminated text, and the count that no text has.
inline constexpr unsigned long no_limit = ~0UL;

/// A buffer of `_falloc` that its receiver owns, and the length to store beside it.
template <class Target>
struct ConvertedText
{
    Target* text;
    unsigned long length;
};

inline unsigned long terminated_length(char const* text)
{
    return std::strlen(text);
}

inline unsigned long terminated_length(unsigned char const* text)
{
    return std::strlen(reinterpret_cast<char const*>(text));
}

inline unsigned long terminated_length(unsigned short const* text)
{
    unsigned long length = 0;
    while (text[length] != 0)
        ++length;
    return length;
}

inline unsigned long terminated_length(wchar_t const* text)
{
    return std::wcslen(text);
}

/// Allocates `count` elements of `element_size` bytes each. Null if the heap is exhausted or the size does not fit
/// into 64 bits.
template <class Target>
Target* allocate_elements(unsigned long count, unsigned long element_size = sizeof(Target))
{
    if (count > no_limit / element_size)
        return nullptr; // Not reached: no text is that long, and its length is what is asked for.
    return static_cast<Target*>(Core::OS::_falloc(count * element_size));
}

/// Copies `length` elements and the terminator behind them into a buffer of `element_size` bytes for each. Null if
/// the heap is exhausted.
template <class T>
T* copy_terminated(T const* source, unsigned long length, unsigned long element_size = sizeof(T))
{
    T* const text = allocate_elements<T>(length + 1, element_size);
    if (text)
        std::memcpy(text, source, (length + 1) * sizeof(T));
    return text;
}

/// Converts a whole text to another encoding.
///
/// `measure(source, no_limit)` gives an upper bound of the elements that the conversion writes; `convert(target,
/// source)` converts one character, advances both and gives 0 when it refuses. A refusal ends the text. A null source
/// gives null and 0; an exhausted heap gives null and the measured count.
template <class Target, class Source, class Measure, class Convert>
ConvertedText<Target> convert_text(Source const* source, Measure measure, Convert convert)
{
    if (!source)
        return {nullptr, 0};
    unsigned long const count = measure(source, no_limit);
    if (count == no_limit)
        return {nullptr, 0}; // Not reached: no text is that long.
    Target* const text = allocate_elements<Target>(count + 1);
    if (!text)
        return {nullptr, count};
    Target* end = text;
    if (*source != 0)
        while (convert(end, source) != 0 && *source != 0)
        {
        }
    *end = 0;
    return {text, static_cast<unsigned long>(end - text)};
}

} // namespace ORVA::String
