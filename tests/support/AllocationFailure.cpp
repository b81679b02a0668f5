#include "support/AllocationFailure.h"

#include <cstddef>

namespace
{

struct State
{
    bool active;
    bool forever;
    unsigned long nth;
    unsigned long attempts;
    unsigned long failures;
    unsigned long last_size;
};

thread_local State state = {false, false, 0, 0, 0, 0};

bool is_to_fail(std::size_t size)
{
    if (!state.active)
        return false;
    state.last_size = size;
    ++state.attempts;
    bool const fails = state.nth != 0 && (state.attempts == state.nth || (state.forever && state.attempts > state.nth));
    if (fails)
        ++state.failures;
    return fails;
}

} // namespace

// The names are those that the linker's --wrap gives.
extern "C" void* __real_malloc(std::size_t size);
extern "C" void* __real_realloc(void* memory, std::size_t size);
extern "C" void* __wrap_malloc(std::size_t size);
extern "C" void* __wrap_realloc(void* memory, std::size_t size);

extern "C" void* __wrap_malloc(std::size_t size)
{
    return is_to_fail(size) ? nullptr : __real_malloc(size);
}

extern "C" void* __wrap_realloc(void* memory, std::size_t size)
{
    return is_to_fail(size) ? nullptr : __real_realloc(memory, size);
}

namespace support
{

AllocationFailure::AllocationFailure(unsigned long nth, Duration duration)
{
    state = {true, duration == forever, nth, 0, 0, 0};
}

AllocationFailure::~AllocationFailure()
{
    state.active = false;
}

unsigned long AllocationFailure::attempts() const
{
    return state.attempts;
}

unsigned long AllocationFailure::failures() const
{
    return state.failures;
}

unsigned long AllocationFailure::last_size() const
{
    return state.last_size;
}

} // namespace support
