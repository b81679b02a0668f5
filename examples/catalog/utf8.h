/// @file
/// UTF-8 on its way in and out: what is valid, and how text is shown.
#pragma once

#include "ORVA/String.h"

#include <string>
#include <string_view>

namespace catalog
{

/// True if `bytes` are UTF-8 and hold no NUL.
///
/// The library reads UTF-8 leniently: it takes overlong forms, encoded surrogates and values above U+10FFFF. A
/// catalogue should not, because it writes its names out again, and because "/" and its overlong form would become one
/// name.
bool is_utf8(std::string_view bytes);

/// Any bytes as printable ASCII: all others become \xNN, and a backslash is doubled.
std::string escaped(std::string_view bytes);

/// A name for the terminal, in UTF-8: characters that would control it become \xNN, and a backslash is doubled. Of a
/// longer name the first `limit` characters and "...".
std::string shown(ORVA::String::CPPoolString const& name, unsigned long limit);

/// A path for the terminal: as `shown` if it is UTF-8, otherwise as `escaped`. Of one of more than 240 bytes its
/// beginning, "..." and its end.
std::string shown_path(std::string_view path);

/// Valid UTF-8 as a JSON string, with its quotes.
std::string json_string(std::string_view text);

/// The first `limit` characters of a name as a JSON string.
std::string json_string(ORVA::String::CPPoolString const& name, unsigned long limit);

} // namespace catalog
