/// @file
/// Records every message that the library writes while a recorder lives.
///
/// The logger callback has no context, so there is one recording in the process: one recorder lives at a time. The
/// callback may be called from any thread. The destructor takes the callback out.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace support
{

/// One message as the callback saw it.
struct LogMessage
{
    unsigned int level;
    std::wstring module;
    std::string file;
    int line;
    std::wstring format; ///< as it was handed over, not expanded
    std::wstring text;   ///< the format expanded with the arguments
};

/// The text is what a test states; the format is compared only if both have one.
bool operator==(LogMessage const& left, LogMessage const& right);

/// Lets GoogleTest show a message that differs.
void PrintTo(LogMessage const& message, std::ostream* stream);

class LogRecorder
{
public:
    LogRecorder();
    ~LogRecorder();
    LogRecorder(LogRecorder const&) = delete;
    LogRecorder& operator=(LogRecorder const&) = delete;

    /// All messages so far, in the order of their arrival.
    std::vector<LogMessage> messages() const;
    std::size_t count() const;
    void clear();

    /// The messages so far; the recording is empty afterwards. For `EXPECT_EQ(recorder.take(), ...)`.
    std::vector<LogMessage> take();
};

using LogMessages = std::vector<LogMessage>;

/// A message of module "ORVA" with the expanded `text`.
LogMessage log_message(unsigned int level, std::string const& file, int line, std::wstring const& text);
/// As above, with the format stated too.
LogMessage log_message(unsigned int level, std::string const& file, int line, std::wstring const& text,
                       std::wstring const& format);

/// The report of a failed assumption with its two texts.
LogMessage assumption(std::string const& first, std::string const& second);
/// The report of a condition that does not hold.
LogMessage failed_condition(std::string const& condition);
/// The report of a point that must not be reached.
LogMessage illegal_point(std::string const& explanation);

} // namespace support
