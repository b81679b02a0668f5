/// @file
/// Clocks and a few small functions on numbers.
///
/// Thread-safety: all of them may be called from any thread.
#pragma once

#include "ORVA/Core/Export.h"

namespace ORVA::Develop
{

/// False: the platforms of this library are little-endian.
ORVA_API bool _isBigEndian();

/// True: `wchar_t` has 32 bits.
ORVA_API bool _isWChar32();

/// Processor time used by the process, in seconds.
ORVA_API double _getTicks();

/// Monotonic time in nanoseconds.
ORVA_API unsigned long _steady_clock_now();

/// Monotonic time in nanoseconds.
ORVA_API unsigned long _now_nano();

/// Monotonic time in microseconds, rounded half up.
ORVA_API unsigned long _now_micro();

/// Monotonic time in milliseconds, rounded half up.
ORVA_API unsigned long _now_milli();

/// How many units of `precision` there are in `value`: the quotient, plus 1 if the remainder is at least `precision`
/// shifted right by 1. It is a count of units, not `value` rounded to a multiple. `precision` must not be 0.
///
/// For an odd `precision` the half is rounded down, so a remainder just below the true half already counts up;
/// for a `precision` of 1 it is 0, so the result is `value` plus 1.
ORVA_API unsigned long long _round_precision(unsigned long long value, unsigned long long precision);

/// The number of set bits of `value`.
ORVA_API unsigned int bitcount64(unsigned long long value);

} // namespace ORVA::Develop
