#include "ORVA/Develop/Result.h"
#include "ORVA/Develop/Log.h"

namespace ORVA
{

bool bLogFailedHRESULT = false;
bool bBreakOnHRESULT = false;
bool bShowAssert = false;

hr::hr(long result) : lResult(result)
{
    if (result >= 0)
        return;
    if (bBreakOnHRESULT)
        Develop::_istrue_(true, "ORVANQF,22:lResult < 0");
    if (bLogFailedHRESULT)
        Develop::_logWrite(_nqfDebugDiagnosis, L"ORVA", "ORVANQF", 25, L"lResult < 0: %x", result);
}

} // namespace ORVA
