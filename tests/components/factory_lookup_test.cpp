#include "components/factory_support.h"

#include "ORVA/NQF/UID.h"
#include "support/LogRecorder.h"

// Definitions and classes, as the factory of the process knows them.
namespace
{

using namespace components;
using namespace support;
using ORVA::NQF::cnqfuid;
using ORVA::NQF::CPINQFUnknown;

struct LookUp
{
    char const* name;
    CPINQFUnknown (*operation)(_nqfUID const&);
    char const* call;
    char const* interface;
};

/// The two look-ups that give a handle; they differ in the call and in the interface asked for.
class FactoryLookUp : public FactoryRegistry, public testing::WithParamInterface<LookUp>
{
protected:
    void SetUp() override
    {
        FactoryRegistry::SetUp();
        found.answer(__nqf_uuidof<INQFDefinition>());
        found.answer(__nqf_uuidof<INQFEnumDefinitions>());
        factory.definitions = {{test_uid(9), &found}};
        factory.enumeration = &found;
    }

    CPINQFUnknown look_up() { return GetParam().operation(test_uid(9)); }
    std::string call() const { return GetParam().call; }
    std::string own_query() const { return std::string("found.QueryInterface(") + GetParam().interface + ")"; }

    ObjectDouble found{journal, "found"};
};

TEST_P(FactoryLookUp, asks_the_factory_outside_the_lock_and_the_answer_for_the_root_interface)
{
    set_factory();
    watch_lock();
    {
        CPINQFUnknown const result = look_up();
        EXPECT_EQ(journal.take(), (Calls{"factory.AddRef", call(), "factory.Release", own_query(), "found.Release",
                                         "found.QueryInterface(INQFUnknown)", "found.Release"}));
        EXPECT_EQ(under_lock, Calls{"factory.AddRef"});
        EXPECT_EQ(word_of(result), resolved_word(&found));
        EXPECT_EQ(&result.GetType(), &__nqf_uuidof<INQFUnknown>());
        EXPECT_EQ(found.count, 2);
    }
    EXPECT_EQ(found.count, 1);
    EXPECT_EQ(factory.count, 2);
}

TEST_P(FactoryLookUp, without_a_factory_is_empty)
{
    EXPECT_EQ(word_of(look_up()), 1U);
    EXPECT_EQ(journal.take(), Calls{});
}

TEST_P(FactoryLookUp, add_ref_that_throws_is_as_without_a_factory)
{
    set_factory();
    journal.raises("factory.AddRef");
    EXPECT_EQ(word_of(look_up()), 1U);
    EXPECT_EQ(journal.take(), Calls{"factory.AddRef"});
}

TEST_P(FactoryLookUp, failure_and_exception_are_empty)
{
    LogRecorder log;
    set_factory();
    journal.fails(call());
    EXPECT_EQ(word_of(look_up()), 1U);
    EXPECT_EQ(journal.take(), (Calls{"factory.AddRef", call(), "factory.Release"}));
    journal.succeeds();
    journal.raises(call());
    EXPECT_EQ(word_of(look_up()), 1U);
    EXPECT_EQ(journal.take(), (Calls{"factory.AddRef", call(), "factory.Release"}));
    EXPECT_EQ(found.count, 1);
    EXPECT_EQ(log.count(), 0U);
}

TEST_P(FactoryLookUp, what_a_failing_call_wrote_is_released_before_the_factory)
{
    set_factory();
    factory.gives_before_failing = true;
    journal.fails(call());
    EXPECT_EQ(word_of(look_up()), 1U);
    EXPECT_EQ(journal.take(), (Calls{"factory.AddRef", call(), "found.Release", "factory.Release"}));
    EXPECT_EQ(found.count, 1);

    journal.succeeds();
    journal.raises(call());
    EXPECT_EQ(word_of(look_up()), 1U);
    EXPECT_EQ(found.count, 1);
}

TEST_P(FactoryLookUp, release_of_what_a_failing_call_wrote_is_reported_if_it_throws)
{
    LogRecorder log;
    set_factory();
    factory.gives_before_failing = true;
    journal.fails(call());
    journal.raises("found.Release");
    EXPECT_EQ(word_of(look_up()), 1U);
    EXPECT_EQ(log.take(), LogMessages{illegal_point("CPINQFUnknown::free exception")});
    EXPECT_EQ(factory.count, 2);
}

TEST_P(FactoryLookUp, success_that_writes_nothing_is_empty)
{
    set_factory();
    factory.writes_nothing = true;
    EXPECT_EQ(word_of(look_up()), 1U);
    EXPECT_EQ(found.count, 1);
}

TEST_P(FactoryLookUp, an_answer_that_refuses_the_root_interface_is_empty)
{
    set_factory();
    journal.fails("found.QueryInterface(INQFUnknown)");
    EXPECT_EQ(word_of(look_up()), 1U);
    EXPECT_EQ(found.count, 1);
}

TEST_P(FactoryLookUp, an_answer_of_another_kind_is_empty_and_released_twice)
{
    set_factory();
    journal.fails(own_query());
    EXPECT_EQ(word_of(look_up()), 1U);
    EXPECT_EQ(journal.take(),
              (Calls{"factory.AddRef", call(), "factory.Release", own_query(), "found.Release", "found.Release"}));
}

TEST_P(FactoryLookUp, release_of_the_factory_that_throws_is_dropped)
{
    LogRecorder log;
    set_factory();
    journal.raises("factory.Release");
    EXPECT_EQ(word_of(look_up()), resolved_word(&found));
    EXPECT_EQ(log.count(), 0U);
    --factory.count;
}

INSTANTIATE_TEST_SUITE_P(, FactoryLookUp,
                         testing::Values(LookUp{"definition", &CPINQFUnknown::Factory_FindDefinition,
                                                "factory.FindDefinition(#9, INQFDefinition)", "INQFDefinition"},
                                         LookUp{"enumeration", &CPINQFUnknown::Factory_EnumDefinitions,
                                                "factory.EnumDefinitions(#9)", "INQFEnumDefinitions"}),
                         [](auto const& look_up) { return look_up.param.name; });

class FactoryFindClass : public FactoryRegistry
{
protected:
    void SetUp() override
    {
        FactoryRegistry::SetUp();
        component.set(__nqf_uuidof<REFID_phldr_VQXATTR_Component_CLSID>(), test_uid(55));
        factory.definitions = {{test_uid(9), &component}};
    }

    std::string const find = "factory.FindDefinition(#9, INQFComponentDefinition)";
    std::string const get = "component.GetAttribute(Component_CLSID, UID, 16)";
    DefinitionDouble component{journal, "component"};
    cnqfuid class_id = test_uid(1);
};

TEST_F(FactoryFindClass, reads_the_class_from_the_component_definition)
{
    set_factory();
    watch_lock();
    EXPECT_EQ(CPINQFUnknown::Factory_FindClass(test_uid(9), class_id.rec()), 1);
    EXPECT_EQ(class_id, test_uid(55));
    EXPECT_EQ(journal.take(),
              (Calls{"factory.AddRef", find, "factory.Release", "component.QueryInterface(INQFDefinition)",
                     "component.Release", get, "component.Release"}));
    EXPECT_EQ(under_lock, Calls{"factory.AddRef"});
    EXPECT_EQ(component.count, 1);
    EXPECT_EQ(factory.count, 2);
}

TEST_F(FactoryFindClass, makes_the_class_nil_before_anything_else)
{
    set_factory();
    Calls nil_at;
    journal.on_call = [&](std::string const& call)
    {
        if (!class_id)
            nil_at.push_back(call);
    };
    CPINQFUnknown::Factory_FindClass(test_uid(9), class_id.rec());
    ASSERT_FALSE(nil_at.empty());
    EXPECT_EQ(nil_at.front(), "factory.AddRef");
}

TEST_F(FactoryFindClass, looks_for_nil_if_both_identifiers_are_one_object)
{
    set_factory();
    cnqfuid id(test_uid(9));
    EXPECT_EQ(CPINQFUnknown::Factory_FindClass(id, id.rec()), 0);
    EXPECT_EQ(journal.take(),
              (Calls{"factory.AddRef", "factory.FindDefinition(#0, INQFComponentDefinition)", "factory.Release"}));
}

TEST_F(FactoryFindClass, without_a_factory_is_0_and_nil)
{
    EXPECT_EQ(CPINQFUnknown::Factory_FindClass(test_uid(9), class_id.rec()), 0);
    EXPECT_FALSE(class_id);
    class_id = test_uid(1);
    set_factory();
    journal.raises("factory.AddRef");
    EXPECT_EQ(CPINQFUnknown::Factory_FindClass(test_uid(9), class_id.rec()), 0);
    EXPECT_FALSE(class_id);
}

TEST_F(FactoryFindClass, unknown_is_0_and_nil)
{
    set_factory();
    EXPECT_EQ(CPINQFUnknown::Factory_FindClass(test_uid(8), class_id.rec()), 0);
    EXPECT_FALSE(class_id);
    class_id = test_uid(1);
    journal.raises(find);
    EXPECT_EQ(CPINQFUnknown::Factory_FindClass(test_uid(9), class_id.rec()), 0);
    EXPECT_FALSE(class_id);
    EXPECT_EQ(component.count, 1);
    EXPECT_EQ(factory.count, 2);
}

TEST_F(FactoryFindClass, what_a_failing_search_wrote_is_released)
{
    set_factory();
    factory.gives_before_failing = true;
    journal.fails(find);
    EXPECT_EQ(CPINQFUnknown::Factory_FindClass(test_uid(9), class_id.rec()), 0);
    EXPECT_EQ(journal.take(), (Calls{"factory.AddRef", find, "component.Release", "factory.Release"}));
    EXPECT_EQ(component.count, 1);
}

TEST_F(FactoryFindClass, a_class_that_cannot_be_read_is_0_and_nil)
{
    set_factory();
    journal.fails(get);
    EXPECT_EQ(CPINQFUnknown::Factory_FindClass(test_uid(9), class_id.rec()), 0);
    EXPECT_FALSE(class_id);

    journal.succeeds();
    journal.raises(get);
    class_id = test_uid(1);
    EXPECT_EQ(CPINQFUnknown::Factory_FindClass(test_uid(9), class_id.rec()), 0);
    EXPECT_FALSE(class_id);
    EXPECT_EQ(component.count, 1);
}

TEST_F(FactoryFindClass, what_is_no_definition_is_0_and_released_twice)
{
    set_factory();
    journal.fails("component.QueryInterface(INQFDefinition)");
    EXPECT_EQ(CPINQFUnknown::Factory_FindClass(test_uid(9), class_id.rec()), 0);
    EXPECT_FALSE(class_id);
    EXPECT_EQ(journal.take(),
              (Calls{"factory.AddRef", find, "factory.Release", "component.QueryInterface(INQFDefinition)",
                     "component.Release", "component.Release"}));
}

TEST_F(FactoryFindClass, asks_what_the_resolution_gave)
{
    set_factory();
    ObjectDouble first(journal, "first");
    first.answer(__nqf_uuidof<INQFDefinition>(), static_cast<INQFDefinition*>(&component));
    factory.definitions = {{test_uid(9), &first}};
    EXPECT_EQ(CPINQFUnknown::Factory_FindClass(test_uid(9), class_id.rec()), 1);
    EXPECT_EQ(class_id, test_uid(55));
}

} // namespace
