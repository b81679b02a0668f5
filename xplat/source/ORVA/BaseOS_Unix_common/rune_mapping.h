/// @file
/// The platform's mapping of single characters to lower and upper case.
///
/// The mapping follows the process's current locale: in the "C" locale only the ASCII letters may be mapped. One
/// character maps to one character; there is no folding of sequences.
///
/// Thread-safety: any thread, as long as nobody changes the locale meanwhile.
#pragma once

namespace ORVA::String::OS
{

/// The lower-case form of `character`, or `character` itself if it has none.
wchar_t rune_tolower(wchar_t character);

/// The upper-case form of `character`, or `character` itself if it has none.
wchar_t rune_toupper(wchar_t character);

} // namespace ORVA::String::OS
