#include "ORVA/Buffers/ObjectVector.h"
#include "support/AllocationFailure.h"
#include "support/BlockProbe.h"
#include "support/CountedElement.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <climits>
#include <type_traits>

namespace
{

using namespace support;
using ORVA::Buffers::CPObjectVector;
using Vector = CPObjectVector<CountedElement>;
using Values = std::vector<int>;

Values values(Vector const& vector)
{
    Values result;
    for (CountedElement const& element : vector)
        result.push_back(element.value());
    return result;
}

Vector filled(int count)
{
    Vector vector;
    for (int value = 0; value < count; ++value)
        EXPECT_EQ(vector.Insert(CountedElement(value), ULONG_MAX), 1);
    return vector;
}

Values sequence(int count)
{
    Values result;
    for (int value = 0; value < count; ++value)
        result.push_back(value);
    return result;
}

class ObjectVector : public testing::Test
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

TEST_F(ObjectVector, the_first_insertion_makes_room_for_16_and_goes_to_0)
{
    Vector vector;
    EXPECT_EQ(vector.Insert(CountedElement(4), 5), 1) << "the index is ignored";
    EXPECT_EQ(values(vector), Values{4});
    EXPECT_EQ(vector.GetSize(), sizeof(CountedElement));
    EXPECT_EQ(vector.GetAllocSize(), 16 * sizeof(CountedElement));
    EXPECT_EQ(vector.lockcnt(), 1U);
    EXPECT_TRUE(vector.IsType(&Vector::_vtbl));
}

TEST_F(ObjectVector, insertion_goes_before_the_element_at_the_index)
{
    for (unsigned long index = 0; index <= 4; ++index)
    {
        Vector vector = filled(4);
        EXPECT_EQ(vector.Insert(CountedElement(9), index), 1);
        Values expected = sequence(4);
        expected.insert(expected.begin() + static_cast<long>(index), 9);
        EXPECT_EQ(values(vector), expected);
    }
}

TEST_F(ObjectVector, an_index_past_the_end_appends)
{
    for (unsigned long index : {4UL, 5UL, 16UL, 0xFFFFFFFFUL, ULONG_MAX, static_cast<unsigned long>(-1)})
    {
        Vector vector = filled(4);
        EXPECT_EQ(vector.Insert(CountedElement(9), index), 1);
        EXPECT_EQ(values(vector), (Values{0, 1, 2, 3, 9})) << index;
    }
}

TEST_F(ObjectVector, insertion_copies_the_item_alone)
{
    Vector vector = filled(4);
    CountedElement const item(9);
    CountedElement::counters().order.clear();
    EXPECT_EQ(vector.Insert(item, 1), 1);
    EXPECT_EQ(CountedElement::counters().order, Calls{"copy 9"}) << "elements are shifted by bytes";
}

TEST_F(ObjectVector, grows_by_16_elements_at_a_step)
{
    Vector vector;
    AllocationFailure const count(0);
    for (unsigned long size = 0; size < 70; ++size)
    {
        ASSERT_EQ(vector.Insert(CountedElement(static_cast<int>(size)), ULONG_MAX), 1);
        EXPECT_EQ(vector.GetAllocSize(), (size / 16 + 1) * 16 * sizeof(CountedElement));
        EXPECT_EQ(count.attempts(), size / 16 + 1);
    }
    EXPECT_EQ(values(vector), sequence(70));
}

TEST_F(ObjectVector, the_17th_insertion_leaves_other_handles_on_16_elements)
{
    Vector vector = filled(16);
    Vector const other(vector);
    EXPECT_EQ(vector.Insert(CountedElement(16), 16), 1);
    EXPECT_FALSE(vector == other);
    EXPECT_EQ(values(vector), sequence(17));
    EXPECT_EQ(values(other), sequence(16));
    EXPECT_EQ(vector.lockcnt(), 1U);
    EXPECT_EQ(other.lockcnt(), 1U);
    EXPECT_EQ(vector.GetAllocSize(), 32 * sizeof(CountedElement));
    EXPECT_EQ(other.GetAllocSize(), 16 * sizeof(CountedElement));
}

TEST_F(ObjectVector, growth_copies_each_element_once_in_order_and_destroys_the_old_ones)
{
    Vector vector = filled(16);
    CountedElement const item(99);
    CountedElement::counters().order.clear();
    EXPECT_EQ(vector.Insert(item, 3), 1);
    Calls expected;
    for (int value = 0; value < 16; ++value)
        expected.push_back("copy " + std::to_string(value));
    expected.push_back("copy 99");
    for (int value = 0; value < 16; ++value)
        expected.push_back("destroy " + std::to_string(value));
    EXPECT_EQ(CountedElement::counters().order, expected);
}

TEST_F(ObjectVector, insertion_with_room_is_seen_through_other_handles)
{
    Vector vector = filled(2);
    Vector const other(vector);
    EXPECT_EQ(vector.Insert(CountedElement(9), 0), 1);
    EXPECT_TRUE(vector == other);
    EXPECT_EQ(values(other), (Values{9, 0, 1})) << "there is no copy on write";
    EXPECT_EQ(vector.lockcnt(), 2U);
}

TEST_F(ObjectVector, an_element_of_the_vector_may_be_inserted_at_every_place)
{
    for (int count : {3, 16, 32}) // with room, and without
        for (int source = 0; source < count; ++source)
            for (int index = 0; index <= count; ++index)
            {
                Vector vector = filled(count);
                Values expected = sequence(count);
                expected.insert(expected.begin() + index, source);
                ASSERT_EQ(vector.Insert(vector[static_cast<unsigned long>(source)], static_cast<unsigned long>(index)),
                          1);
                ASSERT_EQ(values(vector), expected) << count << ' ' << source << ' ' << index;
            }
}

TEST_F(ObjectVector, insertion_without_memory_leaves_the_vector_as_it_was)
{
    Vector empty;
    Vector full = filled(16);
    void const* const elements = full.get_cptr();
    CountedElement const item(9);
    {
        AllocationFailure const failure(1, AllocationFailure::forever);
        EXPECT_EQ(empty.Insert(item, 0), 0);
        EXPECT_EQ(full.Insert(item, 0), 0);
        EXPECT_EQ(failure.failures(), 2U);
    }
    EXPECT_FALSE(empty);
    EXPECT_EQ(full.get_cptr(), elements);
    EXPECT_EQ(values(full), sequence(16));
    AllocationFailure const failure(1);
    EXPECT_EQ(empty.Insert(item, 0), 0);
    EXPECT_EQ(empty.Insert(item, 0), 1) << "a failure leaves nothing behind";
}

TEST_F(ObjectVector, a_copy_that_throws_leaves_the_vector_as_it_was)
{
    for (int count : {0, 5, 16, 32})
        for (bool shared : {false, true})
            for (unsigned long nth = 1;; ++nth)
            {
                Vector vector = filled(count);
                Vector const other(shared ? vector : Vector());
                void const* const elements = vector.get_cptr();
                unsigned long const capacity = vector.GetAllocSize();
                CountedElement const item(99);
                long const live = CountedElement::live();
                CountedElement::counters().throw_on_copy = nth;
                try
                {
                    ASSERT_EQ(vector.Insert(item, 2), 1);
                    CountedElement::counters().throw_on_copy = 0;
                    EXPECT_EQ(nth, count == 16 || count == 32 ? static_cast<unsigned long>(count) + 2 : 2)
                        << "the number of copies";
                    break;
                }
                catch (ElementError const&)
                {
                    EXPECT_EQ(vector.get_cptr(), elements);
                    EXPECT_EQ(vector.GetAllocSize(), capacity);
                    EXPECT_EQ(values(vector), sequence(count));
                    EXPECT_EQ(CountedElement::live(), live) << count << ' ' << nth;
                }
            }
}

TEST_F(ObjectVector, insertion_into_a_static_block_is_reported_and_done)
{
    StaticBlock<2 * sizeof(CountedElement)> block(&Vector::_vtbl, 0);
    Adopted const original(&block.header);
    Vector vector(original);
    EXPECT_EQ(vector.Insert(CountedElement(1), 0), 1);
    EXPECT_EQ(vector.Insert(CountedElement(2), 0), 1);
    LogMessage const report = failed_condition("m_pMH->lRefCnt>0");
    EXPECT_EQ(recorder.take(), (LogMessages{report, report}));
    EXPECT_EQ(values(vector), (Values{2, 1}));

    Vector grown(original);
    EXPECT_EQ(grown.Insert(CountedElement(3), 0), 1) << "a full one is left for a block of the heap";
    EXPECT_EQ(values(grown), (Values{3, 2, 1}));
    EXPECT_EQ(values(vector), (Values{2, 1}));
    EXPECT_EQ(vector.Delete(0, true), 1);
    EXPECT_EQ(vector.Delete(0, true), 1);
    EXPECT_FALSE(vector);
    EXPECT_EQ(recorder.take(), (LogMessages{report, report}));
    EXPECT_EQ(block.header.uSize, 0U);
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

} // namespace
