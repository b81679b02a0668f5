/// @file
/// The result of a component call, with reporting on demand.
///
/// Thread-safety: a result is a plain value, one thread at a time. Set the flags before other threads are started.
#pragma once

#include "ORVA/Core/Export.h"

#include <type_traits>

namespace ORVA
{

/// Set by a host to have every failed `hr` logged at level 8. The library only reads it.
extern ORVA_API bool bLogFailedHRESULT;
/// Set by a host to have every failed `hr` reported as a failed assumption. The library only reads it.
extern ORVA_API bool bBreakOnHRESULT;
/// For the host's own use; the library never reads it.
extern ORVA_API bool bShowAssert;

/// Wraps the result of a component call: negative is failure, anything else success.
///
/// The sign is that of all 64 bits, so a 32-bit failure code that was not sign-extended counts as success.
/// A plain value; constructing one from a failure reports it as the two flags above ask.
class ORVA_API hr
{
public:
    /// Stores `lResult`. If it is negative, first `bBreakOnHRESULT` and then `bLogFailedHRESULT` may report it.
    hr(long lResult);

    /// True for success.
    operator bool() { return lResult >= 0; }
    /// True for success.
    operator bool() const { return lResult >= 0; }

    /// Compares the wrapped results.
    bool operator==(hr const& other) const { return lResult == other.lResult; }
    /// Compares the wrapped result with `other`.
    bool operator==(long other) const { return lResult == other; }
    /// The negation of `operator==`.
    bool operator!=(hr const& other) const { return !(*this == other); }
    /// The negation of `operator==`.
    bool operator!=(long other) const { return !(*this == other); }

    // For integers of other types, which could as well be compared with the result of one of the conversions below.
    /// Compares with `other` converted to `long`.
    template <class Integer, class = std::enable_if_t<std::is_integral_v<Integer>>>
    bool operator==(Integer other) const
    {
        return lResult == static_cast<long>(other);
    }
    /// The negation of `operator==`.
    template <class Integer, class = std::enable_if_t<std::is_integral_v<Integer>>>
    bool operator!=(Integer other) const
    {
        return !(*this == other);
    }

    // Both forms: with the constant one alone, a variable would convert to a number by way of `operator bool()`.
    /// The wrapped result.
    operator long() { return lResult; }
    /// The wrapped result.
    operator long() const { return lResult; }

    long lResult; ///< the wrapped result
};

} // namespace ORVA
