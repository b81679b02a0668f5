#include "ORVA/Buffers/HandleVector.h"
#include "support/BlockProbe.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <climits>
#include <type_traits>

namespace
{

using namespace support;
using ORVA::Buffers::CPObjectVector;
using ORVA::Buffers::CPOMVector;

static_assert(sizeof(CPOMVector) == sizeof(void*) && !std::is_polymorphic_v<CPOMVector>);
static_assert(std::is_base_of_v<CPObjectVector<CPObjectMemory>, CPOMVector>);

class HandleVector : public testing::Test
{
protected:
    void SetUp() override
    {
        BlockProbe::reset();
        for (CPObjectMemory& item : items)
            ASSERT_EQ(item.Alloc(8, &BlockProbe::table), 1);
    }
    void TearDown() override
    {
        EXPECT_EQ(recorder.take(), LogMessages()) << "a report that the test does not state";
        for (CPObjectMemory& item : items)
            EXPECT_EQ(item.lockcnt(), 1U) << "every element has been released";
    }
    CPOMVector of_two() const
    {
        CPOMVector vector;
        EXPECT_EQ(vector.Insert(items[0], ULONG_MAX), 1);
        EXPECT_EQ(vector.Insert(items[1], ULONG_MAX), 1);
        return vector;
    }
    LogRecorder recorder;
    CPObjectMemory items[3];
};

TEST_F(HandleVector, is_a_vector_of_handles_of_any_type)
{
    CPOMVector vector = of_two();
    EXPECT_TRUE(vector.IsType(&CPObjectVector<CPObjectMemory>::_vtbl));
    EXPECT_EQ(vector.GetCount(), 2U);
    EXPECT_EQ(vector.GetSize(), 16U);
    EXPECT_EQ(vector.GetAllocSize(), 128U);
    EXPECT_TRUE(vector[0] == items[0]);
    EXPECT_TRUE(vector[1] == items[1]);
    EXPECT_EQ(items[0].lockcnt(), 2U);
    EXPECT_EQ(vector.Insert(CPObjectMemory(), 1), 1) << "an empty handle is an element too";
    EXPECT_FALSE(vector[1]);
    EXPECT_EQ(vector.Delete(0, true), 1);
    EXPECT_EQ(items[0].lockcnt(), 1U);
    EXPECT_TRUE(vector[1] == items[1]);
    EXPECT_EQ(vector.Alloc(3), 1);
    for (CPObjectMemory const& element : vector)
        EXPECT_FALSE(element);
}

TEST_F(HandleVector, a_copy_is_a_second_handle_and_no_snapshot)
{
    CPOMVector vector = of_two();
    CPOMVector const copy(vector);
    EXPECT_TRUE(copy == vector);
    EXPECT_EQ(items[0].lockcnt(), 2U) << "no element is copied";
    EXPECT_EQ(vector.Insert(items[2], 0), 1);
    EXPECT_TRUE(copy[0] == items[2]);
}

TEST_F(HandleVector, construction_tests_type_and_whole_handles)
{
    CPOMVector vector = of_two();
    EXPECT_TRUE(CPOMVector(static_cast<CPObjectMemory const&>(vector)) == vector);
    EXPECT_FALSE(CPOMVector(CPObjectMemory()));
    EXPECT_FALSE(CPOMVector(items[0])) << "a block of another type";
    ASSERT_EQ(vector.SetSize(15), 1);
    EXPECT_FALSE(CPOMVector(static_cast<CPObjectMemory const&>(vector)));
    EXPECT_FALSE(CPOMVector(vector)) << "the copy constructor tests as well";
    ASSERT_EQ(vector.SetSize(16), 1);
    EXPECT_TRUE(CPOMVector(vector) == vector);
    CPObjectMemory room;
    ASSERT_EQ(room.Reserve(16, &CPObjectVector<CPObjectMemory>::_vtbl), 1);
    EXPECT_TRUE(CPOMVector(room) == room) << "a vector without elements";
}

TEST_F(HandleVector, assignment_of_an_untyped_handle_tests_it)
{
    CPOMVector const source = of_two();
    CPOMVector vector;
    EXPECT_EQ(&(vector = static_cast<CPObjectMemory const&>(source)), &vector);
    EXPECT_TRUE(vector == source);
    vector = items[0];
    EXPECT_FALSE(vector) << "a refused source empties the handle";
    EXPECT_EQ(source.lockcnt(), 1U);
    vector = source;
    vector = CPObjectMemory();
    EXPECT_FALSE(vector);

    CPOMVector broken = of_two();
    ASSERT_EQ(broken.SetSize(9), 1);
    vector = source;
    vector = static_cast<CPObjectMemory const&>(broken);
    EXPECT_FALSE(vector);
    ASSERT_EQ(broken.SetSize(16), 1);
}

TEST_F(HandleVector, assignment_of_a_handle_vector_does_not_test)
{
    CPOMVector broken = of_two();
    ASSERT_EQ(broken.SetSize(9), 1);
    CPOMVector vector;
    EXPECT_EQ(&(vector = broken), &vector);
    EXPECT_TRUE(vector == broken);
    CPOMVector foreign;
    foreign.CopyCPMemory(items[0]);
    vector = foreign;
    EXPECT_TRUE(vector == items[0]);
    ASSERT_EQ(broken.SetSize(16), 1);
}

// A block of another type that got into a handle vector must be refused by the copy constructor, and its own handle
// releases it by its own type.
TEST_F(HandleVector, the_copy_constructor_refuses_a_foreign_block)
{
    CPOMVector foreign;
    foreign.CopyCPMemory(items[0]);
    CPOMVector const copy(foreign);
    EXPECT_FALSE(copy);
    EXPECT_EQ(items[0].lockcnt(), 2U);
}

// The element is destroyed in its place; the vector becomes shorter, and is closed up, afterwards.
TEST_F(HandleVector, an_element_that_is_deleted_goes_before_the_vector_changes)
{
    CPOMVector vector = of_two();
    CPObjectMemory last;
    ASSERT_EQ(last.Alloc(16, &BlockProbe::table), 1);
    ASSERT_EQ(vector.Insert(last, 0), 1);
    last.free();
    unsigned long count = 0;
    bool in_place = false;
    BlockProbe::records().on_finalize = [&]
    {
        count = vector.GetCount();
        in_place = vector[0].GetSize() == 16 && vector[1] == items[0];
    };
    EXPECT_EQ(vector.Delete(0, true), 1);
    BlockProbe::records().on_finalize = nullptr;
    EXPECT_EQ(count, 3U);
    EXPECT_TRUE(in_place);
    EXPECT_EQ(vector.GetCount(), 2U);
}

TEST_F(HandleVector, vectors_nest)
{
    {
        CPOMVector outer;
        EXPECT_EQ(outer.Insert(of_two(), 0), 1);
        CPOMVector const inner(outer[0]);
        EXPECT_EQ(inner.GetCount(), 2U);
        EXPECT_EQ(inner.lockcnt(), 2U);
    }
    EXPECT_EQ(items[1].lockcnt(), 1U);
}

} // namespace
