/// @file
/// A line that tells a waiting person how far the work is.
#pragma once

#include <string>

namespace catalog
{

/// Keeps one line on standard error up to date, if that is a terminal; otherwise does nothing.
class Progress
{
public:
    Progress();
    ~Progress() { clear(); }
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    /// Shows the numbers reached, ten times a second at most. Call it for each line.
    void update(unsigned long lines, unsigned long components);

    /// Shows how far a walk through a tree is, ten times a second at most. Call it for each entry.
    void update_walk(unsigned long entries, unsigned long directories_read);

    /// Shows how much of the collected names is left, ten times a second at most.
    void update_collection(unsigned long bytes_left, unsigned long seconds);

    /// Wipes the line out.
    void clear();

private:
    bool is_due();
    bool is_due_after_many_calls();
    void show(std::string const& text);

    bool m_terminal;
    bool m_shown = false;
    unsigned long m_calls = 0;
    unsigned long m_next = 0;
};

} // namespace catalog
