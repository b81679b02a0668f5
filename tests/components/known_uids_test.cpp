#include "ORVA/Buffers.h"
#include "ORVA/Maintenance/MaintenanceRequest.h"
#include "ORVA/NQF.h"
#include "ORVA/Threading/ThreadExecute.h"
#include "components/uid_values.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

using namespace components;
using ORVA::Maintenance::IMaintenanceRequest;
using ORVA::NQF::cnqfuid;
using ORVA::Threading::IThreadExecute;

namespace
{

struct Known
{
    char const* name;
    char const* text;
    _nqfUID const& (*uid)();
};

// clang-format off
Known const constants[] = {
    {"INQFUnknown",
     "00000000-0000-0000-C000-000000000046", &__nqf_uuidof<INQFUnknown>},
    {"INQFDefinition",
     "E51741F1-7FCF-11D6-AAC3-00306542A024", &__nqf_uuidof<INQFDefinition>},
    {"INQFComponentDefinition",
     "1718A226-7FD0-11D6-BD1D-00306542A024", &__nqf_uuidof<INQFComponentDefinition>},
    {"INQFClassFactory",
     "80996EEE-7FCF-11D6-ACA8-00306542A024", &__nqf_uuidof<INQFClassFactory>},
    {"INQFComponentFactory",
     "382B6A96-7FD0-11D6-BCFE-00306542A024", &__nqf_uuidof<INQFComponentFactory>},
    {"INQFEnumDefinitions",
     "C34189E3-8398-11D6-847E-00306542A024", &__nqf_uuidof<INQFEnumDefinitions>},
    {"_cNQFUnknown",
     "3C43A101-84D4-4215-9A4C-FBF54E8E7541", &__nqf_uuidof<ORVA::NQF::_cNQFUnknown>},
    {"REFID_phldr_VQXATTR_Component_CLSID",
     "2FBF0363-7FD3-11D6-8797-00306542A024", &__nqf_uuidof<REFID_phldr_VQXATTR_Component_CLSID>},
    {"REFID_phldr_VQXATTR_Component_PluginID",
     "2FBF0364-7FD3-11D6-8797-00306542A024", &__nqf_uuidof<REFID_phldr_VQXATTR_Component_PluginID>},
    {"REFID_phldr_NQFATTR_Definition_Name",
     "2C535058-7FD2-11D6-ABB9-00306542A024", &__nqf_uuidof<REFID_phldr_NQFATTR_Definition_Name>},
    {"REFID_phldr_NQFATTR_Definition_UID",
     "6262D680-7FD1-11D6-86E6-00306542A024", &__nqf_uuidof<REFID_phldr_NQFATTR_Definition_UID>},
    {"REFID_phldr_NQFATTR_Definition_TypeID",
     "BC63692C-7FD1-11D6-ACDC-00306542A024", &__nqf_uuidof<REFID_phldr_NQFATTR_Definition_TypeID>},
    {"REFID_phldr_NQFATTR_Definition_Vendor",
     "5FAA8564-7FD2-11D6-B6AE-00306542A024", &__nqf_uuidof<REFID_phldr_NQFATTR_Definition_Vendor>},
    {"REFID_phldr_NQFATTR_Definition_VendorID",
     "4C1C4E92-7FD2-11D6-AD27-00306542A024", &__nqf_uuidof<REFID_phldr_NQFATTR_Definition_VendorID>},
    {"REFID_phldr_NQFATTR_Definition_MajorVersion",
     "D44AD7E4-7FD1-11D6-9318-00306542A024", &__nqf_uuidof<REFID_phldr_NQFATTR_Definition_MajorVersion>},
    {"REFID_phldr_NQFATTR_Definition_MinorVersion",
     "ECD473E3-7FD1-11D6-8FF2-00306542A024", &__nqf_uuidof<REFID_phldr_NQFATTR_Definition_MinorVersion>},
    {"REFID_phldr_NQFATTR_Definition_PatchVersion",
     "7709BE44-1BCF-11E3-B718-001F2903051E", &__nqf_uuidof<REFID_phldr_NQFATTR_Definition_PatchVersion>},
    {"REFID_phldr_NQFATTR_Definition_BuildVersion",
     "7709BE45-1BCF-11E3-B718-001F2903051E", &__nqf_uuidof<REFID_phldr_NQFATTR_Definition_BuildVersion>},
    {"REFID_phldr_NQFTypeID_UID",
     "905DBB84-7104-11D6-AED3-0030658A6504", &__nqf_uuidof<REFID_phldr_NQFTypeID_UID>},
    {"REFID_phldr_NQFTypeID_UnicodeString",
     "40C6B9BA-7103-11D6-BB30-0030658A6504", &__nqf_uuidof<REFID_phldr_NQFTypeID_UnicodeString>},
    {"REFID_phldr_NQFTypeID_UInt32",
     "4EB1A950-7103-11D6-A663-0030658A6504", &__nqf_uuidof<REFID_phldr_NQFTypeID_UInt32>},
};

Known const from_text[] = {
    {"IMaintenanceRequest",
     "15603CD4-AB81-4D6F-B05F-C6BEA760A789", &__nqf_uuidof<IMaintenanceRequest>},
    {"IThreadExecute",
     "24508B8F-A78E-4243-9E68-71AA029C838A", &__nqf_uuidof<IThreadExecute>},
};
// clang-format on

static_assert(std::size(constants) == 21 && std::size(from_text) == 2);
static_assert(std::is_same_v<decltype(__nqf_uuidof<INQFUnknown>()), _nqfUID const&>);
static_assert(std::is_same_v<decltype(__nqf_uuidof<IThreadExecute>()), _nqfUID const&>);

std::vector<Known> all()
{
    std::vector<Known> known(std::begin(constants), std::end(constants));
    known.insert(known.end(), std::begin(from_text), std::end(from_text));
    return known;
}

/// What the constants are while the program is loaded, before any test runs.
struct AtLoad
{
    AtLoad()
    {
        for (Known const& known : constants)
            values.push_back(known.uid());
    }

    std::vector<_nqfUID> values;
};

AtLoad const at_load;

/// Whether the program's memory at `address` may be written to, as the system tells it; false if it does not.
bool is_writable(void const* address, bool& known)
{
    auto const wanted = reinterpret_cast<unsigned long>(address);
    std::ifstream maps("/proc/self/maps");
    known = false;
    for (std::string line; std::getline(maps, line);)
    {
        unsigned long from = 0;
        unsigned long to = 0;
        char permissions[5] = {};
        if (std::sscanf(line.c_str(), "%lx-%lx %4s", &from, &to, permissions) == 3 && from <= wanted && wanted < to)
        {
            known = true;
            return permissions[1] == 'w';
        }
    }
    return false;
}

// The first in this file, so that it makes the first use.
TEST(KnownUIDs, made_from_text_are_whole_for_whoever_comes_first)
{
    int const thread_count = 4;
    std::atomic<int> waiting{thread_count};
    std::vector<std::vector<_nqfUID const*>> seen(thread_count);
    std::vector<std::vector<_nqfUID>> values(thread_count);
    std::vector<std::thread> threads;
    for (std::size_t index = 0; index < thread_count; ++index)
    {
        threads.emplace_back(
            [&, index]
            {
                --waiting;
                while (waiting.load() > 0)
                    std::this_thread::yield();
                for (Known const& known : from_text)
                {
                    seen[index].push_back(&known.uid());
                    values[index].push_back(known.uid());
                }
            });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (std::size_t index = 0; index < thread_count; ++index)
    {
        EXPECT_EQ(seen[index], seen[0]);
        for (std::size_t row = 0; row < std::size(from_text); ++row)
            EXPECT_EQ(Bytes(values[index][row]), Bytes(cnqfuid(from_text[row].text)));
    }
}

TEST(KnownUIDs, are_those_of_the_table)
{
    for (Known const& known : all())
    {
        EXPECT_STREQ(*cnqfuid(known.uid()).ANSI(), known.text) << known.name;
        EXPECT_EQ(Bytes(known.uid()), Bytes(cnqfuid(known.text))) << known.name;
    }
}

TEST(KnownUIDs, have_fields_in_the_order_of_their_text)
{
    _nqfUID const& uid = __nqf_uuidof<ORVA::NQF::_cNQFUnknown>();
    EXPECT_EQ(uid.Data1, 0x3C43A101U);
    EXPECT_EQ(uid.Data2, 0x84D4U);
    EXPECT_EQ(uid.Data3, 0x4215U);
    unsigned char const data4[8] = {0x9A, 0x4C, 0xFB, 0xF5, 0x4E, 0x8E, 0x75, 0x41};
    EXPECT_EQ(std::memcmp(uid.Data4, data4, 8), 0);
}

TEST(KnownUIDs, differ_from_each_other)
{
    std::set<std::string> texts;
    std::set<_nqfUID const*> addresses;
    for (Known const& known : all())
    {
        texts.insert(*cnqfuid(known.uid()).ANSI());
        addresses.insert(&known.uid());
    }
    EXPECT_EQ(texts.size(), 23U);
    EXPECT_EQ(addresses.size(), 23U);
}

TEST(KnownUIDs, stay_at_one_address)
{
    for (Known const& known : all())
        EXPECT_EQ(&known.uid(), &known.uid()) << known.name;
}

TEST(KnownUIDs, constants_are_there_before_main)
{
    ASSERT_EQ(at_load.values.size(), std::size(constants));
    for (std::size_t row = 0; row < std::size(constants); ++row)
        EXPECT_EQ(Bytes(at_load.values[row]), Bytes(cnqfuid(constants[row].text))) << constants[row].name;
}

TEST(KnownUIDs, constants_lie_in_memory_that_no_code_can_have_filled)
{
    bool known_place = false;
    static int variable = 0;
    if (!is_writable(&variable, known_place) || !known_place)
        GTEST_SKIP() << "the system does not tell";
    for (Known const& known : constants)
    {
        EXPECT_FALSE(is_writable(&known.uid(), known_place)) << known.name;
        EXPECT_TRUE(known_place) << known.name;
    }
    for (Known const& known : from_text)
        EXPECT_TRUE(is_writable(&known.uid(), known_place)) << known.name;
}

struct Body final : IThreadExecute
{
    void execute() override { ++runs; }
    unsigned int exitCode() override { return 3; }
    void* queryInterface(_nqfUID const& uid) const
    {
        if (cnqfuid("24508B8F-A78E-4243-9E68-71AA029C838A") != uid)
            return nullptr;
        return const_cast<IThreadExecute*>(static_cast<IThreadExecute const*>(this));
    }
    int runs = 0;
};

struct Service final : IMaintenanceRequest
{
    nqfWChar const* GetName() override { return L"service"; }
    unsigned long GetNextMaintenance() override { return 5000; }
    void RunMaintenance() override {}
    int GetPriority() override { return -2; }
    void* queryInterface(_nqfUID const& uid) const
    {
        if (cnqfuid("15603CD4-AB81-4D6F-B05F-C6BEA760A789") != uid)
            return nullptr;
        return const_cast<IMaintenanceRequest*>(static_cast<IMaintenanceRequest const*>(this));
    }
};

TEST(KnownUIDs, find_the_librarys_own_interfaces_in_a_block)
{
    ORVA::Buffers::CPIObject<Body> body;
    ASSERT_NE(body.create(), nullptr);
    ORVA::Buffers::CPIObject<Service> service;
    ASSERT_NE(service.create(), nullptr);

    ORVA::Buffers::CPInterface<IThreadExecute> const execute(body);
    ASSERT_TRUE(execute);
    execute->execute();
    EXPECT_EQ(execute->exitCode(), 3U);
    EXPECT_EQ(body->runs, 1);
    ORVA::Buffers::CPInterface<IMaintenanceRequest> const request(service);
    ASSERT_TRUE(request);
    EXPECT_STREQ(request->GetName(), L"service");
    EXPECT_EQ(request->GetNextMaintenance(), 5000U);
    EXPECT_EQ(request->GetPriority(), -2);

    EXPECT_FALSE(ORVA::Buffers::CPInterface<IThreadExecute>(service));
    EXPECT_FALSE(ORVA::Buffers::CPInterface<IMaintenanceRequest>(body));
}

} // namespace
