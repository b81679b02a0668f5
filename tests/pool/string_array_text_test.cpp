// Joining the entries of an array into one text, and splitting a text into entries.

#include "ORVA/String/Submitters.h"

#include "pool/string_array_support.h"

using namespace pool_tests;
using reference::PlainEntries;

namespace
{

constexpr std::nullopt_t null = std::nullopt;

// The entries that a text splits into at commas.
PlainEntries split(std::wstring const& text)
{
    CPPoolStringArray array(false);
    EXPECT_EQ(array.Inflate(CPPoolString(text.c_str()), L','), 1U);
    return entries_of(array);
}

} // namespace

TEST(StringArrayFlatten, OfNoEntriesIsTheNullString)
{
    CPPoolStringArray array(false);
    EXPECT_TRUE(array.Flatten(L',').isnull());
    array.Reserve(2);
    EXPECT_TRUE(array.Flatten(L',').isnull());
}

TEST(StringArrayFlatten, JoinsByTheSeparator)
{
    EXPECT_EQ(text_of(plain_array({L"a", L"b"}).Flatten(L',')), L"a,b");
    EXPECT_EQ(text_of(plain_array({L"b", L"a", L"b"}).Flatten(L'\x20AC')), L"b\x20AC"
                                                                           L"a\x20AC"
                                                                           L"b");
    EXPECT_EQ(text_of(sorted_array({L"b", L"a", L"b"}).Flatten(L';')), L"a;b");
    EXPECT_EQ(text_of(plain_array({L"one"}).Flatten(L',')), L"one");
}

TEST(StringArrayFlatten, IsThePooledString)
{
    CPPoolString const first(name("flat one").c_str());
    CPPoolString const second(name("flat two").c_str());
    CPPoolString const flat = plain_array({first, second}).Flatten(L'/');
    EXPECT_TRUE(flat == CPPoolString((text_of(first) + L"/" + text_of(second)).c_str()));
    EXPECT_TRUE(plain_array({first}).Flatten(L'/') == first);
}

TEST(StringArrayFlatten, TakesNullStringsAsEmptyOnes)
{
    EXPECT_EQ(text_of(plain_array({CPPoolString(), L"a", L"", L"b", CPPoolString()}).Flatten(L',')), L",a,,b,");
    EXPECT_EQ(text_of(plain_array({CPPoolString(), L""}).Flatten(L',')), L",");
    EXPECT_TRUE(plain_array({CPPoolString()}).Flatten(L',').isempty());
    EXPECT_TRUE(plain_array({L""}).Flatten(L',').isempty());
}

TEST(StringArrayFlatten, EndsAtTheFirstZero)
{
    EXPECT_EQ(text_of(plain_array({L"a", L"b"}).Flatten(L'\0')), L"a");
    CPPoolString const with_zero = unpooled_utf8("a\xC0\x80z");
    ASSERT_EQ(with_zero.len(), 3U);
    EXPECT_EQ(text_of(plain_array({with_zero, L"b"}).Flatten(L',')), L"a");
}

TEST(StringArrayFlatten, DoesNotSeparateWhatHoldsASeparator)
{
    EXPECT_EQ(text_of(plain_array({L"a,b", L"c"}).Flatten(L',')), L"a,b,c");
}

TEST(StringArrayInflate, SplitsAtSeparators)
{
    EXPECT_EQ(split(L"a"), PlainEntries{L"a"});
    EXPECT_EQ(split(L"a,b"), (PlainEntries{L"a", L"b"}));
    EXPECT_EQ(split(L"c,a,c,b"), (PlainEntries{L"c", L"a", L"c", L"b"}));
    EXPECT_EQ(split(stretched(L"Hello") + L"," + stretched(L"world")), (PlainEntries{L"Hello", L"world"}));
}

TEST(StringArrayInflate, MakesNullEntriesOfEmptyPiecesButNotAtTheEnd)
{
    EXPECT_EQ(split(L",a"), (PlainEntries{null, L"a"}));
    EXPECT_EQ(split(L"a,"), PlainEntries{L"a"});
    EXPECT_EQ(split(L"a,,b"), (PlainEntries{L"a", null, L"b"}));
    EXPECT_EQ(split(L","), PlainEntries{null});
    EXPECT_EQ(split(L",,"), (PlainEntries{null, null}));
    EXPECT_EQ(split(L"a,,"), (PlainEntries{L"a", null}));
    EXPECT_EQ(split(L",,a,"), (PlainEntries{null, null, L"a"}));
}

TEST(StringArrayInflate, DeliversAsManyBytesAsAPieceHasCharacters)
{
    EXPECT_EQ(split(L"12345678"), PlainEntries{L"12"});
    EXPECT_EQ(split(L"12345678,123456789abc"), (PlainEntries{L"12", L"123"}));
    EXPECT_EQ(split(L"Hello,world"), (PlainEntries{L"He", L"wo"}));
    EXPECT_EQ(split(L"ab,c"), (PlainEntries{L"a", L"c"}));
    EXPECT_EQ(split(L"\x20AC,\x20ACx"), (PlainEntries{L"\xAC", L"\x20AC"}));
}

TEST(StringArrayInflate, OfAPieceWhoseBytesAreZeroMakesATextOfNoLength)
{
    ClearedPool const cleared;
    CPPoolStringArray array(false);
    ASSERT_EQ(array.Inflate(L"\x4E00,b", L','), 1U);
    ASSERT_EQ(array.GetCount(), 2U);
    EXPECT_EQ(array[0].len(), 0U);
    EXPECT_TRUE(array[0].isdef());
}

TEST(StringArrayInflate, GivesPooledStrings)
{
    CPPoolString const text(name("piece").c_str());
    CPPoolStringArray array(false);
    ASSERT_EQ(array.Inflate(stretched(text_of(text)).c_str(), L','), 1U);
    ASSERT_EQ(array.GetCount(), 1U);
    EXPECT_TRUE(array[0] == text);
    ASSERT_EQ(array.Inflate(L",", L','), 1U);
    EXPECT_TRUE(array[0].isnull());
}

TEST(StringArrayInflate, EmptiesTheArrayFirst)
{
    CPPoolStringArray array = plain_array({L"x", L"y"});
    CPPoolStringArray const copy(array);
    EXPECT_EQ(array.Inflate(L"a,b", L','), 1U);
    EXPECT_EQ(texts_of(array), (Texts{L"a", L"b"}));
    EXPECT_EQ(texts_of(copy), (Texts{L"x", L"y"}));
    EXPECT_EQ(array.Inflate(CPPoolString(), L','), 1U);
    EXPECT_FALSE(array);
}

TEST(StringArrayInflate, OfNoTextSucceeds)
{
    LogRecorder recorder;
    CPPoolStringArray array = plain_array({L"x"});
    EXPECT_EQ(array.Inflate(CPPoolString::pnull, L','), 1U);
    EXPECT_FALSE(array);
    CPPoolString no_handle(L"no handle");
    static_cast<ORVA::Buffers::CPObjectMemory&>(no_handle).free();
    array.Add(L"x");
    EXPECT_EQ(array.Inflate(no_handle, L','), 1U);
    EXPECT_FALSE(array);
    support::TextlessString textless(3);
    array.Add(L"x");
    EXPECT_EQ(array.Inflate(textless.string(), L','), 1U);
    EXPECT_FALSE(array);
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(StringArrayInflate, OfTheEmptyStringReservesOneHandle)
{
    CPPoolStringArray array = plain_array({L"x"});
    EXPECT_EQ(array.Inflate(CPPoolString::pempty, L','), 1U);
    EXPECT_TRUE(array);
    EXPECT_EQ(array.GetCount(), 0U);
    EXPECT_EQ(array.GetAllocSize(), 8U);
}

TEST(StringArrayInflate, ReservesAHandleForEachSeparatorAndOne)
{
    CPPoolStringArray array(false);
    array.Inflate(L"a,b,c", L',');
    EXPECT_EQ(array.GetAllocSize(), 24U);
    array.Inflate(L"a,", L',');
    EXPECT_EQ(array.GetAllocSize(), 16U);
    EXPECT_EQ(array.GetSize(), 8U);
    array.Inflate(L"a", L',');
    EXPECT_EQ(array.GetAllocSize(), 8U);
    std::wstring const commas(100, L',');
    array.Inflate(commas.c_str(), L',');
    EXPECT_EQ(array.GetAllocSize(), 808U);
    EXPECT_EQ(array.GetCount(), 100U);
}

TEST(StringArrayInflate, SortsAndDropsDuplicatesIfSorted)
{
    CPPoolStringArray array(true);
    EXPECT_EQ(array.Inflate(L"c,,a,c,,b", L','), 1U);
    EXPECT_EQ(entries_of(array), (PlainEntries{null, L"a", L"b", L"c"}));
    EXPECT_TRUE(array.IsSorted());
    EXPECT_EQ(array.GetAllocSize(), 48U);
    // Pieces that differ may arrive as one string.
    EXPECT_EQ(array.Inflate(L"abcd,abyz", L','), 1U);
    EXPECT_EQ(entries_of(array), PlainEntries{L"a"});
}

TEST(StringArrayInflate, TakesAnEntryOfItself)
{
    CPPoolStringArray array(false);
    array.Add((stretched(name("entry of itself")) + L",b").c_str());
    EXPECT_EQ(array.Inflate(array[0], L','), 1U);
    ASSERT_EQ(array.GetCount(), 2U);
    EXPECT_EQ(text_of(array[0]).substr(0, 9), L"pool test");
    EXPECT_EQ(text_of(array[1]), L"b");
}

TEST(StringArrayInflate, EndsAtTheFirstZeroOfTheText)
{
    CPPoolString const text = unpooled_utf8("a,b\xC0\x80,c");
    ASSERT_EQ(text.len(), 6U);
    CPPoolStringArray array(false);
    EXPECT_EQ(array.Inflate(text, L','), 1U);
    EXPECT_EQ(entries_of(array), (PlainEntries{L"a", L"b"}));
    EXPECT_EQ(array.Inflate(L"a", L'\0'), 1U);
    EXPECT_EQ(entries_of(array), PlainEntries{L"a"});
}

TEST(StringArrayInflate, TurnsBackOnlyPiecesOfOneCharacter)
{
    CPPoolStringArray array = plain_array({CPPoolString(), L"a", CPPoolString(), L"b"});
    CPPoolString const flat = array.Flatten(L',');
    EXPECT_EQ(array.Inflate(flat, L','), 1U);
    EXPECT_EQ(entries_of(array), (PlainEntries{null, L"a", null, L"b"}));
    array = plain_array({L"abcd", L"b"});
    EXPECT_EQ(array.Inflate(array.Flatten(L','), L','), 1U);
    EXPECT_EQ(entries_of(array), (PlainEntries{L"a", L"b"}));
}

TEST(StringArrayInflate, ReportsNothing)
{
    LogRecorder recorder;
    CPPoolStringArray array(true);
    array.Inflate(L",a,,bcde,", L',');
    array.Flatten(L',');
    EXPECT_EQ(recorder.count(), 0U);
}
