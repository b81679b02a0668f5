/// @file
/// The generator of ORVA/Develop/MTRandom.h for many threads at once, without a lock.
///
/// All draws together are the sequence that `CMTRandom` gives for the same seed, each word drawn once. Only how the
/// words are divided among the threads varies; each thread gets its own in the order of the sequence.
///
/// There are two blocks of words. A draw takes a place in the active one by a compare-and-swap. The draw that finds it
/// used up changes to the other, which is ready, and makes a new one out of it while other threads go on.
///
/// Thread-safety: `rnd` may be called from any thread at any time.
///
/// Ownership: the object holds pointers into itself and can be neither copied nor moved. It has no destructor, so that
/// one of static storage serves until the very end of the process. 5,016 bytes.
#pragma once

#include "ORVA/Core/Export.h"

#include <atomic>

namespace ORVA::Develop
{

/// A generator of 32-bit words for many threads. It cannot be seeded: its sequence differs from object to object.
class ORVA_API CMTRnd_TS
{
public:
    /// Seeded from the low 32 bits of the monotonic clock.
    CMTRnd_TS();
    CMTRnd_TS(CMTRnd_TS const&) = delete;
    CMTRnd_TS& operator=(CMTRnd_TS const&) = delete;

    /// The next word. Costs one compare-and-swap, and one more for each other thread that gets in first. One draw in
    /// 624 makes a block, under a microsecond. If the threads use a block up faster than that, they wait, giving the
    /// processor away, until the next one is ready.
    unsigned int rnd();

    /// Makes the spare block out of the active one. `rnd` does so by itself; call it only while no thread draws.
    void _regen();

protected:
    /// Words in a block.
    static constexpr unsigned long word_count = 624;

    /// Low 32 bits: the next word to read in the active block, 624 if it is used up, 625 while the blocks are being
    /// changed. High 32 bits: how often they have been. Changed only by compare-and-swap.
    unsigned long m_index = 0;
    unsigned int m_block_a[word_count];             ///< one block
    unsigned int m_block_b[word_count];             ///< the other block
    std::atomic<unsigned int*> m_active{m_block_a}; ///< the block being read
    std::atomic<unsigned int*> m_spare{nullptr};    ///< the next block; null while it is being made

private:
    unsigned int _change_blocks(unsigned long ticket, unsigned int* next);
};

static_assert(sizeof(CMTRnd_TS) == 5016, "the layout of the generator is fixed");

} // namespace ORVA::Develop
