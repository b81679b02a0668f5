/// @file
/// The schedule, printed as it happens.
#pragma once

namespace housekeeping
{

/// Prints a line: the seconds since the start, who, and what. From any thread; lines are never mixed.
void tell(wchar_t const* who, char const* format, ...) __attribute__((format(printf, 2, 3)));

} // namespace housekeeping
