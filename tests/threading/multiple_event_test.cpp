#include "ORVA/Threading/MultipleEvent.h"

#include "support/AllocationFailure.h"
#include "support/LogRecorder.h"
#include "threading/event_threads.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>
#include <vector>

// What one thread sees of a multiple event: attaching, detaching, and waits that need not block.
namespace
{

using namespace events;
using support::AllocationFailure;

/// For what holds in both modes.
class EitherMode : public testing::TestWithParam<bool>
{
protected:
    CPMultipleEvent const multiple{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(MultipleEvent, EitherMode, testing::Bool(),
                         [](auto const& instance) { return instance.param ? "barrier" : "any_of"; });

/// Blocks once, in vain, on what has nothing signalled.
void block_once(CPMultipleEvent const& multiple)
{
    EXPECT_EQ(multiple.Wait(1), -1);
}

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

TEST_P(EitherMode, empty_handle_is_neither_attached_nor_detached)
{
    CPEvent const empty{CPEvent(ORVA::Buffers::CPObjectMemory::pnull)};
    EXPECT_FALSE(multiple.Attach(empty));
    EXPECT_FALSE(multiple.Detach(empty));
    EXPECT_FALSE(Look::attached(object(multiple)));
}

TEST_P(EitherMode, attaching_holds_the_event_and_listens)
{
    CPEvent const event(true);
    EXPECT_TRUE(multiple.Attach(event));
    EXPECT_EQ(event.lockcnt(), 2U);
    auto& listeners = Look::listeners(*event.GetHandle());
    ASSERT_EQ(listeners.GetCount(), 1U);
    EXPECT_EQ(listeners[0], &object(multiple));
    EXPECT_EQ(Look::attached(object(multiple)).GetCount(), 1U);
    EXPECT_EQ(Look::attached(object(multiple)).GetAllocSize(), 128U);
    EXPECT_TRUE(multiple.Detach(event));
    EXPECT_EQ(event.lockcnt(), 1U);
    EXPECT_FALSE(listeners);
    EXPECT_FALSE(Look::attached(object(multiple))) << "the block goes with the last event";
}

TEST_P(EitherMode, list_of_events_grows_by_128_bytes)
{
    std::vector<CPEvent> events;
    for (unsigned int number = 0; number < 35; ++number)
    {
        events.push_back(CPEvent(true));
        EXPECT_TRUE(multiple.Attach(events.back()));
        EXPECT_EQ(Look::attached(object(multiple)).GetAllocSize(), number < 16 ? 128U : number < 32 ? 256U : 384U);
    }
}

TEST(MultipleEvent, pulse_event_is_no_part_of_a_barrier)
{
    CPEvent const pulse(false);
    EXPECT_FALSE(CPMultipleEvent(true).Attach(pulse));
    EXPECT_FALSE(Look::listeners(*pulse.GetHandle()));
    CPMultipleEvent const any(false);
    EXPECT_TRUE(any.Attach(pulse));
    EXPECT_TRUE(any.Detach(pulse));
}

TEST(MultipleEvent, barrier_takes_a_signaled_event)
{
    CPEvent const event(true);
    event.Set();
    CPMultipleEvent const barrier(true);
    EXPECT_TRUE(barrier.Attach(event));
    EXPECT_EQ(wait(barrier, no_limit), 0);
}

TEST_P(EitherMode, invalid_event_is_not_attached_and_leaves_nothing_behind)
{
    CPEvent const event(true);
    event.GetHandle()->initState(_cEvent::eEventInvalid);
    EXPECT_FALSE(multiple.Attach(event));
    EXPECT_EQ(event.lockcnt(), 1U);
    EXPECT_FALSE(Look::attached(object(multiple)));

    CPEvent const good(true);
    EXPECT_TRUE(multiple.Attach(good));
    EXPECT_FALSE(multiple.Attach(event));
    EXPECT_EQ(Look::attached(object(multiple)).GetCount(), 1U);
    EXPECT_EQ(event.lockcnt(), 1U);
}

TEST_P(EitherMode, attaching_without_memory_is_false_and_both_lists_agree)
{
    support::LogRecorder recorder;
    for (bool const has_another : {false, true})
    {
        CPMultipleEvent const fresh(GetParam());
        CPEvent const another(true);
        if (has_another)
        {
            EXPECT_TRUE(fresh.Attach(another));
        }
        CPEvent const event(true);
        unsigned long const failures = support::for_each_allocation(
            AllocationFailure::once,
            [&](unsigned long nth)
            {
                bool const attached = fresh.Attach(event);
                unsigned long const allocations = has_another ? 1 : 2;
                EXPECT_EQ(attached, nth > allocations);
                EXPECT_EQ(event.lockcnt(), attached ? 2U : 1U);
                EXPECT_EQ(Look::attached(object(fresh)).GetCount(), (has_another ? 1U : 0U) + (attached ? 1U : 0U));
                EXPECT_EQ(bool(Look::attached(object(fresh))), has_another || attached);
                EXPECT_EQ(Look::listeners(*event.GetHandle()).GetCount(), attached ? 1U : 0U);
            });
        EXPECT_EQ(failures, has_another ? 1U : 2U);
    }
    EXPECT_EQ(recorder.count(), 0U);
}

TEST_P(EitherMode, detaching_what_is_not_attached_is_false)
{
    CPEvent const event(true);
    CPEvent const other(true);
    EXPECT_FALSE(multiple.Detach(event));
    EXPECT_TRUE(multiple.Attach(event));
    EXPECT_FALSE(multiple.Detach(other));
    EXPECT_TRUE(multiple.Detach(CPEvent(event))) << "it is the block that counts";
    EXPECT_FALSE(multiple.Detach(event));
}

TEST_P(EitherMode, event_that_refuses_to_be_detached_stays)
{
    CPEvent const event(true);
    EXPECT_TRUE(multiple.Attach(event));
    event.GetHandle()->initState(_cEvent::eEventInvalid);
    EXPECT_FALSE(multiple.Detach(event));
    EXPECT_EQ(Look::attached(object(multiple)).GetCount(), 1U);
    EXPECT_EQ(event.lockcnt(), 2U);
    event.GetHandle()->initState(_cEvent::eEventReset);
    EXPECT_TRUE(multiple.Detach(event));
}

TEST(MultipleEvent, detaching_closes_the_gap)
{
    CPMultipleEvent const any(false);
    CPEvent const events[] = {CPEvent(true), CPEvent(true), CPEvent(true)};
    for (CPEvent const& event : events)
        EXPECT_TRUE(any.Attach(event));
    EXPECT_TRUE(any.Detach(events[0]));
    EXPECT_EQ(Look::attached(object(any)).GetAllocSize(), 128U);
    events[0].Set();
    EXPECT_EQ(any.Wait(0), -1);
    events[2].Set();
    EXPECT_EQ(any.Wait(0), 1);
    events[1].Set();
    EXPECT_EQ(any.Wait(0), 0);
    EXPECT_TRUE(any.Detach(events[2]));
    EXPECT_EQ(any.Wait(0), 0);
}

TEST(MultipleEvent, event_that_is_attached_twice_counts_by_its_lowest_index)
{
    CPMultipleEvent const any(false);
    CPEvent const first(true);
    CPEvent const twice(true);
    EXPECT_TRUE(any.Attach(first));
    EXPECT_TRUE(any.Attach(twice));
    EXPECT_TRUE(any.Attach(twice));
    twice.Set();
    EXPECT_EQ(any.Wait(0), 1);
    EXPECT_TRUE(any.Detach(twice));
    EXPECT_EQ(any.Wait(0), 1);
    EXPECT_EQ(Look::listeners(*twice.GetHandle()).GetCount(), 1U);
    EXPECT_TRUE(any.Detach(twice));
    EXPECT_EQ(any.Wait(0), -1);
}

TEST(MultipleEvent, of_two_on_one_event_the_one_attached_last_is_detached)
{
    CPEvent const event(true);
    CPMultipleEvent const first(false);
    CPMultipleEvent const second(false);
    EXPECT_TRUE(first.Attach(event));
    EXPECT_TRUE(second.Attach(event));
    EXPECT_TRUE(first.Detach(event));
    auto& listeners = Look::listeners(*event.GetHandle());
    ASSERT_EQ(listeners.GetCount(), 1U);
    EXPECT_EQ(listeners[0], &object(first));
}

TEST_P(EitherMode, attaching_and_detaching_are_refused_for_good_once_a_thread_has_blocked)
{
    CPEvent const event(true);
    CPEvent const other(true);
    EXPECT_TRUE(multiple.Attach(event));
    EXPECT_EQ(multiple.Wait(0), -1) << "this does not block";
    EXPECT_TRUE(multiple.Attach(other));
    EXPECT_TRUE(multiple.Detach(other));
    block_once(multiple);
    EXPECT_EQ(queued(object(multiple)), 0U) << "nobody waits any more";
    EXPECT_FALSE(multiple.Attach(other));
    EXPECT_FALSE(multiple.Detach(event));
    event.Set();
    event.Reset();
    EXPECT_FALSE(multiple.Attach(other));
    EXPECT_FALSE(multiple.Detach(event));
    EXPECT_EQ(other.lockcnt(), 1U);
    EXPECT_EQ(event.lockcnt(), 2U);
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

TEST_P(EitherMode, end_of_the_object_lets_go_of_the_events_and_does_not_detach)
{
    CPEvent const event(true);
    {
        CPMultipleEvent const gone(GetParam());
        EXPECT_TRUE(gone.Attach(event));
        EXPECT_EQ(event.lockcnt(), 2U);
    }
    EXPECT_EQ(event.lockcnt(), 1U);
    EXPECT_EQ(Look::listeners(*event.GetHandle()).GetCount(), 1U) << "the address stays in the list";
}

TEST_P(EitherMode, events_that_only_the_object_holds_go_with_it)
{
    auto gone = std::make_unique<CPMultipleEvent>(GetParam());
    {
        CPEvent const event(true);
        EXPECT_TRUE(gone->Attach(event));
    }
    CPEvent const watched = Look::attached(object(*gone))[0];
    EXPECT_EQ(watched.lockcnt(), 2U);
    gone.reset();
    EXPECT_EQ(watched.lockcnt(), 1U);
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
}

} // namespace
