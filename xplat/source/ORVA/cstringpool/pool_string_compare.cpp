#include "ORVA/String/PoolString.h"

#include "cstringpool/text_order.h"

#include "ORVA/String/WideText.h"

#include <cwchar>

namespace ORVA::String
{

namespace
{

// A text to compare with, and its length.
struct Text
{
    wchar_t const* characters;
    unsigned long length;
};

// How an exact comparison and a folded one differ: in the order of characters, and in where a missing text comes.
struct Exact
{
    static int order(wchar_t a, wchar_t b) { return difference(a, b); }

    static bool decide_by_null(wchar_t const* a, wchar_t const* b, int& result)
    {
        if (a != nullptr && b != nullptr)
            return false;
        result = a != nullptr ? 1 : b != nullptr ? -1 : 0;
        return true;
    }
};

struct Folded
{
    static int order(wchar_t a, wchar_t b) { return folded_difference(a, b); }

    static bool decide_by_null(wchar_t const* a, wchar_t const* b, int& result)
    {
        if (a != nullptr && b != nullptr)
            return false;
        result = a == b ? 0 : a == nullptr ? 1 : -1;
        return true;
    }
};

template <class Order>
int compare_whole(wchar_t const* a, wchar_t const* b)
{
    int result = 0;
    if (a == b || Order::decide_by_null(a, b, result))
        return result;
    for (;; ++a, ++b)
    {
        if (*a != *b)
        {
            result = Order::order(*a, *b);
            if (result != 0)
                return result;
        }
        if (*a == 0)
            return 0;
    }
}

// Compares as many characters as the text looked for has, up to a 0 in either.
template <class Order>
int compare_part(wchar_t const* text, Text const& part)
{
    for (unsigned long index = 0; index < part.length && text[index] != 0 && part.characters[index] != 0; ++index)
    {
        if (int const result = Order::order(text[index], part.characters[index]))
            return result;
    }
    return 0;
}

enum class Place
{
    beginning,
    end
};

template <class Order, Place place>
int compare_at(Text const& text, Text const& part)
{
    int result = 0;
    if (text.length < part.length)
        return -1;
    if (Order::decide_by_null(text.characters, part.characters, result) || *part.characters == 0)
        return result;
    unsigned long const start = place == Place::beginning ? 0 : text.length - part.length;
    return compare_part<Order>(text.characters + start, part);
}

Text text_of(CPPoolString const& string)
{
    return {*string, string.len()};
}

Text text_of(wchar_t const* characters)
{
    return {characters, characters == nullptr ? 0 : std::wcslen(characters)};
}

// Whether `part` occurs in `text`; a 0 inside of the text is a character like others. A comparison that runs into the
// end of the text decides: no later start can do better.
bool contains(Text const& text, wchar_t const* part)
{
    if (text.characters == part)
        return true;
    if (text.characters == nullptr || part == nullptr || *part == 0)
        return false;
    for (unsigned long start = 0; start < text.length; ++start)
    {
        if (text.characters[start] != *part)
            continue;
        for (unsigned long offset = 1;; ++offset)
        {
            if (part[offset] == 0)
                return true;
            if (start + offset == text.length)
                return false;
            if (text.characters[start + offset] != part[offset])
                break;
        }
    }
    return false;
}

bool contains_folded(wchar_t const* text, wchar_t const* part)
{
    if (text == nullptr || part == nullptr)
        return text == part;
    return wcscnti(text, part) != 0;
}

} // namespace

int CPPoolString::cmp(CPPoolString const& other) const
{
    return m_pMH == other.m_pMH ? 0 : cmp(*other);
}

int CPPoolString::cmp(wchar_t const* other) const
{
    return compare_whole<Exact>(_record()->pData, other);
}

int CPPoolString::cmpi(CPPoolString const& other) const
{
    return m_pMH == other.m_pMH ? 0 : cmpi(*other);
}

int CPPoolString::cmpi(wchar_t const* other) const
{
    return compare_whole<Folded>(_record()->pData, other);
}

int CPPoolString::cmpp(CPPoolString const& other) const
{
    return m_pMH == other.m_pMH ? 0 : compare_at<Exact, Place::beginning>(text_of(*this), text_of(other));
}

int CPPoolString::cmpp(wchar_t const* other) const
{
    return compare_at<Exact, Place::beginning>(text_of(*this), text_of(other));
}

int CPPoolString::cmppi(CPPoolString const& other) const
{
    return m_pMH == other.m_pMH ? 0 : compare_at<Folded, Place::beginning>(text_of(*this), text_of(other));
}

int CPPoolString::cmppi(wchar_t const* other) const
{
    return compare_at<Folded, Place::beginning>(text_of(*this), text_of(other));
}

int CPPoolString::cmp_p(CPPoolString const& other) const
{
    return m_pMH == other.m_pMH ? 0 : compare_at<Exact, Place::end>(text_of(*this), text_of(other));
}

int CPPoolString::cmp_p(wchar_t const* other) const
{
    return compare_at<Exact, Place::end>(text_of(*this), text_of(other));
}

int CPPoolString::cmp_pi(CPPoolString const& other) const
{
    return m_pMH == other.m_pMH ? 0 : compare_at<Folded, Place::end>(text_of(*this), text_of(other));
}

int CPPoolString::cmp_pi(wchar_t const* other) const
{
    return compare_at<Folded, Place::end>(text_of(*this), text_of(other));
}

bool CPPoolString::cnt(CPPoolString const& part) const
{
    return len() >= part.len() && contains(text_of(*this), *part);
}

bool CPPoolString::cnt(wchar_t const* part) const
{
    return contains(text_of(_record()->pData), part);
}

bool CPPoolString::cnti(CPPoolString const& part) const
{
    return len() >= part.len() && contains_folded(_record()->pData, *part);
}

bool CPPoolString::cnti(wchar_t const* part) const
{
    return contains_folded(_record()->pData, part);
}

bool CPPoolString::iequals(CPPoolString const& other) const
{
    if (sHashi() != other.sHashi())
        return false;
    if (m_pMH == other.m_pMH)
        return true;
    if (len() != other.len())
        return false;
    wchar_t const* const a = *(*this);
    wchar_t const* const b = *other;
    if (a == nullptr || b == nullptr)
        return a == b;
    return compare_whole<Folded>(a, b) == 0;
}

int CPPoolString::pcmp(CPPoolString const& other) const noexcept
{
    if (m_pMH == other.m_pMH)
        return 0;
    return reinterpret_cast<unsigned long>(m_pMH) < reinterpret_cast<unsigned long>(other.m_pMH) ? -1 : 1;
}

} // namespace ORVA::String
