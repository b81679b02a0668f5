/// @file
/// What the threads of the soak do, and what they share.
///
/// An operation is a piece of work of a few microseconds to a few milliseconds that checks what it gets. It begins and
/// ends with nothing of its own but what it keeps in `Worker` and `Shared`, which is let go at the quiet points.
#pragma once

#include "ORVA/Develop.h"
#include "ORVA/String.h"
#include "ORVA/Threading.h"

#include <atomic>
#include <string>
#include <vector>

namespace soak
{

constexpr unsigned int no_limit = 0xFFFFFFFFU;
/// Milliseconds within which everything happens that is to happen; the watch is less patient.
constexpr unsigned int plenty = 120000;

/// What all workers use, each thing under its own lock.
struct Shared
{
    static constexpr unsigned int places = 16;

    ORVA::Threading::CPCriticalSection mailbox_lock;
    ORVA::String::CPPoolString mailbox[places];
    ORVA::Buffers::CPObjectMemory parcels[places];

    ORVA::Threading::CPMutex mutex;
    unsigned long mutex_words[2] = {};
    ORVA::Threading::CPCriticalSection section;
    unsigned long section_words[2] = {};
    ORVA::Threading::CPRWInterlock interlock;
    unsigned long interlock_words[8] = {};

    ORVA::Threading::CPEvent pulse{false};
    std::string directory; ///< that of all workers, with no separator at its end
};

/// One thread's own.
struct Worker
{
    static constexpr unsigned int most_held = 64;

    unsigned int number = 0;
    Shared* shared = nullptr;
    std::vector<ORVA::String::CPPoolString> held;
    /// Read by the watch; null while there is nothing to watch.
    std::atomic<char const*> doing{nullptr};
    std::atomic<unsigned long> progress{0};
};

struct Operation
{
    char const* name;
    void (*run)(Worker& worker);
    unsigned int weight; ///< how often, against the others
};

/// Ends the process, with what failed and what the calling thread was doing, unless `holds`.
void check(bool holds, char const* what);

/// A number below `limit`, from the process's generator.
inline unsigned int below(unsigned int limit)
{
    return ORVA::Develop::_random() % limit;
}

// The operations; run.cpp lists them.

void copy_and_hand_over_blocks(Worker& worker);
void change_vectors(Worker& worker);
void change_hash_table(Worker& worker);
void calculate(Worker& worker);

void intern_texts(Worker& worker);
void query_texts(Worker& worker);
void hand_over_strings(Worker& worker);
void collect(Worker& worker);
void build_arrays(Worker& worker);

void enter_locks(Worker& worker);
void read_and_write(Worker& worker);
void signal_and_wait(Worker& worker);
void wait_for_several(Worker& worker);
void pulse(Worker& worker);
void start_and_end_threads(Worker& worker);
void register_services(Worker& worker);
void register_classes(Worker& worker);
/// One of the classes that `register_classes` registers, and that stay.
void register_class(unsigned int number);
constexpr unsigned int class_count = 16;
void start_and_stop_library(Worker& worker);

void use_files(Worker& worker);
void convert_paths(Worker& worker);

} // namespace soak
