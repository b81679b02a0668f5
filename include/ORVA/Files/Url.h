/// @file
/// Escapes of URLs, and conversion between file paths and "file:" URLs. (The name of the namespace is spelled as it
/// is.)
///
/// Paths are wide text; URLs are UTF-8. Never escaped are 'A' to 'Z', 'a' to 'z', '0' to '9', '-', '.', '_' and '~',
/// and, where a function has an argument `allowed`, the characters of that text, which may be null. An escape is '%'
/// and two hexadecimal digits: upper case where it is written, either where it is read.
///
/// Thread-safety: any thread; the functions have no state. Ownership: buffers are the caller's; results own their text.
/// Nothing is reported: failures are a 0 or an empty result, which holds nothing and is false.
#pragma once

#include "ORVA/Core/Export.h"
#include "ORVA/String/Holders.h"

namespace ORVA::Internetional
{

/// Copies `in` to `out` with each escape turned into its byte, and a terminator. A '%' that begins no escape is copied.
/// `out` may be `in`; it needs at most as much room. 1, or 0 if either is null.
///
/// "%00" becomes a byte of 0, so that the text seems to end there.
ORVA_API int URL_decodebuffer(unsigned char* out, unsigned char const* in);

/// 1 if all of `text` could stand in a URL as it is: unreserved and allowed characters and escapes. 0 otherwise, and
/// for a null pointer.
ORVA_API int URL_checkescape(unsigned char const* text, unsigned char const* allowed);

/// The bytes that `text` takes when it is encoded, without the terminator: 1 for a character that is not escaped, 3 for
/// any other, '%' among them unless it is allowed. 0 for a null pointer.
ORVA_API unsigned long URL_encoderequired(unsigned char const* text, unsigned char const* allowed);

/// Copies `in` to `out` with all characters escaped that are neither unreserved nor allowed, and a terminator. `out`
/// needs room for URL_encoderequired + 1 bytes and must not overlap `in`. 1, or 0 if either is null or they are the
/// same.
ORVA_API int URL_encodebuffer(unsigned char* out, unsigned char const* in, unsigned char const* allowed);

/// The URL of the file `path`: backslashes become slashes, and "C:\x" gives "file:///C%3A/x", "/x" gives "file:///x",
/// "//srv/x" gives "file://srv/x". A path without a slash at its start gets one, so a relative path becomes an absolute
/// one. Empty for a null or empty path.
ORVA_API String::CUTF8Char file_EncodeURL(wchar_t const* path);

/// The path that a "file:" URL names. "file:///C:/x" gives "C:/x", "file:///a/b" and "file://localhost/a/b" give
/// "/a/b", and "file://srv/x" gives "//srv/x".
///
/// Empty for a null pointer, for a text that does not begin with "file://" as it stands, for four slashes, for
/// "file://" alone, and for a single step without a colon, such as "file:///a".
ORVA_API String::CNQFWChar file_DecodeURL(unsigned char const* url);

/// As above, for a URL in wide text.
ORVA_API String::CNQFWChar file_DecodeURL(wchar_t const* url);

} // namespace ORVA::Internetional
