/// @file
/// Measuring and converting text among UTF-8, UTF-16, UTF-32 and the library's wide characters.
///
/// A wide character is one UTF-32 unit, and one with its top bit set is a large unsigned value. All functions are
/// free of state: they allocate nothing and report nothing.
///
/// Thread-safety: any thread. Ownership: the memory is the caller's throughout.
///
/// A *limit* counts source units (bytes, 16-bit units or 32-bit units), never characters. All bits set means no
/// limit, and so does any limit that reaches beyond the highest address. A limit of 0 gives 0 and reads nothing.
/// Every text also ends at its first unit of 0.
///
/// UTF-8 is read leniently: overlong forms, encoded surrogates and values up to 0x13FFFF are taken. UTF-16 differs
/// from the Unicode standard in several ways, on purpose; each is told where it shows. The length functions and the
/// converters agree with each other in all of this, so a buffer of the measured size always fits.
#pragma once

#include "ORVA/Core/Export.h"
#include "ORVA/Core/Types.h"

namespace ORVA::String
{

/// @name Sizes of single characters
/// @{

/// The length in bytes of a UTF-8 sequence by its first byte: 1 below 0x80, 2 from 0xC0 to 0xDF, 3 from 0xE0 to 0xEF,
/// 4 from 0xF0 to 0xF4, and 0 for a byte that cannot begin one.
extern ORVA_API const unsigned char sUTF8Lut[256];

/// The bytes that a code point takes in UTF-8: 1 to 4, or 0 from 0x110000 on.
inline unsigned int UTF8Size(unsigned int character)
{
    if (character >= 0x110000)
        return 0;
    return 1U + (character >= 0x80) + (character >= 0x800) + (character >= 0x10000);
}

/// The bytes of a UTF-8 sequence that begins with `first`, or 0 if none can (see sUTF8Lut).
inline unsigned int UTF8Len(unsigned char first)
{
    return sUTF8Lut[first];
}

/// The units that a code point takes in UTF-16: 1 or 2, or 0 above 0x110000. Unlike UTF8Size it admits 0x110000.
inline unsigned int UTF16Size(unsigned int character)
{
    return character < 0x10000 ? 1 : character <= 0x110000 ? 2 : 0;
}

/// The units of a UTF-16 character that begins with `first`: 2 from 0xD800 to 0xDBFF, 0 from 0xDC00 to 0xDFFF,
/// otherwise 1.
inline unsigned int UTF16Len(unsigned short first)
{
    return first < 0xD800 || first > 0xDFFF ? 1 : first < 0xDC00 ? 2 : 0;
}

/// The wide characters that a code point takes: always 1.
inline unsigned int nqfWSize(unsigned int)
{
    return 1;
}

/// The wide characters of a character that begins with the given one: always 1.
inline unsigned int nqfWLen(wchar_t)
{
    return 1;
}

/// @}
/// @name Finding the next character
/// @{

/// Moves `source` over bytes from 0xC0 to 0xDF to the first other byte. Continuation bytes are not skipped, so this
/// does not bring a pointer out of the middle of a sequence.
inline void UTF8Sync(unsigned char const*& source)
{
    while ((*source & 0xE0) == 0xC0)
        ++source;
}

/// Moves `source` over units from 0xDC00 to 0xDFFF to the first other unit.
inline void UTF16Sync(unsigned short const*& source)
{
    while (*source >> 10 == 55)
        ++source;
}

/// Moves nothing: every wide character begins a character.
inline void nqfWSync(wchar_t const*&) {}

/// @}
/// @name Lengths of texts
/// All give the length of the longest valid prefix: text that cannot be read on is no error, it ends there. A sequence
/// or pair that the limit cuts in two is not counted.
/// @{

/// The code points, that is wide characters, of UTF-8 text.
ORVA_API unsigned long UTF8wstrlen(unsigned char const* source, unsigned long limit);

/// The code points of UTF-8 text; the same as UTF8wstrlen.
ORVA_API unsigned long UTF8w32strlen(unsigned char const* source, unsigned long limit);

/// The 16-bit units that UTF-8 text takes in UTF-16. Characters from 0x110000 to 0x13FFFF count 2, although no
/// encoder takes them.
ORVA_API unsigned long UTF8u16strlen(unsigned char const* source, unsigned long limit);

/// The code points, that is wide characters, of UTF-16 text; a pair counts 1. See utf16_nqfW32 for what is a pair.
ORVA_API unsigned long UTF16wstrlen(unsigned short const* source, unsigned long limit);

/// The code points of UTF-16 text; the same as UTF16wstrlen.
ORVA_API unsigned long UTF16w32strlen(unsigned short const* source, unsigned long limit);

/// The bytes that UTF-16 text takes in UTF-8. A pair counts 1, since it decodes to 0 or 1.
ORVA_API unsigned long UTF16u8strlen(unsigned short const* source, unsigned long limit);

/// The units of UTF-32 text, at most `limit`. Any value is a unit.
ORVA_API unsigned long UTF32wstrlen(unsigned int const* source, unsigned long limit);

/// The 16-bit units that UTF-32 text takes in UTF-16, by the rule of UTF16Size; ends at a value above 0x110000.
/// The unit at the limit is read and counted too: up to `limit` + 1 units of the source, unless the limit is 0.
ORVA_API unsigned long UTF32u16strlen(unsigned int const* source, unsigned long limit);

/// The bytes that UTF-32 text takes in UTF-8, by the rule of UTF8Size; ends at a value of 0x110000 or above.
/// The unit at the limit is read and counted too: up to `limit` + 1 units of the source, unless the limit is 0.
ORVA_API unsigned long UTF32u8strlen(unsigned int const* source, unsigned long limit);

/// The units of wide text; the rule of UTF32wstrlen.
ORVA_API unsigned long nqfWw32strlen(wchar_t const* source, unsigned long limit);

/// Always 0, whatever it is given: wide text is not measured for UTF-16 here. UTF32u16strlen has the rule.
ORVA_API unsigned long nqfWu16strlen(wchar_t const* source, unsigned long limit);

/// The bytes that wide text takes in UTF-8; the rule of UTF32u8strlen, with the unit at the limit counted too.
ORVA_API unsigned long nqfWu8strlen(wchar_t const* source, unsigned long limit);

/// @}
/// @name Converting single characters
/// All return 1 for success and 0 for a refusal. They take no limit; a terminator is a character like any other, and
/// stops a sequence that is cut short.
/// @{

/// Decodes one UTF-8 sequence into `*character` and moves `source` past it.
///
/// A byte that cannot begin a sequence: `*character` becomes 0 and `source` stays. A missing continuation byte:
/// `source` stands on the byte that is none, and `*character` holds the payload bits up to there.
inline unsigned int utf8_nqfW32(unsigned int* character, unsigned char const*& source)
{
    unsigned int const length = UTF8Len(*source);
    if (length == 0)
    {
        *character = 0;
        return 0;
    }
    if (length == 1)
    {
        *character = *source++;
        return 1;
    }
    unsigned int value = *source++ & (0xFFU >> (length + 1));
    for (unsigned int left = length - 1; left != 0; --left)
    {
        unsigned int const next = *source;
        if ((next & 0xC0) != 0x80)
        {
            *character = value;
            return 0;
        }
        value = value << 6 | (next & 0x3F);
        ++source;
    }
    *character = value;
    return 1;
}

/// Decodes one UTF-16 character into `*character` and moves `source` past it. A refusal touches neither.
///
/// Refused are a first unit from 0xDC00 to 0xDFFF, and a first unit from 0xD800 to 0xDBFF before one below 0xDBFF;
/// any unit from 0xDBFF on completes a pair. A pair does not decode to its supplementary character but to 1, or to 0
/// if the low ten bits of both units are 0.
inline unsigned int utf16_nqfW32(unsigned int* character, unsigned short const*& source)
{
    unsigned int const first = source[0];
    if (first < 0xD800 || first > 0xDFFF)
    {
        *character = first;
        ++source;
        return 1;
    }
    if (first > 0xDBFF)
        return 0;
    unsigned int const second = source[1];
    if (second < 0xDBFF)
        return 0;
    *character = ((first | second) & 0x3FF) != 0 ? 1 : 0;
    source += 2;
    return 1;
}

/// Copies one wide character into `*character` and moves `source` past it; always 1.
inline unsigned int nqfW_nqfW32(unsigned int* character, wchar_t const*& source)
{
    *character = static_cast<unsigned int>(*source++);
    return 1;
}

/// Stores a code point as UTF-8 and moves `destination` past its 1 to 4 bytes. Surrogate values are stored like any
/// other; from 0x110000 on the result is 0 and nothing is written.
inline unsigned int nqfW32_utf8(unsigned char*& destination, unsigned int character)
{
    if (character < 0x80)
    {
        *destination++ = static_cast<unsigned char>(character);
        return 1;
    }
    if (character >> 16 > 16)
        return 0;
    if (character < 0x800)
    {
        *destination++ = static_cast<unsigned char>(0xC0 | character >> 6);
    }
    else
    {
        if (character < 0x10000)
        {
            *destination++ = static_cast<unsigned char>(0xE0 | character >> 12);
        }
        else
        {
            *destination++ = static_cast<unsigned char>(0xF0 | character >> 18);
            *destination++ = static_cast<unsigned char>(0x80 | (character >> 12 & 0x3F));
        }
        *destination++ = static_cast<unsigned char>(0x80 | (character >> 6 & 0x3F));
    }
    *destination++ = static_cast<unsigned char>(0x80 | (character & 0x3F));
    return 1;
}

/// Stores a code point as UTF-16 and moves `destination` past its 1 or 2 units. Surrogate values are stored like any
/// other; from 0x110000 on the result is 0 and nothing is written.
///
/// The two units are not those of standard UTF-16: 0x10000 is not subtracted first, so 0x10000 becomes 0xD840 0xDC00
/// and 0x10FFFF becomes 0xDC3F 0xDFFF.
inline unsigned int nqfW32_utf16(unsigned short*& destination, unsigned int character)
{
    if (character < 0x10000)
    {
        *destination++ = static_cast<unsigned short>(character);
        return 1;
    }
    if (character >> 16 > 16)
        return 0;
    *destination++ = static_cast<unsigned short>(0xD800 | character >> 10);
    *destination++ = static_cast<unsigned short>(0xDC00 | (character & 0x3FF));
    return 1;
}

/// Stores a code point as one wide character and moves `destination` past it; always 1.
inline unsigned int nqfW32_nqfW(wchar_t*& destination, unsigned int character)
{
    *destination++ = static_cast<wchar_t>(character);
    return 1;
}

/// Decodes one UTF-8 sequence into `*destination` as utf8_nqfW32 does, output of a refusal included. `destination`
/// moves on success only.
inline unsigned int utf8_nqfW(wchar_t*& destination, unsigned char const*& source)
{
    unsigned int character;
    unsigned int const result = utf8_nqfW32(&character, source);
    *destination = static_cast<wchar_t>(character);
    destination += result;
    return result;
}

/// Decodes one UTF-16 character into `*destination` as utf16_nqfW32 does. `destination` never moves, so a loop over
/// it stores every character in the same place; the caller moves it.
inline unsigned int utf16_nqfW(wchar_t*& destination, unsigned short const*& source)
{
    unsigned int character;
    if (utf16_nqfW32(&character, source) == 0)
        return 0;
    *destination = static_cast<wchar_t>(character);
    return 1;
}

/// Stores one wide character as UTF-8, as nqfW32_utf8 does. `source` moves on success only.
inline unsigned int nqfW_utf8(unsigned char*& destination, wchar_t const*& source)
{
    unsigned int const result = nqfW32_utf8(destination, static_cast<unsigned int>(*source));
    source += result;
    return result;
}

/// Stores one wide character as UTF-16, as nqfW32_utf16 does. `source` moves on success only.
inline unsigned int nqfW_utf16(unsigned short*& destination, wchar_t const*& source)
{
    unsigned int const result = nqfW32_utf16(destination, static_cast<unsigned int>(*source));
    source += result;
    return result;
}

/// Converts one character from UTF-8 to UTF-16, as utf8_nqfW32 and nqfW32_utf16 do. When the decoder refuses,
/// `source` is where it left it; when the encoder refuses, `source` has moved past the character.
inline unsigned int utf8_utf16(unsigned short*& destination, unsigned char const*& source)
{
    unsigned int character;
    return utf8_nqfW32(&character, source) != 0 ? nqfW32_utf16(destination, character) : 0;
}

/// Converts one character from UTF-16 to UTF-8, as utf16_nqfW32 and nqfW32_utf8 do: a pair becomes one byte, 0 or 1.
inline unsigned int utf16_utf8(unsigned char*& destination, unsigned short const*& source)
{
    unsigned int character;
    return utf16_nqfW32(&character, source) != 0 ? nqfW32_utf8(destination, character) : 0;
}

/// @}
/// @name Converting texts
/// Both return the number of units stored, terminator included: at least 1 for success, also for an empty text. The
/// result is 0 for a null source and, with nothing written, for a capacity that is too small. A null destination asks
/// for the size: the result is what a conversion would need, whatever the capacity.
/// @{

/// Converts UTF-8 text, at most `srcLen` bytes of it (see the limits above), to wide text in `dst`, which has room
/// for `dstLen` wide characters. The text is measured as UTF8wstrlen does: it ends without an error at a byte that
/// cannot be read.
ORVA_API unsigned long UTF8_To_nqfWChar(unsigned char const* src, unsigned long srcLen, wchar_t* dst,
                                        unsigned long dstLen);

/// Converts wide text to UTF-8 in `dst`, which has room for `dstLen` bytes. The text is measured as nqfWu8strlen
/// does: it ends without an error at a value of 0x110000 or above, and up to `srcLen` + 1 wide characters are
/// converted, unless `srcLen` is 0.
ORVA_API unsigned long nqfWChar_To_UTF8(wchar_t const* src, unsigned long srcLen, unsigned char* dst,
                                        unsigned long dstLen);

/// @}

} // namespace ORVA::String
