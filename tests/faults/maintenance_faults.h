/// @file
/// What the tests of start and stop without memory share: a scheduler that is left quiet, and a thread that has to be given
/// up.
#pragma once

#include "faults/FaultTest.h"

#include "maintenance/services_for_tests.h"

#include <atomic>

namespace maintenance_faults
{

using namespace scheduler;
using events::until;
using ORVA::Threading::CPThread;

/// No thread, no services, no signals: before a test and behind it.
struct Quiet
{
    Quiet() { clear(); }
    ~Quiet() { clear(); }

    static void clear()
    {
        AppExit();
        _resetPending(false);
        g_cpMRStop.Reset();
        g_cpMRTrigger.Reset();
    }
};

/// A thread that `start` starts, that is stuck in a service, and that is given up at once by a stop: this then asks for
/// fresh events.
class Stuck
{
public:
    template <class Start>
    explicit Stuck(Start start)
    {
        m_calls.wait = [this](CPThread& thread, unsigned int milliseconds)
        { return support::MaintenanceCalls::real_wait(thread, m_gives_up ? 0 : milliseconds); };
        m_calls.terminate = [this](CPThread& thread)
        {
            m_abandoned = thread;
            thread.free();
            return false;
        };
        m_service->on_run = [this]
        {
            m_runs = true;
            until([this] { return m_let_go.load(); }, "the service to be let go");
            m_service->time = never;
        };
        EXPECT_TRUE(Register(m_service));
        start();
        until([this] { return m_runs.load(); }, "the service to run");
        m_gives_up = true;
    }

    /// The thread that was given up ends.
    ~Stuck()
    {
        m_let_go = true;
        EXPECT_EQ(support::MaintenanceCalls::real_wait(m_abandoned, 60000), 0);
        m_calls.wait = nullptr;
        m_calls.terminate = nullptr;
        EXPECT_EQ(m_service.lockcnt(), 1U);
    }

private:
    support::MaintenanceCalls m_calls;
    bool m_gives_up = false;
    std::atomic<bool> m_runs{false};
    std::atomic<bool> m_let_go{false};
    CPThread m_abandoned;
    Block m_service = service();
};

} // namespace maintenance_faults
