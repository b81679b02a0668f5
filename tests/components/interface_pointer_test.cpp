#include "components/interface_pointer_support.h"
#include "support/LogRecorder.h"

#include <type_traits>
#include <utility>

// What a handle holds, how it comes to it, and how it gives it up.
namespace
{

using namespace components;
using namespace support;
using ORVA::NQF::CPINQFUnknown;

static_assert(std::is_polymorphic_v<CPINQFUnknown> && std::has_virtual_destructor_v<CPINQFUnknown>);
static_assert(sizeof(CPINQFUnknown) == 16);

TEST_F(InterfacePointer, has_its_operations_behind_the_two_destructors)
{
    EXPECT_EQ(table_place(&CPINQFUnknown::free), 2U);
    EXPECT_EQ(table_place(&CPINQFUnknown::GetType), 3U);
}

TEST_F(InterfacePointer, is_empty_with_a_word_of_1)
{
    CPINQFUnknown const handle;
    EXPECT_EQ(word_of(handle), 1U);
    EXPECT_FALSE(handle);
    EXPECT_EQ(handle._getptr(), nullptr);
}

TEST_F(InterfacePointer, is_of_the_root_type)
{
    EXPECT_EQ(&CPINQFUnknown().GetType(), &__nqf_uuidof<INQFUnknown>());
}

TEST_F(InterfacePointer, from_a_pointer_asks_for_the_root_interface_and_owns_the_answer)
{
    {
        CPINQFUnknown const handle(&object);
        EXPECT_EQ(journal.take(), Calls{"object.QueryInterface(INQFUnknown)"});
        EXPECT_EQ(object.count, 2);
        EXPECT_EQ(word_of(handle), resolved_word(&object));
        EXPECT_EQ(handle._getptr(), &object);
        EXPECT_TRUE(handle);
        EXPECT_EQ(journal.take(), Calls{});
    }
    EXPECT_EQ(journal.take(), Calls{"object.Release"});
    EXPECT_EQ(object.count, 1);
}

TEST_F(InterfacePointer, from_a_pointer_holds_the_address_that_was_answered)
{
    ObjectDouble asked(journal, "asked");
    ObjectDouble forwarding(journal, "forwarding");
    asked.answer(own_interface, &forwarding);
    OwnHandle handle;
    handle = &asked;
    EXPECT_EQ(word_of(handle), resolved_word(&forwarding));
    EXPECT_EQ(asked.count, 2);
}

TEST_F(InterfacePointer, from_null_is_empty)
{
    CPINQFUnknown const handle(nullptr);
    EXPECT_EQ(word_of(handle), 1U);
}

TEST_F(InterfacePointer, from_a_pointer_that_fails_is_empty)
{
    journal.fails("object.QueryInterface(INQFUnknown)");
    EXPECT_EQ(word_of(CPINQFUnknown(&object)), 1U);
    EXPECT_EQ(journal.take(), Calls{"object.QueryInterface(INQFUnknown)"});
    EXPECT_EQ(object.count, 1);
}

TEST_F(InterfacePointer, from_a_pointer_that_throws_is_empty)
{
    journal.raises("object.QueryInterface(INQFUnknown)");
    EXPECT_EQ(word_of(CPINQFUnknown(&object)), 1U);
    EXPECT_EQ(journal.take(), Calls{"object.QueryInterface(INQFUnknown)"});
    EXPECT_EQ(object.count, 1);
}

TEST_F(InterfacePointer, only_negative_results_are_failures)
{
    class Object final : public INQFUnknown
    {
    public:
        int result = 0;
        int QueryInterface(_nqfUID const&, void** out) override
        {
            *out = this;
            return result;
        }
        unsigned int AddRef() override { return 2; }
        unsigned int Release() override { return 1; }
    } answering;

    for (int const result : {0, 1, 0x7FFFFFFF})
    {
        answering.result = result;
        EXPECT_EQ(word_of(CPINQFUnknown(&answering)), resolved_word(&answering)) << result;
    }
    for (int const result : {-1, -0x7FFFFFFF - 1})
    {
        answering.result = result;
        EXPECT_EQ(word_of(CPINQFUnknown(&answering)), 1U) << result;
    }
}

TEST_F(InterfacePointer, copy_asks_for_a_reference_of_its_own)
{
    CPINQFUnknown const source(&object);
    journal.take();
    {
        CPINQFUnknown const copy(source);
        EXPECT_EQ(journal.take(), Calls{"object.QueryInterface(INQFUnknown)"});
        EXPECT_EQ(word_of(copy), resolved_word(&object));
        EXPECT_EQ(word_of(source), resolved_word(&object));
        EXPECT_EQ(object.count, 3);
    }
    EXPECT_EQ(object.count, 2);
}

TEST_F(InterfacePointer, copy_resolves_its_source_first)
{
    CPINQFUnknown source;
    write_raw(source, object);
    CPINQFUnknown const copy(source);
    EXPECT_EQ(journal.take(),
              (Calls{"object.QueryInterface(INQFUnknown)", "object.Release", "object.QueryInterface(INQFUnknown)"}));
    EXPECT_EQ(word_of(source), resolved_word(&object));
    EXPECT_EQ(word_of(copy), resolved_word(&object));
    EXPECT_EQ(object.count, 3);
}

TEST_F(InterfacePointer, moving_copies)
{
    CPINQFUnknown source(&object);
    CPINQFUnknown const target(std::move(source));
    EXPECT_EQ(word_of(source), resolved_word(&object));
    EXPECT_EQ(word_of(target), resolved_word(&object));
    EXPECT_EQ(object.count, 3);
}

TEST_F(InterfacePointer, copy_of_nothing_or_of_what_fails_is_empty)
{
    CPINQFUnknown zero;
    write_zero(zero);
    EXPECT_EQ(word_of(CPINQFUnknown(zero)), 1U);
    EXPECT_EQ(word_of(zero), 0U);
    CPINQFUnknown const empty;
    EXPECT_EQ(word_of(CPINQFUnknown(empty)), 1U);

    CPINQFUnknown const source(&object);
    journal.fails("object.QueryInterface(INQFUnknown)");
    EXPECT_EQ(word_of(CPINQFUnknown(source)), 1U);
    journal.succeeds();
    journal.raises("object.QueryInterface(INQFUnknown)");
    EXPECT_EQ(word_of(CPINQFUnknown(source)), 1U);
    EXPECT_EQ(object.count, 2);
}

TEST_F(InterfacePointer, resolves_a_raw_pointer_with_one_query_and_one_release)
{
    CPINQFUnknown handle;
    write_raw(handle, object);
    EXPECT_EQ(word_of(handle), raw_word(&object));
    EXPECT_EQ(object.count, 2);

    EXPECT_EQ(handle._getptr(), &object);
    EXPECT_EQ(journal.take(), (Calls{"object.QueryInterface(INQFUnknown)", "object.Release"}));
    EXPECT_EQ(word_of(handle), resolved_word(&object));
    EXPECT_EQ(object.count, 2);

    EXPECT_EQ(handle._getptr(), &object);
    EXPECT_EQ(journal.take(), Calls{});
}

TEST_F(InterfacePointer, resolves_through_a_constant_handle)
{
    CPINQFUnknown handle;
    write_raw(handle, object);
    EXPECT_TRUE(static_cast<CPINQFUnknown const&>(handle));
    EXPECT_EQ(word_of(handle), resolved_word(&object));
}

TEST_F(InterfacePointer, a_word_of_0_gives_null_and_stays)
{
    CPINQFUnknown handle;
    write_zero(handle);
    EXPECT_EQ(handle._getptr(), nullptr);
    EXPECT_FALSE(handle);
    EXPECT_EQ(word_of(handle), 0U);
}

TEST_F(InterfacePointer, keeps_the_first_pointer_and_gives_the_answer_once)
{
    ObjectDouble first(journal, "first");
    ObjectDouble second(journal, "second");
    OwnHandle handle;
    first.answer(own_interface, &second);
    first.give(handle.rec());

    EXPECT_EQ(handle._getptr(), &second);
    EXPECT_EQ(journal.take(), (Calls{"first.QueryInterface(#70)", "first.Release"}));
    EXPECT_EQ(word_of(handle), resolved_word(&first));
    EXPECT_EQ(handle._getptr(), &first);
    EXPECT_EQ(journal.take(), Calls{});
    handle.free();
    EXPECT_EQ(journal.take(), Calls{"first.Release"});
}

TEST_F(InterfacePointer, after_a_failed_resolution_names_the_pointer_that_it_released)
{
    CPINQFUnknown handle;
    write_raw(handle, object);
    journal.fails("object.QueryInterface(INQFUnknown)");
    EXPECT_EQ(handle._getptr(), nullptr);
    EXPECT_EQ(journal.take(), (Calls{"object.QueryInterface(INQFUnknown)", "object.Release"}));
    EXPECT_EQ(word_of(handle), resolved_word(&object));
    EXPECT_EQ(object.count, 1);

    EXPECT_EQ(handle._getptr(), &object);
    EXPECT_TRUE(handle);
    EXPECT_EQ(journal.take(), Calls{});
    handle.free();
    EXPECT_EQ(object.count, 0);
}

TEST_F(InterfacePointer, a_query_that_throws_is_followed_by_the_release_all_the_same)
{
    CPINQFUnknown handle;
    write_raw(handle, object);
    journal.raises("object.QueryInterface(INQFUnknown)");
    EXPECT_EQ(handle._getptr(), nullptr);
    EXPECT_EQ(journal.take(), (Calls{"object.QueryInterface(INQFUnknown)", "object.Release"}));
    EXPECT_EQ(word_of(handle), resolved_word(&object));
    EXPECT_EQ(object.count, 1);
}

TEST_F(InterfacePointer, a_release_that_throws_makes_the_resolution_fail_once)
{
    LogRecorder log;
    CPINQFUnknown handle;
    write_raw(handle, object);
    journal.raises("object.Release");
    EXPECT_EQ(handle._getptr(), nullptr);
    EXPECT_EQ(word_of(handle), resolved_word(&object));
    EXPECT_EQ(handle._getptr(), &object);
    EXPECT_EQ(log.count(), 0U);
    journal.succeeds();
}

TEST_F(InterfacePointer, a_type_that_throws_is_a_failed_query)
{
    class Own final : public CPINQFUnknown
    {
    public:
        _nqfUID const& GetType() const override { throw 1; }
    } handle;
    object.give(handle.rec());
    EXPECT_EQ(handle._getptr(), nullptr);
    EXPECT_EQ(word_of(handle), resolved_word(&object));
    EXPECT_EQ(journal.take(), Calls{"object.Release"});
}

TEST_F(InterfacePointer, free_releases_and_leaves_a_word_of_1)
{
    CPINQFUnknown handle(&object);
    journal.take();
    handle.free();
    EXPECT_EQ(journal.take(), Calls{"object.Release"});
    EXPECT_EQ(word_of(handle), 1U);
    EXPECT_EQ(object.count, 1);
    handle.free();
    EXPECT_EQ(word_of(handle), 1U);
    EXPECT_EQ(journal.take(), Calls{});
}

TEST_F(InterfacePointer, free_releases_a_raw_pointer_without_resolving_it)
{
    CPINQFUnknown handle;
    write_raw(handle, object);
    handle.free();
    EXPECT_EQ(journal.take(), Calls{"object.Release"});
    EXPECT_EQ(word_of(handle), 1U);
    EXPECT_EQ(object.count, 1);
}

TEST_F(InterfacePointer, free_leaves_a_word_of_0)
{
    CPINQFUnknown handle;
    write_zero(handle);
    handle.free();
    EXPECT_EQ(word_of(handle), 0U);
}

TEST_F(InterfacePointer, free_clears_the_word_after_the_release)
{
    CPINQFUnknown handle(&object);
    unsigned long seen = 0;
    journal.on_call = [&](std::string const&) { seen = word_of(handle); };
    handle.free();
    EXPECT_EQ(seen, resolved_word(&object));
}

TEST_F(InterfacePointer, free_reports_a_release_that_throws_and_goes_on)
{
    LogRecorder log;
    CPINQFUnknown handle(&object);
    journal.raises("object.Release");
    handle.free();
    EXPECT_EQ(log.take(), LogMessages{illegal_point("CPINQFUnknown::free exception")});
    EXPECT_EQ(word_of(handle), 1U);
    journal.take();
    handle.free();
    EXPECT_EQ(journal.take(), Calls{});
    EXPECT_EQ(log.count(), 0U);
}

TEST_F(InterfacePointer, destructor_releases_both_kinds_of_words_and_nothing_for_empty_ones)
{
    {
        CPINQFUnknown raw;
        write_raw(raw, object);
        CPINQFUnknown zero;
        write_zero(zero);
        CPINQFUnknown const empty;
    }
    EXPECT_EQ(journal.take(), Calls{"object.Release"});
    EXPECT_EQ(object.count, 1);
}

TEST_F(InterfacePointer, destructor_reports_a_release_that_throws)
{
    LogRecorder log;
    {
        CPINQFUnknown const handle(&object);
        journal.raises("object.Release");
    }
    EXPECT_EQ(log.take(), LogMessages{illegal_point("CPINQFUnknown::free exception")});
}

TEST_F(InterfacePointer, is_destroyed_through_a_pointer_to_the_base)
{
    class Derived final : public CPINQFUnknown
    {
    public:
        explicit Derived(bool& flag) : ended(flag) {}
        ~Derived() override { ended = true; }
        bool& ended;
    };
    bool ended = false;
    CPINQFUnknown* const handle = new Derived(ended);
    *handle = &object;
    journal.take();
    delete handle;
    EXPECT_TRUE(ended);
    EXPECT_EQ(journal.take(), Calls{"object.Release"});
}

} // namespace
