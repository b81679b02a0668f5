#include "pool/pool_support.h"

using namespace pool_tests;

namespace
{

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
