// The library's global objects as they are when it is loaded, before any start, and the end of a process that leaves
// the last stop out. Each test looks at a process of its own, started anew, in which nothing has happened yet.

#include "CPNQF/globals.h"
#include "cstringpool/globals.h"
#include "lifecycle.h"
#include "maintenance/globals.h"

#include "ORVA/Core.h"
#include "ORVA/Maintenance.h"
#include "ORVA/String.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace
{

using namespace ORVA;
using String::CPPoolString;
using String::staticStringRecord;
using Threading::_cEvent;

// Runs `body` in a process of its own. Failed checks there are failed checks here.
template <class Body>
void in_new_process(Body body)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            body();
            std::exit(testing::Test::HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

struct TableSize : Lookup::CBaseHashTable
{
    static unsigned long of(Lookup::CBaseHashTable const& table) { return table.*&TableSize::uBuckets; }
};

void expect_static_record(staticStringRecord const& record, wchar_t const* text)
{
    EXPECT_EQ(record.header.lRefCnt, 0U);
    EXPECT_EQ(record.header.uAllocSize, sizeof record.record);
    EXPECT_EQ(record.header.uSize, sizeof record.record);
    EXPECT_STREQ(record.record.pData, text);
}

// Whether `handle` shares the block of `record`.
bool is_on(CPPoolString const& handle, staticStringRecord const& record)
{
    return handle.get_cptr() == &record.record;
}

TEST(GlobalsDeathTest, nothing_is_started_by_the_load)
{
    in_new_process(
        []
        {
            EXPECT_EQ(g_lAppInitLock, 0U);
            EXPECT_FALSE(Maintenance::IsActive());
            EXPECT_FALSE(Maintenance::g_cpMRThread);
            EXPECT_FALSE(Maintenance::g_cpMRList);
            EXPECT_FALSE(Maintenance::g_cpMRPending);
            EXPECT_EQ(Maintenance::g_cpMRPending.lOffset, -1);
            EXPECT_FALSE(String::g_pool_maintenance);
        });
}

TEST(GlobalsDeathTest, events_are_reset_and_stay_signalled_once_they_are_set)
{
    in_new_process(
        []
        {
            for (Threading::CPEvent* const event : {&Maintenance::g_cpMRTrigger, &Maintenance::g_cpMRStop})
            {
                EXPECT_EQ(event->Wait(0), -1);
                event->Set();
                EXPECT_EQ(event->Wait(0), 0);
                EXPECT_EQ(event->Wait(0), 0);
                event->Reset();
            }
        });
}

TEST(GlobalsDeathTest, tables_have_1024_and_4096_buckets_of_which_none_is_allocated)
{
    in_new_process(
        []
        {
            EXPECT_EQ(TableSize::of(NQF::g_tblClasses), 1024U);
            EXPECT_EQ(TableSize::of(String::g_insensitive_table), 4096U);
            EXPECT_EQ(TableSize::of(String::g_sensitive_table), 4096U);
            EXPECT_EQ(String::CStringPool::Verify(), 0U);
        });
}

TEST(GlobalsDeathTest, constant_strings_are_handles_on_static_records)
{
    in_new_process(
        []
        {
            namespace Constants = String::Constants;
            expect_static_record(Constants::null_record, L"");
            expect_static_record(Constants::empty_record, L"");
            expect_static_record(Constants::true_record, L"true");
            expect_static_record(Constants::false_record, L"false");
            EXPECT_TRUE(is_on(CPPoolString::pempty, Constants::empty_record));
            EXPECT_TRUE(is_on(CPPoolString::ptrue, Constants::true_record));
            EXPECT_TRUE(is_on(CPPoolString::pfalse, Constants::false_record));
            EXPECT_FALSE(Buffers::CPObjectMemory::pnull);
        });
}

TEST(GlobalsDeathTest, process_ends_well_without_the_last_stop)
{
    in_new_process(
        []
        {
            static CPPoolString const held(L"globals: held to the end");
            EXPECT_EQ(AppInit(), 1);
            EXPECT_EQ(AppInit(), 1);
            AppExit();
            EXPECT_TRUE(Maintenance::IsActive());
        });
}

} // namespace
