#include "BaseOS_Unix_common/rune_locale.h"

#include "ORVA/String/StringInfo.h"
#include "reference/plain_evaluation.h"

#include <gtest/gtest.h>

#include <locale.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdlib>
#include <cwctype>
#include <filesystem>
#include <string>
#include <thread>

// The leak detector's switch, where the program has one.
extern "C" __attribute__((weak)) void __lsan_disable();
extern "C" __attribute__((weak)) void __lsan_enable();

namespace
{

using ORVA::String::tagSTRINGBASICINFO;
using ORVA::String::OS::ascii_lowers_plainly;

ORVA::String::CStringInfo const evaluator;
reference::PlainEvaluation const twin;

constexpr wchar_t capitals[] = L"ISTANBUL I AND A TITLE";

// True if the evaluation agrees with the twin, which asks the mapping for every character.
bool agrees(wchar_t const* text)
{
    tagSTRINGBASICINFO info;
    tagSTRINGBASICINFO expected;
    return evaluator.Eval(info, text) == 1 && twin(expected, text) == 1 && info.sHash == expected.sHash &&
           info.sHashi == expected.sHashi;
}

#if defined(__GLIBC__)
constexpr bool platform_tells = true;
#else
constexpr bool platform_tells = false;
#endif

// A locale for threads. The system library never frees the list that newlocale makes of LOCPATH, so the leak detector
// must not watch the call.
locale_t make_locale(char const* name)
{
    if (__lsan_disable != nullptr)
        __lsan_disable();
    locale_t const made = newlocale(LC_ALL_MASK, name, nullptr);
    if (__lsan_enable != nullptr)
        __lsan_enable();
    return made;
}

// Compiles Turkish and German once into a directory of its own. Where the platform's compiler of locales or its sources
// are missing, there is nothing to test with.
class RuneLocale : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        std::string pattern = testing::TempDir() + "orva-locale-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        directory = pattern;
        // An 8-bit code set takes a fraction of the time that UTF-8 takes; the mapping is that of wide characters.
        has_locales = compile("tr_TR", "ISO-8859-9") && compile("de_DE", "ISO-8859-1");
        setenv("LOCPATH", pattern.c_str(), 1);
    }

    static void TearDownTestSuite()
    {
        unsetenv("LOCPATH");
        std::filesystem::remove_all(directory);
    }

    void SetUp() override
    {
        if (!has_locales)
            GTEST_SKIP() << "no Turkish and German locales here";
    }

    void TearDown() override
    {
        uselocale(LC_GLOBAL_LOCALE);
        setlocale(LC_ALL, "C");
    }

private:
    static bool compile(std::string const& name, std::string const& code_set)
    {
        std::string const target = (directory / name).string();
        std::string const command = "localedef -c -i " + name + " -f " + code_set + " '" + target + "' >/dev/null 2>&1";
        return std::system(command.c_str()) == 0 && std::filesystem::exists(target);
    }

    inline static std::filesystem::path directory;
    inline static bool has_locales = false;
};

TEST(RuneLocalePlain, AsciiIsPlainInTheStandardLocales)
{
    for (char const* name : {"C", "POSIX", "C.UTF-8"})
    {
        ASSERT_NE(setlocale(LC_ALL, name), nullptr) << name;
        EXPECT_EQ(ascii_lowers_plainly(), platform_tells) << name;
        EXPECT_EQ(ascii_lowers_plainly(), platform_tells) << name;
        EXPECT_TRUE(agrees(capitals)) << name;
    }
    setlocale(LC_ALL, "C");
}

TEST_F(RuneLocale, TurkishOfTheProcessIsNotPlainAndTheEvaluationFollowsIt)
{
    EXPECT_EQ(ascii_lowers_plainly(), platform_tells);
    for (int round = 0; round < 3; ++round)
    {
        ASSERT_NE(setlocale(LC_ALL, "tr_TR"), nullptr);
        ASSERT_EQ(std::towlower(L'I'), 0x131U);
        EXPECT_FALSE(ascii_lowers_plainly());
        EXPECT_FALSE(ascii_lowers_plainly());
        EXPECT_TRUE(agrees(capitals));
        EXPECT_TRUE(agrees(L"I"));
        EXPECT_TRUE(agrees(L"small letters only: i"));
        EXPECT_TRUE(agrees(L"\u00C9 I i \u0130"));
        setlocale(LC_ALL, "C");
        EXPECT_EQ(ascii_lowers_plainly(), platform_tells);
        EXPECT_TRUE(agrees(capitals));
    }
}

TEST_F(RuneLocale, TurkishOfOneThreadIsNotPlainThereAndPlainElsewhere)
{
    // A fresh locale each time, so that its memory is used again and again.
    for (int round = 0; round < 4; ++round)
    {
        locale_t const turkish = make_locale("tr_TR");
        ASSERT_NE(turkish, nullptr);
        uselocale(turkish);
        EXPECT_FALSE(ascii_lowers_plainly());
        EXPECT_TRUE(agrees(capitals));
        std::thread(
            []
            {
                EXPECT_EQ(ascii_lowers_plainly(), platform_tells);
                EXPECT_TRUE(agrees(capitals));
            })
            .join();
        uselocale(LC_GLOBAL_LOCALE);
        freelocale(turkish);
        EXPECT_EQ(ascii_lowers_plainly(), platform_tells);
        EXPECT_TRUE(agrees(capitals));
        locale_t const plain = make_locale("C.UTF-8");
        if (plain != nullptr)
        {
            uselocale(plain);
            EXPECT_TRUE(agrees(capitals));
            uselocale(LC_GLOBAL_LOCALE);
            freelocale(plain);
        }
    }
}

TEST_F(RuneLocale, LocaleThatOnlyThreadsHaveUsedIsNotTrustedUntilItIsTheProcesssOwn)
{
    // Its data may be unloaded, and other data may take its place in memory.
    locale_t const german = make_locale("de_DE");
    ASSERT_NE(german, nullptr);
    uselocale(german);
    EXPECT_FALSE(ascii_lowers_plainly());
    EXPECT_FALSE(ascii_lowers_plainly());
    EXPECT_TRUE(agrees(capitals));
    uselocale(LC_GLOBAL_LOCALE);
    ASSERT_NE(setlocale(LC_ALL, "de_DE"), nullptr);
    EXPECT_EQ(ascii_lowers_plainly(), platform_tells);
    EXPECT_TRUE(agrees(capitals));
    setlocale(LC_ALL, "C");
    uselocale(german);
    EXPECT_EQ(ascii_lowers_plainly(), platform_tells);
    EXPECT_TRUE(agrees(capitals));
    uselocale(LC_GLOBAL_LOCALE);
    freelocale(german);
}

TEST_F(RuneLocale, ChangeOfTheProcessReachesThreadsThatRunAlready)
{
    EXPECT_EQ(ascii_lowers_plainly(), platform_tells);
    int stage = 0;
    std::thread runner(
        [&stage]
        {
            EXPECT_EQ(ascii_lowers_plainly(), platform_tells);
            EXPECT_TRUE(agrees(capitals));
            __atomic_store_n(&stage, 1, __ATOMIC_SEQ_CST);
            while (__atomic_load_n(&stage, __ATOMIC_SEQ_CST) != 2)
                std::this_thread::yield();
            EXPECT_FALSE(ascii_lowers_plainly());
            EXPECT_TRUE(agrees(capitals));
        });
    while (__atomic_load_n(&stage, __ATOMIC_SEQ_CST) != 1)
        std::this_thread::yield();
    EXPECT_NE(setlocale(LC_ALL, "tr_TR"), nullptr);
    __atomic_store_n(&stage, 2, __ATOMIC_SEQ_CST);
    runner.join();
}

} // namespace
