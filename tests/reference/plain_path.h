/// @file
/// The analysis of paths in its plainest form: places are indices, every rule looks for what it needs by itself, and is
/// written out. What the library does in one scan is held against this.
#pragma once

#include <array>
#include <string>

namespace plain
{

/// A place in a text, or `none` for a null pointer.
inline constexpr long none = -1;

/// The parts of a path, in the order of the library's fields.
struct PathParts
{
    long prefix = none;
    long prefix_end = none;
    long drive = none;
    long drive_end = none;
    long server = none;
    long server_end = none;
    long directory = none;
    long directory_end = none;
    long name = none;
    long name_end = none;
    long extension = none;

    std::array<long, 11> all() const
    {
        return {prefix,    prefix_end,    drive, drive_end, server,   server_end,
                directory, directory_end, name,  name_end,  extension};
    }
};

namespace path
{

inline bool separates(wchar_t character)
{
    return character == L'/' || character == L'\\';
}

/// The first place from `from` on where one of `characters` stands, or `none`.
inline long first_of(std::wstring const& text, wchar_t const* characters, long from)
{
    auto const place = text.find_first_of(characters, static_cast<std::size_t>(from));
    return place == std::wstring::npos ? none : static_cast<long>(place);
}

/// The last place, not before `from`, where one of `characters` stands, or `none`.
inline long last_of(std::wstring const& text, wchar_t const* characters, long from)
{
    auto const place = text.find_last_of(characters);
    return place == std::wstring::npos || static_cast<long>(place) < from ? none : static_cast<long>(place);
}

inline bool stands_at(std::wstring const& text, long place, wchar_t const* part)
{
    return text.compare(static_cast<std::size_t>(place), std::wstring(part).size(), part) == 0;
}

/// The character at `place`, or 0 at the end.
inline wchar_t at(std::wstring const& text, long place)
{
    return static_cast<std::size_t>(place) < text.size() ? text[static_cast<std::size_t>(place)] : L'\0';
}

inline bool parse(std::wstring const& text, bool has_name, PathParts& parts)
{
    long const end = static_cast<long>(text.size());
    wchar_t const* const separators = L"/\\";

    // Characters that no path contains.
    for (wchar_t const character : text)
    {
        if ((character >= 0 && character < 32) || character == L'<' || character == L'>' || character == L'|')
            return false;
    }

    // The body.
    long body = 0;
    while (at(text, body) == L' ')
        ++body;
    if (body == end)
        return false;
    if (stands_at(text, body, L"\\\\?\\UNC\\") || stands_at(text, body, L"\\\\?\\UNC/"))
    {
        parts.prefix = body;
        body += 8;
        parts.prefix_end = body;
        if (separates(at(text, body)))
            return false;
    }
    else if (stands_at(text, body, L"\\\\?\\"))
    {
        parts.prefix = body;
        body += 4;
        parts.prefix_end = body;
    }
    else if (stands_at(text, body, L"\\\\.\\"))
    {
        if (!has_name)
            return false;
        parts.prefix = body;
        body += 4;
        parts.prefix_end = body;
    }
    if (parts.prefix != none && body == end && has_name)
        return false;

    // The colon.
    long const colon = first_of(text, L":", body);
    if (colon != none && first_of(text, L":", colon + 1) != none)
        return false;
    long first_separator = first_of(text, separators, body);
    long const last_separator = last_of(text, separators, body);
    long first_dot = first_of(text, L".", body);
    long last_dot = last_of(text, L".", body);
    parts.drive_end = end;
    if (colon != none)
    {
        if (colon == body)
            return false;
        if (first_separator != none && first_separator < colon)
            return false;
        if (first_dot != none && first_dot < colon)
            return false;
        if (colon - body == 1)
        {
            wchar_t const letter = at(text, body);
            bool const upper = letter >= L'A' && letter <= L'Z';
            bool const lower = letter >= L'a' && letter <= L'z';
            if (!upper && !lower)
                return false;
            if (separates(at(text, colon + 1)) && separates(at(text, colon + 2)))
                return false;
        }
        else
        {
            if (at(text, colon + 1) != L'/')
                return false;
            if (at(text, colon + 2) != L'/')
                return false;
        }
        parts.drive = body;
        parts.drive_end = colon + 1;
        body = colon + 1;
    }

    // The server.
    parts.server_end = end;
    if (first_separator != none && at(text, first_separator + 1) == at(text, first_separator))
    {
        if (first_separator != body)
            return false;
        if (last_separator == first_separator + 1)
        {
            if (has_name)
                return false;
            parts.server = first_separator;
            parts.directory_end = end;
            parts.name_end = end;
            return true;
        }
        parts.server = first_separator;
        parts.server_end = first_of(text, separators, first_separator + 2);
        if (first_dot != none && first_dot < parts.server_end)
        {
            if (last_dot <= parts.server_end)
            {
                first_dot = none;
                last_dot = none;
            }
            else
            {
                first_dot = first_of(text, L".", parts.server_end);
            }
        }
        body = parts.server_end;
    }

    if (!has_name)
    {
        parts.directory = body == end ? none : body;
        parts.directory_end = end;
        parts.name_end = end;
        return true;
    }

    if (last_separator != none)
    {
        if (last_separator + 1 == end)
            return false;
        parts.directory = body;
        parts.directory_end = last_separator + 1;
        parts.name = last_separator + 1;
        parts.name_end = end;
        if (last_dot != none && last_dot > last_separator)
        {
            parts.name_end = last_dot;
            parts.extension = last_dot;
        }
        return true;
    }

    parts.directory_end = end;
    parts.name = body;
    if (first_dot != none && first_dot == body)
    {
        if (last_dot + 1 < end)
        {
            parts.name_end = last_dot;
            parts.extension = last_dot;
            return true;
        }
        if (text.find_first_not_of(L'.', static_cast<std::size_t>(body)) == std::wstring::npos)
            return false;
    }
    parts.name_end = end;
    if (last_dot != none && last_dot + 1 < end)
    {
        parts.name_end = last_dot;
        parts.extension = last_dot;
    }
    return true;
}

} // namespace path

/// Whether `text` is a path, and its parts; all are `none` if it is not. `text` has no terminator in it.
inline bool parse_path(std::wstring const& text, bool has_name, PathParts& parts)
{
    PathParts found;
    bool const is_path = !text.empty() && path::parse(text, has_name, found);
    parts = is_path ? found : PathParts();
    return is_path;
}

/// The end rule: what a text becomes with `separator`, 0 for none. (A buffer keeps its size; the text ends where it
/// does.)
inline std::wstring format_path(std::wstring text, wchar_t separator)
{
    // What is left without blanks at the end, of which the first character is none.
    std::size_t kept = text.size();
    while (kept > 1 && text[kept - 1] == L' ')
        --kept;
    if (kept <= 1)
        return text;
    std::size_t bare = kept;
    while (bare > 0 && path::separates(text[bare - 1]))
        --bare;
    if (bare == kept && separator == 0)
        return text;
    if (bare == 0)
    {
        if (separator == 0)
            return text.substr(0, 1);
        return text.substr(0, 1) + std::wstring(kept - 1, separator) + text.substr(kept);
    }
    std::wstring formed = text.substr(0, bare);
    if (separator != 0)
        formed += separator;
    return formed;
}

/// Whether no step behind a separator is "." or begins with "..".
inline bool is_straight(std::wstring const& text)
{
    for (std::size_t place = 0; place < text.size(); ++place)
    {
        if (!path::separates(text[place]))
            continue;
        std::wstring const step = text.substr(place + 1, text.find_first_of(L"/\\", place + 1) - place - 1);
        if (step == L"." || step.substr(0, 2) == L"..")
            return false;
    }
    return true;
}

} // namespace plain
