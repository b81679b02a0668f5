#include "ORVA/Develop/Log.h"

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
        return false; // Not reached: the system lets a process read its own status once it is open.
    status[size] = '\0';
    static char const label[] = "\nTracerPid:";
    char const* const line = std::strstr(status, label);
    return line != nullptr && std::strtol(line + sizeof label - 1, nullptr, 10) != 0;
}
