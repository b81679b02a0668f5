#include "time_code.h"

#include <climits>
#include <cstdio>

namespace fractions
{

namespace
{

bool is_rate(CRational const& rate)
{
    return rate.isNormal() && rate.num() > 0;
}

// `whole` and the part that follows, which may be 1 or more. A failure on the way to it shows here.
std::optional<TimeCode> carried(long whole, CRational const& part)
{
    if (!part.isNormal())
        return std::nullopt;
    int const carry = part.num() / part.den();
    if (whole + carry > INT_MAX)
        return std::nullopt;
    return TimeCode{static_cast<int>(whole + carry), part - carry};
}

} // namespace

// As many frames as the numerator says take as many whole seconds as the denominator says.
std::optional<TimeCode> time_of(int frame, CRational const& rate)
{
    if (frame < 0 || !is_rate(rate))
        return std::nullopt;
    long const rounds = frame / rate.num();
    CRational const rest = CRational(frame % rate.num()) / rate;
    return carried(rounds * rate.den(), rest);
}

std::optional<int> frame_at(TimeCode const& time, CRational const& rate)
{
    if (!is_rate(rate))
        return std::nullopt;
    long const rounds = time.seconds / rate.den();
    CRational const rest = (time.part + time.seconds % rate.den()) * rate;
    std::optional<TimeCode> const frames = carried(rounds * rate.num(), rest);
    return frames ? std::optional<int>(frames->seconds) : std::nullopt;
}

bool advance(TimeCode& time, CRational const& duration)
{
    std::optional<TimeCode> const later = carried(time.seconds, time.part + duration);
    if (later)
        time = *later;
    return later.has_value();
}

std::string text(CRational const& value)
{
    return std::to_string(value.num()) + "/" + std::to_string(value.den());
}

std::string text(TimeCode const& time)
{
    char clock[40];
    std::snprintf(clock, sizeof clock, "%02d:%02d:%02d", time.seconds / 3600, time.seconds / 60 % 60,
                  time.seconds % 60);
    return time.part == 0 ? clock : clock + (" + " + text(time.part));
}

} // namespace fractions
