// Listeners of events that throw when they are told of a signal.
#include "exceptions/thrown.h"
#include "threading/event_threads.h"

#include <atomic>
#include <list>
#include <vector>

namespace
{

using namespace exceptions;
using namespace events;

/// Listeners on one event, of which each comes by the fuse.
class Listeners
{
public:
    Listeners(_cEvent& event, unsigned int count, Fuse& fuse)
    {
        for (unsigned int number = 0; number < count; ++number)
        {
            Listener& listener = m_listeners.emplace_back(
                [this, &fuse](_cEvent*)
                {
                    ++told;
                    fuse.call();
                    return true;
                });
            EXPECT_TRUE(event.attach(&listener));
        }
    }

    unsigned int told = 0;

private:
    std::list<Listener> m_listeners;
};

bool lock_is_free(_cEvent& event)
{
    return Background<bool>(
               [&event]
               {
                   std::unique_lock<boost::mutex> const lock(Look::lock(event), std::try_to_lock);
                   return lock.owns_lock();
               })
        .result();
}

struct Event : _cEvent
{
    explicit Event(eEventState state) { initState(state); }
};

TEST(ThrowingListener, IsPassedOverAndTheSignalSucceeds)
{
    for (_cEvent::eEventState const state : {_cEvent::eEventReset, _cEvent::eEventPulse})
    {
        unsigned long const calls = at_each_call(
            [state](Fuse& fuse)
            {
                Event event(state);
                Listeners listeners(event, 3, fuse);
                Background<> first = queued_waiter(event, no_limit);
                Background<> second = queued_waiter(event, no_limit);
                bool result = false;
                EXPECT_FALSE(thrown_by([&] { result = event.Set(nullptr); }).has_value());
                EXPECT_TRUE(result);
                EXPECT_EQ(listeners.told, 3U);
                EXPECT_EQ(first.result(), 0);
                EXPECT_EQ(second.result(), 0);
                EXPECT_EQ(queued(event), 0U);
                EXPECT_TRUE(lock_is_free(event));
                EXPECT_EQ(event.getState(), state == _cEvent::eEventPulse ? state : _cEvent::eEventSignaled);

                EXPECT_TRUE(event.Reset());
                EXPECT_TRUE(event.Set(nullptr));
                EXPECT_EQ(listeners.told, 6U) << "it stays attached";
            });
        EXPECT_EQ(calls, 6U);
    }
}

TEST(ThrowingListener, OfASignalWithAValueLeavesTheValue)
{
    for (Thrown const what : both_kinds)
    {
        Event event(_cEvent::eEventReset);
        Fuse fuse(1, what);
        Listeners const listeners(event, 2, fuse);
        Background<> waiter = queued_waiter(event, no_limit);
        EXPECT_TRUE(signal(event, 42));
        EXPECT_EQ(waiter.result(), 42);
        EXPECT_EQ(event.Wait(0), 42);
    }
}

TEST(ThrowingListener, OfAMultipleEventDoesNotStopTheSignalOfItsEvent)
{
    for (bool const barrier : {false, true})
    {
        for (Thrown const what : both_kinds)
        {
            CPEvent const event(true);
            CPMultipleEvent const multiple(barrier);
            ASSERT_TRUE(multiple.Attach(event));
            Fuse fuse(1, what);
            Listeners const listeners(object(multiple), 2, fuse);
            Background<> waiter = queued_waiter(object(multiple), no_limit);
            EXPECT_FALSE(thrown_by([&] { EXPECT_TRUE(event.Set()); }).has_value());
            EXPECT_EQ(waiter.result(), 0);
            EXPECT_EQ(listeners.told, 2U);
            EXPECT_TRUE(lock_is_free(*event.GetHandle()));
            EXPECT_TRUE(lock_is_free(object(multiple)));
            EXPECT_EQ(multiple.Wait(0), 0);
            EXPECT_TRUE(multiple.Reset(0));
            EXPECT_EQ(multiple.Wait(0), -1);
        }
    }
}

TEST(ThrowingListener, BesideAMultipleEventDoesNotKeepTheSignalFromIt)
{
    for (Thrown const what : both_kinds)
    {
        CPEvent const event(true);
        Fuse fuse(1, what);
        Listeners const listeners(*event.GetHandle(), 1, fuse);
        CPMultipleEvent const multiple(false);
        ASSERT_TRUE(multiple.Attach(event));
        Background<> waiter = queued_waiter(object(multiple), no_limit);
        EXPECT_TRUE(event.Set());
        EXPECT_EQ(waiter.result(), 0);
    }
}

TEST(ThrowingListener, DisturbsNoSignalOfAnotherThread)
{
    Event event(_cEvent::eEventPulse);
    std::atomic<unsigned int> told{0};
    Listener listener([&told](_cEvent*) -> bool { raise(both_kinds[told++ % 2]); });
    ASSERT_TRUE(event.attach(&listener));
    std::vector<Background<bool>> threads;
    for (int number = 0; number < 3; ++number)
    {
        threads.emplace_back(
            [&event]
            {
                bool all = true;
                for (int round = 0; round < 200; ++round)
                    all = event.Set(nullptr) && all;
                return all;
            });
    }
    for (Background<bool>& thread : threads)
        EXPECT_TRUE(thread.result());
    EXPECT_EQ(told, 600U);
    EXPECT_TRUE(lock_is_free(event));
    EXPECT_TRUE(event.detach(&listener));
}

} // namespace
