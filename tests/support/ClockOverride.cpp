#include "support/ClockOverride.h"

namespace
{

std::atomic<support::ClockOverride*> active{nullptr};

} // namespace

// The names are those that the linker's --wrap gives.
extern "C" unsigned long __real__ZN4ORVA4Core2OS10GetTimeNowEv();
extern "C" unsigned long __wrap__ZN4ORVA4Core2OS10GetTimeNowEv();

extern "C" unsigned long __wrap__ZN4ORVA4Core2OS10GetTimeNowEv()
{
    support::ClockOverride* const clock = active;
    return clock == nullptr ? __real__ZN4ORVA4Core2OS10GetTimeNowEv() : clock->read();
}

namespace support
{

ClockOverride::ClockOverride(unsigned long now) : m_now(now)
{
    active = this;
}

ClockOverride::~ClockOverride()
{
    active = nullptr;
}

unsigned long ClockOverride::read()
{
    if (before_read)
        before_read();
    ++m_reads;
    return m_now;
}

} // namespace support
