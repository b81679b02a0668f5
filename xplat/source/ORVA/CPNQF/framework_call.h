// Calls into the framework, whose failures end here.
#pragma once

#include "ORVA/NQF/Framework.h"

namespace ORVA::NQF
{

// Whether a call that gives a result of the framework succeeded: it neither threw nor was negative.
template <class Call>
bool succeeds(Call&& call) noexcept
{
    try
    {
        return call() >= 0;
    }
    catch (...)
    {
        return false;
    }
}

inline bool add_reference(INQFUnknown& object) noexcept
{
    try
    {
        object.AddRef();
        return true;
    }
    catch (...)
    {
        return false;
    }
}

inline bool release_reference(INQFUnknown& object) noexcept
{
    try
    {
        object.Release();
        return true;
    }
    catch (...)
    {
        return false;
    }
}

} // namespace ORVA::NQF
