// The count of starts.
#pragma once

namespace ORVA
{

// Calls of `AppInit` that no `AppExit` has taken back yet. Despite its name it is no lock. Changed by interlocked
// operations alone.
extern unsigned int g_lAppInitLock;

} // namespace ORVA
