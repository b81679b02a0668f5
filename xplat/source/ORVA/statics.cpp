// All objects of the library that have a constructor or a destructor, in the order of their construction; they are
// destroyed in the opposite one. The order matters:
// - the records of the constant strings come before the handles on them;
// - the handle on the empty string is had by looking it up, before the tables and the lock exist: that look-up touches
//   neither;
// - the case-sensitive table holds a pointer to the other, and is destroyed first, while that still stands.
// Nothing else of the library's own runs code at load.

#include "BaseOS/process_random.h"
#include "CPNQF/globals.h"
#include "cstringpool/globals.h"
#include "maintenance/globals.h"

#include "ORVA/String/Pool.h"
#include "ORVA/String/PoolString.h"

namespace ORVA::Develop
{

CMTRnd_TS g_Rnd;

} // namespace ORVA::Develop

namespace ORVA::NQF
{

Threading::CPCriticalSection g_csFactory;
Buffers::CMachineCRC const g_crcClass(64, 0x42f0e1eba9ea3693);
Threading::CPRWInterlock g_rwClasses;
ClassTable g_tblClasses(10);

} // namespace ORVA::NQF

namespace ORVA::Buffers
{

CPObjectMemory const CPObjectMemory::pnull;

} // namespace ORVA::Buffers

namespace ORVA::String
{

CStringInfo const g_evaluator;

namespace Constants
{

staticStringRecord null_record(static_cast<wchar_t const*>(nullptr));
staticStringRecord empty_record(L"");
staticStringRecord true_record(L"true");
staticStringRecord false_record(L"false");

} // namespace Constants

CPPoolString const CPPoolString::pnull;
CPPoolString const CPPoolString::pempty(CStringPool::GetStringRef(L""));
CPPoolString const CPPoolString::ptrue(true);
CPPoolString const CPPoolString::pfalse(false);

CCaseInsensitiveHash g_insensitive_table;
PooledStrings g_sensitive_table(&g_insensitive_table);

Threading::CPCriticalSection g_pool_lock;
Buffers::CPIObject<CStringPoolMaintenance> g_pool_maintenance;

} // namespace ORVA::String

namespace ORVA::Maintenance
{

Threading::CPCriticalSection g_cpMRLock;
Buffers::CPObjectVector<MRInfo> g_cpMRList;
Threading::CPEvent g_cpMRTrigger(true);
Threading::CPEvent g_cpMRStop(true);
Threading::CPThread g_cpMRThread;
Service g_cpMRPending;

namespace
{

// Goes first.
struct EndAtExit
{
    ~EndAtExit() { end_with_the_process(); }
} const end_at_exit;

} // namespace

} // namespace ORVA::Maintenance
