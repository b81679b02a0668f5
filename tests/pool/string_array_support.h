/// @file
/// What the tests of the string array share.
#pragma once

#include "ORVA/String/StringArray.h"

#include "pool/pool_support.h"
#include "reference/plain_string_array.h"

namespace pool_tests
{

using Strings = std::vector<CPPoolString>;
using StringVector = ORVA::Buffers::CPObjectVector<CPPoolString>;

/// A sorted array, or one that is not, of strings added one after the other.
inline CPPoolStringArray array_of(bool sorted, Strings const& strings)
{
    CPPoolStringArray array(sorted);
    for (CPPoolString const& string : strings)
        EXPECT_EQ(array.Add(string), 1U);
    return array;
}

inline CPPoolStringArray sorted_array(Strings const& strings)
{
    return array_of(true, strings);
}

inline CPPoolStringArray plain_array(Strings const& strings)
{
    return array_of(false, strings);
}

/// The very strings, for comparison by identity.
inline Strings strings_of(StringVector const& vector)
{
    return Strings(vector.begin(), vector.end());
}

inline Texts texts_of(StringVector const& vector)
{
    Texts texts;
    for (CPPoolString const& string : vector)
        texts.push_back(text_of(string));
    return texts;
}

/// The texts with the null strings told apart.
inline reference::PlainEntries entries_of(StringVector const& vector)
{
    reference::PlainEntries entries;
    for (CPPoolString const& string : vector)
        entries.push_back(string.isnull() ? reference::PlainEntry() : text_of(string));
    return entries;
}

/// A piece that splitting turns into `text`: four times as long.
inline std::wstring stretched(std::wstring const& text)
{
    return text + std::wstring(text.size() * 3, L'~');
}

/// Clears the pool at the end of a test of strings that nobody holds any more. A pooled text of no length must not be
/// left behind: a look-up by a length that evaluates to nothing finds it, where other tests expect none.
class ClearedPool
{
public:
    ClearedPool() = default;
    ~ClearedPool()
    {
        // The first visit of a string only counts.
        collect_all();
        collect_all();
    }
    ClearedPool(ClearedPool const&) = delete;
    ClearedPool& operator=(ClearedPool const&) = delete;
};

/// A string of UTF-8 that is not pooled. With an overlong zero inside, its text ends before its length, and a pool that
/// held it would verify as damaged.
inline CPPoolString unpooled_utf8(char const* text)
{
    tagSTRINGBASICINFO info = {};
    EXPECT_EQ(g_evaluator.Eval(info, utf8(text)), 1U);
    _cppoolstring string;
    EXPECT_EQ(string.create(info, utf8(text)), 1U);
    return string;
}

} // namespace pool_tests
