#include "components/interface_pointer_support.h"
#include "support/LogRecorder.h"

// The two assignments, and the order of their calls.
namespace
{

using namespace components;
using namespace support;
using ORVA::NQF::CPINQFUnknown;

class InterfacePointerAssign : public InterfacePointer
{
};

TEST_F(InterfacePointerAssign, a_pointer_is_asked_first_and_the_old_one_released_afterwards)
{
    CPINQFUnknown handle(&object);
    journal.take();
    EXPECT_EQ(&(handle = &other), &handle);
    EXPECT_EQ(journal.take(), (Calls{"other.QueryInterface(INQFUnknown)", "object.Release"}));
    EXPECT_EQ(word_of(handle), resolved_word(&other));
    EXPECT_EQ(object.count, 1);
    EXPECT_EQ(other.count, 2);
}

TEST_F(InterfacePointerAssign, a_handle_is_released_first_and_the_other_asked_afterwards)
{
    CPINQFUnknown handle(&object);
    CPINQFUnknown const source(&other);
    journal.take();
    EXPECT_EQ(&(handle = source), &handle);
    EXPECT_EQ(journal.take(), (Calls{"object.Release", "other.QueryInterface(INQFUnknown)"}));
    EXPECT_EQ(word_of(handle), resolved_word(&other));
    EXPECT_EQ(word_of(source), resolved_word(&other));
    EXPECT_EQ(object.count, 1);
    EXPECT_EQ(other.count, 3);
}

TEST_F(InterfacePointerAssign, a_handle_is_resolved_between_the_release_and_the_question)
{
    CPINQFUnknown handle(&object);
    CPINQFUnknown source;
    write_raw(source, other);
    journal.take();
    handle = source;
    EXPECT_EQ(journal.take(), (Calls{"object.Release", "other.QueryInterface(INQFUnknown)", "other.Release",
                                     "other.QueryInterface(INQFUnknown)"}));
    EXPECT_EQ(word_of(source), resolved_word(&other));
    EXPECT_EQ(word_of(handle), resolved_word(&other));
    EXPECT_EQ(other.count, 3);
}

TEST_F(InterfacePointerAssign, the_pointer_that_it_holds_is_safe)
{
    CPINQFUnknown handle(&object);
    journal.take();
    handle = handle._getptr();
    EXPECT_EQ(journal.take(), (Calls{"object.QueryInterface(INQFUnknown)", "object.Release"}));
    EXPECT_EQ(word_of(handle), resolved_word(&object));
    EXPECT_EQ(object.count, 2);
}

TEST_F(InterfacePointerAssign, itself_changes_nothing)
{
    CPINQFUnknown handle(&object);
    journal.take();
    CPINQFUnknown const& same = handle;
    EXPECT_EQ(&(handle = same), &handle);
    EXPECT_EQ(journal.take(), Calls{});
    EXPECT_EQ(word_of(handle), resolved_word(&object));
    EXPECT_EQ(object.count, 2);

    write_raw(handle, other);
    journal.take();
    handle = same;
    EXPECT_EQ(word_of(handle), raw_word(&other));
    write_zero(handle);
    handle = same;
    EXPECT_EQ(word_of(handle), 0U);
}

TEST_F(InterfacePointerAssign, a_handle_on_the_same_object_keeps_it_alive)
{
    CPINQFUnknown handle(&object);
    CPINQFUnknown const source(&object);
    journal.take();
    handle = source;
    EXPECT_EQ(journal.take(), (Calls{"object.Release", "object.QueryInterface(INQFUnknown)"}));
    EXPECT_EQ(object.count, 3);
}

TEST_F(InterfacePointerAssign, null_empties_with_a_word_of_1)
{
    CPINQFUnknown handle(&object);
    journal.take();
    handle = nullptr;
    EXPECT_EQ(journal.take(), Calls{"object.Release"});
    EXPECT_EQ(word_of(handle), 1U);

    write_zero(handle);
    handle = nullptr;
    EXPECT_EQ(word_of(handle), 1U);
}

TEST_F(InterfacePointerAssign, an_empty_handle_empties_with_a_word_of_1)
{
    CPINQFUnknown handle(&object);
    CPINQFUnknown zero;
    write_zero(zero);
    journal.take();
    handle = zero;
    EXPECT_EQ(journal.take(), Calls{"object.Release"});
    EXPECT_EQ(word_of(handle), 1U);
    EXPECT_EQ(word_of(zero), 0U);

    write_zero(handle);
    CPINQFUnknown const empty;
    handle = empty;
    EXPECT_EQ(word_of(handle), 1U);
}

TEST_F(InterfacePointerAssign, a_pointer_that_fails_or_throws_empties)
{
    CPINQFUnknown handle(&object);
    journal.fails("other.QueryInterface(INQFUnknown)");
    journal.take();
    handle = &other;
    EXPECT_EQ(journal.take(), (Calls{"other.QueryInterface(INQFUnknown)", "object.Release"}));
    EXPECT_EQ(word_of(handle), 1U);

    journal.succeeds();
    handle = &object;
    journal.raises("other.QueryInterface(INQFUnknown)");
    handle = &other;
    EXPECT_EQ(word_of(handle), 1U);
    EXPECT_EQ(object.count, 1);
    EXPECT_EQ(other.count, 1);
}

TEST_F(InterfacePointerAssign, a_handle_that_fails_or_throws_empties)
{
    CPINQFUnknown handle(&object);
    CPINQFUnknown const source(&other);
    journal.fails("other.QueryInterface(INQFUnknown)");
    handle = source;
    EXPECT_EQ(word_of(handle), 1U);

    journal.succeeds();
    handle = &object;
    journal.raises("other.QueryInterface(INQFUnknown)");
    handle = source;
    EXPECT_EQ(word_of(handle), 1U);
    EXPECT_EQ(object.count, 1);
    EXPECT_EQ(other.count, 2);
}

TEST_F(InterfacePointerAssign, a_release_that_throws_is_reported_and_the_assignment_done)
{
    LogRecorder log;
    CPINQFUnknown handle(&object);
    CPINQFUnknown const source(&other);
    journal.raises("object.Release");
    handle = source;
    EXPECT_EQ(log.take(), LogMessages{illegal_point("CPINQFUnknown::free exception")});
    EXPECT_EQ(word_of(handle), resolved_word(&other));

    journal.succeeds();
    handle = &object;
    journal.raises("object.Release");
    handle = &other;
    EXPECT_EQ(log.take(), LogMessages{illegal_point("CPINQFUnknown::free exception")});
    EXPECT_EQ(word_of(handle), resolved_word(&other));
}

TEST_F(InterfacePointerAssign, frees_through_the_table)
{
    NotingHandle handle(journal);
    handle = &object;
    EXPECT_EQ(journal.take(), (Calls{"object.QueryInterface(INQFUnknown)", "free"}));
    CPINQFUnknown const source(&other);
    journal.take();
    handle = source;
    EXPECT_EQ(journal.take(), (Calls{"free", "object.Release", "other.QueryInterface(INQFUnknown)"}));
    handle.rec();
    EXPECT_EQ(journal.take(), (Calls{"free", "other.Release"}));
}

TEST_F(InterfacePointerAssign, asks_for_the_type_of_the_handle)
{
    OwnHandle handle;
    handle = &object;
    EXPECT_EQ(journal.take(), Calls{"object.QueryInterface(#70)"});
    CPINQFUnknown const source(&other);
    journal.take();
    handle = source;
    EXPECT_EQ(journal.take(), (Calls{"object.Release", "other.QueryInterface(#70)"}));
}

} // namespace
