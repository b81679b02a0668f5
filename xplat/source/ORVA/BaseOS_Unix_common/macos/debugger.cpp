#include "ORVA/Develop/Log.h"

#include <cstddef>

#include <sys/types.h>

#include <sys/sysctl.h>
#include <unistd.h>

static_assert(sizeof(kinfo_proc) == 648, "the record is as large as the system's");

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
