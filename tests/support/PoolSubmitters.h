/// @file
/// Submitters that write what a test tells them, and count what they are asked.
#pragma once

#include "ORVA/String/Submitter.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace support
{

class SubmitterProbe : public ORVA::String::IStringSubmitter
{
public:
    /// Writes `text`, of which it tells the length.
    explicit SubmitterProbe(std::wstring text) : SubmitterProbe({text.size()}, text) {}

    /// Tells `lengths`, one at each call and the last one again and again, and writes `text`.
    SubmitterProbe(std::vector<unsigned long> lengths, std::wstring text)
        : m_lengths(std::move(lengths)), m_text(std::move(text))
    {
    }

    unsigned long GetStringLen() override
    {
        ++length_calls;
        return length_calls > m_lengths.size() ? m_lengths.back() : m_lengths[length_calls - 1];
    }

    unsigned int GetString(wchar_t* buffer) override
    {
        ++text_calls;
        if (on_write)
            on_write(buffer);
        m_text.copy(buffer, m_text.size());
        return result;
    }

    std::function<void(wchar_t*)> on_write; ///< called before the text is written
    unsigned int result = 1;                ///< what `GetString` answers
    unsigned int length_calls = 0;
    unsigned int text_calls = 0;

private:
    std::vector<unsigned long> m_lengths;
    std::wstring m_text;
};

} // namespace support
