/// @file
/// What the tests of the process's factory share: a slot that is empty before and after, and a look at its lock.
#pragma once

#include "CPNQF/globals.h"
#include "components/interface_pointer_support.h"
#include "support/FrameworkDoubles.h"
#include "threading/locks_threads.h"

#include <gtest/gtest.h>

#include <future>

namespace components
{

/// Runs `operation` in a thread of its own while this thread holds `lock`, and tells whether it ended without it.
template <class Lock, class Operation>
bool ends_while_held(Lock lock, Operation operation)
{
    lock.Enter();
    std::future<void> const done = std::async(std::launch::async, operation);
    bool const ended = done.wait_for(std::chrono::milliseconds(locks::plenty)) == std::future_status::ready;
    lock.Leave();
    done.wait();
    return ended;
}

class FactoryRegistry : public InterfacePointer
{
protected:
    void SetUp() override
    {
        ASSERT_FALSE(ORVA::NQF::CPINQFUnknown::Factory_IsAvailable());
        ASSERT_EQ(ORVA::NQF::g_uFactoryLock, 0U);
    }

    void TearDown() override
    {
        journal.on_call = nullptr;
        journal.succeeds();
        while (ORVA::NQF::g_uFactoryLock != 0)
            ORVA::NQF::CPINQFUnknown::Factory_Release();
        EXPECT_EQ(factory.count, 1);
        EXPECT_TRUE(locks::is_free(ORVA::NQF::g_csFactory));
    }

    /// Sets the factory; the journal is empty afterwards.
    void set_factory()
    {
        ASSERT_EQ(ORVA::NQF::CPINQFUnknown::Factory_Set(&factory), 1);
        journal.take();
    }

    /// From now on gathers the calls that come under the lock of the slot.
    void watch_lock()
    {
        journal.on_call = [this](std::string const& call)
        {
            if (!locks::is_free(ORVA::NQF::g_csFactory))
                under_lock.push_back(call);
        };
    }

    support::FactoryDouble factory{journal};
    Calls under_lock;
};

/// The same for several threads: nothing is recorded, and the factory has one definition and makes one object.
class FactoryForThreads : public FactoryRegistry
{
protected:
    void SetUp() override
    {
        FactoryRegistry::SetUp();
        journal.silent = true;
        definition.set(__nqf_uuidof<REFID_phldr_VQXATTR_Component_CLSID>(), support::test_uid(55));
        factory.created = &object;
        factory.definitions = {{support::test_uid(9), &definition}};
    }

    support::DefinitionDouble definition{journal, "definition"};
};

} // namespace components
