// Waits on events and the attachment of events without memory.
#include "faults/FaultTest.h"

#include "support/LogRecorder.h"
#include "threading/event_places.h"

#include "ORVA/Threading/MultipleEvent.h"

#include <list>
#include <optional>
#include <vector>

namespace
{

using namespace events;
using faults::fail_each_allocation;
using faults::Undisturbed;

constexpr unsigned long step = 16; // places that a list grows by

// An event that threads wait on, `waiting` of them already.
struct Queue
{
    Queue(_cEvent& its_event, unsigned long waiting) : event(its_event), stands(waiting)
    {
        std::lock_guard<boost::mutex> const lock(Look::lock(event));
        for (Stand& stand : stands)
            stand.join(event);
    }
    ~Queue() { EXPECT_EQ(queued(event), 0UL); }

    // The event is signalled, and all that wait are told.
    void release(long value)
    {
        EXPECT_TRUE(signal(event, static_cast<unsigned long>(value)));
        for (Stand& stand : stands)
        {
            EXPECT_TRUE(stand.is_released());
            EXPECT_EQ(stand.result(), value);
        }
    }

    _cEvent& event;
    std::list<Stand> stands;
};

// A wait by `wait`, whose time is over soon. Where the queue cannot grow it is over at once, as if the event had been
// signalled, and the queue is as it was.
template <class Make, class Wait>
void expect_wait_or_0(Make make, Wait wait)
{
    support::LogRecorder log;
    for (unsigned long const waiting : {0UL, step})
    {
        unsigned long const allocations = fail_each_allocation(
            [&](unsigned long nth)
            {
                std::optional<Undisturbed> pause(std::in_place);
                auto const handle = make();
                auto& event = *static_cast<_cEvent*>(handle.get_ptr());
                Queue queue(event, waiting);
                pause.reset();
                long const result = wait(handle);
                Undisturbed const checks;
                EXPECT_EQ(result, nth == 1 ? 0 : -1);
                EXPECT_EQ(queued(event), waiting);
                EXPECT_EQ(wait(handle), -1);
                EXPECT_EQ(queued(event), waiting);
                queue.release(5);
            });
        EXPECT_EQ(allocations, 1UL);
    }
    EXPECT_EQ(log.count(), 0U);
}

struct WaitingEvent : _cEvent
{
    static long wait(_cEvent& event, unsigned int milliseconds)
    {
        std::unique_lock<boost::mutex> lock(Look::lock(event));
        return (event.*(&WaitingEvent::_wait))(lock, milliseconds);
    }
};

CPEvent pulse()
{
    return CPEvent(false);
}

CPMultipleEvent multiple()
{
    return CPMultipleEvent(false);
}

} // namespace

FAULT_TEST(ThreadingEvents, AWaitWithoutAPlaceIsOver, "Threading::CPEvent::Wait(unsigned int) const",
           "Threading::_cEvent::Wait(unsigned int)",
           "Threading::_cEvent::_wait(std::unique_lock<boost::mutex>&, unsigned int)",
           "Threading::CPMultipleEvent::Wait(unsigned int) const", "Threading::_cMultipleEvent::Wait(unsigned int)")
{
    expect_wait_or_0(pulse, [](CPEvent const& event) { return event.Wait(1); });
    expect_wait_or_0(pulse, [](CPEvent const& event) { return event.GetHandle()->Wait(1); });
    expect_wait_or_0(pulse, [](CPEvent const& event) { return WaitingEvent::wait(*event.GetHandle(), 1); });
    expect_wait_or_0(multiple, [](CPMultipleEvent const& event) { return event.Wait(1); });
    expect_wait_or_0(multiple, [](CPMultipleEvent const& event) { return object(event).Wait(1); });
}

// A wait without limit that has no place is over too, and one that has is released by a signal.
TEST(ThreadingEvents, AWaitWithoutLimitAndWithoutAPlaceIsOver)
{
    CPEvent const event(false);
    {
        support::AllocationFailure const failure(1);
        EXPECT_EQ(event.Wait(no_limit), 0);
        EXPECT_EQ(failure.failures(), 1UL);
    }
    Background<> waiter = queued_waiter(*event.GetHandle(), no_limit);
    EXPECT_TRUE(event.Set());
    EXPECT_EQ(waiter.result(), 0);
}

FAULT_TEST(ThreadingEvents, AListenerIsAttachedOrNot, "Threading::_cEvent::attach(_cEvent*)")
{
    for (unsigned long const already : {0UL, step, 2 * step})
    {
        unsigned long const allocations = fail_each_allocation(
            [already](unsigned long nth)
            {
                unsigned long told = 0;
                Listener listener(
                    [&told](_cEvent*)
                    {
                        ++told;
                        return true;
                    });
                Event event(_cEvent::eEventReset);
                {
                    Undisturbed const pause;
                    for (unsigned long number = 0; number < already; ++number)
                        EXPECT_TRUE(event.attach(&listener));
                }
                EXPECT_EQ(event.attach(&listener), nth != 1);
                Undisturbed const pause;
                EXPECT_EQ(Look::listeners(event).GetCount(), already + (nth == 1 ? 0 : 1));
                EXPECT_TRUE(event.Set(nullptr));
                EXPECT_EQ(told, already + (nth == 1 ? 0 : 1));
                EXPECT_TRUE(event.attach(&listener));
                EXPECT_TRUE(event.detach(&listener));
            });
        EXPECT_EQ(allocations, 1UL);
    }
}

namespace
{

// Attaches an event to a multiple event that has `already` others, and the event `listeners` other listeners.
template <class Attach>
void expect_attached_or_not(bool barrier, unsigned long already, unsigned long listeners, unsigned long expected,
                            Attach attach)
{
    support::LogRecorder log;
    unsigned long const allocations = fail_each_allocation(
        [&](unsigned long nth)
        {
            std::optional<Undisturbed> pause(std::in_place);
            CPMultipleEvent const handle(barrier);
            CPEvent const event(true);
            std::vector<CPEvent> others(already, CPEvent(true));
            for (CPEvent const& other : others)
                EXPECT_TRUE(handle.Attach(other));
            Listener other_listener([](_cEvent*) { return true; });
            for (unsigned long number = 0; number < listeners; ++number)
                EXPECT_TRUE(event.GetHandle()->attach(&other_listener));
            pause.reset();
            bool const is_attached = attach(handle, event);
            Undisturbed const checks;
            EXPECT_EQ(is_attached, nth == 0 || nth > expected);
            EXPECT_EQ(Look::attached(object(handle)).GetCount(), already + is_attached);
            EXPECT_EQ(Look::listeners(*event.GetHandle()).GetCount(), listeners + is_attached);
            EXPECT_EQ(event.lockcnt(), 1U + is_attached);
            if (!is_attached)
            {
                EXPECT_FALSE(handle.Detach(event));
                EXPECT_TRUE(attach(handle, event));
            }
            EXPECT_EQ(handle.Wait(0), -1);
            for (CPEvent const& other : others)
                other.Set();
            event.Set();
            EXPECT_EQ(handle.Wait(0), 0);
            EXPECT_TRUE(handle.Reset(already));
            EXPECT_EQ(event.Wait(0), -1);
            EXPECT_TRUE(handle.Detach(event));
            EXPECT_EQ(event.lockcnt(), 1U);
        });
    EXPECT_EQ(allocations, expected);
    EXPECT_EQ(log.count(), 0U);
}

} // namespace

FAULT_TEST(ThreadingEvents, AnEventIsAttachedInBothListsOrInNone,
           "Threading::CPMultipleEvent::Attach(CPEvent const&) const",
           "Threading::_cMultipleEvent::AttachSingle(CPEvent const&)")
{
    auto const attach = [](CPMultipleEvent const& handle, CPEvent const& event) { return handle.Attach(event); };
    auto const attach_single = [](CPMultipleEvent const& handle, CPEvent const& event)
    { return object(handle).AttachSingle(event); };
    for (bool const barrier : {false, true})
    {
        // The list of events and that of the event's listeners, each where it is full.
        expect_attached_or_not(barrier, 0, 0, 2, attach);
        expect_attached_or_not(barrier, 0, 0, 2, attach_single);
        expect_attached_or_not(barrier, step, 0, 2, attach);
        expect_attached_or_not(barrier, 1, 0, 1, attach);
        expect_attached_or_not(barrier, 0, step, 2, attach);
        expect_attached_or_not(barrier, step, step, 2, attach);
    }
}

TEST(ThreadingEvents, SignalsLooksAndDetachmentsNeedNoMemory)
{
    CPMultipleEvent const handle(false);
    CPEvent const events[] = {CPEvent(true), CPEvent(true), CPEvent(false)};
    for (CPEvent const& event : events)
        ASSERT_TRUE(handle.Attach(event));
    support::AllocationFailure const failure(1, support::AllocationFailure::forever);
    {
        faults::NewFails const scope;
        for (CPEvent const& event : events)
            event.Set();
        events[0].Wait(1);
        handle.Wait(1);
        object(handle).ResetAll();
        handle.Wait(0);
        events[2].Reset();
        handle.Detach(events[1]);
    }
    EXPECT_EQ(failure.attempts(), 0UL);
}
