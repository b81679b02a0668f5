// Names in trees that make trouble for the catalog example: no UTF-8, backslashes, characters that mean something to a
// terminal; and paths as URLs.

#include "catalog_tree.h"

namespace examples
{

using CatalogNames = CatalogTreeTest;

std::string two_digits(int number)
{
    return std::string(number < 10 ? "0" : "") + std::to_string(number);
}

TEST_F(CatalogNames, ANameThatIsNoUtf8IsShownEscapedWithItsOwnRecord)
{
    file("caf", 1);
    file("caf\xC3\xA9", 2);
    file("caf\xE9", 3);
    file("caf\xE8", 4);
    file("\xFF", 5);
    Json const json = survey();
    Json const& found = json["trees"][0];
    EXPECT_EQ(found["entries"].number(), 5U);
    EXPECT_EQ(found["bytes"].number(), 15U);
    EXPECT_EQ(found["distinct"].number(), 2U);
    EXPECT_EQ(json["components"].number(), 2U);
    EXPECT_EQ(json["refused_lines"].number(), 0U);
    EXPECT_EQ(found["invalid_names"].number(), 3U);
    EXPECT_EQ(paths(found["first_invalid_names"]), (Names{"caf\\xE8", "caf\\xE9", "\\xFF"}));
    EXPECT_EQ(paths(found["largest"]), (Names{"\\xFF", "caf\\xE8", "caf\\xE9", "caf\xC3\xA9", "caf"}));
    EXPECT_EQ(found["largest"][0]["escaped"].text, "true");
    EXPECT_EQ(found["largest"][3]["escaped"].text, "false");
    for (std::size_t place = 0; place < 5; ++place)
        EXPECT_EQ(found["largest"][place]["bytes"].number(), 5 - place);

    Outcome const text = run({root});
    EXPECT_EQ(text.status, 0);
    EXPECT_NE(text.out.find("\nNames that are no UTF-8 (bytes outside ASCII as \\xNN):\n  " + root + "/caf\\xE8\n"),
              std::string::npos)
        << text.out;
}

// The locale takes some of these, and the library's codec takes the others.
TEST_F(CatalogNames, EachKindOfNameThatIsNoUtf8IsOne)
{
    Names const bad = {"\x80",
                       "\xC3",
                       "\xC0\xAE",
                       "\xE0\x80\xAE",
                       "\xED\xA0\x80",
                       "\xF0\x9F\x98",
                       "\xF4\x90\x80\x80",
                       "\xF5\x80\x80\x80",
                       "\xF8\x88\x80\x80\x80"};
    for (std::string const& name : bad)
        file(name + "x");
    Json const found = tree();
    EXPECT_EQ(found["entries"].number(), bad.size());
    EXPECT_EQ(found["invalid_names"].number(), bad.size());
    EXPECT_EQ(found["distinct"].number(), 0U);
}

TEST_F(CatalogNames, ADirectoryWhoseNameIsNoUtf8IsEntered)
{
    directory("d\xE9");
    directory("d\xE9/good");
    file("d\xE9/good/file", 7);
    file("d\xE9/\xC3\xA4");
    link("good", "d\xE9/link");
    Json const found = tree();
    EXPECT_EQ(found["entries"].number(), 5U);
    EXPECT_EQ(found["links"].number(), 1U);
    EXPECT_EQ(found["invalid_names"].number(), 1U);
    EXPECT_EQ(found["distinct"].number(), 4U);
    EXPECT_EQ(found["bytes"].number(), 7U);
    EXPECT_EQ(paths(found["deepest"]).size(), 1U);
    EXPECT_EQ(found["deepest"][0]["path"].text, root + "/d\\xE9/good/file");
    EXPECT_EQ(found["deepest"][0]["escaped"].text, "true");
}

TEST_F(CatalogNames, TheRootMayHaveANameThatIsNoUtf8)
{
    directory("\xE9");
    file("\xE9/file", 1);
    Outcome const done = run({"--json", "--urls", "tree/\xE9/"});
    EXPECT_EQ(done.status, 0);
    Json const json = JsonReader(done.out).read();
    EXPECT_EQ(json["title"].text, "tree/\\xE9/");
    EXPECT_EQ(json["trees"][0]["path"].text, "tree/\\xE9");
    EXPECT_EQ(json["trees"][0]["largest"][0]["url"].text, "file://" + root + "/%E9/file");
}

TEST_F(CatalogNames, ListsTwentyBadNamesAndCountsAll)
{
    for (int number = 0; number < 23; ++number)
        file("\xFF" + two_digits(number));
    Json const found = tree();
    EXPECT_EQ(found["invalid_names"].number(), 23U);
    EXPECT_EQ(found["first_invalid_names"].size(), 20U);
    EXPECT_EQ(paths(found["first_invalid_names"])[19], "\\xFF19");
    EXPECT_NE(run({root}).out.find("/\\xFF19\n  and 3 more\n"), std::string::npos);
}

// For the library a backslash at the end of a path is a separator; for the system it is not.
TEST_F(CatalogNames, ABackslashIsAnOrdinaryCharacter)
{
    directory("d\\");
    file("d\\/name", 3);
    file("d\\name", 50);
    Json const found = tree({"--urls"});
    EXPECT_EQ(found["bytes"].number(), 53U);
    EXPECT_EQ(paths(found["largest"]), (Names{"d\\name", "d\\/name"}));
    EXPECT_EQ(found["largest"][0]["url"].text, "file://" + root + "/d%5Cname");
    EXPECT_EQ(found["largest"][1]["bytes"].number(), 3U);
    EXPECT_EQ(found["largest"][1]["url"].text, "file://" + root + "/d%5C/name");
}

TEST_F(CatalogNames, TextShowsNothingThatControlsATerminal)
{
    file("a\x1B[31m\xC3\xA4", 9);
    directory("\n");
    Outcome const done = run({root});
    EXPECT_NE(done.out.find("  " + root + "/a\\x1B[31m\xC3\xA4\n"), std::string::npos) << done.out;
    EXPECT_EQ(done.out.find('\x1B'), std::string::npos);
    EXPECT_EQ(tree()["largest"][0]["path"].text, root + "/a\x1B[31m\xC3\xA4");
}

TEST_F(CatalogNames, TextCutsLongPathsInTheMiddleBetweenCharacters)
{
    std::string const part = "xx\xE2\x82\xAC\xE2\x82\xAC" + std::string(190, 'y');
    directory(part);
    file(part + "/" + part, 1);
    std::string const out = run({root}).out;
    std::size_t const start = out.find("Largest files");
    std::string const line = out.substr(start, out.find("\n\n", start) - start);
    EXPECT_NE(line.find("  " + root + "/xx"), std::string::npos) << line;
    EXPECT_NE(line.find("yyy...yyy"), std::string::npos) << line;
    EXPECT_EQ(line.substr(line.size() - 100), std::string(100, 'y'));
    EXPECT_LT(line.size(), 300U);
    EXPECT_EQ(tree()["largest"][0]["path"].text, at(part + "/" + part));
}

TEST_F(CatalogNames, UrlsEscapeEverythingThatIsNotPlain)
{
    struct Case
    {
        std::string name;
        std::string url;
    };
    for (Case const& each :
         {Case{"plain-1._~", "plain-1._~"}, Case{"a b", "a%20b"}, Case{"50%", "50%25"}, Case{"\xC3\xA4", "%C3%A4"},
          Case{"a\x1B", "a%1B"}, Case{"q?#:", "q%3F%23%3A"}, Case{"\xE9 \xFF", "%E9%20%FF"}, Case{"\\", "%5C"}})
    {
        file(each.name);
        Json const found = tree({"--urls"});
        EXPECT_EQ(found["newest"][0]["url"].text, "file://" + root + "/" + each.url);
        EXPECT_EQ(found["deepest"][0]["url"].text, "file://" + root + "/" + each.url);
        std::filesystem::remove(at(each.name));
    }
}

TEST_F(CatalogNames, UrlsAreAbsoluteWhereTheArgumentIsNot)
{
    file("file");
    for (std::string const& argument : Names{"tree", "./tree/", "tree/../tree", "/" + root})
    {
        Json const json = JsonReader(run({"--json", "--urls", argument}).out).read();
        EXPECT_EQ(json["trees"][0]["url"].text, "file://" + root) << argument;
        EXPECT_EQ(json["trees"][0]["newest"][0]["url"].text, "file://" + root + "/file") << argument;
    }
}

TEST_F(CatalogNames, UrlsStandInPlaceOfPathsInTextAndOnlyOnRequest)
{
    directory("d d");
    file("d d/a", 1);
    file("d d/A");
    file("d d/\xFF");
    std::string const url = "file://" + root + "/d%20d";
    std::string const text = run({"--urls", root}).out;
    for (std::string const& line :
         {"\nTree file://" + root + "\n", "              1  " + url + "/a\n", "Z  " + url + "/A\n",
          "              2  A  a  in " + url + "\n", "\nNames that are no UTF-8:\n  " + url + "/%FF\n",
          "Deepest path, in levels:\n              2  " + url + "/A\n"})
        EXPECT_NE(text.find(line), std::string::npos) << line << "is not in\n" << text;
    EXPECT_EQ(run({root}).out.find("file:"), std::string::npos);
    EXPECT_EQ(run({"--json", root}).out.find("file:"), std::string::npos);
}

} // namespace examples
