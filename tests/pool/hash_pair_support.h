/// @file
/// What the tests of the pool's two tables share.
#pragma once

#include "ORVA/String/PoolTables.h"

#include "support/AllocationFailure.h"
#include "support/LogRecorder.h"
#include "support/PoolTexts.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace hash_pair
{

using namespace ORVA::String;
using ORVA::Buffers::CPObject;
using ORVA::Buffers::CPObjectMemory;
using support::AllocationFailure;
using support::chain_of;
using support::high_twin;
using support::higher_twin;
using support::is_null;
using support::LogMessages;
using support::LogRecorder;
using support::low_twin;
using support::text_of;
using support::unpooled;
using Entry = CPObject<ISSTRINGPOOLENTRY>;
using Texts = std::vector<std::wstring>;

inline constexpr char const* no_entry = "Case-insensitive hash entry MUST exists";
inline constexpr char const* no_match = "Case-insensitive match of case-sensitive cache MUST exist";

inline LogMessages diagnosis(unsigned int referenced)
{
    return {support::log_message(8, "cstringpool", 2956, L"SPool ClearTable: Diagnosis started",
                                 L"SPool ClearTable: Diagnosis started"),
            support::log_message(8, "cstringpool", 2958,
                                 L"SPool ClearTable: diagnosis done, " + std::to_wstring(referenced) +
                                     L" items still referenced",
                                 L"SPool ClearTable: diagnosis done, %u items still referenced")};
}

// The tables as the pool has them, the one that depends on the other last.
struct Tables
{
    CCaseInsensitiveHash insensitive;
    CCaseSensitiveHash sensitive{&insensitive};

    _cppoolstring add(wchar_t const* text)
    {
        _cppoolstring string = unpooled(text);
        return sensitive.Add(string);
    }

    _cppoolstring find(wchar_t const* text)
    {
        staticStringRecord key(text);
        _cppoolstring string(key);
        return sensitive.Find(string);
    }

    _cppoolstring find_any_spelling(wchar_t const* text)
    {
        staticStringRecord key(text);
        return insensitive.Find(_cppoolstring(key));
    }
};

inline Entry entry_of(_cppoolstring const& string)
{
    Entry entry;
    entry.create()->string = string;
    return entry;
}

// A record with everything stated, its text elsewhere.
inline tagSTRINGPOOLRECORD record_of(wchar_t const* text, unsigned long length)
{
    return {0, {length, 0, 0, 0}, text, nullptr};
}

inline CPObjectMemory block_of_another_type()
{
    static ORVA::Buffers::tagCPOVTABL const type = {&poolstring_create, nullptr, [](void*, unsigned long) {},
                                                    &CPObjectMemory::_nointerface};
    CPObjectMemory block;
    block.Alloc(200, &type);
    return block;
}

inline int sign(int value)
{
    return value < 0 ? -1 : value > 0 ? 1 : 0;
}

class Visitor : public ORVA::Lookup::IBaseHashTableEnum
{
public:
    explicit Visitor(std::function<bool(unsigned long, CPObjectMemory&)> answer) : m_answer(std::move(answer)) {}
    bool EnumEntry(unsigned long key, CPObjectMemory& item) override { return m_answer(key, item); }

private:
    std::function<bool(unsigned long, CPObjectMemory&)> m_answer;
};

inline void change_text(_cppoolstring const& string, wchar_t character)
{
    const_cast<wchar_t*>(string->pData)[0] = character;
}

} // namespace hash_pair
