#include "ORVA/Threading/RWInterlock.h"

#include "ORVA/Develop/Log.h"

#include "threading/locks_threads.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <chrono>
#include <cstring>
#include <thread>
#include <type_traits>

namespace
{

using namespace ORVA::Threading;
using namespace locks;

static_assert(std::is_same_v<decltype(std::declval<_cRWInterlock&>().TryEnterRead(0U)), bool>);
static_assert(std::is_same_v<decltype(std::declval<_cRWInterlock&>().TryEnterWrite(0U)), bool>);
static_assert(std::is_same_v<decltype(std::declval<CPRWInterlock&>().TryEnterRead(0U)), bool>);
static_assert(std::is_same_v<decltype(std::declval<CPRWInterlock&>().TryEnter(0U)), bool>);

// The plain class under the names of the handle, so that one set of tests is for both.
class Plain : public _cRWInterlock
{
public:
    void Enter() { EnterWrite(); }
    bool TryEnter(unsigned int milliseconds) { return TryEnterWrite(milliseconds); }
    void Leave() { LeaveWrite(); }

    unsigned long writer() const { return m_writer; }
    unsigned int nested() const { return m_nested; }
    bool is_laid_out_in_order() const
    {
        auto const* const begin = reinterpret_cast<char const*>(this);
        return reinterpret_cast<char const*>(&m_lock) == begin &&
               reinterpret_cast<char const*>(&m_writer) == begin + sizeof(boost::shared_mutex) &&
               reinterpret_cast<char const*>(&m_nested) == begin + sizeof(boost::shared_mutex) + 8;
    }
};

Tracking state(Plain const& lock)
{
    return tracking_of(static_cast<_cRWInterlock const*>(&lock));
}

Tracking state(CPRWInterlock const& lock)
{
    return tracking_of(lock.get_cptr());
}

unsigned long self()
{
    return (unsigned long)pthread_self();
}

constexpr Tracking untracked = {0, 0};

template <class Lock>
bool another_can_read(Lock& lock)
{
    return on_another_thread(
        [&lock]
        {
            bool const entered = lock.TryEnterRead(0);
            if (entered)
                lock.LeaveRead();
            return entered;
        });
}

TEST(RWInterlockLayout, is_shared_lock_writer_and_nested_entries_in_order)
{
    EXPECT_EQ(sizeof(_cRWInterlock), sizeof(boost::shared_mutex) + 16);
    Plain lock;
    EXPECT_TRUE(lock.is_laid_out_in_order());
    EXPECT_EQ(lock.writer(), 0U);
    EXPECT_EQ(lock.nested(), 0U);
    lock.EnterWrite();
    lock.EnterWrite();
    lock.EnterRead();
    EXPECT_EQ(lock.writer(), self());
    EXPECT_EQ(lock.nested(), 0x10001U);
    EXPECT_TRUE(state(lock) == (Tracking{self(), 0x10001}));
    lock.LeaveRead();
    lock.LeaveWrite();
    lock.LeaveWrite();
}

// The shared lock is no lock at all meanwhile: whoever asked it for anything would fail or wait for ever.
TEST(RWInterlockNested, entries_and_leaves_do_not_touch_the_shared_lock)
{
    alignas(_cRWInterlock) unsigned char memory[sizeof(_cRWInterlock)];
    auto* const lock = new (memory, _nqfDebugLevel(0)) _cRWInterlock();
    lock->EnterWrite();
    unsigned char held[sizeof(boost::shared_mutex)];
    unsigned char garbage[sizeof(boost::shared_mutex)];
    std::memcpy(held, memory, sizeof held);
    std::memset(garbage, 0xA5, sizeof garbage);
    std::memcpy(memory, garbage, sizeof garbage);

    lock->EnterWrite();
    lock->EnterRead();
    for (unsigned int const timeout : {0U, 1U, no_limit})
    {
        EXPECT_TRUE(lock->TryEnterWrite(timeout));
        EXPECT_TRUE(lock->TryEnterRead(timeout));
    }
    EXPECT_TRUE(tracking_of(lock) == (Tracking{self(), 0x40004}));
    for (int count = 0; count < 4; ++count)
    {
        lock->LeaveRead();
        lock->LeaveWrite();
    }
    EXPECT_TRUE(tracking_of(lock) == (Tracking{self(), 0}));
    EXPECT_EQ(std::memcmp(memory, garbage, sizeof garbage), 0);

    std::memcpy(memory, held, sizeof held);
    lock->LeaveWrite();
    lock->~_cRWInterlock();
}

template <class Lock>
class RWInterlock : public testing::Test
{
public:
    Lock lock;

    // Ends every test: whatever it did, nothing is held and nothing tracked.
    void TearDown() override
    {
        EXPECT_TRUE(is_free(lock));
        EXPECT_TRUE(state(lock) == untracked);
    }
};

using Locks = testing::Types<Plain, CPRWInterlock>;
TYPED_TEST_SUITE(RWInterlock, Locks, LockNames);

TYPED_TEST(RWInterlock, is_free_and_untracked_when_made)
{
    EXPECT_TRUE(state(this->lock) == untracked);
}

TYPED_TEST(RWInterlock, writer_is_tracked_while_it_holds_the_lock)
{
    this->lock.Enter();
    EXPECT_TRUE(state(this->lock) == (Tracking{self(), 0}));
    EXPECT_FALSE(is_free(this->lock));
    EXPECT_FALSE(another_can_read(this->lock));
    this->lock.Leave();
    EXPECT_TRUE(state(this->lock) == untracked);

    for (unsigned int const timeout : {0U, 1U, 0xFFFFFFFEU, no_limit})
    {
        EXPECT_TRUE(this->lock.TryEnter(timeout));
        EXPECT_TRUE(state(this->lock) == (Tracking{self(), 0}));
        EXPECT_FALSE(another_can_read(this->lock));
        this->lock.Leave();
        EXPECT_TRUE(state(this->lock) == untracked);
    }
}

TYPED_TEST(RWInterlock, writer_is_the_thread_that_entered)
{
    on_another_thread(
        [this]
        {
            this->lock.Enter();
            EXPECT_TRUE(state(this->lock) == (Tracking{self(), 0}));
            this->lock.Leave();
        });
}

TYPED_TEST(RWInterlock, readers_are_not_tracked)
{
    for (unsigned int const timeout : {0U, 1U, 0xFFFFFFFEU, no_limit})
    {
        this->lock.EnterRead();
        EXPECT_TRUE(this->lock.TryEnterRead(timeout));
        EXPECT_TRUE(state(this->lock) == untracked);
        this->lock.LeaveRead();
        EXPECT_FALSE(is_free(this->lock)) << "one entry of the reader is left";
        this->lock.LeaveRead();
        EXPECT_TRUE(is_free(this->lock));
    }
}

TYPED_TEST(RWInterlock, two_readers_at_once_keep_writers_out_until_both_have_left)
{
    this->lock.EnterRead();
    std::promise<void> reading;
    std::promise<void> leave;
    std::future<void> other = std::async(std::launch::async,
                                         [&]
                                         {
                                             this->lock.EnterRead();
                                             reading.set_value();
                                             leave.get_future().wait();
                                             this->lock.LeaveRead();
                                         });
    reading.get_future().wait();
    EXPECT_FALSE(is_free(this->lock));
    EXPECT_TRUE(another_can_read(this->lock));
    this->lock.LeaveRead();
    EXPECT_FALSE(is_free(this->lock));
    leave.set_value();
    other.get();
    EXPECT_TRUE(is_free(this->lock));
}

TYPED_TEST(RWInterlock, reader_is_not_upgraded)
{
    this->lock.EnterRead();
    EXPECT_FALSE(this->lock.TryEnter(0));
    EXPECT_FALSE(this->lock.TryEnter(5));
    EXPECT_TRUE(state(this->lock) == untracked);
    EXPECT_TRUE(another_can_read(this->lock)) << "the attempts are over and keep no reader out";
    this->lock.LeaveRead();
}

TYPED_TEST(RWInterlock, enter_and_leave_of_the_writer_nest_in_any_order)
{
    this->lock.Enter();
    this->lock.EnterRead();
    this->lock.Enter();
    EXPECT_TRUE(state(this->lock) == (Tracking{self(), 0x10001}));
    this->lock.LeaveRead();
    EXPECT_TRUE(state(this->lock) == (Tracking{self(), 0x10000}));
    this->lock.Leave();
    EXPECT_TRUE(state(this->lock) == (Tracking{self(), 0}));
    EXPECT_FALSE(is_free(this->lock));
    EXPECT_FALSE(another_can_read(this->lock));
    this->lock.Leave();
}

TYPED_TEST(RWInterlock, attempts_of_the_writer_succeed_at_once_whatever_the_timeout)
{
    this->lock.Enter();
    unsigned int expected = 0;
    unsigned int const timeouts[] = {0, 1, 0xFFFFFFFE, no_limit};
    for (unsigned int const timeout : timeouts)
    {
        EXPECT_TRUE(this->lock.TryEnter(timeout));
        expected += 0x10000;
        EXPECT_TRUE(state(this->lock) == (Tracking{self(), expected}));
        EXPECT_TRUE(this->lock.TryEnterRead(timeout));
        expected += 1;
        EXPECT_TRUE(state(this->lock) == (Tracking{self(), expected}));
    }
    for (unsigned int const timeout : timeouts)
    {
        EXPECT_FALSE(is_free(this->lock)) << timeout;
        this->lock.Leave();
        this->lock.LeaveRead();
    }
    EXPECT_TRUE(state(this->lock) == (Tracking{self(), 0}));
    this->lock.Leave();
}

TYPED_TEST(RWInterlock, attempts_that_run_out_change_nothing)
{
    this->lock.Enter();
    this->lock.Enter();
    this->lock.EnterRead();
    for (unsigned int const timeout : {0U, 1U, 15U})
    {
        auto const start = std::chrono::steady_clock::now();
        EXPECT_FALSE(on_another_thread([&] { return this->lock.TryEnter(timeout); }));
        EXPECT_FALSE(on_another_thread([&] { return this->lock.TryEnterRead(timeout); }));
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(2 * timeout));
        EXPECT_TRUE(state(this->lock) == (Tracking{self(), 0x10001}));
    }
    this->lock.LeaveRead();
    this->lock.Leave();
    this->lock.Leave();
}

TYPED_TEST(RWInterlock, readers_wait_for_the_writer)
{
    for (unsigned int const timeout : {plenty, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFEU, no_limit})
    {
        this->lock.Enter();
        Waiter<bool> waiter(
            [this, timeout]
            {
                bool const entered = this->lock.TryEnterRead(timeout);
                if (entered)
                    this->lock.LeaveRead();
                return entered;
            });
        EXPECT_TRUE(waiter.is_blocked()) << timeout;
        this->lock.Leave();
        EXPECT_TRUE(waiter.result()) << timeout;
    }
    this->lock.Enter();
    Waiter<void> waiter(
        [this]
        {
            this->lock.EnterRead();
            this->lock.LeaveRead();
        });
    EXPECT_TRUE(waiter.is_blocked());
    this->lock.Leave();
    waiter.result();
}

TYPED_TEST(RWInterlock, writer_waits_for_the_readers_and_is_then_tracked)
{
    for (unsigned int const timeout : {plenty, 0xFFFFFFFEU, no_limit})
    {
        this->lock.EnterRead();
        Waiter<bool> waiter(
            [this, timeout]
            {
                if (!this->lock.TryEnter(timeout))
                    return false;
                bool const tracked = state(this->lock) == (Tracking{self(), 0});
                this->lock.Leave();
                return tracked;
            });
        EXPECT_TRUE(waiter.is_blocked()) << timeout;
        this->lock.LeaveRead();
        EXPECT_TRUE(waiter.result()) << timeout;
    }
}

// A writer that waits without limit is not overtaken by readers that come later, whichever way they come.
TYPED_TEST(RWInterlock, new_readers_wait_while_a_writer_waits)
{
    this->lock.EnterRead();
    Waiter<void> writer(
        [this]
        {
            this->lock.Enter();
            this->lock.Leave();
        });
    auto const give_up = std::chrono::steady_clock::now() + std::chrono::milliseconds(plenty);
    while (another_can_read(this->lock) && std::chrono::steady_clock::now() < give_up)
        std::this_thread::yield();
    EXPECT_FALSE(another_can_read(this->lock));
    EXPECT_FALSE(on_another_thread([this] { return this->lock.TryEnterRead(1); }));
    Waiter<void> reader(
        [this]
        {
            this->lock.EnterRead();
            this->lock.LeaveRead();
        });
    EXPECT_TRUE(reader.is_blocked());
    EXPECT_TRUE(writer.is_blocked());
    this->lock.LeaveRead();
    writer.result();
    reader.result();
}

// The lock is still read when the attempt to write has run out, so nothing else would let the reader in.
TYPED_TEST(RWInterlock, writer_that_gives_up_lets_the_readers_in_that_waited_for_it)
{
    this->lock.EnterRead();
    Waiter<bool> writer([this] { return this->lock.TryEnter(30); });
    auto const give_up = std::chrono::steady_clock::now() + std::chrono::milliseconds(30);
    while (another_can_read(this->lock) && std::chrono::steady_clock::now() < give_up)
        std::this_thread::yield();
    on_another_thread(
        [this]
        {
            this->lock.EnterRead();
            this->lock.LeaveRead();
        });
    EXPECT_FALSE(writer.result());
    this->lock.LeaveRead();
}

TYPED_TEST(RWInterlock, leaving_the_write_lock_leaves_nested_reads_counted)
{
    this->lock.Enter();
    this->lock.EnterRead();
    this->lock.EnterRead();
    this->lock.Enter();
    EXPECT_TRUE(state(this->lock) == (Tracking{self(), 0x10002}));
    this->lock.Leave();
    EXPECT_TRUE(state(this->lock) == (Tracking{self(), 2}));
    this->lock.Leave();
    EXPECT_TRUE(state(this->lock) == (Tracking{0, 2}));
    EXPECT_TRUE(is_free(this->lock));

    // They are taken back by whoever leaves next, whose own reading goes on.
    this->lock.EnterRead();
    this->lock.LeaveRead();
    EXPECT_TRUE(state(this->lock) == (Tracking{0, 1}));
    EXPECT_FALSE(is_free(this->lock));
    on_another_thread([this] { this->lock.LeaveRead(); });
    EXPECT_TRUE(state(this->lock) == untracked);
    EXPECT_FALSE(is_free(this->lock));
    this->lock.LeaveRead();
}

TYPED_TEST(RWInterlock, leaves_look_at_the_count_and_not_at_the_thread)
{
    this->lock.Enter();
    this->lock.Enter();
    this->lock.EnterRead();
    on_another_thread([this] { this->lock.LeaveRead(); });
    EXPECT_TRUE(state(this->lock) == (Tracking{self(), 0x10000}));
    on_another_thread([this] { this->lock.Leave(); });
    EXPECT_TRUE(state(this->lock) == (Tracking{self(), 0}));
    EXPECT_FALSE(is_free(this->lock));
    on_another_thread([this] { this->lock.Leave(); });
    EXPECT_TRUE(state(this->lock) == untracked);
}

TYPED_TEST(RWInterlock, holds_65535_nested_reads_and_wraps_with_the_next)
{
    this->lock.Enter();
    this->lock.Enter();
    for (unsigned int count = 1; count <= 65535; ++count)
    {
        if (count % 2 != 0)
            this->lock.EnterRead();
        else
            ASSERT_TRUE(this->lock.TryEnterRead(0));
        ASSERT_EQ(state(this->lock).nested, 0x10000 + count);
    }
    this->lock.EnterRead();
    EXPECT_EQ(state(this->lock).nested, 0x10000U) << "the count of writes is left alone";
    EXPECT_TRUE(this->lock.TryEnterRead(0));
    EXPECT_EQ(state(this->lock).nested, 0x10001U);
    this->lock.LeaveRead();
    this->lock.Leave();
    this->lock.Leave();
}

TYPED_TEST(RWInterlock, attempted_nested_read_wraps_as_an_entered_one_does)
{
    this->lock.Enter();
    this->lock.Enter();
    for (unsigned int count = 1; count <= 65535; ++count)
        this->lock.EnterRead();
    EXPECT_TRUE(this->lock.TryEnterRead(0));
    EXPECT_EQ(state(this->lock).nested, 0x10000U);
    this->lock.Leave();
    this->lock.Leave();
}

TYPED_TEST(RWInterlock, takes_65535_nested_reads_back)
{
    this->lock.Enter();
    for (unsigned int count = 0; count < 65535; ++count)
        this->lock.EnterRead();
    for (unsigned int count = 65535; count-- > 0;)
    {
        this->lock.LeaveRead();
        ASSERT_TRUE(state(this->lock) == (Tracking{self(), count}));
    }
    this->lock.Leave();
}

TYPED_TEST(RWInterlock, holds_65535_nested_writes_and_loses_them_with_the_next)
{
    this->lock.Enter();
    this->lock.EnterRead();
    for (unsigned int count = 1; count <= 65535; ++count)
    {
        if (count % 2 != 0)
            this->lock.Enter();
        else
            ASSERT_TRUE(this->lock.TryEnter(0));
        ASSERT_EQ(state(this->lock).nested, (count << 16) + 1);
    }
    this->lock.Enter();
    EXPECT_TRUE(state(this->lock) == (Tracking{self(), 1}));
    this->lock.LeaveRead();
    this->lock.Leave();
    EXPECT_TRUE(is_free(this->lock)) << "one leave is enough now";
}

TYPED_TEST(RWInterlock, takes_65535_nested_writes_back)
{
    this->lock.Enter();
    for (unsigned int count = 0; count < 65535; ++count)
        this->lock.Enter();
    for (unsigned int count = 65535; count-- > 0;)
    {
        this->lock.Leave();
        ASSERT_TRUE(state(this->lock) == (Tracking{self(), count << 16}));
    }
    EXPECT_FALSE(is_free(this->lock));
    this->lock.Leave();
}

TEST(RWInterlockCopies, share_lock_and_tracking)
{
    CPRWInterlock first;
    CPRWInterlock second = first;
    first.Enter();
    EXPECT_TRUE(second.TryEnter(0));
    second.EnterRead();
    EXPECT_TRUE(state(first) == (Tracking{self(), 0x10001}));
    first.LeaveRead();
    first.Leave();
    EXPECT_FALSE(is_free(second));
    second.Leave();
    EXPECT_TRUE(is_free(first));
}

} // namespace
