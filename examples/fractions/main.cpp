/// @file
/// Exact arithmetic on frame rates and time codes, beside what floating-point numbers make of them; what a failure looks
/// like; and how to handle negative values.
///
///   time_code.h    frame numbers and times
///   log.h          the library's messages, printed
///
/// The exit status is 0 if everything is as the lines say.

#include "log.h"
#include "time_code.h"

#include <algorithm>
#include <cstdio>
#include <vector>

namespace
{

using namespace fractions;

CRational const rate(30000, 1001); // frames a second
constexpr int day = 24 * 60 * 60;

std::string list(std::vector<CRational> const& values)
{
    std::string line;
    for (CRational const& value : values)
        line += (line.empty() ? "" : "  ") + text(value);
    return line;
}

bool show_time_codes()
{
    std::printf("Frames at %s a second, and when they begin:\n", text(rate).c_str());
    bool good = true;
    for (int const frame : {0, 1, 30, 30000, 2589407, 2589410})
    {
        std::optional<TimeCode> const time = time_of(frame, rate);
        if (!time)
            return false;
        std::printf("  frame %7d   %s\n", frame, text(*time).c_str());
        good = good && frame_at(*time, rate) == frame;
    }
    return good;
}

// The same sum twice: a frame's duration for each frame of a day.
bool show_sums(int frames)
{
    CRational const duration = 1 / rate;
    TimeCode exact;
    double inexact = 0;
    for (int frame = 0; frame < frames; ++frame)
    {
        if (!advance(exact, duration))
            return false;
        inexact += 1001.0 / 30000.0;
    }
    std::optional<TimeCode> const expected = time_of(frames, rate);
    bool const good = expected && exact.seconds == expected->seconds && exact.part == expected->part;
    std::printf("\nThe durations of the %d frames of a day, added up:\n", frames);
    std::printf("  exact    %s, %s\n", text(exact).c_str(), good ? "when the next frame begins" : "WRONG");
    std::printf("  double   off by %.9f seconds\n", inexact - (exact.seconds + exact.part.fract()));
    return good;
}

// Rounding to the nearest frame would mend this for the times at which frames begin, and no others: a frame is seen
// until the next one begins.
bool show_round_trips(int frames)
{
    double const inexact_rate = 30000.0 / 1001.0;
    int wrong = 0;
    int wrong_in_double = 0;
    for (int frame = 0; frame < frames; ++frame)
    {
        std::optional<TimeCode> const time = time_of(frame, rate);
        wrong += !time || frame_at(*time, rate) != frame;
        double const seconds = frame / inexact_rate;
        wrong_in_double += static_cast<int>(seconds * inexact_rate) != frame;
    }
    std::printf("\nFrom each of these frames to its time, and back to the frame that is seen then:\n");
    std::printf("  exact    %d come back as another\n", wrong);
    std::printf("  double   %d come back as another\n", wrong_in_double);
    return wrong == 0;
}

// The limit is how fine the answer may be. What was rounded before is no measurement: 29.97 is nearest to itself.
bool show_measured_rates()
{
    struct Measured
    {
        double rate;
        int limit;
        CRational expected;
    };
    std::printf("\nMeasured rates, and the nearest fraction with a denominator up to a limit:\n");
    bool good = true;
    for (Measured const& measured :
         {Measured{29.9700301, 1001, {30000, 1001}}, Measured{23.9760238, 1001, {24000, 1001}},
          Measured{25.0000004, 1001, 25}, Measured{29.97, 1001, {2997, 100}}, Measured{29.9700301, 10, 30},
          Measured{-0.3333333, 100, {-1, 3}}})
    {
        CRational nearest;
        good = nearest.fassign(measured.rate, measured.limit) && nearest == measured.expected && good;
        std::printf("  %10.7f  to %4d   %s\n", measured.rate, measured.limit, text(nearest).c_str());
    }
    return good;
}

// Nothing throws: a failure is the value 1/0, and what is computed with it is not normal either. Ask once, at the end.
bool show_failures()
{
    std::printf("\nFailures, with what the library reports:\n");
    CRational const none(30, 0);
    std::printf("  30/0                            %s, without a report\n", text(none).c_str());

    CRational const time = 2589407 / rate;
    std::printf("  2589407 / (30000/1001)          %s, since 2592 million is above %d\n", text(time).c_str(),
                ORVA::Math::gs_maxRep);
    CRational const chain = ((time + CRational(1, 2)) * 30 - 3) / 7;
    std::printf("  ((that + 1/2) * 30 - 3) / 7     %s, which is %s\n", text(chain).c_str(),
                chain.isNormal() ? "normal" : "not normal");

    CRational assigned;
    bool const result = assigned.assign(2000000001, 2);
    std::printf("  assign(2000000001, 2)           %s, although the result is %s\n", text(assigned).c_str(),
                result ? "true" : "false");

    // A divisor is the exception: look at it first.
    CRational const duration = 1 / none;
    std::printf("  1 / (30/0)                      %s, which is %s: ask before a division\n", text(duration).c_str(),
                duration.isNormal() ? "normal" : "not normal");
    return !none.isNormal() && !time.isNormal() && !chain.isNormal() && result && !assigned.isNormal() &&
           duration.isNormal() && duration == 0 && !time_of(1, none) && LibraryMessages::count() == 2;
}

// How far tracks are ahead of the picture. Two negative fractions have no order, a fraction and a number have one: so the
// difference is compared with 0. That is exact, too.
bool earlier(CRational const& first, CRational const& second)
{
    return first - second < 0;
}

bool show_negative_values()
{
    CRational const a(-2, 5);
    CRational const b(-3, 5);
    std::printf("\nNegative values:\n");
    std::printf("  -2/5 > -3/5 is %s, and -3/5 > -2/5 is %s, too\n", a > b ? "true" : "false",
                b > a ? "true" : "false");
    bool good = a > b && b > a;

    std::vector<CRational> offsets = {{-1, 4}, {1, 3}, b, {-1, 2}, a, 0};
    std::sort(offsets.begin(), offsets.end(), &earlier);
    std::printf("  sorted by the sign of the difference: %s\n", list(offsets).c_str());
    good = good && offsets == std::vector<CRational>{b, {-1, 2}, a, {-1, 4}, 0, {1, 3}};

    CRational product = CRational(-1, 2) * CRational(1, 2);
    CRational const quarter(-1, 4);
    std::printf("  -1/2 * 1/2 is %s, in floating point %g, and %s -1/4\n", text(product).c_str(), product.fract(),
                product == quarter ? "equals" : "does not equal");
    good = good && product.fract() == -0.25 && !(product == quarter);
    product._normalize();
    std::printf("  normalised it is %s, and %s -1/4\n", text(product).c_str(),
                product == quarter ? "equals" : "does not equal");
    return good && product == quarter;
}

} // namespace

int main()
{
    LibraryMessages const messages;
    bool good = show_time_codes();
    int const frames = frame_at({day, 0}, rate).value_or(0);
    good = frames > 0 && show_sums(frames) && good;
    good = show_round_trips(frames) && good;
    good = show_measured_rates() && good;
    good = show_failures() && good;
    good = show_negative_values() && good;
    good = good && LibraryMessages::count() == 2;
    std::printf("\n%s\n", good ? "All is as it should be." : "Something is wrong.");
    return good ? 0 : 1;
}
