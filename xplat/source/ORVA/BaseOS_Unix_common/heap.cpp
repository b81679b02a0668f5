#include "ORVA/Core.h"

#include <cstdlib>

namespace ORVA::Core::OS
{

void* _falloc(unsigned long size)
{
    return std::malloc(size);
}

void* _frealloc(void* memory, unsigned long size)
{
    return std::realloc(memory, size);
}

void _ffree(void* memory)
{
    std::free(memory);
}

} // namespace ORVA::Core::OS
