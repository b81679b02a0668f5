#include "BaseOS_Unix_common/rune_locale.h"
#include "BaseOS_Unix_common/rune_mapping.h"
#include "ORVA/String/StringInfo.h"
#include "ORVA/String/WideText.h"

#include "support/macos/MacosDouble.h"

#include <gtest/gtest.h>

using namespace ORVA::String;
using namespace support::macos;

namespace
{

class MacosRuneMapping : public ::testing::Test
{
protected:
    void SetUp() override
    {
        reset_quietly();
        system().lower_shift = 1000;
        system().upper_shift = 2000;
    }
    void TearDown() override { reset_quietly(); }
};

TEST_F(MacosRuneMapping, is_the_systems_for_every_character)
{
    for (wchar_t const character : {L'\0', L'a', L'A', L'\u00DF', L'\U0001F600', L'\U0010FFFF'})
    {
        EXPECT_EQ(OS::rune_tolower(character), character + 1000);
        EXPECT_EQ(OS::rune_toupper(character), character + 2000);
    }
}

TEST_F(MacosRuneMapping, is_behind_the_functions_on_text)
{
    EXPECT_EQ(wctolower(L'A'), L'A' + 1000);
    EXPECT_EQ(wctoupper(L'a'), L'a' + 2000);
    EXPECT_EQ(wccmpi(L'c', L'a'), 2);
    EXPECT_EQ(wcscmpi(L"B", L"b"), L'B' - L'b');
}

// Nothing is known about what the system does to ASCII, so the evaluation asks for each character.
TEST_F(MacosRuneMapping, is_not_taken_for_granted_for_ascii)
{
    EXPECT_FALSE(OS::ascii_lowers_plainly());
    CStringInfo const evaluator;
    tagSTRINGBASICINFO shifted;
    tagSTRINGBASICINFO plain;
    ASSERT_EQ(evaluator.Eval(shifted, L"Text of more than sixteen characters"), 1);
    system().lower_shift = 0;
    ASSERT_EQ(evaluator.Eval(plain, L"Text of more than sixteen characters"), 1);
    EXPECT_EQ(shifted.sHash, plain.sHash);
    EXPECT_NE(shifted.sHashi, plain.sHashi);
}

} // namespace
