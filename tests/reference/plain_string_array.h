/// @file
/// The plain twins of the string array and of its joining and splitting: standard containers, one step after the other.
#pragma once

#include "ORVA/String/PoolString.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

namespace reference
{

/// The text of an entry; none for the null string.
using PlainEntry = std::optional<std::wstring>;
using PlainEntries = std::vector<PlainEntry>;

/// What a slice delivers: as many bytes as it has characters, up to a 0.
inline std::wstring plain_slice(std::wstring const& slice)
{
    std::wstring buffer(slice.size() + 1, L'\0');
    for (std::size_t byte = 0; byte < slice.size(); ++byte)
        reinterpret_cast<unsigned char*>(buffer.data())[byte] =
            reinterpret_cast<unsigned char const*>(slice.data())[byte];
    return buffer.substr(0, buffer.find(L'\0'));
}

/// The entries that a text splits into, as an array that is not sorted gets them.
inline PlainEntries plain_split(std::wstring const& text, wchar_t separator)
{
    PlainEntries entries;
    std::wstring piece;
    for (wchar_t const character : text)
    {
        if (character != separator)
        {
            piece += character;
            continue;
        }
        entries.push_back(piece.empty() ? PlainEntry() : plain_slice(piece));
        piece.clear();
    }
    if (!piece.empty())
        entries.push_back(plain_slice(piece));
    return entries;
}

/// The entries in one text.
inline std::wstring plain_join(PlainEntries const& entries, wchar_t separator)
{
    std::wstring text;
    for (std::size_t index = 0; index < entries.size(); ++index)
    {
        if (index != 0)
            text += separator;
        text += entries[index].value_or(L"");
    }
    return text;
}

/// The array itself: a linear search, and moves of whole entries.
class PlainStringArray
{
public:
    using String = ORVA::String::CPPoolString;

    explicit PlainStringArray(bool sorted) : m_sorted(sorted) {}

    std::vector<String> const& entries() const { return m_entries; }

    unsigned int add(String const& value)
    {
        if (!m_sorted)
            return m_entries.push_back(value), 1;
        if (!is_at(place_of(value), value))
            m_entries.insert(at(place_of(value)), value);
        return 1;
    }

    unsigned int insert(String const& value, unsigned long index)
    {
        if (m_sorted)
            return 0;
        m_entries.insert(at(std::min<unsigned long>(index, m_entries.size())), value);
        return 1;
    }

    unsigned int remove(String const& value)
    {
        if (!m_sorted)
            return 0;
        if (is_at(place_of(value), value))
            m_entries.erase(at(place_of(value)));
        return 1;
    }

    /// The place of the first entry that does not come before `value`.
    unsigned long place_of(String const& value) const
    {
        unsigned long place = 0;
        while (place < m_entries.size() && std::wstring(*m_entries[place]) < std::wstring(*value))
            ++place;
        return place;
    }

private:
    std::vector<String>::iterator at(unsigned long place)
    {
        return m_entries.begin() + static_cast<std::ptrdiff_t>(place);
    }
    bool is_at(unsigned long place, String const& value) const
    {
        return place < m_entries.size() && m_entries[place] == value;
    }

    bool m_sorted;
    std::vector<String> m_entries;
};

} // namespace reference
