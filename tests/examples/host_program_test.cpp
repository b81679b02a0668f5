// The host example as a program: what it prints of good and of bad components, what it leaves, and its guide.

#include "run_program.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

namespace examples
{

namespace fs = std::filesystem;

fs::path const program = HOST_PROGRAM;
std::string const good_components = program.parent_path() / "components";

class HostProgram : public testing::Test
{
protected:
    void SetUp() override { fs::create_directory(components); }

    // Puts a copy of a file among the components.
    void add(fs::path const& source, std::string const& name) const { fs::copy_file(source, components / name); }
    void add_bad(std::string const& fault) const { add(HOST_BAD_COMPONENT, fault + ".so"); }

    Outcome run() const { return work.run({HOST_PROGRAM, components, text}); }

    Workplace const work;
    fs::path const components = fs::path(work.path()) / "components";
    std::string const text = work.file("text.txt", "the quick brown fox jumps over the lazy dog\nthe end\n");
};

// How a run of the bad component alone ends, after what it has printed of its class.
std::string behind_the_list(std::string const& out)
{
    unsigned long const place = out.find("At work\n");
    return place != std::string::npos ? out.substr(place) : out;
}

TEST_F(HostProgram, lists_runs_and_lets_go_of_all_components)
{
    Outcome const done = work.run({HOST_PROGRAM, good_components, text});
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.err, "");
    EXPECT_EQ(done.out, R"(Components
  Throws when made, of Faulty 0.9.0.1 by Example Components
    definition 71C2E9A8-43DB-47F6-B095-2E8C146ADD21
    class      71C2E9A8-43DB-47F6-B095-2E8C146ADD11
  Refuses to be made, of Faulty 0.9.0.1 by Example Components
    definition 71C2E9A8-43DB-47F6-B095-2E8C146ADD22
    class      71C2E9A8-43DB-47F6-B095-2E8C146ADD12
  Throws at work, of Faulty 0.9.0.1 by Example Components
    definition 71C2E9A8-43DB-47F6-B095-2E8C146ADD23
    class      71C2E9A8-43DB-47F6-B095-2E8C146ADD13
  Refuses work, of Faulty 0.9.0.1 by Example Components
    definition 71C2E9A8-43DB-47F6-B095-2E8C146ADD24
    class      71C2E9A8-43DB-47F6-B095-2E8C146ADD14
  Upkeep, of Upkeep 2.0.0.7 by Example Components
    definition 3E5D7712-90A4-4B2E-A60C-18D46F2B7102
    class      3E5D7712-90A4-4B2E-A60C-18D46F2B7101
  Word count, of Words 1.2.3.4 by Example Components
    definition B4B3A1F0-2C67-4E0F-8D11-7A3F52C90602
    class      B4B3A1F0-2C67-4E0F-8D11-7A3F52C90601
At work
  Throws when made: cannot be made
  Refuses to be made: cannot be made
  Throws at work: threw "the works have a spanner in them" (2 references)
  Refuses work: failed with -7, "not today" (2 references)
  Upkeep: the service has run once (2 references)
  Word count: 11 words, 9 different (2 references)
The end
  faulty.so: stopped, 0 objects, unloaded
  upkeep.so: stopped, 0 objects, unloaded
  words.so: stopped, 0 objects, stays, as it asked to
  factory: 0 references, 0 objects of the host
  maintenance thread: ended
)");
}

TEST_F(HostProgram, wants_a_directory_and_a_file)
{
    for (std::vector<std::string> const& arguments :
         {std::vector<std::string>{HOST_PROGRAM}, {HOST_PROGRAM, components}, {HOST_PROGRAM, components, text, text}})
    {
        Outcome const done = work.run(arguments);
        EXPECT_EQ(done.status, 2);
        EXPECT_EQ(done.out, "");
        EXPECT_EQ(done.err, "usage: host DIRECTORY FILE\nLets the components in DIRECTORY work on FILE.\n");
    }
}

TEST_F(HostProgram, tells_of_a_directory_that_is_not_there)
{
    Outcome const done = work.run({HOST_PROGRAM, "nowhere", text});
    EXPECT_EQ(done.status, 2);
    EXPECT_EQ(done.out, "");
    EXPECT_EQ(done.err, "host: cannot read the directory nowhere: No such file or directory\n");
}

TEST_F(HostProgram, tells_of_a_file_in_the_place_of_the_directory)
{
    Outcome const done = work.run({HOST_PROGRAM, "text.txt", text});
    EXPECT_EQ(done.status, 2);
    EXPECT_EQ(done.err, "host: cannot read the directory text.txt: Not a directory\n");
}

TEST_F(HostProgram, tells_of_a_directory_without_components)
{
    std::ofstream(components / "notes.txt") << "these are looked over";
    Outcome const done = work.run({HOST_PROGRAM, "components", text});
    EXPECT_EQ(done.status, 2);
    EXPECT_EQ(done.out, "");
    EXPECT_EQ(done.err, "host: there is no component in components\n");
}

TEST_F(HostProgram, leaves_out_what_is_no_component_and_goes_on_with_the_others)
{
    std::ofstream(components / "a_text.so") << "no shared object";
    add(HOST_WITHOUT_ENTRY, "b_other.so");
    add(good_components + "/words.so", "c_words.so");
    Outcome const done = run();
    EXPECT_EQ(done.status, 1);
    EXPECT_TRUE(std::regex_match(
        done.err, std::regex("host: a_text.so is left out: it cannot be loaded: [^\n]+\n"
                             "host: b_other.so is left out: it is no component of this host: it does not export "
                             "host_component\n")))
        << done.err;
    EXPECT_EQ(behind_the_list(done.out), R"(At work
  Word count: 11 words, 9 different (2 references)
The end
  c_words.so: stopped, 0 objects, stays, as it asked to
  factory: 0 references, 0 objects of the host
  maintenance thread: ended
)");
}

TEST_F(HostProgram, leaves_out_a_component_whose_identifiers_are_taken)
{
    add(good_components + "/upkeep.so", "first.so");
    add(good_components + "/upkeep.so", "second.so");
    Outcome const done = run();
    EXPECT_EQ(done.status, 1);
    EXPECT_EQ(done.err, "host: second.so is left out: one of its identifiers is taken\n");
    EXPECT_EQ(behind_the_list(done.out), R"(At work
  Upkeep: the service has run once (2 references)
The end
  first.so: stopped, 0 objects, unloaded
  factory: 0 references, 0 objects of the host
  maintenance thread: ended
)");
}

// The fault, and why the host leaves the component out.
struct Refused
{
    char const* fault;
    char const* reason;
};

class HostRefuses : public HostProgram, public testing::WithParamInterface<Refused>
{
};

TEST_P(HostRefuses, a_component_that_does_not_come_up)
{
    add_bad(GetParam().fault);
    Outcome const done = run();
    EXPECT_EQ(done.status, 1);
    EXPECT_EQ(done.err, std::string("host: ") + GetParam().fault + ".so is left out: " + GetParam().reason + "\n");
    EXPECT_EQ(done.out, "Components\nAt work\nThe end\n  factory: 0 references, 0 objects of the host\n"
                        "  maintenance thread: ended\n");
}

INSTANTIATE_TEST_SUITE_P(HostProgram, HostRefuses,
                         testing::Values(Refused{"entry_throws", "its entry throws: no entry today"},
                                         Refused{"entry_gives_none", "its entry gives no component"},
                                         Refused{"has_another_size", "it was built for another host"},
                                         Refused{"start_fails", "it does not start"},
                                         Refused{"start_throws", "it does not start: no time to start"}),
                         [](auto const& each) { return std::string(each.param.fault); });

// The fault, what its class does, and how the component ends.
struct Survived
{
    char const* fault;
    char const* work;
    char const* end;
    int status;

    // GoogleTest would show all bytes, and those that fill up the record have no value.
    friend void PrintTo(Survived const& survived, std::ostream* stream) { *stream << survived.fault; }
};

class HostSurvives : public HostProgram, public testing::WithParamInterface<Survived>
{
};

TEST_P(HostSurvives, a_component_that_misbehaves_later)
{
    add_bad(GetParam().fault);
    Outcome const done = run();
    EXPECT_EQ(done.status, GetParam().status);
    EXPECT_EQ(done.err, "");
    EXPECT_EQ(behind_the_list(done.out), std::string("At work\n  Task: ") + GetParam().work + "\nThe end\n  " +
                                             GetParam().fault + ".so: " + GetParam().end +
                                             "\n  factory: 0 references, 0 objects of the host\n"
                                             "  maintenance thread: ended\n");
}

INSTANTIATE_TEST_SUITE_P(
    HostProgram, HostSurvives,
    testing::Values(
        Survived{"no_fault", "done (2 references)", "stopped, 0 objects, unloaded", 0},
        Survived{"no_text_in_throw", "threw \"something without a text\" (2 references)",
                 "stopped, 0 objects, unloaded", 0},
        Survived{"throws_a_number", "threw \"something unknown\" (2 references)", "stopped, 0 objects, unloaded", 0},
        Survived{"is_no_task", "is no task", "stopped, 0 objects, unloaded", 0},
        Survived{"object_is_left", "done (3 references)", "stopped, 1 objects, stays, for it is in use", 1},
        Survived{"stop_fails", "done (2 references)", "not stopped, 0 objects, stays, for it is in use", 1},
        Survived{"stop_throws", "done (2 references)", "not stopped, 0 objects, stays, for it is in use", 1}),
    [](auto const& each) { return std::string(each.param.fault); });

// A file and what the component "words" tells of it.
struct Counted
{
    char const* name;
    char const* content;
    char const* answer;
};

class HostCounts : public HostProgram, public testing::WithParamInterface<Counted>
{
};

TEST_P(HostCounts, the_words_of)
{
    add(good_components + "/words.so", "words.so");
    work.file("text.txt", GetParam().content);
    Outcome const done = run();
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.err, "");
    EXPECT_NE(done.out.find(std::string("Word count: ") + GetParam().answer + " (2 references)\n"), std::string::npos)
        << done.out;
}

INSTANTIATE_TEST_SUITE_P(HostProgram, HostCounts,
                         testing::Values(Counted{"nothing", "", "0 words, 0 different"},
                                         Counted{"blanks", " \n\t\r ", "0 words, 0 different"},
                                         Counted{"one_word_without_an_end", "word", "1 words, 1 different"},
                                         Counted{"two_cases", "Word word\tword\r\n", "3 words, 2 different"},
                                         Counted{"other_scripts",
                                                 "Gr\xC3\xBC\xC3\x9F"
                                                 "e \xE6\xBC\xA2 Gr\xC3\xBC\xC3\x9F"
                                                 "e",
                                                 "3 words, 2 different"}),
                         [](auto const& each) { return std::string(each.param.name); });

TEST_F(HostProgram, survives_a_file_that_is_not_there)
{
    Outcome const done = work.run({HOST_PROGRAM, good_components, "nowhere.txt"});
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.err, "");
    EXPECT_NE(done.out.find("Word count: failed with -1, \"cannot read the file\" (2 references)\n"), std::string::npos)
        << done.out;
}

// The library reports the word, and the host's logger prints that.
TEST_F(HostProgram, passes_on_what_the_library_reports)
{
    add(good_components + "/words.so", "words.so");
    work.file("text.txt", "good \xFF good");
    Outcome const done = run();
    EXPECT_EQ(done.status, 0);
    EXPECT_TRUE(std::regex_search(done.err, std::regex("^host: [A-Za-z_]+: [^\n]+\n"))) << done.err;
    EXPECT_NE(done.out.find("Word count: 2 words, 1 different"), std::string::npos) << done.out;
}

std::string read(fs::path const& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// Each piece of C++ in the guide stands in the example, word for word.
TEST(HostGuide, shows_the_code_of_the_example)
{
    std::string code;
    for (fs::directory_entry const& entry : fs::recursive_directory_iterator(HOST_SOURCES))
    {
        if (entry.is_regular_file())
            code += read(entry.path());
    }
    std::string const guide = read(HOST_GUIDE);
    std::string const begin = "\n```cpp\n";
    unsigned int pieces = 0;
    for (unsigned long place = guide.find(begin); place != std::string::npos; place = guide.find(begin, place))
    {
        place += begin.size();
        std::string const piece = guide.substr(place, guide.find("```", place) - place);
        EXPECT_NE(code.find(piece), std::string::npos) << piece;
        ++pieces;
    }
    EXPECT_GE(pieces, 5U);
}

} // namespace examples
