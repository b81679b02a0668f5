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

// In a shared library the loader makes them before the objects of whoever links it. In an archive they stand behind those
// of the program, and need a place of their own before them. Where the system has no such places there is no archive.
#if __has_cpp_attribute(gnu::init_priority)
#define AT_LOAD [[gnu::init_priority(101)]]
#else
#define AT_LOAD
#endif

namespace ORVA::Develop
{

AT_LOAD CMTRnd_TS g_Rnd;

} // namespace ORVA::Develop

namespace ORVA::NQF
{

AT_LOAD Threading::CPCriticalSection g_csFactory;
AT_LOAD Buffers::CMachineCRC const g_crcClass(64, 0x42f0e1eba9ea3693);
AT_LOAD Threading::CPRWInterlock g_rwClasses;
AT_LOAD ClassTable g_tblClasses(10);

} // namespace ORVA::NQF

namespace ORVA::Buffers
{

AT_LOAD CPObjectMemory const CPObjectMemory::pnull;

} // namespace ORVA::Buffers

namespace ORVA::String
{

AT_LOAD CStringInfo const g_evaluator;

namespace Constants
{

AT_LOAD staticStringRecord null_record(static_cast<wchar_t const*>(nullptr));
AT_LOAD staticStringRecord empty_record(L"");
AT_LOAD staticStringRecord true_record(L"true");
AT_LOAD staticStringRecord false_record(L"false");

} // namespace Constants

AT_LOAD CPPoolString const CPPoolString::pnull;
AT_LOAD CPPoolString const CPPoolString::pempty(CStringPool::GetStringRef(L""));
AT_LOAD CPPoolString const CPPoolString::ptrue(true);
AT_LOAD CPPoolString const CPPoolString::pfalse(false);

AT_LOAD CCaseInsensitiveHash g_insensitive_table;
AT_LOAD PooledStrings g_sensitive_table(&g_insensitive_table);

AT_LOAD Threading::CPCriticalSection g_pool_lock;
AT_LOAD Buffers::CPIObject<CStringPoolMaintenance> g_pool_maintenance;

} // namespace ORVA::String

namespace ORVA::Maintenance
{

AT_LOAD Threading::CPCriticalSection g_cpMRLock;
AT_LOAD Buffers::CPObjectVector<MRInfo> g_cpMRList;
AT_LOAD Threading::CPEvent g_cpMRTrigger(true);
AT_LOAD Threading::CPEvent g_cpMRStop(true);
AT_LOAD Threading::CPThread g_cpMRThread;
AT_LOAD Service g_cpMRPending;

namespace
{

// Goes first.
struct EndAtExit
{
    ~EndAtExit() { end_with_the_process(); }
};
AT_LOAD EndAtExit const end_at_exit;

} // namespace

} // namespace ORVA::Maintenance
