/// @file
/// Threads, whose bodies live in blocks.
///
/// The body is an object that offers `IThreadExecute`, in a block of object memory; `CPThreadContext` makes one of any
/// class with a `run()`. A thread holds a reference to that block for as long as it runs.
///
/// | state of a `CPThread` | `Execute` | `Wait` | `Terminate` | `operator bool` |
/// |---|---|---|---|---|
/// | empty | starts a thread | -2 | true | false |
/// | holds a running thread | false | -1 when the time is over | true or false; empty | true |
/// | holds one that has ended | false | 0; empty | true; empty | true |
/// | holds one that was joined through another handle, or never started | false | -2; empty | true; empty | true |
///
/// Results of `Wait`:
///
/// | result | meaning |
/// |---|---|
/// | 0 | the thread has ended and was joined |
/// | -1 | the time is over; the thread still runs |
/// | -2 | there is no thread to join: never started, already joined or given up, or the handle is empty |
/// | -3 | the waiting thread itself was interrupted |
///
/// A thread is ended by being asked to: `Terminate` interrupts it, which takes effect when the body gets to an
/// interruption point of Boost.Thread: `CurrentThread::sleep`, the `Wait` for another thread, a wait on one of Boost's
/// condition variables. The waits of events and locks are none, so a body that blocks there has to be released by a
/// signal. A body that gets to no such point for 5 seconds is abandoned: it goes on by itself and keeps its block.
///
/// Thread-safety: one owner drives a thread. `Execute`, `Wait` and `Terminate` on one thread must not run at the same
/// time, be it through one handle or through several.
///
/// The threads are those of Boost.Thread, and a translation unit that includes this has to be built with the Boost and
/// the `BOOST_THREAD_...` configuration of the library. An exception of a Boost operation passes through.
#pragma once

#include "ORVA/Buffers/ObjectMemory.h"
#include "ORVA/Threading/ThreadExecute.h"

#include <boost/thread/thread_only.hpp>

namespace ORVA::Threading
{

/// What a thread calls: a reference to the block with the body, and where in its payload `IThreadExecute` lies.
class ORVA_API _cThreadFunctor
{
public:
    /// Takes a reference to the block of `source` if that offers `IThreadExecute`, otherwise holds none.
    _cThreadFunctor(Buffers::CPObjectMemory const& source);

    /// True if it holds a block.
    operator bool() const { return m_block; }

    /// Runs the body, or does nothing without a block.
    void operator()();

private:
    Buffers::CPObjectMemory m_block;
    long m_offset = -1; ///< bytes from the payload to the interface; -1 without a block
};

static_assert(sizeof(_cThreadFunctor) == 16, "a handle and an offset");

/// A thread, a `boost::thread`. Timeouts are milliseconds.
class ORVA_API _cThread
{
public:
    /// No thread yet.
    _cThread();
    /// If there is a thread to join, does what `Terminate` does: it may take 5 seconds. An interruption of the caller
    /// waits until it is over. A thread that destroys itself interrupts itself and goes on by itself.
    ~_cThread();
    _cThread(_cThread const&) = delete;
    _cThread& operator=(_cThread const&) = delete;

    /// Starts a thread that runs the body in `context`. False if a thread is there that was neither joined nor given
    /// up, even though it has ended, and if `context` does not offer `IThreadExecute`.
    ///
    /// `stackSize` is in bytes and rounded up to whole pages, 16,384 at least; 0 is the system's default. Throws
    /// `boost::thread_resource_error` if the system cannot start a thread with such a stack.
    bool Execute(Buffers::CPObjectMemory& context, unsigned long stackSize);

    /// Waits up to `milliseconds` for the end of the thread and joins it; see the results above. 0 does not block;
    /// 0xFFFFFFFF waits without limit. An interruption point. A thread that waits for itself gets
    /// `boost::thread_resource_error`, "boost thread: trying joining itself".
    long Wait(unsigned int milliseconds);

    /// Interrupts the thread and waits for it, 5 seconds at most. True if it was joined or there is none; false if it
    /// was abandoned. Throws on the thread itself, as `Wait` does, and if the caller is interrupted meanwhile.
    bool Terminate();

private:
    boost::thread m_thread;
};

static_assert(sizeof(_cThread) == sizeof(boost::thread), "a thread and nothing more");

/// The type of thread blocks. They cannot be cloned and have no interfaces.
extern ORVA_API Buffers::tagCPOVTABL const _vtbl_cThread;

/// Constructs a `_cThread` in place; the size is ignored.
ORVA_API void _create_cThread(void* payload, unsigned long size);
/// Destroys a `_cThread` in place; the size is ignored.
ORVA_API void _finalize_cThread(void* payload, unsigned long size);

/// A handle on a shared `_cThread`, empty until a thread is started. It holds a block from `Execute` until the thread
/// is joined or terminated through this handle.
///
/// The release of the last handle on a thread that was neither joined nor given up terminates it: it may take 5 seconds.
///
/// A thread handle has copies only: `std::move` copies too.
class ORVA_API CPThread : public Buffers::CPObjectMemory
{
public:
    /// The type of thread blocks.
    static void const* GetTypeID() noexcept { return &_vtbl_cThread; }

    /// An empty handle. Nothing is allocated.
    CPThread() = default;

    /// A handle on the same thread.
    CPThread(CPThread const& source) = default;

    /// A handle on the thread in the block of `source`; empty if that is a block of another type.
    CPThread(Buffers::CPObjectMemory const& source);

    /// Releases the old thread and becomes a handle on the same one as `source`.
    CPThread& operator=(CPThread const& source) = default;

    /// As the constructor; a refused block leaves the handle empty.
    CPThread& operator=(Buffers::CPObjectMemory const& source);

    /// Starts a thread; see `_cThread::Execute`. False as well if the handle holds a block or the heap is exhausted.
    ///
    /// If `context` has no `IThreadExecute`, or the question for it or the start throws, the handle holds a thread that
    /// never ran: `Wait` or `Terminate` makes it empty again.
    bool Execute(Buffers::CPObjectMemory& context, unsigned long stackSize);

    /// Waits for the thread; see `_cThread::Wait`. The handle becomes empty with every result but -1. If the caller was
    /// interrupted and this was the last handle, that terminates the thread. An exception leaves the handle as it is.
    long Wait(unsigned int milliseconds);

    /// Terminates the thread; see `_cThread::Terminate`. The handle becomes empty with either result; an exception
    /// leaves it as it is.
    bool Terminate();
};

} // namespace ORVA::Threading
