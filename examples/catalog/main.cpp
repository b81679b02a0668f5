/// @file
/// Catalogues names: reads them, one a line or from directory trees, pools every path component, and reports what there
/// is. `catalog --help` tells how it is used.
///
/// This is what the library is for at its core: a program meets the same names over and over, and wants each of them
/// once, comparable by pointer, in little memory. The way through the program:
///
///   input.h        lines, from files or from the machine's own list
///   catalogue.h    components into pooled strings, counted in the library's hash tables
///   tree.h         a directory tree: walk.h goes through it, directory.h reads each directory with its real names
///   summary.h      the top lists, by the library's sort; lookup_rate.h measures the pool
///   report.h       the result, as text or as JSON
///   collection.h   the names let go, and what the library does about it in the background

#include "catalogue.h"
#include "collection.h"
#include "log.h"
#include "numbers.h"
#include "options.h"
#include "progress.h"
#include "report.h"
#include "tree.h"
#include "utf8.h"

#include "ORVA/Core.h"

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <new>
#include <system_error>
#include <utility>
#include <vector>

namespace
{

enum Status
{
    success = 0,
    failure = 1,
    bad_input = 2
};

// What belongs to lower case is asked of the C library, whose "C" locale knows the ASCII letters only. Must be done
// before anything is pooled: the pool's hashes without case depend on it. The names of files are decoded by it as well.
void use_unicode_case()
{
    for (char const* locale : {"C.UTF-8", "en_US.UTF-8", ""})
    {
        if (std::setlocale(LC_CTYPE, locale) != nullptr) // NOLINT(concurrency-mt-unsafe): before there are threads
            return;
    }
}

// A reader that has gone away, as `head` does, is its own affair; any other failure is told.
Status print(std::string const& text)
{
    bool const written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
    if (!written && errno != EPIPE)
        std::fprintf(stderr, "catalog: cannot write the report: %s\n", std::generic_category().message(errno).c_str());
    return written ? success : failure;
}

// Surveys a tree, and notes what of it could not be read. The report has the details, if there is one to make.
void read_tree(std::string const& root, catalog::Input& input, std::vector<catalog::Tree>& trees,
               catalog::Catalogue& catalogue, catalog::Progress& progress)
{
    catalog::Tree tree = catalog::survey(root, catalogue, progress);
    if (!tree.root_was_read)
    {
        ++input.files_unreadable;
        input.problems.push_back("cannot read '" + catalog::escaped(root) +
                                 "': " + tree.unread_directories.front().reason);
        return;
    }
    if (tree.unread != 0)
        input.problems.push_back("cannot read all of '" + catalog::escaped(root) +
                                 "': see the report for directories not read, " + catalog::grouped(tree.unread));
    trees.push_back(std::move(tree));
}

// What is known when all has been read and reported.
struct Outcome
{
    Status status;
    bool reported; ///< false if there was nothing to report on, or nobody to read it
};

// Reads and reports. All names go with the catalogue.
Outcome report(catalog::Options const& options, catalog::Progress& progress)
{
    catalog::Catalogue catalogue;
    catalog::LineSink const sink = [&](catalog::Line const& line)
    {
        catalogue.add(line);
        progress.update(catalogue.totals().lines, catalogue.totals().components);
    };

    std::vector<catalog::Tree> trees;
    catalog::TreeReader const tree_reader = [&](std::string const& root, catalog::Input& input)
    { read_tree(root, input, trees, catalogue, progress); };

    catalog::Input const input = options.files.empty() ? catalog::read_machine(sink, tree_reader)
                                                       : catalog::read_files(options.files, sink, tree_reader);
    progress.clear();
    for (std::string const& problem : input.problems)
        std::fprintf(stderr, "catalog: %s\n", problem.c_str());
    Status const read = input.problems.empty() ? success : bad_input;
    if (input.files_read == 0 && catalogue.totals().lines == 0 && trees.empty())
        return {read, false};

    catalog::Summary const summary = catalog::summarise(catalogue);
    Status const printed = print(options.json ? catalog::json_report(input, trees, summary, options.urls)
                                              : catalog::text_report(input, trees, summary, options.urls));
    bool const good = printed == success && summary.verified != catalog::Verified::no;
    return {good ? read : failure, printed == success};
}

Status run(catalog::Options const& options)
{
    catalog::Progress progress;
    Outcome const outcome = report(options, progress);
    if (!outcome.reported)
        return outcome.status;
    catalog::Collection const collection = catalog::watch_collection(options.watch, progress);
    Status const printed = print(options.json ? catalog::json_report(collection) : catalog::text_report(collection));
    return printed == success ? outcome.status : printed;
}

// The library's background work, for as long as the object lives.
struct Background
{
    Background() : started(ORVA::AppInit() != 0) {}
    ~Background() { ORVA::AppExit(); }
    Background(Background const&) = delete;
    Background& operator=(Background const&) = delete;

    bool const started;
};

} // namespace

int main(int count, char** arguments)
{
    std::signal(SIGPIPE, SIG_IGN);
    use_unicode_case();
    catalog::print_library_messages();

    catalog::Options const options = catalog::parse_options(count, arguments);
    if (options.help)
        return print(catalog::usage);
    if (!options.error.empty())
    {
        std::fprintf(stderr, "catalog: %s (catalog --help tells more)\n", options.error.c_str());
        return bad_input;
    }
    Background const background;
    if (!background.started)
    {
        std::fprintf(stderr, "catalog: the library could not be started\n");
        return failure;
    }
    try
    {
        return run(options);
    }
    catch (std::bad_alloc const&)
    {
        std::fprintf(stderr, "catalog: out of memory\n");
        return failure;
    }
}
