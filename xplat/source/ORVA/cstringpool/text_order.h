// Orders of characters and of the beginnings of texts.
#pragma once

#include "BaseOS_Unix_common/rune_mapping.h"

#include "ORVA/String/Record.h"

#include <algorithm>

namespace ORVA::String
{

// The difference of two characters as a signed 32-bit number, wrapping.
inline int difference(wchar_t a, wchar_t b)
{
    return static_cast<int>(static_cast<unsigned int>(a) - static_cast<unsigned int>(b));
}

// The difference of two characters in lower case. Only characters that differ are mapped.
inline int folded_difference(wchar_t a, wchar_t b)
{
    return a == b ? 0 : difference(OS::rune_tolower(a), OS::rune_tolower(b));
}

// Whether the first characters of two texts of `length` are the same, as far as the pool compares texts. A 0 in both
// ends the texts. A null text is only the same as a null text.
inline bool same_beginning(wchar_t const* a, wchar_t const* b, unsigned long length)
{
    if (a == b)
        return true;
    if (a == nullptr || b == nullptr)
        return false;
    unsigned long const count = std::min(length, uComparedCharacters);
    for (unsigned long index = 0; index < count; ++index)
    {
        if (a[index] != b[index])
            return false;
        if (a[index] == 0)
            break;
    }
    return true;
}

// Whether two records of equal `sHash` are one string to the pool.
inline bool is_one_string(tagSTRINGPOOLRECORD const& a, tagSTRINGPOOLRECORD const& b)
{
    return a.info.sHashi == b.info.sHashi && a.info.len == b.info.len && same_beginning(a.pData, b.pData, a.info.len);
}

} // namespace ORVA::String
