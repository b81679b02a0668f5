#include "pool/pool_support.h"

using namespace pool_tests;

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
