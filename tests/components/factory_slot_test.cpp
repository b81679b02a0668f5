#include "components/factory_support.h"
#include "support/LogRecorder.h"

// Who sets the factory of the process, and when it is released.
namespace
{

using namespace components;
using namespace support;
using ORVA::NQF::CPINQFUnknown;
using ORVA::NQF::g_uFactoryLock;

class FactorySlot : public FactoryRegistry
{
protected:
    FactoryDouble second{journal, "second"};
};

TEST_F(FactorySlot, is_empty_at_first)
{
    EXPECT_FALSE(CPINQFUnknown::Factory_IsAvailable());
    INQFComponentFactory* pointer = &factory;
    EXPECT_EQ(CPINQFUnknown::Factory_Acquire(&pointer), 0);
    EXPECT_EQ(pointer, nullptr);
}

TEST_F(FactorySlot, set_takes_one_reference_under_the_lock)
{
    watch_lock();
    EXPECT_EQ(CPINQFUnknown::Factory_Set(&factory), 1);
    EXPECT_EQ(journal.take(), Calls{"factory.AddRef"});
    EXPECT_EQ(under_lock, Calls{"factory.AddRef"});
    EXPECT_EQ(factory.count, 2);
    EXPECT_TRUE(CPINQFUnknown::Factory_IsAvailable());
    EXPECT_EQ(ORVA::NQF::g_pFactory, &factory);
    EXPECT_EQ(g_uFactoryLock, 1U);
}

TEST_F(FactorySlot, is_still_empty_while_the_reference_is_taken)
{
    bool available = true;
    unsigned int users = 7;
    journal.on_call = [&](std::string const&)
    {
        available = CPINQFUnknown::Factory_IsAvailable();
        users = g_uFactoryLock;
    };
    EXPECT_EQ(CPINQFUnknown::Factory_Set(&factory), 1);
    EXPECT_FALSE(available);
    EXPECT_EQ(users, 0U);
}

TEST_F(FactorySlot, set_again_counts_a_user_and_no_reference)
{
    set_factory();
    EXPECT_EQ(CPINQFUnknown::Factory_Set(&factory), 1);
    EXPECT_EQ(CPINQFUnknown::Factory_Set(&factory), 1);
    EXPECT_EQ(journal.take(), Calls{});
    EXPECT_EQ(factory.count, 2);
    EXPECT_EQ(g_uFactoryLock, 3U);
}

TEST_F(FactorySlot, is_released_with_its_last_user)
{
    set_factory();
    CPINQFUnknown::Factory_Set(&factory);
    EXPECT_EQ(CPINQFUnknown::Factory_Release(), 1);
    EXPECT_TRUE(CPINQFUnknown::Factory_IsAvailable());
    EXPECT_EQ(journal.take(), Calls{});

    watch_lock();
    EXPECT_EQ(CPINQFUnknown::Factory_Release(), 1);
    EXPECT_EQ(journal.take(), Calls{"factory.Release"});
    EXPECT_EQ(under_lock, Calls{"factory.Release"});
    EXPECT_FALSE(CPINQFUnknown::Factory_IsAvailable());
    EXPECT_EQ(factory.count, 1);
}

TEST_F(FactorySlot, release_of_an_empty_one_is_1_and_does_nothing)
{
    EXPECT_EQ(CPINQFUnknown::Factory_Release(), 1);
    EXPECT_EQ(g_uFactoryLock, 0U);
    set_factory();
    CPINQFUnknown::Factory_Release();
    journal.take();
    EXPECT_EQ(CPINQFUnknown::Factory_Release(), 1);
    EXPECT_EQ(journal.take(), Calls{});
    EXPECT_EQ(g_uFactoryLock, 0U);
}

TEST_F(FactorySlot, another_factory_does_not_displace_the_one_that_is_set)
{
    set_factory();
    EXPECT_EQ(CPINQFUnknown::Factory_Set(&second), 0);
    EXPECT_EQ(journal.take(), Calls{});
    EXPECT_EQ(second.count, 1);
    EXPECT_EQ(ORVA::NQF::g_pFactory, &factory);
    EXPECT_EQ(g_uFactoryLock, 1U);
}

TEST_F(FactorySlot, takes_another_factory_once_it_is_empty)
{
    set_factory();
    CPINQFUnknown::Factory_Release();
    EXPECT_EQ(CPINQFUnknown::Factory_Set(&second), 1);
    EXPECT_EQ(second.count, 2);
    CPINQFUnknown::Factory_Release();
    EXPECT_EQ(second.count, 1);
}

TEST_F(FactorySlot, null_is_0_without_the_lock)
{
    EXPECT_TRUE(ends_while_held(ORVA::NQF::g_csFactory,
                                []
                                {
                                    INQFComponentFactory* const no_factory = nullptr;
                                    INQFUnknown* const no_object = nullptr;
                                    CPINQFUnknown no_handle;
                                    EXPECT_EQ(CPINQFUnknown::Factory_Set(no_factory), 0);
                                    EXPECT_EQ(CPINQFUnknown::Factory_Set(no_object), 0);
                                    EXPECT_EQ(CPINQFUnknown::Factory_Set(no_handle), 0);
                                }));
    EXPECT_EQ(g_uFactoryLock, 0U);
}

TEST_F(FactorySlot, what_is_no_factory_is_0_without_the_lock)
{
    EXPECT_TRUE(ends_while_held(ORVA::NQF::g_csFactory,
                                [this]
                                {
                                    CPINQFUnknown handle(&object);
                                    EXPECT_EQ(CPINQFUnknown::Factory_Set(&object), 0);
                                    EXPECT_EQ(CPINQFUnknown::Factory_Set(handle), 0);
                                }));
    EXPECT_EQ(journal.take(),
              (Calls{"object.QueryInterface(INQFUnknown)", "object.QueryInterface(INQFComponentFactory)",
                     "object.QueryInterface(INQFComponentFactory)", "object.Release"}));
    EXPECT_EQ(object.count, 1);
}

TEST_F(FactorySlot, is_available_takes_no_lock)
{
    EXPECT_TRUE(ends_while_held(ORVA::NQF::g_csFactory, [] { CPINQFUnknown::Factory_IsAvailable(); }));
}

TEST_F(FactorySlot, set_waits_for_the_lock)
{
    ORVA::NQF::g_csFactory.Enter();
    locks::Waiter<int> waiter([this] { return CPINQFUnknown::Factory_Set(&factory); });
    EXPECT_TRUE(waiter.is_blocked());
    ORVA::NQF::g_csFactory.Leave();
    EXPECT_EQ(waiter.result(), 1);
}

TEST_F(FactorySlot, an_object_is_asked_for_its_factory_outside_the_lock)
{
    watch_lock();
    EXPECT_EQ(CPINQFUnknown::Factory_Set(static_cast<INQFUnknown*>(&factory)), 1);
    EXPECT_EQ(journal.take(),
              (Calls{"factory.QueryInterface(INQFComponentFactory)", "factory.AddRef", "factory.Release"}));
    EXPECT_EQ(under_lock, Calls{"factory.AddRef"});
    EXPECT_EQ(factory.count, 2);

    EXPECT_EQ(CPINQFUnknown::Factory_Set(static_cast<INQFUnknown*>(&factory)), 1);
    EXPECT_EQ(journal.take(), (Calls{"factory.QueryInterface(INQFComponentFactory)", "factory.Release"}));
    EXPECT_EQ(g_uFactoryLock, 2U);

    EXPECT_EQ(CPINQFUnknown::Factory_Set(static_cast<INQFUnknown*>(&second)), 0);
    EXPECT_EQ(second.count, 1);
}

TEST_F(FactorySlot, an_object_behind_another_address_is_set_by_the_factorys)
{
    object.answer(__nqf_uuidof<INQFComponentFactory>(), static_cast<INQFComponentFactory*>(&factory));
    ++factory.count;
    EXPECT_EQ(CPINQFUnknown::Factory_Set(&object), 1);
    EXPECT_EQ(ORVA::NQF::g_pFactory, &factory);
    EXPECT_EQ(journal.take(),
              (Calls{"object.QueryInterface(INQFComponentFactory)", "factory.AddRef", "factory.Release"}));
}

TEST_F(FactorySlot, a_handle_is_resolved_and_asked_for_its_factory)
{
    CPINQFUnknown handle;
    factory.give(handle.rec());
    EXPECT_EQ(CPINQFUnknown::Factory_Set(handle), 1);
    EXPECT_EQ(journal.take(),
              (Calls{"factory.QueryInterface(INQFUnknown)", "factory.Release",
                     "factory.QueryInterface(INQFComponentFactory)", "factory.AddRef", "factory.Release"}));
    EXPECT_EQ(factory.count, 3);
    EXPECT_EQ(word_of(handle), resolved_word(static_cast<INQFUnknown*>(&factory)));
}

TEST_F(FactorySlot, a_factory_whose_add_ref_throws_is_not_set)
{
    journal.raises("factory.AddRef");
    EXPECT_EQ(CPINQFUnknown::Factory_Set(&factory), 0);
    EXPECT_FALSE(CPINQFUnknown::Factory_IsAvailable());
    EXPECT_EQ(g_uFactoryLock, 0U);
    EXPECT_TRUE(locks::is_free(ORVA::NQF::g_csFactory));
    journal.succeeds();
    EXPECT_EQ(CPINQFUnknown::Factory_Set(&factory), 1);
}

TEST_F(FactorySlot, a_last_release_that_throws_empties_it_silently)
{
    LogRecorder log;
    set_factory();
    journal.raises("factory.Release");
    EXPECT_EQ(CPINQFUnknown::Factory_Release(), 1);
    EXPECT_FALSE(CPINQFUnknown::Factory_IsAvailable());
    EXPECT_EQ(log.count(), 0U);
    EXPECT_TRUE(locks::is_free(ORVA::NQF::g_csFactory));
    factory.count = 1;
}

TEST_F(FactorySlot, is_still_full_during_the_last_release)
{
    set_factory();
    bool available = false;
    unsigned int users = 7;
    journal.on_call = [&](std::string const&)
    {
        available = CPINQFUnknown::Factory_IsAvailable();
        users = g_uFactoryLock;
    };
    CPINQFUnknown::Factory_Release();
    EXPECT_TRUE(available);
    EXPECT_EQ(users, 0U);
}

TEST_F(FactorySlot, a_user_who_came_during_the_last_release_is_reported_by_the_next_set)
{
    LogRecorder log;
    set_factory();
    int nested = 0;
    journal.on_call = [&](std::string const&) { nested = CPINQFUnknown::Factory_Set(&factory); };
    CPINQFUnknown::Factory_Release();
    journal.on_call = nullptr;
    EXPECT_EQ(nested, 1);
    EXPECT_FALSE(CPINQFUnknown::Factory_IsAvailable());
    EXPECT_EQ(g_uFactoryLock, 1U);
    EXPECT_EQ(log.count(), 0U);

    std::size_t reports_before_the_reference = 0;
    journal.on_call = [&](std::string const&) { reports_before_the_reference = log.count(); };
    EXPECT_EQ(CPINQFUnknown::Factory_Set(&factory), 1);
    journal.on_call = nullptr;
    EXPECT_EQ(reports_before_the_reference, 1U);
    EXPECT_EQ(log.take(), LogMessages{failed_condition("g_uFactoryLock == 0")});
    EXPECT_EQ(g_uFactoryLock, 2U);
    EXPECT_EQ(CPINQFUnknown::Factory_Release(), 1);
    EXPECT_TRUE(CPINQFUnknown::Factory_IsAvailable());
}

TEST_F(FactorySlot, a_user_who_came_during_the_last_release_leaves_without_a_factory)
{
    set_factory();
    journal.on_call = [&](std::string const&) { CPINQFUnknown::Factory_Set(&factory); };
    CPINQFUnknown::Factory_Release();
    journal.on_call = nullptr;
    journal.take();
    EXPECT_EQ(CPINQFUnknown::Factory_Release(), 1);
    EXPECT_EQ(journal.take(), Calls{});
    EXPECT_EQ(g_uFactoryLock, 0U);
}

} // namespace
