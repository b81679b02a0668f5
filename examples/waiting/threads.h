/// @file
/// What the threads of the example do: a producer cuts the work into batches, and workers do them.
///
/// A body for `CPThreadContext` is any class with a default constructor and a `run()`.
#pragma once

#include "slot.h"

#include <array>

namespace waiting
{

constexpr unsigned int worker_count = 2;
constexpr unsigned long batches_per_worker = 10;
constexpr unsigned long batch_size = 1000;
constexpr unsigned long batch_count = worker_count * batches_per_worker;

/// The numbers from `first` on. No numbers at all are the end of the work.
struct Batch
{
    unsigned long first = 0;
    unsigned long count = 0;
};

/// Adds up the squares of the numbers that come in.
struct Worker
{
    Slot<Batch> in;
    Slot<unsigned long> out;
    ORVA::Threading::CPEvent finished{true};

    void run()
    {
        for (;;)
        {
            std::optional<Batch> const batch = in.take();
            if (!batch)
                return;
            if (batch->count == 0)
                break;
            unsigned long sum = 0;
            for (unsigned long number = batch->first; number < batch->first + batch->count; ++number)
                sum += number * number;
            if (!out.put(sum))
                return;
        }
        finished.Set();
    }
};

/// Hands the numbers from 1 on to the workers in turn.
struct Producer
{
    std::array<Worker*, worker_count> workers{};
    ORVA::Threading::CPEvent finished{true};

    void run()
    {
        for (unsigned long index = 0; index < batch_count; ++index)
        {
            if (!workers[index % worker_count]->in.put({1 + index * batch_size, batch_size}))
                return;
        }
        for (Worker* const worker : workers)
        {
            if (!worker->in.put({}))
                return;
        }
        finished.Set();
    }
};

} // namespace waiting
