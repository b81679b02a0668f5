#include "ORVA/Buffers/PlainVector.h"
#include "support/AllocationFailure.h"
#include "support/BlockProbe.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <climits>
#include <type_traits>

namespace
{

using namespace support;
using ORVA::Buffers::CPPlainMemory;
using ORVA::Buffers::CPPlainVector;
using Values = std::vector<long>;

// The library's own instantiation holds pointers; the numbers here have the same size.
using Vector = CPPlainVector<long>;

static_assert(sizeof(Vector) == sizeof(void*) && !std::is_polymorphic_v<Vector>);

Values values(Vector const& vector)
{
    return Values(vector.begin(), vector.end());
}

Values sequence(long count)
{
    Values result;
    for (long value = 0; value < count; ++value)
        result.push_back(value);
    return result;
}

Vector filled(long count)
{
    Vector vector;
    for (long value = 0; value < count; ++value)
        EXPECT_EQ(vector.Insert(value, ULONG_MAX), 1);
    return vector;
}

class PlainVector : public testing::Test
{
protected:
    void TearDown() override { EXPECT_EQ(recorder.take(), LogMessages()) << "a report that the test does not state"; }
    LogRecorder recorder;
};

TEST_F(PlainVector, the_first_insertion_makes_a_plain_block_of_128_bytes)
{
    Vector vector;
    EXPECT_EQ(vector.Insert(7, 5), 1);
    EXPECT_EQ(values(vector), Values{7});
    EXPECT_EQ(vector.GetSize(), 8U);
    EXPECT_EQ(vector.GetAllocSize(), 128U);
    EXPECT_EQ(vector.lockcnt(), 1U);
    EXPECT_TRUE(vector.IsType(&CPPlainMemory::_vtbl));
}

TEST_F(PlainVector, holds_pointers)
{
    int targets[3] = {};
    CPPlainVector<int*> vector;
    EXPECT_EQ(vector.Insert(&targets[2], 0), 1);
    EXPECT_EQ(vector.Insert(&targets[0], 0), 1);
    EXPECT_EQ(vector.Insert(&targets[1], 1), 1);
    ASSERT_EQ(vector.GetCount(), 3U);
    for (unsigned long index = 0; index < 3; ++index)
        EXPECT_EQ(vector[index], &targets[index]);
    EXPECT_EQ(vector.GetAllocSize(), 128U);
}

TEST_F(PlainVector, insertion_goes_before_the_element_at_the_index_or_to_the_end)
{
    for (unsigned long index : {0UL, 1UL, 3UL, 4UL, 5UL, 0xFFFFFFFFUL, ULONG_MAX})
    {
        Vector vector = filled(4);
        EXPECT_EQ(vector.Insert(9, index), 1);
        Values expected = sequence(4);
        expected.insert(expected.begin() + static_cast<long>(index < 4 ? index : 4), 9);
        EXPECT_EQ(values(vector), expected) << index;
    }
}

TEST_F(PlainVector, grows_by_128_bytes_at_a_step)
{
    Vector vector;
    AllocationFailure const count(0);
    for (unsigned long size = 0; size < 70; ++size)
    {
        ASSERT_EQ(vector.Insert(static_cast<long>(size), ULONG_MAX), 1);
        EXPECT_EQ(vector.GetSize(), (size + 1) * 8);
        EXPECT_EQ(vector.GetAllocSize(), (size / 16 + 1) * 128);
        EXPECT_EQ(count.attempts(), size / 16 + 1);
    }
    EXPECT_EQ(values(vector), sequence(70));
}

TEST_F(PlainVector, growth_leaves_other_handles_on_the_old_block)
{
    Vector vector = filled(16);
    Vector const other(vector);
    EXPECT_EQ(vector.Insert(16, 16), 1);
    EXPECT_EQ(values(vector), sequence(17));
    EXPECT_EQ(values(other), sequence(16));
    EXPECT_EQ(other.lockcnt(), 1U);
}

TEST_F(PlainVector, insertion_with_room_is_seen_through_other_handles)
{
    Vector vector = filled(2);
    Vector const other(vector);
    EXPECT_EQ(vector.Insert(9, 0), 1);
    EXPECT_EQ(values(other), (Values{9, 0, 1}));
}

TEST_F(PlainVector, an_element_of_the_vector_may_be_inserted_at_every_place)
{
    for (long count : {3L, 16L})
        for (long source = 0; source < count; ++source)
            for (long index = 0; index <= count; ++index)
            {
                Vector vector = filled(count);
                Values expected = sequence(count);
                expected.insert(expected.begin() + index, source);
                ASSERT_EQ(vector.Insert(vector[static_cast<unsigned long>(source)], static_cast<unsigned long>(index)),
                          1);
                ASSERT_EQ(values(vector), expected) << count << ' ' << source << ' ' << index;
            }
}

TEST_F(PlainVector, without_memory_the_vector_is_as_it_was)
{
    Vector empty;
    Vector full = filled(16);
    void const* const elements = full.get_cptr();
    AllocationFailure const failure(1, AllocationFailure::forever);
    EXPECT_EQ(empty.Insert(9, 0), 0);
    EXPECT_EQ(full.Insert(9, 0), 0);
    EXPECT_EQ(failure.failures(), 2U);
    EXPECT_FALSE(empty);
    EXPECT_EQ(full.get_cptr(), elements);
    EXPECT_EQ(values(full), sequence(16));
}

TEST_F(PlainVector, growth_from_a_broken_size_is_to_whole_elements)
{
    Vector vector;
    ASSERT_EQ(vector.Alloc(20), 1);
    std::memset(vector.get_ptr(), 0, 20);
    EXPECT_EQ(vector.Insert(5, 0), 1);
    EXPECT_EQ(vector.GetAllocSize(), (20U + 128U) / 8 * 8);
    EXPECT_EQ(values(vector), (Values{5, 0, 0}));
}

TEST_F(PlainVector, insertion_into_a_static_block_is_reported_and_done)
{
    StaticBlock<16> block(&CPPlainMemory::_vtbl, 8);
    Adopted const original(&block.header);
    Vector vector(original);
    EXPECT_EQ(vector.Insert(3, 0), 1);
    EXPECT_EQ(recorder.take(), LogMessages{failed_condition("m_pMH->lRefCnt>0")});
    EXPECT_EQ(values(vector), (Values{3, 0}));
    EXPECT_EQ(vector.Insert(4, 0), 1);
    EXPECT_EQ(vector.lockcnt(), 1U) << "a full one is left for a block of the heap";
    EXPECT_EQ(values(vector), (Values{4, 3, 0}));
    EXPECT_EQ(block.header.uSize, 16U);
}

TEST_F(PlainVector, is_built_from_and_assigned_plain_blocks_only)
{
    CPObjectMemory const own = filled(2);
    Vector vector(own);
    EXPECT_EQ(values(vector), sequence(2));
    CPObjectMemory foreign;
    ASSERT_EQ(foreign.Alloc(8, &BlockProbe::table), 1);
    EXPECT_FALSE(Vector(foreign));
    vector = foreign;
    EXPECT_FALSE(vector);
    vector = own;
    EXPECT_TRUE(vector == own);
    foreign.free();
    BlockProbe::reset();
}

TEST_F(PlainVector, elements_are_reached_by_index_and_by_iteration)
{
    Vector vector = filled(3);
    Vector const& constant = vector;
    vector[1] = 7;
    EXPECT_EQ(constant[1], 7);
    EXPECT_EQ(vector.end() - vector.begin(), 3);
    EXPECT_EQ(Vector().GetCount(), 0U);
}

} // namespace
