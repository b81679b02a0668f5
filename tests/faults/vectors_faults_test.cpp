// Vectors of objects, of plain values, and of one block per type.
#include "ORVA/Buffers.h"
#include "faults/FaultTest.h"
#include "support/BlockProbe.h"
#include "support/CountedVector.h"

#include <array>

namespace
{

using namespace faults;
using namespace support;
using ORVA::Buffers::CPObjectVector;
using ORVA::Buffers::CPPlainMemory;
using ORVA::Buffers::CPPlainVector;
using ORVA::Buffers::CPTypedObjectVector;
using Vector = CPObjectVector<CountedElement>;
using Handles = CPObjectVector<CPObjectMemory>;

class VectorFaults : public faults::Silent
{
protected:
    void SetUp() override { CountedElement::reset(); }
    void TearDown() override
    {
        EXPECT_EQ(CountedElement::live(), 0);
        Silent::TearDown();
    }
};

Vector filled(int count)
{
    Undisturbed const pause;
    return support::counted_vector<CountedElement>(count);
}

CPObjectMemory new_block(tagCPOVTABL const& table)
{
    Undisturbed const pause;
    CPObjectMemory block;
    EXPECT_EQ(block.Alloc(8, &table), 1);
    std::memcpy(block.get_ptr(), "12345678", 8);
    return block;
}

struct Typed : CPTypedObjectVector
{
    using CPTypedObjectVector::m_vector;
};

unsigned long id_of(CPObjectMemory const& block)
{
    return reinterpret_cast<unsigned long>(block.GetTypeID());
}

} // namespace

FAULT_TEST_F(VectorFaults, NewElementsThatCannotBeHadLeaveTheVectorEmpty,
             "Buffers::CPObjectVector::Alloc(unsigned long)")
{
    EXPECT_EQ(fail_each_allocation(
                  [](unsigned long nth)
                  {
                      Vector vector = filled(3);
                      EXPECT_EQ(vector.Alloc(2), fails(nth) ? 0 : 1);
                      Undisturbed const pause;
                      EXPECT_EQ(static_cast<bool>(vector), !fails(nth));
                      EXPECT_EQ(CountedElement::live(), fails(nth) ? 0 : 2);
                      EXPECT_EQ(vector.Alloc(2), 1);
                      EXPECT_EQ(values(vector), (Values{0, 0}));
                  }),
              1UL);
}

FAULT_TEST_F(VectorFaults, AnInsertionThatFindsNoMemoryLeavesTheVectorAsItWas,
             "Buffers::CPObjectVector::Insert(T const&, unsigned long)")
{
    for (int const count : {0, 16, 32})
    {
        for (bool const shared : {false, true})
        {
            EXPECT_EQ(fail_each_allocation(
                          [count, shared](unsigned long nth)
                          {
                              Vector vector = filled(count);
                              void const* const block = vector.get_cptr();
                              Vector const other = shared ? vector : Vector();
                              EXPECT_EQ(vector.Insert(CountedElement(count), ULONG_MAX), fails(nth) ? 0 : 1);
                              Undisturbed const pause;
                              EXPECT_EQ(vector.get_cptr() == block, fails(nth));
                              EXPECT_EQ(values(vector), sequence(fails(nth) ? count : count + 1));
                              if (fails(nth))
                              {
                                  EXPECT_EQ(vector.Insert(CountedElement(count), ULONG_MAX), 1);
                              }
                              EXPECT_EQ(values(vector), sequence(count + 1));
                              EXPECT_EQ(values(other), sequence(shared ? count : 0));
                          }),
                      1UL);
        }
    }
}

FAULT_TEST_F(VectorFaults, ElementsThatAreMovedByBytesStayWhereTheyAreToo,
             "Buffers::CPObjectVector::Insert(T const&, unsigned long)",
             "Buffers::CPObjectVector::Reserve(unsigned long)")
{
    for (auto* const grow : {+[](Handles& vector) { return vector.Insert(vector[7], 0); },
                             +[](Handles& vector) { return vector.Reserve(40); }})
    {
        EXPECT_EQ(fail_each_allocation(
                      [grow](unsigned long nth)
                      {
                          CPObjectMemory const item = new_block(CPPlainMemory::_vtbl);
                          Handles vector;
                          {
                              Undisturbed const pause;
                              for (int count = 0; count < 16; ++count)
                                  EXPECT_EQ(vector.Insert(item, 0), 1);
                          }
                          EXPECT_EQ(grow(vector), fails(nth) ? 0 : 1);
                          EXPECT_EQ(item.lockcnt(), 1 + vector.GetCount());
                          EXPECT_EQ(vector.GetAllocSize() == 16 * sizeof(CPObjectMemory), fails(nth));
                          Undisturbed const pause;
                          if (fails(nth))
                          {
                              EXPECT_EQ(vector.GetCount(), 16UL);
                              EXPECT_EQ(grow(vector), 1);
                          }
                          EXPECT_EQ(item.lockcnt(), 1 + vector.GetCount());
                      }),
                  1UL);
    }
}

FAULT_TEST_F(VectorFaults, RoomThatCannotBeHadLeavesTheElements, "Buffers::CPObjectVector::Reserve(unsigned long)")
{
    for (int const count : {0, 3, 16})
    {
        EXPECT_EQ(fail_each_allocation(
                      [count](unsigned long nth)
                      {
                          Vector vector = filled(count);
                          Vector const other = vector;
                          EXPECT_EQ(vector.Reserve(40), fails(nth) ? 0 : 1);
                          Undisturbed const pause;
                          EXPECT_EQ(values(vector), sequence(count));
                          EXPECT_EQ(vector == other, fails(nth));
                          EXPECT_EQ(vector.Reserve(40), 1);
                          EXPECT_EQ(vector.GetAllocSize(), 40 * sizeof(CountedElement));
                          EXPECT_EQ(values(vector), sequence(count));
                          EXPECT_EQ(values(other), sequence(count));
                      }),
                  1UL);
    }
}

FAULT_TEST_F(VectorFaults, APlainVectorThatCannotGrowIsUnchanged,
             "Buffers::CPPlainVector::Insert(T const&, unsigned long)")
{
    for (unsigned long const count : {0UL, 16UL, 32UL})
    {
        EXPECT_EQ(fail_each_allocation(
                      [count](unsigned long nth)
                      {
                          CPPlainVector<unsigned long> vector;
                          {
                              Undisturbed const pause;
                              for (unsigned long value = 0; value < count; ++value)
                                  EXPECT_EQ(vector.Insert(value, ULONG_MAX), 1);
                          }
                          CPPlainVector<unsigned long> const other = vector;
                          EXPECT_EQ(vector.Insert(count, ULONG_MAX), fails(nth) ? 0 : 1);
                          Undisturbed const pause;
                          EXPECT_EQ(vector == other, fails(nth));
                          if (fails(nth))
                          {
                              EXPECT_EQ(vector.Insert(count, ULONG_MAX), 1);
                          }
                          EXPECT_EQ(other.GetCount(), count);
                          ASSERT_EQ(vector.GetCount(), count + 1);
                          for (unsigned long value = 0; value <= count; ++value)
                              EXPECT_EQ(vector[value], value);
                      }),
                  1UL);
    }
}

// The first allocation is the private copy, whose failure stores or gives the block itself; the second is room.
FAULT_TEST_F(VectorFaults, ABlockThatCannotBeCopiedIsStoredAsItIs,
             "Buffers::CPTypedObjectVector::Set(CPObjectMemory const&)")
{
    EXPECT_EQ(fail_each_allocation(
                  [](unsigned long nth)
                  {
                      CPObjectMemory const item = new_block(BlockProbe::table);
                      Typed vector;
                      int const stored = vector.Set(item);
                      Undisturbed const pause;
                      bool const has_room = !fails(nth, 2) || (nth == 1 && !faults::all_after_fail());
                      EXPECT_EQ(stored, has_room ? 1 : 0);
                      EXPECT_EQ(vector.m_vector.GetCount(), has_room ? 1UL : 0UL);
                      EXPECT_EQ(item.lockcnt(), has_room && nth == 1 ? 2U : 1U);
                      EXPECT_EQ(vector.Set(item), 1);
                      EXPECT_EQ(vector.m_vector.GetCount(), 1UL);
                      EXPECT_EQ(item.lockcnt(), 1U);
                  }),
              2UL);
}

FAULT_TEST_F(VectorFaults, ABlockInPlaceOfAnotherIsStoredAsItIs,
             "Buffers::CPTypedObjectVector::Set(CPObjectMemory const&)",
             "Buffers::CPTypedObjectVector::Get(unsigned long) const")
{
    EXPECT_EQ(fail_each_allocation(
                  [](unsigned long nth)
                  {
                      CPObjectMemory const former = new_block(BlockProbe::table);
                      CPObjectMemory const item = new_block(BlockProbe::table);
                      Typed vector;
                      {
                          Undisturbed const pause;
                          EXPECT_EQ(vector.Set(former), 1);
                      }
                      EXPECT_EQ(vector.Set(item), 1);
                      EXPECT_EQ(item.lockcnt(), fails(nth) ? 2U : 1U);
                      Undisturbed const pause;
                      EXPECT_EQ(vector.m_vector.GetCount(), 1UL);
                      EXPECT_TRUE(vector.Get(id_of(item)) != item);
                  }),
              1UL);
    EXPECT_EQ(fail_each_allocation(
                  [](unsigned long nth)
                  {
                      CPObjectMemory const item = new_block(BlockProbe::table);
                      Typed vector;
                      {
                          Undisturbed const pause;
                          EXPECT_EQ(vector.Set(item), 1);
                      }
                      CPObjectMemory const got = vector.Get(id_of(item));
                      EXPECT_TRUE(got);
                      EXPECT_EQ(got == vector.m_vector[0], fails(nth));
                      EXPECT_EQ(std::memcmp(got.get_cptr(), "12345678", 8), 0);
                      Undisturbed const pause;
                      EXPECT_TRUE(vector.Get(id_of(item)) != vector.m_vector[0]);
                  }),
              1UL);
}
