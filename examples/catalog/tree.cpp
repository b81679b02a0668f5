#include "tree.h"

#include "utf8.h"
#include "walk.h"

#include "ORVA/Develop.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

namespace catalog
{

namespace
{

namespace fs = std::filesystem;

std::string without_slashes_at_end(std::string path)
{
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

// The second way is for a directory that may not be asked about, or has gone: then nothing comes of it.
std::string absolute(std::string const& path)
{
    std::error_code error;
    fs::path found = fs::canonical(path, error);
    if (error)
        found = fs::absolute(path, error);
    return found.native();
}

class Surveyor final : public TreeVisitor
{
public:
    Surveyor(Tree& tree, Catalogue& catalogue, Progress& progress)
        : m_tree(tree), m_catalogue(catalogue), m_progress(progress)
    {
    }

    void entry(Place const& place, Entry const& entry) override
    {
        ++m_tree.entries;
        _count(entry);
        _rank(place, entry);
        _name(place, entry);
        m_progress.update_walk(m_tree.entries, m_directories_read);
    }

    void directory_read(Place const& place) override
    {
        m_tree.root_was_read = true;
        ++m_directories_read;

        std::sort(m_invalid_here.begin(), m_invalid_here.end());
        m_tree.invalid += m_invalid_here.size();
        for (std::string& path : m_invalid_here)
            _list(m_tree.invalid_names, std::move(path));
        m_invalid_here.clear();

        for (PooledNames& names : case_clashes(m_names_here))
        {
            ++m_tree.clashing;
            _list(m_tree.clashes, Clash{place.path, std::move(names)});
        }
        m_names_here.clear();
    }

    void unreadable(Place const& place, int error) override
    {
        ++m_tree.unread;
        _list(m_tree.unread_directories, UnreadDirectory{place.path, std::generic_category().message(error)});
    }

    // The distinct names of this tree alone.
    Catalogue own_names;

private:
    template <class Item>
    static void _list(std::vector<Item>& list, Item item)
    {
        if (list.size() < Tree::listed)
            list.push_back(std::move(item));
    }

    void _count(Entry const& entry)
    {
        switch (entry.kind)
        {
        case Kind::file:
            ++m_tree.files;
            m_tree.bytes += static_cast<unsigned long>(entry.size);
            break;
        case Kind::directory:
            ++m_tree.directories;
            break;
        case Kind::link:
            ++m_tree.links;
            break;
        case Kind::other:
            ++m_tree.others;
            break;
        }
        if (!entry.known)
            ++m_tree.unknown;
    }

    void _rank(Place const& place, Entry const& entry)
    {
        long const level = static_cast<long>(place.depth) + 1;
        if (m_tree.deepest.admits(level))
            m_tree.deepest.offer(level, path_of(place.path, entry.name));
        if (entry.kind != Kind::file || !entry.known)
            return;
        if (m_tree.largest.admits(entry.size))
            m_tree.largest.offer(entry.size, path_of(place.path, entry.name));
        if (m_tree.newest.admits(entry.modified))
            m_tree.newest.offer(entry.modified, path_of(place.path, entry.name));
    }

    // A name that is no UTF-8 is no text, and cannot be pooled. It is kept as it is.
    void _name(Place const& place, Entry const& entry)
    {
        if (!is_utf8(entry.name))
        {
            m_invalid_here.push_back(path_of(place.path, entry.name));
            return;
        }
        own_names.add_name(entry.name);
        m_names_here.push_back(m_catalogue.add_name(entry.name).text);
    }

    Tree& m_tree;
    Catalogue& m_catalogue;
    Progress& m_progress;
    unsigned long m_directories_read = 0;
    PooledNames m_names_here;                ///< of the directory that is being read
    std::vector<std::string> m_invalid_here; ///< paths, in the same directory
};

} // namespace

std::string Tree::absolute_path(std::string const& path) const
{
    std::string const rest = path.substr(root.size());
    bool const two_slashes = absolute.back() == '/' && !rest.empty() && rest.front() == '/';
    return two_slashes ? absolute + rest.substr(1) : absolute + rest;
}

Tree survey(std::string const& root, Catalogue& catalogue, Progress& progress)
{
    Tree tree;
    tree.root = without_slashes_at_end(root);
    tree.absolute = absolute(tree.root);
    Surveyor surveyor(tree, catalogue, progress);
    unsigned long const start = ORVA::Develop::_steady_clock_now();
    walk(tree.root, surveyor);
    tree.seconds = static_cast<double>(ORVA::Develop::_steady_clock_now() - start) / 1e9;
    tree.distinct = surveyor.own_names.names().GetCount();
    tree.distinct_ignoring_case = surveyor.own_names.words().GetCount();
    return tree;
}

} // namespace catalog
