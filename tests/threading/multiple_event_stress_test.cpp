#include "ORVA/Threading/MultipleEvent.h"

#include "threading/event_threads.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

// Fixed amounts of work with multiple events between several threads.
namespace
{

using namespace events;

constexpr unsigned int producers = 4;

/// A producer's side: a message in plain memory, and the events that tell of it.
struct Channel
{
    unsigned int message = 0;
    CPEvent full{true};
    CPEvent empty{true};
};

// One thread takes what several others bring, in the order of each.
TEST(MultipleEventStress, any_of_takes_every_message_of_several_threads)
{
    constexpr unsigned int messages = 400;
    Channel channels[producers];
    CPMultipleEvent const any(false);
    for (Channel const& channel : channels)
        ASSERT_TRUE(any.Attach(channel.full));
    std::vector<Background<unsigned int>> threads;
    for (Channel& channel : channels)
    {
        threads.emplace_back(
            [&channel]
            {
                unsigned int faults = 0;
                for (unsigned int number = 1; number <= messages; ++number)
                {
                    channel.message = number;
                    faults += !channel.full.Set();
                    faults += channel.empty.Wait(number % 2 == 0 ? plenty : no_limit) != 0;
                    faults += !channel.empty.Reset();
                }
                return faults;
            });
    }
    unsigned int taken[producers] = {};
    for (unsigned int count = 0; count < producers * messages; ++count)
    {
        long const index = any.Wait(count % 2 == 0 ? plenty : no_limit);
        ASSERT_GE(index, 0);
        ASSERT_LT(index, static_cast<long>(producers));
        Channel& channel = channels[index];
        ASSERT_EQ(channel.message, ++taken[index]);
        ASSERT_TRUE(any.Reset(static_cast<unsigned long>(index)));
        channel.empty.Set();
    }
    for (auto& thread : threads)
        EXPECT_EQ(thread.result(), 0U);
    EXPECT_EQ(any.Wait(0), -1);
    for (unsigned int const count : taken)
        EXPECT_EQ(count, messages);
}

// All threads do a step, one goes on when all have done it.
TEST(MultipleEventStress, barrier_waits_for_every_thread_in_every_round)
{
    constexpr unsigned int rounds = 300;
    Channel channels[producers];
    CPMultipleEvent const all(true);
    for (Channel const& channel : channels)
        ASSERT_TRUE(all.Attach(channel.full));
    std::vector<Background<unsigned int>> threads;
    for (Channel& channel : channels)
    {
        threads.emplace_back(
            [&channel]
            {
                unsigned int faults = 0;
                for (unsigned int round = 1; round <= rounds; ++round)
                {
                    channel.message = round;
                    faults += !channel.full.Set();
                    faults += channel.empty.Wait(plenty) != 0;
                    faults += !channel.empty.Reset();
                }
                return faults;
            });
    }
    for (unsigned int round = 1; round <= rounds; ++round)
    {
        long const index = all.Wait(plenty);
        ASSERT_GE(index, 0);
        ASSERT_LT(index, static_cast<long>(producers));
        for (Channel const& channel : channels)
            ASSERT_EQ(channel.message, round);
        EXPECT_FALSE(object(all).ResetAll());
        EXPECT_EQ(all.Wait(0), -1);
        for (Channel const& channel : channels)
            channel.empty.Set();
    }
    for (auto& thread : threads)
        EXPECT_EQ(thread.result(), 0U);
}

// Several threads block on one object and all learn of each signal.
TEST(MultipleEventStress, several_threads_wait_on_one_object)
{
    constexpr unsigned int rounds = 100;
    constexpr unsigned int waiter_count = 4;
    CPMultipleEvent const any(false);
    CPEvent const events[] = {CPEvent(true), CPEvent(true), CPEvent(true)};
    for (CPEvent const& event : events)
        ASSERT_TRUE(any.Attach(event));
    for (unsigned int round = 0; round < rounds; ++round)
    {
        std::vector<Background<>> waiters;
        for (unsigned int index = 0; index < waiter_count; ++index)
            waiters.emplace_back([&any] { return any.Wait(no_limit); });
        EXPECT_TRUE(events[round % 3].Set());
        for (Background<>& waiter : waiters)
            EXPECT_EQ(waiter.result(), static_cast<long>(round % 3));
        EXPECT_TRUE(any.Reset(round % 3));
    }
}

// Timed waits that run out beside signals of a pulse event.
TEST(MultipleEventStress, timed_waits_race_with_pulses)
{
    CPMultipleEvent const any(false);
    CPEvent const lasting(true);
    CPEvent const pulse(false);
    ASSERT_TRUE(any.Attach(lasting));
    ASSERT_TRUE(any.Attach(pulse));
    Background<unsigned int> waiter(
        [&]
        {
            unsigned int faults = 0;
            for (unsigned int round = 0; round < 200; ++round)
            {
                long const result = any.Wait(1);
                faults += result != -1 && result != 1;
            }
            return faults;
        });
    while (!waiter.has_ended())
    {
        pulse.Set();
        std::this_thread::yield();
    }
    EXPECT_EQ(waiter.result(), 0U);
}

// Objects of which each is waited for once, signalled and destroyed; the events stay.
TEST(MultipleEventStress, objects_come_and_go)
{
    for (unsigned int round = 0; round < 200; ++round)
    {
        auto any = std::make_unique<CPMultipleEvent>(round % 2 == 0);
        CPEvent const event(true);
        ASSERT_TRUE(any->Attach(event));
        Background<> waiter = queued_waiter(object(*any), round % 3 == 0 ? no_limit : plenty);
        if (round % 4 == 0)
            event.Set();
        any.reset();
        EXPECT_EQ(waiter.result(), round % 4 == 0 ? 0 : -2);
    }
}

} // namespace
