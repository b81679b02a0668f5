// The steps that both twisters share, on a block of 624 words. They differ from the published generator; see
// ORVA/Develop/MTRandom.h.
#pragma once

namespace ORVA::Develop::Twister
{

constexpr unsigned long word_count = 624;

// Fills the block from a 32-bit seed.
void fill(unsigned int* block, unsigned int seed);

// The low 32 bits of the monotonic clock.
unsigned int clock_seed();

using Twist = void (*)(unsigned int* block);

// Replaces the block by the next one, in place, in the best way for this processor. That is found on the first call.
void twist(unsigned int* block);

// The same in the way that works everywhere.
void twist_everywhere(unsigned int* block);

} // namespace ORVA::Develop::Twister
