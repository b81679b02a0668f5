#include "maintenance/services.h"

#include "maintenance/list.h"

#include <climits>

namespace ORVA::Maintenance
{

unsigned long g_choices = 0;

namespace
{

// Sums wrap in 32 bits and are compared as signed numbers.
int score_of(MRInfo const& entry, int priority)
{
    return static_cast<int>(entry.skipped + static_cast<unsigned int>(priority));
}

// The service of the highest score among those that are due, the first of several; empty if there is none. All that are
// due have become one older.
Service best_of_those_due()
{
    unsigned long const now = Core::OS::GetTimeNow();
    Service best;
    int best_score = INT_MIN;
    Walk walk;
    while (walk.next())
    {
        MRInfo* const entry = walk.entry();
        if (entry == nullptr || walk.wish().time > now)
            continue;
        int const score = score_of(*entry, walk.wish().priority);
        ++entry->skipped;
        if (score > best_score)
        {
            best_score = score;
            best = walk.service();
        }
    }
    return best;
}

} // namespace

bool is_pending(Buffers::CPObjectMemory const& block)
{
    HandleLock const lock;
    return g_cpMRPending == block;
}

unsigned long _getTimeout()
{
    try
    {
        ListLock const lock;
        unsigned long earliest = no_time;
        Walk walk;
        while (walk.next())
        {
            if (walk.entry() != nullptr && walk.wish().time < earliest)
                earliest = walk.wish().time;
        }
        return earliest;
    }
    catch (...)
    {
        return no_time;
    }
}

bool _selectService()
{
    try
    {
        if (copy_of(g_cpMRStop).Wait(0) == 0)
            return false;
        ListLock const lock;
        Service const best = best_of_those_due();
        MRInfo* const entry = find_service(best);
        if (entry == nullptr)
            return false;
        entry->skipped = 0;
        ++g_choices;
        put_in_place(g_cpMRPending, best);
        return true;
    }
    catch (...)
    {
        return false;
    }
}

void _resetPending(bool failed)
{
    try
    {
        ListLock const lock;
        if (failed)
            disable_service(g_cpMRPending);
        put_in_place(g_cpMRPending, Service());
    }
    catch (...)
    {
        // without the lock the service stays pending
    }
}

} // namespace ORVA::Maintenance
