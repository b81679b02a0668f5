/// @file
/// Sizes of threads' stacks.
#pragma once

namespace ORVA::Threading
{

/// The stack in bytes that a thread gets which asks for `wanted`: 16,384 at least, and whole pages of `page_size`
/// bytes. What is beyond the last whole page of the address range becomes that page's end: no system has so much.
constexpr unsigned long stack_size_for(unsigned long wanted, unsigned long page_size) noexcept
{
    constexpr unsigned long smallest = 16384;
    unsigned long const raised = wanted < smallest ? smallest : wanted;
    unsigned long const beyond = raised % page_size;
    if (beyond == 0)
        return raised;
    unsigned long const missing = page_size - beyond;
    return raised > ~0UL - missing ? raised - beyond : raised + missing;
}

} // namespace ORVA::Threading
