// Handles on locks and events without memory: they stay empty, and what is done with an empty one does nothing.
#include "faults/FaultTest.h"

#include "support/LogRecorder.h"
#include "threading/event_threads.h"

#include "ORVA/Threading/Locks.h"

namespace
{

using namespace ORVA::Threading;
using faults::fail_each_allocation;
using faults::Undisturbed;

// Makes a handle by `make` and lets `use` look at it: first at one that may be empty, then at one that works.
template <class Make, class Use>
void expect_handle_or_empty(Make make, Use use)
{
    support::LogRecorder log;
    unsigned long const allocations = fail_each_allocation(
        [&](unsigned long nth)
        {
            auto handle = make();
            Undisturbed const pause;
            EXPECT_EQ(static_cast<bool>(handle), nth != 1);
            EXPECT_EQ(handle.lockcnt(), nth == 1 ? 0U : 1U);
            use(handle, static_cast<bool>(handle));
            auto copy = handle;
            EXPECT_EQ(static_cast<bool>(copy), nth != 1);
            auto next = make();
            ASSERT_TRUE(next);
            handle = next;
            use(handle, true);
        });
    EXPECT_EQ(allocations, 1UL);
    EXPECT_EQ(log.count(), 0U);
}

template <class Lock>
void expect_lock(Lock& lock, bool works)
{
    EXPECT_EQ(lock.TryEnter(0), works);
    lock.Leave();
    lock.Enter();
    lock.Leave();
    EXPECT_EQ(lock.TryEnter(1), works);
    lock.Leave();
}

// What a class that derives from the base of the handles makes with it.
class OwnHandle : public CPLockHandle
{
public:
    OwnHandle() : CPLockHandle(sizeof(_cMutex), _vtbl_cMutex) {}
};

} // namespace

FAULT_TEST(ThreadingHandles, AMutexIsMadeOrTheHandleIsEmpty, "Threading::CPMutex::CPMutex()")
{
    expect_handle_or_empty([] { return CPMutex(); }, [](CPMutex& lock, bool works) { expect_lock(lock, works); });
}

FAULT_TEST(ThreadingHandles, ACriticalSectionIsMadeOrTheHandleIsEmpty,
           "Threading::CPCriticalSection::CPCriticalSection()")
{
    expect_handle_or_empty([] { return CPCriticalSection(); },
                           [](CPCriticalSection& lock, bool works) { expect_lock(lock, works); });
}

FAULT_TEST(ThreadingHandles, AnInterlockIsMadeOrTheHandleIsEmpty, "Threading::CPRWInterlock::CPRWInterlock()")
{
    expect_handle_or_empty([] { return CPRWInterlock(); },
                           [](CPRWInterlock& lock, bool works)
                           {
                               expect_lock(lock, works);
                               EXPECT_EQ(lock.TryEnterRead(0), works);
                               lock.LeaveRead();
                               lock.EnterRead();
                               lock.LeaveRead();
                               expect_lock(lock, works);
                           });
}

FAULT_TEST(ThreadingHandles, AnEventIsMadeOrTheHandleIsEmpty, "Threading::CPEvent::CPEvent(bool)")
{
    for (bool const manual : {true, false})
    {
        expect_handle_or_empty([manual] { return CPEvent(manual); },
                               [manual](CPEvent& event, bool works)
                               {
                                   EXPECT_EQ(event.GetHandle() != nullptr, works);
                                   EXPECT_EQ(event.Wait(0), works ? -1 : -2);
                                   EXPECT_EQ(event.Set(), works);
                                   EXPECT_EQ(event.Wait(0), !works ? -2 : manual ? 0 : -1);
                                   EXPECT_EQ(event.Reset(), works);
                               });
    }
}

FAULT_TEST(ThreadingHandles, AMultipleEventIsMadeOrTheHandleIsEmpty,
           "Threading::CPMultipleEvent::CPMultipleEvent(bool)")
{
    for (bool const barrier : {true, false})
    {
        expect_handle_or_empty([barrier] { return CPMultipleEvent(barrier); },
                               [](CPMultipleEvent& multiple, bool works)
                               {
                                   CPEvent const event(true);
                                   EXPECT_EQ(multiple.Attach(event), works);
                                   EXPECT_EQ(multiple.Wait(0), works ? -1 : -2);
                                   event.Set();
                                   EXPECT_EQ(multiple.Wait(0), works ? 0 : -2);
                                   EXPECT_EQ(multiple.Reset(0), works);
                                   EXPECT_EQ(multiple.Detach(event), works);
                               });
    }
}

FAULT_TEST(ThreadingHandles, ALockOfADerivedHandleIsMadeOrTheHandleIsEmpty,
           "Threading::CPLockHandle::CPLockHandle(unsigned long, Buffers::tagCPOVTABL const&)")
{
    expect_handle_or_empty([] { return OwnHandle(); },
                           [](OwnHandle& handle, bool works)
                           {
                               CPMutex lock(handle);
                               expect_lock(lock, works);
                           });
}

// An event that could not be had leaves its place empty, and the vector is complete all the same.
TEST(ThreadingHandles, AVectorOfEventsHasAnEmptyHandleForEachThatCouldNotBeMade)
{
    unsigned long const allocations = fail_each_allocation(
        [](unsigned long nth)
        {
            ORVA::Buffers::CPObjectVector<CPEvent> events;
            int const result = events.Alloc(3);
            Undisturbed const pause;
            EXPECT_EQ(result, nth == 1 ? 0 : 1);
            EXPECT_EQ(events.GetCount(), nth == 1 ? 0UL : 3UL);
            unsigned long empty = 0;
            for (CPEvent const& event : events)
            {
                empty += !event;
                EXPECT_EQ(event.Set(), static_cast<bool>(event));
            }
            // The array comes first, then the events, one by one.
            unsigned long const lost = faults::all_after_fail() ? 5 - nth : 1;
            EXPECT_EQ(empty, nth >= 2 && nth <= 4 ? lost : 0UL);
            EXPECT_EQ(events.Alloc(2), 1);
            EXPECT_TRUE(events[0].Set() && events[1].Set());
        });
    EXPECT_EQ(allocations, 4UL);
}

TEST(ThreadingHandles, LocksInPlaceNeedNoMemory)
{
    support::AllocationFailure const failure(1, support::AllocationFailure::forever);
    {
        faults::NewFails const scope;
        _cMutex mutex;
        mutex.Enter();
        mutex.Leave();
        _cCriticalSection section;
        section.Enter();
        section.Leave();
        _cRWInterlock interlock;
        interlock.EnterRead();
        interlock.LeaveRead();
        interlock.EnterWrite();
        interlock.LeaveWrite();
        _cMultipleEvent const event;
    }
    EXPECT_EQ(failure.attempts(), 0UL);
}
