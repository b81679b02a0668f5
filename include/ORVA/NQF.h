/// @file
/// Component model: identifiers, and the interfaces of the component framework.
#pragma once

#include "ORVA/NQF/Framework.h"
#include "ORVA/NQF/UID.h"
