#include "threading/thread_bodies.h"

#include <gtest/gtest.h>

#include <new>
#include <type_traits>
#include <utility>
#include <vector>

namespace
{

using namespace ORVA::Buffers;
using namespace ORVA::Threading;
using namespace threads;

struct Fields
{
    void* block;
    long offset;
};

Fields fields_of(_cThreadFunctor const& functor)
{
    Fields fields;
    std::memcpy(&fields, static_cast<void const*>(&functor), sizeof(fields));
    return fields;
}

// A block whose type notes what interfaces it is asked for.
std::vector<_nqfUID> asked;

void* note(void* payload, _nqfUID const& uid)
{
    asked.push_back(uid);
    return static_cast<char*>(payload) + 8;
}

void nothing(void*, unsigned long) {}

tagCPOVTABL const noting_table = {&nothing, nullptr, &nothing, &note};

TEST(ThreadFunctor, is_a_handle_and_an_offset)
{
    EXPECT_EQ(sizeof(_cThreadFunctor), 16U);
    EXPECT_TRUE((std::is_constructible_v<_cThreadFunctor, CPObjectMemory const&>));
    CPIObject<Offset> block;
    block.create();
    _cThreadFunctor const functor(block);
    EXPECT_EQ(fields_of(functor).block, static_cast<char*>(block.get_ptr()) - sizeof(tagCPOMEMHEADER));
    EXPECT_EQ(fields_of(functor).offset, 16);
}

TEST(ThreadFunctor, without_the_interface_is_empty_and_does_nothing)
{
    CPObjectMemory const block = block_without_interface();
    for (CPObjectMemory const* source : {&block, &CPObjectMemory::pnull})
    {
        _cThreadFunctor functor(*source);
        EXPECT_FALSE(functor);
        EXPECT_EQ(fields_of(functor).block, nullptr);
        EXPECT_EQ(fields_of(functor).offset, -1);
        functor();
    }
    EXPECT_EQ(block.lockcnt(), 1U);
}

TEST(ThreadFunctor, holds_the_block_and_runs_the_body)
{
    unsigned int runs = 0;
    Context const context = context_of([&] { ++runs; });
    {
        _cThreadFunctor functor(context);
        EXPECT_TRUE(functor);
        EXPECT_EQ(fields_of(functor).offset, 0);
        EXPECT_EQ(context.lockcnt(), 2U);
        EXPECT_EQ(runs, 0U);
        functor();
        EXPECT_EQ(runs, 1U);
        functor();
        EXPECT_EQ(runs, 2U);
    }
    EXPECT_EQ(context.lockcnt(), 1U);
}

TEST(ThreadFunctor, calls_the_interface_where_it_is)
{
    unsigned int runs = 0;
    CPIObject<Offset> block;
    block.create()->work = [&] { ++runs; };
    _cThreadFunctor functor(block);
    EXPECT_EQ(fields_of(functor).offset, 16);
    functor();
    EXPECT_EQ(runs, 1U);
}

TEST(ThreadFunctor, asks_once_for_the_one_interface)
{
    CPObjectMemory block;
    ASSERT_EQ(block.Alloc(16, &noting_table), 1);
    asked.clear();
    _cThreadFunctor const functor(block);
    ASSERT_EQ(asked.size(), 1U);
    EXPECT_EQ(std::memcmp(&asked[0], &__nqf_uuidof<IThreadExecute>(), sizeof(_nqfUID)), 0);
    EXPECT_EQ(fields_of(functor).offset, 8);
}

TEST(ThreadFunctor, made_from_itself_is_empty)
{
    alignas(_cThreadFunctor) unsigned char memory[sizeof(_cThreadFunctor)] = {};
    auto const& own = *new (memory) CPObjectMemory();
    auto* const functor = new (memory) _cThreadFunctor(own);
    EXPECT_FALSE(*functor);
    EXPECT_EQ(fields_of(*functor).offset, -1);
    (*functor)();
    functor->~_cThreadFunctor();
}

TEST(ThreadFunctor, copy_shares_the_block_and_a_move_hands_it_over)
{
    unsigned int runs = 0;
    CPIObject<Offset> block;
    block.create()->work = [&] { ++runs; };
    _cThreadFunctor functor(block);
    _cThreadFunctor copy(functor);
    EXPECT_EQ(block.lockcnt(), 3U);
    copy();
    functor();
    EXPECT_EQ(runs, 2U);
    _cThreadFunctor moved(std::move(functor));
    EXPECT_EQ(block.lockcnt(), 3U);
    moved();
    EXPECT_EQ(runs, 3U);
}

} // namespace
