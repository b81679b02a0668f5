#include "ORVA/Buffers/TypedObjectVector.h"
#include "support/AllocationFailure.h"
#include "support/BlockProbe.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <random>
#include <type_traits>

namespace
{

using namespace support;
using ORVA::Buffers::CompareTypeID;
using ORVA::Buffers::CPOMVector;
using ORVA::Buffers::CPTypedObjectVector;

// The addresses of an array's elements ascend, and so do these types.
tagCPOVTABL const types[40] = {
#define ONE                                                                                                            \
    {                                                                                                                  \
        &BlockProbe::create, &BlockProbe::clone, &BlockProbe::finalize, &CPObjectMemory::_nointerface                  \
    }
#define TEN ONE, ONE, ONE, ONE, ONE, ONE, ONE, ONE, ONE, ONE
    TEN, TEN, TEN, TEN
#undef TEN
#undef ONE
};

unsigned long id(unsigned long type)
{
    return reinterpret_cast<unsigned long>(&types[type]);
}

CPObjectMemory make(unsigned long type, int value)
{
    CPObjectMemory made;
    EXPECT_EQ(made.Alloc(sizeof value, &types[type]), 1);
    std::memcpy(made.get_ptr(), &value, sizeof value);
    return made;
}

int value_of(CPObjectMemory const& handle)
{
    int value = -1;
    if (handle)
        std::memcpy(&value, handle.get_cptr(), sizeof value);
    return value;
}

void set_value(CPObjectMemory const& handle, int value)
{
    std::memcpy(handle.get_ptr(), &value, sizeof value);
}

struct Exposed : CPTypedObjectVector
{
    using CPTypedObjectVector::m_vector;
};

class TypedObjectVector : public testing::Test
{
protected:
    void SetUp() override { BlockProbe::reset(); }
    void TearDown() override
    {
        EXPECT_EQ(recorder.take(), LogMessages()) << "a report that the test does not state";
        BlockProbe::reset();
    }
    LogRecorder recorder;
    Exposed vector;
};

static_assert(std::has_virtual_destructor_v<CPTypedObjectVector>);
static_assert(sizeof(CPTypedObjectVector) == 2 * sizeof(void*), "a table of virtual functions and one vector");

TEST_F(TypedObjectVector, compare_type_id_orders_by_unsigned_value)
{
    CPObjectMemory const handle = make(5, 0);
    CPObjectMemory const empty;
    unsigned long key = id(5);
    EXPECT_EQ(CompareTypeID(&key, &handle), 0);
    EXPECT_EQ(CompareTypeID(&key, &empty), 1) << "an empty handle counts as 0";
    key = id(4);
    EXPECT_EQ(CompareTypeID(&key, &handle), -1);
    key = id(6);
    EXPECT_EQ(CompareTypeID(&key, &handle), 1);
    key = 0;
    EXPECT_EQ(CompareTypeID(&key, &handle), -1);
    EXPECT_EQ(CompareTypeID(&key, &empty), 0);
    key = ~0UL;
    EXPECT_EQ(CompareTypeID(&key, &handle), 1) << "with a sign it would be below";
    void const* const identity = handle.GetTypeID();
    EXPECT_EQ(CompareTypeID(&identity, &handle), 0) << "a key may be the pointer itself";
}

TEST_F(TypedObjectVector, an_empty_one_has_nothing)
{
    EXPECT_FALSE(vector.Get(id(0)));
    EXPECT_FALSE(vector.Get(0));
    EXPECT_EQ(vector.Delete(id(0)), 1) << "removing what is absent is a success";
    EXPECT_FALSE(vector.m_vector);
}

TEST_F(TypedObjectVector, set_of_an_empty_handle_gives_0)
{
    EXPECT_EQ(vector.Set(CPObjectMemory()), 0);
    EXPECT_FALSE(vector.m_vector);
}

TEST_F(TypedObjectVector, set_stores_one_block_for_each_type_in_order)
{
    for (unsigned long type : {5UL, 1UL, 9UL, 3UL, 0UL})
        EXPECT_EQ(vector.Set(make(type, static_cast<int>(type))), 1);
    EXPECT_EQ(vector.m_vector.GetCount(), 5U);
    std::vector<unsigned long> found;
    for (CPObjectMemory const& element : vector.m_vector)
        found.push_back(reinterpret_cast<unsigned long>(element.GetTypeID()));
    EXPECT_EQ(found, (std::vector<unsigned long>{id(0), id(1), id(3), id(5), id(9)}));
    for (unsigned long type : {0UL, 1UL, 3UL, 5UL, 9UL})
        EXPECT_EQ(value_of(vector.Get(id(type))), static_cast<int>(type));
    for (unsigned long type : {2UL, 4UL, 8UL, 10UL})
        EXPECT_FALSE(vector.Get(id(type)));
    EXPECT_FALSE(vector.Get(0));
    EXPECT_FALSE(vector.Get(~0UL));

    EXPECT_EQ(vector.Set(make(3, 33)), 1);
    EXPECT_EQ(vector.m_vector.GetCount(), 5U) << "the block of a type is replaced";
    EXPECT_EQ(value_of(vector.Get(id(3))), 33);
}

TEST_F(TypedObjectVector, set_stores_a_private_copy)
{
    for (int round = 0; round < 2; ++round) // a new element, and one that is replaced
    {
        CPObjectMemory const item = make(1, 10);
        EXPECT_EQ(vector.Set(item), 1);
        EXPECT_EQ(item.lockcnt(), 1U);
        set_value(item, 11);
        EXPECT_EQ(value_of(vector.Get(id(1))), 10) << "a later change through the other handle is not seen";
        EXPECT_EQ(vector.m_vector[0].lockcnt(), 1U);
    }
}

TEST_F(TypedObjectVector, get_gives_a_private_copy)
{
    EXPECT_EQ(vector.Set(make(1, 10)), 1);
    CPObjectMemory const got = vector.Get(id(1));
    EXPECT_EQ(got.lockcnt(), 1U);
    EXPECT_EQ(vector.m_vector[0].lockcnt(), 1U);
    set_value(got, 11);
    EXPECT_EQ(value_of(vector.Get(id(1))), 10);
}

TEST_F(TypedObjectVector, delete_removes_one_type_and_the_last_one_frees_the_block)
{
    EXPECT_EQ(vector.Set(make(1, 10)), 1);
    EXPECT_EQ(vector.Set(make(2, 20)), 1);
    BlockProbe::take();
    EXPECT_EQ(vector.Delete(id(1)), 1);
    EXPECT_EQ(BlockProbe::take(), Calls{"finalize 4"});
    EXPECT_FALSE(vector.Get(id(1)));
    EXPECT_EQ(value_of(vector.Get(id(2))), 20);
    BlockProbe::take();
    EXPECT_EQ(vector.Delete(id(1)), 1) << "absent";
    EXPECT_EQ(BlockProbe::take(), Calls());
    EXPECT_EQ(vector.Delete(id(2)), 1);
    EXPECT_FALSE(vector.m_vector) << "the block has gone";
    EXPECT_EQ(vector.Set(make(3, 30)), 1);
    EXPECT_EQ(value_of(vector.Get(id(3))), 30);
}

TEST_F(TypedObjectVector, copies_share_the_elements)
{
    EXPECT_EQ(vector.Set(make(1, 10)), 1);
    Exposed copy(vector);
    EXPECT_TRUE(copy.m_vector == vector.m_vector);
    Exposed assigned;
    EXPECT_EQ(&(assigned = vector), &assigned);
    EXPECT_TRUE(assigned.m_vector == vector.m_vector);
    EXPECT_EQ(copy.Set(make(2, 20)), 1);
    EXPECT_EQ(value_of(vector.Get(id(2))), 20);
    EXPECT_EQ(vector.Delete(id(1)), 1);
    EXPECT_FALSE(assigned.Get(id(1)));
}

TEST_F(TypedObjectVector, construction_tests_the_source_and_assignment_does_not)
{
    Exposed source;
    source.m_vector.CopyCPMemory(make(1, 10));
    Exposed const copy(source);
    EXPECT_FALSE(copy.m_vector);
    vector = source;
    EXPECT_TRUE(vector.m_vector == source.m_vector);
    vector.m_vector.free();
}

TEST_F(TypedObjectVector, a_block_that_cannot_be_cloned_is_reported_and_shared)
{
    LogMessage const report = illegal_point("CPObjectMemory::clone: Class does not allow cloning");
    CPObjectMemory resource;
    ASSERT_EQ(resource.Alloc(8, &BlockProbe::resource_table), 1);
    unsigned long const type = reinterpret_cast<unsigned long>(&BlockProbe::resource_table);
    EXPECT_EQ(vector.Set(resource), 1);
    EXPECT_EQ(recorder.take(), LogMessages{report});
    EXPECT_EQ(resource.lockcnt(), 2U);
    EXPECT_EQ(vector.Set(resource), 1);
    EXPECT_EQ(recorder.take(), LogMessages{report});
    EXPECT_EQ(resource.lockcnt(), 2U);
    EXPECT_TRUE(vector.Get(type) == resource);
    EXPECT_EQ(recorder.take(), LogMessages{report});
}

TEST_F(TypedObjectVector, set_without_memory)
{
    // The clone of the item fails first: the element is then shared, and the insertion's result counts.
    CPObjectMemory const item = make(1, 10);
    {
        AllocationFailure const failure(1);
        EXPECT_EQ(vector.Set(item), 1);
        EXPECT_EQ(failure.failures(), 1U);
    }
    EXPECT_EQ(item.lockcnt(), 2U);
    EXPECT_EQ(vector.Delete(id(1)), 1);
    {
        AllocationFailure const failure(2);
        EXPECT_EQ(vector.Set(item), 0) << "no room for the elements";
        EXPECT_EQ(failure.failures(), 1U);
    }
    EXPECT_FALSE(vector.m_vector);
    EXPECT_EQ(item.lockcnt(), 1U);

    EXPECT_EQ(vector.Set(item), 1);
    {
        AllocationFailure const failure(1);
        EXPECT_EQ(vector.Set(item), 1) << "the result of the clone is not looked at";
    }
    EXPECT_EQ(item.lockcnt(), 2U);
    AllocationFailure const failure(1);
    CPObjectMemory const shared = vector.Get(id(1));
    EXPECT_TRUE(shared == item) << "what cannot be copied is given as it is";
}

TEST_F(TypedObjectVector, an_element_of_its_own_may_be_set)
{
    EXPECT_EQ(vector.Set(make(1, 10)), 1);
    EXPECT_EQ(vector.Set(vector.m_vector[0]), 1);
    EXPECT_EQ(vector.m_vector.GetCount(), 1U);
    EXPECT_EQ(value_of(vector.Get(id(1))), 10);
}

TEST_F(TypedObjectVector, random_operations_agree_with_a_map)
{
    std::mt19937 random(7);
    std::map<unsigned long, int> model;
    for (int step = 0; step < 5000; ++step)
    {
        unsigned long const type = random() % 40;
        switch (random() % 3)
        {
        case 0:
            ASSERT_EQ(vector.Set(make(type, step)), 1);
            model[type] = step;
            break;
        case 1:
            if (random() % 2 == 0)
            {
                ASSERT_EQ(vector.Delete(id(type)), 1);
                model.erase(type);
            }
            break;
        default:
            ASSERT_EQ(value_of(vector.Get(id(type))), model.count(type) ? model[type] : -1);
        }
        ASSERT_EQ(vector.m_vector.GetCount(), model.size());
        ASSERT_TRUE(std::is_sorted(vector.m_vector.begin(), vector.m_vector.end(),
                                   [](CPObjectMemory const& left, CPObjectMemory const& right)
                                   { return left.GetTypeID() < right.GetTypeID(); }));
        BlockProbe::take();
    }
}

} // namespace
