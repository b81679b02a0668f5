#include "cstringpool/index_readers.h"

#include "BaseOS_Unix_common/thread_id.h"

#include <thread>

namespace ORVA::String
{

namespace
{

// A reader is at work for some 50 nanoseconds, unless its thread has lost the processor.
constexpr unsigned int looks_before_yielding = 100;

bool enter(std::atomic<unsigned long>& place, unsigned long tag) noexcept
{
    unsigned long nobody = 0;
    return place.compare_exchange_strong(nobody, tag + 1, std::memory_order_seq_cst, std::memory_order_relaxed);
}

} // namespace

// The identities of threads are addresses at regular distances. The product spreads them over its upper bits.
IndexReaders::Place& IndexReaders::place_of_this_thread() noexcept
{
    return m_places[(Threading::current_thread_id() * 0x9E3779B97F4A7C15UL) >> (64 - width)];
}

IndexReaders::Announcement::Announcement(IndexReaders& readers, unsigned long tag) noexcept
    : m_place(readers.place_of_this_thread()), m_is_in(enter(m_place.looks_for, tag))
{
}

// Each place is looked at until it is seen once without a reader to wait for.
template <class IsAwaited>
void IndexReaders::wait_while(IsAwaited is_awaited) const noexcept
{
    for (Place const& place : m_places)
    {
        for (unsigned int looks = 1; is_awaited(place.looks_for.load(std::memory_order_seq_cst)); ++looks)
        {
            if (looks % looks_before_yielding == 0)
                std::this_thread::yield();
        }
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
