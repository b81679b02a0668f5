/// @file
/// What the tests of the string pool without memory share: the forms of a look-up, and a look at the whole pool.
#pragma once

#include "faults/FaultTest.h"

#include "pool/pool_support.h"

#include "ORVA/String/PoolString.h"
#include "ORVA/String/PoolTables.h"

#include <functional>
#include <string>
#include <utility>

namespace pool_faults
{

using namespace pool_tests;
using ORVA::Buffers::CPObjectMemory;
using Entry = ORVA::Buffers::CPObject<ISSTRINGPOOLENTRY>;

/// One of the pool's look-ups.
struct Form
{
    char const* name;
    _cppoolstring (*find)(std::wstring const& text);
};

/// ASCII text in the unit of a look-up.
template <class Unit>
std::basic_string<Unit> in_units(std::wstring const& text)
{
    return {text.begin(), text.end()};
}

inline std::basic_string<unsigned char> in_utf8(std::wstring const& text)
{
    return in_units<unsigned char>(text);
}

class Visitor final : public ORVA::Lookup::IBaseHashTableEnum
{
public:
    explicit Visitor(std::function<void(CPObjectMemory const&)> look) : m_look(std::move(look)) {}
    bool EnumEntry(unsigned long, CPObjectMemory& item) override
    {
        m_look(item);
        return true;
    }

private:
    std::function<void(CPObjectMemory const&)> m_look;
};

/// Shows each link of each chain of spellings to `look`.
template <class Look>
void for_each_link(CCaseInsensitiveHash& table, Look look)
{
    Visitor heads(
        [&](CPObjectMemory const& item)
        {
            for (Entry link(item); link;)
            {
                look(link);
                Entry const next = link->next;
                link = next;
            }
        });
    table.EnumTableBy(&heads, 0, false);
}

/// Every record is good; each string has its handle in the one table, and in the other unless that had no memory for it;
/// and the second table has no other string.
inline void expect_whole_tables(CCaseSensitiveHash& sensitive, CCaseInsensitiveHash& insensitive)
{
    CEnumVerify verify;
    if (sensitive.GetNItems() != 0)
    {
        EXPECT_EQ(sensitive.EnumTable(&verify), 1);
    }
    unsigned long in_both = 0;
    Visitor strings(
        [&](CPObjectMemory const& item)
        {
            bool const is_in_second = insensitive._holds(_cppoolstring(item));
            in_both += is_in_second;
            EXPECT_GE(item.lockcnt(), is_in_second ? 2U : 1U);
        });
    sensitive.EnumTable(&strings);
    unsigned long links = 0;
    for_each_link(insensitive,
                  [&](Entry const& link)
                  {
                      ++links;
                      _cppoolstring string = link->string;
                      EXPECT_TRUE(sensitive.Find(string) == string);
                  });
    EXPECT_EQ(links, in_both);
}

/// The same of the pool itself, whose lock is free.
inline void expect_whole_pool()
{
    expect_whole_tables(g_sensitive_table, g_insensitive_table);
    if (g_sensitive_table.GetNItems() != 0)
    {
        EXPECT_EQ(CStringPool::Verify(), 1U);
    }
    ASSERT_TRUE(g_pool_lock.TryEnter(0));
    g_pool_lock.Leave();
}

/// Lets the strings go that nobody holds; `text` is one of them, or is not pooled. A string that the second table had no
/// memory for is reported as missing there, and nothing else is.
inline void expect_collected(std::wstring const& text)
{
    unsigned long missing = 0;
    Visitor strings([&](CPObjectMemory const& item)
                    { missing += item.lockcnt() == 1 && !g_insensitive_table._holds(_cppoolstring(item)); });
    g_sensitive_table.EnumTable(&strings);
    {
        LogRecorder log;
        collect_all();
        collect_all();
        EXPECT_EQ(log.count(), missing);
    }
    EXPECT_FALSE(is_pooled(text));
    expect_whole_pool();
}

/// The size of the record of a text of `length` characters.
inline unsigned long size_of_record(unsigned long length)
{
    return sizeof(tagSTRINGPOOLRECORD) + (length + 1) * sizeof(wchar_t);
}

} // namespace pool_faults
