/// @file
/// What the tests of multiple events share.
#pragma once

#include "ORVA/Threading/MultipleEvent.h"

#include "threading/event_threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>

namespace events
{

/// For what holds in both modes. The parameter is true for a barrier.
class EitherMode : public testing::TestWithParam<bool>
{
protected:
    CPMultipleEvent const multiple{GetParam()};
};

/// Blocks once, in vain, on what has nothing signalled.
inline void block_once(CPMultipleEvent const& multiple)
{
    EXPECT_EQ(multiple.Wait(1), -1);
}

/// The lock of an event in the hands of a thread in the middle of a signal: the state is set, and a listener keeps the
/// thread from going on.
class SignalInProgress
{
public:
    explicit SignalInProgress(CPEvent const& event)
        : m_event(event), m_listener(
                              [this](_cEvent*)
                              {
                                  m_is_told = true;
                                  until([this] { return m_may_go_on.load(); }, "the end of the signal");
                                  return true;
                              })
    {
        EXPECT_TRUE(m_event.GetHandle()->attach(&m_listener));
        m_signaller.emplace([this] { return m_event.Set(); });
        until([this] { return m_is_told.load(); }, "the listener to be told");
    }
    ~SignalInProgress() { m_may_go_on = true; }

    void end()
    {
        m_may_go_on = true;
        EXPECT_TRUE(m_signaller->result());
    }

private:
    CPEvent m_event;
    Listener m_listener;
    std::atomic<bool> m_is_told{false};
    std::atomic<bool> m_may_go_on{false};
    std::optional<Background<bool>> m_signaller;
};

} // namespace events
