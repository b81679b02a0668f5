#include "ORVA/Buffers/MachineCRC.h"

#include "ORVA/Core/Atomic.h"

#include "crc_kernels.h"
#include "crc_tables.h"

#include <type_traits>

namespace ORVA::Buffers
{

namespace
{

using Byte = unsigned char;

constexpr unsigned int smallest_width = 8;
constexpr unsigned int largest_width = 64;

inline unsigned long load_big_endian(Byte const* bytes)
{
    unsigned long value = 0;
    for (int i = 0; i < 8; ++i)
        value = value << 8 | bytes[i];
    return value;
}

crc64::Evaluate chosen = nullptr;

} // namespace

static_assert(sizeof(CMachineCRC) == 2064 && std::is_standard_layout_v<CMachineCRC>, "layout of the boundary");
static_assert(std::is_trivially_copyable_v<CMachineCRC> && std::is_trivially_destructible_v<CMachineCRC>,
              "a plain value");

CMachineCRC::CMachineCRC(unsigned int width, unsigned long polynomial) : uShift(0), uMask(0), aTable{}
{
    if (width < smallest_width || width > largest_width)
        return;
    unsigned long const top = 1UL << (width - 1);
    uMask = top | (top - 1);
    uShift = width - 8;
    for (unsigned long i = 1; i < 256; ++i)
    {
        // Bits above the width gather here; they never come back down, and the mask drops them.
        unsigned long value = i << uShift;
        for (int bit = 0; bit < 8; ++bit)
            value = value << 1 ^ ((value & top) != 0 ? polynomial : 0);
        aTable[i] = value & uMask;
    }
}

unsigned long CMachineCRC::Eval(void const* data, unsigned long length, unsigned long crc) const
{
    if (uShift == 0)
        return crc;
    if (uShift == largest_width - 8 && aTable[1] == crc64::polynomial)
        return crc64::best_evaluate()(data, length, crc) & uMask;
    Byte const* const bytes = static_cast<Byte const*>(data);
    for (unsigned long i = 0; i < length; ++i)
        crc = aTable[(crc >> uShift & 0xFF) ^ bytes[i]] ^ crc << 8;
    return crc & uMask;
}

namespace crc64
{

unsigned long evaluate_sliced(void const* data, unsigned long length, unsigned long crc)
{
    Byte const* bytes = static_cast<Byte const*>(data);
    if (length >= 64)
    {
        // One register waits for its look-ups most of the time, so four take turns at the words.
        unsigned long second = 0;
        unsigned long third = 0;
        unsigned long fourth = 0;
        for (; length >= 64; length -= 32, bytes += 32)
        {
            crc = advance_eight(crc ^ load_big_endian(bytes), skipping);
            second = advance_eight(second ^ load_big_endian(bytes + 8), skipping);
            third = advance_eight(third ^ load_big_endian(bytes + 16), skipping);
            fourth = advance_eight(fourth ^ load_big_endian(bytes + 24), skipping);
        }
        // Each now belongs to the next word of its own, and the words are taken one after the other.
        crc = advance_eight(crc ^ load_big_endian(bytes));
        crc = advance_eight(crc ^ second ^ load_big_endian(bytes + 8));
        crc = advance_eight(crc ^ third ^ load_big_endian(bytes + 16));
        crc = advance_eight(crc ^ fourth ^ load_big_endian(bytes + 24));
        length -= 32;
        bytes += 32;
    }
    for (; length >= 8; length -= 8, bytes += 8)
        crc = advance_eight(crc ^ load_big_endian(bytes));
    for (; length != 0; --length, ++bytes)
        crc = slicing.entry[0][crc >> 56 ^ *bytes] ^ crc << 8;
    return crc;
}

Kernels available_kernels()
{
    Kernels kernels{{{"sliced", evaluate_sliced}, {"carryless", evaluate_carryless}}, 1};
    if (has_carryless())
        kernels.count = 2;
    return kernels;
}

Evaluate best_evaluate()
{
    Evaluate evaluate = Core::load_relaxed(chosen);
    if (evaluate == nullptr)
    {
        Kernels const kernels = available_kernels();
        evaluate = kernels.entry[kernels.count - 1].evaluate;
        Core::store_relaxed(chosen, evaluate);
    }
    return evaluate;
}

} // namespace crc64

} // namespace ORVA::Buffers
