/// @file
/// Points in time as text.
#pragma once

#include <ctime>
#include <string>

namespace catalog
{

/// A time in seconds since the epoch as "2026-11-21T07:30:00Z". File systems keep times that have no year; those are
/// given as the number.
inline std::string utc_time(long seconds)
{
    std::time_t const time = seconds;
    std::tm parts{};
    char text[64];
    if (gmtime_r(&time, &parts) == nullptr || std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts) == 0)
        return std::to_string(seconds);
    return text;
}

} // namespace catalog
