#include "log.h"

#include "ORVA/Develop.h"
#include "ORVA/String.h"

#include <cstdarg>
#include <cstdio>
#include <cwchar>

namespace catalog
{

namespace
{

// Formats on the stack: a logger is called in the middle of whatever has failed, and had better not use the pool.
void print_message(_nqfDebugLevel level, wchar_t const*, char const* file, int line, wchar_t const* format,
                   va_list args)
{
    if (level > _nqfDebugBadInput)
        return;
    wchar_t wide[512] = L"";
    if (std::vswprintf(wide, 512, format, args) < 0)
        wide[511] = 0;
    unsigned char text[4 * 512] = "";
    ORVA::String::nqfWChar_To_UTF8(wide, ~0UL, text, sizeof text);
    std::fprintf(stderr, "catalog: %s:%d: level %u: %s\n", file, line, static_cast<unsigned int>(level),
                 reinterpret_cast<char const*>(text));
}

} // namespace

void print_library_messages()
{
    ORVA::Develop::SetExternalLogger(&print_message);
}

} // namespace catalog
