/// @file
/// For those who wait for another thread without blocking.
#pragma once

namespace ORVA::Core::OS
{

/// For each round of a loop that waits for a word to change: spares the processor and those it shares resources with.
inline void pause_briefly() noexcept
{
#if defined(__x86_64__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    __asm__ __volatile__("yield");
#endif
}

} // namespace ORVA::Core::OS
