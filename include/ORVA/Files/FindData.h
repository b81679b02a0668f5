/// @file
/// `CFindData`: what a walk through a directory tells about one entry.
///
/// Thread-safety: a `CFindData` belongs to one thread at a time. Ownership: the name belongs to the `CFindData`. The
/// path is borrowed from the enumerator that filled it, and is valid until that ends its enumeration.
#pragma once

#include "ORVA/Core/Export.h"

#include <dirent.h>
#include <sys/stat.h>

namespace ORVA::Files::OS
{

class CDirectoryEnumerator;

/// One entry of a directory, as it was when the enumerator came to it. Links are not followed: a link to a directory
/// is no directory here.
///
/// If the system did not tell about the entry, because it is gone by then or its path is too long, the size and the
/// times are 0, and it is no directory.
class ORVA_API CFindData
{
public:
    /// Empty: no path, no name, all else 0.
    CFindData() noexcept : m_record() {}
    ~CFindData();
    CFindData(CFindData const&) = delete;
    CFindData& operator=(CFindData const&) = delete;

    /// Fills this from an entry of the directory that the enumerator has set, or of the current one if none has. What
    /// it held before goes. For a null entry a failed assumption is reported, and this is empty.
    void init(dirent* entry);

    /// The path of the directory, as it was given to the enumerator; null when empty.
    wchar_t const* GetPath() const noexcept { return m_path; }

    /// The name of the entry, without a path; null when empty and when the heap was exhausted.
    ///
    /// The name is decoded by the process's current locale, not as UTF-8, and ends before the first byte that the
    /// locale refuses. In the "C" locale that is any byte above 0x7F.
    wchar_t const* GetFilename() const noexcept { return m_name; }

    /// The size in bytes.
    long GetSize() const noexcept { return m_record.st_size; }

    /// Whether the entry is a directory.
    bool isDirectory() const noexcept { return S_ISDIR(m_record.st_mode); }

    /// @name Times
    /// In milliseconds since the epoch, always a multiple of 1000: the part below a second is left out.
    /// @{

    /// When the content was changed.
    long GetLastModified() const noexcept { return milliseconds(m_record.st_mtime); }
    /// When the content was read, as far as the system keeps that.
    long GetLastAccessed() const noexcept { return milliseconds(m_record.st_atime); }
    /// When the status was changed: permissions, links, content. Not when the file was made.
    long GetCreated() const noexcept { return milliseconds(m_record.st_ctime); }

    /// @}

private:
    friend class CDirectoryEnumerator;

    static long milliseconds(long seconds) noexcept
    {
        return static_cast<long>(static_cast<unsigned long>(seconds) * 1000UL);
    }

    struct stat m_record;
    wchar_t const* m_path = nullptr; ///< borrowed
    wchar_t* m_name = nullptr;       ///< owned
};

static_assert(sizeof(CFindData) == sizeof(struct stat) + 16, "the system's record and two pointers");

} // namespace ORVA::Files::OS
