/// @file
/// What is found in a directory tree.
#pragma once

#include "case_clashes.h"
#include "catalogue.h"
#include "progress.h"
#include "top_list.h"

#include <string>
#include <vector>

namespace catalog
{

/// Names in one directory that differ only by case.
struct Clash
{
    std::string directory;
    PooledNames names;
};

/// A directory that could not be read, or not all of it.
struct UnreadDirectory
{
    std::string path;
    std::string reason;
};

/// Of a list with a count, the count is that of all, and the list has the first ones, in the order of the walk. The root
/// itself is no entry.
struct Tree
{
    static constexpr unsigned long ranked = 10; ///< how many are kept of those with a rank
    static constexpr unsigned long listed = 20; ///< and of the others

    std::string root;     ///< as it was given, without slashes at its end
    std::string absolute; ///< the same directory as an absolute path without links

    unsigned long entries = 0; ///< all of them: files, directories, links and others
    unsigned long files = 0;
    unsigned long directories = 0;
    unsigned long links = 0;
    unsigned long others = 0;
    unsigned long unknown = 0; ///< entries, counted above as well, of which the system told no size and no time
    unsigned long bytes = 0;   ///< in files; a file with several names counts as often

    unsigned long distinct = 0; ///< names in UTF-8
    unsigned long distinct_ignoring_case = 0;

    TopList largest{ranked}; ///< files, by bytes
    TopList newest{ranked};  ///< files, by the seconds since the epoch of their last modification
    TopList deepest{1};      ///< entries, by levels below the root

    unsigned long clashing = 0; ///< groups of names
    std::vector<Clash> clashes;
    unsigned long invalid = 0; ///< entries with a name that is no UTF-8
    std::vector<std::string> invalid_names;
    unsigned long unread = 0; ///< directories
    std::vector<UnreadDirectory> unread_directories;

    double seconds = 0;         ///< that the walk took
    bool root_was_read = false; ///< if not, all is 0 but the one directory that could not be read

    /// The absolute path of a path in this tree.
    std::string absolute_path(std::string const& path) const;
};

/// Walks through the tree at `root`, which must not be empty, and counts its names in `catalogue` as well.
Tree survey(std::string const& root, Catalogue& catalogue, Progress& progress);

} // namespace catalog
