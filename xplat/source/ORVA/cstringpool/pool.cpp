#include "ORVA/String/Pool.h"

#include "cstringpool/under_lock.h"

#include "ORVA/String/Submitter.h"
#include "ORVA/Threading/CurrentThread.h"

namespace ORVA::String
{

namespace
{

// What a look-up searches by: under the pool's lock, and before that without it.
struct BySpelling
{
    static bool take_without_lock(tagSTRINGPOOLRECORD const& key, _cppoolstring& result)
    {
        return g_sensitive_table.take_without_lock(key, result);
    }
    static tagSTRINGPOOLRECORD* find(tagSTRINGPOOLRECORD const& key) { return g_sensitive_table.find_record(key); }
};

struct ByFoldedSpelling
{
    static bool take_without_lock(tagSTRINGPOOLRECORD const&, _cppoolstring&) { return false; }
    static tagSTRINGPOOLRECORD* find(tagSTRINGPOOLRECORD const& key)
    {
        Buffers::CPObjectMemory const* const found = g_insensitive_table._find(key);
        return found == nullptr ? nullptr : static_cast<tagSTRINGPOOLRECORD*>(found->get_ptr());
    }
};

// The look-up of a source that has text. `make` gets the handle to fill where there is no such string yet.
template <class Search, class Make>
_cppoolstring find_or_make(staticStringRecord& key, Make make)
{
    _cppoolstring result;
    if (Search::take_without_lock(key.record, result))
        return result;
    under_lock(
        [&]
        {
            if (tagSTRINGPOOLRECORD* const found = Search::find(key.record))
                result = g_sensitive_table.take(*found);
            else
                make(result);
        });
    return result;
}

// True where the source alone tells the result, without a look at the tables.
template <class Unit>
bool is_constant(Unit const* source, _cppoolstring& result)
{
    if (source == nullptr)
        return true;
    if (*source != 0)
        return false;
    result = Constants::empty_record;
    return true;
}

template <class Search, class Unit, class... Length>
_cppoolstring query(Unit const* source, Length... length)
{
    _cppoolstring result;
    if (is_constant(source, result))
        return result;
    staticStringRecord key(source, length...);
    return find_or_make<Search>(key, [](_cppoolstring&) {});
}

template <class Search, class Unit, class... Length>
_cppoolstring get(Unit const* source, Length... length)
{
    _cppoolstring result;
    if (is_constant(source, result))
        return result;
    staticStringRecord key(source, length...);
    return find_or_make<Search>(key,
                                [&](_cppoolstring& made)
                                {
                                    _cppoolstring fresh;
                                    if (fresh.create(key.record.info, source))
                                        made = g_sensitive_table.add(fresh);
                                });
}

} // namespace

_cppoolstring CStringPool::GetStringRef(wchar_t const* source)
{
    return get<BySpelling>(source);
}

_cppoolstring CStringPool::GetStringRef(unsigned char const* source)
{
    return get<BySpelling>(source);
}

_cppoolstring CStringPool::GetStringRefn(wchar_t const* source, unsigned long length)
{
    return get<BySpelling>(source, length);
}

_cppoolstring CStringPool::GetStringRefn(unsigned char const* source, unsigned long length)
{
    return get<BySpelling>(source, length);
}

_cppoolstring CStringPool::GetStringRefn(unsigned short const* source, unsigned long length)
{
    return get<BySpelling>(source, length);
}

_cppoolstring CStringPool::GetStringRefi(wchar_t const* source)
{
    return get<ByFoldedSpelling>(source);
}

_cppoolstring CStringPool::GetStringRefi(unsigned char const* source)
{
    return get<ByFoldedSpelling>(source);
}

_cppoolstring CStringPool::GetStringRefni(wchar_t const* source, unsigned long length)
{
    return get<ByFoldedSpelling>(source, length);
}

_cppoolstring CStringPool::GetStringRefni(unsigned char const* source, unsigned long length)
{
    return get<ByFoldedSpelling>(source, length);
}

_cppoolstring CStringPool::QueryStringRef(wchar_t const* source)
{
    return query<BySpelling>(source);
}

_cppoolstring CStringPool::QueryStringRef(unsigned char const* source)
{
    return query<BySpelling>(source);
}

_cppoolstring CStringPool::QueryStringRefn(wchar_t const* source, unsigned long length)
{
    return query<BySpelling>(source, length);
}

_cppoolstring CStringPool::QueryStringRefn(unsigned char const* source, unsigned long length)
{
    return query<BySpelling>(source, length);
}

_cppoolstring CStringPool::QueryStringRefi(wchar_t const* source)
{
    return query<ByFoldedSpelling>(source);
}

_cppoolstring CStringPool::QueryStringRefi(unsigned char const* source)
{
    return query<ByFoldedSpelling>(source);
}

_cppoolstring CStringPool::QueryStringRefni(wchar_t const* source, unsigned long length)
{
    return query<ByFoldedSpelling>(source, length);
}

_cppoolstring CStringPool::QueryStringRefni(unsigned char const* source, unsigned long length)
{
    return query<ByFoldedSpelling>(source, length);
}

_cppoolstring CStringPool::GetStringRef(IStringSubmitter* submitter)
{
    _cppoolstring result;
    if (submitter->GetStringLen() == 0)
    {
        result = Constants::empty_record;
        return result;
    }
    _cppoolstring made;
    if (!made.create(submitter))
        return result;
    under_lock(
        [&]
        {
            if (tagSTRINGPOOLRECORD* const found = BySpelling::find(*made))
                result = g_sensitive_table.take(*found);
            else
                result = g_sensitive_table.add(made);
        });
    return result;
}

unsigned int CStringPool::Collect(unsigned int budget)
{
    if (Threading::CurrentThread::OS::GetThreadPriority() != 0)
        return 0;
    unsigned int complete = 0;
    under_lock([&] { complete = static_cast<unsigned int>(g_sensitive_table.DisposeTable(budget)); });
    return complete;
}

unsigned int CStringPool::Verify()
{
    static CEnumVerify gs_verifunctor;
    unsigned int good = 0;
    under_lock([&] { good = static_cast<unsigned int>(g_sensitive_table.EnumTable(&gs_verifunctor)); });
    return good;
}

unsigned long CStringPool::GetSize()
{
    unsigned long size = 0;
    under_lock([&] { size = g_sensitive_table.GetSize(); });
    return size;
}

} // namespace ORVA::String
