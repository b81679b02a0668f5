/// @file
/// The records of the class table, which `CPINQFUnknown::Factory_RegisterClass` fills.
///
/// Clients register their classes by identifier and name. The library itself reads the table nowhere and calls no
/// creator; entries stay until the end of the process.
///
/// Thread-safety: a record is not changed after its registration. Ownership: the table holds the records; a creator has
/// to stay callable, so a component that registers classes is not unloaded.
#pragma once

#include "ORVA/Buffers/Object.h"
#include "ORVA/Lookup/KeyTable.h"
#include "ORVA/NQF/InterfacePointer.h"
#include "ORVA/String/PoolString.h"

#include <cstddef>

namespace ORVA::NQF
{

/// A registered class.
struct ORVA_API SClassRegister
{
    _nqfUID uidClass = {};                                ///< the class; the key
    _nqfUID uidSecond = {};                               ///< a second identifier, the client's own
    String::CPPoolString sName;                           ///< the name
    CPINQFUnknown (*pfnCreate)(_nqfUID const&) = nullptr; ///< makes an object of the class
};

static_assert(offsetof(SClassRegister, uidClass) == 0 && offsetof(SClassRegister, uidSecond) == 16 &&
                  offsetof(SClassRegister, sName) == 32 && offsetof(SClassRegister, pfnCreate) == 40,
              "the key comes first");

/// The key function of the class table.
class ORVA_API CClassHash : public Lookup::IHashKey<Buffers::CPObject<SClassRegister>>
{
public:
    /// The CRC of width 64 and polynomial 0x42f0e1eba9ea3693 over the 16 bytes of the class's identifier, from 0. The
    /// handle must not be empty.
    unsigned long hash(Buffers::CPObject<SClassRegister> const& item) const override;
};

} // namespace ORVA::NQF

extern template class ORVA::Buffers::CPObject<ORVA::NQF::SClassRegister>;
