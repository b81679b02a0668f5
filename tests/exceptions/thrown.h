/// @file
/// What user code throws in these tests, and at which of its calls.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <stdexcept>

namespace exceptions
{

/// An exception of the standard's kind.
struct UserError : std::runtime_error
{
    UserError() : std::runtime_error("user code") {}
};

/// Something that nobody expects to be thrown, and that derives from nothing.
struct OddError
{
    int number;
};

enum class Thrown
{
    standard,
    odd
};

inline constexpr Thrown both_kinds[] = {Thrown::standard, Thrown::odd};

inline void PrintTo(Thrown what, std::ostream* stream)
{
    *stream << (what == Thrown::standard ? "std::exception" : "other");
}

[[noreturn]] inline void raise(Thrown what)
{
    if (what == Thrown::standard)
        throw UserError();
    throw OddError{7};
}

/// What comes out of `operation`, if anything does. Anything but the two above goes on.
template <class Operation>
std::optional<Thrown> thrown_by(Operation operation)
{
    try
    {
        operation();
        return std::nullopt;
    }
    catch (UserError const&)
    {
        return Thrown::standard;
    }
    catch (OddError const&)
    {
        return Thrown::odd;
    }
}

/// Counts the calls of user code, and throws in one of them.
class Fuse
{
public:
    /// Throws in no call.
    Fuse() = default;
    /// Throws in the `nth` call, 1 being the first.
    Fuse(unsigned long nth, Thrown what) : m_nth(nth), m_what(what) {}

    /// A call of user code.
    void call()
    {
        if (++m_calls == m_nth)
            raise(m_what);
    }

    unsigned long calls() const { return m_calls; }
    bool has_blown() const { return m_nth != 0 && m_calls >= m_nth; }
    Thrown what() const { return m_what; }

private:
    unsigned long m_nth = 0;
    Thrown m_what = Thrown::standard;
    unsigned long m_calls = 0;
};

/// Runs `operation`, which is to let through what `fuse` throws in it, and nothing else. True if that was the case, false
/// if nothing was thrown.
template <class Operation>
bool lets_through(Fuse const& fuse, Operation operation)
{
    std::optional<Thrown> const thrown = thrown_by(operation);
    EXPECT_EQ(thrown.has_value(), fuse.has_blown()) << "the exception came out";
    EXPECT_EQ(thrown.value_or(fuse.what()), fuse.what());
    return thrown.has_value();
}

/// Calls `operation(fuse)` with a fuse that blows in the first call of user code, in the second, and so on, for both
/// kinds of exceptions, until it makes no such call any more. Gives the number of calls that it makes undisturbed.
template <class Operation>
unsigned long at_each_call(Operation operation)
{
    for (unsigned long nth = 1;; ++nth)
    {
        bool has_blown = false;
        for (Thrown const what : both_kinds)
        {
            SCOPED_TRACE(testing::Message() << "call " << nth << " throws " << testing::PrintToString(what));
            Fuse fuse(nth, what);
            operation(fuse);
            has_blown = fuse.has_blown();
        }
        if (!has_blown)
            return nth - 1;
    }
}

} // namespace exceptions
