/// @file
/// `CPNQI<T>`: a handle on the interface `T`.
///
/// States, thread-safety and ownership are those of `CPINQFUnknown`.
#pragma once

#include "ORVA/NQF/InterfacePointer.h"

namespace ORVA::NQF
{

/// A handle on the interface `T`, whose identifier is `__nqf_uuidof<T>()`.
template <class T>
class ORVA_TEMPLATE_API CPNQI : public CPINQFUnknown
{
public:
    /// Empty.
    CPNQI() = default;
    /// Asks `pointer` for the interface; empty for null and on failure. The caller keeps its own reference.
    CPNQI(INQFUnknown* pointer) { _own(_addRef(pointer)); }
    /// Asks what `source` holds for the interface; empty on failure.
    CPNQI(CPINQFUnknown const& source) : CPINQFUnknown() { _own(_addRef(source._getptr())); }
    /// As above.
    CPNQI(CPNQI const& source) : CPNQI(static_cast<CPINQFUnknown const&>(source)) {}

    ~CPNQI() override = default;

    _nqfUID const& GetType() const override { return __nqf_uuidof<T>(); }

    /// Each does what the assignment of `CPINQFUnknown` from the same source does.
    CPNQI& operator=(INQFUnknown* pointer)
    {
        CPINQFUnknown::operator=(pointer);
        return *this;
    }
    /// As above.
    CPNQI& operator=(CPINQFUnknown const& other)
    {
        CPINQFUnknown::operator=(other);
        return *this;
    }
    /// As above.
    CPNQI& operator=(CPNQI const& other)
    {
        CPINQFUnknown::operator=(other);
        return *this;
    }

    /// The interface, as `_getptr` gives it; the handle must not be empty.
    T* operator->() const { return static_cast<T*>(static_cast<void*>(_getptr())); }
};

extern template class CPNQI<INQFComponentFactory>;
extern template class CPNQI<INQFEnumDefinitions>;
extern template class CPNQI<INQFDefinition>;

} // namespace ORVA::NQF
