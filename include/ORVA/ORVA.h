/// @file
/// The whole library.
#pragma once

#include "ORVA/Buffers.h"
#include "ORVA/Core.h"
#include "ORVA/Develop.h"
#include "ORVA/Files.h"
#include "ORVA/Lookup.h"
#include "ORVA/Maintenance.h"
#include "ORVA/Math.h"
#include "ORVA/NQF.h"
#include "ORVA/String.h"
#include "ORVA/Threading.h"
