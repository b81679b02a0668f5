/// @file
/// A component with a service on the maintenance thread, and how it is taken off before the code goes.
#include "component.h"
#include "counted.h"

#include "ORVA/ORVA.h"

#include <atomic>

namespace
{

using ORVA::Maintenance::IMaintenanceRequest;
using ORVA::NQF::cnqfuid;
using ORVA::String::CPPoolString;

constexpr unsigned int patience = 10000; // milliseconds

// Identifiers that differ in the last byte: class, its definition, component.
constexpr _nqfUID uid(unsigned char last)
{
    return {0x3E5D7712, 0x90A4, 0x4B2E, {0xA6, 0x0C, 0x18, 0xD4, 0x6F, 0x2B, 0x71, last}};
}
constexpr _nqfUID vendor_uid = {0xB4B3A1F0, 0x2C67, 0x4E0F, {0x8D, 0x11, 0x7A, 0x3F, 0x52, 0xC9, 0x06, 0xFF}};

// Runs when it was asked to. All but `pass` is called on the maintenance thread.
class Upkeep final : public IMaintenanceRequest
{
public:
    nqfWChar const* GetName() override { return L"Upkeep"; }
    unsigned long GetNextMaintenance() override { return m_wanted ? 0 : ~0UL; }
    void RunMaintenance() override
    {
        m_wanted = false;
        ++m_passes;
        m_done.Set();
    }
    int GetPriority() override { return 0; }

    void* queryInterface(_nqfUID const& uid) const
    {
        if (cnqfuid(uid) != __nqf_uuidof<IMaintenanceRequest>())
            return nullptr;
        return const_cast<IMaintenanceRequest*>(static_cast<IMaintenanceRequest const*>(this));
    }

    // Has one pass run and waits for it. The number of passes so far; 0 if it took too long.
    unsigned int pass()
    {
        m_done.Reset();
        m_wanted = true;
        ORVA::Maintenance::Trigger();
        return m_done.Wait(patience) == 0 ? m_passes.load() : 0;
    }

private:
    std::atomic<bool> m_wanted{false};
    std::atomic<unsigned int> m_passes{0};
    ORVA::Threading::CPEvent m_done{true};
};

// The block's code is here: the last handle goes before this component does.
ORVA::Buffers::CPIObject<Upkeep> service;

class UpkeepTask final : public host::Counted<host::ITask>
{
public:
    int Run(CPPoolString const&, CPPoolString& answer) override
    {
        unsigned int const passes = service->pass();
        answer = passes == 1 ? L"the service has run once" : L"the service did not run, or not for the first time";
        return passes == 1 ? 0 : -1;
    }
};

// A failed AppInit counts as well, and is taken back.
int start()
{
    if (ORVA::AppInit() == 1 && service.create() != nullptr && ORVA::Maintenance::Register(service))
        return 1;
    service.free();
    ORVA::AppExit();
    return 0;
}

// Unregister waits for a pass that runs. If that takes too long, the thread still runs this code.
int stop()
{
    bool const gone = ORVA::Maintenance::Unregister(service, patience);
    if (gone)
        service.free();
    ORVA::AppExit();
    return gone ? 1 : 0;
}

host::ClassFactory<UpkeepTask> factory;
host::ClassRecord const classes[] = {{uid(0x01), uid(0x02), L"Upkeep", &factory}};
host::ComponentRecord const component =
    host::component_record(uid(0x03), L"Upkeep", vendor_uid, L"Example Components", {2, 0, 0, 7}, classes, &start,
                           &stop, &host::count_objects, false);

} // namespace

extern "C" host::ComponentRecord const* host_component()
{
    return &component;
}
