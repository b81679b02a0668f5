// The layout of a block, and what a handle tells about the one it holds.
#include "ORVA/Buffers/ObjectMemory.h"
#include "support/BlockProbe.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <type_traits>

#include <sys/mman.h>

namespace
{

using support::Adopted;
using support::BlockProbe;
using support::CPObjectMemory;
using support::header_of;
using support::StaticBlock;
using support::tagCPOMEMHEADER;
using support::tagCPOVTABL;

static_assert(sizeof(tagCPOMEMHEADER) == 32 && offsetof(tagCPOMEMHEADER, lRefCnt) == 0 &&
              offsetof(tagCPOMEMHEADER, uAllocSize) == 8 && offsetof(tagCPOMEMHEADER, uSize) == 16 &&
              offsetof(tagCPOMEMHEADER, pVTbl) == 24);
static_assert(std::is_same_v<decltype(tagCPOMEMHEADER::lRefCnt), unsigned int>);
static_assert(std::is_same_v<decltype(tagCPOMEMHEADER::uAllocSize), unsigned long>);
static_assert(std::is_same_v<decltype(tagCPOMEMHEADER::uSize), unsigned long>);
static_assert(std::is_same_v<decltype(tagCPOMEMHEADER::pVTbl), tagCPOVTABL const*>);
static_assert(sizeof(tagCPOVTABL) == 4 * sizeof(void*) && offsetof(tagCPOVTABL, _create) == 0 &&
              offsetof(tagCPOVTABL, _clone) == 8 && offsetof(tagCPOVTABL, _finalize) == 16 &&
              offsetof(tagCPOVTABL, _interface) == 24);
static_assert(sizeof(CPObjectMemory) == sizeof(void*) && !std::is_polymorphic_v<CPObjectMemory>);

TEST(ObjectMemoryHandle, an_empty_handle_answers_with_nothing)
{
    CPObjectMemory empty;
    CPObjectMemory const constant_empty;
    EXPECT_FALSE(empty);
    EXPECT_FALSE(constant_empty);
    EXPECT_EQ(empty.get_ptr(), nullptr);
    EXPECT_EQ(empty.get_cptr(), nullptr);
    EXPECT_EQ(empty.GetSize(), 0U);
    EXPECT_EQ(empty.GetAllocSize(), 0U);
    EXPECT_EQ(empty.lockcnt(), 0U);
    EXPECT_EQ(empty.key(), 0U);
    EXPECT_EQ(empty.hash(), 0U);
    EXPECT_EQ(empty.GetTypeID(), nullptr);
    EXPECT_FALSE(empty.IsType(nullptr)) << "an empty handle is of no type, not even of null";
    EXPECT_FALSE(empty.IsType(&BlockProbe::table));
    EXPECT_TRUE(empty == constant_empty);
    EXPECT_FALSE(empty != constant_empty);
}

TEST(ObjectMemoryHandle, pnull_is_empty)
{
    EXPECT_FALSE(CPObjectMemory::pnull);
    EXPECT_EQ(CPObjectMemory::pnull.get_cptr(), nullptr);
}

TEST(ObjectMemoryHandle, a_handle_is_a_pointer_to_the_header_and_the_payload_follows)
{
    CPObjectMemory handle;
    ASSERT_EQ(handle.Alloc(40, &BlockProbe::table), 1);
    unsigned char* block = nullptr;
    std::memcpy(&block, static_cast<void const*>(&handle), sizeof block);
    EXPECT_EQ(handle.get_ptr(), block + 32);
    EXPECT_EQ(handle.get_cptr(), block + 32);

    unsigned int count = 0;
    unsigned long capacity = 0;
    unsigned long used = 0;
    void const* type = nullptr;
    std::memcpy(&count, block, sizeof count);
    std::memcpy(&capacity, block + 8, sizeof capacity);
    std::memcpy(&used, block + 16, sizeof used);
    std::memcpy(&type, block + 24, sizeof type);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(capacity, 40U);
    EXPECT_EQ(used, 40U);
    EXPECT_EQ(type, &BlockProbe::table);
    EXPECT_EQ(handle.key(), reinterpret_cast<unsigned long>(block) >> 3);
}

TEST(ObjectMemoryHandle, the_payload_is_aligned_for_64_bit_data)
{
    for (unsigned long size : {0UL, 1UL, 3UL, 8UL, 33UL, 1000UL})
    {
        CPObjectMemory handle;
        ASSERT_EQ(handle.Alloc(size, &BlockProbe::table), 1);
        EXPECT_EQ(reinterpret_cast<unsigned long>(handle.get_ptr()) % 8, 0U) << size;
    }
}

TEST(ObjectMemoryHandle, a_block_tells_its_sizes_count_and_type)
{
    CPObjectMemory handle;
    ASSERT_EQ(handle.Alloc(24, &BlockProbe::table), 1);
    ASSERT_EQ(handle.SetSize(10), 1);
    EXPECT_TRUE(handle);
    EXPECT_EQ(handle.GetSize(), 10U);
    EXPECT_EQ(handle.GetAllocSize(), 24U);
    EXPECT_EQ(handle.lockcnt(), 1U);
    CPObjectMemory const second(handle);
    EXPECT_EQ(handle.lockcnt(), 2U);
    EXPECT_EQ(second.lockcnt(), 2U);
    EXPECT_EQ(handle.GetTypeID(), &BlockProbe::table);
    EXPECT_TRUE(handle.IsType(&BlockProbe::table));
    EXPECT_FALSE(handle.IsType(&BlockProbe::other_table)) << "an equal table elsewhere is another type";
    EXPECT_FALSE(handle.IsType(nullptr));
}

TEST(ObjectMemoryHandle, comparison_is_of_blocks_and_not_of_contents)
{
    CPObjectMemory first;
    CPObjectMemory second;
    ASSERT_EQ(first.Alloc(8, &BlockProbe::table), 1);
    ASSERT_EQ(second.Alloc(8, &BlockProbe::table), 1);
    std::memset(first.get_ptr(), 1, 8);
    std::memset(second.get_ptr(), 1, 8);
    CPObjectMemory const same(first);
    EXPECT_TRUE(first == same);
    EXPECT_FALSE(first != same);
    EXPECT_FALSE(first == second);
    EXPECT_TRUE(first != second);
    EXPECT_FALSE(first == CPObjectMemory());
}

TEST(ObjectMemoryHandle, get_type_is_the_first_place_in_the_list)
{
    CPObjectMemory handle;
    ASSERT_EQ(handle.Alloc(8, &BlockProbe::table), 1);
    unsigned long const own = reinterpret_cast<unsigned long>(&BlockProbe::table);
    unsigned long const other = reinterpret_cast<unsigned long>(&BlockProbe::other_table);
    unsigned long list[] = {other, 0, own, own};
    EXPECT_EQ(handle.GetType(list, 4), 2U);
    EXPECT_EQ(handle.GetType(list, 3), 2U);
    EXPECT_EQ(handle.GetType(list, 2), 0xFFFFFFFFU) << "entries behind the count are not looked at";
    EXPECT_EQ(handle.GetType(list + 2, 1), 0U);
    EXPECT_EQ(handle.GetType(list + 2, 0), 0xFFFFFFFFU);
    EXPECT_EQ(handle.GetType(nullptr, 0), 0xFFFFFFFFU);
    EXPECT_EQ(CPObjectMemory().GetType(list, 4), 0xFFFFFFFFU);
    unsigned long const none[] = {0};
    EXPECT_EQ(CPObjectMemory().GetType(none, 1), 0xFFFFFFFFU);
}

TEST(ObjectMemoryHandle, is_assignable_for_one_object)
{
    CPObjectMemory handle;
    EXPECT_TRUE(handle.IsAssignable(8, &BlockProbe::table)) << "an empty handle takes anything";
    EXPECT_FALSE(handle.IsAssignable(0, &BlockProbe::table));
    EXPECT_FALSE(handle.IsAssignable(8, nullptr));

    ASSERT_EQ(handle.Alloc(12, &BlockProbe::table), 1);
    EXPECT_TRUE(handle.IsAssignable(11, &BlockProbe::table));
    EXPECT_TRUE(handle.IsAssignable(12, &BlockProbe::table));
    EXPECT_FALSE(handle.IsAssignable(13, &BlockProbe::table));
    EXPECT_FALSE(handle.IsAssignable(12, &BlockProbe::other_table));
    EXPECT_FALSE(handle.IsAssignable(0, &BlockProbe::table));
    EXPECT_FALSE(handle.IsAssignable(12, nullptr));

    ASSERT_EQ(handle.SetSize(0), 1);
    EXPECT_FALSE(handle.IsAssignable(8, &BlockProbe::table)) << "the used size counts and not the capacity";
}

TEST(ObjectMemoryHandle, is_n_assignable_for_whole_elements)
{
    CPObjectMemory handle;
    EXPECT_TRUE(handle.IsNAssignable(8, &BlockProbe::table));
    EXPECT_FALSE(handle.IsNAssignable(0, &BlockProbe::table));
    EXPECT_FALSE(handle.IsNAssignable(8, nullptr));

    ASSERT_EQ(handle.Alloc(12, &BlockProbe::table), 1);
    EXPECT_FALSE(handle.IsNAssignable(8, &BlockProbe::table));
    EXPECT_TRUE(handle.IsNAssignable(12, &BlockProbe::table));
    EXPECT_TRUE(handle.IsNAssignable(4, &BlockProbe::table));
    EXPECT_FALSE(handle.IsNAssignable(24, &BlockProbe::table));
    EXPECT_FALSE(handle.IsNAssignable(4, &BlockProbe::other_table));
    EXPECT_FALSE(handle.IsNAssignable(0, &BlockProbe::table));

    ASSERT_EQ(handle.SetSize(0), 1);
    EXPECT_TRUE(handle.IsNAssignable(8, &BlockProbe::table)) << "an empty block holds a whole number of elements";
}

unsigned int folded(void const* block)
{
    unsigned long const address = reinterpret_cast<unsigned long>(block);
    return static_cast<unsigned int>(address >> 32) ^ static_cast<unsigned int>(address & 0xFFFFFFFF);
}

TEST(ObjectMemoryHandle, hash_folds_the_address)
{
    CPObjectMemory handle;
    for (unsigned long size = 0; size < 100; ++size)
    {
        ASSERT_EQ(handle.Alloc(size, &BlockProbe::table), 1);
        unsigned int const expected = folded(header_of(handle));
        EXPECT_EQ(handle.hash(), expected == 0 ? 1 : expected);
        EXPECT_NE(handle.hash(), 0U);
    }
}

// ThreadSanitizer has memory at its own places only.
#if defined(__SANITIZE_THREAD__)
#define ADDRESSES_MAY_BE_CHOSEN 0
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define ADDRESSES_MAY_BE_CHOSEN 0
#endif
#endif
#ifndef ADDRESSES_MAY_BE_CHOSEN
#ifdef MAP_FIXED_NOREPLACE
#define ADDRESSES_MAY_BE_CHOSEN 1
#else
#define ADDRESSES_MAY_BE_CHOSEN 0
#endif
#endif

// The two halves of such an address are equal, so that they cancel out.
TEST(ObjectMemoryHandle, hash_is_1_where_the_halves_of_the_address_are_equal)
{
#if !ADDRESSES_MAY_BE_CHOSEN
    GTEST_SKIP() << "no memory can be had at a chosen address";
#else
    for (unsigned long half : {0x1000UL, 0x2000UL, 0x3000UL, 0x4000UL, 0x5000UL})
    {
        unsigned long const address = half << 32 | half;
        void* const wanted = reinterpret_cast<void*>(address);
        void* const page =
            ::mmap(wanted, 0x1000, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
        if (page == MAP_FAILED)
            continue;
        if (page == wanted)
        {
            Adopted const handle(new (page) tagCPOMEMHEADER{0, 0, 0, &BlockProbe::table});
            EXPECT_EQ(handle.hash(), 1U);
            EXPECT_EQ(handle.key(), address >> 3);

            Adopted const next(new (static_cast<char*>(page) + 0x40) tagCPOMEMHEADER{0, 0, 0, &BlockProbe::table});
            EXPECT_EQ(next.hash(), 0x40U);
        }
        ::munmap(page, 0x1000);
        if (page == wanted)
            return;
    }
    GTEST_SKIP() << "no such address is free";
#endif
}

} // namespace
