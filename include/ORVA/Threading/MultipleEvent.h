/// @file
/// The multiple event: one thread waits for a set of events, for any of them or (a barrier) for all of them at once.
///
/// | state of the object | by | to |
/// |---|---|---|
/// | `eEventReset`, at first | an attached event is signalled (barrier: all are) after a thread has once blocked here | `eEventSignaled` |
/// | `eEventSignaled` | a `Wait` that finds nothing signalled | `eEventReset` |
///
/// What `Wait` gives:
///
/// | result | any-of | barrier |
/// |---|---|---|
/// | -3 | an exception was caught while the events were looked at | the same |
/// | -2 | empty handle, or the object was destroyed during the wait | the same |
/// | -1 | the time is over | the same |
/// | 0 or more | the index of a signalled event: of the lowest if they were signalled before | 0 if all were signalled before, otherwise the index of the event that completed the set |
///
/// The index of an event is its place in the order of attachment. Waiting changes no event: a manual-reset event stays
/// signalled, and the next `Wait` gives its index again at once, until it is reset. An event in the pulse state is seen
/// only by a thread that is already blocked.
///
/// What to know:
///
/// - Attach all events before the first `Wait` that may block. Once a thread has blocked here, attaching and detaching
///   are refused for good, even when nobody waits any more.
/// - Destruction does not detach. An attached event that lives on must not be signalled any more. Keep both in the
///   same hands, or detach while that is possible.
/// - Attach an event to one multiple event only: `_cEvent::detach` removes the last listener, whichever is meant.
/// - An event at index 1024 is reported to threads that are blocked when it is signalled, never to those that come
///   later; neither are those behind it while it is signalled and none before it is. Use fewer than 1025 events.
///
/// Thread-safety: all operations may be called from any thread. Attaching, detaching and resetting an event need this
/// object's lock and then the event's, while a signal takes them the other way round: they wait, with neither of them,
/// until a signal of the event that is under way is over. So a listener must not call them for the event that it is
/// being told of. A signal that falls between the look at the events and the blocking of a wait is not lost.
///
/// Ownership: the object holds a reference to each attached event.
#pragma once

#include "ORVA/Threading/Event.h"

namespace ORVA::Threading
{

/// A multiple event, itself an event: waiters queue on its base, and it is a listener of each attached event.
class ORVA_API _cMultipleEvent : public _cEvent
{
public:
    /// An any-of multiple event without events.
    _cMultipleEvent();
    /// Lets go of the events without detaching from them, and releases all waiters with -2.
    ~_cMultipleEvent();

    /// Makes it a barrier, or any-of with false. False, with nothing changed, while events are attached.
    bool initBarrier(bool barrier);

    /// Appends an event. False for an empty handle, once a thread has blocked here, without memory, and for a barrier
    /// if the event is neither `eEventReset` nor `eEventSignaled`. An event may be attached more than once; the lowest
    /// index is reported.
    bool AttachSingle(CPEvent const& event);

    /// Removes an event; the indexes of later ones drop by one. False if it is not attached, and once a thread has
    /// blocked here.
    bool DetachSingle(CPEvent const& event);

    /// Called by the signal of an attached event, with that event's lock held. False, with no effect, until a thread
    /// has blocked here, for an event that is not attached, and for a barrier that is not complete.
    bool Set(_cEvent* pSource) override;

    /// Looks at the events, lowest index first, and blocks up to `milliseconds` if that decides nothing.
    long Wait(unsigned int milliseconds) override;

    /// `_cEvent::Reset` on the event at `index`; false if there is none. The base's `Reset` of the object itself is
    /// hidden.
    bool Reset(unsigned long index);

    /// `_cEvent::Reset` on every attached event, whatever comes of it. The result is **always false**.
    bool ResetAll();

private:
    template <class Step>
    bool _with_event(_cEvent& event, Step step);
    static void _wait_for_lock_of(_cEvent& event);
    std::optional<bool> _attach(CPEvent const& event, _cEvent& plain);
    std::optional<bool> _detach(_cEvent& plain);
    bool _reset(unsigned long index, std::unique_lock<boost::mutex>& lock);
    unsigned long _index_of(_cEvent const* event) const noexcept;

protected:
    Buffers::CPObjectVector<CPEvent> m_events; ///< in order of attachment
    std::atomic<bool> m_barrier{false};        ///< waits for all events, not for any
};

/// The type of multiple event blocks. They cannot be cloned and have no interfaces.
extern ORVA_API Buffers::tagCPOVTABL const _vtbl_cMultipleEvent;

/// Constructs an any-of `_cMultipleEvent` in place; the size is ignored.
ORVA_API void _create_cMultipleEvent(void* payload, unsigned long size);
/// Destroys a `_cMultipleEvent` in place; the size is ignored.
ORVA_API void _finalize_cMultipleEvent(void* payload, unsigned long size);

/// A handle on a shared `_cMultipleEvent`.
///
/// If the heap was exhausted when it was made, the handle is empty: `Wait` is then -2 and all else false.
class ORVA_API CPMultipleEvent : public CPLockHandle
{
public:
    /// The type of multiple event blocks.
    static void const* GetTypeID() noexcept { return &_vtbl_cMultipleEvent; }

    /// A handle on a new multiple event: a barrier for true, any-of for false.
    explicit CPMultipleEvent(bool barrier);

    /// A handle on the same multiple event.
    CPMultipleEvent(CPMultipleEvent const& source) = default;

    /// A handle on the multiple event in the block of `source`; empty if that is a block of another type.
    CPMultipleEvent(Buffers::CPObjectMemory const& source)
        : CPLockHandle(source, sizeof(_cMultipleEvent), _vtbl_cMultipleEvent)
    {
    }

    /// Releases the old multiple event and becomes a handle on the same one as `source`.
    CPMultipleEvent& operator=(CPMultipleEvent const& source) = default;

    /// As the constructor; a refused block leaves the handle empty.
    CPMultipleEvent& operator=(Buffers::CPObjectMemory const& source)
    {
        _assign(source, sizeof(_cMultipleEvent), _vtbl_cMultipleEvent);
        return *this;
    }

    /// `_cMultipleEvent::AttachSingle`
    bool Attach(CPEvent const& event) const
    {
        _cMultipleEvent* const object = _object();
        return object != nullptr && object->AttachSingle(event);
    }

    /// `_cMultipleEvent::DetachSingle`
    bool Detach(CPEvent const& event) const
    {
        _cMultipleEvent* const object = _object();
        return object != nullptr && object->DetachSingle(event);
    }

    /// `_cMultipleEvent::Wait`
    long Wait(unsigned int milliseconds) const
    {
        _cMultipleEvent* const object = _object();
        return object == nullptr ? -2 : object->Wait(milliseconds);
    }

    /// `_cMultipleEvent::Reset`
    bool Reset(unsigned long index) const
    {
        _cMultipleEvent* const object = _object();
        return object != nullptr && object->Reset(index);
    }

private:
    _cMultipleEvent* _object() const noexcept { return static_cast<_cMultipleEvent*>(get_ptr()); }
};

} // namespace ORVA::Threading
