#include "pool/pool_string_support.h"

#include <climits>
#include <cstring>
#include <cwchar>
#include <string>
#include <type_traits>
#include <utility>

using namespace pool_string_tests;

TEST(PoolStringStates, AreAsInTheTable)
{
    EXPECT_EQ(state_of(CPPoolString::pnull), "null false");
    EXPECT_EQ(state_of(CPPoolString::pempty), "empty true");
    EXPECT_EQ(state_of(CPPoolString::ptrue), "defined true");
    EXPECT_EQ(state_of(CPPoolString::pfalse), "defined true");
    EXPECT_EQ(state_of(CPPoolString(L"value pooled")), "defined true");
    CPPoolString changeable;
    EXPECT_FALSE(static_cast<bool>(changeable));
    changeable = L"value pooled";
    EXPECT_TRUE(static_cast<bool>(changeable));
}

TEST(PoolStringStates, OfAHandleWithoutARecordIsFalse)
{
    CPPoolString const string = freed_handle();
    EXPECT_EQ(string.get_ptr(), nullptr);
    EXPECT_FALSE(static_cast<bool>(string));
    EXPECT_FALSE(string.isdef());
    EXPECT_STREQ(*string, L"");
    EXPECT_EQ(string.len(), 0U);
}

TEST(PoolStringStates, ConstantsStandOnTheirRecords)
{
    EXPECT_TRUE(support::is_on(CPPoolString::pnull, Constants::null_record));
    EXPECT_TRUE(support::is_on(CPPoolString::pempty, Constants::empty_record));
    EXPECT_TRUE(support::is_on(CPPoolString::ptrue, Constants::true_record));
    EXPECT_TRUE(support::is_on(CPPoolString::pfalse, Constants::false_record));
    EXPECT_EQ(CPPoolString::ptrue.lockcnt(), 0U);
}

TEST(PoolString, IsOnePointerOfThePoolsType)
{
    EXPECT_EQ(sizeof(CPPoolString), sizeof(void*));
    EXPECT_EQ(CPPoolString::GetTypeID(), &poolstring_vtbl);
    EXPECT_EQ(static_cast<CPObjectMemory const&>(CPPoolString(L"value type")).GetTypeID(), CPPoolString::GetTypeID());
}

TEST(PoolStringAccess, ConvertsToBothKindsOfTextAndToABool)
{
    CPPoolString string(L"conversion");
    CPPoolString const constant = string;
    wchar_t const* wide = string;
    EXPECT_EQ(wide, *constant);
    EXPECT_EQ(static_cast<wchar_t const*>(constant), wide);
    unsigned char const* form = string;
    EXPECT_EQ(static_cast<unsigned char const*>(constant), form);
    bool const defined = string;
    EXPECT_TRUE(defined);
    EXPECT_TRUE(constant);
    EXPECT_EQ(std::wstring(string), L"conversion");
    EXPECT_EQ(std::wcslen(constant), 10U);
}

TEST(PoolStringAccess, GivesTextSizesAndHashesOfTheRecord)
{
    wchar_t const text[] = {L'V', L'a', L'l', 0xFC, 0x20AC, support::high_twin, 0};
    CPPoolString const string(text);
    EXPECT_STREQ(*string, text);
    EXPECT_EQ(static_cast<wchar_t const*>(string), *string);
    EXPECT_EQ(string.len(), 6U);
    EXPECT_EQ(string.UTF8Size(), 3U + 2U + 3U + 4U);
    EXPECT_EQ(string.sHash(), support::evaluated(text).sHash);
    EXPECT_EQ(string.sHashi(), support::evaluated(text).sHashi);
    EXPECT_NE(string.sHash(), string.sHashi());
}

TEST(PoolStringAccess, OfTheConstants)
{
    EXPECT_STREQ(*CPPoolString::pnull, L"");
    EXPECT_EQ(CPPoolString::pnull.sHash(), ULONG_MAX);
    EXPECT_EQ(CPPoolString::pnull.sHashi(), ULONG_MAX);
    EXPECT_STREQ(*CPPoolString::pempty, L"");
    EXPECT_EQ(CPPoolString::pempty.sHash(), 0U);
    EXPECT_EQ(CPPoolString::pempty.sHashi(), 0U);
    EXPECT_EQ(CPPoolString::ptrue.len(), 4U);
    EXPECT_EQ(CPPoolString::pfalse.UTF8Size(), 5U);
}

TEST(PoolStringFree, DropsTheRecordAndBecomesNull)
{
    CPPoolString const other(L"value to free");
    unsigned int const count = other.lockcnt();
    CPPoolString string = other;
    string.free();
    EXPECT_TRUE(string.isnull());
    EXPECT_NE(string.get_ptr(), nullptr);
    EXPECT_EQ(other.lockcnt(), count);
    string.free();
    EXPECT_TRUE(string.isnull());
    CPPoolString constant(true);
    constant.free();
    EXPECT_TRUE(constant.isnull());
    CPPoolString empty(L"");
    empty.free();
    EXPECT_TRUE(empty.isnull());
}

TEST(PoolStringTransfer, TakesTheRecordWithoutCounting)
{
    CPPoolString const old(L"value before transfer");
    unsigned int const old_count = old.lockcnt();
    CPPoolString target = old;
    CPPoolString source(L"value transferred");
    unsigned int const count = source.lockcnt();
    void const* const record = source.get_cptr();
    target.TransferFrom(source);
    EXPECT_EQ(target.get_cptr(), record);
    EXPECT_EQ(target.lockcnt(), count);
    EXPECT_TRUE(source.isnull());
    EXPECT_NE(source.get_ptr(), nullptr);
    EXPECT_EQ(old.lockcnt(), old_count);
}

TEST(PoolStringTransfer, OfTheSameRecordReleasesOneReference)
{
    CPPoolString target(L"value transferred twice");
    CPPoolString source = target;
    unsigned int const count = target.lockcnt();
    target.TransferFrom(source);
    EXPECT_TRUE(source.isnull());
    EXPECT_EQ(target.lockcnt(), count - 1);
    EXPECT_STREQ(*target, L"value transferred twice");
}

TEST(PoolStringTransfer, OfNullAndOfConstants)
{
    CPPoolString target(L"value replaced");
    CPPoolString source;
    target.TransferFrom(source);
    EXPECT_TRUE(target.isnull());
    EXPECT_TRUE(source.isnull());
    source = true;
    target.TransferFrom(source);
    EXPECT_TRUE(target == CPPoolString::ptrue);
    EXPECT_TRUE(source.isnull());
}

TEST(PoolStringTransfer, FromItselfChangesNothing)
{
    CPPoolString string(L"value from itself");
    unsigned int const count = string.lockcnt();
    string.TransferFrom(string);
    EXPECT_STREQ(*string, L"value from itself");
    EXPECT_EQ(string.lockcnt(), count);
}

TEST(PoolStringUtf8, IsMadeOnceAndKept)
{
    wchar_t const text[] = {L'f', L'o', L'r', L'm', 0xFC, 0x20AC, support::high_twin, 0};
    CPPoolString const string(text);
    EXPECT_EQ(owned_by(string), nullptr);
    unsigned char const* form = nullptr;
    {
        AllocationFailure const counted(0);
        form = string;
        EXPECT_EQ(counted.attempts(), 1U);
        EXPECT_EQ(counted.last_size(), string.UTF8Size() + 1);
        CPPoolString const copy = string;
        EXPECT_EQ(form_of(copy), form);
        EXPECT_EQ(form_of(string), form);
        EXPECT_EQ(counted.attempts(), 1U);
    }
    EXPECT_EQ(owned_by(string), form);
    EXPECT_EQ(narrow(string), "form\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80");
}

TEST(PoolStringUtf8, OfTheConstantsIsCachedOnTheirRecords)
{
    EXPECT_EQ(narrow(CPPoolString::pnull), "");
    EXPECT_EQ(narrow(CPPoolString::pempty), "");
    EXPECT_EQ(narrow(CPPoolString::ptrue), "true");
    EXPECT_EQ(narrow(CPPoolString::pfalse), "false");
    EXPECT_EQ(form_of(CPPoolString::ptrue), Constants::true_record.record.pOwned);
    EXPECT_EQ(form_of(CPPoolString(true)), form_of(CPPoolString::ptrue));
    EXPECT_EQ(form_of(CPPoolString::pnull), Constants::null_record.record.pOwned);
    EXPECT_NE(Constants::empty_record.record.pOwned, nullptr);
}

TEST(PoolStringUtf8, WithoutMemoryIsEmptyAndIsTriedAgain)
{
    CPPoolString const string(L"form without memory");
    {
        AllocationFailure const failure(1);
        EXPECT_EQ(narrow(string), "");
        EXPECT_EQ(failure.failures(), 1U);
    }
    EXPECT_EQ(owned_by(string), nullptr);
    EXPECT_EQ(narrow(string), "form without memory");
}

// What another thread may do between the look at the record and the publication, done there by this one.
TEST(PoolStringUtf8, MadeTwiceAtOnceIsTheOneThatWasPublishedFirst)
{
    CPPoolString const string(L"form made twice at once");
    unsigned char const* first = nullptr;
    unsigned char const* second = nullptr;
    {
        AllocationFailure const meanwhile(
            [&](unsigned long)
            {
                support::AllocationPause const pause;
                first = form_of(string);
                return false;
            });
        second = form_of(string);
        EXPECT_EQ(meanwhile.attempts(), 1U);
    }
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(second, first);
    EXPECT_EQ(owned_by(string), first);
    EXPECT_EQ(narrow(string), "form made twice at once");
}

TEST(PoolStringUtf8, OfTextThatHasNoSuchFormIsEmpty)
{
    wchar_t const too_high[] = {L'a', static_cast<wchar_t>(0x110000), L'b', 0};
    CPPoolString const string(too_high);
    EXPECT_EQ(narrow(string), "");
    EXPECT_EQ(owned_by(string), nullptr);
    // At the end they take no place, and the form is that of the text before.
    wchar_t const too_high_at_the_end[] = {L'a', static_cast<wchar_t>(0x110000), static_cast<wchar_t>(0x110001), 0};
    CPPoolString const ending(too_high_at_the_end);
    EXPECT_EQ(ending.len(), 3U);
    EXPECT_EQ(narrow(ending), "a");
    EXPECT_EQ(owned_by(ending), form_of(ending));
    CPPoolString const alone(too_high_at_the_end + 1);
    EXPECT_EQ(alone.UTF8Size(), 0U);
    EXPECT_EQ(narrow(alone), "");
    EXPECT_EQ(owned_by(alone), form_of(alone));
    // An overlong form counts with the bytes that it came with.
    CPPoolString const overlong(utf8("form \xC1\x81 overlong"));
    EXPECT_STREQ(*overlong, L"form A overlong");
    EXPECT_EQ(overlong.UTF8Size(), 16U);
    EXPECT_EQ(narrow(overlong), "");
    EXPECT_EQ(owned_by(overlong), nullptr);
    // A zero that was written as an overlong form ends the conversion.
    CPPoolString const with_a_zero(utf8("form \xC0\x80 with a zero"));
    EXPECT_EQ(with_a_zero.len(), 18U);
    EXPECT_EQ(narrow(with_a_zero), "");
}

TEST(PoolStringUtf8, OfSurrogatesAndOfTheHighestCharacter)
{
    wchar_t const text[] = {0xD800, static_cast<wchar_t>(0x10FFFF), 0};
    EXPECT_TRUE(can_hold_form(text));
    EXPECT_EQ(narrow(CPPoolString(text)), "\xED\xA0\x80\xF4\x8F\xBF\xBF");
}

TEST(PoolStringUtf8, LivesAsLongAsTheString)
{
    CPPoolString string(L"form that lives");
    unsigned char const* const form = string;
    for (int visit = 0; visit < 3; ++visit)
        ASSERT_EQ(CStringPool::Collect(no_limit), 1U);
    EXPECT_EQ(form_of(string), form);
    EXPECT_EQ(narrow(string), "form that lives");
    tagSTRINGPOOLRECORD const* const record = &*static_cast<_cppoolstring const&>(string);
    string.free();
    ASSERT_EQ(CStringPool::Collect(no_limit), 1U);
    EXPECT_EQ(record->pOwned, nullptr);
    string = L"form that lives";
    EXPECT_EQ(&*static_cast<_cppoolstring const&>(string), record);
    EXPECT_EQ(narrow(string), "form that lives");
}

TEST(PoolStringVerify, OfGoodStringsIsOne)
{
    LogRecorder recorder;
    EXPECT_EQ(CPPoolString().Verify(), 1U);
    EXPECT_EQ(CPPoolString::pempty.Verify(), 1U);
    EXPECT_EQ(CPPoolString::ptrue.Verify(), 1U);
    EXPECT_EQ(CPPoolString::pfalse.Verify(), 1U);
    EXPECT_EQ(CPPoolString(L"verified value").Verify(), 1U);
    EXPECT_EQ(freed_handle().Verify(), 1U);
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(PoolStringVerify, ReportsAChangedRecord)
{
    LogRecorder recorder;
    LogMessages const reported = {support::illegal_point("String pool integrity violation")};
    _cppoolstring const handle = unpooled(L"verified");
    CPPoolString const string(handle);
    tagSTRINGBASICINFO const good = handle->info;
    for (unsigned long tagSTRINGBASICINFO::*const field :
         {&tagSTRINGBASICINFO::len, &tagSTRINGBASICINFO::sHash, &tagSTRINGBASICINFO::sHashi})
    {
        handle->info = good;
        handle->info.*field += 1;
        EXPECT_EQ(string.Verify(), 0U);
        EXPECT_EQ(recorder.take(), reported);
    }
    handle->info = good;
    const_cast<wchar_t*>(handle->pData)[3] = L'X';
    EXPECT_EQ(string.Verify(), 0U);
    EXPECT_EQ(recorder.take(), reported);
    const_cast<wchar_t*>(handle->pData)[3] = L'i';
    handle->info.utf8Size += 1;
    EXPECT_EQ(string.Verify(), 1U);
    EXPECT_EQ(recorder.count(), 0U);
}

// Kept behaviour: the evaluation ends at the first 0 of the text.

TEST(PoolStringVerify, ReachesOnlyTheFirstZeroOfTheText)
{
    LogRecorder recorder;
    CPPoolString const string(unpooled(L"front"));
    EXPECT_EQ(string.Verify(), 1U);
    _cppoolstring with_a_zero;
    tagSTRINGBASICINFO info = support::evaluated(L"front");
    info.len = 10;
    with_a_zero.create(info, L"front\0back");
    EXPECT_EQ(CPPoolString(with_a_zero).Verify(), 0U);
    EXPECT_EQ(recorder.take(), LogMessages{support::illegal_point("String pool integrity violation")});
    with_a_zero->info.len = 5;
    EXPECT_EQ(CPPoolString(with_a_zero).Verify(), 1U);
}

TEST(PoolStringVector, HoldsStringsByTheirCounts)
{
    CPPoolString const string(L"value in a vector");
    unsigned int const count = string.lockcnt();
    {
        ORVA::Buffers::CPObjectVector<CPPoolString> vector;
        for (unsigned int index = 0; index < 40; ++index)
            ASSERT_EQ(vector.Insert(string, 0), 1);
        EXPECT_EQ(string.lockcnt(), count + 40);
        EXPECT_TRUE(vector[39] == string);
    }
    EXPECT_EQ(string.lockcnt(), count);
}
