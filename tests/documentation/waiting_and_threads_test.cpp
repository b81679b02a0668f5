// The code of docs/waiting-and-threads.md.

#include "ORVA/Threading.h"

#include <gtest/gtest.h>

using namespace ORVA::Threading;

namespace
{

// [[guard]]
// Holds a lock for the length of a block.
template <class Lock>
class Held
{
public:
    explicit Held(Lock& lock) : m_lock(lock) { m_lock.Enter(); }
    ~Held() { m_lock.Leave(); }
    Held(Held const&) = delete;
    Held& operator=(Held const&) = delete;

private:
    Lock& m_lock;
};
// [[end]]

// [[locked]]
class Meter
{
public:
    void add(unsigned long frames)
    {
        Held<_cCriticalSection> const held(m_lock);
        m_frames += frames;
    }

    // Gives up after 10 milliseconds and tells so.
    bool read(unsigned long& frames)
    {
        if (!m_lock.TryEnter(10))
            return false;
        frames = m_frames;
        m_lock.Leave();
        return true;
    }

private:
    _cCriticalSection m_lock; // may be entered again by its holder; _cMutex may not
    unsigned long m_frames = 0;
};
// [[end]]

// [[body]]
struct Counter
{
    CPEvent stop{true};  // manual reset: stays signalled, so it is not missed
    CPEvent ready{true}; // signalled when the first step is done
    Meter* meter = nullptr;

    void run() // on the thread
    {
        do
        {
            meter->add(480);
            ready.Set();
        } while (stop.Wait(1) == -1); // -1: the time is over, nobody asked for the end
    }
};
// [[end]]

TEST(WaitingAndThreads, thread_is_asked_to_end_and_joined)
{
    // [[thread]]
    Meter meter;
    CPThreadContext<Counter> context;
    Counter* const counter = context.create(); // in a block, which the thread keeps
    if (counter == nullptr)
        return; // the heap is exhausted
    counter->meter = &meter;

    CPThread thread;
    if (!thread.Execute(context, 0)) // 0: the system's stack size
        return;
    bool const begun = counter->ready.Wait(5000) == 0; // 0: signalled by Set

    counter->stop.Set();                        // ask,
    bool const joined = thread.Wait(5000) == 0; // and wait; 0: it has ended and was joined
    bool const ended_well = joined && context->exitCode() == 3;
    // [[end]]
    EXPECT_TRUE(begun);
    EXPECT_TRUE(ended_well);
    unsigned long frames = 0;
    EXPECT_TRUE(meter.read(frames));
    EXPECT_GE(frames, 480U);
}

TEST(WaitingAndThreads, any_of_several_gives_the_lowest_index)
{
    // [[any]]
    CPEvent const data(true);
    CPEvent const stop(true);
    CPMultipleEvent const either(false); // any of them; true would be: all of them
    either.Attach(data);                 // index 0
    either.Attach(stop);                 // index 1

    stop.Set();
    long const which = either.Wait(1000); // 1; -1 when the time is over, -2 and -3 for failures
    stop.Reset();                         // waiting resets nothing
    // [[end]]
    EXPECT_EQ(which, 1);
    EXPECT_EQ(either.Wait(0), -1);
}

TEST(WaitingAndThreads, readers_share_and_the_writer_may_enter_again)
{
    // [[interlock]]
    CPRWInterlock lock;
    lock.EnterRead(); // any number of threads at once; not twice on one, or a waiting writer stops both
    lock.LeaveRead();

    lock.Enter();     // the write lock
    lock.EnterRead(); // the writer may read, and write again,
    lock.LeaveRead(); // and leaves what it entered
    lock.Leave();
    // [[end]]
    EXPECT_TRUE(lock.TryEnter(0));
    lock.Leave();
}

} // namespace
