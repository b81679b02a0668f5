/// @file
/// A path in the form in which the system takes it, and what the system tells about it.
#pragma once

#include "ORVA/String/Holders.h"

#include <sys/stat.h>

namespace ORVA::Files::OS
{

/// The UTF-8 form of a wide path, for the length of a call. False for a null path and if the heap is exhausted: such a
/// path must not go to the system.
class SystemPath
{
public:
    explicit SystemPath(wchar_t const* path) : m_text(path) {}

    explicit operator bool() const noexcept { return *m_text != nullptr; }
    char const* get() const noexcept { return reinterpret_cast<char const*>(*m_text); }

private:
    String::CUTF8Char m_text;
};

inline bool is_empty(wchar_t const* path)
{
    return path == nullptr || *path == 0;
}

/// Asks the system about `path`, links followed. False if it does not answer.
inline bool query(SystemPath const& path, struct stat& record)
{
    return path && ::stat(path.get(), &record) == 0;
}

inline bool is_directory(SystemPath const& path)
{
    struct stat record;
    return query(path, record) && S_ISDIR(record.st_mode);
}

/// Makes a directory with all permissions that the process's mask leaves.
inline bool make_directory(SystemPath const& path)
{
    return path && ::mkdir(path.get(), 0777) == 0;
}

} // namespace ORVA::Files::OS
