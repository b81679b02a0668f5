/// @file
/// The record of a pooled string, and the handle on it.
///
/// A pooled string is one block of object memory: the record, and directly behind it the wide characters. A record is
/// found by the hashes of its text, and texts are compared only up to their first 10 characters.
///
/// | field of a record | changes after creation? | by whom |
/// |---|---|---|
/// | `info`, `pData` and the text | never | |
/// | `age` | yes | the pool, under its lock |
/// | `pOwned` | null to UTF-8 form, once | any thread, by compare-exchange |
/// | `pOwned` | UTF-8 form to null | a collection, when nobody but the pool holds the record |
///
/// Thread-safety: records may be read from any thread that holds a handle. Handles follow `CPObjectMemory`.
#pragma once

#include "ORVA/Buffers/ObjectMemory.h"
#include "ORVA/String/StringInfo.h"

namespace ORVA::String
{

class IStringSubmitter;

/// The payload of a pooled string's block.
struct tagSTRINGPOOLRECORD
{
    unsigned int age;        ///< collection visits survived without a handle outside the pool
    tagSTRINGBASICINFO info; ///< length, UTF-8 size and hashes of the text
    wchar_t const* pData;    ///< the text, with a terminator; in a pooled string it stands behind the record
    void* pOwned;            ///< a block of the heap that dies with the record, or null: the cached UTF-8 form
};

static_assert(sizeof(tagSTRINGPOOLRECORD) == 56, "the record's layout is fixed");

/// How many characters of two texts are compared when their hashes and lengths agree.
inline constexpr unsigned long uComparedCharacters = 10;

/// The type of pooled strings' blocks.
extern ORVA_API Buffers::tagCPOVTABL const poolstring_vtbl;

/// The construction of a pooled string's payload: does nothing.
ORVA_API void poolstring_create(void* payload, unsigned long size);
/// Copies `size` bytes; the copy has no UTF-8 form. Its `pData` still points at the characters of the source, so it must
/// not outlive that: take another handle instead of a clone.
ORVA_API void poolstring_clone(void* dest, void const* source, unsigned long size);
/// Frees what the record owns.
ORVA_API void poolstring_finalize(void* payload, unsigned long size);

/// A record that is not counted and not pooled, laid out as a block is: a search key on the stack, or one of the
/// constants. Its text stands elsewhere.
///
/// | made from | `len`, `utf8Size` | hashes | text |
/// |---|---|---|---|
/// | null, a length of 0, text that cannot be evaluated | 0 | all ones | empty |
/// | a source whose first unit is 0 | 0 | 0 | empty |
/// | wide text | as evaluated | as evaluated | the source itself, which must outlive the record |
/// | UTF-8, UTF-16 | as evaluated | as evaluated | a copy of the first 10 characters, in `pOwned` |
///
/// Lengths are in units of the source. Costs no allocation for wide text, and a small one for the others.
struct ORVA_API staticStringRecord
{
    /// @name From a source, as the table tells
    /// @{

    /// The record of the text.
    explicit staticStringRecord(wchar_t const* source);
    staticStringRecord(wchar_t const* source, unsigned long length);
    explicit staticStringRecord(unsigned char const* source);
    staticStringRecord(unsigned char const* source, unsigned long length);
    explicit staticStringRecord(unsigned short const* source);
    staticStringRecord(unsigned short const* source, unsigned long length);

    /// @}

    staticStringRecord(staticStringRecord const&) = delete;
    staticStringRecord& operator=(staticStringRecord const&) = delete;

    /// Frees `pOwned`.
    ~staticStringRecord();

    Buffers::tagCPOMEMHEADER header; ///< count 0, so the block is static; both sizes are the record's
    tagSTRINGPOOLRECORD record;      ///< the record, behind the header as in a block
};

static_assert(sizeof(staticStringRecord) == sizeof(Buffers::tagCPOMEMHEADER) + sizeof(tagSTRINGPOOLRECORD),
              "a static record is laid out as a heap block is");

/// The constants of the pool. They are never in its tables.
namespace Constants
{

extern ORVA_API staticStringRecord null_record;  ///< the null string: no text at all
extern ORVA_API staticStringRecord empty_record; ///< the empty string
extern ORVA_API staticStringRecord true_record;  ///< "true"
extern ORVA_API staticStringRecord false_record; ///< "false"

} // namespace Constants

/// A handle that always points at a record: where another handle is empty, this one holds the null record.
class ORVA_API _cppoolstring : public Buffers::CPObjectMemory
{
public:
    /// The null record.
    _cppoolstring() noexcept { m_pMH = &Constants::null_record.header; }

    /// A handle on `source`, which is not counted and must outlive the handle.
    _cppoolstring(staticStringRecord& source) noexcept { m_pMH = &source.header; }

    /// A second handle on the record of `source`.
    _cppoolstring(_cppoolstring const& source) = default;

    /// Takes the reference of `source`, which becomes the null record.
    _cppoolstring(_cppoolstring&& source) noexcept
    {
        m_pMH = source.m_pMH;
        source.m_pMH = &Constants::null_record.header;
    }

    /// A second handle on the block of `source` if that is a pooled string; otherwise the null record.
    _cppoolstring(Buffers::CPObjectMemory const& source);

    /// As the constructor.
    _cppoolstring& operator=(staticStringRecord& source);
    /// As the constructor.
    _cppoolstring& operator=(_cppoolstring const& source) = default;
    /// As the constructor.
    // NOLINTNEXTLINE(performance-noexcept-move-constructor): part of the boundary as it is
    _cppoolstring& operator=(_cppoolstring&& source);
    /// As the constructor; a refused block leaves the null record.
    _cppoolstring& operator=(Buffers::CPObjectMemory const& source);

    /// The record. An empty handle, as `CPObjectMemory::free` leaves one, gives the null record.
    tagSTRINGPOOLRECORD* operator->() const noexcept { return _record(); }
    /// The record.
    tagSTRINGPOOLRECORD& operator*() const noexcept { return *_record(); }

    /// Makes a new record with `info` and as many characters of `source`, and becomes the handle on it. 1 for success;
    /// 0, with the handle as it was, if `info.len` is 0, which is reported, or the heap is exhausted. `info` must be the
    /// evaluation of `source`. A null `source` leaves an empty text under `info`.
    unsigned int create(tagSTRINGBASICINFO const& info, wchar_t const* source);
    /// As above, from UTF-8.
    unsigned int create(tagSTRINGBASICINFO const& info, unsigned char const* source);
    /// As above, from UTF-16, by the library's own UTF-16 rules.
    unsigned int create(tagSTRINGBASICINFO const& info, unsigned short const* source);

    /// Makes a new record with the text that `submitter` writes, and becomes the handle on it. 1 for success; 0, with the
    /// handle as it was, if the submitter gives a length of 0, which is reported, if it fails, or if the heap is
    /// exhausted. The text ends at its first 0, so the record's length may be less than the submitter's.
    unsigned int create(IStringSubmitter* submitter);

    /// A counted handle on `record`, which is the payload of a block that somebody holds.
    static _cppoolstring _share(tagSTRINGPOOLRECORD& record)
    {
        _cppoolstring handle;
        handle.m_pMH = reinterpret_cast<Buffers::tagCPOMEMHEADER*>(&record) - 1;
        Core::OS::InterlockedIncrement32(handle.m_pMH->lRefCnt);
        return handle;
    }

protected:
    /// The record; that of the null string for an empty handle.
    tagSTRINGPOOLRECORD* _record() const noexcept
    {
        Buffers::tagCPOMEMHEADER* const header = m_pMH != nullptr ? m_pMH : &Constants::null_record.header;
        return reinterpret_cast<tagSTRINGPOOLRECORD*>(header + 1);
    }

private:
    static Buffers::tagCPOMEMHEADER* _allocate_record(unsigned long length);
    void _take(Buffers::tagCPOMEMHEADER* header);
    template <class Unit, class Writer>
    unsigned int _create_with(tagSTRINGBASICINFO const& info, Unit const* source, Writer write);
};

} // namespace ORVA::String
