#include "cstringpool/evaluation_kernels.h"

#include "cstringpool/evaluation_carryless_blocks.h"

namespace ORVA::String::evaluation
{

#if defined(__x86_64__)

namespace
{

namespace crc64 = Buffers::crc64;

// The accumulators of both hashes.
struct Sums
{
    __m128i text;
    __m128i folded;

    ORVA_CARRYLESS_STEP void start(__m128i bytes, __m128i& marks_seen)
    {
        __m128i const marks = capital_marks(bytes);
        marks_seen = _mm_or_si128(marks_seen, marks);
        text = bytes;
        folded = _mm_or_si128(bytes, marks);
    }

    template <unsigned int Bits>
    ORVA_CARRYLESS_STEP void add(__m128i bytes, __m128i& marks_seen)
    {
        __m128i const marks = capital_marks(bytes);
        marks_seen = _mm_or_si128(marks_seen, marks);
        text = crc64::fold_and_add<Bits>(text, bytes);
        folded = crc64::fold_and_add<Bits>(folded, _mm_or_si128(bytes, marks));
    }

    template <unsigned int Bits>
    ORVA_CARRYLESS_STEP void join(Sums const& behind)
    {
        text = crc64::fold_and_add<Bits>(text, behind.text);
        folded = crc64::fold_and_add<Bits>(folded, behind.folded);
    }

    ORVA_CARRYLESS_STEP void finish(AsciiHashes& hashes) const
    {
        hashes.text = crc64::finish(text);
        hashes.folded = crc64::finish(folded);
    }
};

#define ORVA_HASH_TARGET ORVA_CARRYLESS_TARGET
#include "cstringpool/evaluation_carryless_hash.inc"

constexpr Kernel kernel = {"carryless", hash_ascii<wchar_t>, hash_ascii<unsigned char>, hash_ascii<unsigned short>,
                           crc64::evaluate_carryless};

} // namespace

Kernel const* carryless_kernel()
{
    return crc64::has_carryless() ? &kernel : nullptr;
}

#else

Kernel const* carryless_kernel()
{
    return nullptr;
}

#endif

} // namespace ORVA::String::evaluation
