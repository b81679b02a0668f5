#include "ORVA/Threading/Event.h"

#include "support/AllocationFailure.h"
#include "support/LogRecorder.h"
#include "threading/event_threads.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

// What one thread sees of an event: states, values, results.
namespace
{

using namespace events;
using support::AllocationFailure;

constexpr unsigned long minus_two = static_cast<unsigned long>(-2L);

TEST(EventState, numbers_are_fixed)
{
    EXPECT_EQ(_cEvent::eEventInvalid, 0U);
    EXPECT_EQ(_cEvent::eEventReset, 1U);
    EXPECT_EQ(_cEvent::eEventSignaled, 2U);
    EXPECT_EQ(_cEvent::eEventPulse, 3U);
    EXPECT_EQ(sizeof(_cEvent::eEventState), 4U);
}

TEST(EventState, fields_stand_in_their_order_behind_the_table)
{
    struct Order : _cEvent
    {
        bool stands() const
        {
            auto const at = [this](void const* field)
            { return static_cast<char const*>(field) - reinterpret_cast<char const*>(this); };
            return at(&m_lock) == sizeof(void*) && at(&m_state) > at(&m_lock) && at(&m_value) > at(&m_state) &&
                   at(&m_waiters) > at(&m_value) && at(&m_listeners) > at(&m_waiters);
        }
    };
    EXPECT_TRUE(Order().stands());
    EXPECT_FALSE(std::is_copy_constructible_v<_cEvent>);
    EXPECT_FALSE(std::is_copy_assignable_v<_cEvent>);
    EXPECT_FALSE(std::has_virtual_destructor_v<_cEvent>);
}

TEST(EventState, virtual_operations_are_set_and_wait_in_this_order)
{
    struct Virtual : _cEvent
    {
        bool Set(_cEvent*) override { return true; }
        long Wait(unsigned int milliseconds) override { return static_cast<long>(milliseconds) + 1; }
    };
    Virtual event;
    void** table = nullptr;
    std::memcpy(&table, static_cast<void*>(&event), sizeof(table));
    bool (*set)(_cEvent*, _cEvent*) = nullptr;
    long (*wait)(_cEvent*, unsigned int) = nullptr;
    std::memcpy(&set, &table[0], sizeof(set));
    std::memcpy(&wait, &table[1], sizeof(wait));
    EXPECT_TRUE(set(&event, nullptr));
    EXPECT_EQ(wait(&event, 41), 42);
}

TEST(EventState, new_event_is_invalid_and_nothing_works)
{
    support::LogRecorder recorder;
    _cEvent event;
    EXPECT_EQ(event.getState(), _cEvent::eEventInvalid);
    EXPECT_EQ(Look::value(event), minus_two);
    EXPECT_FALSE(Look::waiters(event));
    EXPECT_FALSE(Look::listeners(event));
    _cEvent listener;
    for (unsigned int const timeout : {0U, 1U, 1000U, no_limit})
        EXPECT_EQ(wait(event, timeout), -2);
    EXPECT_FALSE(event.Set(nullptr));
    EXPECT_FALSE(event.Reset());
    EXPECT_FALSE(event.attach(&listener));
    EXPECT_FALSE(event.detach(&listener));
    EXPECT_FALSE(signal(event, 5));
    EXPECT_EQ(event.getState(), _cEvent::eEventInvalid);
    EXPECT_EQ(event.Wait(0), -2);
    EXPECT_FALSE(Look::listeners(event));
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(EventState, init_sets_the_state_and_the_value_1024_if_it_is_signaled)
{
    for (auto const state : {_cEvent::eEventReset, _cEvent::eEventPulse, _cEvent::eEventInvalid})
    {
        _cEvent event;
        event.initState(state);
        EXPECT_EQ(event.getState(), state);
        EXPECT_EQ(Look::value(event), minus_two);
    }
    _cEvent event;
    event.initState(_cEvent::eEventSignaled);
    EXPECT_EQ(event.getState(), _cEvent::eEventSignaled);
    for (unsigned int const timeout : {0U, 1U, no_limit})
        EXPECT_EQ(wait(event, timeout), 1024);
}

TEST(EventState, init_leads_from_any_state_to_any_other_and_keeps_the_value)
{
    constexpr _cEvent::eEventState states[] = {_cEvent::eEventInvalid, _cEvent::eEventReset, _cEvent::eEventSignaled,
                                               _cEvent::eEventPulse};
    for (auto const from : states)
    {
        for (auto const to : states)
        {
            _cEvent event;
            event.initState(from);
            signal(event, 9);
            event.initState(to);
            EXPECT_EQ(event.getState(), to);
            EXPECT_EQ(Look::value(event), to == _cEvent::eEventSignaled ? 1024U : 9U);
        }
    }
}

struct Row
{
    _cEvent::eEventState from;
    bool signal_result;
    _cEvent::eEventState after_signal;
    bool reset_result;
    _cEvent::eEventState after_reset;
    unsigned int times_told; ///< what a listener sees of one signal
};

constexpr Row rows[] = {
    {_cEvent::eEventInvalid, false, _cEvent::eEventInvalid, false, _cEvent::eEventInvalid, 0},
    {_cEvent::eEventReset, true, _cEvent::eEventSignaled, true, _cEvent::eEventReset, 1},
    {_cEvent::eEventSignaled, true, _cEvent::eEventSignaled, true, _cEvent::eEventReset, 0},
    {_cEvent::eEventPulse, true, _cEvent::eEventPulse, true, _cEvent::eEventPulse, 1},
};

TEST(EventState, signal_stores_the_value_whatever_the_state)
{
    for (Row const& row : rows)
    {
        for (unsigned long const value : {0UL, 77UL, 0xFFFFFFFFFFFFFFFFUL})
        {
            _cEvent event;
            event.initState(row.from);
            EXPECT_EQ(signal(event, value), row.signal_result);
            EXPECT_EQ(event.getState(), row.after_signal);
            EXPECT_EQ(Look::value(event), value);
        }
    }
}

TEST(EventState, set_is_a_signal_of_0)
{
    for (Row const& row : rows)
    {
        _cEvent event;
        event.initState(row.from);
        signal(event, 3);
        event.initState(row.from);
        EXPECT_EQ(event.Set(nullptr), row.signal_result);
        EXPECT_EQ(event.getState(), row.after_signal);
        EXPECT_EQ(Look::value(event), 0U);
    }
}

TEST(EventState, reset_follows_the_table_and_keeps_the_value)
{
    for (Row const& row : rows)
    {
        _cEvent event;
        event.initState(row.from);
        unsigned long const value = Look::value(event);
        EXPECT_EQ(event.Reset(), row.reset_result);
        EXPECT_EQ(event.getState(), row.after_reset);
        EXPECT_EQ(Look::value(event), value);
    }
}

TEST(EventState, listeners_are_told_unless_the_event_is_invalid_or_signaled_already)
{
    for (Row const& row : rows)
    {
        unsigned int told = 0;
        Listener listener([&](_cEvent*) { return ++told != 0; });
        _cEvent event;
        event.initState(_cEvent::eEventReset);
        ASSERT_TRUE(event.attach(&listener));
        event.initState(row.from);
        signal(event, 8);
        EXPECT_EQ(told, row.times_told) << row.from;
    }
}

TEST(EventState, signal_of_a_signaled_event_changes_what_a_wait_gives)
{
    _cEvent event;
    event.initState(_cEvent::eEventReset);
    EXPECT_TRUE(signal(event, 11));
    EXPECT_EQ(event.Wait(0), 11);
    EXPECT_TRUE(signal(event, 12));
    EXPECT_EQ(wait(event, no_limit), 12);
    EXPECT_TRUE(signal(event, static_cast<unsigned long>(-1L)));
    EXPECT_EQ(event.Wait(0), -1);
}

TEST(EventState, set_with_a_source_is_reported_and_signals_nothing)
{
    support::LogRecorder recorder;
    for (auto const state : {_cEvent::eEventReset, _cEvent::eEventPulse, _cEvent::eEventInvalid})
    {
        _cEvent source;
        _cEvent event;
        event.initState(state);
        EXPECT_FALSE(event.Set(&source));
        EXPECT_FALSE(event.Set(&event));
        EXPECT_EQ(event.getState(), state);
        EXPECT_EQ(Look::value(event), minus_two);
        auto const report = support::assumption("RTA_ON_FALSE", "threading,740:pSource==NULL");
        EXPECT_EQ(recorder.take(), (support::LogMessages{report, report}));
    }
}

TEST(EventState, manual_reset_event_stays_signaled_until_reset)
{
    support::LogRecorder recorder;
    CPEvent const event(true);
    EXPECT_EQ(event.Wait(0), -1);
    EXPECT_TRUE(event.Set());
    for (int round = 0; round < 3; ++round)
    {
        EXPECT_EQ(event.Wait(0), 0);
        EXPECT_EQ(wait(event, no_limit), 0);
        EXPECT_EQ(event.Wait(7), 0);
    }
    EXPECT_TRUE(event.Set());
    EXPECT_TRUE(event.Reset());
    EXPECT_EQ(event.Wait(0), -1);
    EXPECT_TRUE(event.Reset());
    EXPECT_EQ(event.Wait(0), -1);
    EXPECT_EQ(event.GetHandle()->getState(), _cEvent::eEventReset);
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(EventState, signal_of_a_pulse_event_without_waiters_is_lost)
{
    CPEvent const event(false);
    EXPECT_EQ(event.Wait(0), -1);
    EXPECT_TRUE(event.Set());
    EXPECT_EQ(event.Wait(0), -1);
    EXPECT_TRUE(event.Set());
    EXPECT_EQ(event.Wait(1), -1);
    EXPECT_TRUE(event.Reset());
    EXPECT_EQ(event.Wait(0), -1);
}

// The shortest of a few, so that a machine that is busy elsewhere is no failure of the event.
TEST(EventState, wait_on_an_event_that_nobody_signals_takes_its_time)
{
    for (bool const manual_reset : {true, false})
    {
        CPEvent const event(manual_reset);
        auto shortest = std::chrono::steady_clock::duration::max();
        for (int round = 0; round < 5 && shortest > std::chrono::milliseconds(80); ++round)
        {
            auto const start = std::chrono::steady_clock::now();
            EXPECT_EQ(event.Wait(50), -1);
            auto const taken = std::chrono::steady_clock::now() - start;
            EXPECT_GE(taken, std::chrono::milliseconds(50));
            shortest = std::min(shortest, taken);
        }
        EXPECT_LT(shortest, std::chrono::milliseconds(500));
    }
}

// While another thread holds the lock.
TEST(EventState, these_take_no_lock)
{
    _cEvent event;
    run_with_the_lock_held(event,
                           [&]
                           {
                               EXPECT_EQ(wait(event, no_limit), -2);
                               EXPECT_FALSE(event.Reset());
                               EXPECT_FALSE(event.attach(&event));
                               EXPECT_FALSE(event.detach(&event));
                               event.initState(_cEvent::eEventSignaled);
                               EXPECT_EQ(event.getState(), _cEvent::eEventSignaled);
                               EXPECT_EQ(wait(event, no_limit), 1024);
                               EXPECT_EQ(event.Wait(0), 1024);
                               for (auto const state : {_cEvent::eEventReset, _cEvent::eEventPulse})
                               {
                                   event.initState(state);
                                   EXPECT_TRUE(event.Reset());
                                   EXPECT_EQ(event.Wait(0), -1);
                               }
                           });
}

TEST(EventState, failure_of_the_lock_passes)
{
    _cEvent event;
    event.initState(_cEvent::eEventReset);
    BrokenLock const broken(event);
    EXPECT_TRUE(fails_by_the_lock([&] { event.attach(&event); }));
    EXPECT_TRUE(fails_by_the_lock([&] { event.detach(&event); }));
    EXPECT_TRUE(fails_by_the_lock([&] { event.Set(nullptr); }));
    EXPECT_TRUE(fails_by_the_lock([&] { event.Wait(10); }));
    EXPECT_TRUE(fails_by_the_lock([&] { event.Wait(no_limit); }));
    EXPECT_EQ(event.getState(), _cEvent::eEventReset);
    event.initState(_cEvent::eEventSignaled);
    EXPECT_TRUE(fails_by_the_lock([&] { event.Reset(); }));
    EXPECT_EQ(event.getState(), _cEvent::eEventSignaled);
}

TEST(EventStateDeathTest, failure_of_the_lock_in_the_destructor_ends_the_process)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            _cEvent event;
            BrokenLock const broken(event);
            event._cEvent::~_cEvent();
        },
        "pthread_mutex");
}

TEST(EventState, wait_allocates_for_the_list_only_and_the_list_keeps_its_block)
{
    CPEvent const event(true);
    {
        AllocationFailure const count(0);
        EXPECT_EQ(event.Wait(0), -1);
        EXPECT_EQ(count.attempts(), 0U);
        EXPECT_EQ(event.Wait(1), -1);
        EXPECT_EQ(count.attempts(), 1U);
        EXPECT_EQ(count.last_size(), sizeof(ORVA::Buffers::tagCPOMEMHEADER) + 128);
        EXPECT_EQ(event.Wait(1), -1);
        EXPECT_EQ(count.attempts(), 1U);
    }
    EXPECT_EQ(queued(event), 0U);
    EXPECT_EQ(Look::waiters(*event.GetHandle()).GetAllocSize(), 128U);
    event.Set();
    event.Reset();
    EXPECT_EQ(Look::waiters(*event.GetHandle()).GetAllocSize(), 128U);
}

TEST(EventState, wait_without_memory_looks_like_a_signal_of_0)
{
    support::LogRecorder recorder;
    for (unsigned int const timeout : {1U, 1000U, no_limit})
    {
        _cEvent event;
        event.initState(_cEvent::eEventPulse);
        signal(event, 55);
        AllocationFailure const failure(1);
        EXPECT_EQ(event.Wait(timeout), 0);
        EXPECT_EQ(failure.failures(), 1U);
        EXPECT_FALSE(Look::waiters(event));
    }
    EXPECT_EQ(recorder.count(), 0U);
}

} // namespace
