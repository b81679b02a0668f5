#include "progress.h"

#include "numbers.h"

#include "ORVA/Develop.h"

#include <cstdio>
#include <unistd.h>

namespace catalog
{

Progress::Progress() : m_terminal(isatty(STDERR_FILENO) != 0) {}

bool Progress::is_due()
{
    constexpr unsigned long milliseconds_between_updates = 100;

    unsigned long const now = ORVA::Develop::_now_milli();
    if (now < m_next)
        return false;
    m_next = now + milliseconds_between_updates;
    return true;
}

bool Progress::is_due_after_many_calls()
{
    constexpr unsigned long calls_between_looks_at_the_clock = 256;

    return m_terminal && m_calls++ % calls_between_looks_at_the_clock == 0 && is_due();
}

// What was there before may have been longer.
void Progress::show(std::string const& text)
{
    clear();
    m_shown = true;
    std::fprintf(stderr, "\r%s", text.c_str());
    std::fflush(stderr);
}

void Progress::update(unsigned long lines, unsigned long components)
{
    if (is_due_after_many_calls())
        show(grouped(lines) + " lines, " + grouped(components) + " components");
}

void Progress::update_walk(unsigned long entries, unsigned long directories_read)
{
    if (is_due_after_many_calls())
        show(grouped(entries) + " entries, " + grouped(directories_read) + " directories read");
}

void Progress::update_collection(unsigned long bytes_left, unsigned long seconds)
{
    if (m_terminal && is_due())
        show("names let go; after " + grouped(seconds) + " s the pool holds " + grouped(bytes_left) + " bytes");
}

void Progress::clear()
{
    if (m_shown)
        std::fprintf(stderr, "\r%79s\r", "");
    m_shown = false;
}

} // namespace catalog
