// The heap itself, and the identity of the process.
#include "BaseOS_Unix_common/process_identity.h"
#include "ORVA/Core.h"
#include "ORVA/Core/ProcessIdentity.h"
#include "faults/FaultTest.h"
#include "support/FreshProcess.h"

#include <cstring>

namespace
{

using namespace ORVA::Core;
using faults::fail_each_allocation;
using faults::fails;
using faults::Undisturbed;

class FoundationFaults : public faults::Silent
{
};

void query_startup_path(OS::CachedText& cache)
{
    OS::fill_with_directory(cache, OS::query_executable_path());
}

/// An answer whose finding out failed is an empty text, and the next call asks again.
void expect_next_call_asks_again(void (*query)(OS::CachedText& cache))
{
    OS::CachedText known;
    query(known);
    ASSERT_TRUE(known.is_filled());
    ORVA::Threading::CPCriticalSection section;
    EXPECT_EQ(fail_each_allocation(
                  [&known, &section, query](unsigned long nth)
                  {
                      OS::CachedText cache;
                      wchar_t const* const text = OS::find_out(cache, section, query);
                      Undisturbed const checks;
                      EXPECT_EQ(text, cache.text());
                      EXPECT_STREQ(text, fails(nth, 2) ? L"" : known.text());
                      EXPECT_STREQ(OS::find_out(cache, section, query), known.text());
                      EXPECT_TRUE(section.TryEnter(0));
                      section.Leave();
                  }),
              2UL);
}

/// The same for the public function, which finds out once in a process. Its first allocation is the lock of the cache: a
/// call without one finds out all the same.
void expect_first_call_can_fail(wchar_t const* (*function)())
{
    using support::AllocationFailure;
    for (auto const duration : {AllocationFailure::once, AllocationFailure::forever})
    {
        for (unsigned long nth = 1; nth <= 3; ++nth)
        {
            support::in_fresh_process(
                [function, nth, duration]
                {
                    wchar_t const* text = nullptr;
                    {
                        AllocationFailure const failure(nth, duration);
                        text = function();
                        EXPECT_GE(failure.failures(), 1UL);
                    }
                    EXPECT_EQ(*text == 0, nth != 1 || duration == AllocationFailure::forever);
                    EXPECT_EQ(function(), text);
                    EXPECT_STRNE(text, L"");
                    AllocationFailure const none(0);
                    EXPECT_EQ(function(), text);
                    EXPECT_EQ(none.attempts(), 0UL) << "the answer is kept";
                });
            faults::failed_allocations() += 1;
        }
    }
}

} // namespace

FAULT_TEST_F(FoundationFaults, AnExhaustedHeapGivesNull, "Core::OS::_falloc(unsigned long)")
{
    EXPECT_EQ(fail_each_allocation(
                  [](unsigned long nth)
                  {
                      void* const memory = OS::_falloc(100);
                      EXPECT_EQ(memory == nullptr, fails(nth));
                      OS::_ffree(memory);
                  }),
              1UL);
}

FAULT_TEST_F(FoundationFaults, ABlockThatCannotGrowIsStillValid, "Core::OS::_frealloc(void*, unsigned long)")
{
    EXPECT_EQ(fail_each_allocation(
                  [](unsigned long nth)
                  {
                      char* memory = nullptr;
                      {
                          Undisturbed const pause;
                          memory = static_cast<char*>(OS::_falloc(8));
                          ASSERT_NE(memory, nullptr);
                          std::memcpy(memory, "1234567", 8);
                      }
                      void* const grown = OS::_frealloc(memory, 100);
                      EXPECT_EQ(grown == nullptr, fails(nth));
                      char* const held = grown == nullptr ? memory : static_cast<char*>(grown);
                      EXPECT_STREQ(held, "1234567");
                      OS::_ffree(held);
                  }),
              1UL);
}

FAULT_TEST_F(FoundationFaults, AProcessNameThatCannotBeHadIsEmpty, "Core::OS::GetProcessName()")
{
    expect_next_call_asks_again(OS::query_process_name);
    expect_first_call_can_fail(OS::GetProcessName);
}

FAULT_TEST_F(FoundationFaults, AStartupPathThatCannotBeHadIsEmpty, "Core::OS::GetStartupPath()")
{
    expect_next_call_asks_again(query_startup_path);
    expect_first_call_can_fail(OS::GetStartupPath);
}
