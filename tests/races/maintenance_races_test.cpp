#include "maintenance/services_for_tests.h"

#include "races/together.h"

#include <array>

// Services that several threads, and other services, take on and off, and services that throw among them.
namespace
{

using namespace scheduler;
using events::until;
using races::Faults;
using races::faults_of;

using MaintenanceRaces = Scheduler;

constexpr unsigned int long_enough = 60000; // milliseconds

// Of several threads that take one service off, exactly one does.
TEST_F(MaintenanceRaces, service_is_taken_off_by_one_of_the_threads_that_try)
{
    constexpr unsigned int threads = 3;
    constexpr unsigned int rounds = 60;
    AppInit();
    std::array<std::vector<Block>, threads> blocks;
    for (unsigned int round = 0; round < rounds; ++round)
    {
        Block const block = service(round % 3 == 0 ? 0 : never);
        for (auto& own : blocks)
            own.push_back(block);
    }
    std::vector<std::atomic<unsigned int>> taken(rounds);
    races::MeetingPoint point(threads);
    EXPECT_EQ(faults_of(threads,
                        [&](unsigned int index)
                        {
                            Faults faults;
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                Block& block = blocks[index][round];
                                faults.expect(Register(block));
                                point.meet();
                                taken[round] += Unregister(block, long_enough) ? 1U : 0U;
                                point.meet();
                                faults.expect(!is_listed(block) && !is_pending(block));
                            }
                            return faults;
                        }),
              0U);
    for (unsigned int round = 0; round < rounds; ++round)
        EXPECT_EQ(taken[round], 1U) << round;
    AppExit();
    for (unsigned int round = 0; round < rounds; ++round)
        EXPECT_EQ(blocks[0][round].lockcnt(), threads);
}

// A service that throws is run no more, one that runs on is; both are taken off by the threads that brought them.
TEST_F(MaintenanceRaces, services_that_throw_leave_the_others_alone)
{
    constexpr unsigned int threads = 3;
    constexpr unsigned int rounds = 40;
    AppInit();
    EXPECT_EQ(faults_of(threads,
                        [](unsigned int index)
                        {
                            Faults faults;
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                Block good = service(0, static_cast<int>(index));
                                run_once(good);
                                Block bad = service();
                                (round % 2 == 0 ? bad->on_run : bad->on_priority) = thrower();
                                faults.expect(Register(bad) && Register(good));
                                until([&] { return good->runs == 1; }, "the good service to run");
                                until([&] { return bad->asked_for_priority != 0; }, "the bad service to be asked");
                                if (round % 2 == 0)
                                    until([&] { return bad->runs == 1; }, "the bad service to run");
                                faults.expect(Unregister(good, long_enough) && Unregister(bad, long_enough));
                                faults.expect(bad->runs <= 1);
                                faults.expect(good.lockcnt() == 1 && bad.lockcnt() == 1);
                            }
                            return faults;
                        }),
              0U);
    EXPECT_EQ(listed(), 0U);
    AppExit();
}

// Services that take others on and off while they run, beside threads that do the same.
TEST_F(MaintenanceRaces, services_register_others_while_threads_do)
{
    constexpr unsigned int threads = 3;
    constexpr unsigned int rounds = 60;
    AppInit();
    EXPECT_EQ(faults_of(threads,
                        [](unsigned int)
                        {
                            Faults faults;
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                Block guest = service(never);
                                Block host = service();
                                Probe* const probe = &*host;
                                std::atomic<unsigned int> wrong{0};
                                host->on_run = [probe, &guest, &wrong]
                                {
                                    wrong += Register(guest) ? 0U : 1U;
                                    Trigger();
                                    wrong += Unregister(guest, long_enough) ? 0U : 1U;
                                    probe->time = never;
                                };
                                faults.expect(Register(host));
                                until([&] { return host->runs == 1; }, "the host to run");
                                faults.expect(Unregister(host, long_enough));
                                faults.expect(wrong == 0 && host->runs == 1);
                                faults.expect(host.lockcnt() == 1 && guest.lockcnt() == 1 && IsActive());
                            }
                            return faults;
                        }),
              0U);
    EXPECT_EQ(listed(), 0U);
    AppExit();
}

} // namespace
