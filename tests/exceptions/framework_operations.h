/// @file
/// The operations of handles and of the process's factory, on doubles of the framework's objects.
#pragma once

#include "ORVA/NQF/ComponentInfo.h"
#include "ORVA/NQF/NamedInterface.h"
#include "ORVA/NQF/TypedInterface.h"

#include "components/factory_support.h"

#include <functional>
#include <vector>

namespace exceptions
{

using namespace ORVA::NQF;
using namespace support;
using components::own_interface;
using components::OwnHandle;

/// What an operation works on.
struct World
{
    CallJournal journal;
    ObjectDouble object{journal, "object", {own_interface}};
    DefinitionDouble component{journal, "component"};
    DefinitionDouble plugin{journal, "plugin"};
    EnumDouble definitions{journal, "definitions"};
    FactoryDouble factory{journal};

    World()
    {
        component.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_Name>(), L"Reverb");
        component.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_UID>(), test_uid(9));
        component.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_TypeID>(), test_uid(10));
        component.set(__nqf_uuidof<REFID_phldr_VQXATTR_Component_PluginID>(), test_uid(11));
        component.set(__nqf_uuidof<REFID_phldr_VQXATTR_Component_CLSID>(), test_uid(12));
        plugin.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_Vendor>(), L"Maker");
        plugin.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_Name>(), L"Effects");
        plugin.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_VendorID>(), test_uid(13));
        plugin.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_MajorVersion>(), 1U);
        plugin.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_MinorVersion>(), 2U);
        plugin.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_PatchVersion>(), 3U);
        plugin.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_BuildVersion>(), 4U);
        factory.created = &object;
        factory.enumeration = &definitions;
        factory.definitions = {{test_uid(9), &component}, {test_uid(11), &plugin}};
    }
    World(World const&) = delete;
    World& operator=(World const&) = delete;

    /// All references, those of the test included.
    int references() const { return object.count + component.count + plugin.count + definitions.count + factory.count; }
    static constexpr int own_references = 5;

    /// A raw pointer with a reference, as a framework call writes it.
    void write_raw(CPINQFUnknown& handle) { object.give(handle.rec()); }

    _nqfUID class_id{};
    tagCOMPONENT_INFO info;
};

/// An operation, and whether it succeeded. The handles that it makes are gone when it returns.
struct FrameworkOperation
{
    char const* name;
    std::function<bool(World&)> run;
    Calls resolutions = {}; ///< the queries by which a raw pointer becomes one of the handle's type
};

inline std::vector<FrameworkOperation> const operations = {
    {"CPINQFUnknown(pointer)", [](World& w) { return static_cast<bool>(CPINQFUnknown(&w.object)); }},
    {"CPINQFUnknown(handle)",
     [](World& w)
     {
         CPINQFUnknown const source(&w.object);
         return static_cast<bool>(CPINQFUnknown(source));
     }},
    {"IPNQF",
     [](World& w)
     {
         IPNQF const first(own_interface, &w.object);
         IPNQF const second(own_interface, static_cast<CPINQFUnknown const&>(first));
         IPNQF const third(second);
         return static_cast<bool>(third);
     }},
    {"CPNQI",
     [](World& w)
     {
         CPNQI<INQFDefinition> const first(&w.component);
         CPNQI<INQFDefinition> const second(static_cast<CPINQFUnknown const&>(first));
         CPNQI<INQFDefinition> const third(second);
         return third.operator->() == &w.component;
     }},
    {"operator=(pointer)",
     [](World& w)
     {
         OwnHandle handle;
         handle = &w.object;
         handle = &w.object;
         return static_cast<bool>(handle);
     }},
    {"operator=(handle)",
     [](World& w)
     {
         CPINQFUnknown const source(&w.object);
         OwnHandle handle;
         handle = source;
         handle = source;
         return static_cast<bool>(handle);
     }},
    {"a raw pointer's use",
     [](World& w)
     {
         OwnHandle handle;
         w.write_raw(handle);
         return static_cast<bool>(handle);
     },
     {"object.QueryInterface(#70)"}},
    {"_assign",
     [](World& w)
     {
         OwnHandle handle;
         w.write_raw(handle);
         void* own = nullptr;
         w.component.give(&own);
         handle._assign(&w.component);
         return handle._getptr() == &w.component;
     }},
    {"GetLockCount",
     [](World& w)
     {
         CPINQFUnknown handle;
         w.write_raw(handle);
         return handle.GetLockCount() >= 2;
     }},
    {"QueryRawInterface",
     [](World& w)
     {
         IPNQF handle(own_interface);
         w.write_raw(handle);
         void* first = nullptr;
         INQFUnknown* second = nullptr;
         bool const both = handle.QueryRawInterface(&first) && handle.QueryRawInterface(&second);
         w.object.count -= (first != nullptr) + (second != nullptr);
         return both;
     },
     {"object.QueryInterface(#70)"}},
    {"createComponent with a factory",
     [](World& w)
     {
         CPINQFUnknown handle(&w.component);
         return handle.createComponent(test_uid(1), &w.factory) && handle;
     },
     {"object.QueryInterface(INQFUnknown)"}},
    {"createInstance with a factory",
     [](World& w)
     {
         CPINQFUnknown handle(&w.component);
         return handle.createInstance(test_uid(1), &w.factory) && handle;
     },
     {"object.QueryInterface(INQFUnknown)"}},
    {"createComponent",
     [](World& w)
     {
         CPINQFUnknown handle(&w.component);
         return handle.createComponent(test_uid(1)) && handle;
     },
     {"object.QueryInterface(INQFUnknown)"}},
    {"createInstance",
     [](World& w)
     {
         CPINQFUnknown handle(&w.component);
         return handle.createInstance(test_uid(1)) && handle;
     },
     {"object.QueryInterface(INQFUnknown)"}},
    {"Factory_Set of the one that is set",
     [](World& w)
     {
         CPINQFUnknown handle(&w.factory);
         int const by_object = CPINQFUnknown::Factory_Set(static_cast<INQFUnknown*>(&w.factory));
         int const by_handle = CPINQFUnknown::Factory_Set(handle);
         for (int time = by_object + by_handle; time > 0; --time)
             CPINQFUnknown::Factory_Release();
         return by_object && by_handle;
     }},
    {"Factory_Release and Factory_Set",
     [](World& w)
     {
         CPINQFUnknown::Factory_Release();
         EXPECT_FALSE(CPINQFUnknown::Factory_IsAvailable());
         bool const is_set = CPINQFUnknown::Factory_Set(&w.factory) != 0;
         EXPECT_EQ(CPINQFUnknown::Factory_IsAvailable(), is_set);
         return is_set;
     }},
    {"Factory_Acquire of a pointer",
     [](World& w)
     {
         INQFComponentFactory* factory = nullptr;
         bool const acquired = CPINQFUnknown::Factory_Acquire(&factory) != 0;
         EXPECT_EQ(factory != nullptr, acquired);
         w.factory.count -= acquired;
         return acquired;
     }},
    {"Factory_Acquire of a handle",
     [](World& w)
     {
         CPINQFUnknown handle(&w.object);
         return CPINQFUnknown::Factory_Acquire(handle) && handle;
     }},
    {"Factory_EnumDefinitions",
     [](World&) { return static_cast<bool>(CPINQFUnknown::Factory_EnumDefinitions(test_uid(9))); },
     {"definitions.QueryInterface(INQFEnumDefinitions)"}},
    {"Factory_FindDefinition",
     [](World&) { return static_cast<bool>(CPINQFUnknown::Factory_FindDefinition(test_uid(9))); },
     {"component.QueryInterface(INQFDefinition)"}},
    {"Factory_FindClass",
     [](World& w)
     {
         bool const found = CPINQFUnknown::Factory_FindClass(test_uid(9), w.class_id) != 0;
         EXPECT_TRUE(same(w.class_id, found ? test_uid(12) : _nqfUID{}));
         return found;
     },
     {"component.QueryInterface(INQFDefinition)"}},
    {"Factory_GetComponentInfo",
     [](World& w)
     {
         w.info.sSizeStruct = sizeof w.info;
         return CPINQFUnknown::Factory_GetComponentInfo(test_uid(9), w.info) != 0;
     },
     {"component.QueryInterface(INQFDefinition)", "plugin.QueryInterface(INQFDefinition)"}},
};

} // namespace exceptions
