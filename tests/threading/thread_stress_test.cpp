#include "threading/thread_bodies.h"

#include <gtest/gtest.h>

#include <atomic>

// A fixed number of threads, started and ended in every way by several drivers, which are threads of the library
// themselves.
namespace
{

using namespace ORVA::Threading;
using namespace threads;

constexpr unsigned int driver_count = 4;
constexpr unsigned int rounds = 150;
constexpr unsigned int ways = 6;

struct Tally
{
    std::atomic<unsigned int> started{0};
    std::atomic<unsigned int> finished{0};
    std::atomic<unsigned int> interrupted{0};
    std::atomic<int> alive{0};
};

// Counts itself; sleeps until it is interrupted if it is told to.
struct Worker
{
    Tally* tally = nullptr;
    bool sleeps = false;
    unsigned int plain = 0; // read by the driver after the join

    ~Worker()
    {
        if (tally != nullptr)
            --tally->alive;
    }
    void run()
    {
        ++tally->started;
        ++plain;
        if (sleeps)
            CurrentThread::sleep(very_long);
        ++tally->finished;
    }
};

// Ends the thread in one of the ways and tells whether it did as it should.
bool ends_as_expected(CPThread& thread, unsigned int way)
{
    switch (way)
    {
    case 0:
        return thread.Wait(no_limit) == 0;
    case 1:
        return thread.Wait(plenty) == 0;
    case 2:
    {
        long result = -1;
        for (unsigned int attempt = 0; result == -1 && attempt < plenty; ++attempt)
            result = thread.Wait(1);
        return result == 0;
    }
    case 3:
    {
        CPThread copy(thread);
        return copy.Wait(plenty) == 0 && !copy && thread.Wait(0) == -2;
    }
    case 4:
        return thread.Terminate();
    default:
        thread.free();
        return true;
    }
}

void drive(unsigned int driver, Tally& tally)
{
    for (unsigned int round = 0; round < rounds; ++round)
    {
        unsigned int const way = (driver + round) % ways;
        bool const sleeps = way >= 4;
        CPThreadContext<Worker> context;
        Worker* const worker = context.create();
        worker->tally = &tally;
        worker->sleeps = sleeps;
        ++tally.alive;
        CPThread thread;
        EXPECT_TRUE(thread.Execute(context, round % 3 == 0 ? 256 * 1024 : 0));
        EXPECT_TRUE(ends_as_expected(thread, way)) << way;
        EXPECT_FALSE(thread);
        EXPECT_EQ(context.lockcnt(), 1U);
        EXPECT_EQ(worker->plain, 1U);
        EXPECT_EQ(context->exitCode(), sleeps ? 2U : 3U);
        if (sleeps)
            ++tally.interrupted;
    }
}

TEST(ThreadStress, every_thread_runs_once_and_leaves_nothing_behind)
{
    Tally tally;
    CPThread drivers[driver_count];
    Context contexts[driver_count];
    for (unsigned int driver = 0; driver < driver_count; ++driver)
    {
        contexts[driver].create()->work = [driver, &tally] { drive(driver, tally); };
        ASSERT_TRUE(drivers[driver].Execute(contexts[driver], 0));
    }
    for (unsigned int driver = 0; driver < driver_count; ++driver)
    {
        EXPECT_EQ(drivers[driver].Wait(2 * plenty), 0);
        EXPECT_EQ(contexts[driver]->exitCode(), 3U);
    }
    constexpr unsigned int total = driver_count * rounds;
    EXPECT_EQ(tally.started, total);
    EXPECT_EQ(tally.interrupted, total / 3);
    EXPECT_EQ(tally.finished, total - total / 3);
    EXPECT_EQ(tally.alive, 0);
}

// Threads that start threads: each holds the handle on the next one, so that the end of the first ends them all.
TEST(ThreadStress, chain_of_threads_ends_with_its_first)
{
    constexpr unsigned int length = 20;
    Signal last_runs;
    Context links[length];
    for (unsigned int link = 0; link < length; ++link)
    {
        links[link].create()->work = [link, &links, &last_runs]
        {
            CPThread next;
            if (link + 1 < length)
                EXPECT_TRUE(next.Execute(links[link + 1], 0));
            else
                last_runs.set();
            CurrentThread::sleep(very_long);
        };
    }
    CPThread first;
    ASSERT_TRUE(first.Execute(links[0], 0));
    EXPECT_TRUE(last_runs.wait());
    EXPECT_TRUE(first.Terminate());
    for (Context const& link : links)
    {
        EXPECT_EQ(link->exitCode(), 2U);
        EXPECT_EQ(link.lockcnt(), 1U);
    }
}

} // namespace
