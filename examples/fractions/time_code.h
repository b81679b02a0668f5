/// @file
/// Frame numbers and times, exactly.
///
/// A fraction has 30 bits to a component, which is too little for a long time: at 30000/1001 frames a second there are
/// frames after ten hours whose time is no fraction. Whole seconds are therefore counted apart, and the fraction is what
/// lies behind them.
#pragma once

#include "ORVA/Math.h"

#include <optional>
#include <string>

namespace fractions
{

using ORVA::Math::CRational;

/// A point in time from 0 on.
struct TimeCode
{
    int seconds = 0;
    CRational part; ///< of a second more: 0 or above, below 1
};

/// When a frame begins. Nothing for a negative frame, a rate that is not normal or not above 0, and a time that is out of
/// range.
std::optional<TimeCode> time_of(int frame, CRational const& rate);

/// The frame that is seen at a time. Nothing for such a rate, and for a frame that is out of range.
std::optional<int> frame_at(TimeCode const& time, CRational const& rate);

/// Goes on by a duration of 0 or above. False, with the time as it was, if that is not normal or out of range.
bool advance(TimeCode& time, CRational const& duration);

/// As "30000/1001".
std::string text(CRational const& value);
/// As "23:59:59 + 2941/3000".
std::string text(TimeCode const& time);

} // namespace fractions
