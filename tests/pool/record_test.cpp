#include "ORVA/String/Record.h"

#include "support/AllocationFailure.h"
#include "support/PoolTexts.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>

namespace
{

using namespace ORVA::String;
using ORVA::Buffers::CPObjectMemory;
using support::AllocationFailure;
using support::is_null;
using support::unpooled;
using support::utf16;
using support::utf8;

constexpr unsigned long all_ones = ULONG_MAX;

testing::AssertionResult has_info(tagSTRINGPOOLRECORD const& record, unsigned long len, unsigned long utf8_size,
                                  unsigned long hash, unsigned long folded_hash)
{
    tagSTRINGBASICINFO const& info = record.info;
    if (info.len == len && info.utf8Size == utf8_size && info.sHash == hash && info.sHashi == folded_hash)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << info.len << " " << info.utf8Size << " " << std::hex << info.sHash << " "
                                       << info.sHashi;
}

testing::AssertionResult has_info_of(tagSTRINGPOOLRECORD const& record, wchar_t const* text, unsigned long utf8_size)
{
    tagSTRINGBASICINFO const info = support::evaluated(text);
    return has_info(record, info.len, utf8_size, info.sHash, info.sHashi);
}

bool is_in_null_state(staticStringRecord const& key)
{
    return has_info(key.record, 0, 0, all_ones, all_ones) && key.record.pData == Constants::null_record.record.pData &&
           key.record.pOwned == nullptr;
}

bool is_in_empty_state(staticStringRecord const& key)
{
    return has_info(key.record, 0, 0, 0, 0) && key.record.pData == Constants::null_record.record.pData &&
           key.record.pOwned == nullptr;
}

// What all keys have in common, whatever they are made from.
void expect_static_block(staticStringRecord const& key)
{
    EXPECT_EQ(key.header.lRefCnt, 0U);
    EXPECT_EQ(key.header.uAllocSize, 56U);
    EXPECT_EQ(key.header.uSize, 56U);
    EXPECT_EQ(key.header.pVTbl, &poolstring_vtbl);
    EXPECT_EQ(key.record.age, 0U);
}

} // namespace

TEST(RecordLayout, FieldsStandAsInTheTable)
{
    EXPECT_EQ(sizeof(tagSTRINGBASICINFO), 32U);
    EXPECT_EQ(offsetof(tagSTRINGBASICINFO, len), 0U);
    EXPECT_EQ(offsetof(tagSTRINGBASICINFO, utf8Size), 8U);
    EXPECT_EQ(offsetof(tagSTRINGBASICINFO, sHash), 16U);
    EXPECT_EQ(offsetof(tagSTRINGBASICINFO, sHashi), 24U);
    EXPECT_EQ(sizeof(tagSTRINGPOOLRECORD), 56U);
    EXPECT_EQ(offsetof(tagSTRINGPOOLRECORD, age), 0U);
    EXPECT_EQ(offsetof(tagSTRINGPOOLRECORD, info), 8U);
    EXPECT_EQ(offsetof(tagSTRINGPOOLRECORD, pData), 40U);
    EXPECT_EQ(offsetof(tagSTRINGPOOLRECORD, pOwned), 48U);
    EXPECT_TRUE((std::is_same_v<decltype(tagSTRINGPOOLRECORD::age), unsigned int>));
    EXPECT_TRUE((std::is_same_v<decltype(tagSTRINGPOOLRECORD::pData), wchar_t const*>));
}

TEST(RecordLayout, StaticRecordIsAHeaderAndARecord)
{
    EXPECT_EQ(sizeof(staticStringRecord), 32U + 56U);
    EXPECT_EQ(offsetof(staticStringRecord, header), 0U);
    EXPECT_EQ(offsetof(staticStringRecord, record), 32U);
}

TEST(RecordLayout, HandleIsOnePointer)
{
    EXPECT_EQ(sizeof(_cppoolstring), sizeof(void*));
}

TEST(PoolStringType, HasTheThreeOperationsAndNoInterfaces)
{
    EXPECT_EQ(poolstring_vtbl._create, &poolstring_create);
    EXPECT_EQ(poolstring_vtbl._clone, &poolstring_clone);
    EXPECT_EQ(poolstring_vtbl._finalize, &poolstring_finalize);
    EXPECT_EQ(poolstring_vtbl._interface, &CPObjectMemory::_nointerface);
}

TEST(PoolStringType, CreateDoesNothing)
{
    unsigned char payload[80];
    std::memset(payload, 0xA5, sizeof payload);
    poolstring_create(payload, sizeof payload);
    for (unsigned char const byte : payload)
        EXPECT_EQ(byte, 0xA5U);
    poolstring_create(nullptr, 0);
}

TEST(PoolStringType, CloneCopiesAllBytesAndClearsOwned)
{
    struct Block
    {
        tagSTRINGPOOLRECORD record;
        wchar_t text[4];
    };
    int owned = 0;
    Block source = {{7, {1, 2, 3, 4}, nullptr, &owned}, L"abc"};
    source.record.pData = source.text;
    Block dest;
    std::memset(static_cast<void*>(&dest), 0x5A, sizeof dest);
    poolstring_clone(&dest, &source, sizeof source);
    EXPECT_EQ(dest.record.age, 7U);
    EXPECT_TRUE(has_info(dest.record, 1, 2, 3, 4));
    EXPECT_EQ(dest.record.pData, source.text);
    EXPECT_EQ(dest.record.pOwned, nullptr);
    EXPECT_STREQ(dest.text, L"abc");
    EXPECT_EQ(source.record.pOwned, &owned);
}

TEST(PoolStringType, CloneCopiesNotMoreThanTheSize)
{
    tagSTRINGPOOLRECORD const source = {1, {2, 3, 4, 5}, L"x", nullptr};
    unsigned char dest[sizeof source + 8];
    std::memset(dest, 0x5A, sizeof dest);
    poolstring_clone(dest, &source, sizeof source);
    for (unsigned long index = sizeof source; index < sizeof dest; ++index)
        EXPECT_EQ(dest[index], 0x5AU);
}

TEST(PoolStringType, CloneOfASharedHandleKeepsTheTextOfTheSource)
{
    _cppoolstring const source = unpooled(L"record clone");
    source->pOwned = ORVA::Core::OS::_falloc(4);
    _cppoolstring copy = source;
    ASSERT_EQ(copy.clone(), 1);
    EXPECT_TRUE(copy != source);
    EXPECT_EQ(copy->pData, source->pData);
    EXPECT_EQ(copy->pOwned, nullptr);
    EXPECT_NE(source->pOwned, nullptr);
    EXPECT_EQ(copy.GetSize(), source.GetSize());
    EXPECT_EQ(source.lockcnt(), 1U);
}

TEST(PoolStringType, FinalizeFreesWhatIsOwnedAndBearsNothing)
{
    tagSTRINGPOOLRECORD record = {0, {0, 0, 0, 0}, L"", nullptr};
    poolstring_finalize(&record, sizeof record);
    EXPECT_EQ(record.pOwned, nullptr);
    // A block that is not freed here shows as a leak, one that is freed twice as an error.
    record.pOwned = ORVA::Core::OS::_falloc(100);
    poolstring_finalize(&record, sizeof record);
}

TEST(PoolStringType, LastHandleFreesWhatTheRecordOwns)
{
    _cppoolstring string = unpooled(L"record owned");
    string->pOwned = ORVA::Core::OS::_falloc(100);
    string = _cppoolstring();
    EXPECT_TRUE(is_null(string));
}

TEST(StaticRecord, FromNullIsInTheNullState)
{
    staticStringRecord const keys[] = {
        staticStringRecord(static_cast<wchar_t const*>(nullptr)),
        staticStringRecord(static_cast<wchar_t const*>(nullptr), 5),
        staticStringRecord(static_cast<unsigned char const*>(nullptr)),
        staticStringRecord(static_cast<unsigned char const*>(nullptr), 5),
        staticStringRecord(static_cast<unsigned short const*>(nullptr)),
        staticStringRecord(static_cast<unsigned short const*>(nullptr), 5),
    };
    for (staticStringRecord const& key : keys)
    {
        expect_static_block(key);
        EXPECT_TRUE(is_in_null_state(key));
    }
}

TEST(StaticRecord, OfLengthZeroIsInTheNullState)
{
    staticStringRecord const keys[] = {
        staticStringRecord(L"text", 0),        staticStringRecord(L"", 0),
        staticStringRecord(utf8("text"), 0),   staticStringRecord(utf8(""), 0),
        staticStringRecord(utf16(u"text"), 0), staticStringRecord(utf16(u""), 0),
    };
    for (staticStringRecord const& key : keys)
    {
        expect_static_block(key);
        EXPECT_TRUE(is_in_null_state(key));
    }
}

TEST(StaticRecord, OfEmptyTextIsInTheEmptyState)
{
    staticStringRecord const keys[] = {
        staticStringRecord(L""),        staticStringRecord(L"", 3),        staticStringRecord(L"", all_ones),
        staticStringRecord(utf8("")),   staticStringRecord(utf8(""), 3),   staticStringRecord(utf8(""), all_ones),
        staticStringRecord(utf16(u"")), staticStringRecord(utf16(u""), 3), staticStringRecord(utf16(u""), all_ones),
    };
    for (staticStringRecord const& key : keys)
    {
        expect_static_block(key);
        EXPECT_TRUE(is_in_empty_state(key));
    }
}

TEST(StaticRecord, TextlessStatesShareOneEmptyText)
{
    EXPECT_STREQ(Constants::null_record.record.pData, L"");
    EXPECT_EQ(Constants::null_record.record.pData, Constants::empty_record.record.pData);
}

TEST(StaticRecord, OfWideTextPointsAtItsSource)
{
    wchar_t const source[] = L"Hello, wide world";
    AllocationFailure const counted(0);
    staticStringRecord const whole(source);
    staticStringRecord const part(source, 5);
    staticStringRecord const bounded_by_text(source, 500);
    EXPECT_EQ(counted.attempts(), 0U);
    expect_static_block(whole);
    EXPECT_TRUE(has_info_of(whole.record, source, 17));
    EXPECT_EQ(whole.record.pData, source);
    EXPECT_EQ(whole.record.pOwned, nullptr);
    expect_static_block(part);
    EXPECT_TRUE(has_info_of(part.record, L"Hello", 5));
    EXPECT_EQ(part.record.pData, source);
    EXPECT_EQ(part.record.pOwned, nullptr);
    EXPECT_TRUE(has_info_of(bounded_by_text.record, source, 17));
    EXPECT_EQ(bounded_by_text.record.pData, source);
}

TEST(StaticRecord, OfShortUtf8HasTheWholeText)
{
    char const source[] = "gr\xC3\xBC\xC3\x9F\xE2\x82\xAC\xF0\x9F\x98\x80";
    wchar_t const text[] = {L'g', L'r', 0xFC, 0xDF, 0x20AC, support::high_twin, 0};
    staticStringRecord const key(utf8(source));
    expect_static_block(key);
    EXPECT_TRUE(has_info_of(key.record, text, 13));
    EXPECT_STREQ(key.record.pData, text);
    EXPECT_EQ(key.record.pOwned, key.record.pData);
}

TEST(StaticRecord, OfLongUtf8HasTenCharactersAndDescribesAll)
{
    staticStringRecord const key(utf8("fourteen chars"));
    EXPECT_TRUE(has_info_of(key.record, L"fourteen chars", 14));
    EXPECT_STREQ(key.record.pData, L"fourteen c");
    EXPECT_EQ(key.record.pOwned, key.record.pData);

    staticStringRecord const wide_characters(utf8("\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4"
                                                  "\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4xy"));
    EXPECT_EQ(wide_characters.record.info.len, 12U);
    EXPECT_EQ(wide_characters.record.info.utf8Size, 22U);
    EXPECT_EQ(std::wstring(wide_characters.record.pData), std::wstring(10, 0xE4));
}

TEST(StaticRecord, OfTenAndElevenUtf8Characters)
{
    EXPECT_STREQ(staticStringRecord(utf8("0123456789")).record.pData, L"0123456789");
    EXPECT_STREQ(staticStringRecord(utf8("0123456789a")).record.pData, L"0123456789");
}

TEST(StaticRecord, OfBoundedUtf8EndsAtTheBoundInBytes)
{
    staticStringRecord const key(utf8("\xC3\xA4"
                                      "bcdef"),
                                 4);
    wchar_t const text[] = {0xE4, L'b', L'c', 0};
    EXPECT_TRUE(has_info_of(key.record, text, 4));
    EXPECT_STREQ(key.record.pData, text);
    staticStringRecord const longer(utf8("fourteen chars and more"), 14);
    EXPECT_TRUE(has_info_of(longer.record, L"fourteen chars", 14));
    EXPECT_STREQ(longer.record.pData, L"fourteen c");
}

TEST(StaticRecord, OfUtf16HasTenCharactersAndDescribesAll)
{
    staticStringRecord const key(utf16(u"fourteen chars"));
    expect_static_block(key);
    EXPECT_TRUE(has_info_of(key.record, L"fourteen chars", 14));
    EXPECT_STREQ(key.record.pData, L"fourteen c");
    EXPECT_EQ(key.record.pOwned, key.record.pData);
    staticStringRecord const bounded(utf16(u"fourteen chars"), 4);
    EXPECT_TRUE(has_info_of(bounded.record, L"four", 4));
    EXPECT_STREQ(bounded.record.pData, L"four");
}

TEST(StaticRecord, OfUtf16TakesAPairForACharacterOfValueOne)
{
    wchar_t const text[] = {L'a', 1, L'b', 0x20AC, 0};
    staticStringRecord const key(utf16(u"a\xD83D\xDE00"
                                       u"b\x20AC"));
    EXPECT_TRUE(has_info_of(key.record, text, 1 + 1 + 1 + 3));
    EXPECT_STREQ(key.record.pData, text);
    // Ten characters can be twenty units.
    staticStringRecord const pairs(utf16(u"\xD83D\xDE00\xD83D\xDE00\xD83D\xDE00\xD83D\xDE00\xD83D\xDE00\xD83D\xDE00"
                                         u"\xD83D\xDE00\xD83D\xDE00\xD83D\xDE00\xD83D\xDE00\xD83D\xDE00\xD83D\xDE00"));
    EXPECT_EQ(pairs.record.info.len, 12U);
    EXPECT_EQ(std::wstring(pairs.record.pData), std::wstring(10, L'\x1'));
}

TEST(StaticRecord, OfTextThatCannotBeEvaluatedIsInTheNullState)
{
    staticStringRecord const keys[] = {
        staticStringRecord(utf8("A\xFF")),
        staticStringRecord(utf8("A\xC3")),
        staticStringRecord(utf8("A\xC3\xA9"), 2),
        staticStringRecord(utf8("\x80")),
        staticStringRecord(utf16(u"A\xDC00")),
        staticStringRecord(utf16(u"A\xD800\x0041")),
        staticStringRecord(utf16(u"A\xD83D\xDE00"), 2),
    };
    for (staticStringRecord const& key : keys)
    {
        expect_static_block(key);
        EXPECT_TRUE(is_in_null_state(key));
    }
}

TEST(StaticRecord, OfALengthOfAllOnesIsEvaluatedAsEmpty)
{
    wchar_t const source[] = L"text";
    staticStringRecord const wide(source, all_ones);
    EXPECT_TRUE(has_info(wide.record, 0, 0, 0, 0));
    EXPECT_EQ(wide.record.pData, source);
    staticStringRecord const narrow(utf8("text"), all_ones);
    EXPECT_TRUE(has_info(narrow.record, 0, 0, 0, 0));
    EXPECT_STREQ(narrow.record.pData, L"");
    staticStringRecord const half(utf16(u"text"), all_ones);
    EXPECT_TRUE(has_info(half.record, 0, 0, 0, 0));
    EXPECT_STREQ(half.record.pData, L"");
}

TEST(StaticRecord, OfOtherTextCostsOneAllocationOfAtMostTwelveCharacters)
{
    struct Case
    {
        char const* text;
        unsigned long characters;
    };
    for (Case const& c : {Case{"a", 3}, Case{"0123456789", 12}, Case{"0123456789 and very much more", 12}})
    {
        AllocationFailure const counted(0);
        staticStringRecord const key(utf8(c.text));
        EXPECT_EQ(counted.attempts(), 1U);
        EXPECT_EQ(counted.last_size(), c.characters * sizeof(wchar_t));
    }
    AllocationFailure const counted(0);
    staticStringRecord const key(utf16(u"0123456789 and very much more"));
    EXPECT_EQ(counted.attempts(), 1U);
    EXPECT_EQ(counted.last_size(), 12 * sizeof(wchar_t));
}

TEST(StaticRecord, WithoutMemoryKeepsItsEvaluationAndAnEmptyText)
{
    AllocationFailure const failure(1, AllocationFailure::forever);
    staticStringRecord const narrow(utf8("fourteen chars"));
    staticStringRecord const half(utf16(u"fourteen chars"));
    EXPECT_EQ(failure.failures(), 2U);
    for (staticStringRecord const* key : {&narrow, &half})
    {
        expect_static_block(*key);
        EXPECT_TRUE(has_info_of(key->record, L"fourteen chars", 14));
        EXPECT_EQ(key->record.pData, Constants::null_record.record.pData);
        EXPECT_EQ(key->record.pOwned, nullptr);
    }
}

TEST(StaticRecord, DestructorFreesWhatWasAddedToAConstant)
{
    // A block that is not freed shows as a leak.
    staticStringRecord key(L"constant");
    key.record.pOwned = ORVA::Core::OS::_falloc(16);
}

TEST(ConstantRecords, HaveTheirStates)
{
    for (staticStringRecord const* constant :
         {&Constants::null_record, &Constants::empty_record, &Constants::true_record, &Constants::false_record})
        expect_static_block(*constant);
    EXPECT_TRUE(has_info(Constants::null_record.record, 0, 0, all_ones, all_ones));
    EXPECT_TRUE(has_info(Constants::empty_record.record, 0, 0, 0, 0));
    EXPECT_TRUE(has_info_of(Constants::true_record.record, L"true", 4));
    EXPECT_STREQ(Constants::true_record.record.pData, L"true");
    EXPECT_TRUE(has_info_of(Constants::false_record.record, L"false", 5));
    EXPECT_STREQ(Constants::false_record.record.pData, L"false");
}

TEST(RecordHandle, DefaultIsTheNullRecord)
{
    _cppoolstring const handle;
    EXPECT_EQ(&*handle, &Constants::null_record.record);
    EXPECT_EQ(handle.operator->(), &Constants::null_record.record);
    EXPECT_EQ(handle.lockcnt(), 0U);
    EXPECT_EQ(handle.GetSize(), 56U);
}

TEST(RecordHandle, OnAStaticRecordIsNotCounted)
{
    staticStringRecord key(L"static");
    {
        _cppoolstring const handle(key);
        _cppoolstring const second(handle);
        _cppoolstring assigned;
        assigned = key;
        EXPECT_EQ(&*handle, &key.record);
        EXPECT_EQ(&*second, &key.record);
        EXPECT_EQ(&*assigned, &key.record);
        EXPECT_EQ(key.header.lRefCnt, 0U);
    }
    EXPECT_EQ(key.header.lRefCnt, 0U);
    EXPECT_STREQ(key.record.pData, L"static");
}

TEST(RecordHandle, AssignmentOfAStaticRecordReleasesTheOldOne)
{
    _cppoolstring const other = unpooled(L"record handle old");
    staticStringRecord key(L"static");
    _cppoolstring handle = other;
    handle = key;
    EXPECT_EQ(other.lockcnt(), 1U);
    EXPECT_EQ(&*handle, &key.record);
    handle = key;
    EXPECT_EQ(&*handle, &key.record);
}

TEST(RecordHandle, CopiesShareAndCount)
{
    _cppoolstring const source = unpooled(L"record handle copy");
    EXPECT_EQ(source.lockcnt(), 1U);
    {
        _cppoolstring const copy(source);
        _cppoolstring assigned;
        assigned = source;
        EXPECT_EQ(source.lockcnt(), 3U);
        EXPECT_TRUE(copy == source);
        EXPECT_TRUE(assigned == source);
        EXPECT_EQ(&*copy, &*source);
    }
    EXPECT_EQ(source.lockcnt(), 1U);
}

TEST(RecordHandle, SelfAssignmentChangesNothing)
{
    _cppoolstring handle = unpooled(L"record handle self");
    _cppoolstring& same = handle;
    handle = same;
    EXPECT_EQ(handle.lockcnt(), 1U);
    handle = std::move(same);
    EXPECT_EQ(handle.lockcnt(), 1U);
    EXPECT_STREQ(handle->pData, L"record handle self");
}

TEST(RecordHandle, MoveTakesTheReferenceAndLeavesTheNullRecord)
{
    _cppoolstring source = unpooled(L"record handle move");
    tagSTRINGPOOLRECORD const* const record = &*source;
    _cppoolstring moved(std::move(source));
    EXPECT_EQ(&*moved, record);
    EXPECT_EQ(moved.lockcnt(), 1U);
    EXPECT_TRUE(is_null(source));

    _cppoolstring const old = unpooled(L"record handle moved over");
    _cppoolstring target = old;
    EXPECT_EQ(old.lockcnt(), 2U);
    target = std::move(moved);
    EXPECT_EQ(&*target, record);
    EXPECT_EQ(target.lockcnt(), 1U);
    EXPECT_TRUE(is_null(moved));
    EXPECT_EQ(old.lockcnt(), 1U);
}

TEST(RecordHandle, TakesABlockOfItsTypeFromAnUntypedHandle)
{
    _cppoolstring const source = unpooled(L"record handle untyped");
    CPObjectMemory const untyped = source;
    _cppoolstring const handle(untyped);
    EXPECT_TRUE(handle == source);
    _cppoolstring assigned;
    assigned = untyped;
    EXPECT_TRUE(assigned == source);
    EXPECT_EQ(source.lockcnt(), 4U);
}

TEST(RecordHandle, OfAnotherTypeOrOfNothingIsTheNullRecord)
{
    static ORVA::Buffers::tagCPOVTABL const other_type = {&poolstring_create, nullptr, [](void*, unsigned long) {},
                                                          &CPObjectMemory::_nointerface};
    CPObjectMemory other;
    ASSERT_EQ(other.Alloc(100, &other_type), 1);
    EXPECT_TRUE(is_null(_cppoolstring(other)));
    EXPECT_TRUE(is_null(_cppoolstring(CPObjectMemory::pnull)));
    EXPECT_EQ(other.lockcnt(), 1U);

    _cppoolstring const old = unpooled(L"record handle refused");
    _cppoolstring handle = old;
    handle = other;
    EXPECT_TRUE(is_null(handle));
    EXPECT_EQ(old.lockcnt(), 1U);
    handle = old;
    handle = CPObjectMemory::pnull;
    EXPECT_TRUE(is_null(handle));
    EXPECT_EQ(old.lockcnt(), 1U);
    EXPECT_EQ(other.lockcnt(), 1U);
}

TEST(RecordHandle, SharesTheRecordOfAPooledString)
{
    CPPoolString const string(L"record handle of a value");
    unsigned int const count = string.lockcnt();
    _cppoolstring const handle(string);
    _cppoolstring assigned;
    assigned = string;
    EXPECT_TRUE(handle == string);
    EXPECT_TRUE(assigned == string);
    EXPECT_EQ(string.lockcnt(), count + 2);
}

TEST(RecordHandle, ThatWasFreedStillGivesTheNullRecord)
{
    _cppoolstring handle = unpooled(L"record handle freed");
    static_cast<CPObjectMemory&>(handle).free();
    EXPECT_EQ(handle.get_ptr(), nullptr);
    EXPECT_EQ(&*handle, &Constants::null_record.record);
    EXPECT_EQ(handle.operator->(), &Constants::null_record.record);
}

TEST(RecordHandle, SizeIsThatOfTheBlock)
{
    EXPECT_EQ(unpooled(L"abc").GetSize(), 56U + 4 * sizeof(wchar_t));
    EXPECT_EQ(unpooled(L"abc").GetAllocSize(), 56U + 4 * sizeof(wchar_t));
    EXPECT_EQ(_cppoolstring(Constants::true_record).GetSize(), 56U);
}
