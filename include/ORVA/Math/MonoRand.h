/// @file
/// A small linear congruential generator for repeatable sequences.
///
/// Thread-safety: one thread at a time. Ownership: a plain value of 8 bytes; a copy goes on by itself.
#pragma once

#include "ORVA/Core/Export.h"

namespace ORVA::Random
{

/// Gives the same sequence for the same seed on every platform. Its numbers have 15 bits and are no good where their
/// quality matters: see `Develop::CMTRandom`.
class ORVA_API CMonoRand
{
public:
    /// Starts the sequence of `seed`.
    CMonoRand(int seed) : m_state(seed) {}

    /// Starts the sequence of `seed`, as a new object does.
    void Reset(int seed) { m_state = seed; }

    /// The next number, 0 to 32767.
    int rand()
    {
        // Unsigned, where an overflow is a plain loss of the upper bits.
        m_state = static_cast<long>(static_cast<unsigned long>(m_state) * 214013UL + 2531011UL);
        return static_cast<int>((m_state >> 16) & 0x7FFF);
    }

protected:
    long m_state; ///< sign-extended from the seed; results show bits 16 to 30 only
};

static_assert(sizeof(CMonoRand) == 8, "the layout of the generator is fixed");

} // namespace ORVA::Random
