#include "BaseOS_Unix_common/process_identity.h"

#include "ORVA/Core/ProcessIdentity.h"
#include "ORVA/String/WideText.h"

#include <algorithm>
#include <cwchar>

namespace ORVA::Core::OS
{

namespace
{

/// The longest directory that is not refused, in characters.
unsigned long const longest_directory = 1039;

void query_startup_path(CachedText& cache)
{
    fill_with_directory(cache, query_executable_path());
}

} // namespace

void CachedText::fill(wchar_t const* source, unsigned long length) noexcept
{
    if (length == 0)
        return;
    unsigned long const kept = std::min(length, max_length);
    std::wmemcpy(m_text + 1, source + 1, kept - 1);
    m_text[kept] = 0;
    store_release(m_text[0], *source);
}

wchar_t const* find_out(CachedText& cache, Threading::CPCriticalSection& section, void (*query)(CachedText& cache))
{
    section.Enter();
    try
    {
        if (!cache.is_filled())
            query(cache);
    }
    catch (...)
    {
    }
    section.Leave();
    return cache.text();
}

unsigned long directory_length(wchar_t const* path) noexcept
{
    unsigned long length = 0;
    for (unsigned long at = 0; path[at] != 0; ++at)
        if (String::_isSlash(path[at]))
            length = at + 1;
    return length;
}

void fill_with_directory(CachedText& cache, wchar_t const* path) noexcept
{
    if (path == nullptr)
        return;
    unsigned long const length = directory_length(path);
    if (length <= longest_directory)
        cache.fill(path, length);
}

wchar_t const* GetProcessName()
{
    static CachedText cache;
    if (cache.is_filled())
        return cache.text();
    static Threading::CPCriticalSection section;
    return find_out(cache, section, query_process_name);
}

wchar_t const* GetStartupPath()
{
    static CachedText cache;
    if (cache.is_filled())
        return cache.text();
    static Threading::CPCriticalSection section;
    return find_out(cache, section, query_startup_path);
}

} // namespace ORVA::Core::OS
