/// @file
/// The substring search under the tests of WideText.h.
///
/// Both texts are compared as a mapping of single characters leaves them. The part is mapped as the comparison goes,
/// except for its first character, which every start needs: so no copy is made, and a part of any length needs
/// neither heap nor stack.
#pragma once

namespace ORVA::String
{

/// Whether `part` occurs in the first `limit` characters of `s`: 1 or 0. Equal pointers give 1 whatever the limit,
/// otherwise a limit below 1, as a signed number, gives 0. An empty text neither occurs nor is searched.
template <class Map>
int contains(wchar_t const* s, wchar_t const* part, unsigned long limit, Map map)
{
    if (s == part)
        return 1;
    if (static_cast<long>(limit) < 1 || *s == 0 || *part == 0)
        return 0;
    wchar_t const first = map(*part);
    for (; limit != 0 && *s != 0; ++s, --limit)
    {
        if (map(*s) != first)
            continue;
        for (unsigned long index = 1;; ++index)
        {
            if (part[index] == 0)
                return 1;
            if (index == limit || s[index] == 0)
                return 0;
            if (s[index] != part[index] && map(s[index]) != map(part[index]))
                break;
        }
    }
    return 0;
}

/// As `contains`, with 0 for whatever the mapping throws.
template <class Map>
int contains_folded(wchar_t const* s, wchar_t const* part, unsigned long limit, Map map)
{
    try
    {
        return contains(s, part, limit, map);
    }
    catch (...)
    {
        return 0;
    }
}

} // namespace ORVA::String
