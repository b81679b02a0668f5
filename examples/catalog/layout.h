/// @file
/// How the report for people is laid out.
#pragma once

#include "numbers.h"

#include <cstdio>
#include <string>

namespace catalog
{

/// The text at the right end of a column for numbers.
inline std::string right_aligned(std::string const& text)
{
    constexpr std::size_t width = 15;
    return std::string(text.size() < width ? width - text.size() : 0, ' ') + text;
}

/// A line with a label and, below those of other rows, its value.
inline std::string row(char const* label, std::string const& value)
{
    char line[64];
    std::snprintf(line, sizeof line, "  %-30s", label);
    return line + right_aligned(value) + "\n";
}

inline std::string row(char const* label, unsigned long value)
{
    return row(label, grouped(value));
}

} // namespace catalog
