#include "ORVA/Develop/MTRandomTS.h"

#include "BaseOS/twister.h"

#include "ORVA/Core.h"
#include "ORVA/Develop/MTRandom.h"

#include <cstring>
#include <thread>

// Why each word is drawn once, and no thread reads a word while it is written without noticing.
//
// The index passes through 0 (or 1) to 624 by single steps, then to 625, then to 1 of the next block, with one more
// change of blocks in its upper half. So it never takes a value twice, and a compare-and-swap that succeeds proves that
// nothing has happened since the index was read.
//
// 1. A draws: it reads the index as 100, then the active block, then word 100 of it.
// 2. A is held up. Others draw 101 to 623, and B takes 624 and changes the blocks.
// 3. B writes the next words into the block that A read from. A may have seen the old word, the new one, or either
//    block: its compare-and-swap finds another index, even if 100 of a later block, and A starts again.
//
// A's look at a word and B's write of it are atomic, without order: what A reads is thrown away unless its swap
// succeeds, and then it came before the one by which B took 624, and so before all writes of B.
//
// The thread that swaps 624 for 625 is the only one to go on; all others wait for the index to come down. It needs the
// spare block. If that is still being made, nobody takes 624: whoever did would find nothing to change to, and as there
// is one 624 only, nobody else would come to do it later. That the spare is there is seen between the reading of the
// index and the swap, so it holds for the very block that the swap ends.
//
// The maker of a block publishes it by the spare pointer, the changer takes it from there and publishes it by the active
// pointer and then the index: hence release and acquire on the pointers.
namespace ORVA::Develop
{
namespace
{

constexpr unsigned long index_mask = 0xFFFFFFFFUL;
constexpr unsigned long one_change = index_mask + 1;

} // namespace

CMTRnd_TS::CMTRnd_TS()
{
    static_assert(word_count == Twister::word_count, "the steps work on whole blocks");
    Twister::fill(m_block_a, Twister::clock_seed());
    _regen();
}

unsigned int CMTRnd_TS::rnd()
{
    for (;;)
    {
        unsigned long const seen = Core::load_acquire(m_index);
        unsigned long const index = seen & index_mask;
        if (index < word_count)
        {
            unsigned int const word = Core::load_relaxed(m_active.load(std::memory_order_acquire)[index]);
            if (Core::InterlockedCompareSwapSize_t(m_index, seen, seen + 1) == seen)
                return CMTRandom::temper(word);
            continue;
        }
        if (index == word_count)
        {
            unsigned int* const next = m_spare.load(std::memory_order_acquire);
            if (next != nullptr)
            {
                if (Core::InterlockedCompareSwapSize_t(m_index, seen, seen + 1) == seen)
                    return CMTRandom::temper(_change_blocks(seen, next));
                continue;
            }
        }
        std::this_thread::yield();
    }
}

// For the thread that has taken the place behind the last word. Its own word is the first of the next block.
unsigned int CMTRnd_TS::_change_blocks(unsigned long ticket, unsigned int* next)
{
    m_active.store(next, std::memory_order_release);
    m_spare.store(nullptr, std::memory_order_relaxed);
    Core::InterlockedSet(m_index, (ticket & ~index_mask) + one_change + 1);
    // Nobody writes into the block while it is active, and it stays so until there is another spare one.
    unsigned int const first = next[0];
    _regen();
    return first;
}

void CMTRnd_TS::_regen()
{
    unsigned int const* const active = m_active.load(std::memory_order_relaxed);
    unsigned int* const other = active == m_block_a ? m_block_b : m_block_a;
    // Made aside, by vector code; threads that are late may still look into the block that it goes to.
    unsigned int made[word_count];
    std::memcpy(made, active, sizeof made);
    Twister::twist(made);
    for (unsigned long i = 0; i < word_count; ++i)
        Core::store_relaxed(other[i], made[i]);
    m_spare.store(other, std::memory_order_release);
}

} // namespace ORVA::Develop
