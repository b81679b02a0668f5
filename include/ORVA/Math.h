/// @file
/// Numbers: a small generator of repeatable sequences.
#pragma once

#include "ORVA/Math/MonoRand.h"
