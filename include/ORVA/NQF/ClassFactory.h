/// @file
/// `_csFactory`: a base for class factories that live as long as the process.
///
/// Thread-safety: it has no state; that of the derived factory is its own.
#pragma once

#include "ORVA/NQF/Framework.h"

namespace ORVA::NQF
{

/// The results of `_csFactory`, as the framework knows them: 0 for success, and negative numbers.
enum eFactoryResult : int
{
    eFactorySuccess = 0,
    eFactoryNoOutput = -0x7FFFFFFD,      ///< 0x80000003: the output argument is null
    eFactoryNoInterface = -0x7FFFFFFC,   ///< 0x80000004: the interface is not supported
    eFactoryNoAggregation = -0x7FFBFEF0, ///< 0x80040110: an outer object was given, and this factory takes none
    eFactoryNoClass = -0x7FFBFEEF        ///< 0x80040111: the class cannot be made
};

/// A class factory that is not counted: `AddRef` is always 2 and `Release` always 0, and it never ends.
class ORVA_API _csFactory : public INQFClassFactory
{
public:
    /// Gives the object as the root interface or the class factory, and null with `eFactoryNoInterface` otherwise.
    /// `eFactoryNoOutput` for a null `out`, whatever `id` is.
    int QueryInterface(_nqfUID const& id, void** out) override;
    unsigned int AddRef() override;
    unsigned int Release() override;

    /// Makes an object by `_createinstance`. `first` is ignored. `out` is tested before anything else, then `outer`,
    /// which must be null; what `_createinstance` refuses is `eFactoryNoClass`, and what it throws passes.
    int CreateInstance(INQFUnknown* first, INQFUnknown* outer, _nqfUID const& id, void** out) override;

    /// Makes an object and gives its interface `id` in `*out`; not 0 for success.
    virtual int _createinstance(_nqfUID const& id, void** out) = 0;

protected:
    ~_csFactory() = default;
};

} // namespace ORVA::NQF
