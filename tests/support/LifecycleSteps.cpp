#include "support/LifecycleSteps.h"

#include <mutex>
#include <utility>

namespace
{

struct State
{
    std::mutex lock;
    support::LifecycleSteps* active = nullptr;
    bool maintenance_fails = false;
    bool pool_fails = false;
    support::Steps steps;
};

State& state()
{
    static State instance;
    return instance;
}

// False if nobody stands in the place of the step.
bool note(char const* step)
{
    support::LifecycleSteps* active = nullptr;
    {
        std::lock_guard<std::mutex> const lock(state().lock);
        active = state().active;
        if (active != nullptr)
            state().steps.push_back(step);
    }
    if (active != nullptr && active->in_step)
        active->in_step(step);
    return active != nullptr;
}

} // namespace

// The names are those that the linker's --wrap gives.
extern "C"
{
    bool __real__ZN4ORVA11Maintenance7AppInitEv();
    bool __wrap__ZN4ORVA11Maintenance7AppInitEv();
    void __real__ZN4ORVA11Maintenance7AppExitEv();
    void __wrap__ZN4ORVA11Maintenance7AppExitEv();
    unsigned int __real__ZN4ORVA6String11CStringPool7AppInitEv();
    unsigned int __wrap__ZN4ORVA6String11CStringPool7AppInitEv();
    void __real__ZN4ORVA6String11CStringPool7AppExitEv();
    void __wrap__ZN4ORVA6String11CStringPool7AppExitEv();

    bool __wrap__ZN4ORVA11Maintenance7AppInitEv()
    {
        return note("maintenance init") ? !state().maintenance_fails : __real__ZN4ORVA11Maintenance7AppInitEv();
    }

    void __wrap__ZN4ORVA11Maintenance7AppExitEv()
    {
        if (!note("maintenance exit"))
            __real__ZN4ORVA11Maintenance7AppExitEv();
    }

    // Any result that is not 0 is a success, not 1 alone.
    unsigned int __wrap__ZN4ORVA6String11CStringPool7AppInitEv()
    {
        if (!note("pool init"))
            return __real__ZN4ORVA6String11CStringPool7AppInitEv();
        return state().pool_fails ? 0 : 0x80000000U;
    }

    void __wrap__ZN4ORVA6String11CStringPool7AppExitEv()
    {
        if (!note("pool exit"))
            __real__ZN4ORVA6String11CStringPool7AppExitEv();
    }
}

namespace support
{

LifecycleSteps::LifecycleSteps()
{
    std::lock_guard<std::mutex> const lock(state().lock);
    state().active = this;
    state().maintenance_fails = state().pool_fails = false;
    state().steps.clear();
}

LifecycleSteps::~LifecycleSteps()
{
    std::lock_guard<std::mutex> const lock(state().lock);
    state().active = nullptr;
}

void LifecycleSteps::fail_maintenance(bool fails)
{
    state().maintenance_fails = fails;
}

void LifecycleSteps::fail_pool(bool fails)
{
    state().pool_fails = fails;
}

std::vector<std::string> LifecycleSteps::take()
{
    std::lock_guard<std::mutex> const lock(state().lock);
    return std::exchange(state().steps, {});
}

} // namespace support
