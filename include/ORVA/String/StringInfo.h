/// @file
/// The evaluation of a text: its length, its size in UTF-8 and its two 64-bit hashes, in one pass.
///
/// Text in any of the three encodings gives the same hashes as its wide form, so that a string is found whichever form
/// it is asked for in. Only the low 16 bits of a character count in a hash.
///
/// Thread-safety: evaluation only reads the object, so one instance serves all threads without a lock. The
/// case-insensitive hash follows the current locale, which nobody may change meanwhile.
/// Ownership: plain values; a text is the caller's and is not kept.
#pragma once

#include "ORVA/Buffers/MachineCRC.h"
#include "ORVA/Core/Export.h"

namespace ORVA::String
{

/// What an evaluation finds out about a text.
struct tagSTRINGBASICINFO
{
    unsigned long len;      ///< length in wide characters, without the terminator
    unsigned long utf8Size; ///< size in UTF-8 in bytes, without the terminator
    unsigned long sHash;    ///< case-sensitive hash; 0 for an empty text, all ones for no text
    unsigned long sHashi;   ///< case-insensitive hash: that of the text with each character in lower case
};

static_assert(sizeof(tagSTRINGBASICINFO) == 32, "part of the string record");

/// The evaluator: a check of width 64 with the library's polynomial.
///
/// A text ends at its first unit of 0, and in the bounded forms after `n` units at the latest; nothing beyond is read.
/// `n` is taken as a signed number: below 1, all bits set included, it means an empty text, not "no limit". An empty
/// text has all four values 0.
///
/// All forms return 1 and fill `info`, or return 0. A text that its encoding forbids leaves `info` as it was. When
/// the mapping to lower case throws, or the object is not ready (its mask is 0), lengths become 0 and both hashes all
/// ones. The bounded forms look for an empty text first, and find it with an object that is not ready too.
class ORVA_API CStringInfo : public Buffers::CMachineCRC
{
public:
    CStringInfo();

    using Buffers::CMachineCRC::Eval;

    /// Evaluates wide text. Characters above 0xFFFF have no lower case here. From 0x110000 on a character adds 0 to
    /// the size in UTF-8. Wide text cannot be forbidden.
    unsigned int Eval(tagSTRINGBASICINFO& info, wchar_t const* source) const;

    /// As above; `n` is in characters.
    unsigned int Eval(tagSTRINGBASICINFO& info, wchar_t const* source, unsigned long n) const;

    /// Evaluates UTF-8 text, read as utf8_nqfW32 reads it; the size in UTF-8 is that of the source. A byte that
    /// cannot begin a sequence and a sequence that is not complete are forbidden.
    unsigned int Eval(tagSTRINGBASICINFO& info, unsigned char const* source) const;

    /// As above; `n` is in bytes, and a sequence that it cuts is not complete.
    unsigned int Eval(tagSTRINGBASICINFO& info, unsigned char const* source, unsigned long n) const;

    /// Evaluates UTF-16 text, read as utf16_nqfW32 reads it: a pair counts as one character of value 1 or 0 and as one
    /// byte of UTF-8. What that function refuses is forbidden.
    unsigned int Eval(tagSTRINGBASICINFO& info, unsigned short const* source) const;

    /// As above; `n` is in 16-bit units, and a pair that it cuts is forbidden.
    unsigned int Eval(tagSTRINGBASICINFO& info, unsigned short const* source, unsigned long n) const;
};

} // namespace ORVA::String
