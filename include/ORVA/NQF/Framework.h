/// @file
/// The interfaces of the component framework, and the identifiers by which it knows its attributes.
///
/// The library imports nothing from the framework: it calls through these tables alone, so the order of the operations
/// is the contract. Results are negative for failure. A place that the library does not call is `_reservedN`, N being
/// its place in the table; whoever implements the interface for the library's use alone may do nothing there.
///
/// Thread-safety: that of the object behind the interface.
///
/// Ownership: counted by hand. What an operation writes to `out` holds one reference, which the caller gives back with
/// `Release`; on failure `out` is not to be used.
#pragma once

#include "ORVA/Core.h"

/// The root of all framework interfaces.
class ORVA_API INQFUnknown
{
public:
    /// Gives the interface `id` of the object, which is to be asked for with the type that belongs to it.
    virtual int QueryInterface(_nqfUID const& id, void** out) = 0;
    /// Adds a reference and returns the new count.
    virtual unsigned int AddRef() = 0;
    /// Gives a reference back and returns the new count. The object ends with its last reference.
    virtual unsigned int Release() = 0;

protected:
    ~INQFUnknown() = default;
};

/// Makes the objects of one class.
class ORVA_API INQFClassFactory : public INQFUnknown
{
public:
    /// Makes an object and gives its interface `id`. `outer` is the object that it becomes a part of, or null.
    virtual int CreateInstance(INQFUnknown* first, INQFUnknown* outer, _nqfUID const& id, void** out) = 0;

protected:
    ~INQFClassFactory() = default;
};

/// The factory of a process: makes components, and knows their definitions.
class ORVA_API INQFComponentFactory : public INQFUnknown
{
public:
    /// Makes the component `classId` and gives its interface `iid`. `outer` is null in all calls of the library.
    virtual int CreateComponent(_nqfUID const& classId, INQFUnknown* outer, _nqfUID const& iid, void** out) = 0;
    /// Makes an instance of `classId` and gives its interface `iid`. `outer` is null in all calls of the library.
    virtual int CreateInstance(_nqfUID const& classId, INQFUnknown* outer, _nqfUID const& iid, void** out) = 0;
    /// Keeps a place in the table; the library does not call it.
    virtual void _reserved5() = 0;
    /// Gives the interface `iid` of the definition `id`.
    virtual int FindDefinition(_nqfUID const& id, _nqfUID const& iid, void** out) = 0;
    /// Gives an `INQFEnumDefinitions` of the definitions of `id`.
    virtual int EnumDefinitions(_nqfUID const& id, void** out) = 0;

protected:
    ~INQFComponentFactory() = default;
};

/// What the framework knows of a component or a plug-in, as attributes.
class ORVA_API INQFDefinition : public INQFUnknown
{
public:
    /// Keeps a place in the table; the library does not call it.
    virtual void _reserved3() = 0;
    /// Keeps a place in the table; the library does not call it.
    virtual void _reserved4() = 0;
    /// Writes the value of `attribute`, read as a value of `type`, to `buffer`, which has `size` bytes.
    virtual int GetAttribute(_nqfUID const& attribute, _nqfUID const& type, void* buffer, unsigned int size) = 0;

protected:
    ~INQFDefinition() = default;
};

/// The definition of a component. The library asks for it by its identifier only.
class ORVA_API INQFComponentDefinition : public INQFUnknown
{
protected:
    ~INQFComponentDefinition() = default;
};

/// A walk over definitions. The library only hands it on.
class ORVA_API INQFEnumDefinitions : public INQFUnknown
{
protected:
    ~INQFEnumDefinitions() = default;
};

// Attributes of a component. These types, and those below, have an identifier and nothing else.
struct ORVA_API REFID_phldr_VQXATTR_Component_CLSID;
struct ORVA_API REFID_phldr_VQXATTR_Component_PluginID;

// Attributes of a definition.
struct ORVA_API REFID_phldr_NQFATTR_Definition_Name;
struct ORVA_API REFID_phldr_NQFATTR_Definition_UID;
struct ORVA_API REFID_phldr_NQFATTR_Definition_TypeID;
struct ORVA_API REFID_phldr_NQFATTR_Definition_Vendor;
struct ORVA_API REFID_phldr_NQFATTR_Definition_VendorID;
struct ORVA_API REFID_phldr_NQFATTR_Definition_MajorVersion;
struct ORVA_API REFID_phldr_NQFATTR_Definition_MinorVersion;
struct ORVA_API REFID_phldr_NQFATTR_Definition_PatchVersion;
struct ORVA_API REFID_phldr_NQFATTR_Definition_BuildVersion;

// Types of an attribute's value.
struct ORVA_API REFID_phldr_NQFTypeID_UID;
struct ORVA_API REFID_phldr_NQFTypeID_UnicodeString;
struct ORVA_API REFID_phldr_NQFTypeID_UInt32;

namespace ORVA::NQF
{

/// The library's own base for objects that implement these interfaces.
class ORVA_API _cNQFUnknown;

} // namespace ORVA::NQF

/// @name Identifiers
///
/// Constants of the library: readable before any constructor has run, each at one address in the whole process.
/// @{

/// The identifier of the type.
template <>
ORVA_API _nqfUID const& __nqf_uuidof<INQFUnknown>();
template <>
ORVA_API _nqfUID const& __nqf_uuidof<INQFDefinition>();
template <>
ORVA_API _nqfUID const& __nqf_uuidof<INQFComponentDefinition>();
template <>
ORVA_API _nqfUID const& __nqf_uuidof<INQFClassFactory>();
template <>
ORVA_API _nqfUID const& __nqf_uuidof<INQFComponentFactory>();
template <>
ORVA_API _nqfUID const& __nqf_uuidof<INQFEnumDefinitions>();
template <>
ORVA_API _nqfUID const& __nqf_uuidof<ORVA::NQF::_cNQFUnknown>();
template <>
ORVA_API _nqfUID const& __nqf_uuidof<REFID_phldr_VQXATTR_Component_CLSID>();
template <>
ORVA_API _nqfUID const& __nqf_uuidof<REFID_phldr_VQXATTR_Component_PluginID>();
template <>
ORVA_API _nqfUID const& __nqf_uuidof<REFID_phldr_NQFATTR_Definition_Name>();
template <>
ORVA_API _nqfUID const& __nqf_uuidof<REFID_phldr_NQFATTR_Definition_UID>();
template <>
ORVA_API _nqfUID const& __nqf_uuidof<REFID_phldr_NQFATTR_Definition_TypeID>();
template <>
ORVA_API _nqfUID const& __nqf_uuidof<REFID_phldr_NQFATTR_Definition_Vendor>();
template <>
ORVA_API _nqfUID const& __nqf_uuidof<REFID_phldr_NQFATTR_Definition_VendorID>();
template <>
ORVA_API _nqfUID const& __nqf_uuidof<REFID_phldr_NQFATTR_Definition_MajorVersion>();
template <>
ORVA_API _nqfUID const& __nqf_uuidof<REFID_phldr_NQFATTR_Definition_MinorVersion>();
template <>
ORVA_API _nqfUID const& __nqf_uuidof<REFID_phldr_NQFATTR_Definition_PatchVersion>();
template <>
ORVA_API _nqfUID const& __nqf_uuidof<REFID_phldr_NQFATTR_Definition_BuildVersion>();
template <>
ORVA_API _nqfUID const& __nqf_uuidof<REFID_phldr_NQFTypeID_UID>();
template <>
ORVA_API _nqfUID const& __nqf_uuidof<REFID_phldr_NQFTypeID_UnicodeString>();
template <>
ORVA_API _nqfUID const& __nqf_uuidof<REFID_phldr_NQFTypeID_UInt32>();

/// @}
