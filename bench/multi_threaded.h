// For the benchmarks that set counted references beside std::shared_ptr.
#pragma once

#include <thread>

namespace bench
{

// The standard library counts without locking in a process that has never had a second thread, and no process that uses
// this library stays so.
inline void become_multi_threaded()
{
    std::thread([] {}).join();
}

} // namespace bench
