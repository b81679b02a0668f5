// A program that tells in which order the library's global objects are made when it is loaded, and in which order they
// go at the end.
//
// Objects that are destroyed register for that right after their construction. The linker puts this program's function
// in the place of the registration, so it sees each of them, and puts itself between the object and its destruction.

#include "BaseOS/process_random.h"
#include "CPNQF/globals.h"
#include "cstringpool/globals.h"
#include "maintenance/globals.h"

#include "ORVA/Develop.h"
#include "ORVA/String.h"

#include <cstdarg>
#include <cstdio>
#include <cwchar>

namespace
{

struct Global
{
    char const* name;
    void const* object;
    void (*destroy)(void*);
};

// Constants of the linker: this table is there before any constructor runs. In the alphabet's order, so that the one
// below comes from the library.
Global globals[] = {
    {"CPObjectMemory::pnull", &ORVA::Buffers::CPObjectMemory::pnull, nullptr},
    {"CPPoolString::pempty", &ORVA::String::CPPoolString::pempty, nullptr},
    {"CPPoolString::pfalse", &ORVA::String::CPPoolString::pfalse, nullptr},
    {"CPPoolString::pnull", &ORVA::String::CPPoolString::pnull, nullptr},
    {"CPPoolString::ptrue", &ORVA::String::CPPoolString::ptrue, nullptr},
    {"class table", &ORVA::NQF::g_tblClasses, nullptr},
    {"class table's evaluator", &ORVA::NQF::g_crcClass, nullptr},
    {"class table's lock", &ORVA::NQF::g_rwClasses, nullptr},
    {"factory's lock", &ORVA::NQF::g_csFactory, nullptr},
    {"g_Rnd", &ORVA::Develop::g_Rnd, nullptr},
    {"g_cpMRList", &ORVA::Maintenance::g_cpMRList, nullptr},
    {"g_cpMRLock", &ORVA::Maintenance::g_cpMRLock, nullptr},
    {"g_cpMRPending", &ORVA::Maintenance::g_cpMRPending, nullptr},
    {"g_cpMRStop", &ORVA::Maintenance::g_cpMRStop, nullptr},
    {"g_cpMRThread", &ORVA::Maintenance::g_cpMRThread, nullptr},
    {"g_cpMRTrigger", &ORVA::Maintenance::g_cpMRTrigger, nullptr},
    {"pool's evaluator", &ORVA::String::g_evaluator, nullptr},
    {"pool's lock", &ORVA::String::g_pool_lock, nullptr},
    {"pool's service", &ORVA::String::g_pool_maintenance, nullptr},
    {"record of \"\"", &ORVA::String::Constants::empty_record, nullptr},
    {"record of \"false\"", &ORVA::String::Constants::false_record, nullptr},
    {"record of \"true\"", &ORVA::String::Constants::true_record, nullptr},
    {"record of null", &ORVA::String::Constants::null_record, nullptr},
    {"table ignoring case", &ORVA::String::g_insensitive_table, nullptr},
    {"table of strings", &ORVA::String::g_sensitive_table, nullptr},
};

Global* find(void const* object)
{
    for (Global& global : globals)
    {
        if (global.object == object)
            return &global;
    }
    return nullptr;
}

void destroy(void* object)
{
    Global const* const global = find(object);
    std::printf("goes: %s\n", global->name);
    global->destroy(object);
}

void print_message(_nqfDebugLevel level, wchar_t const* module, char const* file, int line, wchar_t const* format,
                   va_list args)
{
    wchar_t text[200];
    std::vswprintf(text, 200, format, args);
    std::printf("log: %u %ls %s %d %ls\n", static_cast<unsigned int>(level), module, file, line, text);
}

} // namespace

// The names are those that the linker's --wrap gives.
extern "C"
{
    int __real___cxa_atexit(void (*destroy_object)(void*), void* object, void* owner);
    int __wrap___cxa_atexit(void (*destroy_object)(void*), void* object, void* owner);

    int __wrap___cxa_atexit(void (*destroy_object)(void*), void* object, void* owner)
    {
        Global* const global = find(object);
        if (global == nullptr)
            return __real___cxa_atexit(destroy_object, object, owner);
        std::printf("made: %s\n", global->name);
        global->destroy = destroy_object;
        return __real___cxa_atexit(&destroy, object, owner);
    }
}

int main()
{
    ORVA::Develop::SetExternalLogger(&print_message);
    std::printf("main\n");
}
