// Operations of which the list says that they take no memory: locks, events, threads, services, the factory.
#include "ORVA/Maintenance.h"
#include "ORVA/NQF.h"
#include "ORVA/Threading.h"
#include "faults/OperationList.h"

namespace
{

using namespace ORVA::Threading;
using faults::takes_nothing;

struct Work
{
    void run() {}
};

} // namespace

TEST(NothingTakenByThreads, ByLocks)
{
    CPMutex mutex;
    CPCriticalSection section;
    CPRWInterlock interlock;
    takes_nothing("Threading::CPMutex::CPMutex(CPMutex const&)", [&] { CPMutex const copy(mutex); });
    takes_nothing("Threading::CPMutex::Enter()", [&] { mutex.Enter(); });
    takes_nothing("Threading::CPMutex::TryEnter(unsigned int)", [&] { mutex.TryEnter(1); });
    takes_nothing("Threading::CPMutex::Leave()", [&] { mutex.Leave(); });
    takes_nothing("Threading::CPCriticalSection::Enter()", [&] { section.Enter(); });
    takes_nothing("Threading::CPCriticalSection::TryEnter(unsigned int)", [&] { section.TryEnter(1); });
    takes_nothing("Threading::CPCriticalSection::Leave()",
                  [&]
                  {
                      section.Leave();
                      section.Leave();
                  });
    takes_nothing("Threading::CPRWInterlock::EnterRead()", [&] { interlock.EnterRead(); });
    takes_nothing("Threading::CPRWInterlock::LeaveRead()", [&] { interlock.LeaveRead(); });
    takes_nothing("Threading::CPRWInterlock::Enter()", [&] { interlock.Enter(); });
    takes_nothing("Threading::CPRWInterlock::TryEnterRead(unsigned int)", [&] { interlock.TryEnterRead(1); });
    takes_nothing("Threading::CPRWInterlock::LeaveRead()", [&] { interlock.LeaveRead(); });
    takes_nothing("Threading::CPRWInterlock::Leave()", [&] { interlock.Leave(); });
    takes_nothing("Threading::_cMutex::_cMutex()", [] { _cMutex const made; });
    takes_nothing("Threading::_cCriticalSection::_cCriticalSection()", [] { _cCriticalSection const made; });
    takes_nothing("Threading::_cRWInterlock::_cRWInterlock()", [] { _cRWInterlock const made; });
}

TEST(NothingTakenByThreads, ByEventsThatNobodyWaitsFor)
{
    CPEvent const event(true);
    CPMultipleEvent const events(false);
    ASSERT_TRUE(events.Attach(event));
    takes_nothing("Threading::_cEvent::_cEvent()", [] { _cEvent const made; });
    takes_nothing("Threading::_cMultipleEvent::_cMultipleEvent()", [] { _cMultipleEvent const made; });
    takes_nothing("Threading::CPEvent::CPEvent(CPEvent const&)", [&] { CPEvent const copy(event); });
    takes_nothing("Threading::CPEvent::Set() const", [&] { event.Set(); });
    takes_nothing("Threading::CPMultipleEvent::Reset(unsigned long) const", [&] { events.Reset(0); });
    takes_nothing("Threading::CPEvent::Reset() const", [&] { event.Reset(); });
    takes_nothing("Threading::CPMultipleEvent::Detach(CPEvent const&) const", [&] { events.Detach(event); });
    support::AllocationFailure const counting(0);
    EXPECT_EQ(event.Wait(0), -1);
    EXPECT_EQ(events.Wait(0), -1);
    EXPECT_TRUE(event.Set());
    EXPECT_EQ(event.Wait(0xFFFFFFFF), 0);
    EXPECT_EQ(counting.attempts(), 0UL) << "a wait that does not block";
}

TEST(NothingTakenByThreads, ByThreadsThatRun)
{
    CPThreadContext<Work> context;
    ASSERT_NE(context.create(), nullptr);
    CPThread thread;
    ASSERT_TRUE(thread.Execute(context, 0));
    takes_nothing("Threading::CPThread::CPThread(CPThread const&)", [&] { CPThread const copy(thread); });
    takes_nothing("Threading::CPThread::Wait(unsigned int)", [&] { thread.Wait(0xFFFFFFFF); });
    takes_nothing("Threading::CPThread::Terminate()", [&] { thread.Terminate(); });
    takes_nothing("Threading::_cThreadFunctor::_cThreadFunctor(Buffers::CPObjectMemory const&)",
                  [&] { _cThreadFunctor const functor(context); });
    takes_nothing("Threading::CurrentThread::sleep(unsigned int)", [] { CurrentThread::sleep(1); });
}

TEST(NothingTakenByThreads, ByTheSchedulerAndTheFactory)
{
    using ORVA::NQF::CPINQFUnknown;
    takes_nothing("Maintenance::Trigger()", [] { ORVA::Maintenance::Trigger(); });
    takes_nothing("Maintenance::IsActive()", [] { ORVA::Maintenance::IsActive(); });
    takes_nothing("Maintenance::Unregister(Buffers::CPObjectMemory const&, unsigned int)",
                  [] { ORVA::Maintenance::Unregister(ORVA::Buffers::CPObjectMemory::pnull, 0); });
    takes_nothing("NQF::CPINQFUnknown::CPINQFUnknown()", [] { CPINQFUnknown const made; });
    takes_nothing("NQF::CPINQFUnknown::Factory_IsAvailable()", [] { CPINQFUnknown::Factory_IsAvailable(); });
    takes_nothing("NQF::CPINQFUnknown::createInstance(_nqfUID const&)",
                  [] { CPINQFUnknown().createInstance(_nqfUID{}); });
    takes_nothing("NQF::CPINQFUnknown::Factory_FindDefinition(_nqfUID const&)",
                  [] { CPINQFUnknown::Factory_FindDefinition(_nqfUID{}); });
}
