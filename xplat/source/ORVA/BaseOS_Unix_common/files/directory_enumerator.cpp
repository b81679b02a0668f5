#include "ORVA/Files/DirectoryEnumerator.h"

#include "BaseOS/holder_conversion.h"
#include "BaseOS_Unix_common/files/system_path.h"
#include "ORVA/String/WideText.h"
#include "cstringpool/stack_buffer.h"

#include <cstring>

namespace ORVA::Files::OS
{

namespace
{

/// Opens the directory `path`, with a separator behind it. Null if the system refuses or the heap is exhausted.
DIR* open_directory(wchar_t const* path)
{
    unsigned long const length = String::terminated_length(path);
    String::StackBuffer<wchar_t, 512> text(length + 2);
    if (!text)
        return nullptr;
    std::memcpy(text.get(), path, length * sizeof(wchar_t));
    wchar_t* end = text.get() + length;
    if (!String::_isSlash(end[-1]))
        *end++ = L'/';
    *end = 0;
    SystemPath const system_path(text.get());
    return system_path ? ::opendir(system_path.get()) : nullptr;
}

char* copy_as_utf8(wchar_t const* text)
{
    SystemPath const encoded(text);
    return encoded ? String::copy_terminated(encoded.get(), String::terminated_length(encoded.get())) : nullptr;
}

} // namespace

int CDirectoryEnumerator::BeginEnumerate(wchar_t const* path, wchar_t const* filter, bool)
{
    if (is_empty(path) || !is_directory(SystemPath(path)))
        return 0;
    DIR* const directory = open_directory(path);
    if (directory == nullptr)
        return 0;
    wchar_t* const own_path = String::copy_terminated(path, String::terminated_length(path));
    char* const own_filter = filter ? copy_as_utf8(filter) : nullptr;
    if (own_path == nullptr || (filter && own_filter == nullptr))
    {
        Core::OS::_ffree(own_path);
        Core::OS::_ffree(own_filter);
        ::closedir(directory);
        return 0;
    }

    // Only now, since the path may be one that the enumeration before has given out.
    EndEnumerate();
    m_directory = directory;
    m_path = own_path;
    m_filter = own_filter;
    return 1;
}

bool CDirectoryEnumerator::skipEntry(dirent& entry) const
{
    char const* const name = entry.d_name;
    if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0)
        return true;
    if (m_filter == nullptr)
        return false;
    // The first match decides, as a name with a match in its middle and one at its end shows.
    char const* const match = ::strcasestr(name, m_filter);
    return match == nullptr || match + std::strlen(m_filter) != name + std::strlen(name);
}

int CDirectoryEnumerator::GetNext(CFindData& data)
{
    if (m_directory == nullptr)
        return 0;
    dirent* entry;
    do
    {
        entry = ::readdir(m_directory); // NOLINT(concurrency-mt-unsafe): safe on streams of one's own
        if (entry == nullptr)
            return 0;
    } while (skipEntry(*entry));
    data.m_path = m_path;
    data.init(entry);
    return 1;
}

int CDirectoryEnumerator::EndEnumerate()
{
    if (m_directory)
        ::closedir(m_directory);
    Core::OS::_ffree(m_path);
    Core::OS::_ffree(m_filter);
    m_directory = nullptr;
    m_path = nullptr;
    m_filter = nullptr;
    return 1;
}

} // namespace ORVA::Files::OS
