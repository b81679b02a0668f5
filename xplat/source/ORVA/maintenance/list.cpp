#include "maintenance/list.h"

namespace ORVA::Maintenance
{

namespace
{

// Where the walk goes on, and where it ends.
unsigned long walk_place = 0;
unsigned long walk_end = 0;

// The number of entries if it is not listed.
unsigned long place_of(Buffers::CPObjectMemory const& block)
{
    unsigned long const count = g_cpMRList.GetCount();
    unsigned long place = 0;
    while (place < count && g_cpMRList[place].service != block)
        ++place;
    return place;
}

} // namespace

void enter_list()
{
    g_cpMRLock.Enter();
}

void leave_list()
{
    g_cpMRLock.Leave();
}

MRInfo* find_service(Buffers::CPObjectMemory const& block)
{
    unsigned long const place = place_of(block);
    return place < g_cpMRList.GetCount() ? &g_cpMRList[place] : nullptr;
}

void disable_service(Buffers::CPObjectMemory const& block)
{
    if (MRInfo* const entry = find_service(block))
        entry->flags |= MRInfo::disabled;
}

bool append_service(Service const& service)
{
    MRInfo entry;
    entry.service = service;
    return g_cpMRList.Insert(entry, g_cpMRList.GetCount()) != 0;
}

bool remove_service(Buffers::CPObjectMemory const& block) noexcept
{
    unsigned long const place = place_of(block);
    if (!g_cpMRList.Delete(place, true))
        return false;
    if (place < walk_place)
        --walk_place;
    if (place < walk_end)
        --walk_end;
    return true;
}

Walk::Walk()
{
    walk_place = 0;
    walk_end = g_cpMRList.GetCount();
}

// The last reference to a service that took itself off may go here, and its destructor may change the list once more: no
// entry is in hand then. The end is looked at in the list too, which may have been dropped.
bool Walk::next()
{
    for (;;)
    {
        m_service.free();
        if (walk_place >= walk_end || walk_place >= g_cpMRList.GetCount())
            return false;
        MRInfo const& entry = g_cpMRList[walk_place++];
        if ((entry.flags & MRInfo::disabled) != 0)
            continue;
        m_service = entry.service;
        if (_ask())
            return true;
        disable_service(m_service);
    }
}

bool Walk::_ask()
{
    try
    {
        m_wish.time = m_service->GetNextMaintenance();
        m_wish.priority = m_service->GetPriority();
        return true;
    }
    catch (...)
    {
        return false;
    }
}

MRInfo* Walk::entry() const noexcept
{
    unsigned long const place = walk_place - 1;
    if (place >= g_cpMRList.GetCount() || g_cpMRList[place].service != m_service)
        return nullptr;
    return &g_cpMRList[place];
}

} // namespace ORVA::Maintenance

namespace ORVA::Buffers
{

template class CPObjectVector<Maintenance::MRInfo>;

} // namespace ORVA::Buffers
