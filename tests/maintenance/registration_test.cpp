#include "maintenance/services_for_tests.h"

#include "support/AllocationFailure.h"

namespace
{

using namespace scheduler;

using Registration = Scheduler;

TEST_F(Registration, appends_the_service_with_a_reference_and_both_numbers_0)
{
    Block const first = service();
    Block const second = service();
    EXPECT_TRUE(Register(first));
    EXPECT_EQ(first.lockcnt(), 2U);
    EXPECT_TRUE(Register(second));
    EXPECT_EQ(list(), (std::vector<CPObjectMemory>{first, second}));
    MRInfo const& entry = *entry_of(second);
    EXPECT_EQ(entry.flags, 0U);
    EXPECT_EQ(entry.skipped, 0U);
    EXPECT_EQ(entry.service.lOffset, static_cast<long>(sizeof(Before)));
    EXPECT_EQ(&*entry.service, static_cast<IMaintenanceRequest*>(&*second));
}

TEST_F(Registration, asks_the_service_nothing)
{
    Block const block = service();
    Register(block);
    Unregister(block, 0);
    EXPECT_EQ(block->asked_for_time + block->asked_for_priority + block->runs, 0U);
}

TEST_F(Registration, triggers_the_thread)
{
    EXPECT_FALSE(is_signaled(g_cpMRTrigger));
    Register(service());
    EXPECT_TRUE(is_signaled(g_cpMRTrigger));
}

TEST_F(Registration, comes_before_the_trigger)
{
    Block const block = service();
    bool listed_then = false;
    events::Listener listener(
        [&](_cEvent*)
        {
            listed_then = is_listed(block);
            return true;
        });
    ASSERT_TRUE(g_cpMRTrigger.GetHandle()->attach(&listener));
    Register(block);
    ASSERT_TRUE(g_cpMRTrigger.GetHandle()->detach(&listener));
    EXPECT_TRUE(listed_then);
}

TEST_F(Registration, triggers_with_the_lock_left)
{
    bool free_then = false;
    events::Listener listener(
        [&](_cEvent*)
        {
            free_then = events::Background<int>(
                            []
                            {
                                ListLock const lock;
                                return 1;
                            })
                            .result() == 1;
            return true;
        });
    ASSERT_TRUE(g_cpMRTrigger.GetHandle()->attach(&listener));
    Register(service());
    ASSERT_TRUE(g_cpMRTrigger.GetHandle()->detach(&listener));
    EXPECT_TRUE(free_then);
}

TEST_F(Registration, of_a_listed_service_is_true_and_changes_and_triggers_nothing)
{
    Block const block = service();
    Register(block);
    g_cpMRTrigger.Reset();
    entry_of(block)->flags = MRInfo::disabled;
    entry_of(block)->skipped = 7;
    EXPECT_TRUE(Register(block));
    EXPECT_FALSE(is_signaled(g_cpMRTrigger));
    EXPECT_EQ(listed(), 1U);
    EXPECT_EQ(block.lockcnt(), 2U);
    EXPECT_EQ(entry_of(block)->flags, MRInfo::disabled);
    EXPECT_EQ(entry_of(block)->skipped, 7U);
}

TEST_F(Registration, of_a_block_without_the_interface_is_false)
{
    CPObjectMemory const block = block_without_interface();
    EXPECT_FALSE(Register(block));
    EXPECT_FALSE(Register(CPObjectMemory::pnull));
    EXPECT_EQ(listed(), 0U);
    EXPECT_EQ(block.lockcnt(), 1U);
    EXPECT_FALSE(is_signaled(g_cpMRTrigger));
}

TEST_F(Registration, grows_the_list_by_16_entries)
{
    for (unsigned long count = 1; count <= 33; ++count)
    {
        ASSERT_TRUE(Register(service()));
        ASSERT_EQ(listed(), count);
        ASSERT_EQ(g_cpMRList.GetAllocSize(), (count + 15) / 16 * 16 * 24);
    }
}

TEST_F(Registration, without_memory_is_false_and_changes_and_triggers_nothing)
{
    for (unsigned long before : {0UL, 16UL})
    {
        AppExit();
        for (unsigned long count = 0; count < before; ++count)
            Register(service());
        g_cpMRTrigger.Reset();
        Block const block = service();
        unsigned long const allocations =
            support::for_each_allocation(support::AllocationFailure::once,
                                         [&](unsigned long nth)
                                         {
                                             bool const done = Register(block);
                                             EXPECT_EQ(done, nth == 2);
                                             EXPECT_EQ(is_signaled(g_cpMRTrigger), done);
                                             EXPECT_EQ(is_listed(block), done);
                                             EXPECT_EQ(block.lockcnt(), done ? 2U : 1U);
                                             EXPECT_EQ(listed(), before + (done ? 1U : 0U));
                                         });
        EXPECT_EQ(allocations, 1U);
    }
}

TEST_F(Registration, without_the_lock_is_false)
{
    Block const block = service();
    {
        support::MaintenanceCalls calls;
        calls.before_enter = fail_to_lock;
        EXPECT_FALSE(Register(block));
    }
    EXPECT_FALSE(is_listed(block));
    EXPECT_FALSE(is_signaled(g_cpMRTrigger));
    EXPECT_EQ(block.lockcnt(), 1U);
}

TEST_F(Registration, ends_at_once_if_the_service_does_not_run)
{
    support::MaintenanceCalls calls;
    calls.sleep = [](unsigned int) { ADD_FAILURE() << "slept"; };
    Block const running = service();
    Block const block = service();
    Register(running);
    ASSERT_TRUE(_selectService());
    Register(block);
    EXPECT_TRUE(Unregister(block, no_limit));
    EXPECT_FALSE(Unregister(block, no_limit));
    EXPECT_EQ(block.lockcnt(), 1U);
    EXPECT_EQ(list(), std::vector<CPObjectMemory>{running});
}

TEST_F(Registration, of_an_unknown_service_cannot_be_ended)
{
    CPObjectMemory const without = block_without_interface();
    EXPECT_FALSE(Unregister(service(), 1000));
    EXPECT_FALSE(Unregister(without, 1000));
    EXPECT_FALSE(Unregister(CPObjectMemory::pnull, 1000));
    Register(service());
    EXPECT_FALSE(Unregister(service(), 1000));
    EXPECT_EQ(listed(), 1U);
}

TEST_F(Registration, when_it_ends_keeps_the_order_of_the_others_and_frees_an_empty_list)
{
    for (unsigned long gone = 0; gone < 3; ++gone)
    {
        std::vector<CPObjectMemory> blocks = {service(), service(), service()};
        for (CPObjectMemory const& block : blocks)
            Register(block);
        entry_of(blocks[2])->skipped = 5;
        EXPECT_TRUE(Unregister(blocks[gone], 0));
        EXPECT_EQ(blocks[gone].lockcnt(), 1U);
        blocks.erase(blocks.begin() + static_cast<long>(gone));
        EXPECT_EQ(list(), blocks);
        if (gone != 2)
        {
            EXPECT_EQ(entry_of(blocks[1])->skipped, 5U);
        }
        EXPECT_TRUE(Unregister(blocks[0], 0));
        EXPECT_TRUE(g_cpMRList);
        EXPECT_EQ(g_cpMRList.GetAllocSize(), 16U * 24U);
        EXPECT_TRUE(Unregister(blocks[1], 0));
        EXPECT_FALSE(g_cpMRList);
    }
}

TEST_F(Registration, anew_is_what_enables_a_disabled_service)
{
    Block const block = service();
    block->on_time = thrower();
    Register(block);
    EXPECT_FALSE(_selectService());
    EXPECT_TRUE(is_disabled(block));
    block->on_time = nullptr;
    EXPECT_FALSE(_selectService());
    EXPECT_TRUE(Unregister(block, 0));
    EXPECT_TRUE(Register(block));
    EXPECT_EQ(entry_of(block)->flags, 0U);
    EXPECT_TRUE(_selectService());
}

TEST_F(Registration, does_not_trigger_when_it_ends)
{
    Block const block = service();
    Register(block);
    g_cpMRTrigger.Reset();
    Unregister(block, 0);
    EXPECT_FALSE(is_signaled(g_cpMRTrigger));
}

TEST_F(Registration, holds_its_own_reference)
{
    bool ended = false;
    {
        Block block = service();
        block->on_end = [&ended] { ended = true; };
        Register(block);
    }
    EXPECT_FALSE(ended);
    AppExit();
    EXPECT_TRUE(ended);
}

TEST(TheListsEntry, is_made_with_an_offset_of_minus_1_and_both_numbers_0)
{
    ORVA::Buffers::CPObjectVector<MRInfo> vector;
    ASSERT_TRUE(vector.Alloc(2));
    for (MRInfo const& entry : vector)
    {
        EXPECT_FALSE(entry.service);
        EXPECT_EQ(entry.service.lOffset, -1);
        EXPECT_EQ(entry.flags, 0U);
        EXPECT_EQ(entry.skipped, 0U);
    }
}

TEST(TheListsEntry, made_by_the_type_table_is_as_one_made_by_the_vector)
{
    alignas(MRInfo) unsigned char bytes[2 * sizeof(MRInfo)];
    std::memset(bytes, 0x5A, sizeof(bytes));
    auto const& table = ORVA::Buffers::CPObjectVector<MRInfo>::_vtbl;
    table._create(bytes, sizeof(bytes));
    auto* const entries = reinterpret_cast<MRInfo*>(bytes);
    for (unsigned int index = 0; index < 2; ++index)
    {
        EXPECT_FALSE(entries[index].service);
        EXPECT_EQ(entries[index].service.lOffset, -1);
        EXPECT_EQ(entries[index].flags + entries[index].skipped, 0U);
    }
    table._finalize(bytes, sizeof(bytes));
}

TEST(TheListsEntry, is_cloned_with_its_three_fields)
{
    Block const block = service();
    ORVA::Buffers::CPObjectVector<MRInfo> vector;
    MRInfo entry;
    entry.service = Service(block);
    entry.flags = MRInfo::disabled;
    entry.skipped = 9;
    ASSERT_TRUE(vector.Insert(entry, 0));
    ORVA::Buffers::CPObjectVector<MRInfo> copy = vector;
    ASSERT_TRUE(copy.clone());
    ASSERT_FALSE(copy == vector);
    EXPECT_EQ(block.lockcnt(), 4U);
    EXPECT_EQ(copy[0].service, block);
    EXPECT_EQ(copy[0].service.lOffset, static_cast<long>(sizeof(Before)));
    EXPECT_EQ(copy[0].flags, MRInfo::disabled);
    EXPECT_EQ(copy[0].skipped, 9U);
}

} // namespace
