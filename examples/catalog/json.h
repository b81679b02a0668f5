/// @file
/// The parts of a JSON text.
#pragma once

#include <string>
#include <vector>

namespace catalog
{

/// "key": value, for a value that is a number or ready-made JSON.
inline std::string member(char const* key, std::string const& value)
{
    return "\"" + std::string(key) + "\": " + value;
}

inline std::string member(char const* key, unsigned long value)
{
    return member(key, std::to_string(value));
}

inline std::string member(char const* key, bool value)
{
    return member(key, std::string(value ? "true" : "false"));
}

/// An array of what `object` makes of each item, one to a line.
template <class Item, class Object>
std::string array(std::vector<Item> const& items, Object object)
{
    std::string text = "[";
    for (Item const& item : items)
        text += (text.size() == 1 ? "\n    " : ",\n    ") + object(item);
    return text + "]";
}

} // namespace catalog
