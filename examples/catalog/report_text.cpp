#include "report.h"

#include "layout.h"
#include "numbers.h"
#include "tree_report.h"
#include "utf8.h"

namespace catalog
{

namespace
{

constexpr unsigned long characters_shown = 90;
constexpr unsigned long spellings_shown = 6;

std::string refused_lines(Totals const& totals)
{
    std::string text;
    if (totals.refused_lines == 0)
        return text;
    text += "\nLines refused because they are no UTF-8 (bytes that are not printable ASCII as \\xNN):\n";
    for (RefusedLine const& line : totals.first_refused)
        text += "  " + escaped(line.source) + ":" + std::to_string(line.number) + ": " + escaped(line.beginning) +
                (line.cut ? "... (" + grouped(line.bytes) + " bytes)" : "") + "\n";
    if (unsigned long const others = totals.refused_lines - totals.first_refused.size(); others != 0)
        text += "  and " + grouped(others) + " more\n";
    return text;
}

std::string spellings(Summary const& summary)
{
    std::string text;
    if (summary.words_with_spellings == 0)
        return text;
    text += "\nSpellings that differ only by case, of " + grouped(summary.words_with_spellings) +
            (summary.words_with_spellings == 1 ? " word:\n" : " words:\n");
    for (std::vector<Name const*> const& word : summary.spellings)
    {
        std::string line;
        for (std::size_t index = 0; index < word.size() && index < spellings_shown; ++index)
            line += (index == 0 ? "" : "  ") + shown(word[index]->text, characters_shown);
        if (word.size() > spellings_shown)
            line += "  and " + grouped(word.size() - spellings_shown) + " more";
        text += right_aligned(grouped(word.size())) + "  " + line + "\n";
    }
    return text;
}

std::string longest(Summary const& summary)
{
    std::string text = summary.longest.empty() ? "" : "\nLongest names, in characters:\n";
    for (Name const* name : summary.longest)
        text += right_aligned(grouped(name->text.len())) + "  " + shown(name->text, characters_shown) + "\n";
    return text;
}

std::string most_frequent(Summary const& summary)
{
    std::string text = summary.most_frequent.empty() ? "" : "\nMost frequent names:\n";
    for (Name const* name : summary.most_frequent)
        text += right_aligned(grouped(name->occurrences)) + "  " + shown(name->text, characters_shown) + "\n";
    return text;
}

std::string pool(Summary const& summary)
{
    std::string text = "\nThe string pool:\n";
    text += row("bytes", summary.pool_bytes);
    text += row("bytes per string", grouped_tenths(summary.bytes_per_string));
    text += "  pooled look-ups per second, one thread:\n";
    text += row("  from UTF-8", summary.lookups.utf8);
    text += row("  from wide text", summary.lookups.wide);
    text += row("  ignoring case", summary.lookups.ignoring_case);
    switch (summary.verified)
    {
    case Verified::yes:
        return text + "  Verify() holds\n";
    case Verified::no:
        return text + "  Verify() FAILS\n";
    case Verified::nothing_pooled:
        break;
    }
    return text + "  nothing is pooled\n";
}

} // namespace

std::string text_report(Input const& input, std::vector<Tree> const& trees, Summary const& summary, bool urls)
{
    Totals const& totals = summary.totals;
    bool const only_trees = totals.lines == 0 && !trees.empty();
    std::string text = "Catalogue of " + input.title + "\n\n";
    if (!only_trees)
        text += row("lines", totals.lines) + row("bytes", totals.bytes);
    text += row("components", totals.components);
    text += row("distinct", summary.distinct);
    text += row("distinct ignoring case", summary.distinct_ignoring_case);
    if (!only_trees)
        text += row("refused lines", totals.refused_lines) + row("bytes in refused lines", totals.refused_bytes);
    text += refused_lines(totals);
    text += spellings(summary);
    text += longest(summary);
    text += most_frequent(summary);
    for (Tree const& tree : trees)
        text += text_report(tree, urls);
    text += pool(summary);
    return text;
}

std::string text_report(Collection const& collection)
{
    if (!collection.watched)
        return "";
    return "\nCollected in the background, after all names were let go:\n" +
           row("bytes before", collection.bytes_before) + row("bytes left", collection.bytes_after) +
           row("seconds", grouped_tenths(collection.seconds));
}

} // namespace catalog
