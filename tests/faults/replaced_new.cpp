// The operators here take the place of the standard library's in the whole process, the threads' library included, so that
// they can be made to fail. The forms that give null are left out: nothing that the library calls uses them.
#include "faults/FaultTest.h"

#include <cstdlib>
#include <new>

// The name is that which the linker's --wrap gives.
extern "C" void* __real_malloc(std::size_t size);

void* operator new(std::size_t size)
{
    std::size_t const bytes = size == 0 ? 1 : size;
    if (void* const memory = faults::NewFails::here() ? std::malloc(bytes) : __real_malloc(bytes))
        return memory;
    throw std::bad_alloc();
}

// A sanitizer has forms of its own for arrays, which would not call those for single objects.
void* operator new[](std::size_t size)
{
    return operator new(size);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    std::free(memory);
}
