#include "cstringpool/evaluation_kernels.h"

#include "cstringpool/evaluation_carryless_blocks.h"

namespace ORVA::String::evaluation
{

#if defined(__x86_64__)

namespace
{

namespace crc64 = Buffers::crc64;

#define ORVA_PAIRED_TARGET __attribute__((target("pclmul,avx2,vpclmulqdq")))
#define ORVA_PAIRED_STEP __attribute__((target("pclmul,avx2,vpclmulqdq"), always_inline)) inline

// Multiplication is what the evaluation waits for. Processors that multiply pairs do it as fast as one product, so both
// hashes go through one: the text in the lower half of a vector, its folded form in the upper one.

ORVA_PAIRED_STEP __m256i twice(__m128i value)
{
    return _mm256_broadcastsi128_si256(value);
}

ORVA_PAIRED_STEP __m256i text_and_folded(__m128i bytes, __m128i& marks_seen)
{
    __m128i const marks = capital_marks(bytes);
    marks_seen = _mm_or_si128(marks_seen, marks);
    return _mm256_inserti128_si256(_mm256_castsi128_si256(bytes), _mm_or_si128(bytes, marks), 1);
}

struct Sums
{
    __m256i pair;

    ORVA_PAIRED_STEP void start(__m128i bytes, __m128i& marks_seen) { pair = text_and_folded(bytes, marks_seen); }

    template <unsigned int Bits>
    ORVA_PAIRED_STEP void add(__m128i bytes, __m128i& marks_seen)
    {
        move_and_add<Bits>(text_and_folded(bytes, marks_seen));
    }

    template <unsigned int Bits>
    ORVA_PAIRED_STEP void join(Sums const& behind)
    {
        move_and_add<Bits>(behind.pair);
    }

    // The steps of crc64::finish on both halves.
    ORVA_PAIRED_STEP void finish(AsciiHashes& hashes) const
    {
        __m256i const factor = twice(crc64::two_words(crc64::reciprocal_low, crc64::reciprocal_high));
        __m256i const high_by_low = _mm256_clmulepi64_epi128(pair, factor, 0x11);
        __m256i const high_by_high = _mm256_clmulepi64_epi128(pair, factor, 0x01);
        __m256i const low_by_high = _mm256_clmulepi64_epi128(pair, factor, 0x00);
        __m256i const above = _mm256_bsrli_epi128(_mm256_xor_si256(high_by_low, low_by_high), 8);
        __m256i const quotient = _mm256_xor_si256(above, _mm256_xor_si256(high_by_high, pair));
        __m256i const remainder =
            _mm256_clmulepi64_epi128(quotient, twice(crc64::two_words(0, crc64::polynomial)), 0x00);
        hashes.text = static_cast<unsigned long>(_mm_cvtsi128_si64(_mm256_castsi256_si128(remainder)));
        hashes.folded = static_cast<unsigned long>(_mm_cvtsi128_si64(_mm256_extracti128_si256(remainder, 1)));
    }

private:
    template <unsigned int Bits>
    ORVA_PAIRED_STEP void move_and_add(__m256i blocks)
    {
        __m256i const factor = twice(crc64::factors<Bits>());
        __m256i const high = _mm256_clmulepi64_epi128(pair, factor, 0x11);
        __m256i const low = _mm256_clmulepi64_epi128(pair, factor, 0x00);
        pair = _mm256_xor_si256(_mm256_xor_si256(blocks, high), low);
    }
};

#define ORVA_HASH_TARGET ORVA_PAIRED_TARGET
#include "cstringpool/evaluation_carryless_hash.inc"

constexpr Kernel kernel = {"paired", hash_ascii<wchar_t>, hash_ascii<unsigned char>, hash_ascii<unsigned short>,
                           crc64::evaluate_carryless};

} // namespace

Kernel const* paired_kernel()
{
    bool const is_there =
        crc64::has_carryless() && __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("vpclmulqdq") != 0;
    return is_there ? &kernel : nullptr;
}

#else

Kernel const* paired_kernel()
{
    return nullptr;
}

#endif

} // namespace ORVA::String::evaluation
