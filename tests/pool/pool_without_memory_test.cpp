// Every allocation of every operation that makes one fails in turn, once and with all that follow.

#include "ORVA/String/PoolString.h"

#include "cstringpool/globals.h"
#include "support/AllocationFailure.h"
#include "support/LogRecorder.h"
#include "support/PoolSubmitters.h"
#include "support/PoolTexts.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using namespace ORVA::String;
using support::AllocationFailure;
using support::is_null;
using support::text_of;

constexpr unsigned int no_limit = 0xFFFFFFFFU;

struct Form
{
    char const* name;
    _cppoolstring (*get)(std::wstring const& text);
};

void PrintTo(Form const& form, std::ostream* stream)
{
    *stream << form.name;
}

std::basic_string<unsigned char> narrow(std::wstring const& text)
{
    return {text.begin(), text.end()};
}

Form const forms[] = {
    {"GetStringRef, wide", [](std::wstring const& text) { return CStringPool::GetStringRef(text.c_str()); }},
    {"GetStringRef, UTF-8", [](std::wstring const& text) { return CStringPool::GetStringRef(narrow(text).c_str()); }},
    {"GetStringRefn, wide",
     [](std::wstring const& text) { return CStringPool::GetStringRefn(text.c_str(), text.size()); }},
    {"GetStringRefn, UTF-8",
     [](std::wstring const& text) { return CStringPool::GetStringRefn(narrow(text).c_str(), text.size()); }},
    {"GetStringRefn, UTF-16",
     [](std::wstring const& text)
     {
         return CStringPool::GetStringRefn(std::basic_string<unsigned short>(text.begin(), text.end()).c_str(),
                                           text.size());
     }},
    {"GetStringRefi, wide", [](std::wstring const& text) { return CStringPool::GetStringRefi(text.c_str()); }},
    {"GetStringRefi, UTF-8", [](std::wstring const& text) { return CStringPool::GetStringRefi(narrow(text).c_str()); }},
    {"GetStringRefni, wide",
     [](std::wstring const& text) { return CStringPool::GetStringRefni(text.c_str(), text.size()); }},
    {"GetStringRefni, UTF-8",
     [](std::wstring const& text) { return CStringPool::GetStringRefni(narrow(text).c_str(), text.size()); }},
    {"GetStringRef, submitter",
     [](std::wstring const& text)
     {
         support::SubmitterProbe submitter(text);
         return CStringPool::GetStringRef(&submitter);
     }},
};

bool is_in(CCaseSensitiveHash& table, std::wstring const& text)
{
    staticStringRecord key(text.c_str());
    _cppoolstring handle(key);
    return !is_null(table.Find(handle));
}

// A new name at each call: the pool is shared with other tests, and never empty.
std::wstring fresh_name()
{
    static unsigned int serial = 0;
    return L"allocation failure " + std::to_wstring(++serial);
}

class PoolAllocation : public testing::TestWithParam<Form>
{
};

INSTANTIATE_TEST_SUITE_P(Forms, PoolAllocation, testing::ValuesIn(forms));

} // namespace

TEST_P(PoolAllocation, FailingInANewStringGivesTheStringOrNull)
{
    support::LogRecorder recorder;
    for (AllocationFailure::Duration const duration : {AllocationFailure::once, AllocationFailure::forever})
    {
        // The wide keys make none; then come the record and the entry, and whatever grows.
        unsigned long const allocations = support::for_each_allocation(
            duration,
            [&](unsigned long)
            {
                std::wstring const text = fresh_name();
                unsigned long const size = CStringPool::GetSize();
                _cppoolstring const string = GetParam().get(text);
                bool const is_made = !is_null(string);
                EXPECT_EQ(is_in(g_sensitive_table, text), is_made);
                EXPECT_EQ(text_of(string), is_made ? text : L"");
                EXPECT_EQ(CStringPool::GetSize(), size + (is_made ? 56 + (text.size() + 1) * sizeof(wchar_t) : 0));
            });
        EXPECT_GE(allocations, 2U);
    }
    EXPECT_EQ(CStringPool::Verify(), 1U);
    EXPECT_EQ(recorder.count(), 0U);
}

TEST_P(PoolAllocation, FailingInALookUpOfAPooledStringGivesTheStringOrNull)
{
    std::wstring const text = fresh_name();
    _cppoolstring const pooled = CStringPool::GetStringRef(text.c_str());
    for (AllocationFailure::Duration const duration : {AllocationFailure::once, AllocationFailure::forever})
    {
        support::for_each_allocation(duration,
                                     [&](unsigned long)
                                     {
                                         _cppoolstring const string = GetParam().get(text);
                                         EXPECT_TRUE(string == pooled || is_null(string));
                                     });
    }
    EXPECT_EQ(pooled.lockcnt(), 3U);
    EXPECT_EQ(CStringPool::Verify(), 1U);
}

TEST_P(PoolAllocation, TableThatGrowsWithoutMemoryStaysWhole)
{
    // Every string takes a new turn of failing at its n-th allocation, so that in the course of many the growth of each
    // bucket and index is hit.
    std::vector<_cppoolstring> made;
    for (unsigned int number = 0; number < 600; ++number)
    {
        std::wstring const text = fresh_name();
        _cppoolstring string;
        {
            AllocationFailure const failure(1 + number % 9,
                                            number % 2 == 0 ? AllocationFailure::once : AllocationFailure::forever);
            string = GetParam().get(text);
        }
        ASSERT_EQ(is_in(g_sensitive_table, text), !is_null(string));
        _cppoolstring const again = GetParam().get(text);
        ASSERT_EQ(text_of(again), text);
        ASSERT_TRUE(is_null(string) || again == string);
        made.push_back(again);
    }
    EXPECT_EQ(CStringPool::Verify(), 1U);
    for (_cppoolstring const& string : made)
        ASSERT_TRUE(CStringPool::QueryStringRef(string->pData) == string);
}

TEST(PoolStringAllocation, FailingInTheUtf8FormGivesAnEmptyText)
{
    for (AllocationFailure::Duration const duration : {AllocationFailure::once, AllocationFailure::forever})
    {
        CPPoolString const fresh(fresh_name().c_str());
        unsigned long const allocations = support::for_each_allocation(duration,
                                                                       [&](unsigned long nth)
                                                                       {
                                                                           unsigned char const* const form = fresh;
                                                                           EXPECT_EQ(form[0] == 0, nth == 1);
                                                                       });
        EXPECT_EQ(allocations, 1U);
    }
}

TEST(PoolStringAllocation, FailingInTheNextVariantGivesNull)
{
    for (wchar_t const* ending : {L"", L" (2)"})
    {
        for (unsigned long const length : {0UL, 400UL})
        {
            unsigned long const allocations =
                support::for_each_allocation(AllocationFailure::forever,
                                             [&](unsigned long nth)
                                             {
                                                 std::wstring const text =
                                                     std::wstring(length, L'v') + fresh_name() + ending;
                                                 CPPoolString const string(support::unpooled(text));
                                                 if (string.isnull())
                                                     return;
                                                 CPPoolString const variant = string.inc();
                                                 EXPECT_TRUE(variant.isnull() || variant.len() >= string.len()) << nth;
                                             });
            EXPECT_GE(allocations, 3U);
        }
    }
    EXPECT_EQ(CStringPool::Verify(), 1U);
}

TEST(PoolStringAllocation, FailingInConstructionGivesNull)
{
    unsigned int number = 1000000;
    support::for_each_allocation(AllocationFailure::forever,
                                 [&](unsigned long)
                                 {
                                     CPPoolString const string(++number);
                                     EXPECT_TRUE(string.isnull() || string == std::to_wstring(number).c_str());
                                 });
    support::for_each_allocation(AllocationFailure::forever,
                                 [&](unsigned long)
                                 {
                                     std::string const text = "allocation " + std::to_string(++number);
                                     CPPoolString const string(text.c_str());
                                     EXPECT_TRUE(string.isnull() ||
                                                 string == std::wstring(text.begin(), text.end()).c_str());
                                 });
    EXPECT_EQ(CStringPool::Verify(), 1U);
}

TEST(PoolStringAllocation, FailingWhileCollectingLosesNothing)
{
    std::wstring const text = fresh_name();
    CStringPool::GetStringRef(text.c_str());
    AllocationFailure const failure(1, AllocationFailure::forever);
    EXPECT_EQ(CStringPool::Collect(no_limit), 1U);
    EXPECT_EQ(CStringPool::Collect(no_limit), 1U);
    EXPECT_EQ(failure.attempts(), 0U);
    EXPECT_FALSE(is_in(g_sensitive_table, text));
}
