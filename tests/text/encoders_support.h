/// @file
/// What the tests of bytes as text share. Both forms have the same tests, with the form as their parameter.
#pragma once

#include "ORVA/String.h"

#include "reference/plain_encoders.h"
#include "support/AllocationFailure.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace encoders
{

using namespace ORVA::String;
using ORVA::Buffers::CPPlainMemory;
using plain::Bytes;
using support::AllocationFailure;
using support::LogMessages;

struct C3F
{
    using Encoder = C3FEncoder;
    using Decoder = C3FDecoder;
    static plain::TextForm form() { return plain::c3f(); }
    static constexpr int line = 4316;
    static constexpr wchar_t const* message = L"C3FDecoder: Invalid string passed";
};

struct C3FFF
{
    using Encoder = C3FFFEncoder;
    using Decoder = C3FFFDecoder;
    static plain::TextForm form() { return plain::c3fff(); }
    static constexpr int line = 4500;
    static constexpr wchar_t const* message = L"C3FFFDecoder: Invalid string passed";
};

using Forms = testing::Types<C3F, C3FFF>;

/// How the tests of a form are called.
struct FormNames
{
    template <class Form>
    static std::string GetName(int)
    {
        return std::is_same_v<Form, C3F> ? "C3F" : "C3FFF";
    }
};

inline std::wstring text_of(CPPoolString const& string)
{
    return std::wstring(*string, string.len());
}

template <class Form>
std::wstring encode(Bytes const& bytes)
{
    return text_of(typename Form::Encoder(bytes.data(), bytes.size()));
}

inline Bytes bytes_of(CPPlainMemory const& memory)
{
    auto const* const first = static_cast<unsigned char const*>(memory.get_cptr());
    return first == nullptr ? Bytes() : Bytes(first, first + memory.GetSize());
}

template <class Form>
Bytes decode(std::wstring const& text)
{
    return bytes_of(typename Form::Decoder(text.c_str()));
}

inline Bytes random_bytes(std::mt19937_64& engine, unsigned long size)
{
    Bytes bytes(size);
    for (unsigned char& byte : bytes)
        byte = static_cast<unsigned char>(engine());
    return bytes;
}

/// A plain block with these bytes.
inline CPPlainMemory block_of(Bytes const& bytes)
{
    CPPlainMemory memory;
    EXPECT_EQ(memory.Alloc(bytes.size()), 1);
    for (unsigned long index = 0; index < bytes.size(); ++index)
        static_cast<unsigned char*>(memory.get_ptr())[index] = bytes[index];
    return memory;
}

/// Tests that state each report themselves.
template <class Form>
class Fixture : public testing::Test
{
protected:
    using Encoder = typename Form::Encoder;
    using Decoder = typename Form::Decoder;

    void TearDown() override { EXPECT_EQ(recorder.take(), LogMessages()) << "a report that the test does not state"; }

    /// One report of a refused text, since the last time.
    void expect_refusal()
    {
        EXPECT_EQ(recorder.take(),
                  LogMessages{support::log_message(2, "cstringpool", Form::line, Form::message, Form::message)});
    }

    plain::TextForm const form = Form::form();
    support::LogRecorder recorder;
};

} // namespace encoders
