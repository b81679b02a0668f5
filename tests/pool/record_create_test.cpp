#include "ORVA/String/Record.h"

#include "support/AllocationFailure.h"
#include "support/LogRecorder.h"
#include "support/PoolSubmitters.h"
#include "support/PoolTexts.h"

#include <gtest/gtest.h>

#include <climits>
#include <cwchar>
#include <stdexcept>
#include <string>

namespace
{

using namespace ORVA::String;
using support::AllocationFailure;
using support::is_null;
using support::LogMessages;
using support::LogRecorder;
using support::SubmitterProbe;
using support::unpooled;
using support::utf16;
using support::utf8;

constexpr char const* no_length = "_cppoolstring::create: String length cannot be 0";
constexpr char const* no_submitted_length = "_cppoolstring::create [submitter]: String length cannot be 0";

void expect_info(_cppoolstring const& string, tagSTRINGBASICINFO const& info)
{
    EXPECT_EQ(string->info.len, info.len);
    EXPECT_EQ(string->info.utf8Size, info.utf8Size);
    EXPECT_EQ(string->info.sHash, info.sHash);
    EXPECT_EQ(string->info.sHashi, info.sHashi);
}

// A new record of `length` characters, its text directly behind it.
void expect_new_block(_cppoolstring const& string, unsigned long length)
{
    EXPECT_EQ(string.lockcnt(), 1U);
    EXPECT_EQ(string.GetTypeID(), &poolstring_vtbl);
    EXPECT_EQ(string.GetSize(), 56 + (length + 1) * sizeof(wchar_t));
    EXPECT_EQ(string.GetAllocSize(), 56 + (length + 1) * sizeof(wchar_t));
    EXPECT_EQ(string->age, 0U);
    EXPECT_EQ(string->pOwned, nullptr);
    EXPECT_EQ(static_cast<void const*>(string->pData), static_cast<void const*>(&*string + 1));
    EXPECT_EQ(string->pData[length], 0);
}

std::wstring characters(_cppoolstring const& string, unsigned long length)
{
    return std::wstring(string->pData, length);
}

// Calls create in each form with an `info` that is to be refused.
template <class Check>
void for_each_form(tagSTRINGBASICINFO const& info, Check check)
{
    _cppoolstring string = unpooled(L"as it was");
    check(string, string.create(info, L"text"));
    check(string, string.create(info, utf8("text")));
    check(string, string.create(info, utf16(u"text")));
}

} // namespace

TEST(RecordCreate, CopiesWideText)
{
    wchar_t source[] = L"Some wide text of more than ten characters";
    tagSTRINGBASICINFO const info = support::evaluated(source);
    _cppoolstring string;
    ASSERT_EQ(string.create(info, source), 1U);
    expect_new_block(string, info.len);
    expect_info(string, info);
    std::wmemset(source, L'x', 10);
    EXPECT_STREQ(string->pData, L"Some wide text of more than ten characters");
}

TEST(RecordCreate, TakesItsInformationAsGiven)
{
    tagSTRINGBASICINFO const info = {3, 11, 22, 33};
    _cppoolstring string;
    ASSERT_EQ(string.create(info, L"abcdef"), 1U);
    expect_new_block(string, 3);
    expect_info(string, info);
    EXPECT_STREQ(string->pData, L"abc");
}

TEST(RecordCreate, CopiesCharactersBehindAZero)
{
    _cppoolstring string;
    ASSERT_EQ(string.create({5, 5, 1, 2}, L"a\0b\0c"), 1U);
    EXPECT_EQ(characters(string, 5), std::wstring(L"a\0b\0c", 5));
}

TEST(RecordCreate, DecodesAllOfUtf8)
{
    wchar_t const text[] = {L'0', L'1', L'2', L'3', L'4', L'5', 0xE4, L'7', 0x20AC, L'9', support::high_twin, L'x', 0};
    tagSTRINGBASICINFO const info = support::evaluated(text);
    _cppoolstring string;
    ASSERT_EQ(string.create(info, utf8("012345\xC3\xA4"
                                       "7\xE2\x82\xAC"
                                       "9\xF0\x9F\x98\x80x and what is behind the length")),
              1U);
    expect_new_block(string, 12);
    expect_info(string, info);
    EXPECT_STREQ(string->pData, text);
}

TEST(RecordCreate, DecodesAllOfUtf16)
{
    wchar_t const text[] = {L'0', L'1', L'2', L'3', L'4', L'5', 0xE4, L'7', 0x20AC, L'9', 1, L'x', 0};
    tagSTRINGBASICINFO const info = support::evaluated(text);
    _cppoolstring string;
    ASSERT_EQ(string.create(info, utf16(u"012345\xE4"
                                        u"7\x20AC"
                                        u"9\xD83D\xDE00"
                                        u"x and more")),
              1U);
    expect_new_block(string, 12);
    expect_info(string, info);
    EXPECT_STREQ(string->pData, text);
}

TEST(RecordCreate, FromNothingLeavesAnEmptyTextUnderTheInformation)
{
    tagSTRINGBASICINFO const info = {6, 7, 8, 9};
    _cppoolstring wide;
    ASSERT_EQ(wide.create(info, static_cast<wchar_t const*>(nullptr)), 1U);
    _cppoolstring narrow;
    ASSERT_EQ(narrow.create(info, static_cast<unsigned char const*>(nullptr)), 1U);
    _cppoolstring half;
    ASSERT_EQ(half.create(info, static_cast<unsigned short const*>(nullptr)), 1U);
    for (_cppoolstring const* string : {&wide, &narrow, &half})
    {
        expect_new_block(*string, 6);
        expect_info(*string, info);
        EXPECT_STREQ((*string)->pData, L"");
    }
}

TEST(RecordCreate, RefusesALengthOfZeroWithAReport)
{
    LogRecorder recorder;
    for_each_form({0, 0, 0, 0},
                  [&](_cppoolstring const& string, unsigned int result)
                  {
                      EXPECT_EQ(result, 0U);
                      EXPECT_EQ(recorder.take(), LogMessages{support::illegal_point(no_length)});
                      EXPECT_STREQ(string->pData, L"as it was");
                      EXPECT_EQ(string.lockcnt(), 1U);
                  });
}

TEST(RecordCreate, WithoutMemoryLeavesTheHandleAsItWas)
{
    LogRecorder recorder;
    _cppoolstring string = unpooled(L"as it was");
    tagSTRINGBASICINFO const info = support::evaluated(L"text");
    SubmitterProbe submitter(L"text");
    {
        AllocationFailure const scope(1, AllocationFailure::forever);
        EXPECT_EQ(string.create(info, L"text"), 0U);
        EXPECT_EQ(string.create(info, utf8("text")), 0U);
        EXPECT_EQ(string.create(info, utf16(u"text")), 0U);
        EXPECT_EQ(string.create(&submitter), 0U);
        EXPECT_EQ(scope.failures(), 4U);
        EXPECT_EQ(scope.last_size(), 32U + 56U + 5 * sizeof(wchar_t));
    }
    EXPECT_STREQ(string->pData, L"as it was");
    EXPECT_EQ(string.lockcnt(), 1U);
    EXPECT_EQ(submitter.text_calls, 0U);
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(RecordCreate, NeverAsksForLessMemoryThanALengthNeeds)
{
    LogRecorder recorder;
    _cppoolstring string = unpooled(L"as it was");
    unsigned long const most = (ULONG_MAX - 32 - 56) / sizeof(wchar_t) - 1;
    for (unsigned long const length : {ULONG_MAX, ULONG_MAX - 1, ULONG_MAX / 2, ULONG_MAX / 4, ULONG_MAX / 4 - 13,
                                       ULONG_MAX / 4 - 14, ULONG_MAX / 4 - 15, most + 2, most + 1, most, most - 1})
    {
        tagSTRINGBASICINFO const info = {length, 4, 1, 1};
        SubmitterProbe submitter({length}, L"text");
        AllocationFailure const failure(1, AllocationFailure::forever);
        EXPECT_EQ(string.create(info, L"text"), 0U);
        EXPECT_EQ(string.create(info, utf8("text")), 0U);
        EXPECT_EQ(string.create(info, utf16(u"text")), 0U);
        EXPECT_EQ(string.create(&submitter), 0U);
        EXPECT_EQ(submitter.text_calls, 0U);
        // A size that does not fit into its type is not asked for at all.
        EXPECT_EQ(failure.attempts(), length > most ? 0U : 4U) << length;
        EXPECT_EQ(failure.last_size(), length > most ? 0UL : 32 + 56 + (length + 1) * sizeof(wchar_t));
    }
    EXPECT_STREQ(string->pData, L"as it was");
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(RecordCreate, ReplacesTheRecordHeldAndMayReadFromIt)
{
    _cppoolstring string = unpooled(L"held before");
    _cppoolstring const old = string;
    ASSERT_EQ(string.create(string->info, string->pData), 1U);
    EXPECT_EQ(old.lockcnt(), 1U);
    expect_new_block(string, 11);
    EXPECT_STREQ(string->pData, L"held before");

    _cppoolstring last = unpooled(L"held only here");
    ASSERT_EQ(last.create(last->info, last->pData), 1U);
    EXPECT_STREQ(last->pData, L"held only here");
}

TEST(RecordCreateSubmitted, EvaluatesWhatTheSubmitterWrote)
{
    SubmitterProbe submitter(L"Submitted Text, longer than ten");
    _cppoolstring string;
    ASSERT_EQ(string.create(&submitter), 1U);
    EXPECT_EQ(submitter.length_calls, 1U);
    EXPECT_EQ(submitter.text_calls, 1U);
    expect_new_block(string, 31);
    expect_info(string, support::evaluated(L"Submitted Text, longer than ten"));
    EXPECT_STREQ(string->pData, L"Submitted Text, longer than ten");
}

TEST(RecordCreateSubmitted, RefusesALengthOfZeroWithAReport)
{
    LogRecorder recorder;
    SubmitterProbe submitter({0}, L"");
    _cppoolstring string = unpooled(L"as it was");
    EXPECT_EQ(string.create(&submitter), 0U);
    EXPECT_EQ(recorder.take(), LogMessages{support::illegal_point(no_submitted_length)});
    EXPECT_EQ(submitter.text_calls, 0U);
    EXPECT_STREQ(string->pData, L"as it was");
}

TEST(RecordCreateSubmitted, FailsWithTheSubmitter)
{
    LogRecorder recorder;
    SubmitterProbe submitter(L"text");
    submitter.result = 0;
    _cppoolstring string = unpooled(L"as it was");
    EXPECT_EQ(string.create(&submitter), 0U);
    EXPECT_EQ(submitter.text_calls, 1U);
    EXPECT_STREQ(string->pData, L"as it was");
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(RecordCreateSubmitted, TakesAnyResultButZeroForSuccess)
{
    SubmitterProbe submitter(L"text");
    submitter.result = 0x80000000U;
    _cppoolstring string;
    EXPECT_EQ(string.create(&submitter), 1U);
    EXPECT_STREQ(string->pData, L"text");
}

TEST(RecordCreateSubmitted, LetsAnExceptionPassAndLosesNothing)
{
    SubmitterProbe submitter(L"text");
    submitter.on_write = [](wchar_t*) { throw std::runtime_error("submitter"); };
    _cppoolstring string = unpooled(L"as it was");
    EXPECT_THROW(string.create(&submitter), std::runtime_error);
    EXPECT_STREQ(string->pData, L"as it was");
    EXPECT_EQ(string.lockcnt(), 1U);
}

TEST(RecordCreateSubmitted, HandsOverABufferOfZeros)
{
    SubmitterProbe submitter({20}, L"");
    std::wstring seen;
    submitter.on_write = [&](wchar_t* buffer) { seen.assign(buffer, 21); };
    _cppoolstring string;
    string.create(&submitter);
    EXPECT_EQ(seen, std::wstring(21, L'\0'));
}

TEST(RecordCreateSubmitted, TextEndsAtItsFirstZero)
{
    SubmitterProbe too_short({30}, L"short");
    _cppoolstring string;
    ASSERT_EQ(string.create(&too_short), 1U);
    expect_new_block(string, 30);
    expect_info(string, support::evaluated(L"short"));
    EXPECT_STREQ(string->pData, L"short");

    SubmitterProbe with_a_zero(std::wstring(L"front\0back", 10));
    ASSERT_EQ(string.create(&with_a_zero), 1U);
    expect_new_block(string, 10);
    expect_info(string, support::evaluated(L"front"));
    EXPECT_EQ(characters(string, 10), std::wstring(L"front\0back", 10));
}

TEST(RecordCreateSubmitted, TextThatStaysEmptyMakesAnOrdinaryRecord)
{
    SubmitterProbe submitter({4}, L"");
    _cppoolstring string;
    ASSERT_EQ(string.create(&submitter), 1U);
    expect_new_block(string, 4);
    expect_info(string, {0, 0, 0, 0});
}

TEST(RecordCreateSubmitted, TerminatorIsThePools)
{
    SubmitterProbe submitter({4}, L"text!");
    _cppoolstring string;
    ASSERT_EQ(string.create(&submitter), 1U);
    expect_info(string, support::evaluated(L"text"));
    EXPECT_STREQ(string->pData, L"text");
}
