#include "pool/hash_pair_support.h"

using namespace hash_pair;

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

TEST(SpellingTable, FindPassesOverABlockOfAnotherType)
{
    CCaseInsensitiveHash table;
    staticStringRecord key(L"Delta");
    table.AddItem(key.record.info.sHashi, block_of_another_type(), ORVA::Lookup::eHashKeepEqual);
    EXPECT_TRUE(is_null(table.Find(_cppoolstring(key))));
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
