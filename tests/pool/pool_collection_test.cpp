#include "pool/pool_support.h"

using namespace pool_tests;

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
