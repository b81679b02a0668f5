/// @file
/// What the library does behind a program's back: unused strings go.
#pragma once

#include "progress.h"

namespace catalog
{

/// How the pool shrank after its strings had been released.
struct Collection
{
    bool watched = false;
    unsigned long bytes_before = 0;
    unsigned long bytes_after = 0;
    double seconds = 0; ///< until nothing was left, or the time was over
};

/// Watches the pool until it is empty, `seconds` at most, and calls nothing that would empty it. Not at all for 0.
Collection watch_collection(unsigned long seconds, Progress& progress);

} // namespace catalog
