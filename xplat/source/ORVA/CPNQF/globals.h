// The global objects of the component model. statics.cpp defines those with a constructor, and fixes the order in which
// they come and go; the slot's two words are defined with the slot.
#pragma once

#include "ORVA/Buffers/MachineCRC.h"
#include "ORVA/Lookup/KeyTable.h"
#include "ORVA/NQF/ClassRegistry.h"
#include "ORVA/Threading/CriticalSection.h"
#include "ORVA/Threading/RWInterlock.h"

namespace ORVA::NQF
{

using ClassTable = Lookup::CPOMKeyTable<Buffers::CPObject<SClassRegister>, CClassHash>;

// Guards the slot: g_pFactory and g_uFactoryLock.
extern Threading::CPCriticalSection g_csFactory;
extern Buffers::CMachineCRC const g_crcClass;
// Guards g_tblClasses. Never held together with g_csFactory.
extern Threading::CPRWInterlock g_rwClasses;
extern ClassTable g_tblClasses;

// The factory of the process, with one reference, or null. Written under the lock, and read without it in two places.
extern INQFComponentFactory* g_pFactory;
// The users of the slot: Factory_Set calls that are not yet matched by a Factory_Release.
extern unsigned int g_uFactoryLock;

} // namespace ORVA::NQF
