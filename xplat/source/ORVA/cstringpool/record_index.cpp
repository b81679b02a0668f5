#include "cstringpool/record_index.h"

#include <memory>

namespace ORVA::String
{

namespace
{

constexpr unsigned int first_width = 10;

} // namespace

RecordIndex::~RecordIndex()
{
    Core::OS::_ffree(m_slots.exchange(nullptr));
}

void RecordIndex::place(Slots& slots, unsigned long slot) noexcept
{
    unsigned long position = slots.home_of(*record_of(slot));
    while (slots[position].load(std::memory_order_relaxed) != 0)
        position = slots.behind(position);
    slots[position].store(slot, std::memory_order_release);
}

void RecordIndex::replace_slots(Slots* slots)
{
    Slots* const former = m_slots.exchange(slots, std::memory_order_seq_cst);
    m_readers.wait_for_all_readers();
    Core::OS::_ffree(former);
}

bool RecordIndex::grow()
{
    Slots* const former = slots();
    unsigned long const width = former == nullptr ? first_width : 64 - former->shift + 1;
    unsigned long const count = 1UL << width;
    auto* const fresh = static_cast<Slots*>(Core::OS::_falloc(sizeof(Slots) + count * sizeof(Slot)));
    if (fresh == nullptr)
        return false;
    fresh->mask = count - 1;
    fresh->shift = 64 - width;
    std::uninitialized_value_construct_n(&(*fresh)[0], count);
    for (unsigned long position = 0; former != nullptr && position <= former->mask; ++position)
    {
        if (unsigned long const slot = (*former)[position].load(std::memory_order_relaxed))
            place(*fresh, slot);
    }
    replace_slots(fresh);
    return true;
}

void RecordIndex::give_up()
{
    replace_slots(nullptr);
    m_count = 0;
    m_is_complete = false;
}

void RecordIndex::add(tagSTRINGPOOLRECORD& record)
{
    if (!m_is_complete)
        return;
    unsigned long const address = reinterpret_cast<unsigned long>(&record);
    unsigned long const room = slots() == nullptr ? 0 : slots()->mask + 1;
    // Three slots of four in use: a hit then looks at two or three slots of one cache line, and the index of 100,000
    // strings takes 1 MB. Where the heap has no more, seven of eight must do, and each addition tries again.
    bool const is_crowded = (m_count + 1) * 8 > room * 6;
    bool const is_full = (m_count + 1) * 8 > room * 7;
    if ((address & ~address_mask) != 0 || (is_crowded && !grow() && is_full))
    {
        give_up();
        return;
    }
    place(*slots(), address | tag_of(record.info.sHash) << (64 - tag_bits));
    ++m_count;
}

RecordIndex::Slot* RecordIndex::slot_of(tagSTRINGPOOLRECORD const& record) const noexcept
{
    if (slots() == nullptr)
        return nullptr;
    Slots& all = *slots();
    for (unsigned long position = all.home_of(record);; position = all.behind(position))
    {
        unsigned long const slot = all[position].load(std::memory_order_relaxed);
        if (slot == 0)
            return nullptr;
        if (record_of(slot) == &record)
            return &all[position];
    }
}

void RecordIndex::remove(tagSTRINGPOOLRECORD& record)
{
    Slot* const found = slot_of(record);
    if (found == nullptr)
        return;
    bool const was_visible = (found->load(std::memory_order_relaxed) & hidden) == 0;
    --m_count;
    Slots& all = *slots();
    auto gap = static_cast<unsigned long>(found - &all[0]);
    // Each slot behind the gap moves into it, unless its home lies between the two.
    for (unsigned long position = all.behind(gap);; position = all.behind(position))
    {
        unsigned long const slot = all[position].load(std::memory_order_relaxed);
        if (slot == 0)
            break;
        unsigned long const home = all.home_of(*record_of(slot));
        if (((position - home) & all.mask) >= ((position - gap) & all.mask))
        {
            all[gap].store(slot, std::memory_order_seq_cst);
            gap = position;
        }
    }
    all[gap].store(0, std::memory_order_seq_cst);
    if (was_visible)
        m_readers.wait_for_readers_of(tag_of(record.info.sHash));
}

void RecordIndex::hide(tagSTRINGPOOLRECORD& record)
{
    if (Slot* const slot = slot_of(record))
    {
        slot->fetch_or(hidden, std::memory_order_seq_cst);
        m_readers.wait_for_readers_of(tag_of(record.info.sHash));
    }
}

void RecordIndex::show(tagSTRINGPOOLRECORD& record)
{
    if (Slot* const slot = slot_of(record))
        slot->fetch_and(~hidden, std::memory_order_release);
}

} // namespace ORVA::String
