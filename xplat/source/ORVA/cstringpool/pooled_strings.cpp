#include "cstringpool/pooled_strings.h"

#include "cstringpool/text_order.h"

namespace ORVA::String
{

tagSTRINGPOOLRECORD* PooledStrings::find_record(tagSTRINGPOOLRECORD const& key)
{
    if (m_index.is_complete())
        return m_index.find(key.info.sHash,
                            [&](tagSTRINGPOOLRECORD const& record) { return is_one_string(record, key); });
    Buffers::CPObjectMemory const* const found = _find(key);
    return found == nullptr ? nullptr : static_cast<tagSTRINGPOOLRECORD*>(found->get_ptr());
}

_cppoolstring PooledStrings::add(_cppoolstring& s)
{
    _cppoolstring result = Add(s);
    if (result == s)
        m_index.add(*result);
    return result;
}

void PooledStrings::tblfinalize(Buffers::CPObjectMemory const& item)
{
    m_index.remove(*static_cast<tagSTRINGPOOLRECORD*>(item.get_ptr()));
    CCaseSensitiveHash::tblfinalize(item);
}

} // namespace ORVA::String
