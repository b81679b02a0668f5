#include "pool/hash_pair_support.h"

using namespace hash_pair;

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
