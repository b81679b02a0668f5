/// @file
/// `CFile`: an open file of the system.
///
/// Paths are as in FileSystem.h. Results of 1 or 0 are success and failure, except for `RenameFile`. Nothing is
/// reported, and `errno` is not kept.
///
/// Thread-safety: a `CFile` belongs to one thread at a time.
/// Ownership: a `CFile` owns its descriptor and closes it. Buffers are the caller's.
#pragma once

#include "ORVA/Core/Export.h"

namespace ORVA::Files::OS
{

/// What a file is opened for. The values are bits to be combined; any bit pattern may be cast to this type.
///
/// Unless one of the two sharing bits is given, the file is opened with the system's flag for exclusive creation: then
/// `eOpenFileCreate` fails if the file exists.
enum eFileAccess : unsigned int
{
    eFileAccessRead = 0,  ///< reading alone
    eFileAccessWrite = 1, ///< reading and writing
    eFileShareRead = 4,   ///< a file that exists may be opened by a call that creates
    eFileShareWrite = 8   ///< the same
};

/// How a file is opened. The values are bits to be combined; any bit pattern may be cast to this type.
enum eOpenFileOptions : unsigned int
{
    eOpenFileExisting = 0,  ///< the file has to exist
    eOpenFileCreate = 1,    ///< it is created if missing; needs `eFileAccessWrite`
    eOpenFileCreateDir = 2, ///< so is the directory that it is to be in, one level; needs `eOpenFileCreate`
    eOpenFileTruncate = 4,  ///< it is emptied; needs `eFileAccessWrite`
    eOpenFileExclusive = 8  ///< fails without `eOpenFileCreate`, without `eFileAccessWrite` and with a sharing bit;
                            ///< nothing else comes of it
};

/// A file that is open or closed. All sizes and places are in bytes.
class ORVA_API CFile
{
public:
    /// Closed.
    CFile() noexcept = default;
    /// Closes the file.
    ~CFile() { Close(); }
    CFile(CFile const&) = delete;
    CFile& operator=(CFile const&) = delete;

    /// Opens the file `path`. Returns 1, or 0 with nothing done if one of these holds:
    ///
    /// - the path is null or empty, or this object has a file open (which stays open);
    /// - `options` needs something that is not given, see `eOpenFileOptions`;
    /// - without `eOpenFileCreate`, the path leads to nothing or to a directory;
    /// - with `eOpenFileCreateDir`, the path has neither a slash nor a backslash, or the text before the last of them
    ///   is no directory and cannot be made one. "/name" has nothing before it, and fails;
    /// - the system refuses to open it. A directory that was made for it stays.
    ///
    /// What is created has the permissions 0770 (a directory 0777) less the process's mask.
    int Open(wchar_t const* path, eFileAccess access, eOpenFileOptions options);

    /// Closes the file if one is open. Always 1.
    int Close();

    /// Whether a file is open.
    operator bool() const noexcept { return m_descriptor != -1; }

    /// The size of the file, or -1 when closed.
    long GetSize() const;

    /// Hands what was written to the disk. Always 1, also when closed and when the system fails.
    int Flush();

    /// Goes to `position`, counted from the start; beyond the end is allowed. 1 if that place was reached.
    int SetPointer(unsigned long long position);

    /// Goes `distance` bytes on, or back if it is negative. 0 when closed or when the place would be negative.
    int MovePointer(long long distance);

    /// The current place, counted from the start, or -1 when closed.
    long GetPointer() const;

    /// Makes the file end at the current place: what is behind it is lost, and what is missing becomes zeros. 0 when
    /// closed or opened without `eFileAccessWrite`.
    int SetEOF();

    /// Reads `size` bytes from the current place into `buffer`. 1 if it were that many.
    ///
    /// `done`, which may be null, takes the number of bytes that were read, or 0xFFFFFFFF for an error of the system.
    /// At the end of the file there are fewer than asked for, and the result is 0. So it is, with a `done` of 0, when
    /// closed and for a null `buffer`.
    int Read(void* buffer, unsigned int size, unsigned int* done = nullptr);

    /// Writes `size` bytes of `buffer` at the current place. 1 if it were that many.
    ///
    /// `done` is as for `Read`. A file that was opened without `eFileAccessWrite` is as a closed one.
    int Write(void const* buffer, unsigned int size, unsigned int* done = nullptr);

    /// Removes the file `path`; the same as `_DeleteFile`.
    static bool DeleteFile(wchar_t const* path);

    /// Renames `second` to `first`: the second path takes the first's place. Returns **0 for success and 1 for
    /// failure**, unlike all else here.
    static int RenameFile(wchar_t const* first, wchar_t const* second);

private:
    int m_descriptor = -1;     ///< -1 when closed
    unsigned int m_access = 0; ///< what the file was opened for
};

static_assert(sizeof(CFile) == 8, "a descriptor and an access");

} // namespace ORVA::Files::OS
