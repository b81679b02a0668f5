/// @file
/// What the library has to say.
#pragma once

namespace catalog
{

/// Prints the library's failures and refusals, messages of level 1 and 2, to standard error from now on. The catalogue
/// gives the library nothing that it would refuse, so none is expected.
void print_library_messages();

} // namespace catalog
