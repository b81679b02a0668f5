#include "cstringpool/utf8_to_wide.h"

#include "ORVA/String/Codecs.h"
#include "cstringpool/text_blocks.h"

#include <algorithm>
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

using blocks::longest_run;

/// Whether a byte is from 0x01 to 0x7F.
bool is_ascii(unsigned char byte)
{
    return static_cast<signed char>(byte) > 0;
}

bool is_continuation(unsigned char byte)
{
    return static_cast<signed char>(byte) < -0x40;
}

/// The value of a sequence of two bytes that is known to be valid; likewise of three and of four.
unsigned int value_of_two(unsigned char const* text)
{
    return (text[0] & 0x1FU) << 6 | (text[1] & 0x3FU);
}

unsigned int value_of_three(unsigned char const* text)
{
    return (text[0] & 0x0FU) << 12 | (text[1] & 0x3FU) << 6 | (text[2] & 0x3FU);
}

unsigned int value_of_four(unsigned char const* text)
{
    return (text[0] & 0x07U) << 18 | (text[1] & 0x3FU) << 12 | (text[2] & 0x3FU) << 6 | (text[3] & 0x3FU);
}

/// Counts characters, or with `in_utf16` the units that they take in UTF-16.
template <bool in_utf16>
struct Counter
{
    unsigned long count = 0;

    void look(unsigned int, unsigned char) {}
    void take(unsigned int run) { count += run; }
    void put(unsigned int) { ++count; }
    void put_large(unsigned int character) { count += in_utf16 && character > 0xFFFF ? 2 : 1; }
};

/// Stores characters as wide characters.
struct Writer
{
    wchar_t* end;

    /// Stores an ASCII character behind the others already, which `take` adds to them.
    void look(unsigned int place, unsigned char character) { end[place] = character; }
    void take(unsigned int run) { end += run; }
    void put(unsigned int character) { *end++ = static_cast<wchar_t>(character); }
    void put_large(unsigned int character) { put(character); }
};

/// What one round of the walk may take at most: a run, and a sequence of four bytes.
constexpr unsigned long longest_round = longest_run + 4;

/// Hands the characters of a text to `sink` from the byte at `at` on, until one begins at `stop` or behind it, and
/// gives where it begins. If the text ends before, at a byte that is no character, at a 0 or at its limit, gives
/// where it ends. As a round takes more than one character, that too may be behind `stop`, but by less than a round.
///
/// A byte is looked at only if the ones before it are valid, so that nothing is read behind the end of the text.
template <class Sink>
[[gnu::always_inline]] inline unsigned long walk(unsigned char const* source, unsigned long at, unsigned long stop,
                                                 unsigned long limit, Sink& sink)
{
    // Where a round cannot reach the limit. Kinds of characters are told apart by branches and not by sUTF8Lut: a
    // predicted branch lets the next character begin early.
    unsigned long const free = limit < longest_round ? 0 : std::min(stop, limit - longest_round + 1);
    while (at < free)
    {
        unsigned int run = 0;
        while (run < longest_run && is_ascii(source[at + run]))
        {
            sink.look(run, source[at + run]);
            ++run;
        }
        at += run;
        sink.take(run);
        if (run == longest_run)
            continue;
        unsigned char const* text = source + at;
        if (*text < 0xE0)
        {
            if (*text < 0xC0 || !is_continuation(text[1]))
                return at;
            sink.put(value_of_two(text));
            at += 2;
        }
        else if (*text < 0xF0)
        {
            do
            {
                if (!is_continuation(text[1]) || !is_continuation(text[2]))
                    return at;
                sink.put(value_of_three(text));
                at += 3;
                text += 3;
            } while (at < free && (*text & 0xF0) == 0xE0);
        }
        else
        {
            do
            {
                if (*text > 0xF4 || !is_continuation(text[1]) || !is_continuation(text[2]) || !is_continuation(text[3]))
                    return at;
                sink.put_large(value_of_four(text));
                at += 4;
                text += 4;
            } while (at < free && *text >= 0xF0);
        }
    }
    while (at < stop)
    {
        unsigned char const* const text = source + at;
        unsigned long const left = limit - at;
        if (is_ascii(*text))
        {
            sink.put(*text);
            at += 1;
        }
        else if (*text < 0xE0)
        {
            if (*text < 0xC0 || left < 2 || !is_continuation(text[1]))
                return at;
            sink.put(value_of_two(text));
            at += 2;
        }
        else if (*text < 0xF0)
        {
            if (left < 3 || !is_continuation(text[1]) || !is_continuation(text[2]))
                return at;
            sink.put(value_of_three(text));
            at += 3;
        }
        else
        {
            if (left < 4 || *text > 0xF4 || !is_continuation(text[1]) || !is_continuation(text[2]) ||
                !is_continuation(text[3]))
                return at;
            sink.put_large(value_of_four(text));
            at += 4;
        }
    }
    return at;
}

template <bool in_utf16>
unsigned long measure(unsigned char const* source, unsigned long limit)
{
    Counter<in_utf16> counter;
    walk(source, 0, limit, limit, counter);
    return counter.count;
}

bool is_ascii_block(unsigned char const* text)
{
    std::uint64_t words[2];
    std::memcpy(words, text, sizeof words);
    return ((words[0] | words[1]) & 0x8080808080808080) == 0;
}

/// Reads eight bytes, of which the first becomes the highest.
std::uint64_t load_word(unsigned char const* text)
{
    std::uint64_t word;
    std::memcpy(&word, text, sizeof word);
    return __builtin_bswap64(word);
}

/// Stores the lower half of `pair` and then the upper one as wide characters.
void store_pair(std::uint64_t pair, wchar_t*& destination)
{
    std::memcpy(destination, &pair, sizeof pair);
    destination += 2;
}

/// Decodes text that is known to be valid, from `source` until `end` is reached. Every character left takes at least
/// one byte, so that eight bytes can be read where eight characters are left.
void decode_valid(unsigned char const* source, wchar_t* to, wchar_t* const end)
{
    while (end - to >= longest_run)
    {
        unsigned int run = 0;
        while (run < longest_run && source[run] < 0x80)
        {
            to[run] = source[run];
            ++run;
        }
        source += run;
        to += run;
        if (run == longest_run)
        {
            for (; end - to >= 16 && is_ascii_block(source); source += 16, to += 16)
                blocks::copy_units<16>(source, to);
            continue;
        }
        std::uint64_t word;
        if (*source < 0xE0)
        {
            *to++ = static_cast<wchar_t>(value_of_two(source));
            source += 2;
        }
        else if (*source < 0xF0)
        {
            // Two characters at once, in the halves of a word.
            while (end - to >= longest_run && ((word = load_word(source)) & 0xF00000F000000000) == 0xE00000E000000000)
            {
                std::uint64_t const pair = word >> 40 | (word >> 16 & 0xFFFFFF) << 32;
                store_pair((pair & 0x3F0000003F) | (pair >> 2 & 0xFC000000FC0) | (pair >> 4 & 0xF0000000F000), to);
                source += 6;
            }
            if (*source >= 0xE0 && *source < 0xF0)
            {
                *to++ = static_cast<wchar_t>(value_of_three(source));
                source += 3;
            }
        }
        else
        {
            while (end - to >= longest_run && ((word = load_word(source)) & 0xF0000000F0000000) == 0xF0000000F0000000)
            {
                std::uint64_t const pair = word << 32 | word >> 32;
                store_pair((pair & 0x3F0000003F) | (pair >> 2 & 0xFC000000FC0) | (pair >> 4 & 0x3F0000003F000) |
                               (pair >> 6 & 0x1C0000001C0000),
                           to);
                source += 8;
            }
            if (*source >= 0xF0)
            {
                *to++ = static_cast<wchar_t>(value_of_four(source));
                source += 4;
            }
        }
    }
    while (to != end && utf8_nqfW(to, source) != 0)
    {
    }
}

/// Measures a text from `at` on. Kept apart, since it takes the registers of a walk of its own.
[[gnu::noinline]] unsigned long measure_rest(unsigned char const* source, unsigned long at, unsigned long limit)
{
    Counter<false> counter;
    walk(source, at, limit, limit, counter);
    return counter.count;
}

/// Converts a text that is more than its leading ASCII. Kept apart, since it takes room on the stack.
[[gnu::noinline, gnu::flatten]] unsigned long convert(unsigned char const* source, unsigned long limit,
                                                      unsigned long ascii, wchar_t* destination, unsigned long capacity)
{
    Utf8ToWide const text(source, limit, ascii);
    unsigned long const length = text.length();
    if (length >= capacity)
        return 0;
    text.store(destination);
    destination[length] = 0;
    return length + 1;
}

} // namespace

unsigned long ascii_length(unsigned char const* source, unsigned long limit)
{
    unsigned long length = 0;
    while (limit - length >= longest_run)
    {
        unsigned int run = 0;
        while (run < longest_run && is_ascii(source[length + run]))
            ++run;
        length += run;
        if (run != longest_run)
            return length;
    }
    while (length != limit && is_ascii(source[length]))
        ++length;
    return length;
}

Utf8ToWide::Utf8ToWide(unsigned char const* source, unsigned long limit, unsigned long ascii)
    : m_source(source), m_ascii(ascii), m_left(0)
{
    // The last character that is decoded may reach behind the stop, and a run of ASCII does so too.
    constexpr unsigned long longest = room - longest_round;
    unsigned long const stop = limit - ascii > longest ? ascii + longest : limit;
    Writer writer = {m_characters};
    unsigned long const at = walk(source, ascii, stop, limit, writer);
    m_decoded = static_cast<unsigned long>(writer.end - m_characters);
    m_rest = source + at;
    if (at >= stop && at != limit)
        m_left = measure_rest(source, at, limit);
}

void Utf8ToWide::store(wchar_t* destination) const
{
    blocks::copy_units(m_source, m_ascii, destination);
    destination += m_ascii;
    blocks::copy_units(m_characters, m_decoded, destination);
    destination += m_decoded;
    decode_valid(m_rest, destination, destination + m_left);
}

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
    if (dst == nullptr)
        return UTF8wstrlen(src, srcLen) + 1;
    unsigned long const ascii = ascii_length(src, srcLen);
    if (ascii != srcLen && src[ascii] != 0)
        return convert(src, srcLen, ascii, dst, dstLen);
    if (ascii >= dstLen)
        return 0;
    blocks::copy_units(src, ascii, dst);
    dst[ascii] = 0;
    return ascii + 1;
}

} // namespace ORVA::String
