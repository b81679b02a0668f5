/// @file
/// The library's own submitters: pooled strings joined by a separator, and a slice of a wide text.
///
/// Ownership: a submitter is a stack object that lives for one call of the pool, and owns nothing of what it points to.
/// Thread-safety: none is needed; a submitter belongs to the thread that made it.
#pragma once

#include "ORVA/String/PoolString.h"
#include "ORVA/String/Submitter.h"

namespace ORVA::String
{

/// Submits the texts of an array of strings, with a separator between two of them.
class ORVA_API CStringArraySubmitter final : public IStringSubmitter
{
public:
    /// The `count` strings at `items`, which must outlive the submitter.
    CStringArraySubmitter(CPPoolString const* items, unsigned long count, wchar_t separator) noexcept
        : m_items(items), m_count(count), m_separator(separator)
    {
    }

    /// The interface, to be handed to the pool.
    operator IStringSubmitter*() noexcept { return this; }

    /// The lengths of the strings and one character between two of them. **All ones for no strings at all**, of which
    /// the pool makes the null string.
    unsigned long GetStringLen() override;

    /// Writes the texts, the separators and a terminator, which is all there is for no strings. Always 1.
    ///
    /// A string takes as many places as its `len()`. Where its text ends before, at a 0, the places left are not written.
    unsigned int GetString(wchar_t* buffer) override;

private:
    CPPoolString const* m_items;
    unsigned long m_count;
    wchar_t m_separator;
};

/// Submits the beginning of a slice of a wide text: **as many bytes as the slice has characters**.
///
/// A slice of n characters thus gives n / 4 of them; if n is no multiple of 4, the lowest 1 to 3 bytes of the next one
/// follow as a last character. The rest of the buffer is not written: the pool hands out zeros, so the text ends there.
/// `CStringPool::GetStringRefn` gives the whole slice.
///
/// | slice | text |
/// |---|---|
/// | "12345678" | "12" |
/// | "12345" | "12" |
/// | "123" | "1" |
/// | one character U+4E2D | "-", which is U+002D |
/// | one character U+4E00 | a text of length 0 that is not `CPPoolString::pempty` |
class ORVA_API CSubStringSubmitter final : public IStringSubmitter
{
public:
    /// The `length` characters at `start`, which must outlive the submitter. A length of 0 is reported, and kept: the
    /// pool makes the empty string of it.
    CSubStringSubmitter(wchar_t const* start, unsigned long length);

    /// The interface, to be handed to the pool.
    operator IStringSubmitter*() noexcept { return this; }

    /// The length of the slice in characters.
    unsigned long GetStringLen() override;

    /// Copies that number of **bytes**, and no terminator. Always 1.
    unsigned int GetString(wchar_t* buffer) override;

private:
    wchar_t const* m_start;
    unsigned long sccLen;
};

} // namespace ORVA::String
