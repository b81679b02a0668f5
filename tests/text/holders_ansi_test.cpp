#include "ORVA/String/Holders.h"
#include "text/holders_text.h"

#include <gtest/gtest.h>

#include <string>

using namespace ORVA::String;

namespace
{

TEST(CANSIChar, length_from_ansi_counts_bytes_defined_or_not)
{
    CANSIChar const holder("A\x80\x81\xFF");
    EXPECT_STREQ("A\x80\x81\xFF", *holder);
    EXPECT_EQ(4U, holder.len());
    EXPECT_EQ(4U, CANSIChar(holder).len());
}

TEST(CANSIChar, wide_text_loses_its_last_character)
{
    CANSIChar const holder(L"abc");
    EXPECT_STREQ("ab", *holder);
    EXPECT_EQ(2U, holder.len());
}

TEST(CANSIChar, wide_text_of_one_character_gives_an_empty_text)
{
    CANSIChar const holder(L"a");
    ASSERT_TRUE(holder);
    EXPECT_STREQ("", *holder);
    EXPECT_EQ(0U, holder.len());
}

TEST(CANSIChar, wide_text_goes_through_the_code_page)
{
    CANSIChar const holder(L"\u20AC\u0178\u00E9x");
    EXPECT_STREQ("\x80\x9F\xE9", *holder);
    EXPECT_EQ(3U, holder.len());
}

TEST(CANSIChar, empty_wide_text_gives_nothing)
{
    CANSIChar holder(L"");
    EXPECT_FALSE(holder);
    EXPECT_EQ(nullptr, *holder);
    EXPECT_EQ(0U, holder.len());
    holder = "old";
    holder = L"";
    EXPECT_FALSE(holder);
    EXPECT_EQ(0U, holder.len());
}

TEST(CANSIChar, null_pointers_give_nothing_with_length_0)
{
    CANSIChar const nothing;
    for (CANSIChar const& holder :
         {CANSIChar(static_cast<wchar_t const*>(nullptr)), CANSIChar(static_cast<char const*>(nullptr)),
          CANSIChar(CNQFWChar()), CANSIChar(nothing)})
    {
        EXPECT_FALSE(holder);
        EXPECT_EQ(0U, holder.len());
    }
    CANSIChar holder("old");
    holder = static_cast<wchar_t const*>(nullptr);
    EXPECT_FALSE(holder);
    EXPECT_EQ(0U, holder.len());
    holder = "old";
    holder = static_cast<char const*>(nullptr);
    EXPECT_FALSE(holder);
    EXPECT_EQ(0U, holder.len());
}

TEST(CANSIChar, refused_wide_text_gives_nothing_wherever_the_character_stands)
{
    for (unsigned int const invalid : {0x80U, 0x81U, 0x9DU, 0x9FU, 0x100U, 0x3B1U, 0x1F600U, 0x80000041U, 0xFFFFFFFFU})
        for (unsigned long position = 0; position <= 3; ++position)
        {
            std::vector<wchar_t> text = {L'a', L'b', L'c'};
            text.insert(text.begin() + static_cast<long>(position), wide(invalid));
            CANSIChar holder("old");
            holder = terminated(text).data();
            EXPECT_FALSE(holder);
            EXPECT_EQ(0U, holder.len());
        }
}

TEST(CANSIChar, wide_holder_is_read_by_its_pointer)
{
    CNQFWChar const source(L"abc");
    CANSIChar holder(source);
    EXPECT_STREQ("ab", *holder);
    EXPECT_EQ(2U, holder.len());
    holder = "old text";
    EXPECT_EQ(&holder, &(holder = source));
    EXPECT_STREQ("ab", *holder);
    EXPECT_EQ(2U, holder.len());
}

TEST(CANSIChar, each_assignment_replaces_the_old_text)
{
    CANSIChar holder("old");
    EXPECT_EQ(&holder, &(holder = L"wide"));
    EXPECT_STREQ("wid", *holder);
    EXPECT_EQ(3U, holder.len());
    EXPECT_EQ(&holder, &(holder = "ansi"));
    EXPECT_STREQ("ansi", *holder);
    EXPECT_EQ(4U, holder.len());
}

TEST(CANSIChar, every_length_of_wide_text_is_held_without_its_last_character)
{
    for (unsigned long length = 1; length < 200; ++length)
    {
        CANSIChar const holder(std::wstring(length, L'x').c_str());
        ASSERT_EQ(std::string(length - 1, 'x'), *holder);
        ASSERT_EQ(length - 1, holder.len());
    }
}

} // namespace
