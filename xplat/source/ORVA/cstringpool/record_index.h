// A flat index of the pooled records, for look-ups alone.
#pragma once

#include "cstringpool/index_readers.h"

#include "ORVA/String/Record.h"

#include <atomic>

namespace ORVA::String
{

// An open-addressed table of records by case-sensitive hash. It stands beside the table that owns the strings, holds no
// references, and is there because a look-up in it touches one cache line and the record, where a search in a bucket
// touches several.
//
// A slot is the record's address with 16 bits of its hash in the upper bits, which addresses leave free, so that a
// record is looked at only if these agree. Slots are probed in a row, and a removal closes the gap. The lowest bit of
// an address is free too: it marks a hidden record.
//
// When it is full and there is no memory to grow, the index gives up all it has and is not complete from then on: whoever
// asks it has to look elsewhere.
//
// Everything but `visit_visible` is used under the pool's lock. `visit_visible` needs no lock: it may miss a record that is
// there, since slots move while others are removed, but what it finds is there and stays until its visitor has ended.
// That is so because a record goes, and slots are freed, only like this:
//
//   reader                                        holder of the lock
//   1. announces what it looks for, by the tag,   a. takes the record out of its slot, or hides it, or replaces all slots
//      or is not let in
//   2. reads where the slots are, and a slot      b. looks at each place of the readers; if somebody is in it who looks
//                                                    for the record's tag (for anything, if slots go), waits until the
//                                                    place has changed
//   3. reads the record if the tags agree, and    c. reads the record's count: it decides about the record from here on
//      counts a handle
//   4. withdraws the announcement                 d. frees what it took out
//
// 1, 2, a and b are sequentially consistent. If 1 comes before the look of b at the reader's place, b waits for 4, and c
// sees the count of 3: 4 is a release, and b an acquire, also where the next reader of the place has come in between. If
// 1 comes after that look, then 2 comes after a, and does not see what was taken out. A slot is filled by a release, after
// its record.
class RecordIndex
{
public:
    RecordIndex() noexcept = default;
    RecordIndex(RecordIndex const&) = delete;
    RecordIndex& operator=(RecordIndex const&) = delete;
    ~RecordIndex();

    // Whether all records added and not removed are here.
    bool is_complete() const noexcept { return m_is_complete; }

    // The first record of `hash` for which `match(record)` holds, hidden or not, or null.
    template <class Match>
    tagSTRINGPOOLRECORD* find(unsigned long hash, Match match) const
    {
        return find_slot(hash, 0, match);
    }

    // Calls `visit(record)` with the first record of `hash` that is not hidden and for which `match(record)` holds, and
    // tells whether there was one. Needs no lock, and may find none although there is one. Neither function may wait.
    template <class Match, class Visit>
    bool visit_visible(unsigned long hash, Match match, Visit visit)
    {
        IndexReaders::Announcement const announcement(m_readers, tag_of(hash));
        if (!announcement.is_in())
            return false;
        tagSTRINGPOOLRECORD* const found = find_slot(hash, hidden, match);
        if (found == nullptr)
            return false;
        visit(*found);
        return true;
    }

    void add(tagSTRINGPOOLRECORD& record);
    // Takes a record out, if it is in. No reader without the lock has to do with it afterwards.
    void remove(tagSTRINGPOOLRECORD& record);

    // Keeps readers without the lock off a record, until it is shown again. None has to do with it afterwards.
    void hide(tagSTRINGPOOLRECORD& record);
    void show(tagSTRINGPOOLRECORD& record);

private:
    using Slot = std::atomic<unsigned long>;

    // What stands before the slots in their block.
    struct Slots
    {
        unsigned long mask;  // their number less one
        unsigned long shift; // takes the upper bits of a hash to a slot

        Slot& operator[](unsigned long position) noexcept { return reinterpret_cast<Slot*>(this + 1)[position]; }
        // Hashes of short texts differ in few bits; the product spreads them over its upper ones.
        unsigned long home_of(unsigned long hash) const noexcept { return (hash * 0x9E3779B97F4A7C15UL) >> shift; }
        unsigned long home_of(tagSTRINGPOOLRECORD const& record) const noexcept { return home_of(record.info.sHash); }
        unsigned long behind(unsigned long position) const noexcept { return (position + 1) & mask; }
    };
    static_assert(sizeof(Slot) == sizeof(unsigned long) && Slot::is_always_lock_free);

    static constexpr unsigned int tag_bits = 16;
    static constexpr unsigned long hidden = 1;
    static constexpr unsigned long address_mask = (~0UL >> tag_bits) & ~hidden;

    static unsigned long tag_of(unsigned long hash) noexcept { return hash & ((1UL << tag_bits) - 1); }
    static unsigned long tag_of_slot(unsigned long slot) noexcept { return slot >> (64 - tag_bits); }
    static tagSTRINGPOOLRECORD* record_of(unsigned long slot) noexcept
    {
        return reinterpret_cast<tagSTRINGPOOLRECORD*>(slot & address_mask); // NOLINT(performance-no-int-to-ptr): tagged
    }

    // The first record of `hash` for which `match` holds and of whose slot no bit of `unwanted` is set, or null. Ends after
    // one round, since without the lock a free slot may never be met.
    template <class Match>
    tagSTRINGPOOLRECORD* find_slot(unsigned long hash, unsigned long unwanted, Match match) const
    {
        Slots* const slots = m_slots.load(std::memory_order_seq_cst);
        if (slots == nullptr)
            return nullptr;
        unsigned long position = slots->home_of(hash);
        for (unsigned long looks = 0; looks <= slots->mask; ++looks, position = slots->behind(position))
        {
            unsigned long const slot = (*slots)[position].load(std::memory_order_seq_cst);
            if (slot == 0)
                return nullptr;
            if (tag_of_slot(slot) == tag_of(hash) && (slot & unwanted) == 0)
            {
                tagSTRINGPOOLRECORD* const record = record_of(slot);
                if (record->info.sHash == hash && match(*record))
                    return record;
            }
        }
        return nullptr;
    }

    Slots* slots() const noexcept { return m_slots.load(std::memory_order_relaxed); }
    Slot* slot_of(tagSTRINGPOOLRECORD const& record) const noexcept;
    bool grow();
    void give_up();
    void replace_slots(Slots* slots);
    static void place(Slots& slots, unsigned long slot) noexcept;

    std::atomic<Slots*> m_slots{nullptr};
    unsigned long m_count = 0;
    bool m_is_complete = true;
    IndexReaders m_readers;
};

} // namespace ORVA::String
