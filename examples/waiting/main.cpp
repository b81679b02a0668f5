/// @file
/// One thread that waits for several others: for any of them, and for all of them.
///
///   producer --> worker 0 --> controller (the main thread)
///            \-> worker 1 -/
///
/// The controller takes the workers' sums as they come, with an any-of multiple event, then waits until everybody has
/// finished, with a barrier, and checks the totals. Every wait in the program has a bound. The exit status is 0 if all
/// is as it has to be.

#include "threads.h"

#include <cstdio>

namespace
{

using namespace waiting;
using namespace ORVA::Threading;

/// A body and the thread that runs it.
template <class Body>
struct Running
{
    CPThreadContext<Body> context;
    Body* const body = context.create();
    CPThread thread;

    bool start() { return thread.Execute(context, 0); }
    bool ends() { return thread.Wait(patience) == 0 && context->exitCode() == 3; }
};

/// What has come from one worker.
struct Account
{
    unsigned long batches = 0;
    unsigned long total = 0;
};

struct Controller
{
    // These two come first, so that they go last: an event that is attached must not be signalled when its multiple
    // event has gone.
    CPMultipleEvent any_sum{false};
    CPMultipleEvent all_finished{true};
    Running<Producer> producer;
    std::array<Running<Worker>, worker_count> workers;
    std::array<Account, worker_count> accounts{};

    // All events are attached before the first wait, and before a thread can signal one. The index that a wait gives is
    // the place in this order.
    bool connect()
    {
        if (producer.body == nullptr || !all_finished.Attach(producer.body->finished))
            return false;
        for (unsigned long index = 0; index < worker_count; ++index)
        {
            Worker* const worker = workers[index].body;
            if (worker == nullptr || !any_sum.Attach(worker->out.full()) || !all_finished.Attach(worker->finished))
                return false;
            producer.body->workers[index] = worker;
        }
        return true;
    }

    bool start()
    {
        bool started = producer.start();
        for (Running<Worker>& worker : workers)
            started = worker.start() && started;
        return started;
    }

    // Any of several: the event stays signalled until `take` resets it, so no sum is lost if two come at once.
    bool collect()
    {
        for (unsigned long count = 0; count < batch_count; ++count)
        {
            long const index = any_sum.Wait(patience);
            if (index < 0)
                return false;
            std::optional<unsigned long> const sum = workers[static_cast<unsigned long>(index)].body->out.take();
            if (!sum)
                return false;
            Account& account = accounts[static_cast<unsigned long>(index)];
            ++account.batches;
            account.total += *sum;
        }
        return true;
    }

    // All of several: over when all events are signalled at the same time.
    bool wait_for_all() { return all_finished.Wait(patience) >= 0; }

    // After a failure, too: nobody waits for longer than `patience`, so every thread comes to its end.
    bool join()
    {
        bool ended = producer.ends();
        for (Running<Worker>& worker : workers)
            ended = worker.ends() && ended;
        return ended;
    }

    bool report() const
    {
        unsigned long total = 0;
        bool right = true;
        for (unsigned long index = 0; index < worker_count; ++index)
        {
            Account const& account = accounts[index];
            std::printf("worker %lu: %lu batches, sum of squares %lu\n", index, account.batches, account.total);
            total += account.total;
            right = right && account.batches == batches_per_worker;
        }
        constexpr unsigned long last = batch_count * batch_size;
        constexpr unsigned long expected = last * (last + 1) * (2 * last + 1) / 6;
        std::printf("squares of 1 to %lu: %lu, expected %lu\n", last, total, expected);
        return right && total == expected;
    }
};

bool fails(char const* step)
{
    std::fprintf(stderr, "waiting: %s failed\n", step);
    return false;
}

bool run(Controller& controller)
{
    if (!controller.connect())
        return fails("connecting the events");
    bool done = controller.start() || fails("starting the threads");
    done = done && (controller.collect() || fails("waiting for any of the workers"));
    done = done && (controller.wait_for_all() || fails("waiting for all threads to finish"));
    bool const joined = controller.join() || fails("joining the threads");
    return done && joined && (controller.report() || fails("the check of the totals"));
}

} // namespace

int main()
{
    Controller controller;
    return run(controller) ? 0 : 1;
}
