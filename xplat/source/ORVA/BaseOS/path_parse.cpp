#include "ORVA/Files/Path.h"

#include <cwchar>

namespace ORVA::Files
{

namespace
{

bool is_separator(wchar_t character)
{
    return character == L'/' || character == L'\\';
}

/// What one scan over a path finds. The body is what stands behind blanks and a prefix.
struct Scan
{
    wchar_t const* prefix = nullptr;
    wchar_t const* body = nullptr;
    wchar_t const* end = nullptr;
    wchar_t const* colon = nullptr;
    wchar_t const* first_separator = nullptr;
    wchar_t const* last_separator = nullptr;
    wchar_t const* last_dot = nullptr; ///< behind the last separator
};

bool begins_with(wchar_t const* text, wchar_t const* four)
{
    return std::wcsncmp(text, four, 4) == 0;
}

bool is_refused(wchar_t character)
{
    bool const is_control = static_cast<unsigned int>(character) < 32;
    bool const is_angle = (character & ~2) == L'<'; // the other one is '>'
    return is_control | is_angle | (character == L'|');
}

bool is_letter(wchar_t character)
{
    return (character >= L'A' && character <= L'Z') || (character >= L'a' && character <= L'z');
}

/// Finds the start of the body, with `scan.body` on the first character that is not blank. False if the prefix is
/// malformed.
bool skip_prefix(Scan& scan, bool has_name)
{
    if (*scan.body != L'\\')
        return true;
    if (begins_with(scan.body, L"\\\\?\\"))
    {
        scan.prefix = scan.body;
        scan.body += 4;
        if (begins_with(scan.body, L"UNC\\") || begins_with(scan.body, L"UNC/"))
        {
            scan.body += 4;
            if (is_separator(*scan.body))
                return false;
        }
    }
    else if (begins_with(scan.body, L"\\\\.\\"))
    {
        if (!has_name)
            return false;
        scan.prefix = scan.body;
        scan.body += 4;
    }
    // A prefix with nothing behind it has no name.
    return !(has_name && scan.prefix && *scan.body == 0);
}

/// Notes where things stand in the body. False for what no path contains.
bool scan_body(Scan& scan)
{
    scan.end = scan.body + std::wcslen(scan.body);
    // No way out in the middle, so that this becomes vector code.
    unsigned int refused = 0;
    unsigned int colons = 0;
    for (wchar_t const* at = scan.body; at != scan.end; ++at)
    {
        refused |= static_cast<unsigned int>(is_refused(*at));
        colons += static_cast<unsigned int>(*at == L':');
    }
    if (refused != 0 || colons > 1)
        return false;
    if (colons != 0)
        scan.colon = std::wcschr(scan.body, L':');

    for (wchar_t const* at = scan.end; at != scan.body && !scan.last_separator;)
    {
        --at;
        if (is_separator(*at))
            scan.last_separator = at;
        else if (*at == L'.' && !scan.last_dot)
            scan.last_dot = at;
    }
    if (scan.last_separator)
    {
        scan.first_separator = scan.body;
        while (!is_separator(*scan.first_separator))
            ++scan.first_separator;
    }
    return true;
}

/// Places a drive or scheme and moves the body behind it. False if the colon is at a wrong place.
bool place_drive(Scan& scan, tagCPATHPARSEINFO& info)
{
    info.pDriveEnd = scan.end;
    wchar_t const* const colon = scan.colon;
    if (!colon)
        return true;
    if (colon == scan.body || (scan.first_separator && scan.first_separator < colon) ||
        std::wmemchr(scan.body, L'.', static_cast<unsigned long>(colon - scan.body)) != nullptr)
        return false;
    if (colon == scan.body + 1)
    {
        if (!is_letter(*scan.body) || (is_separator(colon[1]) && is_separator(colon[2])))
            return false;
    }
    else if (colon[1] != L'/' || colon[2] != L'/')
    {
        return false;
    }
    info.pDrive = scan.body;
    info.pDriveEnd = colon + 1;
    scan.body = colon + 1;
    return true;
}

/// Places a server and moves the body behind it. False if there is a pair of separators at a wrong place, or a server
/// without anything behind it where a name is asked for.
bool place_server(Scan& scan, tagCPATHPARSEINFO& info, bool has_name)
{
    info.pServerEnd = scan.end;
    wchar_t const* const pair = scan.first_separator;
    if (!pair || pair[1] != pair[0])
        return true;
    if (pair != scan.body)
        return false;
    info.pServer = pair;
    if (scan.last_separator == pair + 1)
    {
        if (has_name)
            return false;
        scan.body = scan.end;
        return true;
    }
    wchar_t const* end = pair + 2;
    while (!is_separator(*end))
        ++end;
    info.pServerEnd = end;
    scan.body = end;
    return true;
}

/// Ends the name at `dot`, or at the end of the text if that is null.
void place_extension(Scan const& scan, wchar_t const* dot, tagCPATHPARSEINFO& info)
{
    info.pNameEnd = dot ? dot : scan.end;
    info.pExtension = dot;
}

bool place_name_behind_directory(Scan const& scan, tagCPATHPARSEINFO& info)
{
    wchar_t const* const name = scan.last_separator + 1;
    if (*name == 0)
        return false;
    info.pDirectory = scan.body;
    info.pDirectoryEnd = name;
    info.pName = name;
    place_extension(scan, scan.last_dot, info);
    return true;
}

bool place_name_alone(Scan const& scan, tagCPATHPARSEINFO& info)
{
    wchar_t const* const dot = scan.last_dot;
    bool const dot_is_last = dot && dot[1] == 0;
    if (dot_is_last && std::wcsspn(scan.body, L".") == std::wcslen(scan.body))
        return false;
    info.pDirectoryEnd = scan.end;
    info.pName = scan.body;
    // Unlike behind a directory, a dot at the end belongs to the name.
    place_extension(scan, dot_is_last ? nullptr : dot, info);
    return true;
}

bool parse(wchar_t const* path, tagCPATHPARSEINFO& info, bool has_name)
{
    if (!path)
        return false;
    Scan scan;
    scan.body = path;
    while (*scan.body == L' ')
        ++scan.body;
    if (*scan.body == 0 || !skip_prefix(scan, has_name))
        return false;
    info.pPrefix = scan.prefix;
    info.pPrefixEnd = scan.prefix ? scan.body : nullptr;
    if (!scan_body(scan) || !place_drive(scan, info) || !place_server(scan, info, has_name))
        return false;
    if (has_name)
        return scan.last_separator ? place_name_behind_directory(scan, info) : place_name_alone(scan, info);
    info.pDirectory = *scan.body != 0 ? scan.body : nullptr;
    info.pDirectoryEnd = scan.end;
    info.pNameEnd = scan.end;
    return true;
}

} // namespace

int FU_ParsePath(wchar_t const* path, tagCPATHPARSEINFO& info, bool hasName)
{
    tagCPATHPARSEINFO parts = {};
    bool const is_path = parse(path, parts, hasName);
    info = is_path ? parts : tagCPATHPARSEINFO();
    return is_path;
}

int FU_ParsePath(wchar_t* path, tagPATHPARSEINFO& info, bool hasName)
{
    tagCPATHPARSEINFO parts;
    int const result = FU_ParsePath(static_cast<wchar_t const*>(path), parts, hasName);
    // The parts point into `path`, which may be written to.
    auto const writable = [](wchar_t const* place) { return const_cast<wchar_t*>(place); };
    info = {writable(parts.pPrefix),    writable(parts.pPrefixEnd),    writable(parts.pDrive),
            writable(parts.pDriveEnd),  writable(parts.pServer),       writable(parts.pServerEnd),
            writable(parts.pDirectory), writable(parts.pDirectoryEnd), writable(parts.pName),
            writable(parts.pNameEnd),   writable(parts.pExtension)};
    return result;
}

} // namespace ORVA::Files
