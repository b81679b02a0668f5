// Loggers that throw: in the functions of the log themselves, and on many threads.
#include "ORVA/Develop/Result.h"

#include "exceptions/logger_sites.h"
#include "threading/event_threads.h"

#include <boost/thread/exceptions.hpp>

#include <vector>

namespace
{

using namespace exceptions;
using namespace support;
namespace Develop = ORVA::Develop;

void write_arguments(wchar_t const* format, ...)
{
    va_list args;
    va_start(args, format);
    Develop::_logWriteArg(_nqfDebugNotice, L"test", "file", 9, format, args);
    va_end(args);
}

LogMessage own_message()
{
    LogMessage message = log_message(16, "file", 9, L"number 5");
    message.module = L"test";
    return message;
}

/// Sets a flag of the host's for a while.
class Flag
{
public:
    explicit Flag(bool& flag) : m_flag(flag) { m_flag = true; }
    ~Flag() { m_flag = false; }
    Flag(Flag const&) = delete;
    Flag& operator=(Flag const&) = delete;

private:
    bool& m_flag;
};

class ThrowingLoggerIn : public testing::TestWithParam<LoggerSite>
{
};

TEST_P(ThrowingLoggerIn, IsRemovedAndNothingElseChanges)
{
    expect_the_result_with_every_logger(GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    TheLog, ThrowingLoggerIn,
    testing::Values(
        LoggerSite{"_logWrite",
                   []
                   {
                       Develop::_logWrite(_nqfDebugNotice, L"test", "file", 9, L"number %d", 5);
                       return true;
                   },
                   {own_message()}},
        LoggerSite{"_logWriteArg",
                   []
                   {
                       write_arguments(L"number %d", 5);
                       return true;
                   },
                   {own_message()}},
        LoggerSite{"RTABox", [] { return Develop::OS::RTABox("one", "two") == 0; }, {assumption("one", "two")}},
        LoggerSite{"_istrue_", [] { return Develop::_istrue_(true, "text"); }, {assumption("RTA_ON_TRUE", "text")}},
        LoggerSite{
            "_isfalse_", [] { return !Develop::_isfalse_(false, "text"); }, {assumption("RTA_ON_FALSE", "text")}},
        LoggerSite{"hr",
                   []
                   {
                       Flag const reports(ORVA::bBreakOnHRESULT);
                       Flag const logs(ORVA::bLogFailedHRESULT);
                       return !ORVA::hr(-1);
                   },
                   {assumption("RTA_ON_TRUE", "ORVANQF,22:lResult < 0"),
                    log_message(8, "ORVANQF", 25, L"lResult < 0: ffffffff")}}));

// The library itself waits at no interruption point in there, so an interruption in the logger is its own affair.
TEST(ThrowingLogger, MayBeInterrupted)
{
    ORVA::Develop::SetExternalLogger([](_nqfDebugLevel, wchar_t const*, char const*, int, wchar_t const*, va_list)
                                     { throw boost::thread_interrupted(); });
    EXPECT_NO_THROW(Develop::OS::RTABox("one", "two"));
    LogRecorder recorder;
    Develop::OS::RTABox("one", "two");
    EXPECT_EQ(recorder.count(), 1U);
}

// Threads that are in the logger already when it is removed each see nothing of their exception.
TEST(ThrowingLogger, IsRemovedFromAllThreads)
{
    for (Thrown const what : both_kinds)
    {
        ThrowingLogger const logger(what);
        std::vector<events::Background<bool>> threads;
        for (int number = 0; number < 4; ++number)
        {
            threads.emplace_back(
                []
                {
                    return !thrown_by(
                                []
                                {
                                    for (int round = 0; round < 100; ++round)
                                        Develop::OS::RTABox("one", "two");
                                })
                                .has_value();
                });
        }
        for (events::Background<bool>& thread : threads)
            EXPECT_TRUE(thread.result());
        EXPECT_GE(logger.calls(), 1U);
        EXPECT_LE(logger.calls(), 4U);
        unsigned int const calls = logger.calls();
        Develop::OS::RTABox("one", "two");
        EXPECT_EQ(logger.calls(), calls);
    }
}

} // namespace
