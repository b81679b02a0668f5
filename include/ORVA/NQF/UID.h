/// @file
/// `cnqfuid`: an identifier as a value, and its text form.
///
/// The canonical text is 36 characters of upper-case hexadecimal digits in five groups, without braces:
/// "3C43A101-84D4-4215-9A4C-FBF54E8E7541".
///
/// Thread-safety: a plain value without locks.
#pragma once

#include "ORVA/Core.h"
#include "ORVA/String/AnsiHolder.h"
#include "ORVA/String/WideHolder.h"

#include <cstring>

namespace ORVA::NQF
{

/// Sixteen zero bytes: no identifier.
extern ORVA_API _nqfUID const nqfUID_null;

/// An identifier with comparison and text forms. It is nil, and false, while all its sixteen bytes are zero.
///
/// It has the bytes of an `_nqfUID` and nothing else, and stands wherever an `_nqfUID const&` is wanted.
class ORVA_API cnqfuid
{
public:
    /// Nil.
    constexpr cnqfuid() noexcept : m_uid{} {}
    /// The same identifier.
    cnqfuid(cnqfuid const& source) noexcept = default;
    /// The same identifier.
    constexpr cnqfuid(_nqfUID const& source) noexcept : m_uid(source) {}
    /// Each does what `Set` does; nobody learns whether the text was one.
    cnqfuid(char const* text) noexcept { Set(text); }
    /// As above.
    cnqfuid(wchar_t const* text) noexcept { Set(text); }

    /// Becomes the same identifier.
    cnqfuid& operator=(cnqfuid const& source) noexcept = default;
    /// Becomes the same identifier.
    cnqfuid& operator=(_nqfUID const& source) noexcept
    {
        m_uid = source;
        return *this;
    }
    /// Each does what `Set` does; nobody learns whether the text was one.
    cnqfuid& operator=(char const* text) noexcept
    {
        Set(text);
        return *this;
    }
    /// As above.
    cnqfuid& operator=(wchar_t const* text) noexcept
    {
        Set(text);
        return *this;
    }

    /// Makes it nil.
    void reset() noexcept { m_uid = _nqfUID{}; }

    /// The bytes themselves, for use as an output argument.
    _nqfUID& rec() noexcept { return m_uid; }
    /// The bytes themselves.
    operator _nqfUID const&() const noexcept { return m_uid; }

    /// Reads a text in any case of letters. The result is 1 or 0, and with 0 the identifier is nil.
    ///
    /// - A text without exactly four hyphens gives nil and **1**: an empty text, a null pointer and a word that is no
    ///   identifier are all no error. Test the identifier as well as the result.
    /// - The first four groups are read as `scanf` reads "%x-%hx-%hx-%hx": shorter groups, leading blanks, signs and
    ///   "0x" are taken, an opening brace is not.
    /// - The last group is read two characters at a time, each pair as "%hx" reads it: "1g" is 0x01, and a pair of
    ///   blanks repeats the byte before it. Fewer than 12 characters give 0; what follows the twelfth is ignored.
    int Set(char const* text) noexcept;
    /// As above.
    int Set(wchar_t const* text) noexcept;

    /// Compares all sixteen bytes. An `_nqfUID` may stand on the left as well.
    bool operator==(_nqfUID const& other) const noexcept { return std::memcmp(&m_uid, &other, sizeof m_uid) == 0; }
    /// Compares all sixteen bytes.
    bool operator==(cnqfuid const& other) const noexcept { return *this == other.m_uid; }
    /// The negation of `operator==`.
    bool operator!=(_nqfUID const& other) const noexcept { return !(*this == other); }
    /// The negation of `operator==`.
    bool operator!=(cnqfuid const& other) const noexcept { return !(*this == other); }
    /// @cond
    friend bool operator==(_nqfUID const& left, cnqfuid const& right) noexcept { return right == left; }
    friend bool operator!=(_nqfUID const& left, cnqfuid const& right) noexcept { return !(right == left); }
    /// @endcond

    /// True unless it is nil.
    operator bool() noexcept { return *this != nqfUID_null; }
    /// True unless it is nil.
    operator bool() const noexcept { return *this != nqfUID_null; }

    /// The canonical text. Holds nothing if the heap is exhausted.
    String::CANSIChar ANSI() const;
    /// The canonical text. Holds nothing if the heap is exhausted.
    operator String::CNQFWChar() const;

private:
    _nqfUID m_uid;
};

static_assert(sizeof(cnqfuid) == 16, "an identifier is 16 bytes");

} // namespace ORVA::NQF
