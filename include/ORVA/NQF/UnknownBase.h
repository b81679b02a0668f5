/// @file
/// `_cNQFUnknown`: a base for objects that implement framework interfaces.
///
/// | count | state | ends |
/// |---|---|---|
/// | 0 | not counted: new, or meant to be so | when its maker says so |
/// | 1 and more | counted: a derived class has set the count | by `_destroy`, when the last reference is given back |
///
/// Thread-safety: the count is changed by interlocked operations only.
#pragma once

#include "ORVA/NQF/Framework.h"

namespace ORVA::NQF
{

/// An object with a reference count that can be asked for interfaces. A derived class implements `QueryInterface`,
/// `AddRef` and `Release` with the operations here.
class ORVA_API _cNQFUnknown : public INQFUnknown
{
public:
    _cNQFUnknown(_cNQFUnknown const&) = delete;
    _cNQFUnknown& operator=(_cNQFUnknown const&) = delete;

    /// Ends the object. Called once, when the count falls to 0. What it throws passes out of `_release`.
    virtual void _destroy() = 0;

    /// The object, if `id` is the root interface or this class's own identifier; otherwise null. Takes no reference.
    virtual void* _queryinterface(_nqfUID const& id) const;

    /// For a derived class; the library does not call it.
    virtual void _reserved5() = 0;

    /// Adds a reference and returns the new count; 0 for an object that is not counted.
    unsigned int _addRef() const;
    /// Gives a reference back and returns the new count; 0 for an object that is not counted, and nothing happens.
    unsigned int _release() const;

    /// As `_queryinterface`, derived classes' overrides included, with a reference for the caller if the object is
    /// counted.
    void* _queryinterfaceadd(_nqfUID const& id) const;

    /// The object.
    _cNQFUnknown* base() const noexcept { return const_cast<_cNQFUnknown*>(this); }

protected:
    /// Not counted.
    _cNQFUnknown() noexcept = default;
    ~_cNQFUnknown() = default;

    mutable unsigned int m_lRefCnt = 0; ///< references; 0 for an object that is not counted
};

} // namespace ORVA::NQF
