#include "report.h"

#include "json.h"
#include "tree_report.h"
#include "utf8.h"

#include <cstdio>

namespace catalog
{

namespace
{

constexpr unsigned long characters_shown = 1000;

std::string name_object(Name const* name)
{
    return "{" + member("name", json_string(name->text, characters_shown)) + ", " +
           member("cut", name->text.len() > characters_shown) + ", " + member("characters", name->text.len()) + ", " +
           member("bytes", name->text.UTF8Size()) + ", " + member("count", name->occurrences) + "}";
}

std::string refused_object(RefusedLine const& line)
{
    return "{" + member("source", json_string(escaped(line.source))) + ", " + member("line", line.number) + ", " +
           member("bytes", line.bytes) + ", " + member("text", json_string(escaped(line.beginning))) + ", " +
           member("cut", line.cut) + "}";
}

std::string spellings_array(std::vector<Name const*> const& spellings)
{
    std::string text = "[";
    for (Name const* name : spellings)
        text += (text.size() == 1 ? "" : ", ") + name_object(name);
    return text + "]";
}

std::string pool_object(Summary const& summary)
{
    char bytes_per_string[32];
    std::snprintf(bytes_per_string, sizeof bytes_per_string, "%.3f", summary.bytes_per_string);
    std::string const verified = summary.verified == Verified::nothing_pooled ? "null"
                                 : summary.verified == Verified::yes          ? "true"
                                                                              : "false";
    return "{\n    " + member("bytes", summary.pool_bytes) + ",\n    " +
           member("bytes_per_string", std::string(bytes_per_string)) + ",\n    " +
           member("lookups_per_second", "{" + member("utf8", summary.lookups.utf8) + ", " +
                                            member("wide", summary.lookups.wide) + ", " +
                                            member("ignoring_case", summary.lookups.ignoring_case) + "}") +
           ",\n    " + member("verified", verified) + "\n  }";
}

} // namespace

std::string json_report(Input const& input, std::vector<Tree> const& trees, Summary const& summary, bool urls)
{
    Totals const& totals = summary.totals;
    std::string const separator = ",\n  ";
    return "{\n  " + member("title", json_string(input.title)) + separator + member("files_read", input.files_read) +
           separator + member("files_unreadable", input.files_unreadable) + separator + member("lines", totals.lines) +
           separator + member("bytes", totals.bytes) + separator + member("components", totals.components) + separator +
           member("distinct", summary.distinct) + separator +
           member("distinct_ignoring_case", summary.distinct_ignoring_case) + separator +
           member("refused_lines", totals.refused_lines) + separator + member("refused_bytes", totals.refused_bytes) +
           separator + member("first_refused", array(totals.first_refused, refused_object)) + separator +
           member("words_with_spellings", summary.words_with_spellings) + separator +
           member("spellings", array(summary.spellings, spellings_array)) + separator +
           member("longest", array(summary.longest, name_object)) + separator +
           member("most_frequent", array(summary.most_frequent, name_object)) + separator +
           member("trees", array(trees, [urls](Tree const& tree) { return json_report(tree, urls); })) + separator +
           member("pool", pool_object(summary)) + separator;
}

std::string json_report(Collection const& collection)
{
    if (!collection.watched)
        return member("collection", std::string("null")) + "\n}\n";
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.3f", collection.seconds);
    return member("collection", "{" + member("bytes_before", collection.bytes_before) + ", " +
                                    member("bytes_after", collection.bytes_after) + ", " +
                                    member("seconds", std::string(seconds)) + "}") +
           "\n}\n";
}

} // namespace catalog
