#include "support/LogRecorder.h"

#include "ORVA/Develop/Log.h"

#include <algorithm>
#include <cstdarg>
#include <cwchar>
#include <mutex>
#include <ostream>

namespace support
{

namespace
{

std::mutex recording_lock;
std::vector<LogMessage> recording;

std::wstring expand(wchar_t const* format, va_list args)
{
    for (std::size_t capacity = 512; capacity <= 512 * 1024; capacity *= 4)
    {
        std::wstring text(capacity, L'\0');
        va_list copy;
        va_copy(copy, args);
        int const length = std::vswprintf(text.data(), text.size(), format, copy);
        va_end(copy);
        if (length >= 0)
        {
            text.resize(static_cast<std::size_t>(length));
            return text;
        }
    }
    return L"(cannot be expanded)";
}

void record(_nqfDebugLevel level, wchar_t const* module, char const* file, int line, wchar_t const* format,
            va_list args)
{
    LogMessage message = {level, module, file, line, format, expand(format, args)};
    std::lock_guard<std::mutex> const guard(recording_lock);
    recording.push_back(std::move(message));
}

std::string narrow(std::wstring const& text)
{
    std::string result;
    std::transform(text.begin(), text.end(), std::back_inserter(result),
                   [](wchar_t c) { return c >= 0x20 && c < 0x7F ? static_cast<char>(c) : '?'; });
    return result;
}

} // namespace

bool operator==(LogMessage const& left, LogMessage const& right)
{
    bool const same_format = left.format.empty() || right.format.empty() || left.format == right.format;
    return left.level == right.level && left.module == right.module && left.file == right.file &&
           left.line == right.line && left.text == right.text && same_format;
}

void PrintTo(LogMessage const& message, std::ostream* stream)
{
    *stream << "level " << message.level << ' ' << narrow(message.module) << ' ' << message.file << ':' << message.line
            << " \"" << narrow(message.text) << '"';
    if (!message.format.empty())
        *stream << " from \"" << narrow(message.format) << '"';
}

LogRecorder::LogRecorder()
{
    clear();
    ORVA::Develop::SetExternalLogger(record);
}

LogRecorder::~LogRecorder()
{
    ORVA::Develop::SetExternalLogger(nullptr);
}

std::vector<LogMessage> LogRecorder::messages() const
{
    std::lock_guard<std::mutex> const guard(recording_lock);
    return recording;
}

std::size_t LogRecorder::count() const
{
    std::lock_guard<std::mutex> const guard(recording_lock);
    return recording.size();
}

void LogRecorder::clear()
{
    std::lock_guard<std::mutex> const guard(recording_lock);
    recording.clear();
}

std::vector<LogMessage> LogRecorder::take()
{
    std::lock_guard<std::mutex> const guard(recording_lock);
    std::vector<LogMessage> taken;
    taken.swap(recording);
    return taken;
}

LogMessage log_message(unsigned int level, std::string const& file, int line, std::wstring const& text)
{
    return {level, L"ORVA", file, line, std::wstring(), text};
}

LogMessage log_message(unsigned int level, std::string const& file, int line, std::wstring const& text,
                       std::wstring const& format)
{
    return {level, L"ORVA", file, line, format, text};
}

LogMessage assumption(std::string const& first, std::string const& second)
{
    std::wstring const text = L"Failed assumption: " + std::wstring(first.begin(), first.end()) + L":" +
                              std::wstring(second.begin(), second.end());
    return log_message(1, "BaseOS_Unix_common", 105, text, L"Failed assumption: %hs:%hs");
}

LogMessage failed_condition(std::string const& condition)
{
    return assumption("Runtime assumption failed", condition);
}

LogMessage illegal_point(std::string const& explanation)
{
    return assumption("Illegal code point reached", explanation);
}

} // namespace support
