// Pooled strings and their records without memory.
#include "faults/pool_faults.h"

#include "support/BlockProbe.h"

#include <string>

namespace
{

using namespace pool_faults;
using faults::fail_each_allocation;
using faults::Undisturbed;

// A new number with so many digits at each call, so that its text is not pooled.
unsigned int next_number()
{
    static unsigned int number = 3000000000U;
    return ++number;
}

std::wstring text_of_number(long number)
{
    return std::to_wstring(number);
}

// Lets `make(string, number)` construct or assign a string of a new text, which is `text(number)`. What was held before is
// let go either way.
template <class Make, class Text>
void expect_string_or_null(Make make, Text text_for)
{
    CPPoolString const before(name("before").c_str());
    unsigned long const allocations = fail_each_allocation(
        [&](unsigned long)
        {
            unsigned int const number = next_number();
            std::wstring const text = text_for(number);
            {
                LogRecorder log;
                CPPoolString string(before);
                make(string, number);
                Undisturbed const pause;
                EXPECT_EQ(before.lockcnt(), 3U);
                EXPECT_EQ(text_of(string), string.isnull() ? L"" : text);
                EXPECT_EQ(is_pooled(text), !string.isnull());
                make(string, number);
                EXPECT_EQ(text_of(string), text);
                expect_whole_pool();
                EXPECT_EQ(log.count(), 0U);
            }
            Undisturbed const pause;
            expect_collected(text);
        });
    EXPECT_GE(allocations, 4UL);
}

std::string narrow_text(unsigned int number)
{
    return "number " + std::to_string(number);
}

std::wstring wide_text(unsigned int number)
{
    return L"number " + std::to_wstring(number);
}

int as_int(unsigned int number)
{
    return -static_cast<int>(number - 3000000000U) - 1000000;
}

constexpr unsigned long long far_above = 1ULL << 40;

std::wstring same_number(unsigned int number)
{
    return text_of_number(static_cast<long>(number));
}

std::wstring negative_number(unsigned int number)
{
    return text_of_number(as_int(number));
}

std::wstring large_number(unsigned int number)
{
    return text_of_number(static_cast<long>(number + far_above));
}

std::wstring large_negative_number(unsigned int number)
{
    return text_of_number(-static_cast<long>(number + far_above));
}

} // namespace

FAULT_TEST(PoolString, AStringOfATextIsMadeOrNull, "String::CPPoolString::CPPoolString(wchar_t const*)",
           "String::CPPoolString::CPPoolString(unsigned char const*)",
           "String::CPPoolString::CPPoolString(char const*)", "String::CPPoolString::operator=(wchar_t const*)",
           "String::CPPoolString::operator=(unsigned char const*)")
{
    expect_string_or_null(
        [](CPPoolString& string, unsigned int number) { string = CPPoolString(wide_text(number).c_str()); }, wide_text);
    expect_string_or_null([](CPPoolString& string, unsigned int number)
                          { string = CPPoolString(utf8(narrow_text(number).c_str())); },
                          wide_text);
    expect_string_or_null([](CPPoolString& string, unsigned int number)
                          { string = CPPoolString(narrow_text(number).c_str()); },
                          wide_text);
    expect_string_or_null([](CPPoolString& string, unsigned int number) { string = wide_text(number).c_str(); },
                          wide_text);
    expect_string_or_null([](CPPoolString& string, unsigned int number) { string = utf8(narrow_text(number).c_str()); },
                          wide_text);
}

FAULT_TEST(PoolString, AStringOfANumberIsMadeOrNull, "String::CPPoolString::CPPoolString(unsigned int)",
           "String::CPPoolString::CPPoolString(int)", "String::CPPoolString::CPPoolString(unsigned long long)",
           "String::CPPoolString::CPPoolString(long long)", "String::CPPoolString::operator=(unsigned int)",
           "String::CPPoolString::operator=(int)", "String::CPPoolString::operator=(unsigned long long)",
           "String::CPPoolString::operator=(long long)")
{
    expect_string_or_null([](CPPoolString& string, unsigned int number) { string = CPPoolString(number); },
                          same_number);
    expect_string_or_null([](CPPoolString& string, unsigned int number) { string = number; }, same_number);
    expect_string_or_null([](CPPoolString& string, unsigned int number) { string = CPPoolString(as_int(number)); },
                          negative_number);
    expect_string_or_null([](CPPoolString& string, unsigned int number) { string = as_int(number); }, negative_number);
    expect_string_or_null([](CPPoolString& string, unsigned int number) { string = CPPoolString(number + far_above); },
                          large_number);
    expect_string_or_null([](CPPoolString& string, unsigned int number) { string = number + far_above; }, large_number);
    expect_string_or_null([](CPPoolString& string, unsigned int number)
                          { string = CPPoolString(-static_cast<long long>(number + far_above)); },
                          large_negative_number);
    expect_string_or_null([](CPPoolString& string, unsigned int number)
                          { string = -static_cast<long long>(number + far_above); },
                          large_negative_number);
}

FAULT_TEST(PoolString, TheUtf8FormIsThereOrEmpty, "String::CPPoolString::operator unsigned char const*() const")
{
    unsigned long const allocations = fail_each_allocation(
        [](unsigned long nth)
        {
            std::wstring const text = name("form");
            {
                std::optional<CPPoolString> string;
                {
                    Undisturbed const pause;
                    string.emplace(text.c_str());
                }
                unsigned char const* const form = *string;
                Undisturbed const pause;
                EXPECT_EQ(std::basic_string<unsigned char>(form), nth == 1 ? in_utf8(L"") : in_utf8(text));
                EXPECT_EQ((*string)->pOwned != nullptr, nth != 1);
                unsigned char const* const again = *string;
                EXPECT_EQ(std::basic_string<unsigned char>(again), in_utf8(text));
                EXPECT_EQ(again == form, nth != 1);
            }
            Undisturbed const pause;
            expect_collected(text);
        });
    EXPECT_EQ(allocations, 1UL);
}

FAULT_TEST(PoolString, TheNextVariantIsMadeOrNull, "String::CPPoolString::inc() const")
{
    struct Variant
    {
        unsigned long letters;
        wchar_t const* ending;
        wchar_t const* next;
        unsigned long allocations;
    };
    // A text beyond the room on the stack takes one allocation more.
    for (Variant const& variant : {Variant{0, L"", L" (2)", 4}, Variant{0, L" (2)", L" (3)", 4},
                                   Variant{400, L"", L" (2)", 5}, Variant{400, L" (9)", L" (10)", 5}})
    {
        unsigned long const allocations = fail_each_allocation(
            [&](unsigned long)
            {
                std::wstring const stem = name("variant") + std::wstring(variant.letters, L'v');
                std::wstring const next = stem + variant.next;
                {
                    CPPoolString string;
                    {
                        Undisturbed const pause;
                        string = (stem + variant.ending).c_str();
                    }
                    CPPoolString const made = string.inc();
                    Undisturbed const pause;
                    EXPECT_EQ(text_of(made), made.isnull() ? L"" : next);
                    EXPECT_EQ(is_pooled(next), !made.isnull());
                    EXPECT_EQ(string.lockcnt(), 3U);
                    EXPECT_EQ(text_of(string.inc()), next);
                }
                Undisturbed const pause;
                expect_collected(next);
            });
        EXPECT_GE(allocations, variant.allocations);
    }
}

TEST(PoolString, ACloneIsOfItsOwnOrTheStringStays)
{
    std::wstring const text = name("clone");
    {
        CPPoolString const string(text.c_str());
        unsigned long const allocations = fail_each_allocation(
            [&](unsigned long nth)
            {
                CPPoolString copy(string);
                int const result = copy.clone();
                Undisturbed const pause;
                EXPECT_EQ(result, nth == 1 ? 0 : 1);
                EXPECT_EQ(copy == string, nth == 1);
                EXPECT_EQ(string.lockcnt(), nth == 1 ? 4U : 3U);
                EXPECT_EQ(copy.clone(), 1);
                EXPECT_EQ(copy.lockcnt(), 1U);
                EXPECT_EQ(text_of(copy), text);
            });
        EXPECT_EQ(allocations, 1UL);
    }
    expect_collected(text);
}

TEST(PoolString, ComparisonsAndHandlesNeedNoMemory)
{
    CPPoolString const string(name("compared").c_str());
    CPPoolString const other(name("compared").c_str());
    AllocationFailure const failure(1, AllocationFailure::forever);
    EXPECT_LT(string.cmp(other), 0);
    EXPECT_LT(string.cmpi(*other), 0);
    EXPECT_EQ(string.cmpp(L"pool test"), 0);
    EXPECT_EQ(string.cmppi(L"POOL"), 0);
    EXPECT_NE(string.cmp_p(other), 0);
    EXPECT_NE(string.cmp_pi(other), 0);
    EXPECT_TRUE(string.cnt(L"test"));
    EXPECT_TRUE(string.cnti(L"TEST"));
    EXPECT_FALSE(string.iequals(other));
    EXPECT_NE(string.pcmp(other), 0);
    EXPECT_EQ(string.Verify(), 1U);
    EXPECT_TRUE(CPPoolString(true) == CPPoolString::ptrue);
    CPPoolString copy(string);
    CPPoolString taken;
    taken.TransferFrom(copy);
    EXPECT_TRUE(taken == string && copy.isnull());
    taken.free();
    EXPECT_EQ(string.lockcnt(), 3U);
    EXPECT_EQ(failure.attempts(), 0UL);
}
