#include "ORVA/Develop/Log.h"
#include "ORVA/Core/Atomic.h"

namespace ORVA::Develop
{

namespace
{

LoggerCallback gs_pfnLog = nullptr;

} // namespace

void SetExternalLogger(LoggerCallback callback)
{
    Core::store_relaxed(gs_pfnLog, callback);
}

void _logWriteArg(_nqfDebugLevel level, wchar_t const* module, char const* file, int line, wchar_t const* format,
                  va_list args)
{
    LoggerCallback const callback = Core::load_relaxed(gs_pfnLog);
    if (callback == nullptr)
        return;
    try
    {
        callback(level, module, file, line, format, args);
    }
    catch (...)
    {
        // Whatever is installed by now goes, so that a host with a broken logger is left alone from here on.
        Core::store_relaxed(gs_pfnLog, LoggerCallback(nullptr));
    }
}

void _logWrite(_nqfDebugLevel level, wchar_t const* module, char const* file, int line, wchar_t const* format, ...)
{
    if (Core::load_relaxed(gs_pfnLog) == nullptr)
        return;
    va_list args;
    va_start(args, format);
    _logWriteArg(level, module, file, line, format, args);
    va_end(args);
}

bool _istrue_(bool value, char const* text)
{
    if (value)
        OS::RTABox("RTA_ON_TRUE", text);
    return value;
}

bool _isfalse_(bool value, char const* text)
{
    if (!value)
        OS::RTABox("RTA_ON_FALSE", text);
    return value;
}

} // namespace ORVA::Develop
