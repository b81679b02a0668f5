#include "measures.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <dirent.h>
#include <malloc.h>
#include <unistd.h>

namespace soak
{

namespace
{

// What may differ between two quiet points, and why.
//
// The heap: tables and lists keep the room that they once needed, and the highest need so far is exceeded now and then, by
// less and less; what the threads that live have freed lies in their caches, and counts. Both came to less than 20 KiB in
// three minutes. A leak of one byte in each of the hundreds of thousands of operations of a minute is more than this.
constexpr unsigned long heap_tolerance = 128 * 1024UL;
// Resident memory: pages that the allocator has got from the system for one of its arenas and has not given back. Which
// arena a thread gets is chance; each of the eight threads may touch pages that nobody has touched yet.
constexpr unsigned long resident_tolerance = 16 * 1024 * 1024UL;
// Descriptors and threads are counted exactly, and so is the pool.

unsigned long entries_of(char const* path)
{
    DIR* const directory = ::opendir(path);
    if (directory == nullptr)
        return 0;
    unsigned long count = 0;
    while (dirent const* const entry = ::readdir(directory))
        count += entry->d_name[0] != '.' ? 1U : 0U;
    ::closedir(directory);
    return count;
}

unsigned long resident_bytes()
{
    unsigned long pages = 0;
    std::ifstream file("/proc/self/statm");
    file >> pages >> pages;
    return pages * static_cast<unsigned long>(::sysconf(_SC_PAGESIZE));
}

bool compare(char const* what, unsigned long first, unsigned long last, unsigned long tolerance)
{
    unsigned long const difference = first < last ? last - first : first - last;
    if (difference <= tolerance)
        return true;
    std::fprintf(stderr, "soak: %s not level: %lu after the warm-up, %lu at the end, tolerance %lu\n", what, first,
                 last, tolerance);
    return false;
}

} // namespace

bool memory_tells()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
    return false;
#else
    return true;
#endif
#else
    return true;
#endif
}

Sample take_sample()
{
    Sample sample;
    // The descriptor of the walk itself is one of its entries.
    sample.descriptors = entries_of("/proc/self/fd") - 1;
    sample.threads = entries_of("/proc/self/task");
    sample.resident = resident_bytes();
    sample.heap = ::mallinfo2().uordblks + ::mallinfo2().hblkhd;
    return sample;
}

unsigned long memory_of(Sample const& sample)
{
    return memory_tells() ? sample.heap : sample.resident;
}

bool is_level(Sample const& first, Sample const& last)
{
    bool level = compare("descriptors", first.descriptors, last.descriptors, 0);
    level = compare("threads", first.threads, last.threads, 0) && level;
    level = compare("the pool", first.pool, last.pool, 0) && level;
    if (!memory_tells())
        return level;
    level = compare("the heap", first.heap, last.heap, heap_tolerance) && level;
    return compare("resident memory", first.resident, last.resident, resident_tolerance) && level;
}

void print_samples(std::vector<Sample> const& samples, std::size_t warm_up)
{
    std::printf("%9s %12s %12s %12s %6s %8s %10s\n", "seconds", "operations", "heap", "resident", "files", "threads",
                "pool");
    for (std::size_t number = 0; number < samples.size(); ++number)
    {
        Sample const& sample = samples[number];
        std::printf("%9.1f %12lu %12lu %12lu %6lu %8lu %10lu%s\n", sample.seconds, sample.operations, sample.heap,
                    sample.resident, sample.descriptors, sample.threads, sample.pool,
                    number < warm_up ? " warm-up" : "");
    }
    if (!memory_tells())
        std::printf("memory is not compared under a sanitizer\n");
}

} // namespace soak
