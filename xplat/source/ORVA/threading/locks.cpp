#include "ORVA/Threading/Locks.h"

#include "threading/deadline.h"

#include "ORVA/Develop/Log.h"

namespace ORVA::Threading
{

namespace
{

// A lock that can be had at once is taken without a look at the clock.
template <class Lock>
bool try_enter(Lock& lock, unsigned int milliseconds)
{
    if (milliseconds == wait_without_limit)
    {
        lock.lock();
        return true;
    }
    return lock.try_lock() || lock.try_lock_until(deadline_after(milliseconds));
}

template <class Lock>
void construct(void* payload)
{
    static_assert(alignof(Lock) <= 16, "a payload is aligned to 16 bytes");
    new (payload, _nqfDebugLevel(0)) Lock();
}

template <class Lock>
void destroy(void* payload)
{
    static_cast<Lock*>(payload)->~Lock();
}

} // namespace

// A block whose lock was not constructed goes back to the heap past its type: nothing may be destroyed in it.
CPLockHandle::CPLockHandle(unsigned long size, Buffers::tagCPOVTABL const& table)
{
    if (!Alloc(size, &table))
        return;
    try
    {
        table._create(get_ptr(), size);
    }
    catch (...)
    {
        Core::OS::_ffree(m_pMH);
        m_pMH = nullptr;
        throw;
    }
}

CPLockHandle::CPLockHandle(Buffers::CPObjectMemory const& source, unsigned long size, Buffers::tagCPOVTABL const& table)
{
    if (source.IsAssignable(size, &table))
        CopyCPMemory(source);
}

void CPLockHandle::_assign(Buffers::CPObjectMemory const& source, unsigned long size, Buffers::tagCPOVTABL const& table)
{
    if (source.IsAssignable(size, &table))
        CopyCPMemory(source);
    else
        free();
}

bool _cMutex::TryEnter(unsigned int milliseconds)
{
    return try_enter(m_lock, milliseconds);
}

bool _cCriticalSection::TryEnter(unsigned int milliseconds)
{
    return try_enter(m_lock, milliseconds);
}

void _create_cMutex(void* payload, unsigned long)
{
    construct<_cMutex>(payload);
}

void _finalize_cMutex(void* payload, unsigned long)
{
    destroy<_cMutex>(payload);
}

void _create_cCriticalSection(void* payload, unsigned long)
{
    construct<_cCriticalSection>(payload);
}

void _finalize_cCriticalSection(void* payload, unsigned long)
{
    destroy<_cCriticalSection>(payload);
}

void _create_cRWInterlock(void* payload, unsigned long)
{
    construct<_cRWInterlock>(payload);
}

void _finalize_cRWInterlock(void* payload, unsigned long)
{
    destroy<_cRWInterlock>(payload);
}

Buffers::tagCPOVTABL const _vtbl_cMutex = {&_create_cMutex, nullptr, &_finalize_cMutex,
                                           &Buffers::CPObjectMemory::_nointerface};

Buffers::tagCPOVTABL const _vtbl_cCriticalSection = {&_create_cCriticalSection, nullptr, &_finalize_cCriticalSection,
                                                     &Buffers::CPObjectMemory::_nointerface};

Buffers::tagCPOVTABL const _vtbl_cRWInterlock = {&_create_cRWInterlock, nullptr, &_finalize_cRWInterlock,
                                                 &Buffers::CPObjectMemory::_nointerface};

} // namespace ORVA::Threading
