// The pool's own table of all strings.
#pragma once

#include "cstringpool/record_index.h"

#include "ORVA/String/PoolTables.h"

namespace ORVA::String
{

// The case-sensitive table with a flat index of its records beside the buckets. The index only serves look-ups: it
// finds what the table would find.
class PooledStrings : public CCaseSensitiveHash
{
public:
    using CCaseSensitiveHash::CCaseSensitiveHash;

    // The string that is one with `key`, or null. It lives as long as the table holds it.
    tagSTRINGPOOLRECORD* find_record(tagSTRINGPOOLRECORD const& key);

    // As `CCaseSensitiveHash::Add`, for a string that is not in the table.
    _cppoolstring add(_cppoolstring& s);

    void tblfinalize(Buffers::CPObjectMemory const& item) override;

private:
    RecordIndex m_index;
};

} // namespace ORVA::String
