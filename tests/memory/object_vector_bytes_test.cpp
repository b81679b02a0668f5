// Elements that may be moved by bytes: a sole owner grows without copies, and nothing else changes.
#include "ORVA/Buffers/ObjectVector.h"
#include "support/AllocationFailure.h"
#include "support/BlockProbe.h"
#include "support/CountedVector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>

namespace
{

// A copy takes a handle on `owner` with it, if there is one.
class TakingElement : public support::CountedElement
{
public:
    using CountedElement::CountedElement;
    TakingElement(TakingElement const& other) : CountedElement(other)
    {
        if (owner != nullptr)
            m_taken = *owner;
    }
    TakingElement& operator=(TakingElement const&) = delete;

    static void take_from(support::CPObjectMemory const* handle) { owner = handle; }

private:
    inline static support::CPObjectMemory const* owner = nullptr;
    support::CPObjectMemory m_taken;
};

} // namespace

template <>
struct ORVA::Buffers::MovesByBytes<support::MovableCountedElement> : std::true_type
{
};

template <>
struct ORVA::Buffers::MovesByBytes<TakingElement> : std::true_type
{
};

namespace
{

using namespace support;
using ORVA::Buffers::CPObjectVector;
using ORVA::Buffers::MovesByBytes;
using Vector = CPObjectVector<MovableCountedElement>;
static_assert(MovesByBytes<CPObjectMemory>::value, "handles may be moved");
static_assert(!MovesByBytes<CountedElement>::value, "other types must not unless they say so");

Vector filled(int count)
{
    return counted_vector<MovableCountedElement>(count);
}

// Full vectors: one that moves to a larger block, and one that is long enough for its own block to be made larger.
constexpr int full_counts[] = {16, 160};

using ObjectVectorByBytes = CountedVectorTest;

TEST_F(ObjectVectorByBytes, a_sole_owner_grows_without_copies)
{
    for (int const count : full_counts)
    {
        Vector vector = filled(count);
        MovableCountedElement const item(999);
        CountedElement::counters().order.clear();
        EXPECT_EQ(vector.Insert(item, 3), 1);
        EXPECT_EQ(CountedElement::counters().order, Calls{"copy 999"}) << "the item's copy is the only one";
        Values expected = sequence(count);
        expected.insert(expected.begin() + 3, 999);
        EXPECT_EQ(values(vector), expected);
        EXPECT_EQ(vector.GetAllocSize(), static_cast<unsigned long>(count + 16) * sizeof(MovableCountedElement));
    }
}

// Whatever the length, each step is one allocation for 16 elements more.
TEST_F(ObjectVectorByBytes, a_long_vector_grows_as_a_short_one_does)
{
    std::mt19937 random(3);
    Vector vector;
    Values expected;
    AllocationFailure const count(0);
    for (unsigned long size = 0; size < 400; ++size)
    {
        unsigned long const index = size % 3 == 0 ? ULONG_MAX : random() % (size + 1);
        expected.insert(expected.begin() + static_cast<long>(std::min(index, size)), static_cast<int>(size));
        ASSERT_EQ(vector.Insert(MovableCountedElement(static_cast<int>(size)), index), 1);
        ASSERT_EQ(vector.GetAllocSize(), (size / 16 + 1) * 16 * sizeof(MovableCountedElement));
        ASSERT_EQ(count.attempts(), size / 16 + 1);
        ASSERT_EQ(count.last_size(), vector.GetAllocSize() + sizeof(ORVA::Buffers::tagCPOMEMHEADER));
        ASSERT_EQ(values(vector), expected);
        CountedElement::counters().order.clear();
    }
    EXPECT_EQ(vector.lockcnt(), 1U);
}

TEST_F(ObjectVectorByBytes, a_shared_vector_grows_by_copies)
{
    for (int const count : full_counts)
    {
        Vector vector = filled(count);
        Vector const other(vector);
        MovableCountedElement const item(99);
        CountedElement::counters().order.clear();
        EXPECT_EQ(vector.Insert(item, ULONG_MAX), 1);
        EXPECT_EQ(CountedElement::counters().order.size(), static_cast<unsigned long>(count) + 1);
        EXPECT_EQ(values(other), sequence(count));
        EXPECT_EQ(vector.GetCount(), static_cast<unsigned long>(count) + 1);
    }
}

TEST_F(ObjectVectorByBytes, reserve_moves_for_a_sole_owner_and_copies_for_others)
{
    Vector vector = filled(3);
    CountedElement::counters().order.clear();
    EXPECT_EQ(vector.Reserve(40), 1);
    EXPECT_EQ(CountedElement::counters().order, Calls());
    EXPECT_EQ(values(vector), sequence(3));
    Vector const other(vector);
    EXPECT_EQ(vector.Reserve(50), 1);
    EXPECT_EQ(CountedElement::counters().order, (Calls{"copy 0", "copy 1", "copy 2"}));
    EXPECT_EQ(values(vector), sequence(3));
    EXPECT_EQ(values(other), sequence(3));
}

TEST_F(ObjectVectorByBytes, an_element_of_the_vector_may_be_inserted_at_every_place)
{
    for (int count : {3, 16, 144})
        for (int source = 0; source < count; source += count / 16 + 1)
            for (int index = 0; index <= count; index += count / 16 + 1)
            {
                Vector vector = filled(count);
                Values expected = sequence(count);
                expected.insert(expected.begin() + index, source);
                ASSERT_EQ(vector.Insert(vector[static_cast<unsigned long>(source)], static_cast<unsigned long>(index)),
                          1);
                ASSERT_EQ(values(vector), expected) << count << ' ' << source << ' ' << index;
            }
}

TEST_F(ObjectVectorByBytes, a_copy_that_throws_leaves_the_vector_as_it_was)
{
    for (int const count : full_counts)
    {
        Vector vector = filled(count);
        MovableCountedElement const item(99);
        void const* const elements = vector.get_cptr();
        unsigned long const capacity = vector.GetAllocSize();
        auto const expect_as_it_was = [&]
        {
            EXPECT_EQ(vector.get_cptr(), elements);
            EXPECT_EQ(vector.GetAllocSize(), capacity);
            EXPECT_EQ(values(vector), sequence(count));
            EXPECT_EQ(CountedElement::live(), count + 1);
        };
        CountedElement::counters().throw_on_copy = 1;
        EXPECT_THROW(vector.Insert(item, 2), ElementError);
        expect_as_it_was();

        Vector const other(vector);
        for (int nth = 1; nth <= count + 1; nth += count / 16)
        {
            CountedElement::counters().throw_on_copy = static_cast<unsigned long>(nth);
            EXPECT_THROW(vector.Insert(item, 2), ElementError);
            expect_as_it_was();
        }
    }
}

TEST_F(ObjectVectorByBytes, a_copy_to_the_end_that_throws_leaves_the_vector_as_it_was)
{
    Vector vector = filled(5);
    MovableCountedElement const item(99);
    CountedElement::counters().throw_on_copy = 1;
    EXPECT_THROW(vector.Insert(item, ULONG_MAX), ElementError);
    EXPECT_EQ(values(vector), sequence(5));
    EXPECT_EQ(CountedElement::live(), 6);
}

TEST_F(ObjectVectorByBytes, without_memory_the_vector_is_as_it_was)
{
    for (int const count : full_counts)
    {
        Vector vector = filled(count);
        MovableCountedElement const item(99);
        void const* const elements = vector.get_cptr();
        unsigned long const capacity = vector.GetAllocSize();
        AllocationFailure const failure(1, AllocationFailure::forever);
        EXPECT_EQ(vector.Insert(item, 2), 0);
        EXPECT_EQ(vector.Insert(item, ULONG_MAX), 0);
        EXPECT_EQ(vector.Reserve(400), 0);
        EXPECT_EQ(failure.failures(), 3U);
        EXPECT_EQ(vector.get_cptr(), elements);
        EXPECT_EQ(vector.GetAllocSize(), capacity);
        EXPECT_EQ(values(vector), sequence(count));
        EXPECT_EQ(CountedElement::live(), count + 1);
    }
}

// The copy of such an item makes the vector's block a shared one while it grows. The element then refers to the old
// block, which must have kept its elements.
TEST_F(ObjectVectorByBytes, a_vector_of_handles_may_take_a_handle_on_itself)
{
    for (unsigned int const count : {16U, 160U})
    {
        CPObjectVector<CPObjectMemory> vector;
        CPObjectMemory item;
        ASSERT_EQ(item.Alloc(8, &BlockProbe::table), 1);
        for (unsigned int made = 0; made < count; ++made)
            ASSERT_EQ(vector.Insert(item, 0), 1);
        void const* const old = vector.get_cptr();
        {
            AllocationFailure const failure(1);
            EXPECT_EQ(vector.Insert(vector, 0), 0);
            EXPECT_EQ(failure.failures(), 1U);
        }
        EXPECT_EQ(vector.get_cptr(), old);
        EXPECT_EQ(vector.GetCount(), count);
        EXPECT_EQ(vector.lockcnt(), 1U);
        EXPECT_EQ(vector.Insert(vector, 0), 1);

        EXPECT_EQ(vector.GetCount(), count + 1);
        EXPECT_NE(vector.get_cptr(), old);
        CPObjectVector<CPObjectMemory> const inner(vector[0]);
        EXPECT_EQ(inner.get_cptr(), old);
        ASSERT_EQ(inner.GetCount(), count);
        for (unsigned long index = 0; index < count; ++index)
        {
            EXPECT_TRUE(inner[index] == item);
            EXPECT_TRUE(vector[index + 1] == item);
        }
        EXPECT_EQ(item.lockcnt(), 2 * count + 1);
    }
}

// Here the copies, which then become necessary, come after that of the item, and one of them throws.
TEST_F(ObjectVectorByBytes, a_copy_that_throws_after_the_item_took_a_handle_on_the_vector)
{
    for (int const count : full_counts)
    {
        CPObjectVector<TakingElement> vector;
        for (int value = 0; value < count; ++value)
            ASSERT_EQ(vector.Insert(TakingElement(value), ULONG_MAX), 1);
        TakingElement const item(99);
        void const* const elements = vector.get_cptr();
        TakingElement::take_from(&vector);
        for (int nth = 1; nth <= count + 1; nth += count / 16)
        {
            CountedElement::counters().throw_on_copy = static_cast<unsigned long>(nth);
            EXPECT_THROW(vector.Insert(item, 2), ElementError);
            EXPECT_EQ(vector.get_cptr(), elements);
            EXPECT_EQ(vector.GetCount(), static_cast<unsigned long>(count));
            EXPECT_EQ(vector.lockcnt(), 1U);
            EXPECT_EQ(CountedElement::live(), count + 1);
        }
        TakingElement::take_from(nullptr);
    }
}

TEST_F(ObjectVectorByBytes, handles_keep_their_counts_when_their_vector_grows)
{
    CPObjectMemory item;
    ASSERT_EQ(item.Alloc(8, &BlockProbe::table), 1);
    {
        CPObjectVector<CPObjectMemory> vector;
        for (unsigned int count = 1; count <= 100; ++count)
        {
            ASSERT_EQ(vector.Insert(item, ULONG_MAX), 1);
            ASSERT_EQ(item.lockcnt(), count + 1);
        }
        CPObjectVector<CPObjectMemory> copy(vector);
        EXPECT_EQ(item.lockcnt(), 101U) << "a copy of the vector's handle copies no element";
        EXPECT_EQ(copy.clone(), 1);
        EXPECT_EQ(item.lockcnt(), 201U);
    }
    EXPECT_EQ(item.lockcnt(), 1U);
    item.free();
    BlockProbe::reset();
}

} // namespace
