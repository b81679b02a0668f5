// What the catalog example takes in: lines, their ends, their splitting, and the lines that it refuses.

#include "catalog_test.h"

#include <map>
#include <random>
#include <set>

namespace examples
{

using CatalogInput = CatalogTest;

TEST_F(CatalogInput, CountsLinesBytesComponentsAndDistinctNames)
{
    Json const json = report("usr/lib\nusr/lib/a\nusr\n");
    EXPECT_EQ(json["lines"].number(), 3U);
    EXPECT_EQ(json["bytes"].number(), 22U);
    EXPECT_EQ(json["components"].number(), 6U);
    EXPECT_EQ(json["distinct"].number(), 3U);
    EXPECT_EQ(json["refused_lines"].number(), 0U);
    EXPECT_EQ(json["refused_bytes"].number(), 0U);
}

TEST_F(CatalogInput, SlashesSeparateAndMakeNoEmptyNames)
{
    Json const json = report("/\n//a///b/\n/c\n");
    EXPECT_EQ(json["lines"].number(), 3U);
    EXPECT_EQ(json["components"].number(), 3U);
    EXPECT_EQ(names(json["most_frequent"]), (Names{"a", "b", "c"}));
}

TEST_F(CatalogInput, ACarriageReturnBelongsToTheLineEndAndOnlyThere)
{
    Json const json = report("a\r\na\n\r\nb\rc\r\r\nend\r");
    EXPECT_EQ(json["lines"].number(), 5U);
    EXPECT_EQ(json["bytes"].number(), 17U);
    EXPECT_EQ(json["components"].number(), 4U);
    EXPECT_EQ(names(json["most_frequent"]), (Names{"a", "b\rc\r", "end"}));
}

TEST_F(CatalogInput, EmptyLinesCountAndHaveNoNames)
{
    Json const json = report("\n\na\n\n");
    EXPECT_EQ(json["lines"].number(), 4U);
    EXPECT_EQ(json["components"].number(), 1U);
}

TEST_F(CatalogInput, TheLastLineNeedsNoEnd)
{
    Json const json = report("a\nb/c");
    EXPECT_EQ(json["lines"].number(), 2U);
    EXPECT_EQ(json["bytes"].number(), 5U);
    EXPECT_EQ(json["components"].number(), 3U);
}

TEST_F(CatalogInput, NoInputIsNoNames)
{
    Json const json = report("");
    for (char const* field : {"lines", "bytes", "components", "distinct", "distinct_ignoring_case"})
        EXPECT_EQ(json[field].number(), 0U) << field;
    EXPECT_EQ(json["longest"].size(), 0U);
    EXPECT_EQ(json["pool"]["bytes"].number(), 0U);
    EXPECT_EQ(json["pool"]["verified"].text, "null");
}

TEST_F(CatalogInput, RefusesEachKindOfTextThatIsNoUtf8)
{
    for (std::string const bad :
         {"\xFF", "caf\xE9", "\x80", "\xC3", "\xE2\x82", "\xF0\x9F\x98", "\xC3(", "\xC1\x81", "\xC0\xAF",
          "\xE0\x80\xAF", "\xF0\x80\x80\xAF", "\xED\xA0\x80", "\xED\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80"})
    {
        Json const json = report("good/one\n" + bad + "/x\nfine\n");
        EXPECT_EQ(json["lines"].number(), 3U) << bad;
        EXPECT_EQ(json["refused_lines"].number(), 1U) << bad;
        EXPECT_EQ(json["refused_bytes"].number(), bad.size() + 3) << bad;
        EXPECT_EQ(json["bytes"].number(), 9 + bad.size() + 3 + 5) << bad;
        EXPECT_EQ(names(json["most_frequent"]), (Names{"fine", "good", "one"})) << bad;
    }
}

TEST_F(CatalogInput, TakesTheBordersOfUtf8)
{
    Names const borders = {"\x7F",         "\xC2\x80",     "\xDF\xBF",         "\xE0\xA0\x80",    "\xED\x9F\xBF",
                           "\xEE\x80\x80", "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"};
    std::string input;
    for (std::string const& border : borders)
        input += border + "\n";
    Json const json = report(input);
    EXPECT_EQ(json["refused_lines"].number(), 0U);
    EXPECT_EQ(names(json["most_frequent"]), borders);
}

TEST_F(CatalogInput, ANulByteMakesALineRefused)
{
    Json const json = report(std::string("a\0b\n\0\nc\n", 8));
    EXPECT_EQ(json["lines"].number(), 3U);
    EXPECT_EQ(json["refused_lines"].number(), 2U);
    EXPECT_EQ(json["refused_bytes"].number(), 6U);
    EXPECT_EQ(json["first_refused"][0]["text"].text, "a\\x00b");
    EXPECT_EQ(names(json["most_frequent"]), (Names{"c"}));
}

TEST_F(CatalogInput, ShowsTheFirstFiveRefusedLinesEscapedAndWhereTheyStand)
{
    std::string const long_line = std::string(60, 'z') + "\xFE" + std::string(100, 'z');
    Json const json = report("good\n\xFF\\\n" + long_line +
                             "\n\xFF"
                             "3\n\xFF"
                             "4\n\xFF"
                             "5\n\xFF"
                             "6\n");
    EXPECT_EQ(json["refused_lines"].number(), 6U);
    Json const& first = json["first_refused"];
    ASSERT_EQ(first.size(), 5U);
    EXPECT_EQ(first[0]["source"].text, "standard input");
    EXPECT_EQ(first[0]["line"].number(), 2U);
    EXPECT_EQ(first[0]["bytes"].number(), 3U);
    EXPECT_EQ(first[0]["text"].text, "\\xFF\\\\");
    EXPECT_EQ(first[0]["cut"].text, "false");
    EXPECT_EQ(first[1]["text"].text, std::string(60, 'z'));
    EXPECT_EQ(first[1]["bytes"].number(), long_line.size() + 1);
    EXPECT_EQ(first[1]["cut"].text, "true");
    EXPECT_EQ(first[4]["text"].text, "\\xFF5");

    Outcome const text = run({"-"}, "good\n\xFF\n");
    EXPECT_NE(text.out.find("\n  standard input:2: \\xFF\n"), std::string::npos) << text.out;
}

TEST_F(CatalogInput, TakesALineOfEightMebibytes)
{
    unsigned long const size = 8UL << 20;
    Json const json = report("a\n" + std::string(size, 'x') + "\n" + std::string(size, '\xFF') + "\nb\n");
    EXPECT_EQ(json["lines"].number(), 4U);
    EXPECT_EQ(json["bytes"].number(), 2 * size + 6);
    EXPECT_EQ(json["components"].number(), 3U);
    EXPECT_EQ(json["refused_bytes"].number(), size + 1);
    Json const& longest = json["longest"][0];
    EXPECT_EQ(longest["characters"].number(), size);
    EXPECT_EQ(longest["bytes"].number(), size);
    EXPECT_EQ(longest["name"].text, std::string(1000, 'x'));
    EXPECT_EQ(longest["cut"].text, "true");
    EXPECT_EQ(json["longest"][1]["cut"].text, "false");
}

// Random lines of a few letters, some of them not ASCII, against plain containers.
TEST_F(CatalogInput, AgreesWithPlainContainersOnRandomLines)
{
    struct Letter
    {
        std::string text;
        std::string lower;
    };
    std::vector<Letter> const letters = {{"a", "a"},
                                         {"A", "a"},
                                         {"b", "b"},
                                         {"\xC3\x84", "\xC3\xA4"},
                                         {"\xC3\xA4", "\xC3\xA4"},
                                         {"\xE2\x82\xAC", "\xE2\x82\xAC"}};
    std::mt19937 random(7);
    std::map<std::string, unsigned long> counts;
    std::set<std::string> folded;
    std::string input;
    unsigned long components = 0;
    unsigned long refused_lines = 0;
    unsigned long refused_bytes = 0;
    for (int line = 0; line < 20'000; ++line)
    {
        std::string text;
        Names line_names;
        Names line_folded;
        for (auto parts = random() % 5; parts != 0; --parts)
        {
            std::string name;
            std::string lower;
            for (auto length = 1 + random() % 4; length != 0; --length)
            {
                Letter const& letter = letters[random() % letters.size()];
                name += letter.text;
                lower += letter.lower;
            }
            text += "/" + name;
            line_names.push_back(name);
            line_folded.push_back(lower);
        }
        bool const bad = random() % 10 == 0;
        text += bad ? "\xC3\n" : "\n";
        input += text;
        if (bad)
        {
            ++refused_lines;
            refused_bytes += text.size();
            continue;
        }
        components += line_names.size();
        for (std::string const& name : line_names)
            ++counts[name];
        folded.insert(line_folded.begin(), line_folded.end());
    }

    Json const json = report(input);
    EXPECT_EQ(json["lines"].number(), 20'000U);
    EXPECT_EQ(json["bytes"].number(), input.size());
    EXPECT_EQ(json["components"].number(), components);
    EXPECT_EQ(json["refused_lines"].number(), refused_lines);
    EXPECT_EQ(json["refused_bytes"].number(), refused_bytes);
    EXPECT_EQ(json["distinct"].number(), counts.size());
    EXPECT_EQ(json["distinct_ignoring_case"].number(), folded.size());
    for (auto const& member : json["most_frequent"].members)
        EXPECT_EQ(member.second["count"].number(), counts[member.second["name"].text]);
    EXPECT_EQ(json["pool"]["verified"].text, "true");
}

} // namespace examples
