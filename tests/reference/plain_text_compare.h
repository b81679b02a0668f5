/// @file
/// The comparisons of pooled strings, written down as they are told: on texts without zeros inside.
#pragma once

#include <cwctype>
#include <string>

namespace reference
{

/// A character as a comparison sees it.
inline unsigned int seen(wchar_t character, bool folded)
{
    return static_cast<unsigned int>(folded ? std::towlower(static_cast<std::wint_t>(character))
                                            : static_cast<std::wint_t>(character));
}

/// The difference at the first position, of `count`, at which the texts differ; 0 if they do not.
inline int plain_difference(std::wstring const& a, std::wstring const& b, unsigned long count, bool folded)
{
    for (unsigned long index = 0; index < count; ++index)
    {
        // The position behind the last character holds a 0.
        unsigned int const x = seen(a[index], folded);
        unsigned int const y = seen(b[index], folded);
        if (a[index] != b[index] && x != y)
            return static_cast<int>(x - y);
    }
    return 0;
}

inline int plain_whole(std::wstring const& text, std::wstring const& other, bool folded)
{
    unsigned long const shorter = text.size() < other.size() ? text.size() : other.size();
    return plain_difference(text, other, shorter + 1, folded);
}

inline int plain_beginning(std::wstring const& text, std::wstring const& other, bool folded)
{
    return text.size() < other.size() ? -1 : plain_difference(text, other, other.size(), folded);
}

inline int plain_end(std::wstring const& text, std::wstring const& other, bool folded)
{
    if (text.size() < other.size())
        return -1;
    return plain_difference(text.substr(text.size() - other.size()), other, other.size(), folded);
}

/// Whether `part` occurs in `text`, where the two do not stand in the same memory.
inline bool plain_contains(std::wstring const& text, std::wstring const& part, bool folded)
{
    if (part.empty())
        return false;
    for (unsigned long start = 0; start + part.size() <= text.size(); ++start)
    {
        if (plain_difference(text.substr(start), part, part.size(), folded) == 0)
            return true;
    }
    return false;
}

} // namespace reference
