#include "ORVA/Files/Path.h"

#include "ORVA/String/WideText.h"

#include <cwchar>

namespace ORVA::Files
{

using String::_isSlash;

int FU_IsStraightPath(wchar_t const* path)
{
    if (!path)
        return 0;
    for (; *path != 0; ++path)
    {
        if (!_isSlash(path[0]) || path[1] != L'.')
            continue;
        wchar_t const next = path[2];
        if (next == 0 || next == L'.' || _isSlash(next))
            return 0;
    }
    return 1;
}

wchar_t* FU_FormatPath(wchar_t* path, wchar_t separator)
{
    if (!path || *path == 0)
        return path;
    wchar_t* last = path + std::wcslen(path) - 1;
    while (last != path && String::_isblank(*last))
        --last;
    if (last == path || (separator == 0 && !_isSlash(*last)))
        return path;

    for (; _isSlash(*last); --last)
    {
        if (last == path)
            return path;
        *last = separator;
    }
    if (separator != 0)
    {
        last[1] = separator;
        last[2] = 0;
    }
    return path;
}

} // namespace ORVA::Files
