#include "ORVA/String/PoolTables.h"

#include "cstringpool/globals.h"
#include "cstringpool/text_order.h"

#include "ORVA/Develop/Log.h"

#include <cwchar>
#include <utility>

template class ORVA::Buffers::CPObject<ORVA::String::ISSTRINGPOOLENTRY>;

namespace ORVA::String
{

using Buffers::CPObjectMemory;
using Entry = Buffers::CPObject<ISSTRINGPOOLENTRY>;

namespace
{

// 2 to the power of this many buckets. With 200,000 strings a bucket holds about 50 entries, and the index takes 32 KB.
constexpr unsigned int direct_index_length = 12;

// The number of visits without an outside handle after which a string is disposed of.
constexpr unsigned int age_of_disposal = 2;

int order(unsigned long a, unsigned long b)
{
    return a < b ? -1 : 1;
}

template <class T>
T const& payload(CPObjectMemory const& item)
{
    return *static_cast<T const*>(item.get_cptr());
}

// The handles on a string. Whoever lets go of one has finished with the string when this no longer counts it.
unsigned int handles_on(_cppoolstring const& string)
{
    auto const* const header = reinterpret_cast<Buffers::tagCPOMEMHEADER const*>(&*string) - 1;
    return Core::load_acquire(header->lRefCnt);
}

void report(char const* explanation)
{
    Develop::OS::RTABox("Illegal code point reached", explanation);
}

} // namespace

// A chain can be long, and releasing it link by link from within the release of the link before would use as much
// stack: each link is cut off from the next one before it goes.
ISSTRINGPOOLENTRY::~ISSTRINGPOOLENTRY()
{
    Entry rest = std::move(next);
    while (rest && rest.lockcnt() == 1)
    {
        Entry after = std::move(rest->next);
        rest = std::move(after);
    }
}

CCaseInsensitiveHash::CCaseInsensitiveHash() : CBaseHashTable(direct_index_length) {}

CCaseInsensitiveHash::~CCaseInsensitiveHash()
{
    ClearTable();
}

int CCaseInsensitiveHash::compare(CPObjectMemory const& a, CPObjectMemory const& b)
{
    Entry const first(a);
    Entry const second(b);
    _cppoolstring const null;
    return compare(first ? *first->string : *null, second ? *second->string : *null);
}

int CCaseInsensitiveHash::compare(tagSTRINGPOOLRECORD const& a, tagSTRINGPOOLRECORD const& b)
{
    if (a.info.len != b.info.len)
        return order(a.info.len, b.info.len);
    if (a.pData == b.pData)
        return 0;
    if (a.pData == nullptr)
        return 1;
    if (b.pData == nullptr)
        return -1;
    unsigned long const count = std::min(a.info.len, uComparedCharacters);
    for (unsigned long index = 0; index < count; ++index)
    {
        if (int const result = folded_difference(a.pData[index], b.pData[index]))
            return result;
        if (a.pData[index] == 0)
            break;
    }
    return 0;
}

unsigned int CCaseInsensitiveHash::Add(_cppoolstring const& s)
{
    Entry entry;
    if (entry.create() == nullptr)
        return 0;
    entry->string = s;
    Entry const head = AddItem(s->info.sHashi, entry, Lookup::eHashKeepEqual);
    if (head == entry)
        return 1;
    if (!head)
        return 0;
    entry->next = head->next;
    head->next = entry;
    return 1;
}

// The head of the chain under a key is the one that is wanted nearly always; only words that share a key by chance make
// the search go on.
CPObjectMemory const* CCaseInsensitiveHash::_find(tagSTRINGPOOLRECORD const& record)
{
    HASHENTRY* const found = _search(
        record.info.sHashi, [&](CPObjectMemory const& item)
        { return item.IsType(Entry::GetTypeID()) && compare(*payload<ISSTRINGPOOLENTRY>(item).string, record) == 0; });
    return found == nullptr ? nullptr : &payload<ISSTRINGPOOLENTRY>(found->cpItem).string;
}

bool CCaseInsensitiveHash::_holds(_cppoolstring const& s)
{
    auto const is_in_chain = [&](CPObjectMemory const& item)
    {
        Entry link(item);
        while (link && link->string != s)
            link = Entry(link->next);
        return static_cast<bool>(link);
    };
    return _search(s->info.sHashi, is_in_chain) != nullptr;
}

_cppoolstring CCaseInsensitiveHash::Find(_cppoolstring const& s)
{
    CPObjectMemory const* const found = _find(*s);
    return found == nullptr ? _cppoolstring() : _cppoolstring(*found);
}

unsigned int CCaseInsensitiveHash::Delete(_cppoolstring const& s)
{
    unsigned long const key = s->info.sHashi;
    Entry const head = FindItem(key, CPObjectMemory::pnull);
    if (!head)
    {
        report("Case-insensitive hash entry MUST exists");
        return 1;
    }
    Entry previous;
    Entry entry = head;
    while (entry && entry->string != s)
    {
        previous = entry;
        entry = entry->next;
    }
    if (!entry)
    {
        report("Case-insensitive match of case-sensitive cache MUST exist");
        return 1;
    }
    Entry const following = entry->next;
    if (previous)
    {
        previous->next = following;
        return 1;
    }
    if (!following)
        return static_cast<unsigned int>(DeleteItem(key, entry));
    // The table's item stays; only its content moves.
    entry->string = following->string;
    entry->next = following->next;
    return 1;
}

void CCaseInsensitiveHash::ClearTable()
{
    CBaseHashTable::ClearTable();
}

CCaseSensitiveHash::CCaseSensitiveHash(CCaseInsensitiveHash* insensitive)
    : CBaseHashTable(direct_index_length), m_insensitive(insensitive)
{
}

CCaseSensitiveHash::~CCaseSensitiveHash()
{
    ClearTable();
}

int CCaseSensitiveHash::compare(CPObjectMemory const& a, CPObjectMemory const& b)
{
    _cppoolstring const first(a);
    _cppoolstring const second(b);
    tagSTRINGBASICINFO const& x = first->info;
    tagSTRINGBASICINFO const& y = second->info;
    if (x.sHash != y.sHash)
        return order(x.sHash, y.sHash);
    if (x.sHashi != y.sHashi)
        return order(x.sHashi, y.sHashi);
    if (x.len != y.len)
        return order(x.len, y.len);
    if (first == second)
        return 0;
    return std::wcsncmp(first->pData, second->pData, std::min(x.len, uComparedCharacters));
}

bool CCaseSensitiveHash::isDisposable(CPObjectMemory const& item)
{
    _cppoolstring const string(item);
    if (handles_on(string) != handles_of_the_pool + 1)
    {
        string->age = 0;
        return false;
    }
    string->age += 1;
    if (string->age >= age_of_disposal)
        return true;
    // Nobody outside can read the UTF-8 form any more, since nobody outside holds the string.
    if (string->pOwned != nullptr)
    {
        Core::OS::_ffree(string->pOwned);
        string->pOwned = nullptr;
    }
    return false;
}

void CCaseSensitiveHash::tblfinalize(CPObjectMemory const& item)
{
    m_insensitive->Delete(_cppoolstring(item));
}

_cppoolstring CCaseSensitiveHash::Add(_cppoolstring& s)
{
    _cppoolstring result;
    _add(s, result);
    return result;
}

bool CCaseSensitiveHash::_add(_cppoolstring& s, _cppoolstring& result)
{
    result = AddItem(s->info.sHash, s, Lookup::eHashKeepEqual);
    return result != s || m_insensitive->Add(s) != 0;
}

CPObjectMemory const* CCaseSensitiveHash::_find(tagSTRINGPOOLRECORD const& record)
{
    HASHENTRY* const found =
        _search(record.info.sHash, [&](CPObjectMemory const& item)
                { return item.IsType(&poolstring_vtbl) && is_one_string(payload<tagSTRINGPOOLRECORD>(item), record); });
    return found == nullptr ? nullptr : &found->cpItem;
}

_cppoolstring CCaseSensitiveHash::Find(_cppoolstring& s)
{
    CPObjectMemory const* const found = _find(*s);
    return found == nullptr ? _cppoolstring() : _cppoolstring(*found);
}

unsigned int CCaseSensitiveHash::Delete(_cppoolstring& s)
{
    return static_cast<unsigned int>(DeleteItem(s->info.sHash, s));
}

int CCaseSensitiveHash::DisposeTable(unsigned int uTimeLimit)
{
    return CBaseHashTable::DisposeTable(uTimeLimit);
}

int CCaseSensitiveHash::EnumTable(Lookup::IBaseHashTableEnum* callback)
{
    return EnumTableBy(callback, 0, false);
}

void CCaseSensitiveHash::ClearTable()
{
    Develop::_logWrite(_nqfDebugDiagnosis, L"ORVA", "cstringpool", 2956, L"SPool ClearTable: Diagnosis started");
    CEnumDisposal referenced;
    EnumTable(&referenced);
    Develop::_logWrite(_nqfDebugDiagnosis, L"ORVA", "cstringpool", 2958,
                       L"SPool ClearTable: diagnosis done, %u items still referenced", referenced.count);
    CBaseHashTable::ClearTable();
}

unsigned long CCaseSensitiveHash::GetSize()
{
    CEnumForSize sizes;
    EnumTable(&sizes);
    return sizes.total;
}

bool CEnumVerify::EnumEntry(unsigned long, CPObjectMemory& item)
{
    _cppoolstring const string(item);
    tagSTRINGBASICINFO const& info = string->info;
    tagSTRINGBASICINFO found;
    return g_evaluator.Eval(found, string->pData) && found.sHash == info.sHash && found.sHashi == info.sHashi &&
           found.len == info.len;
}

bool CEnumDisposal::EnumEntry(unsigned long, CPObjectMemory& item)
{
    if (item.lockcnt() > handles_of_the_pool)
        ++count;
    return true;
}

bool CEnumForSize::EnumEntry(unsigned long, CPObjectMemory& item)
{
    total += item.GetSize();
    return true;
}

} // namespace ORVA::String
