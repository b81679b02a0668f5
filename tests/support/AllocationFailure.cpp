#include "support/AllocationFailure.h"

#include <cstddef>
#include <utility>

namespace
{

struct State
{
    bool active;
    bool forever;
    unsigned int pauses;
    unsigned long nth;
    unsigned long attempts;
    unsigned long failures;
    unsigned long last_size;
    std::function<bool(unsigned long)> const* choice; // null where a number decides
};

thread_local State state = {false, false, 0, 0, 0, 0, 0, nullptr};

bool is_to_fail(std::size_t size)
{
    if (!state.active || state.pauses != 0)
        return false;
    state.last_size = size;
    ++state.attempts;
    bool const is_chosen =
        state.nth != 0 && (state.attempts == state.nth || (state.forever && state.attempts > state.nth));
    bool const fails = state.choice != nullptr ? (*state.choice)(size) : is_chosen;
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
    state = {true, duration == forever, 0, nth, 0, 0, 0, nullptr};
}

AllocationFailure::AllocationFailure(std::function<bool(unsigned long)> choice) : m_choice(std::move(choice))
{
    state = {true, false, 0, 0, 0, 0, 0, &m_choice};
}

AllocationFailure::~AllocationFailure()
{
    state.active = false;
    state.choice = nullptr;
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

AllocationPause::AllocationPause()
{
    ++state.pauses;
}

AllocationPause::~AllocationPause()
{
    --state.pauses;
}

} // namespace support
