/// @file
/// `IPNQF`: a handle on an interface that an identifier names at run time.
///
/// States, thread-safety and ownership are those of `CPINQFUnknown`.
#pragma once

#include "ORVA/NQF/InterfacePointer.h"

namespace ORVA::NQF
{

/// A handle on the interface with the identifier that it was made with, for good: assignment does not change it.
class ORVA_API IPNQF : public CPINQFUnknown
{
public:
    /// Empty.
    explicit IPNQF(_nqfUID const& type) : m_type(type) {}
    /// Asks `pointer` for the interface `type`; empty for null and on failure. The caller keeps its own reference.
    IPNQF(_nqfUID const& type, INQFUnknown* pointer);
    /// Asks what `source` holds for the interface `type`; empty on failure.
    IPNQF(_nqfUID const& type, CPINQFUnknown const& source);
    /// A handle of the same type, which asks what `source` holds for it.
    IPNQF(IPNQF const& source);

    ~IPNQF() override;

    _nqfUID const& GetType() const override;

    /// Each does what the assignment of `CPINQFUnknown` from the same source does.
    IPNQF& operator=(INQFUnknown* pointer);
    /// As above.
    IPNQF& operator=(CPINQFUnknown const& other);
    /// As above. The type stays.
    IPNQF& operator=(IPNQF const& other);

    using CPINQFUnknown::QueryRawInterface;
    /// Gives the pointer with a reference for the caller in `*out`. 1, or 0 with `*out` left alone if there is none.
    /// Unlike the form for an `INQFUnknown*`, this one resolves a raw pointer first.
    int QueryRawInterface(void** out) const;

private:
    _nqfUID m_type;
};

static_assert(sizeof(IPNQF) == sizeof(CPINQFUnknown) + sizeof(_nqfUID), "the identifier follows the word");

} // namespace ORVA::NQF
