/// @file
/// `CUTF16Char`: an owned copy of a text in UTF-16.
///
/// Thread-safety: a holder belongs to one thread.
/// Ownership: the holder owns its buffer; sources are only read.
#pragma once

#include "ORVA/String/HeldText.h"

namespace ORVA::String
{

/// Owns a zero-terminated UTF-16 text, in the library's own form of surrogate pairs (see Codecs.h).
///
/// Sources are zero-terminated. A null pointer gives a holder of nothing. What the codec refuses ends the text, with
/// what stands before it. Assigning from the holder's own pointer is safe: the new buffer is complete before the old
/// one is given back. If the heap is exhausted, nothing is held and `len()` is the length that was measured.
///
/// `len()` counts 16-bit units, the terminator not included, from any source; 0 for a null pointer. There is no
/// conversion from UTF-32.
class ORVA_API CUTF16Char : public HeldText<unsigned short>
{
public:
    /// Holds nothing; `len()` is 0.
    CUTF16Char() noexcept = default;
    /// Copies the text of `source`.
    CUTF16Char(CUTF16Char const& source) : HeldText() { *this = source; }
    /// Takes text and length over; `source` then holds nothing.
    CUTF16Char(CUTF16Char&& source) noexcept = default;

    /// Each constructor does what the assignment from the same source does.
    CUTF16Char(unsigned short const* source) { *this = source; }
    /// As above.
    CUTF16Char(wchar_t const* source) { *this = source; }
    /// As above.
    CUTF16Char(unsigned char const* source) { *this = source; }
    /// As above.
    CUTF16Char(char const* source) { *this = source; }
    /// As above.
    CUTF16Char(CNQFWChar const& source) { *this = source; }
    /// As above.
    CUTF16Char(CUTF8Char const& source) { *this = source; }
    /// As above.
    CUTF16Char(CANSIChar const& source) { *this = source; }
    CUTF16Char(unsigned int const* source) = delete;

    /// Copies the text of `source`. Self-assignment does nothing.
    CUTF16Char& operator=(CUTF16Char const& source);
    /// Takes text and length over; `source` then holds nothing. Self-assignment does nothing.
    CUTF16Char& operator=(CUTF16Char&& source) noexcept = default;
    /// Copies UTF-16 text unit by unit, valid or not.
    CUTF16Char& operator=(unsigned short const* source);
    /// Encodes wide text. A character of 0x110000 or above ends it.
    CUTF16Char& operator=(wchar_t const* source);
    /// Encodes UTF-8 text. A value of 0x110000 or above ends it.
    CUTF16Char& operator=(unsigned char const* source);
    /// Encodes ANSI text, through a temporary wide one. A byte that code page 1252 does not define makes the text an
    /// empty one.
    CUTF16Char& operator=(char const* source);
    /// As from the holder's pointer.
    CUTF16Char& operator=(CNQFWChar const& source);
    /// As from the holder's pointer.
    CUTF16Char& operator=(CUTF8Char const& source);
    /// As from the holder's pointer.
    CUTF16Char& operator=(CANSIChar const& source);
    CUTF16Char& operator=(unsigned int const* source) = delete;
};

static_assert(sizeof(CUTF16Char) == 16, "a holder is a pointer and a length");

} // namespace ORVA::String
