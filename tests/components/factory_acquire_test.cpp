#include "components/factory_support.h"

#include "ORVA/NQF/NamedInterface.h"
#include "ORVA/NQF/TypedInterface.h"
#include "support/LogRecorder.h"

// References to the factory of the process, and creation by it.
namespace
{

using namespace components;
using namespace support;
using ORVA::NQF::CPINQFUnknown;
using ORVA::NQF::CPNQI;
using ORVA::NQF::IPNQF;

class FactoryAcquire : public FactoryRegistry
{
};

TEST_F(FactoryAcquire, gives_a_reference_that_outlives_the_slot)
{
    set_factory();
    watch_lock();
    INQFComponentFactory* pointer = nullptr;
    EXPECT_EQ(CPINQFUnknown::Factory_Acquire(&pointer), 1);
    EXPECT_EQ(pointer, &factory);
    EXPECT_EQ(journal.take(), Calls{"factory.AddRef"});
    EXPECT_EQ(under_lock, Calls{"factory.AddRef"});
    CPINQFUnknown::Factory_Release();
    EXPECT_EQ(factory.count, 2);
    pointer->Release();
}

TEST_F(FactoryAcquire, writes_the_pointer_before_it_adds_the_reference)
{
    set_factory();
    INQFComponentFactory* pointer = nullptr;
    INQFComponentFactory* seen = nullptr;
    journal.on_call = [&](std::string const&) { seen = pointer; };
    EXPECT_EQ(CPINQFUnknown::Factory_Acquire(&pointer), 1);
    EXPECT_EQ(seen, &factory);
    pointer->Release();
}

TEST_F(FactoryAcquire, without_an_output_is_0_without_the_lock)
{
    set_factory();
    EXPECT_TRUE(ends_while_held(
        ORVA::NQF::g_csFactory,
        [] { EXPECT_EQ(CPINQFUnknown::Factory_Acquire(static_cast<INQFComponentFactory**>(nullptr)), 0); }));
    EXPECT_EQ(journal.take(), Calls{});
}

TEST_F(FactoryAcquire, add_ref_that_throws_is_0_and_null)
{
    set_factory();
    journal.raises("factory.AddRef");
    INQFComponentFactory* pointer = &factory;
    EXPECT_EQ(CPINQFUnknown::Factory_Acquire(&pointer), 0);
    EXPECT_EQ(pointer, nullptr);
    EXPECT_TRUE(locks::is_free(ORVA::NQF::g_csFactory));
}

TEST_F(FactoryAcquire, asks_for_the_type_of_a_handle_and_then_frees_that_under_the_lock)
{
    set_factory();
    CPNQI<INQFComponentFactory> target;
    target._assign(&object);
    watch_lock();
    EXPECT_EQ(CPINQFUnknown::Factory_Acquire(target), 1);
    Calls const expected = {"factory.QueryInterface(INQFComponentFactory)", "object.Release"};
    EXPECT_EQ(journal.take(), expected);
    EXPECT_EQ(under_lock, expected);
    EXPECT_EQ(word_of(target), resolved_word(static_cast<INQFComponentFactory*>(&factory)));
    EXPECT_EQ(factory.count, 3);
    EXPECT_EQ(target._getptr(), &factory);
    EXPECT_EQ(journal.take(), Calls{});
}

TEST_F(FactoryAcquire, asks_for_whatever_type_the_handle_has)
{
    set_factory();
    CPINQFUnknown root;
    EXPECT_EQ(CPINQFUnknown::Factory_Acquire(root), 1);
    EXPECT_EQ(journal.take(), Calls{"factory.QueryInterface(INQFUnknown)"});
    factory.answer(own_interface);
    IPNQF named(own_interface);
    EXPECT_EQ(CPINQFUnknown::Factory_Acquire(named), 1);
    EXPECT_EQ(journal.take(), Calls{"factory.QueryInterface(#70)"});
    EXPECT_EQ(factory.count, 4);
}

TEST_F(FactoryAcquire, frees_a_handle_through_its_table)
{
    set_factory();
    NotingHandle target(journal);
    target = &object;
    journal.take();
    EXPECT_EQ(CPINQFUnknown::Factory_Acquire(target), 1);
    EXPECT_EQ(journal.take(), (Calls{"factory.QueryInterface(INQFUnknown)", "free", "object.Release"}));
}

TEST_F(FactoryAcquire, refused_or_throwing_leaves_the_handle_empty)
{
    set_factory();
    IPNQF target(own_interface, &object);
    EXPECT_EQ(CPINQFUnknown::Factory_Acquire(target), 0);
    EXPECT_EQ(word_of(target), 1U);
    EXPECT_EQ(object.count, 1);

    target = &object;
    journal.raises("factory.QueryInterface(#70)");
    EXPECT_EQ(CPINQFUnknown::Factory_Acquire(target), 0);
    EXPECT_EQ(word_of(target), 1U);
    EXPECT_EQ(object.count, 1);
    EXPECT_TRUE(locks::is_free(ORVA::NQF::g_csFactory));

    write_zero(target);
    EXPECT_EQ(CPINQFUnknown::Factory_Acquire(target), 0);
    EXPECT_EQ(word_of(target), 1U);
}

TEST_F(FactoryAcquire, without_a_factory_frees_the_handle)
{
    CPINQFUnknown target(&object);
    journal.take();
    EXPECT_EQ(CPINQFUnknown::Factory_Acquire(target), 0);
    EXPECT_EQ(journal.take(), Calls{"object.Release"});
    EXPECT_EQ(word_of(target), 1U);
}

struct Creation
{
    char const* name;
    bool (CPINQFUnknown::*operation)(_nqfUID const&);
    char const* call;
};

class FactoryCreate : public FactoryRegistry, public testing::WithParamInterface<Creation>
{
protected:
    bool create(CPINQFUnknown& handle) { return (handle.*GetParam().operation)(test_uid(5)); }

    std::string call() const { return GetParam().call; }
};

TEST_P(FactoryCreate, calls_the_factory_outside_the_lock)
{
    set_factory();
    factory.created = &object;
    NotingHandle handle(journal);
    handle = &other;
    journal.take();
    watch_lock();
    EXPECT_TRUE(create(handle));
    EXPECT_EQ(journal.take(), (Calls{"factory.AddRef", "free", "other.Release", call(), "factory.Release"}));
    EXPECT_EQ(under_lock, Calls{"factory.AddRef"});
    EXPECT_EQ(word_of(handle), raw_word(&object));
    EXPECT_EQ(object.count, 2);
    EXPECT_EQ(factory.count, 2);
}

TEST_P(FactoryCreate, holds_the_factory_whatever_becomes_of_the_slot)
{
    set_factory();
    factory.created = &object;
    int references = 0;
    journal.on_call = [&](std::string const& seen)
    {
        if (seen != call())
            return;
        journal.on_call = nullptr;
        CPINQFUnknown::Factory_Release();
        references = factory.count;
    };
    CPINQFUnknown handle;
    EXPECT_TRUE(create(handle));
    EXPECT_EQ(references, 2);
    EXPECT_EQ(factory.count, 1);
}

TEST_P(FactoryCreate, without_a_factory_frees_outside_the_lock_and_is_false)
{
    NotingHandle handle(journal);
    handle = &object;
    journal.take();
    watch_lock();
    EXPECT_FALSE(create(handle));
    EXPECT_EQ(journal.take(), (Calls{"free", "object.Release"}));
    EXPECT_EQ(under_lock, Calls{});
    EXPECT_EQ(word_of(handle), 1U);

    write_zero(handle);
    EXPECT_FALSE(create(handle));
    EXPECT_EQ(word_of(handle), 0U);
}

TEST_P(FactoryCreate, add_ref_that_throws_frees_outside_the_lock_and_is_false)
{
    set_factory();
    journal.raises("factory.AddRef");
    NotingHandle handle(journal);
    handle = &object;
    journal.take();
    watch_lock();
    EXPECT_FALSE(create(handle));
    EXPECT_EQ(journal.take(), (Calls{"factory.AddRef", "free", "object.Release"}));
    EXPECT_EQ(under_lock, Calls{"factory.AddRef"});
    EXPECT_EQ(word_of(handle), 1U);
    EXPECT_TRUE(locks::is_free(ORVA::NQF::g_csFactory));
}

TEST_P(FactoryCreate, failure_and_exception_leave_a_word_of_0_and_release_the_factory)
{
    set_factory();
    factory.created = &object;
    CPINQFUnknown handle;
    journal.fails(call());
    EXPECT_FALSE(create(handle));
    EXPECT_EQ(word_of(handle), 0U);
    EXPECT_EQ(journal.take(), (Calls{"factory.AddRef", call(), "factory.Release"}));

    journal.succeeds();
    journal.raises(call());
    handle = nullptr;
    EXPECT_FALSE(create(handle));
    EXPECT_EQ(word_of(handle), 0U);
    EXPECT_EQ(journal.take(), (Calls{"factory.AddRef", call(), "factory.Release"}));
    EXPECT_EQ(factory.count, 2);
    EXPECT_EQ(object.count, 1);
}

TEST_P(FactoryCreate, result_is_whether_the_word_is_not_0)
{
    set_factory();
    CPINQFUnknown handle;
    EXPECT_FALSE(create(handle));
    EXPECT_EQ(word_of(handle), 0U);

    factory.writes_nothing = true;
    handle = nullptr;
    EXPECT_TRUE(create(handle));
    EXPECT_EQ(word_of(handle), 1U);
}

TEST_P(FactoryCreate, release_of_the_factory_that_throws_is_dropped)
{
    LogRecorder log;
    set_factory();
    factory.created = &object;
    journal.raises("factory.Release");
    CPINQFUnknown handle;
    EXPECT_TRUE(create(handle));
    EXPECT_EQ(handle._getptr(), &object);
    EXPECT_EQ(log.count(), 0U);
    --factory.count;
}

INSTANTIATE_TEST_SUITE_P(, FactoryCreate,
                         testing::Values(Creation{"component", &CPINQFUnknown::createComponent,
                                                  "factory.CreateComponent(#5, null, INQFUnknown)"},
                                         Creation{"instance", &CPINQFUnknown::createInstance,
                                                  "factory.CreateInstance(#5, null, INQFUnknown)"}),
                         [](auto const& creation) { return creation.param.name; });

} // namespace
