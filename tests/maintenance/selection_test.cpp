#include "maintenance/services_for_tests.h"

#include <algorithm>
#include <climits>
#include <random>

// Which service is chosen, and the time of the next one. No thread runs; the clock stands where the test says.
namespace
{

using namespace scheduler;

class Selection : public Scheduler
{
protected:
    /// A registered service that is due.
    Block due(int priority = 0) { return registered(clock.now(), priority); }
    Block registered(unsigned long time, int priority = 0)
    {
        Block const block = service(time, priority);
        EXPECT_TRUE(Register(block));
        return block;
    }

    /// Chooses, ends the run, and gives the block that was chosen.
    static CPObjectMemory choose()
    {
        if (!_selectService())
            return CPObjectMemory();
        CPObjectMemory const chosen = g_cpMRPending;
        _resetPending(false);
        return chosen;
    }

    static void set_age(Block const& block, unsigned int age) { entry_of(block)->skipped = age; }

    support::ClockOverride clock{1000000};
};

TEST_F(Selection, of_an_empty_list_is_none)
{
    EXPECT_FALSE(_selectService());
    EXPECT_FALSE(g_cpMRPending);
    EXPECT_EQ(g_cpMRPending.lOffset, -1);
}

TEST_F(Selection, makes_the_service_pending_with_its_offset_and_a_reference)
{
    Block const block = due();
    EXPECT_TRUE(_selectService());
    EXPECT_EQ(g_cpMRPending, block);
    EXPECT_EQ(g_cpMRPending.lOffset, static_cast<long>(sizeof(Before)));
    EXPECT_EQ(block.lockcnt(), 3U);
    _resetPending(false);
    EXPECT_FALSE(g_cpMRPending);
    EXPECT_EQ(g_cpMRPending.lOffset, -1);
    EXPECT_EQ(block.lockcnt(), 2U);
}

TEST_F(Selection, takes_a_service_whose_time_is_now_and_none_that_comes_later)
{
    Block const block = registered(clock.now() + 1);
    EXPECT_FALSE(_selectService());
    EXPECT_EQ(age_of(block), 0U);
    block->time = clock.now();
    EXPECT_TRUE(_selectService());
}

TEST_F(Selection, takes_a_service_of_any_earlier_time)
{
    Block const block = registered(0);
    EXPECT_EQ(choose(), block);
}

TEST_F(Selection, never_takes_a_service_of_the_last_time_of_all)
{
    registered(never);
    EXPECT_FALSE(_selectService());
}

TEST_F(Selection, takes_the_highest_priority_wherever_it_stands)
{
    for (int place = 0; place < 3; ++place)
    {
        AppExit();
        std::vector<Block> blocks;
        for (int index = 0; index < 3; ++index)
            blocks.push_back(due(index == place ? 5 : 4));
        EXPECT_EQ(choose(), blocks[static_cast<unsigned int>(place)]);
    }
}

TEST_F(Selection, of_equal_scores_takes_the_first_registered)
{
    Block const first = due(-1);
    due(-1);
    due(-1);
    EXPECT_EQ(choose(), first);
}

TEST_F(Selection, ages_those_that_were_due_and_resets_the_one_it_takes)
{
    Block const first = due();
    Block const second = due();
    Block const later = registered(clock.now() + 1);
    EXPECT_EQ(choose(), first);
    EXPECT_EQ(age_of(first), 0U);
    EXPECT_EQ(age_of(second), 1U);
    EXPECT_EQ(age_of(later), 0U);
    Block const newcomer = due();
    EXPECT_EQ(choose(), second);
    EXPECT_EQ(age_of(second), 0U);
    EXPECT_EQ(age_of(first), 1U);
    EXPECT_EQ(age_of(newcomer), 1U);
}

TEST_F(Selection, keeps_the_age_of_a_service_that_is_not_due)
{
    Block const waiting = registered(clock.now() + 1);
    set_age(waiting, 3);
    due();
    choose();
    EXPECT_EQ(age_of(waiting), 3U);
    clock.advance(1);
    EXPECT_EQ(choose(), waiting);
}

// A difference of 2 is a tie, which the earlier entry keeps.
TEST_F(Selection, of_priority_minus_2_behind_one_of_0_wins_when_its_age_is_3_greater)
{
    Block const ordinary = due(0);
    Block const idle = due(-2);
    for (int pass = 0; pass < 3; ++pass)
    {
        EXPECT_EQ(choose(), ordinary);
        EXPECT_EQ(age_of(idle), static_cast<unsigned int>(pass) + 1);
    }
    EXPECT_EQ(choose(), idle);
    EXPECT_EQ(age_of(idle), 0U);
    EXPECT_EQ(age_of(ordinary), 1U);
    EXPECT_EQ(choose(), ordinary);
}

TEST_F(Selection, of_priority_minus_2_before_one_of_0_wins_when_its_age_is_2_greater)
{
    Block const idle = due(-2);
    Block const ordinary = due(0);
    EXPECT_EQ(choose(), ordinary);
    EXPECT_EQ(choose(), ordinary);
    EXPECT_EQ(choose(), idle);
}

TEST_F(Selection, takes_the_age_as_it_was_before_the_pass)
{
    Block const old = due(0);
    Block const urgent = due(1);
    set_age(old, 1);
    EXPECT_EQ(choose(), old);
    set_age(old, 0);
    set_age(urgent, 0);
    EXPECT_EQ(choose(), urgent);
}

TEST_F(Selection, never_takes_the_lowest_score_of_all_but_ages_it)
{
    Block const block = due(INT_MIN);
    EXPECT_FALSE(_selectService());
    EXPECT_EQ(age_of(block), 1U);
    EXPECT_EQ(choose(), block);
    EXPECT_EQ(age_of(block), 0U);
    EXPECT_FALSE(_selectService());
}

TEST_F(Selection, adds_age_and_priority_in_32_bits)
{
    Block const wrapped = due(1);
    set_age(wrapped, 0x7FFFFFFF);
    EXPECT_FALSE(_selectService());
    EXPECT_EQ(age_of(wrapped), 0x80000000U);

    Block const lowest_but_one = due(INT_MIN + 2);
    EXPECT_EQ(choose(), lowest_but_one);
    EXPECT_EQ(age_of(wrapped), 0x80000001U);
    EXPECT_TRUE(Unregister(lowest_but_one, 0));
    EXPECT_EQ(choose(), wrapped);
}

TEST_F(Selection, of_an_age_with_its_top_bit_set_is_of_a_negative_one)
{
    Block const aged = due(0);
    set_age(aged, 0xFFFFFFFF);
    Block const fresh = due(0);
    EXPECT_EQ(choose(), fresh);
    EXPECT_EQ(age_of(aged), 0U);
}

TEST_F(Selection, asks_each_enabled_service_once_for_its_time_and_then_for_its_priority)
{
    std::string asked;
    for (char name : {'a', 'b', 'c'})
    {
        Block const block = registered(name == 'b' ? clock.now() + 1 : 0);
        block->on_time = [&asked, name] { asked += std::string("time of ") + name + ", "; };
        block->on_priority = [&asked, name] { asked += std::string("priority of ") + name + ", "; };
    }
    EXPECT_TRUE(_selectService());
    EXPECT_EQ(asked, "time of a, priority of a, time of b, priority of b, time of c, priority of c, ");
    asked.clear();
    g_cpMRList[0].flags = g_cpMRList[2].flags = MRInfo::disabled;
    EXPECT_FALSE(_selectService());
    EXPECT_EQ(asked, "time of b, priority of b, ");
    asked.clear();
    EXPECT_EQ(_getTimeout(), clock.now() + 1);
    EXPECT_EQ(asked, "time of b, priority of b, ");
}

TEST_F(Selection, looks_at_bit_0_of_the_flags_alone)
{
    Block const block = due();
    entry_of(block)->flags = 0xFFFFFFFE;
    EXPECT_EQ(_getTimeout(), clock.now());
    EXPECT_EQ(choose(), block);
    entry_of(block)->flags = 4;
    block->on_time = thrower();
    EXPECT_EQ(_getTimeout(), never);
    EXPECT_EQ(entry_of(block)->flags, 4U | MRInfo::disabled);
}

TEST_F(Selection, reads_the_clock_once)
{
    due();
    due();
    unsigned long const before = clock.reads();
    EXPECT_TRUE(_selectService());
    EXPECT_EQ(clock.reads() - before, 1U);
}

TEST_F(Selection, reads_the_clock_with_the_lock_held)
{
    support::MaintenanceCalls calls;
    std::string order;
    calls.before_enter = [&order] { order += "enter "; };
    calls.after_leave = [&order] { order += "leave "; };
    clock.before_read = [&order] { order += "clock "; };
    EXPECT_FALSE(_selectService());
    EXPECT_EQ(order, "enter clock leave ");
    clock.before_read = nullptr;
}

TEST_F(Selection, passes_over_and_disables_a_service_that_throws)
{
    for (auto const place : {&Probe::on_time, &Probe::on_priority})
    {
        AppExit();
        Block const bad = due(9);
        (*bad).*place = thrower();
        Block const good = due();
        EXPECT_EQ(choose(), good);
        EXPECT_TRUE(is_disabled(bad));
        EXPECT_EQ(age_of(bad), 0U);
        EXPECT_EQ(bad->asked_for_priority, place == &Probe::on_time ? 0U : 1U);
        (*bad).*place = nullptr;
        EXPECT_EQ(choose(), good);
        EXPECT_EQ(bad->asked_for_time, 1U);
    }
}

TEST_F(Selection, disables_a_service_that_throws_though_it_is_not_due)
{
    Block const bad = registered(never);
    bad->on_priority = thrower();
    EXPECT_FALSE(_selectService());
    EXPECT_TRUE(is_disabled(bad));
}

TEST_F(Selection, says_nothing_of_a_service_that_throws)
{
    support::LogRecorder log;
    due()->on_time = thrower();
    EXPECT_FALSE(_selectService());
    EXPECT_EQ(_getTimeout(), never);
    EXPECT_EQ(log.count(), 0U);
}

TEST_F(Selection, is_none_once_the_stop_is_asked_for)
{
    Block const block = due();
    g_cpMRStop.Set();
    support::MaintenanceCalls calls;
    calls.before_enter = [] { ADD_FAILURE() << "entered the lock"; };
    EXPECT_FALSE(_selectService());
    calls.before_enter = nullptr;
    EXPECT_EQ(block->asked_for_time, 0U);
    EXPECT_EQ(age_of(block), 0U);
    g_cpMRStop.Reset();
    EXPECT_TRUE(_selectService());
}

TEST_F(Selection, is_none_without_the_lock)
{
    Block const block = due();
    {
        support::MaintenanceCalls calls;
        calls.before_enter = fail_to_lock;
        EXPECT_FALSE(_selectService());
        EXPECT_EQ(_getTimeout(), never);
    }
    EXPECT_EQ(block->asked_for_time, 0U);
    EXPECT_FALSE(g_cpMRPending);
}

TEST_F(Selection, leaves_the_lock)
{
    due();
    _selectService();
    _getTimeout();
    _resetPending(true);
    EXPECT_EQ(events::Background<int>(
                  []
                  {
                      ListLock const lock;
                      return 1;
                  })
                  .result(),
              1);
}

TEST_F(Selection, lets_the_earliest_time_be_told)
{
    EXPECT_EQ(_getTimeout(), never);
    Block const one = registered(500);
    EXPECT_EQ(_getTimeout(), 500U);
    Block const two = registered(400, -9);
    Block const three = registered(600, 9);
    EXPECT_EQ(_getTimeout(), 400U);
    entry_of(two)->flags = MRInfo::disabled;
    EXPECT_EQ(_getTimeout(), 500U);
    one->time = never;
    EXPECT_EQ(_getTimeout(), 600U);
    three->time = never;
    EXPECT_EQ(_getTimeout(), never);
    three->time = never - 1;
    EXPECT_EQ(_getTimeout(), never - 1);
    EXPECT_EQ(age_of(one) + age_of(three), 0U);
}

TEST_F(Selection, disables_a_service_that_throws_when_the_next_time_is_asked_for)
{
    for (auto const place : {&Probe::on_time, &Probe::on_priority})
    {
        AppExit();
        Block const bad = registered(1);
        (*bad).*place = thrower();
        registered(2);
        EXPECT_EQ(_getTimeout(), 2U);
        EXPECT_TRUE(is_disabled(bad));
        (*bad).*place = nullptr;
        EXPECT_EQ(_getTimeout(), 2U);
    }
}

TEST_F(Selection, ends_with_the_failed_service_disabled_and_no_other)
{
    Block const other = due();
    Block const block = due(1);
    EXPECT_TRUE(_selectService());
    _resetPending(true);
    EXPECT_TRUE(is_disabled(block));
    EXPECT_FALSE(is_disabled(other));
    EXPECT_FALSE(g_cpMRPending);
    _resetPending(true);
    EXPECT_FALSE(is_disabled(other));
    EXPECT_EQ(choose(), other);
}

TEST_F(Selection, of_a_service_that_is_listed_no_more_ends_quietly)
{
    due();
    EXPECT_TRUE(_selectService());
    AppExit();
    _resetPending(true);
    EXPECT_FALSE(g_cpMRPending);
}

TEST_F(Selection, lets_a_service_that_goes_with_the_end_of_its_run_use_the_scheduler)
{
    Block const other = service(never);
    bool used = false;
    {
        Block const block = due();
        block->on_end = [&] { used = !g_cpMRPending && !IsActive() && !is_pending(other) && Register(other); };
    }
    EXPECT_TRUE(_selectService());
    AppExit();
    EXPECT_FALSE(used);
    events::Background<int>(
        []
        {
            _resetPending(false);
            return 0;
        })
        .result();
    EXPECT_TRUE(used);
}

TEST_F(Selection, stays_pending_if_the_lock_cannot_be_had)
{
    Block const block = due();
    EXPECT_TRUE(_selectService());
    {
        support::MaintenanceCalls calls;
        calls.before_enter = fail_to_lock;
        _resetPending(true);
    }
    EXPECT_EQ(g_cpMRPending, block);
    EXPECT_FALSE(is_disabled(block));
}

TEST_F(Selection, ends_the_process_if_the_lock_cannot_be_left)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
        {
            support::MaintenanceCalls calls;
            calls.after_leave = fail_to_lock;
            _selectService();
        },
        "lock_error");
}

/// The rules of choosing over plain values.
struct PlainService
{
    unsigned long time;
    int priority;
    unsigned int age;
    bool disabled;
};

std::size_t plain_choice(std::vector<PlainService>& services, unsigned long now)
{
    std::size_t best = services.size();
    long best_score = -2147483648L;
    for (std::size_t index = 0; index < services.size(); ++index)
    {
        PlainService& plain = services[index];
        if (plain.disabled || plain.time > now)
            continue;
        long score = (static_cast<long>(plain.age) + plain.priority) & 0xFFFFFFFFL;
        if (score >= 0x80000000L)
            score -= 0x100000000L;
        plain.age = static_cast<unsigned int>((plain.age + 1UL) & 0xFFFFFFFFUL);
        if (score > best_score)
        {
            best_score = score;
            best = index;
        }
    }
    if (best != services.size())
        services[best].age = 0;
    return best;
}

TEST_F(Selection, agrees_with_the_plain_rules_on_random_services)
{
    std::mt19937 random(7);
    auto const pick = [&random](std::vector<unsigned long> const& values) { return values[random() % values.size()]; };
    for (int round = 0; round < 300; ++round)
    {
        AppExit();
        std::vector<PlainService> plain;
        std::vector<Block> blocks;
        for (unsigned long count = random() % 8; count != 0; --count)
        {
            int const priority = static_cast<int>(pick({0, 0, 1, 2, 0xFFFFFFFE, 0x80000000, 0x80000001, 0x7FFFFFFF}));
            unsigned int const age = static_cast<unsigned int>(pick({0, 0, 1, 5, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF}));
            plain.push_back({clock.now() + pick({0, 1, 2}) - 1, priority, age, random() % 6 == 0});
            blocks.push_back(registered(plain.back().time, priority));
            set_age(blocks.back(), age);
            entry_of(blocks.back())->flags = plain.back().disabled ? MRInfo::disabled : 0;
        }
        for (int pass = 0; pass < 12; ++pass)
        {
            std::size_t const expected = plain_choice(plain, clock.now());
            CPObjectMemory const chosen = choose();
            ASSERT_EQ(chosen, expected == blocks.size() ? CPObjectMemory() : CPObjectMemory(blocks[expected]));
            for (std::size_t index = 0; index < blocks.size(); ++index)
                ASSERT_EQ(age_of(blocks[index]), plain[index].age);
        }
    }
}

TEST_F(Selection, lets_every_service_run_in_the_end)
{
    std::vector<Block> blocks;
    for (int priority : {5, 0, -2, -9})
        blocks.push_back(due(priority));
    std::vector<unsigned int> runs(blocks.size());
    for (int pass = 0; pass < 200; ++pass)
    {
        CPObjectMemory const chosen = choose();
        for (std::size_t index = 0; index < blocks.size(); ++index)
            runs[index] += blocks[index] == chosen;
    }
    EXPECT_GE(*std::min_element(runs.begin(), runs.end()), 10U);
}

} // namespace
