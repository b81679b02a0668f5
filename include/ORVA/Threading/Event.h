/// @file
/// The event: threads wait for a signal and get the value that it was given.
///
/// | state | `Wait` | `signal(v)`, `Set()` is `signal(0)` | `Reset` |
/// |---|---|---|---|
/// | `eEventInvalid` | -2 | false; the value becomes v | false |
/// | `eEventReset` | blocks | all waiters get v; to `eEventSignaled` | true |
/// | `eEventSignaled` | the value, at once | true; the value becomes v, nobody is told | true; to `eEventReset` |
/// | `eEventPulse` | blocks | those who wait now get v; the state stays | true |
///
/// A plain `_cEvent` starts as `eEventInvalid`, with value -2. `initState` leads from any state to any other.
///
/// What a wait gives:
///
/// | result | meaning |
/// |---|---|
/// | -3 | an exception was caught while a multiple event looked at its events; not from a plain event |
/// | -2 | the event is invalid or was destroyed during the wait, or the handle is empty |
/// | -1 | the time is over |
/// | 0 | signalled by `Set`; or a signal, whatever its value, that came between the look at the state and the joining of the queue; or no memory to join it |
/// | other | the value of the signal; 1024 after `initState(eEventSignaled)` |
///
/// Timeouts are milliseconds of a monotonic clock in an `unsigned int`: 0 never blocks, 0xFFFFFFFF waits without limit.
///
/// **One timed waiter per event.** A waiter that runs out of time shortens the queue by its *last* entry, whoever's
/// that is. If it was not the last itself, the last waiter has lost its place: no signal releases it, and when its own
/// time is over it gets the event's value (-2 if there never was a signal) instead of -1. Only the destruction of the
/// event still reaches it. Where several threads wait with a timeout, give each an event of its own and signal them
/// all; any number of threads may wait on one event without limit.
///
/// **One listener per event.** `detach` works alike: of several listeners the last attached goes, not the one named,
/// which stays in the list and must go on living. Give each multiple event events of its own.
///
/// Thread-safety: all operations may be called from any thread. What a thread wrote before a signal is seen by those
/// whose wait ended by it. The event's lock is held while listeners are told, so a listener takes its own lock inside
/// it; of the event's operations it may call `signal`, `initState` and `getState`, which take none.
///
/// Ownership: listeners are not owned; each must detach before either side is destroyed. An event may be destroyed
/// while threads wait on it, not while they begin to. Destruction tells no listener.
#pragma once

#include "ORVA/Buffers/ObjectVector.h"
#include "ORVA/Buffers/PlainVector.h"
#include "ORVA/Threading/LockHandle.h"

#include <boost/thread/mutex.hpp>

#include <atomic>
#include <mutex>
#include <optional>

namespace ORVA::Threading
{

struct tagEVENTWAITER;

/// An event. `_cMultipleEvent` derives from it; so may others who want to be told of signals.
class ORVA_API _cEvent
{
public:
    /// The states of the table above.
    enum eEventState : unsigned int
    {
        eEventInvalid = 0,  ///< nothing works
        eEventReset = 1,    ///< manual reset, not signalled
        eEventSignaled = 2, ///< manual reset, signalled until `Reset`
        eEventPulse = 3     ///< automatic: a signal releases those who wait now and leaves nothing behind
    };

    /// An event that is invalid until `initState`. Throws `boost::thread_resource_error` if the system has no more
    /// locks.
    _cEvent();
    /// Releases all waiters with -2.
    ~_cEvent();
    _cEvent(_cEvent const&) = delete;
    _cEvent& operator=(_cEvent const&) = delete;

    /// The public signal, `signal(0)`. A plain event accepts no source: one that is not null is reported, with result
    /// false and no signal. For a listener, `pSource` is the event that was signalled, whose lock is held.
    virtual bool Set(_cEvent* pSource);

    /// Waits for a signal up to `milliseconds`; the results stand above. A signalled event answers without its lock. A
    /// thread that has to wait looks out for the signal for 5 microseconds before it blocks, unless the machine
    /// has one processor only; the time begins behind that.
    /// Throws `boost::thread_resource_error` if the system has no more locks for a thread that has to block.
    virtual long Wait(unsigned int milliseconds);

    /// Back to unsignalled; the value stays. False for an invalid event. Takes no lock unless the event is signalled.
    bool Reset();

    /// Sets the state, and the value 1024 with `eEventSignaled`. Takes no lock and tells nobody: for an event that is
    /// not in use yet.
    void initState(eEventState state);

    /// The state at this moment. Takes no lock.
    eEventState getState() const noexcept { return m_state.load(std::memory_order_acquire); }

    /// Appends a listener, whose `Set` is called by each signal that is not to a signalled event. False for an invalid
    /// event and if the heap is exhausted. A listener that is attached twice is told twice.
    bool attach(_cEvent* listener);

    /// Takes a listener off: the **last** one, whichever is named (see above). True as well if the one named is not
    /// there, and then nothing goes. False for an invalid event.
    bool detach(_cEvent* listener);

    /// The signal proper; the caller holds the lock. False for an invalid event, whose value changes all the same.
    /// Exceptions of listeners are dropped.
    bool signal(unsigned long value);

protected:
    /// `_cEvent::Wait` for a caller who may hold the lock already: then nothing can come between what the caller saw
    /// under it and its joining the queue. The lock is given up before the thread blocks.
    long _wait(std::unique_lock<boost::mutex>& lock, unsigned int milliseconds);

private:
    // A multiple event comes for this lock with its own lock held, and a signal the other way round. So these do not
    // wait for the lock: they do nothing and give no result while somebody else has it.
    friend class _cMultipleEvent;
    std::optional<bool> _try_attach(_cEvent* listener);
    std::optional<bool> _try_detach(_cEvent* listener);
    std::optional<bool> _try_reset();

    bool _append_listener(_cEvent* listener);
    bool _remove_listener(_cEvent* listener);
    bool _join(tagEVENTWAITER& waiter);
    bool _leave(tagEVENTWAITER& waiter);
    void _keep_in_sight(tagEVENTWAITER& waiter) noexcept;
    long _time_is_over(tagEVENTWAITER& waiter);
    bool _dismiss_waiters();

protected:
    boost::mutex m_lock;                ///< guards both lists and the changes of state
    std::atomic<eEventState> m_state;   ///< read without the lock
    std::atomic<unsigned long> m_value; ///< of the latest signal
    /// In order of arrival; in truth addresses of `tagEVENTWAITER`, null for a waiter that has left.
    Buffers::CPPlainVector<_cEvent*> m_waiters;
    /// In order of attachment.
    Buffers::CPPlainVector<_cEvent*> m_listeners;

private:
    tagEVENTWAITER* m_strays = nullptr; // waiters without a place in the list that may still come for the lock
};

static_assert(sizeof(std::atomic<_cEvent::eEventState>) == 4 && sizeof(std::atomic<unsigned long>) == 8,
              "state and value are single words");

/// The type of event blocks. They cannot be cloned and have no interfaces.
extern ORVA_API Buffers::tagCPOVTABL const _vtbl_cEvent;

/// Constructs an invalid `_cEvent` in place; the size is ignored.
ORVA_API void _create_cEvent(void* payload, unsigned long size);
/// Destroys a `_cEvent` in place; the size is ignored.
ORVA_API void _finalize_cEvent(void* payload, unsigned long size);

/// A handle on a shared `_cEvent`.
///
/// If the heap was exhausted when it was made, the handle is empty: `Set` and `Reset` are then false and `Wait` is -2.
class ORVA_API CPEvent : public CPLockHandle
{
public:
    /// The type of event blocks.
    static void const* GetTypeID() noexcept { return &_vtbl_cEvent; }

    /// A handle on a new event that is not signalled: a manual-reset one for true, one in the pulse state for false.
    explicit CPEvent(bool manualReset);

    /// A handle on the same event.
    CPEvent(CPEvent const& source) = default;

    /// A handle on the event in the block of `source`; empty if that is a block of another type.
    CPEvent(Buffers::CPObjectMemory const& source) : CPLockHandle(source, sizeof(_cEvent), _vtbl_cEvent) {}

    /// Releases the old event and becomes a handle on the same one as `source`.
    CPEvent& operator=(CPEvent const& source) = default;

    /// As the constructor; a refused block leaves the handle empty.
    CPEvent& operator=(Buffers::CPObjectMemory const& source)
    {
        _assign(source, sizeof(_cEvent), _vtbl_cEvent);
        return *this;
    }

    /// True if both handles are on the same event, or both are empty.
    bool operator==(CPEvent const& other) const noexcept { return m_pMH == other.m_pMH; }

    /// The event, null for an empty handle. The handle keeps it alive.
    _cEvent* GetHandle() const noexcept { return static_cast<_cEvent*>(get_ptr()); }

    /// `_cEvent::Set` without a source
    bool Set() const
    {
        _cEvent* const event = GetHandle();
        return event != nullptr && event->Set(nullptr);
    }

    /// `_cEvent::Wait`
    long Wait(unsigned int milliseconds) const
    {
        _cEvent* const event = GetHandle();
        return event == nullptr ? -2 : event->Wait(milliseconds);
    }

    /// `_cEvent::Reset`
    bool Reset() const
    {
        _cEvent* const event = GetHandle();
        return event != nullptr && event->Reset();
    }

private:
    // What a vector of events makes in its slots: each a manual-reset event of its own.
    friend class Buffers::CPObjectVector<CPEvent>;
    CPEvent() : CPEvent(true) {}
};

} // namespace ORVA::Threading

namespace ORVA::Buffers
{

template <>
struct MovesByBytes<Threading::CPEvent> : std::true_type
{
};

extern template class CPObjectVector<Threading::CPEvent>;

} // namespace ORVA::Buffers
