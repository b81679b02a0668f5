// The holders of encoded texts.
#include "ORVA/String/Holders.h"
#include "faults/FaultTest.h"
#include "text/holders_text.h"

namespace
{

using namespace ORVA::String;
using faults::fail_each_allocation;
using faults::fails;
using faults::Undisturbed;
using Lengths = std::vector<unsigned long>;

class HolderFaults : public faults::Silent
{
};

Shorts const text16 = {0x20AC, 0xD83D, 0xDE00, 0};
Ints const text32 = {'a', 'b', 'c', 0};

/// Fills a holder from `source`, by construction and over an old text. Whatever fails, it then holds nothing, and its
/// length is the one in `lengths` for the allocation that was the first to fail.
template <class Holder, class Source>
void expect_nothing_held(Source const& source, Lengths const& lengths)
{
    Holder const whole(source);
    ASSERT_TRUE(whole);
    auto const check = [&](Holder const& holder, unsigned long nth)
    {
        bool const failed = fails(nth, lengths.size());
        EXPECT_EQ(*holder == nullptr, failed);
        EXPECT_EQ(static_cast<bool>(holder), !failed);
        EXPECT_EQ(holder.len(), failed ? lengths[nth - 1] : whole.len());
        if (!failed)
        {
            EXPECT_EQ(units(*holder), units(*whole));
        }
    };
    auto const assign = [&](unsigned long nth)
    {
        Holder holder;
        {
            Undisturbed const pause;
            holder = source;
        }
        holder = source;
        Undisturbed const pause;
        check(holder, nth);
        holder = source;
        check(holder, 0);
    };
    auto const construct = [&](unsigned long nth)
    {
        Holder const holder(source);
        Undisturbed const pause;
        check(holder, nth);
    };
    EXPECT_EQ(fail_each_allocation(construct), lengths.size());
    EXPECT_EQ(fail_each_allocation(assign), lengths.size());
}

/// A source pointer of a type that deduces as such.
template <class T>
T const* pointer(T const* text)
{
    return text;
}

} // namespace

FAULT_TEST_F(HolderFaults, AWideHolderHoldsNothing, "String::CNQFWChar::CNQFWChar(wchar_t const*)",
             "String::CNQFWChar::CNQFWChar(unsigned char const*)",
             "String::CNQFWChar::CNQFWChar(unsigned short const*)", "String::CNQFWChar::CNQFWChar(unsigned int const*)",
             "String::CNQFWChar::CNQFWChar(char const*)", "String::CNQFWChar::operator=(wchar_t const*)",
             "String::CNQFWChar::operator=(unsigned char const*)",
             "String::CNQFWChar::operator=(unsigned short const*)", "String::CNQFWChar::operator=(unsigned int const*)",
             "String::CNQFWChar::operator=(char const*)")
{
    expect_nothing_held<CNQFWChar>(pointer(L"abc"), {4});
    expect_nothing_held<CNQFWChar>(utf8("ab\xE2\x82\xAC"), {3});
    expect_nothing_held<CNQFWChar>(text16.data(), {2});
    expect_nothing_held<CNQFWChar>(text32.data(), {3});
    expect_nothing_held<CNQFWChar>(pointer("abc"), {3});
}

FAULT_TEST_F(HolderFaults, AWideHolderHoldsNothingOfAnother, "String::CNQFWChar::CNQFWChar(CNQFWChar const&)",
             "String::CNQFWChar::CNQFWChar(CUTF8Char const&)", "String::CNQFWChar::CNQFWChar(CUTF16Char const&)",
             "String::CNQFWChar::CNQFWChar(CANSIChar const&)", "String::CNQFWChar::operator=(CNQFWChar const&)",
             "String::CNQFWChar::operator=(CUTF8Char const&)", "String::CNQFWChar::operator=(CUTF16Char const&)",
             "String::CNQFWChar::operator=(CANSIChar const&)")
{
    expect_nothing_held<CNQFWChar>(CNQFWChar(L"abc"), {4});
    expect_nothing_held<CNQFWChar>(CUTF8Char(L"abc"), {3});
    expect_nothing_held<CNQFWChar>(CUTF16Char(L"abc"), {3});
    expect_nothing_held<CNQFWChar>(CANSIChar("abc"), {3});
}

// The length of the temporary wide text of an ANSI source is lost with it.
FAULT_TEST_F(HolderFaults, AUtf8HolderHoldsNothing, "String::CUTF8Char::CUTF8Char(unsigned char const*)",
             "String::CUTF8Char::CUTF8Char(wchar_t const*)", "String::CUTF8Char::CUTF8Char(unsigned short const*)",
             "String::CUTF8Char::CUTF8Char(char const*)", "String::CUTF8Char::operator=(unsigned char const*)",
             "String::CUTF8Char::operator=(wchar_t const*)", "String::CUTF8Char::operator=(unsigned short const*)",
             "String::CUTF8Char::operator=(char const*)")
{
    expect_nothing_held<CUTF8Char>(utf8("abc"), {3});
    expect_nothing_held<CUTF8Char>(pointer(L"\u20AC"), {3});
    expect_nothing_held<CUTF8Char>(text16.data(), {4});
    expect_nothing_held<CUTF8Char>(pointer("ab\x80"), {0, 5});
}

FAULT_TEST_F(HolderFaults, AUtf8HolderHoldsNothingOfAnother, "String::CUTF8Char::CUTF8Char(CUTF8Char const&)",
             "String::CUTF8Char::CUTF8Char(CNQFWChar const&)", "String::CUTF8Char::CUTF8Char(CUTF16Char const&)",
             "String::CUTF8Char::CUTF8Char(CANSIChar const&)", "String::CUTF8Char::operator=(CUTF8Char const&)",
             "String::CUTF8Char::operator=(CNQFWChar const&)", "String::CUTF8Char::operator=(CUTF16Char const&)",
             "String::CUTF8Char::operator=(CANSIChar const&)")
{
    expect_nothing_held<CUTF8Char>(CUTF8Char(utf8("abc")), {3});
    expect_nothing_held<CUTF8Char>(CNQFWChar(L"\u20AC"), {3});
    expect_nothing_held<CUTF8Char>(CUTF16Char(L"ab"), {2});
    expect_nothing_held<CUTF8Char>(CANSIChar("ab\x80"), {0, 5});
}

FAULT_TEST_F(HolderFaults, AUtf16HolderHoldsNothing, "String::CUTF16Char::CUTF16Char(unsigned short const*)",
             "String::CUTF16Char::CUTF16Char(wchar_t const*)", "String::CUTF16Char::CUTF16Char(unsigned char const*)",
             "String::CUTF16Char::CUTF16Char(char const*)", "String::CUTF16Char::operator=(unsigned short const*)",
             "String::CUTF16Char::operator=(wchar_t const*)", "String::CUTF16Char::operator=(unsigned char const*)",
             "String::CUTF16Char::operator=(char const*)")
{
    expect_nothing_held<CUTF16Char>(text16.data(), {3});
    expect_nothing_held<CUTF16Char>(pointer(L"\u20AC\U0001F600"), {3});
    expect_nothing_held<CUTF16Char>(utf8("abc"), {3});
    expect_nothing_held<CUTF16Char>(pointer("ab\x80"), {0, 3});
}

FAULT_TEST_F(HolderFaults, AUtf16HolderHoldsNothingOfAnother, "String::CUTF16Char::CUTF16Char(CUTF16Char const&)",
             "String::CUTF16Char::CUTF16Char(CNQFWChar const&)", "String::CUTF16Char::CUTF16Char(CUTF8Char const&)",
             "String::CUTF16Char::CUTF16Char(CANSIChar const&)", "String::CUTF16Char::operator=(CUTF16Char const&)",
             "String::CUTF16Char::operator=(CNQFWChar const&)", "String::CUTF16Char::operator=(CUTF8Char const&)",
             "String::CUTF16Char::operator=(CANSIChar const&)")
{
    expect_nothing_held<CUTF16Char>(CUTF16Char(text16.data()), {3});
    expect_nothing_held<CUTF16Char>(CNQFWChar(L"ab"), {2});
    expect_nothing_held<CUTF16Char>(CUTF8Char(utf8("abc")), {3});
    expect_nothing_held<CUTF16Char>(CANSIChar("ab\x80"), {0, 3});
}

FAULT_TEST_F(HolderFaults, AnAnsiHolderHoldsNothing, "String::CANSIChar::CANSIChar(char const*)",
             "String::CANSIChar::CANSIChar(wchar_t const*)", "String::CANSIChar::CANSIChar(CANSIChar const&)",
             "String::CANSIChar::CANSIChar(CNQFWChar const&)", "String::CANSIChar::operator=(char const*)",
             "String::CANSIChar::operator=(wchar_t const*)", "String::CANSIChar::operator=(CANSIChar const&)",
             "String::CANSIChar::operator=(CNQFWChar const&)")
{
    expect_nothing_held<CANSIChar>(pointer("abc"), {3});
    expect_nothing_held<CANSIChar>(pointer(L"abc"), {2});
    expect_nothing_held<CANSIChar>(CANSIChar("abc"), {3});
    expect_nothing_held<CANSIChar>(CNQFWChar(L"abc"), {2});
}

FAULT_TEST_F(HolderFaults, TheOldTextGoesEvenIfItWasTheSource, "String::CNQFWChar::operator=(wchar_t const*)")
{
    fail_each_allocation(
        [](unsigned long nth)
        {
            CNQFWChar holder;
            {
                Undisturbed const pause;
                holder = L"abc";
            }
            holder = *holder;
            EXPECT_EQ(static_cast<bool>(holder), !fails(nth));
            EXPECT_EQ(holder.len(), 4UL);
        });
}

FAULT_TEST_F(HolderFaults, APatchThatFindsNoMemoryChangesNothing,
             "String::CNQFWChar::patch_percent_s_with(wchar_t const*)")
{
    EXPECT_EQ(fail_each_allocation(
                  [](unsigned long nth)
                  {
                      CNQFWChar holder;
                      {
                          Undisturbed const pause;
                          holder = L"a%s";
                      }
                      wchar_t const* const pointer = *holder;
                      holder.patch_percent_s_with(L"text");
                      Undisturbed const pause;
                      EXPECT_EQ(*holder == pointer, fails(nth));
                      EXPECT_EQ(holder.len(), fails(nth) ? 4UL : 8UL);
                      EXPECT_STREQ(*holder, fails(nth) ? L"a%s" : L"atext");
                      holder.patch_percent_s_with(L"text");
                      EXPECT_STREQ(*holder, L"atext");
                  }),
              1UL);
}
