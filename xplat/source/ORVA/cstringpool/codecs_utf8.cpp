#include "ORVA/String/Codecs.h"

#include "cstringpool/text_blocks.h"
#include "cstringpool/whole_texts.h"

#include <cstdint>
#include <cstring>

namespace ORVA::String
{

// clang-format off
const unsigned char sUTF8Lut[256] = {
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, // 0x00
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, // 0x40
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, // 0x80
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, // 0xC0
    2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2,
    3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3,
    4, 4, 4, 4, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0  // 0xF0
};
// clang-format on

namespace
{

using blocks::Bytes;
using blocks::SignedBytes;

/// How much of a text is valid: its bytes, and what they come to in another encoding.
struct extent
{
    unsigned long bytes;
    unsigned long units;
};

/// The bytes up to the first 0, or to the limit.
unsigned long text_length(unsigned char const* source, unsigned long limit)
{
    if (limit == 0)
        return 0; // There need not be a text.
    // A limit beyond the highest address is none, and would not be understood by the functions of the C library.
    auto const text = reinterpret_cast<char const*>(source);
    if (limit > UINTPTR_MAX - reinterpret_cast<std::uintptr_t>(source))
        return std::strlen(text);
    return strnlen(text, limit);
}

bool is_ascii_block(unsigned char const* source)
{
    return !blocks::any(blocks::load<SignedBytes>(source) < 0);
}

bool is_ascii(unsigned char const* text, unsigned long length)
{
    if (length >= blocks::size)
    {
        for (unsigned long index = 0; index < length - blocks::size; index += blocks::size)
        {
            if (!is_ascii_block(text + index))
                return false;
        }
        return is_ascii_block(text + length - blocks::size);
    }
    if (length >= 8)
    {
        using Eight = std::uint64_t;
        return ((blocks::load<Eight>(text) | blocks::load<Eight>(text + length - 8)) & 0x8080808080808080) == 0;
    }
    if (length >= 4)
    {
        using Four = std::uint32_t;
        return ((blocks::load<Four>(text) | blocks::load<Four>(text + length - 4)) & 0x80808080) == 0;
    }
    unsigned int all = 0;
    for (unsigned long index = 0; index < length; ++index)
        all |= text[index];
    return all < 0x80;
}

bool is_continuation(unsigned char byte)
{
    return (byte & 0xC0) == 0x80;
}

/// The length of the character that `text` begins with, or 0 if there is none within `limit` bytes, at least one.
unsigned int character_length(unsigned char const* text, unsigned long limit)
{
    // Told apart by branches and not by sUTF8Lut: a predicted branch lets the next character begin early.
    unsigned int const first = *text;
    if (first < 0x80)
        return 1;
    if (first < 0xC0 || first > 0xF4 || limit < 2 || !is_continuation(text[1]))
        return 0;
    if (first < 0xE0)
        return 2;
    if (limit < 3 || !is_continuation(text[2]))
        return 0;
    if (first < 0xF0)
        return 3;
    return limit >= 4 && is_continuation(text[3]) ? 4 : 0;
}

/// Takes characters until `stop` is reached, or until there is none within the length.
template <bool in_utf16>
extent take_characters(unsigned char const* source, unsigned long length, unsigned long stop, extent walked)
{
    while (walked.bytes < stop)
    {
        unsigned char const* const at = source + walked.bytes;
        unsigned int const bytes = character_length(at, length - walked.bytes);
        if (bytes == 0)
            break;
        walked.bytes += bytes;
        walked.units += in_utf16 && bytes == 4 && (at[0] > 0xF0 || at[1] > 0x8F) ? 2 : 1;
    }
    return walked;
}

/// Looks at the block at `at`, and at three bytes before it. False if it holds anything but parts of valid characters.
/// Otherwise `surplus` marks the bytes that do not stand for a unit.
template <bool in_utf16>
bool look_at_block(unsigned char const* at, Bytes& surplus)
{
    auto const bytes = blocks::load<Bytes>(at);
    auto const one_before = blocks::load<Bytes>(at - 1);
    auto const two_before = blocks::load<Bytes>(at - 2);
    auto const three_before = blocks::load<Bytes>(at - 3);
    auto const continues = (Bytes)((SignedBytes)bytes < -0x40);
    auto const expected = (Bytes)((one_before >= 0xC0) | (two_before >= 0xE0) | (three_before >= 0xF0));
    surplus = continues;
    if constexpr (in_utf16)
    {
        // The last byte of a character above 0xFFFF stands for its second unit.
        auto const overlong = (Bytes)((three_before == 0xF0) & (two_before < 0x90));
        surplus &= (Bytes)(three_before < 0xF0) | overlong;
    }
    return !blocks::any((continues ^ expected) | (Bytes)(bytes >= 0xF5));
}

/// Takes blocks as long as they hold nothing but parts of valid characters, up to the last character that they hold
/// completely. At least three bytes were walked before, which end with a character, and there is a block behind them.
template <bool in_utf16>
extent take_blocks(unsigned char const* source, unsigned long length, extent walked)
{
    unsigned long at = walked.bytes;
    unsigned long surplus = 0;
    Bytes marked;
    bool valid = true;
    while (valid && length - at >= blocks::size)
    {
        // As many blocks as can be counted in bytes.
        Bytes counts = {};
        for (unsigned int taken = 0; taken < 31 && length - at >= blocks::size; ++taken, at += blocks::size)
        {
            valid = look_at_block<in_utf16>(source + at, marked);
            if (!valid)
                break;
            counts -= marked;
        }
        surplus += blocks::sum_of_bytes(counts);
    }
    unsigned long const left = length - at;
    if (valid && left != 0 && look_at_block<in_utf16>(source + length - blocks::size, marked))
    {
        // The last block overlaps the one before.
        constexpr Bytes places = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
        auto const fresh = (Bytes)(places >= static_cast<unsigned char>(blocks::size - left));
        surplus += blocks::sum_of_bytes(marked & fresh & 1);
        at = length;
    }
    walked.units += at - walked.bytes - surplus;
    walked.bytes = at;
    // A character that the last block cuts in two is left for the next step.
    unsigned long cut = 1;
    while (is_continuation(source[at - cut]))
        ++cut;
    if (UTF8Len(source[at - cut]) > cut)
    {
        walked.bytes -= cut;
        walked.units -= 1;
    }
    return walked;
}

/// Walks the valid prefix of a text without 0, and counts it in code points, or in units of UTF-16.
template <bool in_utf16>
extent measure(unsigned char const* source, unsigned long length)
{
    if (is_ascii(source, length))
        return {length, length};
    extent walked = {0, 0};
    if (length >= blocks::size + 3)
    {
        walked = take_characters<in_utf16>(source, length, 3, walked);
        if (walked.bytes < 3)
            return walked;
        walked = take_blocks<in_utf16>(source, length, walked);
    }
    return take_characters<in_utf16>(source, length, length, walked);
}

/// What is not below this is no payload of a continuation byte.
constexpr unsigned int no_payload = 0x40;

unsigned int payload(unsigned char continuation)
{
    return continuation ^ 0x80U;
}

bool store_large(wchar_t*& destination, unsigned int character)
{
    *destination++ = static_cast<wchar_t>(character);
    return true;
}

bool store_large(unsigned short*& destination, unsigned int character)
{
    return nqfW32_utf16(destination, character) != 0;
}

/// So many bytes are decoded one by one before runs of ASCII are looked for again.
constexpr long mixed_run = 64;

/// Decodes the valid prefix of a text without 0, to wide text or to UTF-16, and gives the end of what it stored. A
/// character that UTF-16 refuses ends the text too. Unless the text may be cut inside of a character, it is valid to
/// its end or has a 0 behind it.
///
/// Each kind of character goes back to the beginning by itself, so that it is predicted from the ones before it. Inlined,
/// the compiler makes each ASCII character jump several times.
template <class Unit>
[[gnu::noinline]] Unit* decode(unsigned char const* source, unsigned char const* end, bool may_be_cut,
                               Unit* destination)
{
    // The bytes that must be left for a character to be looked at.
    long const reach = may_be_cut ? 4 : 1;
    while (end - source >= reach)
    {
        if (end - source >= 16 && is_ascii_block(source))
        {
            blocks::copy_ascii<16>(source, destination);
            source += 16;
            destination += 16;
            continue;
        }
        unsigned char const* const stop = end - source < mixed_run + reach ? end - (reach - 1) : source + mixed_run;
        for (;;)
        {
            unsigned int const first = *source;
            if (__builtin_expect(first < 0x80, 1))
            {
                *destination++ = static_cast<Unit>(first);
                if (++source >= stop)
                    break;
                continue;
            }
            unsigned int const second = payload(source[1]);
            if (first < 0xE0)
            {
                if (first < 0xC0 || second >= no_payload)
                    return destination;
                *destination++ = static_cast<Unit>((first & 0x1F) << 6 | second);
                if ((source += 2) >= stop)
                    break;
                continue;
            }
            if (second >= no_payload)
                return destination;
            unsigned int const third = payload(source[2]);
            if (third >= no_payload)
                return destination;
            if (first < 0xF0)
            {
                *destination++ = static_cast<Unit>((first & 0x0F) << 12 | second << 6 | third);
                if ((source += 3) >= stop)
                    break;
                continue;
            }
            unsigned int const fourth = payload(source[3]);
            if (first > 0xF4 || fourth >= no_payload ||
                !store_large(destination, (first & 0x07) << 18 | second << 12 | third << 6 | fourth))
                return destination;
            if ((source += 4) >= stop)
                break;
        }
    }
    while (source != end && character_length(source, static_cast<unsigned long>(end - source)) != 0)
    {
        unsigned int character;
        utf8_nqfW32(&character, source);
        *destination++ = static_cast<Unit>(character);
    }
    return destination;
}

} // namespace

unsigned long UTF8wstrlen(unsigned char const* source, unsigned long limit)
{
    return measure<false>(source, text_length(source, limit)).units;
}

unsigned long UTF8w32strlen(unsigned char const* source, unsigned long limit)
{
    return UTF8wstrlen(source, limit);
}

unsigned long UTF8u16strlen(unsigned char const* source, unsigned long limit)
{
    return measure<true>(source, text_length(source, limit)).units;
}

unsigned long UTF8_To_nqfWChar(unsigned char const* src, unsigned long srcLen, wchar_t* dst, unsigned long dstLen)
{
    if (src == nullptr)
        return 0;
    unsigned long length = text_length(src, srcLen);
    bool const ascii = is_ascii(src, length);
    bool may_be_cut = length == srcLen;
    // With room for a character for each of its bytes, the text need not be measured.
    if (dst == nullptr || length >= dstLen)
    {
        extent const valid = ascii ? extent{length, length} : measure<false>(src, length);
        if (dst == nullptr)
            return valid.units + 1;
        if (valid.units >= dstLen)
            return 0;
        length = valid.bytes;
        may_be_cut = false;
    }
    wchar_t* const end = ascii ? blocks::copy_ascii(src, length, dst) : decode(src, src + length, may_be_cut, dst);
    *end = 0;
    return static_cast<unsigned long>(end - dst) + 1;
}

unsigned short* convert_whole(unsigned char const* source, unsigned short* destination)
{
    return decode(source, source + std::strlen(reinterpret_cast<char const*>(source)), false, destination);
}

} // namespace ORVA::String
