#include "threading/multiple_event_fixture.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <pthread.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

// Signals at chosen moments of another thread's first wait. A moment is the one before the n-th lock that the thread
// takes: before the look at the events; between the look and the joining of the queue, where the lock of the object is
// held; before the thread blocks.
//
// The function below stands in front of the system's own in the whole test program. It does nothing else unless the
// thread has an interruption.
namespace
{

using namespace events;

struct Interruption
{
    unsigned int at_lock; ///< 1 is the next one; 0 never, for a count
    std::function<void()> action = {};
    std::vector<pthread_mutex_t*> taken = {};
};

thread_local Interruption* interruption = nullptr;

void before_lock(pthread_mutex_t* mutex)
{
    Interruption* const current = std::exchange(interruption, nullptr);
    current->taken.push_back(mutex);
    if (current->taken.size() == current->at_lock)
        current->action();
    interruption = current;
}

} // namespace

// Under a thread sanitizer that is part of the program the system's function alone would be hidden from it; and the
// libraries have to come here too, or it sees them unlock what it never saw them lock.
extern "C" int __interceptor_pthread_mutex_lock(pthread_mutex_t* mutex) __attribute__((weak));

extern "C" __attribute__((visibility("default"))) int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept
{
    using Function = int(pthread_mutex_t*);
    static Function* const next = __interceptor_pthread_mutex_lock != nullptr
                                      ? &__interceptor_pthread_mutex_lock
                                      : reinterpret_cast<Function*>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    if (interruption != nullptr)
        before_lock(mutex);
    return next(mutex);
}

namespace
{

/// Interrupts the calling thread while it lives.
class Interrupted
{
public:
    explicit Interrupted(Interruption& what) { interruption = &what; }
    ~Interrupted() { interruption = nullptr; }
    Interrupted(Interrupted const&) = delete;
    Interrupted& operator=(Interrupted const&) = delete;
};

// The first wait on three events, of which the last is signalled at the moment that is given. A barrier's others are
// signalled before.
long wait_with_signal_at(unsigned int moment, bool barrier, unsigned int timeout)
{
    CPMultipleEvent const multiple(barrier);
    CPEvent const events[] = {CPEvent(true), CPEvent(true), CPEvent(true)};
    for (CPEvent const& event : events)
    {
        EXPECT_TRUE(multiple.Attach(event));
        if (barrier && &event != &events[2])
            event.Set();
    }
    pthread_mutex_t* const lock = Look::lock(object(multiple)).native_handle();
    return Background<>(
               [&]
               {
                   std::optional<Background<bool>> signaller;
                   Interruption now{moment};
                   now.action = [&]
                   {
                       signaller.emplace([&] { return events[2].Set(); });
                       std::size_t const count = now.taken.size();
                       bool const is_held = count > 1 && now.taken[count - 2] == lock && now.taken[count - 1] != lock;
                       if (is_held)
                           until([&] { return events[2].GetHandle()->getState() == _cEvent::eEventSignaled; });
                       else
                           until([&] { return signaller->has_ended(); });
                   };
                   long const result = [&]
                   {
                       Interrupted const here(now);
                       return multiple.Wait(timeout);
                   }();
                   EXPECT_TRUE(signaller && signaller->result()) << "moment " << moment;
                   return result;
               })
        .result();
}

TEST(MultipleEventMoments, signal_before_the_look_is_seen)
{
    for (unsigned int const timeout : {no_limit, plenty})
    {
        EXPECT_EQ(wait_with_signal_at(1, false, timeout), 2);
        EXPECT_EQ(wait_with_signal_at(1, true, timeout), 0) << "all were signalled on entry";
    }
    EXPECT_EQ(wait_with_signal_at(1, false, 0), 2);
}

TEST(MultipleEventMoments, signal_between_the_look_and_the_joining_finds_the_thread_in_the_queue)
{
    for (unsigned int const timeout : {no_limit, plenty})
    {
        for (bool const barrier : {false, true})
            EXPECT_EQ(wait_with_signal_at(2, barrier, timeout), 2);
    }
}

TEST(MultipleEventMoments, signal_before_the_thread_blocks_releases_it)
{
    for (unsigned int const timeout : {no_limit, plenty})
    {
        for (bool const barrier : {false, true})
            EXPECT_EQ(wait_with_signal_at(3, barrier, timeout), 2);
    }
}

// The locks that this thread takes in `operation`, by how often `lock` is among them.
template <class Operation>
long times_locked(pthread_mutex_t* lock, Operation operation)
{
    Interruption count{0};
    {
        Interrupted const here(count);
        operation();
    }
    return std::count(count.taken.begin(), count.taken.end(), lock);
}

TEST(MultipleEventMoments, first_wait_looks_and_joins_in_one_hold_of_the_lock)
{
    CPMultipleEvent const any(false);
    CPEvent const event(true);
    EXPECT_TRUE(any.Attach(event));
    pthread_mutex_t* const lock = Look::lock(object(any)).native_handle();
    EXPECT_EQ(times_locked(lock, [&] { EXPECT_EQ(any.Wait(0), -1); }), 1);
    EXPECT_EQ(times_locked(lock, [&] { EXPECT_EQ(any.Wait(1), -1); }), 2) << "and once more to leave the queue";
    event.Set();
    EXPECT_EQ(times_locked(lock, [&] { EXPECT_EQ(any.Wait(no_limit), 0); }), 1);
}

TEST(MultipleEventMoments, look_takes_no_lock_of_an_event)
{
    CPMultipleEvent const any(false);
    CPEvent const event(true);
    EXPECT_TRUE(any.Attach(event));
    pthread_mutex_t* const lock = Look::lock(*event.GetHandle()).native_handle();
    for (unsigned int round = 0; round < 2; ++round)
    {
        EXPECT_EQ(times_locked(lock, [&] { any.Wait(0); }), 0);
        event.Set();
    }
}

// Once for its events and once for the waiters of its base.
TEST(MultipleEventMoments, destructor_takes_the_lock_for_either_list)
{
    CPMultipleEvent any(false);
    pthread_mutex_t* const lock = Look::lock(object(any)).native_handle();
    EXPECT_EQ(times_locked(lock, [&] { any.free(); }), 2);
}

} // namespace
