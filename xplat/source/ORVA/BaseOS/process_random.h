// The generator of the process. statics.cpp defines it, before all other global objects.
#pragma once

#include "ORVA/Develop/MTRandomTS.h"

namespace ORVA::Develop
{

extern CMTRnd_TS g_Rnd;

} // namespace ORVA::Develop
