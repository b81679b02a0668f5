#include "pool/hash_pair_support.h"

using namespace hash_pair;

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

TEST(StringTable, ComparisonEndsAtAZeroInBothTexts)
{
    Tables tables;
    _cppoolstring first;
    first.create({6, 6, 77, 77}, L"ab\0cde");
    _cppoolstring second;
    second.create({6, 6, 77, 77}, L"ab\0xyz");
    EXPECT_TRUE(tables.sensitive.Add(first) == first);
    EXPECT_TRUE(tables.sensitive.Find(second) == first);
    _cppoolstring other;
    other.create({6, 6, 77, 77}, L"abc\0yz");
    EXPECT_TRUE(is_null(tables.sensitive.Find(other)));
}

TEST(StringTable, TextIsNeverFoundForNoText)
{
    Tables tables;
    _cppoolstring const text = tables.add(L"Zeta");
    staticStringRecord key(L"Zeta");
    key.record.pData = nullptr;
    _cppoolstring textless(key);
    EXPECT_TRUE(is_null(tables.sensitive.Find(textless)));
    EXPECT_EQ(text.lockcnt(), 3U);
}

TEST(StringTable, FindPassesOverABlockOfAnotherType)
{
    Tables tables;
    staticStringRecord const key(L"Zeta");
    tables.sensitive.AddItem(key.record.info.sHash, block_of_another_type(), ORVA::Lookup::eHashKeepEqual);
    EXPECT_TRUE(is_null(tables.find(L"Zeta")));
    tables.sensitive.DeleteIndex(key.record.info.sHash);
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
