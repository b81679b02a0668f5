/// @file
/// Which application the caller runs in, and where that application lies.
///
/// Both answers are found out at the first call and kept for the life of the process. The system does not always
/// answer: the result is then an empty text, never null, nothing is reported, and the next call asks again. Each
/// function returns the same pointer at every call.
///
/// Both answers have at most 259 characters; what is longer is cut there.
///
/// Thread-safety: any thread at any time. Once there is an answer, no lock is taken and the text never changes; a
/// caller that got an empty text calls again and does not wait for the text behind the pointer to change.
/// Ownership: the texts belong to the library.
#pragma once

#include "ORVA/Core/Export.h"

namespace ORVA::Core::OS
{

/// The name of the running application: on macOS the bundle's name; on Linux the last component of the executable's
/// path. Empty if there is none.
ORVA_API wchar_t const* GetProcessName();

/// The absolute path of the directory that holds the running executable, with its trailing separator. A path of 260 to
/// 1039 characters is cut to 259, and so names no directory; for a longer one the result is empty.
///
/// On Linux it is also empty if the executable's path is no valid UTF-8. A backslash counts as a separator, as it does
/// everywhere in the library.
ORVA_API wchar_t const* GetStartupPath();

} // namespace ORVA::Core::OS
