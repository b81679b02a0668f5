/// @file
/// Services for the tests of the scheduler, and a look into it.
#pragma once

#include "maintenance/globals.h"
#include "maintenance/list.h"
#include "maintenance/services.h"

#include "ORVA/Buffers/Object.h"
#include "ORVA/Maintenance.h"
#include "support/ClockOverride.h"
#include "support/LogRecorder.h"
#include "support/MaintenanceCalls.h"
#include "threading/event_threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace scheduler
{

using namespace ORVA::Maintenance;
using ORVA::Buffers::CPObjectMemory;
using ORVA::Threading::_cEvent;
using ORVA::Threading::CPEvent;

constexpr unsigned int no_limit = 0xFFFFFFFFU;
constexpr unsigned long never = ~0UL;

/// Puts an interface that is not at the start of the object.
struct Before
{
    virtual long first() { return 0; }
    long field = 0;

protected:
    ~Before() = default;
};

/// A service that does what the test says. Functions are set while no thread runs it.
class Probe : public Before, public IMaintenanceRequest
{
public:
    std::wstring name = L"probe";
    std::atomic<unsigned long> time{0};
    std::atomic<int> priority{0};
    std::function<void()> on_time;
    std::function<void()> on_priority;
    std::function<void()> on_run;
    std::function<void()> on_end;
    std::atomic<unsigned int> asked_for_time{0};
    std::atomic<unsigned int> asked_for_priority{0};
    std::atomic<unsigned int> runs{0};

    virtual ~Probe()
    {
        if (on_end)
            on_end();
    }
    nqfWChar const* GetName() override { return name.c_str(); }
    unsigned long GetNextMaintenance() override
    {
        ++asked_for_time;
        call(on_time);
        return time;
    }
    void RunMaintenance() override
    {
        ++runs;
        call(on_run);
    }
    int GetPriority() override
    {
        ++asked_for_priority;
        call(on_priority);
        return priority;
    }
    virtual void* queryInterface(_nqfUID const& uid) const
    {
        bool const known = std::memcmp(&uid, &__nqf_uuidof<IMaintenanceRequest>(), sizeof(uid)) == 0;
        return known ? static_cast<IMaintenanceRequest*>(const_cast<Probe*>(this)) : nullptr;
    }

private:
    static void call(std::function<void()> const& function)
    {
        if (function)
            function();
    }
};

using Block = ORVA::Buffers::CPIObject<Probe>;

inline Block service(unsigned long time = 0, int priority = 0)
{
    Block block;
    block.create();
    block->time = time;
    block->priority = priority;
    return block;
}

inline CPObjectMemory block_without_interface()
{
    ORVA::Buffers::CPObject<long> block;
    block.create();
    return block;
}

/// Sets the time of a service to never when it has run, as one does that has nothing more to do.
inline void run_once(Block& block)
{
    Probe* const probe = &*block;
    block->on_run = [probe] { probe->time = never; };
}

inline std::function<void()> thrower()
{
    return [] { throw 1; };
}

/// The entry of a service. For tests without a thread.
inline MRInfo* entry_of(CPObjectMemory const& block)
{
    return find_service(block);
}

inline bool is_disabled(CPObjectMemory const& block)
{
    ListLock const lock;
    return entry_of(block)->flags == MRInfo::disabled;
}

inline unsigned int age_of(CPObjectMemory const& block)
{
    ListLock const lock;
    return entry_of(block)->skipped;
}

inline bool is_listed(CPObjectMemory const& block)
{
    ListLock const lock;
    return entry_of(block) != nullptr;
}

inline unsigned long listed()
{
    ListLock const lock;
    return g_cpMRList.GetCount();
}

/// The blocks of the list in their order.
inline std::vector<CPObjectMemory> list()
{
    ListLock const lock;
    std::vector<CPObjectMemory> blocks;
    for (MRInfo const& entry : g_cpMRList)
        blocks.push_back(entry.service);
    return blocks;
}

inline bool is_signaled(CPEvent const& event)
{
    return event.GetHandle()->getState() == _cEvent::eEventSignaled;
}

inline unsigned long listeners_of(CPEvent const& event)
{
    std::lock_guard<boost::mutex> const lock(events::Look::lock(*event.GetHandle()));
    return events::Look::listeners(*event.GetHandle()).GetCount();
}

[[noreturn]] inline void fail_to_lock()
{
    throw boost::lock_error(1, "boost: mutex lock failed in pthread_mutex_lock");
}

/// Lets the scheduler begin and end each test without a thread, services, signals and a pending service.
class Scheduler : public testing::Test
{
protected:
    Scheduler() { clear(); }
    ~Scheduler() override { clear(); }

private:
    static void clear()
    {
        AppExit();
        _resetPending(false);
        g_cpMRStop.Reset();
        g_cpMRTrigger.Reset();
    }
};

} // namespace scheduler
