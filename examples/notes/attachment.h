/// @file
/// Bytes of any kind kept in the string pool: equal ones once, compared by a pointer, flattened and written like text.
///
/// The encoder takes every length, but the decoder refuses what became of a multiple of seven bytes. So one byte goes
/// along, or two where one would make such a multiple; the last one says how many.
#pragma once

#include "ORVA/String.h"

#include <optional>
#include <vector>

namespace notes
{

using Bytes = std::vector<unsigned char>;

/// Pools bytes of any number as text. The null string if there is no memory.
ORVA::String::CPPoolString keep(Bytes bytes);

/// The bytes of such a text. Nothing for another text, as far as that shows.
std::optional<Bytes> bytes_of(ORVA::String::CPPoolString const& text);

} // namespace notes
