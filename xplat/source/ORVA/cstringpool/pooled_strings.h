// The pool's own table of all strings.
#pragma once

#include "cstringpool/record_index.h"

#include "ORVA/String/PoolTables.h"

namespace ORVA::String
{

// The pool's own handles on a string: one in each table.
inline constexpr unsigned int handles_of_the_pool = 2;

// The case-sensitive table with a flat index of its records beside the buckets. The index only serves look-ups: it
// finds what the table would find.
//
// A string that is in use is found without the pool's lock. One that a collection has seen unused (its age is not 0) is
// hidden from such look-ups: finding it has to set its age back, which takes the lock. So the strings whose UTF-8 form or
// memory a collection gives back are those that nobody can reach without the lock.
//
// A string that the other table could not take, since the heap was exhausted, is in this table alone: the pool has one
// handle on it where it has two on others. Such strings are counted, and their missing handle is allowed for when they
// are looked at for disposal, so that none goes while somebody holds it.
class PooledStrings : public CCaseSensitiveHash
{
public:
    using CCaseSensitiveHash::CCaseSensitiveHash;

    // The string that is one with `key`, or null. It lives as long as the table holds it.
    tagSTRINGPOOLRECORD* find_record(tagSTRINGPOOLRECORD const& key);

    // Takes the handle of the string that is one with `key`, without the pool's lock, and tells whether it did. May find
    // none although there is one.
    bool take_without_lock(tagSTRINGPOOLRECORD const& key, _cppoolstring& result);

    // Takes the handle of a record that `find_record`, or the other table, gave under the lock. Its visits are counted from
    // here anew.
    _cppoolstring take(tagSTRINGPOOLRECORD& found);

    // Not offered: it would leave the index behind.
    void ClearTable() = delete;

    // As `CCaseSensitiveHash::Add`, for a string that is not in the table.
    _cppoolstring add(_cppoolstring& s);

    bool isDisposable(Buffers::CPObjectMemory const& item) override;
    void tblfinalize(Buffers::CPObjectMemory const& item) override;

private:
    bool is_in_this_table_alone(Buffers::CPObjectMemory const& item);

    RecordIndex m_index;
    unsigned long m_alone = 0; // strings in this table alone
};

} // namespace ORVA::String
