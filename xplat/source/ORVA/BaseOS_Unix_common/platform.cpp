#include "ORVA/Core.h"

#include <ctime>

namespace ORVA::Core::OS
{

wchar_t const* GetPlatformString()
{
    return L"MacOS";
}

unsigned long GetTimeNow()
{
    return static_cast<unsigned long>(std::time(nullptr)) * 1000UL;
}

} // namespace ORVA::Core::OS
