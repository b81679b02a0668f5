/// @file
/// The threads of the soak, and the watch over them.
#pragma once

#include "work.h"

#include <cstddef>
#include <memory>
#include <thread>

namespace soak
{

extern Operation const operations[];
extern std::size_t const operation_count;

/// How often each operation was done, in the order of `operations`.
using Tally = std::vector<unsigned long>;

/// Runs the workers for `seconds` and adds to `tally` what they did. They have ended when this returns.
void run_workers(Shared& shared, double seconds, Tally& tally);

/// Ends the process, and says who hangs and at what, when somebody makes no progress for a minute. The main thread is
/// watched too, and says what it does.
class Watch
{
public:
    Watch();
    ~Watch();
    Watch(Watch const&) = delete;
    Watch& operator=(Watch const&) = delete;

    /// What the main thread begins to do; null for nothing that is to be watched.
    static void main_does(char const* what);

private:
    void look();

    std::atomic<bool> m_over{false};
    std::thread m_thread;
};

} // namespace soak
