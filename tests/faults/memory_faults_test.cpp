// Blocks of object memory, plain memory and single objects.
#include "ORVA/Buffers.h"
#include "faults/FaultTest.h"
#include "support/BlockProbe.h"
#include "support/CountedElement.h"

namespace
{

using namespace faults;
using namespace ORVA::Buffers;
using support::BlockProbe;
using support::Calls;

/// A handle that holds a block of eight bytes, "12345678".
template <class Handle>
void fill(Handle& handle)
{
    Undisturbed const pause;
    BlockProbe::reset();
    EXPECT_EQ(handle.CPObjectMemory::Alloc(8, &BlockProbe::table), 1);
    std::memcpy(handle.get_ptr(), "12345678", 8);
}

template <class Handle>
void expect_filled(Handle const& handle)
{
    ASSERT_TRUE(handle);
    EXPECT_EQ(handle.GetSize(), 8UL);
    EXPECT_EQ(handle.GetAllocSize(), 8UL);
    EXPECT_EQ(std::memcmp(handle.get_cptr(), "12345678", 8), 0);
    EXPECT_EQ(handle.GetTypeID(), &BlockProbe::table);
}

class MemoryFaults : public faults::Silent
{
};

struct Protected : CPObjectMemory
{
    using CPObjectMemory::_allocate;
};

} // namespace

FAULT_TEST_F(MemoryFaults, ANewBlockThatCannotBeHadLeavesTheHandleEmptyAndTheOldBlockReleased,
             "Buffers::CPObjectMemory::Alloc(unsigned long, tagCPOVTABL const*)",
             "Buffers::CPObjectMemory::Reserve(unsigned long, tagCPOVTABL const*)",
             "Buffers::CPPlainMemory::_Alloc(unsigned long, tagCPOVTABL const*)")
{
    struct Row
    {
        int (*allocate)(CPPlainMemory& handle);
        unsigned long size;
    };
    for (Row const row :
         {Row{[](CPPlainMemory& handle) { return handle.CPObjectMemory::Alloc(24, &BlockProbe::table); }, 24},
          Row{[](CPPlainMemory& handle) { return handle.Reserve(24, &BlockProbe::table); }, 0},
          Row{[](CPPlainMemory& handle) { return handle._Alloc(24, &BlockProbe::table); }, 24}})
    {
        EXPECT_EQ(fail_each_allocation(
                      [&row](unsigned long nth)
                      {
                          CPPlainMemory handle;
                          fill(handle);
                          EXPECT_EQ(row.allocate(handle), fails(nth) ? 0 : 1);
                          Undisturbed const pause;
                          EXPECT_EQ(BlockProbe::take(), (Calls{"finalize 8"}));
                          EXPECT_EQ(static_cast<bool>(handle), !fails(nth));
                          EXPECT_EQ(row.allocate(handle), 1);
                          EXPECT_EQ(handle.GetSize(), row.size);
                          EXPECT_EQ(handle.GetAllocSize(), 24UL);
                          EXPECT_EQ(handle.lockcnt(), 1U);
                      }),
                  1UL);
    }
}

FAULT_TEST_F(MemoryFaults, ABlockOfTheInnermostAllocationIsNull,
             "Buffers::CPObjectMemory::_allocate(unsigned long, unsigned long, tagCPOVTABL const*)")
{
    EXPECT_EQ(fail_each_allocation(
                  [](unsigned long nth)
                  {
                      tagCPOMEMHEADER* const header = Protected::_allocate(8, 8, &CPPlainMemory::_vtbl);
                      EXPECT_EQ(header == nullptr, fails(nth));
                      CPObjectMemory::Free(header);
                  }),
              1UL);
}

FAULT_TEST_F(MemoryFaults, MoreCapacityThatCannotBeHadChangesNothing,
             "Buffers::CPObjectMemory::Incalloc(unsigned long)")
{
    EXPECT_EQ(fail_each_allocation(
                  [](unsigned long nth)
                  {
                      CPObjectMemory handle;
                      fill(handle);
                      void const* const payload = handle.get_cptr();
                      EXPECT_EQ(handle.Incalloc(100), fails(nth) ? 0 : 1);
                      Undisturbed const pause;
                      EXPECT_EQ(BlockProbe::take(), Calls());
                      if (fails(nth))
                      {
                          EXPECT_EQ(handle.get_cptr(), payload);
                          expect_filled(handle);
                          EXPECT_EQ(handle.Incalloc(100), 1);
                      }
                      EXPECT_EQ(handle.GetAllocSize(), 108UL);
                      EXPECT_EQ(handle.GetSize(), 8UL);
                      EXPECT_EQ(std::memcmp(handle.get_cptr(), "12345678", 8), 0);
                  }),
              1UL);
}

FAULT_TEST_F(MemoryFaults, ACloneThatCannotBeMadeLeavesTheBlockShared, "Buffers::CPObjectMemory::clone()")
{
    EXPECT_EQ(fail_each_allocation(
                  [](unsigned long nth)
                  {
                      CPObjectMemory handle;
                      fill(handle);
                      CPObjectMemory other = handle;
                      EXPECT_EQ(other.clone(), fails(nth) ? 0 : 1);
                      Undisturbed const pause;
                      EXPECT_EQ(BlockProbe::take(), fails(nth) ? Calls() : Calls{"clone 8"});
                      EXPECT_EQ(handle == other, fails(nth));
                      EXPECT_EQ(handle.lockcnt(), fails(nth) ? 2U : 1U);
                      EXPECT_EQ(other.clone(), 1);
                      EXPECT_TRUE(handle != other);
                      expect_filled(handle);
                      expect_filled(other);
                  }),
              1UL);
}

FAULT_TEST_F(MemoryFaults, PlainMemoryThatCannotBeHadLeavesTheHandleEmpty,
             "Buffers::CPPlainMemory::Alloc(unsigned long)")
{
    EXPECT_EQ(fail_each_allocation(
                  [](unsigned long nth)
                  {
                      CPPlainMemory memory;
                      fill(memory);
                      EXPECT_EQ(memory.Alloc(24), fails(nth) ? 0 : 1);
                      Undisturbed const pause;
                      EXPECT_EQ(BlockProbe::take(), (Calls{"finalize 8"}));
                      EXPECT_EQ(memory.GetMemorySize(), fails(nth) ? 0UL : 24UL);
                      EXPECT_EQ(memory.Alloc(24), 1);
                      EXPECT_EQ(memory.GetMemorySize(), 24UL);
                  }),
              1UL);
}

FAULT_TEST_F(MemoryFaults, PlainMemoryThatCannotGrowKeepsItsBlock, "Buffers::CPPlainMemory::Resize(unsigned long)",
             "Buffers::CPPlainMemory::_Resize(unsigned long, tagCPOVTABL const*)",
             "Buffers::CPPlainMemory::_Reserve(unsigned long, tagCPOVTABL const*)")
{
    struct Row
    {
        int (*grow)(CPPlainMemory& memory);
        unsigned long size;
    };
    for (Row const row : {Row{[](CPPlainMemory& memory) { return memory.Resize(24); }, 24},
                          Row{[](CPPlainMemory& memory) { return memory._Resize(24, &BlockProbe::table); }, 24},
                          Row{[](CPPlainMemory& memory) { return memory._Reserve(24, &BlockProbe::table); }, 8}})
    {
        EXPECT_EQ(fail_each_allocation(
                      [&row](unsigned long nth)
                      {
                          CPPlainMemory memory;
                          fill(memory);
                          CPObjectMemory const other = memory;
                          EXPECT_EQ(row.grow(memory), fails(nth) ? 0 : 1);
                          Undisturbed const pause;
                          EXPECT_EQ(memory == other, fails(nth));
                          EXPECT_EQ(BlockProbe::take(), Calls());
                          expect_filled(other);
                          EXPECT_EQ(row.grow(memory), 1);
                          EXPECT_EQ(memory.GetSize(), row.size);
                          EXPECT_EQ(memory.GetAllocSize(), 24UL);
                          EXPECT_EQ(std::memcmp(memory.get_cptr(), "12345678", 8), 0);
                          EXPECT_EQ(other.lockcnt(), 1U);
                      }),
                  1UL);
    }
}

FAULT_TEST_F(MemoryFaults, AnEmptyHandleThatCannotGrowStaysEmpty, "Buffers::CPPlainMemory::Resize(unsigned long)",
             "Buffers::CPPlainMemory::_Reserve(unsigned long, tagCPOVTABL const*)")
{
    for (auto* const grow : {+[](CPPlainMemory& memory) { return memory.Resize(24); },
                             +[](CPPlainMemory& memory) { return memory._Reserve(24, &CPPlainMemory::_vtbl); }})
    {
        EXPECT_EQ(fail_each_allocation(
                      [grow](unsigned long nth)
                      {
                          CPPlainMemory memory;
                          EXPECT_EQ(grow(memory), fails(nth) ? 0 : 1);
                          EXPECT_EQ(static_cast<bool>(memory), !fails(nth));
                          Undisturbed const pause;
                          EXPECT_EQ(grow(memory), 1);
                          EXPECT_EQ(memory.GetAllocSize(), 24UL);
                      }),
                  1UL);
    }
}

FAULT_TEST_F(MemoryFaults, AnObjectThatCannotBeMadeIsNullAndTheHandleEmpty, "Buffers::CPObjectHandle::create()")
{
    EXPECT_EQ(fail_each_allocation(
                  [](unsigned long nth)
                  {
                      support::CountedElement::reset();
                      {
                          CPObject<support::CountedElement> handle;
                          support::CountedElement const* const made = handle.create();
                          Undisturbed const pause;
                          EXPECT_EQ(made == nullptr, fails(nth));
                          EXPECT_EQ(static_cast<bool>(handle), !fails(nth));
                          EXPECT_EQ(support::CountedElement::live(), fails(nth) ? 0 : 1);
                          EXPECT_NE(handle.create(), nullptr);
                          EXPECT_EQ(handle->value(), 0);
                          EXPECT_EQ(support::CountedElement::live(), 1);
                      }
                      EXPECT_EQ(support::CountedElement::live(), 0);
                  }),
              1UL);
}
