#include "BaseOS_Unix_common/rune_mapping.h"

#include <cwctype>

#ifdef __APPLE__
#include <ctype.h>
#endif

namespace ORVA::String::OS
{

#ifdef __APPLE__

wchar_t rune_tolower(wchar_t character)
{
    return static_cast<wchar_t>(__tolower(character));
}

wchar_t rune_toupper(wchar_t character)
{
    return static_cast<wchar_t>(__toupper(character));
}

#else

wchar_t rune_tolower(wchar_t character)
{
    return static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(character)));
}

wchar_t rune_toupper(wchar_t character)
{
    return static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(character)));
}

#endif

} // namespace ORVA::String::OS
