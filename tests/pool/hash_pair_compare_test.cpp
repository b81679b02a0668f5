#include "pool/hash_pair_support.h"

using namespace hash_pair;

TEST(SpellingEntry, NewOneHoldsTheNullStringAndNoNext)
{
    Entry entry;
    ASSERT_NE(entry.create(), nullptr);
    EXPECT_TRUE(is_null(entry->string));
    EXPECT_FALSE(entry->next);
    EXPECT_EQ(entry.GetSize(), sizeof(ISSTRINGPOOLENTRY));
    EXPECT_EQ(sizeof(ISSTRINGPOOLENTRY), 2 * sizeof(void*));
}

TEST(SpellingEntry, OperationsOfItsTypeBuildCopyAndDestroyBothHandles)
{
    auto const* const type = static_cast<ORVA::Buffers::tagCPOVTABL const*>(Entry::GetTypeID());
    alignas(ISSTRINGPOOLENTRY) unsigned char first[sizeof(ISSTRINGPOOLENTRY)];
    alignas(ISSTRINGPOOLENTRY) unsigned char second[sizeof(ISSTRINGPOOLENTRY)];
    auto* const source = reinterpret_cast<ISSTRINGPOOLENTRY*>(first);
    auto* const copy = reinterpret_cast<ISSTRINGPOOLENTRY*>(second);
    type->_create(first, sizeof first);
    EXPECT_TRUE(is_null(source->string));
    EXPECT_FALSE(source->next);

    _cppoolstring const string = unpooled(L"entry");
    Entry const next = entry_of(string);
    source->string = string;
    source->next = next;
    type->_clone(second, first, sizeof first);
    EXPECT_TRUE(copy->string == string);
    EXPECT_TRUE(copy->next == next);
    EXPECT_EQ(string.lockcnt(), 4U);
    EXPECT_EQ(next.lockcnt(), 3U);

    type->_finalize(first, sizeof first);
    EXPECT_EQ(string.lockcnt(), 3U);
    EXPECT_EQ(next.lockcnt(), 2U);
    type->_finalize(second, sizeof second);
    EXPECT_EQ(string.lockcnt(), 2U);
    EXPECT_EQ(next.lockcnt(), 1U);
}

TEST(SpellingEntry, ReleaseOfAChainStopsAtALinkThatSomebodyHolds)
{
    _cppoolstring const string = unpooled(L"entry");
    Entry kept = entry_of(string);
    kept->next = entry_of(string);
    {
        Entry head = entry_of(string);
        head->next = entry_of(string);
        head->next->next = kept;
        EXPECT_EQ(string.lockcnt(), 5U);
    }
    EXPECT_EQ(string.lockcnt(), 3U);
    EXPECT_EQ(kept.lockcnt(), 1U);
    EXPECT_TRUE(kept->next);
}

TEST(CompareSpellings, OrdersByLengthFirst)
{
    CCaseInsensitiveHash table;
    EXPECT_EQ(table.compare(record_of(L"b", 1), record_of(L"aa", 2)), -1);
    EXPECT_EQ(table.compare(record_of(L"aa", 2), record_of(L"b", 1)), 1);
    EXPECT_EQ(table.compare(record_of(nullptr, 1), record_of(L"aa", 2)), -1);
    EXPECT_EQ(table.compare(record_of(L"a", 1), record_of(L"a", 0x8000000000000000UL)), -1);
}

TEST(CompareSpellings, TakesTheSameTextForEqual)
{
    CCaseInsensitiveHash table;
    wchar_t const text[] = L"text";
    EXPECT_EQ(table.compare(record_of(text, 4), record_of(text, 4)), 0);
    EXPECT_EQ(table.compare(record_of(nullptr, 4), record_of(nullptr, 4)), 0);
}

TEST(CompareSpellings, PutsAMissingTextLast)
{
    CCaseInsensitiveHash table;
    EXPECT_EQ(table.compare(record_of(nullptr, 4), record_of(L"text", 4)), 1);
    EXPECT_EQ(table.compare(record_of(L"text", 4), record_of(nullptr, 4)), -1);
    EXPECT_EQ(table.compare(record_of(nullptr, 0), record_of(L"", 0)), 1);
    EXPECT_EQ(table.compare(record_of(L"", 0), record_of(nullptr, 0)), -1);
}

TEST(CompareSpellings, FoldsCharactersThatDiffer)
{
    CCaseInsensitiveHash table;
    EXPECT_EQ(table.compare(record_of(L"tExT", 4), record_of(L"TeXt", 4)), 0);
    EXPECT_EQ(table.compare(record_of(L"teXa", 4), record_of(L"TEXC", 4)), 'a' - 'c');
    EXPECT_EQ(table.compare(record_of(L"teXC", 4), record_of(L"TEXa", 4)), 'c' - 'a');
    EXPECT_EQ(table.compare(record_of(L"_", 1), record_of(L"A", 1)), '_' - 'a');
}

TEST(CompareSpellings, LooksAtTenCharactersOnly)
{
    CCaseInsensitiveHash table;
    EXPECT_EQ(table.compare(record_of(L"0123456789a", 11), record_of(L"0123456789b", 11)), 0);
    EXPECT_EQ(table.compare(record_of(L"012345678a", 10), record_of(L"012345678b", 10)), -1);
    EXPECT_EQ(table.compare(record_of(L"ab", 0), record_of(L"cd", 0)), 0);
    EXPECT_EQ(table.compare(record_of(L"ab", 1), record_of(L"ac", 1)), 0);
}

TEST(CompareSpellings, EndsAtAZeroInBoth)
{
    CCaseInsensitiveHash table;
    EXPECT_EQ(table.compare(record_of(L"ab\0x", 4), record_of(L"AB\0y", 4)), 0);
    EXPECT_EQ(table.compare(record_of(L"ab\0x", 4), record_of(L"ABcy", 4)), -'c');
    EXPECT_EQ(table.compare(record_of(L"ABcy", 4), record_of(L"ab\0x", 4)), 'c');
}

TEST(CompareSpellings, EntriesCompareByTheirStrings)
{
    CCaseInsensitiveHash table;
    Entry const lower = entry_of(unpooled(L"word"));
    Entry const upper = entry_of(unpooled(L"WORD"));
    Entry const other = entry_of(unpooled(L"ward"));
    EXPECT_EQ(table.compare(static_cast<CPObjectMemory const&>(lower), upper), 0);
    EXPECT_EQ(table.compare(static_cast<CPObjectMemory const&>(upper), other), 'o' - 'a');
    EXPECT_EQ(lower.lockcnt(), 1U);
}

TEST(CompareSpellings, AnItemOfAnotherTypeCountsAsTheNullString)
{
    CCaseInsensitiveHash table;
    CPObjectMemory const other = block_of_another_type();
    CPObjectMemory const word = entry_of(unpooled(L"word"));
    Entry fresh;
    fresh.create();
    EXPECT_EQ(table.compare(other, word), -1);
    EXPECT_EQ(table.compare(word, other), 1);
    EXPECT_EQ(table.compare(other, static_cast<CPObjectMemory const&>(fresh)), 0);
    EXPECT_EQ(table.compare(other, other), 0);
}

TEST(CompareStrings, OrdersByHashesAndLengthAsUnsignedValues)
{
    CCaseInsensitiveHash insensitive;
    CCaseSensitiveHash table(&insensitive);
    auto const make = [](tagSTRINGBASICINFO const& info)
    {
        _cppoolstring string = unpooled(L"same text");
        string->info = info;
        return string;
    };
    constexpr unsigned long top = 0x8000000000000000UL;
    std::vector<_cppoolstring> const ascending = {make({5, 9, 1, 9}),   make({4, 0, 2, 3}),   make({5, 0, 2, 3}),
                                                  make({top, 0, 2, 3}), make({1, 0, 2, 4}),   make({1, 0, 2, top}),
                                                  make({0, 0, top, 0}), make({0, 0, top, 1}), make({0, 0, top + 1, 0})};
    for (unsigned long a = 0; a < ascending.size(); ++a)
    {
        for (unsigned long b = 0; b < ascending.size(); ++b)
            EXPECT_EQ(table.compare(ascending[a], ascending[b]), a < b ? -1 : a > b ? 1 : 0) << a << " " << b;
    }
}

TEST(CompareStrings, OfEqualHashesComparesTenCharactersExactly)
{
    CCaseInsensitiveHash insensitive;
    CCaseSensitiveHash table(&insensitive);
    auto const make = [](std::wstring const& text)
    {
        _cppoolstring string = unpooled(text);
        string->info = {text.size(), 0, 7, 8};
        return string;
    };
    EXPECT_EQ(table.compare(make(L"0123456789a"), make(L"0123456789b")), 0);
    EXPECT_EQ(sign(table.compare(make(L"012345678a"), make(L"012345678b"))), -1);
    EXPECT_EQ(sign(table.compare(make(L"012345678b"), make(L"012345678a"))), 1);
    EXPECT_EQ(sign(table.compare(make(L"word"), make(L"WORD"))), 1);
    EXPECT_EQ(table.compare(make(L"word"), make(L"word")), 0);
    _cppoolstring const same = make(L"word");
    EXPECT_EQ(table.compare(same, same), 0);
    EXPECT_EQ(same.lockcnt(), 1U);
}

TEST(CompareStrings, AnItemOfAnotherTypeCountsAsTheNullString)
{
    CCaseInsensitiveHash insensitive;
    CCaseSensitiveHash table(&insensitive);
    CPObjectMemory const other = block_of_another_type();
    EXPECT_EQ(table.compare(other, other), 0);
    EXPECT_EQ(table.compare(other, CPObjectMemory(unpooled(L"word"))), 1);
}
