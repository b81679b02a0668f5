/// @file
/// Processes that end without returning from main write what they counted: death tests and children of a test end by
/// _exit or by abort. Linked by builds that count only, with `-Wl,--wrap=_exit -Wl,--wrap=_Exit`.
#include <csignal>

#include <sys/resource.h>

extern "C" void __gcov_dump();
// The names are those that the linker's --wrap gives.
extern "C" [[noreturn]] void __real__exit(int status);
extern "C" [[noreturn]] void __wrap__exit(int status);
extern "C" [[noreturn]] void __wrap__Exit(int status);

namespace
{

void lift_limit(decltype(RLIMIT_NOFILE) resource)
{
    rlimit limit;
    if (::getrlimit(resource, &limit) == 0)
    {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(resource, &limit);
    }
}

// What a test has forbidden its process must not cut the files short.
void write_counters()
{
    lift_limit(RLIMIT_NOFILE);
    lift_limit(RLIMIT_FSIZE);
    __gcov_dump();
}

// abort goes on to end the process when this returns.
void write_counters_of_aborted_process(int signal)
{
    std::signal(signal, SIG_DFL);
    write_counters();
}

[[gnu::constructor]] void write_counters_at_abort()
{
    std::signal(SIGABRT, write_counters_of_aborted_process);
}

} // namespace

extern "C" void __wrap__exit(int status)
{
    write_counters();
    __real__exit(status);
}

extern "C" void __wrap__Exit(int status)
{
    __wrap__exit(status);
}
