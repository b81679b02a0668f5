// Several threads run out of memory at moments of their own, while the pool is collected: each result is complete or the
// failure that is stated, and what the threads share stays whole.
#include "faults/maintenance_faults.h"
#include "faults/pool_faults.h"

#include "pool/hash_pair_support.h"
#include "pool/string_array_support.h"
#include "support/RandomAllocationFailure.h"
#include "threading/thread_bodies.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <random>
#include <thread>

namespace
{

using namespace pool_faults;
using faults::NewFails;
using faults::Undisturbed;
using ORVA::Threading::CPEvent;
using ORVA::Threading::CPMultipleEvent;
using ORVA::Threading::CPThread;
using support::RandomAllocationFailure;

constexpr unsigned int workers = 4;
constexpr unsigned int rounds = 3000;
constexpr unsigned int shared_names = 60;

std::wstring shared_name(unsigned int number)
{
    return L"other threads " + std::to_wstring(number);
}

// Events that each worker attaches to its own, one for each worker, and all signal.
using SharedEvents = std::array<CPEvent, workers>;

// The numbers 1, 2, ... in blocks, by keys of few buckets.
class NumberTable : public ORVA::Lookup::CBaseHashTable
{
public:
    using Item = ORVA::Buffers::CPObject<unsigned int>;

    NumberTable() : CBaseHashTable(4) {}
    int compare(CPObjectMemory const& a, CPObjectMemory const& b) override
    {
        unsigned int const first = *Item(a);
        unsigned int const second = *Item(b);
        return first < second ? -1 : first > second ? 1 : 0;
    }
};

// What an operation came to, in all threads: that both occur shows that the test is about something.
struct Outcomes
{
    void note(bool is_done) { ++(is_done ? done : failed); }

    std::atomic<unsigned int> done{0};
    std::atomic<unsigned int> failed{0};
};

struct AllOutcomes
{
    Outcomes get;
    Outcomes form;
    Outcomes query;
    Outcomes variant;
    Outcomes insertion;
    Outcomes addition;
    Outcomes clone;
    Outcomes table;
    Outcomes event;
    Outcomes attachment;
    Outcomes service;
    Outcomes thread;
};

// One thread's part of the work. Every operation of the library in it is one that may fail, but for those in a pause.
class Worker
{
public:
    Worker(unsigned int number, SharedEvents const& events, AllOutcomes& outcomes)
        : m_number(number), m_random(number), m_events(events), m_outcomes(outcomes)
    {
    }

    // Gives the allocations that failed.
    unsigned long run()
    {
        // Seldom, so that larger things come about, and often, so that nearly nothing does.
        RandomAllocationFailure const failure(m_number + 1, m_number % 2 == 0 ? 25 : 4);
        static constexpr void (Worker::*operations[])() = {
            &Worker::get_string,     &Worker::get_string,       &Worker::look_at_held_string,
            &Worker::count_up,       &Worker::change_array,     &Worker::change_table,
            &Worker::wait_on_events, &Worker::register_service, &Worker::run_thread};
        for (unsigned int round = 0; round < rounds; ++round)
            (this->*operations[pick(std::size(operations))])();
        return failure.failures();
    }

private:
    unsigned int pick(unsigned long choices) { return static_cast<unsigned int>(m_random() % choices); }

    void get_string()
    {
        std::wstring const text = shared_name(pick(shared_names));
        CPPoolString string;
        switch (pick(4))
        {
        case 0:
            string = CStringPool::GetStringRef(text.c_str());
            break;
        case 1:
            string = CStringPool::GetStringRef(in_utf8(text).c_str());
            break;
        case 2:
            string = CStringPool::GetStringRefn(in_units<unsigned short>(text).c_str(), text.size());
            break;
        default:
        {
            SubmitterProbe submitter(text);
            string = CStringPool::GetStringRef(&submitter);
        }
        }
        m_outcomes.get.note(!string.isnull());
        if (string.isnull())
            return;
        EXPECT_EQ(text_of(string), text);
        EXPECT_EQ(string.Verify(), 1U);
        Undisturbed const pause;
        EXPECT_TRUE(CStringPool::GetStringRef(text.c_str()) == string);
        m_held[pick(held)] = string;
    }

    void look_at_held_string()
    {
        CPPoolString const& string = m_held[pick(held)];
        if (string.isnull())
            return;
        std::wstring const text = text_of(string);
        unsigned char const* const form = string;
        EXPECT_TRUE(*form == 0 || in_utf8(text) == form);
        m_outcomes.form.note(*form != 0);
        _cppoolstring const found = CStringPool::QueryStringRef(in_utf8(text).c_str());
        EXPECT_TRUE(is_null(found) || found == string);
        m_outcomes.query.note(!is_null(found));
        EXPECT_TRUE(CStringPool::QueryStringRef(text.c_str()) == string);
        _cppoolstring const any = CStringPool::GetStringRefi(in_utf8(text).c_str());
        EXPECT_TRUE(is_null(any) || any == string);
    }

    void count_up()
    {
        CPPoolString const& string = m_held[pick(held)];
        CPPoolString const next = string.inc();
        EXPECT_TRUE(next.isnull() || text_of(next) == text_of(string) + L" (2)");
        if (!string.isnull())
            m_outcomes.variant.note(!next.isnull());
        m_held[pick(held)].free();
    }

    void change_array()
    {
        CPPoolString const& string = m_held[pick(held)];
        if (pick(40) == 0)
        {
            m_array.free();
            m_entries.clear();
        }
        unsigned int const result = m_array.Insert(string, 0);
        m_outcomes.insertion.note(result == 1);
        if (result == 1)
            m_entries.insert(m_entries.begin(), string);
        EXPECT_EQ(strings_of(m_array), m_entries);
        CPPoolStringArray sorted(true);
        Strings expected;
        for (CPPoolString const& entry : m_entries)
        {
            bool const is_new = std::find(expected.begin(), expected.end(), entry) == expected.end();
            bool const is_added = sorted.Add(entry) == 1;
            m_outcomes.addition.note(is_added);
            EXPECT_TRUE(is_added || is_new);
            if (is_added && is_new)
                expected.push_back(entry);
        }
        EXPECT_EQ(sorted.GetCount(), expected.size());
        CPPoolStringArray copy(m_array);
        int const is_cloned = copy.clone();
        m_outcomes.clone.note(is_cloned == 1);
        EXPECT_EQ(copy == m_array, is_cloned == 0 || !m_array);
        EXPECT_EQ(strings_of(copy), m_entries);
    }

    void change_table()
    {
        unsigned int const number = pick(200);
        NumberTable::Item item;
        unsigned int* const value = item.create();
        if (value == nullptr)
        {
            EXPECT_FALSE(item);
            return;
        }
        *value = number;
        if (pick(3) == 0)
        {
            EXPECT_EQ(m_table.DeleteItem(number % 40, item), 1);
            m_numbers.erase(number);
        }
        else
        {
            CPObjectMemory const stored = m_table.AddItem(number % 40, item, ORVA::Lookup::eHashKeepEqual);
            m_outcomes.table.note(stored);
            EXPECT_EQ(!stored || stored == item, m_numbers.count(number) == 0);
            if (stored)
                m_numbers.emplace(number, stored);
        }
        EXPECT_EQ(m_table.GetNItems(), m_numbers.size());
        CPObjectMemory const found = m_table.FindItem(number % 40, item);
        EXPECT_EQ(static_cast<bool>(found), m_numbers.count(number) == 1);
        EXPECT_TRUE(!found || found == m_numbers[number]);
    }

    void wait_on_events()
    {
        CPEvent const& own = m_events[m_number];
        CPMultipleEvent const multiple(pick(2) == 0);
        bool const is_attached = multiple.Attach(own);
        EXPECT_TRUE(!is_attached || multiple);
        m_outcomes.event.note(multiple);
        m_outcomes.attachment.note(is_attached);
        long const result = multiple.Wait(0);
        EXPECT_TRUE(multiple ? result == 0 || result == -1 : result == -2);
        m_events[pick(workers)].Set();
        m_events[pick(workers)].Reset();
        EXPECT_EQ(multiple.Detach(own), is_attached);
        // A wait that cannot have its place looks like a signal.
        CPEvent const pulse(false);
        long const wait = pulse.Wait(pick(20) == 0 ? 1 : 0);
        EXPECT_TRUE(pulse ? wait == 0 || wait == -1 : wait == -2);
    }

    void register_service()
    {
        scheduler::Block service;
        bool const is_made = service.create() != nullptr;
        m_outcomes.service.note(is_made);
        if (!is_made)
            return;
        service->time = scheduler::never;
        if (ORVA::Maintenance::Register(service))
        {
            EXPECT_TRUE(ORVA::Maintenance::Unregister(service, 60000));
        }
        EXPECT_FALSE(ORVA::Maintenance::Unregister(service, 0));
    }

    // A thread that looks a string up, and runs out of memory itself.
    void run_thread()
    {
        if (pick(8) != 0)
            return;
        threads::Context context;
        threads::Task* const task = context.create();
        if (task == nullptr)
            return;
        std::wstring const text = shared_name(pick(shared_names));
        unsigned int const seed = 1 + pick(1000);
        task->work = [&text, seed]
        {
            RandomAllocationFailure const failure(seed, 3);
            CPPoolString const string(text.c_str());
            EXPECT_TRUE(string.isnull() || text_of(string) == text);
        };
        CPThread thread;
        bool is_started = false;
        try
        {
            NewFails const scope;
            is_started = thread.Execute(context, 0);
        }
        catch (std::bad_alloc const&)
        {
            EXPECT_TRUE(thread);
        }
        m_outcomes.thread.note(is_started);
        EXPECT_EQ(thread.Wait(threads::no_limit), is_started ? 0 : -2);
        EXPECT_EQ(context->exitCode(), is_started ? 3U : 0U);
        EXPECT_EQ(context.lockcnt(), 1U);
    }

    static constexpr unsigned int held = 12;

    unsigned int const m_number;
    std::mt19937 m_random;
    SharedEvents const& m_events;
    AllOutcomes& m_outcomes;
    std::array<CPPoolString, held> m_held;
    CPPoolStringArray m_array{false};
    Strings m_entries;
    NumberTable m_table;
    std::map<unsigned int, CPObjectMemory> m_numbers;
};

// A service that collects the pool whenever it is asked, with no memory to be had.
scheduler::Block collector(std::atomic<unsigned int>& collections)
{
    scheduler::Block block = scheduler::service();
    block->on_run = [&collections]
    {
        AllocationFailure const failure(1, AllocationFailure::forever);
        EXPECT_EQ(CStringPool::Collect(no_limit), 1U);
        EXPECT_EQ(failure.attempts(), 0UL);
        ++collections;
        std::this_thread::yield();
    };
    return block;
}

// What a collection says of a string that only one of the tables had memory for.
void expect_reports_of_missing_entries(support::LogMessages const& messages)
{
    for (support::LogMessage const& message : messages)
    {
        EXPECT_TRUE(message == support::illegal_point(hash_pair::no_entry) ||
                    message == support::illegal_point(hash_pair::no_match))
            << testing::PrintToString(message);
    }
}

} // namespace

TEST(OtherThreads, RunOutOfMemoryAtRandomAndLeaveAllWhole)
{
    maintenance_faults::Quiet const quiet;
    collect_all();
    collect_all();
    unsigned long const strings_before = g_sensitive_table.GetNItems();
    LogRecorder log;
    ASSERT_TRUE(ORVA::Maintenance::AppInit());
    log.clear();
    std::atomic<unsigned int> collections{0};
    scheduler::Block const service = collector(collections);
    ASSERT_TRUE(ORVA::Maintenance::Register(service));
    SharedEvents const events = {CPEvent(true), CPEvent(true), CPEvent(true), CPEvent(false)};
    AllOutcomes outcomes;
    {
        std::array<unsigned long, workers> failures = {};
        std::vector<std::thread> running;
        for (unsigned int number = 0; number < workers; ++number)
            running.emplace_back([&, number] { failures[number] = Worker(number, events, outcomes).run(); });
        for (std::thread& thread : running)
            thread.join();
        for (unsigned long const count : failures)
        {
            EXPECT_GT(count, 20UL);
            faults::failed_allocations() += count;
        }
    }
    events::until([&] { return collections != 0; }, "a collection");
    for (Outcomes const* each :
         {&outcomes.get, &outcomes.form, &outcomes.query, &outcomes.variant, &outcomes.insertion, &outcomes.addition,
          &outcomes.clone, &outcomes.table, &outcomes.event, &outcomes.attachment, &outcomes.service, &outcomes.thread})
    {
        EXPECT_GT(each->done, 0U);
        EXPECT_GT(each->failed, 0U);
    }
    EXPECT_TRUE(ORVA::Maintenance::Unregister(service, 60000));
    EXPECT_EQ(scheduler::listed(), 0UL);
    ORVA::Maintenance::AppExit();
    expect_whole_pool();
    EXPECT_TRUE(CStringPool::Verify() == 1 || g_sensitive_table.GetNItems() == 0);
    collect_all();
    collect_all();
    EXPECT_EQ(g_sensitive_table.GetNItems(), strings_before);
    expect_whole_pool();
    expect_reports_of_missing_entries(log.take());
    for (CPEvent const& event : events)
    {
        EXPECT_EQ(scheduler::listeners_of(event), 0UL);
        EXPECT_EQ(event.lockcnt(), 1U);
    }
}
