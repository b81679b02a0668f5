#include "ORVA/String/PoolTables.h"

#include "support/AllocationFailure.h"
#include "support/LogRecorder.h"
#include "support/PoolTexts.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace
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

constexpr char const* no_entry = "Case-insensitive hash entry MUST exists";
constexpr char const* no_match = "Case-insensitive match of case-sensitive cache MUST exist";

LogMessages diagnosis(unsigned int referenced)
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

Entry entry_of(_cppoolstring const& string)
{
    Entry entry;
    entry.create()->string = string;
    return entry;
}

// A record with everything stated, its text elsewhere.
tagSTRINGPOOLRECORD record_of(wchar_t const* text, unsigned long length)
{
    return {0, {length, 0, 0, 0}, text, nullptr};
}

CPObjectMemory block_of_another_type()
{
    static ORVA::Buffers::tagCPOVTABL const type = {&poolstring_create, nullptr, [](void*, unsigned long) {},
                                                    &CPObjectMemory::_nointerface};
    CPObjectMemory block;
    block.Alloc(200, &type);
    return block;
}

int sign(int value)
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

void change_text(_cppoolstring const& string, wchar_t character)
{
    const_cast<wchar_t*>(string->pData)[0] = character;
}

} // namespace

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

TEST(SpellingTable, EachNewSpellingStandsSecond)
{
    Tables tables;
    tables.add(L"Alpha");
    tables.add(L"ALPHA");
    tables.add(L"alpha");
    EXPECT_EQ(chain_of(tables.insensitive, L"alpha"), (Texts{L"Alpha", L"alpha", L"ALPHA"}));
    EXPECT_EQ(tables.insensitive.GetNItems(), 1U);
    EXPECT_EQ(tables.sensitive.GetNItems(), 3U);
}

TEST(SpellingTable, AddSaysOneAndKeepsOneHandle)
{
    CCaseInsensitiveHash table;
    _cppoolstring const first = unpooled(L"Beta");
    _cppoolstring const second = unpooled(L"BETA");
    EXPECT_EQ(table.Add(first), 1U);
    EXPECT_EQ(table.Add(second), 1U);
    EXPECT_EQ(first.lockcnt(), 2U);
    EXPECT_EQ(second.lockcnt(), 2U);
    table.ClearTable();
    EXPECT_EQ(table.GetNItems(), 0U);
    EXPECT_EQ(first.lockcnt(), 1U);
    EXPECT_EQ(second.lockcnt(), 1U);
}

TEST(SpellingTable, AddWithoutMemoryGivesZeroAndLeavesTheTable)
{
    _cppoolstring const string = unpooled(L"Gamma");
    for (AllocationFailure::Duration const duration : {AllocationFailure::once, AllocationFailure::forever})
    {
        std::unique_ptr<CCaseInsensitiveHash> table;
        unsigned long const allocations =
            support::for_each_allocation(duration,
                                         [&](unsigned long nth)
                                         {
                                             table = std::make_unique<CCaseInsensitiveHash>();
                                             unsigned int const result = table->Add(string);
                                             EXPECT_EQ(result, nth <= 3 ? 0U : 1U);
                                             EXPECT_EQ(table->GetNItems(), result);
                                             EXPECT_EQ(string.lockcnt(), 1 + result);
                                         });
        EXPECT_EQ(allocations, 3U); // the entry, the index and the bucket
    }
}

TEST(SpellingTable, FindGivesTheHeadForEverySpelling)
{
    Tables tables;
    _cppoolstring const head = tables.add(L"Delta");
    tables.add(L"DELTA");
    for (wchar_t const* spelling : {L"Delta", L"DELTA", L"delta", L"dELTA"})
        EXPECT_TRUE(tables.find_any_spelling(spelling) == head) << spelling;
    EXPECT_TRUE(is_null(tables.find_any_spelling(L"Delt")));
    EXPECT_TRUE(is_null(tables.find_any_spelling(L"other")));
    EXPECT_EQ(head.lockcnt(), 3U);
}

TEST(SpellingTable, FindInANewTableGivesTheNullString)
{
    Tables tables;
    EXPECT_TRUE(is_null(tables.find_any_spelling(L"nothing")));
    EXPECT_TRUE(is_null(tables.find(L"nothing")));
}

TEST(SpellingTable, FindTellsWordsOfOneKeyApart)
{
    std::wstring const high = std::wstring(L"Key") + high_twin;
    std::wstring const higher = std::wstring(L"Key") + higher_twin;
    std::wstring const low = std::wstring(L"Key") + low_twin;
    ASSERT_EQ(support::evaluated(high.c_str()).sHashi, support::evaluated(low.c_str()).sHashi);
    Tables tables;
    tables.add(high.c_str());
    tables.add(low.c_str());
    EXPECT_EQ(tables.insensitive.GetNItems(), 2U);
    EXPECT_EQ(text_of(tables.find_any_spelling(high.c_str())), high);
    EXPECT_EQ(text_of(tables.find_any_spelling(low.c_str())), low);
    EXPECT_EQ(text_of(tables.find_any_spelling((std::wstring(L"KEY") + high_twin).c_str())), high);
    EXPECT_EQ(text_of(tables.find_any_spelling((std::wstring(L"kEy") + low_twin).c_str())), low);
    EXPECT_TRUE(is_null(tables.find_any_spelling(higher.c_str())));
    tables.add(higher.c_str());
    EXPECT_EQ(text_of(tables.find_any_spelling(higher.c_str())), higher);
    EXPECT_EQ(text_of(tables.find_any_spelling(high.c_str())), high);
    EXPECT_EQ(text_of(tables.find(high.c_str())), high);
    EXPECT_EQ(text_of(tables.find(low.c_str())), low);
}

TEST(SpellingTable, DeleteOfTheHeadMovesTheSecondsContent)
{
    LogRecorder recorder;
    CCaseInsensitiveHash table;
    _cppoolstring const first = unpooled(L"Alpha");
    _cppoolstring const second = unpooled(L"alpha");
    _cppoolstring const third = unpooled(L"ALPHA");
    table.Add(first);
    table.Add(third);
    table.Add(second);
    CPObjectMemory const item = table.FindItem(first->info.sHashi, CPObjectMemory::pnull);
    EXPECT_EQ(table.Delete(first), 1U);
    EXPECT_EQ(chain_of(table, L"alpha"), (Texts{L"alpha", L"ALPHA"}));
    EXPECT_TRUE(table.FindItem(first->info.sHashi, CPObjectMemory::pnull) == item);
    EXPECT_EQ(first.lockcnt(), 1U);
    EXPECT_EQ(second.lockcnt(), 2U);
    EXPECT_EQ(third.lockcnt(), 2U);
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(SpellingTable, DeleteOfAMiddleAndALastSpelling)
{
    LogRecorder recorder;
    CCaseInsensitiveHash table;
    _cppoolstring const first = unpooled(L"Alpha");
    _cppoolstring const second = unpooled(L"alpha");
    _cppoolstring const third = unpooled(L"ALPHA");
    table.Add(first);
    table.Add(third);
    table.Add(second);
    EXPECT_EQ(table.Delete(second), 1U);
    EXPECT_EQ(chain_of(table, L"alpha"), (Texts{L"Alpha", L"ALPHA"}));
    EXPECT_EQ(second.lockcnt(), 1U);
    EXPECT_EQ(table.Delete(third), 1U);
    EXPECT_EQ(chain_of(table, L"alpha"), (Texts{L"Alpha"}));
    EXPECT_EQ(third.lockcnt(), 1U);
    EXPECT_EQ(table.GetNItems(), 1U);
    EXPECT_EQ(table.Delete(first), 1U);
    EXPECT_EQ(table.GetNItems(), 0U);
    EXPECT_EQ(first.lockcnt(), 1U);
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(SpellingTable, DeleteOfASpellingThatIsNotInItsChainIsReported)
{
    LogRecorder recorder;
    CCaseInsensitiveHash table;
    _cppoolstring const first = unpooled(L"Alpha");
    table.Add(first);
    table.Add(unpooled(L"ALPHA"));
    // The same text in another block is not the same string.
    for (wchar_t const* text : {L"alpha", L"Alpha"})
    {
        EXPECT_EQ(table.Delete(unpooled(text)), 1U);
        EXPECT_EQ(recorder.take(), LogMessages{support::illegal_point(no_match)});
    }
    EXPECT_EQ(chain_of(table, L"alpha"), (Texts{L"Alpha", L"ALPHA"}));
}

TEST(SpellingTable, DeleteWithoutAChainIsReported)
{
    LogRecorder recorder;
    CCaseInsensitiveHash table;
    EXPECT_EQ(table.Delete(unpooled(L"Alpha")), 1U);
    EXPECT_EQ(recorder.take(), LogMessages{support::illegal_point(no_entry)});
    table.Add(unpooled(L"Beta"));
    EXPECT_EQ(table.Delete(unpooled(L"Alpha")), 1U);
    EXPECT_EQ(recorder.take(), LogMessages{support::illegal_point(no_entry)});
    EXPECT_EQ(table.GetNItems(), 1U);
}

// Kept behaviour: only the first chain of a key is walked.
TEST(SpellingTable, DeleteReachesOnlyTheFirstWordOfAKey)
{
    LogRecorder recorder;
    CCaseInsensitiveHash table;
    _cppoolstring const high = unpooled(std::wstring(L"Key") + high_twin);
    _cppoolstring const low = unpooled(std::wstring(L"Key") + low_twin);
    table.Add(high);
    table.Add(low);
    ASSERT_EQ(table.GetNItems(), 2U);
    EXPECT_EQ(table.Delete(high), 1U);
    EXPECT_EQ(recorder.take(), LogMessages{support::illegal_point(no_match)});
    EXPECT_EQ(table.GetNItems(), 2U);
    EXPECT_EQ(table.Delete(low), 1U);
    EXPECT_EQ(table.GetNItems(), 1U);
    EXPECT_EQ(table.Delete(high), 1U);
    EXPECT_EQ(table.GetNItems(), 0U);
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(SpellingTable, LongChainIsReleasedWithoutExhaustingTheStack)
{
    constexpr unsigned long spellings = 200000;
    constexpr unsigned int letters = 18;
    CCaseInsensitiveHash table;
    _cppoolstring const base = unpooled(std::wstring(letters, L'a'));
    table.Add(base);
    for (unsigned long number = 1; number < spellings; ++number)
    {
        wchar_t text[letters + 1] = {};
        for (unsigned int letter = 0; letter < letters; ++letter)
            text[letter] = (number >> letter & 1) != 0 ? L'A' : L'a';
        tagSTRINGBASICINFO info = base->info;
        info.sHash = number;
        _cppoolstring string;
        string.create(info, text);
        ASSERT_EQ(table.Add(string), 1U);
    }
    EXPECT_EQ(table.GetNItems(), 1U);
    Entry const head = table.FindItem(base->info.sHashi, CPObjectMemory::pnull);
    _cppoolstring const second = head->next->string;
    EXPECT_EQ(second->info.sHash, spellings - 1);
    table.Delete(second);
    EXPECT_EQ(second.lockcnt(), 1U);
    table.ClearTable();
    EXPECT_EQ(base.lockcnt(), 2U);
    EXPECT_TRUE(head->next);
}

TEST(SpellingTable, ClearingAndDestructionWriteNothing)
{
    LogRecorder recorder;
    {
        CCaseInsensitiveHash table;
        table.Add(unpooled(L"Alpha"));
        table.ClearTable();
        table.Add(unpooled(L"Alpha"));
    }
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(StringTable, AddOfANewStringEntersBothTables)
{
    Tables tables;
    _cppoolstring string = unpooled(L"Epsilon");
    _cppoolstring const added = tables.sensitive.Add(string);
    EXPECT_TRUE(added == string);
    EXPECT_EQ(string.lockcnt(), 4U); // two here, two in the tables
    EXPECT_EQ(tables.sensitive.GetNItems(), 1U);
    EXPECT_EQ(chain_of(tables.insensitive, L"epsilon"), (Texts{L"Epsilon"}));
    EXPECT_TRUE(tables.sensitive.FindItem(string->info.sHash, CPObjectMemory::pnull) == string);
    EXPECT_TRUE(tables.find(L"Epsilon") == string);
}

TEST(StringTable, AddOfAnEqualStringGivesTheOneThatIsThere)
{
    Tables tables;
    _cppoolstring const first = tables.add(L"Zeta");
    _cppoolstring second = unpooled(L"Zeta");
    EXPECT_TRUE(tables.sensitive.Add(second) == first);
    EXPECT_TRUE(tables.sensitive.Add(second) == first);
    EXPECT_EQ(second.lockcnt(), 1U);
    EXPECT_EQ(tables.sensitive.GetNItems(), 1U);
    EXPECT_EQ(chain_of(tables.insensitive, L"zeta"), (Texts{L"Zeta"}));
}

TEST(StringTable, StringsThatDifferOnlyAfterTheTenthCharacterAreOneIfTheirHashesAgree)
{
    std::wstring const high = std::wstring(L"0123456789") + high_twin;
    std::wstring const low = std::wstring(L"0123456789") + low_twin;
    Tables tables;
    _cppoolstring const first = tables.add(high.c_str());
    EXPECT_TRUE(tables.add(low.c_str()) == first);
    EXPECT_TRUE(tables.find(low.c_str()) == first);
    EXPECT_TRUE(tables.find_any_spelling(low.c_str()) == first);
    EXPECT_EQ(text_of(first), high);
    EXPECT_EQ(tables.sensitive.GetNItems(), 1U);

    std::wstring const early_high = std::wstring(L"012345678") + high_twin;
    std::wstring const early_low = std::wstring(L"012345678") + low_twin;
    EXPECT_TRUE(tables.add(early_high.c_str()) != tables.add(early_low.c_str()));
    EXPECT_EQ(text_of(tables.find(early_low.c_str())), early_low);
    EXPECT_EQ(text_of(tables.find(early_high.c_str())), early_high);
}

TEST(StringTable, AddWithoutMemoryGivesTheNullString)
{
    for (AllocationFailure::Duration const duration : {AllocationFailure::once, AllocationFailure::forever})
    {
        support::for_each_allocation(duration,
                                     [&](unsigned long nth)
                                     {
                                         Tables tables;
                                         _cppoolstring string = unpooled(L"Eta");
                                         if (is_null(string))
                                             return;
                                         _cppoolstring const added = tables.sensitive.Add(string);
                                         // The index and the bucket of this table, then those of the other.
                                         bool const is_in = nth > 3;
                                         EXPECT_TRUE(is_in ? added == string : is_null(added)) << nth;
                                         EXPECT_EQ(tables.sensitive.GetNItems(), is_in ? 1U : 0U);
                                         bool const is_in_both = nth > 6;
                                         EXPECT_EQ(tables.insensitive.GetNItems(), is_in_both ? 1U : 0U) << nth;
                                     });
    }
}

TEST(StringTable, StringThatDidNotFitIntoTheOtherTableIsNeverDisposable)
{
    Tables tables;
    _cppoolstring string = unpooled(L"Theta");
    {
        AllocationFailure const failure(3, AllocationFailure::forever);
        EXPECT_TRUE(tables.sensitive.Add(string) == string);
        EXPECT_EQ(failure.failures(), 1U);
    }
    string = _cppoolstring();
    for (int visit = 0; visit < 4; ++visit)
        EXPECT_EQ(tables.sensitive.DisposeTable(0xFFFFFFFFU), 1);
    EXPECT_EQ(text_of(tables.find(L"Theta")), L"Theta");
    EXPECT_TRUE(is_null(tables.find_any_spelling(L"Theta")));
}

TEST(StringTable, DeleteTakesAStringOutOfBothTables)
{
    LogRecorder recorder;
    Tables tables;
    _cppoolstring string = tables.add(L"Iota");
    _cppoolstring const other = tables.add(L"IOTA");
    EXPECT_EQ(tables.sensitive.Delete(string), 1U);
    EXPECT_EQ(string.lockcnt(), 1U);
    EXPECT_EQ(tables.sensitive.GetNItems(), 1U);
    EXPECT_EQ(chain_of(tables.insensitive, L"iota"), (Texts{L"IOTA"}));
    EXPECT_EQ(tables.sensitive.Delete(string), 1U);
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(StringTable, FinalisingAnItemDeletesItFromTheOtherTable)
{
    LogRecorder recorder;
    Tables tables;
    _cppoolstring const string = tables.add(L"Kappa");
    tables.sensitive.tblfinalize(string);
    EXPECT_EQ(tables.insensitive.GetNItems(), 0U);
    EXPECT_EQ(tables.sensitive.GetNItems(), 1U);
    EXPECT_EQ(recorder.count(), 0U);
    tables.sensitive.tblfinalize(string);
    EXPECT_EQ(recorder.take(), LogMessages{support::illegal_point(no_entry)});
}

TEST(Disposal, KeepsAStringThatIsHeldAndItsAge)
{
    CCaseInsensitiveHash insensitive;
    CCaseSensitiveHash table(&insensitive);
    // Two handles stand for those of the pool.
    _cppoolstring const string = unpooled(L"Lambda");
    _cppoolstring const second = string;
    {
        CPPoolString const outside = string;
        for (int visit = 0; visit < 3; ++visit)
        {
            EXPECT_FALSE(table.isDisposable(string));
            EXPECT_EQ(string->age, 0U);
        }
        unsigned char const* const form = outside;
        EXPECT_FALSE(table.isDisposable(string));
        EXPECT_EQ(static_cast<void const*>(string->pOwned), form);
    }
    EXPECT_NE(string->pOwned, nullptr);
    EXPECT_FALSE(table.isDisposable(string));
    EXPECT_EQ(string->age, 1U);
    EXPECT_EQ(string->pOwned, nullptr);
    EXPECT_TRUE(table.isDisposable(string));
    EXPECT_EQ(string->age, 2U);
    EXPECT_TRUE(table.isDisposable(string));
    EXPECT_EQ(string->age, 3U);
    EXPECT_EQ(string.lockcnt(), 2U);
}

TEST(Disposal, HandleTakenBetweenTwoVisitsRestartsTheAge)
{
    CCaseInsensitiveHash insensitive;
    CCaseSensitiveHash table(&insensitive);
    _cppoolstring const string = unpooled(L"Lambda");
    _cppoolstring const second = string;
    EXPECT_FALSE(table.isDisposable(string));
    EXPECT_EQ(string->age, 1U);
    {
        _cppoolstring const outside = string;
        EXPECT_FALSE(table.isDisposable(string));
        EXPECT_EQ(string->age, 0U);
    }
    EXPECT_FALSE(table.isDisposable(string));
    EXPECT_TRUE(table.isDisposable(string));
}

TEST(Disposal, OfAStringWithFewerHandlesThanThePoolsNeverComes)
{
    CCaseInsensitiveHash insensitive;
    CCaseSensitiveHash table(&insensitive);
    _cppoolstring const string = unpooled(L"Lambda");
    string->age = 1;
    EXPECT_FALSE(table.isDisposable(string));
    EXPECT_EQ(string->age, 0U);
}

TEST(Disposal, TakesTwoVisitsAndClearsBothTables)
{
    LogRecorder recorder;
    Tables tables;
    tables.add(L"Mu");
    tables.add(L"MU");
    {
        _cppoolstring const held = tables.add(L"mu");
        EXPECT_EQ(tables.sensitive.DisposeTable(0xFFFFFFFFU), 1);
        EXPECT_EQ(tables.sensitive.GetNItems(), 3U);
        EXPECT_EQ(tables.sensitive.DisposeTable(0xFFFFFFFFU), 1);
        EXPECT_EQ(tables.sensitive.GetNItems(), 1U);
        EXPECT_EQ(chain_of(tables.insensitive, L"mu"), (Texts{L"mu"}));
        EXPECT_EQ(held.lockcnt(), 3U);
        EXPECT_TRUE(is_null(tables.find(L"Mu")));
    }
    EXPECT_EQ(tables.sensitive.DisposeTable(0xFFFFFFFFU), 1);
    EXPECT_EQ(tables.insensitive.GetNItems(), 1U);
    EXPECT_EQ(tables.sensitive.DisposeTable(0xFFFFFFFFU), 1);
    EXPECT_EQ(tables.sensitive.GetNItems(), 0U);
    EXPECT_EQ(tables.insensitive.GetNItems(), 0U);
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(Diagnosis, CountsTheStringsHeldFromOutside)
{
    LogRecorder recorder;
    Tables tables;
    _cppoolstring const held = tables.add(L"Nu");
    tables.add(L"NU");
    tables.add(L"Xi");
    tables.sensitive.ClearTable();
    EXPECT_EQ(recorder.take(), diagnosis(1));
    EXPECT_EQ(tables.sensitive.GetNItems(), 0U);
    // The other table is not touched, and the string that is held lives on.
    EXPECT_EQ(tables.insensitive.GetNItems(), 2U);
    EXPECT_EQ(held.lockcnt(), 2U);
    EXPECT_EQ(text_of(held), L"Nu");
    tables.sensitive.ClearTable();
    EXPECT_EQ(recorder.take(), diagnosis(0));
}

TEST(Diagnosis, IsWrittenByTheDestructorToo)
{
    LogRecorder recorder;
    _cppoolstring held;
    _cppoolstring held_too;
    {
        CCaseInsensitiveHash insensitive;
        {
            CCaseSensitiveHash sensitive(&insensitive);
            held = unpooled(L"Omicron");
            sensitive.Add(held);
            held_too = unpooled(L"Pi");
            sensitive.Add(held_too);
        }
        EXPECT_EQ(recorder.take(), diagnosis(2));
        EXPECT_EQ(held.lockcnt(), 2U);
    }
    EXPECT_EQ(recorder.count(), 0U);
    EXPECT_EQ(held.lockcnt(), 1U);
    EXPECT_EQ(text_of(held), L"Omicron");
}

TEST(Diagnosis, OfATableThatHeldNothingCountsNothing)
{
    LogRecorder recorder;
    CCaseInsensitiveHash insensitive;
    {
        CCaseSensitiveHash sensitive(&insensitive);
    }
    EXPECT_EQ(recorder.take(), diagnosis(0));
}

TEST(Visitors, SizeIsTheSumOfTheBlocks)
{
    Tables tables;
    EXPECT_EQ(tables.sensitive.GetSize(), 0U);
    tables.add(L"Rho");
    tables.add(L"Sigma");
    EXPECT_EQ(tables.sensitive.GetSize(), 2 * 56 + (4 + 6) * sizeof(wchar_t));
    CEnumForSize sizes;
    EXPECT_EQ(sizes.total, 0U);
    EXPECT_EQ(tables.sensitive.EnumTable(&sizes), 1);
    EXPECT_EQ(sizes.total, 2 * 56 + (4 + 6) * sizeof(wchar_t));
    CPObjectMemory other = block_of_another_type();
    EXPECT_TRUE(sizes.EnumEntry(0, other));
    EXPECT_EQ(sizes.total, 2 * 56 + (4 + 6) * sizeof(wchar_t) + 200);
}

TEST(Visitors, EnumerationVisitsAllAndStopsWhenTold)
{
    Tables tables;
    unsigned int visits = 0;
    Visitor counting([&](unsigned long, CPObjectMemory&) { return ++visits < 2; });
    EXPECT_EQ(tables.sensitive.EnumTable(&counting), 0);
    EXPECT_EQ(visits, 0U);
    tables.add(L"Tau");
    EXPECT_EQ(tables.sensitive.EnumTable(nullptr), 0);
    EXPECT_EQ(tables.sensitive.EnumTable(&counting), 1);
    EXPECT_EQ(visits, 1U);
    tables.add(L"Upsilon");
    tables.add(L"Phi");
    EXPECT_EQ(tables.sensitive.EnumTable(&counting), 0);
    EXPECT_EQ(visits, 2U);
    // The key of an entry is its case-sensitive hash.
    Texts seen;
    Visitor all(
        [&](unsigned long key, CPObjectMemory& item)
        {
            _cppoolstring const string(item);
            EXPECT_EQ(key, string->info.sHash);
            seen.push_back(text_of(string));
            return true;
        });
    EXPECT_EQ(tables.sensitive.EnumTable(&all), 1);
    EXPECT_EQ(seen.size(), 3U);
}

TEST(Visitors, DisposalCountsItemsOfThreeHandlesOrMore)
{
    _cppoolstring first = unpooled(L"Chi");
    CEnumDisposal visitor;
    EXPECT_EQ(visitor.count, 0U);
    EXPECT_TRUE(visitor.EnumEntry(0, first));
    EXPECT_EQ(visitor.count, 0U);
    _cppoolstring const second = first;
    EXPECT_TRUE(visitor.EnumEntry(0, first));
    EXPECT_EQ(visitor.count, 0U);
    _cppoolstring const third = first;
    EXPECT_TRUE(visitor.EnumEntry(0, first));
    EXPECT_EQ(visitor.count, 1U);
    _cppoolstring const fourth = first;
    EXPECT_TRUE(visitor.EnumEntry(0, first));
    EXPECT_EQ(visitor.count, 2U);
}

TEST(Visitors, VerifyComparesHashesAndLength)
{
    CEnumVerify visitor;
    _cppoolstring string = unpooled(L"Psi");
    tagSTRINGBASICINFO const good = string->info;
    EXPECT_TRUE(visitor.EnumEntry(0, string));
    string->info.utf8Size += 1;
    EXPECT_TRUE(visitor.EnumEntry(0, string));
    for (unsigned long tagSTRINGBASICINFO::*const field :
         {&tagSTRINGBASICINFO::len, &tagSTRINGBASICINFO::sHash, &tagSTRINGBASICINFO::sHashi})
    {
        string->info = good;
        string->info.*field += 1;
        EXPECT_FALSE(visitor.EnumEntry(0, string));
    }
    string->info = good;
    EXPECT_TRUE(visitor.EnumEntry(0, string));
    EXPECT_EQ(string.lockcnt(), 1U);
}

TEST(Visitors, VerifyStopsAtARecordWhoseTextWasChanged)
{
    Tables tables;
    CEnumVerify visitor;
    EXPECT_EQ(tables.sensitive.EnumTable(&visitor), 0); // no index yet
    _cppoolstring const string = tables.add(L"Omega");
    tables.add(L"Digamma");
    EXPECT_EQ(tables.sensitive.EnumTable(&visitor), 1);
    change_text(string, L'o');
    EXPECT_EQ(tables.sensitive.EnumTable(&visitor), 0);
    change_text(string, L'O');
    EXPECT_EQ(tables.sensitive.EnumTable(&visitor), 1);
}
