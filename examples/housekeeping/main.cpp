/// @file
/// Housekeeping in the background: services with different priorities and times on the one maintenance thread, printed
/// as it happens. Takes about three seconds.
///
///   services.h    three services, and what a service is
///   schedule.h    the printed lines
///
/// The exit status is 0 if everything went as the lines say.

#include "schedule.h"
#include "services.h"

#include "ORVA/ORVA.h"

#include <cstdio>

namespace
{

using housekeeping::Backlog;
using housekeeping::Backup;
using housekeeping::Mail;
using housekeeping::tell;
using namespace ORVA::Maintenance;

constexpr unsigned int patience = 10000; // milliseconds

template <class T>
using Block = ORVA::Buffers::CPIObject<T>;

// Two services are due all the time. The important one goes first, but each pass that the other one loses makes it older,
// and age counts as much as priority.
bool show_ageing()
{
    std::printf("\nAge overtakes priority: \"index\" has priority 3, \"tidy\" 0, and both are always due.\n");
    Block<Backlog> index;
    Block<Backlog> tidy;
    if (index.create() == nullptr || tidy.create() == nullptr)
        return false;
    index->give(L"index", 3, 10);
    tidy->give(L"tidy", 0, 2);

    // Nothing runs before the start, so both are there when the first is chosen.
    bool good = Register(index) && Register(tidy) && ORVA::AppInit() == 1;
    good = index->done().Wait(patience) == 0 && good;
    good = tidy->done().Wait(patience) == 0 && good;
    return Unregister(index, patience) && Unregister(tidy, patience) && good;
}

// A service that throws is not called again, and nobody else suffers.
bool show_failure()
{
    std::printf("\nA service that fails is disabled: \"mail\" wants to run in two seconds.\n");
    Block<Mail> mail;
    if (mail.create() == nullptr || !Register(mail))
        return false;
    tell(L"main", "registered mail");
    bool good = mail->tried().Wait(patience) == 0;
    for (int times = 0; times < 3; ++times)
    {
        Trigger();
        ORVA::Threading::CurrentThread::sleep(20);
    }
    tell(L"main", "triggered the thread three times; mail ran %s", mail->runs() == 1 ? "once" : "again");
    good = good && mail->runs() == 1;
    return Unregister(mail, patience) && good;
}

// Who unregisters a service that runs waits for the end of its pass, and may then let go of what it uses.
bool show_waiting()
{
    std::printf("\nTaking a service off waits for it: \"backup\" runs for most of a second.\n");
    Block<Backup> backup;
    if (backup.create() == nullptr || !Register(backup))
        return false;
    bool const began = backup->begun().Wait(patience) == 0;
    tell(L"main", "unregisters backup");
    bool const unregistered = Unregister(backup, patience);
    tell(L"main", "unregistered backup, which has %s", backup->copied() ? "ended" : "not ended");
    return began && unregistered && backup->copied();
}

} // namespace

int main()
{
    bool good = show_ageing();
    good = show_failure() && good;
    good = show_waiting() && good;
    ORVA::AppExit();
    std::printf("\n%s\n",
                good && !IsActive() ? "The thread has ended; all went as it should." : "Something went wrong.");
    return good && !IsActive() ? 0 : 1;
}
