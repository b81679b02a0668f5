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
    _cppoolstring result;
    bool is_in_both = false;
    try
    {
        is_in_both = _add(s, result);
    }
    catch (...)
    {
        // What the second table throws leaves the string in this one, and look-ups have to find it.
        if (result == s)
        {
            m_index.add(*s);
            ++m_alone;
        }
        throw;
    }
    if (result == s)
    {
        m_index.add(*s);
        m_alone += is_in_both ? 0 : 1;
    }
    return result;
}

bool PooledStrings::is_in_this_table_alone(Buffers::CPObjectMemory const& item)
{
    return m_alone != 0 && !m_insensitive->_holds(_cppoolstring(item));
}

bool PooledStrings::isDisposable(Buffers::CPObjectMemory const& item)
{
    // Stands for the handle that the other table has not got.
    _cppoolstring stand_in;
    if (is_in_this_table_alone(item))
        stand_in = item;
    return CCaseSensitiveHash::isDisposable(item);
}

void PooledStrings::tblfinalize(Buffers::CPObjectMemory const& item)
{
    if (is_in_this_table_alone(item))
        --m_alone;
    m_index.remove(*static_cast<tagSTRINGPOOLRECORD*>(item.get_ptr()));
    CCaseSensitiveHash::tblfinalize(item);
}

} // namespace ORVA::String
