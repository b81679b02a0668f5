// The pool's own table of all strings.
#pragma once

#include "cstringpool/record_index.h"

#include "ORVA/String/PoolTables.h"

namespace ORVA::String
{

// The case-sensitive table with a flat index of its records beside the buckets. The index only serves look-ups: it
// finds what the table would find.
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
