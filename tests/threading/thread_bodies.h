/// @file
/// Bodies for the tests of threads, and the signals by which a test and a body wait for each other.
#pragma once

#include "ORVA/Buffers/Object.h"
#include "ORVA/Threading/CurrentThread.h"
#include "ORVA/Threading/Thread.h"
#include "ORVA/Threading/ThreadContext.h"

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace threads
{

constexpr unsigned int no_limit = 0xFFFFFFFFU;
/// Milliseconds far beyond any wait that is to succeed, and still an end for one that does not.
constexpr unsigned int plenty = 30000;
/// Milliseconds far beyond the 5 seconds of a `Terminate`.
constexpr unsigned int very_long = 600000;

/// Set once and for all. Waiting for it is no interruption point.
class Signal
{
public:
    void set()
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        m_set = true;
        m_changed.notify_all();
    }

    /// False if it is not set in time.
    bool wait(unsigned int milliseconds = plenty)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::milliseconds(milliseconds), [this] { return m_set; });
    }

    bool is_set()
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        return m_set;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_set = false;
};

/// Sets its signal when the last copy of it goes.
class Trace
{
public:
    explicit Trace(std::shared_ptr<Signal> gone) : m_last(gone.get(), [gone](Signal* signal) { signal->set(); }) {}

private:
    std::shared_ptr<Signal> m_last;
};

/// Runs whatever the test gives it.
struct Task
{
    std::function<void()> work;
    void run() { work(); }
};

using Context = ORVA::Threading::CPThreadContext<Task>;

/// A context that runs `work`.
inline Context context_of(std::function<void()> work)
{
    Context context;
    context.create()->work = std::move(work);
    return context;
}

/// False if the body does not get to `code` in time.
inline bool reaches(Context& context, unsigned int code)
{
    auto const end = std::chrono::steady_clock::now() + std::chrono::milliseconds(plenty);
    while (context->exitCode() != code)
    {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::yield();
    }
    return true;
}

/// A body that says when it runs and stays until it is let go, whatever interrupts it.
class Stubborn
{
public:
    Stubborn()
        : m_context(context_of(
              [started = m_started, let_go = m_let_go]
              {
                  started->set();
                  let_go->wait();
              }))
    {
    }
    ~Stubborn() { let_go(); }
    Stubborn(Stubborn const&) = delete;
    Stubborn& operator=(Stubborn const&) = delete;

    Context& context() { return m_context; }
    bool wait_until_it_runs() { return m_started->wait(); }
    void let_go() { m_let_go->set(); }

private:
    std::shared_ptr<Signal> m_started = std::make_shared<Signal>();
    std::shared_ptr<Signal> m_let_go = std::make_shared<Signal>();
    Context m_context;
};

/// Stays until the calling thread is interrupted, which is still to take effect then. False if it is not in time.
inline bool wait_for_interruption()
{
    auto const end = std::chrono::steady_clock::now() + std::chrono::milliseconds(plenty);
    while (!boost::this_thread::interruption_requested())
    {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::yield();
    }
    return true;
}

/// A body that sleeps until it is interrupted.
inline Context sleeper()
{
    return context_of([] { ORVA::Threading::CurrentThread::sleep(very_long); });
}

struct Before
{
    virtual long first() { return 0; }
    long field = 0;

protected:
    ~Before() = default;
};

/// An object that offers `IThreadExecute` at an offset of its own.
class Offset : public Before, public ORVA::Threading::IThreadExecute
{
public:
    std::function<void()> work = [] {};

    void execute() override { work(); }
    unsigned int exitCode() override { return 0; }
    virtual void* queryInterface(_nqfUID const& uid) const
    {
        using ORVA::Threading::IThreadExecute;
        bool const known = std::memcmp(&uid, &__nqf_uuidof<IThreadExecute>(), sizeof(uid)) == 0;
        return known ? static_cast<IThreadExecute*>(const_cast<Offset*>(this)) : nullptr;
    }
};

/// A block that offers no interface.
inline ORVA::Buffers::CPObjectMemory block_without_interface()
{
    ORVA::Buffers::CPObject<long> block;
    block.create();
    return block;
}

} // namespace threads
