/// @file
/// Questions about single paths, and the making and removing of what they name.
///
/// A path is wide text and goes to the system as UTF-8, as it stands: on the systems of this library a backslash in it
/// is an ordinary character of a name. Text behind a character of 0x110000 or above is lost. Where the heap is
/// exhausted, the result is that of a failure.
///
/// Thread-safety: any thread; the answers are as old as the call. Ownership: paths are only read. Nothing is reported.
#pragma once

#include "ORVA/Core/Export.h"

namespace ORVA::Files::OS
{

/// Whether `path` leads to a directory. Links are followed. False for a null pointer and an empty path.
///
/// One bit of the mode is looked at, and sockets and block devices have it too: they count as directories here.
ORVA_API bool _TestDirExists(wchar_t const* path);

/// Whether `path` leads to something that is no directory: a file, but a device or a socket as well. Links are
/// followed. False for a null pointer and an empty path.
ORVA_API bool _TestFileExists(wchar_t const* path);

/// Removes the file, the link or the empty directory that `path` names. True if it is gone.
ORVA_API bool _DeleteFile(wchar_t const* path);

/// Makes the directory `path`, one level, with the permissions 0777 less the process's mask. False if it could not be
/// made, also because it exists.
ORVA_API bool _CreateDir(wchar_t const* path);

} // namespace ORVA::Files::OS
