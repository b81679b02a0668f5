/// @file
/// Identifiers for the tests of the component model.
#pragma once

#include "ORVA/Core.h"

#include <array>
#include <cstring>
#include <ostream>

namespace components
{

/// An identifier as a type that compares, so that a failed expectation shows both.
struct Bytes
{
    Bytes(_nqfUID const& from) : uid(from) {}

    _nqfUID uid;
};

inline bool operator==(Bytes const& left, Bytes const& right)
{
    return std::memcmp(&left.uid, &right.uid, sizeof left.uid) == 0;
}

inline bool operator!=(Bytes const& left, Bytes const& right)
{
    return !(left == right);
}

/// Lets GoogleTest show an identifier that differs.
inline void PrintTo(Bytes const& bytes, std::ostream* stream)
{
    *stream << std::hex << bytes.uid.Data1 << " " << bytes.uid.Data2 << " " << bytes.uid.Data3;
    for (unsigned char const byte : bytes.uid.Data4)
        *stream << " " << static_cast<unsigned int>(byte);
    *stream << std::dec;
}

/// No byte is zero, and no two are equal.
constexpr _nqfUID sample = {0x12345678, 0x9ABC, 0xDEF1, {0xA5, 0xB7, 0x2C, 0x3D, 0x4E, 0x5F, 0x60, 0x71}};

constexpr _nqfUID nil = {};

/// `source` with byte `index` of its 16, in the order of memory, replaced.
inline _nqfUID with_byte(_nqfUID source, std::size_t index, unsigned char value)
{
    reinterpret_cast<unsigned char*>(&source)[index] = value;
    return source;
}

template <class Generator>
_nqfUID random_uid(Generator& generator)
{
    std::array<unsigned int, 4> words;
    for (unsigned int& word : words)
        word = static_cast<unsigned int>(generator());
    _nqfUID uid;
    std::memcpy(&uid, words.data(), sizeof uid);
    return uid;
}

} // namespace components
