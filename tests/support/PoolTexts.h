/// @file
/// Texts and records for the tests of the string pool.
#pragma once

#include "ORVA/String/PoolString.h"
#include "ORVA/String/PoolTables.h"
#include "ORVA/String/StringInfo.h"

#include <string>
#include <vector>

namespace support
{

inline unsigned char const* utf8(char const* text)
{
    return reinterpret_cast<unsigned char const*>(text);
}

inline unsigned short const* utf16(char16_t const* text)
{
    return reinterpret_cast<unsigned short const*>(text);
}

/// Characters above bit 15 that hash as one below: no evaluation tells U+1F600 from U+F600, or U+2F600 from either.
constexpr wchar_t high_twin = static_cast<wchar_t>(0x1F600);
constexpr wchar_t higher_twin = static_cast<wchar_t>(0x2F600);
constexpr wchar_t low_twin = static_cast<wchar_t>(0xF600);

inline ORVA::String::tagSTRINGBASICINFO evaluated(wchar_t const* text)
{
    static ORVA::String::CStringInfo const evaluator;
    ORVA::String::tagSTRINGBASICINFO info = {};
    evaluator.Eval(info, text);
    return info;
}

/// A record on the heap that is in no table.
inline ORVA::String::_cppoolstring unpooled(std::wstring const& text)
{
    ORVA::String::_cppoolstring string;
    string.create(evaluated(text.c_str()), text.c_str());
    return string;
}

/// A string whose record has no text at all, with a length as stated. It must outlive its copies.
class TextlessString
{
public:
    explicit TextlessString(unsigned long length = 0) : m_record(L"")
    {
        m_record.record.info.len = length;
        m_record.record.pData = nullptr;
    }
    ORVA::String::CPPoolString string() { return ORVA::String::CPPoolString(ORVA::String::_cppoolstring(m_record)); }

private:
    ORVA::String::staticStringRecord m_record;
};

/// True if `string` is a handle on that constant.
inline bool is_on(ORVA::String::_cppoolstring const& string, ORVA::String::staticStringRecord const& constant)
{
    return &*string == &constant.record;
}

inline bool is_null(ORVA::String::_cppoolstring const& string)
{
    return is_on(string, ORVA::String::Constants::null_record);
}

inline bool is_empty(ORVA::String::_cppoolstring const& string)
{
    return is_on(string, ORVA::String::Constants::empty_record);
}

inline std::wstring text_of(ORVA::String::_cppoolstring const& string)
{
    return string->pData;
}

/// The spellings of the first chain under the key of `text`, from its head on.
inline std::vector<std::wstring> chain_of(ORVA::String::CCaseInsensitiveHash& table, wchar_t const* text)
{
    std::vector<std::wstring> spellings;
    using Entry = ORVA::Buffers::CPObject<ORVA::String::ISSTRINGPOOLENTRY>;
    for (Entry entry = table.FindItem(evaluated(text).sHashi, ORVA::Buffers::CPObjectMemory::pnull); entry;)
    {
        spellings.push_back(text_of(entry->string));
        Entry const next = entry->next;
        entry = next;
    }
    return spellings;
}

} // namespace support
