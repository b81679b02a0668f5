/// @file
/// What the four string holders have in common: a heap copy of a zero-terminated text, and its length.
///
/// Thread-safety: a holder belongs to one thread.
/// Ownership: each holder owns its own buffer of `Core::OS::_falloc`; nothing is shared between holders. A pointer
/// that a holder gives out is valid until the holder is assigned, patched, moved from or destroyed.
#pragma once

#include "ORVA/Core.h"

namespace ORVA::String
{

class CNQFWChar;
class CUTF8Char;
class CUTF16Char;
class CANSIChar;

/// The pointer and the length that every holder is made of. Not used by itself: see Holders.h.
///
/// A holder is false if it holds nothing: it was default-constructed, moved from, filled from a null pointer, or the
/// heap was exhausted. A holder of an empty text is true. Nothing is ever thrown or reported.
template <class T>
class ORVA_TEMPLATE_API HeldText
{
public:
    HeldText(HeldText const&) = delete;
    HeldText& operator=(HeldText const&) = delete;

    /// The text, zero-terminated; null if nothing is held.
    T const* operator*() const noexcept { return pText; }
    /// The text, zero-terminated; null if nothing is held.
    operator T const*() const noexcept { return pText; }
    /// Whether a text is held, be it empty. Explicit, so that a holder never takes part in arithmetic; where a plain
    /// `bool` is asked for, the pointer converts to the same value.
    explicit operator bool() const noexcept { return pText != nullptr; }

    /// The length that was stored when the holder was filled, in elements of `T`. What it counts differs by holder
    /// and source, and each holder says so: where it matters, go by the terminator instead.
    unsigned long len() const noexcept { return uLen; }

protected:
    HeldText() noexcept = default;
    /// Takes text and length over; `source` then holds nothing.
    HeldText(HeldText&& source) noexcept : pText(source.pText), uLen(source.uLen) { source._leave(); }
    ~HeldText()
    {
        if (pText)
            Core::OS::_ffree(pText);
    }

    /// Takes text and length over; `source` then holds nothing.
    HeldText& operator=(HeldText&& source) noexcept
    {
        if (this != &source)
        {
            _adopt(source.pText, source.uLen);
            source._leave();
        }
        return *this;
    }

    /// Gives the present buffer back and becomes the owner of `text`, a buffer of `_falloc` or null.
    void _adopt(T* text, unsigned long length) noexcept
    {
        Core::OS::_ffree(pText);
        pText = text;
        uLen = length;
    }

private:
    void _leave() noexcept
    {
        pText = nullptr;
        uLen = 0;
    }

    T* pText = nullptr;
    unsigned long uLen = 0;
};

} // namespace ORVA::String
