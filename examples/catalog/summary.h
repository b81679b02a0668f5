/// @file
/// What the report tells about a catalogue.
#pragma once

#include "catalogue.h"
#include "lookup_rate.h"

#include <string>
#include <vector>

namespace catalog
{

/// The result of CStringPool::Verify().
enum class Verified
{
    yes,
    no,
    nothing_pooled ///< there are no strings to check
};

/// The names are those of the catalogue, which must outlive the summary.
struct Summary
{
    Totals totals;
    unsigned long distinct;
    unsigned long distinct_ignoring_case;

    unsigned long words_with_spellings;              ///< words that occur in more than one spelling
    std::vector<std::vector<Name const*>> spellings; ///< those with most spellings; in each the most frequent one first
    std::vector<Name const*> longest;                ///< by characters
    std::vector<Name const*> most_frequent;

    unsigned long pool_bytes; ///< of all records with their text
    double bytes_per_string;  ///< 0 if there are none
    LookupRates lookups;
    Verified verified; ///< `no` also if a look-up went wrong
};

Summary summarise(Catalogue& catalogue);

} // namespace catalog
