#include "support/AllocationFailure.h"
#include "support/LogRecorder.h"
#include "threading/multiple_event_fixture.h"

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

// Attaching events to a multiple event and detaching them.
namespace
{

using namespace events;
using support::AllocationFailure;

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

TEST_P(EitherMode, without_an_event_to_attach_or_detach_the_lock_is_not_taken)
{
    CPEvent const empty{CPEvent(ORVA::Buffers::CPObjectMemory::pnull)};
    BrokenLock const broken(object(multiple));
    EXPECT_FALSE(multiple.Attach(empty));
    EXPECT_FALSE(multiple.Detach(empty));
}

TEST(MultipleEvent, barrier_refuses_a_pulse_event_without_its_lock)
{
    CPMultipleEvent const barrier(true);
    CPEvent const pulse(false);
    BrokenLock const broken(object(barrier));
    EXPECT_FALSE(barrier.Attach(pulse));
}

TEST_P(EitherMode, refused_for_good_means_that_the_event_is_left_alone)
{
    CPEvent const event(true);
    CPEvent const other(true);
    EXPECT_TRUE(multiple.Attach(event));
    block_once(multiple);
    run_with_the_lock_held(*event.GetHandle(), [&] { EXPECT_FALSE(multiple.Detach(event)); });
    run_with_the_lock_held(*other.GetHandle(), [&] { EXPECT_FALSE(multiple.Attach(other)); });
}

// Failure of the object's own lock does pass.
TEST_P(EitherMode, event_whose_lock_fails_is_neither_attached_nor_detached)
{
    CPEvent const attached(true);
    CPEvent const other(true);
    EXPECT_TRUE(multiple.Attach(attached));
    {
        BrokenLock const broken(*attached.GetHandle());
        EXPECT_FALSE(multiple.Detach(attached));
    }
    {
        BrokenLock const broken(*other.GetHandle());
        EXPECT_FALSE(multiple.Attach(other));
    }
    EXPECT_EQ(Look::attached(object(multiple)).GetCount(), 1U);
    EXPECT_EQ(Look::listeners(*attached.GetHandle()).GetCount(), 1U);
    EXPECT_EQ(attached.lockcnt(), 2U);
    EXPECT_FALSE(Look::listeners(*other.GetHandle()));
    EXPECT_EQ(other.lockcnt(), 1U);
    EXPECT_TRUE(multiple.Detach(attached));
}

TEST_P(EitherMode, attaching_leaves_the_object_free_until_a_signal_of_the_event_is_over)
{
    CPEvent const event(true);
    SignalInProgress signal(event);
    Background<bool> attaching([&] { return multiple.Attach(event); });
    for (unsigned int times = 0; times < 100; ++times)
        EXPECT_EQ(Background<>([&] { return multiple.Wait(0); }).result(), -1);
    EXPECT_FALSE(attaching.has_ended());
    {
        std::lock_guard<boost::mutex> const lock(Look::lock(object(multiple)));
        EXPECT_FALSE(Look::attached(object(multiple))) << "what was begun is taken back";
    }
    signal.end();
    EXPECT_TRUE(attaching.result());
    EXPECT_EQ(multiple.Wait(0), 0);
    EXPECT_EQ(Look::listeners(*event.GetHandle()).GetCount(), 2U);
}

TEST_P(EitherMode, detaching_leaves_the_object_free_until_a_signal_of_the_event_is_over)
{
    CPEvent const event(true);
    EXPECT_TRUE(multiple.Attach(event));
    SignalInProgress signal(event);
    Background<bool> detaching([&] { return multiple.Detach(event); });
    for (unsigned int times = 0; times < 100; ++times)
        EXPECT_EQ(Background<>([&] { return multiple.Wait(0); }).result(), 0);
    EXPECT_FALSE(detaching.has_ended());
    signal.end();
    EXPECT_TRUE(detaching.result());
    EXPECT_FALSE(Look::attached(object(multiple)));
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

// The last reference to an event may go with the object, and its end may wait for threads that come for the object.
TEST_P(EitherMode, events_go_without_the_lock_of_the_object)
{
    auto gone = std::make_unique<CPMultipleEvent>(GetParam());
    _cMultipleEvent& inside = object(*gone);
    _cEvent* plain = nullptr;
    {
        CPEvent const event(true);
        EXPECT_TRUE(gone->Attach(event));
        plain = event.GetHandle();
    }
    std::optional<Background<int>> ending;
    {
        std::lock_guard<boost::mutex> const keeps_the_event(Look::lock(*plain));
        ending.emplace(
            [&]
            {
                gone.reset();
                return 0;
            });
        until(
            [&]
            {
                std::unique_lock<boost::mutex> const lock(Look::lock(inside), std::try_to_lock);
                return lock.owns_lock() && !Look::attached(inside);
            },
            "the object to let go of its events");
        EXPECT_FALSE(ending->has_ended());
    }
    EXPECT_EQ(ending->result(), 0);
}

} // namespace
