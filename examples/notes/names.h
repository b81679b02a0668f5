/// @file
/// Names in arrays: looking one up, finding one that is free, splitting a text into them.
#pragma once

#include "ORVA/String.h"

namespace notes
{

using ORVA::String::CPPoolString;
using ORVA::String::CPPoolStringArray;

/// True if a sorted array has a name.
bool contains(CPPoolStringArray const& names, CPPoolString const& name);

/// Adds a name to a sorted array, or, if it is taken, its first numbered variant that is not. The name that was added; the
/// null string if there is no memory.
CPPoolString add_new(CPPoolStringArray& names, CPPoolString const& wanted);

/// The pieces of a text between its separators, whole, in an array that is not sorted. This turns `Flatten` back, if no
/// entry has a separator in it and none is the null string: the null string has no pieces, the empty one has one. Fewer
/// pieces than there are if there is no memory.
CPPoolStringArray split(CPPoolString const& text, wchar_t separator);

} // namespace notes
