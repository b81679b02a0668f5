/// @file
/// What the tests of the pooled string share.
#pragma once

#include "ORVA/String/PoolString.h"
#include "ORVA/String/Submitter.h"

#include "support/AllocationFailure.h"
#include "support/LogRecorder.h"
#include "support/PoolTexts.h"

#include <gtest/gtest.h>

#include <string>

namespace pool_string_tests
{

using namespace ORVA::String;
using ORVA::Buffers::CPObjectMemory;
using support::AllocationFailure;
using support::LogMessages;
using support::LogRecorder;
using support::text_of;
using support::unpooled;
using support::utf8;

inline constexpr unsigned int no_limit = 0xFFFFFFFFU;

/// The states as the four questions tell them: isnull, isempty, isdef, operator bool.
inline std::string state_of(CPPoolString const& string)
{
    std::string state;
    state += string.isnull() ? "null " : "";
    state += string.isempty() ? "empty " : "";
    state += string.isdef() ? "defined " : "";
    state += string ? "true" : "false";
    return state;
}

inline unsigned char const* form_of(CPPoolString const& string)
{
    return string;
}

inline std::string narrow(CPPoolString const& string)
{
    return reinterpret_cast<char const*>(form_of(string));
}

inline void* owned_by(CPPoolString const& string)
{
    return static_cast<_cppoolstring const&>(string)->pOwned;
}

inline CPPoolString freed_handle()
{
    CPPoolString string(L"value freed");
    static_cast<CPObjectMemory&>(string).free();
    return string;
}

inline bool can_hold_form(wchar_t const* text)
{
    CPPoolString const string(unpooled(text));
    return form_of(string) == owned_by(string);
}

} // namespace pool_string_tests
