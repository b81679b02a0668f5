/// @file
/// Component model: identifiers, the interfaces of the component framework, handles on them, the component factory of
/// the process, and bases for implementing components.
#pragma once

#include "ORVA/NQF/ClassFactory.h"
#include "ORVA/NQF/ClassRegistry.h"
#include "ORVA/NQF/ComponentInfo.h"
#include "ORVA/NQF/Framework.h"
#include "ORVA/NQF/InterfacePointer.h"
#include "ORVA/NQF/NamedInterface.h"
#include "ORVA/NQF/TypedInterface.h"
#include "ORVA/NQF/UID.h"
#include "ORVA/NQF/UnknownBase.h"
