#include "ORVA/Buffers/PlainMemory.h"
#include "support/AllocationFailure.h"
#include "support/BlockProbe.h"
#include "support/LogRecorder.h"
#include "support/PlainMemoryFixture.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <type_traits>

namespace
{

using namespace support;
using ORVA::Buffers::CPPlainMemory;

tagCPOVTABL const* const plain = &CPPlainMemory::_vtbl;

static_assert(sizeof(CPPlainMemory) == sizeof(void*) && !std::is_polymorphic_v<CPPlainMemory>);

class PlainMemory : public PlainMemoryFixture
{
};

TEST_F(PlainMemory, has_its_own_table)
{
    EXPECT_EQ(CPPlainMemory::GetTypeID(), plain);
    ASSERT_NE(plain->_create, nullptr);
    ASSERT_NE(plain->_clone, nullptr);
    ASSERT_NE(plain->_finalize, nullptr);
    EXPECT_EQ(plain->_interface, &CPObjectMemory::_nointerface);
    EXPECT_TRUE(filled(8).IsType(plain));
    char bytes[] = "1234";
    plain->_create(bytes, 5);
    plain->_finalize(bytes, 5);
    EXPECT_STREQ(bytes, "1234");
    plain->_clone(bytes + 1, bytes, 3);
    EXPECT_STREQ(bytes, "1123") << "the source may overlap";
}

TEST_F(PlainMemory, is_built_from_a_plain_block_with_bytes_in_use)
{
    CPObjectMemory const source = filled(8);
    CPPlainMemory const handle(source);
    EXPECT_TRUE(handle == source);
    EXPECT_EQ(source.lockcnt(), 2U);
}

TEST_F(PlainMemory, is_empty_when_built_from_anything_else)
{
    EXPECT_FALSE(CPPlainMemory());
    EXPECT_FALSE(CPPlainMemory(CPObjectMemory())) << "without a report";
    CPObjectMemory source;
    ASSERT_EQ(source.Alloc(0, plain), 1);
    EXPECT_FALSE(CPPlainMemory(source)) << "a plain block of size 0";
    ASSERT_EQ(source.Reserve(100, plain), 1);
    EXPECT_FALSE(CPPlainMemory(source)) << "a plain block with nothing in use";
    ASSERT_EQ(source.Alloc(8, &BlockProbe::table), 1);
    EXPECT_FALSE(CPPlainMemory(source)) << "a block of another type";
    EXPECT_EQ(source.lockcnt(), 1U);
}

TEST_F(PlainMemory, assignment_tests_its_source_as_the_constructor_does)
{
    CPPlainMemory handle = filled(8);
    CPObjectMemory const old(handle);
    CPObjectMemory const source = filled(16);
    EXPECT_EQ(&(handle = source), &handle);
    EXPECT_TRUE(handle == source);
    EXPECT_EQ(old.lockcnt(), 1U);

    CPObjectMemory refused;
    ASSERT_EQ(refused.Alloc(8, &BlockProbe::table), 1);
    handle = refused;
    EXPECT_FALSE(handle) << "a refused block leaves the handle empty";
    EXPECT_EQ(source.lockcnt(), 1U);
    EXPECT_EQ(refused.lockcnt(), 1U);

    handle = source;
    ASSERT_EQ(refused.Alloc(0, plain), 1);
    handle = refused;
    EXPECT_FALSE(handle);

    handle = source;
    handle = CPObjectMemory();
    EXPECT_FALSE(handle);
    EXPECT_EQ(source.lockcnt(), 1U);
}

TEST_F(PlainMemory, converts_to_pointers_and_to_a_truth_value)
{
    CPPlainMemory handle = filled(4);
    CPPlainMemory const& constant = handle;
    void* const bytes = handle;
    void const* const constant_bytes = constant;
    EXPECT_EQ(bytes, handle.get_ptr());
    EXPECT_EQ(constant_bytes, handle.get_cptr());
    EXPECT_TRUE(handle);
    EXPECT_TRUE(constant);
    CPPlainMemory empty;
    CPPlainMemory const constant_empty;
    EXPECT_EQ(static_cast<void*>(empty), nullptr);
    EXPECT_EQ(static_cast<void const*>(constant_empty), nullptr);
    EXPECT_FALSE(empty);
    EXPECT_FALSE(constant_empty);
    EXPECT_EQ(handle.GetMemorySize(), 4U);
    EXPECT_EQ(empty.GetMemorySize(), 0U);
}

TEST_F(PlainMemory, alloc_replaces_the_block)
{
    CPPlainMemory handle;
    EXPECT_EQ(handle.Alloc(24), 1);
    EXPECT_EQ(handle.GetSize(), 24U);
    EXPECT_EQ(handle.GetAllocSize(), 24U);
    EXPECT_EQ(handle.lockcnt(), 1U);
    EXPECT_TRUE(handle.IsType(plain));
    CPObjectMemory const old(handle);
    EXPECT_EQ(handle.Alloc(5), 1);
    EXPECT_EQ(old.lockcnt(), 1U);
    EXPECT_EQ(handle.GetSize(), 5U);
}

TEST_F(PlainMemory, alloc_of_zero_frees_the_block_and_succeeds)
{
    CPPlainMemory handle = filled(8);
    CPObjectMemory const old(handle);
    AllocationFailure const count(0);
    EXPECT_EQ(handle.Alloc(0), 1);
    EXPECT_FALSE(handle);
    EXPECT_EQ(old.lockcnt(), 1U);
    EXPECT_EQ(handle.Alloc(0), 1);
    EXPECT_FALSE(handle);
    EXPECT_EQ(count.attempts(), 0U);
}

TEST_F(PlainMemory, alloc_without_memory_leaves_the_handle_empty)
{
    CPPlainMemory handle = filled(8);
    {
        AllocationFailure const failure(1);
        EXPECT_EQ(handle.Alloc(8), 0);
    }
    EXPECT_FALSE(handle);
    EXPECT_EQ(handle.Alloc(ULONG_MAX - 10), 0);
    EXPECT_FALSE(handle);
}

TEST_F(PlainMemory, alloc_with_a_table_makes_blocks_of_its_type)
{
    CPPlainMemory handle;
    EXPECT_EQ(handle._Alloc(8, &BlockProbe::table), 1);
    EXPECT_TRUE(handle.IsType(&BlockProbe::table));
    EXPECT_EQ(handle._Alloc(16, nullptr), 0);
    EXPECT_FALSE(handle);
    EXPECT_EQ(BlockProbe::take(), Calls{"finalize 8"}) << "the old block has gone";
    EXPECT_EQ(handle._Alloc(8, &BlockProbe::table), 1);
    EXPECT_EQ(handle._Alloc(0, &BlockProbe::table), 1);
    EXPECT_FALSE(handle);
    EXPECT_EQ(handle._Alloc(0, nullptr), 1) << "without bytes no type is needed";
    EXPECT_FALSE(handle);
    AllocationFailure const failure(1);
    EXPECT_EQ(handle._Alloc(8, &BlockProbe::table), 0);
    EXPECT_FALSE(handle);
}

TEST_F(PlainMemory, is_memory_from_behind_the_first_byte_of_the_header_to_the_end_of_the_capacity)
{
    CPPlainMemory handle = filled(16);
    ASSERT_EQ(handle.SetSize(4), 1);
    auto const address = reinterpret_cast<unsigned long>(header_of(handle));
    auto const at = [address](unsigned long offset) { return reinterpret_cast<void const*>(address + offset); };
    EXPECT_FALSE(handle.isMemory(nullptr));
    EXPECT_FALSE(handle.isMemory(at(0) == nullptr ? nullptr : reinterpret_cast<void const*>(address - 1)));
    EXPECT_FALSE(handle.isMemory(at(0))) << "the first byte of the header";
    EXPECT_TRUE(handle.isMemory(at(1))) << "the header's other bytes count";
    EXPECT_TRUE(handle.isMemory(at(31)));
    EXPECT_TRUE(handle.isMemory(at(32)));
    EXPECT_TRUE(handle.isMemory(at(32 + 3)));
    EXPECT_TRUE(handle.isMemory(at(32 + 4))) << "spare capacity counts";
    EXPECT_TRUE(handle.isMemory(at(32 + 15)));
    EXPECT_FALSE(handle.isMemory(at(32 + 16)));
    EXPECT_FALSE(handle.isMemory(reinterpret_cast<void const*>(ULONG_MAX)));
    EXPECT_FALSE(CPPlainMemory().isMemory(at(32)));
    EXPECT_FALSE(CPPlainMemory().isMemory(nullptr));
}

TEST_F(PlainMemory, a_clone_is_a_copy_of_the_bytes_in_use)
{
    CPPlainMemory handle = filled(16);
    ASSERT_EQ(handle.SetSize(4), 1);
    CPPlainMemory const other(handle);
    ASSERT_EQ(handle.clone(), 1);
    EXPECT_EQ(text(handle), "abcd");
    EXPECT_EQ(handle.GetAllocSize(), 4U);
    EXPECT_FALSE(handle == other);
}

} // namespace
