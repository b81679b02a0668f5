// The global objects of the string pool. statics.cpp defines them, and fixes the order in which they come and go.
#pragma once

#include "cstringpool/pooled_strings.h"

#include "ORVA/String/PoolMaintenance.h"
#include "ORVA/String/PoolTables.h"
#include "ORVA/String/StringInfo.h"
#include "ORVA/Threading/CriticalSection.h"

namespace ORVA::String
{

extern CStringInfo const g_evaluator;
extern CCaseInsensitiveHash g_insensitive_table;
extern PooledStrings g_sensitive_table;
// Guards both tables, the ages of all records, and every enumeration.
extern Threading::CPCriticalSection g_pool_lock;
// The service that collects in the background; empty while there is none.
extern Buffers::CPIObject<CStringPoolMaintenance> g_pool_maintenance;

} // namespace ORVA::String
