#include "work.h"

#include "ORVA/Buffers.h"
#include "ORVA/Core.h"
#include "ORVA/Maintenance.h"
#include "ORVA/NQF.h"

#include <cstring>
#include <functional>
#include <thread>
#include <utility>

namespace soak
{

namespace
{

using namespace ORVA::Threading;

// The body of a thread.
struct Task
{
    std::function<void()> work;
    void run() { work(); }
};

// A thread that is waited for at the end of the scope at the latest.
class Helper
{
public:
    explicit Helper(std::function<void()> work)
    {
        m_context.create()->work = std::move(work);
        check(m_thread.Execute(m_context, 0), "a thread is started");
    }
    ~Helper() { check(m_thread.Wait(plenty) == 0 && m_context->exitCode() == 3, "a thread ends"); }
    Helper(Helper const&) = delete;
    Helper& operator=(Helper const&) = delete;

private:
    CPThreadContext<Task> m_context;
    CPThread m_thread;
};

// A word that goes to and fro, each time with a signal. It is plain: the events order it.
struct Lane
{
    unsigned int word = 0;
    CPEvent full{true};
    CPEvent empty{true};

    void fill(unsigned int rounds)
    {
        for (unsigned int round = 1; round <= rounds; ++round)
        {
            word = round;
            check(full.Set(), "an event is signalled");
            check(empty.Wait(round % 2 == 0 ? plenty : no_limit) == 0, "the empty event comes");
            check(empty.Reset(), "an event is reset");
        }
    }
};

class Service : public ORVA::Maintenance::IMaintenanceRequest
{
public:
    std::atomic<unsigned long> next{0};
    std::atomic<unsigned int> runs{0};

    virtual ~Service() = default;
    nqfWChar const* GetName() override { return L"soak"; }
    unsigned long GetNextMaintenance() override { return next; }
    void RunMaintenance() override
    {
        next = ~0UL;
        ++runs;
    }
    int GetPriority() override { return 1; }
    virtual void* queryInterface(_nqfUID const& uid) const
    {
        using ORVA::Maintenance::IMaintenanceRequest;
        bool const known = std::memcmp(&uid, &__nqf_uuidof<IMaintenanceRequest>(), sizeof uid) == 0;
        return known ? static_cast<IMaintenanceRequest*>(const_cast<Service*>(this)) : nullptr;
    }
};

// One more in each of two words that agree; now and then others may try what the lock is to prevent.
void count_up(unsigned long (&words)[2], int round, char const* what)
{
    unsigned long const seen = ++words[0];
    if (round == 0)
        std::this_thread::yield();
    check(++words[1] == seen, what);
}

} // namespace

void enter_locks(Worker& worker)
{
    Shared& shared = *worker.shared;
    for (int round = 0; round < 20; ++round)
    {
        check(shared.mutex.TryEnter(plenty), "a mutex is entered");
        count_up(shared.mutex_words, round, "a mutex lets one in");
        shared.mutex.Leave();
        CPCriticalSection section = shared.section;
        section.Enter();
        check(section.TryEnter(0), "a critical section is entered again");
        count_up(shared.section_words, round, "a critical section lets one in");
        section.Leave();
        section.Leave();
    }
}

void read_and_write(Worker& worker)
{
    CPRWInterlock interlock = worker.shared->interlock;
    auto& words = worker.shared->interlock_words;
    auto const look = [&words]
    {
        for (unsigned long const word : words)
            check(word == words[0], "readers see whole changes");
    };
    for (unsigned int round = 0; round < 20; ++round)
    {
        if (round % 5 == 0)
        {
            check(interlock.TryEnter(plenty), "a writer comes in");
            check(interlock.TryEnterRead(0), "a writer reads");
            look();
            interlock.Enter();
            for (unsigned long& word : words)
            {
                ++word;
                if (round == 0)
                    std::this_thread::yield();
            }
            interlock.Leave();
            interlock.LeaveRead();
            interlock.Leave();
        }
        else
        {
            check(interlock.TryEnterRead(plenty), "a reader comes in");
            look();
            interlock.LeaveRead();
        }
    }
}

void signal_and_wait(Worker&)
{
    constexpr unsigned int rounds = 20;
    Lane lane;
    Helper const helper([&lane] { lane.fill(rounds); });
    for (unsigned int round = 1; round <= rounds; ++round)
    {
        check(lane.full.Wait(round % 3 == 0 ? no_limit : plenty) == 0, "the full event comes");
        check(lane.word == round, "a signal brings what was written before");
        check(lane.full.Reset() && lane.empty.Set(), "an event is reset and another one signalled");
    }
}

void wait_for_several(Worker&)
{
    constexpr unsigned int rounds = 8;
    bool const barrier = below(2) == 0;
    Lane lanes[2];
    CPMultipleEvent const both(barrier);
    for (Lane const& lane : lanes)
    {
        check(both.Attach(lane.full), "an event is attached");
        check(both.Detach(lane.full) && both.Attach(lane.full), "an event is detached and attached");
    }
    // The helpers have ended before the object that their signals go to.
    Helper const first([&lanes] { lanes[0].fill(rounds); });
    Helper const second([&lanes] { lanes[1].fill(rounds); });
    unsigned int taken[2] = {};
    while (taken[0] + taken[1] < 2 * rounds)
    {
        long const index = both.Wait(plenty);
        check(index == 0 || index == 1, "one of the events comes");
        for (long lane = 0; lane < 2; ++lane)
        {
            if (!barrier && lane != index)
                continue;
            check(lanes[lane].word == ++taken[lane], "events bring what was written before");
            check(both.Reset(static_cast<unsigned long>(lane)), "an event is reset through the object");
            lanes[lane].empty.Set();
        }
    }
}

// Timed waits of all workers on one event that is signalled now and then. A waiter may lose its place to another one
// whose time is over; it then waits to the end of its time. -2 is the value before the first signal.
void pulse(Worker& worker)
{
    CPEvent event = worker.shared->pulse;
    if (below(3) == 0)
        check(event.Set(), "a pulse is sent");
    long const result = event.Wait(below(3));
    check(result == 0 || result == -1 || result == -2, "a pulse comes or not");
}

void start_and_end_threads(Worker&)
{
    unsigned int number = 1;
    {
        Helper const helper([&number] { ++number; });
    }
    check(number == 2, "a thread has done its work when it was joined");

    CPThreadContext<Task> sleeper;
    sleeper.create()->work = [] { CurrentThread::sleep(plenty); };
    CPThread thread;
    check(thread.Execute(sleeper, 64 * 1024), "a thread with a small stack is started");
    check(!thread.Execute(sleeper, 0), "a thread is not started twice");
    if (below(2) == 0)
        check(thread.Wait(1) == -1, "a sleeping thread is waited for in vain");
    check(thread.Terminate() && !thread, "a sleeping thread is ended");
    check(sleeper->exitCode() == 2 && sleeper.lockcnt() == 1, "an ended thread lets go of its body");
}

void register_services(Worker&)
{
    using namespace ORVA::Maintenance;
    ORVA::Buffers::CPIObject<Service> service;
    service.create();
    bool const runs = below(4) != 0;
    service->next = runs ? 0 : ~0UL;
    check(Register(service) && Register(service), "a service is registered");
    Trigger();
    while (runs && service->runs == 0)
        std::this_thread::yield();
    check(Unregister(service, plenty), "a service is taken off");
    check(!Unregister(service, plenty), "a service is taken off once");
    check(service->runs == (runs ? 1U : 0U) && service.lockcnt() == 1, "a service runs once, and is let go");
}

void register_classes(Worker&)
{
    register_class(below(class_count));
}

void register_class(unsigned int number)
{
    _nqfUID const uid = {number, 0x50A, 0x4B, {1, 2, 3, 4, 5, 6, 7, 8}};
    std::wstring const name = L"soak class " + std::to_wstring(number);
    check(ORVA::NQF::CPINQFUnknown::Factory_RegisterClass(uid, uid, ORVA::String::CPPoolString(name.c_str()),
                                                          nullptr) == 1,
          "a class is registered");
    ORVA::NQF::cnqfuid const same(*ORVA::NQF::cnqfuid(uid).ANSI());
    check(same == uid, "an identifier becomes text and back");
}

// The program has started the library, so that neither is the first or the last.
void start_and_stop_library(Worker&)
{
    check(ORVA::AppInit() == 1, "the library is started once more");
    check(ORVA::Maintenance::IsActive(), "the maintenance thread is there");
    ORVA::AppExit();
}

} // namespace soak
