#include "ORVA/NQF/ComponentInfo.h"

#include "components/factory_support.h"
#include "support/AllocationFailure.h"
#include "support/LogRecorder.h"

#include "ORVA/NQF/UID.h"

#include <algorithm>

// The description of a component: what is read, from which definition, in which order, and what may be missing.
namespace
{

using namespace components;
using namespace support;
using ORVA::NQF::CPINQFUnknown;
using ORVA::NQF::tagCOMPONENT_INFO;

static_assert(sizeof(tagCOMPONENT_INFO) == 136);

constexpr char const* read_name = "component.GetAttribute(Definition_Name, UnicodeString, 1024)";
constexpr char const* read_definition = "component.GetAttribute(Definition_UID, UID, 16)";
constexpr char const* read_type = "component.GetAttribute(Definition_TypeID, UID, 16)";
constexpr char const* read_plugin = "component.GetAttribute(Component_PluginID, UID, 16)";
constexpr char const* read_vendor = "plugin.GetAttribute(Definition_Vendor, UnicodeString, 1024)";
constexpr char const* read_plugin_name = "plugin.GetAttribute(Definition_Name, UnicodeString, 1024)";
constexpr char const* read_vendor_id = "plugin.GetAttribute(Definition_VendorID, UID, 16)";
constexpr char const* read_major = "plugin.GetAttribute(Definition_MajorVersion, UInt32, 4)";
constexpr char const* read_minor = "plugin.GetAttribute(Definition_MinorVersion, UInt32, 4)";
constexpr char const* read_patch = "plugin.GetAttribute(Definition_PatchVersion, UInt32, 4)";
constexpr char const* read_build = "plugin.GetAttribute(Definition_BuildVersion, UInt32, 4)";

class ComponentInfo : public FactoryRegistry
{
protected:
    void SetUp() override
    {
        FactoryRegistry::SetUp();
        support::fill_in(component, plugin);
        factory.definitions = {{test_uid(9), &component}, {test_uid(11), &plugin}};
        set_factory();
        info.sSizeStruct = sizeof info;
        info.uMajorVersion = info.uMinorVersion = info.uPatchVersion = info.uBuildVersion = 77;
    }

    void TearDown() override
    {
        EXPECT_EQ(component.count, 1);
        EXPECT_EQ(plugin.count, 1);
        FactoryRegistry::TearDown();
    }

    int describe(INQFUnknown* definition)
    {
        CPINQFUnknown handle(definition);
        journal.take();
        return CPINQFUnknown::Factory_GetComponentInfo(handle, info);
    }

    static std::wstring text_of(ORVA::String::CNQFWChar const& holder) { return holder ? *holder : L"(none)"; }

    DefinitionDouble component{journal, "component"};
    DefinitionDouble plugin{journal, "plugin"};
    tagCOMPONENT_INFO info;
};

TEST_F(ComponentInfo, is_of_size_0_until_the_caller_sets_it)
{
    EXPECT_EQ(tagCOMPONENT_INFO().sSizeStruct, 0U);
}

TEST_F(ComponentInfo, gathers_component_and_plugin)
{
    EXPECT_EQ(describe(&component), 1);
    EXPECT_EQ(text_of(info.sName), L"Reverb");
    EXPECT_TRUE(same(info.uidDefinition, test_uid(9)));
    EXPECT_TRUE(same(info.uidType, test_uid(10)));
    EXPECT_TRUE(same(info.uidPlugin, test_uid(11)));
    EXPECT_EQ(text_of(info.sPluginName), L"Effects");
    EXPECT_TRUE(same(info.uidVendor, test_uid(12)));
    EXPECT_EQ(text_of(info.sVendor), L"Maker");
    EXPECT_EQ(info.uMajorVersion, 1U);
    EXPECT_EQ(info.uMinorVersion, 2U);
    EXPECT_EQ(info.uPatchVersion, 3U);
    EXPECT_EQ(info.uBuildVersion, 4U);
    EXPECT_EQ(info.sSizeStruct, sizeof info);
}

TEST_F(ComponentInfo, reads_in_a_fixed_order_outside_the_lock)
{
    CPINQFUnknown handle(&component);
    journal.take();
    watch_lock();
    EXPECT_EQ(CPINQFUnknown::Factory_GetComponentInfo(handle, info), 1);
    EXPECT_EQ(journal.take(), (Calls{"component.QueryInterface(INQFDefinition)",
                                     read_name,
                                     read_definition,
                                     read_type,
                                     read_plugin,
                                     "factory.AddRef",
                                     "factory.FindDefinition(#11, INQFDefinition)",
                                     "factory.Release",
                                     "plugin.QueryInterface(INQFDefinition)",
                                     "plugin.Release",
                                     "plugin.QueryInterface(INQFUnknown)",
                                     "plugin.Release",
                                     "component.Release",
                                     "plugin.QueryInterface(INQFDefinition)",
                                     "plugin.Release",
                                     read_vendor,
                                     read_plugin_name,
                                     read_vendor_id,
                                     read_major,
                                     read_minor,
                                     read_patch,
                                     read_build,
                                     "plugin.Release"}));
    EXPECT_EQ(under_lock, Calls{"factory.AddRef"});
}

TEST_F(ComponentInfo, by_identifier_finds_the_definition_first)
{
    EXPECT_EQ(CPINQFUnknown::Factory_GetComponentInfo(test_uid(9), info), 1);
    EXPECT_EQ(text_of(info.sName), L"Reverb");
    Calls const calls = journal.take();
    Calls const expected = {"factory.AddRef",
                            "factory.FindDefinition(#9, INQFDefinition)",
                            "factory.Release",
                            "component.QueryInterface(INQFDefinition)",
                            "component.Release",
                            "component.QueryInterface(INQFUnknown)",
                            "component.Release",
                            "component.QueryInterface(INQFDefinition)",
                            "component.Release",
                            "component.QueryInterface(INQFDefinition)",
                            read_name};
    ASSERT_GE(calls.size(), expected.size());
    EXPECT_EQ(Calls(calls.begin(), calls.begin() + static_cast<long>(expected.size())), expected);
    EXPECT_EQ(calls.back(), "component.Release");
}

TEST_F(ComponentInfo, by_identifier_without_a_factory_is_0_without_the_lock_and_the_check)
{
    LogRecorder log;
    CPINQFUnknown::Factory_Release();
    journal.take();
    info.sSizeStruct = 0;
    EXPECT_TRUE(ends_while_held(ORVA::NQF::g_csFactory,
                                [this] { EXPECT_EQ(CPINQFUnknown::Factory_GetComponentInfo(test_uid(9), info), 0); }));
    EXPECT_EQ(journal.take(), Calls{});
    EXPECT_EQ(log.count(), 0U);
}

TEST_F(ComponentInfo, by_unknown_identifier_is_0)
{
    LogRecorder log;
    info.sSizeStruct = 0;
    EXPECT_EQ(CPINQFUnknown::Factory_GetComponentInfo(test_uid(8), info), 0);
    EXPECT_EQ(journal.take(),
              (Calls{"factory.AddRef", "factory.FindDefinition(#8, INQFDefinition)", "factory.Release"}));
    EXPECT_EQ(log.count(), 0U);
}

TEST_F(ComponentInfo, of_another_size_is_reported_and_refused)
{
    for (unsigned long const size : {0UL, sizeof info - 1, sizeof info + 1, ~0UL})
    {
        LogRecorder log;
        info.sSizeStruct = size;
        EXPECT_EQ(describe(&component), 0);
        EXPECT_EQ(log.take(),
                  LogMessages{assumption("RTA_ON_TRUE", "CPNQF,551:CompInfo.sSizeStruct != sizeof(COMPONENT_INFO)")});
        EXPECT_EQ(journal.take(), Calls{"component.Release"});
        EXPECT_FALSE(info.sName);
    }
}

TEST_F(ComponentInfo, by_identifier_and_of_another_size_is_reported_after_the_search)
{
    LogRecorder log;
    info.sSizeStruct = 0;
    EXPECT_EQ(CPINQFUnknown::Factory_GetComponentInfo(test_uid(9), info), 0);
    EXPECT_EQ(log.count(), 1U);
    EXPECT_EQ(journal.take(),
              (Calls{"factory.AddRef", "factory.FindDefinition(#9, INQFDefinition)", "factory.Release",
                     "component.QueryInterface(INQFDefinition)", "component.Release",
                     "component.QueryInterface(INQFUnknown)", "component.Release",
                     "component.QueryInterface(INQFDefinition)", "component.Release", "component.Release"}));
}

TEST_F(ComponentInfo, of_what_is_no_definition_is_0)
{
    LogRecorder log;
    EXPECT_EQ(describe(&object), 0);
    EXPECT_EQ(journal.take(), (Calls{"object.QueryInterface(INQFDefinition)", "object.Release"}));
    CPINQFUnknown empty;
    EXPECT_EQ(CPINQFUnknown::Factory_GetComponentInfo(empty, info), 0);
    EXPECT_EQ(log.count(), 0U);
}

TEST_F(ComponentInfo, without_a_factory_reads_the_component_alone)
{
    CPINQFUnknown::Factory_Release();
    EXPECT_EQ(describe(&component), 0);
    EXPECT_EQ(text_of(info.sName), L"Reverb");
    EXPECT_TRUE(same(info.uidPlugin, test_uid(11)));
    EXPECT_FALSE(info.sVendor);
}

TEST_F(ComponentInfo, with_an_unknown_plugin_is_0)
{
    component.set(__nqf_uuidof<REFID_phldr_VQXATTR_Component_PluginID>(), test_uid(99));
    EXPECT_EQ(describe(&component), 0);
    EXPECT_EQ(text_of(info.sName), L"Reverb");
    EXPECT_TRUE(same(info.uidPlugin, test_uid(99)));
    EXPECT_FALSE(info.sVendor);
}

TEST_F(ComponentInfo, with_a_plugin_that_is_no_definition_is_0)
{
    factory.definitions[1].second = &object;
    object.answer(__nqf_uuidof<INQFDefinition>());
    journal.fails("object.QueryInterface(INQFUnknown)");
    EXPECT_EQ(describe(&component), 0);
    EXPECT_FALSE(info.sVendor);
    EXPECT_EQ(object.count, 1);
}

TEST_F(ComponentInfo, ends_with_the_first_read_that_fails_and_keeps_what_was_read)
{
    Calls const reads = {read_name,        read_definition, read_type,  read_plugin, read_vendor,
                         read_plugin_name, read_vendor_id,  read_major, read_minor};
    for (bool const throws : {false, true})
    {
        for (std::string const& failing : reads)
        {
            SCOPED_TRACE(failing);
            info = tagCOMPONENT_INFO();
            info.sSizeStruct = sizeof info;
            journal.succeeds();
            if (throws)
                journal.raises(failing);
            else
                journal.fails(failing);
            EXPECT_EQ(describe(&component), 0);

            Calls seen;
            for (std::string const& call : journal.take())
            {
                if (call.find(".GetAttribute(") != std::string::npos)
                    seen.push_back(call);
            }
            auto const place = std::find(reads.begin(), reads.end(), failing);
            EXPECT_EQ(seen, Calls(reads.begin(), place + 1));

            auto const was_read = [&](char const* read) { return std::find(reads.begin(), place, read) != place; };
            EXPECT_EQ(text_of(info.sName), was_read(read_name) ? L"Reverb" : L"(none)");
            EXPECT_EQ(same(info.uidDefinition, test_uid(9)), was_read(read_definition));
            EXPECT_EQ(same(info.uidType, test_uid(10)), was_read(read_type));
            EXPECT_EQ(same(info.uidPlugin, test_uid(11)), was_read(read_plugin));
            EXPECT_EQ(text_of(info.sVendor), was_read(read_vendor) ? L"Maker" : L"(none)");
            EXPECT_EQ(text_of(info.sPluginName), was_read(read_plugin_name) ? L"Effects" : L"(none)");
            EXPECT_EQ(same(info.uidVendor, test_uid(12)), was_read(read_vendor_id));
            EXPECT_EQ(info.uMajorVersion == 1U, was_read(read_major));
            EXPECT_EQ(info.uPatchVersion, 0U);
        }
    }
}

TEST_F(ComponentInfo, without_a_patch_version_has_neither_patch_nor_build)
{
    plugin.remove(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_PatchVersion>());
    EXPECT_EQ(describe(&component), 1);
    EXPECT_EQ(info.uMinorVersion, 2U);
    EXPECT_EQ(info.uPatchVersion, 0U);
    EXPECT_EQ(info.uBuildVersion, 0U);
    Calls const calls = journal.take();
    EXPECT_EQ(std::find(calls.begin(), calls.end(), read_build), calls.end());
}

TEST_F(ComponentInfo, with_a_patch_version_that_throws_has_neither_patch_nor_build)
{
    journal.raises(read_patch);
    EXPECT_EQ(describe(&component), 1);
    EXPECT_EQ(info.uPatchVersion, 0U);
    EXPECT_EQ(info.uBuildVersion, 0U);
}

TEST_F(ComponentInfo, without_a_build_version_keeps_the_patch)
{
    plugin.remove(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_BuildVersion>());
    EXPECT_EQ(describe(&component), 1);
    EXPECT_EQ(info.uPatchVersion, 3U);
    EXPECT_EQ(info.uBuildVersion, 0U);

    plugin.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_BuildVersion>(), 4U);
    journal.raises(read_build);
    info.uBuildVersion = 77;
    EXPECT_EQ(describe(&component), 1);
    EXPECT_EQ(info.uPatchVersion, 3U);
    EXPECT_EQ(info.uBuildVersion, 0U);
}

TEST_F(ComponentInfo, text_that_fills_the_buffer_loses_its_last_character)
{
    component.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_Name>(), std::wstring(256, L'x'), false);
    plugin.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_Name>(), std::wstring(255, L'y'));
    plugin.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_Vendor>(), std::wstring(1000, L'z'));
    EXPECT_EQ(describe(&component), 1);
    EXPECT_EQ(text_of(info.sName), std::wstring(255, L'x'));
    EXPECT_EQ(text_of(info.sPluginName), std::wstring(255, L'y'));
    EXPECT_EQ(text_of(info.sVendor), std::wstring(255, L'z'));
}

TEST_F(ComponentInfo, empty_text_is_held)
{
    component.set(__nqf_uuidof<REFID_phldr_NQFATTR_Definition_Name>(), L"");
    EXPECT_EQ(describe(&component), 1);
    EXPECT_TRUE(info.sName);
    EXPECT_EQ(text_of(info.sName), L"");
}

TEST_F(ComponentInfo, replaces_what_the_record_held)
{
    info.sName = L"before";
    info.uidType = test_uid(1);
    EXPECT_EQ(describe(&component), 1);
    EXPECT_EQ(text_of(info.sName), L"Reverb");
    EXPECT_TRUE(same(info.uidType, test_uid(10)));
}

TEST_F(ComponentInfo, without_memory_for_a_text_holds_none)
{
    CPINQFUnknown handle(&component);
    unsigned long const allocations =
        for_each_allocation(AllocationFailure::once,
                            [&](unsigned long nth)
                            {
                                info = tagCOMPONENT_INFO();
                                info.sSizeStruct = sizeof info;
                                EXPECT_EQ(CPINQFUnknown::Factory_GetComponentInfo(handle, info), 1);
                                EXPECT_EQ(text_of(info.sName), nth == 1 ? L"(none)" : L"Reverb");
                                EXPECT_EQ(text_of(info.sVendor), nth == 2 ? L"(none)" : L"Maker");
                                EXPECT_EQ(text_of(info.sPluginName), nth == 3 ? L"(none)" : L"Effects");
                                EXPECT_EQ(info.uBuildVersion, 4U);
                            });
    EXPECT_EQ(allocations, 3U);
    handle.free();
}

} // namespace
