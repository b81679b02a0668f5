#include "maintenance/services_for_tests.h"

#include <random>

// Services that change the list while they are asked, which happens with the lock held by the same thread.
namespace
{

using namespace scheduler;

class ListChanges : public Scheduler
{
protected:
    Block due(int priority = 0)
    {
        Block const block = service(clock.now(), priority);
        EXPECT_TRUE(Register(block));
        return block;
    }

    support::ClockOverride clock{1000};
};

/// The moments at which a service is asked.
std::function<void()> Probe::*const moments[] = {&Probe::on_time, &Probe::on_priority};

TEST_F(ListChanges, a_service_that_registers_others_is_not_lost_when_the_list_grows)
{
    for (auto const moment : moments)
    {
        AppExit();
        Block const busy = due();
        Block const other = due(1);
        std::vector<Block> added;
        ((*busy).*moment) = [&]
        {
            for (int count = 0; count < 20; ++count)
                added.push_back(due());
            ((*busy).*moment) = nullptr;
        };
        EXPECT_TRUE(_selectService());
        EXPECT_EQ(g_cpMRPending, other);
        EXPECT_EQ(listed(), 22U);
        EXPECT_EQ(age_of(busy), 1U);
        EXPECT_TRUE(is_signaled(g_cpMRTrigger));
        _resetPending(false);
        EXPECT_TRUE(_selectService());
        EXPECT_EQ(age_of(added.back()), 1U);
    }
}

TEST_F(ListChanges, a_service_that_takes_itself_off_is_not_chosen_and_the_next_one_is_asked)
{
    for (auto const moment : moments)
    {
        for (unsigned int place = 0; place < 3; ++place)
        {
            AppExit();
            std::vector<Block> blocks = {due(), due(), due()};
            blocks[place]->priority = 9;
            ((*blocks[place]).*moment) = [&] { EXPECT_TRUE(Unregister(blocks[place], 0)); };
            EXPECT_TRUE(_selectService());
            EXPECT_EQ(g_cpMRPending, blocks[place == 0 ? 1 : 0]);
            EXPECT_EQ(listed(), 2U);
            EXPECT_EQ(blocks[place].lockcnt(), 1U);
            for (Block const& block : blocks)
                EXPECT_EQ(block->asked_for_priority, 1U);
            _resetPending(false);
        }
    }
}

TEST_F(ListChanges, the_only_service_may_take_itself_off)
{
    for (auto const moment : moments)
    {
        AppExit();
        Block const block = due();
        ((*block).*moment) = [&] { Unregister(block, 0); };
        EXPECT_FALSE(_selectService());
        EXPECT_EQ(listed(), 0U);
        Register(block);
        EXPECT_EQ(_getTimeout(), never);
        EXPECT_EQ(listed(), 0U);
    }
}

TEST_F(ListChanges, a_service_lives_until_it_has_answered)
{
    for (auto const moment : moments)
    {
        AppExit();
        unsigned int ended = 0;
        {
            Block block = due();
            Probe* const probe = &*block;
            block->on_end = [&ended] { ++ended; };
            ((*block).*moment) = [&ended, probe]
            {
                CPObjectMemory const last = g_cpMRList[0].service;
                Unregister(last, 0);
                EXPECT_EQ(last.lockcnt(), 2U);
                EXPECT_EQ(ended, 0U);
                probe->time = 1;
            };
        }
        Block const other = due();
        EXPECT_TRUE(_selectService());
        EXPECT_EQ(g_cpMRPending, other);
        EXPECT_EQ(ended, 1U);
        _resetPending(false);
    }
}

TEST_F(ListChanges, the_end_of_a_service_may_change_the_list_too)
{
    std::vector<Block> others;
    {
        Block block = due();
        others = {due(), due(), due()};
        block->on_time = [] { Unregister(CPObjectMemory(g_cpMRList[0].service), 0); };
        block->on_end = [&others]
        {
            Unregister(others[0], 0);
            Unregister(others[1], 0);
        };
    }
    EXPECT_TRUE(_selectService());
    EXPECT_EQ(g_cpMRPending, others[2]);
    EXPECT_EQ(listed(), 1U);
    EXPECT_EQ(others[0]->asked_for_time + others[1]->asked_for_time, 0U);
}

TEST_F(ListChanges, a_service_may_empty_the_list)
{
    Block const before = due(5);
    Block const block = due();
    Block const after = due();
    block->on_priority = [&]
    {
        for (CPObjectMemory const& listed_block : list())
            Unregister(listed_block, 0);
    };
    EXPECT_FALSE(_selectService());
    EXPECT_EQ(listed(), 0U);
    EXPECT_EQ(after->asked_for_time, 0U);
    EXPECT_EQ(before.lockcnt() + block.lockcnt() + after.lockcnt(), 3U);
}

TEST_F(ListChanges, the_whole_list_may_be_dropped_while_a_service_is_asked)
{
    for (auto const moment : moments)
    {
        Block const best = due(9);
        Block const block = due();
        Block const after = due();
        ((*block).*moment) = [] { AppExit(); };
        EXPECT_FALSE(_selectService());
        EXPECT_EQ(listed(), 0U);
        EXPECT_EQ(after->asked_for_time, 0U);
        EXPECT_EQ(best.lockcnt() + block.lockcnt() + after.lockcnt(), 3U);
    }
}

TEST_F(ListChanges, a_service_that_was_best_and_is_taken_off_is_not_chosen)
{
    Block const best = due(9);
    Block const block = due();
    block->on_time = [&] { Unregister(best, 0); };
    EXPECT_FALSE(_selectService());
    EXPECT_FALSE(g_cpMRPending);
    block->on_time = nullptr;
    EXPECT_TRUE(_selectService());
    EXPECT_EQ(g_cpMRPending, block);
}

TEST_F(ListChanges, a_service_that_takes_itself_off_and_throws_is_gone)
{
    Block const block = due();
    block->on_time = [&]
    {
        Unregister(block, 0);
        throw 1;
    };
    Block const other = due();
    EXPECT_TRUE(_selectService());
    EXPECT_EQ(list(), std::vector<CPObjectMemory>{other});
    EXPECT_FALSE(is_disabled(other));
}

TEST_F(ListChanges, a_service_that_throws_is_the_one_to_be_disabled_wherever_it_stands_by_then)
{
    Block const first = due();
    first->time = never;
    Block const block = due();
    Block const last = due();
    block->on_priority = [&]
    {
        Unregister(first, 0);
        throw 1;
    };
    EXPECT_TRUE(_selectService());
    EXPECT_EQ(g_cpMRPending, last);
    EXPECT_TRUE(is_disabled(block));
    EXPECT_FALSE(is_disabled(last));
}

TEST_F(ListChanges, a_service_that_registers_itself_anew_is_asked_once_in_a_pass)
{
    Block const block = due();
    block->on_time = [&]
    {
        Unregister(block, 0);
        Register(block);
    };
    Block const other = due();
    EXPECT_TRUE(_selectService());
    EXPECT_EQ(g_cpMRPending, other);
    EXPECT_EQ(block->asked_for_time, 1U);
    EXPECT_EQ(list(), (std::vector<CPObjectMemory>{other, block}));
    EXPECT_TRUE(is_signaled(g_cpMRTrigger));
}

TEST_F(ListChanges, the_earliest_time_is_found_among_those_that_are_left)
{
    Block const first = service(300);
    Block const second = service(100);
    Block const third = service(200);
    for (Block const& block : {first, second, third})
        Register(block);
    second->on_priority = [&]
    {
        Unregister(first, 0);
        Unregister(second, 0);
    };
    EXPECT_EQ(_getTimeout(), 200U);
    EXPECT_EQ(list(), std::vector<CPObjectMemory>{third});
}

// Whatever a service does to the list while it is asked, each service that was there from the beginning to the end of
// the pass is asked exactly once.
TEST_F(ListChanges, in_random_order_leave_nobody_out)
{
    std::mt19937 random(11);
    for (int round = 0; round < 400; ++round)
    {
        AppExit();
        std::vector<Block> blocks;
        for (unsigned long count = 1 + random() % 9; count != 0; --count)
            blocks.push_back(due());
        std::vector<bool> steady(blocks.size(), true);
        for (Block const& block : blocks)
        {
            if (random() % 2 == 0)
                continue;
            block->on_priority = [&, actions = 1 + random() % 4]
            {
                for (unsigned long count = 0; count < actions; ++count)
                {
                    std::size_t const victim = random() % blocks.size();
                    steady[victim] = false;
                    if (!Unregister(blocks[victim], 0))
                        Register(blocks[victim]);
                }
            };
        }
        if (round % 2 == 0)
        {
            _getTimeout();
        }
        else if (_selectService())
        {
            EXPECT_TRUE(is_listed(g_cpMRPending));
            _resetPending(false);
        }
        for (std::size_t index = 0; index < blocks.size(); ++index)
        {
            ASSERT_LE(blocks[index]->asked_for_priority, 1U);
            if (steady[index])
            {
                ASSERT_EQ(blocks[index]->asked_for_priority, 1U);
            }
            blocks[index]->on_priority = nullptr;
        }
    }
}

} // namespace
