#include "ORVA/String/Codecs.h"

#include "cstringpool/text_blocks.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <cwchar>

namespace ORVA::String
{

namespace
{

using blocks::longest_run;

/// The units of a text before its first 0, at most `limit`.
template <class Unit>
unsigned long count_units(Unit const* source, unsigned long limit)
{
    if (limit == 0)
        return 0; // There need not be a text.
    auto const text = reinterpret_cast<wchar_t const*>(source);
    // A limit beyond the highest address is none, and nothing that the C library could count with.
    if (limit > (UINTPTR_MAX - reinterpret_cast<std::uintptr_t>(source)) / sizeof(wchar_t))
        return std::wcslen(text);
    return wcsnlen(text, limit);
}

/// The units that may count at a limit: the one at the limit does so too, unless the limit is 0.
unsigned long units_through(unsigned long limit)
{
    return limit == 0 || limit == ~0UL ? limit : limit + 1;
}

/// Adds up `size` of at most `count` units, up to a 0 or to one whose size is 0. Looks at no unit behind that one.
template <class Unit, class Size>
unsigned long measure(Unit const* source, unsigned long count, Size size)
{
    unsigned long sum = 0;
    for (unsigned long index = 0; index != count && source[index] != 0; ++index)
    {
        unsigned int const unit_size = size(static_cast<unsigned int>(source[index]));
        if (unit_size == 0)
            break;
        sum += unit_size;
    }
    return sum;
}

/// What of a text was measured: units of the source, and what they come to in another encoding.
struct extent
{
    unsigned long units;
    unsigned long size;
};

/// Measures at most `count` units for UTF-8. Sizes are told apart by branches: a predicted one costs less than to add up
/// what was compared. A unit is looked at only if the ones before it count.
template <class Unit>
extent measure_for_utf8(Unit const* source, unsigned long count)
{
    auto const unit = [source](unsigned long place) { return static_cast<unsigned int>(source[place]); };
    unsigned long at = 0;
    unsigned long beyond_one = 0;
    while (count - at >= longest_run)
    {
        unsigned int run = 0;
        while (run < longest_run && unit(at + run) - 1 < 0x7F)
            ++run;
        at += run;
        if (run == longest_run)
            continue;
        unsigned int const character = unit(at);
        if (character < 0x800)
        {
            if (character == 0)
                return {at, at + beyond_one};
            beyond_one += 1;
            ++at;
        }
        else if (character < 0x10000)
        {
            do
            {
                beyond_one += 2;
                ++at;
            } while (at != count && unit(at) - 0x800 < 0xF800);
        }
        else
        {
            if (character >= 0x110000)
                return {at, at + beyond_one};
            do
            {
                beyond_one += 3;
                ++at;
            } while (at != count && unit(at) - 0x10000 < 0x100000);
        }
    }
    for (; at != count && unit(at) != 0 && unit(at) < 0x110000; ++at)
        beyond_one += UTF8Size(unit(at)) - 1;
    return {at, at + beyond_one};
}

bool is_ascii_block(wchar_t const* source)
{
    unsigned int units[16];
    std::memcpy(units, source, sizeof units);
    unsigned int all = 0;
    for (unsigned int unit : units)
        all |= unit;
    return all < 0x80;
}

/// A word with the same bits in both halves.
constexpr std::uint64_t in_both(std::uint64_t bits)
{
    return bits << 32 | bits;
}

std::uint64_t load_pair(wchar_t const* source)
{
    std::uint64_t pair;
    std::memcpy(&pair, source, sizeof pair);
    return pair;
}

/// Whether both halves are from 0x800 to 0xFFFF: both above 0xFFFF when 0xF800 is added, and not before.
bool are_three_bytes_long(std::uint64_t pair)
{
    return (pair & in_both(0xFFFF0000)) == 0 && ((pair + in_both(0xF800)) & in_both(0x10000)) == in_both(0x10000);
}

/// Encodes two such characters. Stores eight bytes, of which the first six count.
void store_pair_of_three(std::uint64_t pair, unsigned char* destination)
{
    std::uint64_t const bytes = in_both(0x8080E0) | (pair >> 12 & in_both(0x0F)) | (pair << 2 & in_both(0x3F00)) |
                                (pair << 16 & in_both(0x3F0000));
    std::uint64_t const joined = (bytes & 0xFFFFFF) | bytes >> 32 << 24;
    std::memcpy(destination, &joined, sizeof joined);
}

/// So many characters are encoded one by one at the end of a text: each leaves room for a byte at least, so that before
/// them there is room for a run, and for what a pair stores.
constexpr long longest_round = 12;

/// Encodes characters that were measured. Kept apart, so that ASCII does not save registers for it.
[[gnu::noinline]] void encode(wchar_t const* source, wchar_t const* end, unsigned char* to)
{
    while (end - source >= longest_round)
    {
        unsigned int run = 0;
        while (run < longest_run && static_cast<unsigned int>(source[run]) < 0x80)
        {
            to[run] = static_cast<unsigned char>(source[run]);
            ++run;
        }
        source += run;
        to += run;
        if (run == longest_run)
        {
            for (; end - source >= 16 && is_ascii_block(source); source += 16, to += 16)
                blocks::copy_units<16>(source, to);
            continue;
        }
        // Four bytes are stored of any character; what follows it overwrites those that do not count.
        auto character = static_cast<unsigned int>(*source);
        if (character < 0x800)
        {
            unsigned int const bytes = 0x80C0 | character >> 6 | (character << 8 & 0x3F00);
            std::memcpy(to, &bytes, sizeof bytes);
            to += 2;
            ++source;
        }
        else if (character < 0x10000)
        {
            std::uint64_t pair;
            for (; end - source >= 8 && are_three_bytes_long(pair = load_pair(source)); source += 2, to += 6)
                store_pair_of_three(pair, to);
            if (static_cast<unsigned int>(*source) - 0x800 < 0xF800)
                nqfW_utf8(to, source);
        }
        else
        {
            do
            {
                unsigned int const bytes = 0x808080F0 | character >> 18 | (character >> 4 & 0x3F00) |
                                           (character << 10 & 0x3F0000) | (character << 24 & 0x3F000000);
                std::memcpy(to, &bytes, sizeof bytes);
                to += 4;
                character = static_cast<unsigned int>(*++source);
            } while (character >= 0x10000 && end - source >= 4);
        }
    }
    while (source != end && nqfW_utf8(to, source) != 0)
    {
    }
}

} // namespace

unsigned long UTF32wstrlen(unsigned int const* source, unsigned long limit)
{
    return count_units(source, limit);
}

unsigned long UTF32u16strlen(unsigned int const* source, unsigned long limit)
{
    return measure(source, units_through(limit), UTF16Size);
}

unsigned long UTF32u8strlen(unsigned int const* source, unsigned long limit)
{
    return measure_for_utf8(source, units_through(limit)).size;
}

unsigned long nqfWw32strlen(wchar_t const* source, unsigned long limit)
{
    return count_units(source, limit);
}

unsigned long nqfWu16strlen(wchar_t const*, unsigned long)
{
    return 0;
}

unsigned long nqfWu8strlen(wchar_t const* source, unsigned long limit)
{
    return measure_for_utf8(source, units_through(limit)).size;
}

unsigned long nqfWChar_To_UTF8(wchar_t const* src, unsigned long srcLen, unsigned char* dst, unsigned long dstLen)
{
    if (src == nullptr)
        return 0;
    extent const measured = measure_for_utf8(src, units_through(srcLen));
    if (dst == nullptr)
        return measured.size + 1;
    if (measured.size >= dstLen)
        return 0;
    if (measured.size == measured.units)
        blocks::copy_units(src, measured.units, dst);
    else
        encode(src, src + measured.units, dst);
    dst[measured.size] = 0;
    return measured.size + 1;
}

} // namespace ORVA::String
