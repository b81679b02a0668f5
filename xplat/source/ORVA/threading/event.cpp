#include "ORVA/Threading/Event.h"

#include "BaseOS_Unix_common/pause.h"
#include "threading/event_waiter.h"

#include <boost/chrono/system_clocks.hpp>

#include <thread>
#include <utility>

// How a timed wait ends without touching what is gone. W waits in its own frame, S signals, D destroys the event.
//
// 1. W's time is over: it decides its record, or finds it decided.
// 2. S or D, under the lock, come to W's record: each decides it before writing to it.
//
// - S or D decide first: they write the result and open the gate. W, which is too late, goes back to the gate, which is
//   about to open, takes the result and does not look at the event again: D may have freed it.
// - W decides first: it is on its way to the lock, and its frame lives until it has had it. S leaves the record alone
//   but keeps it in sight among the strays, since the list is emptied. D gives the lock up and comes back until W has
//   been there, so the lock outlives W's need of it. W finds itself in the list or not, and knows whether a signal came
//   first.
//
// A waiter that lost its place in the list, because another one that ran out of time took the last entry away, is a
// stray too: no signal goes through the strays, but D does, so that it does not come for the lock of an event that is
// gone.
//
// How a wait ends without blocking. To be put to sleep and woken takes longer than most answers of another thread, so W
// looks out for its release for a moment after it has given the lock up.
//
// - S or D release W while it looks: their exchange of W's place is the last that they do to the record, and W, which
//   sees it, touches neither the gate nor the event any more.
// - W stops looking first: from there on all is as above. Its time cannot be over before that, so it never decides while
//   it looks.
//
// W joins before it looks, with its gate closed: the order of those who wait, and what each of them gets, do not depend
// on the looking. Only how W learns of its release does. Whoever has a timeout of 0 never joins.

namespace ORVA::Threading
{

namespace
{

constexpr unsigned long value_when_invalid = static_cast<unsigned long>(-2L);
constexpr unsigned long value_of_initial_signal = 1024;
constexpr long timed_out = -1;

using Guard = std::lock_guard<boost::mutex>;
using Attempt = std::unique_lock<boost::mutex>;

// The element type of the list is a formality.
_cEvent* as_entry(tagEVENTWAITER& waiter)
{
    return reinterpret_cast<_cEvent*>(&waiter);
}

tagEVENTWAITER& as_waiter(_cEvent* entry)
{
    return *reinterpret_cast<tagEVENTWAITER*>(entry);
}

// False if the waiter's time was over before: it is on its way to the lock.
bool release(tagEVENTWAITER& waiter, unsigned long result) noexcept
{
    if (!waiter.decide())
        return false;
    waiter.result = result;
    try
    {
        waiter.release();
    }
    catch (...)
    {
        // the others have to be served all the same
    }
    return true;
}

// About what it takes to block and be woken: looking costs a waiter at most as much again.
constexpr boost::chrono::microseconds longest_look_out(5);
constexpr unsigned int looks_between_clocks = 16;

// With one processor, whoever is to release a waiter cannot run while it looks out. Asked once.
bool is_looking_worthwhile()
{
    static bool const result = std::thread::hardware_concurrency() != 1;
    return result;
}

bool is_released_soon(tagEVENTWAITER& waiter)
{
    auto const end = boost::chrono::steady_clock::now() + longest_look_out;
    do
    {
        for (unsigned int look = 0; look < looks_between_clocks; ++look)
        {
            if (waiter.is_released())
                return true;
            Core::OS::pause_briefly();
        }
    } while (boost::chrono::steady_clock::now() < end);
    return !waiter.go_to_the_gate();
}

} // namespace

_cEvent::_cEvent() : m_state(eEventInvalid), m_value(value_when_invalid) {}

_cEvent::~_cEvent()
{
    while (!_dismiss_waiters())
        std::this_thread::yield();
}

// False if a waiter is on its way to the lock: it takes itself out of the list or the strays.
bool _cEvent::_dismiss_waiters()
{
    Guard const lock(m_lock);
    bool all_gone = true;
    for (_cEvent*& entry : m_waiters)
    {
        if (entry == nullptr)
            continue;
        if (release(as_waiter(entry), value_when_invalid))
            entry = nullptr;
        else
            all_gone = false;
    }
    for (tagEVENTWAITER** link = &m_strays; *link != nullptr;)
    {
        tagEVENTWAITER& stray = **link;
        tagEVENTWAITER* const next = stray.next_stray;
        if (release(stray, value_when_invalid))
        {
            *link = next;
        }
        else
        {
            all_gone = false;
            link = &stray.next_stray;
        }
    }
    return all_gone;
}

// The value is there before the state that makes it readable.
void _cEvent::initState(eEventState state)
{
    if (state == eEventSignaled)
        m_value.store(value_of_initial_signal, std::memory_order_relaxed);
    m_state.store(state, std::memory_order_release);
}

bool _cEvent::signal(unsigned long value)
{
    m_value.store(value, std::memory_order_relaxed);
    switch (getState())
    {
    case eEventSignaled:
        return true;
    case eEventReset:
        m_state.store(eEventSignaled, std::memory_order_release);
        break;
    case eEventPulse:
        break;
    default:
        return false;
    }
    if (!m_waiters && !m_listeners)
        return true;
    // Entries are cleared one by one, since a listener may signal this event once more before the list is emptied.
    for (_cEvent*& entry : m_waiters)
    {
        _cEvent* const waiter = std::exchange(entry, nullptr);
        if (waiter != nullptr && !release(as_waiter(waiter), value))
            _keep_in_sight(as_waiter(waiter));
    }
    for (_cEvent* const listener : m_listeners)
    {
        try
        {
            if (listener != nullptr)
                listener->Set(this);
        }
        catch (...)
        {
            // the others have to be told all the same
        }
    }
    m_waiters.Resize(0);
    return true;
}

bool _cEvent::Set(_cEvent* pSource)
{
    if (pSource != nullptr)
        return Develop::_isfalse_(false, "threading,740:pSource==NULL");
    Guard const lock(m_lock);
    return signal(0);
}

bool _cEvent::Reset()
{
    eEventState const state = getState();
    if (state != eEventSignaled)
        return state != eEventInvalid;
    Guard const lock(m_lock);
    m_state.store(eEventReset, std::memory_order_release);
    return true;
}

std::optional<bool> _cEvent::_try_reset()
{
    eEventState const state = getState();
    if (state != eEventSignaled)
        return state != eEventInvalid;
    Attempt const lock(m_lock, std::try_to_lock);
    if (!lock)
        return std::nullopt;
    m_state.store(eEventReset, std::memory_order_release);
    return true;
}

// The usual answer of a signalled event comes first, before there is anything to be tidied up.
long _cEvent::Wait(unsigned int milliseconds)
{
    if (getState() == eEventSignaled)
        return static_cast<long>(m_value.load(std::memory_order_relaxed));
    std::unique_lock<boost::mutex> lock(m_lock, std::defer_lock);
    return _wait(lock, milliseconds);
}

long _cEvent::_wait(std::unique_lock<boost::mutex>& lock, unsigned int milliseconds)
{
    eEventState const state = getState();
    if (state == eEventInvalid)
        return static_cast<long>(value_when_invalid);
    if (state == eEventSignaled)
        return static_cast<long>(m_value.load(std::memory_order_relaxed));
    if (milliseconds == 0)
        return timed_out;

    tagEVENTWAITER waiter;
    bool const looks_out = is_looking_worthwhile();
    if (looks_out)
        waiter.look_out();
    if (!lock.owns_lock())
        lock.lock();
    bool const joined = _join(waiter);
    lock.unlock();
    if (!joined)
        return 0;
    if (looks_out && is_released_soon(waiter))
        return static_cast<long>(waiter.result);
    if (!waiter.gate.TryEnter(milliseconds))
    {
        if (waiter.decide())
            return _time_is_over(waiter);
        waiter.gate.Enter();
    }
    waiter.gate.Leave();
    return static_cast<long>(waiter.result);
}

// False if the event has been signalled since it was looked at, or the list cannot grow.
bool _cEvent::_join(tagEVENTWAITER& waiter)
{
    if (getState() == eEventSignaled)
        return false;
    waiter.gate.Enter();
    if (m_waiters.Insert(as_entry(waiter), m_waiters.GetCount()))
        return true;
    waiter.gate.Leave();
    return false;
}

// A waiter that is not in the list any more was passed by a signal, or has lost its place.
long _cEvent::_time_is_over(tagEVENTWAITER& waiter)
{
    Guard const lock(m_lock);
    bool const had_a_place = _leave(waiter);
    waiter.gate.Leave();
    return had_a_place ? timed_out : static_cast<long>(m_value.load(std::memory_order_relaxed));
}

// The last entry goes, whoever's it is. The waiter's own place is cleared, since its stack frame is about to go.
bool _cEvent::_leave(tagEVENTWAITER& waiter)
{
    for (_cEvent*& entry : m_waiters)
    {
        if (entry != as_entry(waiter))
            continue;
        entry = nullptr;
        _cEvent* const last = *(m_waiters.end() - 1);
        if (last != nullptr)
            _keep_in_sight(as_waiter(last));
        m_waiters.SetSize((m_waiters.GetCount() - 1) * sizeof(_cEvent*));
        return true;
    }
    tagEVENTWAITER** link = &m_strays;
    while (*link != &waiter)
        link = &(*link)->next_stray;
    *link = waiter.next_stray;
    return false;
}

void _cEvent::_keep_in_sight(tagEVENTWAITER& waiter) noexcept
{
    waiter.next_stray = m_strays;
    m_strays = &waiter;
}

bool _cEvent::attach(_cEvent* listener)
{
    if (getState() == eEventInvalid)
        return false;
    Guard const lock(m_lock);
    return _append_listener(listener);
}

std::optional<bool> _cEvent::_try_attach(_cEvent* listener)
{
    if (getState() == eEventInvalid)
        return false;
    Attempt const lock(m_lock, std::try_to_lock);
    return lock ? std::optional<bool>(_append_listener(listener)) : std::nullopt;
}

bool _cEvent::detach(_cEvent* listener)
{
    if (getState() == eEventInvalid)
        return false;
    Guard const lock(m_lock);
    return _remove_listener(listener);
}

std::optional<bool> _cEvent::_try_detach(_cEvent* listener)
{
    if (getState() == eEventInvalid)
        return false;
    Attempt const lock(m_lock, std::try_to_lock);
    return lock ? std::optional<bool>(_remove_listener(listener)) : std::nullopt;
}

bool _cEvent::_append_listener(_cEvent* listener)
{
    try
    {
        return m_listeners.Insert(listener, m_listeners.GetCount()) != 0;
    }
    // Not reached: a list of pointers gives 0 without memory, and copying them throws nothing.
    catch (...)
    {
        return false;
    }
}

// The last entry goes, whichever is named.
bool _cEvent::_remove_listener(_cEvent* listener)
{
    unsigned long const count = m_listeners.GetCount();
    unsigned long index = 0;
    while (index < count && m_listeners[index] != listener)
        ++index;
    if (index == count)
        return true;
    try
    {
        m_listeners.SetSize((count - 1) * sizeof(_cEvent*));
        if (count == 1)
            m_listeners.free();
        return true;
    }
    // Not reached: a list of pointers has nothing to destroy.
    catch (...)
    {
        return false;
    }
}

CPEvent::CPEvent(bool manualReset) : CPLockHandle(sizeof(_cEvent), _vtbl_cEvent)
{
    if (_cEvent* const event = GetHandle())
        event->initState(manualReset ? _cEvent::eEventReset : _cEvent::eEventPulse);
}

void _create_cEvent(void* payload, unsigned long)
{
    static_assert(alignof(_cEvent) <= 16, "a payload is aligned to 16 bytes");
    new (payload, _nqfDebugLevel(0)) _cEvent();
}

void _finalize_cEvent(void* payload, unsigned long)
{
    static_cast<_cEvent*>(payload)->_cEvent::~_cEvent();
}

Buffers::tagCPOVTABL const _vtbl_cEvent = {&_create_cEvent, nullptr, &_finalize_cEvent,
                                           &Buffers::CPObjectMemory::_nointerface};

} // namespace ORVA::Threading

namespace ORVA::Buffers
{

template class CPObjectVector<Threading::CPEvent>;

} // namespace ORVA::Buffers
