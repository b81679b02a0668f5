#include "ORVA/Files/FindData.h"

#include "BaseOS_Unix_common/files/system_path.h"
#include "ORVA/Core.h"
#include "ORVA/Develop/Log.h"
#include "ORVA/String/WideText.h"
#include "cstringpool/stack_buffer.h"

#include <cstdlib>
#include <cstring>

namespace ORVA::Files::OS
{

namespace
{

/// Asks the system about the entry `name` of the directory `path`, null for the current one. A link is not followed.
bool query_entry(wchar_t const* path, char const* name, struct stat& record)
{
    if (path == nullptr)
        return ::lstat(name, &record) == 0;
    SystemPath const directory(path);
    if (!directory)
        return false;

    unsigned long const directory_length = std::strlen(directory.get());
    unsigned long const name_size = std::strlen(name) + 1;
    String::StackBuffer<char, 1024> entry(directory_length + 1 + name_size);
    if (!entry)
        return false;
    char* end = entry.get() + directory_length;
    std::memcpy(entry.get(), directory.get(), directory_length);
    if (directory_length == 0 || !String::_isSlash(static_cast<unsigned char>(end[-1])))
        *end++ = '/';
    std::memcpy(end, name, name_size);
    return ::lstat(entry.get(), &record) == 0;
}

/// The wide form of `name` by the process's locale, up to the first byte that this refuses, in a buffer of `_falloc`.
/// Null if the heap is exhausted.
wchar_t* decode_name(char const* name)
{
    unsigned long const count = std::strlen(name) + 1;
    auto* const text = static_cast<wchar_t*>(Core::OS::_falloc(count * sizeof(wchar_t)));
    if (text == nullptr)
        return nullptr;
    // A conversion that fails leaves what it has written so far, without a terminator.
    std::memset(text, 0, count * sizeof(wchar_t));
    std::mbstowcs(text, name, count);
    return text;
}

} // namespace

CFindData::~CFindData()
{
    Core::OS::_ffree(m_name);
}

void CFindData::init(dirent* entry)
{
    Core::OS::_ffree(m_name);
    m_name = nullptr;
    m_record = {};
    if (!Develop::_isfalse_(entry != nullptr, "BaseOS_Unix_common,432:directoryEntry != 0"))
    {
        m_path = nullptr;
        return;
    }
    if (!query_entry(m_path, entry->d_name, m_record))
        m_record = {};
    m_name = decode_name(entry->d_name);
}

} // namespace ORVA::Files::OS
