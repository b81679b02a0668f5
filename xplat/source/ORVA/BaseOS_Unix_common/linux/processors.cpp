#include "BaseOS_Unix_common/processors.h"

#include <sched.h>

namespace ORVA::Core::OS
{

// A system with more processors than the set holds fails, and has more than one.
unsigned int usable_processors()
{
    cpu_set_t set;
    if (::sched_getaffinity(0, sizeof set, &set) != 0)
        return CPU_SETSIZE;
    return static_cast<unsigned int>(CPU_COUNT(&set));
}

} // namespace ORVA::Core::OS
