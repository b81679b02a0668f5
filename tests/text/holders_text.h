/// @file
/// Small helpers of the holders' tests.
#pragma once

#include <string>
#include <vector>

/// All bits set: no limit, and the length of a UTF-8 holder that was filled from nothing.
inline constexpr unsigned long all_bits = ~0UL;

/// The elements of a zero-terminated text, without the terminator.
template <class T>
std::vector<T> units(T const* text)
{
    std::vector<T> result;
    while (*text != 0)
        result.push_back(*text++);
    return result;
}

/// A zero-terminated text of the given elements, to be used as a source.
template <class T>
std::vector<T> terminated(std::vector<T> elements)
{
    elements.push_back(0);
    return elements;
}

using Bytes = std::vector<unsigned char>;
using Shorts = std::vector<unsigned short>;
using Ints = std::vector<unsigned int>;

inline unsigned char const* utf8(char const* text)
{
    return reinterpret_cast<unsigned char const*>(text);
}

/// One wide character of any value, also of those that no character literal can have.
inline wchar_t wide(unsigned int value)
{
    return static_cast<wchar_t>(value);
}
