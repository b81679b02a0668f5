#include "maintenance/services_for_tests.h"

#include <cstdio>
#include <cstdlib>
#include <thread>

// The end of a process that does not call the stop. Each test looks at a process of its own, which tells what it saw.
namespace
{

using namespace scheduler;
using events::until;

void tell(char const* what)
{
    std::fprintf(stderr, "%s\n", what);
    std::fflush(stderr);
}

// Runs `body` in a process of its own, to its end.
template <class Body>
void expect_to_end(Body body, char const* told)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            body();
            std::exit(0);
        },
        testing::ExitedWithCode(0), told);
}

// The service looks at the thread for as long as it is there, which is also what a race would need.
TEST(ProcessEndDeathTest, waits_for_the_running_service_with_no_lock_held)
{
    expect_to_end(
        []
        {
            Block const block = service();
            block->on_run = []
            {
                until([] { return !IsActive(); }, "the end of the process");
                Trigger();
                Unregister(service(), 0);
                tell("the service has finished");
            };
            Register(block);
            AppInit();
            until([&block] { return block->runs == 1; });
        },
        "the service has finished");
}

TEST(ProcessEndDeathTest, drops_services_that_use_the_scheduler_as_they_go)
{
    expect_to_end(
        []
        {
            static Block const* const survivor = new Block(service(never));
            {
                Block const block = service(never);
                block->on_end = []
                {
                    bool const gone = !Unregister(*survivor, 0) && !IsActive() && listed() == 0;
                    Trigger();
                    tell(gone && is_signaled(g_cpMRTrigger) && Register(*survivor) ? "all still stands" : "fault");
                };
                Register(block);
                Register(*survivor);
            }
            AppInit();
        },
        "all still stands");
}

TEST(ProcessEndDeathTest, drops_services_that_were_registered_without_a_thread)
{
    expect_to_end(
        []
        {
            Block const block = service(never);
            block->on_end = [] { tell(is_signaled(g_cpMRTrigger) ? "dropped" : "fault"); };
            Register(block);
        },
        "dropped");
}

// An abandoned thread may have the lock, and keep it.
TEST(ProcessEndDeathTest, does_not_wait_for_the_lock_of_the_list)
{
    expect_to_end(
        []
        {
            std::atomic<bool> held{false};
            std::thread(
                [&held]
                {
                    enter_list();
                    held = true;
                    for (;;)
                        std::this_thread::sleep_for(std::chrono::seconds(1));
                })
                .detach();
            until([&held] { return held.load(); });
            tell("the end");
        },
        "the end");
}

} // namespace
