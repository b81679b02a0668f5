/// @file
/// Diagnostics for hosts and components: the log, runtime assumptions, result values, clocks, random numbers.
#pragma once

#include "ORVA/Develop/Clocks.h"
#include "ORVA/Develop/Log.h"
#include "ORVA/Develop/MTRandom.h"
#include "ORVA/Develop/MTRandomTS.h"
#include "ORVA/Develop/Random.h"
#include "ORVA/Develop/Result.h"
