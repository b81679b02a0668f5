#include "ORVA/Threading/Event.h"

#include "threading/event_threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <vector>

// Fixed amounts of work with events between several threads.
namespace
{

using namespace events;

// The words are plain: each hand-over has to make them visible.
TEST(EventStress, two_threads_take_turns)
{
    constexpr unsigned int rounds = 2000;
    CPEvent const to_left(true);
    CPEvent const to_right(true);
    unsigned int word = 0;
    Background<unsigned int> right(
        [&]
        {
            unsigned int faults = 0;
            for (unsigned int round = 0; round < rounds; ++round)
            {
                faults += to_right.Wait(round % 2 == 0 ? plenty : no_limit) != 0;
                faults += word != 2 * round + 1;
                to_right.Reset();
                ++word;
                to_left.Set();
            }
            return faults;
        });
    for (unsigned int round = 0; round < rounds; ++round)
    {
        ++word;
        ASSERT_TRUE(to_right.Set());
        ASSERT_EQ(to_left.Wait(round % 3 == 0 ? plenty : no_limit), 0);
        ASSERT_EQ(word, 2 * round + 2);
        to_left.Reset();
    }
    EXPECT_EQ(right.result(), 0U);
}

// Who asks again and again without blocking sees what was written before the signal, too.
TEST(EventStress, polling_sees_what_was_written_before_the_signal)
{
    for (unsigned int round = 1; round <= 200; ++round)
    {
        CPEvent const event(true);
        unsigned int word = 0;
        Background<unsigned int> reader(
            [&]
            {
                until([&] { return event.Wait(0) == 0; }, "the signal");
                return word;
            });
        word = round;
        event.Set();
        EXPECT_EQ(reader.result(), round);
    }
}

// Waiters on a pulse event take what comes; the values they get rise, each until it had its share.
TEST(EventStress, values_of_a_pulse_event_arrive_in_order)
{
    constexpr unsigned int thread_count = 6;
    constexpr unsigned int share = 150;
    _cEvent event;
    event.initState(_cEvent::eEventPulse);
    std::atomic<unsigned int> done{0};
    std::vector<Background<unsigned int>> waiters;
    for (unsigned int index = 0; index < thread_count; ++index)
    {
        waiters.emplace_back(
            [&]
            {
                unsigned int faults = 0;
                long last = 0;
                for (unsigned int round = 0; round < share; ++round)
                {
                    long const value = event.Wait(no_limit);
                    faults += value <= last;
                    last = value;
                }
                ++done;
                return faults;
            });
    }
    unsigned long value = 0;
    until(
        [&]
        {
            signal(event, ++value);
            return done == thread_count;
        },
        "all waiters to have their share");
    for (auto& waiter : waiters)
        EXPECT_EQ(waiter.result(), 0U);
    EXPECT_GE(value, share);
    EXPECT_EQ(queued(event), 0U);
}

// Timed waiters, who take each other's places, beside signals, resets and listeners. A result is the end of the time,
// the value of a signal, or the value that the event had before the first one.
TEST(EventStress, timed_waiters_come_and_go_beside_signals)
{
    constexpr unsigned int thread_count = 4;
    constexpr unsigned int rounds = 120;
    for (auto const state : {_cEvent::eEventReset, _cEvent::eEventPulse})
    {
        _cEvent event;
        event.initState(state);
        Listener listener([](_cEvent*) { return true; });
        std::atomic<unsigned int> done{0};
        std::vector<Background<unsigned int>> waiters;
        for (unsigned int index = 0; index < thread_count; ++index)
        {
            waiters.emplace_back(
                [&event, &done, index]
                {
                    unsigned int faults = 0;
                    for (unsigned int round = 0; round < rounds; ++round)
                    {
                        long const result = event.Wait((index + round) % 3);
                        faults += result != -1 && result != -2 && result != 0 && (result < 1000 || result > 1009);
                    }
                    ++done;
                    return faults;
                });
        }
        for (unsigned long round = 0; done < thread_count; ++round)
        {
            event.attach(&listener);
            signal(event, 1000 + round % 10);
            event.detach(&listener);
            event.Reset();
            std::this_thread::yield();
        }
        for (auto& waiter : waiters)
            EXPECT_EQ(waiter.result(), 0U);
        EXPECT_FALSE(Look::listeners(event));
    }
}

// Timed waiters and the end of the event at about the same time, once in a while with a signal between.
TEST(EventStress, end_of_the_event_races_with_timed_waiters)
{
    constexpr unsigned int rounds = 150;
    constexpr unsigned int waiter_count = 3;
    for (unsigned int round = 0; round < rounds; ++round)
    {
        struct Event final : _cEvent
        {
        };
        auto event = std::make_unique<Event>();
        _cEvent& plain = *event;
        plain.initState(_cEvent::eEventPulse);
        std::atomic<unsigned int> ended{0};
        std::vector<Background<>> waiters;
        for (unsigned int index = 0; index < waiter_count; ++index)
        {
            waiters.emplace_back(
                [&, index]
                {
                    long const result = plain.Wait(2 + (round + index) % 2);
                    ++ended;
                    return result;
                });
        }
        until([&] { return queued(plain) == waiter_count || ended == waiter_count; }, "the waiters to join");
        auto const end = std::chrono::steady_clock::now() + std::chrono::microseconds(100 * (round % 40));
        while (std::chrono::steady_clock::now() < end)
            std::this_thread::yield();
        if (round % 4 == 0)
            signal(plain, 7);
        event.reset();
        for (Background<>& waiter : waiters)
        {
            long const result = waiter.result();
            EXPECT_TRUE(result == -1 || result == -2 || (result == 7 && round % 4 == 0)) << result;
        }
    }
}

// A release at every moment of a wait: while the waiter looks out, when it stops, when it is blocked. What releases it
// is a signal, and then the end of the event right behind it, or the end alone.
TEST(EventStress, release_comes_at_all_moments_of_the_look_out)
{
    constexpr unsigned int rounds = 2400;
    struct Event final : _cEvent
    {
    };
    std::vector<std::unique_ptr<Event>> events;
    for (unsigned int round = 0; round < rounds; ++round)
    {
        events.push_back(std::make_unique<Event>());
        events.back()->initState(round % 2 == 0 ? _cEvent::eEventPulse : _cEvent::eEventReset);
    }
    std::vector<_cEvent*> plain;
    for (auto const& event : events)
        plain.push_back(event.get());
    std::vector<unsigned int> words(rounds, 0);
    Background<unsigned int> waiter(
        [&]
        {
            unsigned int faults = 0;
            for (unsigned int round = 0; round < rounds; ++round)
            {
                long const result = plain[round]->Wait(round % 3 == 0 ? plenty : no_limit);
                faults += result != (round % 4 == 3 ? -2 : static_cast<long>(round) + 5);
                faults += words[round] != round + 1;
            }
            return faults;
        });
    for (unsigned int round = 0; round < rounds; ++round)
    {
        until([&] { return queued(*plain[round]) == 1; }, "the waiter to join");
        auto const end = std::chrono::steady_clock::now() + std::chrono::nanoseconds(round % 60 * 200);
        while (std::chrono::steady_clock::now() < end)
            ;
        words[round] = round + 1;
        if (round % 4 != 3)
            signal(*plain[round], round + 5);
        events[round].reset();
    }
    EXPECT_EQ(waiter.result(), 0U);
}

} // namespace
