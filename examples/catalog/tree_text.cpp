#include "tree_report.h"

#include "file_url.h"
#include "layout.h"
#include "numbers.h"
#include "utc_time.h"
#include "utf8.h"

namespace catalog
{

namespace
{

constexpr unsigned long characters_shown = 90;
constexpr unsigned long names_shown = 6;

// Lines of the report about one tree.
class TreeText
{
public:
    TreeText(Tree const& tree, bool urls) : m_tree(tree), m_urls(urls) {}

    std::string counts() const
    {
        std::string text = "\nTree " + _path(m_tree.root) + "\n\n";
        text += row("entries", m_tree.entries);
        text += row("files", m_tree.files);
        text += row("directories", m_tree.directories);
        text += row("links, not followed", m_tree.links);
        text += row("others", m_tree.others);
        text += row("bytes in files", m_tree.bytes);
        text += row("distinct names", m_tree.distinct);
        text += row("distinct ignoring case", m_tree.distinct_ignoring_case);
        text += row("names that are no UTF-8", m_tree.invalid);
        text += row("directories not read", m_tree.unread);
        if (m_tree.unknown != 0)
            text += row("entries without a record", m_tree.unknown);
        if (m_tree.seconds > 0)
            text += row("entries per second",
                        static_cast<unsigned long>(static_cast<double>(m_tree.entries) / m_tree.seconds));
        return text;
    }

    std::string largest() const
    {
        std::string text = m_tree.files == 0 ? "" : "\nLargest files, in bytes:\n";
        for (Ranked const& file : m_tree.largest.list())
            text += _line(grouped(static_cast<unsigned long>(file.number)), _path(file.path));
        return text;
    }

    std::string newest() const
    {
        std::string text = m_tree.files == 0 ? "" : "\nMost recently modified files:\n";
        for (Ranked const& file : m_tree.newest.list())
            text += "  " + utc_time(file.number) + "  " + _path(file.path) + "\n";
        return text;
    }

    std::string deepest() const
    {
        std::string text = m_tree.entries == 0 ? "" : "\nDeepest path, in levels:\n";
        for (Ranked const& entry : m_tree.deepest.list())
            text += _line(grouped(static_cast<unsigned long>(entry.number)), _path(entry.path));
        return text;
    }

    std::string clashes() const
    {
        std::string text;
        if (m_tree.clashing != 0)
            text += "\nNames in one directory that differ only by case, and are one name on other systems:\n";
        for (Clash const& clash : m_tree.clashes)
            text += _line(grouped(clash.names.size()), _names(clash) + "  in " + _path(clash.directory));
        return text + _others(m_tree.clashing, m_tree.clashes.size());
    }

    std::string invalid() const
    {
        std::string text;
        if (m_tree.invalid != 0)
            text += "\nNames that are no UTF-8" + std::string(m_urls ? ":\n" : " (bytes outside ASCII as \\xNN):\n");
        for (std::string const& path : m_tree.invalid_names)
            text += "  " + _path(path) + "\n";
        return text + _others(m_tree.invalid, m_tree.invalid_names.size());
    }

    std::string unread() const
    {
        std::string text;
        if (m_tree.unread != 0)
            text += "\nDirectories not read, or not to their end:\n";
        for (UnreadDirectory const& directory : m_tree.unread_directories)
            text += "  " + _path(directory.path) + ": " + directory.reason + "\n";
        return text + _others(m_tree.unread, m_tree.unread_directories.size());
    }

private:
    static std::string _line(std::string const& number, std::string const& text)
    {
        return right_aligned(number) + "  " + text + "\n";
    }

    static std::string _names(Clash const& clash)
    {
        std::string text;
        for (std::size_t index = 0; index < clash.names.size() && index < names_shown; ++index)
            text += (index == 0 ? "" : "  ") + shown(clash.names[index], characters_shown);
        if (clash.names.size() > names_shown)
            text += "  and " + grouped(clash.names.size() - names_shown) + " more";
        return text;
    }

    static std::string _others(unsigned long all, unsigned long listed)
    {
        return all == listed ? "" : "  and " + grouped(all - listed) + " more\n";
    }

    std::string _path(std::string const& path) const
    {
        return m_urls ? file_url(m_tree.absolute_path(path)) : shown_path(path);
    }

    Tree const& m_tree;
    bool m_urls;
};

} // namespace

std::string text_report(Tree const& tree, bool urls)
{
    TreeText const text(tree, urls);
    return text.counts() + text.largest() + text.newest() + text.deepest() + text.clashes() + text.invalid() +
           text.unread();
}

} // namespace catalog
