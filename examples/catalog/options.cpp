#include "options.h"

#include "utf8.h"

namespace catalog
{

char const* const usage =
    R"(usage: catalog [--json] [FILE...]

Reads names, one a line, UTF-8, splits them into path components at each "/", pools every component and tells what
it has found: how many there are, how many are distinct, exactly and ignoring case, and what the string pool takes.

  FILE        a file of names; "-" reads standard input
  (no FILE)   the files installed on this machine: /var/lib/dpkg/info/*.list where that exists, else the tree under
              /usr. Standard input is not read then, even if it is a pipe.
  --json      the report as JSON
  --help      this text
  --          what follows are files, even if it begins with "-"

A line that is no UTF-8, or has a NUL byte, is refused: it is counted, and the first ones are shown with the bytes
outside printable ASCII as \xNN. A carriage return before the line end belongs to the line end.

Exit status: 0 for success, 1 if the report could not be made or written, 2 for wrong arguments and for files that
could not be read; the other files are read and reported all the same.
)";

Options parse_options(int count, char const* const* arguments)
{
    Options options;
    bool only_files = false;
    for (int index = 1; index < count; ++index)
    {
        std::string const argument = arguments[index];
        if (only_files || argument == "-" || argument.empty() || argument[0] != '-')
            options.files.push_back(argument);
        else if (argument == "--")
            only_files = true;
        else if (argument == "--json")
            options.json = true;
        else if (argument == "--help" || argument == "-h")
            options.help = true;
        else if (options.error.empty())
            options.error = "unknown option '" + escaped(argument) + "'";
    }
    return options;
}

} // namespace catalog
