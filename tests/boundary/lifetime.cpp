// A program whose global objects use the library before main and after it, as programs do without thinking of it.
#include "ORVA/ORVA.h"

#include <cstdio>
#include <cwchar>

namespace
{

using ORVA::String::CPPoolString;

void print_message(_nqfDebugLevel level, wchar_t const* module, char const* file, int line, wchar_t const* format,
                   va_list args)
{
    wchar_t text[200];
    std::vswprintf(text, 200, format, args);
    std::printf("log: %u %ls %s %d %ls\n", static_cast<unsigned int>(level), module, file, line, text);
}

struct GlobalUser
{
    GlobalUser() : name(L"made before main")
    {
        std::printf("before main: %ls, verified %u\n", *name, ORVA::String::CStringPool::Verify());
    }

    ~GlobalUser()
    {
        CPPoolString const late(L"made after main");
        std::printf("after main: %ls and %ls, verified %u\n", *name, *late, ORVA::String::CStringPool::Verify());
    }

    CPPoolString name;
};

GlobalUser global_user;

} // namespace

int main()
{
    ORVA::Develop::SetExternalLogger(&print_message);
    // A handle that nobody gives back: the pool has to count it at the end.
    static CPPoolString* const kept = new CPPoolString(L"kept for ever");
    std::printf("main: %ls, %s, %u handles\n", **kept, CPPoolString::pempty.isempty() ? "empty" : "not empty",
                kept->lockcnt());
    return 0;
}
