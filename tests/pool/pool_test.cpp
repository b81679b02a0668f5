#include "pool/pool_support.h"

using namespace pool_tests;

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
