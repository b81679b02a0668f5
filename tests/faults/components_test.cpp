// Identifiers, the class table and the description of components without memory.
#include "faults/FaultTest.h"

#include "CPNQF/globals.h"
#include "components/factory_support.h"
#include "support/LogRecorder.h"
#include "threading/locks_threads.h"

#include "ORVA/NQF/ClassRegistry.h"
#include "ORVA/NQF/ComponentInfo.h"
#include "ORVA/NQF/TypedInterface.h"
#include "ORVA/NQF/UID.h"

#include <string>

namespace
{

using namespace ORVA::NQF;
using faults::fail_each_allocation;
using faults::Undisturbed;
using ORVA::Buffers::CPObject;
using ORVA::String::CPPoolString;
using support::test_uid;

char const narrow_text[] = "3C43A101-84D4-4215-9A4C-FBF54E8E7541";
wchar_t const wide_text[] = L"3C43A101-84D4-4215-9A4C-FBF54E8E7541";

std::wstring text_of(ORVA::String::CNQFWChar const& holder)
{
    return holder ? *holder : L"(none)";
}

CPINQFUnknown make_none(_nqfUID const&)
{
    return CPINQFUnknown();
}

bool is_registered(_nqfUID const& id)
{
    CPObject<SClassRegister> record;
    record.create()->uidClass = id;
    return g_tblClasses.FindItem(g_tblClasses.hash(record), ORVA::Buffers::CPObjectMemory::pnull);
}

// A component, its plug-in, and the factory that knows both; all with one reference when it ends.
class Framework
{
public:
    Framework()
    {
        support::fill_in(component, plugin);
        factory.definitions = {{test_uid(9), &component}, {test_uid(11), &plugin}};
        EXPECT_EQ(CPINQFUnknown::Factory_Set(&factory), 1);
    }
    ~Framework()
    {
        CPINQFUnknown::Factory_Release();
        EXPECT_EQ(component.count, 1);
        EXPECT_EQ(plugin.count, 1);
        EXPECT_EQ(factory.count, 1);
    }

    support::CallJournal journal;
    support::DefinitionDouble component{journal, "component"};
    support::DefinitionDouble plugin{journal, "plugin"};
    support::FactoryDouble factory{journal};
};

// Lets `describe(info)` fill a record: the text whose allocation fails is missing, and all else is there.
template <class Describe>
void expect_description_with_missing_texts(Describe describe)
{
    support::LogRecorder log;
    for (bool const held_texts : {false, true})
    {
        unsigned long missing = 0;
        unsigned long const allocations = fail_each_allocation(
            [&](unsigned long nth)
            {
                tagCOMPONENT_INFO info;
                info.sSizeStruct = sizeof info;
                if (held_texts)
                {
                    Undisturbed const pause;
                    info.sName = info.sVendor = info.sPluginName = L"before";
                }
                EXPECT_EQ(describe(info), 1);
                Undisturbed const pause;
                auto const expect_text = [&missing](ORVA::String::CNQFWChar const& holder, wchar_t const* text)
                {
                    missing += !holder;
                    EXPECT_TRUE(!holder || std::wstring(*holder) == text);
                };
                expect_text(info.sName, L"Reverb");
                expect_text(info.sVendor, L"Maker");
                expect_text(info.sPluginName, L"Effects");
                EXPECT_EQ(text_of(info.sName) == L"(none)", nth == 1);
                EXPECT_TRUE(support::same(info.uidType, test_uid(10)));
                EXPECT_TRUE(support::same(info.uidVendor, test_uid(12)));
                EXPECT_EQ(info.uMajorVersion, 1U);
                EXPECT_EQ(info.uBuildVersion, 4U);
                EXPECT_EQ(describe(info), 1);
                EXPECT_EQ(text_of(info.sName) + text_of(info.sVendor) + text_of(info.sPluginName),
                          L"ReverbMakerEffects");
            });
        EXPECT_EQ(allocations, 3UL);
        EXPECT_EQ(missing, 3UL + (3 + 2 + 1)) << "each alone, and each with those behind it";
    }
    EXPECT_EQ(log.count(), 0U);
}

} // namespace

FAULT_TEST(Components, TheTextOfAnIdentifierIsThereOrNone, "NQF::cnqfuid::ANSI() const",
           "NQF::cnqfuid::operator String::CNQFWChar() const")
{
    cnqfuid const id(narrow_text);
    EXPECT_EQ(fail_each_allocation(
                  [&id](unsigned long nth)
                  {
                      ORVA::String::CANSIChar const text = id.ANSI();
                      Undisturbed const pause;
                      EXPECT_EQ(static_cast<bool>(text), nth != 1);
                      EXPECT_TRUE(nth == 1 || std::string(*text) == narrow_text);
                      EXPECT_STREQ(*id.ANSI(), narrow_text);
                  }),
              1UL);
    EXPECT_EQ(fail_each_allocation(
                  [&id](unsigned long nth)
                  {
                      ORVA::String::CNQFWChar const text = id;
                      Undisturbed const pause;
                      EXPECT_EQ(text_of(text), nth == 1 ? L"(none)" : wide_text);
                      EXPECT_EQ(text_of(ORVA::String::CNQFWChar(id)), wide_text);
                  }),
              1UL);
}

FAULT_TEST(Components, AClassIsRegisteredOrTheTableStays,
           "NQF::CPINQFUnknown::Factory_RegisterClass(_nqfUID const&, _nqfUID const&, String::CPPoolString const&, "
           "CPINQFUnknown (*)(_nqfUID const&))")
{
    support::LogRecorder log;
    CPPoolString const name(L"Components.AClassIsRegistered");
    unsigned int const handles = name.lockcnt();
    unsigned int number = 20261121;
    unsigned long const allocations = fail_each_allocation(
        [&](unsigned long nth)
        {
            g_tblClasses.ClearTable();
            EXPECT_EQ(name.lockcnt(), handles);
            _nqfUID const id = test_uid(++number);
            int const result = CPINQFUnknown::Factory_RegisterClass(id, test_uid(1), name, &make_none);
            Undisturbed const pause;
            EXPECT_EQ(result, nth == 0 || nth > 3 ? 1 : 0);
            EXPECT_EQ(is_registered(id), result == 1);
            EXPECT_EQ(name.lockcnt(), handles + static_cast<unsigned int>(result));
            EXPECT_EQ(g_tblClasses.GetNItems(), static_cast<unsigned long>(result));
            EXPECT_TRUE(locks::is_free(g_rwClasses));
            EXPECT_EQ(CPINQFUnknown::Factory_RegisterClass(id, test_uid(1), name, &make_none), 1);
            EXPECT_EQ(g_tblClasses.GetNItems(), 1UL);
            EXPECT_TRUE(is_registered(id));
        });
    EXPECT_EQ(allocations, 3UL) << "the record, the index and the bucket";
    g_tblClasses.ClearTable();
    EXPECT_EQ(log.count(), 0U);
}

// The refusal of a class without a name is told all the same, without the text of the identifier if need be.
TEST(Components, AClassWithoutANameIsRefusedWithTheTextOfItsIdentifierOrWithout)
{
    unsigned long const allocations = fail_each_allocation(
        [](unsigned long nth)
        {
            support::LogRecorder log;
            EXPECT_EQ(CPINQFUnknown::Factory_RegisterClass(cnqfuid(narrow_text), test_uid(1), CPPoolString(), nullptr),
                      0);
            Undisturbed const pause;
            std::wstring const told = L"Factory_RegisterClass: ClassNames are mandatory! ";
            EXPECT_EQ(log.take(),
                      support::LogMessages{support::log_message(1, "CPNQF", 642, nth == 1 ? told : told + wide_text)});
        });
    EXPECT_EQ(allocations, 1UL);
}

FAULT_TEST(Components, ADescriptionIsMadeWithTheTextsThatThereIsMemoryFor,
           "NQF::CPINQFUnknown::Factory_GetComponentInfo(CPINQFUnknown&, tagCOMPONENT_INFO&)",
           "NQF::CPINQFUnknown::Factory_GetComponentInfo(_nqfUID const&, tagCOMPONENT_INFO&)")
{
    Framework framework;
    CPINQFUnknown definition(&framework.component);
    expect_description_with_missing_texts([&](tagCOMPONENT_INFO& info)
                                          { return CPINQFUnknown::Factory_GetComponentInfo(definition, info); });
    expect_description_with_missing_texts([](tagCOMPONENT_INFO& info)
                                          { return CPINQFUnknown::Factory_GetComponentInfo(test_uid(9), info); });
}

TEST(Components, PointersAndLookUpsNeedNoMemory)
{
    Framework framework;
    framework.factory.created = &framework.component;
    support::AllocationFailure const failure(1, support::AllocationFailure::forever);
    {
        CPINQFUnknown pointer(&framework.component);
        CPINQFUnknown copy(pointer);
        CPNQI<INQFDefinition> typed(copy);
        EXPECT_TRUE(typed && copy == pointer);
        EXPECT_TRUE(copy.createComponent(test_uid(9)));
        EXPECT_TRUE(copy.createInstance(test_uid(9)));
        EXPECT_TRUE(CPINQFUnknown::Factory_FindDefinition(test_uid(9)));
        EXPECT_FALSE(CPINQFUnknown::Factory_EnumDefinitions(test_uid(9)));
        CPINQFUnknown factory;
        EXPECT_EQ(CPINQFUnknown::Factory_Acquire(factory), 1);
        cnqfuid id(wide_text);
        EXPECT_TRUE(id == cnqfuid(narrow_text));
        EXPECT_EQ(CPINQFUnknown::Factory_FindClass(test_uid(9), id.rec()), 0);
    }
    EXPECT_EQ(failure.attempts(), 0UL);
}
