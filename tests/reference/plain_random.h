/// @file
/// The generators as endless recurrences: no blocks, no index that starts again, no vector code.
#pragma once

#include <array>

namespace reference
{

/// The words of the twister before tempering: 624 seeded ones, then each out of those 624, 623 and 227 places before it.
class PlainTwister
{
public:
    explicit PlainTwister(unsigned int seed)
    {
        unsigned long long word = seed;
        for (unsigned int place = 0; place < length; ++place)
        {
            m_last[place] = static_cast<unsigned int>(word);
            word = (1812433253ULL * (word ^ word / 0x40000000U) + place + 1) % 0x100000000ULL;
        }
    }

    unsigned int next_word()
    {
        unsigned int& word = m_last[m_drawn % length];
        if (m_drawn >= length)
            word = successor(word, m_last[(m_drawn + 1) % length], m_last[(m_drawn + 397) % length]);
        ++m_drawn;
        return word;
    }

    /// The word that follows 624 places behind `word`; `next` is the one behind it, `distant` the one 397 places behind.
    static unsigned int successor(unsigned int word, unsigned int next, unsigned int distant)
    {
        unsigned int y = next & 0x7FFFFFFFU;
        if (y % 2 == 1)
            --y;
        if (word >= 0x80000000U)
            y += 0x80000000U;
        unsigned int const made = distant ^ y / 2;
        return made % 2 == 1 ? made ^ 0x9908B0DFU : made;
    }

private:
    static constexpr unsigned int length = 624;
    std::array<unsigned int, length> m_last;
    unsigned long m_drawn = 0;
};

inline unsigned int temper(unsigned int word)
{
    unsigned int const a = word ^ word / 0x800U;
    unsigned int const b = a ^ (a * 0x80U & 0x9D2C5680U);
    unsigned int const c = b ^ (b * 0x8000U & 0xEFC60000U);
    return c ^ c / 0x40000U;
}

/// The word that `temper` makes `result` of. Each step leaves some bits as they were, from which the others follow.
inline unsigned int untemper(unsigned int result)
{
    unsigned int const c = result ^ result >> 18;
    unsigned int const b = c ^ (c << 15 & 0xEFC60000U);
    unsigned int a = b;
    for (int round = 0; round < 5; ++round)
        a = b ^ (a << 7 & 0x9D2C5680U);
    unsigned int word = a;
    for (int round = 0; round < 3; ++round)
        word = a ^ word >> 11;
    return word;
}

/// The congruential generator. What it shows depends on the lower 31 bits of its state alone.
class PlainMonoRand
{
public:
    explicit PlainMonoRand(int seed) : m_low(static_cast<unsigned int>(seed) % 0x80000000U) {}

    int next()
    {
        m_low = static_cast<unsigned int>((m_low * 214013ULL + 2531011ULL) % 0x80000000ULL);
        return static_cast<int>(m_low / 0x10000U);
    }

private:
    unsigned int m_low;
};

} // namespace reference
