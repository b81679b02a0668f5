/// @file
/// `IThreadExecute`: what an object offers that is to be the body of a thread.
///
/// Thread-safety: `execute` runs on the new thread, `exitCode` on any. Ownership: see Thread.h.
#pragma once

#include "ORVA/Core.h"

namespace ORVA::Threading
{

/// The body of a thread, an interface of an object in a block. The thread keeps the block while it runs.
class ORVA_API IThreadExecute
{
public:
    /// Runs the body, on the thread. It must not throw: an exception, but for the interruption that `Terminate` brings,
    /// would end the process.
    virtual void execute() = 0;
    /// How the body is getting on: 0 not started, 1 running, 2 ended by an exception, 3 ended. May be called from any
    /// thread.
    virtual unsigned int exitCode() = 0;

protected:
    ~IThreadExecute() = default;
};

} // namespace ORVA::Threading

/// Made on its first use, which may be on several threads at once.
template <>
ORVA_API _nqfUID const& __nqf_uuidof<ORVA::Threading::IThreadExecute>();
