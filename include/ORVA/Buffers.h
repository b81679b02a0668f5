/// @file
/// Memory: reference-counted blocks, typed handles, vectors, the CRC, sorting and bisection.
#pragma once

#include "ORVA/Buffers/CString.h"
#include "ORVA/Buffers/HandleVector.h"
#include "ORVA/Buffers/Interface.h"
#include "ORVA/Buffers/MachineCRC.h"
#include "ORVA/Buffers/Object.h"
#include "ORVA/Buffers/ObjectMemory.h"
#include "ORVA/Buffers/ObjectVector.h"
#include "ORVA/Buffers/PlainMemory.h"
#include "ORVA/Buffers/PlainVector.h"
#include "ORVA/Buffers/Sort.h"
#include "ORVA/Buffers/TypedObjectVector.h"
