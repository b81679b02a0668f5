#include "ORVA/String/PoolString.h"

#include "support/AllocationFailure.h"
#include "support/PoolTexts.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace ORVA::String;
using support::AllocationFailure;

std::wstring next(std::wstring const& text)
{
    return *CPPoolString(text.c_str()).inc();
}

} // namespace

TEST(NumberedVariant, OfTextWithoutANumberIsTheSecond)
{
    EXPECT_EQ(next(L"Take"), L"Take (2)");
    EXPECT_EQ(next(L"T"), L"T (2)");
    EXPECT_EQ(next(L" "), L"  (2)");
    EXPECT_EQ(next(L"Take 7"), L"Take 7 (2)");
}

TEST(NumberedVariant, CountsUp)
{
    EXPECT_EQ(next(L"Take (2)"), L"Take (3)");
    EXPECT_EQ(next(next(next(L"Take"))), L"Take (4)");
    EXPECT_EQ(next(L"A (9)"), L"A (10)");
    EXPECT_EQ(next(L"A (99)"), L"A (100)");
    EXPECT_EQ(next(L"A (0)"), L"A (1)");
}

TEST(NumberedVariant, NeedsNoBlankBeforeTheNumber)
{
    EXPECT_EQ(next(L"Take(2)"), L"Take(3)");
    EXPECT_EQ(next(L"(2)"), L"(3)");
    EXPECT_EQ(next(L"(9)"), L"(10)");
}

TEST(NumberedVariant, LosesLeadingZeros)
{
    EXPECT_EQ(next(L"A (007)"), L"A (8)");
    EXPECT_EQ(next(L"A (0000000000000000000000000)"), L"A (1)");
}

TEST(NumberedVariant, OfTheHighestNumberGoesOnAtZero)
{
    EXPECT_EQ(next(L"A (4294967294)"), L"A (4294967295)");
    EXPECT_EQ(next(L"A (4294967295)"), L"A (0)");
}

TEST(NumberedVariant, OfAnotherEndingIsTheSecond)
{
    for (wchar_t const* text : {L"Take()", L"()", L")", L"9)", L"Take 9)", L"(a)", L"(9a)", L"(a9)", L"(-1)", L"(+1)",
                                L"( 1)", L"(1 )", L"(1) ", L"(1))", L"(1", L"[1]", L"()1)"})
        EXPECT_EQ(next(text), std::wstring(text) + L" (2)") << text;
}

TEST(NumberedVariant, TakesOnlyTheLastParentheses)
{
    EXPECT_EQ(next(L"A (1)(2)"), L"A (1)(3)");
    EXPECT_EQ(next(L"((9)"), L"((10)");
    EXPECT_EQ(next(L"A (1) B"), L"A (1) B (2)");
}

TEST(NumberedVariant, OfTheConstants)
{
    EXPECT_TRUE(CPPoolString::pnull.inc().isnull());
    EXPECT_STREQ(*CPPoolString::pempty.inc(), L" (2)");
    EXPECT_STREQ(*CPPoolString::ptrue.inc(), L"true (2)");
    EXPECT_STREQ(*CPPoolString::pfalse.inc(), L"false (2)");
}

TEST(NumberedVariant, IsPooled)
{
    CPPoolString const string(L"inc pooled");
    EXPECT_TRUE(string.inc() == string.inc());
    EXPECT_TRUE(string.inc() == CPPoolString(L"inc pooled (2)"));
    EXPECT_STREQ(*string, L"inc pooled");
}

TEST(NumberedVariant, OfTextOfEveryLengthAroundTheBuffer)
{
    for (unsigned long length = 240; length < 270; ++length)
    {
        std::wstring const text(length, L'x');
        EXPECT_EQ(next(text), text + L" (2)") << length;
        EXPECT_EQ(next(text + L" (2)"), text + L" (3)") << length;
        EXPECT_EQ(next(text + L"(9)"), text + L"(10)") << length;
        EXPECT_EQ(next(text + L"(999)"), text + L"(1000)") << length;
    }
}

TEST(NumberedVariant, OfVeryLongTextOverrunsNoStack)
{
    std::wstring const text(3000000, L'y');
    EXPECT_EQ(next(text), text + L" (2)");
    EXPECT_EQ(next(text + L" (9)"), text + L" (10)");
    CPPoolString const digits((L"(" + std::wstring(100000, L'0') + L"8)").c_str());
    EXPECT_STREQ(*digits.inc(), L"(9)");
}

TEST(NumberedVariant, WithoutMemoryIsNull)
{
    for (std::wstring const& text :
         {std::wstring(L"inc memory (3)"), std::wstring(L"inc memory"), std::wstring(300, L'm') + L"(1)"})
    {
        CPPoolString const string(text.c_str());
        AllocationFailure const failure(1, AllocationFailure::forever);
        EXPECT_TRUE(string.inc().isnull());
        EXPECT_GE(failure.failures(), 1U);
    }
}
