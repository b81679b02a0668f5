/// @file
/// Timeouts of waits.
#pragma once

#include <boost/chrono/system_clocks.hpp>

namespace ORVA::Threading
{

/// The timeout that means no limit.
inline constexpr unsigned int wait_without_limit = 0xFFFFFFFFU;

/// The moment `milliseconds` from now. The longest timeout is 50 days, far inside 64 bits of nanoseconds.
inline boost::chrono::steady_clock::time_point deadline_after(unsigned int milliseconds)
{
    constexpr long nanoseconds_per_millisecond = 1000000;
    return boost::chrono::steady_clock::now() +
           boost::chrono::nanoseconds(static_cast<long>(milliseconds) * nanoseconds_per_millisecond);
}

} // namespace ORVA::Threading
