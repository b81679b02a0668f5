#include "BaseOS_Unix_common/rune_mapping.h"

#include <ctype.h>

namespace ORVA::String::OS
{

wchar_t rune_tolower(wchar_t character)
{
    return static_cast<wchar_t>(__tolower(static_cast<int>(character)));
}

wchar_t rune_toupper(wchar_t character)
{
    return static_cast<wchar_t>(__toupper(static_cast<int>(character)));
}

} // namespace ORVA::String::OS
