#include "races/together.h"
#include "threading/thread_bodies.h"

#include <gtest/gtest.h>

#include <atomic>
#include <vector>

// What the start and the end of a thread order, and handles that other threads hold.
namespace
{

using namespace ORVA::Threading;
using namespace threads;
using races::Faults;
using races::faults_of;

constexpr unsigned int drivers = 3;

// Plain words that the starter fills before the start and reads after the end.
struct Sum
{
    unsigned int from = 0;
    unsigned int result = 0;
    unsigned int sleeps = 0; // milliseconds

    void run()
    {
        for (unsigned int number = from; number < from + 10; ++number)
            result += number;
        if (sleeps != 0)
            CurrentThread::sleep(sleeps);
    }
};

TEST(ThreadRaces, body_sees_what_was_filled_in_and_the_joiner_what_it_has_made)
{
    constexpr unsigned int rounds = 150;
    EXPECT_EQ(faults_of(drivers,
                        [](unsigned int index)
                        {
                            Faults faults;
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                CPThreadContext<Sum> context;
                                Sum* const sum = context.create();
                                sum->from = round + index;
                                CPThread thread;
                                faults.expect(thread.Execute(context, 0));
                                faults.expect(thread.Wait(round % 2 == 0 ? no_limit : plenty) == 0);
                                faults.expect(sum->result == 10 * (round + index) + 45);
                                faults.expect(context->exitCode() == 3 && context.lockcnt() == 1);
                            }
                            return faults;
                        }),
              0U);
}

// Interruptions come before the body, into its sleep and after its end; the thread is joined in every case.
TEST(ThreadRaces, termination_races_with_the_end_of_the_body)
{
    constexpr unsigned int rounds = 120;
    EXPECT_EQ(faults_of(drivers,
                        [](unsigned int index)
                        {
                            Faults faults;
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                CPThreadContext<Sum> context;
                                Sum* const sum = context.create();
                                sum->sleeps = round % 2;
                                CPThread thread;
                                faults.expect(thread.Execute(context, 0));
                                for (unsigned int step = (round * 7 + index) % 40; step != 0; --step)
                                    std::this_thread::yield();
                                faults.expect(thread.Terminate());
                                unsigned int const code = context->exitCode();
                                faults.expect(code == 3 || (code == 2 && sum->sleeps != 0));
                                faults.expect(sum->result == 45 && context.lockcnt() == 1);
                            }
                            return faults;
                        }),
              0U);
}

// One thread drives; the others hold handles on the thread and the context, look at the exit code and let go.
TEST(ThreadRaces, handles_and_exit_codes_are_looked_at_beside_the_owner)
{
    constexpr unsigned int rounds = 150;
    std::vector<CPThreadContext<Sum>> contexts(rounds);
    for (CPThreadContext<Sum>& context : contexts)
        context.create();
    std::vector<CPThreadContext<Sum>> const others = contexts;
    std::vector<CPThread> started(rounds);
    races::MeetingPoint point(drivers);
    EXPECT_EQ(faults_of(drivers,
                        [&](unsigned int index)
                        {
                            Faults faults;
                            for (unsigned int round = 0; round < rounds; ++round)
                            {
                                if (index == 0)
                                    faults.expect(started[round].Execute(contexts[round], 0));
                                point.meet();
                                CPThread const own = started[round];
                                point.meet();
                                if (index == 0)
                                {
                                    faults.expect(started[round].Wait(plenty) == 0);
                                    continue;
                                }
                                CPThreadContext<Sum> const context(others[round]);
                                unsigned int code = 0;
                                while (code != 3)
                                {
                                    unsigned int const next = context->exitCode();
                                    faults.expect(next >= code && next != 2);
                                    code = next;
                                }
                            }
                            return faults;
                        }),
              0U);
    for (CPThreadContext<Sum> const& context : contexts)
    {
        EXPECT_EQ(context.lockcnt(), 2U);
        EXPECT_EQ(static_cast<Sum&>(*context).result, 45U);
    }
}

} // namespace
