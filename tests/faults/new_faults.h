/// @file
/// Whether `new` can be made to fail in this build.
#pragma once

#include "faults/FaultTest.h"

#include <new>

namespace faults
{

/// False where a sanitizer keeps operators of its own, which go their way past `NewFails`: what the threads' library takes
/// does not fail then.
inline bool new_can_fail()
{
    support::AllocationFailure const failure(1);
    NewFails const scope;
    try
    {
        ::operator delete(::operator new(1));
        return false;
    }
    catch (std::bad_alloc const&)
    {
        return true;
    }
}

} // namespace faults
