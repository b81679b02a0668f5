#include "lifecycle.h"

#include "ORVA/Core.h"
#include "ORVA/Maintenance.h"
#include "ORVA/String/Pool.h"

namespace ORVA
{

unsigned int g_lAppInitLock;

int AppInit()
{
    if (Core::OS::InterlockedIncrement32(g_lAppInitLock) != 1)
        return 1;
    try
    {
        return Maintenance::AppInit() && String::CStringPool::AppInit() != 0 ? 1 : 0;
    }
    catch (...)
    {
        return 0; // a system without threads to spare
    }
}

// The service of the pool goes first, while there is a thread to take it from. Where the caller is interrupted in its wait
// for that, the thread is stopped all the same.
void AppExit()
{
    if (Core::OS::InterlockedDecrement32(g_lAppInitLock) != 0)
        return;
    try
    {
        String::CStringPool::AppExit();
    }
    catch (...)
    {
        Maintenance::AppExit();
        throw;
    }
    Maintenance::AppExit();
}

} // namespace ORVA
