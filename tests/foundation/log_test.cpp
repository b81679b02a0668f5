#include "ORVA/Develop/Log.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdarg>
#include <cwchar>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include <unwind.h>

namespace
{

using namespace ORVA::Develop;
using support::LogMessages;
using support::LogRecorder;

int calls = 0;
int calls_of_other = 0;
LoggerCallback installed_before_throw = nullptr;

void counting_logger(_nqfDebugLevel, wchar_t const*, char const*, int, wchar_t const*, va_list)
{
    ++calls;
}

void other_logger(_nqfDebugLevel, wchar_t const*, char const*, int, wchar_t const*, va_list)
{
    ++calls_of_other;
}

void throwing_logger(_nqfDebugLevel, wchar_t const*, char const*, int, wchar_t const*, va_list)
{
    ++calls;
    if (installed_before_throw != nullptr)
        SetExternalLogger(installed_before_throw);
    throw std::runtime_error("logger");
}

void logger_that_throws_a_number(_nqfDebugLevel, wchar_t const*, char const*, int, wchar_t const*, va_list)
{
    ++calls;
    throw 5;
}

// Raises what code in another language would: an exception of the platform that is none of C++.
_Unwind_Exception foreign_exception = {};

void logger_that_raises_a_foreign_exception(_nqfDebugLevel, wchar_t const*, char const*, int, wchar_t const*, va_list)
{
    ++calls;
    foreign_exception = {};
    foreign_exception.exception_class = 0x4F5448455254455FULL;
    _Unwind_RaiseException(&foreign_exception);
}

std::atomic<int> calls_of_all_threads{0};

void logger_that_throws_in_every_thread(_nqfDebugLevel, wchar_t const*, char const*, int, wchar_t const*, va_list)
{
    ++calls_of_all_threads;
    throw std::runtime_error("logger");
}

// Writes a second message from inside the first.
void reentrant_logger(_nqfDebugLevel level, wchar_t const* module, char const* file, int line, wchar_t const* format,
                      va_list)
{
    if (++calls == 1)
        _logWrite(level, module, file, line, format);
}

struct Seen
{
    _nqfDebugLevel level;
    wchar_t const* module;
    char const* file;
    int line;
    wchar_t const* format;
    char const* first;
    int second;
    wchar_t const* third;
    double fourth;
};

Seen seen = {};

void keeping_logger(_nqfDebugLevel level, wchar_t const* module, char const* file, int line, wchar_t const* format,
                    va_list args)
{
    seen = {level, module, file, line, format, nullptr, 0, nullptr, 0};
    seen.first = va_arg(args, char const*);
    seen.second = va_arg(args, int);
    seen.third = va_arg(args, wchar_t const*);
    seen.fourth = va_arg(args, double);
}

void write_through_ready_arguments(_nqfDebugLevel level, wchar_t const* module, char const* file, int line,
                                   wchar_t const* format, ...)
{
    va_list args;
    va_start(args, format);
    _logWriteArg(level, module, file, line, format, args);
    va_end(args);
}

class Log : public testing::Test
{
protected:
    void SetUp() override
    {
        calls = 0;
        calls_of_other = 0;
        installed_before_throw = nullptr;
        seen = {};
        SetExternalLogger(nullptr);
    }
    void TearDown() override { SetExternalLogger(nullptr); }
};

static_assert(sizeof(_nqfDebugLevel) == 4, "a level is passed as a 32-bit value");
static_assert(_nqfDebugFailure == 1 && _nqfDebugBadInput == 2 && _nqfDebugDiagnosis == 8 && _nqfDebugNotice == 16,
              "the values of the levels are fixed");
static_assert(
    std::is_same_v<LoggerCallback, void (*)(_nqfDebugLevel, wchar_t const*, char const*, int, wchar_t const*, va_list)>,
    "the type of the callback is fixed");

TEST_F(Log, without_a_logger_messages_are_dropped)
{
    _logWrite(_nqfDebugFailure, L"ORVA", "file", 1, L"%ls", L"text");
    write_through_ready_arguments(_nqfDebugFailure, L"ORVA", "file", 1, L"%ls", L"text");
    EXPECT_EQ(OS::RTABox("first", "second"), 0);
    EXPECT_EQ(calls, 0);
}

// With no logger nothing is looked at: neither the format nor its arguments need to be usable.
TEST_F(Log, without_a_logger_the_format_is_not_expanded)
{
    _logWrite(_nqfDebugFailure, nullptr, nullptr, 0, L"%hs%n");
    _logWrite(_nqfDebugFailure, nullptr, nullptr, 0, nullptr);
}

TEST_F(Log, every_argument_reaches_the_callback_as_it_was_given)
{
    SetExternalLogger(keeping_logger);
    wchar_t const* const module = L"module";
    char const* const file = "file";
    wchar_t const* const format = L"%hs %d %ls %f";
    char const* const first = "first";
    wchar_t const* const third = L"third";
    _logWrite(_nqfDebugNotice, module, file, 77, format, first, -5, third, 2.5);
    EXPECT_EQ(seen.level, 16U);
    EXPECT_EQ(seen.module, module);
    EXPECT_EQ(seen.file, file);
    EXPECT_EQ(seen.line, 77);
    EXPECT_EQ(seen.format, format) << "the format itself, not an expansion";
    EXPECT_EQ(seen.first, first);
    EXPECT_EQ(seen.second, -5);
    EXPECT_EQ(seen.third, third);
    EXPECT_EQ(seen.fourth, 2.5);
}

TEST_F(Log, ready_arguments_are_handed_on)
{
    SetExternalLogger(keeping_logger);
    wchar_t const* const format = L"%hs %d %ls %f";
    char const* const first = "x";
    write_through_ready_arguments(_nqfDebugBadInput, L"m", "f", -1, format, first, 9, L"t", 1.5);
    EXPECT_EQ(seen.level, 2U);
    EXPECT_EQ(seen.line, -1);
    EXPECT_EQ(seen.format, format);
    EXPECT_EQ(seen.first, first);
    EXPECT_EQ(seen.second, 9);
    EXPECT_EQ(seen.fourth, 1.5);
}

TEST_F(Log, levels_are_neither_filtered_nor_changed)
{
    LogRecorder recorder;
    for (unsigned int level : {0U, 1U, 2U, 3U, 8U, 16U, 0x80000000U, 0xFFFFFFFFU})
    {
        _logWrite(static_cast<_nqfDebugLevel>(level), L"ORVA", "file", 3, L"text");
        EXPECT_EQ(recorder.take(), LogMessages{support::log_message(level, "file", 3, L"text")});
    }
}

TEST_F(Log, a_null_callback_switches_the_log_off_and_another_replaces_the_first)
{
    SetExternalLogger(counting_logger);
    _logWrite(_nqfDebugNotice, L"ORVA", "file", 1, L"a");
    SetExternalLogger(other_logger);
    _logWrite(_nqfDebugNotice, L"ORVA", "file", 1, L"b");
    SetExternalLogger(nullptr);
    _logWrite(_nqfDebugNotice, L"ORVA", "file", 1, L"c");
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(calls_of_other, 1);
}

TEST_F(Log, a_throwing_logger_is_removed_and_the_writer_sees_nothing)
{
    SetExternalLogger(throwing_logger);
    EXPECT_NO_THROW(_logWrite(_nqfDebugNotice, L"ORVA", "file", 1, L"a"));
    EXPECT_EQ(calls, 1);
    EXPECT_NO_THROW(_logWrite(_nqfDebugNotice, L"ORVA", "file", 1, L"b"));
    EXPECT_EQ(calls, 1);
}

TEST_F(Log, a_throwing_logger_is_removed_by_ready_arguments_too)
{
    SetExternalLogger(throwing_logger);
    EXPECT_NO_THROW(write_through_ready_arguments(_nqfDebugNotice, L"ORVA", "file", 1, L"a"));
    _logWrite(_nqfDebugNotice, L"ORVA", "file", 1, L"b");
    EXPECT_EQ(calls, 1);
}

TEST_F(Log, any_exception_removes_a_logger)
{
    SetExternalLogger(logger_that_throws_a_number);
    EXPECT_NO_THROW(OS::RTABox("first", "second"));
    EXPECT_NO_THROW(OS::RTABox("first", "second"));
    EXPECT_EQ(calls, 1);
}

TEST_F(Log, a_foreign_exception_removes_a_logger)
{
    SetExternalLogger(logger_that_raises_a_foreign_exception);
    _logWrite(_nqfDebugNotice, L"ORVA", "file", 1, L"a");
    _logWrite(_nqfDebugNotice, L"ORVA", "file", 1, L"b");
    EXPECT_EQ(calls, 1);
}

// At most the messages that are on their way when the first exception arrives still reach the logger.
TEST_F(Log, a_logger_that_throws_in_several_threads_at_once_is_removed)
{
    constexpr int threads = 4;
    constexpr int messages = 1000;
    calls_of_all_threads = 0;
    SetExternalLogger(logger_that_throws_in_every_thread);
    std::vector<std::thread> writers;
    for (int thread = 0; thread < threads; ++thread)
        writers.emplace_back(
            []
            {
                for (int index = 0; index < messages; ++index)
                    _logWrite(_nqfDebugNotice, L"ORVA", "file", 1, L"a");
            });
    for (std::thread& writer : writers)
        writer.join();
    EXPECT_GE(calls_of_all_threads, 1);
    EXPECT_LE(calls_of_all_threads, threads);
}

TEST_F(Log, a_logger_can_be_installed_again_after_one_threw)
{
    SetExternalLogger(throwing_logger);
    _logWrite(_nqfDebugNotice, L"ORVA", "file", 1, L"a");
    SetExternalLogger(other_logger);
    _logWrite(_nqfDebugNotice, L"ORVA", "file", 1, L"b");
    EXPECT_EQ(calls_of_other, 1);
    SetExternalLogger(throwing_logger);
    _logWrite(_nqfDebugNotice, L"ORVA", "file", 1, L"c");
    EXPECT_EQ(calls, 2);
}

TEST_F(Log, a_callback_that_a_throwing_logger_installed_goes_with_it)
{
    installed_before_throw = other_logger;
    SetExternalLogger(throwing_logger);
    _logWrite(_nqfDebugNotice, L"ORVA", "file", 1, L"a");
    _logWrite(_nqfDebugNotice, L"ORVA", "file", 1, L"b");
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(calls_of_other, 0);
}

TEST_F(Log, a_logger_may_write_messages_itself)
{
    SetExternalLogger(reentrant_logger);
    _logWrite(_nqfDebugNotice, L"ORVA", "file", 1, L"a");
    EXPECT_EQ(calls, 2);
}

TEST_F(Log, messages_of_all_threads_arrive)
{
    constexpr int threads = 4;
    constexpr int messages = 250;
    LogRecorder recorder;
    std::vector<std::thread> writers;
    for (int thread = 0; thread < threads; ++thread)
        writers.emplace_back(
            [thread]
            {
                for (int index = 0; index < messages; ++index)
                    _logWrite(_nqfDebugNotice, L"ORVA", "file", thread, L"%d", index);
            });
    for (std::thread& writer : writers)
        writer.join();

    std::vector<int> next(threads, 0);
    for (support::LogMessage const& message : recorder.take())
    {
        int& index = next.at(static_cast<std::size_t>(message.line));
        EXPECT_EQ(message.text, std::to_wstring(index));
        ++index;
    }
    EXPECT_EQ(next, std::vector<int>(threads, messages));
}

TEST_F(Log, rtabox_writes_a_failed_assumption_with_both_texts)
{
    LogRecorder recorder;
    EXPECT_EQ(OS::RTABox("Runtime assumption failed", "a > b"), 0);
    EXPECT_EQ(recorder.take(), LogMessages{support::log_message(1, "BaseOS_Unix_common", 105,
                                                                L"Failed assumption: Runtime assumption failed:a > b",
                                                                L"Failed assumption: %hs:%hs")});
}

TEST_F(Log, rtabox_texts_are_no_formats)
{
    LogRecorder recorder;
    OS::RTABox("100%s", "%d%n");
    EXPECT_EQ(recorder.take(), LogMessages{support::assumption("100%s", "%d%n")});
}

TEST_F(Log, istrue_reports_true_and_returns_its_first_argument)
{
    LogRecorder recorder;
    EXPECT_TRUE(_istrue_(true, "file,1:condition"));
    EXPECT_EQ(recorder.take(), LogMessages{support::assumption("RTA_ON_TRUE", "file,1:condition")});
    EXPECT_FALSE(_istrue_(false, "file,1:condition"));
    EXPECT_EQ(recorder.count(), 0U);
}

TEST_F(Log, isfalse_reports_false_and_returns_its_first_argument)
{
    LogRecorder recorder;
    EXPECT_FALSE(_isfalse_(false, "file,2:condition"));
    EXPECT_EQ(recorder.take(), LogMessages{support::assumption("RTA_ON_FALSE", "file,2:condition")});
    EXPECT_TRUE(_isfalse_(true, "file,2:condition"));
    EXPECT_EQ(recorder.count(), 0U);
}

TEST_F(Log, checks_return_their_argument_without_a_logger_and_with_a_throwing_one)
{
    EXPECT_TRUE(_istrue_(true, "t"));
    EXPECT_FALSE(_isfalse_(false, "t"));
    SetExternalLogger(throwing_logger);
    EXPECT_TRUE(_istrue_(true, "t"));
    SetExternalLogger(throwing_logger);
    EXPECT_FALSE(_isfalse_(false, "t"));
    SetExternalLogger(throwing_logger);
    EXPECT_EQ(OS::RTABox("f", "s"), 0);
    EXPECT_EQ(calls, 3);
}

TEST(PlacementNew, the_form_of_the_library_returns_its_place)
{
    unsigned char place[16] = {1, 2, 3};
    EXPECT_EQ(::operator new(1000, place, _nqfDebugLevel(0)), static_cast<void*>(place));
    EXPECT_EQ(::operator new(0, place + 1, _nqfDebugFailure), static_cast<void*>(place + 1));
    EXPECT_EQ(place[0], 1);

    alignas(int) unsigned char memory[sizeof(int)] = {};
    int* const number = new (memory, _nqfDebugLevel(0)) int(5);
    EXPECT_EQ(static_cast<void*>(number), static_cast<void*>(memory));
    EXPECT_EQ(*number, 5);
}

TEST(PlacementNew, the_matching_delete_does_nothing)
{
    struct Thrower
    {
        Thrower() { throw 1; }
    };
    unsigned char place[16] = {7};
    ::operator delete(place, place, _nqfDebugLevel(0));
    EXPECT_EQ(place[0], 7);
    EXPECT_THROW(new (place, _nqfDebugLevel(0)) Thrower, int);
    EXPECT_EQ(place[0], 7);
}

} // namespace
