/// @file
/// Where the names come from. Lines are handed on as they are read, so that input of any size needs memory for its
/// longest line only.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace catalog
{

/// A line on its way into the catalogue. The views are good during the call only.
struct Line
{
    std::string_view text;   ///< without the line end
    std::string_view source; ///< the file it stands in
    unsigned long number;    ///< its number there, from 1
    unsigned long bytes;     ///< what it takes in the file, with the line end
};

using LineSink = std::function<void(Line const&)>;

/// What became of a request to read.
struct Input
{
    std::string title;                  ///< what was read, for the report's first line
    unsigned long files_read = 0;       ///< files that were read to their end
    unsigned long files_unreadable = 0; ///< those that were not, and trees of which nothing could be read
    std::vector<std::string> problems;  ///< a message for each of them, and for each tree that was read in part
};

/// Walks through the tree at `root`, and enters in `input` what could not be read.
using TreeReader = std::function<void(std::string const& root, Input& input)>;

/// Reads `files`, in which "-" is standard input, and what is a directory, or a link to one, goes to `read_tree`.
Input read_files(std::vector<std::string> const& files, LineSink const& sink, TreeReader const& read_tree);

/// Reads the package manager's lists of installed files; where there are none, the tree at /usr.
Input read_machine(LineSink const& sink, TreeReader const& read_tree);

} // namespace catalog
