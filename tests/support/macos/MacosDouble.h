/// @file
/// Stands in for the parts of macOS that the library calls, so that its macOS forms can be tested elsewhere.
///
/// If asked to, it records each call as one line of text, such as `CFBundleCopyExecutableURL(bundle)`, objects by their
/// names. Made objects are named by kind and number: string1, data1. They are not destroyed before `reset`, and how often
/// each was released is told. While nothing is recorded, nothing fails on demand either, and objects live until the next
/// string is made.
///
/// Not for use by several threads at once.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace support::macos
{

/// What the system answers, and what it was asked. Set the fields before the call under test.
struct System
{
    /// Whether calls are recorded.
    bool recording = false;
    /// The calls so far, in order, each with a line end.
    std::string calls;

    /// The function that throws a std::runtime_error, after its call was recorded. Empty: none.
    std::string throwing;
    /// The function that returns null. Empty: none.
    std::string refusing;

    /// The value of the bundle's key "CFBundleName", in UTF-8; none: the bundle has no such key.
    std::optional<std::string> bundle_name = std::nullopt;
    /// Whether that value is a string; it is of another type otherwise.
    bool bundle_name_is_string = true;
    /// Whether the bytes of that string can be had without a conversion.
    bool bundle_name_has_bytes = true;

    /// The executable's path in UTF-8; none: its location is not known.
    std::optional<std::string> executable = std::nullopt;

    /// The flags in the record of a process, before and after the system's answer; none: it writes none.
    int flags_before = 0;
    std::optional<int> flags = std::nullopt;
    /// What `sysctl` returns.
    int sysctl_result = 0;

    /// How much the two mappings of characters add; 0: they map as the C library does.
    int lower_shift = 0;
    int upper_shift = 0;
};

/// The one system.
System& system();

/// A new system without answers, which records; all objects are gone.
void reset();
/// The same, but it does not record.
void reset_quietly();

/// How often the object of this name was released; -1 if there is no such object.
int releases(std::string const& name);

/// The calls since the last time.
std::string take_calls();

} // namespace support::macos
