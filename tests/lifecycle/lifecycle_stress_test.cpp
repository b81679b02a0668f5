// Many threads that use the library while its background works, starts and stops.

#include "cstringpool/globals.h"
#include "lifecycle.h"

#include "ORVA/Core.h"
#include "ORVA/Maintenance.h"
#include "ORVA/String.h"
#include "ORVA/Threading.h"

#include "support/ClockOverride.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace
{

using namespace ORVA;
using String::CPPoolString;
using String::CStringPool;
using support::ClockOverride;

constexpr unsigned int threads = 4;
constexpr unsigned int rounds = 400;
constexpr unsigned int names = 50;

// Interns names, of which some are shared with the other threads, lets them go, and counts what is not as it should be.
unsigned long intern(unsigned int thread)
{
    unsigned long wrong = 0;
    for (unsigned int round = 0; round < rounds; ++round)
    {
        std::vector<CPPoolString> held;
        for (unsigned int number = 0; number < names; ++number)
        {
            bool const shared = number % 2 == 0;
            std::wstring const text =
                L"stress " + (shared ? std::wstring(L"all") : std::to_wstring(thread)) + L" " + std::to_wstring(number);
            CPPoolString const string(text.c_str());
            CPPoolString const again(text.c_str());
            wrong += string == again && text == *string ? 0U : 1U;
            if (number % 8 == 0)
                static_cast<void>(static_cast<unsigned char const*>(string));
            held.push_back(string);
        }
    }
    return wrong;
}

class LifecycleStress : public testing::Test
{
protected:
    void SetUp() override { g_lAppInitLock = 0; }
    void TearDown() override
    {
        EXPECT_FALSE(Maintenance::IsActive());
        EXPECT_EQ(g_lAppInitLock, 0U);
    }
};

template <class Work>
std::vector<std::thread> start(Work work)
{
    std::vector<std::thread> started;
    for (unsigned int thread = 0; thread < threads; ++thread)
        started.emplace_back(work, thread);
    return started;
}

TEST_F(LifecycleStress, strings_are_interned_while_the_service_collects)
{
    ClockOverride clock(1700000000000);
    ASSERT_EQ(AppInit(), 1);
    std::atomic<unsigned long> wrong{0};
    std::atomic<unsigned int> ended{0};
    std::vector<std::thread> workers = start(
        [&](unsigned int thread)
        {
            wrong += intern(thread);
            ++ended;
        });
    while (ended < threads)
    {
        clock.advance(1000);
        Maintenance::Trigger();
        std::this_thread::yield();
    }
    for (std::thread& worker : workers)
        worker.join();
    EXPECT_EQ(wrong, 0U);
    EXPECT_EQ(CStringPool::Verify(), 1U);
    AppExit();

    // What nobody holds any more goes with two passes, whatever the service has done so far.
    EXPECT_EQ(CStringPool::Collect(0xFFFFFFFF), 1U);
    EXPECT_EQ(CStringPool::Collect(0xFFFFFFFF), 1U);
    EXPECT_EQ(CStringPool::GetSize(), 0U);
}

TEST_F(LifecycleStress, the_library_is_started_and_stopped_while_strings_are_interned)
{
    std::atomic<unsigned long> wrong{0};
    std::atomic<unsigned int> ended{0};
    std::vector<std::thread> workers = start(
        [&](unsigned int thread)
        {
            wrong += intern(thread);
            ++ended;
        });
    unsigned int cycles = 0;
    for (; ended < threads || cycles < 20; ++cycles)
    {
        ASSERT_EQ(AppInit(), 1);
        Maintenance::Trigger();
        AppExit();
        ASSERT_FALSE(String::g_pool_maintenance);
    }
    for (std::thread& worker : workers)
        worker.join();
    EXPECT_EQ(wrong, 0U);
    EXPECT_EQ(CStringPool::Verify(), 1U);
}

TEST_F(LifecycleStress, every_user_starts_and_stops_for_itself)
{
    std::atomic<unsigned long> wrong{0};
    ASSERT_EQ(AppInit(), 1);
    std::vector<std::thread> users = start(
        [&](unsigned int)
        {
            for (unsigned int round = 0; round < 2000; ++round)
            {
                wrong += AppInit() == 1 && Maintenance::IsActive() ? 0U : 1U;
                AppExit();
            }
        });
    for (std::thread& user : users)
        user.join();
    EXPECT_EQ(wrong, 0U);
    EXPECT_TRUE(Maintenance::IsActive());
    AppExit();
}

} // namespace
