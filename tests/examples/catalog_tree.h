/// @file
/// Trees for the tests of the catalog example to walk through.
#pragma once

#include "catalog_test.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/stat.h>

namespace examples
{

/// A tree below the workplace. Paths are those below its root.
class CatalogTreeTest : public CatalogTest
{
protected:
    CatalogTreeTest() : root(work.path() + "/tree") { std::filesystem::create_directory(root); }

    std::string at(std::string const& path) const { return root + "/" + path; }

    void directory(std::string const& path) const
    {
        if (mkdir(at(path).c_str(), 0755) != 0)
            throw std::runtime_error("cannot make the directory " + path);
    }

    void file(std::string const& path, unsigned long bytes = 0) const
    {
        std::ofstream stream(at(path), std::ios::binary);
        stream << std::string(bytes, 'x');
        if (!stream.flush())
            throw std::runtime_error("cannot make the file " + path);
    }

    void link(std::string const& target, std::string const& path) const
    {
        std::filesystem::create_symlink(target, at(path));
    }

    /// Sets when a file was modified, in seconds since the epoch.
    void modified(std::string const& path, long seconds) const
    {
        timespec const times[2] = {{seconds, 0}, {seconds, 0}};
        if (utimensat(AT_FDCWD, at(path).c_str(), times, 0) != 0)
            throw std::runtime_error("cannot set the time of " + path);
    }

    /// The JSON report on the tree, which must be read without a complaint.
    Json survey(std::vector<std::string> arguments = {})
    {
        arguments.insert(arguments.begin(), {"--json", root});
        Outcome const done = run(arguments);
        EXPECT_EQ(done.status, 0);
        EXPECT_EQ(done.err, "");
        return JsonReader(done.out).read();
    }

    /// The same without what is told about all names.
    Json tree(std::vector<std::string> const& arguments = {}) { return survey(arguments)["trees"][0]; }

    /// The paths of a list of the report, without the root where they begin with it.
    Names paths(Json const& list) const
    {
        Names found;
        for (auto const& member : list.members)
        {
            std::string const& path = member.second["path"].text;
            found.push_back(path.compare(0, root.size() + 1, root + "/") == 0 ? path.substr(root.size() + 1) : path);
        }
        return found;
    }

    std::string const root;
};

/// The texts of a list of texts.
inline Names texts(Json const& list)
{
    Names found;
    for (auto const& member : list.members)
        found.push_back(member.second.text);
    return found;
}

} // namespace examples
