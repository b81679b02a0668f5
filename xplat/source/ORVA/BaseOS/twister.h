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

// Replaces the block by the next one, in place.
void twist(unsigned int* block);

} // namespace ORVA::Develop::Twister
