#include "ORVA/NQF/ClassRegistry.h"

#include "CPNQF/factory_slot.h"
#include "CPNQF/globals.h"

#include "ORVA/Develop/Log.h"
#include "ORVA/NQF/UID.h"

template class ORVA::Buffers::CPObject<ORVA::NQF::SClassRegister>;

namespace ORVA::NQF
{

unsigned long CClassHash::hash(Buffers::CPObject<SClassRegister> const& item) const
{
    return g_crcClass.Eval(&item->uidClass, sizeof item->uidClass, 0);
}

int CPINQFUnknown::Factory_RegisterClass(_nqfUID const& classId, _nqfUID const& second,
                                         String::CPPoolString const& name, CPINQFUnknown (*creator)(_nqfUID const&))
{
    if (!name.isdef())
    {
        String::CNQFWChar const text = cnqfuid(classId);
        Develop::_logWrite(_nqfDebugFailure, L"ORVA", "CPNQF", 642,
                           L"Factory_RegisterClass: ClassNames are mandatory! %ls", text ? *text : L"");
        return 0;
    }

    Holding const table(g_rwClasses);
    Buffers::CPObject<SClassRegister> record;
    if (record.create() == nullptr)
        return 0;
    record->uidClass = classId;
    record->uidSecond = second;
    record->sName = name;
    record->pfnCreate = creator;
    return g_tblClasses.AddItem(g_tblClasses.hash(record), record, Lookup::eHashKeepKey) ? 1 : 0;
}

} // namespace ORVA::NQF
