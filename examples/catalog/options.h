/// @file
/// The command line.
#pragma once

#include <string>
#include <vector>

namespace catalog
{

struct Options
{
    bool help = false;
    bool json = false;
    bool urls = false;              ///< paths in trees as "file:" URLs
    unsigned long watch = 0;        ///< how long to watch the collection at most, in seconds
    std::vector<std::string> files; ///< and directories; "-" is standard input; none means the machine's own list
    std::string error;              ///< what is wrong with the arguments; empty if nothing is
};

Options parse_options(int count, char const* const* arguments);

/// The text of --help.
extern char const* const usage;

} // namespace catalog
