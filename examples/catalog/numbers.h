/// @file
/// Numbers for people.
#pragma once

#include <cmath>
#include <string>

namespace catalog
{

/// The number in decimal with a comma before every three digits: 1,234,567. The same in every locale.
inline std::string grouped(unsigned long number)
{
    std::string digits = std::to_string(number);
    for (std::size_t place = digits.size(); place > 3;)
        digits.insert(place -= 3, 1, ',');
    return digits;
}

/// The same with one decimal, rounded: 1,234.5. For numbers that are not negative.
inline std::string grouped_tenths(double number)
{
    unsigned long const tenths = static_cast<unsigned long>(std::lround(number * 10));
    return grouped(tenths / 10) + "." + std::to_string(tenths % 10);
}

} // namespace catalog
