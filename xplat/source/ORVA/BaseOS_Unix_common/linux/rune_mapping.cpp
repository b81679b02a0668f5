#include "BaseOS_Unix_common/rune_mapping.h"

#include <cwctype>

namespace ORVA::String::OS
{

wchar_t rune_tolower(wchar_t character)
{
    return static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(character)));
}

wchar_t rune_toupper(wchar_t character)
{
    return static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(character)));
}

} // namespace ORVA::String::OS
