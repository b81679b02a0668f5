/// @file
/// What the current locale's mapping to lower case does to ASCII.
///
/// Thread-safety: any thread, as long as nobody changes the locale meanwhile; the same condition as rune_tolower has.
#pragma once

namespace ORVA::String::OS
{

/// True if rune_tolower, in the calling thread's current locale, maps A to Z to a to z and leaves the other 102 ASCII
/// characters alone. False if it does not, as in Turkish, and also where the platform gives no cheap way to know: the
/// caller then asks the mapping for each character.
///
/// Costs about as much as one call of the mapping.
bool ascii_lowers_plainly();

} // namespace ORVA::String::OS
