#include "tree_report.h"

#include "file_url.h"
#include "json.h"
#include "utc_time.h"
#include "utf8.h"

#include <cstdio>

namespace catalog
{

namespace
{

constexpr unsigned long characters_shown = 1000;

// The members that tell a path of a tree: whether it is escaped, the path, and its URL if that is wanted.
class PathMembers
{
public:
    PathMembers(Tree const& tree, bool urls) : m_tree(tree), m_urls(urls) {}

    std::string operator()(std::string const& path) const
    {
        bool const valid = is_utf8(path);
        std::string const url = m_urls ? ", " + member("url", json_string(file_url(m_tree.absolute_path(path)))) : "";
        return member("path", json_string(valid ? path : escaped(path))) + ", " + member("escaped", !valid) + url;
    }

private:
    Tree const& m_tree;
    bool m_urls;
};

std::string names_array(PooledNames const& names)
{
    std::string text = "[";
    for (ORVA::String::CPPoolString const& name : names)
        text += (text.size() == 1 ? "" : ", ") + json_string(name, characters_shown);
    return text + "]";
}

} // namespace

std::string json_report(Tree const& tree, bool urls)
{
    PathMembers const path_members(tree, urls);
    auto const path_object = [&](std::string const& path) { return "{" + path_members(path) + "}"; };
    auto const size_object = [&](Ranked const& file)
    { return "{" + path_members(file.path) + ", " + member("bytes", std::to_string(file.number)) + "}"; };
    auto const time_object = [&](Ranked const& file)
    {
        return "{" + path_members(file.path) + ", " + member("modified", json_string(utc_time(file.number))) + ", " +
               member("modified_seconds", std::to_string(file.number)) + "}";
    };
    auto const level_object = [&](Ranked const& entry)
    { return "{" + path_members(entry.path) + ", " + member("levels", std::to_string(entry.number)) + "}"; };
    auto const clash_object = [&](Clash const& clash)
    { return "{" + path_members(clash.directory) + ", " + member("names", names_array(clash.names)) + "}"; };
    auto const unread_object = [&](UnreadDirectory const& directory)
    { return "{" + path_members(directory.path) + ", " + member("reason", json_string(directory.reason)) + "}"; };

    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.3f", tree.seconds);
    std::string const separator = ",\n    ";
    return "{" + path_members(tree.root) + separator + member("entries", tree.entries) + separator +
           member("files", tree.files) + separator + member("directories", tree.directories) + separator +
           member("links", tree.links) + separator + member("others", tree.others) + separator +
           member("without_record", tree.unknown) + separator + member("bytes", tree.bytes) + separator +
           member("seconds", std::string(seconds)) + separator + member("distinct", tree.distinct) + separator +
           member("distinct_ignoring_case", tree.distinct_ignoring_case) + separator +
           member("largest", array(tree.largest.list(), size_object)) + separator +
           member("newest", array(tree.newest.list(), time_object)) + separator +
           member("deepest", array(tree.deepest.list(), level_object)) + separator +
           member("case_clashes", tree.clashing) + separator +
           member("first_case_clashes", array(tree.clashes, clash_object)) + separator +
           member("invalid_names", tree.invalid) + separator +
           member("first_invalid_names", array(tree.invalid_names, path_object)) + separator +
           member("unread_directories", tree.unread) + separator +
           member("first_unread_directories", array(tree.unread_directories, unread_object)) + "}";
}

} // namespace catalog
