#include "support/AllocationFailure.h"
#include "threading/multiple_event_fixture.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <type_traits>
#include <vector>

// What one thread sees of a multiple event whose events are attached: its modes, signals, resets, and waits that need
// not block.
namespace
{

using namespace events;
using support::AllocationFailure;

INSTANTIATE_TEST_SUITE_P(MultipleEvent, EitherMode, testing::Bool(),
                         [](auto const& instance) { return instance.param ? "barrier" : "any_of"; });

TEST(MultipleEvent, is_an_event_with_its_list_and_mode_behind)
{
    EXPECT_TRUE((std::is_base_of_v<_cEvent, _cMultipleEvent>));
    EXPECT_FALSE(std::has_virtual_destructor_v<_cMultipleEvent>);
    _cMultipleEvent event;
    EXPECT_EQ(event.getState(), _cEvent::eEventReset);
    EXPECT_EQ(Look::value(event), static_cast<unsigned long>(-2L));
    EXPECT_FALSE(Look::attached(event));
    EXPECT_FALSE(Look::is_barrier(event));
    auto const* const start = reinterpret_cast<unsigned char const*>(&event);
    EXPECT_GE(reinterpret_cast<unsigned char const*>(&Look::attached(event)) - start,
              static_cast<long>(sizeof(_cEvent) - sizeof(void*)));
}

// The place in the table of virtual functions, which is what a pointer to such a function holds besides a mark.
template <class Member>
unsigned long slot_of(Member member)
{
    unsigned long words[2] = {};
    static_assert(sizeof(member) == sizeof(words));
    std::memcpy(words, &member, sizeof(words));
    return (words[0] & ~1UL) / sizeof(void*);
}

TEST(MultipleEvent, operations_stand_in_the_places_of_the_events_own)
{
    EXPECT_EQ(slot_of(&_cMultipleEvent::Set), 0U);
    EXPECT_EQ(slot_of(&_cMultipleEvent::Wait), 1U);
    EXPECT_EQ(slot_of(&_cEvent::Set), 0U);
    EXPECT_EQ(slot_of(&_cEvent::Wait), 1U);
}

TEST(MultipleEvent, wait_of_the_handle_is_the_virtual_one)
{
    struct Virtual : _cMultipleEvent
    {
        long Wait(unsigned int milliseconds) override { return static_cast<long>(milliseconds) + 100; }
    };
    CPMultipleEvent const multiple(false);
    object(multiple)._cMultipleEvent::~_cMultipleEvent();
    auto* const replaced = new (multiple.get_ptr(), _nqfDebugLevel(0)) Virtual();
    EXPECT_EQ(multiple.Wait(11), 111);
    replaced->_cMultipleEvent::~_cMultipleEvent();
    new (multiple.get_ptr(), _nqfDebugLevel(0)) _cMultipleEvent();
}

TEST(MultipleEvent, argument_of_the_handle_is_the_mode)
{
    EXPECT_TRUE(Look::is_barrier(object(CPMultipleEvent(true))));
    EXPECT_FALSE(Look::is_barrier(object(CPMultipleEvent(false))));
    alignas(16) unsigned char memory[sizeof(_cMultipleEvent)];
    _create_cMultipleEvent(memory, 0);
    EXPECT_FALSE(Look::is_barrier(*reinterpret_cast<_cMultipleEvent*>(memory)));
    _finalize_cMultipleEvent(memory, 0);
}

TEST(MultipleEvent, mode_may_change_until_the_first_event_and_again_after_the_last)
{
    CPMultipleEvent const multiple(false);
    CPEvent const event(true);
    EXPECT_TRUE(object(multiple).initBarrier(true));
    EXPECT_TRUE(object(multiple).initBarrier(false));
    EXPECT_TRUE(multiple.Attach(event));
    EXPECT_FALSE(object(multiple).initBarrier(true));
    EXPECT_FALSE(Look::is_barrier(object(multiple)));
    EXPECT_TRUE(multiple.Detach(event));
    EXPECT_TRUE(object(multiple).initBarrier(true));
    EXPECT_TRUE(Look::is_barrier(object(multiple)));
}

TEST_P(EitherMode, without_events_times_out_and_keeps_its_state)
{
    EXPECT_EQ(multiple.Wait(0), -1);
    EXPECT_EQ(multiple.Wait(2), -1);
    signal(object(multiple), 17);
    EXPECT_EQ(multiple.Wait(0), 17) << "the state is left as it is";
    EXPECT_EQ(wait(multiple, no_limit), 17);
    object(multiple).initState(_cEvent::eEventInvalid);
    EXPECT_EQ(wait(multiple, no_limit), -2);
}

TEST(MultipleEvent, any_of_reports_the_lowest_index_until_it_is_reset)
{
    CPMultipleEvent const any(false);
    CPEvent const a(true);
    CPEvent const b(true);
    EXPECT_TRUE(any.Attach(a));
    EXPECT_TRUE(any.Attach(b));
    EXPECT_EQ(any.Wait(0), -1);
    a.Set();
    b.Set();
    for (unsigned int const timeout : {0U, 5U, no_limit})
        EXPECT_EQ(wait(any, timeout), 0);
    EXPECT_TRUE(a.Reset());
    EXPECT_EQ(any.Wait(0), 1);
    EXPECT_EQ(wait(any, no_limit), 1);
    EXPECT_TRUE(any.Reset(1));
    EXPECT_EQ(b.Wait(0), -1);
    EXPECT_EQ(any.Wait(0), -1);
}

TEST(MultipleEvent, barrier_needs_all_at_once)
{
    CPMultipleEvent const barrier(true);
    CPEvent const a(true);
    CPEvent const b(true);
    EXPECT_TRUE(barrier.Attach(a));
    EXPECT_TRUE(barrier.Attach(b));
    EXPECT_EQ(barrier.Wait(0), -1);
    b.Set();
    EXPECT_EQ(barrier.Wait(0), -1);
    b.Reset();
    a.Set();
    EXPECT_EQ(barrier.Wait(0), -1);
    b.Set();
    EXPECT_EQ(barrier.Wait(0), 0);
    EXPECT_EQ(wait(barrier, no_limit), 0);
    EXPECT_TRUE(barrier.Reset(0));
    EXPECT_EQ(barrier.Wait(0), -1);
}

TEST(MultipleEvent, pulse_event_is_never_found_by_a_wait_that_comes_later)
{
    CPMultipleEvent const any(false);
    CPEvent const pulse(false);
    EXPECT_TRUE(any.Attach(pulse));
    EXPECT_TRUE(pulse.Set());
    EXPECT_EQ(any.Wait(0), -1);
    EXPECT_EQ(any.Wait(1), -1);
}

TEST_P(EitherMode, wait_that_finds_nothing_resets_the_object)
{
    CPEvent const event(true);
    EXPECT_TRUE(multiple.Attach(event));
    signal(object(multiple), 6);
    EXPECT_EQ(object(multiple).getState(), _cEvent::eEventSignaled);
    EXPECT_EQ(multiple.Wait(0), -1);
    EXPECT_EQ(object(multiple).getState(), _cEvent::eEventReset);

    signal(object(multiple), 6);
    event.Set();
    EXPECT_EQ(multiple.Wait(0), 0);
    EXPECT_EQ(object(multiple).getState(), _cEvent::eEventSignaled) << "a wait that finds something leaves it";
}

TEST(MultipleEvent, set_does_nothing_until_a_thread_has_blocked)
{
    CPMultipleEvent const any(false);
    CPEvent const event(true);
    CPEvent const stranger(true);
    EXPECT_TRUE(any.Attach(event));
    EXPECT_FALSE(object(any).Set(event.GetHandle()));
    EXPECT_EQ(object(any).getState(), _cEvent::eEventReset);
    block_once(any);
    EXPECT_FALSE(object(any).Set(stranger.GetHandle()));
    EXPECT_FALSE(object(any).Set(nullptr));
    EXPECT_EQ(object(any).getState(), _cEvent::eEventReset);
    EXPECT_TRUE(object(any).Set(event.GetHandle()));
    EXPECT_EQ(object(any).getState(), _cEvent::eEventSignaled);
    EXPECT_EQ(Look::value(object(any)), 0U);
}

TEST(MultipleEvent, set_without_events_is_false)
{
    CPMultipleEvent const any(false);
    CPEvent const event(true);
    block_once(any);
    EXPECT_FALSE(object(any).Set(event.GetHandle()));
}

TEST(MultipleEvent, set_gives_the_result_of_the_signal)
{
    CPMultipleEvent const any(false);
    CPEvent const event(true);
    EXPECT_TRUE(any.Attach(event));
    block_once(any);
    object(any).initState(_cEvent::eEventInvalid);
    EXPECT_FALSE(object(any).Set(event.GetHandle()));
    object(any).initState(_cEvent::eEventSignaled);
    EXPECT_TRUE(object(any).Set(event.GetHandle()));
}

TEST(MultipleEvent, set_of_a_barrier_waits_for_the_last_event)
{
    CPMultipleEvent const barrier(true);
    CPEvent const events[] = {CPEvent(true), CPEvent(true), CPEvent(true)};
    for (CPEvent const& event : events)
        EXPECT_TRUE(barrier.Attach(event));
    block_once(barrier);
    events[2].Set();
    events[0].Set();
    EXPECT_EQ(object(barrier).getState(), _cEvent::eEventReset);
    events[1].Set();
    EXPECT_EQ(object(barrier).getState(), _cEvent::eEventSignaled);
    EXPECT_EQ(Look::value(object(barrier)), 1U);
}

TEST(MultipleEvent, tells_its_own_listeners)
{
    CPMultipleEvent const any(false);
    CPEvent const event(true);
    EXPECT_TRUE(any.Attach(event));
    block_once(any);
    unsigned int told = 0;
    Listener listener(
        [&](_cEvent* source)
        {
            told += source == &object(any);
            return true;
        });
    EXPECT_TRUE(object(any).attach(&listener));
    event.Set();
    EXPECT_EQ(told, 1U);
    event.Reset();
    event.Set();
    EXPECT_EQ(told, 1U) << "the multiple event was signalled already";
    EXPECT_TRUE(object(any).detach(&listener));
}

TEST_P(EitherMode, reset_by_index)
{
    CPEvent const events[] = {CPEvent(true), CPEvent(true)};
    EXPECT_FALSE(multiple.Reset(0));
    for (CPEvent const& event : events)
    {
        EXPECT_TRUE(multiple.Attach(event));
        event.Set();
    }
    EXPECT_TRUE(multiple.Reset(1));
    EXPECT_EQ(events[0].Wait(0), 0);
    EXPECT_EQ(events[1].Wait(0), -1);
    EXPECT_TRUE(multiple.Reset(1)) << "an unsignalled event is reset with success";
    EXPECT_FALSE(multiple.Reset(2));
    EXPECT_FALSE(multiple.Reset(0xFFFFFFFFFFFFFFFFUL));
    events[1].GetHandle()->initState(_cEvent::eEventInvalid);
    EXPECT_FALSE(multiple.Reset(1)) << "the result of the event's own operation";
}

TEST_P(EitherMode, reset_of_all_is_always_false_and_leaves_the_object_alone)
{
    EXPECT_FALSE(object(multiple).ResetAll());
    CPEvent const events[] = {CPEvent(true), CPEvent(true), CPEvent(true)};
    for (CPEvent const& event : events)
        EXPECT_TRUE(multiple.Attach(event));
    events[0].Set();
    events[2].Set();
    events[1].GetHandle()->initState(_cEvent::eEventInvalid);
    signal(object(multiple), 4);
    EXPECT_FALSE(object(multiple).ResetAll());
    EXPECT_EQ(events[0].GetHandle()->getState(), _cEvent::eEventReset);
    EXPECT_EQ(events[1].GetHandle()->getState(), _cEvent::eEventInvalid);
    EXPECT_EQ(events[2].GetHandle()->getState(), _cEvent::eEventReset);
    EXPECT_EQ(object(multiple).getState(), _cEvent::eEventSignaled);
}

// A list with a slot that could not be filled.
TEST_P(EitherMode, slot_without_an_event_is_not_signaled_and_cannot_be_reset)
{
    auto& list = Look::attached(object(multiple));
    {
        AllocationFailure const failure(2);
        ASSERT_EQ(list.Alloc(1), 1);
    }
    ASSERT_FALSE(list[0]);
    EXPECT_EQ(multiple.Wait(0), -1);
    EXPECT_FALSE(multiple.Reset(0));
    EXPECT_FALSE(object(multiple).ResetAll());
}

TEST(MultipleEvent, list_with_a_block_and_no_event)
{
    for (bool const barrier : {true, false})
    {
        CPMultipleEvent const multiple(barrier);
        ASSERT_EQ(Look::attached(object(multiple)).Reserve(4), 1);
        signal(object(multiple), 5);
        EXPECT_FALSE(object(multiple).initBarrier(!barrier)) << "the block counts, not the events";
        EXPECT_EQ(multiple.Wait(0), barrier ? 0 : -1);
        EXPECT_EQ(object(multiple).getState(), barrier ? _cEvent::eEventSignaled : _cEvent::eEventReset);
    }
}

class ManyEvents : public testing::Test
{
protected:
    ManyEvents()
    {
        for (unsigned int index = 0; index < 1027; ++index)
        {
            events.push_back(CPEvent(true));
            EXPECT_TRUE(any.Attach(events.back()));
        }
    }

    CPMultipleEvent const any{false};
    std::vector<CPEvent> events;
};

TEST_F(ManyEvents, index_1024_is_taken_for_none_and_hides_those_behind_it)
{
    events[1025].Set();
    EXPECT_EQ(any.Wait(0), 1025);
    events[1024].Set();
    signal(object(any), 3);
    EXPECT_EQ(any.Wait(0), -1);
    EXPECT_EQ(object(any).getState(), _cEvent::eEventReset);
    EXPECT_EQ(any.Wait(2), -1);
    events[1023].Set();
    EXPECT_EQ(any.Wait(0), 1023);
    events[1023].Reset();
    EXPECT_TRUE(any.Reset(1024));
    EXPECT_EQ(wait(any, no_limit), 1025);
}

TEST_F(ManyEvents, index_1024_is_told_to_a_thread_that_is_blocked)
{
    Background<> waiter = queued_waiter(object(any), no_limit);
    events[1024].Set();
    EXPECT_EQ(waiter.result(), 1024);
    EXPECT_EQ(any.Wait(0), -1) << "and not to one that comes later";
}

TEST_P(EitherMode, failure_of_the_lock_passes)
{
    CPEvent const event(true);
    EXPECT_TRUE(multiple.Attach(event));
    CPEvent const other(true);
    BrokenLock const broken(object(multiple));
    EXPECT_TRUE(fails_by_the_lock([&] { multiple.Attach(other); }));
    EXPECT_TRUE(fails_by_the_lock([&] { multiple.Detach(event); }));
    EXPECT_TRUE(fails_by_the_lock([&] { object(multiple).Set(event.GetHandle()); }));
    EXPECT_TRUE(fails_by_the_lock([&] { multiple.Wait(0); }));
    EXPECT_TRUE(fails_by_the_lock([&] { multiple.Reset(0); }));
    EXPECT_TRUE(fails_by_the_lock([&] { object(multiple).ResetAll(); }));
    EXPECT_TRUE(fails_by_the_lock([&] { object(multiple).initBarrier(true); }));
}

TEST_P(EitherMode, failure_of_an_events_lock_passes_through_a_reset_and_leaves_the_object_free)
{
    CPEvent const event(true);
    EXPECT_TRUE(multiple.Attach(event));
    event.Set();
    {
        BrokenLock const broken(*event.GetHandle());
        EXPECT_TRUE(fails_by_the_lock([&] { multiple.Reset(0); }));
        EXPECT_TRUE(fails_by_the_lock([&] { object(multiple).ResetAll(); }));
    }
    EXPECT_EQ(multiple.Wait(0), 0);
    EXPECT_TRUE(multiple.Reset(0));
}

TEST(MultipleEventDeathTest, failure_of_the_lock_in_the_destructor_ends_the_process)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            CPMultipleEvent const multiple(false);
            BrokenLock const broken(object(multiple));
            object(multiple)._cMultipleEvent::~_cMultipleEvent();
        },
        testing::KilledBySignal(SIGABRT), "");
}

} // namespace
