/// @file
/// Names that cannot stand in one directory wherever case is ignored.
#pragma once

#include "ORVA/String.h"

#include <vector>

namespace catalog
{

using PooledNames = std::vector<ORVA::String::CPPoolString>;

/// Those of the names that differ from another one only by case: groups of two or more, in the order of their lower case
/// forms, and each sorted. The names are pooled strings of different texts; they are put into another order.
std::vector<PooledNames> case_clashes(PooledNames& names);

} // namespace catalog
