#include "run.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace soak
{

Operation const operations[] = {
    {"blocks", copy_and_hand_over_blocks, 8},
    {"vectors", change_vectors, 4},
    {"hash tables", change_hash_table, 4},
    {"numbers", calculate, 4},
    {"intern", intern_texts, 10},
    {"query", query_texts, 8},
    {"hand over strings", hand_over_strings, 8},
    {"collect", collect, 1},
    {"string arrays", build_arrays, 4},
    {"mutex and section", enter_locks, 8},
    {"interlock", read_and_write, 8},
    {"signal and wait", signal_and_wait, 2},
    {"wait for several", wait_for_several, 2},
    {"pulse", pulse, 2},
    {"threads", start_and_end_threads, 2},
    {"services", register_services, 2},
    {"classes", register_classes, 2},
    {"start and stop", start_and_stop_library, 2},
    {"files", use_files, 2},
    {"paths and URLs", convert_paths, 4},
};

std::size_t const operation_count = sizeof operations / sizeof operations[0];

namespace
{

constexpr unsigned int worker_count = 8;
constexpr std::chrono::seconds patience{60};

using Clock = std::chrono::steady_clock;

// The places of the workers stay, so that the watch may look at them at any time.
std::array<Worker, worker_count> workers;
Worker main_thread;
thread_local Worker* current = nullptr;

Operation const& any_operation()
{
    unsigned int total = 0;
    for (Operation const& operation : operations)
        total += operation.weight;
    unsigned int drawn = below(total);
    Operation const* operation = operations;
    while (drawn >= operation->weight)
    {
        drawn -= operation->weight;
        ++operation;
    }
    return *operation;
}

void work_until(Worker& worker, Clock::time_point end, Tally& tally)
{
    current = &worker;
    while (Clock::now() < end)
    {
        Operation const& operation = any_operation();
        worker.doing = operation.name;
        operation.run(worker);
        ++tally[static_cast<std::size_t>(&operation - operations)];
        ++worker.progress;
    }
    worker.held.clear();
    worker.held.shrink_to_fit();
    worker.doing = nullptr;
}

} // namespace

void check(bool holds, char const* what)
{
    if (holds)
        return;
    if (current == nullptr)
        std::fprintf(stderr, "soak: FAILED: %s (in a thread of an operation, or in the main one)\n", what);
    else
        std::fprintf(stderr, "soak: FAILED: %s (worker %u, its operation %lu, \"%s\")\n", what, current->number,
                     current->progress.load() + 1, current->doing.load());
    std::fflush(nullptr);
    std::_Exit(1);
}

void run_workers(Shared& shared, double seconds, Tally& tally)
{
    auto const end = Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    std::vector<Tally> tallies(worker_count, Tally(operation_count));
    std::vector<std::thread> threads;
    for (unsigned int number = 0; number < worker_count; ++number)
    {
        Worker& worker = workers[number];
        worker.number = number;
        worker.shared = &shared;
        worker.doing = "the start";
        threads.emplace_back([&worker, end, &own = tallies[number]] { work_until(worker, end, own); });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (Tally const& own : tallies)
    {
        for (std::size_t index = 0; index < operation_count; ++index)
            tally[index] += own[index];
    }
}

Watch::Watch() : m_thread([this] { look(); }) {}

Watch::~Watch()
{
    m_over = true;
    m_thread.join();
}

void Watch::main_does(char const* what)
{
    main_thread.doing = what;
    ++main_thread.progress;
}

// A thread that does nothing, because it has not begun or has ended, is not watched.
void Watch::look()
{
    struct Seen
    {
        unsigned long progress = 0;
        Clock::time_point since = Clock::now();
    };
    std::array<Seen, worker_count + 1> seen;
    while (!m_over)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        auto const now = Clock::now();
        for (unsigned int number = 0; number <= worker_count; ++number)
        {
            Worker const& worker = number == worker_count ? main_thread : workers[number];
            char const* const doing = worker.doing;
            unsigned long const progress = worker.progress;
            if (doing == nullptr || progress != seen[number].progress)
                seen[number] = {progress, now};
            if (now - seen[number].since < patience)
                continue;
            if (number == worker_count)
                std::fprintf(stderr, "soak: HANGS: the main thread, at \"%s\"\n", doing);
            else
                std::fprintf(stderr, "soak: HANGS: worker %u, its operation %lu, \"%s\"\n", number, progress + 1,
                             doing);
            std::fflush(nullptr);
            std::abort();
        }
    }
}

} // namespace soak
