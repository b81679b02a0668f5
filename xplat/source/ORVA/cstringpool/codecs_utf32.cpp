#include "ORVA/String/Codecs.h"

#include "cstringpool/text_blocks.h"

#include <cstdint>
#include <cwchar>

namespace ORVA::String
{

namespace
{

using blocks::Units32;

constexpr unsigned long no_limit = ~0UL;

/// The number of units in a block.
constexpr unsigned long block_units = blocks::size / sizeof(wchar_t);

/// The sizes of units in UTF-8: of one, and of each unit of a block that is beyond the first byte.
struct utf8_sizes
{
    static constexpr int end = 0x110000; ///< the first value without a size
    static unsigned int of(unsigned int unit) { return UTF8Size(unit); }
    static Units32 beyond_one(Units32 units) { return (units > 0x7F) + (units > 0x7FF) + (units > 0xFFFF); }
};

/// The same in UTF-16.
struct utf16_sizes
{
    static constexpr int end = 0x110001;
    static unsigned int of(unsigned int unit) { return UTF16Size(unit); }
    static Units32 beyond_one(Units32 units) { return units > 0xFFFF; }
};

/// How much of a text has a size: its units, and the sum of their sizes.
struct extent
{
    unsigned long units;
    unsigned long size;
};

/// The units up to the first 0, or to the limit.
template <class Unit>
unsigned long text_length(Unit const* source, unsigned long limit)
{
    if (limit == 0)
        return 0; // There need not be a text.
    // A limit beyond the highest address is none, and would not be understood by the functions of the C library.
    auto const text = reinterpret_cast<wchar_t const*>(source);
    if (limit > (UINTPTR_MAX - reinterpret_cast<std::uintptr_t>(source)) / sizeof(wchar_t))
        return std::wcslen(text);
    return wcsnlen(text, limit);
}

/// The same, with the unit at the limit looked at too unless the limit is 0.
template <class Unit>
unsigned long length_through(Unit const* source, unsigned long limit)
{
    return text_length(source, limit == 0 || limit == no_limit ? limit : limit + 1);
}

/// Whether 16 units are all below 0x80.
template <class Unit>
bool is_ascii_block(Unit const* source)
{
    auto const block = [source](unsigned long index) { return blocks::load<Units32>(source + index * block_units); };
    return !blocks::any((block(0) | block(1) | block(2) | block(3)) & ~0x7F);
}

template <class Unit>
bool is_ascii(Unit const* source, unsigned long length)
{
    if (length >= 16)
    {
        for (unsigned long index = 0; index < length - 16; index += 16)
        {
            if (!is_ascii_block(source + index))
                return false;
        }
        return is_ascii_block(source + length - 16);
    }
    if (length >= block_units)
    {
        Units32 all = blocks::load<Units32>(source + length - block_units);
        for (unsigned long index = 0; index < length - block_units; index += block_units)
            all |= blocks::load<Units32>(source + index);
        return !blocks::any(all & ~0x7F);
    }
    unsigned int all = 0;
    for (unsigned long index = 0; index < length; ++index)
        all |= static_cast<unsigned int>(source[index]);
    return all < 0x80;
}

/// Takes so many blocks at once as long as all their units have a size, and gives the end of what it took. Adds what is
/// beyond the first byte, or unit, of each to `beyond_one`.
template <class Sizes, unsigned long count, class Unit>
unsigned long take_blocks(Unit const* source, unsigned long taken, unsigned long end, Units32& beyond_one)
{
    constexpr unsigned long step = count * block_units;
    for (; end - taken >= step; taken += step)
    {
        Units32 refused = {};
        Units32 sizes = {};
        for (unsigned long block = 0; block < count; ++block)
        {
            auto const units = blocks::load<Units32>(source + taken + block * block_units);
            refused |= (units < 0) | (units >= Sizes::end);
            sizes -= Sizes::beyond_one(units);
        }
        if (blocks::any(refused))
            break;
        beyond_one += sizes;
    }
    return taken;
}

/// Adds up the sizes of the units of a text without 0, up to the first one that has none.
template <class Sizes, class Unit>
extent measure(Unit const* source, unsigned long length)
{
    if (is_ascii(source, length))
        return {length, length};
    // What is longer than can be counted in units of 32 bits is walked unit by unit.
    unsigned long const end = length < 1UL << 28 ? length : 1UL << 28;
    Units32 beyond_one = {};
    unsigned long units = take_blocks<Sizes, 4>(source, 0, end, beyond_one);
    units = take_blocks<Sizes, 1>(source, units, end, beyond_one);
    extent walked = {units, units + blocks::sum_of_units(beyond_one)};
    for (; walked.units != length; ++walked.units)
    {
        unsigned int const size = Sizes::of(static_cast<unsigned int>(source[walked.units]));
        if (size == 0)
            break;
        walked.size += size;
    }
    return walked;
}

/// The same for the units up to and including the one at the limit.
template <class Sizes, class Unit>
unsigned long measure_through(Unit const* source, unsigned long limit)
{
    return measure<Sizes>(source, length_through(source, limit)).size;
}

unsigned char continuation(unsigned int bits)
{
    return static_cast<unsigned char>(0x80 | (bits & 0x3F));
}

/// So many characters are encoded one by one before runs of ASCII are looked for again.
constexpr long mixed_run = 64;

/// Encodes characters up to `end`, or up to the first one without a size in UTF-8, and gives the end of what it stored.
///
/// Each size goes back to the beginning by itself, so that it is predicted from the ones before it.
unsigned char* encode(wchar_t const* source, wchar_t const* end, unsigned char* destination)
{
    while (source != end)
    {
        if (end - source >= 16 && is_ascii_block(source))
        {
            blocks::copy_ascii<16>(source, destination);
            source += 16;
            destination += 16;
            continue;
        }
        wchar_t const* const stop = end - source < mixed_run ? end : source + mixed_run;
        for (;;)
        {
            auto const character = static_cast<unsigned int>(*source++);
            if (character < 0x80)
            {
                *destination++ = static_cast<unsigned char>(character);
                if (source == stop)
                    break;
                continue;
            }
            if (character < 0x800)
            {
                destination[0] = static_cast<unsigned char>(0xC0 | character >> 6);
                destination[1] = continuation(character);
                destination += 2;
                if (source == stop)
                    break;
                continue;
            }
            if (character < 0x10000)
            {
                destination[0] = static_cast<unsigned char>(0xE0 | character >> 12);
                destination[1] = continuation(character >> 6);
                destination[2] = continuation(character);
                destination += 3;
                if (source == stop)
                    break;
                continue;
            }
            if (character >= utf8_sizes::end)
                return destination;
            destination[0] = static_cast<unsigned char>(0xF0 | character >> 18);
            destination[1] = continuation(character >> 12);
            destination[2] = continuation(character >> 6);
            destination[3] = continuation(character);
            destination += 4;
            if (source == stop)
                break;
        }
    }
    return destination;
}

} // namespace

unsigned long UTF32wstrlen(unsigned int const* source, unsigned long limit)
{
    return text_length(source, limit);
}

unsigned long UTF32u16strlen(unsigned int const* source, unsigned long limit)
{
    return measure_through<utf16_sizes>(source, limit);
}

unsigned long UTF32u8strlen(unsigned int const* source, unsigned long limit)
{
    return measure_through<utf8_sizes>(source, limit);
}

unsigned long nqfWw32strlen(wchar_t const* source, unsigned long limit)
{
    return text_length(source, limit);
}

unsigned long nqfWu16strlen(wchar_t const*, unsigned long)
{
    return 0;
}

unsigned long nqfWu8strlen(wchar_t const* source, unsigned long limit)
{
    return measure_through<utf8_sizes>(source, limit);
}

unsigned long nqfWChar_To_UTF8(wchar_t const* src, unsigned long srcLen, unsigned char* dst, unsigned long dstLen)
{
    if (src == nullptr)
        return 0;
    unsigned long const length = length_through(src, srcLen);
    bool const ascii = is_ascii(src, length);
    // Where the largest characters would fit, the size is known when they are stored.
    if (dst == nullptr || dstLen == 0 || (dstLen - 1) / (ascii ? 1 : 4) < length)
    {
        unsigned long const size = ascii ? length : measure<utf8_sizes>(src, length).size;
        if (dst == nullptr)
            return size + 1;
        if (size >= dstLen)
            return 0;
    }
    unsigned char* const end = ascii ? blocks::copy_ascii(src, length, dst) : encode(src, src + length, dst);
    *end = 0;
    return static_cast<unsigned long>(end - dst) + 1;
}

} // namespace ORVA::String
