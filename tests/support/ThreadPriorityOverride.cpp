#include "support/ThreadPriorityOverride.h"

namespace
{

struct State
{
    bool active;
    ORVA::Threading::eThreadPriority priority;
};

thread_local State state = {false, ORVA::Threading::eThreadPriorityNormal};

} // namespace

// The names are those that the linker's --wrap gives.
extern "C" ORVA::Threading::eThreadPriority __real__ZN4ORVA9Threading13CurrentThread2OS17GetThreadPriorityEv();
extern "C" ORVA::Threading::eThreadPriority __wrap__ZN4ORVA9Threading13CurrentThread2OS17GetThreadPriorityEv();

extern "C" ORVA::Threading::eThreadPriority __wrap__ZN4ORVA9Threading13CurrentThread2OS17GetThreadPriorityEv()
{
    return state.active ? state.priority : __real__ZN4ORVA9Threading13CurrentThread2OS17GetThreadPriorityEv();
}

namespace support
{

ThreadPriorityOverride::ThreadPriorityOverride(ORVA::Threading::eThreadPriority priority)
{
    state = {true, priority};
}

ThreadPriorityOverride::~ThreadPriorityOverride()
{
    state.active = false;
}

} // namespace support
