/// @file
/// What the report tells of a tree, in its two forms.
#pragma once

#include "tree.h"

#include <string>

namespace catalog
{

/// For people, as a part of the report. `urls`: paths as URLs, and then whole, be they as long as they may.
std::string text_report(Tree const& tree, bool urls);

/// For programs: a JSON object. A path that is no UTF-8 is given in printable ASCII, with "escaped" beside it being true.
/// `urls`: beside each path its URL.
std::string json_report(Tree const& tree, bool urls);

} // namespace catalog
