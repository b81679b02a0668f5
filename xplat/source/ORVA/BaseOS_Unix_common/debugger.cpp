#include "ORVA/Develop/Log.h"

#ifdef __APPLE__

#include <cstddef>

#include <sys/types.h>

#include <sys/proc.h>
#include <sys/sysctl.h>
#include <unistd.h>

// A call that fails leaves the cleared flags, and so the answer false.
bool isDebuggerPresent()
{
    kinfo_proc process;
    process.kp_proc.p_flag = 0;
    std::size_t size = sizeof process;
    int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_PID, ::getpid()};
    ::sysctl(name, 4, &process, &size, nullptr, 0);
    return (process.kp_proc.p_flag & P_TRACED) != 0;
}

#else

#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

// The system tells the id of the tracing process in the line "TracerPid:" of the process's status; 0 means none.
bool isDebuggerPresent()
{
    int const descriptor = ::open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    char status[4096];
    ssize_t const size = ::read(descriptor, status, sizeof status - 1);
    ::close(descriptor);
    if (size <= 0)
        return false;
    status[size] = '\0';
    static char const label[] = "\nTracerPid:";
    char const* const line = std::strstr(status, label);
    return line != nullptr && std::strtol(line + sizeof label - 1, nullptr, 10) != 0;
}

#endif
