#include "ORVA/Threading/MultipleEvent.h"

#include "threading/event_look.h"

#include <utility>

// Why no signal is lost. A signaller stores the event's state first and calls `Set` then, which needs this object's
// lock; a waiter looks at the states and joins the queue in one hold of that lock. So either the waiter sees the new
// state, or `Set` comes after the waiter has joined, and releases it.
//
// Why a signal and an operation on the same event do not wait for each other. The signal has the event's lock and comes
// for this object's. What is done here has this object's lock and only tries the event's: if somebody has that, this
// object's is given up until the other one is free, and all begins anew.

namespace ORVA::Threading
{

namespace
{

using Guard = std::lock_guard<boost::mutex>;

} // namespace

// Runs a step under this object's lock until it has a result. It has none while somebody has the lock of `event`; if
// that lock fails the result is false.
template <class Step>
bool _cMultipleEvent::_with_event(_cEvent& event, Step step)
{
    for (;;)
    {
        {
            Guard const lock(m_lock);
            if (std::optional<bool> const result = step())
                return *result;
        }
        try
        {
            _wait_for_lock_of(event);
        }
        catch (boost::lock_error const&)
        {
            return false;
        }
    }
}

void _cMultipleEvent::_wait_for_lock_of(_cEvent& event)
{
    Guard const lock(event.m_lock);
}

_cMultipleEvent::_cMultipleEvent()
{
    initState(eEventReset);
}

// The events go outside of the lock: the last reference to one may be among those dropped here.
_cMultipleEvent::~_cMultipleEvent()
{
    Buffers::CPObjectVector<CPEvent> events;
    Guard const lock(m_lock);
    events = std::move(m_events);
}

bool _cMultipleEvent::initBarrier(bool barrier)
{
    Guard const lock(m_lock);
    if (m_events)
        return false;
    m_barrier.store(barrier, std::memory_order_relaxed);
    return true;
}

bool _cMultipleEvent::AttachSingle(CPEvent const& event)
{
    _cEvent* const plain = event.GetHandle();
    if (plain == nullptr)
        return false;
    if (m_barrier.load(std::memory_order_relaxed))
    {
        eEventState const state = plain->getState();
        if (state != eEventReset && state != eEventSignaled)
            return false;
    }
    return _with_event(*plain, [&] { return _attach(event, *plain); });
}

std::optional<bool> _cMultipleEvent::_attach(CPEvent const& event, _cEvent& plain)
{
    if (m_waiters)
        return false;
    try
    {
        unsigned long const index = m_events.GetCount();
        if (!m_events.Insert(event, index))
            return false;
        std::optional<bool> const attached = plain._try_attach(this);
        if (attached != true)
            m_events.Delete(index, true);
        return attached;
    }
    // Not reached: the list gives 0 without memory, and a try for a lock throws nothing.
    catch (...)
    {
        return false;
    }
}

bool _cMultipleEvent::DetachSingle(CPEvent const& event)
{
    _cEvent* const plain = event.GetHandle();
    if (plain == nullptr)
        return false;
    return _with_event(*plain, [&] { return _detach(*plain); });
}

std::optional<bool> _cMultipleEvent::_detach(_cEvent& plain)
{
    if (m_waiters)
        return false;
    unsigned long const index = _index_of(&plain);
    if (index == m_events.GetCount())
        return false;
    try
    {
        std::optional<bool> const detached = plain._try_detach(this);
        if (detached == true)
            m_events.Delete(index, true);
        return detached;
    }
    // Not reached: neither a try for a lock nor the release of an event throws.
    catch (...)
    {
        return false;
    }
}

bool _cMultipleEvent::Set(_cEvent* pSource)
{
    Guard const lock(m_lock);
    if (!m_waiters)
        return false;
    unsigned long const index = _index_of(pSource);
    if (index == m_events.GetCount())
        return false;
    if (m_barrier.load(std::memory_order_relaxed) && !all_signaled(m_events))
        return false;
    try
    {
        return signal(index);
    }
    // Not reached: a signal keeps what its waiters and listeners throw.
    catch (...)
    {
        return false;
    }
}

long _cMultipleEvent::Wait(unsigned int milliseconds)
{
    std::unique_lock<boost::mutex> lock(m_lock);
    unsigned long const outcome = look_at(m_events, m_barrier.load(std::memory_order_relaxed));
    if (outcome != nothing_signaled)
        return static_cast<long>(outcome);
    if (m_events)
        m_state.store(eEventReset, std::memory_order_release);
    return _wait(lock, milliseconds);
}

bool _cMultipleEvent::Reset(unsigned long index)
{
    std::unique_lock<boost::mutex> lock(m_lock);
    return _reset(index, lock);
}

bool _cMultipleEvent::ResetAll()
{
    std::unique_lock<boost::mutex> lock(m_lock);
    for (unsigned long index = 0; index < m_events.GetCount(); ++index)
        _reset(index, lock);
    return false;
}

// Called and left with the lock held.
bool _cMultipleEvent::_reset(unsigned long index, std::unique_lock<boost::mutex>& lock)
{
    while (index < m_events.GetCount())
    {
        CPEvent const event = m_events[index];
        _cEvent* const plain = event.GetHandle();
        if (plain == nullptr)
            return false;
        if (std::optional<bool> const result = plain->_try_reset())
            return *result;
        lock.unlock();
        _wait_for_lock_of(*plain);
        lock.lock();
    }
    return false;
}

// The number of events if it is not among them.
unsigned long _cMultipleEvent::_index_of(_cEvent const* event) const noexcept
{
    unsigned long const count = m_events.GetCount();
    unsigned long index = 0;
    while (index < count && m_events[index].GetHandle() != event)
        ++index;
    return index;
}

CPMultipleEvent::CPMultipleEvent(bool barrier) : CPLockHandle(sizeof(_cMultipleEvent), _vtbl_cMultipleEvent)
{
    if (_cMultipleEvent* const object = _object())
        object->initBarrier(barrier);
}

void _create_cMultipleEvent(void* payload, unsigned long)
{
    static_assert(alignof(_cMultipleEvent) <= 16, "a payload is aligned to 16 bytes");
    new (payload, _nqfDebugLevel(0)) _cMultipleEvent();
}

void _finalize_cMultipleEvent(void* payload, unsigned long)
{
    static_cast<_cMultipleEvent*>(payload)->_cMultipleEvent::~_cMultipleEvent();
}

Buffers::tagCPOVTABL const _vtbl_cMultipleEvent = {&_create_cMultipleEvent, nullptr, &_finalize_cMultipleEvent,
                                                   &Buffers::CPObjectMemory::_nointerface};

} // namespace ORVA::Threading
