#include "ORVA/Develop/Log.h"

#include <cstdio>
#include <cwchar>

namespace ORVA::Develop::OS
{

int RTABox(char const* first, char const* second)
{
    _logWrite(_nqfDebugFailure, L"ORVA", "BaseOS_Unix_common", 105, L"Failed assumption: %hs:%hs", first, second);
    return 0;
}

void OutputDebugMessage(char const* text)
{
    std::puts(text);
}

void OutputDebugMessage(wchar_t const* text)
{
    std::wprintf(text);
}

} // namespace ORVA::Develop::OS
