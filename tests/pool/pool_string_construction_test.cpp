// Where a pooled string comes from: each kind of source, and other strings.

#include "pool/pool_string_support.h"

#include <climits>
#include <cstring>
#include <cwchar>
#include <string>
#include <type_traits>
#include <utility>

using namespace pool_string_tests;

TEST(PoolStringConstruction, FromNothingIsNull)
{
    EXPECT_TRUE(CPPoolString() == CPPoolString::pnull);
}

TEST(PoolStringConstruction, FromAnotherShares)
{
    CPPoolString const source(L"value shared");
    unsigned int const count = source.lockcnt();
    CPPoolString const copy(source);
    CPPoolString assigned;
    assigned = source;
    EXPECT_TRUE(copy == source);
    EXPECT_TRUE(assigned == source);
    EXPECT_EQ(source.lockcnt(), count + 2);
    assigned = CPPoolString::pnull;
    EXPECT_EQ(source.lockcnt(), count + 1);
}

TEST(PoolStringConstruction, ByMoveLeavesNull)
{
    CPPoolString source(L"value moved");
    unsigned int const count = source.lockcnt();
    CPPoolString moved(std::move(source));
    EXPECT_TRUE(source.isnull());
    EXPECT_EQ(moved.lockcnt(), count);
    CPPoolString assigned(L"value moved over");
    assigned = std::move(moved);
    EXPECT_TRUE(moved.isnull());
    EXPECT_EQ(assigned.lockcnt(), count);
    EXPECT_STREQ(*assigned, L"value moved");
}

TEST(PoolStringConstruction, FromABoolIsTheConstant)
{
    EXPECT_TRUE(CPPoolString(true) == CPPoolString::ptrue);
    EXPECT_TRUE(CPPoolString(false) == CPPoolString::pfalse);
    EXPECT_STREQ(*CPPoolString(true), L"true");
    EXPECT_STREQ(*CPPoolString(false), L"false");
    CPPoolString assigned;
    assigned = true;
    EXPECT_TRUE(assigned == CPPoolString::ptrue);
    assigned = false;
    EXPECT_TRUE(assigned == CPPoolString::pfalse);
}

TEST(PoolStringConstruction, ConstantIsNotThePooledTextOfTheSameCharacters)
{
    CPPoolString const constant(true);
    CPPoolString const pooled(L"true");
    EXPECT_FALSE(constant == pooled);
    EXPECT_TRUE(constant != pooled);
    EXPECT_EQ(constant.cmp(pooled), 0);
    EXPECT_TRUE(constant == L"true");
    EXPECT_EQ(constant.sHash(), pooled.sHash());
}

TEST(PoolStringConstruction, FromWideTextIsPooled)
{
    CPPoolString const string(L"value wide");
    EXPECT_TRUE(string == CPPoolString(CStringPool::GetStringRef(L"value wide")));
    EXPECT_STREQ(*string, L"value wide");
    EXPECT_TRUE(CPPoolString(L"") == CPPoolString::pempty);
    EXPECT_TRUE(CPPoolString(static_cast<wchar_t const*>(nullptr)) == CPPoolString::pnull);
    CPPoolString assigned;
    assigned = L"value wide";
    EXPECT_TRUE(assigned == string);
    assigned = L"";
    EXPECT_TRUE(assigned.isempty());
    assigned = static_cast<wchar_t const*>(nullptr);
    EXPECT_TRUE(assigned.isnull());
}

TEST(PoolStringConstruction, FromUtf8IsPooled)
{
    wchar_t const text[] = {L'v', L'a', L'l', 0xFC, 0x20AC, 0};
    CPPoolString const string(utf8("val\xC3\xBC\xE2\x82\xAC"));
    EXPECT_TRUE(string == CPPoolString(text));
    EXPECT_TRUE(CPPoolString(utf8("")) == CPPoolString::pempty);
    EXPECT_TRUE(CPPoolString(static_cast<unsigned char const*>(nullptr)) == CPPoolString::pnull);
    CPPoolString assigned;
    assigned = utf8("val\xC3\xBC\xE2\x82\xAC");
    EXPECT_TRUE(assigned == string);
    LogRecorder recorder;
    assigned = utf8("\xFF");
    EXPECT_TRUE(assigned.isnull());
    EXPECT_EQ(recorder.take(), LogMessages{support::illegal_point("_cppoolstring::create: String length cannot be 0")});
}

TEST(PoolStringConstruction, FromLocalTextIsConvertedFromCodePage1252)
{
    wchar_t const text[] = {L'v', L'a', L'l', 0xFC, 0x20AC, 0};
    EXPECT_TRUE(CPPoolString("val\xFC\x80") == CPPoolString(text));
    EXPECT_TRUE(CPPoolString("") == CPPoolString::pempty);
    EXPECT_TRUE(CPPoolString(static_cast<char const*>(nullptr)) == CPPoolString::pnull);
    // One of the undefined bytes refuses the whole text.
    EXPECT_TRUE(CPPoolString("val\x81") == CPPoolString::pempty);
}

TEST(PoolStringConstruction, LocalTextIsNotAssigned)
{
    EXPECT_FALSE((std::is_assignable_v<CPPoolString&, char const*>));
    EXPECT_FALSE((std::is_assignable_v<CPPoolString&, char const(&)[4]>));
    EXPECT_TRUE((std::is_constructible_v<CPPoolString, char const*>));
}

template <class Pointer>
constexpr bool makes_a_string = std::is_constructible_v<CPPoolString, Pointer>;
template <class Pointer>
constexpr bool is_assigned = std::is_assignable_v<CPPoolString&, Pointer>;

TEST(PoolStringConstruction, PointerOfAnotherTypeDoesNotBecomeABool)
{
    static_assert(!makes_a_string<void const*> && !is_assigned<void const*>);
    static_assert(!makes_a_string<void*> && !is_assigned<void*>);
    static_assert(!makes_a_string<unsigned short const*> && !is_assigned<unsigned short const*>);
    static_assert(!makes_a_string<signed char const*> && !is_assigned<signed char const*>);
    static_assert(!makes_a_string<char16_t const*> && !is_assigned<char16_t const*>);
    static_assert(!makes_a_string<CPPoolString*> && !is_assigned<CPPoolString*>);
    static_assert(!makes_a_string<IStringSubmitter*> && !is_assigned<IStringSubmitter*>);

    static_assert(makes_a_string<wchar_t*> && is_assigned<wchar_t*>);
    static_assert(makes_a_string<wchar_t const(&)[4]> && is_assigned<wchar_t const(&)[4]>);
    static_assert(makes_a_string<unsigned char*> && is_assigned<unsigned char*>);
    static_assert(makes_a_string<unsigned char const(&)[4]> && is_assigned<unsigned char const(&)[4]>);
    static_assert(makes_a_string<char*> && makes_a_string<char const(&)[4]>);
    static_assert(makes_a_string<bool> && is_assigned<bool>);
    SUCCEED();
}

TEST(PoolStringConstruction, EveryDocumentedSourceConvertsWithoutACast)
{
    static_assert(std::is_convertible_v<bool, CPPoolString>);
    static_assert(std::is_convertible_v<wchar_t const*, CPPoolString>);
    static_assert(std::is_convertible_v<unsigned char const*, CPPoolString>);
    static_assert(std::is_convertible_v<char const*, CPPoolString>);
    static_assert(std::is_convertible_v<unsigned int, CPPoolString>);
    static_assert(std::is_convertible_v<int, CPPoolString>);
    static_assert(std::is_convertible_v<unsigned long long, CPPoolString>);
    static_assert(std::is_convertible_v<long long, CPPoolString>);
    static_assert(std::is_convertible_v<_cppoolstring, CPPoolString>);
    static_assert(std::is_convertible_v<CPObjectMemory, CPPoolString>);

    wchar_t writable[] = L"value";
    CPPoolString string = writable;
    EXPECT_STREQ(*string, L"value");
    string = 0;
    EXPECT_STREQ(*string, L"0");
    // What is narrower than an `int` is a number, and not a `bool` or a text.
    string = static_cast<short>(-3);
    EXPECT_STREQ(*string, L"-3");
    string = 'a';
    EXPECT_STREQ(*string, L"97");
}

TEST(PoolStringConstruction, FromNumbersIsDecimal)
{
    EXPECT_STREQ(*CPPoolString(0U), L"0");
    EXPECT_STREQ(*CPPoolString(UINT_MAX), L"4294967295");
    EXPECT_STREQ(*CPPoolString(0), L"0");
    EXPECT_STREQ(*CPPoolString(-1), L"-1");
    EXPECT_STREQ(*CPPoolString(INT_MAX), L"2147483647");
    EXPECT_STREQ(*CPPoolString(INT_MIN), L"-2147483648");
    EXPECT_STREQ(*CPPoolString(0ULL), L"0");
    EXPECT_STREQ(*CPPoolString(ULLONG_MAX), L"18446744073709551615");
    EXPECT_STREQ(*CPPoolString(0LL), L"0");
    EXPECT_STREQ(*CPPoolString(LLONG_MAX), L"9223372036854775807");
    EXPECT_STREQ(*CPPoolString(LLONG_MIN), L"-9223372036854775808");
}

TEST(PoolStringConstruction, NumbersOfEqualTextAreOneString)
{
    CPPoolString const string(5U);
    EXPECT_TRUE(string == CPPoolString(5));
    EXPECT_TRUE(string == CPPoolString(5ULL));
    EXPECT_TRUE(string == CPPoolString(5LL));
    EXPECT_TRUE(string == CPPoolString(L"5"));
}

TEST(PoolStringConstruction, NumbersAreAssigned)
{
    CPPoolString string;
    string = UINT_MAX;
    EXPECT_STREQ(*string, L"4294967295");
    string = INT_MIN;
    EXPECT_STREQ(*string, L"-2147483648");
    string = ULLONG_MAX;
    EXPECT_STREQ(*string, L"18446744073709551615");
    string = LLONG_MIN;
    EXPECT_STREQ(*string, L"-9223372036854775808");
}

TEST(PoolStringConstruction, FromAPoolsHandleSharesOrTakesOver)
{
    _cppoolstring const handle = CStringPool::GetStringRef(L"value of the pool");
    CPPoolString const shared(handle);
    EXPECT_EQ(handle.lockcnt(), 4U);
    CPPoolString const taken(CStringPool::GetStringRef(L"value of the pool"));
    EXPECT_EQ(handle.lockcnt(), 5U);
    CPPoolString assigned;
    assigned = handle;
    EXPECT_TRUE(assigned == shared);
    assigned = CStringPool::QueryStringRef(L"no such value");
    EXPECT_TRUE(assigned.isnull());
    EXPECT_EQ(handle.lockcnt(), 5U);
}

TEST(PoolStringConstruction, FromAnUntypedHandleTestsTheType)
{
    CPPoolString const string(L"value untyped");
    CPObjectMemory const untyped = string;
    EXPECT_TRUE(CPPoolString(untyped) == string);
    static ORVA::Buffers::tagCPOVTABL const type = {&poolstring_create, nullptr, [](void*, unsigned long) {},
                                                    &CPObjectMemory::_nointerface};
    CPObjectMemory other;
    other.Alloc(100, &type);
    EXPECT_TRUE(CPPoolString(other).isnull());
    CPPoolString assigned;
    assigned = untyped;
    EXPECT_TRUE(assigned == string);
    assigned = other;
    EXPECT_TRUE(assigned.isnull());
    EXPECT_TRUE(CPPoolString(CPObjectMemory::pnull).isnull());
}

TEST(PoolStringConstruction, SelfAssignmentChangesNothing)
{
    CPPoolString string(L"value self");
    unsigned int const count = string.lockcnt();
    CPPoolString& same = string;
    string = same;
    string = std::move(same);
    string = *string;
    EXPECT_STREQ(*string, L"value self");
    EXPECT_EQ(string.lockcnt(), count);
}
