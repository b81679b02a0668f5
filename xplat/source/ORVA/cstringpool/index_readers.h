// Who reads the flat index of the pool without the lock.
#pragma once

#include <atomic>

namespace ORVA::String
{

// Readers that hold no lock announce here what they look for, so that whoever has taken a record out of their sight can
// wait until none is left that may have seen it before.
//
// A place is held by one reader at a time, for as long as a look-up takes. A thread always tries the same place; where
// another thread is in it, the reader is not let in and has to take the lock. So a reader writes to a cache line that
// nearly always is its own.
//
// What is announced is the part of a hash by which the index tells records apart: a reader touches no record of another
// tag. So a record's owner waits for those alone that look for this record, and not for everyone who is busy.
//
// No code but the index's own runs between enter and leave, and nothing there waits.
class IndexReaders
{
    struct alignas(64) Place // a cache line each
    {
        // The lower half has a tag and one, or 0 for nobody; the upper half counts the readers that have left.
        std::atomic<unsigned long> looks_for{0};
    };

public:
    // An announced reader. `is_in` says whether it was let in.
    class Announcement
    {
    public:
        Announcement(IndexReaders& readers, unsigned long tag) noexcept;
        ~Announcement()
        {
            if (m_is_in)
                m_place.looks_for.store(m_left, std::memory_order_release);
        }
        Announcement(Announcement const&) = delete;
        Announcement& operator=(Announcement const&) = delete;

        bool is_in() const noexcept { return m_is_in; }

    private:
        Place& m_place;
        unsigned long m_left; // what the place holds when this reader has left
        bool m_is_in;
    };

    // Returns when every reader of a tag that was let in before the call has left. Readers that come later are not waited
    // for, not even in the same place.
    void wait_for_readers_of(unsigned long tag) const noexcept;
    // The same for readers of every tag.
    void wait_for_all_readers() const noexcept;

private:
    static constexpr unsigned int width = 6; // 2 to the power of this many places

    Place& place_of_this_thread() noexcept;
    template <class IsAwaited>
    void wait_while(IsAwaited is_awaited) const noexcept;

    Place m_places[1U << width];
};

} // namespace ORVA::String
