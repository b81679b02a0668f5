#include "cstringpool/evaluation_kernels.h"

#include "crc_tables.h"

namespace ORVA::String::evaluation
{

namespace
{

using Buffers::crc64::advance_eight;

// Four characters in the order of the register: the first one in the highest 16 bits.
using FourLanes = unsigned long;

constexpr FourLanes in_each_lane(unsigned long value)
{
    return value * 0x0001000100010001UL;
}

// Capitals of four ASCII characters, each marked by the bit 0x20 of its lane.
inline FourLanes capital_marks(FourLanes lanes)
{
    FourLanes const from_a = lanes + in_each_lane(0x80 - 'A');
    FourLanes const beyond_z = lanes + in_each_lane(0x80 - 'Z' - 1);
    return (from_a & ~beyond_z & in_each_lane(0x80)) >> 2;
}

// One or two registers that take ASCII characters by four.
template <class Unit>
class AsciiRegister
{
public:
    // Takes the next up to four characters. Fewer only at the beginning, where the register is 0 and characters of 0
    // before the text make no difference.
    inline void take(Unit const* text, unsigned long count)
    {
        FourLanes lanes = 0;
        for (unsigned long i = 0; i < count; ++i)
            add(lanes, text[i]);
        advance(lanes);
    }

    inline void take_four(Unit const* text)
    {
        FourLanes lanes = 0;
        for (int i = 0; i < 4; ++i)
            add(lanes, text[i]);
        advance(lanes);
    }

    bool only_ascii() const { return m_seen < 0x80; }
    AsciiHashes hashes() const { return {m_text, m_has_capitals ? m_folded : m_text, m_has_capitals}; }

private:
    inline void add(FourLanes& lanes, Unit unit)
    {
        m_seen |= static_cast<unsigned int>(unit);
        lanes = lanes << 16 | (static_cast<unsigned int>(unit) & 0xFFFF);
    }

    // The low byte of a character enters the register first, so it goes to the upper half of its lane.
    inline void advance(FourLanes lanes)
    {
        FourLanes const marks = capital_marks(lanes);
        if (!m_has_capitals && marks != 0)
        {
            m_has_capitals = true;
            m_folded = m_text;
        }
        m_text = advance_eight(m_text ^ lanes << 8);
        if (m_has_capitals)
            m_folded = advance_eight(m_folded ^ (lanes | marks) << 8);
    }

    unsigned long m_text = 0;
    unsigned long m_folded = 0;
    unsigned int m_seen = 0;
    bool m_has_capitals = false;
};

template <class Unit>
bool hash_ascii(Unit const* text, unsigned long length, AsciiHashes& hashes)
{
    AsciiRegister<Unit> reg;
    Unit const* const end = text + length;
    unsigned long const first = length % 4;
    reg.take(text, first);
    for (text += first; text != end && reg.only_ascii(); text += 4)
        reg.take_four(text);
    hashes = reg.hashes();
    return reg.only_ascii();
}

} // namespace

Kernel const sliced_kernel = {"sliced", hash_ascii<wchar_t>, hash_ascii<unsigned char>, hash_ascii<unsigned short>,
                              Buffers::crc64::evaluate_sliced};

} // namespace ORVA::String::evaluation
