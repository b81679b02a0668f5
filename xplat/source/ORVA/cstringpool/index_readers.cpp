#include "cstringpool/index_readers.h"

#include "BaseOS_Unix_common/pause.h"
#include "BaseOS_Unix_common/thread_id.h"

#include <chrono>
#include <thread>

namespace ORVA::String
{

namespace
{

constexpr unsigned long reader = (1UL << 32) - 1; // the half of a place that tells who is in it
constexpr unsigned long one_that_left = 1UL << 32;

// A reader is at work for some 50 nanoseconds, unless its thread has lost the processor. To yield may give that to no
// thread of lower priority; to sleep does.
void wait_a_little(unsigned int looks)
{
    constexpr unsigned int looks_at_work = 100;
    constexpr unsigned int looks_before_sleeping = 1000;
    if (looks < looks_at_work)
        Core::OS::pause_briefly();
    else if (looks < looks_before_sleeping)
        std::this_thread::yield();
    else
        std::this_thread::sleep_for(std::chrono::microseconds(50));
}

} // namespace

// The identities of threads are addresses at regular distances. The product spreads them over its upper bits.
IndexReaders::Place& IndexReaders::place_of_this_thread() noexcept
{
    return m_places[(Threading::current_thread_id() * 0x9E3779B97F4A7C15UL) >> (64 - width)];
}

IndexReaders::Announcement::Announcement(IndexReaders& readers, unsigned long tag) noexcept
    : m_place(readers.place_of_this_thread())
{
    unsigned long found = m_place.looks_for.load(std::memory_order_relaxed);
    m_left = found + one_that_left;
    m_is_in = (found & reader) == 0 &&
              m_place.looks_for.compare_exchange_strong(found, found + tag + 1, std::memory_order_seq_cst,
                                                        std::memory_order_relaxed);
}

// A place that does not hold what it held at first has been left by whoever was in it.
template <class IsAwaited>
void IndexReaders::wait_while(IsAwaited is_awaited) const noexcept
{
    for (Place const& place : m_places)
    {
        unsigned long const found = place.looks_for.load(std::memory_order_seq_cst);
        if (!is_awaited(found & reader))
            continue;
        for (unsigned int looks = 0; place.looks_for.load(std::memory_order_acquire) == found; ++looks)
            wait_a_little(looks);
    }
}

void IndexReaders::wait_for_readers_of(unsigned long tag) const noexcept
{
    wait_while([tag](unsigned long looks_for) { return looks_for == tag + 1; });
}

void IndexReaders::wait_for_all_readers() const noexcept
{
    wait_while([](unsigned long looks_for) { return looks_for != 0; });
}

} // namespace ORVA::String
