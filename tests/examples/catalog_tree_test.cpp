// What the catalog example finds in directory trees.

#include "catalog_tree.h"

#include <map>
#include <random>
#include <set>

namespace examples
{

using CatalogTree = CatalogTreeTest;

TEST_F(CatalogTree, CountsWhatIsThere)
{
    directory("a");
    directory("a/b");
    file("a/one", 10);
    file("a/b/one", 5);
    file("a/b/two");
    link("one", "a/link");
    ASSERT_EQ(mkfifo(at("pipe").c_str(), 0600), 0);

    Json const json = survey();
    Json const& found = json["trees"][0];
    EXPECT_EQ(json["title"].text, root);
    EXPECT_EQ(found["path"].text, root);
    EXPECT_EQ(found["escaped"].text, "false");
    EXPECT_EQ(found["entries"].number(), 7U);
    EXPECT_EQ(found["files"].number(), 3U);
    EXPECT_EQ(found["directories"].number(), 2U);
    EXPECT_EQ(found["links"].number(), 1U);
    EXPECT_EQ(found["others"].number(), 1U);
    EXPECT_EQ(found["bytes"].number(), 15U);
    EXPECT_EQ(found["distinct"].number(), 6U);
    for (char const* field : {"without_record", "case_clashes", "invalid_names", "unread_directories"})
        EXPECT_EQ(found[field].number(), 0U) << field;
    EXPECT_EQ(json["components"].number(), 7U);
    EXPECT_EQ(json["distinct"].number(), 6U);
    EXPECT_EQ(names(json["most_frequent"])[0], "one");
    EXPECT_EQ(json["lines"].number(), 0U);
    EXPECT_EQ(json["files_read"].number(), 0U);
    EXPECT_EQ(json["pool"]["verified"].text, "true");
}

TEST_F(CatalogTree, AnEmptyDirectoryIsAReportOfNothing)
{
    Json const json = survey();
    Json const& found = json["trees"][0];
    EXPECT_EQ(found["entries"].number(), 0U);
    for (char const* list : {"largest", "newest", "deepest"})
        EXPECT_EQ(found[list].size(), 0U) << list;
    EXPECT_EQ(json["pool"]["verified"].text, "null");
    Outcome const text = run({root});
    EXPECT_EQ(text.status, 0);
    EXPECT_NE(text.out.find("\n  entries                                     0\n"), std::string::npos) << text.out;
}

TEST_F(CatalogTree, NamesTheSpellingsThatMeetInOneDirectory)
{
    directory("b");
    directory("a");
    for (char const* name : {"README", "readme", "Readme", "lone", "a/Make", "a/make", "b/LONE", "b/\xC3\x84rger",
                             "b/\xC3\xA4rger", "b/other"})
        file(name);
    Json const found = tree();
    EXPECT_EQ(found["distinct"].number(), 12U);
    EXPECT_EQ(found["distinct_ignoring_case"].number(), 7U);
    EXPECT_EQ(found["case_clashes"].number(), 3U);
    Json const& clashes = found["first_case_clashes"];
    EXPECT_EQ(paths(clashes), (Names{root, "a", "b"}));
    EXPECT_EQ(texts(clashes[0]["names"]), (Names{"README", "Readme", "readme"}));
    EXPECT_EQ(texts(clashes[1]["names"]), (Names{"Make", "make"}));
    EXPECT_EQ(texts(clashes[2]["names"]), (Names{"\xC3\x84rger", "\xC3\xA4rger"}));

    Outcome const text = run({root});
    EXPECT_NE(text.out.find("              3  README  Readme  readme  in " + root +
                            "\n              2  Make  make  in " + root + "/a\n"),
              std::string::npos)
        << text.out;
}

TEST_F(CatalogTree, ListsTwentyClashesAndCountsAll)
{
    for (int number = 0; number < 25; ++number)
    {
        file("name" + std::to_string(number));
        file("Name" + std::to_string(number));
    }
    Json const found = tree();
    EXPECT_EQ(found["case_clashes"].number(), 25U);
    EXPECT_EQ(found["first_case_clashes"].size(), 20U);
    EXPECT_EQ(texts(found["first_case_clashes"][0]["names"]), (Names{"Name0", "name0"}));
    EXPECT_NE(run({root}).out.find("\n  and 5 more\n"), std::string::npos);
}

TEST_F(CatalogTree, RanksFilesBySizeAndThenByPath)
{
    directory("d");
    for (int number = 0; number < 12; ++number)
        file("d/" + std::to_string(10 + number), 100);
    file("large", 1'234'567);
    link("large", "a link");
    Json const found = tree();
    EXPECT_EQ(paths(found["largest"]),
              (Names{"large", "d/10", "d/11", "d/12", "d/13", "d/14", "d/15", "d/16", "d/17", "d/18"}));
    EXPECT_EQ(found["largest"][0]["bytes"].number(), 1'234'567U);
    EXPECT_EQ(found["largest"][9]["bytes"].number(), 100U);
    EXPECT_NE(run({root}).out.find("Largest files, in bytes:\n      1,234,567  " + root + "/large\n"),
              std::string::npos);
}

TEST_F(CatalogTree, RanksFilesByTheirLastModification)
{
    directory("directories do not count");
    for (char const* name : {"old", "new", "middle", "before the epoch"})
        file(name);
    modified("old", 1);
    modified("new", 4'102'444'800);
    modified("middle", 1'000'000'000);
    modified("before the epoch", -86'400);
    Json const found = tree();
    Json const& newest = found["newest"];
    EXPECT_EQ(paths(newest), (Names{"new", "middle", "old", "before the epoch"}));
    EXPECT_EQ(newest[0]["modified"].text, "2100-01-01T00:00:00Z");
    EXPECT_EQ(newest[0]["modified_seconds"].text, "4102444800");
    EXPECT_EQ(newest[1]["modified"].text, "2001-09-09T01:46:40Z");
    EXPECT_EQ(newest[3]["modified"].text, "1969-12-31T00:00:00Z");
    EXPECT_EQ(newest[3]["modified_seconds"].text, "-86400");
    EXPECT_NE(run({root}).out.find("\n  2100-01-01T00:00:00Z  " + root + "/new\n"), std::string::npos);
}

TEST_F(CatalogTree, TellsTheDeepestPath)
{
    for (char const* name : {"a", "a/b", "c", "c/d", "c/d/e"})
        directory(name);
    file("c/d/z");
    file("longer name, but not as deep");
    Json const found = tree();
    EXPECT_EQ(paths(found["deepest"]), (Names{"c/d/e"}));
    EXPECT_EQ(found["deepest"][0]["levels"].number(), 3U);
    EXPECT_NE(run({root}).out.find("Deepest path, in levels:\n              3  " + root + "/c/d/e\n"),
              std::string::npos);
}

TEST_F(CatalogTree, DoesNotFollowLinks)
{
    directory("a");
    file("a/file", 1000);
    link("..", "a/up");
    link("a", "again");
    link("a/file", "second");
    link("nowhere", "dangling");
    Json const found = tree();
    EXPECT_EQ(found["entries"].number(), 6U);
    EXPECT_EQ(found["links"].number(), 4U);
    EXPECT_EQ(found["bytes"].number(), 1000U);
    EXPECT_EQ(found["deepest"][0]["levels"].number(), 2U);
}

TEST_F(CatalogTree, FollowsALinkThatItIsGiven)
{
    file("file", 3);
    std::filesystem::create_symlink("tree", work.path() + "/link");
    for (std::string const argument : {"link", "link/", "link//"})
    {
        Outcome const done = run({"--json", "--urls", argument});
        EXPECT_EQ(done.status, 0);
        Json const found = JsonReader(done.out).read()["trees"][0];
        EXPECT_EQ(found["path"].text, "link");
        EXPECT_EQ(found["largest"][0]["path"].text, "link/file");
        EXPECT_EQ(found["largest"][0]["url"].text, "file://" + root + "/file");
    }
}

// All are names of one file, which are made in no time; it counts for each.
TEST_F(CatalogTree, ReadsADirectoryOfTenThousandEntries)
{
    std::string const first = work.file("first", "12345");
    directory("many");
    for (int number = 0; number < 10'000; ++number)
        std::filesystem::create_hard_link(first, at("many/" + std::to_string(number)));
    Json const json = survey();
    Json const& found = json["trees"][0];
    EXPECT_EQ(found["entries"].number(), 10'001U);
    EXPECT_EQ(found["files"].number(), 10'000U);
    EXPECT_EQ(found["bytes"].number(), 50'000U);
    EXPECT_EQ(found["distinct"].number(), 10'001U);
    EXPECT_EQ(json["distinct"].number(), 10'001U);
}

// A random tree against plain containers. Names that differ only by case and ones that are no UTF-8 are frequent.
TEST_F(CatalogTree, AgreesWithPlainContainersOnARandomTree)
{
    struct Letter
    {
        std::string text;
        std::string lower;
        bool valid;
    };
    std::vector<Letter> const letters = {{"a", "a", true},
                                         {"A", "a", true},
                                         {"b", "b", true},
                                         {"\xC3\x84", "\xC3\xA4", true},
                                         {"\xC3\xA4", "\xC3\xA4", true},
                                         {"\\", "\\", true},
                                         {"\xE9", "", false}};
    std::mt19937 random(11);
    Names directories = {"."};
    std::set<std::string> taken;
    std::set<std::string> distinct;
    std::set<std::string> folded;
    std::map<std::string, unsigned long> meetings;
    unsigned long files = 0;
    unsigned long bytes = 0;
    unsigned long invalid = 0;
    for (int tries = 0; tries < 1500; ++tries)
    {
        std::string const parent = directories[random() % directories.size()];
        std::string name;
        std::string lower;
        bool valid = true;
        for (auto length = 1 + random() % 3; length != 0; --length)
        {
            Letter const& letter = letters[random() % letters.size()];
            name += letter.text;
            lower += letter.lower;
            valid = valid && letter.valid;
        }
        std::string const path = parent + "/" + name;
        if (!taken.insert(path).second)
            continue;
        if (random() % 5 == 0)
        {
            directory(path);
            directories.push_back(path);
        }
        else
        {
            unsigned long const size = random() % 100;
            file(path, size);
            ++files;
            bytes += size;
        }
        if (!valid)
        {
            ++invalid;
            continue;
        }
        distinct.insert(name);
        folded.insert(lower);
        ++meetings[parent + "/" + lower];
    }
    unsigned long clashes = 0;
    for (auto const& meeting : meetings)
        clashes += meeting.second > 1;

    Json const found = tree();
    EXPECT_EQ(found["entries"].number(), taken.size());
    EXPECT_EQ(found["files"].number(), files);
    EXPECT_EQ(found["directories"].number(), directories.size() - 1);
    EXPECT_EQ(found["bytes"].number(), bytes);
    EXPECT_EQ(found["distinct"].number(), distinct.size());
    EXPECT_EQ(found["distinct_ignoring_case"].number(), folded.size());
    EXPECT_EQ(found["case_clashes"].number(), clashes);
    EXPECT_EQ(found["invalid_names"].number(), invalid);
    EXPECT_EQ(found["unread_directories"].number(), 0U);
    EXPECT_EQ(found["without_record"].number(), 0U);
    EXPECT_GT(clashes, 20U);
    EXPECT_GT(invalid, 100U);
}

} // namespace examples
