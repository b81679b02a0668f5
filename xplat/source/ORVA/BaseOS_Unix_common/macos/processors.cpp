#include "BaseOS_Unix_common/processors.h"

#include <unistd.h>

namespace ORVA::Core::OS
{

unsigned int usable_processors()
{
    long const count = ::sysconf(_SC_NPROCESSORS_ONLN);
    return count < 1 ? 1U : static_cast<unsigned int>(count);
}

} // namespace ORVA::Core::OS
