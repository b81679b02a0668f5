/// @file
/// A walk through a directory tree.
#pragma once

#include "directory.h"

#include <string>

namespace catalog
{

/// A directory on the way. The tree's root has depth 0, and what is in it depth 1.
struct Place
{
    std::string path;
    unsigned long depth;
};

/// What a walk tells. The arguments are good during the call only.
class TreeVisitor
{
public:
    virtual ~TreeVisitor() = default;

    /// An entry of the directory `place`.
    virtual void entry(Place const& place, Entry const& entry) = 0;

    /// All entries of `place` that could be read have been told.
    virtual void directory_read(Place const& place) = 0;

    /// `place` could not be opened or not be read to its end, by an error as in `errno`.
    virtual void unreadable(Place const& place, int error) = 0;
};

/// Walks through the tree at `root`: each directory before those in it, and those in the order of their names. Goes on
/// where a directory cannot be read, which may also be because it has been removed meanwhile, or because its path is
/// longer than the system takes.
///
/// Links are not followed, save if `root` is one: the walk ends, whatever the tree looks like. It keeps the paths of
/// the directories that are still to come, and has one of them open at a time.
void walk(std::string const& root, TreeVisitor& visitor);

/// The path of an entry of a directory.
std::string path_of(std::string const& directory, std::string const& name);

} // namespace catalog
