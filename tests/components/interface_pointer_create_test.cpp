#include "components/interface_pointer_support.h"

#include "ORVA/NQF/NamedInterface.h"
#include "support/LogRecorder.h"

#include <string>

// Creation by a factory that is given. Both operations are the same but for the one that they call.
namespace
{

using namespace components;
using namespace support;
using ORVA::NQF::CPINQFUnknown;
using ORVA::NQF::IPNQF;

struct Creation
{
    char const* name;
    bool (CPINQFUnknown::*operation)(_nqfUID const&, INQFComponentFactory*);
    char const* call;
};

class InterfacePointerCreate : public InterfacePointer, public testing::WithParamInterface<Creation>
{
protected:
    bool create(CPINQFUnknown& handle, INQFComponentFactory* by)
    {
        return (handle.*GetParam().operation)(test_uid(5), by);
    }

    std::string call() const { return GetParam().call; }

    FactoryDouble factory{journal};
};

TEST_P(InterfacePointerCreate, asks_for_the_root_interface_without_an_outer_object_and_holds_a_raw_pointer)
{
    factory.created = &object;
    CPINQFUnknown handle;
    EXPECT_TRUE(create(handle, &factory));
    EXPECT_EQ(journal.take(), Calls{call()});
    EXPECT_EQ(word_of(handle), raw_word(&object));
    EXPECT_EQ(object.count, 2);
    EXPECT_EQ(factory.count, 1);
}

TEST_P(InterfacePointerCreate, resolves_to_the_type_of_the_handle_on_first_use)
{
    factory.created = &object;
    IPNQF handle(own_interface);
    EXPECT_TRUE(create(handle, &factory));
    EXPECT_EQ(journal.take(), Calls{call()});
    EXPECT_TRUE(handle);
    EXPECT_EQ(journal.take(), (Calls{"object.QueryInterface(#70)", "object.Release"}));
    EXPECT_EQ(object.count, 2);
}

TEST_P(InterfacePointerCreate, frees_first_and_through_the_table)
{
    NotingHandle handle(journal);
    handle = &other;
    factory.created = &object;
    journal.take();
    EXPECT_TRUE(create(handle, &factory));
    EXPECT_EQ(journal.take(), (Calls{"free", "other.Release", call()}));
    EXPECT_EQ(other.count, 1);
}

TEST_P(InterfacePointerCreate, failure_leaves_a_word_of_0)
{
    factory.created = &object;
    journal.fails(call());
    CPINQFUnknown handle(&other);
    EXPECT_FALSE(create(handle, &factory));
    EXPECT_EQ(word_of(handle), 0U);
    EXPECT_FALSE(handle);
    EXPECT_EQ(object.count, 1);
    EXPECT_EQ(other.count, 1);
    handle.free();
    EXPECT_EQ(word_of(handle), 0U);
}

TEST_P(InterfacePointerCreate, exception_leaves_a_word_of_0)
{
    LogRecorder log;
    factory.created = &object;
    journal.raises(call());
    CPINQFUnknown handle(&other);
    EXPECT_FALSE(create(handle, &factory));
    EXPECT_EQ(word_of(handle), 0U);
    EXPECT_EQ(log.count(), 0U);
}

TEST_P(InterfacePointerCreate, success_that_writes_null_is_false)
{
    CPINQFUnknown handle;
    EXPECT_FALSE(create(handle, &factory));
    EXPECT_EQ(word_of(handle), 0U);
}

TEST_P(InterfacePointerCreate, success_that_writes_nothing_is_true_and_empty)
{
    factory.writes_nothing = true;
    CPINQFUnknown handle;
    EXPECT_TRUE(create(handle, &factory));
    EXPECT_EQ(word_of(handle), 1U);
    EXPECT_FALSE(handle);
}

TEST_P(InterfacePointerCreate, recovers_from_a_word_of_0)
{
    CPINQFUnknown handle;
    write_zero(handle);
    factory.created = &object;
    EXPECT_TRUE(create(handle, &factory));
    EXPECT_EQ(handle._getptr(), &object);
}

TEST_P(InterfacePointerCreate, without_a_factory_frees_and_is_true)
{
    CPINQFUnknown handle(&object);
    journal.take();
    EXPECT_TRUE(create(handle, nullptr));
    EXPECT_EQ(journal.take(), Calls{"object.Release"});
    EXPECT_EQ(word_of(handle), 1U);
    EXPECT_FALSE(handle);

    CPINQFUnknown fresh;
    EXPECT_TRUE(create(fresh, nullptr));
    EXPECT_EQ(word_of(fresh), 1U);
}

TEST_P(InterfacePointerCreate, without_a_factory_is_false_on_a_word_of_0)
{
    CPINQFUnknown handle;
    write_zero(handle);
    EXPECT_FALSE(create(handle, nullptr));
    EXPECT_EQ(word_of(handle), 0U);
}

INSTANTIATE_TEST_SUITE_P(, InterfacePointerCreate,
                         testing::Values(Creation{"component", &CPINQFUnknown::createComponent,
                                                  "factory.CreateComponent(#5, null, INQFUnknown)"},
                                         Creation{"instance", &CPINQFUnknown::createInstance,
                                                  "factory.CreateInstance(#5, null, INQFUnknown)"}),
                         [](auto const& creation) { return creation.param.name; });

} // namespace
