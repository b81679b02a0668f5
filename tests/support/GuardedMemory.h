/// @file
/// Memory between two pages that cannot be read, for what must not look beyond its input.
#pragma once

#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace support
{

/// Memory whose first and last bytes are the first and the last one that may be touched.
class GuardedMemory
{
public:
    explicit GuardedMemory(unsigned long size)
        : page(static_cast<unsigned long>(sysconf(_SC_PAGESIZE))), usable((size / page + 1) * page)
    {
        void* const mapped = mmap(nullptr, usable + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (mapped == MAP_FAILED)
            std::abort();
        base = static_cast<unsigned char*>(mapped) + page;
        if (mprotect(base, usable, PROT_READ | PROT_WRITE) != 0)
            std::abort();
    }
    GuardedMemory(GuardedMemory const&) = delete;
    GuardedMemory& operator=(GuardedMemory const&) = delete;
    ~GuardedMemory() { munmap(base - page, usable + 2 * page); }

    /// Places `units` so that what follows the last of them cannot be read.
    template <class Unit>
    Unit const* place(std::vector<Unit> const& units)
    {
        unsigned long const bytes = units.size() * sizeof(Unit);
        if (bytes != 0)
            std::memcpy(base + usable - bytes, units.data(), bytes);
        return reinterpret_cast<Unit const*>(base + usable - bytes);
    }

    /// Places `units` so that what stands before the first of them cannot be read.
    template <class Unit>
    Unit const* place_first(std::vector<Unit> const& units)
    {
        if (!units.empty())
            std::memcpy(base, units.data(), units.size() * sizeof(Unit));
        return reinterpret_cast<Unit const*>(base);
    }

private:
    unsigned long page;
    unsigned long usable;
    unsigned char* base;
};

/// A place for short texts that ends at memory that cannot be read.
inline GuardedMemory& edge()
{
    static GuardedMemory memory(4096);
    return memory;
}

} // namespace support
