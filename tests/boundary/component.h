// What the test program and its components have in common.
#pragma once

#include "ORVA/Maintenance/MaintenanceRequest.h"
#include "ORVA/ORVA.h"

// An object that crosses from one shared object to another in a block, so its type is visible.
struct ORVA_API SharedThing
{
    void* queryInterface(_nqfUID const&) const { return nullptr; }

    int number = 17;
};

// The type tables as one shared object sees them.
struct TypeTables
{
    void const* plain;
    void const* characters;
    void const* bytes;
    void const* handles;
    void const* entries;
    void const* buckets;
    void const* strings;
    void const* pooled;
    void const* chain_link;
    void const* critical_section;
    void const* object;
    void const* object_with_interfaces;
    void const* objects;
};

inline TypeTables type_tables()
{
    using namespace ORVA;
    return {Buffers::CPPlainMemory::GetTypeID(),
            &Buffers::CPCString<wchar_t>::_vtbl,
            &Buffers::CPCString<unsigned char>::_vtbl,
            &Buffers::CPObjectVector<Buffers::CPObjectMemory>::_vtbl,
            &Lookup::CBaseHashTable::Bucket::_vtbl,
            &Lookup::CBaseHashTable::Index::_vtbl,
            &Buffers::CPObjectVector<String::CPPoolString>::_vtbl,
            String::CPPoolString::GetTypeID(),
            Buffers::CPObject<String::ISSTRINGPOOLENTRY>::GetTypeID(),
            Threading::CPCriticalSection::GetTypeID(),
            Buffers::CPObject<SharedThing>::GetTypeID(),
            Buffers::CPIObject<SharedThing>::GetTypeID(),
            &Buffers::CPObjectVector<SharedThing>::_vtbl};
}

// The identifiers as one shared object sees them.
struct Identifiers
{
    static constexpr unsigned int count = 23;

    _nqfUID const* places[count];
    _nqfUID values[count];
};

inline Identifiers identifiers()
{
    using namespace ORVA;
    Identifiers seen = {{&__nqf_uuidof<INQFUnknown>(),
                         &__nqf_uuidof<INQFDefinition>(),
                         &__nqf_uuidof<INQFComponentDefinition>(),
                         &__nqf_uuidof<INQFClassFactory>(),
                         &__nqf_uuidof<INQFComponentFactory>(),
                         &__nqf_uuidof<INQFEnumDefinitions>(),
                         &__nqf_uuidof<NQF::_cNQFUnknown>(),
                         &__nqf_uuidof<REFID_phldr_VQXATTR_Component_CLSID>(),
                         &__nqf_uuidof<REFID_phldr_VQXATTR_Component_PluginID>(),
                         &__nqf_uuidof<REFID_phldr_NQFATTR_Definition_Name>(),
                         &__nqf_uuidof<REFID_phldr_NQFATTR_Definition_UID>(),
                         &__nqf_uuidof<REFID_phldr_NQFATTR_Definition_TypeID>(),
                         &__nqf_uuidof<REFID_phldr_NQFATTR_Definition_Vendor>(),
                         &__nqf_uuidof<REFID_phldr_NQFATTR_Definition_VendorID>(),
                         &__nqf_uuidof<REFID_phldr_NQFATTR_Definition_MajorVersion>(),
                         &__nqf_uuidof<REFID_phldr_NQFATTR_Definition_MinorVersion>(),
                         &__nqf_uuidof<REFID_phldr_NQFATTR_Definition_PatchVersion>(),
                         &__nqf_uuidof<REFID_phldr_NQFATTR_Definition_BuildVersion>(),
                         &__nqf_uuidof<REFID_phldr_NQFTypeID_UID>(),
                         &__nqf_uuidof<REFID_phldr_NQFTypeID_UnicodeString>(),
                         &__nqf_uuidof<REFID_phldr_NQFTypeID_UInt32>(),
                         &__nqf_uuidof<Maintenance::IMaintenanceRequest>(),
                         &__nqf_uuidof<Threading::IThreadExecute>()},
                        {}};
    for (unsigned int index = 0; index < Identifiers::count; ++index)
        seen.values[index] = *seen.places[index];
    return seen;
}

// What a component offers.
struct Component
{
    TypeTables types;
    Identifiers identifiers;
    ORVA::Buffers::CPObjectMemory (*make_thing)();
    ORVA::String::CPPoolString (*pool)(wchar_t const* text);
    int (*read_thing)(ORVA::Buffers::CPObjectMemory const& block);
};

using ComponentEntry = Component (*)();
