/// @file
/// How fast the pool answers.
#pragma once

#include "catalogue.h"

namespace catalog
{

/// Look-ups per second by one thread, over all distinct names in random order. Each finds its string in the pool.
struct LookupRates
{
    unsigned long utf8 = 0;          ///< exactly, asked for in UTF-8
    unsigned long wide = 0;          ///< exactly, asked for in wide characters
    unsigned long ignoring_case = 0; ///< any spelling, asked for in wide characters
    unsigned long wrong = 0;         ///< look-ups that gave another string than they should; 0 if all is well
};

/// Shuffles the names, in the same way in every run, and measures for 0.3 seconds at most. All rates are 0 if there are
/// no names.
LookupRates measure_lookups(NameList& names);

} // namespace catalog
