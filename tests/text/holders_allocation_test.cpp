#include "ORVA/String/Holders.h"
#include "support/AllocationFailure.h"
#include "text/holders_text.h"

#include <gtest/gtest.h>

#include <utility>

using namespace ORVA::String;
using support::AllocationFailure;

namespace
{

Shorts const text16 = {0x20AC, 0xD83D, 0xDE00, 0};
Ints const text32 = {'a', 'b', 'c', 0};

/// Fills a holder from `source` with the `nth` allocation failing, by assignment over an old text and by
/// construction, and checks that it holds nothing and has the length `length`.
template <class Holder, class Source>
void expect_nothing(Source const* source, unsigned long nth, unsigned long length)
{
    for (auto const duration : {AllocationFailure::once, AllocationFailure::forever})
    {
        Holder holder(source);
        ASSERT_TRUE(holder);
        {
            AllocationFailure const failure(nth, duration);
            holder = source;
            EXPECT_EQ(1U, failure.failures());
        }
        EXPECT_FALSE(holder);
        EXPECT_EQ(nullptr, *holder);
        EXPECT_EQ(length, holder.len());
        {
            AllocationFailure const failure(nth, duration);
            Holder const constructed(source);
            EXPECT_FALSE(constructed);
            EXPECT_EQ(length, constructed.len());
        }
        holder = source;
        EXPECT_TRUE(holder);
    }
}

/// The number of allocations that filling a holder from `source` makes.
template <class Holder, class Source>
unsigned long allocations(Source const* source)
{
    AllocationFailure const counter(0);
    Holder const holder(source);
    return counter.attempts();
}

/// The size in bytes of the last allocation that filling a holder from `source` makes.
template <class Holder, class Source>
unsigned long last_size(Source const* source)
{
    AllocationFailure const counter(0);
    Holder const holder(source);
    return counter.last_size();
}

TEST(HoldersAllocation, failure_leaves_null_and_the_measured_length_in_a_wide_holder)
{
    expect_nothing<CNQFWChar>(L"abc", 1, 4);
    expect_nothing<CNQFWChar>(utf8("ab\xE2\x82\xAC"), 1, 3);
    expect_nothing<CNQFWChar>(text16.data(), 1, 2);
    expect_nothing<CNQFWChar>(text32.data(), 1, 3);
    expect_nothing<CNQFWChar>("abc", 1, 3);
}

TEST(HoldersAllocation, failure_leaves_null_and_the_measured_length_in_a_utf8_holder)
{
    expect_nothing<CUTF8Char>(utf8("abc"), 1, 3);
    expect_nothing<CUTF8Char>(L"\u20AC", 1, 3);
    expect_nothing<CUTF8Char>(text16.data(), 1, 4);
    expect_nothing<CUTF8Char>("ab\x80", 2, 5);
}

TEST(HoldersAllocation, failure_leaves_null_and_the_measured_length_in_a_utf16_holder)
{
    expect_nothing<CUTF16Char>(text16.data(), 1, 3);
    expect_nothing<CUTF16Char>(L"\u20AC\U0001F600", 1, 3);
    // measured as two units, of which none would be written
    expect_nothing<CUTF16Char>(utf8("\xF4\x90\x80\x80"), 1, 2);
    expect_nothing<CUTF16Char>("ab\x80", 2, 3);
}

TEST(HoldersAllocation, failure_of_the_temporary_wide_text_leaves_null_and_0)
{
    expect_nothing<CUTF8Char>("abc", 1, 0);
    expect_nothing<CUTF16Char>("abc", 1, 0);
}

TEST(HoldersAllocation, failure_leaves_null_and_the_length_in_an_ansi_holder)
{
    expect_nothing<CANSIChar>("abc", 1, 3);
    expect_nothing<CANSIChar>(L"abc", 1, 2);
}

TEST(HoldersAllocation, failure_leaves_a_patched_holder_as_it_was)
{
    CNQFWChar holder(L"a%s");
    wchar_t const* const pointer = *holder;
    {
        AllocationFailure const failure(1);
        holder.patch_percent_s_with(L"text");
        EXPECT_EQ(1U, failure.failures());
    }
    EXPECT_EQ(pointer, *holder);
    EXPECT_EQ(std::wstring(L"a%s"), *holder);
    EXPECT_EQ(4U, holder.len());
}

TEST(HoldersAllocation, one_for_each_conversion_and_two_from_ansi_to_utf8_and_utf16)
{
    EXPECT_EQ(1U, allocations<CNQFWChar>(L"abc"));
    EXPECT_EQ(1U, allocations<CNQFWChar>(utf8("abc")));
    EXPECT_EQ(1U, allocations<CNQFWChar>(text16.data()));
    EXPECT_EQ(1U, allocations<CNQFWChar>(text32.data()));
    EXPECT_EQ(1U, allocations<CNQFWChar>("abc"));
    EXPECT_EQ(1U, allocations<CUTF8Char>(L"abc"));
    EXPECT_EQ(1U, allocations<CUTF8Char>(utf8("abc")));
    EXPECT_EQ(1U, allocations<CUTF8Char>(text16.data()));
    EXPECT_EQ(2U, allocations<CUTF8Char>("abc"));
    EXPECT_EQ(1U, allocations<CUTF16Char>(L"abc"));
    EXPECT_EQ(1U, allocations<CUTF16Char>(utf8("abc")));
    EXPECT_EQ(1U, allocations<CUTF16Char>(text16.data()));
    EXPECT_EQ(2U, allocations<CUTF16Char>("abc"));
    EXPECT_EQ(1U, allocations<CANSIChar>("abc"));
    EXPECT_EQ(1U, allocations<CANSIChar>(L"abc"));
}

TEST(HoldersAllocation, none_from_a_null_pointer_or_from_wide_text_that_has_no_ansi_form)
{
    EXPECT_EQ(0U, allocations<CNQFWChar>(static_cast<char const*>(nullptr)));
    EXPECT_EQ(0U, allocations<CUTF8Char>(static_cast<char const*>(nullptr)));
    EXPECT_EQ(0U, allocations<CUTF16Char>(static_cast<wchar_t const*>(nullptr)));
    EXPECT_EQ(0U, allocations<CANSIChar>(L""));
    EXPECT_EQ(0U, allocations<CANSIChar>(L"\u03B1"));
}

TEST(HoldersAllocation, buffer_is_as_large_as_the_measure_and_the_terminator)
{
    EXPECT_EQ(4U * sizeof(wchar_t), last_size<CNQFWChar>(L"abc"));
    EXPECT_EQ(2U * sizeof(wchar_t), last_size<CNQFWChar>(utf8("\xE2\x82\xAC")));
    EXPECT_EQ(3U * sizeof(wchar_t), last_size<CNQFWChar>(text16.data()));
    EXPECT_EQ(4U * sizeof(wchar_t), last_size<CNQFWChar>(text32.data()));
    EXPECT_EQ(4U * sizeof(wchar_t), last_size<CNQFWChar>("ab\x80"));
    EXPECT_EQ(4U, last_size<CUTF8Char>(L"\u20AC"));
    EXPECT_EQ(4U, last_size<CUTF8Char>(utf8("\xE2\x82\xAC")));
    EXPECT_EQ(5U, last_size<CUTF8Char>(text16.data()));
    EXPECT_EQ(4U * sizeof(unsigned short), last_size<CUTF16Char>(L"a\U0001F600"));
    EXPECT_EQ(3U * sizeof(unsigned short), last_size<CUTF16Char>(utf8("\xF0\x9F\x98\x80")));
    EXPECT_EQ(4U * sizeof(unsigned short), last_size<CUTF16Char>(text16.data()));
}

TEST(HoldersAllocation, ansi_buffer_has_8_bytes_for_each_character)
{
    EXPECT_EQ(8U * 4, last_size<CANSIChar>("abc"));
    EXPECT_EQ(8U * 1, last_size<CANSIChar>(""));
    EXPECT_EQ(8U * 3, last_size<CANSIChar>(L"abc"));
}

TEST(HoldersAllocation, patched_buffer_has_room_for_the_length_that_is_stored)
{
    CNQFWChar holder(L"a%sb%s"); // 7
    AllocationFailure const counter(0);
    holder.patch_percent_s_with(L"xyz");
    EXPECT_EQ(1U, counter.attempts());
    EXPECT_EQ((7 + 2 * 3 + 1) * sizeof(wchar_t), counter.last_size());
}

TEST(HoldersAllocation, moving_and_self_assignment_allocate_nothing)
{
    CNQFWChar source(L"abc");
    CNQFWChar& self = source;
    AllocationFailure const counter(0);
    source = self;
    CNQFWChar target(std::move(source));
    source = std::move(target);
    EXPECT_EQ(0U, counter.attempts());
    EXPECT_TRUE(source);
}

} // namespace
