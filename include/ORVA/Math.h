/// @file
/// Numbers: exact fractions, and a small generator of repeatable sequences.
#pragma once

#include "ORVA/Math/MonoRand.h"
#include "ORVA/Math/Rational.h"
