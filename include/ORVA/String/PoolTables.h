/// @file
/// The two tables of the string pool, and the visitors that look into them.
///
/// The case-sensitive table is the master: it owns the membership of the pool, is keyed by `sHash`, and decides what is
/// collected. The case-insensitive one is keyed by `sHashi`; all spellings of one word that differ only by case hang on
/// one chain there. A record enters the second when it enters the first, and leaves the second when the first disposes
/// of it, so each pooled string has exactly two handles held by the pool.
///
/// Two texts are one string to the pool when both hashes, the length and the first 10 characters agree. Characters
/// beyond are never compared.
///
/// Thread-safety: none of these takes a lock. The pool's own tables are only used under the pool's lock.
#pragma once

#include "ORVA/Buffers/Object.h"
#include "ORVA/Lookup/HashTable.h"
#include "ORVA/String/Record.h"

namespace ORVA::String
{

/// A link of a chain of spellings, and the item of the case-insensitive table.
struct ORVA_API ISSTRINGPOOLENTRY
{
    ISSTRINGPOOLENTRY() = default;
    /// Shares the string and the rest of the chain.
    ISSTRINGPOOLENTRY(ISSTRINGPOOLENTRY const&) = default;
    /// Shares the string and the rest of the chain.
    ISSTRINGPOOLENTRY& operator=(ISSTRINGPOOLENTRY const&) = default;
    /// Releases the rest of the chain first, in constant stack space however long it is, and then the string.
    ~ISSTRINGPOOLENTRY();

    _cppoolstring string;                      ///< the spelling; the null record in a new entry
    Buffers::CPObject<ISSTRINGPOOLENTRY> next; ///< the next spelling of the chain, or empty
};

} // namespace ORVA::String

extern template class ORVA::Buffers::CPObject<ORVA::String::ISSTRINGPOOLENTRY>;

namespace ORVA::String
{

/// The table of chains of spellings, by case-insensitive hash.
class ORVA_API CCaseInsensitiveHash : public Lookup::CBaseHashTable
{
public:
    CCaseInsensitiveHash();
    ~CCaseInsensitiveHash() override;

    /// Compares two entries by the records of their strings. An item of another type counts as an entry with the null
    /// string.
    int compare(Buffers::CPObjectMemory const& a, Buffers::CPObjectMemory const& b) override;

    /// Orders two records by length, and records of equal length by their first 10 characters in lower case. A null
    /// text comes last. Negative, 0 or positive.
    int compare(tagSTRINGPOOLRECORD const& a, tagSTRINGPOOLRECORD const& b);

    /// Enters a spelling: it opens a chain, or stands second in the one that is there. 1 for success, 0 if the heap is
    /// exhausted.
    unsigned int Add(_cppoolstring const& s);

    /// Any spelling of `s` in the table, or the null string.
    _cppoolstring Find(_cppoolstring const& s);

    /// Takes out a spelling, by identity. The result is 1, or that of the table where the last link goes. A spelling that
    /// is not there is reported, with result 1.
    unsigned int Delete(_cppoolstring const& s);

    /// Releases all entries.
    void ClearTable();

    /// As `Find`, without taking a handle: the string lives as long as the table holds it. Null if there is none.
    Buffers::CPObjectMemory const* _find(tagSTRINGPOOLRECORD const& record);

    /// Whether `s` itself is a link of a chain.
    bool _holds(_cppoolstring const& s);
};

/// The table of all pooled strings, by case-sensitive hash. Its items are `_cppoolstring` handles.
class ORVA_API CCaseSensitiveHash : public Lookup::CBaseHashTable
{
public:
    /// `insensitive` is the table to keep in step. It is not owned and must outlive this one.
    explicit CCaseSensitiveHash(CCaseInsensitiveHash* insensitive);
    /// Logs the diagnosis of `ClearTable` and releases all strings.
    ~CCaseSensitiveHash() override;

    /// Orders two records by `sHash`, `sHashi` and `len` as unsigned values, and then by their first 10 characters. 0
    /// means one string to the pool.
    int compare(Buffers::CPObjectMemory const& a, Buffers::CPObjectMemory const& b) override;

    /// Whether a string is to be collected. A string with a handle outside the pool starts its age anew. One without
    /// loses its UTF-8 form at the first visit, and is disposable at the second.
    bool isDisposable(Buffers::CPObjectMemory const& item) override;

    /// Takes a string that leaves this table out of the other.
    void tblfinalize(Buffers::CPObjectMemory const& item) override;

    /// Enters `s` in both tables, unless an equal string is there. Returns the string that is in the table afterwards;
    /// the null string if the heap is exhausted.
    _cppoolstring Add(_cppoolstring& s);

    /// The string equal to `s` in the table, or the null string.
    _cppoolstring Find(_cppoolstring& s);

    /// Takes the string equal to `s` out of the tables; 1 also if there is none.
    unsigned int Delete(_cppoolstring& s);

    /// One step of a collection: see `CBaseHashTable::DisposeTable`.
    int DisposeTable(unsigned int uTimeLimit);

    /// Visits all strings: see `CBaseHashTable::EnumTableBy`.
    int EnumTable(Lookup::IBaseHashTableEnum* callback);

    /// Releases all strings. Logs at level 8 how many of them have handles outside the pool; those strings stay alive
    /// with their handles.
    void ClearTable();

    /// The size of all strings' blocks in bytes, text included and headers not.
    unsigned long GetSize();

    /// As `Find`, without taking a handle: the string lives as long as the table holds it. Null if there is none.
    Buffers::CPObjectMemory const* _find(tagSTRINGPOOLRECORD const& record);

protected:
    /// As `Add`, with the string in `result`; false if it is new and the other table could not take it.
    bool _add(_cppoolstring& s, _cppoolstring& result);

    CCaseInsensitiveHash* m_insensitive; ///< the table that is kept in step
};

/// Checks each record against a new evaluation of its text, and stops at the first that differs.
class ORVA_API CEnumVerify : public Lookup::IBaseHashTableEnum
{
public:
    bool EnumEntry(unsigned long key, Buffers::CPObjectMemory& item) override;
};

/// Counts the strings that somebody outside the pool holds.
class ORVA_API CEnumDisposal : public Lookup::IBaseHashTableEnum
{
public:
    bool EnumEntry(unsigned long key, Buffers::CPObjectMemory& item) override;

    unsigned int count = 0; ///< strings with three handles or more
};

/// Adds up the sizes of the strings' blocks.
class ORVA_API CEnumForSize : public Lookup::IBaseHashTableEnum
{
public:
    bool EnumEntry(unsigned long key, Buffers::CPObjectMemory& item) override;

    unsigned long total = 0; ///< bytes
};

} // namespace ORVA::String
