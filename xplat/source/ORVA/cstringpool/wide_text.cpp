#include "ORVA/String/WideText.h"

#include "BaseOS_Unix_common/rune_mapping.h"
#include "cstringpool/wide_search.h"

#include <climits>

namespace ORVA::String
{

namespace
{

/// More characters than any text has.
constexpr unsigned long no_limit = LONG_MAX;

wchar_t same(wchar_t character)
{
    return character;
}

int folded_difference(wchar_t a, wchar_t b)
{
    auto const lower_a = static_cast<unsigned int>(OS::rune_tolower(a));
    auto const lower_b = static_cast<unsigned int>(OS::rune_tolower(b));
    return static_cast<int>(lower_a - lower_b);
}

/// Compares up to `limit` characters, mapping only those that differ.
int compare_folded(wchar_t const* a, wchar_t const* b, unsigned long limit)
{
    for (; limit != 0; ++a, ++b, --limit)
    {
        if (*a != *b)
        {
            int const difference = folded_difference(*a, *b);
            if (difference != 0)
                return difference;
        }
        if (*a == 0)
            break;
    }
    return 0;
}

/// Decides a comparison that has a null pointer in it, or one text twice. False if the texts must be looked at.
bool decided_by_pointers(wchar_t const* a, wchar_t const* b, int& result)
{
    if (a == b)
        result = 0;
    else if (a == nullptr)
        result = 1;
    else if (b == nullptr)
        result = -1;
    else
        return false;
    return true;
}

template <class Map>
void map_in_place(wchar_t* text, Map map)
{
    if (text == nullptr)
        return;
    for (; *text != 0; ++text)
        *text = map(*text);
}

} // namespace

bool _isSlash(wchar_t character)
{
    return character == L'/' || character == L'\\';
}

bool _isblank(wchar_t character)
{
    return character == L' ';
}

bool _iswhitespace(wchar_t character)
{
    return character == L'\t' || character == L'\n' || character == L'\r' || character == L' ';
}

bool _isCRLF(wchar_t character)
{
    return character == L'\n' || character == L'\r';
}

bool _isUNCW(wchar_t const* path)
{
    return path[0] == L'\\' && path[1] == L'\\' && path[2] == L'?' && path[3] == L'\\';
}

wchar_t wctolower(wchar_t const& character)
{
    return OS::rune_tolower(character);
}

wchar_t wctoupper(wchar_t const& character)
{
    return OS::rune_toupper(character);
}

void wcslower(wchar_t* text)
{
    map_in_place(text, OS::rune_tolower);
}

void wcsupper(wchar_t* text)
{
    map_in_place(text, OS::rune_toupper);
}

int wccmpi(wchar_t a, wchar_t b)
{
    return a == b ? 0 : folded_difference(a, b);
}

int wcscmpi(wchar_t const* a, wchar_t const* b)
{
    int result;
    return decided_by_pointers(a, b, result) ? result : compare_folded(a, b, no_limit);
}

int wcsncmpi(wchar_t const* a, wchar_t const* b, unsigned long n)
{
    int result;
    if (decided_by_pointers(a, b, result))
        return result;
    int const count = static_cast<int>(static_cast<unsigned int>(n));
    return count < 1 ? 0 : compare_folded(a, b, static_cast<unsigned long>(count));
}

unsigned long wcscount(wchar_t const* s, wchar_t c)
{
    unsigned long count = 0;
    for (; *s != 0; ++s)
    {
        if (*s == c)
            ++count;
    }
    return count;
}

int wcscnt(wchar_t const* s, wchar_t const* part)
{
    return contains(s, part, no_limit, same);
}

int wcsncnt(wchar_t const* s, wchar_t const* part, unsigned long n)
{
    return contains(s, part, n, same);
}

int wcscnti(wchar_t const* s, wchar_t const* part)
{
    return contains_folded(s, part, no_limit, OS::rune_tolower);
}

int wcsncnti(wchar_t const* s, wchar_t const* part, unsigned long n)
{
    return contains_folded(s, part, n, OS::rune_tolower);
}

} // namespace ORVA::String
