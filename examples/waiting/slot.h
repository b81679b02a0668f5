/// @file
/// A place for one value, through which one thread hands values to another.
#pragma once

#include "ORVA/Threading.h"

#include <optional>

namespace waiting
{

/// The longest that anybody here waits for anybody else, in milliseconds.
constexpr unsigned int patience = 10000;

/// Two events take turns: `full` is signalled while there is a value to take, `free` while there is room for one. Each
/// of them has one waiter at most, which is what events with timed waits ask for.
///
/// What was written before a signal is seen after the wait that it ends, so the value itself needs no lock.
template <class T>
class Slot
{
public:
    Slot() { m_free.Set(); }
    Slot(Slot const&) = delete;
    Slot& operator=(Slot const&) = delete;

    /// False if nobody took the value before in time.
    bool put(T const& value)
    {
        if (m_free.Wait(patience) != 0)
            return false;
        m_free.Reset();
        m_value = value;
        return m_full.Set();
    }

    /// Nothing if nobody put a value here in time.
    std::optional<T> take()
    {
        if (m_full.Wait(patience) != 0)
            return std::nullopt;
        m_full.Reset();
        T const value = m_value;
        m_free.Set();
        return value;
    }

    /// For a multiple event: signalled while `take` would not block.
    ORVA::Threading::CPEvent const& full() const { return m_full; }

private:
    ORVA::Threading::CPEvent m_full{true};
    ORVA::Threading::CPEvent m_free{true};
    T m_value{};
};

} // namespace waiting
