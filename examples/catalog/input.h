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
    std::string title;                 ///< what was read, for the report's first line
    unsigned long files_read = 0;      ///< files that were read to their end
    std::vector<std::string> problems; ///< a message for each file that was not; its lines up to there have been read
};

/// Reads `files`, in which "-" is standard input.
Input read_files(std::vector<std::string> const& files, LineSink const& sink);

/// Reads the package manager's lists of installed files; where there are none, the names of all files under /usr.
Input read_machine(LineSink const& sink);

/// Takes the paths of all files and directories under `root` as lines. They have no line ends. Links are not followed.
Input read_tree(std::string const& root, LineSink const& sink);

} // namespace catalog
