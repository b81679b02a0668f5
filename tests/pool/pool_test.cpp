#include "ORVA/String/Pool.h"

#include "cstringpool/globals.h"
#include "support/AllocationFailure.h"
#include "support/LogRecorder.h"
#include "support/PoolSubmitters.h"
#include "support/PoolTexts.h"
#include "support/TableFaults.h"
#include "support/ThreadPriorityOverride.h"

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <cstdlib>
#include <future>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using namespace ORVA::String;
using support::AllocationFailure;
using support::chain_of;
using support::is_empty;
using support::is_null;
using support::LogMessages;
using support::LogRecorder;
using support::SubmitterProbe;
using support::TableFault;
using support::TableOperation;
using support::text_of;
using support::utf16;
using support::utf8;
using Texts = std::vector<std::wstring>;

constexpr unsigned long all_ones = ULONG_MAX;
constexpr unsigned int no_limit = 0xFFFFFFFFU;
constexpr char const* no_length = "_cppoolstring::create: String length cannot be 0";
constexpr char const* no_submitted_length = "_cppoolstring::create [submitter]: String length cannot be 0";

// A text of ASCII characters in all encodings.
struct Source
{
    explicit Source(std::wstring const& text)
        : wide(text), narrow(text.begin(), text.end()), half(text.begin(), text.end())
    {
    }

    std::wstring wide;
    std::basic_string<unsigned char> narrow;
    std::basic_string<unsigned short> half;
};

wchar_t const* wide_of(Source const* source)
{
    return source == nullptr ? nullptr : source->wide.c_str();
}

unsigned char const* narrow_of(Source const* source)
{
    return source == nullptr ? nullptr : source->narrow.c_str();
}

unsigned short const* half_of(Source const* source)
{
    return source == nullptr ? nullptr : source->half.c_str();
}

// One member of the family of look-ups. A null source stands for a null pointer; a member without a bound ignores it.
struct Member
{
    char const* name;
    bool makes;
    bool folds;
    bool is_bounded;
    _cppoolstring (*look_up)(Source const* source, unsigned long length);
};

void PrintTo(Member const& member, std::ostream* stream)
{
    *stream << member.name;
}

Member const family[] = {
    {"GetStringRef, wide", true, false, false,
     [](Source const* source, unsigned long) { return CStringPool::GetStringRef(wide_of(source)); }},
    {"GetStringRef, UTF-8", true, false, false,
     [](Source const* source, unsigned long) { return CStringPool::GetStringRef(narrow_of(source)); }},
    {"GetStringRefn, wide", true, false, true,
     [](Source const* source, unsigned long length) { return CStringPool::GetStringRefn(wide_of(source), length); }},
    {"GetStringRefn, UTF-8", true, false, true,
     [](Source const* source, unsigned long length) { return CStringPool::GetStringRefn(narrow_of(source), length); }},
    {"GetStringRefn, UTF-16", true, false, true,
     [](Source const* source, unsigned long length) { return CStringPool::GetStringRefn(half_of(source), length); }},
    {"GetStringRefi, wide", true, true, false,
     [](Source const* source, unsigned long) { return CStringPool::GetStringRefi(wide_of(source)); }},
    {"GetStringRefi, UTF-8", true, true, false,
     [](Source const* source, unsigned long) { return CStringPool::GetStringRefi(narrow_of(source)); }},
    {"GetStringRefni, wide", true, true, true,
     [](Source const* source, unsigned long length) { return CStringPool::GetStringRefni(wide_of(source), length); }},
    {"GetStringRefni, UTF-8", true, true, true,
     [](Source const* source, unsigned long length) { return CStringPool::GetStringRefni(narrow_of(source), length); }},
    {"QueryStringRef, wide", false, false, false,
     [](Source const* source, unsigned long) { return CStringPool::QueryStringRef(wide_of(source)); }},
    {"QueryStringRef, UTF-8", false, false, false,
     [](Source const* source, unsigned long) { return CStringPool::QueryStringRef(narrow_of(source)); }},
    {"QueryStringRefn, wide", false, false, true,
     [](Source const* source, unsigned long length) { return CStringPool::QueryStringRefn(wide_of(source), length); }},
    {"QueryStringRefn, UTF-8", false, false, true,
     [](Source const* source, unsigned long length)
     { return CStringPool::QueryStringRefn(narrow_of(source), length); }},
    {"QueryStringRefi, wide", false, true, false,
     [](Source const* source, unsigned long) { return CStringPool::QueryStringRefi(wide_of(source)); }},
    {"QueryStringRefi, UTF-8", false, true, false,
     [](Source const* source, unsigned long) { return CStringPool::QueryStringRefi(narrow_of(source)); }},
    {"QueryStringRefni, wide", false, true, true,
     [](Source const* source, unsigned long length) { return CStringPool::QueryStringRefni(wide_of(source), length); }},
    {"QueryStringRefni, UTF-8", false, true, true,
     [](Source const* source, unsigned long length)
     { return CStringPool::QueryStringRefni(narrow_of(source), length); }},
};

// A name that no other test has, and no other member.
std::wstring name(char const* test)
{
    static unsigned int serial = 0;
    std::string const narrow(test);
    return L"pool test " + std::wstring(narrow.begin(), narrow.end()) + L" " + std::to_wstring(++serial);
}

bool is_pooled(std::wstring const& text)
{
    // A look-up resets the age, so this looks into the tables.
    staticStringRecord key(text.c_str());
    _cppoolstring handle(key);
    return !is_null(g_sensitive_table.Find(handle));
}

void collect_all()
{
    ASSERT_EQ(CStringPool::Collect(no_limit), 1U);
}

bool lock_is_free()
{
    return std::async(std::launch::async,
                      []
                      {
                          bool const entered = g_pool_lock.TryEnter(0);
                          if (entered)
                              g_pool_lock.Leave();
                          return entered;
                      })
        .get();
}

class PoolFamily : public testing::TestWithParam<Member>
{
};

INSTANTIATE_TEST_SUITE_P(Members, PoolFamily, testing::ValuesIn(family));

} // namespace

TEST_P(PoolFamily, NullSourceGivesTheNullString)
{
    LogRecorder recorder;
    for (unsigned long const length : {0UL, 5UL, all_ones})
        EXPECT_TRUE(is_null(GetParam().look_up(nullptr, length)));
    EXPECT_EQ(recorder.count(), 0U);
}

TEST_P(PoolFamily, EmptySourceGivesTheEmptyString)
{
    LogRecorder recorder;
    Source const source(L"");
    for (unsigned long const length : {0UL, 5UL, all_ones})
        EXPECT_TRUE(is_empty(GetParam().look_up(&source, length)));
    EXPECT_EQ(recorder.count(), 0U);
}

TEST_P(PoolFamily, ConstantsNeedNoLock)
{
    g_pool_lock.Enter();
    std::future<bool> done =
        std::async(std::launch::async,
                   []
                   {
                       Source const empty(L"");
                       return is_null(GetParam().look_up(nullptr, 3)) && is_empty(GetParam().look_up(&empty, 3));
                   });
    bool const returned = done.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
    g_pool_lock.Leave();
    EXPECT_TRUE(returned);
    EXPECT_TRUE(done.get());
}

TEST_P(PoolFamily, TextIsLookedUpUnderTheLock)
{
    Source const source(name("locked"));
    g_pool_lock.Enter();
    std::promise<void> started;
    std::future<_cppoolstring> found = std::async(std::launch::async,
                                                  [&]
                                                  {
                                                      started.set_value();
                                                      return GetParam().look_up(&source, source.wide.size());
                                                  });
    started.get_future().wait();
    EXPECT_EQ(found.wait_for(std::chrono::milliseconds(5)), std::future_status::timeout);
    EXPECT_FALSE(is_pooled(source.wide));
    g_pool_lock.Leave();
    EXPECT_EQ(text_of(found.get()), GetParam().makes ? source.wide : L"");
}

TEST_P(PoolFamily, FindsTheOneRecordOfAText)
{
    Source const source(name("found, and of more than ten characters"));
    _cppoolstring const string = CStringPool::GetStringRef(source.wide.c_str());
    EXPECT_TRUE(GetParam().look_up(&source, source.wide.size()) == string);
    EXPECT_TRUE(GetParam().look_up(&source, source.wide.size() + 10) == string);
    EXPECT_EQ(string.lockcnt(), 3U); // two in the tables, and this one
}

TEST_P(PoolFamily, UnknownTextIsMadeOrNot)
{
    LogRecorder recorder;
    Source const source(name("unknown text"));
    unsigned long const size = CStringPool::GetSize();
    _cppoolstring const string = GetParam().look_up(&source, source.wide.size());
    if (GetParam().makes)
    {
        EXPECT_EQ(text_of(string), source.wide);
        EXPECT_EQ(string->age, 0U);
        EXPECT_EQ(string.lockcnt(), 3U);
        EXPECT_EQ(string->info.len, source.wide.size());
        EXPECT_EQ(string->info.utf8Size, source.wide.size());
        EXPECT_EQ(string->info.sHash, support::evaluated(source.wide.c_str()).sHash);
        EXPECT_EQ(string->info.sHashi, support::evaluated(source.wide.c_str()).sHashi);
        EXPECT_EQ(string->pOwned, nullptr);
        EXPECT_TRUE(CStringPool::QueryStringRef(source.wide.c_str()) == string);
        EXPECT_TRUE(CStringPool::QueryStringRefi(source.wide.c_str()) == string);
        EXPECT_EQ(CStringPool::GetSize(), size + 56 + (source.wide.size() + 1) * sizeof(wchar_t));
    }
    else
    {
        EXPECT_TRUE(is_null(string));
        EXPECT_FALSE(is_pooled(source.wide));
        EXPECT_EQ(CStringPool::GetSize(), size);
    }
    EXPECT_EQ(recorder.count(), 0U);
}

TEST_P(PoolFamily, SpellingMattersOrNot)
{
    std::wstring const text = name("spelling");
    std::wstring capitals = text;
    for (wchar_t& character : capitals)
        character = character >= L'a' && character <= L'z' ? character - L'a' + L'A' : character;
    Source const source(capitals);
    _cppoolstring const pooled = CStringPool::GetStringRef(text.c_str());
    _cppoolstring const found = GetParam().look_up(&source, capitals.size());
    if (GetParam().folds)
    {
        EXPECT_TRUE(found == pooled);
        EXPECT_FALSE(is_pooled(capitals));
    }
    else
    {
        EXPECT_EQ(text_of(found), GetParam().makes ? capitals : L"");
    }
}

TEST_P(PoolFamily, BoundCutsTheText)
{
    if (!GetParam().is_bounded)
        return;
    std::wstring const text = name("bound");
    Source const source(text + L" and more");
    _cppoolstring const whole = CStringPool::GetStringRef(text.c_str());
    EXPECT_TRUE(GetParam().look_up(&source, text.size()) == whole);
    EXPECT_EQ(text_of(GetParam().look_up(&source, text.size() + 4)), GetParam().makes ? text + L" and" : L"");
}

TEST_P(PoolFamily, LengthThatEvaluatesToNothingGivesTheNullString)
{
    if (!GetParam().is_bounded)
        return;
    LogRecorder recorder;
    Source const source(name("no length"));
    unsigned long const size = CStringPool::GetSize();
    for (unsigned long const length : {0UL, all_ones, 0x8000000000000000UL})
    {
        EXPECT_TRUE(is_null(GetParam().look_up(&source, length)));
        EXPECT_EQ(recorder.take(), GetParam().makes ? LogMessages{support::illegal_point(no_length)} : LogMessages{});
    }
    EXPECT_EQ(CStringPool::GetSize(), size);
    EXPECT_TRUE(lock_is_free());
}

TEST_P(PoolFamily, FindResetsTheAge)
{
    Source const source(name("age"));
    tagSTRINGPOOLRECORD const* const record = &*CStringPool::GetStringRef(source.wide.c_str());
    EXPECT_EQ(record->age, 0U);
    collect_all();
    EXPECT_EQ(record->age, 1U);
    EXPECT_EQ(&*GetParam().look_up(&source, source.wide.size()), record);
    EXPECT_EQ(record->age, 0U);
    collect_all();
    EXPECT_EQ(record->age, 1U);
    EXPECT_EQ(&*GetParam().look_up(&source, source.wide.size()), record);
    collect_all();
    EXPECT_TRUE(is_pooled(source.wide));
    collect_all();
    EXPECT_FALSE(is_pooled(source.wide));
}

TEST_P(PoolFamily, WithoutMemoryGetGivesTheNullString)
{
    Source const source(name("no memory"));
    unsigned long const size = CStringPool::GetSize();
    {
        AllocationFailure const failure(1, AllocationFailure::forever);
        EXPECT_TRUE(is_null(GetParam().look_up(&source, source.wide.size())));
    }
    EXPECT_FALSE(is_pooled(source.wide));
    EXPECT_EQ(CStringPool::GetSize(), size);
    EXPECT_EQ(text_of(GetParam().look_up(&source, source.wide.size())), GetParam().makes ? source.wide : L"");
    EXPECT_TRUE(lock_is_free());
}

TEST_P(PoolFamily, ExceptionUnderTheLockIsDropped)
{
    if (!GetParam().makes)
        return;
    Source const source(name("exception"));
    {
        TableFault const fault(TableOperation::add);
        EXPECT_TRUE(is_null(GetParam().look_up(&source, source.wide.size())));
        EXPECT_TRUE(fault.has_thrown());
    }
    EXPECT_TRUE(lock_is_free());
    EXPECT_FALSE(is_pooled(source.wide));
    EXPECT_EQ(text_of(GetParam().look_up(&source, source.wide.size())), source.wide);
    EXPECT_EQ(CStringPool::Verify(), 1U);
}

// The string stands in the table of exact spellings then, and exact look-ups find it.
TEST_P(PoolFamily, ExceptionOfTheSecondTableLeavesTheStringInTheFirst)
{
    if (!GetParam().makes)
        return;
    Source const source(name("second exception"));
    {
        TableFault const fault(TableOperation::add, 2);
        EXPECT_TRUE(is_null(GetParam().look_up(&source, source.wide.size())));
        EXPECT_TRUE(fault.has_thrown());
    }
    EXPECT_TRUE(lock_is_free());
    EXPECT_TRUE(is_pooled(source.wide));
    _cppoolstring const found = CStringPool::QueryStringRef(source.wide.c_str());
    EXPECT_EQ(text_of(found), source.wide);
    EXPECT_TRUE(CStringPool::GetStringRef(source.wide.c_str()) == found);
    EXPECT_TRUE(is_null(CStringPool::QueryStringRefi(source.wide.c_str())));
    EXPECT_EQ(CStringPool::Verify(), 1U);
}

TEST(Pool, TextInEachEncodingIsOneRecord)
{
    wchar_t const wide[] = {L'p', L'o', L'o', L'l', L' ', 0xFC, 0x20AC, L' ', L'e', L'n', L'c', L'o', L'd', L'i', 0};
    _cppoolstring const string = CStringPool::GetStringRef(wide);
    EXPECT_TRUE(CStringPool::GetStringRef(utf8("pool \xC3\xBC\xE2\x82\xAC encodi")) == string);
    EXPECT_TRUE(CStringPool::GetStringRefn(utf8("pool \xC3\xBC\xE2\x82\xAC encoding"), 17) == string);
    EXPECT_TRUE(CStringPool::GetStringRefn(utf16(u"pool \xFC\x20AC encoding"), 14) == string);
    EXPECT_EQ(string->info.utf8Size, 17U);
}

TEST(Pool, TextMadeFromUtf8HasAllCharacters)
{
    _cppoolstring const string = CStringPool::GetStringRef(utf8("pool from UTF-8, \xF0\x9F\x98\x80 and beyond ten"));
    EXPECT_EQ(text_of(string), std::wstring(L"pool from UTF-8, ") + support::high_twin + L" and beyond ten");
}

TEST(Pool, TextMadeFromUtf16TakesPairsForOneCharacter)
{
    char16_t const source[] = u"pool \xD83D\xDE00 from UTF-16 \xD83D\xDE00!";
    _cppoolstring const string = CStringPool::GetStringRefn(utf16(source), sizeof source / 2 - 1);
    EXPECT_EQ(text_of(string), L"pool \x1 from UTF-16 \x1!");
    EXPECT_TRUE(CStringPool::QueryStringRef(L"pool \x1 from UTF-16 \x1!") == string);
}

TEST(Pool, TextThatCannotBeEvaluatedGivesTheNullString)
{
    LogRecorder recorder;
    unsigned long const size = CStringPool::GetSize();
    LogMessages const reported = {support::illegal_point(no_length)};
    unsigned char const* const bad = utf8("pool bad \xFF");
    EXPECT_TRUE(is_null(CStringPool::GetStringRef(bad)));
    EXPECT_EQ(recorder.take(), reported);
    EXPECT_TRUE(is_null(CStringPool::GetStringRefn(bad, 10)));
    EXPECT_EQ(recorder.take(), reported);
    EXPECT_TRUE(is_null(CStringPool::GetStringRefi(bad)));
    EXPECT_EQ(recorder.take(), reported);
    EXPECT_TRUE(is_null(CStringPool::GetStringRefni(bad, 10)));
    EXPECT_EQ(recorder.take(), reported);
    EXPECT_TRUE(is_null(CStringPool::GetStringRefn(utf16(u"pool bad \xDC00"), 10)));
    EXPECT_EQ(recorder.take(), reported);
    EXPECT_TRUE(is_null(CStringPool::GetStringRefn(utf8("pool bad \xC3\xA4"), 10)));
    EXPECT_EQ(recorder.take(), reported);
    EXPECT_TRUE(is_null(CStringPool::QueryStringRef(bad)));
    EXPECT_TRUE(is_null(CStringPool::QueryStringRefn(bad, 10)));
    EXPECT_TRUE(is_null(CStringPool::QueryStringRefi(bad)));
    EXPECT_TRUE(is_null(CStringPool::QueryStringRefni(bad, 10)));
    EXPECT_EQ(recorder.count(), 0U);
    EXPECT_EQ(CStringPool::GetSize(), size);
}

TEST(Pool, BoundOfThreeGivesThreeCharacters)
{
    LogRecorder recorder;
    EXPECT_EQ(text_of(CStringPool::GetStringRefn(L"hello", 3)), L"hel");
    EXPECT_TRUE(is_null(CStringPool::GetStringRefn(L"hello", 0)));
    EXPECT_EQ(recorder.take(), LogMessages{support::illegal_point(no_length)});
}

TEST(Pool, FoldedGetAddsTheSpellingItWasGiven)
{
    _cppoolstring const string = CStringPool::GetStringRefi(L"Pool Folded GET");
    EXPECT_EQ(text_of(string), L"Pool Folded GET");
    EXPECT_TRUE(CStringPool::GetStringRefi(L"pool folded get") == string);
    _cppoolstring const exact = CStringPool::GetStringRef(L"pool folded get");
    EXPECT_TRUE(exact != string);
    EXPECT_EQ(chain_of(g_insensitive_table, L"pool folded get"), (Texts{L"Pool Folded GET", L"pool folded get"}));
    EXPECT_TRUE(CStringPool::GetStringRefi(L"pool folded get") == string);
}

TEST(Pool, TextsOfEqualHashesThatDifferBehindTheTenthCharacterAreOne)
{
    std::wstring const high = std::wstring(L"pool twins") + support::high_twin;
    std::wstring const low = std::wstring(L"pool twins") + support::low_twin;
    _cppoolstring const string = CStringPool::GetStringRef(high.c_str());
    EXPECT_TRUE(CStringPool::GetStringRef(low.c_str()) == string);
    EXPECT_TRUE(CStringPool::QueryStringRef(low.c_str()) == string);
    EXPECT_TRUE(CStringPool::GetStringRefi(low.c_str()) == string);
    EXPECT_EQ(text_of(string), high);
    EXPECT_EQ(CStringPool::Verify(), 1U);
}

TEST(Pool, TextsOfEqualHashesThatDifferBeforeAreTwo)
{
    std::wstring const high = std::wstring(L"pool twin") + support::high_twin;
    std::wstring const low = std::wstring(L"pool twin") + support::low_twin;
    _cppoolstring const string = CStringPool::GetStringRef(high.c_str());
    _cppoolstring const other = CStringPool::GetStringRef(low.c_str());
    EXPECT_TRUE(string != other);
    EXPECT_EQ(text_of(CStringPool::QueryStringRef(high.c_str())), high);
    EXPECT_EQ(text_of(CStringPool::QueryStringRef(low.c_str())), low);
    EXPECT_EQ(text_of(CStringPool::GetStringRefi(high.c_str())), high);
    EXPECT_EQ(text_of(CStringPool::GetStringRefi(low.c_str())), low);
}

TEST(Pool, ConstantsAreNotInTheTables)
{
    _cppoolstring const text = CStringPool::GetStringRef(L"true");
    EXPECT_TRUE(text != CPPoolString::ptrue);
    EXPECT_EQ(text.lockcnt(), 3U);
    EXPECT_TRUE(CStringPool::GetStringRef(L"false") != CPPoolString::pfalse);
}

TEST(Pool, ALookUpOfPooledWideTextAllocatesNothing)
{
    _cppoolstring const string = CStringPool::GetStringRef(L"pool without allocation");
    AllocationFailure const counted(0);
    _cppoolstring const found[] = {CStringPool::GetStringRef(L"pool without allocation"),
                                   CStringPool::GetStringRefi(L"POOL without allocation"),
                                   CStringPool::QueryStringRefn(L"pool without allocation!", 23),
                                   CStringPool::QueryStringRefni(L"POOL without allocation!", 23)};
    EXPECT_EQ(counted.attempts(), 0U);
    for (_cppoolstring const& handle : found)
        EXPECT_TRUE(handle == string);
}

TEST(Pool, AKeyWithoutMemoryStillEndsInTheOneRecord)
{
    _cppoolstring const string = CStringPool::GetStringRef(L"pool key without memory");
    AllocationFailure const failure(1);
    EXPECT_TRUE(CStringPool::GetStringRef(utf8("pool key without memory")) == string);
    EXPECT_EQ(failure.failures(), 1U);
}

TEST(PoolSubmitted, TextIsFoundOrMade)
{
    LogRecorder recorder;
    std::wstring const text = name("submitted");
    SubmitterProbe first(text);
    _cppoolstring const string = CStringPool::GetStringRef(&first);
    EXPECT_EQ(text_of(string), text);
    EXPECT_EQ(string.lockcnt(), 3U);
    EXPECT_EQ(first.length_calls, 2U);
    EXPECT_EQ(first.text_calls, 1U);
    EXPECT_TRUE(CStringPool::QueryStringRef(text.c_str()) == string);

    unsigned long const size = CStringPool::GetSize();
    SubmitterProbe second(text);
    EXPECT_TRUE(CStringPool::GetStringRef(&second) == string);
    EXPECT_EQ(second.length_calls, 2U);
    EXPECT_EQ(second.text_calls, 1U);
    EXPECT_EQ(string.lockcnt(), 3U);
    EXPECT_EQ(CStringPool::GetSize(), size);
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(PoolSubmitted, FindResetsTheAge)
{
    std::wstring const text = name("submitted age");
    SubmitterProbe submitter(text);
    tagSTRINGPOOLRECORD const* const record = &*CStringPool::GetStringRef(&submitter);
    collect_all();
    EXPECT_EQ(record->age, 1U);
    EXPECT_EQ(&*CStringPool::GetStringRef(&submitter), record);
    EXPECT_EQ(record->age, 0U);
}

TEST(PoolSubmitted, LengthOfZeroGivesTheEmptyString)
{
    LogRecorder recorder;
    SubmitterProbe submitter({0}, L"");
    EXPECT_TRUE(is_empty(CStringPool::GetStringRef(&submitter)));
    EXPECT_EQ(submitter.length_calls, 1U);
    EXPECT_EQ(submitter.text_calls, 0U);
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(PoolSubmitted, LengthOfZeroOnlyTheSecondTimeIsReported)
{
    LogRecorder recorder;
    SubmitterProbe submitter({4, 0}, L"");
    EXPECT_TRUE(is_null(CStringPool::GetStringRef(&submitter)));
    EXPECT_EQ(submitter.length_calls, 2U);
    EXPECT_EQ(submitter.text_calls, 0U);
    EXPECT_EQ(recorder.take(), LogMessages{support::illegal_point(no_submitted_length)});
}

TEST(PoolSubmitted, SecondLengthIsTheOneThatCounts)
{
    SubmitterProbe submitter({1, 20}, L"pool second length..");
    _cppoolstring const string = CStringPool::GetStringRef(&submitter);
    EXPECT_EQ(text_of(string), L"pool second length..");
    EXPECT_EQ(string.GetSize(), 56 + 21 * sizeof(wchar_t));
}

TEST(PoolSubmitted, FailureGivesTheNullStringAndAddsNothing)
{
    LogRecorder recorder;
    std::wstring const text = name("failing submitter");
    SubmitterProbe submitter(text);
    submitter.result = 0;
    EXPECT_TRUE(is_null(CStringPool::GetStringRef(&submitter)));
    EXPECT_FALSE(is_pooled(text));
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(PoolSubmitted, ExceptionOfTheSubmitterPasses)
{
    std::wstring const text = name("throwing submitter");
    SubmitterProbe submitter(text);
    submitter.on_write = [](wchar_t*) { throw std::runtime_error("submitter"); };
    EXPECT_THROW(CStringPool::GetStringRef(&submitter), std::runtime_error);
    EXPECT_TRUE(lock_is_free());
    EXPECT_FALSE(is_pooled(text));
}

TEST(PoolSubmitted, ExceptionUnderTheLockIsDropped)
{
    std::wstring const text = name("submitter and table");
    SubmitterProbe submitter(text);
    {
        TableFault const fault(TableOperation::add);
        EXPECT_TRUE(is_null(CStringPool::GetStringRef(&submitter)));
        EXPECT_TRUE(fault.has_thrown());
    }
    EXPECT_TRUE(lock_is_free());
    EXPECT_FALSE(is_pooled(text));
}

TEST(PoolSubmitted, TextIsBuiltOutsideTheLock)
{
    SubmitterProbe submitter(name("outside the lock"));
    bool was_free = false;
    submitter.on_write = [&](wchar_t*) { was_free = lock_is_free(); };
    CStringPool::GetStringRef(&submitter);
    EXPECT_TRUE(was_free);
}

TEST(PoolSubmitted, TextEndsAtItsFirstZero)
{
    std::wstring const text = name("short submitted");
    SubmitterProbe submitter({text.size() + 20}, text);
    _cppoolstring const string = CStringPool::GetStringRef(&submitter);
    EXPECT_EQ(string->info.len, text.size());
    EXPECT_EQ(string.GetSize(), 56 + (text.size() + 21) * sizeof(wchar_t));
    EXPECT_TRUE(CStringPool::QueryStringRef(text.c_str()) == string);
    EXPECT_EQ(CStringPool::Verify(), 1U);
}

TEST(PoolSubmitted, TextThatStaysEmptyIsAnOrdinaryRecord)
{
    LogRecorder recorder;
    SubmitterProbe submitter({3}, L"");
    CPPoolString const string = CStringPool::GetStringRef(&submitter);
    EXPECT_FALSE(string.isempty());
    EXPECT_FALSE(string.isnull());
    EXPECT_TRUE(string.isdef());
    EXPECT_EQ(string.len(), 0U);
    EXPECT_EQ(string.lockcnt(), 3U);
    SubmitterProbe again({3}, L"");
    EXPECT_TRUE(CStringPool::GetStringRef(&again) == string);
    EXPECT_EQ(CStringPool::Verify(), 1U);
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(PoolSubmitted, WithoutMemoryGivesTheNullString)
{
    std::wstring const text = name("submitted without memory");
    SubmitterProbe submitter(text);
    AllocationFailure const failure(1, AllocationFailure::forever);
    EXPECT_TRUE(is_null(CStringPool::GetStringRef(&submitter)));
    EXPECT_EQ(submitter.length_calls, 2U);
    EXPECT_EQ(submitter.text_calls, 0U);
}

TEST(PoolCollection, DisposesOfAStringAtTheSecondVisit)
{
    std::wstring const text = name("collected");
    CStringPool::GetStringRef(text.c_str());
    collect_all();
    EXPECT_TRUE(is_pooled(text));
    collect_all();
    EXPECT_FALSE(is_pooled(text));
    EXPECT_TRUE(is_null(CStringPool::QueryStringRef(text.c_str())));
    EXPECT_TRUE(is_null(CStringPool::QueryStringRefi(text.c_str())));
}

TEST(PoolCollection, KeepsWhatIsHeld)
{
    std::wstring const text = name("held");
    _cppoolstring const string = CStringPool::GetStringRef(text.c_str());
    for (int visit = 0; visit < 4; ++visit)
        collect_all();
    EXPECT_EQ(string->age, 0U);
    EXPECT_TRUE(CStringPool::QueryStringRef(text.c_str()) == string);
}

TEST(PoolCollection, TextMayBePooledAnewAfterwards)
{
    std::wstring const text = name("anew");
    CStringPool::GetStringRef(text.c_str());
    collect_all();
    collect_all();
    _cppoolstring const string = CStringPool::GetStringRef(text.c_str());
    EXPECT_EQ(text_of(string), text);
    EXPECT_EQ(string->age, 0U);
    EXPECT_EQ(CStringPool::Verify(), 1U);
}

TEST(PoolCollection, FreesTheUtf8FormAtTheFirstVisit)
{
    std::wstring const text = name("form");
    CPPoolString string(text.c_str());
    tagSTRINGPOOLRECORD const* const record = &*static_cast<_cppoolstring const&>(string);
    static_cast<void>(static_cast<unsigned char const*>(string));
    EXPECT_NE(record->pOwned, nullptr);
    collect_all();
    EXPECT_NE(record->pOwned, nullptr);
    string.free();
    collect_all();
    EXPECT_EQ(record->pOwned, nullptr);
}

TEST(PoolCollection, DoesNothingOnAThreadOfAnotherPriority)
{
    std::wstring const text = name("priority");
    tagSTRINGPOOLRECORD const* const record = &*CStringPool::GetStringRef(text.c_str());
    for (int const priority : {-2, 1, 0x7FFFFFFF})
    {
        support::ThreadPriorityOverride const other(static_cast<ORVA::Threading::eThreadPriority>(priority));
        EXPECT_EQ(CStringPool::Collect(no_limit), 0U);
        EXPECT_EQ(record->age, 0U);
    }
    // It does not even ask for the lock.
    g_pool_lock.Enter();
    std::future<unsigned int> collected =
        std::async(std::launch::async,
                   []
                   {
                       support::ThreadPriorityOverride const idle(ORVA::Threading::eThreadPriorityIdle);
                       return CStringPool::Collect(no_limit);
                   });
    EXPECT_EQ(collected.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    g_pool_lock.Leave();
    EXPECT_EQ(collected.get(), 0U);
    collect_all();
    EXPECT_EQ(record->age, 1U);
}

TEST(PoolCollection, ExceptionUnderTheLockGivesZero)
{
    TableFault const fault(TableOperation::dispose);
    EXPECT_EQ(CStringPool::Collect(no_limit), 0U);
    EXPECT_TRUE(fault.has_thrown());
    EXPECT_TRUE(lock_is_free());
}

TEST(PoolCollection, WaitsForTheLock)
{
    g_pool_lock.Enter();
    std::future<unsigned int> collected = std::async(std::launch::async, [] { return CStringPool::Collect(no_limit); });
    EXPECT_EQ(collected.wait_for(std::chrono::milliseconds(5)), std::future_status::timeout);
    g_pool_lock.Leave();
    EXPECT_EQ(collected.get(), 1U);
}

TEST(PoolVerify, FindsAChangedText)
{
    std::wstring const text = name("changed");
    _cppoolstring const string = CStringPool::GetStringRef(text.c_str());
    EXPECT_EQ(CStringPool::Verify(), 1U);
    wchar_t* const characters = const_cast<wchar_t*>(string->pData);
    characters[0] = L'P';
    EXPECT_EQ(CStringPool::Verify(), 0U);
    characters[0] = L'p';
    EXPECT_EQ(CStringPool::Verify(), 1U);
}

TEST(PoolVerify, ExceptionUnderTheLockGivesZero)
{
    _cppoolstring const string = CStringPool::GetStringRef(name("verified").c_str());
    {
        TableFault const fault(TableOperation::enumerate);
        EXPECT_EQ(CStringPool::Verify(), 0U);
        EXPECT_TRUE(fault.has_thrown());
    }
    EXPECT_TRUE(lock_is_free());
    EXPECT_EQ(CStringPool::Verify(), 1U);
}

// A process of its own, since any other test may have pooled something.
TEST(PoolVerifyDeathTest, GivesZeroForAPoolThatNeverHeldAString)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            bool const before = CStringPool::Verify() == 0 && CStringPool::GetSize() == 0;
            bool const collected = CStringPool::Collect(0) == 1;
            CStringPool::GetStringRef(L"pool first string");
            bool const after = CStringPool::Verify() == 1 && CStringPool::GetSize() != 0;
            std::_Exit(before && collected && after ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(PoolSize, IsTheSumOfTheBlocks)
{
    unsigned long const size = CStringPool::GetSize();
    _cppoolstring const string = CStringPool::GetStringRef(L"pool size");
    EXPECT_EQ(CStringPool::GetSize(), size + 56 + 10 * sizeof(wchar_t));
    EXPECT_EQ(CStringPool::GetSize(), g_sensitive_table.GetSize());
}

TEST(PoolSize, ExceptionUnderTheLockGivesZero)
{
    _cppoolstring const string = CStringPool::GetStringRef(name("size").c_str());
    {
        TableFault const fault(TableOperation::enumerate);
        EXPECT_EQ(CStringPool::GetSize(), 0U);
        EXPECT_TRUE(fault.has_thrown());
    }
    EXPECT_TRUE(lock_is_free());
    EXPECT_NE(CStringPool::GetSize(), 0U);
}
