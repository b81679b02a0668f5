/// @file
/// Holders: small classes that each own a text in one encoding and convert from the others.
///
/// The type of a source tells its encoding: `wchar_t const*` is the library's wide text, `unsigned char const*`
/// UTF-8, `unsigned short const*` UTF-16, `unsigned int const*` UTF-32 and `char const*` Windows code page 1252
/// ("ANSI"). A holder converts to a pointer of its own type, so it can be passed where such a text is wanted:
/// `open(reinterpret_cast<char const*>(*CUTF8Char(path)), flags)`.
///
/// Thread-safety: a holder belongs to one thread; the conversions have no global state.
/// Cost: one allocation per conversion, two from ANSI to UTF-8 or UTF-16.
#pragma once

#include "ORVA/String/AnsiHolder.h"
#include "ORVA/String/Utf16Holder.h"
#include "ORVA/String/Utf8Holder.h"
#include "ORVA/String/WideHolder.h"
