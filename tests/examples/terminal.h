/// @file
/// A terminal for programs under test.
#pragma once

#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <unistd.h>

namespace examples
{

/// A terminal of which both ends are here: the program gets one, and the other tells what it wrote.
class Terminal
{
public:
    Terminal()
    {
        m_master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        if (m_master >= 0 && grantpt(m_master) == 0 && unlockpt(m_master) == 0)
            m_end = open(ptsname(m_master), O_RDWR | O_NOCTTY | O_CLOEXEC);
    }
    ~Terminal()
    {
        close(m_end);
        close(m_master);
    }
    Terminal(Terminal const&) = delete;
    Terminal& operator=(Terminal const&) = delete;

    /// The program's end; negative if there are no terminals here.
    int end() const { return m_end; }

    /// What was written so far. The system passes it on in its own time, so a mark is written behind it and waited for,
    /// ten seconds at most.
    std::string seen() const
    {
        constexpr char mark = '\1';
        std::string text;
        if (write(m_end, &mark, 1) != 1)
            return text;
        pollfd ready = {m_master, POLLIN, 0};
        while (poll(&ready, 1, 10000) == 1)
        {
            char bytes[4096];
            ssize_t const size = read(m_master, bytes, sizeof bytes);
            if (size <= 0)
                break;
            text.append(bytes, static_cast<std::size_t>(size));
            if (text.back() == mark)
            {
                text.pop_back();
                break;
            }
        }
        return text;
    }

private:
    int m_master = -1;
    int m_end = -1;
};

/// What the progress of the catalog leaves behind: an empty line.
inline std::string const wiped_out = "\r" + std::string(79, ' ') + "\r";

} // namespace examples
