/// @file
/// Texts of URLs in the tests.
#pragma once

#include <string>

namespace files
{

inline unsigned char const* bytes(char const* text)
{
    return reinterpret_cast<unsigned char const*>(text);
}

inline unsigned char const* bytes(std::string const& text)
{
    return bytes(text.c_str());
}

inline std::string text(unsigned char const* held)
{
    return held ? reinterpret_cast<char const*>(held) : "(null)";
}

} // namespace files
