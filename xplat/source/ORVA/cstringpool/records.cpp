#include "ORVA/String/Record.h"

#include "cstringpool/globals.h"

#include "ORVA/Develop/Log.h"
#include "ORVA/String/Codecs.h"
#include "ORVA/String/Submitter.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace ORVA::String
{

using Buffers::CPObjectMemory;
using Buffers::tagCPOMEMHEADER;

namespace
{

constexpr tagSTRINGBASICINFO no_text = {0, 0, ULONG_MAX, ULONG_MAX};
constexpr tagSTRINGBASICINFO empty_text = {0, 0, 0, 0};

// The one empty text that all records without characters of their own point at.
constexpr wchar_t const empty_characters[] = L"";

// Decodes one character of an evaluated source, which moves on behind it. False where the source cannot go on.
bool next_character(wchar_t& character, unsigned char const*& source)
{
    unsigned int value = 0;
    bool const good = utf8_nqfW32(&value, source) != 0;
    character = static_cast<wchar_t>(value);
    return good;
}

bool next_character(wchar_t& character, unsigned short const*& source)
{
    unsigned int value = 0;
    bool const good = utf16_nqfW32(&value, source) != 0;
    character = static_cast<wchar_t>(value);
    return good;
}

// Writes `count` characters of an evaluated source. What a source that ends before leaves open is filled with zeros, as
// the terminator behind is.
template <class Unit>
void decode(wchar_t* text, Unit const* source, unsigned long count)
{
    unsigned long done = 0;
    while (done < count && next_character(text[done], source))
        ++done;
    std::fill(text + done, text + count + 1, L'\0');
}

// The state of a record without text, to which every key falls back.
void init(staticStringRecord& key)
{
    key.header.lRefCnt = 0;
    key.header.uAllocSize = sizeof(tagSTRINGPOOLRECORD);
    key.header.uSize = sizeof(tagSTRINGPOOLRECORD);
    key.header.pVTbl = &poolstring_vtbl;
    key.record.age = 0;
    key.record.info = no_text;
    key.record.pData = empty_characters;
    key.record.pOwned = nullptr;
}

// Gives a key its own copy of the first characters of a source that is not wide: no comparison looks further.
template <class Unit>
void copy_beginning(tagSTRINGPOOLRECORD& record, Unit const* source)
{
    unsigned long const count = std::min(record.info.len, uComparedCharacters);
    auto* const text = static_cast<wchar_t*>(Core::OS::_falloc((count + 2) * sizeof(wchar_t)));
    if (text == nullptr)
        return;
    decode(text, source, count);
    record.pOwned = text;
    record.pData = text;
}

void set_text(tagSTRINGPOOLRECORD& record, wchar_t const* source)
{
    record.pData = source;
}

void set_text(tagSTRINGPOOLRECORD& record, unsigned char const* source)
{
    copy_beginning(record, source);
}

void set_text(tagSTRINGPOOLRECORD& record, unsigned short const* source)
{
    copy_beginning(record, source);
}

template <class Unit, class... Length>
void init_from(staticStringRecord& key, Unit const* source, Length... length)
{
    init(key);
    if (source == nullptr || ((length == 0) || ...))
        return;
    if (*source == 0)
        key.record.info = empty_text;
    else if (g_evaluator.Eval(key.record.info, source, length...))
        set_text(key.record, source);
}

} // namespace

Buffers::tagCPOVTABL const poolstring_vtbl = {&poolstring_create, &poolstring_clone, &poolstring_finalize,
                                              &CPObjectMemory::_nointerface};

void poolstring_create(void*, unsigned long) {}

void poolstring_clone(void* dest, void const* source, unsigned long size)
{
    std::memcpy(dest, source, size);
    static_cast<tagSTRINGPOOLRECORD*>(dest)->pOwned = nullptr;
}

void poolstring_finalize(void* payload, unsigned long)
{
    void* const owned = static_cast<tagSTRINGPOOLRECORD*>(payload)->pOwned;
    if (owned != nullptr)
        Core::OS::_ffree(owned);
}

staticStringRecord::staticStringRecord(wchar_t const* source)
{
    init_from(*this, source);
}

staticStringRecord::staticStringRecord(wchar_t const* source, unsigned long length)
{
    init_from(*this, source, length);
}

staticStringRecord::staticStringRecord(unsigned char const* source)
{
    init_from(*this, source);
}

staticStringRecord::staticStringRecord(unsigned char const* source, unsigned long length)
{
    init_from(*this, source, length);
}

staticStringRecord::staticStringRecord(unsigned short const* source)
{
    init_from(*this, source);
}

staticStringRecord::staticStringRecord(unsigned short const* source, unsigned long length)
{
    init_from(*this, source, length);
}

staticStringRecord::~staticStringRecord()
{
    if (record.pOwned != nullptr)
        Core::OS::_ffree(record.pOwned);
}

_cppoolstring::_cppoolstring(CPObjectMemory const& source) : _cppoolstring()
{
    if (source.IsType(&poolstring_vtbl))
        CopyCPMemory(source);
}

_cppoolstring& _cppoolstring::operator=(CPObjectMemory const& source)
{
    if (source.IsType(&poolstring_vtbl))
        CopyCPMemory(source);
    else
        _take(&Constants::null_record.header);
    return *this;
}

_cppoolstring& _cppoolstring::operator=(staticStringRecord& source)
{
    _take(&source.header);
    return *this;
}

// NOLINTNEXTLINE(performance-noexcept-move-constructor): as declared
_cppoolstring& _cppoolstring::operator=(_cppoolstring&& source)
{
    if (this != &source)
    {
        tagCPOMEMHEADER* const header = source.m_pMH;
        source.m_pMH = &Constants::null_record.header;
        _take(header);
    }
    return *this;
}

// Releases the record held and takes over the reference in `header`.
void _cppoolstring::_take(tagCPOMEMHEADER* header)
{
    tagCPOMEMHEADER* const old = m_pMH;
    m_pMH = header;
    Free(old);
}

// A block for a record with `length` characters and a terminator behind it, with no text and no evaluation yet.
tagCPOMEMHEADER* _cppoolstring::_allocate_record(unsigned long length)
{
    if (length >= (ULONG_MAX - sizeof(tagSTRINGPOOLRECORD)) / sizeof(wchar_t))
        return nullptr;
    unsigned long const size = sizeof(tagSTRINGPOOLRECORD) + (length + 1) * sizeof(wchar_t);
    tagCPOMEMHEADER* const header = _allocate(size, size, &poolstring_vtbl);
    if (header == nullptr)
        return nullptr;
    auto* const record = reinterpret_cast<tagSTRINGPOOLRECORD*>(header + 1);
    record->age = 0;
    record->info = empty_text;
    record->pData = reinterpret_cast<wchar_t const*>(record + 1);
    record->pOwned = nullptr;
    return header;
}

template <class Unit, class Writer>
unsigned int _cppoolstring::_create_with(tagSTRINGBASICINFO const& info, Unit const* source, Writer write)
{
    if (info.len == 0)
    {
        Develop::OS::RTABox("Illegal code point reached", "_cppoolstring::create: String length cannot be 0");
        return 0;
    }
    tagCPOMEMHEADER* const header = _allocate_record(info.len);
    if (header == nullptr)
        return 0;
    auto* const record = reinterpret_cast<tagSTRINGPOOLRECORD*>(header + 1);
    auto* const text = reinterpret_cast<wchar_t*>(record + 1);
    record->info = info;
    if (source == nullptr)
        std::fill_n(text, info.len + 1, L'\0');
    else
        write(text);
    _take(header);
    return 1;
}

unsigned int _cppoolstring::create(tagSTRINGBASICINFO const& info, wchar_t const* source)
{
    return _create_with(info, source,
                        [&](wchar_t* text)
                        {
                            std::memcpy(text, source, info.len * sizeof(wchar_t));
                            text[info.len] = L'\0';
                        });
}

unsigned int _cppoolstring::create(tagSTRINGBASICINFO const& info, unsigned char const* source)
{
    return _create_with(info, source, [&](wchar_t* text) { decode(text, source, info.len); });
}

unsigned int _cppoolstring::create(tagSTRINGBASICINFO const& info, unsigned short const* source)
{
    return _create_with(info, source, [&](wchar_t* text) { decode(text, source, info.len); });
}

unsigned int _cppoolstring::create(IStringSubmitter* submitter)
{
    unsigned long const length = submitter->GetStringLen();
    if (length == 0)
    {
        Develop::OS::RTABox("Illegal code point reached",
                            "_cppoolstring::create [submitter]: String length cannot be 0");
        return 0;
    }
    // The new block is held by a handle of its own until it is complete: the submitter may fail or throw.
    _cppoolstring made;
    tagCPOMEMHEADER* const header = _allocate_record(length);
    if (header == nullptr)
        return 0;
    made.m_pMH = header;
    auto* const text = reinterpret_cast<wchar_t*>(made._record() + 1);
    std::fill_n(text, length + 1, L'\0');
    if (!submitter->GetString(text))
        return 0;
    text[length] = L'\0';
    unsigned int const result = g_evaluator.Eval(made->info, made->pData);
    *this = std::move(made);
    return result;
}

} // namespace ORVA::String
