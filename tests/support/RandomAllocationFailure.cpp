#include "support/RandomAllocationFailure.h"

namespace support
{

RandomAllocationFailure::RandomAllocationFailure(unsigned int seed, unsigned int one_in)
    : m_random(seed), m_scope([this, one_in](unsigned long) { return m_random() % one_in == 0; })
{
}

} // namespace support
