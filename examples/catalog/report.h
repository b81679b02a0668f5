/// @file
/// The report in its two forms. Both are UTF-8 whatever the locale.
#pragma once

#include "collection.h"
#include "input.h"
#include "summary.h"
#include "tree.h"

#include <string>
#include <vector>

namespace catalog
{

/// For people: aligned, with nothing in it that would control a terminal. `urls`: paths in trees as URLs.
std::string text_report(Input const& input, std::vector<Tree> const& trees, Summary const& summary, bool urls);

/// What follows the report for people, after its names were released; empty if nobody watched.
std::string text_report(Collection const& collection);

/// For programs: one JSON object. Names are cut to 1000 characters, as their field "cut" tells. This is the object
/// without its end; what is told of the collection is that. `urls`: beside each path in a tree its URL.
std::string json_report(Input const& input, std::vector<Tree> const& trees, Summary const& summary, bool urls);

/// The end of the JSON object.
std::string json_report(Collection const& collection);

} // namespace catalog
