/// @file
/// The description of a component, which `CPINQFUnknown::Factory_GetComponentInfo` gathers.
///
/// Thread-safety: a plain record. Ownership: its texts are its own.
#pragma once

#include "ORVA/Core.h"
#include "ORVA/String/WideHolder.h"

#include <cstddef>

namespace ORVA::NQF
{

/// A component, and the plug-in that it comes from.
///
/// The caller sets `sSizeStruct`; the library fills in the rest, from the component's definition first and then from
/// that of its plug-in. The order of the reads is name, definition, type, plug-in; vendor's name, plug-in's name,
/// vendor, and the versions from major to build. The first that fails ends it with 0, and what was read before stays
/// in the record. Only patch and build may be missing: they are then 0, the build with the patch, and the result is 1.
///
/// Texts have up to 255 characters; what is longer is cut. A text for which there is no memory is missing, with
/// result 1.
struct ORVA_API tagCOMPONENT_INFO
{
    unsigned long sSizeStruct = 0;  ///< the size of this record in bytes; another one is reported and refused
    _nqfUID uidDefinition = {};     ///< the definition of the component
    _nqfUID uidType = {};           ///< its type
    String::CNQFWChar sName;        ///< its name
    _nqfUID uidPlugin = {};         ///< the definition of its plug-in
    String::CNQFWChar sPluginName;  ///< the plug-in's name
    _nqfUID uidVendor = {};         ///< the vendor of the plug-in
    String::CNQFWChar sVendor;      ///< the vendor's name
    unsigned int uMajorVersion = 0; ///< the version of the plug-in
    unsigned int uMinorVersion = 0; ///< as above
    unsigned int uPatchVersion = 0; ///< as above
    unsigned int uBuildVersion = 0; ///< as above
};

static_assert(offsetof(tagCOMPONENT_INFO, uidDefinition) == 8 && offsetof(tagCOMPONENT_INFO, sName) == 40 &&
                  offsetof(tagCOMPONENT_INFO, uidPlugin) == 56 && offsetof(tagCOMPONENT_INFO, sPluginName) == 72 &&
                  offsetof(tagCOMPONENT_INFO, uidVendor) == 88 && offsetof(tagCOMPONENT_INFO, sVendor) == 104 &&
                  offsetof(tagCOMPONENT_INFO, uMajorVersion) == 120 && sizeof(tagCOMPONENT_INFO) == 136,
              "the layout of the record is fixed");

} // namespace ORVA::NQF
