/// @file
/// What the tests of the string pool share.
#pragma once

#include "ORVA/String/Pool.h"

#include "cstringpool/globals.h"
#include "support/AllocationFailure.h"
#include "support/LogRecorder.h"
#include "support/PoolSubmitters.h"
#include "support/PoolTexts.h"
#include "support/TableFaults.h"
#include "support/ThreadPriorityOverride.h"

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <cstdlib>
#include <future>
#include <stdexcept>
#include <string>
#include <vector>

namespace pool_tests
{

using namespace ORVA::String;
using support::AllocationFailure;
using support::chain_of;
using support::is_empty;
using support::is_null;
using support::LogMessages;
using support::LogRecorder;
using support::SubmitterProbe;
using support::TableFault;
using support::TableOperation;
using support::text_of;
using support::utf16;
using support::utf8;
using Texts = std::vector<std::wstring>;

inline constexpr unsigned long all_ones = ULONG_MAX;
inline constexpr unsigned int no_limit = 0xFFFFFFFFU;
inline constexpr char const* no_length = "_cppoolstring::create: String length cannot be 0";
inline constexpr char const* no_submitted_length = "_cppoolstring::create [submitter]: String length cannot be 0";

// A name that no other test has, and no other member.
inline std::wstring name(char const* test)
{
    static unsigned int serial = 0;
    std::string const narrow(test);
    return L"pool test " + std::wstring(narrow.begin(), narrow.end()) + L" " + std::to_wstring(++serial);
}

inline bool is_pooled(std::wstring const& text)
{
    // A look-up resets the age, so this looks into the tables.
    staticStringRecord key(text.c_str());
    _cppoolstring handle(key);
    return !is_null(g_sensitive_table.Find(handle));
}

inline void collect_all()
{
    ASSERT_EQ(CStringPool::Collect(no_limit), 1U);
}

inline bool lock_is_free()
{
    return std::async(std::launch::async,
                      []
                      {
                          bool const entered = g_pool_lock.TryEnter(0);
                          if (entered)
                              g_pool_lock.Leave();
                          return entered;
                      })
        .get();
}

} // namespace pool_tests
