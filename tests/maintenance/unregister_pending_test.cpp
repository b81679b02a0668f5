#include "maintenance/services_for_tests.h"

#include <boost/thread/exceptions.hpp>

// Unregistering the service that runs. No thread runs it here: it is pending, and the test ends its run in one of the
// sleeps of `Unregister`.
namespace
{

using namespace scheduler;

constexpr wchar_t const* const format = L"Service for %ls can not unregister due to pending condition...";

support::LogMessages timeout_message(std::wstring const& name)
{
    return {support::log_message(1, "maintenance", 119,
                                 L"Service for " + name + L" can not unregister due to pending condition...", format)};
}

class UnregisterPending : public Scheduler
{
protected:
    UnregisterPending()
    {
        calls.sleep = [this](unsigned int milliseconds)
        {
            EXPECT_EQ(milliseconds, 5U);
            ++sleeps;
            if (on_sleep)
                on_sleep();
        };
        Register(block);
        EXPECT_TRUE(_selectService());
    }
    ~UnregisterPending() override { calls.before_enter = nullptr; }

    support::ClockOverride clock{5000};
    support::MaintenanceCalls calls;
    support::LogRecorder log;
    unsigned int sleeps = 0;
    std::function<void()> on_sleep;
    Block block = service();
};

TEST_F(UnregisterPending, sleeps_first_and_succeeds_when_the_run_has_ended)
{
    on_sleep = [] { _resetPending(false); };
    EXPECT_TRUE(Unregister(block, 0));
    EXPECT_EQ(sleeps, 1U);
    EXPECT_EQ(listed(), 0U);
    EXPECT_EQ(block.lockcnt(), 1U);
    EXPECT_EQ(log.count(), 0U);
}

TEST_F(UnregisterPending, lets_the_lock_be_had_while_it_waits)
{
    bool entered = false;
    on_sleep = [&]
    {
        entered = events::Background<int>(
                      []
                      {
                          ListLock const lock;
                          return 1;
                      })
                      .result() == 1;
        _resetPending(false);
    };
    EXPECT_TRUE(Unregister(block, 0));
    EXPECT_TRUE(entered);
}

TEST_F(UnregisterPending, disables_the_service_before_it_waits)
{
    on_sleep = [this]
    {
        EXPECT_TRUE(is_disabled(block));
        if (sleeps == 3)
            _resetPending(false);
    };
    EXPECT_TRUE(Unregister(block, no_limit));
    EXPECT_EQ(sleeps, 3U);
}

TEST_F(UnregisterPending, goes_on_while_the_clock_is_not_later_than_start_plus_timeout)
{
    on_sleep = [this] { clock.advance(1000); };
    EXPECT_FALSE(Unregister(block, 2000));
    EXPECT_EQ(sleeps, 3U);
}

TEST_F(UnregisterPending, waits_for_the_clock_to_pass_even_without_a_timeout)
{
    on_sleep = [this]
    {
        if (sleeps == 4)
            clock.advance(1000);
    };
    EXPECT_FALSE(Unregister(block, 0));
    EXPECT_EQ(sleeps, 4U);
}

TEST_F(UnregisterPending, takes_the_timeout_as_an_unsigned_number)
{
    on_sleep = [this] { clock.set(sleeps == 1 ? 5000 + 0xFFFFFFFFUL : 5000 + 0x100000000UL); };
    EXPECT_FALSE(Unregister(block, 0xFFFFFFFFU));
    EXPECT_EQ(sleeps, 2U);
}

TEST_F(UnregisterPending, reads_the_clock_once_before_and_after_each_look)
{
    unsigned long const before = clock.reads();
    on_sleep = [this] { clock.advance(1000); };
    EXPECT_FALSE(Unregister(block, 2000));
    EXPECT_EQ(clock.reads() - before, 4U);
}

TEST_F(UnregisterPending, that_times_out_is_told_and_leaves_the_service_listed_and_disabled)
{
    block->name = L"the name";
    on_sleep = [this] { clock.advance(1000); };
    EXPECT_FALSE(Unregister(block, 0));
    EXPECT_EQ(log.take(), timeout_message(L"the name"));
    EXPECT_TRUE(is_disabled(block));
    EXPECT_EQ(g_cpMRPending, block);

    _resetPending(false);
    EXPECT_FALSE(_selectService());
    EXPECT_TRUE(Unregister(block, 0));
    EXPECT_EQ(sleeps, 1U);
}

TEST_F(UnregisterPending, looks_once_more_when_the_time_is_over)
{
    on_sleep = [this]
    {
        clock.advance(1000);
        clock.before_read = [] { _resetPending(false); };
    };
    EXPECT_TRUE(Unregister(block, 0));
    clock.before_read = nullptr;
    EXPECT_EQ(listed(), 0U);
    EXPECT_EQ(log.count(), 0U);
}

TEST_F(UnregisterPending, of_a_service_that_another_one_takes_off_meanwhile_is_false)
{
    on_sleep = [this]
    {
        _resetPending(false);
        remove_service(block);
    };
    EXPECT_FALSE(Unregister(block, 0));
    EXPECT_EQ(log.count(), 0U);
}

TEST_F(UnregisterPending, of_a_service_that_is_listed_no_more_waits_for_its_run)
{
    AppExit();
    EXPECT_EQ(g_cpMRPending, block);
    on_sleep = [] { _resetPending(false); };
    EXPECT_FALSE(Unregister(block, 0));
    EXPECT_EQ(sleeps, 1U);
}

TEST_F(UnregisterPending, lets_an_exception_of_the_lock_pass)
{
    calls.before_enter = fail_to_lock;
    EXPECT_THROW(Unregister(block, 0), boost::lock_error);
    EXPECT_EQ(sleeps, 0U);
    calls.before_enter = nullptr;
    EXPECT_FALSE(is_disabled(block));

    on_sleep = [this]
    {
        _resetPending(false);
        calls.before_enter = fail_to_lock;
    };
    EXPECT_THROW(Unregister(block, 0), boost::lock_error);
    calls.before_enter = nullptr;
    EXPECT_TRUE(is_disabled(block));
}

TEST_F(UnregisterPending, lets_an_interruption_pass)
{
    on_sleep = [] { throw boost::thread_interrupted(); };
    EXPECT_THROW(Unregister(block, 0), boost::thread_interrupted);
    EXPECT_TRUE(is_disabled(block));
    EXPECT_EQ(log.count(), 0U);
}

} // namespace
