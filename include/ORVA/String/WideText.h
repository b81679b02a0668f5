/// @file
/// Small functions on wide text: character classes, case mapping, comparison without case, counting and substring
/// tests.
///
/// Case is mapped one character at a time by the platform, in the process's current locale; in the "C" locale only
/// the ASCII letters may have a case. Texts end at their first character of 0. Where a null pointer is not mentioned
/// it is not allowed.
///
/// Thread-safety: any thread; the functions have no state, but no other thread may change the locale meanwhile.
/// Nothing is allocated and nothing is reported.
#pragma once

#include "ORVA/Core/Export.h"
#include "ORVA/Core/Types.h"

namespace ORVA::String
{

/// @name Classes of characters
/// @{

/// True for slash and backslash.
ORVA_API bool _isSlash(wchar_t character);

/// True for the space (0x20) alone.
ORVA_API bool _isblank(wchar_t character);

/// True for tab (0x09), line feed (0x0A), carriage return (0x0D) and space (0x20); not for vertical tab and form feed.
ORVA_API bool _iswhitespace(wchar_t character);

/// True for line feed (0x0A) and carriage return (0x0D).
ORVA_API bool _isCRLF(wchar_t character);

/// True if `path` begins with backslash, backslash, question mark, backslash.
ORVA_API bool _isUNCW(wchar_t const* path);

/// @}
/// @name Case
/// @{

/// The lower-case form of `character`, or the character itself.
ORVA_API wchar_t wctolower(wchar_t const& character);

/// The upper-case form of `character`, or the character itself.
ORVA_API wchar_t wctoupper(wchar_t const& character);

/// Maps a text to lower case in place. A null pointer does nothing.
ORVA_API void wcslower(wchar_t* text);

/// Maps a text to upper case in place. A null pointer does nothing.
ORVA_API void wcsupper(wchar_t* text);

/// @}
/// @name Comparison without case
/// The result is a difference of mapped characters, first minus second, and not only its sign.
/// @{

/// 0 for equal characters, otherwise the difference of their lower-case forms.
ORVA_API int wccmpi(wchar_t a, wchar_t b);

/// 0 if the texts are equal but for case, otherwise the difference of the first two characters that are not. A null
/// pointer sorts after every text: 1 if only `a` is null, -1 if only `b` is.
ORVA_API int wcscmpi(wchar_t const* a, wchar_t const* b);

/// As wcscmpi, over at most `n` characters. Only the low 32 bits of `n` count, as a signed number: below 1 the result
/// is 0, once null pointers are decided.
ORVA_API int wcsncmpi(wchar_t const* a, wchar_t const* b, unsigned long n);

/// @}
/// @name Counting and searching
/// The substring tests give 1 if `part` occurs in `s`, else 0. An empty `part` does not occur, and nothing occurs in
/// an empty `s`; but equal pointers always give 1, also to an empty text. The cost is the product of the lengths at
/// worst.
/// @{

/// How often `c` occurs in `s`; 0 for a `c` of 0.
ORVA_API unsigned long wcscount(wchar_t const* s, wchar_t c);

/// Whether `part` occurs in `s`.
ORVA_API int wcscnt(wchar_t const* s, wchar_t const* part);

/// Whether `part` occurs within the first `n` characters of `s`. `n` is taken as a signed number: below 1 the result
/// is 0, unless the pointers are equal.
ORVA_API int wcsncnt(wchar_t const* s, wchar_t const* part, unsigned long n);

/// As wcscnt, without case.
ORVA_API int wcscnti(wchar_t const* s, wchar_t const* part);

/// As wcsncnt, without case.
ORVA_API int wcsncnti(wchar_t const* s, wchar_t const* part, unsigned long n);

/// @}

} // namespace ORVA::String
