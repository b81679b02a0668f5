#include "components/interface_pointer_support.h"
#include "support/LogRecorder.h"

// What is done with a handle: as an output argument, with references given and taken, and in comparisons.
namespace
{

using namespace components;
using namespace support;
using ORVA::NQF::CPINQFUnknown;

class InterfacePointerUse : public InterfacePointer
{
};

TEST_F(InterfacePointerUse, rec_releases_at_once_and_takes_what_a_call_writes)
{
    CPINQFUnknown handle(&object);
    journal.take();
    void** const out = handle.rec();
    EXPECT_EQ(journal.take(), Calls{"object.Release"});
    EXPECT_EQ(word_of(handle), 1U);
    EXPECT_EQ(reinterpret_cast<unsigned char*>(out), reinterpret_cast<unsigned char*>(&handle) + sizeof(void*));

    other.give(out);
    EXPECT_EQ(word_of(handle), raw_word(&other));
    EXPECT_EQ(handle._getptr(), &other);
}

TEST_F(InterfacePointerUse, rec_leaves_a_word_of_0)
{
    CPINQFUnknown handle;
    write_zero(handle);
    EXPECT_EQ(*handle.rec(), nullptr);
}

TEST_F(InterfacePointerUse, add_ref_asks_for_the_type_of_the_handle_and_leaves_that_alone)
{
    CPINQFUnknown const handle(&object);
    journal.take();
    INQFUnknown* const pointer = handle._addRef(&other);
    EXPECT_EQ(pointer, &other);
    EXPECT_EQ(journal.take(), Calls{"other.QueryInterface(INQFUnknown)"});
    EXPECT_EQ(other.count, 2);
    EXPECT_EQ(word_of(handle), resolved_word(&object));
    EXPECT_EQ(handle._addRef(nullptr), nullptr);

    journal.fails("other.QueryInterface(INQFUnknown)");
    EXPECT_EQ(handle._addRef(&other), nullptr);
    journal.succeeds();
    journal.raises("other.QueryInterface(INQFUnknown)");
    EXPECT_EQ(handle._addRef(&other), nullptr);
    EXPECT_EQ(other.count, 2);
}

TEST_F(InterfacePointerUse, assign_takes_over_the_callers_reference_after_releasing)
{
    CPINQFUnknown handle(&object);
    journal.take();
    handle._assign(&other);
    EXPECT_EQ(journal.take(), Calls{"object.Release"});
    EXPECT_EQ(word_of(handle), resolved_word(&other));
    EXPECT_EQ(other.count, 1);

    handle._assign(nullptr);
    EXPECT_EQ(journal.take(), Calls{"other.Release"});
    EXPECT_EQ(word_of(handle), 1U);
}

TEST_F(InterfacePointerUse, assign_releases_a_raw_pointer_and_nothing_for_empty_words)
{
    CPINQFUnknown handle;
    write_raw(handle, object);
    handle._assign(&other);
    EXPECT_EQ(journal.take(), Calls{"object.Release"});
    handle._assign(nullptr);
    write_zero(handle);
    journal.take();
    handle._assign(nullptr);
    EXPECT_EQ(journal.take(), Calls{});
    EXPECT_EQ(word_of(handle), 1U);
}

TEST_F(InterfacePointerUse, assign_drops_an_exception_silently)
{
    LogRecorder log;
    CPINQFUnknown handle(&object);
    journal.raises("object.Release");
    handle._assign(&other);
    EXPECT_EQ(word_of(handle), resolved_word(&other));
    EXPECT_EQ(log.count(), 0U);
}

TEST_F(InterfacePointerUse, lock_count_is_that_of_the_object_without_the_extra_reference)
{
    CPINQFUnknown handle;
    write_raw(handle, object);
    EXPECT_EQ(handle.GetLockCount(), 2U);
    EXPECT_EQ(journal.take(), (Calls{"object.AddRef", "object.Release"}));
    EXPECT_EQ(word_of(handle), raw_word(&object));
    EXPECT_EQ(object.count, 2);
}

TEST_F(InterfacePointerUse, lock_count_of_empty_and_resolved_words_is_0)
{
    CPINQFUnknown handle(&object);
    journal.take();
    EXPECT_EQ(handle.GetLockCount(), 0U);
    EXPECT_EQ(CPINQFUnknown().GetLockCount(), 0U);
    handle.free();
    write_zero(handle);
    journal.take();
    EXPECT_EQ(handle.GetLockCount(), 0U);
    EXPECT_EQ(journal.take(), Calls{});
}

TEST_F(InterfacePointerUse, lock_count_of_an_object_that_throws_is_0)
{
    CPINQFUnknown handle;
    write_raw(handle, object);
    journal.raises("object.AddRef");
    EXPECT_EQ(handle.GetLockCount(), 0U);
    EXPECT_EQ(journal.take(), Calls{"object.AddRef"});
    journal.succeeds();
    journal.raises("object.Release");
    EXPECT_EQ(handle.GetLockCount(), 0U);
    journal.succeeds();
    object.count = 2;
}

TEST_F(InterfacePointerUse, raw_query_gives_the_pointer_without_asking_anybody)
{
    CPINQFUnknown raw;
    write_raw(raw, object);
    CPINQFUnknown const resolved(&other);
    journal.take();

    INQFUnknown* pointer = nullptr;
    EXPECT_EQ(raw.QueryRawInterface(&pointer), 1);
    EXPECT_EQ(pointer, &object);
    EXPECT_EQ(word_of(raw), raw_word(&object));
    EXPECT_EQ(resolved.QueryRawInterface(&pointer), 1);
    EXPECT_EQ(pointer, &other);
    EXPECT_EQ(journal.take(), (Calls{"object.AddRef", "other.AddRef"}));
    EXPECT_EQ(object.count, 3);
    EXPECT_EQ(other.count, 3);
}

TEST_F(InterfacePointerUse, raw_query_of_nothing_is_0_and_null)
{
    CPINQFUnknown handle;
    INQFUnknown* pointer = &object;
    EXPECT_EQ(handle.QueryRawInterface(&pointer), 0);
    EXPECT_EQ(pointer, nullptr);

    write_zero(handle);
    pointer = &object;
    EXPECT_EQ(handle.QueryRawInterface(&pointer), 0);
    EXPECT_EQ(pointer, nullptr);
}

TEST_F(InterfacePointerUse, raw_query_without_an_output_is_0)
{
    CPINQFUnknown const handle(&object);
    journal.take();
    EXPECT_EQ(handle.QueryRawInterface(nullptr), 0);
    EXPECT_EQ(journal.take(), Calls{});
}

TEST_F(InterfacePointerUse, raw_query_of_an_object_that_throws_is_0_and_null)
{
    CPINQFUnknown const handle(&object);
    journal.raises("object.AddRef");
    INQFUnknown* pointer = &other;
    EXPECT_EQ(handle.QueryRawInterface(&pointer), 0);
    EXPECT_EQ(pointer, nullptr);
}

TEST_F(InterfacePointerUse, compares_the_pointers_whether_resolved_or_not)
{
    CPINQFUnknown const resolved(&object);
    CPINQFUnknown raw;
    write_raw(raw, object);
    CPINQFUnknown const another(&other);
    journal.take();
    EXPECT_TRUE(resolved == raw);
    EXPECT_FALSE(resolved != raw);
    EXPECT_FALSE(resolved == another);
    EXPECT_TRUE(resolved != another);
    EXPECT_EQ(word_of(raw), raw_word(&object));
    EXPECT_EQ(journal.take(), Calls{});
}

TEST_F(InterfacePointerUse, empty_handles_are_equal_whatever_their_word)
{
    CPINQFUnknown const empty;
    CPINQFUnknown zero;
    write_zero(zero);
    EXPECT_TRUE(empty == zero);
    EXPECT_FALSE(zero != empty);
    EXPECT_FALSE(empty == CPINQFUnknown(&object));
}

} // namespace
