/// @file
/// The library's string type: a pointer-sized handle on a pooled text.
///
/// Equal text has one record, so equality is one comparison of pointers, and a string is copied by counting. A text never
/// changes. Two texts are the same string if both hashes, the length and the first 10 characters agree.
///
/// | state | refers to | `isnull` | `isempty` | `isdef` | `operator bool` |
/// |---|---|---|---|---|---|
/// | null | the null record | true | false | false | false |
/// | empty | the empty record | false | true | false | true |
/// | constant | the record of `ptrue` or `pfalse` | false | false | true | true |
/// | pooled | a record on the heap | false | false | true | true |
///
/// The empty string counts as true: ask `isdef` whether there is text. The constants are not pooled:
/// `CPPoolString(true)` and `CPPoolString(L"true")` have equal text and are different strings.
///
/// Thread-safety: strings may be copied and destroyed in any threads; one object must not be assigned from two at once.
/// Failure: where the pool cannot make a record, the string is null. No operation throws.
#pragma once

#include "ORVA/Buffers/ObjectVector.h"
#include "ORVA/String/Pool.h"
#include "ORVA/String/Record.h"

#include <type_traits>
#include <utility>

namespace ORVA::String
{

/// A pooled string.
///
/// The comparisons give an order, as a difference of characters: negative, 0 or positive. "Folded" means that characters
/// that differ are compared in lower case, by the current locale. A text that is not there, a null pointer, comes
/// **first in the exact comparisons and last in the folded ones**.
class ORVA_API CPPoolString : public _cppoolstring
{
public:
    static CPPoolString const pnull;  ///< the null string
    static CPPoolString const pempty; ///< the empty string
    static CPPoolString const ptrue;  ///< the constant "true"
    static CPPoolString const pfalse; ///< the constant "false"

    /// The type of pooled strings' blocks.
    static void const* GetTypeID() noexcept { return &poolstring_vtbl; }

    /// The null string.
    CPPoolString() noexcept = default;

    /// Shares the record.
    CPPoolString(CPPoolString const& source) = default;
    /// Takes the reference of `source`, which becomes null.
    CPPoolString(CPPoolString&& source) noexcept = default;
    /// Shares a record that the pool gave.
    CPPoolString(_cppoolstring const& source) : _cppoolstring(source) {}
    /// Takes over a record that the pool gave.
    CPPoolString(_cppoolstring&& source) noexcept : _cppoolstring(std::move(source)) {}
    /// Shares the block of `source` if that is a pooled string; otherwise null.
    CPPoolString(Buffers::CPObjectMemory const& source) : _cppoolstring(source) {}

    /// The constant `ptrue` or `pfalse`, not the pooled text "true" or "false".
    CPPoolString(bool value) noexcept : _cppoolstring(value ? Constants::true_record : Constants::false_record) {}
    /// The pooled text; null for a null pointer.
    CPPoolString(wchar_t const* text);
    /// The pooled text, from UTF-8; null for a null pointer and for invalid text.
    CPPoolString(unsigned char const* text);
    /// The pooled text, from code page 1252; null for a null pointer, empty for text with one of its undefined bytes.
    CPPoolString(char const* text);
    /// The number in decimal.
    CPPoolString(unsigned int value);
    /// The number in decimal.
    CPPoolString(int value);
    /// The number in decimal.
    CPPoolString(unsigned long long value);
    /// The number in decimal.
    CPPoolString(long long value);
    /// Not offered, so that a pointer of another type does not become a `bool`; nor is the assignment below.
    CPPoolString(void const*) = delete;

    /// @name Each assignment does what the constructor from the same source does
    /// @{

    /// As the constructor.
    CPPoolString& operator=(CPPoolString const& source) = default;
    CPPoolString& operator=(CPPoolString&& source) = default;
    CPPoolString& operator=(_cppoolstring const& source);
    CPPoolString& operator=(_cppoolstring&& source);
    CPPoolString& operator=(Buffers::CPObjectMemory const& source);
    CPPoolString& operator=(bool value);
    CPPoolString& operator=(wchar_t const* text);
    CPPoolString& operator=(unsigned char const* text);
    CPPoolString& operator=(unsigned int value);
    CPPoolString& operator=(int value);
    CPPoolString& operator=(unsigned long long value);
    CPPoolString& operator=(long long value);
    /// @}
    /// Not offered, so that it does not become the assignment of a `bool`: construct a string instead.
    CPPoolString& operator=(char const*) = delete;
    CPPoolString& operator=(void const*) = delete;

    /// False only for the null string and for a handle without a record; true for the empty string.
    operator bool() noexcept { return !isnull(); }
    /// As above.
    operator bool() const noexcept { return !isnull(); }
    /// True for the null string.
    bool isnull() const noexcept { return _record() == &Constants::null_record.record; }
    /// True for the empty string, and not for the null string.
    bool isempty() const noexcept { return _record() == &Constants::empty_record.record; }
    /// True if there is text: false for the null string and the empty string.
    bool isdef() const noexcept { return !isnull() && !isempty(); }

    /// The text, with a terminator; it lives as long as any string with this text does. Never null.
    operator wchar_t const*() const noexcept { return _record()->pData; }
    /// The text.
    wchar_t const* operator*() const noexcept { return _record()->pData; }

    /// The text in UTF-8, with a terminator. Made at the first call, in one allocation, and kept with the record: it
    /// lives as long as any string with this text does. "" if that fails, never null: texts with a character of
    /// 0x110000 or above before others, or with overlong forms taken over from UTF-8, have no such form. Characters of
    /// 0x110000 and above at the end of a text are left out. Any threads may ask for it at once.
    operator unsigned char const*() const;

    /// The length in wide characters. A load, as the next three are.
    unsigned long len() const noexcept { return _record()->info.len; }
    /// The size of the text in UTF-8 in bytes, without a terminator.
    unsigned long UTF8Size() const noexcept { return _record()->info.utf8Size; }
    /// The case-sensitive hash.
    unsigned long sHash() const noexcept { return _record()->info.sHash; }
    /// The case-insensitive hash.
    unsigned long sHashi() const noexcept { return _record()->info.sHashi; }

    /// Releases the record and becomes null.
    void free();

    /// Releases the record and takes over that of `source`, which becomes null. No count of the record taken changes.
    /// From itself it changes nothing.
    void TransferFrom(CPPoolString& source);

    /// True if both are the same string. One comparison of pointers.
    bool operator==(CPPoolString const& other) const noexcept { return m_pMH == other.m_pMH; }
    /// The negation of `operator==`.
    bool operator!=(CPPoolString const& other) const noexcept { return m_pMH != other.m_pMH; }
    using Buffers::CPObjectMemory::operator==;
    using Buffers::CPObjectMemory::operator!=;
    /// True if the texts are equal.
    bool operator==(wchar_t const* text) const { return cmp(text) == 0; }
    /// The negation of `operator==`.
    bool operator!=(wchar_t const* text) const { return cmp(text) != 0; }

    /// Compares whole texts, exactly.
    int cmp(CPPoolString const& other) const;
    /// As above.
    int cmp(wchar_t const* other) const;
    /// Compares whole texts, folded.
    int cmpi(CPPoolString const& other) const;
    /// As above.
    int cmpi(wchar_t const* other) const;

    /// Compares the beginning with the whole of `other`, exactly: 0 if the text begins with it, -1 if the text is shorter.
    int cmpp(CPPoolString const& other) const;
    /// As above.
    int cmpp(wchar_t const* other) const;
    /// As `cmpp`, folded.
    int cmppi(CPPoolString const& other) const;
    /// As above.
    int cmppi(wchar_t const* other) const;

    /// Compares the end with the whole of `other`, exactly: 0 if the text ends with it, -1 if the text is shorter.
    int cmp_p(CPPoolString const& other) const;
    /// As above.
    int cmp_p(wchar_t const* other) const;
    /// As `cmp_p`, folded.
    int cmp_pi(CPPoolString const& other) const;
    /// As above.
    int cmp_pi(wchar_t const* other) const;

    /// True if `part` occurs in the text, exactly. An empty `part` does not occur, save in itself.
    ///
    /// A match that has begun and runs into the end of the text ends the search.
    bool cnt(CPPoolString const& part) const;
    /// As above.
    bool cnt(wchar_t const* part) const;
    /// As `cnt`, folded, by `wcscnti`.
    bool cnti(CPPoolString const& part) const;
    /// As above.
    bool cnti(wchar_t const* part) const;

    /// True if both texts are equal when folded. Compares hashes first and the whole text last.
    bool iequals(CPPoolString const& other) const;

    /// The order of the records' addresses: -1, 0 or 1. The same for as long as both strings live, and no order of texts.
    int pcmp(CPPoolString const& other) const noexcept;

    /// The next numbered variant: "Take" gives "Take (2)", and that "Take (3)". A number in parentheses at the end is
    /// counted up, with or without a blank before it; 4294967295 goes on at 0. The null string gives the null string.
    CPPoolString inc() const;

    /// Checks the record against a new evaluation of its text: 1 if it is good, as the null string always is; otherwise
    /// the violation is reported and the result 0. The evaluation reaches up to the first 0 of the text.
    unsigned int Verify() const;
};

static_assert(sizeof(CPPoolString) == sizeof(void*), "a string is one pointer");

} // namespace ORVA::String

template <>
struct ORVA::Buffers::MovesByBytes<ORVA::String::CPPoolString> : std::true_type
{
};

extern template class ORVA::Buffers::CPObjectVector<ORVA::String::CPPoolString>;
