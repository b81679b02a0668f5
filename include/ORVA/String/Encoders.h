/// @file
/// Bytes as text, for what is to be kept in the string pool.
///
/// Two forms: a header character, then groups of four characters, of which the last may be padded.
///
/// | form | a group holds | its characters | header for a length with remainder r | 64 bytes take |
/// |---|---|---|---|---|
/// | C3F | 3 bytes | from 33 up, most of them printable | r XOR 0x103, r = length modulo 3 | 89 characters |
/// | C3FFF | 7 bytes | 0x4000 to 0x7FFF | r XOR 0x307, r = length modulo 7 | 41 characters |
///
/// Neither gives back everything that it is given:
/// - **A length that is a multiple of the group's bytes cannot be decoded**: its header is one that the decoder refuses.
///   That includes a length of 0. Append a byte, or two where one would make such a multiple, and let the last say how
///   many.
/// - **In C3F the second byte of a group comes back with its upper half all ones if its lower half is 14 or 15.** Its
///   second character, too, is then below 33.
///
/// Thread-safety: one thread at a time. Ownership: an encoder does not own its input, which must live during the
/// construction only; its text is the pool's, and its decoder's bytes are a counted block.
#pragma once

#include "ORVA/Buffers/PlainMemory.h"
#include "ORVA/String/PoolString.h"
#include "ORVA/String/Submitter.h"

namespace ORVA::String
{

/// Turns bytes into pooled text of the form C3F.
class ORVA_API C3FEncoder : public IStringSubmitter
{
public:
    /// Pools the text of `size` bytes at `data`, which may be null if `size` is 0. If the pool has no memory for it, the
    /// text is the null string.
    C3FEncoder(void const* data, unsigned long size);
    /// As above, with the bytes in use of `data`.
    C3FEncoder(Buffers::CPPlainMemory const& data);

    /// The pooled text.
    operator CPPoolString() const { return m_text; }

    /// An upper bound of the length in characters, without the terminator, of the text of the input that is left: it
    /// counts the header and one group more than the whole ones. 5 once the text is written.
    unsigned long GetStringLen() override;
    /// Writes the text of the input that is left, with its terminator, and uses that input up: a second call writes the
    /// text of no bytes. 1.
    unsigned int GetString(wchar_t* buffer) override;

protected:
    CPPoolString m_text;          ///< the text
    unsigned char const* m_input; ///< the bytes that are left
    unsigned long m_count;        ///< their number
};

static_assert(sizeof(C3FEncoder) == 32, "the layout of the encoder is fixed");

/// Turns bytes into pooled text of the form C3FFF.
class ORVA_API C3FFFEncoder : public IStringSubmitter
{
public:
    /// As that of `C3FEncoder`.
    C3FFFEncoder(void const* data, unsigned long size);
    /// As above, with the bytes in use of `data`.
    C3FFFEncoder(Buffers::CPPlainMemory const& data);

    /// The pooled text.
    operator CPPoolString() const { return m_text; }

    /// As that of `C3FEncoder`.
    unsigned long GetStringLen() override;
    /// As that of `C3FEncoder`. 1.
    unsigned int GetString(wchar_t* buffer) override;

protected:
    CPPoolString m_text;          ///< the text
    unsigned char const* m_input; ///< the bytes that are left
    unsigned long m_count;        ///< their number
};

static_assert(sizeof(C3FFFEncoder) == 32, "the layout of the encoder is fixed");

/// Turns text of the form C3F into bytes.
///
/// | text | bytes |
/// |---|---|
/// | null, of a length that is not a whole number of groups behind the header, with another header | none; reported |
/// | a header alone; no memory | none, unreported |
/// | anything else | those of the groups, less as many as the header's low byte, 0 to 2, says |
///
/// Only bits 0 to 15 of the header are looked at. Other characters are not checked: those that no encoder writes give
/// some bytes.
class ORVA_API C3FDecoder
{
public:
    /// Decodes `text` up to its terminator.
    C3FDecoder(wchar_t const* text);
    /// Decodes a pooled text.
    C3FDecoder(CPPoolString const& text);

    /// Decodes `length` characters and lets go of what was decoded before, also if `text` is refused.
    void _set(wchar_t const* text, unsigned long length);

    /// The bytes; an empty handle if there are none.
    operator Buffers::CPPlainMemory() const { return m_bytes; }

private:
    Buffers::CPPlainMemory m_bytes;
};

static_assert(sizeof(C3FDecoder) == sizeof(void*), "a decoder is the handle on its bytes");

/// Turns text of the form C3FFF into bytes.
///
/// As `C3FDecoder`, with a low byte of the header from 0 to 6. Of the other characters the low 14 bits are taken.
class ORVA_API C3FFFDecoder
{
public:
    /// Decodes `text` up to its terminator.
    C3FFFDecoder(wchar_t const* text);
    /// Decodes a pooled text.
    C3FFFDecoder(CPPoolString const& text);

    /// Decodes `length` characters and lets go of what was decoded before, also if `text` is refused.
    void _set(wchar_t const* text, unsigned long length);

    /// The bytes; an empty handle if there are none.
    operator Buffers::CPPlainMemory() const { return m_bytes; }

private:
    Buffers::CPPlainMemory m_bytes;
};

static_assert(sizeof(C3FFFDecoder) == sizeof(void*), "a decoder is the handle on its bytes");

} // namespace ORVA::String
