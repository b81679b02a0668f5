/// @file
/// The places where the library writes to the log, and loggers that throw there.
#pragma once

#include "ORVA/Develop/Log.h"

#include "exceptions/thrown.h"
#include "support/LogRecorder.h"

#include <atomic>
#include <functional>
#include <string>

namespace exceptions
{

/// While it lives, the logger of the process is one that throws. One lives at a time.
class ThrowingLogger
{
public:
    explicit ThrowingLogger(Thrown what)
    {
        s_what = what;
        s_calls = 0;
        ORVA::Develop::SetExternalLogger(
            [](_nqfDebugLevel, wchar_t const*, char const*, int, wchar_t const*, va_list)
            {
                ++s_calls;
                raise(s_what);
            });
    }
    ~ThrowingLogger() { ORVA::Develop::SetExternalLogger(nullptr); }
    ThrowingLogger(ThrowingLogger const&) = delete;
    ThrowingLogger& operator=(ThrowingLogger const&) = delete;

    unsigned int calls() const { return s_calls; }

private:
    inline static std::atomic<Thrown> s_what{Thrown::standard};
    inline static std::atomic<unsigned int> s_calls{0};
};

/// A place that writes to the log.
struct LoggerSite
{
    char const* name;
    std::function<bool()> use; ///< the operation, begun anew each time; true if it gives what it is to give
    support::LogMessages messages;
};

inline void PrintTo(LoggerSite const& site, std::ostream* stream)
{
    *stream << site.name;
}

/// An operation gives with a logger that throws what it gives with one that returns. The logger is called once, and a
/// new one is told everything again.
inline void expect_the_result_with_every_logger(LoggerSite const& site)
{
    {
        support::LogRecorder recorder;
        EXPECT_TRUE(site.use());
        EXPECT_EQ(recorder.take(), site.messages);
    }
    for (Thrown const what : both_kinds)
    {
        ThrowingLogger const logger(what);
        bool result = false;
        EXPECT_FALSE(thrown_by([&] { result = site.use(); }).has_value());
        EXPECT_TRUE(result);
        EXPECT_EQ(logger.calls(), 1U) << "it is removed at once";
    }
    support::LogRecorder recorder;
    EXPECT_TRUE(site.use());
    EXPECT_EQ(recorder.take(), site.messages);
}

} // namespace exceptions
