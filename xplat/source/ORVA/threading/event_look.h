/// @file
/// What a multiple event sees in its events before it blocks.
///
/// The states are read without the events' locks. `Events` is a `CPObjectVector<CPEvent>`, or what a test puts in its
/// place; the caller serialises access to it.
#pragma once

#include "ORVA/Threading/Event.h"

namespace ORVA::Threading
{

/// "Nothing is signalled yet", which makes it an index that cannot be told.
inline constexpr unsigned long nothing_signaled = 1024;
inline constexpr unsigned long look_failed = static_cast<unsigned long>(-3L);

inline bool is_signaled(CPEvent const& event) noexcept
{
    _cEvent const* const plain = event.GetHandle();
    return plain != nullptr && plain->getState() == _cEvent::eEventSignaled;
}

/// True for no events at all.
template <class Events>
bool all_signaled(Events const& events)
{
    for (CPEvent const& event : events)
    {
        if (!is_signaled(event))
            return false;
    }
    return true;
}

/// The lowest index of a signalled event, or `nothing_signaled`.
template <class Events>
unsigned long first_signaled(Events const& events)
{
    unsigned long index = 0;
    for (CPEvent const& event : events)
    {
        if (is_signaled(event))
            return index;
        ++index;
    }
    return nothing_signaled;
}

/// What a wait is to give, 0 for a barrier that is complete; `nothing_signaled` if it has to block; `look_failed` for
/// any exception. A list with a block that has no event in it completes a barrier, one without a block does not.
template <class Events>
unsigned long look_at(Events const& events, bool barrier) noexcept
{
    try
    {
        if (!events)
            return nothing_signaled;
        if (!barrier)
            return first_signaled(events);
        return all_signaled(events) ? 0 : nothing_signaled;
    }
    catch (...)
    {
        return look_failed;
    }
}

} // namespace ORVA::Threading
