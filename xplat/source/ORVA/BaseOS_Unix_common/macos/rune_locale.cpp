#include "BaseOS_Unix_common/rune_locale.h"

namespace ORVA::String::OS
{

// The system has no cheap way to tell.
bool ascii_lowers_plainly()
{
    return false;
}

} // namespace ORVA::String::OS
