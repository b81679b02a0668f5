#include "pool/string_array_support.h"

#include "ORVA/Buffers/Sort.h"

#include <algorithm>
#include <random>
#include <type_traits>

using namespace pool_tests;

namespace
{

constexpr unsigned long handles_16 = 128;

// Some texts in order, held so that each is one string.
Strings numbered(unsigned int count)
{
    Strings strings;
    for (unsigned int index = 0; index < count; ++index)
        strings.push_back(CPPoolString((L"array " + std::to_wstring(100 + index)).c_str()));
    return strings;
}

} // namespace

static_assert(sizeof(CPPoolStringArray) == 16, "a handle and a flag");
static_assert(std::is_base_of_v<StringVector, CPPoolStringArray>);
static_assert(!std::is_constructible_v<CPPoolStringArray, ORVA::Buffers::CPObjectMemory const&>);
static_assert(
    std::is_same_v<decltype(&CPPoolStringArray::Add), unsigned int (CPPoolStringArray::*)(CPPoolString const&)>);
static_assert(
    std::is_same_v<decltype(&CPPoolStringArray::LocateEntry), long (CPPoolStringArray::*)(CPPoolString const&) const>);

TEST(StringArrayOrder, IsThatOfWholeTexts)
{
    CPPoolString const a(L"order a");
    CPPoolString const ab(L"order ab");
    CPPoolString const b(L"order b");
    CPPoolString const upper(L"Order a");
    EXPECT_EQ(comparepoolptr(&a, &a), 0);
    EXPECT_EQ(comparepoolptr(&a, &b), L'a' - L'b');
    EXPECT_EQ(comparepoolptr(&b, &a), L'b' - L'a');
    EXPECT_EQ(comparepoolptr(&a, &ab), -L'b');
    EXPECT_EQ(comparepoolptr(&ab, &a), L'b');
    EXPECT_EQ(comparepoolptr(&upper, &a), L'O' - L'o');
}

TEST(StringArrayOrder, MissingTextComesFirst)
{
    support::TextlessString first;
    support::TextlessString second;
    CPPoolString const missing = first.string();
    CPPoolString const other = second.string();
    CPPoolString const text(L"text");
    EXPECT_EQ(comparepoolptr(&missing, &missing), 0);
    EXPECT_EQ(comparepoolptr(&missing, &other), 0);
    EXPECT_EQ(comparepoolptr(&missing, &text), -1);
    EXPECT_EQ(comparepoolptr(&text, &missing), 1);
    EXPECT_EQ(comparepoolptr(&missing, &CPPoolString::pempty), -1);
}

TEST(StringArrayOrder, DifferentStringsOfEqualTextAreEqual)
{
    CPPoolString const text(L"true");
    EXPECT_EQ(comparepoolptr(&CPPoolString::pnull, &CPPoolString::pempty), 0);
    EXPECT_EQ(comparepoolptr(&CPPoolString::ptrue, &text), 0);
}

TEST(StringArray, IsEmptyAtFirst)
{
    for (bool const sorted : {false, true})
    {
        CPPoolStringArray const array(sorted);
        EXPECT_FALSE(array);
        EXPECT_EQ(array.GetCount(), 0U);
        EXPECT_EQ(array.IsSorted(), sorted);
    }
}

TEST(StringArrayCopy, SharesTheBlockAndCopiesTheFlag)
{
    for (bool const sorted : {false, true})
    {
        CPPoolStringArray const source = array_of(sorted, {L"b", L"a"});
        CPPoolStringArray const copy(source);
        EXPECT_TRUE(copy == source);
        EXPECT_EQ(copy.lockcnt(), 2U);
        EXPECT_EQ(copy.IsSorted(), sorted);
        CPPoolStringArray assigned = array_of(!sorted, {L"c"});
        EXPECT_EQ(&(assigned = source), &assigned);
        EXPECT_TRUE(assigned == source);
        EXPECT_EQ(assigned.IsSorted(), sorted);
    }
}

TEST(StringArrayCopy, OfAnEmptyArrayIsEmpty)
{
    CPPoolStringArray const source(true);
    EXPECT_FALSE(CPPoolStringArray(source));
    CPPoolStringArray array = plain_array({L"a"});
    array = source;
    EXPECT_FALSE(array);
    EXPECT_TRUE(array.IsSorted());
}

TEST(StringArrayCopy, WriteIsSeenThroughTheOtherHandleUntilOneHasToGrow)
{
    Strings const strings = numbered(17);
    CPPoolStringArray array = plain_array({strings[0]});
    CPPoolStringArray copy(array);
    for (unsigned int index = 1; index < 16; ++index)
        array.Add(strings[index]);
    EXPECT_EQ(strings_of(copy), Strings(strings.begin(), strings.begin() + 16));
    array.Add(strings[16]);
    EXPECT_FALSE(copy == array);
    EXPECT_EQ(copy.GetCount(), 16U);
    EXPECT_EQ(strings_of(array), strings);
}

TEST(StringArrayCopy, OfABlockOfAnotherTypeIsEmptyAndTheAssignmentIsNotTested)
{
    CPPoolString const string(L"no array");
    CPPoolStringArray odd(true);
    static_cast<ORVA::Buffers::CPObjectMemory&>(odd) = string;
    CPPoolStringArray const copy(odd);
    EXPECT_FALSE(copy);
    EXPECT_TRUE(copy.IsSorted());
    CPPoolStringArray assigned(false);
    assigned = odd;
    EXPECT_TRUE(assigned == odd);
    EXPECT_TRUE(assigned.IsSorted());
}

TEST(StringArrayAssignment, OfAHandleKeepsTheFlag)
{
    StringVector vector;
    vector.Insert(L"b", 0);
    vector.Insert(L"a", 1);
    CPPoolStringArray plain(false);
    EXPECT_EQ(&(plain = vector), &plain);
    EXPECT_TRUE(plain == vector);
    EXPECT_FALSE(plain.IsSorted());
    EXPECT_EQ(texts_of(plain), (Texts{L"b", L"a"}));
}

TEST(StringArrayAssignment, OfAHandleToASortedArraySortsTheBlockForAll)
{
    CPPoolStringArray const source = plain_array({L"b", L"c", L"a"});
    CPPoolStringArray sorted(true);
    sorted = static_cast<ORVA::Buffers::CPObjectMemory const&>(source);
    EXPECT_TRUE(sorted == source);
    EXPECT_TRUE(sorted.IsSorted());
    EXPECT_EQ(texts_of(source), (Texts{L"a", L"b", L"c"}));
    EXPECT_FALSE(source.IsSorted());
}

TEST(StringArrayAssignment, OfTheOwnHandleSorts)
{
    CPPoolStringArray array(true);
    array = static_cast<ORVA::Buffers::CPObjectMemory const&>(plain_array({L"b", L"a"}));
    std::swap(array[0], array[1]);
    array = static_cast<ORVA::Buffers::CPObjectMemory const&>(array);
    EXPECT_EQ(texts_of(array), (Texts{L"a", L"b"}));
    EXPECT_EQ(array.lockcnt(), 1U);
}

TEST(StringArrayAssignment, OfABlockOfAnotherTypeEmptiesTheArray)
{
    for (bool const sorted : {false, true})
    {
        CPPoolStringArray array = array_of(sorted, {L"a"});
        array = CPPoolString(L"no array");
        EXPECT_FALSE(array);
        EXPECT_EQ(array.IsSorted(), sorted);
        array.Add(L"a");
        array = ORVA::Buffers::CPObjectMemory::pnull;
        EXPECT_FALSE(array);
        EXPECT_EQ(array.IsSorted(), sorted);
    }
}

TEST(StringArraySort, OrdersByTextAndLeavesTheFlag)
{
    CPPoolStringArray array = plain_array({L"b", L"", L"c", CPPoolString(), L"a", L"b", L"B"});
    CPPoolStringArray const copy(array);
    array.Sort();
    EXPECT_EQ(texts_of(array), (Texts{L"", L"", L"B", L"a", L"b", L"b", L"c"}));
    EXPECT_TRUE(copy == array);
    EXPECT_FALSE(array.IsSorted());
    EXPECT_EQ(array.Add(L"a"), 1U);
    EXPECT_EQ(texts_of(array).back(), L"a");
}

TEST(StringArraySort, OfNoEntriesDoesNothing)
{
    CPPoolStringArray array(false);
    array.Sort();
    EXPECT_FALSE(array);
    array.Reserve(3);
    array.Sort();
    EXPECT_EQ(array.GetCount(), 0U);
    EXPECT_EQ(array.GetAllocSize(), 3 * sizeof(CPPoolString));
}

TEST(StringArraySort, IsTheSortOfTheLibrary)
{
    Strings strings = numbered(300);
    std::shuffle(strings.begin(), strings.end(), std::mt19937(3));
    // Strings of equal text come out in the order that this sort, which is not stable, gives them.
    for (unsigned int index = 0; index < 300; index += 3)
        strings[index] = index % 2 == 0 ? CPPoolString::pnull : CPPoolString::pempty;
    CPPoolStringArray array = plain_array(strings);
    array.Sort();
    ORVA::Buffers::Sort::vfqsort(
        strings.data(), strings.size(), sizeof(CPPoolString),
        [](void const* a, void const* b)
        { return comparepoolptr(static_cast<CPPoolString const*>(a), static_cast<CPPoolString const*>(b)); });
    EXPECT_EQ(strings_of(array), strings);
}

TEST(StringArrayAdd, AppendsDuplicatesTooIfNotSorted)
{
    CPPoolStringArray const array = plain_array({L"b", L"a", L"b", CPPoolString(), CPPoolString()});
    EXPECT_EQ(texts_of(array), (Texts{L"b", L"a", L"b", L"", L""}));
}

TEST(StringArrayAdd, GoesToItsPlaceOnceIfSorted)
{
    CPPoolStringArray array = sorted_array({L"c", L"a", L"d", L"b"});
    EXPECT_EQ(texts_of(array), (Texts{L"a", L"b", L"c", L"d"}));
    for (wchar_t const* const text : {L"a", L"b", L"c", L"d"})
        EXPECT_EQ(array.Add(text), 1U);
    EXPECT_EQ(texts_of(array), (Texts{L"a", L"b", L"c", L"d"}));
    EXPECT_EQ(array.Add(L"bb"), 1U);
    EXPECT_EQ(texts_of(array), (Texts{L"a", L"b", L"bb", L"c", L"d"}));
}

TEST(StringArrayAdd, CountsAReferenceOfTheString)
{
    CPPoolString const string(name("reference").c_str());
    unsigned int const before = string.lockcnt();
    CPPoolStringArray array = sorted_array({string});
    EXPECT_EQ(string.lockcnt(), before + 1);
    array.Add(string);
    EXPECT_EQ(string.lockcnt(), before + 1);
    array.Delete(string);
    EXPECT_EQ(string.lockcnt(), before);
}

TEST(StringArrayAdd, LooksOnlyAtTheFirstOfEqualTexts)
{
    CPPoolStringArray array = sorted_array({CPPoolString::pnull, CPPoolString::pempty});
    EXPECT_EQ(strings_of(array), (Strings{CPPoolString::pempty, CPPoolString::pnull}));
    EXPECT_EQ(array.Add(CPPoolString::pempty), 1U);
    EXPECT_EQ(array.GetCount(), 2U);
    EXPECT_EQ(array.Add(CPPoolString::pnull), 1U);
    EXPECT_EQ(strings_of(array), (Strings{CPPoolString::pnull, CPPoolString::pempty, CPPoolString::pnull}));
}

TEST(StringArrayAdd, GrowsBy16HandlesAtAStep)
{
    for (bool const sorted : {false, true})
    {
        CPPoolStringArray array(sorted);
        Strings const strings = numbered(33);
        for (unsigned int index = 0; index < 33; ++index)
        {
            EXPECT_EQ(array.Add(strings[index]), 1U);
            EXPECT_EQ(array.GetAllocSize(), handles_16 * (1 + index / 16)) << index;
            EXPECT_EQ(array.GetSize(), sizeof(CPPoolString) * (index + 1)) << index;
        }
        EXPECT_EQ(strings_of(array), strings);
    }
}

TEST(StringArrayAdd, GrowsFromAReservedSizeByThe16Handles)
{
    CPPoolStringArray array(true);
    ASSERT_EQ(array.Reserve(3), 1);
    EXPECT_EQ(array.GetAllocSize(), 24U);
    for (CPPoolString const& string : numbered(4))
        array.Add(string);
    EXPECT_EQ(array.GetAllocSize(), 24 + handles_16);
    EXPECT_EQ(array.Reserve(30), 1);
    EXPECT_EQ(array.GetAllocSize(), 240U);
    EXPECT_EQ(strings_of(array), numbered(4));
}

TEST(StringArrayAdd, TakesAnEntryOfItself)
{
    CPPoolStringArray array = plain_array(numbered(16));
    EXPECT_EQ(array.Add(array[3]), 1U);
    EXPECT_TRUE(array[16] == array[3]);
    EXPECT_EQ(array.GetAllocSize(), 2 * handles_16);
}

TEST(StringArrayInsert, PutsAnythingAnywhereIfNotSorted)
{
    CPPoolStringArray array(false);
    EXPECT_EQ(array.Insert(L"b", 5), 1U);
    EXPECT_EQ(array.Insert(L"a", 0), 1U);
    EXPECT_EQ(array.Insert(L"a", 1), 1U);
    EXPECT_EQ(array.Insert(L"z", 3), 1U);
    EXPECT_EQ(array.Insert(L"y", 100), 1U);
    EXPECT_EQ(array.Insert(L"x", all_ones), 1U);
    EXPECT_EQ(texts_of(array), (Texts{L"a", L"a", L"b", L"z", L"y", L"x"}));
}

TEST(StringArrayInsert, IsRefusedQuietlyIfSorted)
{
    LogRecorder recorder;
    CPPoolStringArray array(true);
    EXPECT_EQ(array.Insert(L"a", 0), 0U);
    EXPECT_FALSE(array);
    array.Add(L"a");
    EXPECT_EQ(array.Insert(L"b", 1), 0U);
    EXPECT_EQ(texts_of(array), Texts{L"a"});
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(StringArrayDelete, IsRefusedQuietlyIfNotSorted)
{
    LogRecorder recorder;
    CPPoolStringArray array(false);
    EXPECT_EQ(array.Delete(L"a"), 0U);
    array.Add(L"a");
    EXPECT_EQ(array.Delete(L"a"), 0U);
    EXPECT_EQ(texts_of(array), Texts{L"a"});
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(StringArrayDelete, RemovesWhatIsThereIfSorted)
{
    CPPoolStringArray array = sorted_array({L"a", L"b", L"c", L"d"});
    EXPECT_EQ(array.Delete(L"b"), 1U);
    EXPECT_EQ(texts_of(array), (Texts{L"a", L"c", L"d"}));
    EXPECT_EQ(array.Delete(L"d"), 1U);
    EXPECT_EQ(texts_of(array), (Texts{L"a", L"c"}));
    EXPECT_EQ(array.Delete(L"a"), 1U);
    EXPECT_EQ(texts_of(array), Texts{L"c"});
    EXPECT_EQ(array.GetAllocSize(), handles_16);
    EXPECT_EQ(array.Delete(L"c"), 1U);
    EXPECT_FALSE(array);
}

TEST(StringArrayDelete, OfWhatIsNotThereIsASuccess)
{
    LogRecorder recorder;
    CPPoolStringArray array(true);
    EXPECT_EQ(array.Delete(L"a"), 1U);
    array.Reserve(2);
    EXPECT_EQ(array.Delete(L"a"), 1U);
    EXPECT_TRUE(array);
    array.Add(L"b");
    array.Add(L"d");
    for (wchar_t const* const text : {L"a", L"c", L"e"})
        EXPECT_EQ(array.Delete(text), 1U);
    EXPECT_EQ(texts_of(array), (Texts{L"b", L"d"}));
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(StringArrayDelete, LooksOnlyAtTheFirstOfEqualTexts)
{
    CPPoolStringArray array = sorted_array({CPPoolString::pnull, CPPoolString::pempty});
    EXPECT_EQ(array.Delete(CPPoolString::pnull), 1U);
    EXPECT_EQ(array.GetCount(), 2U);
    EXPECT_EQ(array.Delete(CPPoolString::pempty), 1U);
    EXPECT_EQ(strings_of(array), Strings{CPPoolString::pnull});
}

TEST(StringArrayDelete, OfTheLastEntryLeavesOtherHandlesTheEmptyBlock)
{
    CPPoolStringArray array = sorted_array({L"a"});
    CPPoolStringArray const copy(array);
    EXPECT_EQ(array.Delete(copy[0]), 1U);
    EXPECT_FALSE(array);
    EXPECT_TRUE(copy);
    EXPECT_EQ(copy.GetCount(), 0U);
    EXPECT_EQ(copy.LocateEntry(L"a"), 0);
}

TEST(StringArrayDelete, ByIndexWorksInAnyArray)
{
    for (bool const sorted : {false, true})
    {
        CPPoolStringArray array = array_of(sorted, {L"a", L"b"});
        EXPECT_EQ(array.Delete(0, true), 1);
        EXPECT_EQ(texts_of(array), Texts{L"b"});
        EXPECT_EQ(array.Delete(1, true), 0);
    }
}

TEST(StringArrayLocate, IsMinusOneIfNotSortedOrWithoutABlock)
{
    CPPoolStringArray array = plain_array({L"a"});
    EXPECT_EQ(array.LocateEntry(L"a"), -1);
    EXPECT_EQ(CPPoolStringArray(true).LocateEntry(L"a"), -1);
    EXPECT_EQ(CPPoolStringArray(false).LocateEntry(L"a"), -1);
}

TEST(StringArrayLocate, IsZeroWithoutEntries)
{
    CPPoolStringArray array(true);
    array.Reserve(4);
    EXPECT_EQ(array.LocateEntry(L"a"), 0);
    CPPoolStringArray plain(false);
    plain.Reserve(4);
    EXPECT_EQ(plain.LocateEntry(L"a"), -1);
}

TEST(StringArrayLocate, IsAPlaceAndNoProof)
{
    CPPoolStringArray const array = sorted_array({L"b", L"d", L"f"});
    EXPECT_EQ(array.LocateEntry(L"a"), 0);
    EXPECT_EQ(array.LocateEntry(L"b"), 0);
    EXPECT_EQ(array.LocateEntry(L"c"), 1);
    EXPECT_EQ(array.LocateEntry(L"d"), 1);
    EXPECT_EQ(array.LocateEntry(L"f"), 2);
    EXPECT_EQ(array.LocateEntry(L"g"), 3);
    EXPECT_EQ(array.LocateEntry(CPPoolString()), 0);
    EXPECT_EQ(array.LocateEntry(L"D"), 0);
}
