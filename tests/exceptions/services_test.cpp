// Services of the maintenance thread that throw, on the thread itself.
#include "exceptions/thrown.h"
#include "maintenance/services_for_tests.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cwchar>

namespace
{

using namespace exceptions;
using namespace scheduler;
using events::until;
using support::LogMessages;

LogMessages const free_exception = {support::illegal_point("CPObjectMemory::Free exception")};

bool list_lock_is_free()
{
    return events::Background<bool>(
               []
               {
                   bool const entered = g_cpMRLock.TryEnter(0);
                   if (entered)
                       g_cpMRLock.Leave();
                   return entered;
               })
        .result();
}

/// Which operation of a service throws.
using Place = std::function<void()> Probe::*;

struct PlaceCase
{
    char const* name;
    Place place;
    unsigned int runs; ///< of the service, before it is disabled

    // GoogleTest would show all bytes, and those that fill up the record have no value.
    friend void PrintTo(PlaceCase const& place_case, std::ostream* stream) { *stream << place_case.name; }
};

class ThrowingService : public Scheduler, public testing::WithParamInterface<PlaceCase>
{
protected:
    ThrowingService() { EXPECT_TRUE(AppInit()); }
};

// The thread goes through the services again after each trigger, so one that was not disabled would throw again.
TEST_P(ThrowingService, IsDisabledAndTheThreadGoesOn)
{
    for (Thrown const what : both_kinds)
    {
        support::LogRecorder log;
        std::atomic<unsigned int> thrown{0};
        Block const bad = service();
        (*bad).*GetParam().place = [&thrown, what]
        {
            ++thrown;
            raise(what);
        };
        Block good = service();
        run_once(good);
        EXPECT_TRUE(Register(bad));
        EXPECT_TRUE(Register(good));
        until([&] { return good->runs == 1 && thrown == 1 && is_disabled(bad); }, "both services");
        for (unsigned int round = 2; round < 5; ++round)
        {
            // Again and again, since a run that is not over yet puts the time off.
            auto const runs_again = [&]
            {
                good->time = 0;
                Trigger();
                return good->runs >= round;
            };
            until(runs_again, "the good service once more");
        }
        EXPECT_EQ(thrown, 1U);
        EXPECT_EQ(bad->runs, GetParam().runs);
        EXPECT_TRUE(IsActive());
        EXPECT_FALSE(is_disabled(good));
        until(&list_lock_is_free, "the lock of the list");

        EXPECT_TRUE(Register(bad)) << "it is listed, and stays disabled";
        EXPECT_TRUE(is_disabled(bad));
        EXPECT_TRUE(Unregister(bad, events::plenty));
        EXPECT_EQ(bad.lockcnt(), 1U);
        (*bad).*GetParam().place = nullptr;
        Block again = bad;
        run_once(again);
        EXPECT_TRUE(Register(bad));
        until([&] { return bad->runs == GetParam().runs + 1; }, "the service that is enabled again");
        EXPECT_TRUE(Unregister(bad, events::plenty));
        EXPECT_TRUE(Unregister(good, events::plenty));
        EXPECT_EQ(log.count(), 0U);
    }
}

INSTANTIATE_TEST_SUITE_P(In, ThrowingService,
                         testing::Values(PlaceCase{"GetNextMaintenance", &Probe::on_time, 0},
                                         PlaceCase{"GetPriority", &Probe::on_priority, 0},
                                         PlaceCase{"RunMaintenance", &Probe::on_run, 1}),
                         [](auto const& place) { return place.param.name; });

class ThrowingServices : public Scheduler
{
protected:
    support::LogRecorder log;
};

TEST_F(ThrowingServices, DoNotKeepTheThreadFromItsStop)
{
    std::vector<Block> blocks;
    for (Place const place : {&Probe::on_time, &Probe::on_priority, &Probe::on_run})
    {
        for (Thrown const what : both_kinds)
        {
            Block const block = blocks.emplace_back(service());
            (*block).*place = [what] { raise(what); };
            EXPECT_TRUE(Register(block));
        }
    }
    EXPECT_TRUE(AppInit());
    until([&] { return blocks[4]->runs == 1 && blocks[5]->runs == 1; }, "those that are run");
    AppExit();
    EXPECT_FALSE(IsActive());
    EXPECT_FALSE(g_cpMRPending);
    for (Block const& block : blocks)
        EXPECT_EQ(block.lockcnt(), 1U);
}

TEST_F(ThrowingServices, AreUnregisteredByWhoWaitsForTheRunThatThrows)
{
    for (Thrown const what : both_kinds)
    {
        std::atomic<bool> let_go{false};
        Block const block = service();
        block->on_run = [&let_go, what]
        {
            until([&] { return let_go.load(); }, "the service to be let go");
            raise(what);
        };
        EXPECT_TRUE(Register(block));
        EXPECT_TRUE(AppInit());
        until([&] { return block->runs == 1; }, "the service to run");
        events::Background<bool> waiting([&block] { return Unregister(block, events::plenty); });
        until([&] { return is_disabled(block); }, "the other thread to wait");
        let_go = true;
        EXPECT_TRUE(waiting.result());
        EXPECT_EQ(block.lockcnt(), 1U);
        EXPECT_FALSE(is_listed(block));
        EXPECT_TRUE(list_lock_is_free());
        EXPECT_TRUE(IsActive());
        AppExit();
    }
}

/// A service that throws where the test says: when it is named, asked for its interface, or destroyed.
struct Awkward : IMaintenanceRequest
{
    ~Awkward() noexcept(false)
    {
        if (on_end)
            on_end();
        if (in_destructor)
            raise(*in_destructor);
    }
    nqfWChar const* GetName() override
    {
        if (in_name)
            raise(*in_name);
        return L"awkward";
    }
    unsigned long GetNextMaintenance() override { return 0; }
    void RunMaintenance() override
    {
        if (on_run)
            on_run();
    }
    int GetPriority() override { return 0; }
    virtual void* queryInterface(_nqfUID const&) const
    {
        if (in_query)
            raise(*in_query);
        return static_cast<IMaintenanceRequest*>(const_cast<Awkward*>(this));
    }

    std::function<void()> on_run;
    std::function<void()> on_end;
    std::optional<Thrown> in_destructor;
    std::optional<Thrown> in_name;
    std::optional<Thrown> in_query;
};

using AwkwardBlock = ORVA::Buffers::CPIObject<Awkward>;

TEST_F(ThrowingServices, AreNeitherRegisteredNorUnregisteredIfTheirInterfaceCannotBeAskedFor)
{
    for (Thrown const what : both_kinds)
    {
        AwkwardBlock block;
        block.create()->in_query = what;
        EXPECT_EQ(thrown_by([&] { Register(block); }), what);
        EXPECT_EQ(listed(), 0U);
        block->in_query.reset();
        EXPECT_TRUE(Register(block));
        block->in_query = what;
        EXPECT_EQ(thrown_by([&] { Unregister(block, 0); }), what);
        EXPECT_EQ(block.lockcnt(), 2U);
        EXPECT_TRUE(list_lock_is_free());
        block->in_query.reset();
        EXPECT_TRUE(Unregister(block, 0));
        EXPECT_EQ(block.lockcnt(), 1U);
    }
    EXPECT_EQ(log.count(), 0U);
}

// The name is asked for the message that the wait for the running service was in vain.
TEST_F(ThrowingServices, WhoseNameCannotBeToldLetTheExceptionThroughAndStayListed)
{
    support::ClockOverride clock(5000);
    support::MaintenanceCalls calls;
    calls.sleep = [&clock](unsigned int) { clock.advance(1000); };
    for (Thrown const what : both_kinds)
    {
        AwkwardBlock block;
        block.create()->in_name = what;
        EXPECT_TRUE(Register(block));
        EXPECT_TRUE(_selectService());
        EXPECT_EQ(thrown_by([&] { Unregister(block, 100); }), what);
        EXPECT_TRUE(is_disabled(block));
        EXPECT_TRUE(list_lock_is_free());
        EXPECT_EQ(log.count(), 0U);

        block->in_name.reset();
        EXPECT_FALSE(Unregister(block, 100));
        EXPECT_EQ(log.take().size(), 1U);
        _resetPending(false);
        EXPECT_TRUE(Unregister(block, 100));
        EXPECT_EQ(block.lockcnt(), 1U);
    }
}

TEST_F(ThrowingServices, ThatThrowInTheirDestructorAreReported)
{
    for (Thrown const what : both_kinds)
    {
        Block const other = service(never);
        for (bool const by_the_end : {false, true})
        {
            AwkwardBlock block;
            block.create()->in_destructor = what;
            EXPECT_TRUE(Register(block));
            EXPECT_TRUE(Register(other));
            if (by_the_end)
            {
                block.free();
                EXPECT_FALSE(thrown_by(&AppExit).has_value());
            }
            else
            {
                EXPECT_TRUE(Unregister(block, 0));
                EXPECT_FALSE(thrown_by([&] { block.free(); }).has_value());
            }
            EXPECT_EQ(log.take(), free_exception);
            EXPECT_TRUE(list_lock_is_free());
            EXPECT_EQ(listed(), by_the_end ? 0U : 1U);
        }
        EXPECT_EQ(other.lockcnt(), 1U);
    }
}

// The last reference goes on the thread, when the run has ended.
TEST_F(ThrowingServices, ThatThrowInTheirDestructorOnTheThreadDoNotEndIt)
{
    for (Thrown const what : both_kinds)
    {
        std::atomic<bool> runs{false};
        std::atomic<bool> may_end{false};
        std::atomic<bool> gone{false};
        AwkwardBlock block;
        block.create()->in_destructor = what;
        block->on_end = [&gone] { gone = true; };
        block->on_run = [&, what]
        {
            runs = true;
            until([&] { return may_end.load(); }, "the last reference to be the thread's");
            raise(what);
        };
        EXPECT_TRUE(Register(block));
        EXPECT_TRUE(AppInit());
        until([&] { return runs.load(); }, "the service to run");
        log.clear();
        {
            ListLock const lock;
            g_cpMRList.free();
        }
        block.free();
        may_end = true;
        until([&] { return gone.load(); }, "the service to go");
        Block next = service();
        run_once(next);
        EXPECT_TRUE(Register(next));
        until([&] { return next->runs == 1; }, "the next service to run");
        EXPECT_EQ(log.take(), free_exception);
        AppExit();
    }
}

/// Writes messages where a death test finds them. A recorder is gone before the last of them.
void write_to_stderr(_nqfDebugLevel, wchar_t const*, char const*, int, wchar_t const* format, va_list args)
{
    wchar_t text[200];
    if (std::vswprintf(text, 200, format, args) > 0)
        std::fprintf(stderr, "%ls\n", text);
}

TEST_F(ThrowingServices, ThatThrowAtTheEndOfTheProcessAreReportedAndDoNotDisturbIt)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            ORVA::Develop::SetExternalLogger(&write_to_stderr);
            AwkwardBlock block;
            block.create()->in_destructor = Thrown::odd;
            Register(block);
            block.free();
            Block const bad = service();
            bad->on_run = [] { raise(Thrown::standard); };
            Register(bad);
            AppInit();
            until([&] { return bad->runs == 1; });
            std::exit(3);
        },
        testing::ExitedWithCode(3), "CPObjectMemory::Free exception");
}

} // namespace
