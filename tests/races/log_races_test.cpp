#include "ORVA/Develop.h"

#include "races/together.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cwchar>

// Loggers that are set, replaced and taken out while messages are on their way.
namespace
{

using namespace ORVA::Develop;
using races::Faults;
using races::faults_beside;
using races::faults_of;

constexpr unsigned int writers = 3;
constexpr unsigned int messages = 3000;

struct Received
{
    std::atomic<unsigned int> messages{0};
    std::atomic<unsigned int> spoilt{0};

    // The number is there twice, once as the line and once as the argument.
    void take(_nqfDebugLevel level, wchar_t const* module, int line, wchar_t const* format, va_list args)
    {
        ++messages;
        wchar_t expected[16];
        wchar_t text[16];
        std::swprintf(expected, 16, L"%d", line);
        std::vswprintf(text, 16, format, args);
        if (level != _nqfDebugNotice || std::wcscmp(module, L"ORVA") != 0 || std::wcscmp(expected, text) != 0)
            ++spoilt;
    }
};

Received first;
Received second;

void first_logger(_nqfDebugLevel level, wchar_t const* module, char const*, int line, wchar_t const* format,
                  va_list args)
{
    first.take(level, module, line, format, args);
}

void second_logger(_nqfDebugLevel level, wchar_t const* module, char const*, int line, wchar_t const* format,
                   va_list args)
{
    second.take(level, module, line, format, args);
}

class LogRaces : public testing::Test
{
protected:
    LogRaces()
    {
        for (Received* const received : {&first, &second})
        {
            received->messages = 0;
            received->spoilt = 0;
        }
    }
    ~LogRaces() override { SetExternalLogger(nullptr); }
};

unsigned long write_all(unsigned int)
{
    for (unsigned int number = 0; number < messages; ++number)
        _logWrite(_nqfDebugNotice, L"ORVA", "file", static_cast<int>(number), L"%d", static_cast<int>(number));
    return 0;
}

TEST_F(LogRaces, each_message_reaches_one_of_the_loggers_that_take_turns)
{
    SetExternalLogger(first_logger);
    unsigned int turn = 0;
    EXPECT_EQ(faults_beside(writers, write_all,
                            [&turn](Faults&)
                            {
                                SetExternalLogger(turn++ % 2 == 0 ? second_logger : first_logger);
                                std::this_thread::yield();
                            }),
              0U);
    EXPECT_EQ(first.messages + second.messages, writers * messages);
    EXPECT_EQ(first.spoilt + second.spoilt, 0U);
}

TEST_F(LogRaces, without_a_logger_now_and_then_each_message_arrives_once_or_not_at_all)
{
    EXPECT_EQ(faults_beside(writers, write_all,
                            [](Faults&)
                            {
                                SetExternalLogger(first_logger);
                                std::this_thread::yield();
                                SetExternalLogger(nullptr);
                                std::this_thread::yield();
                            }),
              0U);
    EXPECT_LE(first.messages, writers * messages);
    EXPECT_EQ(first.spoilt, 0U);
    unsigned int const before = first.messages;
    write_all(0);
    EXPECT_EQ(first.messages, before);
    SetExternalLogger(first_logger);
    write_all(0);
    EXPECT_EQ(first.messages, before + messages);
}

std::atomic<unsigned int> reports{0};

void counting_logger(_nqfDebugLevel level, wchar_t const*, char const*, int, wchar_t const*, va_list)
{
    reports += level == _nqfDebugFailure ? 1U : 0U;
}

TEST_F(LogRaces, failed_assumptions_of_all_threads_are_reported)
{
    reports = 0;
    SetExternalLogger(counting_logger);
    EXPECT_EQ(faults_of(writers,
                        [](unsigned int)
                        {
                            Faults faults;
                            for (unsigned int number = 0; number < messages; ++number)
                            {
                                faults.expect(_istrue_(number % 2 == 0, "races") == (number % 2 == 0));
                                faults.expect(_isfalse_(number % 2 == 0, "races") == (number % 2 == 0));
                            }
                            return faults;
                        }),
              0U);
    EXPECT_EQ(reports, writers * messages);
}

} // namespace
