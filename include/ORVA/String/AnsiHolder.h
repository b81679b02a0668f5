/// @file
/// `CANSIChar`: an owned copy of a text in Windows code page 1252.
///
/// Thread-safety: a holder belongs to one thread.
/// Ownership: the holder owns its buffer; sources are only read.
#pragma once

#include "ORVA/String/HeldText.h"

namespace ORVA::String
{

/// Owns a zero-terminated text in code page 1252.
///
/// Sources are zero-terminated. A null pointer gives a holder of nothing with `len()` 0. Assigning from the holder's
/// own pointer is safe: the new buffer is complete before the old one is given back. If the heap is exhausted,
/// nothing is held and `len()` is what it would have been.
///
/// `len()` counts the bytes held, the terminator not included.
///
/// Wide text loses its last character: L"abc" becomes "ab", and L"a" an empty text. Empty wide text, and wide text
/// with a character that the code page does not have, give a holder of nothing. There is no conversion from UTF-8,
/// UTF-16 or UTF-32.
class ORVA_API CANSIChar : public HeldText<char>
{
public:
    /// Holds nothing; `len()` is 0.
    CANSIChar() noexcept = default;
    /// Copies the text of `source`.
    CANSIChar(CANSIChar const& source) : HeldText() { *this = source; }
    /// Takes text and length over; `source` then holds nothing.
    CANSIChar(CANSIChar&& source) noexcept = default;

    /// Each constructor does what the assignment from the same source does.
    CANSIChar(char const* source) { *this = source; }
    /// As above.
    CANSIChar(wchar_t const* source) { *this = source; }
    /// As above.
    CANSIChar(CNQFWChar const& source) { *this = source; }
    CANSIChar(unsigned char const* source) = delete;
    CANSIChar(unsigned short const* source) = delete;
    CANSIChar(unsigned int const* source) = delete;
    CANSIChar(CUTF8Char const& source) = delete;
    CANSIChar(CUTF16Char const& source) = delete;

    /// Copies the text of `source`. Self-assignment does nothing.
    CANSIChar& operator=(CANSIChar const& source);
    /// Takes text and length over; `source` then holds nothing. Self-assignment does nothing.
    CANSIChar& operator=(CANSIChar&& source) noexcept = default;
    /// Copies ANSI text byte by byte. The buffer has 8 bytes for each character and for the terminator.
    CANSIChar& operator=(char const* source);
    /// Encodes wide text without its last character. The buffer has 8 bytes for each character of the source.
    CANSIChar& operator=(wchar_t const* source);
    /// As from the holder's pointer.
    CANSIChar& operator=(CNQFWChar const& source);
    CANSIChar& operator=(unsigned char const* source) = delete;
    CANSIChar& operator=(unsigned short const* source) = delete;
    CANSIChar& operator=(unsigned int const* source) = delete;
    CANSIChar& operator=(CUTF8Char const& source) = delete;
    CANSIChar& operator=(CUTF16Char const& source) = delete;
};

static_assert(sizeof(CANSIChar) == 16, "a holder is a pointer and a length");

} // namespace ORVA::String
