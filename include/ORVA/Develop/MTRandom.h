/// @file
/// A twisted generalised feedback shift register of the Mersenne Twister family, for one thread.
///
/// It is not MT19937. Constants, seeding and tempering are those of the published generator, but
/// - the first 624 words after seeding are the seeded ones, with no twist before them;
/// - the twist takes the lower 31 bits of the next word without the lowest (mask 0x7FFFFFFE);
/// - the twist tests the lowest bit of the new word, so that every word it writes is even before tempering.
///
/// What a seed gives is fixed, and differs from what the published generator gives for it. Not for cryptography.
///
/// Thread-safety: one thread at a time. `CMTRnd_TS` in ORVA/Develop/MTRandomTS.h is for many.
///
/// Ownership: a plain value of 2,520 bytes. A copy goes on with the same sequence by itself.
#pragma once

#include "ORVA/Core/Export.h"

namespace ORVA::Develop
{

/// A repeatable generator of 32-bit words: two objects with the same seed give the same sequence.
class ORVA_API CMTRandom
{
public:
    /// Seeded from the low 32 bits of the monotonic clock. `rnd` gives all 32 bits, `drnd` 0.0 to 1.0.
    CMTRandom();

    /// Starts the sequence of `value`. The limit of `rnd` and the factor of `drnd` stay.
    void seed(unsigned int value);

    /// Makes `largest` the largest result of `rnd`. 0xFFFFFFFF removes the limit, 0 makes every result 0.
    void maxrnd(unsigned int largest) { m_modulus = largest + 1; }

    /// Makes `factor` what `drnd` multiplies by. Despite the name it is not the largest result, which is `factor` times
    /// 4294967295: for results of 0.0 to x, pass x / 4294967295.0.
    void maxdrnd(double factor) { m_factor = factor; }

    /// The next word; with a limit, its remainder modulo the limit plus 1.
    unsigned int rnd()
    {
        unsigned int const word = _create();
        return m_modulus == 0 ? word : word % m_modulus;
    }

    /// The next word times the factor; the limit of `rnd` plays no part. By default 0.0 to 1.0, both included.
    double drnd() { return m_factor * static_cast<double>(_create()); }

    /// The next word, all 32 bits. One in 624 also makes a new block.
    unsigned int _create()
    {
        if (m_index >= word_count)
        {
            _regen();
            m_index = 0;
        }
        return temper(m_state[m_index++]);
    }

    /// Replaces the block by the next one. The place in the block stays: the next draw reads the new block there.
    void _regen();

protected:
    /// Words in a block.
    static constexpr unsigned long word_count = 624;

    /// Spreads the bits of a word of the block; every result comes of exactly one word.
    static unsigned int temper(unsigned int word)
    {
        word ^= word >> 11;
        word ^= (word << 7) & 0x9D2C5680U;
        word ^= (word << 15) & 0xEFC60000U;
        return word ^ (word >> 18);
    }

    unsigned long m_index;                ///< the next word to read; 624 or more if the block is used up
    unsigned int m_state[word_count];     ///< the block
    unsigned int m_modulus = 0;           ///< 0 if `rnd` gives all 32 bits
    double m_factor = 1.0 / 4294967295.0; ///< what `drnd` multiplies by

    friend class CMTRnd_TS;
};

static_assert(sizeof(CMTRandom) == 2520, "the layout of the generator is fixed");

} // namespace ORVA::Develop
