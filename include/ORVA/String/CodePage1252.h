/// @file
/// Conversion between Windows code page 1252 ("ANSI") and wide text.
///
/// A conversion succeeds as a whole or not at all. The bytes 0x81, 0x8D, 0x8F, 0x90 and 0x9D stand for no character;
/// U+0080 to U+009F have no byte.
///
/// Thread-safety: free of state. Ownership: the caller owns source and destination; nothing is allocated.
#pragma once

#include "ORVA/Core/Export.h"

namespace ORVA::String::OS
{

/// Decodes the zero-terminated text `source`. `sourceLength` is ignored; pass all bits set.
///
/// With `destLength` 0 the result is the number of characters that the text has, without the terminator. Otherwise up
/// to `destLength` - 1 characters and a terminator are written to `dest`, and the result is the number of characters
/// written: a longer text is cut short. The result is 0, with nothing written, if the text has a byte without a
/// character, if `dest` is null and `destLength` is not 0, or if `source` is null.
ORVA_API unsigned long ANSI_To_nqfWChar(char const* source, unsigned long sourceLength, wchar_t* dest,
                                        unsigned long destLength);

/// Encodes the zero-terminated text `source`. `sourceLength` is ignored; pass all bits set.
///
/// With `destLength` 0 the result is the number of bytes that the text needs, without the terminator. Otherwise up to
/// `destLength` - 1 bytes and a terminator are written to `dest`, and the result is the number of bytes written: a
/// longer text is cut short. The result is 0, with nothing written, if the text has a character without a byte, if
/// `dest` is null and `destLength` is not 0, or if `source` is null.
ORVA_API unsigned long nqfWChar_To_ANSI(wchar_t const* source, unsigned long sourceLength, char* dest,
                                        unsigned long destLength);

} // namespace ORVA::String::OS
