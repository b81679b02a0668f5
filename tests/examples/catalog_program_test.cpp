// The catalog example as a program: arguments, files, exit status, terminals and pipes.

#include "catalog_test.h"
#include "terminal.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace examples
{

using CatalogProgram = CatalogTest;

TEST_F(CatalogProgram, ReadsSeveralFilesAsOneList)
{
    Outcome const done = run({"--json", work.file("one", "a/b\n"), work.file("two", "b/c")});
    EXPECT_EQ(done.status, 0);
    Json const json = JsonReader(done.out).read();
    EXPECT_EQ(json["files_read"].number(), 2U);
    EXPECT_EQ(json["lines"].number(), 2U);
    EXPECT_EQ(names(json["most_frequent"]), (Names{"b", "a", "c"}));
}

TEST_F(CatalogProgram, ReadsStandardInputBesideFiles)
{
    Outcome const done = run({work.file("one", "a\n"), "-", "--json"}, "b\nb\n");
    Json const json = JsonReader(done.out).read();
    EXPECT_EQ(names(json["most_frequent"]), (Names{"b", "a"}));
}

TEST_F(CatalogProgram, ReadsTheOthersWhenAFileCannotBeRead)
{
    Outcome const done = run({"--json", work.file("one", "a\n"), "missing\x1B", "one/two", work.file("two", "b\n")});
    EXPECT_EQ(done.status, 2);
    EXPECT_NE(done.err.find("catalog: cannot read 'missing\\x1B': No such file or directory\n"), std::string::npos)
        << done.err;
    EXPECT_NE(done.err.find("catalog: cannot read 'one/two': Not a directory\n"), std::string::npos) << done.err;
    Json const json = JsonReader(done.out).read();
    EXPECT_EQ(json["files_read"].number(), 2U);
    EXPECT_EQ(json["files_unreadable"].number(), 2U);
    EXPECT_EQ(names(json["most_frequent"]), (Names{"a", "b"}));
}

TEST_F(CatalogProgram, ReportsNothingWhenNothingCanBeRead)
{
    for (std::string const path : {"missing", ""})
    {
        Outcome const done = run({path});
        EXPECT_EQ(done.status, 2);
        EXPECT_EQ(done.out, "");
        EXPECT_EQ(done.err, "catalog: cannot read '" + path + "': No such file or directory\n");
    }
}

TEST_F(CatalogProgram, RefusesUnknownOptions)
{
    Outcome const done = run({"--jsn", work.file("one", "a\n")});
    EXPECT_EQ(done.status, 2);
    EXPECT_EQ(done.out, "");
    EXPECT_EQ(done.err, "catalog: unknown option '--jsn' (catalog --help tells more)\n");
}

TEST_F(CatalogProgram, RefusesATimeToWatchThatIsNone)
{
    std::string const input = work.file("one", "a\n");
    for (std::string const seconds : {"soon", "", "-1", "10000", "1s"})
    {
        Outcome const done = run({"--watch", seconds, input});
        EXPECT_EQ(done.status, 2);
        EXPECT_EQ(done.out, "");
        EXPECT_EQ(done.err,
                  "catalog: --watch needs a number of seconds, not '" + seconds + "' (catalog --help tells more)\n");
    }
    EXPECT_EQ(run({input, "--watch"}).status, 2);
}

TEST_F(CatalogProgram, WatchesTheCollectionForAsLongAsItIsTold)
{
    Outcome const json = run({"--json", "--watch", "1", "-"}, "a/b/c\n");
    EXPECT_EQ(json.status, 0);
    EXPECT_EQ(json.err, "");
    Json const collection = JsonReader(json.out).read()["collection"];
    EXPECT_EQ(collection["bytes_before"].number(), 3 * (56 + 2 * sizeof(wchar_t)));
    EXPECT_EQ(collection["bytes_after"].number(), collection["bytes_before"].number());
    EXPECT_EQ(collection["seconds"].text.substr(0, 2), "1.");

    Outcome const text = run({"--watch", "1", "-"}, "a\n");
    EXPECT_EQ(text.status, 0);
    EXPECT_EQ(text.err, "");
    EXPECT_NE(text.out.find("\nCollected in the background, after all names were let go:\n"), std::string::npos);
}

TEST_F(CatalogProgram, DoesNotWaitWhenThereIsNothingToCollect)
{
    Outcome const done = run({"--json", "--watch", "9999", "-"}, "");
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(JsonReader(done.out).read()["collection"]["seconds"].text, "0.000");
}

TEST_F(CatalogProgram, EndsWithItsReportIfToldSoAndAlwaysAsJson)
{
    EXPECT_EQ(run({"-"}, "a\n").out.find("Collected"), std::string::npos);
    Outcome const done = work.run({CATALOG_PROGRAM, "--json", "-"}, "a\n");
    EXPECT_EQ(JsonReader(done.out).read()["collection"].text, "null");
}

TEST_F(CatalogProgram, TakesAFileWithADashAfterTwoDashes)
{
    work.file("--json", "a\n");
    Outcome const done = run({"--", "--json"});
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.out.find("Catalogue of --json\n"), 0U) << done.out;
}

TEST_F(CatalogProgram, HelpTellsTheUsage)
{
    for (char const* option : {"--help", "-h"})
    {
        Outcome const done = run({option});
        EXPECT_EQ(done.status, 0);
        EXPECT_EQ(done.err, "");
        EXPECT_EQ(done.out.find("usage: catalog [--json] [--urls] [--watch SECONDS] [FILE|DIR...]\n"), 0U);
        EXPECT_NE(done.out.find("Standard input is not read then, even if it is a pipe."), std::string::npos);
    }
}

TEST_F(CatalogProgram, WithoutFilesReadsTheMachinesListAndNotStandardInput)
{
    namespace fs = std::filesystem;
    unsigned long files = 0;
    unsigned long bytes = 0;
    std::error_code error;
    for (fs::directory_entry const& entry : fs::directory_iterator("/var/lib/dpkg/info", error))
    {
        if (entry.path().extension() == ".list")
        {
            ++files;
            bytes += entry.file_size();
        }
    }
    Outcome const done = run({"--json"}, "from/standard/input\n");
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.err, "");
    Json const json = JsonReader(done.out).read();
    EXPECT_GT(json["components"].number(), json["distinct"].number());
    EXPECT_GT(json["distinct"].number(), 1000U);
    EXPECT_EQ(json["pool"]["verified"].text, "true");
    if (files != 0)
    {
        EXPECT_EQ(json["files_read"].number(), files);
        EXPECT_EQ(json["bytes"].number(), bytes);
    }
    else
    {
        EXPECT_EQ(json["title"].text, "the files on this machine: the tree under /usr");
    }
}

TEST_F(CatalogProgram, EndsQuietlyWhenItsReaderHasGone)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    Outcome const done = work.run_with({CATALOG_PROGRAM, "-"}, "a\n", ends[1], -1);
    close(ends[1]);
    EXPECT_EQ(done.status, 1);
    EXPECT_EQ(done.err, "");
}

TEST_F(CatalogProgram, TellsWhenTheReportCannotBeWritten)
{
    int const full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    if (full < 0)
        GTEST_SKIP() << "there is no /dev/full here";
    Outcome const done = work.run_with({CATALOG_PROGRAM, "-"}, "a\n", full, -1);
    close(full);
    EXPECT_EQ(done.status, 1);
    EXPECT_EQ(done.err, "catalog: cannot write the report: No space left on device\n");
}

TEST_F(CatalogProgram, ShowsProgressOnATerminalAndWipesItOut)
{
    Terminal const terminal;
    if (terminal.end() < 0)
        GTEST_SKIP() << "there are no pseudo-terminals here";
    Outcome const done = work.run_with({CATALOG_PROGRAM, "--json", "-"}, "a/b/c\n", -1, terminal.end());
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(terminal.seen(), "\r1 lines, 3 components" + wiped_out);
    EXPECT_EQ(JsonReader(done.out).read()["lines"].number(), 1U);
}

TEST_F(CatalogProgram, ShowsTheCollectionOnATerminalAndWipesItOut)
{
    Terminal const terminal;
    if (terminal.end() < 0)
        GTEST_SKIP() << "there are no pseudo-terminals here";
    Outcome const done = work.run_with({CATALOG_PROGRAM, "--json", "--watch", "1", "-"}, "a/b/c\n", -1, terminal.end());
    EXPECT_EQ(done.status, 0);
    std::string const seen = terminal.seen();
    EXPECT_NE(seen.find("\rnames let go; after 0 s the pool holds 192 bytes" + wiped_out), std::string::npos) << seen;
    EXPECT_EQ(seen.substr(seen.size() - wiped_out.size()), wiped_out);
}

} // namespace examples
