/// @file
/// A look into the generators.
#pragma once

#include "ORVA/Core.h"
#include "ORVA/Develop.h"

#include "reference/plain_random.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

namespace numerics
{

using namespace ORVA::Develop;

constexpr unsigned long block_length = 624;
constexpr unsigned int seeds[] = {0, 1, 2, 5489, 0x7FFFFFFFU, 0x80000000U, 0xDEADBEEFU, 0xFFFFFFFFU};

struct RandomLook : CMTRandom
{
    using CMTRandom::m_factor;
    using CMTRandom::m_index;
    using CMTRandom::m_modulus;
    using CMTRandom::m_state;
};

inline CMTRandom seeded(unsigned int seed)
{
    CMTRandom random;
    random.seed(seed);
    return random;
}

inline RandomLook look(unsigned int seed)
{
    RandomLook random;
    random.seed(seed);
    return random;
}

/// The seed whose first word is this.
inline unsigned int seed_for(unsigned int first)
{
    return reference::untemper(first);
}

struct SharedLook : CMTRnd_TS
{
    using CMTRnd_TS::m_active;
    using CMTRnd_TS::m_block_a;
    using CMTRnd_TS::m_block_b;
    using CMTRnd_TS::m_index;
    using CMTRnd_TS::m_spare;

    /// Of one that nobody has drawn from.
    unsigned int seed() const { return m_block_a[0]; }
};

/// The words of the block of this number, 0 for the seeded one, before tempering.
inline std::vector<unsigned int> block_of(unsigned int seed, unsigned long number)
{
    reference::PlainTwister twister(seed);
    std::vector<unsigned int> words(block_length);
    for (unsigned long block = 0; block <= number; ++block)
        std::generate(words.begin(), words.end(), [&twister] { return twister.next_word(); });
    return words;
}

inline std::vector<unsigned int> words_of(unsigned int const (&block)[block_length])
{
    return {block, block + block_length};
}

/// Tells whether `make` took its seed from the clock's low 32 bits while it ran. It is repeated until it has taken less
/// time than they need to come round.
template <class Make>
bool is_seeded_from_the_clock(Make make)
{
    for (;;)
    {
        unsigned long const before = _steady_clock_now();
        unsigned int const seed = make();
        unsigned long const after = _steady_clock_now();
        if (after - before <= UINT32_MAX)
            return seed - static_cast<unsigned int>(before) <= after - before;
    }
}

/// Reads a field of `object` where it is laid out.
template <class Field, class Object>
Field field_at(Object const& object, unsigned long offset)
{
    Field field;
    std::memcpy(&field, reinterpret_cast<unsigned char const*>(&object) + offset, sizeof field);
    return field;
}

} // namespace numerics
