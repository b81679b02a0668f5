#include "options.h"

#include "utf8.h"

namespace catalog
{

char const* const usage =
    R"(usage: catalog [--json] [--urls] [--watch SECONDS] [FILE|DIR...]

Reads names, one a line, UTF-8, splits them into path components at each "/", pools every component and tells what
it has found: how many there are, how many are distinct, exactly and ignoring case, and what the string pool takes.
Of a directory it walks through the tree, pools the name of each entry, and tells as well what is in the tree: how
much there is, the largest and the most recently modified files, the deepest path, and what makes trouble elsewhere:
names in one directory that differ only by case, names that are no UTF-8, and directories that cannot be read.

  FILE        a file of names; "-" reads standard input
  DIR         a directory; links in it are not followed. Its name is not counted.
  (no FILE)   the files installed on this machine: /var/lib/dpkg/info/*.list where that exists, else the tree under
              /usr. Standard input is not read then, even if it is a pipe.
  --json      the report as JSON
  --urls      paths in trees as file: URLs, in JSON beside the path
  --watch SECONDS
              after the report, let all names go and watch for so long at most how the library collects them in the
              background, which takes half a minute. 45 unless told otherwise, 0 for --json; 0 ends with the report.
  --help      this text
  --          what follows are files, even if it begins with "-"

A line that is no UTF-8, or has a NUL byte, is refused: it is counted, and the first ones are shown with the bytes
outside printable ASCII as \xNN. A carriage return before the line end belongs to the line end. A path in a tree that
is no UTF-8 is shown in the same way, and in JSON it is marked as "escaped".

Exit status: 0 for success, 1 if the report could not be made or written, 2 for wrong arguments and for files and
directories that could not be read; the others are read and reported all the same.
)";

namespace
{

// True if `text` is a number of seconds, 9999 at most.
bool read_seconds(std::string const& text, unsigned long& seconds)
{
    if (text.empty() || text.size() > 4 || text.find_first_not_of("0123456789") != std::string::npos)
        return false;
    seconds = std::stoul(text);
    return true;
}

} // namespace

Options parse_options(int count, char const* const* arguments)
{
    constexpr unsigned long usual_watch = 45;

    Options options;
    bool only_files = false;
    bool watch_is_told = false;
    for (int index = 1; index < count; ++index)
    {
        std::string const argument = arguments[index];
        if (only_files || argument == "-" || argument.empty() || argument[0] != '-')
            options.files.push_back(argument);
        else if (argument == "--")
            only_files = true;
        else if (argument == "--json")
            options.json = true;
        else if (argument == "--urls")
            options.urls = true;
        else if (argument == "--watch")
        {
            watch_is_told = true;
            std::string const seconds = ++index < count ? arguments[index] : "";
            if (!read_seconds(seconds, options.watch) && options.error.empty())
                options.error = "--watch needs a number of seconds, not '" + escaped(seconds) + "'";
        }
        else if (argument == "--help" || argument == "-h")
            options.help = true;
        else if (options.error.empty())
            options.error = "unknown option '" + escaped(argument) + "'";
    }
    if (!watch_is_told)
        options.watch = options.json ? 0 : usual_watch;
    return options;
}

} // namespace catalog
