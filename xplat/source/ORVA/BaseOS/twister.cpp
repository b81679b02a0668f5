#include "BaseOS/twister.h"

#include "ORVA/Develop/Clocks.h"

namespace ORVA::Develop::Twister
{
namespace
{

constexpr unsigned long distance = 397;
// Words before the place from which on the word at `distance` is one that this twist has written.
constexpr unsigned long forward_count = word_count - distance;

inline unsigned int twisted(unsigned int word, unsigned int next, unsigned int distant)
{
    unsigned int const y = (word & 0x80000000U) | (next & 0x7FFFFFFEU);
    unsigned int const t = distant ^ (y >> 1);
    return t ^ (0x9908B0DFU & (0U - (t & 1U)));
}

// No loop needs a word that it writes itself less than 227 places before, so each becomes vector code. The first is
// divided because cautious compilers want a count that is a multiple of the vector's length.
__attribute__((always_inline)) inline void twist_block(unsigned int* block)
{
    constexpr unsigned long even_count = forward_count / 16 * 16;
    for (unsigned long i = 0; i < even_count; ++i)
        block[i] = twisted(block[i], block[i + 1], block[i + distance]);
    for (unsigned long i = even_count; i < forward_count; ++i)
        block[i] = twisted(block[i], block[i + 1], block[i + distance]);
    for (unsigned long i = forward_count; i < word_count - 1; ++i)
        block[i] = twisted(block[i], block[i + 1], block[i - forward_count]);
    block[word_count - 1] = twisted(block[word_count - 1], block[0], block[distance - 1]);
}

#if defined(__x86_64__)

// The same code for vectors of twice the length that every processor has.
__attribute__((target("avx2"))) void twist_wide(unsigned int* block)
{
    twist_block(block);
}

Twist find_best()
{
    // The generator of the process is made before the compiler's own initialiser of its processor data may have run.
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") != 0 ? &twist_wide : &twist_everywhere;
}

#else

Twist find_best()
{
    return &twist_everywhere;
}

#endif

} // namespace

void fill(unsigned int* block, unsigned int seed)
{
    block[0] = seed;
    for (unsigned int i = 1; i < word_count; ++i)
        block[i] = 1812433253U * (block[i - 1] ^ (block[i - 1] >> 30)) + i;
}

unsigned int clock_seed()
{
    return static_cast<unsigned int>(_steady_clock_now());
}

void twist_everywhere(unsigned int* block)
{
    twist_block(block);
}

void twist(unsigned int* block)
{
    static Twist const best = find_best();
    best(block);
}

} // namespace ORVA::Develop::Twister
