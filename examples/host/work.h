/// @file
/// What the host does with a class, once its component is loaded: all of it by identifiers, through the library.
#pragma once

#include "component.h"

namespace host
{

/// Prints what the definition of a class tells.
void describe(ClassRecord const& one);

/// Makes an object, lets it work on the file `path`, prints what comes of it, and gives the object back.
void run(ClassRecord const& one, ORVA::String::CPPoolString const& path);

} // namespace host
