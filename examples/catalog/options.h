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
    std::vector<std::string> files; ///< "-" is standard input; none means the machine's own list
    std::string error;              ///< what is wrong with the arguments; empty if nothing is
};

Options parse_options(int count, char const* const* arguments);

/// The text of --help.
extern char const* const usage;

} // namespace catalog
