/// @file
/// Paths as URLs.
#pragma once

#include <string>

namespace catalog
{

/// The "file:" URL of an absolute path, be it UTF-8 or not: a byte that is no part of a character is escaped like any
/// other, so that no path is lost.
std::string file_url(std::string const& absolute_path);

} // namespace catalog
