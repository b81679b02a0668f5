#include "walk.h"

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

namespace catalog
{

namespace
{

// Tells what is in a directory, and returns the names of those in it, the last one first.
std::vector<std::string> read_directory(Place const& place, TreeVisitor& visitor)
{
    std::vector<std::string> names;
    Directory directory(place.path, place.depth == 0);
    for (Entry entry; directory.next(entry);)
    {
        visitor.entry(place, entry);
        if (entry.kind == Kind::directory)
            names.push_back(entry.name);
    }
    if (directory.is_open())
        visitor.directory_read(place);
    if (directory.error() != 0)
        visitor.unreadable(place, directory.error());
    std::sort(names.begin(), names.end(), std::greater<>());
    return names;
}

} // namespace

void walk(std::string const& root, TreeVisitor& visitor)
{
    std::vector<Place> pending{{root, 0}};
    while (!pending.empty())
    {
        Place const place = std::move(pending.back());
        pending.pop_back();
        for (std::string const& name : read_directory(place, visitor))
            pending.push_back({path_of(place.path, name), place.depth + 1});
    }
}

std::string path_of(std::string const& directory, std::string const& name)
{
    return directory.back() == '/' ? directory + name : directory + "/" + name;
}

} // namespace catalog
