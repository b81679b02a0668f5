#include "ORVA/String/Submitters.h"

#include "pool/string_array_support.h"

#include <algorithm>
#include <cstring>
#include <random>

using namespace pool_tests;

namespace
{

constexpr wchar_t untouched = L'\x7E57';

// What a submitter writes into a buffer of `size` characters that held something before.
std::wstring written(IStringSubmitter* submitter, unsigned long size)
{
    std::wstring buffer(size, untouched);
    EXPECT_EQ(submitter->GetString(buffer.data()), 1U);
    return buffer;
}

std::wstring untouched_places(std::size_t count)
{
    return std::wstring(count, untouched);
}

std::wstring with_zero(std::wstring text)
{
    return text += L'\0';
}

// Frees blocks of the heap that are full of something, of the size of a record with `length` characters.
void leave_garbage_for(unsigned long length)
{
    std::vector<void*> blocks(32);
    unsigned long const size = sizeof(staticStringRecord) + (length + 1) * sizeof(wchar_t);
    for (void*& block : blocks)
    {
        block = std::malloc(size);
        ASSERT_NE(block, nullptr);
        std::fill_n(static_cast<unsigned char volatile*>(block), size, static_cast<unsigned char>(0x41));
    }
    for (void* const block : blocks)
        std::free(block);
}

// Reads a field of `object` where it is laid out.
template <class Field, class Object>
Field field_at(Object const& object, unsigned long offset)
{
    Field field;
    std::memcpy(&field, reinterpret_cast<unsigned char const*>(&object) + offset, sizeof field);
    return field;
}

// The place in the table of virtual functions, which is what a pointer to such a function holds besides a mark.
template <class Member>
unsigned long slot_of(Member member)
{
    unsigned long word = 0;
    std::memcpy(&word, &member, sizeof word);
    return (word & ~1UL) / sizeof(void*);
}

_cppoolstring pooled_slice(std::wstring const& text)
{
    leave_garbage_for(text.size());
    CSubStringSubmitter submitter(text.data(), text.size());
    return CStringPool::GetStringRef(submitter);
}

} // namespace

TEST(Submitters, ConvertToTheInterface)
{
    CPPoolString const item(L"submitters item");
    CStringArraySubmitter array(&item, 1, L',');
    IStringSubmitter* const of_array = array;
    EXPECT_EQ(of_array->GetStringLen(), 15U);
    EXPECT_EQ(written(of_array, 16), with_zero(L"submitters item"));
    CSubStringSubmitter slice(L"12345678", 8);
    IStringSubmitter* const of_slice = slice;
    EXPECT_EQ(of_slice->GetStringLen(), 8U);
}

TEST(Submitters, InterfaceIsLengthAndTextInThisOrder)
{
    EXPECT_EQ(slot_of(&IStringSubmitter::GetStringLen), 0U);
    EXPECT_EQ(slot_of(&IStringSubmitter::GetString), 1U);
    EXPECT_EQ(slot_of(&CStringArraySubmitter::GetString), 1U);
    EXPECT_EQ(slot_of(&CSubStringSubmitter::GetString), 1U);
    EXPECT_EQ(sizeof(IStringSubmitter), sizeof(void*));
}

TEST(Submitters, FieldsStandInOrderBehindTheTableOfFunctions)
{
    Strings const items = {L"a", L"b"};
    CStringArraySubmitter const array(items.data(), 2, L'\x20AC');
    EXPECT_EQ(field_at<CPPoolString const*>(array, 8), items.data());
    EXPECT_EQ(field_at<unsigned long>(array, 16), 2U);
    EXPECT_EQ(field_at<wchar_t>(array, 24), L'\x20AC');
    EXPECT_EQ(sizeof array, 32U);
    wchar_t const text[] = L"12345678";
    CSubStringSubmitter const slice(text + 1, 7);
    EXPECT_EQ(field_at<wchar_t const*>(slice, 8), text + 1);
    EXPECT_EQ(field_at<unsigned long>(slice, 16), 7U);
    EXPECT_EQ(sizeof slice, 24U);
}

TEST(ArraySubmitter, LengthIsThatOfTheTextsAndTheSeparatorsBetween)
{
    Strings const items = {L"ab", L"", L"cde", CPPoolString(), L"f"};
    EXPECT_EQ(CStringArraySubmitter(items.data(), 1, L',').GetStringLen(), 2U);
    EXPECT_EQ(CStringArraySubmitter(items.data(), 2, L',').GetStringLen(), 3U);
    EXPECT_EQ(CStringArraySubmitter(items.data(), 3, L',').GetStringLen(), 7U);
    EXPECT_EQ(CStringArraySubmitter(items.data(), 5, L',').GetStringLen(), 10U);
    EXPECT_EQ(CStringArraySubmitter(items.data() + 1, 1, L',').GetStringLen(), 0U);
}

TEST(ArraySubmitter, WritesTextsSeparatorsAndATerminator)
{
    Strings const items = {L"ab", L"", L"cde", CPPoolString(), L"f"};
    CStringArraySubmitter submitter(items.data(), 5, L';');
    EXPECT_EQ(written(submitter, 12), with_zero(L"ab;;cde;;f") + untouched_places(1));
    CStringArraySubmitter one(items.data(), 1, L';');
    EXPECT_EQ(written(one, 4), with_zero(L"ab") + untouched_places(1));
}

TEST(ArraySubmitter, OfNothingHasALengthOfAllOnesAndWritesATerminator)
{
    CStringArraySubmitter submitter(nullptr, 0, L',');
    EXPECT_EQ(submitter.GetStringLen(), all_ones);
    EXPECT_EQ(written(submitter, 2), std::wstring(1, L'\0') + untouched_places(1));
}

TEST(ArraySubmitter, OfNothingIsTheNullStringToThePool)
{
    LogRecorder recorder;
    CStringArraySubmitter submitter(nullptr, 0, L',');
    EXPECT_TRUE(is_null(CStringPool::GetStringRef(submitter)));
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(ArraySubmitter, SeparatorMayBeATerminator)
{
    Strings const items = {L"a", L"b"};
    CStringArraySubmitter submitter(items.data(), 2, L'\0');
    EXPECT_EQ(submitter.GetStringLen(), 3U);
    EXPECT_EQ(written(submitter, 4), with_zero(with_zero(L"a") + L"b"));
    EXPECT_EQ(text_of(CStringPool::GetStringRef(submitter)), L"a");
}

TEST(ArraySubmitter, AdvancesByTheLengthAndNotByTheCharactersCopied)
{
    // A search key knows the length of the whole text, and has its first 10 characters.
    staticStringRecord key(utf8("0123456789abcd"));
    Strings const items = {CPPoolString(_cppoolstring(key)), L"end"};
    CStringArraySubmitter submitter(items.data(), 2, L'/');
    EXPECT_EQ(submitter.GetStringLen(), 18U);
    EXPECT_EQ(written(submitter, 19), L"0123456789" + untouched_places(4) + with_zero(L"/end"));
}

TEST(ArraySubmitter, CopiesNoMoreThanTheLength)
{
    staticStringRecord record(L"abcdef");
    record.record.info.len = 2;
    Strings const items = {CPPoolString(_cppoolstring(record)), L"x"};
    CStringArraySubmitter submitter(items.data(), 2, L',');
    EXPECT_EQ(submitter.GetStringLen(), 4U);
    EXPECT_EQ(written(submitter, 5), with_zero(L"ab,x"));
    CStringArraySubmitter one(items.data(), 1, L',');
    EXPECT_EQ(written(one, 4), with_zero(L"ab") + untouched_places(1));
}

TEST(ArraySubmitter, MissingTextTakesItsPlaces)
{
    support::TextlessString textless(3);
    Strings const items = {textless.string(), L"x"};
    CStringArraySubmitter submitter(items.data(), 2, L',');
    EXPECT_EQ(submitter.GetStringLen(), 5U);
    EXPECT_EQ(written(submitter, 6), untouched_places(3) + with_zero(L",x"));
}

TEST(SliceSubmitter, LengthIsInCharactersAndTheCopyInBytes)
{
    CSubStringSubmitter submitter(L"12345678", 8);
    EXPECT_EQ(submitter.GetStringLen(), 8U);
    EXPECT_EQ(written(submitter, 9), L"12" + untouched_places(7));
}

TEST(SliceSubmitter, WritesNothingBehindItsBytes)
{
    wchar_t const text[] = L"\x11223344\x55667788";
    for (unsigned long length = 1; length <= 8; ++length)
    {
        CSubStringSubmitter submitter(text, length);
        std::wstring expected = untouched_places(length + 1);
        std::memcpy(expected.data(), text, length);
        EXPECT_EQ(written(submitter, length + 1), expected) << length;
    }
}

TEST(SliceSubmitter, StartsInsideOfAText)
{
    wchar_t const text[] = L"0123456789";
    CSubStringSubmitter submitter(text + 3, 4);
    EXPECT_EQ(written(submitter, 5), L"3" + untouched_places(4));
}

TEST(SliceSubmitter, OfLengthZeroIsReportedAndKept)
{
    LogRecorder recorder;
    CSubStringSubmitter submitter(L"abc", 0);
    LogMessages const report = {support::log_message(1, "BaseOS_Unix_common", 105,
                                                     L"Failed assumption: Runtime assumption failed:sccLen > 0",
                                                     L"Failed assumption: %hs:%hs")};
    EXPECT_EQ(recorder.take(), report);
    EXPECT_EQ(submitter.GetStringLen(), 0U);
    EXPECT_EQ(written(submitter, 2), untouched_places(2));
    EXPECT_TRUE(is_empty(CStringPool::GetStringRef(submitter)));
    CSubStringSubmitter nothing(nullptr, 0);
    EXPECT_EQ(recorder.take(), report);
    EXPECT_EQ(written(nothing, 1), untouched_places(1));
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(SliceSubmitter, OfAnyOtherLengthIsNotReported)
{
    LogRecorder recorder;
    CSubStringSubmitter const submitter(L"a", 1);
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(SliceSubmitter, InThePoolGivesAQuarterOfItsCharacters)
{
    EXPECT_EQ(text_of(pooled_slice(L"12345678")), L"12");
    EXPECT_EQ(text_of(pooled_slice(L"1234567890123456")), L"1234");
    // The lowest bytes of the next character make another one.
    EXPECT_EQ(text_of(pooled_slice(L"a")), L"a");
    EXPECT_EQ(text_of(pooled_slice(L"abc")), L"a");
    EXPECT_EQ(text_of(pooled_slice(L"abcd")), L"a");
    EXPECT_EQ(text_of(pooled_slice(L"abcde")), L"ab");
    EXPECT_EQ(text_of(pooled_slice(L"\x4E2D")), L"-");
    EXPECT_EQ(text_of(pooled_slice(L"\x4E2Dx")), L"\x4E2D");
    EXPECT_EQ(text_of(pooled_slice(L"\x1F600xx")), L"\x1F600");
    EXPECT_EQ(text_of(pooled_slice(L"\x1F601x")), L"\xF601");
}

TEST(SliceSubmitter, InThePoolNeverShowsWhatTheBlockHeldBefore)
{
    for (unsigned long length = 1; length <= 40; ++length)
    {
        std::wstring const text(length, L'q');
        _cppoolstring const string = pooled_slice(text);
        EXPECT_EQ(text_of(string), std::wstring((length + 3) / 4, L'q')) << length;
        EXPECT_EQ(string->info.len, (length + 3) / 4) << length;
    }
    EXPECT_EQ(CStringPool::Verify(), 1U);
}

TEST(SliceSubmitter, InThePoolHasTheBlockOfTheWholeSlice)
{
    std::wstring const text = name("block of a slice");
    _cppoolstring const string = pooled_slice(text);
    EXPECT_EQ(string.GetSize(), 56 + (text.size() + 1) * sizeof(wchar_t));
    EXPECT_LT(string->info.len, text.size());
}

TEST(SliceSubmitter, WhoseBytesAreZeroGivesATextOfNoLengthThatIsNotTheEmptyString)
{
    ClearedPool const cleared;
    CPPoolString const string = pooled_slice(L"\x4E00");
    EXPECT_EQ(string.len(), 0U);
    EXPECT_TRUE(string.isdef());
    EXPECT_FALSE(string.isempty());
    EXPECT_TRUE(pooled_slice(L"\x4E00") == string);
}

TEST(SliceSubmitter, AgreesWithThePlainTwin)
{
    ClearedPool const cleared;
    std::mt19937 random(20);
    for (int round = 0; round < 2000; ++round)
    {
        std::wstring text(1 + random() % 30, L'\0');
        for (wchar_t& character : text)
            character = static_cast<wchar_t>(1 + random() % (round % 2 == 0 ? 0x7F : 0x110000 - 1));
        ASSERT_EQ(text_of(pooled_slice(text)), reference::plain_slice(text));
    }
}
