#include "ORVA/Buffers/PlainMemory.h"
#include "ORVA/Threading/Locks.h"

#include "support/AllocationFailure.h"
#include "support/LogRecorder.h"
#include "threading/locks_threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <type_traits>
#include <utility>

// What the three lock handles have in common.
namespace
{

using namespace ORVA::Buffers;
using namespace ORVA::Threading;
using namespace locks;
using support::AllocationFailure;

struct MutexKind
{
    using Handle = CPMutex;
    using Lock = _cMutex;
    using Boost = boost::timed_mutex;
    static constexpr tagCPOVTABL const& table = _vtbl_cMutex;
    static constexpr auto create = &_create_cMutex;
    static constexpr auto finalize = &_finalize_cMutex;
    static bool enter(Lock& lock) { return lock.TryEnter(0); }
    static void leave(Lock& lock) { lock.Leave(); }
};

struct CriticalSectionKind
{
    using Handle = CPCriticalSection;
    using Lock = _cCriticalSection;
    using Boost = boost::recursive_timed_mutex;
    static constexpr tagCPOVTABL const& table = _vtbl_cCriticalSection;
    static constexpr auto create = &_create_cCriticalSection;
    static constexpr auto finalize = &_finalize_cCriticalSection;
    static bool enter(Lock& lock) { return lock.TryEnter(0); }
    static void leave(Lock& lock) { lock.Leave(); }
};

struct RWInterlockKind
{
    using Handle = CPRWInterlock;
    using Lock = _cRWInterlock;
    using Boost = boost::shared_mutex;
    static constexpr tagCPOVTABL const& table = _vtbl_cRWInterlock;
    static constexpr auto create = &_create_cRWInterlock;
    static constexpr auto finalize = &_finalize_cRWInterlock;
    static bool enter(Lock& lock) { return lock.TryEnterWrite(0); }
    static void leave(Lock& lock) { lock.LeaveWrite(); }
};

template <class Kind>
class LockHandle : public testing::Test
{
};

struct KindNames
{
    template <class Kind>
    static std::string GetName(int)
    {
        return LockNames::GetName<typename Kind::Handle>(0);
    }
};

using Kinds = testing::Types<MutexKind, CriticalSectionKind, RWInterlockKind>;
TYPED_TEST_SUITE(LockHandle, Kinds, KindNames);

TYPED_TEST(LockHandle, is_one_pointer_and_the_plain_class_cannot_be_copied)
{
    using Handle = typename TypeParam::Handle;
    using Lock = typename TypeParam::Lock;
    EXPECT_TRUE((std::is_base_of_v<CPObjectMemory, Handle>));
    EXPECT_EQ(sizeof(Handle), sizeof(void*));
    EXPECT_FALSE(std::is_copy_constructible_v<Lock>);
    EXPECT_FALSE(std::is_copy_assignable_v<Lock>);
    EXPECT_FALSE(std::is_polymorphic_v<Lock>);
}

TYPED_TEST(LockHandle, type_table_has_create_no_clone_finalize_and_no_interface)
{
    EXPECT_EQ(TypeParam::table._create, TypeParam::create);
    EXPECT_TRUE(TypeParam::table._clone == nullptr);
    EXPECT_EQ(TypeParam::table._finalize, TypeParam::finalize);
    EXPECT_EQ(TypeParam::table._interface, &CPObjectMemory::_nointerface);
}

TYPED_TEST(LockHandle, type_id_is_the_address_of_the_table)
{
    using Handle = typename TypeParam::Handle;
    EXPECT_TRUE((std::is_same_v<decltype(Handle::GetTypeID()), void const*>));
    EXPECT_EQ(Handle::GetTypeID(), &TypeParam::table);
    Handle const handle;
    CPObjectMemory const& untyped = handle;
    EXPECT_EQ(untyped.GetTypeID(), Handle::GetTypeID());
    for (void const* const id : {CPMutex::GetTypeID(), CPCriticalSection::GetTypeID(), CPRWInterlock::GetTypeID()})
        EXPECT_EQ(handle.IsType(id), id == Handle::GetTypeID());
}

TYPED_TEST(LockHandle, create_and_finalize_work_in_place_and_ignore_the_size)
{
    using Lock = typename TypeParam::Lock;
    for (unsigned long const size : {0UL, 1UL, sizeof(Lock), 0xFFFFFFFFFFFFFFFFUL})
    {
        alignas(16) unsigned char memory[sizeof(Lock) + 16];
        std::memset(memory, 0xA5, sizeof(memory));
        TypeParam::table._create(memory, size);
        auto* const lock = reinterpret_cast<Lock*>(memory);
        EXPECT_TRUE(TypeParam::enter(*lock));
        TypeParam::leave(*lock);
        TypeParam::table._finalize(memory, size);
        for (unsigned long i = sizeof(Lock); i < sizeof(memory); ++i)
            EXPECT_EQ(memory[i], 0xA5);
    }
}

TYPED_TEST(LockHandle, is_made_with_a_block_of_the_size_of_the_lock_class)
{
    typename TypeParam::Handle const handle;
    ASSERT_TRUE(handle);
    EXPECT_EQ(handle.lockcnt(), 1U);
    EXPECT_EQ(handle.GetSize(), sizeof(typename TypeParam::Lock));
    EXPECT_EQ(handle.GetAllocSize(), sizeof(typename TypeParam::Lock));
    EXPECT_GE(sizeof(typename TypeParam::Lock), sizeof(typename TypeParam::Boost));
}

TYPED_TEST(LockHandle, is_made_with_one_allocation)
{
    AllocationFailure const count(0);
    typename TypeParam::Handle const handle;
    EXPECT_EQ(count.attempts(), 1U);
    EXPECT_EQ(count.last_size(), sizeof(tagCPOMEMHEADER) + sizeof(typename TypeParam::Lock));
}

TYPED_TEST(LockHandle, two_handles_made_apart_have_locks_of_their_own)
{
    typename TypeParam::Handle first;
    typename TypeParam::Handle second;
    EXPECT_TRUE(first != second);
    first.Enter();
    EXPECT_TRUE(is_free(second));
    first.Leave();
}

TYPED_TEST(LockHandle, copies_share_one_lock)
{
    using Handle = typename TypeParam::Handle;
    Handle first;
    Handle constructed(first);
    Handle assigned;
    assigned = first;
    EXPECT_TRUE(constructed == first);
    EXPECT_TRUE(assigned == first);
    EXPECT_EQ(first.lockcnt(), 3U);

    first.Enter();
    EXPECT_FALSE(is_free(constructed));
    EXPECT_FALSE(is_free(assigned));
    assigned.Leave();
    EXPECT_TRUE(is_free(first));
}

TYPED_TEST(LockHandle, assigning_releases_the_old_lock_and_to_itself_changes_nothing)
{
    using Handle = typename TypeParam::Handle;
    Handle first;
    Handle second;
    Handle const keeps_the_second = second;
    second = first;
    EXPECT_EQ(keeps_the_second.lockcnt(), 1U);
    EXPECT_EQ(first.lockcnt(), 2U);

    Handle& same = second;
    second = same;
    EXPECT_EQ(first.lockcnt(), 2U);
}

TYPED_TEST(LockHandle, moving_copies)
{
    using Handle = typename TypeParam::Handle;
    Handle first;
    Handle constructed(std::move(first));
    Handle assigned;
    assigned = std::move(constructed);
    EXPECT_EQ(first.lockcnt(), 3U);
    EXPECT_TRUE(assigned == first);
}

TYPED_TEST(LockHandle, lock_lives_until_its_last_handle_goes)
{
    using Handle = typename TypeParam::Handle;
    Handle last;
    {
        Handle const first;
        last = first;
    }
    EXPECT_EQ(last.lockcnt(), 1U);
    EXPECT_TRUE(last.TryEnter(0));
    last.Leave();
}

TYPED_TEST(LockHandle, from_an_untyped_handle_takes_a_lock_of_its_own_type_only)
{
    using Handle = typename TypeParam::Handle;
    Handle lock;
    CPObjectMemory const untyped = lock;
    Handle const retyped(untyped);
    EXPECT_TRUE(retyped == lock);

    CPObjectMemory other;
    ASSERT_EQ(other.Alloc(4096, &CPPlainMemory::_vtbl), 1);
    EXPECT_FALSE(Handle(other));
    EXPECT_FALSE(Handle(CPObjectMemory::pnull));
    EXPECT_EQ(bool(Handle(CPObjectMemory(CPMutex()))), Handle::GetTypeID() == CPMutex::GetTypeID());
    EXPECT_EQ(bool(Handle(CPObjectMemory(CPCriticalSection()))), Handle::GetTypeID() == CPCriticalSection::GetTypeID());
    EXPECT_EQ(bool(Handle(CPObjectMemory(CPRWInterlock()))), Handle::GetTypeID() == CPRWInterlock::GetTypeID());
}

TYPED_TEST(LockHandle, assigned_an_untyped_handle_takes_a_lock_of_its_own_type_only)
{
    using Handle = typename TypeParam::Handle;
    Handle lock;
    CPObjectMemory const untyped = lock;
    Handle target;
    target = untyped;
    EXPECT_TRUE(target == lock);

    CPObjectMemory other;
    ASSERT_EQ(other.Alloc(4096, &CPPlainMemory::_vtbl), 1);
    target = other;
    EXPECT_FALSE(target);
    EXPECT_EQ(lock.lockcnt(), 2U) << "the refused block releases the lock";
    target = untyped;
    target = CPObjectMemory::pnull;
    EXPECT_FALSE(target);
}

TYPED_TEST(LockHandle, clone_is_refused_with_a_report_for_a_sole_owner_and_a_shared_lock)
{
    support::LogRecorder recorder;
    typename TypeParam::Handle handle;
    auto const report = support::illegal_point("CPObjectMemory::clone: Class does not allow cloning");

    EXPECT_EQ(handle.clone(), 0);
    EXPECT_EQ(recorder.take(), support::LogMessages{report});

    typename TypeParam::Handle const copy = handle;
    EXPECT_EQ(handle.clone(), 0);
    EXPECT_EQ(recorder.take(), support::LogMessages{report});
    EXPECT_TRUE(handle == copy);
    EXPECT_TRUE(handle.TryEnter(0));
    handle.Leave();
}

TYPED_TEST(LockHandle, has_no_interfaces)
{
    typename TypeParam::Handle const handle;
    EXPECT_EQ(handle.queryinterface(handle, _nqfUID{}), -1);
}

template <class Handle>
void expect_quiet_no_ops(Handle& handle)
{
    handle.Enter();
    handle.Leave();
    handle.Leave();
    EXPECT_FALSE(handle.TryEnter(0));
    EXPECT_FALSE(handle.TryEnter(1));
    EXPECT_FALSE(handle.TryEnter(plenty));
    EXPECT_FALSE(handle.TryEnter(no_limit));
    if constexpr (std::is_same_v<Handle, CPRWInterlock>)
    {
        handle.EnterRead();
        handle.LeaveRead();
        handle.LeaveRead();
        EXPECT_FALSE(handle.TryEnterRead(0));
        EXPECT_FALSE(handle.TryEnterRead(1));
        EXPECT_FALSE(handle.TryEnterRead(plenty));
        EXPECT_FALSE(handle.TryEnterRead(no_limit));
    }
    EXPECT_FALSE(handle);
}

TYPED_TEST(LockHandle, made_without_memory_is_empty_and_does_nothing_quietly)
{
    support::LogRecorder recorder;
    auto const handle = []
    {
        AllocationFailure const failure(1);
        return std::make_unique<typename TypeParam::Handle>();
    }();
    EXPECT_FALSE(*handle);
    expect_quiet_no_ops(*handle);

    typename TypeParam::Handle copy(*handle);
    expect_quiet_no_ops(copy);
    EXPECT_EQ(recorder.count(), 0U);
}

TYPED_TEST(LockHandle, emptied_by_free_does_nothing_quietly)
{
    support::LogRecorder recorder;
    typename TypeParam::Handle handle;
    handle.free();
    expect_quiet_no_ops(handle);
    EXPECT_EQ(recorder.count(), 0U);
}

TYPED_TEST(LockHandle, ordinary_use_logs_nothing)
{
    support::LogRecorder recorder;
    {
        typename TypeParam::Handle handle;
        handle.Enter();
        EXPECT_FALSE(is_free(handle));
        handle.Leave();
    }
    EXPECT_EQ(recorder.count(), 0U);
}

// `TryEnter` of all kinds, against a lock that another thread holds.

TYPED_TEST(LockHandle, try_enter_on_a_free_lock_succeeds_whatever_the_timeout)
{
    typename TypeParam::Handle handle;
    for (unsigned int const timeout : {0U, 1U, 1000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFEU, no_limit})
    {
        EXPECT_TRUE(handle.TryEnter(timeout)) << timeout;
        EXPECT_FALSE(is_free(handle)) << timeout;
        handle.Leave();
        EXPECT_TRUE(is_free(handle)) << timeout;
    }
}

TYPED_TEST(LockHandle, try_enter_0_on_a_held_lock_is_false)
{
    typename TypeParam::Handle handle;
    handle.Enter();
    EXPECT_FALSE(on_another_thread([&] { return handle.TryEnter(0); }));
    handle.Leave();
    EXPECT_TRUE(is_free(handle));
}

TYPED_TEST(LockHandle, timed_attempt_that_runs_out_is_false_not_before_its_time)
{
    typename TypeParam::Handle handle;
    handle.Enter();
    for (unsigned int const timeout : {1U, 2U, 15U, 130U})
    {
        auto const start = std::chrono::steady_clock::now();
        EXPECT_FALSE(on_another_thread([&] { return handle.TryEnter(timeout); }));
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(timeout));
    }
    handle.Leave();
    EXPECT_TRUE(is_free(handle));
}

// The shortest of a few attempts, so that a machine that is busy elsewhere is no failure of the lock.
TYPED_TEST(LockHandle, timeouts_are_milliseconds)
{
    typename TypeParam::Handle handle;
    handle.Enter();
    auto const shortest = [](auto attempt)
    {
        auto best = std::chrono::steady_clock::duration::max();
        for (int round = 0; round < 5 && best > std::chrono::milliseconds(200); ++round)
        {
            auto const start = std::chrono::steady_clock::now();
            EXPECT_FALSE(on_another_thread(attempt));
            best = std::min(best, std::chrono::steady_clock::now() - start);
        }
        return best;
    };
    EXPECT_LT(shortest([&] { return handle.TryEnter(0); }), std::chrono::milliseconds(200));
    EXPECT_LT(shortest([&] { return handle.TryEnter(25); }), std::chrono::milliseconds(200));
    if constexpr (std::is_same_v<typename TypeParam::Handle, CPRWInterlock>)
    {
        EXPECT_LT(shortest([&] { return handle.TryEnterRead(0); }), std::chrono::milliseconds(200));
        EXPECT_LT(shortest([&] { return handle.TryEnterRead(25); }), std::chrono::milliseconds(200));
    }
    handle.Leave();
}

TYPED_TEST(LockHandle, timed_attempt_waits_for_the_holder)
{
    for (unsigned int const timeout : {plenty, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFEU, no_limit})
    {
        typename TypeParam::Handle handle;
        handle.Enter();
        Waiter<bool> waiter(
            [&handle, timeout]
            {
                bool const entered = handle.TryEnter(timeout);
                if (entered)
                    handle.Leave();
                return entered;
            });
        EXPECT_TRUE(waiter.is_blocked()) << timeout;
        handle.Leave();
        EXPECT_TRUE(waiter.result()) << timeout;
        EXPECT_TRUE(is_free(handle)) << timeout;
    }
}

TYPED_TEST(LockHandle, enter_waits_for_the_holder)
{
    typename TypeParam::Handle handle;
    handle.Enter();
    Waiter<void> waiter(
        [&handle]
        {
            handle.Enter();
            handle.Leave();
        });
    EXPECT_TRUE(waiter.is_blocked());
    handle.Leave();
    waiter.result();
    EXPECT_TRUE(is_free(handle));
}

} // namespace
