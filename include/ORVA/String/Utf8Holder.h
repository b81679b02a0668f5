/// @file
/// `CUTF8Char`: an owned copy of a text in UTF-8.
///
/// Thread-safety: a holder belongs to one thread.
/// Ownership: the holder owns its buffer; sources are only read.
#pragma once

#include "ORVA/String/HeldText.h"

namespace ORVA::String
{

/// Owns a zero-terminated UTF-8 text.
///
/// Sources are zero-terminated. A null pointer gives a holder of nothing. What the codec refuses ends the text, with
/// what stands before it. Assigning from the holder's own pointer is safe: the new buffer is complete before the old
/// one is given back. If the heap is exhausted, nothing is held and `len()` is the length that was measured.
///
/// What `len()` counts, in bytes, the terminator never included:
/// | filled from | `len()` |
/// |---|---|
/// | UTF-8, or a copy of a `CUTF8Char` | bytes; all bits set for a null pointer |
/// | wide text, UTF-16, ANSI | bytes; 0 for a null pointer |
///
/// There is no conversion from UTF-32.
class ORVA_API CUTF8Char : public HeldText<unsigned char>
{
public:
    /// Holds nothing; `len()` is 0.
    CUTF8Char() noexcept = default;
    /// Copies the text of `source`; if that holds nothing, `len()` is all bits set.
    CUTF8Char(CUTF8Char const& source) : HeldText() { *this = source; }
    /// Takes text and length over; `source` then holds nothing.
    CUTF8Char(CUTF8Char&& source) noexcept = default;

    /// Each constructor does what the assignment from the same source does.
    CUTF8Char(unsigned char const* source) { *this = source; }
    /// As above.
    CUTF8Char(wchar_t const* source) { *this = source; }
    /// As above.
    CUTF8Char(unsigned short const* source) { *this = source; }
    /// As above.
    CUTF8Char(char const* source) { *this = source; }
    /// As above.
    CUTF8Char(CNQFWChar const& source) { *this = source; }
    /// As above.
    CUTF8Char(CUTF16Char const& source) { *this = source; }
    /// As above.
    CUTF8Char(CANSIChar const& source) { *this = source; }
    CUTF8Char(unsigned int const* source) = delete;

    /// Copies the text of `source`; if that holds nothing, `len()` is all bits set. Self-assignment does nothing.
    CUTF8Char& operator=(CUTF8Char const& source);
    /// Takes text and length over; `source` then holds nothing. Self-assignment does nothing.
    CUTF8Char& operator=(CUTF8Char&& source) noexcept = default;
    /// Copies UTF-8 text byte by byte, valid or not. For a null pointer `len()` is all bits set.
    CUTF8Char& operator=(unsigned char const* source);
    /// Encodes wide text. A character of 0x110000 or above ends it.
    CUTF8Char& operator=(wchar_t const* source);
    /// Encodes UTF-16 text. A surrogate pair becomes U+0001 or, for 0xD800 0xDC00, a 0 byte; see Codecs.h.
    CUTF8Char& operator=(unsigned short const* source);
    /// Encodes ANSI text, through a temporary wide one. A byte that code page 1252 does not define makes the text an
    /// empty one.
    CUTF8Char& operator=(char const* source);
    /// As from the holder's pointer.
    CUTF8Char& operator=(CNQFWChar const& source);
    /// As from the holder's pointer.
    CUTF8Char& operator=(CUTF16Char const& source);
    /// As from the holder's pointer.
    CUTF8Char& operator=(CANSIChar const& source);
    CUTF8Char& operator=(unsigned int const* source) = delete;
};

static_assert(sizeof(CUTF8Char) == 16, "a holder is a pointer and a length");

} // namespace ORVA::String
