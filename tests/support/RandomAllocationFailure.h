/// @file
/// Makes allocations of a thread fail at random moments.
///
/// Link as for AllocationFailure.h.
#pragma once

#include "support/AllocationFailure.h"

#include <random>

namespace support
{

/// While it lives, each allocation of this thread fails with a chance of 1 in `one_in`. The same seed gives the same
/// schedule for the same allocations. It is a scope of `AllocationFailure`, in which pauses work, and does not nest.
class RandomAllocationFailure
{
public:
    RandomAllocationFailure(unsigned int seed, unsigned int one_in);

    /// The allocations that were tried, failed ones included.
    unsigned long attempts() const { return m_scope.attempts(); }
    /// The allocations that were made to fail.
    unsigned long failures() const { return m_scope.failures(); }

private:
    std::minstd_rand m_random;
    AllocationFailure m_scope;
};

} // namespace support
