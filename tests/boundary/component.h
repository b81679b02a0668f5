// What the test program and its components have in common.
#pragma once

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

// What a component offers.
struct Component
{
    TypeTables types;
    ORVA::Buffers::CPObjectMemory (*make_thing)();
    ORVA::String::CPPoolString (*pool)(wchar_t const* text);
    int (*read_thing)(ORVA::Buffers::CPObjectMemory const& block);
};

using ComponentEntry = Component (*)();
