#include "ORVA/Threading/MultipleEvent.h"

#include <thread>
#include <utility>

// Why no signal is lost. A signaller stores the event's state first and calls `Set` then, which needs this object's
// lock; a waiter looks at the states and joins the queue in one hold of that lock. So either the waiter sees the new
// state, or `Set` comes after the waiter has joined, and releases it.

namespace ORVA::Threading
{

namespace
{

// "Nothing is signalled yet", which makes it an index that cannot be told.
constexpr unsigned long nothing_signaled = 1024;
constexpr unsigned long look_failed = static_cast<unsigned long>(-3L);

using Guard = std::lock_guard<boost::mutex>;

bool is_signaled(CPEvent const& event) noexcept
{
    _cEvent const* const plain = event.GetHandle();
    return plain != nullptr && plain->getState() == _cEvent::eEventSignaled;
}

} // namespace

// Runs a step that takes the lock of an event inside this object's. It has no result if a signal, which takes the two
// the other way round, has that lock and is or will be waiting for this one: then this one is given up for a moment.
template <class Step>
bool _cMultipleEvent::_with_event(Step step)
{
    for (;; std::this_thread::yield())
    {
        Guard const lock(m_lock);
        if (std::optional<bool> const result = step())
            return *result;
    }
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
    return _with_event([&] { return _attach(event, *plain); });
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
    return _with_event([&] { return _detach(*plain); });
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
    if (m_barrier.load(std::memory_order_relaxed) && !_all_signaled())
        return false;
    try
    {
        return signal(index);
    }
    catch (...)
    {
        return false;
    }
}

long _cMultipleEvent::Wait(unsigned int milliseconds)
{
    std::unique_lock<boost::mutex> lock(m_lock);
    unsigned long const outcome = _look();
    if (outcome != nothing_signaled)
        return static_cast<long>(outcome);
    return _wait(lock, milliseconds);
}

bool _cMultipleEvent::Reset(unsigned long index)
{
    return _with_event([&] { return _reset(index); });
}

bool _cMultipleEvent::ResetAll()
{
    unsigned long index = 0;
    return _with_event(
        [&]() -> std::optional<bool>
        {
            while (index < m_events.GetCount())
            {
                if (!_reset(index))
                    return std::nullopt;
                ++index;
            }
            return false;
        });
}

std::optional<bool> _cMultipleEvent::_reset(unsigned long index)
{
    if (index >= m_events.GetCount())
        return false;
    _cEvent* const plain = m_events[index].GetHandle();
    return plain == nullptr ? false : plain->_try_reset();
}

unsigned long _cMultipleEvent::_look()
{
    try
    {
        if (!m_events)
            return nothing_signaled;
        unsigned long const outcome = m_barrier.load(std::memory_order_relaxed) ? _look_for_all() : _look_for_any();
        if (outcome == nothing_signaled)
            m_state.store(eEventReset, std::memory_order_release);
        return outcome;
    }
    catch (...)
    {
        return look_failed;
    }
}

unsigned long _cMultipleEvent::_look_for_any() const
{
    unsigned long const count = m_events.GetCount();
    for (unsigned long index = 0; index < count; ++index)
    {
        if (is_signaled(m_events[index]))
            return index;
    }
    return nothing_signaled;
}

unsigned long _cMultipleEvent::_look_for_all() const
{
    return _all_signaled() ? 0 : nothing_signaled;
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

bool _cMultipleEvent::_all_signaled() const noexcept
{
    for (CPEvent const& event : m_events)
    {
        if (!is_signaled(event))
            return false;
    }
    return true;
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
