// The program of docs/getting-started.md, whole; getting_started_output.txt is what it prints.

// [[program]]
#include "ORVA/ORVA.h"

#include <cstdio>
#include <cwchar>

using ORVA::String::CPPoolString;

// Messages come from any thread. The format is a wide one; the arguments are expanded here and nowhere else.
static void log(_nqfDebugLevel level, wchar_t const*, char const* file, int line, wchar_t const* format, va_list args)
{
    wchar_t text[512];
    if (std::vswprintf(text, 512, format, args) >= 0)
        std::fprintf(stderr, "[%u] %s:%d: %ls\n", static_cast<unsigned int>(level), file, line, text);
}

int main()
{
    ORVA::Develop::SetExternalLogger(&log); // before other threads are started
    if (ORVA::AppInit() != 1)               // the background: the maintenance thread, the collection of strings
    {
        ORVA::AppExit(); // a start that failed counts as well
        return 1;
    }

    CPPoolString const take(L"Take");
    CPPoolString const same(reinterpret_cast<unsigned char const*>("Take")); // from UTF-8
    std::printf("%s, %lu characters\n", take == same ? "one string" : "two strings", take.len());

    ORVA::Math::CRational const frame(1001, 30000);
    ORVA::Math::CRational const second = frame * 30000;
    std::printf("30000 frames of %d/%d s are %d s\n", frame.num(), frame.den(), second.num());

    ORVA::AppExit(); // for every AppInit one
    return 0;
}
// [[end]]
