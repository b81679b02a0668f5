/// @file
/// `CNQFWChar`: an owned copy of a text in the library's wide characters.
///
/// Thread-safety: a holder belongs to one thread.
/// Ownership: the holder owns its buffer; sources are only read.
#pragma once

#include "ORVA/String/HeldText.h"

namespace ORVA::String
{

/// Owns a zero-terminated wide text, one code point per character.
///
/// Sources are zero-terminated. A null pointer gives a holder of nothing. What the codec refuses ends the text, with
/// what stands before it. Assigning from the holder's own pointer is safe: the new buffer is complete before the old
/// one is given back. If the heap is exhausted, nothing is held and `len()` is the length that was measured.
///
/// What `len()` counts, in characters:
/// | filled from | `len()` |
/// |---|---|
/// | wide text, or a copy of a `CNQFWChar` | characters plus 1: the terminator counts |
/// | UTF-8, UTF-32, ANSI | characters |
/// | UTF-16 | 0 |
///
/// Text from UTF-16 is lost: whatever it is, the holder then holds an empty text.
class ORVA_API CNQFWChar : public HeldText<wchar_t>
{
public:
    /// Holds nothing; `len()` is 0.
    CNQFWChar() noexcept = default;
    /// Copies the text of `source` up to its terminator; `len()` is set from that and not taken over.
    CNQFWChar(CNQFWChar const& source) : HeldText() { *this = source; }
    /// Takes text and length over; `source` then holds nothing.
    CNQFWChar(CNQFWChar&& source) noexcept = default;

    /// Each constructor does what the assignment from the same source does.
    CNQFWChar(wchar_t const* source) { *this = source; }
    /// As above.
    CNQFWChar(unsigned char const* source) { *this = source; }
    /// As above.
    CNQFWChar(unsigned short const* source) { *this = source; }
    /// As above.
    CNQFWChar(unsigned int const* source) { *this = source; }
    /// As above.
    CNQFWChar(char const* source) { *this = source; }
    /// As above.
    CNQFWChar(CUTF8Char const& source) { *this = source; }
    /// As above.
    CNQFWChar(CUTF16Char const& source) { *this = source; }
    /// As above.
    CNQFWChar(CANSIChar const& source) { *this = source; }

    /// Copies the text of `source` up to its terminator. Self-assignment does nothing.
    CNQFWChar& operator=(CNQFWChar const& source);
    /// Takes text and length over; `source` then holds nothing. Self-assignment does nothing.
    CNQFWChar& operator=(CNQFWChar&& source) noexcept = default;
    /// Copies wide text. `len()` counts the terminator.
    CNQFWChar& operator=(wchar_t const* source);
    /// Decodes UTF-8. Overlong forms, encoded surrogates and values up to 0x13FFFF are taken as they are.
    CNQFWChar& operator=(unsigned char const* source);
    /// Gives an empty text for any UTF-16 text. Decode it with the functions of Codecs.h instead.
    CNQFWChar& operator=(unsigned short const* source);
    /// Copies UTF-32 text, whatever its values.
    CNQFWChar& operator=(unsigned int const* source);
    /// Decodes ANSI text. A byte that code page 1252 does not define makes the text an empty one.
    CNQFWChar& operator=(char const* source);
    /// As from the holder's pointer.
    CNQFWChar& operator=(CUTF8Char const& source);
    /// As from the holder's pointer.
    CNQFWChar& operator=(CUTF16Char const& source);
    /// As from the holder's pointer.
    CNQFWChar& operator=(CANSIChar const& source);

    /// Replaces each "%s" of the held text by `text`, which may be the held text itself. Without a "%s", with nothing
    /// held, with a null `text` or if the heap is exhausted, nothing changes and the pointer stays.
    ///
    /// `len()` rises by the length of `text` for each "%s", and the two characters that went are not taken off: it is
    /// then larger than the text. Go by the terminator after patching.
    void patch_percent_s_with(wchar_t const* text);
};

static_assert(sizeof(CNQFWChar) == 16, "a holder is a pointer and a length");

} // namespace ORVA::String
