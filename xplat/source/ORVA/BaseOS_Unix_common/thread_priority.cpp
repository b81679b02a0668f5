#include "ORVA/Threading/CurrentThread.h"

namespace ORVA::Threading::CurrentThread::OS
{

void SetThreadPriority(eThreadPriority) {}

eThreadPriority GetThreadPriority()
{
    return eThreadPriorityNormal;
}

} // namespace ORVA::Threading::CurrentThread::OS
