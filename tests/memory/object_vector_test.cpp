#include "ORVA/Buffers/ObjectVector.h"
#include "support/AllocationFailure.h"
#include "support/BlockProbe.h"
#include "support/CountedVector.h"

#include <gtest/gtest.h>

#include <climits>
#include <type_traits>

namespace
{

using namespace support;
using ORVA::Buffers::CPObjectVector;
using Vector = CPObjectVector<CountedElement>;

Vector filled(int count)
{
    return counted_vector<CountedElement>(count);
}

using ObjectVector = CountedVectorTest;

static_assert(sizeof(Vector) == sizeof(void*) && !std::is_polymorphic_v<Vector>);

TEST_F(ObjectVector, the_table_works_on_whole_elements_in_order)
{
    tagCPOVTABL const& table = Vector::_vtbl;
    unsigned long const size = 3 * sizeof(CountedElement) + sizeof(CountedElement) - 1;
    alignas(CountedElement) unsigned char first[size];
    alignas(CountedElement) unsigned char second[size];
    table._create(first, size);
    for (int index = 0; index < 3; ++index)
        reinterpret_cast<CountedElement*>(first)[index].set_value(index + 1);
    table._clone(second, first, size);
    table._finalize(first, size);
    EXPECT_EQ(CountedElement::counters().order, (Calls{"make 0", "make 0", "make 0", "copy 1", "copy 2", "copy 3",
                                                       "destroy 1", "destroy 2", "destroy 3"}));
    table._finalize(second, size);
    table._create(first, 0);
    table._finalize(first, sizeof(CountedElement) - 1);
    EXPECT_EQ(CountedElement::counters().made, 3U);
    EXPECT_EQ(table._interface, &CPObjectMemory::_nointerface);
}

TEST_F(ObjectVector, each_element_type_has_one_table)
{
    EXPECT_NE(&Vector::_vtbl, &CPObjectVector<CPObjectMemory>::_vtbl);
    Vector first = filled(1);
    Vector second;
    ASSERT_EQ(second.Alloc(1), 1);
    EXPECT_EQ(first.GetTypeID(), &Vector::_vtbl);
    EXPECT_EQ(second.GetTypeID(), &Vector::_vtbl);
    EXPECT_EQ(Vector().GetTypeID(), nullptr) << "an empty handle is of no type";
}

TEST_F(ObjectVector, alloc_makes_exactly_the_elements)
{
    Vector vector = filled(2);
    CPObjectMemory const old(vector);
    EXPECT_EQ(vector.Alloc(5), 1);
    EXPECT_EQ(old.lockcnt(), 1U);
    EXPECT_EQ(vector.GetCount(), 5U);
    EXPECT_EQ(vector.GetSize(), 5 * sizeof(CountedElement));
    EXPECT_EQ(vector.GetAllocSize(), 5 * sizeof(CountedElement));
    EXPECT_EQ(vector.lockcnt(), 1U);
    EXPECT_EQ(values(vector), (Values{0, 0, 0, 0, 0}));
}

TEST_F(ObjectVector, alloc_frees_the_block_first)
{
    Vector vector = filled(1);
    vector[0].set_value(9);
    CountedElement::counters().order.clear();
    EXPECT_EQ(vector.Alloc(1), 1);
    EXPECT_EQ(CountedElement::counters().order, (Calls{"destroy 9", "make 0"}));
}

TEST_F(ObjectVector, alloc_of_none_frees_the_block_and_succeeds)
{
    Vector vector = filled(2);
    EXPECT_EQ(vector.Alloc(0), 1);
    EXPECT_FALSE(vector);
    EXPECT_EQ(vector.GetCount(), 0U);
    EXPECT_EQ(CountedElement::live(), 0);
    EXPECT_EQ(vector.Alloc(0), 1);
}

TEST_F(ObjectVector, alloc_fails_without_memory_and_for_sizes_that_wrap)
{
    Vector vector = filled(2);
    {
        AllocationFailure const failure(1);
        EXPECT_EQ(vector.Alloc(3), 0);
        EXPECT_EQ(failure.failures(), 1U);
    }
    EXPECT_FALSE(vector);
    AllocationFailure const count(0);
    for (unsigned long wanted : {ULONG_MAX, ULONG_MAX / 8, ULONG_MAX / 8 - 3, ULONG_MAX / 8 + 1, ULONG_MAX / 4 + 2})
        EXPECT_EQ(vector.Alloc(wanted), 0) << wanted;
    EXPECT_EQ(count.attempts(), 0U);
    EXPECT_FALSE(vector);
}

TEST_F(ObjectVector, alloc_with_a_constructor_that_throws_keeps_the_elements_made_so_far)
{
    Vector vector;
    CountedElement::counters().throw_on_make = 3;
    EXPECT_THROW(vector.Alloc(5), ElementError);
    EXPECT_EQ(vector.GetCount(), 2U);
    EXPECT_EQ(vector.GetAllocSize(), 5 * sizeof(CountedElement));
}

TEST_F(ObjectVector, delete_destroys_one_element_and_closes_the_gap)
{
    for (unsigned long index = 0; index < 4; ++index)
    {
        Vector vector = filled(4);
        CountedElement::counters().order.clear();
        EXPECT_EQ(vector.Delete(index, true), 1);
        EXPECT_EQ(CountedElement::counters().order, Calls{"destroy " + std::to_string(index)});
        Values expected = sequence(4);
        expected.erase(expected.begin() + static_cast<long>(index));
        EXPECT_EQ(values(vector), expected);
        EXPECT_EQ(vector.GetAllocSize(), 16 * sizeof(CountedElement)) << "the capacity stays";
    }
}

TEST_F(ObjectVector, delete_of_what_is_not_there_gives_0)
{
    Vector empty;
    EXPECT_EQ(empty.Delete(0, true), 0);
    Vector vector = filled(2);
    EXPECT_EQ(vector.Delete(2, true), 0);
    EXPECT_EQ(vector.Delete(ULONG_MAX, true), 0);
    EXPECT_EQ(values(vector), sequence(2));
    EXPECT_EQ(vector.Delete(0, false), 1);
    EXPECT_EQ(vector.Delete(0, false), 1);
    EXPECT_EQ(vector.Delete(0, true), 0) << "a block without elements is not freed";
    EXPECT_TRUE(vector);
}

TEST_F(ObjectVector, delete_of_the_last_element_keeps_or_frees_the_block_as_told)
{
    Vector kept = filled(1);
    EXPECT_EQ(kept.Delete(0, false), 1);
    EXPECT_TRUE(kept);
    EXPECT_EQ(kept.GetSize(), 0U);
    EXPECT_EQ(kept.GetAllocSize(), 16 * sizeof(CountedElement));

    Vector freed = filled(1);
    EXPECT_EQ(freed.Delete(0, true), 1);
    EXPECT_FALSE(freed);

    Vector shared = filled(1);
    Vector const other(shared);
    EXPECT_EQ(shared.Delete(0, true), 1);
    EXPECT_FALSE(shared);
    EXPECT_TRUE(other) << "only this handle becomes empty";
    EXPECT_EQ(other.GetCount(), 0U);
    EXPECT_EQ(other.lockcnt(), 1U);
}

TEST_F(ObjectVector, reserve_makes_room_for_exactly_so_many)
{
    Vector vector;
    EXPECT_EQ(vector.Reserve(5), 1);
    EXPECT_EQ(vector.GetCount(), 0U);
    EXPECT_EQ(vector.GetAllocSize(), 5 * sizeof(CountedElement));
    EXPECT_EQ(vector.lockcnt(), 1U);
    EXPECT_TRUE(vector.IsType(&Vector::_vtbl));
    EXPECT_EQ(CountedElement::counters().made, 0U) << "nothing is constructed";
    for (int value = 0; value < 5; ++value)
        ASSERT_EQ(vector.Insert(CountedElement(value), ULONG_MAX), 1);
    EXPECT_EQ(vector.GetAllocSize(), 5 * sizeof(CountedElement));
    ASSERT_EQ(vector.Insert(CountedElement(5), ULONG_MAX), 1);
    EXPECT_EQ(vector.GetAllocSize(), 21 * sizeof(CountedElement));
    EXPECT_EQ(values(vector), sequence(6));
}

TEST_F(ObjectVector, reserve_up_to_the_elements_in_use_does_nothing)
{
    Vector vector = filled(3);
    AllocationFailure const count(0);
    EXPECT_EQ(vector.Reserve(0), 1);
    EXPECT_EQ(vector.Reserve(3), 1);
    EXPECT_EQ(count.attempts(), 0U);
    EXPECT_EQ(vector.GetAllocSize(), 16 * sizeof(CountedElement));
    Vector empty;
    EXPECT_EQ(empty.Reserve(0), 1);
    EXPECT_FALSE(empty);
}

TEST_F(ObjectVector, reserve_looks_at_the_elements_in_use_and_not_at_the_capacity)
{
    Vector vector = filled(3);
    EXPECT_EQ(vector.Reserve(4), 1);
    EXPECT_EQ(vector.GetAllocSize(), 4 * sizeof(CountedElement)) << "allocates anew, and exactly";
    EXPECT_EQ(values(vector), sequence(3));

    Vector none = filled(1);
    EXPECT_EQ(none.Delete(0, false), 1);
    EXPECT_EQ(none.Reserve(2), 1);
    EXPECT_EQ(none.GetAllocSize(), 2 * sizeof(CountedElement));
}

TEST_F(ObjectVector, reserve_copies_the_elements_to_a_block_of_its_own)
{
    Vector vector = filled(3);
    Vector const other(vector);
    CountedElement::counters().order.clear();
    EXPECT_EQ(vector.Reserve(20), 1);
    EXPECT_EQ(CountedElement::counters().order, (Calls{"copy 0", "copy 1", "copy 2"}));
    EXPECT_EQ(values(vector), sequence(3));
    EXPECT_EQ(values(other), sequence(3));
    EXPECT_EQ(vector.lockcnt(), 1U);
    EXPECT_EQ(other.lockcnt(), 1U);
}

TEST_F(ObjectVector, reserve_rounds_the_used_size_down_to_whole_elements)
{
    Vector vector = filled(3);
    ASSERT_EQ(vector.SetSize(3 * sizeof(CountedElement) + 1), 1);
    EXPECT_EQ(vector.Reserve(20), 1);
    EXPECT_EQ(vector.GetSize(), 3 * sizeof(CountedElement));
}

TEST_F(ObjectVector, reserve_without_memory)
{
    Vector vector = filled(3);
    void const* const elements = vector.get_cptr();
    EXPECT_EQ(vector.Reserve(ULONG_MAX / 2), 0);
    {
        AllocationFailure const failure(1);
        EXPECT_EQ(vector.Reserve(20), 0);
        EXPECT_EQ(failure.failures(), 1U);
    }
    EXPECT_EQ(vector.get_cptr(), elements);
    EXPECT_EQ(values(vector), sequence(3));

    Vector none = filled(1);
    EXPECT_EQ(none.Delete(0, false), 1);
    AllocationFailure const failure(1);
    EXPECT_EQ(none.Reserve(20), 0);
    EXPECT_FALSE(none) << "a block without elements is given up first";
}

TEST_F(ObjectVector, reserve_with_a_copy_that_throws_leaves_the_vector_as_it_was)
{
    Vector vector = filled(3);
    void const* const elements = vector.get_cptr();
    for (unsigned long nth = 1; nth <= 3; ++nth)
    {
        CountedElement::counters().throw_on_copy = nth;
        EXPECT_THROW(vector.Reserve(20), ElementError);
        EXPECT_EQ(vector.get_cptr(), elements);
        EXPECT_EQ(values(vector), sequence(3));
        EXPECT_EQ(CountedElement::live(), 3);
    }
    CountedElement::counters().throw_on_copy = 4;
    EXPECT_EQ(vector.Reserve(20), 1);
    CountedElement::counters().throw_on_copy = 0;
}

TEST_F(ObjectVector, a_clone_has_copies_of_the_elements)
{
    Vector vector = filled(3);
    Vector const other(vector);
    EXPECT_EQ(vector.clone(), 1);
    EXPECT_EQ(vector.GetAllocSize(), 3 * sizeof(CountedElement));
    vector[1].set_value(50);
    EXPECT_EQ(values(other), sequence(3));
    EXPECT_EQ(values(vector), (Values{0, 50, 2}));
}

TEST_F(ObjectVector, is_built_from_and_assigned_vectors_of_its_type_only)
{
    CPObjectMemory const own = filled(2);
    Vector vector(own);
    EXPECT_TRUE(vector == own);
    CPObjectMemory foreign;
    ASSERT_EQ(foreign.Alloc(sizeof(CountedElement), &BlockProbe::table), 1);
    EXPECT_FALSE(Vector(foreign));
    EXPECT_FALSE(Vector(CPObjectMemory()));
    vector = foreign;
    EXPECT_FALSE(vector);
    EXPECT_EQ(own.lockcnt(), 1U);
    vector = own;
    EXPECT_EQ(values(vector), sequence(2));
    vector = CPObjectMemory();
    EXPECT_FALSE(vector);
}

TEST_F(ObjectVector, elements_are_reached_by_index_and_by_iteration)
{
    Vector vector = filled(3);
    Vector const& constant = vector;
    vector[1].set_value(7);
    EXPECT_EQ(constant[1].value(), 7);
    EXPECT_EQ(vector.begin(), vector.get_ptr());
    EXPECT_EQ(vector.end() - vector.begin(), 3);
    EXPECT_EQ(constant.end() - constant.begin(), 3);
    Vector const empty;
    EXPECT_EQ(empty.begin(), empty.end());
    EXPECT_EQ(empty.GetCount(), 0U);
}

// Of one byte, so that 2^32 of them have a size that can be told.
struct CountedByte
{
    CountedByte() { ++made; }
    CountedByte(CountedByte const&) { ++copied; }
    CountedByte& operator=(CountedByte const&) = delete;
    ~CountedByte() { ++destroyed; }

    static unsigned int made;
    static unsigned int copied;
    static unsigned int destroyed;
    unsigned char byte = 0;
};

unsigned int CountedByte::made = 0;
unsigned int CountedByte::copied = 0;
unsigned int CountedByte::destroyed = 0;

TEST(ObjectVectorType, counts_elements_in_32_bits)
{
    tagCPOVTABL const& type = CPObjectVector<CountedByte>::_vtbl;
    alignas(16) unsigned char payload[4] = {};
    alignas(16) unsigned char other[4] = {};
    for (unsigned int beyond : {0U, 3U})
    {
        unsigned long const size = (1UL << 32) + beyond;
        CountedByte::made = CountedByte::copied = CountedByte::destroyed = 0;
        type._create(payload, size);
        EXPECT_EQ(CountedByte::made, beyond);
        type._clone(other, payload, size);
        EXPECT_EQ(CountedByte::copied, beyond);
        type._finalize(payload, size);
        type._finalize(other, size);
        EXPECT_EQ(CountedByte::destroyed, 2 * beyond);
    }
}

} // namespace
