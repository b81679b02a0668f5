#include "ORVA/Buffers/PlainMemory.h"
#include "ORVA/Threading/Event.h"
#include "ORVA/Threading/MultipleEvent.h"

#include "support/AllocationFailure.h"
#include "support/LogRecorder.h"
#include "threading/event_threads.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <type_traits>
#include <utility>

// What the two event handles have in common, and the vector of events.
namespace
{

using namespace ORVA::Buffers;
using namespace events;
using support::AllocationFailure;

struct Single
{
    using Handle = CPEvent;
    using Object = _cEvent;
    static constexpr tagCPOVTABL const& table = _vtbl_cEvent;
    static constexpr auto create = &_create_cEvent;
    static constexpr auto finalize = &_finalize_cEvent;
    static constexpr _cEvent::eEventState created = _cEvent::eEventInvalid;
};

struct Multiple
{
    using Handle = CPMultipleEvent;
    using Object = _cMultipleEvent;
    static constexpr tagCPOVTABL const& table = _vtbl_cMultipleEvent;
    static constexpr auto create = &_create_cMultipleEvent;
    static constexpr auto finalize = &_finalize_cMultipleEvent;
    static constexpr _cEvent::eEventState created = _cEvent::eEventReset;
};

template <class Kind>
class EventHandle : public testing::Test
{
};

struct KindNames
{
    template <class Kind>
    static std::string GetName(int)
    {
        return std::is_same_v<Kind, Single> ? "CPEvent" : "CPMultipleEvent";
    }
};

using Kinds = testing::Types<Single, Multiple>;
TYPED_TEST_SUITE(EventHandle, Kinds, KindNames);

TYPED_TEST(EventHandle, is_one_pointer_and_not_made_by_accident)
{
    using Handle = typename TypeParam::Handle;
    EXPECT_TRUE((std::is_base_of_v<CPObjectMemory, Handle>));
    EXPECT_EQ(sizeof(Handle), sizeof(void*));
    EXPECT_FALSE((std::is_convertible_v<bool, Handle>));
}

TYPED_TEST(EventHandle, type_table_has_create_no_clone_finalize_and_no_interface)
{
    EXPECT_EQ(TypeParam::table._create, TypeParam::create);
    EXPECT_TRUE(TypeParam::table._clone == nullptr);
    EXPECT_EQ(TypeParam::table._finalize, TypeParam::finalize);
    EXPECT_EQ(TypeParam::table._interface, &CPObjectMemory::_nointerface);
    EXPECT_EQ(TypeParam::Handle::GetTypeID(), &TypeParam::table);
}

TYPED_TEST(EventHandle, create_and_finalize_work_in_place_and_ignore_the_size)
{
    using Object = typename TypeParam::Object;
    for (unsigned long const size : {0UL, sizeof(Object), 0xFFFFFFFFFFFFFFFFUL})
    {
        alignas(16) unsigned char memory[sizeof(Object) + 16];
        std::memset(memory, 0xA5, sizeof(memory));
        TypeParam::table._create(memory, size);
        auto* const object = reinterpret_cast<Object*>(memory);
        EXPECT_EQ(object->getState(), TypeParam::created);
        EXPECT_EQ(Look::value(*object), static_cast<unsigned long>(-2L));
        TypeParam::table._finalize(memory, size);
        for (unsigned long i = sizeof(Object); i < sizeof(memory); ++i)
            EXPECT_EQ(memory[i], 0xA5);
    }
}

TYPED_TEST(EventHandle, is_made_with_one_allocation_of_the_objects_size)
{
    AllocationFailure const count(0);
    typename TypeParam::Handle const handle(true);
    EXPECT_EQ(count.attempts(), 1U);
    EXPECT_EQ(handle.lockcnt(), 1U);
    EXPECT_EQ(handle.GetSize(), sizeof(typename TypeParam::Object));
    CPObjectMemory const& untyped = handle;
    EXPECT_EQ(untyped.GetTypeID(), TypeParam::Handle::GetTypeID());
}

TYPED_TEST(EventHandle, copies_share_one_object_and_moving_copies)
{
    using Handle = typename TypeParam::Handle;
    Handle first(true);
    Handle const constructed(first);
    Handle assigned(false);
    CPObjectMemory const old = assigned;
    assigned = first;
    EXPECT_EQ(old.lockcnt(), 1U);
    EXPECT_EQ(first.lockcnt(), 3U);
    Handle const moved(std::move(first));
    EXPECT_EQ(first.lockcnt(), 4U);
    EXPECT_EQ(first.get_ptr(), moved.get_ptr());
    Handle& same = assigned;
    assigned = same;
    EXPECT_EQ(first.lockcnt(), 4U);
}

TYPED_TEST(EventHandle, takes_a_block_of_its_own_type_only)
{
    using Handle = typename TypeParam::Handle;
    Handle const own(true);
    CPObjectMemory const untyped = own;
    EXPECT_EQ(Handle(untyped).get_ptr(), own.get_ptr());
    CPPlainMemory other;
    ASSERT_EQ(other.Alloc(4096), 1);
    EXPECT_FALSE(Handle(static_cast<CPObjectMemory const&>(other)));
    EXPECT_FALSE(Handle(CPObjectMemory::pnull));
    EXPECT_EQ(bool(Handle(CPObjectMemory(CPEvent(true)))), Handle::GetTypeID() == CPEvent::GetTypeID());
    EXPECT_EQ(bool(Handle(CPObjectMemory(CPMultipleEvent(true)))), Handle::GetTypeID() == CPMultipleEvent::GetTypeID());

    Handle target(true);
    target = untyped;
    EXPECT_EQ(target.get_ptr(), own.get_ptr());
    target = static_cast<CPObjectMemory const&>(other);
    EXPECT_FALSE(target);
}

TYPED_TEST(EventHandle, clone_is_refused_with_a_report)
{
    support::LogRecorder recorder;
    typename TypeParam::Handle handle(true);
    EXPECT_EQ(handle.clone(), 0);
    EXPECT_EQ(recorder.take(),
              support::LogMessages{support::illegal_point("CPObjectMemory::clone: Class does not allow cloning")});
    EXPECT_EQ(handle.queryinterface(handle, _nqfUID{}), -1);
}

TEST(EventHandleOfOne, argument_chooses_manual_reset_or_pulse)
{
    EXPECT_EQ(CPEvent(true).GetHandle()->getState(), _cEvent::eEventReset);
    EXPECT_EQ(CPEvent(false).GetHandle()->getState(), _cEvent::eEventPulse);
    CPEvent const event(true);
    EXPECT_EQ(static_cast<void const*>(event.GetHandle()), event.get_cptr());
}

TEST(EventHandleOfOne, equality_is_of_blocks)
{
    CPEvent const first(true);
    CPEvent const second(true);
    CPEvent const copy = first;
    EXPECT_TRUE(first == copy);
    EXPECT_FALSE(first == second);
    EXPECT_TRUE(CPEvent(CPObjectMemory::pnull) == CPEvent(CPObjectMemory::pnull));
    EXPECT_FALSE(first == CPEvent(CPObjectMemory::pnull));
}

TEST(EventHandleOfOne, copies_signal_one_event)
{
    CPEvent const first(true);
    CPEvent const copy = first;
    EXPECT_TRUE(copy.Set());
    EXPECT_EQ(wait(first, no_limit), 0);
    EXPECT_TRUE(first.Reset());
    EXPECT_EQ(copy.Wait(0), -1);
}

TEST(EventHandleOfOne, set_and_wait_are_the_virtual_ones)
{
    struct Virtual : _cEvent
    {
        bool Set(_cEvent* pSource) override { return pSource == nullptr; }
        long Wait(unsigned int milliseconds) override { return static_cast<long>(milliseconds) + 100; }
    };
    CPEvent const event(true);
    _cEvent* const plain = event.GetHandle();
    plain->_cEvent::~_cEvent();
    auto* const replaced = new (event.get_ptr(), _nqfDebugLevel(0)) Virtual();
    EXPECT_TRUE(event.Set());
    EXPECT_EQ(event.Wait(11), 111);
    replaced->_cEvent::~_cEvent();
    new (event.get_ptr(), _nqfDebugLevel(0)) _cEvent();
}

void expect_quiet_refusals(CPEvent const& event)
{
    EXPECT_FALSE(event);
    EXPECT_TRUE(event.GetHandle() == nullptr);
    EXPECT_FALSE(event.Set());
    EXPECT_FALSE(event.Reset());
    for (unsigned int const timeout : {0U, 1U, no_limit})
        EXPECT_EQ(wait(event, timeout), -2);
}

void expect_quiet_refusals(CPMultipleEvent const& event)
{
    CPEvent const single(true);
    EXPECT_FALSE(event);
    EXPECT_FALSE(event.Attach(single));
    EXPECT_FALSE(event.Detach(single));
    EXPECT_FALSE(event.Reset(0));
    for (unsigned int const timeout : {0U, 1U, no_limit})
        EXPECT_EQ(wait(event, timeout), -2);
}

TYPED_TEST(EventHandle, made_without_memory_is_empty_and_refuses_quietly)
{
    support::LogRecorder recorder;
    using Handle = typename TypeParam::Handle;
    for (bool const argument : {true, false})
    {
        auto const handle = [argument]
        {
            AllocationFailure const failure(1);
            return std::make_unique<Handle>(argument);
        }();
        expect_quiet_refusals(*handle);
        expect_quiet_refusals(Handle(*handle));
    }
    Handle freed(true);
    freed.free();
    expect_quiet_refusals(freed);
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(EventVector, makes_a_manual_reset_event_in_each_slot)
{
    CPObjectVector<CPEvent> vector;
    ASSERT_EQ(vector.Alloc(3), 1);
    for (CPEvent const& event : vector)
    {
        ASSERT_TRUE(event);
        EXPECT_EQ(event.lockcnt(), 1U);
        EXPECT_EQ(event.GetHandle()->getState(), _cEvent::eEventReset);
    }
    EXPECT_FALSE(vector[0] == vector[1]);
}

TEST(EventVector, table_creates_copies_and_destroys_events)
{
    tagCPOVTABL const& table = CPObjectVector<CPEvent>::_vtbl;
    EXPECT_EQ(table._interface, &CPObjectMemory::_nointerface);
    alignas(8) unsigned char made[2 * sizeof(CPEvent)];
    alignas(8) unsigned char copied[2 * sizeof(CPEvent)];
    table._create(made, sizeof(made));
    auto const* const events = reinterpret_cast<CPEvent const*>(made);
    EXPECT_EQ(events[1].GetHandle()->getState(), _cEvent::eEventReset);
    table._clone(copied, made, sizeof(copied));
    auto const* const copies = reinterpret_cast<CPEvent const*>(copied);
    EXPECT_TRUE(copies[0] == events[0] && copies[1] == events[1]);
    EXPECT_EQ(events[1].lockcnt(), 2U);
    table._finalize(made, sizeof(made));
    EXPECT_EQ(copies[1].lockcnt(), 1U);
    table._finalize(copied, sizeof(copied));
}

TEST(EventVector, moves_its_elements_by_bytes)
{
    EXPECT_TRUE(MovesByBytes<CPEvent>::value);
    CPObjectVector<CPEvent> vector;
    CPEvent const event(true);
    for (unsigned long index = 0; index < 40; ++index)
        ASSERT_EQ(vector.Insert(event, 0), 1);
    EXPECT_EQ(event.lockcnt(), 41U);
    EXPECT_EQ(vector.GetAllocSize(), 48 * sizeof(CPEvent));
}

} // namespace
