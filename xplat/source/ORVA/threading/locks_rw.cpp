#include "ORVA/Threading/RWInterlock.h"

#include "BaseOS_Unix_common/thread_id.h"
#include "threading/deadline.h"

// Why the writer field and the count of nested entries need no lock: the field can equal a caller's id only if that
// caller stored it and has not cleared it since, so any other value that a caller finds, however old, tells it the
// same. The count is changed only by a thread that finds its own id in the field or the count not 0, which is the
// writer alone if every leave belongs to an enter. Relaxed accesses are the plain machine instructions.

namespace ORVA::Threading
{

namespace
{

constexpr unsigned int one_nested_write = 0x10000U;
constexpr unsigned int nested_reads = 0xFFFFU;

// The half of the reads wraps inside its 16 bits; the half of the writes is left alone.
unsigned int with_reads(unsigned int nested, unsigned int reads) noexcept
{
    return (nested & ~nested_reads) | (reads & nested_reads);
}

// A lock that can be had at once is taken by an attempt, under the same condition as the waiting operations: it is
// cheaper than those, which prepare for an interruption of the wait, and needs no look at the clock.

void lock_to_read(boost::shared_mutex& lock)
{
    if (!lock.try_lock_shared())
        lock.lock_shared();
}

void lock_to_write(boost::shared_mutex& lock)
{
    if (!lock.try_lock())
        lock.lock();
}

} // namespace

_cRWInterlock::_cRWInterlock() = default;

_cRWInterlock::~_cRWInterlock() = default;

bool _cRWInterlock::_enter_nested_read() noexcept
{
    if (Core::load_relaxed(m_writer) != current_thread_id())
        return false;
    unsigned int const nested = Core::load_relaxed(m_nested);
    Core::store_relaxed(m_nested, with_reads(nested, nested + 1));
    return true;
}

bool _cRWInterlock::_enter_nested_write(unsigned long caller) noexcept
{
    if (Core::load_relaxed(m_writer) != caller)
        return false;
    Core::store_relaxed(m_nested, Core::load_relaxed(m_nested) + one_nested_write);
    return true;
}

void _cRWInterlock::EnterRead()
{
    if (!_enter_nested_read())
        lock_to_read(m_lock);
}

bool _cRWInterlock::TryEnterRead(unsigned int milliseconds)
{
    if (_enter_nested_read())
        return true;
    if (milliseconds == wait_without_limit)
    {
        lock_to_read(m_lock);
        return true;
    }
    return m_lock.try_lock_shared() || m_lock.try_lock_shared_until(deadline_after(milliseconds));
}

void _cRWInterlock::LeaveRead()
{
    unsigned int const nested = Core::load_relaxed(m_nested);
    if ((nested & nested_reads) != 0)
        Core::store_relaxed(m_nested, with_reads(nested, nested - 1));
    else
        m_lock.unlock_shared();
}

void _cRWInterlock::EnterWrite()
{
    unsigned long const caller = current_thread_id();
    if (_enter_nested_write(caller))
        return;
    lock_to_write(m_lock);
    Core::store_relaxed(m_writer, caller);
}

bool _cRWInterlock::TryEnterWrite(unsigned int milliseconds)
{
    unsigned long const caller = current_thread_id();
    if (_enter_nested_write(caller))
        return true;
    if (milliseconds == wait_without_limit)
        lock_to_write(m_lock);
    else if (!m_lock.try_lock() && !m_lock.try_lock_until(deadline_after(milliseconds)))
        return false;
    Core::store_relaxed(m_writer, caller);
    return true;
}

void _cRWInterlock::LeaveWrite()
{
    unsigned int const nested = Core::load_relaxed(m_nested);
    if (nested >= one_nested_write)
    {
        Core::store_relaxed(m_nested, nested - one_nested_write);
        return;
    }
    Core::store_relaxed(m_writer, 0UL);
    m_lock.unlock();
}

} // namespace ORVA::Threading
