// What the catalog example tells about the names, as JSON and as text.

#include "catalog_test.h"

namespace examples
{

using CatalogReport = CatalogTest;

TEST_F(CatalogReport, CountsNamesExactlyAndIgnoringCase)
{
    Json const json = report("Readme/README/readme\nother\n\xC3\x84rger/\xC3\xA4rger\nreadme2\n");
    EXPECT_EQ(json["distinct"].number(), 7U);
    EXPECT_EQ(json["distinct_ignoring_case"].number(), 4U);
    EXPECT_EQ(json["words_with_spellings"].number(), 2U);
}

TEST_F(CatalogReport, CaseDoesNotDependOnTheLocaleOfTheCaller)
{
    std::string const input = work.file("names", "\xC3\x84rger/\xC3\xA4rger\n");
    for (char const* locale : {"LC_ALL=C", "LC_ALL=C.UTF-8", "LC_ALL=nonsense"})
    {
        Outcome const done = work.run({"/usr/bin/env", locale, CATALOG_PROGRAM, "--json", input});
        EXPECT_EQ(done.status, 0);
        Json const json = JsonReader(done.out).read();
        EXPECT_EQ(json["distinct_ignoring_case"].number(), 1U) << locale;
        EXPECT_EQ(names(json["longest"])[0], "\xC3\x84rger") << locale;
    }
}

TEST_F(CatalogReport, ListsSpellingsMostFirstAndTheFrequentOneFirst)
{
    Json const json = report("ab/aB/aB\nxyz/XYZ/Xyz/Xyz\nlone\n");
    Json const& spellings = json["spellings"];
    ASSERT_EQ(spellings.size(), 2U);
    EXPECT_EQ(names(spellings[0]), (Names{"Xyz", "XYZ", "xyz"}));
    EXPECT_EQ(names(spellings[1]), (Names{"aB", "ab"}));
    EXPECT_EQ(spellings[1][0]["count"].number(), 2U);
}

TEST_F(CatalogReport, ListsTheLongestByCharactersAndTheMostFrequent)
{
    Json const json = report("ccc/b/\xE2\x82\xAC\xE2\x82\xAC\nb/aaa\nccc/b\n");
    EXPECT_EQ(names(json["longest"]), (Names{"aaa", "ccc", "\xE2\x82\xAC\xE2\x82\xAC", "b"}));
    EXPECT_EQ(json["longest"][2]["characters"].number(), 2U);
    EXPECT_EQ(json["longest"][2]["bytes"].number(), 6U);
    EXPECT_EQ(names(json["most_frequent"]), (Names{"b", "ccc", "aaa", "\xE2\x82\xAC\xE2\x82\xAC"}));
    EXPECT_EQ(json["most_frequent"][0]["count"].number(), 3U);
}

TEST_F(CatalogReport, ListsTenNamesAtMost)
{
    std::string input;
    for (char letter = 'a'; letter <= 'p'; ++letter)
        input += std::string(1, letter) + "\n" + std::string(1, static_cast<char>(letter - 'a' + 'A')) + "\n";
    Json const json = report(input);
    EXPECT_EQ(json["distinct"].number(), 32U);
    EXPECT_EQ(json["words_with_spellings"].number(), 16U);
    EXPECT_EQ(json["longest"].size(), 10U);
    EXPECT_EQ(json["most_frequent"].size(), 10U);
    EXPECT_EQ(json["spellings"].size(), 10U);
}

// A record takes 56 bytes, and its text 4 for each character and for the terminator.
TEST_F(CatalogReport, TellsThePoolsSizeInBytes)
{
    Json const json = report("abc/defgh\nabc\n");
    EXPECT_EQ(json["pool"]["bytes"].number(), 72U + 80U);
    EXPECT_EQ(json["pool"]["bytes_per_string"].text, "76.000");
}

TEST_F(CatalogReport, MeasuresLookUpsAndVerifiesThePool)
{
    Json const json = report("usr/share/doc\n");
    EXPECT_GT(json["pool"]["lookups_per_second"]["utf8"].number(), 0U);
    EXPECT_GT(json["pool"]["lookups_per_second"]["wide"].number(), 0U);
    EXPECT_GT(json["pool"]["lookups_per_second"]["ignoring_case"].number(), 0U);
    EXPECT_EQ(json["pool"]["verified"].text, "true");
}

TEST_F(CatalogReport, JsonHoldsAnyNameAsItWas)
{
    Names strange;
    for (char code = 1; code < 0x30; ++code)
    {
        if (code != '\n' && code != '/')
            strange.push_back("n" + std::string(1, code) + "n");
    }
    for (char const* text : {"\\", "\"", "\\u0041", "\x7F.", "\xC2\x85.", "\xE2\x80\xA8.", "\xE2\x80\xAE.",
                             "\xEF\xBB\xBF.", "\xF0\x9F\x98\x80.", "\xEE\x80\x80."})
        strange.push_back(text);
    for (std::string const& name : strange)
    {
        Json const json = report(name + "\n");
        ASSERT_EQ(json["longest"].size(), 1U) << name;
        EXPECT_EQ(json["longest"][0]["name"].text, name);
    }
}

TEST_F(CatalogReport, TextIsAlignedWithThousandsSeparators)
{
    std::string input;
    for (int line = 0; line < 1234; ++line)
        input += "abc/defgh\n";
    Outcome const done = run({"-"}, input);
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.err, "");
    for (char const* line :
         {"\n  lines                                   1,234\n", "\n  bytes                                  12,340\n",
          "\n  components                              2,468\n", "\n  distinct                                    2\n",
          "\n          1,234  abc\n", "\n              5  defgh\n",
          "\n  bytes per string                         76.0\n", "\n  Verify() holds\n",
          "pooled look-ups per second, one thread"})
        EXPECT_NE(done.out.find(line), std::string::npos) << line << "is not in\n" << done.out;
}

TEST_F(CatalogReport, TextNamesTheSpellingsOfAWord)
{
    Outcome const done = run({"-"}, "README/readme/README\n");
    EXPECT_NE(done.out.find("Spellings that differ only by case, of 1 word:\n              2  README  readme\n"),
              std::string::npos)
        << done.out;
}

TEST_F(CatalogReport, TextShowsNothingThatControlsATerminal)
{
    Outcome const done = run({"-"}, "a\x1B[31m\\\x07\x7F\xC3\xA4\n");
    EXPECT_NE(done.out.find("  a\\x1B[31m\\\\\\x07\\x7F\xC3\xA4\n"), std::string::npos) << done.out;

    // C1 controls, marks and overrides of the writing direction, separators, and what is not seen at all.
    for (std::string const raw : {"\xC2\x80", "\xC2\x9B", "\xC2\x9F", "\xD8\x9C", "\xE2\x80\x8B", "\xE2\x80\x8F",
                                  "\xE2\x80\xA8", "\xE2\x80\xAE", "\xE2\x81\xA0", "\xE2\x81\xA6", "\xEF\xBB\xBF"})
    {
        std::string const out = run({"-"}, "name" + raw + "\n").out;
        EXPECT_NE(out.find("  name\\x"), std::string::npos) << out;
        EXPECT_EQ(out.find(raw), std::string::npos) << out;
    }
}

TEST_F(CatalogReport, TextCutsLongNames)
{
    Outcome const done = run({"-"}, std::string(90, 'x') + "/" + std::string(91, 'y') + "\n");
    EXPECT_NE(done.out.find("  " + std::string(90, 'x') + "\n"), std::string::npos) << done.out;
    EXPECT_NE(done.out.find("  " + std::string(90, 'y') + "...\n"), std::string::npos) << done.out;
}

} // namespace examples
