#include "schedule.h"

#include "ORVA/Develop.h"

#include <cstdarg>
#include <cstdio>

namespace housekeeping
{

void tell(wchar_t const* who, char const* format, ...)
{
    static unsigned long const start = ORVA::Develop::_now_milli();

    char what[200];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(what, sizeof what, format, arguments);
    va_end(arguments);
    double const seconds = static_cast<double>(ORVA::Develop::_now_milli() - start) / 1000;
    std::printf("%5.1f s  %-8ls %s\n", seconds, who, what);
    std::fflush(stdout);
}

} // namespace housekeeping
