#include "threading/multiple_event_fixture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <mutex>
#include <optional>
#include <vector>

// Threads that block on a multiple event.
namespace
{

using namespace events;

struct Events
{
    explicit Events(unsigned int count, bool barrier) : multiple(barrier)
    {
        for (unsigned int index = 0; index < count; ++index)
        {
            events.push_back(CPEvent(true));
            EXPECT_TRUE(multiple.Attach(events.back()));
        }
    }

    Background<> blocked(unsigned int timeout = no_limit) { return queued_waiter(object(multiple), timeout); }

    CPMultipleEvent multiple;
    std::vector<CPEvent> events;
};

TEST(MultipleEventWait, any_of_gives_the_index_of_the_signaled_event)
{
    for (unsigned int index = 0; index < 3; ++index)
    {
        for (unsigned int const timeout : {no_limit, plenty})
        {
            Events any(3, false);
            Background<> waiter = any.blocked(timeout);
            EXPECT_TRUE(any.events[index].Set());
            EXPECT_EQ(waiter.result(), static_cast<long>(index));
            EXPECT_EQ(object(any.multiple).getState(), _cEvent::eEventSignaled);
            EXPECT_EQ(any.multiple.Wait(0), static_cast<long>(index)) << "it is still signalled";
            EXPECT_TRUE(any.multiple.Reset(index));
            EXPECT_EQ(any.multiple.Wait(0), -1);
            EXPECT_EQ(object(any.multiple).getState(), _cEvent::eEventReset);
        }
    }
}

TEST(MultipleEventWait, all_blocked_threads_are_released_with_the_index)
{
    Events any(2, false);
    Background<> first = any.blocked();
    Background<> second = any.blocked(plenty);
    any.events[1].Set();
    EXPECT_EQ(first.result(), 1);
    EXPECT_EQ(second.result(), 1);
}

TEST(MultipleEventWait, pulse_event_releases_a_thread_that_is_blocked)
{
    CPMultipleEvent const any(false);
    CPEvent const other(true);
    CPEvent const pulse(false);
    EXPECT_TRUE(any.Attach(other));
    EXPECT_TRUE(any.Attach(pulse));
    Background<> waiter = queued_waiter(object(any), no_limit);
    EXPECT_TRUE(pulse.Set());
    EXPECT_EQ(waiter.result(), 1);
    EXPECT_EQ(any.Wait(0), -1);
}

TEST(MultipleEventWait, barrier_is_released_by_the_signal_that_completes_it_with_its_index)
{
    for (unsigned int last = 0; last < 2; ++last)
    {
        Events barrier(2, true);
        Background<> waiter = barrier.blocked();
        barrier.events[1 - last].Set();
        EXPECT_FALSE(waiter.has_ended());
        EXPECT_EQ(queued(object(barrier.multiple)), 1U);
        barrier.events[last].Set();
        EXPECT_EQ(waiter.result(), static_cast<long>(last));
        EXPECT_EQ(barrier.multiple.Wait(0), 0) << "all were found signalled";
    }
}

TEST(MultipleEventWait, barrier_needs_all_at_the_same_time)
{
    Events barrier(2, true);
    Background<> waiter = barrier.blocked();
    barrier.events[0].Set();
    barrier.events[0].Reset();
    barrier.events[1].Set();
    EXPECT_EQ(queued(object(barrier.multiple)), 1U);
    barrier.events[0].Set();
    EXPECT_EQ(waiter.result(), 0);
}

TEST(MultipleEventWait, blocked_once_it_blocks_and_is_released_again)
{
    Events any(2, false);
    for (unsigned int round = 0; round < 6; ++round)
    {
        Background<> waiter = any.blocked();
        any.events[round % 2].Set();
        EXPECT_EQ(waiter.result(), static_cast<long>(round % 2));
        EXPECT_FALSE(object(any.multiple).ResetAll());
    }
}

// The object is signalled still, by an event that was reset meanwhile.
TEST(MultipleEventWait, signal_of_an_event_that_is_reset_before_the_wait_is_forgotten)
{
    Events any(1, false);
    EXPECT_EQ(any.multiple.Wait(1), -1);
    any.events[0].Set();
    EXPECT_EQ(object(any.multiple).getState(), _cEvent::eEventSignaled);
    any.events[0].Reset();
    EXPECT_EQ(any.multiple.Wait(1), -1);
}

TEST(MultipleEventWait, end_of_the_object_releases_all_with_minus_2)
{
    for (bool const barrier : {true, false})
    {
        for (unsigned int const count : {0U, 2U})
        {
            std::optional<Events> events(std::in_place, count, barrier);
            Background<> first = events->blocked();
            Background<> second = events->blocked(plenty);
            std::vector<CPEvent> const keeps_the_events = events->events;
            events.reset();
            EXPECT_EQ(first.result(), -2);
            EXPECT_EQ(second.result(), -2);
            for (CPEvent const& event : keeps_the_events)
                EXPECT_EQ(event.lockcnt(), 1U);
        }
    }
}

// The first wait looks and joins in one hold of the lock: a signal is either seen or finds the waiter.
TEST(MultipleEventWait, first_wait_loses_no_signal_and_takes_none_for_index_0)
{
    for (unsigned int round = 0; round < 300; ++round)
    {
        Events any(3, false);
        Background<> waiter([&] { return any.multiple.Wait(plenty); });
        if (round % 3 == 0)
            until([&] { return queued(object(any.multiple)) == 1 || waiter.has_ended(); });
        EXPECT_TRUE(any.events[2].Set());
        EXPECT_EQ(waiter.result(), 2);
    }
}

// The lock is held until both the waiter and the signal are there.
TEST(MultipleEventWait, wait_and_signal_that_come_together_find_each_other)
{
    for (unsigned int round = 0; round < 30; ++round)
    {
        Events any(2, false);
        std::optional<Background<>> waiter;
        std::optional<Background<bool>> signaller;
        {
            std::lock_guard<boost::mutex> const lock(Look::lock(object(any.multiple)));
            waiter.emplace([&] { return any.multiple.Wait(plenty); });
            signaller.emplace([&] { return any.events[1].Set(); });
            until([&] { return any.events[1].GetHandle()->getState() == _cEvent::eEventSignaled; });
        }
        EXPECT_TRUE(signaller->result());
        EXPECT_EQ(waiter->result(), 1);
    }
}

// The signal stands between the state, which is set, and this object's lock, which the test has; whoever sees the state
// may reset the event by then.
TEST(MultipleEventWait, reset_in_the_middle_of_a_signal_does_not_lock_up)
{
    for (bool const all : {false, true})
    {
        Events any(2, false);
        EXPECT_EQ(any.multiple.Wait(1), -1);
        std::optional<Background<bool>> signaller;
        std::optional<Background<bool>> resetter;
        {
            std::lock_guard<boost::mutex> const lock(Look::lock(object(any.multiple)));
            signaller.emplace([&] { return any.events[1].Set(); });
            until([&] { return any.events[1].GetHandle()->getState() == _cEvent::eEventSignaled; });
            resetter.emplace([&, all] { return all ? object(any.multiple).ResetAll() : any.multiple.Reset(1); });
        }
        EXPECT_TRUE(signaller->result());
        EXPECT_EQ(resetter->result(), !all);
        EXPECT_EQ(any.events[1].Wait(0), -1);
    }
}

// Each of the two events is in the middle of a signal when its turn comes.
TEST(MultipleEventWait, reset_of_all_takes_them_up_one_after_the_other_as_their_signals_end)
{
    Events any(3, false);
    any.events[1].Set();
    SignalInProgress first(any.events[0]);
    SignalInProgress last(any.events[2]);
    Background<bool> resetter([&] { return object(any.multiple).ResetAll(); });
    EXPECT_EQ(Background<>([&] { return any.multiple.Wait(0); }).result(), 0);
    first.end();
    until([&] { return any.events[1].Wait(0) == -1; }, "the events up to the last to be reset");
    EXPECT_EQ(any.events[0].Wait(0), -1);
    EXPECT_EQ(Background<>([&] { return any.multiple.Wait(0); }).result(), 2);
    EXPECT_FALSE(resetter.has_ended());
    last.end();
    EXPECT_FALSE(resetter.result());
    EXPECT_EQ(any.multiple.Wait(0), -1);
}

TEST(MultipleEventWait, timed_wait_lasts_as_long_as_it_is_told)
{
    for (bool const barrier : {true, false})
    {
        Events events(1, barrier);
        auto const start = std::chrono::steady_clock::now();
        EXPECT_EQ(events.multiple.Wait(50), -1);
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
    }
}

} // namespace
