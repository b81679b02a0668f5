// The catalog example as a program with directories: arguments, what cannot be read, terminals.

#include "catalog_tree.h"
#include "terminal.h"

#include <cstdlib>
#include <unistd.h>

namespace examples
{

class CatalogTreesProgram : public CatalogTreeTest
{
protected:
    // Runs the catalog as a user who may not do everything.
    Outcome run_as_nobody(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {CATALOG_PROGRAM, "--watch", "0"});
        if (geteuid() == 0)
        {
            std::filesystem::permissions(work.path(), std::filesystem::perms(0755));
            arguments.insert(arguments.begin(),
                             {"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "--"});
        }
        return work.run(arguments);
    }

    bool nobody_can_run() { return run_as_nobody({"--help"}).status == 0; }
};

// Takes directories out of each other, the innermost one first, by open ones: the paths are too long for the system.
class DeepChain
{
public:
    DeepChain(std::string const& root, std::string const& name, int levels) : m_name(name)
    {
        m_open.push_back(open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        while (levels-- > 0 && mkdirat(m_open.back(), name.c_str(), 0755) == 0)
        {
            ++m_made;
            int const next = openat(m_open.back(), name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
            if (next < 0)
                break;
            m_open.push_back(next);
        }
    }
    ~DeepChain()
    {
        while (!m_open.empty())
        {
            unlinkat(m_open.back(), m_name.c_str(), AT_REMOVEDIR);
            close(m_open.back());
            m_open.pop_back();
        }
    }
    DeepChain(DeepChain const&) = delete;
    DeepChain& operator=(DeepChain const&) = delete;

    int made() const { return m_made; }

private:
    std::string const m_name;
    std::vector<int> m_open;
    int m_made = 0;
};

TEST_F(CatalogTreesProgram, NamesADirectoryThatItMayNotReadAndGoesOn)
{
    for (char const* name : {"a", "b", "b/inside", "c", "c/inside"})
        directory(name);
    std::filesystem::permissions(at("b"), std::filesystem::perms(0));
    if (!nobody_can_run())
        GTEST_SKIP() << "there is no other user here who could run " CATALOG_PROGRAM;

    Outcome const done = run_as_nobody({"--json", root});
    EXPECT_EQ(done.status, 2);
    EXPECT_EQ(done.err, "catalog: cannot read all of '" + root + "': see the report for directories not read, 1\n");
    Json const json = JsonReader(done.out).read();
    Json const& found = json["trees"][0];
    EXPECT_EQ(json["files_unreadable"].number(), 0U);
    EXPECT_EQ(found["entries"].number(), 4U);
    EXPECT_EQ(found["unread_directories"].number(), 1U);
    EXPECT_EQ(paths(found["first_unread_directories"]), (Names{"b"}));
    EXPECT_EQ(found["first_unread_directories"][0]["reason"].text, "Permission denied");

    Outcome const text = run_as_nobody({root});
    EXPECT_NE(text.out.find("\nDirectories not read, or not to their end:\n  " + root + "/b: Permission denied\n"),
              std::string::npos)
        << text.out;
    std::filesystem::permissions(at("b"), std::filesystem::perms(0755));
}

// Such a directory gives its names, and nothing else.
TEST_F(CatalogTreesProgram, CountsTheEntriesThatItMayNotLookAt)
{
    directory("d");
    directory("d/below");
    file("d/file", 10);
    file("other", 5);
    std::filesystem::permissions(at("d"), std::filesystem::perms(0444));
    if (!nobody_can_run())
        GTEST_SKIP() << "there is no other user here who could run " CATALOG_PROGRAM;

    Outcome const done = run_as_nobody({"--json", root});
    EXPECT_EQ(done.status, 2);
    Json const found = JsonReader(done.out).read()["trees"][0];
    EXPECT_EQ(found["entries"].number(), 4U);
    EXPECT_EQ(found["distinct"].number(), 4U);
    EXPECT_EQ(found["without_record"].number(), 2U);
    EXPECT_EQ(found["bytes"].number(), 5U);
    EXPECT_EQ(paths(found["largest"]), (Names{"other"}));
    EXPECT_EQ(paths(found["first_unread_directories"]), (Names{"d/below"}));
    std::filesystem::permissions(at("d"), std::filesystem::perms(0755));
}

TEST_F(CatalogTreesProgram, ReportsNothingOnARootThatItMayNotRead)
{
    std::filesystem::permissions(root, std::filesystem::perms(0));
    if (!nobody_can_run())
        GTEST_SKIP() << "there is no other user here who could run " CATALOG_PROGRAM;

    Outcome const alone = run_as_nobody({root});
    EXPECT_EQ(alone.status, 2);
    EXPECT_EQ(alone.out, "");
    EXPECT_EQ(alone.err, "catalog: cannot read '" + root + "': Permission denied\n");

    std::string const list = work.file("names", "a\n");
    Outcome const mixed = run_as_nobody({"--json", root, list});
    EXPECT_EQ(mixed.status, 2);
    EXPECT_EQ(mixed.err, alone.err);
    Json const json = JsonReader(mixed.out).read();
    EXPECT_EQ(json["files_unreadable"].number(), 1U);
    EXPECT_EQ(json["files_read"].number(), 1U);
    EXPECT_EQ(json["trees"].size(), 0U);
    std::filesystem::permissions(root, std::filesystem::perms(0755));
}

TEST_F(CatalogTreesProgram, TellsWhereAPathIsTooLongForTheSystem)
{
    std::string const name(200, 'd');
    DeepChain const chain(root, name, 30);
    ASSERT_EQ(chain.made(), 30);
    file("zz", 1);
    Outcome const done = run({"--json", "--urls", root});
    EXPECT_EQ(done.status, 2);
    Json const found = JsonReader(done.out).read()["trees"][0];

    // A path has 4095 bytes at most. What is in the last directory that can be opened has a longer one, and is known.
    unsigned long const levels = (4095 - root.size()) / 201 + 1;
    EXPECT_EQ(found["deepest"][0]["levels"].number(), levels);
    EXPECT_EQ(found["entries"].number(), levels + 1);
    EXPECT_EQ(found["without_record"].number(), 0U);
    EXPECT_EQ(found["unread_directories"].number(), 1U);
    Json const& unread = found["first_unread_directories"][0];
    EXPECT_EQ(unread["reason"].text, "File name too long");
    EXPECT_EQ(unread["path"].text, found["deepest"][0]["path"].text);
    EXPECT_EQ(unread["path"].text.size(), root.size() + levels * 201);
    EXPECT_EQ(unread["url"].text, "file://" + unread["path"].text);
}

TEST_F(CatalogTreesProgram, WalksThroughAThousandLevels)
{
    DeepChain const chain(root, "d", 1000);
    if (chain.made() < 1000)
        GTEST_SKIP() << "a process may not have a thousand files open here";
    Json const found = tree();
    EXPECT_EQ(found["directories"].number(), 1000U);
    EXPECT_EQ(found["deepest"][0]["levels"].number(), 1000U);
    EXPECT_EQ(found["distinct"].number(), 1U);
}

TEST_F(CatalogTreesProgram, TakesFilesAndDirectoriesInOneCall)
{
    file("name", 1);
    std::string const second = work.path() + "/second";
    std::filesystem::create_directories(second + "/name/Name");
    Outcome const done = run({"--json", work.file("list", "name/b\n"), root, "-", second}, "b\nNAME\n");
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.err, "");
    Json const json = JsonReader(done.out).read();
    EXPECT_EQ(json["title"].text, "2 files and 2 trees");
    EXPECT_EQ(json["files_read"].number(), 2U);
    EXPECT_EQ(json["lines"].number(), 3U);
    EXPECT_EQ(json["bytes"].number(), 14U);
    EXPECT_EQ(json["components"].number(), 7U);
    EXPECT_EQ(json["distinct"].number(), 4U);
    EXPECT_EQ(json["distinct_ignoring_case"].number(), 2U);
    EXPECT_EQ(names(json["most_frequent"]), (Names{"name", "b", "NAME", "Name"}));
    ASSERT_EQ(json["trees"].size(), 2U);
    EXPECT_EQ(json["trees"][0]["distinct"].number(), 1U);
    EXPECT_EQ(json["trees"][1]["distinct"].number(), 2U);
    EXPECT_EQ(json["trees"][1]["distinct_ignoring_case"].number(), 1U);

    EXPECT_EQ(JsonReader(run({"--json", root, second}).out).read()["title"].text, "2 trees");
    std::string const text = run({work.path() + "/list", root}).out;
    EXPECT_EQ(text.find("Catalogue of 1 file and 1 tree\n\n  lines   "), 0U) << text;
    EXPECT_EQ(run({root}).out.find("Catalogue of " + root + "\n\n  components   "), 0U);
}

TEST_F(CatalogTreesProgram, ListsHaveNoTrees)
{
    EXPECT_EQ(report("a\n")["trees"].size(), 0U);
}

TEST_F(CatalogTreesProgram, LetsTheNamesOfATreeGo)
{
    file("abc");
    Outcome const done = run({"--json", "--watch", "1", root});
    EXPECT_EQ(done.status, 0);
    Json const collection = JsonReader(done.out).read()["collection"];
    EXPECT_EQ(collection["bytes_before"].number(), 56 + 4 * sizeof(wchar_t));
}

TEST_F(CatalogTreesProgram, ShowsProgressOnATerminalAndWipesItOut)
{
    Terminal const terminal;
    if (terminal.end() < 0)
        GTEST_SKIP() << "there are no pseudo-terminals here";
    file("file");
    Outcome const done = work.run_with({CATALOG_PROGRAM, "--json", root}, "", -1, terminal.end());
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(terminal.seen(), "\r1 entries, 0 directories read" + wiped_out);
    EXPECT_EQ(JsonReader(done.out).read()["trees"][0]["entries"].number(), 1U);
}

} // namespace examples
