/// @file
/// `IMaintenanceRequest`: what an object offers that does housekeeping in the background.
///
/// Thread-safety: all but `GetName` run on the maintenance thread; `GetNextMaintenance` and `GetPriority` with the lock of
/// the list of services held, so they wait for nobody. Ownership: the list of services holds one reference to the block.
#pragma once

#include "ORVA/Core.h"

namespace ORVA::Maintenance
{

/// A service of the maintenance thread, an interface of an object in a block.
///
/// A service that throws on the maintenance thread is not called again.
class ORVA_API IMaintenanceRequest
{
public:
    /// The service's name, for messages. The service keeps the text. Called by `Unregister`, from which an exception
    /// passes; the service is then listed and disabled.
    virtual nqfWChar const* GetName() = 0;
    /// When the service next wants to run, in milliseconds on the clock of `Core::OS::GetTimeNow()`. Must be quick.
    virtual unsigned long GetNextMaintenance() = 0;
    /// Does one pass of work.
    virtual void RunMaintenance() = 0;
    /// How much it matters to run: a bigger number goes first. Must be quick.
    virtual int GetPriority() = 0;

protected:
    ~IMaintenanceRequest() = default;
};

} // namespace ORVA::Maintenance

/// Made on its first use, which may be on several threads at once.
template <>
ORVA_API _nqfUID const& __nqf_uuidof<ORVA::Maintenance::IMaintenanceRequest>();
