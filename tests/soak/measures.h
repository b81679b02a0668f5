/// @file
/// What the process has and takes, and where it must be level.
#pragma once

#include <cstddef>
#include <vector>

namespace soak
{

/// Taken at a quiet point: the workers have ended, nothing is held, and the pool has been collected.
struct Sample
{
    double seconds = 0;
    unsigned long operations = 0;
    unsigned long heap = 0;     ///< bytes that are allocated, as the allocator counts them
    unsigned long resident = 0; ///< bytes of memory that the process occupies
    unsigned long descriptors = 0;
    unsigned long threads = 0;
    unsigned long pool = 0; ///< bytes of all pooled strings
};

/// Looks at the process; the first two fields and the pool are the caller's.
Sample take_sample();

/// False where the numbers of the heap are not those of the program: under a sanitizer, which has an allocator of its
/// own and keeps what was freed.
bool memory_tells();

/// What a sample tells of memory: the heap, or the resident memory where the heap does not tell.
unsigned long memory_of(Sample const& sample);

/// Compares the end with the first sample after the warm-up, and says what is not level.
bool is_level(Sample const& first, Sample const& last);

void print_samples(std::vector<Sample> const& samples, std::size_t warm_up);

} // namespace soak
