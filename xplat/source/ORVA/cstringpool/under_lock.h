// A section of code under the pool's lock.
#pragma once

#include "cstringpool/globals.h"

namespace ORVA::String
{

// Runs `section` with the pool's lock held. What it throws is dropped here: no exception passes the border of the pool.
template <class Section>
void under_lock(Section section)
{
    g_pool_lock.Enter();
    try
    {
        section();
    }
    catch (...)
    {
    }
    g_pool_lock.Leave();
}

} // namespace ORVA::String
