/// @file
/// What the fuzz harnesses share: reading an input as values and texts, buffers that notice writes outside, the reports
/// of the library, and the check of an invariant.
///
/// A harness is one function of bytes that holds for all bytes. Most take their input apart with `Input`, whose values
/// are 0 where the input has ended, so that every input means something.
#pragma once

#include "ORVA/Develop/Log.h"
#include "ORVA/String/Pool.h"

#include <algorithm>
#include <clocale>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace fuzz
{

[[noreturn]] inline void fail(char const* condition, char const* file, int line)
{
    std::fprintf(stderr, "%s:%d: this does not hold: %s\n", file, line, condition);
    std::abort();
}

/// Ends the program unless the condition, an expression that may contain commas, holds.
#define REQUIRE(...) (static_cast<bool>(__VA_ARGS__) ? void() : fuzz::fail(#__VA_ARGS__, __FILE__, __LINE__))

/// No limit, for what takes one.
inline constexpr unsigned long no_limit = ~0UL;

using Bytes = std::vector<unsigned char>;

/// The input, taken from its start.
class Input
{
public:
    Input(std::uint8_t const* data, std::size_t size) : m_at(data), m_end(data + size) {}

    bool empty() const { return m_at == m_end; }
    unsigned long left() const { return static_cast<unsigned long>(m_end - m_at); }

    unsigned char byte() { return empty() ? std::uint8_t(0) : *m_at++; }

    /// A number of `bytes` bytes, the lowest first.
    unsigned long number(int bytes)
    {
        unsigned long value = 0;
        for (int index = 0; index < bytes; ++index)
            value |= static_cast<unsigned long>(byte()) << (8 * index);
        return value;
    }

    /// A number below `limit`, which is 1 to 256.
    unsigned long below(unsigned long limit) { return byte() % limit; }

    /// Up to `most` bytes.
    Bytes bytes(unsigned long most = no_limit)
    {
        Bytes result(m_at, m_at + std::min(most, left()));
        m_at += result.size();
        return result;
    }

    /// The bytes up to a byte of 0, which is taken too.
    Bytes line()
    {
        std::uint8_t const* const end = std::find(m_at, m_end, std::uint8_t(0));
        Bytes result(m_at, end);
        m_at = end == m_end ? end : end + 1;
        return result;
    }

    /// All that is left, as units of `T`, the lowest byte first.
    template <class T>
    std::vector<T> units()
    {
        std::vector<T> result;
        while (!empty())
            result.push_back(static_cast<T>(number(sizeof(T))));
        return result;
    }

    /// A character of any value: ASCII as it is, and larger ones behind a byte that tells how many follow. So ASCII
    /// words stand in inputs as they are.
    unsigned int character()
    {
        unsigned char const first = byte();
        if (first < 0x80)
            return first;
        if (first < 0xC0)
            return static_cast<unsigned int>((first & 0x3FU) << 8 | byte());
        if (first < 0xE0)
            return static_cast<unsigned int>(number(2));
        if (first < 0xF8)
            return static_cast<unsigned int>(number(3)) & 0x1FFFFF;
        return static_cast<unsigned int>(number(4));
    }

    /// Up to `most` characters, of which none is 0, up to one of 0; each has the bits of `mask`.
    std::wstring text(unsigned long most = no_limit, unsigned int mask = ~0U)
    {
        std::wstring result;
        while (!empty() && result.size() < most)
        {
            unsigned int const value = character() & mask;
            if (value == 0)
                break;
            result.push_back(static_cast<wchar_t>(value));
        }
        return result;
    }

private:
    std::uint8_t const* m_at;
    std::uint8_t const* m_end;
};

/// A copy of units at the end of a block of exactly their size, for the tools that notice when more is read. With an
/// `offset` the copy begins that many units behind the start of the block, which is aligned to 16 bytes.
template <class T>
class Exact
{
public:
    template <class Units>
    explicit Exact(Units const& units, unsigned long offset = 0) : Exact(units.data(), units.size(), offset)
    {
    }
    Exact(T const* units, unsigned long count, unsigned long offset = 0)
        : m_block(new T[offset + count]()), m_units(m_block.get() + offset)
    {
        std::copy_n(units, count, m_units);
    }
    T* get() const { return m_units; }
    operator T const*() const { return m_units; }

private:
    std::unique_ptr<T[]> m_block;
    T* m_units;
};

/// The text of the units with a terminator, as `Exact` places it.
template <class T, class Units>
Exact<T> terminated(Units const& units, unsigned long offset = 0)
{
    std::vector<T> copy(units.begin(), units.end());
    copy.push_back(T(0));
    return Exact<T>(copy, offset);
}

/// A buffer of a number of units between two rows of marks, all of the same value that no text has by chance.
template <class T>
class Guarded
{
public:
    explicit Guarded(unsigned long count) : m_units(count + 2 * guards, mark) {}

    T* get() { return m_units.data() + guards; }
    T const* get() const { return m_units.data() + guards; }
    unsigned long size() const { return m_units.size() - 2 * guards; }

    /// Whether nothing was written outside.
    bool is_intact() const { return are_marks(0, guards) && are_marks(m_units.size() - guards, m_units.size()); }
    /// Whether nothing was written behind the first `count` units.
    bool is_intact_behind(unsigned long count) const
    {
        return are_marks(0, guards) && are_marks(guards + count, m_units.size());
    }
    /// Whether nothing was written at all.
    bool is_untouched() const { return are_marks(0, m_units.size()); }

private:
    static constexpr unsigned long guards = 4;
    static constexpr T mark = static_cast<T>(0xA5C3E7B9U);

    bool are_marks(unsigned long from, unsigned long to) const
    {
        return std::all_of(m_units.begin() + static_cast<long>(from), m_units.begin() + static_cast<long>(to),
                           [](T unit) { return unit == mark; });
    }

    std::vector<T> m_units;
};

/// The source lines of the reports since the last call, as the library gives them.
class Reports
{
public:
    Reports()
    {
        lines().clear();
        ORVA::Develop::SetExternalLogger(&note);
    }
    ~Reports() { ORVA::Develop::SetExternalLogger(nullptr); }
    Reports(Reports const&) = delete;
    Reports& operator=(Reports const&) = delete;

    std::vector<int> take() { return std::exchange(lines(), {}); }

private:
    static std::vector<int>& lines()
    {
        static std::vector<int> instance;
        return instance;
    }
    static void note(_nqfDebugLevel, wchar_t const*, char const*, int line, wchar_t const*, va_list)
    {
        lines().push_back(line);
    }
};

/// Has the string pool forget the strings that nobody holds, now and then.
inline void tidy_pool()
{
    static unsigned int runs = 0;
    if (++runs % 64 != 0)
        return;
    for (int visit = 0; visit < 2; ++visit)
        REQUIRE(ORVA::String::CStringPool::Collect(0xFFFFFFFF) == 1);
}

/// Gives the process a locale whose mapping to lower case knows more than ASCII, if there is one.
inline void use_rich_locale()
{
    static bool const done = std::setlocale(LC_ALL, "C.UTF-8") != nullptr;
    static_cast<void>(done);
}

} // namespace fuzz
