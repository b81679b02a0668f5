/// @file
/// What the library has to say, printed where it happens.
#pragma once

namespace notes
{

/// Prints every message of the library as long as it lives. One at a time; the example has one thread.
class LibraryMessages
{
public:
    LibraryMessages();
    ~LibraryMessages();
    LibraryMessages(LibraryMessages const&) = delete;
    LibraryMessages& operator=(LibraryMessages const&) = delete;

    /// How many there have been in this process.
    static unsigned int count();
};

} // namespace notes
