#include "cstringpool/record_index.h"

#include <climits>
#include <cstring>
#include <utility>

namespace ORVA::String
{

namespace
{

constexpr unsigned int first_width = 10;

} // namespace

RecordIndex::~RecordIndex()
{
    Core::OS::_ffree(m_slots);
}

void RecordIndex::place(unsigned long slot) noexcept
{
    unsigned long position = home_of(record_of(slot)->info.sHash);
    while (m_slots[position] != 0)
        position = (position + 1) & m_mask;
    m_slots[position] = slot;
}

bool RecordIndex::grow()
{
    unsigned int const width = m_slots == nullptr ? first_width : 64 - m_shift + 1;
    unsigned long const old_count = m_slots == nullptr ? 0 : m_mask + 1;
    unsigned long const new_count = 1UL << width;
    auto* const slots = static_cast<unsigned long*>(Core::OS::_falloc(new_count * sizeof(unsigned long)));
    if (slots == nullptr)
        return false;
    std::memset(slots, 0, new_count * sizeof(unsigned long));
    unsigned long* const old_slots = std::exchange(m_slots, slots);
    m_mask = new_count - 1;
    m_shift = 64 - width;
    for (unsigned long position = 0; position < old_count; ++position)
    {
        if (old_slots[position] != 0)
            place(old_slots[position]);
    }
    Core::OS::_ffree(old_slots);
    return true;
}

void RecordIndex::give_up()
{
    Core::OS::_ffree(std::exchange(m_slots, nullptr));
    m_mask = 0;
    m_count = 0;
    m_is_complete = false;
}

void RecordIndex::add(tagSTRINGPOOLRECORD& record)
{
    if (!m_is_complete)
        return;
    unsigned long const address = reinterpret_cast<unsigned long>(&record);
    // Three slots of four in use: a hit then looks at two or three slots of one cache line, and the index of 100,000
    // strings takes 1 MB. Where the heap has no more, seven of eight must do, and each addition tries again.
    bool const is_crowded = (m_count + 1) * 8 > (m_mask + 1) * 6;
    bool const is_full = (m_count + 1) * 8 > (m_mask + 1) * 7;
    if ((address & ~address_mask) != 0 || (is_crowded && !grow() && is_full))
    {
        give_up();
        return;
    }
    place(address | tag_of(record.info.sHash) << (64 - tag_bits));
    ++m_count;
}

void RecordIndex::remove(tagSTRINGPOOLRECORD& record)
{
    if (m_slots == nullptr)
        return;
    unsigned long gap = home_of(record.info.sHash);
    while (record_of(m_slots[gap]) != &record)
    {
        if (m_slots[gap] == 0)
            return;
        gap = (gap + 1) & m_mask;
    }
    --m_count;
    // Each slot behind the gap moves into it, unless its home lies between the two.
    for (unsigned long position = (gap + 1) & m_mask; m_slots[position] != 0; position = (position + 1) & m_mask)
    {
        unsigned long const home = home_of(record_of(m_slots[position])->info.sHash);
        if (((position - home) & m_mask) >= ((position - gap) & m_mask))
        {
            m_slots[gap] = m_slots[position];
            gap = position;
        }
    }
    m_slots[gap] = 0;
}

} // namespace ORVA::String
