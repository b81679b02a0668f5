#include "ORVA/Buffers/Interface.h"

#include "support/AllocationFailure.h"
#include "support/LogRecorder.h"
#include "threading/thread_bodies.h"

#include <boost/thread/exceptions.hpp>

#include <gtest/gtest.h>

#include <stdexcept>
#include <type_traits>
#include <utility>

namespace
{

using namespace ORVA::Buffers;
using namespace ORVA::Threading;
using namespace threads;
using support::AllocationFailure;
using support::LogRecorder;

struct Plain
{
    long first;
    int second;
    int run() { return ++second; }
};

struct Empty
{
    void run() {}
};

struct Polymorphic
{
    virtual ~Polymorphic() = default;
    virtual int run() { return 7; }
    long field = 11;
};

// Counts its objects and says what it is asked to throw.
struct Counted
{
    static int alive;
    static bool refuses;
    Counted()
    {
        if (refuses)
            throw std::runtime_error("refused");
        ++alive;
    }
    ~Counted() { --alive; }
    Counted(Counted const&) = delete;
    Counted& operator=(Counted const&) = delete;
    void run() {}
};
int Counted::alive = 0;
bool Counted::refuses = false;

_nqfUID const& body_uid()
{
    return __nqf_uuidof<IThreadExecute>();
}

template <class T>
long offset_in(void const* part, T const& whole)
{
    return static_cast<char const*>(part) - reinterpret_cast<char const*>(&whole);
}

// The place in bytes in the table of virtual functions, which is what a pointer to such a function holds besides a mark.
template <class Member>
unsigned long slot_of(Member member)
{
    unsigned long words[2] = {};
    static_assert(sizeof(member) == sizeof(words));
    std::memcpy(words, &member, sizeof(words));
    return (words[0] & ~1UL) / sizeof(void*);
}

TEST(ThreadExecuteInterface, has_its_identifier_and_two_operations)
{
    _nqfUID const expected = {0x24508B8F, 0xA78E, 0x4243, {0x9E, 0x68, 0x71, 0xAA, 0x02, 0x9C, 0x83, 0x8A}};
    EXPECT_EQ(std::memcmp(&body_uid(), &expected, sizeof(expected)), 0);
    EXPECT_EQ(sizeof(IThreadExecute), sizeof(void*));
    EXPECT_EQ(slot_of(&IThreadExecute::execute), 0U);
    EXPECT_EQ(slot_of(&IThreadExecute::exitCode), 1U);
}

TEST(ThreadWrapper, is_the_class_and_the_interface_and_no_copy)
{
    using Wrapper = CThreadWrapper<Plain>;
    EXPECT_TRUE((std::is_base_of_v<Plain, Wrapper>));
    EXPECT_TRUE((std::is_base_of_v<IThreadExecute, Wrapper>));
    EXPECT_TRUE((std::is_same_v<decltype(std::declval<Wrapper&>().exitCode()), unsigned int>));
    EXPECT_FALSE(std::is_copy_constructible_v<Wrapper>);
}

TEST(ThreadWrapper, interface_is_at_the_start_then_the_class_then_the_exit_code)
{
    CThreadWrapper<Plain> wrapper;
    EXPECT_EQ(offset_in(static_cast<IThreadExecute*>(&wrapper), wrapper), 0);
    EXPECT_EQ(offset_in(static_cast<Plain*>(&wrapper), wrapper), 8);
    EXPECT_EQ(sizeof(wrapper), sizeof(void*) + sizeof(Plain) + 8);
    unsigned int code = 99;
    std::memcpy(&code, reinterpret_cast<char const*>(&wrapper) + 8 + sizeof(Plain), sizeof(code));
    EXPECT_EQ(code, 0U);
    wrapper.execute();
    std::memcpy(&code, reinterpret_cast<char const*>(&wrapper) + 8 + sizeof(Plain), sizeof(code));
    EXPECT_EQ(code, 3U);
    EXPECT_EQ(sizeof(CThreadWrapper<Empty>), 16U);
}

TEST(ThreadWrapper, adds_one_virtual_operation_behind_the_two)
{
    using Wrapper = CThreadWrapper<Plain>;
    EXPECT_EQ(slot_of(&Wrapper::execute), 0U);
    EXPECT_EQ(slot_of(&Wrapper::exitCode), 1U);
    EXPECT_EQ(slot_of(&Wrapper::queryInterface), 2U);
}

TEST(ThreadWrapper, gives_its_interface_for_that_identifier_only)
{
    CThreadWrapper<Plain> const wrapper;
    EXPECT_EQ(wrapper.queryInterface(body_uid()), static_cast<void const*>(&wrapper));
    for (unsigned int byte = 0; byte < sizeof(_nqfUID); ++byte)
    {
        unsigned char bytes[sizeof(_nqfUID)];
        std::memcpy(bytes, &body_uid(), sizeof(bytes));
        bytes[byte] ^= 1;
        _nqfUID other;
        std::memcpy(&other, bytes, sizeof(other));
        EXPECT_EQ(wrapper.queryInterface(other), nullptr) << byte;
    }
    EXPECT_EQ(wrapper.queryInterface(_nqfUID()), nullptr);
}

TEST(ThreadWrapper, of_a_class_with_virtual_functions_gives_the_interface_where_it_is)
{
    CPThreadContext<Polymorphic> context;
    Polymorphic* const body = context.create();
    ASSERT_NE(body, nullptr);
    EXPECT_EQ(body->field, 11);
    CPInterface<IThreadExecute> const execute(context);
    ASSERT_TRUE(execute);
    EXPECT_GT(execute.lOffset, 0);
    EXPECT_EQ(execute->exitCode(), 0U);
    execute->execute();
    EXPECT_EQ(execute->exitCode(), 3U);
}

TEST(ThreadWrapper, value_initialises_the_class)
{
    alignas(16) unsigned char memory[sizeof(CThreadWrapper<Plain>)];
    std::memset(memory, 0xA5, sizeof(memory));
    CPThreadContext<Plain>::_create(memory, sizeof(memory));
    auto* const wrapper = reinterpret_cast<CThreadWrapper<Plain>*>(memory);
    EXPECT_EQ(wrapper->first, 0);
    EXPECT_EQ(wrapper->second, 0);
    EXPECT_EQ(wrapper->exitCode(), 0U);
    CPThreadContext<Plain>::_finalize(memory, sizeof(memory));
}

TEST(ThreadWrapper, exit_code_is_0_before_1_during_and_3_after_the_run)
{
    Context context;
    unsigned int during = 99;
    context.create()->work = [&] { during = context->exitCode(); };
    EXPECT_EQ(context->exitCode(), 0U);
    context->execute();
    EXPECT_EQ(during, 1U);
    EXPECT_EQ(context->exitCode(), 3U);
}

TEST(ThreadWrapper, exit_code_is_2_after_any_exception_which_goes_no_further_and_is_not_logged)
{
    LogRecorder recorder;
    std::function<void()> const bodies[] = {[] { throw std::runtime_error("body"); }, [] { throw 5; },
                                            [] { throw boost::thread_interrupted(); }};
    for (std::function<void()> const& body : bodies)
    {
        Context context = context_of(body);
        EXPECT_NO_THROW(context->execute());
        EXPECT_EQ(context->exitCode(), 2U);
    }
    EXPECT_EQ(recorder.count(), 0U);
}

TEST(ThreadWrapper, may_be_run_again)
{
    bool throws = true;
    Context context = context_of(
        [&]
        {
            if (throws)
                throw 1;
        });
    context->execute();
    EXPECT_EQ(context->exitCode(), 2U);
    throws = false;
    context->execute();
    EXPECT_EQ(context->exitCode(), 3U);
}

TEST(ThreadWrapper, result_of_the_run_is_not_used)
{
    CPThreadContext<Plain> context;
    context.create()->second = 4;
    context->execute();
    EXPECT_EQ(context->second, 5);
    EXPECT_EQ(context->exitCode(), 3U);
}

TEST(ThreadContext, is_one_pointer_and_starts_empty_without_an_allocation)
{
    AllocationFailure const count(0);
    Context const context;
    EXPECT_FALSE(context);
    EXPECT_EQ(count.attempts(), 0U);
    EXPECT_TRUE((std::is_base_of_v<CPObjectMemory, Context>));
    EXPECT_EQ(sizeof(Context), sizeof(void*));
}

TEST(ThreadContext, table_has_create_no_clone_finalize_and_interface)
{
    EXPECT_EQ(Context::_vtbl._create, &Context::_create);
    EXPECT_TRUE(Context::_vtbl._clone == nullptr);
    EXPECT_EQ(Context::_vtbl._finalize, &Context::_finalize);
    EXPECT_EQ(Context::_vtbl._interface, &Context::_interface);
    EXPECT_TRUE((std::is_same_v<decltype(Context::_vtbl), tagCPOVTABL const>));
    EXPECT_EQ(Context::GetTypeID(), &Context::_vtbl);
}

TEST(ThreadContext, table_works_in_place)
{
    using Counting = CPThreadContext<Counted>;
    alignas(16) unsigned char memory[sizeof(CThreadWrapper<Counted>)];
    Counting::_vtbl._create(memory, 0);
    EXPECT_EQ(Counted::alive, 1);
    EXPECT_EQ(Counting::_vtbl._interface(memory, body_uid()), memory);
    EXPECT_EQ(Counting::_vtbl._interface(memory, _nqfUID()), nullptr);
    Counting::_vtbl._finalize(memory, 0);
    EXPECT_EQ(Counted::alive, 0);
}

TEST(ThreadContext, table_asks_the_object_for_the_interface)
{
    struct Hiding : CThreadWrapper<Plain>
    {
        void* queryInterface(_nqfUID const& uid) const override
        {
            return uid.Data1 == 7 ? CThreadWrapper<Plain>::queryInterface(body_uid()) : nullptr;
        }
    };
    Hiding object;
    CThreadWrapper<Plain>* const wrapper = &object;
    EXPECT_EQ(CPThreadContext<Plain>::_vtbl._interface(wrapper, body_uid()), nullptr);
    EXPECT_EQ(CPThreadContext<Plain>::_vtbl._interface(wrapper, {7, 0, 0, {}}), wrapper);
}

TEST(ThreadContext, create_makes_one_object_and_gives_the_same_again)
{
    CPThreadContext<Counted> context;
    Counted* body;
    {
        AllocationFailure const count(0);
        body = context.create();
        EXPECT_EQ(count.attempts(), 1U);
        EXPECT_EQ(count.last_size(), sizeof(tagCPOMEMHEADER) + sizeof(CThreadWrapper<Counted>));
        EXPECT_EQ(context.create(), body);
        EXPECT_EQ(count.attempts(), 1U);
    }
    ASSERT_NE(body, nullptr);
    EXPECT_EQ(Counted::alive, 1);
    EXPECT_TRUE(context.IsType(&CPThreadContext<Counted>::_vtbl));
    EXPECT_EQ(context.lockcnt(), 1U);
    EXPECT_EQ(context.GetSize(), sizeof(CThreadWrapper<Counted>));
    EXPECT_EQ(static_cast<void const*>(body), static_cast<Counted const*>(&*context));

    CPObjectMemory const second = context;
    context.free();
    EXPECT_EQ(Counted::alive, 1);
    const_cast<CPObjectMemory&>(second).free();
    EXPECT_EQ(Counted::alive, 0);
}

TEST(ThreadContext, create_gives_the_class_and_not_the_start_of_the_block)
{
    CPThreadContext<Plain> context;
    Plain* const body = context.create();
    ASSERT_NE(body, nullptr);
    EXPECT_EQ(reinterpret_cast<char*>(body) - static_cast<char*>(context.get_ptr()), 8);
    body->first = 23;
    EXPECT_EQ(context.create()->first, 23);
}

TEST(ThreadContext, create_without_memory_is_null_and_the_handle_empty)
{
    CPThreadContext<Counted> context;
    {
        AllocationFailure const failure(1);
        EXPECT_EQ(context.create(), nullptr);
    }
    EXPECT_FALSE(context);
    EXPECT_EQ(Counted::alive, 0);
    EXPECT_NE(context.create(), nullptr);
}

TEST(ThreadContext, constructor_that_throws_leaves_the_handle_empty)
{
    CPThreadContext<Counted> context;
    Counted::refuses = true;
    EXPECT_THROW(context.create(), std::runtime_error);
    Counted::refuses = false;
    EXPECT_FALSE(context);
    EXPECT_EQ(Counted::alive, 0);
}

TEST(ThreadContext, offers_the_interface_at_the_start)
{
    CPThreadContext<Plain> context;
    context.create();
    EXPECT_EQ(context.queryinterface(context, body_uid()), 0);
    EXPECT_EQ(context.queryinterface(context, _nqfUID()), -1);
    CPInterface<IThreadExecute> const execute(context);
    ASSERT_TRUE(execute);
    execute->execute();
    EXPECT_EQ(execute->exitCode(), 3U);
    EXPECT_EQ(context->second, 1);
}

TEST(ThreadContext, cannot_be_cloned)
{
    CPThreadContext<Plain> context;
    context.create();
    CPObjectMemory second = context;
    LogRecorder recorder;
    EXPECT_EQ(second.clone(), 0);
    EXPECT_EQ(recorder.take(),
              support::LogMessages{support::illegal_point("CPObjectMemory::clone: Class does not allow cloning")});
    EXPECT_TRUE(second == context);
}

TEST(ThreadContext, takes_blocks_of_its_own_type_only)
{
    CPThreadContext<Plain> context;
    context.create();
    CPThreadContext<Plain> same(static_cast<CPObjectMemory const&>(context));
    EXPECT_TRUE(same == context);
    CPThreadContext<Empty> other;
    other.create();
    EXPECT_FALSE(CPThreadContext<Plain>(static_cast<CPObjectMemory const&>(other)));
    EXPECT_FALSE(CPThreadContext<Plain>(block_without_interface()));
    EXPECT_FALSE(CPThreadContext<Plain>(CPObjectMemory::pnull));

    CPThreadContext<Plain> assigned;
    assigned = static_cast<CPObjectMemory const&>(context);
    EXPECT_EQ(context.lockcnt(), 3U);
    assigned = static_cast<CPObjectMemory const&>(other);
    EXPECT_FALSE(assigned);
    EXPECT_EQ(context.lockcnt(), 2U);
}

} // namespace
