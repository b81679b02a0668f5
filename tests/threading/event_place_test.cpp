#include "ORVA/Threading/Event.h"

#include "threading/event_places.h"

#include <gtest/gtest.h>

#include <list>
#include <optional>
#include <utility>

// Waiters that lose their place to another one, and waiters of an event that comes to its end.
namespace
{

using namespace events;

// The removal takes the last entry.

TEST(EventWait, waiter_that_runs_out_of_time_takes_the_place_of_the_last_one)
{
    Stand middle;
    Stand last;
    auto const event = make_event(_cEvent::eEventReset);
    Background<> waiter = timed_waiter_with_others_behind(*event,
                                                          [&]
                                                          {
                                                              middle.join(*event);
                                                              last.join(*event);
                                                          });
    EXPECT_EQ(waiter.result(), -1);
    EXPECT_EQ(queued(*event), 2U) << "one entry went";
    EXPECT_TRUE(Look::waiters(*event)[0] == nullptr) << "no address of a stack that is gone is left";

    EXPECT_TRUE(signal(*event, 5));
    EXPECT_TRUE(middle.is_released());
    EXPECT_EQ(middle.result(), 5);
    EXPECT_FALSE(last.is_released()) << "it has lost its place";
    EXPECT_EQ(queued(*event), 0U);

    EXPECT_TRUE(event->Reset());
    EXPECT_TRUE(signal(*event, 6));
    EXPECT_FALSE(last.is_released()) << "no signal reaches it any more";
}

TEST(EventWait, place_in_the_middle_is_cleared_and_the_first_one_stays)
{
    Stand first;
    Stand last;
    auto const event = make_event(_cEvent::eEventPulse);
    {
        std::lock_guard<boost::mutex> const lock(Look::lock(*event));
        first.join(*event);
    }
    Background<> waiter = timed_waiter_with_others_behind(*event, [&] { last.join(*event); });
    EXPECT_EQ(waiter.result(), -1);
    EXPECT_EQ(queued(*event), 2U);
    EXPECT_TRUE(Look::waiters(*event)[1] == nullptr);
    EXPECT_EQ(event->Wait(5), -1) << "a later one comes and goes at the end";
    EXPECT_EQ(queued(*event), 2U);
    EXPECT_TRUE(signal(*event, 8));
    EXPECT_TRUE(first.is_released());
    EXPECT_FALSE(last.is_released());
}

TEST(EventWait, only_the_end_of_the_event_reaches_a_waiter_that_lost_its_place)
{
    auto event = make_event(_cEvent::eEventReset);
    Stand first_lost;
    Stand second_lost;
    for (Stand* const lost : {&first_lost, &second_lost})
    {
        Background<> waiter = timed_waiter_with_others_behind(*event, [&] { lost->join(*event); });
        EXPECT_EQ(waiter.result(), -1);
    }
    event.reset();
    EXPECT_TRUE(first_lost.is_released());
    EXPECT_EQ(first_lost.result(), -2);
    EXPECT_TRUE(second_lost.is_released());
    EXPECT_EQ(second_lost.result(), -2);
}

// A thread in a timed wait behind the one of `first`, and whether both had their places at once.
std::pair<Background<>, bool> timed_waiter_behind(_cEvent& event, Background<>& first, unsigned int timeout)
{
    until([&] { return queued(event) == 1 || first.has_ended(); }, "the first waiter");
    Background<> second([&event, timeout] { return event.Wait(timeout); });
    bool both = false;
    until(
        [&]
        {
            both = queued(event) == 2;
            return both || second.has_ended();
        },
        "the second waiter");
    return {std::move(second), both};
}

// Two threads whose times end one after the other: the second one has lost its place to the first.
long result_of_a_timed_waiter_without_a_place(_cEvent& event)
{
    for (unsigned int timeout = 20;; timeout *= 2)
    {
        Background<> first([&event, timeout] { return event.Wait(timeout); });
        auto [second, both] = timed_waiter_behind(event, first, 4 * timeout);
        EXPECT_EQ(first.result(), -1);
        long const result = second.result();
        signal(event, Look::value(event)); // empties the list
        event.Reset();
        if (both)
            return result;
    }
}

TEST(EventWait, timed_waiter_without_a_place_gets_the_value_of_the_event_in_the_end)
{
    auto const event = make_event(_cEvent::eEventPulse);
    EXPECT_EQ(result_of_a_timed_waiter_without_a_place(*event), -2) << "there never was a signal";
    signal(*event, 31);
    EXPECT_EQ(result_of_a_timed_waiter_without_a_place(*event), 31);
}

// A waiter that lost its place before another one did, and leaves before it.
TEST(EventWait, waiters_that_lost_their_places_leave_in_any_order)
{
    std::list<Stand> lost_later;
    auto const event = make_event(_cEvent::eEventPulse);
    for (unsigned int timeout = 20;; timeout *= 2)
    {
        Background<> first([&event, timeout] { return event->Wait(timeout); });
        auto [second, both] = timed_waiter_behind(*event, first, 16 * timeout);
        EXPECT_EQ(first.result(), -1);
        Stand& later = lost_later.emplace_back();
        EXPECT_EQ(timed_waiter_with_others_behind(*event, [&] { later.join(*event); }).result(), -1);
        bool const is_in_time = both && !second.has_ended();
        long const result = second.result();
        signal(*event, Look::value(*event)); // empties the list
        if (!is_in_time)
            continue;
        EXPECT_EQ(result, -2) << "there never was a signal";
        EXPECT_FALSE(later.is_released()) << "it is in sight of the end only";
        return;
    }
}

// The end of the event.

TEST(EventWait, end_of_the_event_releases_all_waiters_with_minus_2)
{
    for (auto const state : {_cEvent::eEventReset, _cEvent::eEventPulse})
    {
        auto event = make_event(state);
        signal(*event, 3);
        event->initState(state);
        std::vector<Background<>> waiters;
        for (unsigned int const timeout : {no_limit, plenty, no_limit, plenty})
            waiters.push_back(queued_waiter(*event, timeout));
        event.reset();
        for (Background<>& waiter : waiters)
            EXPECT_EQ(waiter.result(), -2);
    }
}

TEST(EventWait, end_of_the_last_handle_releases_the_waiters)
{
    std::optional<CPEvent> handle(true);
    Background<> waiter = queued_waiter(*handle->GetHandle(), no_limit);
    CPEvent const copy = *handle;
    handle.reset();
    EXPECT_EQ(queued(copy), 1U);
    const_cast<CPEvent&>(copy).free();
    EXPECT_EQ(waiter.result(), -2);
}

// The waiter's time runs out while the end of the event is under way: it may have its -1 or the event's -2, and touches
// nothing that is gone.
TEST(EventWait, end_of_the_event_waits_for_those_who_still_come_for_its_lock)
{
    for (unsigned int round = 0; round < 20; ++round)
    {
        auto event = make_event(_cEvent::eEventReset);
        Background<> waiter = timed_waiter_with_others_behind(*event, [] {});
        std::optional<Background<int>> end;
        {
            std::lock_guard<boost::mutex> const lock(Look::lock(*event));
            end.emplace(
                [&event]
                {
                    event.reset();
                    return 0;
                });
            leave_time(12);
        }
        end->result();
        long const result = waiter.result();
        EXPECT_TRUE(result == -1 || result == -2) << result;
    }
}

TEST(EventWait, end_of_the_event_waits_for_those_whom_a_signal_passed_on_their_way_to_its_lock)
{
    for (unsigned int round = 0; round < 20; ++round)
    {
        auto event = make_event(_cEvent::eEventPulse);
        Background<> waiter = timed_waiter_with_others_behind(*event, [] {});
        bool in_time = false;
        std::optional<Background<int>> end;
        {
            std::lock_guard<boost::mutex> const lock(Look::lock(*event));
            in_time = Look::waiters(*event).GetCount() == 1;
            leave_time(12);
            EXPECT_TRUE(event->signal(9));
            end.emplace(
                [&event]
                {
                    event.reset();
                    return 0;
                });
        }
        end->result();
        EXPECT_EQ(waiter.result(), in_time ? 9 : -1);
    }
}

TEST(EventWait, late_waiter_is_passed_by_a_listener_that_signals_again_and_is_not_lost)
{
    auto event = make_event(_cEvent::eEventPulse);
    Listener again([&](_cEvent* source) { return Look::value(*source) != 1 || source->signal(2); });
    ASSERT_TRUE(event->attach(&again));
    Background<> waiter = timed_waiter_with_others_behind(*event, [] {});
    bool in_time = false;
    {
        std::lock_guard<boost::mutex> const lock(Look::lock(*event));
        in_time = Look::waiters(*event).GetCount() == 1;
        leave_time(30);
        EXPECT_TRUE(event->signal(1));
    }
    long const result = waiter.result();
    EXPECT_TRUE(in_time ? result == 1 || result == 2 : result == -1) << result;
    Background<int>(
        [&event]
        {
            event.reset();
            return 0;
        })
        .result();
}

} // namespace
