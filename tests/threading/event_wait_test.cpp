#include "ORVA/Threading/Event.h"

#include "threading/event_threads.h"
#include "threading/event_waiter.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

// Threads that block on an event, and what ends their waits.
namespace
{

using namespace events;

struct Event final : _cEvent
{
    explicit Event(eEventState state) { initState(state); }
};

std::unique_ptr<Event> make_event(_cEvent::eEventState state)
{
    return std::make_unique<Event>(state);
}

/// Lets `milliseconds` go by for others: no result depends on it.
void leave_time(unsigned int milliseconds)
{
    auto const end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (std::chrono::steady_clock::now() < end)
        std::this_thread::yield();
}

/// A place in a queue that no thread stands behind. It has to outlive the event.
struct Stand
{
    tagEVENTWAITER record;

    /// Takes the last place, the lock held.
    void join(_cEvent& event)
    {
        record.gate.Enter();
        auto& list = Look::waiters(event);
        ASSERT_EQ(list.Insert(reinterpret_cast<_cEvent*>(&record), list.GetCount()), 1);
    }
    /// Whether it has been released; only to be asked once.
    bool is_released() { return record.gate.TryEnter(0); }
    long result() const { return static_cast<long>(record.result); }
};

/// A thread in a timed wait, behind which `join` is called while the thread has its place and the lock is held. The
/// time is made longer until that works out.
template <class Join>
Background<> timed_waiter_with_others_behind(_cEvent& event, Join join)
{
    unsigned long const before = queued(event);
    for (unsigned int timeout = 10;; timeout *= 2)
    {
        Background<> waiter([&event, timeout] { return event.Wait(timeout); });
        bool joined = false;
        until(
            [&]
            {
                if (waiter.has_ended())
                    return true;
                std::lock_guard<boost::mutex> const lock(Look::lock(event));
                joined = Look::waiters(event).GetCount() == before + 1;
                if (joined)
                    join();
                return joined;
            },
            "a timed waiter to join the queue");
        if (joined)
            return waiter;
    }
}

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
    Listener listener(
        [&](_cEvent*) -> bool
        {
            until([&] { return waiter.has_ended(); }, "the waiter to be released");
            released_before = true;
            throw std::runtime_error("listener");
        });
    ASSERT_TRUE(event->attach(&listener));
    EXPECT_TRUE(signal(*event, 4));
    EXPECT_TRUE(released_before);
    EXPECT_EQ(waiter.result(), 4);
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

// Two threads whose times end one after the other: the second one has lost its place to the first.
long result_of_a_timed_waiter_without_a_place(_cEvent& event)
{
    for (unsigned int timeout = 20;; timeout *= 2)
    {
        Background<> first([&event, timeout] { return event.Wait(timeout); });
        until([&] { return queued(event) == 1 || first.has_ended(); }, "the first waiter");
        Background<> second([&event, timeout] { return event.Wait(4 * timeout); });
        bool both = false;
        until(
            [&]
            {
                both = queued(event) == 2;
                return both || second.has_ended();
            },
            "the second waiter");
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

} // namespace
