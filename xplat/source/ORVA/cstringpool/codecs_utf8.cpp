#include "ORVA/String/Codecs.h"

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

using aligned_word [[gnu::may_alias]] = std::uint64_t;

constexpr std::uint64_t lowest_bits = 0x0101010101010101;
constexpr std::uint64_t highest_bits = 0x8080808080808080;

/// Runs of ASCII up to this length are taken one by one: looking for longer ones costs more than it saves.
constexpr unsigned int short_run = 16;

/// The number of bytes from 0x01 to 0x7F that `text` begins with, at most `limit`. May stop up to 7 bytes early.
///
/// Only bytes before the end of a text may be known to be readable, and the word that holds the end is read whole. It
/// lies in one page, so the read cannot fault; its bytes beyond the end decide nothing. Sanitizers are kept off, and
/// `measure` is kept out of line so that no compiler holds the read against the size of an array it can see.
[[gnu::no_sanitize_address, gnu::no_sanitize_thread]] unsigned long ascii_run(unsigned char const* text,
                                                                              unsigned long limit)
{
    unsigned long length = 0;
    for (; reinterpret_cast<std::uintptr_t>(text + length) % sizeof(aligned_word) != 0; ++length)
    {
        if (length == limit || text[length] == 0 || text[length] > 0x7F)
            return length;
    }
    for (; limit - length >= sizeof(aligned_word); length += sizeof(aligned_word))
    {
        std::uint64_t const word = *reinterpret_cast<aligned_word const*>(text + length);
        if ((((word - lowest_bits) | word) & highest_bits) != 0)
            break;
    }
    return length;
}

bool is_continuation(unsigned char byte)
{
    return (byte & 0xC0) == 0x80;
}

/// How far a text was walked, and what is to be taken off its bytes to give its length in another encoding.
struct utf8_walk
{
    unsigned long position;
    unsigned long surplus;
};

/// Takes one sequence of two to four bytes. False, with nothing taken, if there is none within the limit. With
/// `in_utf16` a character above 0xFFFF is two units long.
template <bool in_utf16>
bool take_sequence(unsigned char const* source, unsigned long limit, utf8_walk& walk)
{
    // Told apart by branches and not by sUTF8Lut: a predicted branch lets the next character begin early.
    unsigned char const* const text = source + walk.position;
    unsigned long const left = limit - walk.position;
    unsigned int const first = *text;
    if (first < 0xE0)
    {
        if (first < 0xC0 || left < 2 || !is_continuation(text[1]))
            return false;
        walk.position += 2;
        walk.surplus += 1;
    }
    else if (first < 0xF0)
    {
        if (left < 3 || !is_continuation(text[1]) || !is_continuation(text[2]))
            return false;
        walk.position += 3;
        walk.surplus += 2;
    }
    else
    {
        if (first > 0xF4 || left < 4 || !is_continuation(text[1]) || !is_continuation(text[2]) ||
            !is_continuation(text[3]))
            return false;
        walk.position += 4;
        walk.surplus += in_utf16 && (first > 0xF0 || text[1] > 0x8F) ? 2 : 3;
    }
    return true;
}

/// The length of the valid prefix of a text, in code points or in units of UTF-16. Reads nothing beyond the limit,
/// and nothing beyond the byte that ends the text except as `ascii_run` does.
template <bool in_utf16>
[[gnu::noinline]] unsigned long measure(unsigned char const* source, unsigned long limit)
{
    utf8_walk walk = {0, 0};
    while (walk.position != limit)
    {
        unsigned long const stop = limit - walk.position > short_run ? walk.position + short_run : limit;
        while (walk.position != stop && source[walk.position] - 1U < 0x7F)
            ++walk.position;
        if (walk.position == stop)
        {
            walk.position += ascii_run(source + walk.position, limit - walk.position);
            continue;
        }
        if (source[walk.position] == 0)
            break;
        do
        {
            if (!take_sequence<in_utf16>(source, limit, walk))
                return walk.position - walk.surplus;
        } while (walk.position != limit && source[walk.position] >= 0x80);
    }
    return walk.position - walk.surplus;
}

/// Widens 16 bytes if all of them are below 0x80; otherwise stores nothing.
bool widen_ascii_block(unsigned char const* source, wchar_t* destination)
{
    std::uint64_t words[2];
    std::memcpy(words, source, sizeof words);
    if (((words[0] | words[1]) & highest_bits) != 0)
        return false;
    unsigned char bytes[16];
    wchar_t wide[16];
    std::memcpy(bytes, source, sizeof bytes);
    for (unsigned int index = 0; index < 16; ++index)
        wide[index] = static_cast<wchar_t>(bytes[index]);
    std::memcpy(destination, wide, sizeof wide);
    return true;
}

/// Decodes one sequence of two to four bytes that is known to be valid, and moves `source` past it.
wchar_t decode_valid(unsigned char const*& source)
{
    unsigned int const first = source[0];
    unsigned int value;
    if (first < 0xE0)
    {
        value = (first & 0x1F) << 6 | (source[1] & 0x3FU);
        source += 2;
    }
    else if (first < 0xF0)
    {
        value = (first & 0x0F) << 12 | (source[1] & 0x3FU) << 6 | (source[2] & 0x3FU);
        source += 3;
    }
    else
    {
        value = (first & 0x07) << 18 | (source[1] & 0x3FU) << 12 | (source[2] & 0x3FU) << 6 | (source[3] & 0x3FU);
        source += 4;
    }
    return static_cast<wchar_t>(value);
}

} // namespace

unsigned long UTF8wstrlen(unsigned char const* source, unsigned long limit)
{
    return measure<false>(source, limit);
}

unsigned long UTF8w32strlen(unsigned char const* source, unsigned long limit)
{
    return measure<false>(source, limit);
}

unsigned long UTF8u16strlen(unsigned char const* source, unsigned long limit)
{
    return measure<true>(source, limit);
}

unsigned long UTF8_To_nqfWChar(unsigned char const* src, unsigned long srcLen, wchar_t* dst, unsigned long dstLen)
{
    if (src == nullptr)
        return 0;
    unsigned long const length = measure<false>(src, srcLen);
    unsigned long const needed = length + 1;
    if (dst == nullptr)
        return needed;
    if (needed > dstLen)
        return 0;

    // What was measured is valid, so no character is refused below.
    wchar_t* const end = dst + length;
    while (dst != end)
    {
        if (*src >= 0x80)
        {
            *dst++ = decode_valid(src);
            continue;
        }
        wchar_t* const stop = end - dst > short_run ? dst + short_run : end;
        do
            *dst++ = static_cast<wchar_t>(*src++);
        while (dst != stop && *src < 0x80);
        if (dst != stop)
            continue;
        // Every character left takes at least one byte, so 16 characters are at least 16 readable bytes.
        while (end - dst >= 16 && widen_ascii_block(src, dst))
        {
            src += 16;
            dst += 16;
        }
    }
    *end = 0;
    return needed;
}

} // namespace ORVA::String
