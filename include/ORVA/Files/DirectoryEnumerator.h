/// @file
/// `CDirectoryEnumerator`: a walk through the entries of one directory.
///
/// @code
/// CDirectoryEnumerator files;
/// CFindData entry;
/// long size = 0;
/// if (files.BeginEnumerate(directory, L".wav"))
///     while (files.GetNext(entry))
///         size += entry.GetSize();
/// @endcode
///
/// Thread-safety: an enumerator belongs to one thread at a time.
/// Ownership: an enumerator owns the open directory and copies of path and filter. What is reported: nothing.
#pragma once

#include "ORVA/Files/FindData.h"

namespace ORVA::Files::OS
{

/// Walks through a directory, in the order in which the system gives its entries. "." and ".." are left out.
class ORVA_API CDirectoryEnumerator
{
public:
    /// No enumeration.
    CDirectoryEnumerator() noexcept = default;
    ~CDirectoryEnumerator() { EndEnumerate(); }
    CDirectoryEnumerator(CDirectoryEnumerator const&) = delete;
    CDirectoryEnumerator& operator=(CDirectoryEnumerator const&) = delete;

    /// Begins with the directory `path`, which may be a link to one, and ends an enumeration that this object has begun
    /// before. Returns 1, or 0 if the path is null, empty or no directory, may not be read, or if the heap is
    /// exhausted; then an enumeration before it goes on.
    ///
    /// With a `filter`, only names that end with it are given, whatever the case of their letters in the current
    /// locale; it is compared as UTF-8. It is sought once, from the start: a name in which it occurs before its end as
    /// well is left out. So ".wav" admits "a.WAV" and neither "a.wav.bak" nor "a.wav.wav". An empty filter admits
    /// nothing. The last argument has no effect.
    int BeginEnumerate(wchar_t const* path, wchar_t const* filter = nullptr, bool unused = false);

    /// Fills `data` with the next entry and returns 1, or returns 0 and leaves `data` alone if there is none, or no
    /// enumeration. Links are not followed.
    int GetNext(CFindData& data);

    /// Whether `GetNext` leaves out the entry: "." and "..", and what the filter does not admit.
    bool skipEntry(dirent& entry) const;

    /// Ends the enumeration. Paths that it gave out are no longer valid. Always 1.
    int EndEnumerate();

private:
    DIR* m_directory = nullptr;
    wchar_t* m_path = nullptr; ///< as it was given
    char* m_filter = nullptr;  ///< null for none
};

static_assert(sizeof(CDirectoryEnumerator) == 24, "three pointers");

} // namespace ORVA::Files::OS
