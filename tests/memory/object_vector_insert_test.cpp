// Insertion and growth.
#include "ORVA/Buffers/ObjectVector.h"
#include "support/AllocationFailure.h"
#include "support/BlockProbe.h"
#include "support/CountedVector.h"

#include <gtest/gtest.h>

#include <climits>
#include <utility>

namespace
{

using namespace support;
using ORVA::Buffers::CPObjectVector;
using Vector = CPObjectVector<CountedElement>;

Vector filled(int count)
{
    return counted_vector<CountedElement>(count);
}

using ObjectVectorInsert = CountedVectorTest;

TEST_F(ObjectVectorInsert, the_first_insertion_makes_room_for_16_and_goes_to_0)
{
    Vector vector;
    EXPECT_EQ(vector.Insert(CountedElement(4), 5), 1) << "the index is ignored";
    EXPECT_EQ(values(vector), Values{4});
    EXPECT_EQ(vector.GetSize(), sizeof(CountedElement));
    EXPECT_EQ(vector.GetAllocSize(), 16 * sizeof(CountedElement));
    EXPECT_EQ(vector.lockcnt(), 1U);
    EXPECT_TRUE(vector.IsType(&Vector::_vtbl));
}

TEST_F(ObjectVectorInsert, insertion_goes_before_the_element_at_the_index)
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

TEST_F(ObjectVectorInsert, an_index_past_the_end_appends)
{
    for (unsigned long index : {4UL, 5UL, 16UL, 0xFFFFFFFFUL, ULONG_MAX, static_cast<unsigned long>(-1)})
    {
        Vector vector = filled(4);
        EXPECT_EQ(vector.Insert(CountedElement(9), index), 1);
        EXPECT_EQ(values(vector), (Values{0, 1, 2, 3, 9})) << index;
    }
}

TEST_F(ObjectVectorInsert, insertion_copies_the_item_alone)
{
    Vector vector = filled(4);
    CountedElement const item(9);
    CountedElement::counters().order.clear();
    EXPECT_EQ(vector.Insert(item, 1), 1);
    EXPECT_EQ(CountedElement::counters().order, Calls{"copy 9"}) << "elements are shifted by bytes";
}

TEST_F(ObjectVectorInsert, grows_by_16_elements_at_a_step)
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

TEST_F(ObjectVectorInsert, the_17th_insertion_leaves_other_handles_on_16_elements)
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

TEST_F(ObjectVectorInsert, growth_copies_each_element_once_in_order_and_destroys_the_old_ones)
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

TEST_F(ObjectVectorInsert, insertion_with_room_is_seen_through_other_handles)
{
    Vector vector = filled(2);
    Vector const other(vector);
    EXPECT_EQ(vector.Insert(CountedElement(9), 0), 1);
    EXPECT_TRUE(vector == other);
    EXPECT_EQ(values(other), (Values{9, 0, 1})) << "there is no copy on write";
    EXPECT_EQ(vector.lockcnt(), 2U);
}

TEST_F(ObjectVectorInsert, an_element_of_the_vector_may_be_inserted_at_every_place)
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

TEST_F(ObjectVectorInsert, insertion_without_memory_leaves_the_vector_as_it_was)
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

TEST_F(ObjectVectorInsert, a_copy_that_throws_leaves_the_vector_as_it_was)
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

TEST_F(ObjectVectorInsert, insertion_into_a_static_block_is_reported_and_done)
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

// An element whose copy adds others to the vector that it goes to.
struct Adding
{
    Adding() = default;
    explicit Adding(int number) : value(number) {}
    Adding(Adding const& source) : value(source.value)
    {
        for (int left = std::exchange(left_to_add, 0); left != 0; --left)
            into->Insert(Adding(99), ~0UL);
        value = source.value; // where the copy is made
    }

    int value = 0;
    static inline ORVA::Buffers::CPObjectVector<Adding>* into = nullptr;
    static inline int left_to_add = 0;
};

// One place is left, so the first of those that are added moves the elements to a larger block.
TEST(ObjectVectorInsertWithin, a_copy_may_make_the_vector_grow_that_it_is_made_for)
{
    ORVA::Buffers::CPObjectVector<Adding> vector;
    for (int number = 0; number < 15; ++number)
        ASSERT_EQ(vector.Insert(Adding(number), ~0UL), 1);
    Adding::into = &vector;
    Adding::left_to_add = 3;
    EXPECT_EQ(vector.Insert(Adding(15), ~0UL), 1);
    ASSERT_EQ(vector.GetCount(), 16UL);
    for (int number = 0; number < 16; ++number)
        EXPECT_EQ(vector[static_cast<unsigned long>(number)].value, number);
}

} // namespace
