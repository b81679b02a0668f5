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

bool PooledStrings::take_without_lock(tagSTRINGPOOLRECORD const& key, _cppoolstring& result)
{
    return m_index.visit_visible(
        key.info.sHash, [&](tagSTRINGPOOLRECORD const& record) { return is_one_string(record, key); },
        [&](tagSTRINGPOOLRECORD& record) { result = _cppoolstring::_share(record); });
}

// The age is written only where it changes, so that look-ups leave the records' memory alone.
_cppoolstring PooledStrings::take(tagSTRINGPOOLRECORD& found)
{
    if (found.age != 0)
    {
        found.age = 0;
        m_index.show(found);
    }
    return _cppoolstring::_share(found);
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
    tagSTRINGPOOLRECORD& record = *static_cast<tagSTRINGPOOLRECORD*>(item.get_ptr());
    bool const was_hidden = record.age != 0;
    // In use, as far as can be told without hiding it first: nothing is to be decided.
    if (!was_hidden && item.lockcnt() != handles_of_the_pool)
        return false;
    if (!was_hidden)
        m_index.hide(record);
    bool const is_disposable = CCaseSensitiveHash::isDisposable(item);
    if (record.age == 0)
        m_index.show(record);
    return is_disposable;
}

void PooledStrings::tblfinalize(Buffers::CPObjectMemory const& item)
{
    if (is_in_this_table_alone(item))
        --m_alone;
    m_index.remove(*static_cast<tagSTRINGPOOLRECORD*>(item.get_ptr()));
    CCaseSensitiveHash::tblfinalize(item);
}

} // namespace ORVA::String
