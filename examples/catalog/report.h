/// @file
/// The report in its two forms. Both are UTF-8 whatever the locale.
#pragma once

#include "input.h"
#include "summary.h"

#include <string>

namespace catalog
{

/// For people: aligned, with nothing in it that would control a terminal.
std::string text_report(Input const& input, Summary const& summary);

/// For programs: one JSON object. Names are cut to 1000 characters, as their field "cut" tells.
std::string json_report(Input const& input, Summary const& summary);

} // namespace catalog
