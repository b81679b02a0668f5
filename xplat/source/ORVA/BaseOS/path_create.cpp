#include "ORVA/Develop/Log.h"
#include "ORVA/Files/FileSystem.h"
#include "ORVA/Files/Path.h"
#include "ORVA/String/WideText.h"
#include "cstringpool/stack_buffer.h"

#include <cstring>
#include <cwchar>
#include <initializer_list>

namespace ORVA::Files
{

namespace
{

wchar_t* next_separator(wchar_t* text)
{
    while (*text != 0 && !String::_isSlash(*text))
        ++text;
    return *text != 0 ? text : nullptr;
}

bool provide_directory(wchar_t const* path)
{
    if (OS::_TestDirExists(path) || OS::_CreateDir(path))
        return true;
    Develop::OS::RTABox("Illegal code point reached", "CreateDirectory failed");
    return false;
}

/// Where the parts of a path begin, blanks before them left out.
wchar_t* start_of(tagPATHPARSEINFO const& parts)
{
    for (wchar_t* const part : {parts.pPrefix, parts.pDrive, parts.pServer})
    {
        if (part)
            return part;
    }
    return parts.pDirectory;
}

} // namespace

void FU_CreatePath(wchar_t const* path)
{
    if (!path || *path == 0)
        return;
    unsigned long const size = std::wcslen(path) + 1;
    String::StackBuffer<wchar_t, 512> copy(size);
    if (!copy)
        return;
    std::memcpy(copy.get(), path, size * sizeof(wchar_t));
    FU_FormatPath(copy.get(), 0);

    tagPATHPARSEINFO parts;
    if (FU_ParsePath(copy.get(), parts, false) == 0)
        return;
    if (!parts.pDirectory || !String::_isSlash(*parts.pDirectory) || parts.pDirectoryEnd - parts.pDirectory < 2)
        return;
    wchar_t* separator = next_separator(parts.pDirectory + 1);
    if (!separator && parts.pServer && !parts.pDrive)
        return; // the root of a share is not ours to make

    wchar_t const* const start = start_of(parts);
    for (; separator; separator = next_separator(separator + 1))
    {
        wchar_t const held = *separator;
        *separator = 0;
        bool const exists = provide_directory(start);
        *separator = held;
        if (!exists)
            return;
    }
    provide_directory(start);
}

} // namespace ORVA::Files
