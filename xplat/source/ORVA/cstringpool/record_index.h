// A flat index of the pooled records, for look-ups alone.
#pragma once

#include "ORVA/String/Record.h"

namespace ORVA::String
{

// An open-addressed table of records by case-sensitive hash. It stands beside the table that owns the strings, holds no
// references, and is there because a look-up in it touches one cache line and the record, where the bisection of a bucket
// touches five or six.
//
// A slot is the record's address with 16 bits of its hash in the upper bits, which addresses leave free, so that a
// record is looked at only if these agree. Slots are probed in a row, and a removal closes the gap.
//
// When it is full and there is no memory to grow, the index gives up all it has and is not complete from then on: whoever
// asks it has to look elsewhere.
// Not thread-safe: the pool uses it under its lock.
class RecordIndex
{
public:
    constexpr RecordIndex() noexcept = default;
    RecordIndex(RecordIndex const&) = delete;
    RecordIndex& operator=(RecordIndex const&) = delete;
    ~RecordIndex();

    // Whether all records added and not removed are here.
    bool is_complete() const noexcept { return m_is_complete; }

    // The first record of `hash` for which `match(record)` holds, or null.
    template <class Match>
    tagSTRINGPOOLRECORD* find(unsigned long hash, Match match) const
    {
        if (m_slots == nullptr)
            return nullptr;
        for (unsigned long position = home_of(hash);; position = (position + 1) & m_mask)
        {
            unsigned long const slot = m_slots[position];
            if (slot == 0)
                return nullptr;
            if (tag_of_slot(slot) == tag_of(hash))
            {
                tagSTRINGPOOLRECORD* const record = record_of(slot);
                if (record->info.sHash == hash && match(*record))
                    return record;
            }
        }
    }

    void add(tagSTRINGPOOLRECORD& record);
    // Takes a record out, if it is in.
    void remove(tagSTRINGPOOLRECORD& record);

private:
    static constexpr unsigned int tag_bits = 16;
    static constexpr unsigned long address_mask = ~0UL >> tag_bits;

    // Hashes of short texts differ in few bits; the product spreads them over its upper ones.
    unsigned long home_of(unsigned long hash) const noexcept { return (hash * 0x9E3779B97F4A7C15UL) >> m_shift; }
    static unsigned long tag_of(unsigned long hash) noexcept { return hash & ((1UL << tag_bits) - 1); }
    static unsigned long tag_of_slot(unsigned long slot) noexcept { return slot >> (64 - tag_bits); }
    static tagSTRINGPOOLRECORD* record_of(unsigned long slot) noexcept
    {
        return reinterpret_cast<tagSTRINGPOOLRECORD*>(slot & address_mask); // NOLINT(performance-no-int-to-ptr): tagged
    }

    bool grow();
    void give_up();
    void place(unsigned long slot) noexcept;

    unsigned long* m_slots = nullptr;
    unsigned long m_mask = 0;
    unsigned long m_count = 0;
    unsigned int m_shift = 0;
    bool m_is_complete = true;
};

} // namespace ORVA::String
