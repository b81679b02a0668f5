/// @file
/// Diagnostics for hosts and components: the log, runtime assumptions, result values, clocks.
#pragma once

#include "ORVA/Develop/Clocks.h"
#include "ORVA/Develop/Log.h"
#include "ORVA/Develop/Result.h"
