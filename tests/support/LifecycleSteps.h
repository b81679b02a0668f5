/// @file
/// Puts itself in the place of what the start and the stop of the library call.
///
/// While one lives, the four steps do nothing but note that they were called, and the two starts give what they are told
/// to. One lives at a time; steps may be called from any thread.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace support
{

class LifecycleSteps
{
public:
    LifecycleSteps();
    ~LifecycleSteps();
    LifecycleSteps(LifecycleSteps const&) = delete;
    LifecycleSteps& operator=(LifecycleSteps const&) = delete;

    /// Lets the start of the maintenance thread fail, or not.
    void fail_maintenance(bool fails = true);
    /// Lets the start of the pool's service fail, or not.
    void fail_pool(bool fails = true);

    /// Called in each step, once it is noted, with its name. An exception takes the place of the step's result. To be set
    /// while no other thread calls a step.
    std::function<void(std::string const& step)> in_step;

    /// The steps called so far, in order, as "maintenance init", "pool init", "pool exit", "maintenance exit"; none
    /// afterwards.
    std::vector<std::string> take();
};

using Steps = std::vector<std::string>;

} // namespace support
