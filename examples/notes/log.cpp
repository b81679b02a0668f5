#include "log.h"

#include "ORVA/Develop.h"

#include <cstdarg>
#include <cstdio>
#include <cwchar>

namespace notes
{

namespace
{

unsigned int printed = 0;

void print_message(_nqfDebugLevel level, wchar_t const*, char const* file, int line, wchar_t const* format,
                   va_list args)
{
    wchar_t text[200] = L"";
    if (std::vswprintf(text, 200, format, args) < 0)
        text[199] = 0;
    std::printf("    log: level %u, %s %d, \"%ls\"\n", static_cast<unsigned int>(level), file, line, text);
    ++printed;
}

} // namespace

LibraryMessages::LibraryMessages()
{
    ORVA::Develop::SetExternalLogger(&print_message);
}

// The library has something to say at the end of the process, too, when nobody listens any more.
LibraryMessages::~LibraryMessages()
{
    ORVA::Develop::SetExternalLogger(nullptr);
}

unsigned int LibraryMessages::count()
{
    return printed;
}

} // namespace notes
