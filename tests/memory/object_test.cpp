#include "ORVA/Buffers/Object.h"
#include "ORVA/Buffers/PlainMemory.h"
#include "support/AllocationFailure.h"
#include "support/BlockProbe.h"
#include "support/CountedElement.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <mutex>
#include <type_traits>

namespace
{

using namespace support;
using ORVA::Buffers::CPIObject;
using ORVA::Buffers::CPObject;

struct Point
{
    long x = 3;
    long y = 4;
};

struct Resource
{
    std::mutex lock;
};

// Brings its own placement form, which must not be taken for the library's.
struct OwnNew
{
    static void* operator new(unsigned long) = delete;
    static void operator delete(void*) {}
    int value = 5;
};

// Nothing throws when it is not the first thing that the test does with it, and an object that was never constructed
// may be destroyed: the block of one whose constructor threw is destroyed all the same.
struct Thrower
{
    Thrower()
    {
        if (fails)
            throw ElementError();
    }
    inline static bool fails = false;
};

struct Exposing
{
    long value = 0;
    void* queryInterface(_nqfUID const& uid) const { return uid.Data1 == 7 ? const_cast<long*>(&value) : nullptr; }
};

class Object : public testing::Test
{
protected:
    void SetUp() override { CountedElement::reset(); }
    void TearDown() override
    {
        EXPECT_EQ(CountedElement::live(), 0);
        EXPECT_EQ(recorder.take(), LogMessages()) << "a report that the test does not state";
    }
    LogRecorder recorder;
};

static_assert(sizeof(CPObject<Point>) == sizeof(void*) && !std::is_polymorphic_v<CPObject<Point>>);
static_assert(sizeof(CPIObject<Exposing>) == sizeof(void*) && !std::is_polymorphic_v<CPIObject<Exposing>>);

TEST_F(Object, create_makes_the_object_in_an_empty_handle)
{
    CPObject<Point> handle;
    EXPECT_FALSE(handle);
    Point* const point = handle.create();
    ASSERT_NE(point, nullptr);
    EXPECT_EQ(point, handle.get_ptr());
    EXPECT_EQ(point->x, 3);
    EXPECT_EQ(point->y, 4);
    EXPECT_EQ(handle.GetSize(), sizeof(Point));
    EXPECT_EQ(handle.GetAllocSize(), sizeof(Point));
    EXPECT_EQ(handle.lockcnt(), 1U);
    EXPECT_TRUE(handle.IsType(&CPObject<Point>::_vtbl));
    EXPECT_EQ(CPObject<Point>::GetTypeID(), &CPObject<Point>::_vtbl);
    EXPECT_EQ(handle->y, 4);
    EXPECT_EQ((*handle).x, 3);
}

TEST_F(Object, create_gives_the_object_that_is_there)
{
    CPObject<CountedElement> handle;
    CountedElement* const element = handle.create();
    ASSERT_NE(element, nullptr);
    CPObject<CountedElement> other(handle);
    EXPECT_EQ(handle.create(), element);
    EXPECT_EQ(other.create(), element);
    EXPECT_EQ(CountedElement::counters().made, 1U);
    EXPECT_EQ(handle.lockcnt(), 2U);
}

TEST_F(Object, create_on_another_types_block_gives_its_payload)
{
    CPObjectMemory foreign;
    ASSERT_EQ(foreign.Alloc(sizeof(CountedElement), &ORVA::Buffers::CPPlainMemory::_vtbl), 1);
    CPObject<CountedElement> handle;
    handle.CopyCPMemory(foreign);
    EXPECT_EQ(handle.create(), foreign.get_ptr()) << "the type is not tested";
    EXPECT_EQ(CountedElement::counters().made, 0U);
    EXPECT_EQ(foreign.lockcnt(), 2U);
}

TEST_F(Object, create_without_memory_gives_null)
{
    CPObject<CountedElement> handle;
    AllocationFailure const failure(1);
    EXPECT_EQ(handle.create(), nullptr);
    EXPECT_EQ(failure.failures(), 1U);
    EXPECT_FALSE(handle);
    EXPECT_EQ(CountedElement::counters().made, 0U);
}

TEST_F(Object, a_constructor_that_throws_passes_its_exception_and_the_block_stays)
{
    CPObject<Thrower> handle;
    Thrower::fails = true;
    EXPECT_THROW(handle.create(), ElementError);
    Thrower::fails = false;
    EXPECT_TRUE(handle);
    EXPECT_EQ(handle.lockcnt(), 1U);
    EXPECT_EQ(handle.GetSize(), sizeof(Thrower));
    EXPECT_TRUE(handle.IsType(&CPObject<Thrower>::_vtbl));
    EXPECT_EQ(handle.create(), handle.get_ptr()) << "taken for the object from then on";
}

TEST_F(Object, the_last_handle_destroys_the_object)
{
    CPObject<CountedElement> handle;
    handle.create()->set_value(6);
    {
        CPObjectMemory const untyped(handle);
        handle.free();
        EXPECT_EQ(CountedElement::live(), 1);
    }
    EXPECT_EQ(CountedElement::counters().order, (Calls{"make 0", "destroy 6"}));
}

TEST_F(Object, clone_copies_the_object)
{
    CPObject<CountedElement> handle;
    handle.create()->set_value(6);
    CPObject<CountedElement> other(handle);
    EXPECT_EQ(other.clone(), 1);
    EXPECT_FALSE(other == handle);
    EXPECT_EQ(other->value(), 6);
    other->set_value(7);
    EXPECT_EQ(handle->value(), 6);
    EXPECT_EQ(CountedElement::counters().copied, 1U);
}

TEST_F(Object, the_operations_of_the_table_ignore_the_size)
{
    alignas(CountedElement) unsigned char first[sizeof(CountedElement)];
    alignas(CountedElement) unsigned char second[sizeof(CountedElement)];
    tagCPOVTABL const& table = CPObject<CountedElement>::_vtbl;
    table._create(first, 0);
    table._clone(second, first, 1000);
    EXPECT_EQ(CountedElement::live(), 2);
    table._finalize(second, 0);
    table._finalize(first, 1000);
    EXPECT_EQ(CountedElement::counters().order, (Calls{"make 0", "copy 0", "destroy 0", "destroy 0"}));
    EXPECT_EQ(table._interface, &CPObjectMemory::_nointerface);
}

TEST_F(Object, one_that_cannot_be_copied_cannot_be_cloned)
{
    EXPECT_EQ(CPObject<Resource>::_vtbl._clone, nullptr);
    CPObject<Resource> handle;
    ASSERT_NE(handle.create(), nullptr);
    EXPECT_EQ(handle.clone(), 0);
    EXPECT_EQ(recorder.take(), LogMessages{illegal_point("CPObjectMemory::clone: Class does not allow cloning")});
}

TEST_F(Object, a_class_with_an_operator_new_of_its_own_is_constructed_in_place)
{
    CPObject<OwnNew> handle;
    OwnNew* const object = handle.create();
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object, handle.get_ptr());
    EXPECT_EQ(object->value, 5);
}

TEST_F(Object, is_built_from_and_assigned_blocks_of_its_type_only)
{
    CPObject<Point> source;
    ASSERT_NE(source.create(), nullptr);
    CPObjectMemory const own(source);
    CPObject<Point> handle(own);
    EXPECT_TRUE(handle == own);

    CPObject<Exposing> foreign;
    ASSERT_NE(foreign.create(), nullptr);
    EXPECT_FALSE(CPObject<Point>(static_cast<CPObjectMemory const&>(foreign)));
    handle = static_cast<CPObjectMemory const&>(foreign);
    EXPECT_FALSE(handle);
    handle = own;
    EXPECT_TRUE(handle == own);
    handle = CPObjectMemory();
    EXPECT_FALSE(handle);

    CPObjectMemory small;
    ASSERT_EQ(small.Alloc(sizeof(Point), &CPObject<Point>::_vtbl), 1);
    ASSERT_EQ(small.SetSize(sizeof(Point) - 1), 1);
    EXPECT_FALSE(CPObject<Point>(small)) << "too small for the object";
}

TEST_F(Object, there_is_one_table_for_each_type)
{
    void const* const tables[] = {&CPObject<Point>::_vtbl, &CPObject<Exposing>::_vtbl, &CPIObject<Exposing>::_vtbl,
                                  &CPObject<CountedElement>::_vtbl};
    for (void const* const& table : tables)
        for (void const* const& other : tables)
            EXPECT_EQ(table == other, &table == &other);
    CPObject<Point> first;
    CPObject<Point> second;
    first.create();
    second.create();
    EXPECT_EQ(header_of(first)->pVTbl, header_of(second)->pVTbl);
}

TEST_F(Object, that_exposes_interfaces_is_asked_for_them)
{
    CPIObject<Exposing> handle;
    Exposing* const object = handle.create();
    ASSERT_NE(object, nullptr);
    object->value = 12;
    EXPECT_TRUE(handle.IsType(&CPIObject<Exposing>::_vtbl));
    EXPECT_EQ(CPIObject<Exposing>::_vtbl._interface(object, _nqfUID{7, 0, 0, {}}), &object->value);
    EXPECT_EQ(CPIObject<Exposing>::_vtbl._interface(object, _nqfUID{8, 0, 0, {}}), nullptr);
    EXPECT_EQ(handle->value, 12);

    CPIObject<Exposing> copy(handle);
    EXPECT_EQ(copy.clone(), 1);
    EXPECT_EQ((*copy).value, 12);
    EXPECT_FALSE(copy == handle);
    copy = static_cast<CPObjectMemory const&>(CPObjectMemory());
    EXPECT_FALSE(copy);
}

} // namespace
