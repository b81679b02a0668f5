/// @file
/// `CStringPoolMaintenance`: the service that collects unused strings in the background.
///
/// Thread-safety: the maintenance thread alone drives the object. `CStringPool::AppInit` and `AppExit` start and stop the
/// library's own one.
#pragma once

#include "ORVA/Buffers/Object.h"
#include "ORVA/Maintenance/MaintenanceRequest.h"

namespace ORVA::String
{

/// Goes through the pool in small steps. A string that nobody holds is disposed of by the second full pass that meets it;
/// the first frees its UTF-8 form.
///
/// A step ends at the first full second of the wall clock after its start, or with the pass. The next is due 10 seconds
/// later while the pass is unfinished, and 20 seconds later when it is complete.
class ORVA_API CStringPoolMaintenance final : public Maintenance::IMaintenanceRequest
{
public:
    /// Counts as a run: the first step is due 10 seconds later.
    CStringPoolMaintenance();

    /// L"CStringPoolMaintenance"
    nqfWChar const* GetName() override;

    /// `lastRun` and 20,000 milliseconds after a complete pass, otherwise 10,000.
    unsigned long GetNextMaintenance() override;

    /// One step, with the pool's lock held. On a thread whose priority is not 0 the step is left out and the pass counts
    /// as unfinished, as it does when the step throws.
    void RunMaintenance() override;

    /// -2 after a complete pass, otherwise 0.
    int GetPriority() override;

    /// The object itself for the identifier of `IMaintenanceRequest`, otherwise null.
    virtual void* queryInterface(_nqfUID const& uid) const;

    unsigned long lastRun; ///< when it was made or last run, on the clock of `Core::OS::GetTimeNow()`
    bool passComplete;     ///< the last step went through to the end of the table
};

} // namespace ORVA::String

extern template class ORVA::Buffers::CPIObject<ORVA::String::CStringPoolMaintenance>;
