#include "ORVA/Threading/Event.h"

#include "threading/event_places.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <utility>

// Threads that block on an event, and what ends their waits.
namespace
{

using namespace events;

TEST(EventGate, is_opened_by_another_thread_than_the_one_that_locked_it)
{
    tagEVENTWAITER waiter;
    waiter.gate.Enter();
    EXPECT_FALSE(waiter.gate.TryEnter(0));
    Background<int>(
        [&]
        {
            waiter.gate.Leave();
            return 0;
        })
        .result();
    EXPECT_TRUE(waiter.gate.TryEnter(0));
    waiter.gate.Leave();
}

TEST(EventGate, is_decided_once)
{
    tagEVENTWAITER waiter;
    EXPECT_TRUE(waiter.decide());
    EXPECT_FALSE(waiter.decide());
}

TEST(EventGate, is_opened_by_the_release_of_one_who_stands_there)
{
    tagEVENTWAITER stood_from_the_start;
    stood_from_the_start.gate.Enter();
    stood_from_the_start.release();
    EXPECT_TRUE(stood_from_the_start.gate.TryEnter(0));

    tagEVENTWAITER looked_out_before;
    looked_out_before.gate.Enter();
    looked_out_before.look_out();
    EXPECT_FALSE(looked_out_before.is_released());
    EXPECT_TRUE(looked_out_before.go_to_the_gate());
    EXPECT_FALSE(looked_out_before.is_released());
    looked_out_before.release();
    EXPECT_TRUE(looked_out_before.gate.TryEnter(0));
}

TEST(EventGate, is_left_alone_by_the_release_of_one_who_looks_out)
{
    tagEVENTWAITER waiter;
    waiter.gate.Enter();
    waiter.look_out();
    waiter.release();
    EXPECT_TRUE(waiter.is_released());
    EXPECT_FALSE(waiter.go_to_the_gate()) << "nobody would open it";
    EXPECT_FALSE(waiter.gate.TryEnter(0));
}

TEST(EventWait, signal_releases_all_waiters_with_its_value_in_either_mode)
{
    for (auto const state : {_cEvent::eEventReset, _cEvent::eEventPulse})
    {
        auto const event = make_event(state);
        std::vector<Background<>> waiters;
        for (unsigned int const timeout : {no_limit, plenty, no_limit})
            waiters.push_back(queued_waiter(*event, timeout));
        EXPECT_TRUE(signal(*event, 0x123456789AUL));
        for (Background<>& waiter : waiters)
            EXPECT_EQ(waiter.result(), 0x123456789AL);
        EXPECT_EQ(queued(*event), 0U);
        EXPECT_EQ(Look::waiters(*event).GetAllocSize(), 128U) << "the block is kept";
    }
}

TEST(EventWait, one_set_of_a_pulse_event_releases_two_threads_with_0)
{
    CPEvent const event(false);
    Background<> first = queued_waiter(*event.GetHandle(), no_limit);
    Background<> second = queued_waiter(*event.GetHandle(), no_limit);
    EXPECT_TRUE(event.Set());
    EXPECT_EQ(first.result(), 0);
    EXPECT_EQ(second.result(), 0);
    EXPECT_EQ(event.Wait(0), -1);
}

TEST(EventWait, value_of_minus_two_or_minus_one_is_a_result_like_any_other)
{
    auto const event = make_event(_cEvent::eEventPulse);
    for (long const value : {-1L, -2L, -3L})
    {
        Background<> waiter = queued_waiter(*event, no_limit);
        EXPECT_TRUE(signal(*event, static_cast<unsigned long>(value)));
        EXPECT_EQ(waiter.result(), value);
    }
}

TEST(EventWait, waiters_are_released_before_listeners_are_told)
{
    auto const event = make_event(_cEvent::eEventReset);
    Background<> waiter = queued_waiter(*event, no_limit);
    bool released_before = false;
    unsigned long places = 0;
    Listener listener(
        [&](_cEvent*) -> bool
        {
            places = Look::waiters(*event).GetCount();
            until([&] { return waiter.has_ended(); }, "the waiter to be released");
            released_before = true;
            throw std::runtime_error("listener");
        });
    ASSERT_TRUE(event->attach(&listener));
    EXPECT_TRUE(signal(*event, 4));
    EXPECT_TRUE(released_before);
    EXPECT_EQ(places, 1U) << "the list is emptied at the end";
    EXPECT_EQ(queued(*event), 0U);
    EXPECT_EQ(waiter.result(), 4);
}

// The signaller is stopped on its way by a gate that somebody else is busy with.
TEST(EventWait, gates_are_opened_in_the_order_of_arrival)
{
    auto const event = make_event(_cEvent::eEventPulse);
    Stand first;
    Stand second;
    Stand third;
    for (Stand* const stand : {&first, &second, &third})
        stand->join(*event);
    auto* const busy = reinterpret_cast<boost::timed_mutex*>(&second.record.gate)->native_handle();
    pthread_mutex_lock(busy);
    Background<bool> signaller([&event] { return signal(*event, 3); });
    bool third_released = false;
    until([&] { return first.is_released() || (third_released = third.is_released()); }, "one gate to be opened");
    EXPECT_FALSE(third_released || third.is_released());
    pthread_mutex_unlock(busy);
    EXPECT_TRUE(signaller.result());
    EXPECT_TRUE(second.is_released());
    EXPECT_TRUE(third.is_released());
}

TEST(EventWait, queue_grows_by_128_bytes)
{
    auto const event = make_event(_cEvent::eEventReset);
    std::vector<Background<>> waiters;
    for (unsigned int number = 1; number <= 17; ++number)
    {
        waiters.push_back(queued_waiter(*event, no_limit));
        EXPECT_EQ(Look::waiters(*event).GetAllocSize(), number <= 16 ? 128U : 256U);
    }
    EXPECT_TRUE(event->Set(nullptr));
    for (Background<>& waiter : waiters)
        EXPECT_EQ(waiter.result(), 0);
}

TEST(EventWait, timed_waiter_that_is_the_last_leaves_the_others_alone)
{
    auto const event = make_event(_cEvent::eEventReset);
    Background<> first = queued_waiter(*event, no_limit);
    Background<> second = queued_waiter(*event, no_limit);
    EXPECT_EQ(event->Wait(5), -1);
    EXPECT_EQ(queued(*event), 2U);
    EXPECT_TRUE(signal(*event, 6));
    EXPECT_EQ(first.result(), 6);
    EXPECT_EQ(second.result(), 6);
}

// A signal that comes between the first look at the state and the joining of the queue. A thread that had its first
// look later sees the signal and its value, so it takes a round in which it was early.
TEST(EventWait, signal_between_the_look_and_the_joining_gives_0_whatever_its_value)
{
    for (unsigned int const timeout : {plenty, no_limit})
    {
        long result = 77;
        for (unsigned int round = 0; round < 200 && result == 77; ++round)
        {
            auto const event = make_event(_cEvent::eEventReset);
            std::optional<Background<>> waiter;
            {
                std::lock_guard<boost::mutex> const lock(Look::lock(*event));
                waiter.emplace([&event, timeout] { return event->Wait(timeout); });
                leave_time(1 + round);
                EXPECT_TRUE(event->signal(77));
            }
            result = waiter->result();
            EXPECT_FALSE(Look::waiters(*event)) << "nobody joined";
        }
        EXPECT_EQ(result, 0);
    }
}

// While the lock is held the waiter's time runs out; whether it did before the signal or not, the signal wins.
TEST(EventWait, signal_that_races_with_the_end_of_the_time_wins)
{
    for (auto const state : {_cEvent::eEventReset, _cEvent::eEventPulse})
    {
        for (unsigned int round = 0; round < 10; ++round)
        {
            auto const event = make_event(state);
            Background<> waiter = timed_waiter_with_others_behind(*event, [] {});
            bool in_time = false;
            {
                std::lock_guard<boost::mutex> const lock(Look::lock(*event));
                in_time = Look::waiters(*event).GetCount() == 1;
                leave_time(12);
                EXPECT_TRUE(event->signal(42));
                EXPECT_EQ(Look::waiters(*event).GetCount(), 0U);
            }
            EXPECT_EQ(waiter.result(), in_time ? 42 : -1);
        }
    }
}

TEST(EventWait, late_waiter_gets_the_value_of_the_last_of_several_signals)
{
    auto const event = make_event(_cEvent::eEventPulse);
    std::optional<Background<>> waiter;
    bool in_time = false;
    while (!in_time)
    {
        waiter.emplace(timed_waiter_with_others_behind(*event, [] {}));
        std::lock_guard<boost::mutex> const lock(Look::lock(*event));
        in_time = Look::waiters(*event).GetCount() == 1;
        if (!in_time)
            continue;
        leave_time(50);
        EXPECT_TRUE(event->signal(1));
        EXPECT_TRUE(event->signal(2));
    }
    long const result = waiter->result();
    EXPECT_TRUE(result == 1 || result == 2) << result;
}

// The test is the signaller: it decides for the waiter and takes its time to open the gate.
TEST(EventWait, waiter_whose_time_is_over_waits_for_a_signaller_that_was_first)
{
    auto const event = make_event(_cEvent::eEventPulse);
    tagEVENTWAITER* record = nullptr;
    std::optional<Background<>> waiter;
    while (record == nullptr)
    {
        waiter.emplace(timed_waiter_with_others_behind(*event,
                                                       [&]
                                                       {
                                                           tagEVENTWAITER& found = record_at(*event, 0);
                                                           if (!found.decide())
                                                               return;
                                                           record = &found;
                                                           Look::waiters(*event).Resize(0);
                                                       }));
        if (record == nullptr)
            waiter->result();
    }
    leave_time(100);
    ASSERT_FALSE(waiter->has_ended());
    record->result = 5;
    record->gate.Leave();
    EXPECT_EQ(waiter->result(), 5);
}

} // namespace
