#include "BaseOS_Unix_common/rune_locale.h"

#include "BaseOS_Unix_common/rune_mapping.h"

#include "ORVA/Core/Atomic.h"

#include <langinfo.h>
#include <locale.h>

namespace ORVA::String::OS
{

#if defined(__GLIBC__)

// The name of the code set lies inside the data that the mapping itself is read from, so its address says which data
// the calling thread's locale uses at present. The data of a locale that has once been the process's own is never
// unloaded, and so an address that is remembered here can never come to mean another one. Locales that only threads
// have used (uselocale) may be unloaded; they are not remembered.

namespace
{

char const* plain_locale = nullptr;
char const* other_locale = nullptr;

bool maps_ascii_plainly()
{
    for (wchar_t character = 0; character < 0x80; ++character)
    {
        bool const capital = character >= L'A' && character <= L'Z';
        if (rune_tolower(character) != (capital ? character - L'A' + L'a' : character))
            return false;
    }
    return true;
}

bool is_process_locale()
{
    return uselocale(static_cast<locale_t>(nullptr)) == LC_GLOBAL_LOCALE;
}

} // namespace

bool ascii_lowers_plainly()
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): safe in glibc, and no text is read
    char const* const locale = nl_langinfo(CODESET);
    if (locale == Core::load_relaxed(plain_locale))
        return true;
    if (locale == Core::load_relaxed(other_locale) || !is_process_locale())
        return false;
    bool const plain = maps_ascii_plainly();
    Core::store_relaxed(plain ? plain_locale : other_locale, locale);
    return plain;
}

#else

bool ascii_lowers_plainly()
{
    return false;
}

#endif

} // namespace ORVA::String::OS
