#include "crc_carryless_steps.h"
#include "crc_kernels.h"

namespace ORVA::Buffers::crc64
{

#if defined(__x86_64__)

namespace
{

using Byte = unsigned char;

// Indices for byte shuffles. Read from its middle it is the identity, from n bytes before that a shift up by n bytes,
// from n bytes after it a shift down; places without a source become 0.
alignas(16) constexpr Byte shifts[48] = {
    0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, //
    0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x0D, 0x0E, 0x0F, //
    0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80};

ORVA_CARRYLESS_STEP __m128i load_reversed(Byte const* bytes)
{
    return _mm_shuffle_epi8(load(bytes), _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
}

ORVA_CARRYLESS_STEP __m128i shift_up(__m128i value, unsigned long bytes)
{
    return _mm_shuffle_epi8(value, load(shifts + 16 - bytes));
}

ORVA_CARRYLESS_STEP __m128i shift_down(__m128i value, unsigned long bytes)
{
    return _mm_shuffle_epi8(value, load(shifts + 16 + bytes));
}

} // namespace

bool has_carryless()
{
    // Global objects may need this before the compiler's own initialiser of its processor data has run.
    __builtin_cpu_init();
    return __builtin_cpu_supports("pclmul") != 0 && __builtin_cpu_supports("sse4.1") != 0;
}

ORVA_CARRYLESS_TARGET unsigned long evaluate_carryless(void const* data, unsigned long length, unsigned long crc)
{
    if (length < 16)
        return evaluate_sliced(data, length, crc);

    Byte const* bytes = static_cast<Byte const*>(data);
    Byte const* const end = bytes + length;
    // The register counts like eight bytes of message over the first eight.
    __m128i accumulator = _mm_xor_si128(load_reversed(bytes), two_words(crc, 0));
    bytes += 16;

    if (length >= 128)
    {
        __m128i a = accumulator;
        __m128i b = load_reversed(bytes);
        __m128i c = load_reversed(bytes + 16);
        __m128i d = load_reversed(bytes + 32);
        bytes += 48;
        for (; end - bytes >= 64; bytes += 64)
        {
            a = fold_and_add<512>(a, load_reversed(bytes));
            b = fold_and_add<512>(b, load_reversed(bytes + 16));
            c = fold_and_add<512>(c, load_reversed(bytes + 32));
            d = fold_and_add<512>(d, load_reversed(bytes + 48));
        }
        __m128i const upper = fold_and_add<128>(a, b);
        __m128i const lower = fold_and_add<128>(c, d);
        accumulator = fold_and_add<256>(upper, lower);
    }

    for (; end - bytes >= 16; bytes += 16)
        accumulator = fold_and_add<128>(accumulator, load_reversed(bytes));

    unsigned long const rest = static_cast<unsigned long>(end - bytes);
    if (rest != 0)
    {
        // The last sixteen bytes of the whole message: some of the accumulator's, then the rest. What is pushed out of
        // the accumulator at its top is moved over them.
        __m128i const last = shift_down(shift_up(load_reversed(end - 16), 16 - rest), 16 - rest);
        __m128i const joined = _mm_or_si128(shift_up(accumulator, rest), last);
        accumulator = fold_and_add<128>(shift_down(accumulator, 16 - rest), joined);
    }
    return finish(accumulator);
}

#else

bool has_carryless()
{
    return false;
}

unsigned long evaluate_carryless(void const* data, unsigned long length, unsigned long crc)
{
    return evaluate_sliced(data, length, crc);
}

#endif

} // namespace ORVA::Buffers::crc64
