#include "ORVA/Threading/Event.h"
#include "ORVA/Threading/MultipleEvent.h"

#include "support/AllocationFailure.h"
#include "support/LogRecorder.h"
#include "threading/event_places.h"

#include <boost/thread/exceptions.hpp>

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <pthread.h>

#include <cerrno>
#include <list>
#include <new>
#include <string>

// A system that has nothing left for a wait: no condition for the gate, no memory for the list, no lock.

// Stands in front of the system's own in the whole test program, and is the same unless a test of this file has asked
// for a failure in its own thread. Each condition of the locks is made with such attributes.
namespace
{

thread_local bool conditions_fail = false;

} // namespace

extern "C" int pthread_condattr_init(pthread_condattr_t* attributes) noexcept
{
    using Function = int(pthread_condattr_t*);
    static auto* const next = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, "pthread_condattr_init"));
    return conditions_fail ? EAGAIN : next(attributes);
}

namespace
{

using namespace events;
using support::AllocationFailure;

/// What a wait throws that cannot have its gate.
std::string message_of_wait_without_a_gate(_cEvent& event, unsigned int timeout)
{
    conditions_fail = true;
    std::string message = "nothing was thrown";
    try
    {
        event.Wait(timeout);
    }
    catch (boost::thread_resource_error const& error)
    {
        message = error.what();
    }
    conditions_fail = false;
    return message.substr(0, message.find(": Resource"));
}

void expect_works(_cEvent& event)
{
    EXPECT_FALSE(Look::waiters(event)) << "nobody joined";
    EXPECT_EQ(event.Wait(1), -1);
    EXPECT_TRUE(Background<bool>([&event] { return signal(event, 3); }).result()) << "the lock is free";
}

TEST(EventWithoutResources, wait_passes_the_exception_of_its_gate_and_leaves_nothing_behind)
{
    support::LogRecorder recorder;
    std::string const expected = "boost:: timed_mutex constructor failed in pthread_cond_init";
    for (unsigned int const timeout : {1U, plenty, no_limit})
    {
        auto const event = make_event(_cEvent::eEventPulse);
        EXPECT_EQ(message_of_wait_without_a_gate(*event, timeout), expected);
        expect_works(*event);

        _cMultipleEvent multiple;
        EXPECT_EQ(message_of_wait_without_a_gate(multiple, timeout), expected);
        expect_works(multiple);
    }
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(EventWithoutResources, answers_that_need_no_queue_need_no_gate)
{
    conditions_fail = true;
    _cEvent event;
    EXPECT_EQ(event.Wait(no_limit), -2);
    event.initState(_cEvent::eEventPulse);
    EXPECT_EQ(event.Wait(0), -1);
    event.initState(_cEvent::eEventSignaled);
    EXPECT_EQ(event.Wait(no_limit), 1024);
    conditions_fail = false;
}

TEST(EventWithoutResources, wait_that_finds_the_list_full_gives_0_and_leaves_it_alone)
{
    std::list<Stand> stands(16);
    auto const event = make_event(_cEvent::eEventPulse);
    for (Stand& stand : stands)
        stand.join(*event);
    for (unsigned int const timeout : {1U, no_limit})
    {
        AllocationFailure const failure(1);
        EXPECT_EQ(event->Wait(timeout), 0);
        EXPECT_EQ(failure.failures(), 1U);
    }
    EXPECT_EQ(queued(*event), 16U);
    EXPECT_EQ(Look::waiters(*event).GetAllocSize(), 128U);
    EXPECT_TRUE(signal(*event, 4));
    for (Stand& stand : stands)
    {
        EXPECT_TRUE(stand.is_released());
        EXPECT_EQ(stand.result(), 4);
    }
}

/// An event with a lock that tells the next who locks it when its holder has died, which counts as a failure.
class MortalLock
{
public:
    explicit MortalLock(_cEvent& event) : m_event(event)
    {
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
        pthread_mutex_destroy(native());
        pthread_mutex_init(native(), &attributes);
        pthread_mutexattr_destroy(&attributes);
    }
    /// Makes it an ordinary lock again; nobody holds it.
    ~MortalLock()
    {
        pthread_mutex_destroy(native());
        new (&Look::lock(m_event)) boost::mutex();
    }
    MortalLock(MortalLock const&) = delete;
    MortalLock& operator=(MortalLock const&) = delete;

    /// A thread takes the lock and ends with it if `condition` holds by then. Tells whether it did.
    template <class Condition>
    bool dies_if(Condition condition)
    {
        return Background<bool>(
                   [&]
                   {
                       pthread_mutex_lock(native());
                       bool const dies = condition();
                       if (!dies)
                           pthread_mutex_unlock(native());
                       return dies;
                   })
            .result();
    }

private:
    pthread_mutex_t* native() { return Look::lock(m_event).native_handle(); }

    _cEvent& m_event;
};

// The waiter that does not get the lock leaves its place behind, which is taken out here. Its time is made longer until
// it has joined when the lock is lost.
TEST(EventWithoutResources, failure_of_the_lock_after_the_end_of_the_time_passes)
{
    auto const event = make_event(_cEvent::eEventPulse);
    bool lost = false;
    for (unsigned int timeout = 10; !lost; timeout *= 2)
    {
        MortalLock lock(*event);
        Background<bool> waiter(
            [&event, timeout]
            {
                bool const failed = fails_by_the_lock([&event, timeout] { event->Wait(timeout); });
                if (failed)
                    Look::lock(*event).unlock();
                return failed;
            });
        while (!lost && !waiter.has_ended())
            lost = lock.dies_if([&event] { return Look::waiters(*event).GetCount() == 1; });
        EXPECT_EQ(waiter.result(), lost);
        Look::waiters(*event).Resize(0);
    }
    EXPECT_EQ(event->Wait(1), -1);
}

} // namespace
