/// @file
/// Values and bytes that the tests of single characters go through.
#pragma once

#include "ORVA/String/Codecs.h"
#include "reference/plain_codecs.h"

#include <gtest/gtest.h>

#include <vector>

namespace codecs
{

using namespace ORVA::String;

/// Values about every bound of the encodings.
inline std::vector<unsigned int> boundary_values()
{
    std::vector<unsigned int> values;
    for (unsigned int bound : {0x80U, 0x800U, 0xD800U, 0xDC00U, 0xE000U, 0x10000U, 0x110000U, 0x140000U, 0x80000000U})
        for (unsigned int value = bound - 2; value != bound + 3; ++value)
            values.push_back(value);
    values.push_back(0xFFFFFFFE);
    values.push_back(0xFFFFFFFF);
    return values;
}

/// Calls `check` with every value up to just above the last that an encoder might take, and with larger ones.
template <class Check>
void for_every_value(Check check)
{
    for (unsigned int value = 0; value <= 0x110002; ++value)
        check(value);
    for (unsigned int value : boundary_values())
        check(value);
}

inline constexpr unsigned char edge_bytes[] = {0x00, 0x01, 0x41, 0x7F, 0x80, 0x81, 0x8F, 0x90, 0xBF,
                                               0xC0, 0xDF, 0xE0, 0xEF, 0xF0, 0xF4, 0xF5, 0xFF};

inline plain::step decode_utf8(unsigned char const* source)
{
    unsigned char const* position = source;
    unsigned int value = 0xABCDEF01;
    unsigned int const result = utf8_nqfW32(&value, position);
    return {result, value, static_cast<unsigned int>(position - source)};
}

/// The value after a refusal is the one that was there before.
inline plain::step decode_utf16(unsigned short const* source)
{
    unsigned short const* position = source;
    unsigned int value = 0;
    unsigned int const result = utf16_nqfW32(&value, position);
    return {result, value, static_cast<unsigned int>(position - source)};
}

} // namespace codecs
