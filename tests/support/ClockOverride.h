/// @file
/// Makes `Core::OS::GetTimeNow()` give the time that a test says, on every thread.
///
/// Link a test that uses this with `-Wl,--wrap=_ZN4ORVA4Core2OS10GetTimeNowEv` against the library's objects.
#pragma once

#include <atomic>
#include <functional>

namespace support
{

/// While it lives, the wall clock stands at the time given. One lives at a time.
class ClockOverride
{
public:
    explicit ClockOverride(unsigned long now);
    ~ClockOverride();
    ClockOverride(ClockOverride const&) = delete;
    ClockOverride& operator=(ClockOverride const&) = delete;

    /// From any thread.
    void set(unsigned long now) { m_now = now; }
    void advance(unsigned long milliseconds) { m_now += milliseconds; }
    unsigned long now() const { return m_now; }

    /// How often the clock has been read.
    unsigned long reads() const { return m_reads; }

    /// Called before each read, by the thread that reads. To be set while no other thread reads the clock.
    std::function<void()> before_read;

    /// What a read of the clock gives.
    unsigned long read();

private:
    std::atomic<unsigned long> m_now;
    std::atomic<unsigned long> m_reads{0};
};

} // namespace support
