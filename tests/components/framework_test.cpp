// The order of the operations in the tables that the library calls through or is called through.
#include "ORVA/Maintenance/MaintenanceRequest.h"
#include "ORVA/NQF.h"
#include "ORVA/Threading/ThreadExecute.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

namespace
{

using ORVA::Maintenance::IMaintenanceRequest;
using ORVA::Threading::IThreadExecute;

/// The place of a virtual operation in its table. A pointer to it holds the offset, odd on most processors.
template <class Member>
unsigned long place(Member member)
{
    unsigned long word = 0;
    std::memcpy(&word, &member, sizeof word);
    return word / sizeof(void*);
}

TEST(Framework, unknown_has_its_operations_in_order)
{
    EXPECT_EQ(place(&INQFUnknown::QueryInterface), 0U);
    EXPECT_EQ(place(&INQFUnknown::AddRef), 1U);
    EXPECT_EQ(place(&INQFUnknown::Release), 2U);
}

TEST(Framework, class_factory_has_its_operations_in_order)
{
    EXPECT_EQ(place(&INQFClassFactory::QueryInterface), 0U);
    EXPECT_EQ(place(&INQFClassFactory::CreateInstance), 3U);
}

TEST(Framework, component_factory_has_its_operations_in_order)
{
    EXPECT_EQ(place(&INQFComponentFactory::Release), 2U);
    EXPECT_EQ(place(&INQFComponentFactory::CreateComponent), 3U);
    EXPECT_EQ(place(&INQFComponentFactory::CreateInstance), 4U);
    EXPECT_EQ(place(&INQFComponentFactory::_reserved5), 5U);
    EXPECT_EQ(place(&INQFComponentFactory::FindDefinition), 6U);
    EXPECT_EQ(place(&INQFComponentFactory::EnumDefinitions), 7U);
}

TEST(Framework, definition_has_its_operations_in_order)
{
    EXPECT_EQ(place(&INQFDefinition::_reserved3), 3U);
    EXPECT_EQ(place(&INQFDefinition::_reserved4), 4U);
    EXPECT_EQ(place(&INQFDefinition::GetAttribute), 5U);
}

TEST(Framework, own_interfaces_have_their_operations_in_order)
{
    EXPECT_EQ(place(&IThreadExecute::execute), 0U);
    EXPECT_EQ(place(&IThreadExecute::exitCode), 1U);
    EXPECT_EQ(place(&IMaintenanceRequest::GetName), 0U);
    EXPECT_EQ(place(&IMaintenanceRequest::GetNextMaintenance), 1U);
    EXPECT_EQ(place(&IMaintenanceRequest::RunMaintenance), 2U);
    EXPECT_EQ(place(&IMaintenanceRequest::GetPriority), 3U);
}

template <class Interface>
constexpr bool is_a_table_alone = sizeof(Interface) == sizeof(void*) && std::is_abstract_v<Interface> &&
                                  !std::has_virtual_destructor_v<Interface>;

static_assert(is_a_table_alone<INQFUnknown> && is_a_table_alone<INQFClassFactory> &&
              is_a_table_alone<INQFComponentFactory> && is_a_table_alone<INQFDefinition> &&
              is_a_table_alone<INQFComponentDefinition> && is_a_table_alone<INQFEnumDefinitions> &&
              is_a_table_alone<IThreadExecute> && is_a_table_alone<IMaintenanceRequest>);

static_assert(std::is_base_of_v<INQFUnknown, INQFClassFactory> &&
              std::is_base_of_v<INQFUnknown, INQFComponentFactory> && std::is_base_of_v<INQFUnknown, INQFDefinition> &&
              std::is_base_of_v<INQFUnknown, INQFComponentDefinition> &&
              std::is_base_of_v<INQFUnknown, INQFEnumDefinitions>);

static_assert(std::is_same_v<decltype(&INQFUnknown::QueryInterface), int (INQFUnknown::*)(_nqfUID const&, void**)>);
static_assert(std::is_same_v<decltype(&INQFUnknown::AddRef), unsigned int (INQFUnknown::*)()>);
static_assert(std::is_same_v<decltype(&INQFUnknown::Release), unsigned int (INQFUnknown::*)()>);
static_assert(std::is_same_v<decltype(&INQFClassFactory::CreateInstance),
                             int (INQFClassFactory::*)(INQFUnknown*, INQFUnknown*, _nqfUID const&, void**)>);
static_assert(std::is_same_v<decltype(&INQFComponentFactory::CreateComponent),
                             int (INQFComponentFactory::*)(_nqfUID const&, INQFUnknown*, _nqfUID const&, void**)>);
static_assert(std::is_same_v<decltype(&INQFComponentFactory::CreateInstance),
                             int (INQFComponentFactory::*)(_nqfUID const&, INQFUnknown*, _nqfUID const&, void**)>);
static_assert(std::is_same_v<decltype(&INQFComponentFactory::FindDefinition),
                             int (INQFComponentFactory::*)(_nqfUID const&, _nqfUID const&, void**)>);
static_assert(std::is_same_v<decltype(&INQFComponentFactory::EnumDefinitions),
                             int (INQFComponentFactory::*)(_nqfUID const&, void**)>);
static_assert(std::is_same_v<decltype(&INQFDefinition::GetAttribute),
                             int (INQFDefinition::*)(_nqfUID const&, _nqfUID const&, void*, unsigned int)>);
static_assert(std::is_same_v<decltype(&IThreadExecute::execute), void (IThreadExecute::*)()>);
static_assert(std::is_same_v<decltype(&IThreadExecute::exitCode), unsigned int (IThreadExecute::*)()>);
static_assert(std::is_same_v<decltype(&IMaintenanceRequest::GetName), nqfWChar const* (IMaintenanceRequest::*)()>);
static_assert(
    std::is_same_v<decltype(&IMaintenanceRequest::GetNextMaintenance), unsigned long (IMaintenanceRequest::*)()>);
static_assert(std::is_same_v<decltype(&IMaintenanceRequest::RunMaintenance), void (IMaintenanceRequest::*)()>);
static_assert(std::is_same_v<decltype(&IMaintenanceRequest::GetPriority), int (IMaintenanceRequest::*)()>);

} // namespace
