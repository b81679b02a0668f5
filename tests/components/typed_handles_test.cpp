#include "components/interface_pointer_support.h"

#include "ORVA/NQF/NamedInterface.h"
#include "ORVA/NQF/TypedInterface.h"
#include "support/LogRecorder.h"

#include <new>
#include <type_traits>

// Handles on an interface that an identifier names, and on one that a type names.
namespace
{

using namespace components;
using namespace support;
using ORVA::NQF::CPINQFUnknown;
using ORVA::NQF::CPNQI;
using ORVA::NQF::IPNQF;

static_assert(sizeof(IPNQF) == 32 && sizeof(CPNQI<INQFDefinition>) == 16);
static_assert(std::is_base_of_v<CPINQFUnknown, IPNQF> && std::is_base_of_v<CPINQFUnknown, CPNQI<INQFDefinition>>);

class TypedHandle : public InterfacePointer
{
protected:
    DefinitionDouble definition{journal, "definition"};
};

TEST_F(TypedHandle, named_one_has_its_identifier_behind_the_word)
{
    IPNQF const handle(own_interface);
    EXPECT_EQ(word_of(handle), 1U);
    EXPECT_EQ(std::memcmp(reinterpret_cast<unsigned char const*>(&handle) + 16, &own_interface, 16), 0);
    EXPECT_TRUE(same(handle.GetType(), own_interface));
    EXPECT_FALSE(handle);
}

TEST_F(TypedHandle, have_their_operations_behind_the_two_destructors)
{
    EXPECT_EQ(table_place(&IPNQF::free), 2U);
    EXPECT_EQ(table_place(&IPNQF::GetType), 3U);
    EXPECT_EQ(table_place(&CPNQI<INQFDefinition>::GetType), 3U);
}

TEST_F(TypedHandle, typed_one_has_the_identifier_of_its_type)
{
    EXPECT_EQ(&CPNQI<INQFDefinition>().GetType(), &__nqf_uuidof<INQFDefinition>());
    EXPECT_EQ(&CPNQI<INQFEnumDefinitions>().GetType(), &__nqf_uuidof<INQFEnumDefinitions>());
    EXPECT_EQ(&CPNQI<INQFComponentFactory>().GetType(), &__nqf_uuidof<INQFComponentFactory>());
    EXPECT_EQ(word_of(CPNQI<INQFDefinition>()), 1U);
}

TEST_F(TypedHandle, named_one_from_a_pointer_asks_for_its_interface)
{
    {
        IPNQF const handle(own_interface, &object);
        EXPECT_EQ(journal.take(), Calls{"object.QueryInterface(#70)"});
        EXPECT_EQ(word_of(handle), resolved_word(&object));
        EXPECT_EQ(object.count, 2);
    }
    EXPECT_EQ(object.count, 1);
    EXPECT_EQ(word_of(IPNQF(own_interface, nullptr)), 1U);
}

TEST_F(TypedHandle, named_one_from_a_handle_resolves_that_and_asks_for_its_interface)
{
    CPINQFUnknown source;
    write_raw(source, object);
    IPNQF const handle(own_interface, source);
    EXPECT_EQ(journal.take(),
              (Calls{"object.QueryInterface(INQFUnknown)", "object.Release", "object.QueryInterface(#70)"}));
    EXPECT_EQ(word_of(handle), resolved_word(&object));
    EXPECT_EQ(object.count, 3);
}

TEST_F(TypedHandle, named_one_that_is_refused_is_empty_and_keeps_its_type)
{
    IPNQF handle(test_uid(71), &object);
    EXPECT_EQ(word_of(handle), 1U);
    EXPECT_EQ(object.count, 1);
    EXPECT_TRUE(same(handle.GetType(), test_uid(71)));

    CPINQFUnknown const source(&object);
    EXPECT_EQ(word_of(IPNQF(test_uid(71), source)), 1U);
    journal.raises("object.QueryInterface(#71)");
    EXPECT_EQ(word_of(IPNQF(test_uid(71), source)), 1U);
    EXPECT_EQ(word_of(IPNQF(test_uid(71), &object)), 1U);
    EXPECT_EQ(object.count, 2);
}

TEST_F(TypedHandle, from_itself_is_empty)
{
    alignas(IPNQF) unsigned char named[sizeof(IPNQF)] = {};
    auto* const named_place = reinterpret_cast<IPNQF*>(named);
    IPNQF* const named_handle = ::new (named) IPNQF(own_interface, *named_place);
    EXPECT_EQ(word_of(*named_handle), 1U);
    named_handle->~IPNQF();

    using Typed = CPNQI<INQFDefinition>;
    alignas(Typed) unsigned char typed[sizeof(Typed)] = {};
    auto* const typed_place = reinterpret_cast<CPINQFUnknown*>(typed);
    Typed* const typed_handle = ::new (typed) Typed(*typed_place);
    EXPECT_EQ(word_of(*typed_handle), 1U);
    typed_handle->~Typed();
}

TEST_F(TypedHandle, copy_of_a_named_one_is_of_the_same_type)
{
    IPNQF const source(own_interface, &object);
    journal.take();
    IPNQF const copy(source);
    EXPECT_EQ(journal.take(), Calls{"object.QueryInterface(#70)"});
    EXPECT_TRUE(same(copy.GetType(), own_interface));
    EXPECT_EQ(word_of(copy), resolved_word(&object));
    EXPECT_EQ(object.count, 3);
}

TEST_F(TypedHandle, assignment_of_a_named_one_keeps_its_own_type)
{
    IPNQF const source(own_interface, &object);
    IPNQF handle(test_uid(72));
    object.answer(test_uid(72));
    journal.take();
    EXPECT_EQ(&(handle = source), &handle);
    EXPECT_EQ(journal.take(), Calls{"object.QueryInterface(#72)"});
    EXPECT_TRUE(same(handle.GetType(), test_uid(72)));
    EXPECT_EQ(word_of(handle), resolved_word(&object));
}

TEST_F(TypedHandle, named_one_has_both_assignments_in_their_order)
{
    IPNQF handle(own_interface, &object);
    CPINQFUnknown const source(&other);
    journal.take();
    EXPECT_EQ(&(handle = &other), &handle);
    EXPECT_EQ(journal.take(), (Calls{"other.QueryInterface(#70)", "object.Release"}));
    handle = &object;
    journal.take();
    EXPECT_EQ(&(handle = source), &handle);
    EXPECT_EQ(journal.take(), (Calls{"object.Release", "other.QueryInterface(#70)"}));
    handle = nullptr;
    EXPECT_EQ(word_of(handle), 1U);
    EXPECT_EQ(object.count, 1);
    EXPECT_EQ(other.count, 2);
}

TEST_F(TypedHandle, assigned_to_itself_keeps_its_reference)
{
    IPNQF named(own_interface, &object);
    CPNQI<INQFDefinition> typed(&definition);
    journal.take();
    IPNQF const& same_named = named;
    CPNQI<INQFDefinition> const& same_typed = typed;
    named = same_named;
    typed = same_typed;
    named = static_cast<CPINQFUnknown const&>(same_named);
    typed = static_cast<CPINQFUnknown const&>(same_typed);
    EXPECT_EQ(journal.take(), Calls{});
    EXPECT_EQ(word_of(named), resolved_word(&object));
    EXPECT_EQ(word_of(typed), resolved_word(&definition));
}

TEST_F(TypedHandle, typed_one_from_a_pointer_asks_for_its_interface)
{
    {
        CPNQI<INQFDefinition> const handle(&definition);
        EXPECT_EQ(journal.take(), Calls{"definition.QueryInterface(INQFDefinition)"});
        EXPECT_EQ(word_of(handle), resolved_word(&definition));
    }
    EXPECT_EQ(definition.count, 1);
    EXPECT_EQ(word_of(CPNQI<INQFDefinition>(nullptr)), 1U);
    EXPECT_EQ(word_of(CPNQI<INQFDefinition>(&object)), 1U);
    EXPECT_EQ(object.count, 1);
}

TEST_F(TypedHandle, typed_one_from_a_handle_resolves_that_and_asks_for_its_interface)
{
    CPINQFUnknown source;
    write_raw(source, definition);
    CPNQI<INQFDefinition> const handle(source);
    EXPECT_EQ(journal.take(), (Calls{"definition.QueryInterface(INQFUnknown)", "definition.Release",
                                     "definition.QueryInterface(INQFDefinition)"}));
    EXPECT_EQ(word_of(handle), resolved_word(&definition));

    CPNQI<INQFDefinition> const copy(handle);
    EXPECT_EQ(journal.take(), Calls{"definition.QueryInterface(INQFDefinition)"});
    EXPECT_EQ(definition.count, 4);

    CPINQFUnknown const root(copy);
    EXPECT_EQ(journal.take(), Calls{"definition.QueryInterface(INQFUnknown)"});
}

TEST_F(TypedHandle, typed_one_that_is_refused_is_empty)
{
    CPINQFUnknown const source(&object);
    EXPECT_EQ(word_of(CPNQI<INQFDefinition>(source)), 1U);
    journal.raises("object.QueryInterface(INQFDefinition)");
    EXPECT_EQ(word_of(CPNQI<INQFDefinition>(source)), 1U);
    EXPECT_EQ(object.count, 2);
}

TEST_F(TypedHandle, typed_one_has_both_assignments_in_their_order)
{
    DefinitionDouble second(journal, "second");
    CPNQI<INQFDefinition> handle(&definition);
    CPINQFUnknown const source(&second);
    journal.take();
    EXPECT_EQ(&(handle = &second), &handle);
    EXPECT_EQ(journal.take(), (Calls{"second.QueryInterface(INQFDefinition)", "definition.Release"}));
    handle = &definition;
    journal.take();
    EXPECT_EQ(&(handle = source), &handle);
    EXPECT_EQ(journal.take(), (Calls{"definition.Release", "second.QueryInterface(INQFDefinition)"}));
    CPNQI<INQFDefinition> const third(&definition);
    journal.take();
    handle = third;
    EXPECT_EQ(journal.take(), (Calls{"second.Release", "definition.QueryInterface(INQFDefinition)"}));
    handle = nullptr;
    EXPECT_EQ(word_of(handle), 1U);
}

TEST_F(TypedHandle, typed_one_calls_its_interface)
{
    CPNQI<INQFDefinition> handle;
    definition.give(handle.rec());
    definition.set(test_uid(1), 17U);
    unsigned int value = 0;
    EXPECT_EQ(handle->GetAttribute(test_uid(1), __nqf_uuidof<REFID_phldr_NQFTypeID_UInt32>(), &value, 4), 0);
    EXPECT_EQ(value, 17U);
    EXPECT_EQ(journal.take(), (Calls{"definition.QueryInterface(INQFDefinition)", "definition.Release",
                                     "definition.GetAttribute(#1, UInt32, 4)"}));
}

TEST_F(TypedHandle, raw_query_of_a_named_one_resolves_first)
{
    IPNQF handle(own_interface);
    write_raw(handle, object);
    void* pointer = nullptr;
    EXPECT_EQ(handle.QueryRawInterface(&pointer), 1);
    EXPECT_EQ(pointer, &object);
    EXPECT_EQ(journal.take(), (Calls{"object.QueryInterface(#70)", "object.Release", "object.AddRef"}));
    EXPECT_EQ(word_of(handle), resolved_word(&object));
    EXPECT_EQ(object.count, 3);
}

TEST_F(TypedHandle, raw_query_of_a_named_one_gives_what_the_resolution_gave)
{
    ObjectDouble first(journal, "first");
    ObjectDouble second(journal, "second");
    first.answer(own_interface, &second);
    IPNQF handle(own_interface);
    write_raw(handle, first);
    void* pointer = nullptr;
    EXPECT_EQ(handle.QueryRawInterface(&pointer), 1);
    EXPECT_EQ(pointer, &second);
    EXPECT_EQ(journal.take(), (Calls{"first.QueryInterface(#70)", "first.Release", "second.AddRef"}));
}

TEST_F(TypedHandle, raw_query_of_a_named_one_without_a_pointer_leaves_the_output_alone)
{
    IPNQF handle(own_interface);
    void* pointer = &other;
    EXPECT_EQ(handle.QueryRawInterface(&pointer), 0);
    EXPECT_EQ(pointer, &other);

    handle = &object;
    journal.raises("object.AddRef");
    EXPECT_EQ(handle.QueryRawInterface(&pointer), 0);
    EXPECT_EQ(pointer, &other);
    journal.succeeds();

    write_raw(handle, object);
    journal.take();
    EXPECT_EQ(handle.QueryRawInterface(static_cast<void**>(nullptr)), 0);
    EXPECT_EQ(journal.take(), (Calls{"object.QueryInterface(#70)", "object.Release"}));
    EXPECT_EQ(object.count, 2);
}

TEST_F(TypedHandle, both_forms_of_the_raw_query_are_visible_in_a_named_one)
{
    IPNQF handle(own_interface);
    write_raw(handle, object);
    INQFUnknown* pointer = nullptr;
    EXPECT_EQ(handle.QueryRawInterface(&pointer), 1);
    EXPECT_EQ(pointer, &object);
    EXPECT_EQ(journal.take(), Calls{"object.AddRef"});
    EXPECT_EQ(word_of(handle), raw_word(&object));
}

TEST_F(TypedHandle, compare_with_each_other_by_their_pointers)
{
    CPNQI<INQFDefinition> const typed(&definition);
    CPINQFUnknown const root(&definition);
    IPNQF const named(own_interface, &object);
    EXPECT_TRUE(typed == root);
    EXPECT_TRUE(root == typed);
    EXPECT_TRUE(typed != named);
}

TEST_F(TypedHandle, release_what_they_hold_and_report_a_release_that_throws)
{
    LogRecorder log;
    {
        IPNQF const named(own_interface, &object);
        CPNQI<INQFDefinition> const typed(&definition);
        journal.raises("object.Release");
        journal.take();
    }
    EXPECT_EQ(journal.take(), (Calls{"definition.Release", "object.Release"}));
    EXPECT_EQ(log.take(), LogMessages{illegal_point("CPINQFUnknown::free exception")});
}

} // namespace
