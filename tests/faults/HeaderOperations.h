/// @file
/// The operations of the public headers, as universal-ctags finds them, by their names in public_operations.txt.
#pragma once

#include <set>
#include <string>

namespace faults
{

/// A line of what ctags writes about the headers.
struct HeaderTag
{
    std::string kind;
    std::string access; ///< "-" outside of classes
    std::string scope;
    std::string name;
    std::string signature;  ///< from its opening parenthesis to the end; "-" without one
    std::string properties; ///< separated by commas
};

/// The operation as the list names it: "Lookup::CBaseHashTable::GetNItems() const".
std::string operation_name(HeaderTag const& tag);

/// The operations of all headers below `folder`, found by the program `ctags`. Empty if it cannot be run.
std::set<std::string> header_operations(std::string const& ctags, std::string const& folder);

} // namespace faults
