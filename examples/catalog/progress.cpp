#include "progress.h"

#include "numbers.h"

#include "ORVA/Develop.h"

#include <cstdio>
#include <unistd.h>

namespace catalog
{

Progress::Progress() : m_terminal(isatty(STDERR_FILENO) != 0) {}

void Progress::update(unsigned long lines, unsigned long components)
{
    constexpr unsigned long calls_between_looks_at_the_clock = 256;
    constexpr unsigned long milliseconds_between_updates = 100;

    if (!m_terminal || m_calls++ % calls_between_looks_at_the_clock != 0)
        return;
    unsigned long const now = ORVA::Develop::_now_milli();
    if (now < m_next)
        return;
    m_next = now + milliseconds_between_updates;
    m_shown = true;
    std::fprintf(stderr, "\r%s lines, %s components", grouped(lines).c_str(), grouped(components).c_str());
    std::fflush(stderr);
}

void Progress::clear()
{
    if (m_shown)
        std::fprintf(stderr, "\r%79s\r", "");
    m_shown = false;
}

} // namespace catalog
